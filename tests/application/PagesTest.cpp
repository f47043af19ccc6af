#include <unistd.h>

#include <future>

#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
#include "tests/application/TraceText.h"
#include "tests/support/Golden.h"
#include "tests/support/PackageScope.h"

namespace Kelvane {

namespace {

using platform::VirtualKey;

class PagesTest : public ApplicationTest {
  protected:
    PagesTest() {
        m_systemInformation = Record(Letters(10));
        m_usbTypeC =
            u"USB 2.0(~!~)USB 3.1 Gen 2(~!~), USB 3.2 Gen "
            u"2<.^.>Supported<.^.>no<.^.>Supported<.^.>supported<.^.>60.0 W";
    }
};

TEST_F(PagesTest, GoesToTheUsbTypeCPageAndBackWithoutReadingAgain) {
    StartService();
    Run({[&] {
             ASSERT_TRUE(IsVisible(u"USBType"));
             Press(u"USBType");
         },
         [&] {
             ASSERT_EQ(CurrentPage(), u"USBTypeCPage");
             EXPECT_EQ(Text(u"UsbTypeCValue6"), u"60.0 W");
             Press(u"BackButton");
         },
         [&] {
             EXPECT_EQ(CurrentPage(), u"MainPage");
             EXPECT_EQ(Text(u"SysInfoValue0"), u"a");
         }});
    EXPECT_EQ(Calls(procedure::ReadUSBTypeCInfo), 1);
    EXPECT_EQ(Calls(procedure::ReadSysInfo), 1);
    EXPECT_TRUE(HasTraced("Kelvane::USBTypeCPage::UpdateUI Max Power : 60.0 W"));
    EXPECT_TRUE(
        HasTraced("Kelvane::USBTypeCPage::OnNavigatedToAlready Updated USBTypeCInfoDetails - success"));
    EXPECT_TRUE(
        HasTraced("Kelvane::MainPage::OnNavigatedToAlready Sysinfo read completed and updateUI with "
                  "preloaded sysdata"));
}

TEST_F(PagesTest, TabSelectsTheWholeTextOfAUsbTypeCValue) {
    StartService();
    Run({[&] { Press(u"USBType"); },
         [&] {
             Find<platform::Button>(u"BackButton")->Focus();
             auto& window = m_world->Window();
             window.PressKey(VirtualKey::Tab);
             const auto box = Find<platform::TextBox>(u"UsbTypeCValue1");
             EXPECT_EQ(window.Focused(), box.get());
             EXPECT_EQ(box->SelectedText(), box->Text());
             EXPECT_TRUE(box->RaiseKey(VirtualKey::A, true));
             EXPECT_TRUE(box->IsReadOnly());
         }});
}

TEST_F(PagesTest, AKeyHandlerOnAnElementOfAnotherKindIsAnErrorLineAndNothingWorse) {
    const PackageScope package;
    package.Replace("USBTypeCPage.xaml", "Click=\"Back_Click\"",
                    "Click=\"Back_Click\" KeyDown=\"KeyboardKeyDownEvent\"");
    StartService();
    EXPECT_EQ(Run({[&] { Press(u"USBType"); },
                   [&] {
                       Find<platform::Button>(u"BackButton")->Focus();
                       m_world->Window().PressKey(VirtualKey::Enter);
                       EXPECT_EQ(CurrentPage(), u"MainPage") << "the key keeps its meaning";
                   }}),
              0);
    EXPECT_TRUE(HasTraced("Kelvane::USBTypeCPage::SelectionOnTabException = No such interface supported"));
}

TEST_F(PagesTest, APageThatIsLeftBeforeItsReadEndsIsFilledAllTheSame) {
    m_options.Architecture = platform::ProcessorArchitecture::Arm64;
    StartService();
    std::weak_ptr<platform::TextBox> box;
    Run({[&] {
             Find<platform::Button>(u"USBType")->Visibility(platform::Visibility::Visible);
             Press(u"USBType");
             box = Find<platform::TextBox>(u"UsbTypeCValue6");
             // The read is still on its way: its result comes through this thread.
             Press(u"BackButton");
             EXPECT_EQ(CurrentPage(), u"MainPage");
         },
         [&] { EXPECT_TRUE(box.expired()) << "the page goes with its result"; }});
    EXPECT_TRUE(
        HasTraced("Kelvane::USBTypeCPage::UpdateUSBTypeCInfoDetails::<lambda_2>::operator "
                  "()UpdateUSBTypeCInfoDetails - success"));
}

TEST_F(PagesTest, OkLeavesTheDiagnosticsPageAtOnceAndTheRequestOutlivesIt) {
    std::promise<void> left;
    m_onRequest = [&] { left.get_future().wait(); };
    StartService();
    Run({[&] { Press(u"RunSysDiagsbutton"); },
         [&] {
             ASSERT_EQ(CurrentPage(), u"RunSystemDiagnostics");
             EXPECT_FALSE(Find<platform::ProgressRing>(u"TitleBarProgressRing")->IsActive());
             EXPECT_EQ(m_world->Window().Focused(), Find<platform::Button>(u"OkButton").get());
             m_world->Window().PressKey(VirtualKey::Enter);
             EXPECT_EQ(CurrentPage(), u"MainPage");
             left.set_value();
         }});
    EXPECT_EQ(Calls(procedure::SetUEFIFlag), 1);
    EXPECT_TRUE(
        HasTraced("Kelvane::MainViewModel::SetUEFIFlagOperation::<lambda_2>::operator ()Set UEFI flag Return "
                  "Status = 0"));
    EXPECT_EQ(TraceOf({"Kelvane::RunSystemDiagnostics::Ok_Click::"}),
              (std::vector<std::string>{
                  "Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_1>::operator ()Ok_Click()-create_task",
                  "Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_2>::operator ()Ok_Click()-RunAsync"}));
}

/// A request that the window is closed over, and the buttons that lead to it.
struct LastRequest {
    const char* trace;
    std::vector<std::u16string> buttons;
    bool isAnswered;

