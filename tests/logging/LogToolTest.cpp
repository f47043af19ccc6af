#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "platform/diagnostics/FileLoggingSession.h"
#include "tests/support/Golden.h"
#include "tests/support/LogFolder.h"
#include "tools/LogSources.h"
#include "tools/LogText.h"

namespace {

using platform::LoggingLevel;

/// What LogSources hands out, as texts.
class LogTool : public testing::Test {
  protected:
    logtool::LogSources Open(std::vector<logtool::Place> places) {
        return {std::move(places),
                [this](const platform::etl::TraceEvent& event) { m_texts.push_back(event.Text); },
                [this](const std::filesystem::path& path, const std::string&) {
                    m_problems.push_back(path.filename());
                },
                [this](const std::filesystem::path&, const std::string& loss) { m_losses.push_back(loss); }};
    }
    std::vector<std::u16string> Taken() { return std::exchange(m_texts, {}); }

    void Write(std::u16string_view text) { m_channel->LogMessage(text, LoggingLevel::Error); }

    using Lines = std::vector<std::u16string>;

    static constexpr std::size_t kClock = 0x58;
    /// The kind of the record behind one of three letters.
    static constexpr std::size_t kSecondRecordType = 0x10048 + 0x60 + 2;

    void Put(const std::string& name, std::span<const std::byte> bytes) {
        tests::WriteBytes(m_state.Logs() / name, bytes);
    }

