#pragma once

#include "platform/xaml/ContentControl.h"

namespace platform {

constexpr Visibility VisibleIf(bool visible) {
    return visible ? Visibility::Visible : Visibility::Collapsed;
}

/// A push button.
class Button : public ContentControl {
  public:
    bool IsTabStop() const override { return m_isEnabled; }

    Event<UIElement&, const RoutedEventArgs&>& Click() { return m_click; }

    /// What a click, Enter or Space does: raises Click, when the button is enabled and, with all above it,
    /// visible.
    void Invoke();

    /// A disabled button takes neither focus nor key nor click, and is drawn paler.
    bool IsEnabled() const { return m_isEnabled; }
    void IsEnabled(bool value) { Set(m_isEnabled, value, ElementProperty::IsEnabled); }

    /// The letter that clicks the button while Alt is held, as a capital; 0 for none. It is underlined where
    /// the button's text has it.
    char16_t AccessKey() const { return m_accessKey; }
    void AccessKey(char16_t value) {
        VerifyUserInterfaceThread();
        m_accessKey = value;
    }

    /// The page's default button: has the focus when the page appears.
    bool IsDefault() const { return m_isDefault; }
    void IsDefault(bool value) {
        VerifyUserInterfaceThread();
        m_isDefault = value;
    }

  private:
    Event<UIElement&, const RoutedEventArgs&> m_click;
    char16_t m_accessKey = 0;
    bool m_isDefault = false;
    bool m_isEnabled = true;
};

/// What is shown in place of a text that is hidden.
inline constexpr std::u16string_view kMask = u"••••••••";

/// Text to read.
class TextBlock : public FrameworkElement {
  public:
    /// A selectable text can take the focus, when there is any.
    bool IsTabStop() const override { return m_isTextSelectionEnabled && !m_text.empty(); }

    const std::u16string& Text() const { return m_text; }
    void Text(std::u16string value) { Set(m_text, std::move(value), ElementProperty::Text); }

    std::u16string SpokenText() const override { return m_text; }

    platform::TextWrapping TextWrapping() const { return m_wrapping; }
    void TextWrapping(platform::TextWrapping value) { Set(m_wrapping, value, ElementProperty::Text); }

    /// Whether dots are shown in the text's place, however long it is, to assistive technology too.
    bool IsMasked() const { return m_isMasked; }
    void IsMasked(bool value) { Set(m_isMasked, value, ElementProperty::Text); }

    /// What is shown of the text.
    std::u16string ShownText() const {
        return m_isMasked && !m_text.empty() ? std::u16string(kMask) : m_text;
    }

    /// What becomes of a line that is longer than its place; None makes the place as long as the line.
    platform::TextTrimming TextTrimming() const { return m_trimming; }
    void TextTrimming(platform::TextTrimming value) { Set(m_trimming, value, ElementProperty::Text); }

    bool IsTextSelectionEnabled() const { return m_isTextSelectionEnabled; }
    void IsTextSelectionEnabled(bool value) { Set(m_isTextSelectionEnabled, value, ElementProperty::Text); }

  private:
    std::u16string m_text;
    platform::TextWrapping m_wrapping = platform::TextWrapping::NoWrap;
    platform::TextTrimming m_trimming = platform::TextTrimming::None;
    bool m_isTextSelectionEnabled = false;
    bool m_isMasked = false;
};

/// A box with text.
class TextBox : public FrameworkElement {
  public:
    bool IsTabStop() const override { return !m_isReadOnly || !m_text.empty(); }

    const std::u16string& Text() const { return m_text; }
    void Text(std::u16string value);

    bool IsReadOnly() const { return m_isReadOnly; }
    void IsReadOnly(bool value) { Set(m_isReadOnly, value, ElementProperty::Text); }

    void SelectAll();

    /// The selected part of the text.
    std::u16string SelectedText() const { return m_text.substr(0, m_selectionLength); }
    std::size_t SelectionLength() const { return m_selectionLength; }

  private:
    std::u16string m_text;
    std::size_t m_selectionLength = 0;
    bool m_isReadOnly = false;
};

/// A filling of one colour.
struct SolidColorBrush {
    platform::Color Color;
    bool operator==(const SolidColorBrush&) const = default;
};

/// A glyph of a symbol font as an icon.
class FontIcon : public FrameworkElement {
  public:
    const std::u16string& Glyph() const { return m_glyph; }
    void Glyph(std::u16string value) { Set(m_glyph, std::move(value), ElementProperty::Icon); }

    const std::u16string& FontFamily() const { return m_fontFamily; }
    void FontFamily(std::u16string value) { Set(m_fontFamily, std::move(value), ElementProperty::Icon); }

    /// Nothing: the text colour of the surroundings.
    const std::optional<SolidColorBrush>& Foreground() const { return m_foreground; }
    void Foreground(SolidColorBrush value) {
        Set(m_foreground, std::optional<SolidColorBrush>(value), ElementProperty::Icon);
    }

  private:
    std::u16string m_glyph;
    std::u16string m_fontFamily;
    std::optional<SolidColorBrush> m_foreground;
};

/// One of the platform's own icons.
class SymbolIcon : public FrameworkElement {
  public:
    SymbolIcon() = default;
    explicit SymbolIcon(platform::Symbol symbol) : m_symbol(symbol) {}

    platform::Symbol Symbol() const { return m_symbol; }
    void Symbol(platform::Symbol value) { Set(m_symbol, value, ElementProperty::Icon); }

  private:
    platform::Symbol m_symbol = platform::Symbol::Copy;
};

/// Shows that something is going on.
class ProgressRing : public FrameworkElement {
  public:
    bool IsActive() const { return m_isActive; }
    void IsActive(bool value) { Set(m_isActive, value, ElementProperty::IsActive); }

    /// At rest it says nothing.
    std::u16string SpokenText() const override { return m_isActive ? Accessibility().Name : u""; }

  private:
    bool m_isActive = false;
};

}  // namespace platform
