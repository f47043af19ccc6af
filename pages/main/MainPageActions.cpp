// Copying the main page's values and reading the serial number aloud.

#include <algorithm>

#include "pages/WindowOfThread.h"
#include "pages/main/MainPage.h"
#include "pages/main/SystemInfoRecord.h"
#include "platform/media/Clipboard.h"
#include "platform/tasks/Clock.h"

namespace Kelvane {

namespace {

using namespace std::chrono_literals;

constexpr auto kFeedbackTime = 500ms;
constexpr std::u16string_view kFeedbackGlyph = u"\uEC61";

void CopyToClipboard(const std::u16string& text) {
    platform::DataPackage package;
    package.SetText(text);
    platform::Clipboard::SetContent(package);
}

void ShowFeedbackIcon(platform::Button& button) {
    auto icon = std::make_shared<platform::FontIcon>();
    icon->Glyph(std::u16string(kFeedbackGlyph));
    icon->FontFamily(u"Segoe MDL2 Assets");
    icon->Foreground({platform::Colors::Green});
    button.Content(std::move(icon));
}

/// Restores the copy icon after kFeedbackTime.
void RestoreIconLater(const Trace& trace, std::shared_ptr<platform::Button> button) {
    const auto window = WindowOfThread(trace);
    if (!window) {
        return;
    }
    platform::ThreadPool::RunAsync([dispatcher = window->Dispatcher(), button = std::move(button)]() mutable {
        platform::CurrentClock().SleepFor(kFeedbackTime);
        dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [button = std::move(button)] {
            button->Content(std::make_shared<platform::SymbolIcon>(platform::Symbol::Copy));
        });
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

void MainPage::ReadSerialNumber_Click(UIElement&, const RoutedEventArgs&) {
    const Trace trace(u"Kelvane::MainPage::ReadSerialNumber_Click");
    const auto text = m_rows[kSerialNumberField].value->Text();
    if (text.empty()) {
        trace.Error(u"Serial number text is empty.\n");
    }
    const auto window = WindowOfThread(trace);
    if (!window) {
        return;
    }
    // The list of voices may have to be read from the disk.
    platform::create_task([text] { return SynthesizeWithFemaleVoice(text); })
        .then([weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this())),
               dispatcher = window->Dispatcher()](const Speech& stream) {
            return dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [=] {
                if (const auto page = weak.lock()) {
                    page->PlaySpeech(dispatcher, stream);
                }
            });
        })
        .then([](const platform::task<void>& played) {
            try {
                played.get();
            } catch (const platform::Exception& exception) {
                Trace(u"Kelvane::MainPage::ReadSerialNumber_Click::<lambda_1>::operator ()")
                    .Error(u"Exception = ", exception.Message());
            }
        });
}

platform::task<MainPage::Speech> MainPage::SynthesizeWithFemaleVoice(const std::u16string& text) {
    platform::SpeechSynthesizer synthesizer;
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

void MainPage::PlaySpeech(const std::shared_ptr<platform::CoreDispatcher>& dispatcher, const Speech& stream) {
    m_mediaPlayer = std::make_shared<platform::MediaPlayer>();
    m_mediaPlayer->Source(platform::MediaSource::CreateFromStream(stream, stream->ContentType));
    // The events come on the sound's own thread, where the player must not be destroyed.
    const auto release = [weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this())),
                          dispatcher, ended = m_mediaPlayer.get()] {
        dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [weak, ended] {
            if (const auto page = weak.lock(); page && page->m_mediaPlayer.get() == ended) {
                page->m_mediaPlayer.reset();
            }
        });
    };
    m_mediaPlayer->MediaEnded().Add(release);
    m_mediaPlayer->MediaFailed().Add([release](const platform::Exception& failure) {
        Trace(u"Kelvane::MainPage::ReadSerialNumber_Click::<lambda_2>::operator ()")
            .Error(u"Exception = ", failure.Message());
        release();
    });
    m_mediaPlayer->Play();
}

}  // namespace Kelvane
