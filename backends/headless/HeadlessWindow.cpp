#include "backends/headless/HeadlessWindow.h"

#include <algorithm>

#include "platform/core/EnterLayer.h"
#include "platform/xaml/Controls.h"

namespace headless {

using platform::UIElement;
using platform::VirtualKey;
using platform::VirtualKeyModifiers;

namespace {

/// A key has its number for a scan code.
platform::KeyPress Press(VirtualKey key, VirtualKeyModifiers modifiers) {
    return {.Key = key, .Modifiers = modifiers, .ScanCode = static_cast<std::uint32_t>(key)};
}

}  // namespace

/// What stands for an element: all that needs remembering is the focus.
class HeadlessWindow::ElementPeer final : public platform::ElementPeer {
  public:
    ElementPeer(HeadlessWindow& window, UIElement& element) : m_window(window), m_element(element) {}

    ~ElementPeer() override {
        if (m_window.m_focused == &m_element) {
            m_window.LoseFocus();
        }
        if (m_window.m_titleBar == &m_element) {
            m_window.m_titleBar = nullptr;
        }
    }

    void Update(platform::ElementProperty property) override {
        if ((property == platform::ElementProperty::Visibility ||
             property == platform::ElementProperty::IsEnabled) &&
            m_window.m_focused != nullptr &&
            !(m_window.m_focused->IsShown() && m_window.m_focused->IsTabStop())) {
            m_window.LoseFocus();
        }
    }

    void Focus() override {
        if (m_element.IsTabStop()) {
            m_window.m_focused = &m_element;
        }
    }

    bool ContainsFocus() const override {
        const auto* focused = m_window.m_focused;
        while (focused != nullptr && focused != &m_element) {
            focused = focused->Parent();
        }
        return focused != nullptr;
    }

    bool IsPointerOver() const override { return false; }

  private:
    HeadlessWindow& m_window;
    UIElement& m_element;
};

class HeadlessWindow::WindowPeer final : public platform::WindowPeer {
  public:
    explicit WindowPeer(HeadlessWindow& window) : m_window(window) {}

    std::unique_ptr<platform::ElementPeer> CreatePeer(UIElement& element) override {
        return std::make_unique<ElementPeer>(m_window, element);
    }
    void SetContent(UIElement* content) override { m_window.m_content = content; }
    void Activate() override { m_window.m_shown = true; }
    void SetTitleBar(UIElement* element) override { m_window.m_titleBar = element; }
    void SetPreferredMinSize(platform::Size size) override { m_window.m_minimum = size; }
    bool Resize(platform::Size size) override {
        m_window.m_size = {.Width = std::max(size.Width, m_window.m_minimum.Width),
                           .Height = std::max(size.Height, m_window.m_minimum.Height)};
        return true;
    }
    platform::Size VisibleSize() override { return m_window.m_size; }
    platform::OverlayInsets SystemOverlayInsets() override { return m_window.m_insets; }
    void Announce(std::u16string_view text) override { m_window.m_announced.emplace_back(text); }
    void Close() override { m_window.m_shown = false; }

  private:
    HeadlessWindow& m_window;
};

void HeadlessWindow::LoseFocus() {
    m_focused = nullptr;
    m_keyboard.FocusLost();
}

UIElement* HeadlessWindow::Focused() {
    if (m_focused == nullptr && m_content != nullptr) {
        m_focused = platform::FirstFocus(*m_content);
    }
    return m_focused;
}

void HeadlessWindow::HoldKey(VirtualKey key, VirtualKeyModifiers modifiers) {
    platform::EnterLayer([&] {
        if (m_content == nullptr) {
            return;
        }
        const auto response = m_keyboard.KeyDown(*m_content, Focused(), Press(key, modifiers));
        if (response.Focus != nullptr) {
            response.Focus->Focus();
        }
        if (response.Press != nullptr) {
            response.Press->Invoke();
        }
    });
}

void HeadlessWindow::ReleaseKey(VirtualKey key) {
    platform::EnterLayer([&] {
        if (m_content != nullptr) {
            m_keyboard.KeyUp(*m_content, Focused(), Press(key, VirtualKeyModifiers::None));
        }
    });
}

void HeadlessWindow::PressKey(VirtualKey key, VirtualKeyModifiers modifiers) {
    HoldKey(key, modifiers);
    ReleaseKey(key);
}

void HeadlessWindow::SetOverlayInsets(platform::OverlayInsets insets) {
    m_insets = insets;
    if (m_client != nullptr) {
        platform::EnterLayer([&] { m_client->OverlayInsetsChanged(); });
    }
}

void HeadlessWindow::RequestClose() {
    if (m_client != nullptr) {
        platform::EnterLayer([&] { m_client->CloseRequested(); });
    }
}

std::unique_ptr<platform::WindowPeer> HeadlessWindow::CreatePeer(platform::WindowClient& client,
                                                                 platform::OverlayInsets insets) {
    m_client = &client;
    m_insets = insets;
    return std::make_unique<WindowPeer>(*this);
}

}  // namespace headless
