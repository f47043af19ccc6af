// A window with one page of every kind of element, driven by commands on the standard input and telling on
// the standard output what reaches the layer. The window tests look at it from outside, as a user's tools do.

#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <thread>

#include "backends/desktop/DesktopWorld.h"
#include "backends/desktop/Display.h"
#include "platform/core/EndSignals.h"
#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/media/SpeechEngine.h"
#include "platform/world/Application.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/MarkupAttributes.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"

namespace {

using platform::FrameworkElement;
using Words = std::istringstream;

/// Any thread; a line is written whole.
void Tell(const std::string& line) {
    std::cout << line + "\n" << std::flush;
}

std::string Word(Words& words) {
    std::string word;
    words >> word;
    return word;
}

std::string Rest(Words& words) {
    std::string rest;
    std::getline(words >> std::ws, rest);
    return rest;
}

std::string NameOf(const platform::UIElement& element) {
    return platform::ToUtf8(dynamic_cast<const FrameworkElement&>(element).Name());
}

class StagePage final : public platform::Page {
  public:
    StagePage() : m_elements(platform::LoadComponent(*this, u"ms-appx:///Stage.xaml", Code())) {}

    /// By x:Name; "Page" is the page itself.
    FrameworkElement& Find(const std::string& name) {
        return name == "Page" ? *this : *m_elements.Find<FrameworkElement>(platform::FromUtf8(name));
    }

  private:
    static platform::ComponentCode Code() {
        platform::ComponentCode code;
        code.EventHandlers.emplace(u"Clicked",
                                   [](platform::UIElement& sender, const platform::RoutedEventArgs&) {
                                       Tell("clicked " + NameOf(sender));
                                   });
        code.KeyHandlers.emplace(u"Key", [](platform::UIElement& sender, platform::KeyRoutedEventArgs& args) {
            Tell("key " + NameOf(sender) + " " + std::to_string(static_cast<unsigned>(args.Key)));
            args.Handled = args.Key != platform::VirtualKey::Tab;
        });
        return code;
    }

    platform::NamedElements m_elements;
};

class Stage final : public platform::Application {
  public:
    explicit Stage(desktop::DesktopWorld& world) : m_world(world) {}

    /// User-interface thread.
    void Obey(const std::string& line) {
        Words words(line);
        const auto command = kCommands.find(Word(words));
        if (command != kCommands.end()) {
            command->second(*this, words);
        }
    }

  protected:
    void OnLaunched(const platform::LaunchActivatedEventArgs& args) override {
        Tell((args.PrelaunchActivated ? "prelaunched " : "launched ") + platform::ToUtf8(args.Arguments));
        if (!args.PrelaunchActivated) {
            Show();
        }
    }

    void OnActivated(const platform::ActivatedEventArgs& args) override {
        Tell("activated " + platform::ToUtf8(args.Uri.Query()));
        Show();
    }

  private:
    void Show() {
        auto& window = *platform::Window::Current();
        if (!window.Content()) {
            auto& view = platform::ApplicationView::GetForCurrentView();
            view.SetPreferredMinSize({640, 210});
            platform::ApplicationView::PreferredLaunchViewSize({640, 210});
            platform::ApplicationView::PreferredLaunchWindowingMode(
                platform::ApplicationViewWindowingMode::PreferredLaunchViewSize);
            m_page = std::make_shared<StagePage>();
            window.Content(m_page);
        }
        window.Activate();
    }

    void Set(Words& words) {
        auto& element = m_page->Find(Word(words));
        const auto attribute = Word(words);
        platform::markup::SetAttribute(element, attribute, Rest(words));
    }

    void Icon(Words& words) {
        auto icon = std::make_shared<platform::FontIcon>();
        icon->Glyph(u"\uEC61");
        icon->Foreground({platform::Colors::Green});
        dynamic_cast<platform::Button&>(m_page->Find(Word(words))).Content(std::move(icon));
    }

    void Resize(Words& words) {
        platform::Size size;
        words >> size.Width >> size.Height;
        platform::ApplicationView::GetForCurrentView().TryResizeView(size);
    }

