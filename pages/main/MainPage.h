#pragma once

// The main page: the machine's data in rows of label, value and copy button. The record is read on a worker
// when the page is navigated to, unless it is cached already; a start with a parameter comes from the hotkey.
// A page that is left is destroyed when another one is shown, or when its read has ended. Members run on the
// user-interface thread.

#include <array>
#include <functional>
#include <memory>
#include <string>

#include "chrome/CustomTitleBar.h"
#include "pages/main/SystemInfoRecord.h"
#include "platform/media/Speech.h"
#include "platform/tasks/CoreDispatcher.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/InfoBar.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Navigation.h"
#include "viewmodel/MachineDetails.h"
#include "viewmodel/RequestOutcome.h"

namespace Kelvane {

/// What the message bar says, in place of the command bar's buttons.
struct PageMessage {
    /// Warnings stay until they are closed or another message replaces them; the others close after 10 s.
    platform::InfoBarSeverity Severity = platform::InfoBarSeverity::Success;
    std::u16string Text;
    /// Empty for no button.
    std::u16string ActionText{};
    /// What the button does, on the user-interface thread, after the message has been closed.
    std::function<void()> Action{};
    bool IsClosable = true;
    /// What to do, in a sentence: beside the text while the details are open, else in its tool tip.
    std::u16string Detail{};
};

class MainPage final : public platform::Page {
  public:
    MainPage();
    ~MainPage() override;

    void AddCustomTitleBar();
    void RemoveCustomTitleBar();

    /// Fills the rows from a system-information record; a record with too few fields changes nothing.
    void UpdateUI(const std::u16string& record);

    /// Opens the message bar, in place of the message before.
    void ShowMessage(PageMessage message);

    /// Whether serial number and build identifier are hidden. One a process: kept from page to page, and
    /// shown by the next one.
    static bool HidesIdentifiers() { return s_bHidesIdentifiers; }
    static void HidesIdentifiers(bool value) { s_bHidesIdentifiers = value; }

    /// Navigates to this page once more, which reads what is missing. Goes no further back than this page
    /// does.
    void TryAgain();

  protected:
    void OnNavigatedTo(const platform::NavigationEventArgs& args) override;

  private:
    using RoutedEventArgs = platform::RoutedEventArgs;
    using UIElement = platform::UIElement;

    using Speech = std::shared_ptr<const platform::SpeechSynthesisStream>;

    /// A read-aloud in progress, from the press to the end of the sound.
    struct ReadAloud {
        /// Of this page.
        platform::Button* button;
        std::u16string text;
    };

    /// One row of the page; also the serial number's and the BIOS password's.
    struct Row {
        std::shared_ptr<platform::TextBlock> label;
        std::shared_ptr<platform::TextBlock> value;
        /// Stands in the value's place, where that is blank, and says why.
        std::shared_ptr<platform::TextBlock> reason;
        /// Null where the markup leaves the serial number's out.
        std::shared_ptr<platform::Button> copy;
    };
    static constexpr std::size_t kBiosPasswordRow = kSystemInfoRows;
    static constexpr std::size_t kRows = kSystemInfoRows + 1;

    void InitializeComponent();

    void MainWindow_Loaded(UIElement& sender, const RoutedEventArgs& args);
    void Advanced_Click(UIElement& sender, const RoutedEventArgs& args);
    void USBType_Click(UIElement& sender, const RoutedEventArgs& args);
    void RunSysDiagsbutton_Click(UIElement& sender, const RoutedEventArgs& args);
    void Expand_Click(UIElement& sender, const RoutedEventArgs& args);
    void CopySysInfoValue_Click(UIElement& sender, const RoutedEventArgs& args);
    void CopySerialNumber_Click(UIElement& sender, const RoutedEventArgs& args);
    void HideSerialNumber_Click(UIElement& sender, const RoutedEventArgs& args);
    void CopyAll_Click(UIElement& sender, const RoutedEventArgs& args);
    void ReadSerialNumber_Click(UIElement& sender, const RoutedEventArgs& args);
    /// Worker. In the default voice where no voice is female.
    static platform::task<Speech> SynthesizeWithFemaleVoice(const std::u16string& text, double rate);
    /// Shows on `button` that `text` is being read, and that the next press or Escape stops it.
    std::shared_ptr<const ReadAloud> StartReading(platform::Button& button, std::u16string text);
    /// Unless the read-aloud has been stopped.
    void PlaySpeech(const std::shared_ptr<platform::CoreDispatcher>& dispatcher,
                    const std::shared_ptr<const ReadAloud>& reading, const Speech& stream);
    /// Returns whether `reading` was in progress. Releases its player.
    bool EndReading(const std::shared_ptr<const ReadAloud>& reading);
    /// Ends `reading` with a message, the text of that key.
    void FailReading(const std::shared_ptr<const ReadAloud>& reading, std::u16string_view key);
    /// Has a screen reader say the text of that key.
    void Announce(std::u16string_view key) const;
    void KeyboardKeyDownEvent(UIElement& sender, platform::KeyRoutedEventArgs& args);
    void KeyboardKeyUpEvent(UIElement& sender, platform::KeyRoutedEventArgs& args);
    void SelectionOnTab(UIElement& sender, platform::KeyRoutedEventArgs& args);

