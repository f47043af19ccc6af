#pragma once

// The program's one window and the views of it, by the platform's names. Everything is used on the
// user-interface thread.

#include "platform/tasks/CoreDispatcher.h"
#include "platform/xaml/FrameworkElement.h"

namespace platform {

/// The window as the current thread's message receiver.
class CoreWindow {
  public:
    explicit CoreWindow(std::shared_ptr<CoreDispatcher> dispatcher) : m_dispatcher(std::move(dispatcher)) {}

    /// The window of the calling thread; null on any other thread than the user-interface thread, and where
    /// there is no window.
    static std::shared_ptr<CoreWindow> GetForCurrentThread();

    /// The dispatcher may be used on any thread, and outlives the window.
    const std::shared_ptr<CoreDispatcher>& Dispatcher() const { return m_dispatcher; }

  private:
    std::shared_ptr<CoreDispatcher> m_dispatcher;
};

/// The part of the window's frame that the content may extend into. Used by
/// CoreApplication::GetCurrentView().TitleBar().
class CoreApplicationViewTitleBar {
  public:
    /// In every world the content extends there anyway.
    void ExtendViewIntoTitleBar(bool) {}

    /// Device-independent pixels that the caption buttons cover at the physical left and right end; zero
    /// without a window.
    double SystemOverlayLeftInset() const;
    double SystemOverlayRightInset() const;
};

class CoreApplicationView {
  public:
    const std::shared_ptr<CoreApplicationViewTitleBar>& TitleBar() const { return m_titleBar; }

  private:
    std::shared_ptr<CoreApplicationViewTitleBar> m_titleBar = std::make_shared<CoreApplicationViewTitleBar>();
};

struct BackRequestedEventArgs {
    /// The application has gone back.
    bool Handled = false;
};

/// The user's requests to go back, by key or mouse.
class SystemNavigationManager {
  public:
    static SystemNavigationManager& GetForCurrentView();

    Event<SystemNavigationManager&, BackRequestedEventArgs&>& BackRequested() { return m_backRequested; }

    /// For the layer. Returns whether a handler has gone back.
    bool RequestBack();

  private:
    Event<SystemNavigationManager&, BackRequestedEventArgs&> m_backRequested;
};

enum class ApplicationViewWindowingMode { Auto = 0, PreferredLaunchViewSize = 1 };

/// Sizes of the window's content. In a world without windows the wishes are kept and nothing happens.
class ApplicationView {
  public:
    static ApplicationView& GetForCurrentView();

    void SetPreferredMinSize(Size size);

    /// False when the window could not be asked.
    bool TryResizeView(Size size);

    /// The content's visible size; the launch size before the window is shown.
    Rect VisibleBounds() const;

    /// The size of the window when it is first shown.
    static void PreferredLaunchViewSize(Size size);
    static void PreferredLaunchWindowingMode(ApplicationViewWindowingMode mode);
};

/// The window and its content.
class Window final : private WindowClient {
  public:
    /// The program's window; null on any other thread than the user-interface thread.
    static Window* Current();

    /// Element trees have the direction of the user's language from here on.
    Window(WindowSystem& windows, std::shared_ptr<CoreDispatcher> dispatcher);
    ~Window() override;

    const std::shared_ptr<UIElement>& Content() const { return m_content; }

    /// Drops the earlier content.
    void Content(std::shared_ptr<UIElement> value);

    /// Shows the window, or brings it to the front.
    void Activate();

    /// Whether the user has the window before them: it is on the screen, and what is typed goes to it.
    bool IsActive() const { return m_peer != nullptr && m_peer->IsActive(); }

    /// The element that the window is moved by, from the moment on that it is in the window; null for none of
    /// the content's.
    void SetTitleBar(const std::shared_ptr<UIElement>& element);

    const std::shared_ptr<platform::CoreWindow>& CoreWindow() const { return m_coreWindow; }
    const CoreApplicationView& View() const { return m_view; }
    WindowPeer* Peer() const { return m_peer.get(); }

  private:
    friend class ApplicationView;
    friend class SystemNavigationManager;

    void CloseRequested() override;
    void OverlayInsetsChanged() override;
    void BackRequested() override { m_navigationManager.RequestBack(); }

    std::unique_ptr<WindowPeer> m_peer;
    std::shared_ptr<platform::CoreWindow> m_coreWindow;
    CoreApplicationView m_view;
    SystemNavigationManager m_navigationManager;
    std::shared_ptr<UIElement> m_content;
    std::weak_ptr<UIElement> m_titleBar;
    Size m_launchSize{.Width = 640, .Height = 480};
    bool m_useLaunchSize = false;
    bool m_shown = false;
};

/// The view of the window; refused on any other thread than the user-interface thread.
class CoreApplication {
  public:
    static const CoreApplicationView& GetCurrentView();
};

}  // namespace platform
