// kelvane-bench log: what a log call costs until the message is in its file, beside the least that any logger
// must do: copy the same bytes under a lock and write each full 64 KiB. Both run in turn, three times. Then
// each call is timed, as fast as they go and one each 10 us, as in a start: of the session, of the locked
// copy, and of a writer thread behind a queue. Medians are printed. Everything is read back and counted.

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stop_token>
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
    /// Between the beginnings of two calls of a thread; 0: as fast as they go.
    std::chrono::microseconds pace{};
};

using LogCall = std::function<void(std::u16string_view)>;

/// Calls what `callOf` makes for each thread with all of its messages, all threads at once; returns, when the
/// last has ended, the time of the start.
Clock::time_point RunThreads(const Load& load, const std::function<LogCall(int)>& callOf) {
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
            const auto begin = Clock::now();
            for (int i = 0; i < load.messages / load.threads; ++i) {
                while (load.pace.count() != 0 && Clock::now() < begin + i * load.pace) {
                }
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
};

/// What each call took, of all threads, in ns.
class CallTimes {
  public:
    explicit CallTimes(const Load& load) : m_times(static_cast<std::size_t>(load.threads)) {
        for (auto& times : m_times) {
            times.reserve(static_cast<std::size_t>(load.messages / load.threads));
        }
    }

    LogCall Timed(int thread, LogCall call) {
        return [&times = m_times[static_cast<std::size_t>(thread)],
                call = std::move(call)](std::u16string_view text) {
            const auto before = Clock::now();
            call(text);
            times.push_back(Nanoseconds(Clock::now() - before));
        };
    }

    std::vector<std::int64_t> Sorted() const {
        std::vector<std::int64_t> all;
        for (const auto& times : m_times) {
            all.insert(all.end(), times.begin(), times.end());
        }
        std::ranges::sort(all);
        return all;
    }

  private:
    std::vector<std::vector<std::int64_t>> m_times;
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

/// With `times`, each call is timed.
Outcome RunSession(const Load& load, const std::filesystem::path& folder, CallTimes* times = nullptr) {
    Outcome outcome;
    const auto channel = std::make_shared<platform::LoggingChannel>(kChannel);
    const auto session = std::make_shared<platform::FileLoggingSession>(u"Bench", folder);
    session->AddLoggingChannel(channel);
    const auto start = RunThreads(load, [&](int thread) {
        LogCall call = [&](std::u16string_view text) {
            channel->LogMessage(text, platform::LoggingLevel::Verbose);
        };
        return times != nullptr ? times->Timed(thread, std::move(call)) : call;
    });
    session->Close();
    outcome.nanoseconds = Nanoseconds(Clock::now() - start);
    ReadBack(load, folder, outcome);
    return outcome;
}

/// The least that any logger must do; with `newFileAt` it also goes on to a new file each time so much is
/// written.
std::int64_t RunBaseline(const Load& load, const std::filesystem::path& folder,
                         std::size_t newFileAt = SIZE_MAX, CallTimes* times = nullptr) {
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
    const auto start = RunThreads(load, [&](int thread) {
        LogCall call = [&](std::u16string_view text) {
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
        return times != nullptr ? times->Timed(thread, std::move(call)) : call;
    });
    flush();
    return Nanoseconds(Clock::now() - start);
}

/// Callers put a message into a queue; a thread writes what it finds there. What returned is lost with the
/// process.
void RunQueue(const Load& load, const std::filesystem::path& folder, CallTimes& times) {
    std::mutex mutex;
    std::condition_variable_any changed;
    std::vector<std::u16string> queue;
    std::jthread writer([&](const std::stop_token& stop) {
        const auto file = platform::OpenFile(folder / "queue", O_WRONLY | O_CREAT | O_TRUNC);
        std::size_t written = 0;
        std::vector<std::u16string> taken;
        std::vector<std::byte> bytes;
        while (true) {
            taken.clear();
            {
                std::unique_lock lock(mutex);
                if (!changed.wait(lock, stop, [&] { return !queue.empty(); })) {
                    return;
                }
                taken.swap(queue);
            }
            bytes.clear();
            for (const auto& text : taken) {
                const auto part = std::as_bytes(std::span(text));
                bytes.insert(bytes.end(), part.begin(), part.end());
            }
            platform::WriteAt(file, folder, bytes, written);
            written += bytes.size();
        }
    });
    RunThreads(load, [&](int thread) {
        return times.Timed(thread, [&](std::u16string_view text) {
            std::u16string message(text);
            {
                const std::lock_guard lock(mutex);
                queue.push_back(std::move(message));
            }
            changed.notify_one();
        });
    });
}

template <typename T>
T Median(std::vector<T> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// Medians over the rounds of each quantile.
class Quantiles {
  public:
    void Add(const CallTimes& times) {
        const auto sorted = times.Sorted();
        for (std::size_t i = 0; i < kShares.size(); ++i) {
            const auto place = static_cast<double>(sorted.size() - 1) * kShares.at(i).second;
            m_rounds.at(i).push_back(sorted[static_cast<std::size_t>(place)]);
        }
    }

    nlohmann::ordered_json Medians() const {
        nlohmann::ordered_json medians;
        for (std::size_t i = 0; i < kShares.size(); ++i) {
            medians[kShares.at(i).first] = Median(m_rounds.at(i));
        }
        return medians;
    }

  private:
    static constexpr std::array<std::pair<const char*, double>, 4> kShares = {
        {{"p50", 0.5}, {"p99", 0.99}, {"p99.9", 0.999}, {"max", 1}}};
    std::array<std::vector<std::int64_t>, kShares.size()> m_rounds;
};

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
    static constexpr std::array kCalls = {"call_ns",       "copy_call_ns",       "queue_call_ns",
                                          "paced_call_ns", "paced_copy_call_ns", "paced_queue_call_ns"};
    std::array<Quantiles, kCalls.size()> quantiles;
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
        const auto outcome = RunSession(load, placeOf("session-", round));
        add(outcome);
        session.push_back(outcome.nanoseconds);
        ratios.push_back(static_cast<double>(outcome.nanoseconds) / static_cast<double>(baseline.back()));
        std::size_t kind = 0;
        for (const auto pace : {std::chrono::microseconds(0), std::chrono::microseconds(10)}) {
            const Load timed{.threads = load.threads, .messages = load.messages, .pace = pace};
            const auto place = [&](const char* what) {
                return placeOf(what, 2 * round + (pace.count() != 0));
            };
            std::array<CallTimes, 3> times{CallTimes(load), CallTimes(load), CallTimes(load)};
            add(RunSession(timed, place("timed-"), times.data()));
            RunBaseline(timed, place("timed-copy-"), SIZE_MAX, &times[1]);
            RunQueue(timed, place("queue-"), times[2]);
            for (const auto& each : times) {
                quantiles.at(kind++).Add(each);
            }
        }
    }
    // Not before: see MakeFolder.
    std::filesystem::remove_all(folder);

    const bool allThere = total.readBack == std::int64_t{load.messages} * kRounds * 3 && total.lost == 0;
    nlohmann::ordered_json line = {
        {"threads", load.threads},
        {"messages", load.messages},
        {"ns_per_message", static_cast<double>(Median(session)) / load.messages},
        {"baseline_ns_per_message", static_cast<double>(Median(baseline)) / load.messages},
        {"ratio", Median(ratios)},
        {"baseline_with_new_files_ns_per_message", static_cast<double>(Median(files)) / load.messages},
        {"files", total.files},
        {"bytes", total.bytes},
        {"read_back", total.readBack},
        {"lost", total.lost},
        {"in_order", total.inOrder}};
    for (std::size_t i = 0; i < kCalls.size(); ++i) {
        line[kCalls.at(i)] = quantiles.at(i).Medians();
    }
    std::printf("%s\n", line.dump().c_str());
    return allThere && total.inOrder ? 0 : 1;
}

}  // namespace bench
