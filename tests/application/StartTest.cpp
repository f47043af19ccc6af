#include <unistd.h>

#include <filesystem>

#include "platform/storage/ApplicationData.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/Window.h"
#include "tests/application/ApplicationTest.h"
#include "tests/application/TraceText.h"
#include "tests/support/Golden.h"
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

class StartTraceTest : public StartTest, public testing::WithParamInterface<StartKind> {};

TEST_P(StartTraceTest, WritesItsTraceLineForLine) {
    m_options.Words = GetParam().words;
    if (GetParam().hasService) {
        StartService();
    }
    Run();
    tests::ExpectGolden("application/traces/" + std::string(GetParam().trace) + ".txt",
                        TraceText(tests::ReadFolder(StoredLogs()), static_cast<std::uint32_t>(gettid())));
}

INSTANTIATE_TEST_SUITE_P(Starts, StartTraceTest,
                         testing::Values(StartKind{"Menu", {}, true},
                                         StartKind{"MenuWithoutService", {}, false},
                                         StartKind{"Hotkey", {"hot", "key"}, true},
                                         StartKind{"HotkeyWithoutService", {"hot", "key"}, false}),
                         [](const auto& kind) { return std::string(kind.param.trace); });

TEST_F(StartTest, AHotkeyStartReadsBothRecordsAtOnceAndFillsThePage) {
    m_options.Words = {"hot", "key"};
    m_usbTypeC = u"x, USB 4<.^.>";
    std::atomic<std::size_t> atFirstRead = 0;
    m_onRead = [&] {
        std::size_t none = 0;
        atFirstRead.compare_exchange_strong(none, platform::ThreadPool::Default().Outstanding());
    };
    StartService();
    Run({[&] {
        EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
        EXPECT_TRUE(IsVisible(u"USBType"));
    }});
    EXPECT_GE(atFirstRead, 3U) << "a read's task, the step that it waits for, and the other read's";
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

TEST_F(StartTest, APageThatItsHotkeyStartOutlivesIsDestroyedOnTheUserInterfaceThread) {
    m_options.Prelaunch = true;
    std::optional<platform::rpc::ListeningSocket> stuck;
    Run({[&] {
        stuck.emplace(platform::rpc::test::EndpointScope::Socket());
        m_world->Client().Started({"kelvane:?x=1"}, false);
        // Another page takes its place while the first one's chain waits for the service, in vain.
        m_world->Client().Started({"kelvane:?x=2"}, false);
        stuck.reset();
    }});
    const auto trace = TraceText(tests::ReadFolder(StoredLogs()), static_cast<std::uint32_t>(gettid()));
    const auto destroyed = trace.find("V Kelvane::MainPage::~MainPageEntry");
    EXPECT_LT(destroyed, trace.find("# workers")) << trace;
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
    const auto looks = [&] {
        const auto text = Find<platform::TextBlock>(u"SysInfoValue0");
        EXPECT_EQ(text->FlowDirection(), platform::FlowDirection::RightToLeft);
        const auto strip =
            dynamic_cast<platform::Panel*>(Find<platform::UIElement>(u"TitleBarDragArea")->Parent());
        m_world->Window().SetOverlayInsets({.Left = 0, .Right = 114});
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 114, .Top = 0, .Right = 0, .Bottom = 0}));
        m_world->Window().SetOverlayInsets({.Left = 74, .Right = 34});
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 34, .Top = 0, .Right = 74, .Bottom = 0}));
        EXPECT_EQ(strip->Layout().Height, 30);
        // The next start's frame has no direction of its own.
        m_world->Client().Started({"kelvane:?x=1"}, false);
    };
    Run({looks, looks});
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
    Run({[&] {
        // The buttons come with the labels, which nothing has shown.
        Find<platform::TextBlock>(u"SysInfoLabel0")->Visibility(platform::Visibility::Visible);
        Find<platform::TextBlock>(u"SerialNumberLabel")->Visibility(platform::Visibility::Visible);
        Press(u"CopySysInfoValue0");
        Press(u"CopySerialNumber");
        Press(u"ReadSerialNumber");
    }});
    for (const auto* const method :
         {"App::OnLaunched", "MainPage::MainPage", "MainPage::UpdateSysInfoDetails",
          "MainPage::CopySysInfoValue_Click", "MainPage::CopySerialNumber_Click",
          "MainPage::ReadSerialNumber_Click"}) {
        EXPECT_TRUE(HasTraced(std::string("Kelvane::") + method + "GetForCurrentThread() = NULL")) << method;
    }
    EXPECT_EQ(Calls(procedure::ReadSysInfo), 0);
}

/// A call from the world, in which `fail` throws.
struct FailingCall {
    const char* name;
    void (*cause)(headless::HeadlessWorld& world, std::function<void()> fail);

    friend void PrintTo(const FailingCall& call, std::ostream* out) { *out << call.name; }
};

class FailingCallTest : public StartTest, public testing::WithParamInterface<FailingCall> {};