    void TellSize() {
        const auto size = platform::ApplicationView::GetForCurrentView().VisibleBounds();
        const auto insets = platform::Window::Current()->Peer()->SystemOverlayInsets();
        std::ostringstream line;
        line << "size " << size.Width << " " << size.Height << " insets " << insets.Left << " "
             << insets.Right;
        Tell(line.str());
    }

    void Speak(Words& words) {
        auto& speech = m_world.Speech();
        const auto voices = speech.Voices();
        const auto female = std::find_if(voices.begin(), voices.end(), [](const auto& voice) {
            return voice.Gender == platform::VoiceGender::Female;
        });
        const auto stream = std::make_shared<platform::SpeechSynthesisStream>(speech.Synthesize(
            platform::FromUtf8(Rest(words)), female != voices.end() ? *female : voices.at(0)));
        const auto sounding = std::count_if(stream->Samples.begin(), stream->Samples.end(),
                                            [](std::int16_t sample) { return sample != 0; });
        Tell("samples " + std::to_string(stream->Samples.size()) + " " + std::to_string(stream->SampleRate) +
             " " + std::to_string(sounding));
        m_playback = speech.Play(stream, [](const std::exception_ptr& failure) {
            Tell(failure ? "sound failed" : "sound ended");
        });
    }

    using Command = void (*)(Stage&, Words&);
    static const std::map<std::string, Command, std::less<>> kCommands;

    desktop::DesktopWorld& m_world;
    std::shared_ptr<StagePage> m_page;
    std::unique_ptr<platform::Playback> m_playback;
};

const std::map<std::string, Stage::Command, std::less<>> Stage::kCommands = {
    {"set", [](Stage& stage, Words& words) { stage.Set(words); }},
    {"icon", [](Stage& stage, Words& words) { stage.Icon(words); }},
    {"resize", [](Stage& stage, Words& words) { stage.Resize(words); }},
    {"size", [](Stage& stage, Words&) { stage.TellSize(); }},
    {"speak", [](Stage& stage, Words& words) { stage.Speak(words); }},
    {"hush", [](Stage& stage, Words&) { stage.m_playback.reset(); }},
    {"focus", [](Stage& stage, Words& words) { stage.m_page->Find(Word(words)).Focus(); }},
    {"titlebar",
     [](Stage& stage, Words& words) {
         platform::Window::Current()->SetTitleBar(stage.m_page->Find(Word(words)).shared_from_this());
     }},
    {"clipboard",
     [](Stage& stage, Words& words) { stage.m_world.SetClipboardText(platform::FromUtf8(Rest(words))); }},
    {"reload",
     [](Stage& stage, Words&) {
         stage.m_page = std::make_shared<StagePage>();
         platform::Window::Current()->Content(stage.m_page);
     }},
    {"picture",
     [](Stage& stage, Words& words) {
         stage.m_world.SavePicture(Rest(words), [](const std::string& error) { Tell("picture " + error); });
     }},
    {"exit", [](Stage&, Words&) { platform::Application::Exit(); }},
};

}  // namespace

int main(int count, char** arguments) {
    platform::BlockEndSignals();
    if (!desktop::DisplayAvailable()) {
        std::cerr << "no display\n";
        return 2;
    }
    desktop::DesktopOptions options;
    options.Words.assign(arguments + 1, arguments + count);
    options.Background = std::erase(options.Words, "--gapplication-service") > 0;
    const auto world = desktop::CreateDesktopWorld(std::move(options));
    // Ends with the process: reading the standard input cannot be broken off.
    std::thread([&world] {
        for (std::string line; std::getline(std::cin, line);) {
            world->Loop().Post([line] {
                if (const auto stage = std::dynamic_pointer_cast<Stage>(platform::Application::Current())) {
                    try {
                        stage->Obey(line);
                    } catch (const std::exception& failure) {
                        Tell(std::string("failed ") + failure.what());
                    }
                }
            });
        }
        platform::Application::Exit();
    }).detach();
    return platform::Application::Start(*world, [&world] { return std::make_shared<Stage>(*world); });
}
