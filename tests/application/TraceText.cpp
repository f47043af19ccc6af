#include "tests/application/TraceText.h"

#include <algorithm>
#include <iterator>

#include "platform/core/Text.h"

namespace Kelvane {

namespace {

constexpr const char* kHeadings[] = {"# user interface\n", "# workers\n", "# workers: system information\n",
                                     "# workers: USB Type-C\n"};
/// What the names of each read's methods begin with.
constexpr std::u16string_view kReads[] = {u"Kelvane::MainViewModel::ReadSysInfo",
                                          u"Kelvane::MainViewModel::ReadU"};

constexpr std::u16string_view kOtherReadsFlag = u"RPC Connection Status = ";

/// Lines that belong together, under the heading of this number.
struct Part {
    std::size_t heading;
    std::uint32_t thread;
    std::string lines;
};

}  // namespace

std::string TraceText(const std::vector<platform::etl::TraceEvent>& events,
                      std::uint32_t userInterfaceThread) {
    const bool readsAtOnce = std::ranges::any_of(
        events, [](const auto& event) { return event.text.ends_with(u"Launching from Hotkey"); });
    std::vector<Part> parts;
    for (const auto& event : events) {
        std::size_t heading = event.thread == userInterfaceThread ? 0 : 1;
        std::uint32_t thread = 0;
        if (heading != 0 && readsAtOnce) {
            const auto* const read = std::ranges::find_if(
                kReads, [&](const auto& method) { return event.text.starts_with(method); });
            // What both reads do under the same name stays together by its thread.
            heading = read == std::end(kReads) ? 1 : 2 + static_cast<std::size_t>(read - kReads);
            thread = heading == 1 ? event.thread : 0;
        }
        auto part = std::ranges::find_if(
            parts, [&](const Part& each) { return each.heading == heading && each.thread == thread; });
        if (part == parts.end()) {
            part = parts.insert(part, {.heading = heading, .thread = thread, .lines = {}});
        }
        part->lines += platform::LoggingLevelName(event.level)[0];
        // The flag is the other read's, which may not have ended yet.
        const auto flag = heading == 3 ? event.text.find(kOtherReadsFlag) : std::u16string::npos;
        part->lines += " " + platform::ToUtf8(event.text.substr(0, flag)) +
                       (flag == std::u16string::npos ? "\n" : "RPC Connection Status = true or false\n");
    }
    std::ranges::stable_sort(parts, {}, &Part::heading);
    std::string text;
    for (const auto& part : parts) {
        const bool isFirst = &part == &parts.front() || (&part)[-1].heading != part.heading;
        text += (isFirst ? kHeadings[part.heading] : "") + part.lines;
    }
    return text;
}

}  // namespace Kelvane
