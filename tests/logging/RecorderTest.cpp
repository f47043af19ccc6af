// Where messages go step by step, and what becomes of them while their files cannot be stored.

#include "platform/diagnostics/LogFileRecorder.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <semaphore>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/LoggingChannel.h"
#include "platform/storage/Places.h"
#include "tests/support/LogFolder.h"

namespace {

using namespace std::chrono_literals;
namespace etl = platform::etl;
using platform::ImageRing;
using platform::LogFileRecorder;
using State = LogFileRecorder::State;

TEST(ImageRing, StoresInTheOrderOfFillingAndCountsEachLossOnce) {
    constexpr std::size_t kSize = platform::etl::kFileSize;
    std::vector<std::byte> memory(4 * kSize);
    ImageRing ring(4);
    const std::u16string text(30000, u'x');
    const platform::etl::Message message{.Channel = u"c", .Text = text};
    for (auto* at = memory.data(); !ring.IsComplete(); at += kSize) {
        ring.Add(etl::EventTraceImage(at));
    }
    const auto fill = [&] {
        ASSERT_TRUE(!ring.Append(message, 0) && ring.CanBegin());
        ring.Begin(message, 0, 0);
        while (ring.Append(message, 0)) {
        }
    };
    const auto store = [&](const ImageRing::Full& full) {
        full.Image->Prepare(u"", u"", 0);
        ring.Stored(full);
    };
    for (int i = 0; i < 4; ++i) {
        fill();
    }
    EXPECT_FALSE(ring.CanBegin() || ring.IsWaitOver());
    ring.Drop();
    ring.WaitedInVain();
    EXPECT_FALSE(ring.MayWait());
    const auto first = ring.FirstFull();
    // While its file is on the way to the disk.
    ring.Drop();
    store(first);
    EXPECT_EQ(ring.Counted(), 1U);
    EXPECT_TRUE(ring.MayWait() && !ring.IsWaitOver());
    store(ring.FirstFull());
    EXPECT_TRUE(ring.Counted() == 2 && ring.IsWaitOver());
    ring.Begin(message, 0, 0);
    ring.Close();
    EXPECT_FALSE(ring.MayWait());
    std::vector<const etl::EventTraceImage*> images;
    for (bool isLast = false; ring.HasFull(); store(ring.FirstFull())) {
        EXPECT_FALSE(isLast);
        isLast = ring.FirstFull().IsLast;
        images.push_back(ring.FirstFull().Image);
    }
    EXPECT_EQ(images,
              (std::vector<const etl::EventTraceImage*>{first.Image + 2, first.Image + 3, first.Image}));
}

/// A recorder that the test takes through its steps. Nothing takes time: whoever would wait calls
/// m_whileWaiting instead.
class Recorder : public testing::Test {
  protected:
    Recorder() { testing::internal::CaptureStderr(); }
    ~Recorder() override { umount2(m_state.Logs().c_str(), MNT_DETACH); }

    void Start() {
        m_recorder = std::make_shared<LogFileRecorder>(
            m_state.Logs(), u"S", [this](const auto& path) { m_reported.push_back(path.filename()); },
            [this](auto& lock, auto&, auto limit, const auto& reached) {
                m_waits.push_back(limit);
                if (m_waits.size() > 1000) {
                    throw std::runtime_error("what is waited for never happens");
                }
                lock.unlock();
                m_whileWaiting();
                lock.lock();
                return reached();
            });
        m_channel.Attach(m_recorder, platform::LoggingLevel::Verbose);
    }

    /// Messages of which three fill a file, and eight files the live file.
    void Write(int messages) {
        for (int i = 0; i < messages; ++i) {
            m_channel.LogMessage(platform::ToText(m_written++) + std::u16string(30000, u'x'),
                                 platform::LoggingLevel::Error);
        }
    }

    void Steps(int count) {
        while (count-- > 0) {
            m_recorder->Step();
        }
    }

    /// A file where the folder should be.
    void Block() {
        platform::EnsureFolder(m_state.Kelvane());
        std::ofstream(m_state.Logs()) << "no folder";
    }

    /// What is in the folder is in order, and with what is counted as lost it is all that was written.
    void ExpectStored(int lost) {
        std::vector<int> numbers;
        for (const auto& event : tests::ReadFolder(m_state.Logs())) {
            numbers.push_back(std::stoi(platform::ToUtf8(event.Text)));
        }
        std::uint32_t counted = 0;
        for (const auto& name : tests::Names(m_state.Logs())) {
            counted +=
                etl::ReadEventTrace(tests::ReadBytes(m_state.Logs() / name), [](auto&&) {}).Header.EventsLost;
        }
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
        EXPECT_EQ(static_cast<int>(counted), lost);
        EXPECT_EQ(static_cast<int>(numbers.size()) + lost, m_written - m_deleted);
    }

    void Close() {
        m_recorder->Close();
        Steps(20);
        EXPECT_EQ(m_recorder->Step(), State::Ended);
    }

    /// That an outage began and ended, both once.
    static void ExpectSaid(int lost) {
        const auto said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(said, '\n'), 2) << said;
        EXPECT_TRUE(said.starts_with("kelvane: log files cannot be stored (")) << said;
        EXPECT_TRUE(said.ends_with("\nkelvane: log files are stored again; " + std::to_string(lost) +
                                   " messages were lost\n"))
            << said;
    }

    tests::StateFolderScope m_state{tests::Memory()};
    platform::LoggingChannel m_channel{u"c"};
    std::shared_ptr<LogFileRecorder> m_recorder;
    std::vector<std::string> m_reported;
    std::vector<std::chrono::microseconds> m_waits;
    std::function<void()> m_whileWaiting = [this] { Steps(8); };
    int m_written = 0;
    int m_deleted = 0;
};

