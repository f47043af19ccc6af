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
    const auto name = platform::NameOf(key);
    return {.Key = key,
            .Modifiers = modifiers,
            .ScanCode = static_cast<std::uint32_t>(key),
            .Characters = std::u16string(name.size() == 1 ? name : u"")};
}

std::u16string TextOf(const UIElement* element) {
    if (const auto* const block = dynamic_cast<const platform::TextBlock*>(element)) {
        return block->Text();
    }
    const auto* const box = dynamic_cast<const platform::TextBox*>(element);
    return box != nullptr ? box->Text() : u"";
}

/// Where a caret key moves the caret in `text`; with Control by words, between blanks.
std::size_t Moved(std::size_t caret, const std::u16string& text, const platform::KeyPress& press) {
    const bool back = press.Key == VirtualKey::Left || press.Key == VirtualKey::Home;
    const auto end = back ? 0 : text.size();
    if (caret == end || press.Key == VirtualKey::Home || press.Key == VirtualKey::End) {
        return end;
    }
    const auto step = [&] { back ? --caret : ++caret; };
    step();
    if (HasModifier(press.Modifiers, VirtualKeyModifiers::Control)) {
        while (caret != end && text[back ? caret - 1 : caret] != u' ') {
            step();
        }
    }
    return caret;
}

}  // namespace

/// What stands for an element: all that needs remembering is the focus.
class HeadlessWindow::ElementPeer final : public platform::ElementPeer {
  public:
    ElementPeer(HeadlessWindow& window, UIElement& element) : m_window(window), m_element(element) {}

    ~ElementPeer() override {
        if (m_window.m_focused == &m_element) {
            m_window.m_focused = nullptr;
        }
        if (m_window.m_titleBar == &m_element) {
            m_window.m_titleBar = nullptr;
        }
    }

    void Update(platform::ElementProperty property) override {
        if (property == platform::ElementProperty::Selection && m_window.m_focused == &m_element) {
            m_window.m_selection = {.Anchor = 0, .Caret = TextOf(&m_element).size()};
        }
        if ((property == platform::ElementProperty::Visibility ||
             property == platform::ElementProperty::IsEnabled) &&
            m_window.m_focused != nullptr &&
            !(m_window.m_focused->IsShown() && m_window.m_focused->IsTabStop())) {
            m_window.m_focused = nullptr;
        }
    }

    void Focus() override {
        if (m_element.IsTabStop()) {
            m_window.m_focused = &m_element;
            // A text that is reached by key is selected.
            m_window.m_selection = {.Anchor = 0, .Caret = TextOf(&m_element).size()};
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
    bool IsActive() const override { return m_window.m_shown; }
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

UIElement* HeadlessWindow::Focused() {
    if (m_content != nullptr) {
        if (auto* const chosen = m_keyboard.ContentChanged(*m_content, m_focused)) {
            m_focused = chosen;
            m_selection = {};
        }
    }
    return m_focused;
}

void HeadlessWindow::Perform(platform::TextGesture gesture, const platform::KeyPress& press) {
    const auto text = TextOf(m_focused);
    auto& [anchor, caret] = m_selection;
    anchor = std::min(anchor, text.size());
    caret = std::min(caret, text.size());
    switch (gesture) {
        case platform::TextGesture::Copy:
            if (anchor != caret) {
                m_copy(
                    text.substr(std::min(anchor, caret), std::max(anchor, caret) - std::min(anchor, caret)));
            }
            break;
        case platform::TextGesture::SelectAll:
            m_selection = {.Anchor = 0, .Caret = text.size()};
            break;
        case platform::TextGesture::MoveCaret: {
            const bool selects = HasModifier(press.Modifiers, VirtualKeyModifiers::Shift);
            // A selection that is left collapses to that end.
            if (anchor != caret && !selects && press.Key == VirtualKey::Left) {
                caret = std::min(anchor, caret);
            } else if (anchor != caret && !selects && press.Key == VirtualKey::Right) {
                caret = std::max(anchor, caret);
            } else {
                caret = Moved(caret, text, press);
            }
            anchor = selects ? anchor : caret;
            break;
        }
        default:
            break;
    }
}

void HeadlessWindow::HoldKey(VirtualKey key, VirtualKeyModifiers modifiers) {
    platform::EnterLayer([&] {
        if (m_content == nullptr) {
            return;
        }
        const auto press = Press(key, modifiers);
        const auto response = m_keyboard.KeyDown(*m_content, Focused(), press);
        Perform(response.Gesture, press);
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

void HeadlessWindow::RequestBack() {
    if (m_client != nullptr) {
        platform::EnterLayer([&] { m_client->BackRequested(); });
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
    return std::make_unique<WindowPeer>(*this);
}

}  // namespace headless
