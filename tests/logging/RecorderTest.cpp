// Where messages go step by step, and what becomes of them while their files cannot be stored.

#include "platform/diagnostics/LogFileRecorder.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <semaphore>
#include <sstream>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/LoggingChannel.h"
#include "platform/storage/Places.h"
#include "tests/support/Golden.h"
#include "tests/support/LogFolder.h"

namespace {

using namespace std::chrono_literals;
namespace etl = platform::etl;
using platform::LogFileRecorder;

/// Plays a script of what happens to a recorder. Nothing takes time: where a caller would wait, the recorder
/// takes steps instead.
class Scenario {
  public:
    ~Scenario() { umount2(m_state.Logs().c_str(), MNT_DETACH); }

    std::optional<std::string> Play(const std::string& line) {
        testing::internal::CaptureStderr();
        Do(line);
        std::istringstream said(testing::internal::GetCapturedStderr());
        for (std::string each; std::getline(said, each);) {
            Note("said: " + each);
        }
        auto text = std::exchange(m_text, "");
        return m_isPossible ? std::optional(std::move(text)) : std::nullopt;
    }

  private:
    void Note(std::string what) {
        if (const auto folder = what.find("/kelvane/Logs"); folder != what.npos) {
            what.replace(what.find('/'), folder - what.find('/') + 1, ".../");
        }
        m_text += what + "\n";
    }

    void Do(const std::string& line) {
        std::istringstream words(line);
        std::string verb;
        int count = 1;
        words >> verb >> count;
        if (verb == "start") {
            m_channel.Detach(m_recorder.get());
            m_recorder = std::make_shared<LogFileRecorder>(
                m_state.Logs(), u"S",
                [this](const auto& path) {
                    Note("reported: " + path.native());
                    Do(std::exchange(m_atReport, ""));
                },
                [this](auto& lock, auto&, auto limit, const auto& reached) {
                    lock.unlock();
                    Wait(limit);
                    lock.lock();
                    return reached() || (Note("in vain"), false);
                });
            m_channel.Attach(m_recorder, platform::LoggingLevel::Verbose);
        } else if (verb == "write") {
            // Three fill a file, 24 the live file.
            while (count-- > 0) {
                m_channel.LogMessage(platform::ToText(m_written++) + std::u16string(30000, u'x'),
                                     platform::LoggingLevel::Error);
            }
        } else if (verb == "step") {
            while (count-- > 0) {
                static constexpr const char* kStates[] = {"Starting", "Recording", "Outage", "Closing",
                                                          "Ended"};
                Note(kStates[static_cast<int>(m_recorder->Step())]);
            }
        } else if (verb == "run") {
            tests::DoWithLimit("the recorder", [this] { m_recorder->Run(); });
        } else if (verb == "close") {
            m_recorder->Close();
        } else if (verb == "last") {
            try {
                Note(m_recorder->LastFile().value_or("none"));
            } catch (const platform::Exception& exception) {
                Note(exception.what());
            }
        } else if (verb == "steps-per-wait") {
            m_stepsPerWait = count;
        } else if (verb == "at-wait") {
            std::getline(words >> std::ws, m_atWait[count]);
        } else if (verb == "at-report") {
            std::getline(words >> std::ws, m_atReport);
        } else if (verb == "delete-folder") {
            std::filesystem::remove_all(m_state.Logs());
        } else if (verb == "block-folder") {
            tests::WriteBytes(m_state.Logs(), {});
        } else if (verb == "block-storing") {
            std::filesystem::create_directory(m_state.Logs() / "S-1.live.new");
        } else if (verb == "allow-storing") {
            std::filesystem::remove(m_state.Logs() / "S-1.live.new");
        } else if (verb == "leave-file") {
            tests::WriteBytes(m_state.Logs() / "S-7-1.etl", tests::LogFile({u"left"}));
        } else if (verb == "without-descriptors") {
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
            setrlimit(RLIMIT_NOFILE, &none);
            Do(line.substr(line.find(' ') + 1));
            setrlimit(RLIMIT_NOFILE, &limit);
        } else if (verb == "disk") {
            m_isPossible = MountDisk("size=" + std::to_string(count) + "k");
        } else if (verb == "files") {
            NoteFiles();
        } else {
            EXPECT_TRUE(verb.empty() || verb == "#") << line;
        }
    }