    friend void PrintTo(const LastRequest& request, std::ostream* out) { *out << request.trace; }
};

class LastRequestTest : public PagesTest, public testing::WithParamInterface<LastRequest> {};

TEST_P(LastRequestTest, IsWaitedForWithoutAWindowAndTheLogSaysWhatBecameOfIt) {
    std::promise<void> asked;
    std::promise<void> answer;
    m_onRequest = [&] {
        asked.set_value();
        answer.get_future().wait();
    };
    StartService();
    std::vector<Step> steps;
    for (const auto& button : GetParam().buttons) {
        steps.emplace_back([&] { Press(button); });
    }
    steps.back() = [&, press = steps.back()] {
        press();
        m_world->Window().RequestClose();
        m_world->Loop().Post([&] {
            EXPECT_FALSE(m_world->Window().IsShown());
            asked.get_future().wait();
            GetParam().isAnswered ? answer.set_value() : m_clock.Advance(std::chrono::seconds(4));
        });
    };
    EXPECT_EQ(Run(steps), 0);
    if (!GetParam().isAnswered) {
        answer.set_value();
    }
    tests::ExpectGolden("application/traces/" + std::string(GetParam().trace) + ".txt",
                        TraceText(tests::ReadFolder(StoredLogs()), static_cast<std::uint32_t>(gettid())));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, LastRequestTest,
    testing::Values(LastRequest{"DiagnosticsThenClose", {u"RunSysDiagsbutton", u"OkButton"}, true},
                    LastRequest{"DiagnosticsUnanswered", {u"RunSysDiagsbutton", u"OkButton"}, false},
                    LastRequest{"ToolThenClose", {u"Advanced"}, true}),
    [](const auto& request) { return std::string(request.param.trace); });

TEST_F(PagesTest, EscapeLeavesTheDiagnosticsPageWithoutARequest) {
    StartService();
    Run({[&] { Press(u"RunSysDiagsbutton"); }, [&] { m_world->Window().PressKey(VirtualKey::Escape); },
         [&] { EXPECT_EQ(CurrentPage(), u"MainPage"); }});
    EXPECT_EQ(Calls(procedure::SetUEFIFlag), 0);
}

}  // namespace

}  // namespace Kelvane
