// A folder of log files and of what killed runs left, any bytes in each: what kelvane-log shows of it, and
// what the next session takes over. The input is a row of files, each a byte that picks its name, its size in
// two bytes, and its content with small buffers.

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "fuzz/Target.h"
#include "fuzz/TraceFile.h"
#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/diagnostics/LogFiles.h"
#include "tests/support/LogFolder.h"
#include "tools/LogSources.h"
#include "tools/LogText.h"

namespace {

namespace etl = platform::etl;

constexpr const char* kNames[] = {"S-1.live",  "S-2.live",   "S-3.live",  "S-1-1.etl", "S-1-2.etl",
                                  "S-4-1.etl", "S-text.etl", "Other.etl", "S-9.live/"};
/// Bits of the first byte: a process lives, whose live file is the first name; only the newest file is shown;
/// a session takes over while the first message is shown.
constexpr std::uint8_t kRunning = 1;
constexpr std::uint8_t kOnlyNewest = 2;
constexpr std::uint8_t kTakenMeanwhile = 4;
constexpr std::size_t kFilesAtMost = 4;
constexpr std::size_t kPiecesOfImage = std::size_t{fuzz::kPiece} * etl::kBuffersPerFile;

std::filesystem::path LogFolder() {
    return fuzz::Folder() / "log";
}

/// A live file holds images of the full size.
std::vector<std::byte> LiveFileOf(std::span<const std::byte> content) {
    std::vector<std::byte> live;
    while (!content.empty()) {
        const auto pieces = content.first(std::min(content.size(), kPiecesOfImage));
        content = content.subspan(pieces.size());
        std::vector<std::byte> image(etl::kFileSize);
        fuzz::CopyPieces(pieces, fuzz::kPiece, image, etl::kBufferSize);
        live.insert(live.end(), image.begin(), image.end());
    }
    return live;
}

void WriteFiles(std::string_view input) {
    for (std::size_t count = 0; count < kFilesAtMost && input.size() > 3; ++count) {
        const std::string name = kNames[fuzz::TakeByte(input) % std::size(kNames)];
        const auto low = fuzz::TakeByte(input);
        const auto size = low | std::size_t{fuzz::TakeByte(input)} << 8;
        const auto content = std::as_bytes(std::span(input.substr(0, size)));
        input.remove_prefix(content.size());
        if (std::filesystem::exists(LogFolder() / name)) {
            continue;
        }
        if (name.ends_with('/')) {
            std::filesystem::create_directories(LogFolder() / name);
        } else if (name.ends_with(".live") && content.size() >= sizeof(etl::FileHeader)) {
            tests::WriteBytes(LogFolder() / name, LiveFileOf(content));
        } else {
            tests::WriteBytes(LogFolder() / name, content);
        }
    }
}

/// Takes over what ended processes left. `running` is the live file of one that lives; empty for none.
void TakeOver(const std::string& running) {
    const platform::LiveFile own(LogFolder(), "S");
    platform::LogFiles files(LogFolder(), "S");
    const auto leftovers = files.TakeLeftovers(own.Path());
    for (const auto& path : leftovers.Files) {
        fuzz::Require(std::filesystem::exists(path));
    }
    fuzz::Require(std::ranges::is_sorted(leftovers.Files, {}, etl::ReadStartTime));
    if (!leftovers.Failure) {
        for (const auto& name : tests::Names(LogFolder(), ".live")) {
            fuzz::Require(name == running || name == own.Path().filename());
        }
        fuzz::Require(tests::Names(LogFolder(), ".new").empty());
    }
}

/// Whether each file and image is told apart from all others, as those that a session writes are.
bool AreDistinct() {
    std::set<std::tuple<std::int64_t, std::int64_t, std::uint32_t>> seen;
    seen.emplace();
    for (const auto& entry : std::filesystem::directory_iterator(LogFolder())) {
        auto bytes = entry.is_regular_file() ? tests::ReadBytes(entry.path()) : std::vector<std::byte>();
        const auto step = entry.path().extension() == ".live" ? etl::kFileSize : bytes.size();
        for (std::size_t at = 0; at + sizeof(etl::FileHeader) <= bytes.size(); at += step) {
            const auto& header = fuzz::At<etl::FileHeader>(bytes, at);
            if (!seen.insert({header.LogFile.StartTime, header.Record.SystemTime, header.Record.ProcessId})
                     .second) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const auto flags = TakeByte(input);
    std::filesystem::remove_all(LogFolder());
    std::filesystem::create_directories(LogFolder());
    std::optional<platform::LiveFile> running;
    if ((flags & kRunning) != 0) {
        running.emplace(LogFolder(), "S");
    }
    WriteFiles(input);
    const bool areDistinct = AreDistinct();
    const bool onlyNewest = (flags & kOnlyNewest) != 0;
    const auto takeOver = [name = running ? running->Path().filename().string() : ""] { TakeOver(name); };
    auto meanwhile = (flags & kTakenMeanwhile) != 0 ? takeOver : std::function<void()>();
    std::size_t events = 0;
    const auto show = [&](const etl::TraceEvent& event) {
        ++events;
        fuzz::Require(logtool::TextLine(event, true).find('\n') == std::string::npos);
        fuzz::Require(logtool::JsonLine(event, false).find('\n') == std::string::npos);
        if (const auto now = std::exchange(meanwhile, nullptr)) {
            now();
        }
    };
    const auto ignore = [](const std::filesystem::path&, const std::string&) {};
    logtool::LogSources sources({{.Path = LogFolder(), .Newest = onlyNewest ? 1U : 0U},
                                 {.Path = LogFolder() / kNames[0], .MayBeMissing = true},
                                 {.Path = LogFolder() / "missing"}},
                                show, ignore, ignore);
    // How many messages are new.
    const auto poll = [&] {
        events = 0;
        sources.Poll();
        return events;
    };
    poll();
    fuzz::Require(poll() == 0 || onlyNewest);
    takeOver();
    // A message is shown once, wherever it is met first.
    fuzz::Require(poll() == 0 || !areDistinct || onlyNewest);
}

std::vector<std::string> fuzz::Seeds() {
    const auto pieces = [](std::int64_t start, std::uint32_t lost) {
        const auto log = tests::LogFile({u"text", u"", u"another\ntext"}, lost, start);
        std::vector<std::byte> file(kPiecesOfImage);
        CopyPieces(log, etl::kBufferSize, file, kPiece);
        return Seed(file);
    };
    const auto file = [](std::size_t name, const std::string& content) {
        return std::string{static_cast<char>(name), static_cast<char>(content.size() & 0xFF),
                           static_cast<char>(content.size() >> 8)} +
               content;
    };
    constexpr std::int64_t kStart = 133000000000000000;
    const auto first = pieces(kStart, 0);
    const auto second = pieces(kStart + 1, 3);
    auto foreign = second;
    foreign[sizeof(etl::BufferHeader) + kPiece + offsetof(etl::EventHeader, ProviderId)] ^= 1;
    auto damaged = second;
    damaged[sizeof(etl::BufferHeader) + kPiece + offsetof(etl::EventHeader, HeaderType)] ^= 1;
    std::vector<std::string> seeds = {"", "\2"};
    for (const auto& files : {file(0, second + first) + file(3, first) + file(5, second),
                              file(3, first) + file(4, second) + file(6, foreign),
                              file(1, first + second) + file(2, second.substr(0, kPiece)) + file(7, damaged),
                              file(0, damaged) + file(6, "text") + file(1, "text"), file(0, second + first),
                              file(0, "") + file(3, "") + file(8, "x") + file(2, foreign)}) {
        Add(seeds, {0, kRunning, kOnlyNewest, kTakenMeanwhile}, files);
    }
    return seeds;
}
