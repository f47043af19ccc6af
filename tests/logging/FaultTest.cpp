// What becomes of messages while their files cannot be stored.

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "platform/storage/Places.h"
#include "tests/support/LogFolder.h"

namespace {

using platform::FileLoggingSession;

class Fault : public testing::Test {
  protected:
    void Start() {
        m_session = std::make_shared<FileLoggingSession>(u"Kelvane_Session");
        m_session->AddLoggingChannel(m_channel);
    }

    /// Messages of which three fill a file.
    void Write(int messages) {
        for (int i = 0; i < messages; ++i) {
            m_channel->LogMessage(platform::ToText(m_written++) + std::u16string(30000, u'x'),
                                  platform::LoggingLevel::Error);
        }
    }

    /// Reads all files back: what was written is there, in order, or counted as lost.
    void ExpectAllAccountedFor(int lostAtLeast) {
        std::uint32_t lost = 0;
        std::vector<int> numbers;
        for (const auto& event : tests::ReadFolder(m_state.Logs())) {
            numbers.push_back(std::stoi(platform::ToUtf8(event.Text)));
        }
        for (const auto& name : tests::Names(m_state.Logs())) {
            lost += platform::etl::ReadEventTrace(tests::ReadBytes(m_state.Logs() / name), [](auto&&) {
                    }).Header.EventsLost;
        }
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
        EXPECT_EQ(static_cast<int>(numbers.size() + lost), m_written - m_deleted);
        EXPECT_GE(static_cast<int>(lost), lostAtLeast);
    }

    static int Lines(const std::string& said) {
        return static_cast<int>(std::count(said.begin(), said.end(), '\n'));
    }

    tests::StateFolderScope m_state;
    std::shared_ptr<platform::LoggingChannel> m_channel = std::make_shared<platform::LoggingChannel>(u"c");
    std::shared_ptr<FileLoggingSession> m_session;
    int m_written = 0;
    int m_deleted = 0;
};

TEST_F(Fault, AFullDiskLosesOnlyWhatHasNoRoomAndIsSaidOnce) {
    platform::EnsureFolder(m_state.Logs());
    // A small disk of its own, in a mount namespace of this process.
    const std::string users = "0 " + std::to_string(geteuid()) + " 1";
    const std::string groups = "0 " + std::to_string(getegid()) + " 1";
    bool isOwn = unshare(CLONE_NEWNS) == 0;
    if (!isOwn && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
        isOwn = true;
        std::ofstream("/proc/self/uid_map") << users;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/gid_map") << groups;
    }
    if (!isOwn || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "this machine allows no mount namespace";
    }
    ASSERT_EQ(mount("small", m_state.Logs().c_str(), "tmpfs", 0, "size=2560k"), 0);
    testing::internal::CaptureStderr();
    Start();
    // One file has room beside the live file; the live file keeps eight more.
    Write(60);
    ASSERT_EQ(tests::Names(m_state.Logs()).size(), 2U);
    for (const auto& name : tests::Names(m_state.Logs())) {
        m_deleted += 3;
        std::filesystem::remove(m_state.Logs() / name);
    }
    ASSERT_EQ(mount(nullptr, m_state.Logs().c_str(), nullptr, MS_REMOUNT, "size=16m"), 0);
    m_session->CloseAndSaveToFileAsync().wait();
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(Lines(said), 2) << said;
    ExpectAllAccountedFor(60 - 10 * 3);
    umount(m_state.Logs().c_str());
}

TEST_F(Fault, AFolderThatCannotBeUsedIsTriedAgainAndTheLossIsCounted) {
    platform::EnsureFolder(m_state.Kelvane());
    std::ofstream(m_state.Logs()) << "a file where the folder should be";
    testing::internal::CaptureStderr();
    Start();
    Write(5);
    std::filesystem::remove(m_state.Logs());
    while (tests::Names(m_state.Logs(), ".live").empty()) {
        std::this_thread::yield();
    }
    // The recorder takes the live file into use a moment after it has appeared.
    while (tests::Names(m_state.Logs()).empty()) {
        Write(1);
    }
    m_session->CloseAndSaveToFileAsync().wait();
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(Lines(said), 2) << said;
    ExpectAllAccountedFor(5);
}

TEST_F(Fault, AVanishedFolderIsMadeAgainAndNothingIsLost) {
    Start();
    Write(1);
    std::filesystem::remove_all(m_state.Logs());
    Write(5);
    while (tests::Names(m_state.Logs(), ".live").empty()) {
        std::this_thread::yield();
    }
    m_session->CloseAndSaveToFileAsync().wait();
    ExpectAllAccountedFor(0);
    EXPECT_TRUE(tests::Names(m_state.Logs(), ".live").empty());
}

TEST_F(Fault, ASaveThatFailsIsMadeGoodByTheNextSession) {
    Start();
    Write(2);
    std::filesystem::rename(m_state.Logs(), m_state.Kelvane() / "Aside");
    std::ofstream(m_state.Logs()) << "a file where the folder should be";
    testing::internal::CaptureStderr();
    EXPECT_THROW(m_session->CloseAndSaveToFileAsync().wait(), platform::Exception);
    EXPECT_EQ(Lines(testing::internal::GetCapturedStderr()), 1);

    std::filesystem::remove(m_state.Logs());
    std::filesystem::rename(m_state.Kelvane() / "Aside", m_state.Logs());
    Start();
    m_session->Close();
    ExpectAllAccountedFor(0);
}

}  // namespace
