#include "backends/desktop/DesktopWindow.h"

#include <algorithm>

#include "backends/desktop/ElementWidget.h"
#include "backends/desktop/Keys.h"
#include "backends/desktop/Peers.h"
#include "backends/desktop/Unit.h"
#include "backends/desktop/WindowIcon.h"
#include "platform/xaml/Controls.h"

namespace desktop {

namespace {

/// Between two requests for a size.
constexpr guint kRetryMilliseconds = 100;

/// Everything below `element` is measured in new units.
void UpdateLayoutOf(platform::UIElement& element) {
    if (element.Peer() != nullptr) {
        element.Peer()->Update(platform::ElementProperty::Layout);
    }
    for (const auto& child : element.Children()) {
        UpdateLayoutOf(*child);
    }
}

/// The mouse's button for going back.
constexpr guint kBackButton = 8;

}  // namespace

DesktopWindow::DesktopWindow(GtkApplication* application, platform::WindowClient& client)
    : m_client(client),
      m_window(Share(GTK_WINDOW(gtk_application_window_new(application)))),
      m_overlay(GTK_OVERLAY(gtk_overlay_new())),
      m_content(NewElementWidget()),
      m_defaultDragArea(gtk_window_handle_new()),
      m_captionButtons(m_window.get(), m_overlay, [this] { m_client.OverlayInsetsChanged(); }),
      m_resizeBorder(m_window.get(), m_overlay) {
    auto* const window = m_window.get();
    gtk_window_set_decorated(window, FALSE);
    gtk_window_set_title(window, g_get_application_name());
    gtk_widget_add_css_class(GTK_WIDGET(window), "kelvane");
    SetLayout(m_content, [this] {
        CellLayout layout;
        if (const auto* const peer = m_root != nullptr ? GtkPeer::Of(*m_root) : nullptr) {
            layout.Cells.push_back({.Widget = peer->Outer(), .Layout = peer->Element().Layout()});
        }
        return layout;
    });
    gtk_overlay_set_child(m_overlay, m_content);

    gtk_widget_set_valign(m_defaultDragArea, GTK_ALIGN_START);
    gtk_window_handle_set_child(GTK_WINDOW_HANDLE(m_defaultDragArea),
                                gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
    gtk_widget_set_size_request(m_defaultDragArea, -1, Pixels(CaptionButtons::kHeight));
    gtk_overlay_add_overlay(m_overlay, m_defaultDragArea);
    // Under the caption buttons and the border.
    gtk_widget_insert_after(m_defaultDragArea, GTK_WIDGET(m_overlay), m_content);
    gtk_window_set_child(window, GTK_WIDGET(m_overlay));

    TextScale::OnChange([this](double before) { UnitChanged(before); });
    m_signals.emplace_back(
        window, "close-request",
        [](GtkWindow*, gpointer self) -> gboolean {
            static_cast<DesktopWindow*>(self)->m_client.CloseRequested();
            return TRUE;
        },
        this);
    m_signals.emplace_back(
        window, "notify::maximized",
        [](GObject*, GParamSpec*, gpointer self) { static_cast<DesktopWindow*>(self)->ApplySize(); }, this);

    // Before any widget sees a key: texts must not act on the keys that the page takes for itself.
    auto* const keys = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    gtk_widget_add_controller(GTK_WIDGET(window), keys);
    m_signals.emplace_back(
        keys, "key-pressed",
        [](GtkEventControllerKey*, guint key, guint code, GdkModifierType state, gpointer self) -> gboolean {
            return static_cast<DesktopWindow*>(self)->KeyDown(KeyPressOf(key, code, state));
        },
        this);
    // The controller of keys reports only releases of keys whose press was handled.
    auto* const releases = gtk_event_controller_legacy_new();
    gtk_event_controller_set_propagation_phase(releases, GTK_PHASE_CAPTURE);
    gtk_widget_add_controller(GTK_WIDGET(window), releases);
    m_signals.emplace_back(
        releases, "event",
        [](GtkEventControllerLegacy*, GdkEvent* event, gpointer self) -> gboolean {
            if (gdk_event_get_event_type(event) == GDK_KEY_RELEASE) {
                static_cast<DesktopWindow*>(self)->KeyUp(KeyPressOf(gdk_key_event_get_keyval(event),
                                                                    gdk_key_event_get_keycode(event),
                                                                    gdk_event_get_modifier_state(event)));
            }
            return FALSE;
        },
        this);
    auto* const buttons = gtk_gesture_click_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(buttons), 0);
    gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(buttons), GTK_PHASE_CAPTURE);
    gtk_widget_add_controller(GTK_WIDGET(window), GTK_EVENT_CONTROLLER(buttons));
    m_signals.emplace_back(
        buttons, "pressed",
        [](GtkGestureClick* gesture, int, double, double, gpointer self) {
            static_cast<DesktopWindow*>(self)->ButtonDown(
                gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture)));
        },
        this);
    // Key releases are not reported while another window has the focus.
    m_signals.emplace_back(
        window, "notify::is-active",
        [](GObject*, GParamSpec*, gpointer self) {
            static_cast<DesktopWindow*>(self)->m_keyboard.ReleaseAll();
        },
        this);
}

