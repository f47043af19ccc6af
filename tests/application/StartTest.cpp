#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/TextOutput.h"
#include "platform/storage/ApplicationData.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/Window.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/PackageScope.h"

namespace Kelvane {

namespace {

class StartTest : public ApplicationTest {
  protected:
    StartTest() { m_systemInformation = Record(Letters(10)); }
};

/// A kind of start and the file that holds its trace line for line.
struct StartKind {
    const char* trace;
    std::vector<std::string> words;
    bool hasService;

    friend void PrintTo(const StartKind& kind, std::ostream* out) { *out << kind.trace; }
};

class StartTraceTest : public StartTest, public testing::WithParamInterface<StartKind> {
  protected:
    /// The log file of the last run, each line behind the first letter of its level; the user-interface
    /// thread's lines first, then those of the workers, which run one after the other.
    std::string LoggedByThread() const {
        std::string userInterface;
        std::string workers;
        for (const auto& event : tests::ReadFolder(StoredLogs())) {
            auto& lines = event.thread == static_cast<std::uint32_t>(gettid()) ? userInterface : workers;
            lines += platform::LoggingLevelName(event.level)[0];
            lines += " " + platform::ToUtf8(event.text) + "\n";
        }
        return "# user interface\n" + userInterface + "# workers\n" + workers;
    }
};

TEST_P(StartTraceTest, WritesItsTraceLineForLine) {
    m_options.Words = GetParam().words;
    if (GetParam().hasService) {
        StartService();
    }
    Run();
    std::ostringstream expected;
    expected << std::ifstream(std::string(KELVANE_TRACES) + "/" + GetParam().trace + ".txt").rdbuf();
    EXPECT_EQ(LoggedByThread(), expected.str());
}

INSTANTIATE_TEST_SUITE_P(Starts, StartTraceTest,
                         testing::Values(StartKind{"Menu", {}, true},
                                         StartKind{"MenuWithoutService", {}, false},
                                         StartKind{"Hotkey", {"hot", "key"}, true},
                                         StartKind{"HotkeyWithoutService", {"hot", "key"}, false}),
                         [](const auto& kind) { return std::string(kind.param.trace); });

TEST_F(StartTest, AHotkeyStartReadsBothRecordsAndFillsThePage) {
    m_options.Words = {"hot", "key"};
    m_usbTypeC = u"x, USB 4<.^.>";
    StartService();
    Run({[&] {
        EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
        EXPECT_TRUE(IsVisible(u"USBType"));
    }});
}

TEST_F(StartTest, AHotkeyStartWithoutServiceLeavesThePageAsConstructed) {
    m_options.Words = {"kelvane:?x=1"};
    EXPECT_EQ(Run({[&] {
                  EXPECT_FALSE(IsVisible(u"SysInfoLabel0"));
                  EXPECT_TRUE(Find<platform::ProgressRing>(u"TitleBarProgressRing")->IsActive());
              }}),
              0);
    EXPECT_TRUE(HasTraced("Kelvane::App::OnActivatedURI Scheme = kelvane"));
}

TEST_F(StartTest, APrelaunchShowsNothingAndTheNextStartShowsTheMainPage) {
    m_options.Prelaunch = true;
    StartService();
    Run({[&] {
             EXPECT_FALSE(platform::Window::Current()->Content());
             EXPECT_FALSE(m_world->Window().IsShown());
             m_world->Client().Started({}, false);
         },
         [&] {
             EXPECT_TRUE(m_world->Window().IsShown());
             EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
             const auto before = platform::Window::Current()->Content();
             m_world->Client().Started({}, false);
             EXPECT_EQ(platform::Window::Current()->Content(), before);
             m_world->Client().Started({"kelvane:"}, false);
             EXPECT_NE(platform::Window::Current()->Content(), before)
                 << "an activation has a frame of its own";
         },
         [&] { EXPECT_EQ(Text(u"SysInfoValue0"), u"a"); }});
}

TEST_F(StartTest, FlowsRightToLeftForALanguageThatAsksForIt) {
    m_options.Languages = {u"he-IL"};
    m_options.LocaleName = "zh_MO.UTF-8";
    StartService();
    Run({[&] {
        const auto text = Find<platform::TextBlock>(u"SysInfoValue0");
        EXPECT_EQ(text->FlowDirection(), platform::FlowDirection::RightToLeft);
        const auto strip =
            dynamic_cast<platform::Panel*>(Find<platform::UIElement>(u"TitleBarDragArea")->Parent());
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 114, .Top = 0, .Right = 0, .Bottom = 0}));
        m_world->Window().SetOverlayInsets({.Left = 74, .Right = 34});
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 34, .Top = 0, .Right = 74, .Bottom = 0}));
        EXPECT_EQ(strip->Layout().Height, 30);
    }});
    EXPECT_TRUE(HasTraced("Kelvane::App::GetAppLocaleLanguage is Chinese Traditional"));
}

