// Copying the main page's values and reading the serial number aloud.

#include <algorithm>

#include "pages/DisplayTexts.h"
#include "pages/WindowOfThread.h"
#include "pages/main/MainPage.h"
#include "pages/main/SystemInfoRecord.h"
#include "platform/media/Clipboard.h"
#include "platform/tasks/Clock.h"

namespace Kelvane {

namespace {

using namespace std::chrono_literals;

constexpr auto kFeedbackTime = 500ms;
/// Of what is read again, as a share of the voice's usual speed.
constexpr double kSlowRate = 0.6;
constexpr std::u16string_view kFeedbackGlyph = u"\uEC61";

void CopyToClipboard(const std::u16string& text) {
    platform::DataPackage package;
    package.SetText(text);
    platform::Clipboard::SetContent(package);
}

/// For screen readers and as the tool tip.
void Rename(platform::Button& button, std::u16string name) {
    auto accessibility = button.Accessibility();
    accessibility.Name = std::move(name);
    button.Accessibility(std::move(accessibility));
}

void RestoreIcon(platform::Button& button, platform::Symbol symbol) {
    button.Content(std::make_shared<platform::SymbolIcon>(symbol));
    // The x:Uid of a button is its name.
    Rename(button, PackageTexts().Lookup(button.Name() + u"/AutomationProperties/Name"));
}

void ShowFeedbackIcon(platform::Button& button) {
    auto icon = std::make_shared<platform::FontIcon>();
    icon->Glyph(std::u16string(kFeedbackGlyph));
    icon->FontFamily(u"Segoe MDL2 Assets");
    icon->Foreground({platform::Colors::Green});
    button.Content(std::move(icon));
    Rename(button, PackageTexts().Lookup(u"Copied/Text"));
    button.RaiseNotificationEvent(button.Accessibility().Name);
}

/// Restores the copy icon after kFeedbackTime.
void RestoreIconLater(const Trace& trace, std::shared_ptr<platform::Button> button) {
    const auto window = WindowOfThread(trace);
    if (!window) {
        return;
    }
    platform::ThreadPool::RunAsync([dispatcher = window->Dispatcher(), button = std::move(button)]() mutable {
        platform::CurrentClock().SleepFor(kFeedbackTime);
        dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal,
                             [button = std::move(button)] { RestoreIcon(*button, platform::Symbol::Copy); });
    });
}

/// Calls `act` on the user-interface thread, unless the page has been destroyed.
template <typename Act>
platform::task<void> OnPage(const std::weak_ptr<MainPage>& page,
                            const std::shared_ptr<platform::CoreDispatcher>& dispatcher, Act act) {
    return dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [page, act] {
        if (const auto alive = page.lock()) {
            act(*alive);
        }
    });
}

}  // namespace

void MainPage::CopySysInfoValue_Click(UIElement& sender, const RoutedEventArgs&) {
    const auto button = std::dynamic_pointer_cast<platform::Button>(sender.shared_from_this());
    if (!button) {
        return;
    }
    ShowFeedbackIcon(*button);
    const auto row =
        std::find_if(m_rows.begin(), m_rows.end() - 1, [&](const Row& each) { return each.copy == button; });
    CopyToClipboard(row->value->Text());
    RestoreIconLater(Trace(u"Kelvane::MainPage::CopySysInfoValue_Click"), button);
}

void MainPage::CopySerialNumber_Click(UIElement&, const RoutedEventArgs&) {
    const auto& row = m_rows[kSerialNumberField];
    CopyToClipboard(row.value->Text());
    const Trace trace(u"Kelvane::MainPage::CopySerialNumber_Click");
    if (!row.copy) {
        trace.Error(u"Error: CopySerialNumber button is not defined or not accessible.\n");
        return;
    }
    ShowFeedbackIcon(*row.copy);
    RestoreIconLater(trace, row.copy);
}