DesktopWindow::~DesktopWindow() {
    TextScale::OnChange(nullptr);
    m_signals.clear();
    SetLayout(m_content, nullptr);
    gtk_window_destroy(m_window.get());
}

std::unique_ptr<platform::ElementPeer> DesktopWindow::CreatePeer(platform::UIElement& element) {
    auto peer = NewPeer(*this, element);
    peer->UpdateAll();
    if (&element == m_titleBar) {
        m_dragArea = peer.get();
        m_dragArea->MakeDragArea(true);
    }
    return peer;
}

void DesktopWindow::SetContent(platform::UIElement* content) {
    m_root = content;
    std::vector<GtkWidget*> widgets;
    if (const auto* const peer = content != nullptr ? GtkPeer::Of(*content) : nullptr) {
        widgets.push_back(peer->Outer());
    }
    SetChildren(m_content, widgets);
    UpdateDirection();
    ContentChanged();
}

void DesktopWindow::Activate() {
    UpdateFocus();
    if (!gtk_widget_get_mapped(GTK_WIDGET(m_window.get()))) {
        // Show no focus ring until the keyboard is used.
        gtk_window_set_focus_visible(m_window.get(), FALSE);
    }
    if (!m_laidOut) {
        gtk_widget_realize(GTK_WIDGET(m_window.get()));
        SetWindowIcon(m_window.get());
    }
    gtk_window_present(m_window.get());
    if (!m_laidOut) {
        m_laidOut.emplace(
            gtk_native_get_surface(GTK_NATIVE(m_window.get())), "layout",
            [](GdkSurface*, int, int, gpointer self) { static_cast<DesktopWindow*>(self)->LaidOut(); }, this);
    }
}

void DesktopWindow::SetTitleBar(platform::UIElement* element) {
    if (element == m_titleBar) {
        return;
    }
    if (m_dragArea != nullptr) {
        m_dragArea->MakeDragArea(false);
    }
    m_titleBar = element;
    m_dragArea = element != nullptr ? GtkPeer::Of(*element) : nullptr;
    if (m_dragArea != nullptr) {
        m_dragArea->MakeDragArea(true);
    }
    gtk_widget_set_visible(m_defaultDragArea, element == nullptr);
}

void DesktopWindow::SetPreferredMinSize(platform::Size size) {
    m_minSize = size;
    const auto screen = ScreenSize();
    gtk_widget_set_size_request(m_content, std::min(Pixels(size.Width), screen.width),
                                std::min(Pixels(size.Height), screen.height));
    gtk_widget_set_size_request(m_defaultDragArea, -1, Pixels(CaptionButtons::kHeight));
}

bool DesktopWindow::Resize(platform::Size size) {
    m_asked = size;
    GtkRequisition least{};
    gtk_widget_get_preferred_size(GTK_WIDGET(m_window.get()), &least, nullptr);
    auto asked = OnScreen(size);
    if (gtk_window_is_maximized(m_window.get())) {
        // A dimension equal to the current one means "keep": use the restored window's, not the maximized
        // one's.
        const auto now = CurrentSize();
        PixelSize own{};
        gtk_window_get_default_size(m_window.get(), &own.width, &own.height);
        asked.width = asked.width == now.width ? own.width : asked.width;
        asked.height = asked.height == now.height ? own.height : asked.height;
    }
    m_wish = {.width = std::max(asked.width, least.width), .height = std::max(asked.height, least.height)};
    m_given = *m_wish;
    ApplySize();
    return true;
}

