#pragma once

#include <optional>
#include <string>

#include "backends/desktop/CaptionButtons.h"
#include "backends/desktop/GtkPeer.h"
#include "backends/desktop/ResizeBorder.h"
#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Peers.h"

namespace desktop {

/// The program's window: undecorated, with its content up to the upper edge. User-interface thread.
class DesktopWindow final : public platform::WindowPeer, private PeerClient {
  public:
    DesktopWindow(GtkApplication* application, platform::WindowClient& client);
    ~DesktopWindow() override;
    DesktopWindow(const DesktopWindow&) = delete;
    DesktopWindow& operator=(const DesktopWindow&) = delete;

    std::unique_ptr<platform::ElementPeer> CreatePeer(platform::UIElement& element) override;
    void SetContent(platform::UIElement* content) override;
    void Activate() override;
    bool IsActive() const override { return gtk_window_is_active(m_window.get()) != FALSE; }
    void SetTitleBar(platform::UIElement* element) override;
    void SetPreferredMinSize(platform::Size size) override;
    bool Resize(platform::Size size) override;
    platform::Size VisibleSize() override;
    platform::OverlayInsets SystemOverlayInsets() override;
    void Announce(std::u16string_view text) override;
    void Close() override;

    GtkWindow* Widget() const { return m_window.get(); }

    /// True while a requested size has not been applied.
    bool IsResizing() const { return m_wish && !gtk_window_is_maximized(m_window.get()); }

  private:
    struct PixelSize {
        int width;
        int height;
        bool operator==(const PixelSize&) const = default;
    };

    /// The focus is updated later, when the change is complete.
    void ContentChanged() override;
    /// The window's own parts have the direction of its root.
    void DirectionChanged(const platform::UIElement& element) override;
    void AwaitLabel(GtkPeer& peer) override;
    void Forget(GtkPeer& peer) override;

    void UpdateFocus();
    void AnnounceWaiting();
    void UpdateDirection();
    void UnitChanged(double before);
    /// The largest width and height of the screens.
    static PixelSize ScreenSize();
    /// The window's smallest size is wider than any screen.
    bool IsCramped() const;
    /// In pixels, and no larger than the screen; as high as the content needs on a cramped one.
    PixelSize OnScreen(platform::Size size) const;
    void ApplySize();
    void RetrySize();
    void LaidOut();
    PixelSize CurrentSize() const;
    /// The element that has the focus; null for none.
    platform::UIElement* Focused() const;
    bool KeyDown(const platform::KeyPress& press);
    void KeyUp(const platform::KeyPress& press);
    void ButtonDown(guint button);

    platform::WindowClient& m_client;
    GObjectPtr<GtkWindow> m_window;
    /// Owned by the window.
    GtkOverlay* m_overlay;
    GtkWidget* m_content;
    GtkWidget* m_defaultDragArea;
    CaptionButtons m_captionButtons;
    ResizeBorder m_resizeBorder;

    platform::UIElement* m_root = nullptr;
    platform::Size m_minSize;
    /// The size requested last, and what it led to.
    std::optional<platform::Size> m_asked;
    PixelSize m_given{};
    /// The element asked for, which may enter the window later or be destroyed: only compared.
    const platform::UIElement* m_titleBar = nullptr;
    GtkPeer* m_dragArea = nullptr;
    std::vector<GtkPeer*> m_awaitingLabel;
    /// What is announced when the focus is where it belongs.
    std::vector<std::u16string> m_announcements;
    /// The size requested by Resize and not yet applied.
    std::optional<PixelSize> m_wish;
    /// Asks again for the size while it has not come.
    DeferredCall m_sizeRetry;
    int m_retriesLeft = 0;
    DeferredCall m_focusUpdate;
    platform::Keyboard m_keyboard;
    std::vector<Signal> m_signals;
    /// Of the window's surface, which there is from the first Activate on.
    std::optional<Signal> m_laidOut;
};

}  // namespace desktop