    /// Reads anew what has not been read: the page is navigated to once more.
    void TryAgain_Invoked(UIElement& sender, platform::KeyboardAcceleratorInvokedEventArgs& args);

    void UpdateSysInfoDetails(const platform::NavigationEventArgs& args);
    void StartHotkeyChain();
    void UpdateUIWithSysDataAvailable();
    /// Shows what the details say, now as far as they are there, and when `read` has ended.
    void ShowDetailsAfter(const platform::task<void>& read);
    void ShowMachineDetails();
    void ShowDetails(const Row& row, const FieldDetails& field, const DisplayTexts& texts);
    /// Whether any row has a value.
    bool HasData() const;
    void ShowWhetherHidden();
    /// To the clipboard, as rows of label and value; the message bar says so.
    void CopyAll(bool hidesIdentifiers);
    void UpdateUsbTypeButton();
    void Show(const SystemInfo& info);
    void LaunchSysLabelsVisible(bool visible);
    void NavigateRoot(std::u16string_view pageType);
    void ShowMessageText();
    void CloseMessageLater();
    /// A read of the records has begun, which the user is told of when it takes long.
    void ReadBegins();
    /// It has ended. `filled`: the rows show the record.
    void ReadEnded(bool filled);
    /// Asks for `request` on a worker, as the pages do, once more or to take it back.
    static void Ask(Request request);
    void ListenForOutcomes();
    void ShowOutcome();
    /// Unless the user has been told, or another message is open.
    void ShowRequestPending();
    static PageMessage RequestSetMessage();
    /// In the message bar; beside the window, too, when the user does not have it before them.
    void ShowEverywhere(const PageMessage& message);
    void MessageBar_Closed(platform::InfoBar& sender, const platform::InfoBarClosedEventArgs& args);

    /// One a process: the details stay open from page to page.
    static bool s_bExpanded;
    static bool s_bHidesIdentifiers;

    std::shared_ptr<CustomTitleBar> m_titleBar;
    /// Null for none.
    std::shared_ptr<const ReadAloud> m_reading;
    /// Its sound, once that is played.
    std::shared_ptr<platform::MediaPlayer> m_mediaPlayer;
    /// Heard to its end last: it is repeated slowly.
    std::u16string m_textHeard;

    std::array<Row, kRows> m_rows;
    std::shared_ptr<platform::Panel> m_machineTile;
    std::shared_ptr<platform::FontIcon> m_machineIcon;
    std::shared_ptr<platform::TextBlock> m_machineLine;
    std::shared_ptr<platform::Button> m_copyAll;
    std::shared_ptr<platform::Button> m_hideSerialNumber;
    std::shared_ptr<platform::FontIcon> m_hideIcon;
    std::shared_ptr<platform::Button> m_advanced;
    std::shared_ptr<platform::Button> m_usbType;
    std::shared_ptr<platform::Button> m_runSysDiagsbutton;
    std::shared_ptr<platform::FontIcon> m_expandIcon;
    std::shared_ptr<platform::Panel> m_detailsPanel;
    std::shared_ptr<platform::Panel> m_commandButtons;
    std::shared_ptr<platform::InfoBar> m_messageBar;
    /// In the message bar, or the last that was.
    PageMessage m_message;
    /// How many messages there have been, and which of them said that the service has not answered.
    int m_messages = 0;
    int m_waitingMessage = 0;
    bool m_isReading = false;
    /// The user has been told of the firmware request that is pending.
    bool m_toldPending = false;
    /// Of the navigation to this page.
    std::u16string m_parameter;
};

}  // namespace Kelvane