void DesktopWindow::ApplySize() {
    // A maximized window would lose the request: it is kept until the window is itself again.
    if (!m_wish || gtk_window_is_maximized(m_window.get())) {
        return;
    }
    gtk_window_set_default_size(m_window.get(), m_wish->width, m_wish->height);
    LaidOut();
    // A window manager that is just mapping or restoring the window may answer with the earlier size.
    constexpr int kRetries = 20;
    m_retriesLeft = kRetries;
    if (m_wish && !m_sizeRetry.IsPending()) {
        m_sizeRetry.Schedule(
            G_PRIORITY_DEFAULT, [this] { RetrySize(); }, kRetryMilliseconds);
    }
}

void DesktopWindow::RetrySize() {
    if (!m_wish || gtk_window_is_maximized(m_window.get())) {
        return;
    }
    if (--m_retriesLeft > 0) {
        gtk_window_set_default_size(m_window.get(), m_wish->width, m_wish->height);
        m_sizeRetry.Schedule(
            G_PRIORITY_DEFAULT, [this] { RetrySize(); }, kRetryMilliseconds);
    } else {
        // Give up: tiling window managers ignore size requests.
        m_wish.reset();
    }
}

void DesktopWindow::LaidOut() {
    if (m_wish == CurrentSize()) {
        m_wish.reset();
    }
}

DesktopWindow::PixelSize DesktopWindow::CurrentSize() const {
    auto* const window = GTK_WIDGET(m_window.get());
    return {.width = gtk_widget_get_width(window), .height = gtk_widget_get_height(window)};
}

platform::Size DesktopWindow::VisibleSize() {
    const auto [width, height] = CurrentSize();
    return {.Width = width / Unit(), .Height = height / Unit()};
}

DesktopWindow::PixelSize DesktopWindow::ScreenSize() {
    PixelSize screen{};
    auto* const monitors = gdk_display_get_monitors(gdk_display_get_default());
    for (guint index = 0; index < g_list_model_get_n_items(monitors); ++index) {
        const GObjectPtr<GdkMonitor> monitor(GDK_MONITOR(g_list_model_get_item(monitors, index)));
        GdkRectangle area{};
        gdk_monitor_get_geometry(monitor.get(), &area);
        screen = {.width = std::max(screen.width, area.width),
                  .height = std::max(screen.height, area.height)};
    }
    return screen;
}

DesktopWindow::PixelSize DesktopWindow::OnScreen(platform::Size size) const {
    const auto screen = ScreenSize();
    PixelSize fitting{.width = std::min(Pixels(size.Width), screen.width), .height = Pixels(size.Height)};
    if (IsCramped()) {
        // What does not fit beside each other stands below it.
        int natural = 0;
        gtk_widget_measure(m_content, GTK_ORIENTATION_VERTICAL, fitting.width, nullptr, &natural, nullptr,
                           nullptr);
        fitting.height = std::max(fitting.height, natural);
    }
    // A window of the whole screen is taken for one that wants to be fullscreen, and stays so.
    fitting.height = std::min(fitting.height, screen.height - 1);
    return fitting;
}

bool DesktopWindow::IsCramped() const {
    return Pixels(m_minSize.Width) > ScreenSize().width;
}

void DesktopWindow::UnitChanged(double before) {
    const auto now = CurrentSize();
    const bool isAsAsked = m_asked && (m_wish || now == m_given);
    SetPreferredMinSize(m_minSize);
    if (m_root != nullptr) {
        UpdateLayoutOf(*m_root);
    }
    Resize(isAsAsked ? *m_asked : platform::Size{.Width = now.width / before, .Height = now.height / before});
}

platform::OverlayInsets DesktopWindow::SystemOverlayInsets() {
    return m_captionButtons.Insets();
}

void DesktopWindow::Announce(std::u16string_view text) {
    m_announcements.emplace_back(text);
    if (!m_focusUpdate.IsPending()) {
        AnnounceWaiting();
    }
}

void DesktopWindow::AnnounceWaiting() {
    auto* const peer = GtkPeer::Around(gtk_window_get_focus(m_window.get()));
    for (const auto& text : std::exchange(m_announcements, {})) {
        if (peer != nullptr) {
            peer->Announce(text);
        }
    }
}

void DesktopWindow::Close() {
    gtk_widget_set_visible(GTK_WIDGET(m_window.get()), FALSE);
}

void DesktopWindow::AwaitLabel(GtkPeer& peer) {
    if (std::ranges::find(m_awaitingLabel, &peer) == m_awaitingLabel.end()) {
        m_awaitingLabel.push_back(&peer);
    }
}

