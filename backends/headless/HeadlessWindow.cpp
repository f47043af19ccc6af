#include "backends/headless/HeadlessWindow.h"

#include <algorithm>
#include <functional>

#include "platform/core/EnterLayer.h"
#include "platform/xaml/Controls.h"

namespace headless {

using platform::Button;
using platform::UIElement;
using platform::VirtualKey;

namespace {

/// Visits `element` and what is below it, as far as it is visible, in reading order.
void VisitVisible(UIElement& element, const std::function<void(UIElement&)>& visit) {
    if (element.Visibility() == platform::Visibility::Collapsed) {
        return;
    }
    visit(element);
    for (auto* child : element.Children()) {
        VisitVisible(*child, visit);
    }
}

/// The first visible button that `wanted` accepts.
template <typename Wanted>
Button* FindButton(UIElement& root, Wanted wanted) {
    Button* found = nullptr;
    VisitVisible(root, [&](UIElement& element) {
        if (auto* const button = dynamic_cast<Button*>(&element);
            found == nullptr && button != nullptr && wanted(*button)) {
            found = button;
        }
    });
    return found;
}

}  // namespace

/// What stands for an element: all that needs remembering is the focus.
class HeadlessWindow::Element final : public platform::ElementPeer {
  public:
    Element(HeadlessWindow& window, UIElement& element) : m_window(window), m_element(element) {}

    ~Element() override {
        if (m_window.m_focused == &m_element) {
            m_window.m_focused = nullptr;
        }
        if (m_window.m_titleBar == &m_element) {
            m_window.m_titleBar = nullptr;
        }
    }

    void Update(platform::ElementProperty property) override {
        if (property != platform::ElementProperty::Children) {
            return;
        }
        if (auto* const button = FindButton(m_element, [](const Button& each) { return each.IsDefault(); })) {
            m_window.m_focused = button;
        }
    }

    void Focus() override {
        if (m_element.IsTabStop()) {
            m_window.m_focused = &m_element;
        }
    }

  private:
    HeadlessWindow& m_window;
    UIElement& m_element;
};

class HeadlessWindow::Peer final : public platform::WindowPeer {
  public:
    explicit Peer(HeadlessWindow& window) : m_window(window) {}

    std::unique_ptr<platform::ElementPeer> CreatePeer(UIElement& element) override {
        return std::make_unique<Element>(m_window, element);
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
    void Close() override { m_window.m_shown = false; }

  private:
    HeadlessWindow& m_window;
};

std::vector<UIElement*> HeadlessWindow::FocusOrder() const {
    std::vector<UIElement*> order;
    if (m_content != nullptr) {
        VisitVisible(*m_content, [&](UIElement& element) {
            if (element.IsTabStop()) {
                order.push_back(&element);
            }
        });
    }
    return order;
}

void HeadlessWindow::PressKey(VirtualKey key) {
    platform::EnterLayer([&] { ChangeKey(key); });
}

void HeadlessWindow::ChangeKey(VirtualKey key) {
    if (m_content == nullptr) {
        return;
    }
    const bool handled = (m_focused != nullptr ? m_focused : m_content)->RaiseKey(key, true);
    if (!handled && key == VirtualKey::Tab) {
        const auto order = FocusOrder();
        const auto current = std::find(order.begin(), order.end(), m_focused);
        const auto next =
            current == order.end() || std::next(current) == order.end() ? order.begin() : std::next(current);
        m_focused = next != order.end() ? *next : nullptr;
    } else if (auto* const button = dynamic_cast<Button*>(m_focused);
               !handled && button != nullptr && (key == VirtualKey::Enter || key == VirtualKey::Space)) {
        button->Invoke();
    } else if (auto* const accelerated =
                   FindButton(*m_content, [key](const Button& each) { return each.AcceleratorKey() == key; });
               !handled && accelerated != nullptr) {
        accelerated->Invoke();
    }
    if (m_focused != nullptr) {
        m_focused->RaiseKey(key, false);
    }
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
    return std::make_unique<Peer>(*this);
}

}  // namespace headless
