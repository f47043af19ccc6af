#pragma once

#include <limits>

#include "platform/xaml/UIElement.h"

namespace platform {

/// Size and place of an element in its parent; sizes in device-independent pixels.
struct ElementLayout {
    std::optional<double> Width;
    std::optional<double> Height;
    double MinWidth = 0;
    double MinHeight = 0;
    double MaxWidth = std::numeric_limits<double>::infinity();
    Thickness Margin;
    platform::HorizontalAlignment HorizontalAlignment = platform::HorizontalAlignment::Stretch;
    platform::VerticalAlignment VerticalAlignment = platform::VerticalAlignment::Stretch;
    /// The attached properties of Grid.
    int Row = 0;
    int Column = 0;
    int RowSpan = 1;
    int ColumnSpan = 1;
    bool operator==(const ElementLayout&) const = default;
};

/// What assistive technology reads of an element.
struct ElementAccessibility {
    /// For screen readers: the name of an element without a text.
    std::u16string Name;
    /// The element whose text is this one's name. Not owning; belongs to the same page.
    UIElement* LabeledBy = nullptr;
    /// The element whose text says more about this one. Not owning; belongs to the same page.
    UIElement* DescribedBy = nullptr;
    /// Whether what the element opens is open; nothing for one that opens nothing.
    std::optional<bool> IsExpanded;
    /// 1 to 9; 0 for no heading.
    int HeadingLevel = 0;
    /// Whether a screen reader says the element's text when it has become another one, or visible. Polite and
    /// Assertive sound alike.
    AutomationLiveSetting LiveSetting = AutomationLiveSetting::Off;
    std::u16string ToolTip;
    bool operator==(const ElementAccessibility&) const = default;
};

/// An element with a name, a layout and a style.
class FrameworkElement : public UIElement {
  public:
    /// x:Name of the markup; empty for none.
    const std::u16string& Name() const { return m_name; }
    void Name(std::u16string value) {
        VerifyUserInterfaceThread();
        m_name = std::move(value);
    }

    const ElementLayout& Layout() const { return m_layout; }
    void Layout(ElementLayout value) { Set(m_layout, value, ElementProperty::Layout); }

    void Height(double value) {
        auto layout = m_layout;
        layout.Height = value;
        Layout(layout);
    }

    /// The key of the style that the world's style sheet gives the element; empty for none.
    const std::u16string& Style() const { return m_style; }
    void Style(std::u16string value) { Set(m_style, std::move(value), ElementProperty::Style); }

    const ElementAccessibility& Accessibility() const { return m_accessibility; }
    void Accessibility(ElementAccessibility value) {
        Set(m_accessibility, std::move(value), ElementProperty::Accessibility);
    }

    /// Has a screen reader say `text` once; nothing happens outside a window.
    void RaiseNotificationEvent(std::u16string_view text) const;

    /// What a screen reader calls the element: its name, or else the visible texts in it.
    virtual std::u16string SpokenText() const;

  protected:
    /// Announces an element with a live setting.
    void Changed(ElementProperty property) override;

  private:
    std::u16string m_name;
    ElementLayout m_layout;
    std::u16string m_style;
    ElementAccessibility m_accessibility;
};

}  // namespace platform
