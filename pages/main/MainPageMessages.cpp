// What the main page says in its message bar.

#include "pages/main/MainPage.h"
#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

namespace {

using namespace std::chrono_literals;

/// How long a message stays that asks for nothing.
constexpr auto kMessageTime = 10s;

/// Gives the focus to the first button in `element`, if there is one.
void FocusFirst(platform::UIElement& element) {
    if (auto* const first = platform::FirstFocus(element)) {
        first->Focus();
    }
}

std::shared_ptr<platform::Button> ActionButton(std::u16string text) {
    auto content = std::make_shared<platform::TextBlock>();
    content->Text(std::move(text));
    auto button = std::make_shared<platform::Button>();
    button->Name(u"MessageAction");
    button->Style(u"FlatButton");
    button->Content(std::move(content));
    return button;
}

}  // namespace

void MainPage::ShowMessage(PageMessage message) {
    const bool hadFocus = m_commandButtons->ContainsFocus() || m_messageBar->ContainsFocus();
    std::shared_ptr<platform::Button> button;
    if (!message.ActionText.empty()) {
        button = ActionButton(std::move(message.ActionText));
        button->Click().Add([this, act = std::move(message.Action)](UIElement&, const RoutedEventArgs&) {
            m_messageBar->IsOpen(false);
            act();
        });
    }
    m_messageBar->Severity(message.Severity);
    m_messageBar->Message(std::move(message.Text));
    m_messageBar->ActionButton(std::move(button));
    m_messageBar->IsClosable(message.IsClosable);
    m_messageBar->IsOpen(true);
    ++m_messages;
    if (hadFocus) {
        FocusFirst(*m_messageBar);
    }
    RaiseNotificationEvent(m_messageBar->Message());
    if (message.Severity < platform::InfoBarSeverity::Warning) {
        CloseMessageLater();
    }
}

void MainPage::CloseMessageLater() {
    const auto window = platform::CoreWindow::GetForCurrentThread();
    if (!window) {
        return;
    }
    window->Dispatcher()->RunAfter(
        kMessageTime,
        [weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this())), number = m_messages] {
            const auto page = weak.lock();
            if (!page || page->m_messages != number) {
                return;
            }
            if (page->m_messageBar->ContainsFocus() || page->m_messageBar->IsPointerOver()) {
                page->CloseMessageLater();
            } else {
                page->m_messageBar->IsOpen(false);
            }
        });
}

void MainPage::MessageBar_Closed(platform::InfoBar&, const platform::InfoBarClosedEventArgs& args) {
    if (args.HadFocus) {
        FocusFirst(*m_commandButtons);
    }
}

}  // namespace Kelvane
