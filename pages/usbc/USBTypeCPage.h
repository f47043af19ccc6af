#pragma once

// The USB Type-C page: what the machine's ports can do, in six labelled boxes. The record is read on a worker
// when the page is navigated to, unless it is cached already; Back leads to the main page. A page that is
// left before its read has ended lives until the result has been shown on it. Below the boxes each port has a
// row, once the details are there; waiting for them keeps no page. Members run on the user-interface thread.

#include <array>
#include <memory>
#include <string>

#include "chrome/CustomTitleBar.h"
#include "chrome/PageChrome.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Panels.h"
#include "viewmodel/MachineDetails.h"

namespace Kelvane {

class USBTypeCPage final : public platform::Page, public ReturningPage {
  public:
    USBTypeCPage();
    ~USBTypeCPage() override;

    void AddCustomTitleBar();
    void RemoveCustomTitleBar();

    void Return() override { Back_Click(*this, {}); }

    /// Shows a USB Type-C record, box by box.
    void UpdateUI(const std::u16string& record);

  protected:
    void OnNavigatedTo(const platform::NavigationEventArgs& args) override;

  private:
    static constexpr std::size_t kLabels = 8;

    void InitializeComponent();

    void MainWindow_Loaded(platform::UIElement& sender, const platform::RoutedEventArgs& args);
    void Back_Click(platform::UIElement& sender, const platform::RoutedEventArgs& args);
    void KeyboardKeyDownEvent(platform::UIElement& sender, platform::KeyRoutedEventArgs& args);
    void KeyboardKeyUpEvent(platform::UIElement& sender, platform::KeyRoutedEventArgs& args);
    void SelectionOnTab(platform::UIElement& sender, platform::KeyRoutedEventArgs& args);

    void UpdateUSBTypeCInfoDetails(const platform::NavigationEventArgs& args);
    void UpdateUIWithTypeCDataAvailable();
    void LaunchUsbPageLabelsVisible(bool visible);
    /// Shows what is known beside the record: now, and once more when the details have been read.
    void ShowPortsWhenKnown();
    /// Null for none.
    void ShowPorts(const MachineDetails* details);
    void ShowNote(std::size_t field, const std::u16string& note);

    std::shared_ptr<CustomTitleBar> m_titleBar;
    std::array<std::shared_ptr<platform::TextBox>, kUsbTypeCFields> m_values;
    /// Null for a value that is no support text.
    std::array<std::shared_ptr<platform::FontIcon>, kUsbTypeCFields> m_icons;
    /// Beside each value: that it is not known, or below it, which port it is of.
    std::array<std::shared_ptr<platform::TextBlock>, kUsbTypeCFields> m_notes;
    std::array<std::shared_ptr<platform::TextBlock>, kLabels> m_labels;
    std::shared_ptr<platform::UIElement> m_eachPort;
    std::shared_ptr<platform::Panel> m_ports;

    UsbTypeCReading m_reading;
};

}  // namespace Kelvane
