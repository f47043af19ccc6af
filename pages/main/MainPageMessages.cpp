// What the main page says in its message bar: what keeps data from being there, and what came of requests.

#include <algorithm>
#include <iterator>

#include "logging/Trace.h"
#include "pages/RequestInProgress.h"
#include "pages/ServiceMessage.h"
#include "pages/main/MainPage.h"
#include "platform/media/ToastNotification.h"
#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

using namespace std::chrono_literals;
using platform::InfoBarSeverity;

/// How long a message stays that asks for nothing.
constexpr auto kMessageTime = 10s;
/// How long the service may take before the user is told.
constexpr auto kPatience = 2s;

/// What is said when a request has ended with a status; the last row of a request is for any other.
struct Answer {
    Request request;
    std::int64_t status;
    std::u16string_view key;
    InfoBarSeverity severity = InfoBarSeverity::Warning;
    bool canBeTriedAgain = false;
};
constexpr std::int64_t kOther = -1;
constexpr std::int64_t kNotFound = 2;
constexpr std::int64_t kDenied = 5;
constexpr std::int64_t kNotSupported = 50;
constexpr std::int64_t kJustStarted = 170;
constexpr Answer kAnswers[] = {
    {Request::SystemInformationTool, 0, u"ToolStarted/Text", InfoBarSeverity::Success},
    {Request::SystemInformationTool, kJustStarted, u"ToolStarted/Text", InfoBarSeverity::Success},
    {Request::SystemInformationTool, kNotFound, u"ToolMissing/Text"},
    {Request::SystemInformationTool, kOther, u"ToolFailed/Text", InfoBarSeverity::Warning, true},
    {Request::FirmwareRequest, 0, u"RequestSet/Text", InfoBarSeverity::Success},
    {Request::FirmwareRequest, kDenied, u"RequestDenied/Text"},
    {Request::FirmwareRequest, kNotSupported, u"RequestNotSupported/Text"},
    {Request::FirmwareRequest, kOther, u"RequestRefused/Text", InfoBarSeverity::Warning, true},
    {Request::FirmwareRequestCancel, 0, u"RequestUndone/Text", InfoBarSeverity::Success},
    {Request::FirmwareRequestCancel, kDenied, u"RequestDenied/Text"},
    {Request::FirmwareRequestCancel, kOther, u"UndoFailed/Text", InfoBarSeverity::Warning, true},
};

const Answer& AnswerTo(const RequestOutcome& outcome) {
    return *std::ranges::find_if(kAnswers, [&](const Answer& answer) {
        return answer.request == outcome.What && (answer.status == outcome.Status || answer.status == kOther);
    });
}

/// Gives the focus to the first button in `element`, if there is one.
void FocusFirst(platform::UIElement& element) {
    if (auto* const first = platform::FirstFocus(element)) {
        first->Focus();
    }
}

std::shared_ptr<platform::Button> ActionButton(const std::u16string& text) {
    auto content = std::make_shared<platform::TextBlock>();
    content->Text(text);
    auto button = std::make_shared<platform::Button>();
    button->Name(u"MessageAction");
    button->Style(u"FlatButton");
    button->Content(std::move(content));
    return button;
}

void SetToolTip(platform::FrameworkElement& element, const std::u16string& text) {
    auto accessibility = element.Accessibility();
    accessibility.ToolTip = text;
    element.Accessibility(std::move(accessibility));
}

}  // namespace

void MainPage::ShowMessage(PageMessage message) {
    const bool hadFocus = m_commandButtons->ContainsFocus() || m_messageBar->ContainsFocus();
    m_message = std::move(message);
    std::shared_ptr<platform::Button> button;
    if (!m_message.ActionText.empty()) {
        button = ActionButton(m_message.ActionText);
        button->Click().Add([this, act = m_message.Action](UIElement&, const RoutedEventArgs&) {
            m_messageBar->IsOpen(false);
            act();
        });
    }
    m_messageBar->Severity(m_message.Severity);
    m_messageBar->ActionButton(std::move(button));
    m_messageBar->IsClosable(m_message.IsClosable);
    ShowMessageText();
    m_messageBar->IsOpen(true);
    ++m_messages;
    if (hadFocus) {
        FocusFirst(*m_messageBar);
    }
    RaiseNotificationEvent(m_messageBar->Message());
    if (m_message.Severity < InfoBarSeverity::Warning) {
        CloseMessageLater();
    }
}

void MainPage::ShowMessageText() {
    const bool beside = s_bExpanded && !m_message.Detail.empty();
    m_messageBar->Message(beside ? m_message.Text + u" " + m_message.Detail : m_message.Text);
    const std::u16string toolTip = beside ? u"" : m_message.Detail;
    SetToolTip(*m_messageBar, toolTip);
    if (const auto& button = m_messageBar->ActionButton()) {
        // A screen reader reads it after the button's name.
        SetToolTip(*button, toolTip);
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

void MainPage::TryAgain() {
    const auto frame = std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content());
    if (frame) {
        frame->Navigate(u"Kelvane.MainPage", m_parameter, platform::SuppressNavigationTransitionInfo{});
        frame->RemoveLastFromBackStack();
    }
}

void MainPage::ReadBegins() {
    const auto window = platform::CoreWindow::GetForCurrentThread();
    if (!window) {
        return;
    }
    m_isReading = true;
    window->Dispatcher()->RunAfter(
        kPatience, [weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this()))] {
            const auto page = weak.lock();
            if (page && page->m_isReading) {
                const auto texts = PackageTexts();
                page->ShowMessage({.Severity = InfoBarSeverity::Warning,
                                   .Text = texts.Lookup(u"ServiceSilent/Text"),
                                   .ActionText = texts.Lookup(u"TryAgain/AutomationProperties/Name"),
                                   .Action = [page = page.get()] { page->TryAgain(); },
                                   .IsClosable = false});
                page->m_waitingMessage = page->m_messages;
            }
        });
}

