#include "platform/xaml/Window.h"

#include "platform/core/Exception.h"
#include "platform/core/Lifetime.h"
#include "platform/core/Provided.h"
#include "platform/resources/ResourceLoader.h"

namespace platform {

namespace {

Window* g_window = nullptr;

Window& CurrentView() {
    if (auto* window = Window::Current()) {
        return *window;
    }
    VerifyUserInterfaceThread();
    throw Exception(result::kIllegalMethodCall, u"The application has no window.");
}

OverlayInsets CurrentInsets() {
    const auto* window = Window::Current();
    return window != nullptr && window->Peer() != nullptr ? window->Peer()->SystemOverlayInsets()
                                                          : OverlayInsets{};
}

FlowDirection DirectionOfLanguage() {
    const auto context = ResourceContext::GetForCurrentView();
    return context.QualifierValues().at(u"LayoutDirection") == u"RTL" ? FlowDirection::RightToLeft
                                                                      : FlowDirection::LeftToRight;
}

}  // namespace

std::shared_ptr<CoreWindow> CoreWindow::GetForCurrentThread() {
    const auto* window = Window::Current();
    return window != nullptr ? window->CoreWindow() : nullptr;
}

double CoreApplicationViewTitleBar::SystemOverlayLeftInset() const {
    return CurrentInsets().Left;
}

double CoreApplicationViewTitleBar::SystemOverlayRightInset() const {
    return CurrentInsets().Right;
}

SystemNavigationManager& SystemNavigationManager::GetForCurrentView() {
    return CurrentView().m_navigationManager;
}

bool SystemNavigationManager::RequestBack() {
    BackRequestedEventArgs args;
    m_backRequested.Raise(*this, args);
    return args.Handled;
}

ApplicationView& ApplicationView::GetForCurrentView() {
    CurrentView();
    static ApplicationView view;
    return view;
}

void ApplicationView::SetPreferredMinSize(Size size) {
    if (auto* peer = CurrentView().m_peer.get()) {
        peer->SetPreferredMinSize(size);
    }
}

bool ApplicationView::TryResizeView(Size size) {
    auto* peer = CurrentView().m_peer.get();
    return peer != nullptr && peer->Resize(size);
}

Rect ApplicationView::VisibleBounds() const {
    const auto& window = CurrentView();
    const Size size =
        window.m_peer != nullptr && window.m_shown ? window.m_peer->VisibleSize() : window.m_launchSize;
    return {.Width = size.Width, .Height = size.Height};
}

void ApplicationView::PreferredLaunchViewSize(Size size) {
    CurrentView().m_launchSize = size;
}

void ApplicationView::PreferredLaunchWindowingMode(ApplicationViewWindowingMode mode) {
    CurrentView().m_useLaunchSize = mode == ApplicationViewWindowingMode::PreferredLaunchViewSize;
}

Window* Window::Current() {
    return IsUserInterfaceThread() ? g_window : nullptr;
}

Window::Window(WindowSystem& windows, std::shared_ptr<CoreDispatcher> dispatcher)
    : m_peer(windows.CreateWindow(*this)) {
    UIElement::RootFlowDirection(DirectionOfLanguage());
    if (m_peer) {
        m_coreWindow = std::make_shared<platform::CoreWindow>(std::move(dispatcher));
    }
    g_window = this;
}

Window::~Window() {
    Content(nullptr);
    UIElement::RootFlowDirection(FlowDirection::LeftToRight);
    g_window = nullptr;
}

void Window::Content(std::shared_ptr<UIElement> value) {
    VerifyUserInterfaceThread();
    if (value == m_content) {
        return;
    }
    const auto earlier = std::exchange(m_content, std::move(value));
    if (!m_peer) {
        return;
    }
    if (m_content) {
        m_content->EnterWindow(*m_peer);
    }
    m_peer->SetContent(m_content.get());
    if (earlier) {
        earlier->LeaveWindow();
    }
    if (m_content) {
        m_content->RaiseLoaded();
    }
}

void Window::Activate() {
    VerifyUserInterfaceThread();
    if (!m_peer) {
        return;
    }
    if (!m_shown && m_useLaunchSize) {
        m_peer->Resize(m_launchSize);
    }
    m_shown = true;
    m_peer->Activate();
}

void Window::SetTitleBar(const std::shared_ptr<UIElement>& element) {
    VerifyUserInterfaceThread();
    m_titleBar = element;
    if (!m_peer) {
        return;
    }
    if (!element || element->Peer() != nullptr) {
        m_peer->SetTitleBar(element.get());
        return;
    }
    element->Loaded().Add([](UIElement& loaded, const RoutedEventArgs&) {
        if (auto* const window = Current(); window != nullptr && window->m_titleBar.lock().get() == &loaded) {
            window->m_peer->SetTitleBar(&loaded);
        }
    });
}

void Window::CloseRequested() {
    Provided<Lifetime>::Current().Exit();
}

void Window::OverlayInsetsChanged() {
    if (m_content) {
        m_content->RefreshBindings();
    }
}

const CoreApplicationView& CoreApplication::GetCurrentView() {
    return CurrentView().View();
}

}  // namespace platform