void MainPage::ReadSerialNumber_Click(UIElement& sender, const RoutedEventArgs&) {
    if (EndReading(m_reading)) {
        Announce(u"ReadingStopped/Text");
        return;
    }
    const Trace trace(u"Kelvane::MainPage::ReadSerialNumber_Click");
    const auto text = m_rows[kSerialNumberField].value->Text();
    if (text.empty()) {
        trace.Error(u"Serial number text is empty.\n");
    }
    const auto window = WindowOfThread(trace);
    if (!window) {
        return;
    }
    const auto reading = StartReading(platform::As<platform::Button>(sender), text);
    const std::weak_ptr weak = std::static_pointer_cast<MainPage>(shared_from_this());
    const auto dispatcher = window->Dispatcher();
    // The list of voices may have to be read from the disk.
    platform::create_task(
        [text, rate = text == m_textHeard ? kSlowRate : 1] { return SynthesizeWithFemaleVoice(text, rate); })
        .then([=](const Speech& stream) {
            return OnPage(weak, dispatcher,
                          [=](MainPage& page) { page.PlaySpeech(dispatcher, reading, stream); });
        })
        .then([=](const platform::task<void>& played) {
            try {
                played.get();
            } catch (const platform::Exception& exception) {
                Trace(u"Kelvane::MainPage::ReadSerialNumber_Click::<lambda_1>::operator ()")
                    .Error(u"Exception = ", exception.Message());
                OnPage(weak, dispatcher,
                       [reading](MainPage& page) { page.FailReading(reading, u"NoVoice/Text"); });
            }
        });
}

std::shared_ptr<const MainPage::ReadAloud> MainPage::StartReading(platform::Button& button,
                                                                  std::u16string text) {
    auto icon = std::make_shared<platform::SymbolIcon>(platform::Symbol::Stop);
    icon->Style(u"Reading");
    button.Content(std::move(icon));
    auto stop = std::make_shared<platform::KeyboardAccelerator>();
    stop->Key = platform::VirtualKey::Escape;
    button.KeyboardAccelerators().push_back(std::move(stop));
    Rename(button, PackageTexts().Lookup(u"StopReading/Text"));
    Announce(u"Reading/Text");
    m_reading = std::make_shared<ReadAloud>(ReadAloud{.button = &button, .text = std::move(text)});
    return m_reading;
}

bool MainPage::EndReading(const std::shared_ptr<const ReadAloud>& reading) {
    if (!reading || reading != m_reading) {
        return false;
    }
    auto& button = *reading->button;
    m_mediaPlayer.reset();
    RestoreIcon(button, platform::Symbol::Volume);
    button.KeyboardAccelerators().clear();
    m_reading.reset();
    return true;
}

void MainPage::FailReading(const std::shared_ptr<const ReadAloud>& reading, std::u16string_view key) {
    if (EndReading(reading)) {
        ShowMessage({.Severity = platform::InfoBarSeverity::Warning, .Text = PackageTexts().Lookup(key)});
    }
}

void MainPage::Announce(std::u16string_view key) const {
    RaiseNotificationEvent(PackageTexts().Lookup(key));
}

platform::task<MainPage::Speech> MainPage::SynthesizeWithFemaleVoice(const std::u16string& text,
                                                                     double rate) {
    platform::SpeechSynthesizer synthesizer;
    synthesizer.Options().SpeakingRate = rate;
    const auto voices = platform::SpeechSynthesizer::AllVoices();
    const auto female =
        std::find_if(voices.begin(), voices.end(), [](const platform::VoiceInformation& voice) {
            return voice.Gender == platform::VoiceGender::Female;
        });
    if (female != voices.end()) {
        synthesizer.Voice(*female);
    } else {
        Trace(u"Kelvane::MainPage::ReadSerialNumber_Click").Error(u"No female voice available.\n");
    }
    return synthesizer.SynthesizeTextToStreamAsync(text);
}

void MainPage::PlaySpeech(const std::shared_ptr<platform::CoreDispatcher>& dispatcher,
                          const std::shared_ptr<const ReadAloud>& reading, const Speech& stream) {
    if (reading != m_reading) {
        return;
    }
    m_mediaPlayer = std::make_shared<platform::MediaPlayer>();
    m_mediaPlayer->Source(platform::MediaSource::CreateFromStream(stream, stream->ContentType));
    // The events come on the sound's own thread, where the player must not be destroyed.
    const std::weak_ptr weak = std::static_pointer_cast<MainPage>(shared_from_this());
    m_mediaPlayer->MediaEnded().Add([=] {
        OnPage(weak, dispatcher, [reading](MainPage& page) {
            if (page.EndReading(reading)) {
                page.m_textHeard = reading->text;
            }
        });
    });
    m_mediaPlayer->MediaFailed().Add([=](const platform::Exception& failure) {
        Trace(u"Kelvane::MainPage::ReadSerialNumber_Click::<lambda_2>::operator ()")
            .Error(u"Exception = ", failure.Message());
        OnPage(weak, dispatcher, [reading](MainPage& page) { page.FailReading(reading, u"NoSound/Text"); });
    });
    m_mediaPlayer->Play();
}

}  // namespace Kelvane
