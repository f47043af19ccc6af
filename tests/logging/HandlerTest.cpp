#include "logging/LoggingHandler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <semaphore>

#include "logging/LogRetention.h"
#include "platform/core/Exception.h"
#include "platform/core/FileTime.h"
#include "platform/core/Text.h"
#include "platform/storage/ApplicationData.h"
#include "platform/storage/Places.h"
#include "platform/tasks/ThreadPool.h"
#include "tests/support/LogFolder.h"
#include "tests/support/TestClock.h"

namespace {

using namespace std::chrono_literals;
using platform::PropertyValue;

class TestApplication final : public platform::Application {
    void OnLaunched(const platform::LaunchActivatedEventArgs&) override {}
    void OnActivated(const platform::ActivatedEventArgs&) override {}
};

class Handler : public testing::Test {
  protected:
    /// The handler's work on workers keeps it, and uses the clock.
    ~Handler() override {
        m_handler.reset();
        platform::ThreadPool::Default().Stop();
    }

    void Start() {
        m_handler = Kelvane::LoggingHandler::Create(*m_application);
        m_handler->StatusChanged().Add(
            [this](Kelvane::LoggingHandler& sender, Kelvane::LoggingEventArgs& args) {
                EXPECT_EQ(&sender, m_handler.get());
                m_reports.With([&](auto& reports) { reports.emplace_back(args.Status(), args.Message()); });
            });
    }

    /// Returns when the handler's deferral is completed.
    void Suspend() {
        std::counting_semaphore<> done{0};
        {
            platform::SuspendingEventArgs args(
                std::make_shared<platform::SuspendingOperation>([&] { done.release(); }));
            m_application->Suspending().Raise(*m_application, args);
        }
        ASSERT_TRUE(done.try_acquire_for(30s)) << "the deferral is not completed";
    }

    void Resume() { m_application->Resuming().Raise(*m_application); }

    PropertyValue Setting(std::u16string_view key) {
        return platform::ApplicationData::Current().LocalSettings().Values().Lookup(key).value_or(u"absent");
    }
    void Set(std::u16string_view key, PropertyValue value) {
        platform::ApplicationData::Current().LocalSettings().Values().Insert(key, std::move(value));
    }

    std::vector<std::pair<int, std::u16string>> Reports() {
        return m_reports.With([](const auto& reports) { return reports; });
    }

    /// Enough for `files` whole files and the beginning of another.
    void Fill(int files) {
        for (int i = 0; i < files * 3 + 1; ++i) {
            m_handler->LogError(std::u16string(30000, u'f'));
        }
    }

    /// A sound log file, begun that long from now. Eight of these fill the limit; they take no space.
    void MakeLogFile(const std::filesystem::path& path, std::chrono::hours fromNow) {
        const auto start = m_clock.FileTime() + platform::ClockUnits(fromNow).count();
        tests::WriteBytes(path, tests::LogFile({u"t"}, 0, start));
        std::filesystem::resize_file(path, Kelvane::kLogFilesLimit / 8);
        // Dates of the file system count for nothing.
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - fromNow);
    }
    /// Nine that are one hour old, two hours and so on: `begin` + "1.etl", "2.etl" ...
    void MakeOldLogFiles(const std::string& begin) {
        for (int age = 1; age <= 9; ++age) {
            MakeLogFile(begin + std::to_string(age) + ".etl", -age * 1h);
        }
    }

    static constexpr std::u16string_view kEnabled = u"Kelvane_LoggingEnabled";
    static constexpr std::u16string_view kSaved = u"Kelvane_LogFileGeneratedBeforeSuspend";

    tests::StateFolderScope m_state{tests::Memory()};
    TestClock m_clock;
    platform::ClockScope m_scope{m_clock};
    std::shared_ptr<TestApplication> m_application = std::make_shared<TestApplication>();
    std::shared_ptr<Kelvane::LoggingHandler> m_handler;
    platform::Guarded<std::vector<std::pair<int, std::u16string>>> m_reports;
};

