#include <filesystem>

#include "app/CommandLine.h"
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

/// "Entry" and "Exit" around nothing.
void AddPair(std::vector<std::string>& lines, const std::string& method) {
    lines.push_back(method + "Entry");
    lines.push_back(method + "Exit");
}

/// The lines of the user-interface thread, from the start up to the first idle moment.
std::vector<std::string> LaunchLines() {
    std::vector<std::string> lines = {"Kelvane::App::OnLaunchedEntry",
                                      "Kelvane::App::GetAppVersionEntry",
                                      "Kelvane::App::GetAppVersionKelvane App version = 1.0.0.0",
                                      "Kelvane::App::GetAppVersionExit",
                                      "Kelvane::App::GetAppLocaleEntry",
                                      "Kelvane::App::GetAppLocaleThe language code is en",
                                      "Kelvane::App::GetAppLocaleThe country code is US",
                                      "Kelvane::App::GetAppLocaleCompleteLocale is en_US",
                                      "Kelvane::App::GetAppLocaleExit"};
    AddPair(lines, "Kelvane::App::InitialiseMainViewModel");
    lines.insert(lines.end(),
                 {"Kelvane::MainPage::MainPageEntry", "Kelvane::MainPage::MainPageApplication Started",
                  "Kelvane::MainPage::MainPageApplication Launch Window Size = 640 x 210",
                  "Kelvane::MainPage::AddCustomTitleBarEntry"});
    AddPair(lines, "Kelvane::CustomTitleBar::CustomTitleBar");
    AddPair(lines, "Kelvane::CustomTitleBar::EnableControlsInTitleBar");
    AddPair(lines, "Kelvane::CustomTitleBar::SetPageContent");
    lines.emplace_back("Kelvane::MainPage::AddCustomTitleBarExit");
    AddPair(lines, "Kelvane::MainPage::LaunchSysLabelsVisible");
    lines.insert(lines.end(), {"Kelvane::MainPage::MainPageExit", "Kelvane::MainPage::OnNavigatedToEntry",
                               "Kelvane::MainPage::OnNavigatedToInside MainPage::OnNavigatedTo"});
    return lines;
}

const std::vector<std::string> kUserInterface = {
    "Kelvane::App::", "Kelvane::MainPage::", "Kelvane::CustomTitleBar::"};

/// The first lines of `lines`, as many as `expected` has.
std::vector<std::string> Head(std::vector<std::string> lines, const std::vector<std::string>& expected) {
    lines.resize(std::min(lines.size(), expected.size()));
    return lines;
}