void DesktopWindow::Forget(GtkPeer& peer) {
    std::erase(m_awaitingLabel, &peer);
    if (gtk_window_get_focus(m_window.get()) == peer.Widget()) {
        // Key releases would go to a widget that is no longer in the window.
        gtk_window_set_focus(m_window.get(), nullptr);
    }
    if (m_dragArea == &peer) {
        m_dragArea = nullptr;
        m_titleBar = nullptr;
        gtk_widget_set_visible(m_defaultDragArea, TRUE);
    }
}

void DesktopWindow::DirectionChanged(const platform::UIElement& element) {
    if (&element == m_root) {
        UpdateDirection();
    }
}

void DesktopWindow::UpdateDirection() {
    const auto direction =
        m_root != nullptr && m_root->FlowDirection() == platform::FlowDirection::RightToLeft
            ? GTK_TEXT_DIR_RTL
            : GTK_TEXT_DIR_LTR;
    gtk_widget_set_direction(GTK_WIDGET(m_overlay), direction);
    gtk_widget_set_direction(m_content, direction);
    m_captionButtons.SetDirection(direction);
}

void DesktopWindow::ContentChanged() {
    if (!m_focusUpdate.IsPending()) {
        m_focusUpdate.Schedule(G_PRIORITY_DEFAULT, [this] {
            UpdateFocus();
            AnnounceWaiting();
        });
    }
}

void DesktopWindow::UpdateFocus() {
    if (m_asked && IsCramped()) {
        Resize(*m_asked);
    }
    for (auto* const peer : std::exchange(m_awaitingLabel, {})) {
        peer->Update(platform::ElementProperty::Accessibility);
    }
    auto* const focus = gtk_window_get_focus(m_window.get());
    const bool isThere = focus != nullptr && gtk_widget_get_mapped(focus) && gtk_widget_is_sensitive(focus);
    if (m_root == nullptr || (isThere && m_captionButtons.Contains(focus))) {
        return;
    }
    if (auto* const chosen = m_keyboard.ContentChanged(*m_root, isThere ? Focused() : nullptr)) {
        if (!isThere) {
            // The toolkit looks at the widget that has the focus, which may be about to be destroyed.
            gtk_window_set_focus(m_window.get(), nullptr);
        }
        chosen->Focus();
        GtkPeer::Of(*chosen)->Unselect();
    }
}

platform::UIElement* DesktopWindow::Focused() const {
    auto* const peer = GtkPeer::Around(gtk_window_get_focus(m_window.get()));
    return peer != nullptr ? &peer->Element() : nullptr;
}

bool DesktopWindow::KeyDown(const platform::KeyPress& press) {
    auto* const focus = gtk_window_get_focus(m_window.get());
    // A menu over the window has its own keys.
    if (m_root == nullptr ||
        (focus != nullptr && gtk_widget_get_native(focus) != GTK_NATIVE(m_window.get()))) {
        return false;
    }
    const bool back = HasModifier(press.Modifiers, platform::VirtualKeyModifiers::Shift);
    if (m_captionButtons.Contains(focus)) {
        if (press.Key == platform::VirtualKey::Enter || press.Key == platform::VirtualKey::Space) {
            return false;
        }
        if (press.Key == platform::VirtualKey::Tab && m_captionButtons.MoveFocus(focus, back)) {
            return true;
        }
    }
    auto* const focused = Focused();
    const auto response = m_keyboard.KeyDown(*m_root, focused, press);
    if (response.Gesture != platform::TextGesture::None) {
        return GtkPeer::Of(*focused)->Perform(response.Gesture);
    }
    if (response.LeavesContent && m_captionButtons.MoveFocus(nullptr, back)) {
        gtk_window_set_focus_visible(m_window.get(), TRUE);
        return true;
    }
    if (response.Focus != nullptr || response.Press != nullptr) {
        gtk_window_set_focus_visible(m_window.get(), TRUE);
    }
    if (response.Focus != nullptr) {
        response.Focus->Focus();
    }
    if (response.Press != nullptr) {
        gtk_widget_activate(GtkPeer::Of(*response.Press)->Widget());
    }
    return response.Handled;
}

void DesktopWindow::ButtonDown(guint button) {
    m_keyboard.PointerPressed();
    if (button == kBackButton) {
        m_client.BackRequested();
    }
}

void DesktopWindow::KeyUp(const platform::KeyPress& press) {
    if (m_root != nullptr) {
        m_keyboard.KeyUp(*m_root, Focused(), press);
    }
}

}  // namespace desktop