TEST_F(Handler, SavesAtSuspensionAndReportsAfterwardsOnce) {
    Start();
    EXPECT_EQ(Setting(kEnabled), PropertyValue(true));
    EXPECT_EQ(Setting(kSaved), PropertyValue(u"absent"));
    m_handler->LogVerbose(u"0");
    m_handler->LogInformation(u"1");
    m_handler->LogWarning(u"2");
    m_handler->LogError(u"3");
    m_handler->LogCritical(u"4");
    Suspend();
    const auto path = m_state.Stored() / "Log-260305-090407045.etl";
    int level = 0;
    for (const auto& event : tests::ReadSound(path)) {
        EXPECT_EQ(event.Text, platform::ToText(static_cast<int>(event.Level)));
        EXPECT_EQ(event.Level, static_cast<platform::LoggingLevel>(level++));
        EXPECT_EQ(event.Channel, u"Kelvane_Channel");
    }
    EXPECT_EQ(level, 5);
    EXPECT_EQ(Setting(kEnabled), PropertyValue(true));
    const auto ended = platform::FromPathBytes(path.native());
    EXPECT_EQ(Setting(kSaved), PropertyValue(ended));
    EXPECT_TRUE(Reports().empty());

    m_handler->LogVerbose(u"to nobody");
    Resume();
    EXPECT_EQ(Setting(kSaved), PropertyValue());

    // Another Kelvane on the same folder ends before this one.
    platform::ApplicationDataContainer other(platform::SettingsFolder() / "settings.xml");
    other.Values().Insert(kSaved, u"/its file");
    m_clock.Advance(1ms);
    Suspend();
    EXPECT_EQ(Setting(std::u16string(kSaved) + u"-1"), PropertyValue(u"/its file"));
    Resume();
    EXPECT_EQ(Setting(std::u16string(kSaved) + u"-1"), PropertyValue(u"absent"));
    Suspend();
    EXPECT_EQ(Setting(kSaved), PropertyValue()) << "nothing was recorded";
    Resume();
    EXPECT_EQ(Reports(), (std::vector<std::pair<int, std::u16string>>{{3, ended}, {3, u"/its file"}}));
    EXPECT_EQ(tests::Names(m_state.Stored()).size(), 1U);
    const auto readme = tests::ReadBytes(m_state.Stored() / "README.txt");
    EXPECT_TRUE(std::string_view(reinterpret_cast<const char*>(readme.data()), readme.size())
                    .starts_with("These files hold what Kelvane did, and this machine's data"));
}

TEST_F(Handler, LeavesFilesAloneWhileLoggingIsOff) {
    Set(kEnabled, false);
    Set(kSaved, u"");
    Start();
    m_handler->LogError(u"to nobody");
    EXPECT_EQ(Setting(kSaved), PropertyValue(u""));
    Suspend();
    EXPECT_EQ(Setting(kEnabled), PropertyValue(false));
    EXPECT_EQ(Setting(kSaved), PropertyValue());
    EXPECT_FALSE(std::filesystem::exists(m_state.Logs()));
}

TEST_F(Handler, StoresEachFileOfTheSessionAlsoWithinOneMillisecond) {
    Start();
    Fill(60);
    Suspend();
    // The last file is stored; the others are on their way.
    platform::ThreadPool::Default().Stop();
    EXPECT_TRUE(tests::Names(m_state.Logs()).empty());
    const auto names = tests::Names(m_state.Stored());
    ASSERT_EQ(names.size(), 61U);
    EXPECT_TRUE(std::ranges::any_of(
        names, [](const auto& name) { return name == "Log-Kelvane260305-090407045.etl"; }));
    EXPECT_EQ(tests::ReadFolder(m_state.Stored()).size(), 181U);
    for (const auto& [status, message] : Reports()) {
        EXPECT_EQ(status, 1);
        EXPECT_TRUE(
            message.starts_with(platform::FromPathBytes((m_state.Stored() / "Log-Kelvane").native())));
    }
}