    void Wait(std::chrono::microseconds limit) {
        const bool isEndless = limit == LogFileRecorder::kNoLimit;
        const auto length = isEndless ? "without a limit" : std::to_string(limit.count()) + " us";
        if (++m_waits > 200) {
            throw std::runtime_error("what is waited for never happens: " + length);
        }
        Note("waits " + length);
        Do(m_atWait[m_waits]);
        for (int step = 0; step < m_stepsPerWait; ++step) {
            m_recorder->Step();
        }
    }

    /// A small disk for the folder, in a mount namespace of this process.
    bool MountDisk(const std::string& size) {
        if (!std::exchange(m_hasDisk, true)) {
            const auto user = "0 " + std::to_string(geteuid()) + " 1";
            const auto group = "0 " + std::to_string(getegid()) + " 1";
            if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
                std::ofstream("/proc/self/uid_map") << user;
                std::ofstream("/proc/self/setgroups") << "deny";
                std::ofstream("/proc/self/gid_map") << group;
            }
            platform::EnsureFolder(m_state.Logs());
            return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("small", m_state.Logs().c_str(), "tmpfs", 0, size.c_str()) == 0;
        }
        return mount(nullptr, m_state.Logs().c_str(), nullptr, MS_REMOUNT, size.c_str()) == 0;
    }

    void NoteFiles() {
        for (const auto& name : tests::Names(m_state.Logs(), ".live")) {
            Note(name);
        }
        for (const auto& name : tests::Names(m_state.Logs())) {
            auto line = name + ":";
            for (const auto& event : tests::ReadSound(m_state.Logs() / name)) {
                line += " " + platform::ToUtf8(event.Text.substr(0, event.Text.find(u'x')));
            }
            const auto summary =
                etl::ReadEventTrace(tests::ReadBytes(m_state.Logs() / name), [](const auto&) {});
            Note(line + ", " + std::to_string(summary.Header.EventsLost) + " lost");
        }
    }

    tests::StateFolderScope m_state{tests::Memory()};
    platform::LoggingChannel m_channel{u"c"};
    std::shared_ptr<LogFileRecorder> m_recorder;
    std::string m_text;
    std::map<int, std::string> m_atWait;
    std::string m_atReport;
    int m_stepsPerWait = 8;
    int m_waits = 0;
    int m_written = 0;
    bool m_hasDisk = false;
    bool m_isPossible = true;
};

TEST(Recorder, KeepsOrCountsEveryMessageWhateverHappens) {
    tests::ExpectScripts("logging/recorder", [] {
        return [scenario = std::make_shared<Scenario>()](const std::string& line) {
            return scenario->Play(line);
        };
    });
}

TEST(Recorder, AFullImageWakesTheThreadThatSleeps) {
    const tests::StateFolderScope state(tests::Memory());
    platform::LoggingChannel channel(u"c");
    std::counting_semaphore<> asleep{0};
    std::counting_semaphore<> stored{0};
    const auto recorder = std::make_shared<LogFileRecorder>(
        state.Logs(), u"S", [&](const auto&) { stored.release(); },
        [&](auto& lock, auto& changed, auto limit, const auto& reached) {
            if (limit == LogFileRecorder::kNoLimit) {
                asleep.release();
                changed.wait(lock, reached);
            }
            return reached();
        });
    channel.Attach(recorder, platform::LoggingLevel::Verbose);
    std::thread thread([&] { recorder->Run(); });
    EXPECT_TRUE(asleep.try_acquire_for(30s)) << "it does not sleep";
    for (int message = 0; message < 4; ++message) {
        channel.LogMessage(std::u16string(30000, u'x'), platform::LoggingLevel::Error);
    }
    EXPECT_TRUE(stored.try_acquire_for(30s)) << "it was not woken";
    recorder->Close();
    tests::DoWithLimit("the recorder's thread", [&] { thread.join(); });
}

}  // namespace
