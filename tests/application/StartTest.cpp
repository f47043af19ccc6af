#include <filesystem>

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

/// A kind of start, named as the golden file that holds its trace line for line and what it shows.
struct StartKind {
    const char* trace;
    bool hasService = true;
    std::vector<std::string> words = {};
    std::u16string systemInformation = Record(Letters(10));
    std::optional<std::u16string> usbTypeC = u"";
    platform::ProcessorArchitecture architecture = platform::ProcessorArchitecture::X64;
    const char* locale = "en_US.UTF-8";

    friend void PrintTo(const StartKind& kind, std::ostream* out) { *out << kind.trace; }
};

class StartTraceTest : public StartTest, public testing::WithParamInterface<StartKind> {};

TEST_P(StartTraceTest, WritesItsTraceLineForLine) {
    const auto& kind = GetParam();
    m_options.Words = kind.words;
    m_options.Architecture = kind.architecture;
    m_options.LocaleName = kind.locale;
    m_systemInformation = kind.systemInformation;
    m_usbTypeC = kind.usbTypeC;
    if (kind.hasService) {
        StartService();
    }
    EXPECT_EQ(Run({[&] { Press(u"ExpandButton"); }}), 0);
    ExpectTrace(kind.trace, true);
}

INSTANTIATE_TEST_SUITE_P(
    Starts, StartTraceTest,
    testing::Values(
        StartKind{"Menu"}, StartKind{"MenuWithoutService", false},
        StartKind{.trace = "MenuOnArm64",
                  .usbTypeC = std::nullopt,
                  .architecture = platform::ProcessorArchitecture::Arm64},
        StartKind{.trace = "MenuWithoutUsbTypeC", .usbTypeC = std::nullopt},
        StartKind{.trace = "MenuWithTooFewFields", .systemInformation = Record(Letters(9))},
        StartKind{"Hotkey", true, {"hot", "key"}}, StartKind{"HotkeyWithoutService", false, {"hot", "key"}},
        StartKind{.trace = "HotkeyWithoutUsbTypeC", .words = {"hot", "key"}, .usbTypeC = std::nullopt},
        StartKind{"Uri", true, {"kelvane:?x=1"}}, StartKind{"UriWithoutService", false, {"kelvane:?x=1"}},
        StartKind{"UriWithoutQuery", true, {"kelvane:"}},
        StartKind{.trace = "LanguageTooLong", .hasService = false, .locale = "tooling_US"},
        StartKind{.trace = "CountryTooLong", .hasService = false, .locale = "en_TOOLONG"},
        StartKind{.trace = "ChineseTraditional", .hasService = false, .locale = "zh_MO.UTF-8"}),
    [](const auto& kind) { return std::string(kind.param.trace); });

TEST_F(StartTest, AHotkeyStartReadsBothRecordsAtOnce) {
    m_options.Words = {"hot", "key"};
    std::atomic<std::size_t> atFirstRead = 0;
    m_onRead = [&] {
        std::size_t none = 0;
        atFirstRead.compare_exchange_strong(none, platform::ThreadPool::Default().Outstanding());
    };
    StartService();
    Run();
    EXPECT_GE(atFirstRead, 3U) << "a read's task, the step that it waits for, and the other read's";
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
    const auto trace = Trace();
    const auto destroyed = trace.find("V Kelvane::MainPage::~MainPageEntry");
    EXPECT_LT(destroyed, trace.find("# workers")) << trace;
}

TEST_F(StartTest, APrelaunchShowsNothingAndTheNextStartShowsTheMainPage) {
    m_options.Prelaunch = true;
    StartService();
    Run({[&] {
             EXPECT_FALSE(m_world->Window().IsShown());
             m_world->Client().Started({}, false);
         },
         [&] {
             EXPECT_TRUE(m_world->Window().IsShown());
             const auto before = platform::Window::Current()->Content();
             m_world->Client().Started({}, false);
             EXPECT_EQ(platform::Window::Current()->Content(), before);
             m_world->Client().Started({"kelvane:"}, false);
             EXPECT_NE(platform::Window::Current()->Content(), before)
                 << "an activation has a frame of its own";
         }});
    ExpectTrace("Prelaunch", true);
}

TEST_F(StartTest, FlowsRightToLeftForALanguageThatAsksForIt) {
    m_options.Languages = {u"he-IL"};
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
}

TEST_F(StartTest, AWorldWithoutAWindowIsTracedAndReadsNothing) {
    m_options.HasWindow = false;
    StartService();
    const auto press = [&](std::u16string_view name) {
        for (platform::UIElement* each = Find<platform::Button>(name).get(); each != nullptr;
             each = each->Parent()) {
            each->Visibility(platform::Visibility::Visible);
        }
        Press(name);
    };
    Run({[&] {
        for (const auto* const name :
             {u"CopySysInfoValue0", u"CopySerialNumber", u"ReadSerialNumber", u"Advanced",
              u"RunSysDiagsbutton", u"OkButton", u"USBType", u"BackButton"}) {
            press(name);
        }
        m_world->Client().Started({"kelvane:?x=1"}, false);
    }});
    ExpectTrace("WithoutAWindow", true);
    EXPECT_EQ(Calls(procedure::ReadSysInfo), 0);
}

/// A markup file that cannot be used, and the way to it: the start, then buttons, then a later start; the
/// file is damaged before the last step.
struct DamagedMarkup {
    const char* name;
    const char* file;
    std::vector<std::string> words = {};
    std::vector<std::u16string> buttons = {};
    std::vector<std::string> laterWords = {};
    const char* markup = "<UserControl>\n<Nonsense/></UserControl>";

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
    const bool isStart = steps.empty();
    isStart ? damage() : void(steps.insert(steps.end() - 1, damage));
    EXPECT_EQ(Run(steps), 1);
    ExpectTrace("Damaged" + std::string(damaged.name), isStart);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, DamagedMarkupTest,
    testing::Values(
        DamagedMarkup{"Menu", "MainPage.xaml"}, DamagedMarkup{"Uri", "MainPage.xaml", {"kelvane:?x=1"}},
        DamagedMarkup{"Button", "USBTypeCPage.xaml", {}, {u"USBType"}},
        DamagedMarkup{
            "ButtonAfterUri", "RunSystemDiagnostics.xaml", {"kelvane:?x=1"}, {u"RunSysDiagsbutton"}},
        DamagedMarkup{"Back", "MainPage.xaml", {}, {u"USBType", u"BackButton"}},
        DamagedMarkup{"LaterUri", "MainPage.xaml", {}, {}, {"kelvane:?x=1"}},
        DamagedMarkup{"TitleBar", "CustomTitleBar.xaml", {"kelvane:?x=1"}},
        DamagedMarkup{"TitleBarOnly",
                      "CustomTitleBar.xaml",
                      {},
                      {u"USBType"},
                      {},
                      "<UserControl><Grid x:Name='TitleBarLayoutRoot'/></UserControl>"}),
    [](const auto& damaged) { return std::string(damaged.param.name); });

TEST_F(StartTest, ASuspensionCancelsInOrderAndASleepIsFollowedByALogOfItsOwn) {
    StartService();
    std::atomic<int> done = 0;
    Run({[&] { m_world->Client().SleepAnnounced([&] { ++done; }); },
         [&] {
             EXPECT_EQ(done, 1);
             m_world->Client().Woken();
         }});
    ExpectTrace("Sleep", true);
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
