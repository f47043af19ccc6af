#include "platform/xaml/Panels.h"
#include "platform/xaml/Window.h"
#include "tests/application/ApplicationTest.h"

namespace Kelvane {

namespace {

class StartTest : public ApplicationTest {
  protected:
    StartTest() { m_systemInformation = Record(Letters(10)); }
};

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

TEST_F(StartTest, APageThatIsLeftBeforeItsReadEndsIsFilledAllTheSame) {
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
         [&] { EXPECT_TRUE(box.expired()) << "the page is destroyed with its result"; }});
    EXPECT_NE(Trace().find("UpdateUSBTypeCInfoDetails - success\n"), std::string::npos);
}

TEST_F(StartTest, FlowsRightToLeftForALanguageThatAsksForIt) {
    m_options.Languages = {u"he-IL"};
    StartService();
    const auto looks = [&] {
        const auto text = Find<platform::TextBlock>(u"SysInfoValue0");
        EXPECT_EQ(text->FlowDirection(), platform::FlowDirection::RightToLeft);
        const auto strip =
            dynamic_cast<platform::Panel*>(Find<platform::UIElement>(u"TitleBarDragArea")->Parent());
        m_world->Window().SetOverlayInsets({.Left = 74, .Right = 34});
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 34, .Top = 0, .Right = 74, .Bottom = 0}));
        EXPECT_EQ(strip->Layout().Height, 30);
        platform::Window::Current()->Content()->FlowDirection(platform::FlowDirection::LeftToRight);
        m_world->Window().SetOverlayInsets({.Left = 20, .Right = 10});
        EXPECT_EQ(strip->Padding(), (platform::Thickness{.Left = 20, .Top = 0, .Right = 10, .Bottom = 0}));
        // The next start's frame has no direction of its own.
        m_world->Client().Started({"kelvane:?x=1"}, false);
    };
    Run({looks, looks});
}

}  // namespace

}  // namespace Kelvane
