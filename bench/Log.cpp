// kelvane-bench log: what a log call costs until the message is in its file, beside the least that any logger
// must do: copy the same bytes under a lock and write each full 64 KiB. Both run in turn, three times, and so
// does a session that times each call; medians are printed. Everything is read back and counted.

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "bench/Commands.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceReader.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "platform/storage/FileDescriptor.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 3;
constexpr std::u16string_view kChannel = u"Kelvane_Channel";
constexpr std::size_t kDigits = 8;

std::int64_t Nanoseconds(Clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

/// A usual message with a number in front that grows by one with each use.
class NumberedText {
  public:
    explicit NumberedText(int thread) {
        m_text = std::u16string(kDigits, u'0') + static_cast<char16_t>(u'A' + thread) +
                 u"Kelvane::MainPage::UpdateUIWithSysDataAvailableEntry";
    }
    std::u16string_view Next() {
        for (std::size_t i = kDigits; i-- > 0;) {
            if (m_text[i] != u'9') {
                ++m_text[i];
                break;
            }
            m_text[i] = u'0';
        }
        return m_text;
    }

  private:
    std::u16string m_text;
};

struct Load {
    int threads;
    int messages;
};

/// Calls what `callOf` makes for each thread with all of its messages, all threads at once; returns, when the
/// last has ended, the time of the start.
Clock::time_point RunThreads(const Load& load,
                             const std::function<std::function<void(std::u16string_view)>(int)>& callOf) {
    std::atomic<bool> go = false;
    std::atomic<int> ready = 0;
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(load.threads));
    for (int thread = 0; thread < load.threads; ++thread) {
        threads.emplace_back([&, thread] {
            const auto call = callOf(thread);
            NumberedText text(thread);
            ++ready;
            while (!go) {
                std::this_thread::yield();
            }
            for (int i = 0; i < load.messages / load.threads; ++i) {
                call(text.Next());
            }
        });
    }
    while (ready != load.threads) {
        std::this_thread::yield();
    }
    const auto start = Clock::now();
    go = true;
    return start;
}

struct Outcome {
    std::int64_t nanoseconds = 0;
    std::size_t files = 0;
    std::uintmax_t bytes = 0;
    std::int64_t readBack = 0;
    std::int64_t lost = 0;
    bool inOrder = true;
    std::vector<std::int64_t> calls;
};

void ReadBack(const Load& load, const std::filesystem::path& folder, Outcome& outcome) {
    std::vector<std::pair<std::int64_t, std::filesystem::path>> files;
    const auto read = [](const std::filesystem::path& path, const auto& onEvent) {
        std::vector<char> bytes(std::filesystem::file_size(path));
        std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return platform::etl::ReadEventTrace(std::as_bytes(std::span(bytes)), onEvent);
    };
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::int64_t first = 0;
        const auto summary = read(entry.path(), [](const auto&) {});
        first = summary.Header.SystemTime;
        outcome.lost += summary.Header.EventsLost;
        outcome.bytes += entry.file_size();
        files.emplace_back(first, entry.path());
    }
    std::ranges::sort(files);
    outcome.files = files.size();
    std::vector<NumberedText> expected;
    expected.reserve(static_cast<std::size_t>(load.threads));
    for (int thread = 0; thread < load.threads; ++thread) {
        expected.emplace_back(thread);
    }
    for (const auto& [time, path] : files) {
        read(path, [&](const platform::etl::TraceEvent& event) {
            ++outcome.readBack;
            const auto thread = static_cast<std::size_t>(event.Text.at(kDigits) - u'A');
            outcome.inOrder &= event.Text == expected.at(thread).Next();
        });
    }
}

Outcome RunSession(const Load& load, const std::filesystem::path& folder, bool timed) {
    Outcome outcome;
    const auto channel = std::make_shared<platform::LoggingChannel>(kChannel);
    const auto session = std::make_shared<platform::FileLoggingSession>(u"Bench", folder);
    session->AddLoggingChannel(channel);
    std::vector<std::vector<std::int64_t>> calls(static_cast<std::size_t>(load.threads));
    Clock::time_point start;
    start = RunThreads(load, [&](int thread) -> std::function<void(std::u16string_view)> {
        if (!timed) {
            return
                [&](std::u16string_view text) { channel->LogMessage(text, platform::LoggingLevel::Verbose); };
        }
        auto& times = calls[static_cast<std::size_t>(thread)];
        times.reserve(static_cast<std::size_t>(load.messages / load.threads));
        return [&](std::u16string_view text) {
            const auto before = Clock::now();
            channel->LogMessage(text, platform::LoggingLevel::Verbose);
            times.push_back(Nanoseconds(Clock::now() - before));
        };
    });
    session->Close();
    outcome.nanoseconds = Nanoseconds(Clock::now() - start);
    for (const auto& times : calls) {
        outcome.calls.insert(outcome.calls.end(), times.begin(), times.end());
    }
    ReadBack(load, folder, outcome);
    return outcome;
}

