#include "platform/diagnostics/FileLoggingSession.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/core/Guarded.h"
#include "platform/core/Text.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"
#include "tests/support/EtlRules.h"
#include "tests/support/LogFolder.h"
#include "tests/support/TestClock.h"

namespace {

using platform::FileLoggingSession;
using platform::LoggingChannel;
using platform::LoggingLevel;

/// A channel and a session whose files, but for the last, are collected.
class LoggingSession : public testing::Test {
  protected:
    std::shared_ptr<FileLoggingSession> Start() {
        auto session = std::make_shared<FileLoggingSession>(u"Kelvane_Session");
        session->LogFileGenerated().Add(
            [this](FileLoggingSession&, platform::LogFileGeneratedEventArgs& args) {
                m_generated.With(
                    [&](auto& paths) { paths.push_back(platform::ToPathBytes(args.File()->Path())); });
            });
        session->AddLoggingChannel(m_channel);
        return session;
    }

    std::vector<std::string> Generated() {
        return m_generated.With([](const auto& paths) { return paths; });
    }

    /// All files, the last of which the end of the session saves.
    std::vector<std::string> Files(const std::shared_ptr<FileLoggingSession>& session) {
        const auto last = Last(session);
        auto paths = Generated();
        if (!last.empty()) {
            paths.push_back(last);
        }
        return paths;
    }

    std::filesystem::path Last(const std::shared_ptr<FileLoggingSession>& session) {
        const auto file = session->CloseAndSaveToFileAsync().get();
        return file ? std::filesystem::path(platform::ToPathBytes(file->Path())) : std::filesystem::path();
    }

    tests::StateFolderScope m_state{tests::Memory()};
    std::shared_ptr<LoggingChannel> m_channel = std::make_shared<LoggingChannel>(u"Kelvane_Channel");
    platform::Guarded<std::vector<std::string>> m_generated;
};

TEST_F(LoggingSession, WritesEveryLevelAndEveryTextSoThatItReadsBack) {
    const std::u16string longest(32675, u'x');
    std::u16string cutPair(32674, u'y');
    const struct {
        LoggingLevel level;
        std::u16string written;
        std::u16string read;
    } rows[] = {
        {LoggingLevel::Verbose, u"", u""},
        {LoggingLevel::Information, u"line\r\nbreak\ttab", u"line\r\nbreak\ttab"},
        {LoggingLevel::Warning, u"H\u00E9\U0001F600", u"H\u00E9\U0001F600"},
        {LoggingLevel::Error, std::u16string(u"before\0after", 12), u"before"},
        {LoggingLevel::Critical, u"\xDC00low \xD800", u"\uFFFDlow \uFFFD"},
        {LoggingLevel::Verbose, u"\xD83D\xD83D\xDE00\xDE00", u"\uFFFD\U0001F600\uFFFD"},
        {LoggingLevel::Verbose, longest, longest},
        {LoggingLevel::Verbose, longest + u"cut", longest},
        {LoggingLevel::Verbose, cutPair + u"\U0001F600", cutPair},
    };
    const auto session = Start();
    for (const auto& row : rows) {
        m_channel->LogMessage(row.written, row.level);
    }
    // A record takes a whole buffer from the sixth on: one file is full, the rest is in the last.
    const auto last = Last(session);
    ASSERT_EQ(Generated().size(), 1U);
    auto events = tests::ReadSound(Generated().front());
    const auto rest = tests::ReadSound(last);
    events.insert(events.end(), rest.begin(), rest.end());
    ASSERT_EQ(events.size(), std::size(rows));
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].Text, rows[i].read) << i;
        EXPECT_EQ(events[i].Level, rows[i].level) << i;
        EXPECT_EQ(events[i].Channel, u"Kelvane_Channel");
        EXPECT_EQ(events[i].Process, static_cast<std::uint32_t>(getpid()));
        EXPECT_EQ(events[i].Thread, static_cast<std::uint32_t>(gettid()));
    }
}