TEST_F(StartTest, ReportsALocaleNameThatIsTooLong) {
    m_options.LocaleName = "tooling_US";
    Run();
    EXPECT_TRUE(
        HasTraced("Kelvane::App::GetAppLocaleGetLocaleInfo: UserDefaultLanguage failed with error : 122"));
    EXPECT_EQ(TraceOf({"Kelvane::App::GetAppLocaleThe"}).size(), 0U);
}

TEST_F(StartTest, AWorldWithoutAWindowIsTracedAndReadsNothing) {
    m_options.HasWindow = false;
    StartService();
    Run();
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::MainPageGetForCurrentThread() = NULL"));
    EXPECT_TRUE(HasTraced("Kelvane::MainPage::UpdateSysInfoDetailsGetForCurrentThread() = NULL"));
    EXPECT_TRUE(HasTraced("Kelvane::App::OnLaunchedGetForCurrentThread() = NULL"));
}

TEST_F(StartTest, APageThatCannotBeLoadedEndsTheApplicationWithTheReason) {
    const PackageScope package;
    package.Write("MainPage.xaml", "<Page>\n<Nonsense/></Page>");
    EXPECT_EQ(Run(), 1);
    EXPECT_NE(m_errors.find("Failed to load Page Kelvane.MainPage: "), std::string::npos) << m_errors;
    EXPECT_TRUE(m_errors.ends_with("MainPage.xaml:2: unknown element <Nonsense>\n")) << m_errors;
}

TEST_F(StartTest, TextOutputKeepsItsRowsWhenTheNextPageCannotBeLoaded) {
    const PackageScope package;
    package.Write("USBTypeCPage.xaml", "<Page>\n<Nonsense/></Page>");
    auto fields = Letters(10);
    fields[0] = u"a\nSerial number: x\u009B";
    m_systemInformation = Record(fields);
    m_usbTypeC = u"x, USB 4<.^.>";
    StartService();
    testing::internal::CaptureStdout();
    EXPECT_EQ(Run({[] { WritePages(OutputFormat::Text, [](int) { FAIL() << "the failure is the end"; }); }}),
              1);
    const auto text = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(text.starts_with("Product name: a Serial number: x \nProduct number: b\n")) << text;
    EXPECT_NE(m_errors.find("USBTypeCPage.xaml:2: "), std::string::npos) << m_errors;
}

TEST_F(StartTest, ASuspensionCancelsInOrderAndASleepIsFollowedByALogOfItsOwn) {
    StartService();
    std::atomic<int> done = 0;
    Run({[&] { m_world->Client().SleepAnnounced([&] { ++done; }); },
         [&] {
             EXPECT_EQ(done, 1);
             m_world->Client().Woken();
         }});
    const std::vector<std::string> once = {
        "Kelvane::App::OnSuspendingEntry", "Kelvane::App::OnSuspending Cancelling async operations",
        "Kelvane::App::OnSuspendingResetting token source", "Kelvane::App::OnSuspendingExit"};
    auto twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(TraceOf({"Kelvane::App::OnSuspending"}), twice);
    EXPECT_EQ(tests::Names(StoredLogs()).size(), 2U);
}

TEST_F(StartTest, AMachineThatWakesWhileTheLogIsBeingSavedLogsAgainUnlessItEnds) {
    const auto sleepAndWake = [&] {
        m_world->Client().SleepAnnounced([] {});
        m_world->Client().Woken();
    };
    Run({sleepAndWake, [&] {
             EXPECT_EQ(tests::Names(StoredLogs()).size(), 1U);
             sleepAndWake();
             m_world->Client().EndRequested();
         }});
    EXPECT_EQ(tests::Names(StoredLogs()).size(), 2U);
    EXPECT_EQ(platform::ApplicationData::Current().LocalSettings().Values().Lookup(u"Kelvane_LoggingEnabled"),
              platform::PropertyValue(true));
}

}  // namespace

}  // namespace Kelvane