/// The least that any logger must do; with `newFileAt` it also goes on to a new file each time so much is
/// written.
std::int64_t RunBaseline(const Load& load, const std::filesystem::path& folder,
                         std::size_t newFileAt = SIZE_MAX) {
    constexpr std::size_t kHead = sizeof(platform::etl::EventHeader);
    int number = 0;
    const auto open = [&] {
        return platform::OpenFile(folder / std::to_string(++number), O_WRONLY | O_CREAT | O_TRUNC);
    };
    auto file = open();
    static std::array<std::byte, platform::etl::kBufferSize> buffer;
    std::mutex mutex;
    std::size_t used = 0;
    std::size_t written = 0;
    const auto flush = [&] {
        platform::WriteAt(file, folder, std::span(buffer).first(used), written);
        written += used;
        used = 0;
        if (written >= newFileAt) {
            file = open();
            written = 0;
        }
    };
    const std::array<std::byte, kHead + (kChannel.size() + 2) * sizeof(char16_t)> head{};
    const auto start = RunThreads(load, [&](int) -> std::function<void(std::u16string_view)> {
        return [&](std::u16string_view text) {
            const auto bytes = std::as_bytes(std::span(text));
            const std::size_t size = platform::etl::Align(head.size() + bytes.size());
            const std::lock_guard lock(mutex);
            if (used + size > buffer.size()) {
                flush();
            }
            std::ranges::copy(head, buffer.begin() + static_cast<std::ptrdiff_t>(used));
            std::ranges::copy(bytes, buffer.begin() + static_cast<std::ptrdiff_t>(used + head.size()));
            used += size;
        };
    });
    flush();
    return Nanoseconds(Clock::now() - start);
}

template <typename T>
T Median(std::vector<T> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

std::int64_t Quantile(const std::vector<std::int64_t>& sorted, double share) {
    return sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share)];
}

/// A folder for the folders of this run. Ext4 is slow to make files where many were deleted in the last
/// minutes, those of an earlier run among them. The attribute set here makes it spread these folders over the
/// disk. Other file systems refuse it, which does no harm.
std::filesystem::path MakeFolder(const std::filesystem::path& parent) {
    auto folder = parent / ("bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const auto descriptor = platform::OpenFile(folder, O_RDONLY | O_DIRECTORY);
    int flags = 0;
    if (ioctl(descriptor.Get(), FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_TOPDIR_FL;
        ioctl(descriptor.Get(), FS_IOC_SETFLAGS, &flags);
    }
    return folder;
}

bool ParseCount(std::string_view text, int largest, int& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value > 0 && value <= largest;
}

}  // namespace

int Log(std::span<char* const> arguments) {
    Load load{};
    if (arguments.size() != 3 || !ParseCount(arguments[1], 16, load.threads) ||
        !ParseCount(arguments[2], 10000000, load.messages)) {
        return 2;
    }
    load.messages = std::max(1, load.messages / load.threads) * load.threads;
    const auto folder = MakeFolder(arguments[0]);
    const auto placeOf = [&](const char* what, int round) {
        auto place = folder / (what + std::to_string(round) + "-" + std::to_string(getpid()));
        std::filesystem::create_directory(place);
        return place;
    };

    std::vector<std::int64_t> session;
    std::vector<std::int64_t> baseline;
    std::vector<std::int64_t> files;
    std::vector<double> ratios;
    static constexpr std::array<std::pair<const char*, double>, 4> kQuantiles = {
        {{"p50", 0.5}, {"p99", 0.99}, {"p99.9", 0.999}, {"max", 1}}};
    std::array<std::vector<std::int64_t>, kQuantiles.size()> quantiles;
    Outcome total;
    const auto add = [&](const Outcome& outcome) {
        total.readBack += outcome.readBack;
        total.lost += outcome.lost;
        total.inOrder &= outcome.inOrder;
        total.files = outcome.files;
        total.bytes = outcome.bytes;
    };
    for (int round = 0; round < kRounds; ++round) {
        baseline.push_back(RunBaseline(load, placeOf("baseline-", round)));
        files.push_back(RunBaseline(load, placeOf("files-", round), platform::etl::kFileSize));
        const auto outcome = RunSession(load, placeOf("session-", round), false);
        add(outcome);
        session.push_back(outcome.nanoseconds);
        ratios.push_back(static_cast<double>(outcome.nanoseconds) / static_cast<double>(baseline.back()));
        auto timed = RunSession(load, placeOf("timed-", round), true);
        add(timed);
        std::ranges::sort(timed.calls);
        for (std::size_t i = 0; i < kQuantiles.size(); ++i) {
            quantiles.at(i).push_back(Quantile(timed.calls, kQuantiles.at(i).second));
        }
    }
    // Not before: see MakeFolder.
    std::filesystem::remove_all(folder);

    nlohmann::ordered_json calls;
    for (std::size_t i = 0; i < kQuantiles.size(); ++i) {
        calls[kQuantiles.at(i).first] = Median(quantiles.at(i));
    }
    const bool allThere = total.readBack == std::int64_t{load.messages} * kRounds * 2 && total.lost == 0;
    const nlohmann::ordered_json line = {
        {"threads", load.threads},
        {"messages", load.messages},
        {"ns_per_message", static_cast<double>(Median(session)) / load.messages},
        {"baseline_ns_per_message", static_cast<double>(Median(baseline)) / load.messages},
        {"ratio", Median(ratios)},
        {"baseline_with_new_files_ns_per_message", static_cast<double>(Median(files)) / load.messages},
        {"call_ns", calls},
        {"files", total.files},
        {"bytes", total.bytes},
        {"read_back", total.readBack},
        {"lost", total.lost},
        {"in_order", total.inOrder}};
    std::printf("%s\n", line.dump().c_str());
    return allThere && total.inOrder ? 0 : 1;
}

}  // namespace bench
