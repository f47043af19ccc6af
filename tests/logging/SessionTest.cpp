#include "platform/diagnostics/FileLoggingSession.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/tasks/Clock.h"
#include "tests/support/LogFolder.h"
#include "tests/support/TestClock.h"

namespace {

using platform::FileLoggingSession;
using platform::LoggingChannel;
using platform::LoggingLevel;
using Texts = std::vector<std::u16string>;

class LoggingSession : public testing::Test {
  protected:
    void Start() {
        m_session = std::make_shared<FileLoggingSession>(u"Kelvane_Session");
        m_session->LogFileGenerated().Add([this](auto&, platform::LogFileGeneratedEventArgs& args) {
            m_generated = tests::Texts(tests::ReadSound(platform::ToPathBytes(args.File()->Path())));
        });
        m_session->AddLoggingChannel(m_channel);
    }

    std::filesystem::path Save() {
        std::shared_ptr<platform::StorageFile> file;
        tests::DoWithLimit("the session", [&] { file = m_session->CloseAndSaveToFileAsync().get(); });
        return file ? platform::ToPathBytes(file->Path()) : std::string();
    }

    tests::StateFolderScope m_state{tests::Memory()};
    std::shared_ptr<LoggingChannel> m_channel = std::make_shared<LoggingChannel>(u"Kelvane_Channel");
    std::shared_ptr<FileLoggingSession> m_session;
    /// What was in the file that was handed out last; written by the session's thread, which ends with it.
    Texts m_generated;
};

TEST_F(LoggingSession, WritesEveryLevelAndEveryTextSoThatItReadsBack) {
    const std::u16string longest(32675, u'x');
    const std::u16string cutPair(32674, u'y');
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
    Start();
    for (const auto& row : rows) {
        m_channel->LogMessage(row.written, row.level);
    }
    Save();
    const auto events = tests::ReadFolder(m_state.Logs());
    ASSERT_EQ(events.size(), std::size(rows));
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].Text, rows[i].read) << i;
        EXPECT_EQ(events[i].Level, rows[i].level) << i;
        EXPECT_EQ(events[i].Channel, u"Kelvane_Channel");
        EXPECT_EQ(events[i].Process, static_cast<std::uint32_t>(getpid()));
        EXPECT_EQ(events[i].Thread, static_cast<std::uint32_t>(gettid()));
    }
}

TEST_F(LoggingSession, WritesTheClocksTimesAndBias) {
    TestClock clock;
    clock.Bias = -60;
    const platform::ClockScope scope(clock);
    Start();
    m_channel->LogMessage(u"text", LoggingLevel::Warning);
    clock.Advance(std::chrono::milliseconds(1));
    const auto bytes = tests::ReadBytes(Save());
    ASSERT_EQ(bytes.size(), 0x20000U);
    const struct {
        std::size_t at;
        std::int64_t time;
    } rows[] = {{0x58, clock.Steady() - 10000}, {0x170, clock.FileTime() - 10000}, {0x78, clock.FileTime()}};
    for (const auto& row : rows) {
        EXPECT_EQ(std::memcmp(&bytes[row.at], &row.time, sizeof row.time), 0) << row.at;
    }
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
    for (const std::uint64_t interruptions : {0x0U, 0x1U, 0x6U, 0xF0U, 0x924924U, 0x5555U}) {
        InterruptedClock clock(interruptions);
        const platform::ClockScope scope(clock);
        std::filesystem::remove_all(m_state.Logs());
        Start();
        // Three of them fill a file. The second file's 5 ms count as an error of the reading.
        for (int i = 0; i < 13; ++i) {
            clock.wallClock -= i == 3 ? 50000 : i == 6 ? kHour : 0;
            m_channel->LogMessage(std::u16string(30000, u'x'), LoggingLevel::Information);
        }
        Save();
        std::vector<std::int64_t> times;
        for (const auto& name : tests::Names(m_state.Logs())) {
            for (const auto& event : tests::ReadSound(m_state.Logs() / name)) {
                times.push_back(event.FileTime);
            }
        }
        ASSERT_EQ(times.size(), 13U);
        for (std::size_t i = 1; i < times.size(); ++i) {
            EXPECT_EQ(times[i] < times[i - 1], i == 6) << interruptions << " " << i;
        }
        EXPECT_GT(times[5] - times[6], kHour / 2);
    }
}

TEST_F(LoggingSession, RecordsAttachedChannelsAtTheirLevelUntilTheEndAndHandsOutWhatIsLeft) {
    Start();
    const auto other = std::make_shared<LoggingChannel>(u"Other");
    m_session->AddLoggingChannel(other, LoggingLevel::Warning);
    other->LogMessage(u"too low", LoggingLevel::Information);
    other->LogMessage(u"high", LoggingLevel::Warning);
    m_session->AddLoggingChannel(other, LoggingLevel::Critical);
    other->LogMessage(u"too low now", LoggingLevel::Error);
    m_session->RemoveLoggingChannel(other);
    other->LogMessage(u"removed", LoggingLevel::Critical);
    m_session->Close();
    m_channel->LogMessage(u"late", LoggingLevel::Critical);
    EXPECT_THROW(m_session->AddLoggingChannel(other), platform::Exception);

    Start();
    m_channel->LogMessage(u"next", LoggingLevel::Verbose);
    EXPECT_EQ(tests::Texts(tests::ReadSound(Save())), Texts{u"next"});
    EXPECT_EQ(m_generated, Texts{u"high"});
    std::filesystem::remove_all(m_state.Logs());
    Start();
    EXPECT_EQ(Save(), "") << "nothing was recorded";
}

}  // namespace