TEST_F(LoggingSession, WritesThePublishedBytes) {
    TestClock clock;
    clock.Bias = -60;
    const platform::ClockScope scope(clock);
    const auto session = Start();
    m_channel->LogMessage(u"H\u00E9\U0001F600", LoggingLevel::Warning);
    clock.Advance(std::chrono::milliseconds(1));
    const auto bytes = tests::ReadBytes(Last(session));
    const unsigned char record[] = {
        0x6e, 0x82, 0xd2, 0x4b, 0xa1, 0x54, 0xa9, 0x4b, 0xbf, 0x63, 0x92, 0xb7, 0x3e, 0xa1, 0xac, 0x4a,  //
        0x03, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    ASSERT_EQ(bytes.size(), 0x20000U);
    EXPECT_EQ(std::to_integer<int>(bytes[0x10048]), 0x7A);
    EXPECT_EQ(std::memcmp(&bytes[0x10048 + 0x18], record, sizeof record), 0);
    EXPECT_EQ(std::memcmp(&bytes[0x10048 + 0x70], "H\0\xE9\0\x3D\xD8\0\xDE\0\0\0\0\0\0\0\0\xFF", 17), 0);
    std::int64_t times[3];
    std::memcpy(&times[0], &bytes[0x170], 8);
    std::memcpy(&times[1], &bytes[0x58], 8);
    std::memcpy(&times[2], &bytes[0x78], 8);
    EXPECT_EQ(times[0], clock.FileTime() - 10000);
    EXPECT_EQ(times[1], clock.Steady() - 10000);
    EXPECT_EQ(times[2], clock.FileTime());
    EXPECT_EQ(std::to_integer<int>(bytes[0xB0]), 0xC4);
}

/// Goes on by a microsecond at each reading, and by 30 ms where `interruptions` has a one: there the thread
/// loses its processor.
class InterruptedClock final : public TestClock {
  public:
    explicit InterruptedClock(std::uint64_t interruptions) : m_interruptions(interruptions) {}

    std::int64_t FileTime() override { return Steady() + wallClock; }
    std::int64_t Steady() override {
        return m_now += (m_interruptions >> (m_readings++ % 64) & 1) != 0 ? 300000 : 10;
    }

    std::atomic<std::int64_t> wallClock = 133000000000000000;

  private:
    const std::uint64_t m_interruptions;
    std::atomic<unsigned> m_readings = 0;
    std::atomic<std::int64_t> m_now = 0;
};

TEST_F(LoggingSession, TimesGoBackBetweenFilesOnlyWhenTheWallClockDoes) {
    constexpr std::int64_t kHour = 36000000000;
    const std::u16string text(30000, u'x');
    for (const std::uint64_t interruptions : {0x0U, 0x1U, 0x6U, 0xF0U, 0x924924U, 0x5555U}) {
        InterruptedClock clock(interruptions);
        const platform::ClockScope scope(clock);
        m_generated.With([](auto& paths) { paths.clear(); });
        std::filesystem::remove_all(m_state.Logs());
        const auto session = Start();
        // Three of them fill a file.
        for (int i = 0; i < 13; ++i) {
            clock.wallClock -= i == 6 ? kHour : 0;
            m_channel->LogMessage(text, LoggingLevel::Information);
        }
        const auto paths = Files(session);
        ASSERT_EQ(paths.size(), 5U);
        std::int64_t time = 0;
        int back = 0;
        for (const auto& path : paths) {
            for (const auto& event : tests::ReadSound(path)) {
                if (event.FileTime < time) {
                    ++back;
                    EXPECT_GT(time - event.FileTime, kHour / 2);
                }
                time = event.FileTime;
            }
        }
        EXPECT_EQ(back, 1) << interruptions;
    }
}

TEST_F(LoggingSession, GoesOnToTheNextFileWhileFourThreadsWrite) {
    constexpr int kThreads = 4;
    constexpr int kMessages = 5000;
    const auto session = Start();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            for (int i = 0; i < kMessages; ++i) {
                m_channel->LogMessage(
                    platform::ToText(thread) + u" " + platform::ToText(i) + std::u16string(i % 97, u'.'),
                    static_cast<LoggingLevel>(i % 5));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto paths = Files(session);
    EXPECT_GT(paths.size(), 10U);
    std::map<std::u16string, int> next;
    std::int64_t time = 0;
    for (const auto& path : paths) {
        for (const auto& event : tests::ReadSound(path)) {
            const auto blank = event.Text.find(u' ');
            const int number = next[event.Text.substr(0, blank)]++;
            EXPECT_EQ(event.Text.substr(blank + 1),
                      platform::ToText(number) + std::u16string(number % 97, u'.'));
            EXPECT_EQ(event.Level, static_cast<LoggingLevel>(number % 5));
            EXPECT_GE(event.FileTime, time);
            time = event.FileTime;
        }
    }
    EXPECT_EQ(next.size(), 4U);
    for (const auto& [thread, count] : next) {
        EXPECT_EQ(count, kMessages);
    }
    EXPECT_TRUE(tests::Names(m_state.Logs(), ".live").empty());
}

TEST_F(LoggingSession, RecordsOnlyAttachedChannelsAtTheirLevelAndNothingAfterTheEnd) {
    auto session = Start();
    const auto other = std::make_shared<LoggingChannel>(u"Other");
    session->AddLoggingChannel(other, LoggingLevel::Warning);
    other->LogMessage(u"too low", LoggingLevel::Information);
    other->LogMessage(u"high", LoggingLevel::Warning);
    session->AddLoggingChannel(other, LoggingLevel::Critical);
    other->LogMessage(u"too low now", LoggingLevel::Error);
    session->RemoveLoggingChannel(other);
    other->LogMessage(u"removed", LoggingLevel::Critical);
    const auto last = Last(session);
    m_channel->LogMessage(u"late", LoggingLevel::Critical);
    EXPECT_EQ(tests::Texts(tests::ReadSound(last)), std::vector<std::u16string>{u"high"});
    EXPECT_THROW(session->AddLoggingChannel(other), platform::Exception);

    EXPECT_TRUE(Last(Start()).empty());
}

TEST_F(LoggingSession, HandsOutWhatAnEarlierSessionLeft) {
    // Closed without a save, and then a file that nobody moved.
    Start()->Close();
    auto session = Start();
    m_channel->LogMessage(u"left", LoggingLevel::Verbose);
    session->Close();
    session = Start();
    m_channel->LogMessage(u"next", LoggingLevel::Verbose);
    const auto last = Last(session);
    ASSERT_EQ(Generated().size(), 1U);
    EXPECT_EQ(tests::Texts(tests::ReadSound(Generated().front())), std::vector<std::u16string>{u"left"});
    EXPECT_EQ(tests::Texts(tests::ReadSound(last)), std::vector<std::u16string>{u"next"});
}

}  // namespace
