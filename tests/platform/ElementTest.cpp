#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/TypeRegistry.h"

namespace platform {

namespace {

class ElementTest : public testing::Test {
  protected:
    std::shared_ptr<Button> AddButton(Panel& panel) {
        auto button = std::make_shared<Button>();
        panel.Append(button);
        return button;
    }

    UserInterfaceThreadMark m_mark;
};

TEST_F(ElementTest, AWorkerIsRefusedWithTheWrongThreadError) {
    const auto text = std::make_shared<TextBlock>();
    const auto panel = std::make_shared<StackPanel>();
    const auto full = std::make_shared<StackPanel>();
    const auto button = AddButton(*full);
    const auto box = std::make_shared<TextBox>();
    box->Text(u"text");
    box->SelectAll();
    const std::function<void()> touches[] = {[&] { text->Text(u"x"); },
                                             [&] { text->Visibility(Visibility::Collapsed); },
                                             [&] { text->Name(u"x"); },
                                             [&] { text->AddBinding([] {}); },
                                             [&] { panel->Append(text); },
                                             [&] { full->RemoveAtEnd(); },
                                             [&] { box->Text(u"x"); },
                                             [&] { button->IsDefault(true); },
                                             [&] { button->KeyboardAccelerators(); },
                                             [&] { std::make_shared<TextBlock>(); }};
    for (const auto& touch : touches) {
        std::optional<HResult> code;
        std::thread([&] {
            try {
                touch();
            } catch (const Exception& exception) {
                code = exception.Code();
            }
        }).join();
        EXPECT_EQ(code, result::kWrongThread);
    }
    EXPECT_EQ(text->Text(), u"");
    EXPECT_EQ(panel->Size(), 0U);
    EXPECT_EQ(full->Size(), 1U);
    EXPECT_EQ(box->SelectedText(), u"text");
}

TEST_F(ElementTest, AnElementHasOneParentAndOutlivesIt) {
    const auto child = std::make_shared<TextBlock>();
    {
        const auto panel = std::make_shared<StackPanel>();
        panel->Append(child);
        EXPECT_THROW(std::make_shared<Button>()->Content(child), Exception);
        EXPECT_EQ(child->Parent(), panel.get());
    }
    EXPECT_EQ(child->Parent(), nullptr);
    std::make_shared<Button>()->Content(child);
}

TEST_F(ElementTest, DirectionIsInheritedUntilAnElementHasItsOwn) {
    const auto root = std::make_shared<StackPanel>();
    const auto inner = std::make_shared<Button>();
    const auto text = std::make_shared<TextBlock>();
    inner->Content(text);
    root->Append(inner);
    int told = 0;
    text->PropertyChanged().Add([&](UIElement&, ElementProperty property) {
        told += property == ElementProperty::FlowDirection ? 1 : 0;
    });
    root->FlowDirection(FlowDirection::RightToLeft);
    EXPECT_EQ(text->FlowDirection(), FlowDirection::RightToLeft);
    inner->FlowDirection(FlowDirection::LeftToRight);
    EXPECT_EQ(text->FlowDirection(), FlowDirection::LeftToRight);
    EXPECT_EQ(told, 2);
}

TEST_F(ElementTest, AButtonInACollapsedPanelCannotBePressed) {
    const auto root = std::make_shared<StackPanel>();
    const auto button = AddButton(*root);
    int clicks = 0;
    button->Click().Add([&](UIElement&, const RoutedEventArgs&) { ++clicks; });
    button->Invoke();
    root->Visibility(Visibility::Collapsed);
    button->Invoke();
    EXPECT_EQ(clicks, 1);
}

/// Writes down which element got a peer or children, or lost its peer, by the elements' names.
struct Recorder : WindowPeer {
    struct Peer final : ElementPeer {
        Peer(std::u16string& log, UIElement& element) : Log(log), Name(As<FrameworkElement>(element).Name()) {
            Log += u"+" + Name;
        }
        ~Peer() override { Log += u"-" + Name; }
        void Update(ElementProperty property) override {
            Log += property == ElementProperty::Children ? u"*" + Name : u"";
        }
        void Focus() override {}
        bool ContainsFocus() const override { return false; }
        bool IsPointerOver() const override { return false; }

        std::u16string& Log;
        const std::u16string Name;
    };

    std::unique_ptr<ElementPeer> CreatePeer(UIElement& element) override {
        return std::make_unique<Peer>(Log, element);
    }
    void SetContent(UIElement*) override {}
    void Activate() override {}
    bool IsActive() const override { return false; }
    void SetTitleBar(UIElement*) override {}
    void SetPreferredMinSize(Size) override {}
    bool Resize(Size) override { return false; }
    Size VisibleSize() override { return {}; }
    OverlayInsets SystemOverlayInsets() override { return {}; }
    void Announce(std::u16string_view) override {}
    void Close() override {}

    std::u16string Log{};
};

TEST_F(ElementTest, AWindowIsGivenWhatHasBeenVisible) {
    const auto named = [](const auto& element, const char16_t* name) {
        element->Name(name);
        return element;
    };
    const auto root = named(std::make_shared<StackPanel>(), u"r");
    const auto details = named(std::make_shared<StackPanel>(), u"d");
    const auto row = named(std::make_shared<StackPanel>(), u"w");
    row->Append(named(std::make_shared<TextBlock>(), u"t"));
    details->Append(row);
    root->Append(details);
    details->Visibility(Visibility::Collapsed);
    Recorder window;
    const auto recorded = [&] { return std::exchange(window.Log, {}); };

    root->EnterWindow(window);
    EXPECT_EQ(recorded(), u"+r+d*r");
    EXPECT_EQ(row->CurrentWindow(), &window);
    const auto late = named(std::make_shared<TextBlock>(), u"l");
    details->Append(late);
    EXPECT_EQ(recorded(), u"*d");
    row->Visibility(Visibility::Collapsed);
    details->Visibility(Visibility::Visible);
    EXPECT_EQ(recorded(), u"+w+l*d");
    row->Visibility(Visibility::Visible);
    EXPECT_EQ(recorded(), u"+t*w");
    details->Visibility(Visibility::Collapsed);
    details->Visibility(Visibility::Visible);
    EXPECT_EQ(recorded(), u"");
    details->Visibility(Visibility::Collapsed);
    root->LeaveWindow();
    EXPECT_EQ(recorded(), u"-t-w-l-d-r");
    root->EnterWindow(window);
    EXPECT_EQ(recorded(), u"+r+d*r");
    root->LeaveWindow();
}

TEST_F(ElementTest, APageThatRefusesToBeShownLeavesFrameAndHistoryAsTheyAre) {
    static bool refuses = false;
    struct Picky final : Page {
        void OnNavigatedTo(const NavigationEventArgs&) override {
            if (refuses) {
                throw Exception(result::kFail, u"no");
            }
        }
    };
    RegisterType(u"Picky", [] { return std::make_shared<Picky>(); });
    const auto frame = std::make_shared<Frame>();
    const auto shown = [&] {
        refuses = false;
        frame->Navigate(u"Picky");
        refuses = true;
        return frame->Content();
    };
    const auto first = shown();
    EXPECT_THROW(frame->Navigate(u"Picky"), Exception);
    EXPECT_EQ(frame->Content(), first);
    EXPECT_FALSE(frame->CanGoBack());
    const auto second = shown();
    EXPECT_THROW(frame->GoBack(), Exception);
    EXPECT_EQ(frame->Content(), second);
    refuses = false;
    frame->GoBack();
    EXPECT_FALSE(frame->CanGoBack());
}

}  // namespace

}  // namespace platform
