#include <future>

#include "platform/xaml/Navigation.h"
#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
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
    Run({[&] { Press(u"USBType"); }, [&] { Press(u"BackButton"); }});
    EXPECT_EQ(Calls(procedure::ReadUSBTypeCInfo), 1);
    EXPECT_EQ(Calls(procedure::ReadSysInfo), 1);
    ExpectTrace("UsbTypeC");
}

TEST_F(PagesTest, TheUsbTypeCPageShowsItsLabelsWhenTheReadFails) {
    m_usbTypeC.reset();
    m_options.Architecture = platform::ProcessorArchitecture::Arm64;
    StartService();
    Run({[&] {
        Find<platform::Button>(u"USBType")->Visibility(platform::Visibility::Visible);
        Press(u"USBType");
    }});
    ExpectTrace("UsbTypeCWithoutRecord");
}

TEST_F(PagesTest, TabSelectsTheWholeTextOfAUsbTypeCValue) {
    StartService();
    Run({[&] { Press(u"USBType"); },
         [&] {
             Find<platform::Button>(u"BackButton")->Focus();
             PressKey(VirtualKey::Tab);
             const auto box = Find<platform::TextBox>(u"UsbTypeCValue1");
             EXPECT_EQ(m_world->Window().Focused(), box.get());
             EXPECT_EQ(box->SelectedText(), box->Text());
             EXPECT_TRUE(box->RaiseKey(VirtualKey::A, true));
             EXPECT_TRUE(box->IsReadOnly());
         }});
    ExpectTrace("UsbTypeCKeys");
}

TEST_F(PagesTest, AKeyHandlerOnAnElementOfAnotherKindIsAnErrorLineAndNothingWorse) {
    const PackageScope package;
    package.Replace("USBTypeCPage.xaml", "Click=\"Back_Click\"",
                    "Click=\"Back_Click\" KeyDown=\"KeyboardKeyDownEvent\"");
    StartService();
    Run({[&] { Press(u"USBType"); },
         [&] {
             Find<platform::Button>(u"BackButton")->Focus();
             PressKey(VirtualKey::Enter);
         }});
    ExpectTrace("KeyHandlerOnAButton");
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
         },
         [&] { EXPECT_TRUE(box.expired()) << "the page goes with its result"; }});
    EXPECT_NE(Trace().find("UpdateUSBTypeCInfoDetails - success\n"), std::string::npos);
}

TEST_F(PagesTest, OkHasTheFocusAndEscapeLeavesTheDiagnosticsPageWithoutARequest) {
    StartService();
    Run({[&] { Press(u"RunSysDiagsbutton"); },
         [&] {
             EXPECT_EQ(m_world->Window().Focused(), Find<platform::Button>(u"OkButton").get());
             PressKey(VirtualKey::Escape);
         }});
    EXPECT_EQ(Calls(procedure::SetUEFIFlag), 0);
    ExpectTrace("DiagnosticsCancelled");
}

/// A request, named as the golden file of its trace, the buttons that lead to it, and what happens before the
/// service answers.
struct Request {
    const char* trace;
    std::vector<std::u16string> buttons;
    bool isClosed = false;
    bool isAnswered = true;
    bool isRefused = false;

    friend void PrintTo(const Request& request, std::ostream* out) { *out << request.trace; }
};

class RequestTest : public PagesTest, public testing::WithParamInterface<Request> {};

TEST_P(RequestTest, LeavesThePageAtOnceIsWaitedForAtTheEndAndItsOutcomeIsInTheLog) {
    const auto& request = GetParam();
    std::promise<void> answer;
    const auto atTheEnd = [&] {
        EXPECT_NE(m_world->Window().IsShown(), request.isClosed);
        request.isAnswered ? answer.set_value() : m_clock.Advance(std::chrono::seconds(4));
    };
    m_onRequest = [&] {
        // After the click that led to it.
        m_world->Loop().Post([&] {
            request.isClosed ? Close() : void();
            m_world->Loop().Post(atTheEnd);
        });
        answer.get_future().wait();
        if (request.isRefused) {
            throw std::runtime_error("refused");
        }
    };
    StartService();
    std::vector<Step> steps;
    for (const auto& button : request.buttons) {
        steps.emplace_back([&] { Press(button); });
    }
    EXPECT_EQ(Run(steps), 0);
    if (!request.isAnswered) {
        answer.set_value();
    }
    ExpectTrace(request.trace);
}

const std::vector<std::u16string> kDiagnostics = {u"RunSysDiagsbutton", u"OkButton"};

INSTANTIATE_TEST_SUITE_P(Requests, RequestTest,
                         testing::Values(Request{"Diagnostics", kDiagnostics},
                                         Request{"DiagnosticsAtTheEnd", kDiagnostics, true},
                                         Request{"DiagnosticsUnanswered", kDiagnostics, true, false},
                                         Request{"DiagnosticsRefused", kDiagnostics, false, true, true},
                                         Request{"Tool", {u"Advanced"}},
                                         Request{"ToolAtTheEnd", {u"Advanced"}, true},
                                         Request{"ToolRefused", {u"Advanced"}, false, true, true}),
                         [](const auto& request) { return std::string(request.param.trace); });

TEST_F(PagesTest, AWindowWhoseContentIsNoFrameIsAnErrorLineForEachButtonThatNavigates) {
    StartService();
    const auto removeFrame = [] {
        const auto frame = std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content());
        auto page = frame->Content();
        frame->Content(nullptr);
        platform::Window::Current()->Content(std::move(page));
    };
    const auto newFrame = [&] { m_world->Client().Started({"kelvane:"}, false); };
    Run({[&] {
        removeFrame();
        Press(u"USBType");
        Press(u"RunSysDiagsbutton");
        newFrame();
        Press(u"USBType");
        removeFrame();
        Press(u"BackButton");
        newFrame();
        Press(u"RunSysDiagsbutton");
        removeFrame();
        Press(u"CancelButton");
        Press(u"OkButton");
    }});
    EXPECT_EQ(Calls(procedure::SetUEFIFlag), 1) << "the request goes its way";
    ExpectTrace("WithoutAFrame");
}

}  // namespace

}  // namespace Kelvane
