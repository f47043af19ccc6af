#pragma once

#include "platform/xaml/Controls.h"
#include "platform/xaml/Panels.h"

namespace platform {

enum class InfoBarSeverity { Informational = 0, Success = 1, Warning = 2, Error = 3 };

struct InfoBarClosedEventArgs {
    /// The keyboard focus was in the bar.
    bool HadFocus = false;
};

/// A message in the page: an icon, a sentence, a button to act on it and one to close it. Collapsed until it
/// is opened. Its content is its own.
class InfoBar final : public ContentControl {
  public:
    InfoBar();

    InfoBarSeverity Severity() const { return m_severity; }
    void Severity(InfoBarSeverity value);

    const std::u16string& Message() const { return m_text->Text(); }
    void Message(std::u16string value) { m_text->Text(std::move(value)); }

    /// Null for none. Refuses a button that has a parent.
    const std::shared_ptr<Button>& ActionButton() const { return m_actionButton; }
    void ActionButton(std::shared_ptr<Button> value);

    /// Whether the user can close the bar.
    bool IsClosable() const { return m_close->Visibility() == platform::Visibility::Visible; }
    void IsClosable(bool value);

    /// The name of the button that closes the bar, for screen readers and its tool tip.
    void CloseButtonText(std::u16string value);

    bool IsOpen() const { return m_isOpen; }
    void IsOpen(bool value);

    /// Raised when the bar has been closed, by the user or by IsOpen.
    Event<InfoBar&, const InfoBarClosedEventArgs&>& Closed() { return m_closed; }

  private:
    std::shared_ptr<Grid> m_layout = std::make_shared<Grid>();
    std::shared_ptr<FontIcon> m_icon = std::make_shared<FontIcon>();
    std::shared_ptr<TextBlock> m_text = std::make_shared<TextBlock>();
    std::shared_ptr<UserControl> m_action = std::make_shared<UserControl>();
    std::shared_ptr<Button> m_actionButton;
    std::shared_ptr<Button> m_close = std::make_shared<Button>();
    InfoBarSeverity m_severity = InfoBarSeverity::Informational;
    bool m_isOpen = false;
    Event<InfoBar&, const InfoBarClosedEventArgs&> m_closed;
};

}  // namespace platform