TEST_P(FailingCallTest, EndsTheApplicationWithItsMessageAndASavedLog) {
    EXPECT_EQ(Run({[&] { GetParam().cause(*m_world, [] { throw std::logic_error("broken"); }); }}), 1);
    EXPECT_EQ(m_errors, "kelvane: broken\n");
    EXPECT_EQ(tests::Names(StoredLogs()).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FailingCallTest,
    testing::Values(FailingCall{"PostedWork", [](auto& world, auto fail) { world.Loop().Post(fail); }},
                    FailingCall{"Timer", [](auto& world, auto fail) { world.Loop().PostAfter({}, fail); }},
                    FailingCall{"Key",
                                [](auto& world, auto fail) {
                                    world.Window().Content()->KeyDown().Add([fail](auto&, auto&) { fail(); });
                                    world.Window().PressKey(platform::VirtualKey::A);
                                }},
                    FailingCall{"CaptionButtons",
                                [](auto& world, auto fail) {
                                    world.Window().Content()->AddBinding(fail);
                                    world.Window().SetOverlayInsets({});
                                }},
                    FailingCall{"Suspension",
                                [](auto& world, auto fail) {
                                    platform::Application::Current()->Suspending().Add(
                                        [fail](auto&, auto&) { fail(); });
                                    world.Window().RequestClose();
                                }}),
    [](const auto& call) { return std::string(call.param.name); });

/// A markup file that cannot be used, and the way to it: the start, then buttons, then a later start; the
/// file is damaged before the last step.
struct DamagedMarkup {
    const char* name;
    std::string file;
    std::string page;
    std::vector<std::string> words = {};
    std::vector<std::u16string> buttons = {};
    std::vector<std::string> laterWords = {};
    std::string markup = "<UserControl>\n<Nonsense/></UserControl>";
    std::string problem = ":2: unknown element <Nonsense>\n";

    friend void PrintTo(const DamagedMarkup& damaged, std::ostream* out) { *out << damaged.name; }
};

class DamagedMarkupTest : public StartTest, public testing::WithParamInterface<DamagedMarkup> {};

TEST_P(DamagedMarkupTest, EndsTheApplicationWithTheReasonOnEveryWayToThePage) {
    const auto& damaged = GetParam();
    m_options.Words = damaged.words;
    m_usbTypeC = u"x, USB 4<.^.>";
    StartService();
    const PackageScope package;
    std::vector<Step> steps;
    for (const auto& button : damaged.buttons) {
        steps.emplace_back([&] { Press(button); });
    }
    if (!damaged.laterWords.empty()) {
        steps.emplace_back([&] { m_world->Client().Started(damaged.laterWords, false); });
    }
    const auto damage = [&] { package.Write(damaged.file, damaged.markup); };
    if (steps.empty()) {
        damage();
    } else {
        steps.back() = [damage, last = std::move(steps.back())] {
            damage();
            last();
        };
    }
    EXPECT_EQ(Run(steps), 1);
    EXPECT_TRUE(m_errors.starts_with("kelvane: Failed to load Page Kelvane." + damaged.page + ": /"))
        << m_errors;
    EXPECT_TRUE(m_errors.ends_with(damaged.file + damaged.problem)) << m_errors;
    EXPECT_EQ(std::count(m_errors.begin(), m_errors.end(), '\n'), 1) << m_errors;
    EXPECT_EQ(tests::Names(StoredLogs()).size(), 1U) << "the log is saved";
}

INSTANTIATE_TEST_SUITE_P(
    Ways, DamagedMarkupTest,
    testing::Values(DamagedMarkup{"Menu", "MainPage.xaml", "MainPage"},
                    DamagedMarkup{"Uri", "MainPage.xaml", "MainPage", {"kelvane:?x=1"}},
                    DamagedMarkup{"Button", "USBTypeCPage.xaml", "USBTypeCPage", {}, {u"USBType"}},
                    DamagedMarkup{"ButtonAfterUri",
                                  "RunSystemDiagnostics.xaml",
                                  "RunSystemDiagnostics",
                                  {"kelvane:?x=1"},
                                  {u"RunSysDiagsbutton"}},
                    DamagedMarkup{"Back", "MainPage.xaml", "MainPage", {}, {u"USBType", u"BackButton"}},
                    DamagedMarkup{"LaterUri", "MainPage.xaml", "MainPage", {}, {}, {"kelvane:?x=1"}},
                    DamagedMarkup{"TitleBar", "CustomTitleBar.xaml", "MainPage", {"kelvane:?x=1"}},
                    DamagedMarkup{"TitleBarOnly",
                                  "CustomTitleBar.xaml",
                                  "USBTypeCPage",
                                  {},
                                  {u"USBType"},
                                  {},
                                  "<UserControl><Grid x:Name='TitleBarLayoutRoot'/></UserControl>",
                                  ": the element 'TitleBarDragArea' is missing\n"}),
    [](const auto& damaged) { return std::string(damaged.param.name); });

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