TEST_F(Recorder, AFullDiskLosesOnlyWhatHasNoRoomAndIsSaidOnce) {
    platform::EnsureFolder(m_state.Logs());
    // A small disk of its own, in a mount namespace of this process.
    const auto user = "0 " + std::to_string(geteuid()) + " 1";
    const auto group = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
        std::ofstream("/proc/self/uid_map") << user;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/gid_map") << group;
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "this machine allows no mount namespace";
    }
    ASSERT_EQ(mount("small", m_state.Logs().c_str(), "tmpfs", 0, "size=2560k"), 0);
    Start();
    // Two files have room beside the live file; the live file keeps eight more.
    Write(60);
    ASSERT_EQ(tests::Names(m_state.Logs()).size(), 2U);
    for (const auto& name : tests::Names(m_state.Logs())) {
        m_deleted += 3;
        std::filesystem::remove(m_state.Logs() / name);
    }
    ASSERT_EQ(mount(nullptr, m_state.Logs().c_str(), nullptr, MS_REMOUNT, "size=16m"), 0);
    Close();
    ExpectStored(60 - 10 * 3);
    ExpectSaid(60 - 10 * 3);
}

TEST_F(Recorder, AFolderThatCannotBeUsedIsTriedAgainAndTheLossIsReportedOnce) {
    Block();
    Start();
    Write(5);
    EXPECT_EQ(m_recorder->Step(), State::Outage);
    std::filesystem::remove(m_state.Logs());
    tests::WriteBytes(m_state.Logs() / "S-7-1.etl", tests::LogFile({u"-1"}));
    EXPECT_EQ(m_recorder->Step(), State::Starting);
    EXPECT_EQ(m_recorder->Step(), State::Recording);
    EXPECT_EQ(m_reported, std::vector<std::string>{"S-1-1.etl"}) << "what an earlier session left";
    ++m_written;
    ExpectSaid(5);

    testing::internal::CaptureStderr();
    Write(1);
    std::filesystem::remove_all(m_state.Logs());
    m_deleted = 1;
    Block();
    Write(3);
    EXPECT_EQ(m_recorder->Step(), State::Outage);
    std::filesystem::remove(m_state.Logs());
    EXPECT_EQ(m_recorder->Step(), State::Recording);
    EXPECT_EQ(tests::Names(m_state.Logs(), ".live").size(), 1U) << "a crash now would lose messages";
    ExpectSaid(0);
    Close();
    ExpectStored(5);
}

TEST_F(Recorder, WaitsForASlowDiskOnceAndGoesOnWithWhatIsFree) {
    Start();
    Steps(1);
    m_whileWaiting = [] {};
    Write(8 * 3 + 2);
    EXPECT_EQ(m_waits, std::vector<std::chrono::microseconds>{1s});
    Steps(1);
    m_whileWaiting = [&] { Steps(1); };
    Write(6);
    EXPECT_EQ(m_waits.size(), 2U);
    Close();
    EXPECT_EQ(m_reported.size(), 9U);
    EXPECT_EQ(m_recorder->LastFile(), m_state.Logs() / "S-1-10.etl");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(tests::Names(m_state.Logs(), ".live").empty());
    ExpectStored(2);
}

TEST_F(Recorder, ASaveThatFailsIsMadeGoodByTheNextStart) {
    Start();
    Write(2);
    std::filesystem::rename(m_state.Logs(), m_state.Kelvane() / "Aside");
    Block();
    Close();
    EXPECT_THROW(m_recorder->LastFile(), platform::Exception);

    std::filesystem::remove(m_state.Logs());
    std::filesystem::rename(m_state.Kelvane() / "Aside", m_state.Logs());
    m_channel.Detach(m_recorder.get());
    Start();
    Close();
    EXPECT_EQ(std::ranges::count(testing::internal::GetCapturedStderr(), '\n'), 1);
    ExpectStored(0);
}

TEST_F(Recorder, TriesAgainEverySecondAndSleepsWhenThereIsNothingToDo) {
    Block();
    Start();
    m_whileWaiting = [&] {
        if (m_waits.size() == 2) {
            std::filesystem::remove(m_state.Logs());
        } else if (m_waits.back() == LogFileRecorder::kNoLimit) {
            Write(4);
        } else if (m_waits.size() == 54) {
            m_recorder->Close();
        }
    };
    m_recorder->Run();
    std::vector<std::chrono::microseconds> waits(54, 200us);
    waits[0] = waits[1] = 1s;
    waits[52] = LogFileRecorder::kNoLimit;
    EXPECT_EQ(m_waits, waits);
    ExpectSaid(0);
    ExpectStored(0);
}

TEST_F(Recorder, AFullImageWakesTheThreadThatSleeps) {
    std::counting_semaphore<> asleep{0};
    std::counting_semaphore<> stored{0};
    const auto recorder = std::make_shared<LogFileRecorder>(
        m_state.Logs(), u"S", [&](const auto&) { stored.release(); },
        [&](auto& lock, auto& changed, auto limit, const auto& reached) {
            if (limit == LogFileRecorder::kNoLimit) {
                asleep.release();
                changed.wait(lock, reached);
            }
            return reached();
        });
    m_channel.Attach(recorder, platform::LoggingLevel::Verbose);
    std::thread thread([&] { recorder->Run(); });
    EXPECT_TRUE(asleep.try_acquire_for(30s)) << "it does not sleep";
    Write(4);
    EXPECT_TRUE(stored.try_acquire_for(30s)) << "it was not woken";
    recorder->Close();
    thread.join();
}

}  // namespace
