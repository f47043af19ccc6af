#include "tests/application/TraceText.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/core/Text.h"

namespace Kelvane {

namespace {

constexpr std::array kHeadings = {"# user interface\n", "# workers\n", "# workers: system information\n",
                                  "# workers: USB Type-C\n"};
constexpr std::size_t kWorkers = 1;

/// The heading of a worker's line while two reads run at once, by what the names of their methods begin with.
std::size_t HeadingOfRead(const std::u16string& text) {
    return text.starts_with(u"Kelvane::MainViewModel::ReadSysInfo") ? 2
           : text.starts_with(u"Kelvane::MainViewModel::ReadU")     ? 3
                                                                    : kWorkers;
}

std::string Line(const platform::etl::TraceEvent& event) {
    auto line = platform::ToUtf8(event.Text) + "\n";
    if (line[0] != '>' && line[0] != '|') {
        line.insert(0, {platform::LoggingLevelName(event.Level)[0], ' '});
    }
    return line;
}

std::string SectionText(std::span<const platform::etl::TraceEvent> events,
                        std::uint32_t userInterfaceThread) {
    const bool readsAtOnce = std::ranges::any_of(
        events, [](const auto& event) { return event.Text.ends_with(u"Launching from Hotkey"); });
    std::array<std::vector<std::string>, kHeadings.size()> parts;
    for (const auto& event : events) {
        auto line = Line(event);
        const auto heading = event.Thread == userInterfaceThread ? 0
                             : readsAtOnce                       ? HeadingOfRead(event.Text)
                                                                 : kWorkers;
        // The USB Type-C read shows the other read's flag, which may have ended or not.
        constexpr std::string_view kFlag = "RPC Connection Status = ";
        if (const auto flag = line.find(kFlag); heading > 2 && flag != std::string::npos) {
            line.replace(flag + kFlag.size(), std::string::npos, "true or false\n");
        }
        parts[heading].push_back(std::move(line));
    }
    if (readsAtOnce) {
        // What both do under the same name.
        std::ranges::sort(parts[kWorkers]);
    }
    std::string text;
    for (std::size_t heading = 0; heading < parts.size(); ++heading) {
        text += parts[heading].empty() ? "" : kHeadings[heading];
        for (const auto& line : parts[heading]) {
            text += line;
        }
    }
    return text;
}

bool IsOfDetails(const platform::etl::TraceEvent& event) {
    // With what the page shows of them.
    constexpr std::u16string_view kBeginnings[] = {
        u"| Machine", u"Kelvane::MainViewModel::ReadMachineDetails", u"Kelvane::MainPage::ShowDetailsAfter",
        u"Kelvane::MainPage::ShowMachineDetails", u"Kelvane::USBTypeCPage::ShowPorts"};
    return std::ranges::any_of(kBeginnings,
                               [&](std::u16string_view name) { return event.Text.starts_with(name); }) ||
           event.Text.find(u" tip \"") != std::u16string::npos ||
           event.Text.find(u" called \"") != std::u16string::npos;
}

}  // namespace

std::string DetailsText(const std::vector<platform::etl::TraceEvent>& events,
                        std::uint32_t userInterfaceThread) {
    std::string text;
    std::string workers;
    for (const auto& event : events) {
        if (IsOfDetails(event) && !event.Text.starts_with(u"|")) {
            (event.Thread == userInterfaceThread ? text : workers) += Line(event);
        }
    }
    return text + workers;
}

std::string TraceText(std::vector<platform::etl::TraceEvent> events, std::uint32_t userInterfaceThread,
                      bool whole) {
    std::erase_if(events, IsOfDetails);
    std::string text;
    std::string heading = "== start";
    for (auto at = events.begin(); at != events.end();) {
        const auto next =
            std::find_if(at, events.end(), [](const auto& event) { return event.Text.starts_with(u"=="); });
        if (at != next && (whole || heading.starts_with("== step"))) {
            text += heading + "\n" + SectionText({at, next}, userInterfaceThread);
        }
        heading = next != events.end() ? platform::ToUtf8(next->Text) : "";
        at = next != events.end() ? next + 1 : next;
    }
    return text;
}

}  // namespace Kelvane