void MainPage::ReadEnded(bool filled) {
    m_isReading = false;
    if (m_waitingMessage != 0 && m_waitingMessage == m_messages) {
        m_messageBar->IsOpen(false);
    }
    const auto texts = PackageTexts();
    const bool hasValues = filled ? HasData() : MainViewModel::GetInstance()->IsSysInfoReadCompleted();
    if (const auto missing = MessageOfMissingRecord(hasValues, texts)) {
        ShowMessage({.Severity = InfoBarSeverity::Warning,
                     .Text = missing->Title,
                     .ActionText = texts.Lookup(u"TryAgain/AutomationProperties/Name"),
                     .Action = [this] { TryAgain(); },
                     // Without buttons there is nothing below it.
                     .IsClosable = platform::FirstFocus(*m_commandButtons) != nullptr,
                     .Detail = missing->Message});
    }
}

void MainPage::Ask(Request request) {
    platform::create_task([viewModel = MainViewModel::GetInstance(), request,
                           inProgress = RequestInProgress(u"Kelvane::MainPage::Ask")] {
        switch (request) {
            case Request::SystemInformationTool:
                viewModel->LaunchSysInfo();
                break;
            case Request::FirmwareRequest:
                viewModel->SetUEFIFlagOperation();
                break;
            case Request::FirmwareRequestCancel:
                viewModel->CancelFirmwareRequest();
                break;
        }
    });
}

void MainPage::ListenForOutcomes() {
    const auto window = platform::CoreWindow::GetForCurrentThread();
    if (!window) {
        return;
    }
    MainViewModel::GetInstance()->OnOutcome(
        [dispatcher = window->Dispatcher(),
         weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this()))] {
            dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [weak] {
                // One that has been left leaves it to the next.
                if (const auto page = weak.lock(); page && page->CurrentWindow() != nullptr) {
                    page->ShowOutcome();
                }
            });
        });
    ShowOutcome();
}

void MainPage::ShowOutcome() {
    const auto outcome = MainViewModel::GetInstance()->TakeOutcome();
    if (!outcome) {
        return;
    }
    const auto texts = PackageTexts();
    if (outcome->What == Request::FirmwareRequest && outcome->Status == 0 && !outcome->Problem) {
        m_toldPending = true;
        ShowEverywhere(RequestSetMessage());
        return;
    }
    const auto& answer = AnswerTo(*outcome);
    PageMessage message{.Severity = answer.severity, .Text = texts.Lookup(answer.key)};
    if (outcome->Problem) {
        const auto problem = MessageOf(*outcome->Problem, texts);
        message = {.Severity = InfoBarSeverity::Warning, .Text = problem.Title, .Detail = problem.Message};
    }
    if (outcome->Problem || answer.canBeTriedAgain) {
        message.ActionText = texts.Lookup(u"TryAgain/AutomationProperties/Name");
        message.Action = [what = outcome->What] { Ask(what); };
    }
    if (outcome->What == Request::SystemInformationTool) {
        ShowMessage(std::move(message));
    } else {
        ShowEverywhere(message);
    }
}

void MainPage::ShowRequestPending() {
    const auto details = MainViewModel::GetInstance()->Details();
    const bool isPending = details && details->FirmwareRequest && details->FirmwareRequest->Pending;
    if (isPending && !m_messageBar->IsOpen() && !std::exchange(m_toldPending, true)) {
        ShowMessage(RequestSetMessage());
    }
}

PageMessage MainPage::RequestSetMessage() {
    const auto texts = PackageTexts();
    const auto details = MainViewModel::GetInstance()->Details();
    PageMessage message{.Text = texts.Lookup(u"RequestSet/Text")};
    if (details && details->FirmwareRequest) {
        const auto& entry = details->FirmwareRequest->BootEntry;
        message.Text = entry.empty() ? texts.Lookup(u"RequestSetSetup/Text")
                                     : Filled(texts.Lookup(u"RequestSetEntry/Text"), {{u"{name}", entry}});
        message.ActionText = texts.Lookup(u"Undo/Text");
        message.Action = [] { Ask(Request::FirmwareRequestCancel); };
    }
    return message;
}

void MainPage::ShowEverywhere(const PageMessage& message) {
    ShowMessage(message);
    if (platform::Window::Current()->IsActive()) {
        platform::ToastNotificationManager::Clear();
    } else {
        platform::ToastNotificationManager::Show(
            {.Text = message.Text, .ActionText = message.ActionText, .Activated = message.Action});
    }
}

}  // namespace Kelvane