TEST_F(StartTest, AStartFromTheMenuWritesItsTraceLineForLine) {
    StartService();
    Run();
    auto expected = LaunchLines();
    expected.insert(expected.end(), {"Kelvane::MainPage::OnNavigatedToUpdateSysInfoDetails"});
    AddPair(expected, "Kelvane::MainPage::UpdateSysInfoDetails");
    expected.emplace_back("Kelvane::MainPage::OnNavigatedToExit");
    AddPair(expected, "Kelvane::MainPage::MainWindow_Loaded");
    const std::string handler = "Kelvane::MainPage::UpdateSysInfoDetails::<lambda_2>::operator ()";
    expected.insert(
        expected.end(),
        {"Kelvane::App::OnLaunchedExit", handler + "UpdateSysInfoDetails()-RunAsync",
         handler + "UpdateSysInfoDetails - success", "Kelvane::MainPage::UpdateUIWithSysDataAvailableEntry"});
    AddPair(expected, "Kelvane::CustomTitleBar::EnableProgressRing");
    AddPair(expected, "Kelvane::MainPage::LaunchSysLabelsVisible");
    expected.insert(expected.end(), {"Kelvane::MainPage::UpdateUIEntry",
                                     "Kelvane::MainPage::UpdateUIComplete Sys Info : " +
                                         platform::ToUtf8(*m_systemInformation),
                                     "Kelvane::MainPage::ParseSystemInfoEntry"});
    auto lines = TraceOf(kUserInterface);
    // The worker's own line of this page may come anywhere.
    std::erase(
        lines,
        "Kelvane::MainPage::UpdateSysInfoDetails::<lambda_1>::operator ()UpdateSysInfoDetails()-create_task");
    EXPECT_EQ(Head(lines, expected), expected);

    const std::string step = "Kelvane::MainViewModel::ReadSysInfoDetailsAsync::<lambda_2>::operator ()";
    std::vector<std::string> worker = {
        "Kelvane::MainViewModel::ReadSysInfoDetailsAsyncEntry",
        "Kelvane::MainViewModel::InitialiseRpcConnectionEntry",
        "Kelvane::MainViewModel::InitialiseRpcConnectionReadSysInfo Initialization "
        "Return Status = 0",
        "Kelvane::MainViewModel::InitialiseRpcConnectionExit",
        "Kelvane::MainViewModel::ReadSysInfoEntry",
        "Kelvane::MainViewModel::ReadSysInfoReading System Info Details ... ",
        "Kelvane::MainViewModel::ReadSysInfoReadSysInfo() Returned Status = 0",
        "Kelvane::MainViewModel::ReadSysInfoExit",
        step + "ReadSysInfo Return Status = 0",
        step + "ReadSysInfo Return Status = 0",
        step + "RPC Connection Status = true",
        "Kelvane::MainViewModel::ReadSysInfoDetailsAsyncExit",
        "Kelvane::MainViewModel::ReadUsbTypeCInfoDetailsAsyncEntry",
        "Kelvane::MainViewModel::InitialiseRpcConnectionEntry",
        "Kelvane::MainViewModel::InitialiseRpcConnectionInitialization already "
        "complete. Status = true"};
    EXPECT_EQ(Head(TraceOf({"Kelvane::MainViewModel::Read", "Kelvane::MainViewModel::Init"}), worker),
              worker);
}

TEST_F(StartTest, AHotkeyStartReadsBothRecordsAndFillsThePage) {
    m_options.Words = {"hot", "key"};
    m_usbTypeC = u"x, USB 4<.^.>";
    StartService();
    Run({[&] {
        EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
        EXPECT_TRUE(IsVisible(u"USBType"));
    }});
    auto expected = LaunchLines();
    expected.insert(expected.end(), {"Kelvane::MainPage::OnNavigatedToLaunching from Hotkey",
                                     "Kelvane::MainPage::OnNavigatedToExit"});
    EXPECT_EQ(Head(TraceOf(kUserInterface), expected), expected);
}

TEST_F(StartTest, AHotkeyStartWithoutServiceLeavesThePageAsConstructed) {
    m_options.Words = {"kelvane:?x=1"};
    EXPECT_EQ(Run({[&] {
                  EXPECT_FALSE(IsVisible(u"SysInfoLabel0"));
                  EXPECT_TRUE(Find<platform::ProgressRing>(u"TitleBarProgressRing")->IsActive());
              }}),
              0);
    EXPECT_EQ(
        TraceOf({"Kelvane::MainPage::OnNavigatedTo::"}),
        (std::vector<std::string>{
            "Kelvane::MainPage::OnNavigatedTo::<lambda_2>::operator ()RPC initialization failed during "
            "hotkey launch.",
            "Kelvane::MainPage::OnNavigatedTo::<lambda_4>::operator ()Exception in hotkey async chain: RPC "
            "initialization failed."}));
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
    EXPECT_NE(m_errors.find("MainPage.xaml:2: unknown element <Nonsense>"), std::string::npos) << m_errors;
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

TEST(CommandLine, SeparatesOptionsFromWords) {
    using Action = CommandLine::Action;
    EXPECT_EQ(ParseCommandLine({}).Wanted, Action::Window);
    EXPECT_EQ(ParseCommandLine({"--text", "a", "--b"}).Words, (std::vector<std::string>{"a", "--b"}));
    EXPECT_EQ(ParseCommandLine({"--", "--text"}).Words, (std::vector<std::string>{"--text"}));
    EXPECT_EQ(ParseCommandLine({"--screenshot"}).Wanted, Action::Invalid);
    EXPECT_EQ(ParseCommandLine({"--txet"}).Problem, "unknown option '--txet'");
    EXPECT_EQ(ParseCommandLine({"--screenshot", "x.png", "hot"}).Screenshot, "x.png");
}

}  // namespace

}  // namespace Kelvane
