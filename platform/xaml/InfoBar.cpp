#include "platform/xaml/InfoBar.h"

namespace platform {

namespace {

constexpr const char16_t* kFontFamily = u"Segoe MDL2 Assets";

/// How the bar looks by its severity; the world's style sheet has the styles.
struct Look {
    const char16_t* style;
    const char16_t* glyph;
};
constexpr Look kGood{u"GoodMessage", u"\uE73E"};
constexpr Look kWarning{u"WarningMessage", u"\uE783"};

}  // namespace

InfoBar::InfoBar() {
    Visibility(platform::Visibility::Collapsed);
    m_layout->ColumnDefinitions({GridLength::Auto, GridLength::Star, GridLength::Auto, GridLength::Auto});
    m_layout->ColumnSpacing(8);
    m_layout->Padding({.Left = 11});
    m_icon->FontFamily(kFontFamily);
    m_text->TextWrapping(TextWrapping::WrapWholeWords);
    m_close->Name(u"CloseButton");
    m_close->Style(u"IconButton");
    m_close->Click().Add([this](UIElement&, const RoutedEventArgs&) { IsOpen(false); });
    auto escape = std::make_shared<KeyboardAccelerator>();
    escape->Key = VirtualKey::Escape;
    m_close->KeyboardAccelerators().push_back(std::move(escape));
    auto cross = std::make_shared<FontIcon>();
    cross->FontFamily(kFontFamily);
    cross->Glyph(u"\uE8BB");
    m_close->Content(std::move(cross));
    int column = 0;
    for (const std::shared_ptr<FrameworkElement>& part :
         {std::shared_ptr<FrameworkElement>(m_icon), std::shared_ptr<FrameworkElement>(m_text),
          std::shared_ptr<FrameworkElement>(m_action), std::shared_ptr<FrameworkElement>(m_close)}) {
        auto layout = part->Layout();
        layout.VerticalAlignment = VerticalAlignment::Center;
        layout.Column = column++;
        part->Layout(layout);
        m_layout->Append(part);
    }
    // Between the lines of a long message and those of the bar.
    auto layout = m_text->Layout();
    layout.Margin = {.Left = 0, .Top = 3, .Right = 0, .Bottom = 3};
    m_text->Layout(layout);
    Severity(InfoBarSeverity::Informational);
}

void InfoBar::Severity(InfoBarSeverity value) {
    m_severity = value;
    const auto& look = value >= InfoBarSeverity::Warning ? kWarning : kGood;
    Style(look.style);
    m_icon->Glyph(look.glyph);
}

void InfoBar::ActionButton(std::shared_ptr<Button> value) {
    m_action->Content(value);
    m_action->Visibility(VisibleIf(value != nullptr));
    m_actionButton = std::move(value);
}

void InfoBar::IsClosable(bool value) {
    m_close->Visibility(VisibleIf(value));
}

void InfoBar::CloseButtonText(std::u16string value) {
    auto accessibility = m_close->Accessibility();
    accessibility.Name = std::move(value);
    m_close->Accessibility(std::move(accessibility));
}

void InfoBar::IsOpen(bool value) {
    VerifyUserInterfaceThread();
    if (std::exchange(m_isOpen, value) == value) {
        return;
    }
    const InfoBarClosedEventArgs args{.HadFocus = ContainsFocus()};
    // A closed bar has no parts, for screen readers too.
    Content(value ? m_layout : nullptr);
    Visibility(VisibleIf(value));
    if (!value) {
        m_closed.Raise(*this, args);
    }
}

}  // namespace platform