TEST_F(Handler, EndsASuspensionWhoseFileCannotBeMovedAndLogsAgainWithinTheLimit) {
    platform::EnsureFolder(m_state.Stored().parent_path());
    std::ofstream(m_state.Stored()) << "a file where the folder should be";
    MakeOldLogFiles(m_state.Logs() / "Kelvane_Session-5-");
    setenv("KELVANE_DEBUG", "1", 1);
    testing::internal::CaptureStderr();
    Start();
    m_handler->LogError(u"kept");
    Suspend();
    Resume();
    m_handler->LogError(u"kept");
    Suspend();
    const auto said = testing::internal::GetCapturedStderr();
    const auto times = [&said](std::string_view words) {
        int count = 0;
        for (auto at = said.find(words); at != std::string::npos; at = said.find(words, at + 1)) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(times("kelvane: the log file /"), 1) << said;
    EXPECT_EQ(times("debug: The last log file is not in its folder: create folder "), 2) << said;
    EXPECT_GT(times("debug: After the log file /"), 7) << said;
    EXPECT_EQ(times("debug: After the log file /"), times(".etl: create folder ")) << said;
    EXPECT_EQ(Setting(kSaved), PropertyValue());
    EXPECT_EQ(tests::Names(m_state.Logs()).size(), 2U + 7U);

    for (const auto& name : tests::Names(m_state.Logs())) {
        if (const auto path = m_state.Logs() / name; std::filesystem::file_size(path) > 1000000) {
            std::filesystem::remove(path);
        }
    }
    std::filesystem::remove(m_state.Stored());
    Resume();
    m_handler->LogError(u"again");
    m_clock.SleepFor(std::chrono::seconds(1));
    Suspend();
    platform::ThreadPool::Default().Stop();
    EXPECT_TRUE(tests::Names(m_state.Logs()).empty());
    auto texts = tests::Texts(tests::ReadFolder(m_state.Stored()));
    std::ranges::sort(texts);
    EXPECT_EQ(texts, (std::vector<std::u16string>{u"again", u"kept", u"kept"}));
}

TEST_F(Handler, KeepsTheNewest64MegabytesAfterEveryStartAndEnd) {
    m_clock.Advance(30min);
    MakeOldLogFiles(m_state.Stored() / "Log-");
    MakeLogFile(m_state.Stored() / "Log-Kelvane-of-a-clock-ahead.etl", 24h);
    MakeLogFile(m_state.Stored() / "mine.etl", -99h);
    std::ofstream(m_state.Stored() / "Log-damaged.etl") << "no header";
    Start();
    platform::ThreadPool::Default().Stop();
    std::vector<std::string> kept = {"Log-1.etl", "Log-2.etl", "Log-3.etl", "Log-4.etl", "Log-5.etl",
                                     "Log-6.etl", "Log-7.etl", "Log-8.etl", "mine.etl"};
    EXPECT_EQ(tests::Names(m_state.Stored()), kept);

    m_handler->LogError(u"begun before the clock was set back");
    m_clock.Advance(-30min);
    Suspend();
    kept[7] = "Log-260305-090407045.etl";
    std::ranges::sort(kept);
    EXPECT_EQ(tests::Names(m_state.Stored()), kept);
}

TEST_F(Handler, KeepsAFileJustStoredWhateverItsClockSaid) {
    MakeOldLogFiles(m_state.Stored() / "Log-");
    m_clock.Advance(30min);
    Start();
    // Raised for the second file when all is done for the first.
    std::counting_semaphore<> isThere{0};
    m_handler->StatusChanged().Add([&](Kelvane::LoggingHandler&, Kelvane::LoggingEventArgs&) {
        m_clock.Advance(1ms);
        if (const auto reports = Reports(); reports.size() == 2) {
            EXPECT_TRUE(std::filesystem::exists(platform::ToPathBytes(reports[0].second)));
            isThere.release();
        }
    });
    m_handler->LogError(u"begun before the clock was set back");
    m_clock.Advance(-30min);
    Fill(2);
    EXPECT_TRUE(isThere.try_acquire_for(30s)) << "two files are not reported";
    Suspend();
}

}  // namespace