    tests::StateFolderScope m_state;
    std::shared_ptr<platform::LoggingChannel> m_channel = std::make_shared<platform::LoggingChannel>(u"c");
    Lines m_texts;
    std::vector<std::string> m_problems;
    std::vector<std::string> m_losses;
};

TEST_F(LogTool, FollowsMessagesFromTheLiveFileIntoTheStoredOnesOnceEach) {
    auto sources = Open({{.Path = m_state.Logs(), .MayBeMissing = true},
                         {.Path = m_state.Stored(), .Newest = 1, .MayBeMissing = true}});
    EXPECT_FALSE(sources.Poll());
    const auto session = std::make_shared<platform::FileLoggingSession>(u"Kelvane_Session");
    session->AddLoggingChannel(m_channel);
    Write(u"one");
    EXPECT_TRUE(sources.Poll());
    EXPECT_EQ(Taken(), Lines{u"one"});
    Write(u"two");
    sources.Poll();
    EXPECT_EQ(Taken(), Lines{u"two"});
    // Three files' worth while nobody looks.
    Lines texts(9, std::u16string(30000, u'l'));
    texts.push_back(u"three");
    for (const auto& text : texts) {
        Write(text);
    }
    session->Close();
    std::filesystem::create_directories(m_state.Stored());
    for (const auto& name : tests::Names(m_state.Logs())) {
        std::filesystem::rename(m_state.Logs() / name, m_state.Stored() / ("Log-" + name));
    }
    sources.Poll();
    EXPECT_EQ(Taken(), texts);
    sources.Poll();
    EXPECT_TRUE(Taken().empty());
    EXPECT_TRUE(m_problems.empty());
}

TEST_F(LogTool, SaysOnceWhatCannotBeReadOrWasLostAndReadsTheRest) {
    auto bytes = tests::LogFile({u"one", u"two", u"three"}, 30);
    Put("sound.etl", bytes);
    Put("cut.etl", std::span(bytes).first(0x10200));
    bytes[kSecondRecordType] ^= std::byte{0xFF};
    bytes[kClock] ^= std::byte{1};
    Put("damaged.live", bytes);
    Put("stored.etl", bytes);
    std::ofstream(m_state.Logs() / "foreign.etl") << "no log file";
    // Neither there nor gone.
    std::filesystem::create_symlink("loop.etl", m_state.Logs() / "loop.etl");
    const auto text = m_state.Kelvane() / "text.live";
    std::ofstream(text) << "no live file";
    const auto empty = m_state.Kelvane() / "empty";
    std::filesystem::create_directory(empty);
    auto sources = Open(
        {{.Path = m_state.Logs()}, {.Path = text}, {.Path = empty}, {.Path = m_state.Kelvane() / "missing"}});
    sources.Poll();
    sources.Poll();
    EXPECT_EQ(Taken(), (Lines{u"one", u"two", u"three", u"one"}));
    std::ranges::sort(m_problems);
    EXPECT_EQ(m_problems, (std::vector<std::string>{"cut.etl", "damaged.live", "empty", "foreign.etl",
                                                    "loop.etl", "missing", "text.live"}));
    EXPECT_EQ(m_losses, (std::vector<std::string>{"30 messages were lost", "30 messages were lost"}));
}

TEST_F(LogTool, ShowsEachMessageOnceWhateverBecomesOfNamesAndCopies) {
    const std::u16string large(32600, u'l');
    auto bytes = tests::LogFile({u"one", u"two", large, u"last"});
    Put("b.etl", bytes);
    bytes[kSecondRecordType] ^= std::byte{0xFF};
    Put("a.etl", bytes);
    auto sources = Open({{.Path = m_state.Logs() / "a.etl"}, {.Path = m_state.Logs()}});
    sources.Poll();
    EXPECT_EQ(Taken(), (Lines{u"one", large, u"last", u"two"}));
    EXPECT_EQ(m_problems, std::vector<std::string>{"a.etl"});
    // Another file of the same name and size.
    std::filesystem::rename(m_state.Logs() / "b.etl", m_state.Kelvane() / "b.etl");
    bytes = tests::LogFile({u"new", u"two", large, u"last"});
    bytes[kClock] ^= std::byte{1};
    Put("b.etl", bytes);
    sources.Poll();
    EXPECT_EQ(Taken(), (Lines{u"new", u"two", large, u"last"}));
}

TEST(LogText, ShowsEachMessageOnOneLine) {
    const platform::etl::TraceEvent event{.FileTime = 134171714470451234,
                                          .Level = LoggingLevel::Warning,
                                          .Process = 12,
                                          .Thread = 34,
                                          .Channel = u"c",
                                          .Text = u"caf\u00E9\n\x1B[31m\x85\u202E\"\\\xD800"};
    EXPECT_EQ(logtool::TextLine(event, true),
              "2026-03-05 08:04:07.045 Warning 12:34 caf\xC3\xA9\\n\\u001B[31m\\u0085\\u202E\"\\\\\\uD800");
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    EXPECT_EQ(
        logtool::JsonLine(event, false),
        "{\"time\":\"2026-03-05T09:04:07.0451234+01:00\",\"level\":\"Warning\",\"process\":12,\"thread\":34,"
        "\"channel\":\"c\",\"message\":\"caf\xC3\xA9\\n\\u001B[31m\\u0085\\u202E\\\"\\\\\xEF\xBF\xBD\"}");
    EXPECT_EQ(logtool::TextLine({.FileTime = INT64_MIN, .Channel = {}, .Text = {}}, true),
              "1601-01-01 00:00:00.000 Verbose 0:0 ");
}

TEST(LogText, ReadsLevelsAndMoments) {
    EXPECT_EQ(logtool::ParseLevel("warning"), LoggingLevel::Warning);
    EXPECT_EQ(logtool::ParseLevel("loud"), std::nullopt);
    const std::int64_t now = 134171714470000000;  // 2026-03-05 08:04:07 UTC
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    tests::ExpectScripts("logging/since", [&] {
        return [&](const std::string& line) -> std::optional<std::string> {
            const bool isLocal = line.starts_with("local ");
            const auto moment = logtool::ParseSince(isLocal ? line.substr(6) : line, !isLocal, now);
            return moment ? logtool::JsonLine({.FileTime = *moment, .Channel = {}, .Text = {}}, true)
                                .substr(9, 28)
                          : "no time";
        };
    });
}

}  // namespace
