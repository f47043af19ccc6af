// A window with one page of every kind of element, on the desktop or without a screen, driven by commands on
// the standard input; what reaches the layer is written to the standard output. Without a screen, commands
// stand for the user as well. Usage: kelvane-stage [--headless | --headless-without-sound] WORDS...

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include "backends/desktop/DesktopWorld.h"
#include "backends/desktop/Display.h"
#include "backends/headless/HeadlessWorld.h"
#include "platform/core/EndSignals.h"
#include "platform/core/Exception.h"
#include "platform/core/Guarded.h"
#include "platform/core/Text.h"
#include "platform/media/Clipboard.h"
#include "platform/world/Application.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/MarkupAttributes.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/TypeRegistry.h"
#include "platform/xaml/Window.h"

namespace {

using platform::FrameworkElement;
using Words = std::istringstream;

/// Any thread; a line is written whole.
void Tell(const std::string& line) {
    std::cout << line + "\n" << std::flush;
}

/// Where the next failure is wanted, and of which kind: an exception of the layer's, one of the library's, or
/// one of neither.
struct WantedFailure {
    std::string line;
    int kind = 0;
};

platform::Guarded<WantedFailure> g_failure;

/// Any thread. Tells what the world has called; fails there when that is wanted.
void Report(const std::string& line) {
    Tell(line);
    const auto [message, kind] = g_failure.With([&](WantedFailure& wanted) {
        const bool isMet = !wanted.line.empty() && line.starts_with(wanted.line);
        return isMet ? std::exchange(wanted, {}) : WantedFailure();
    });
    if (message.empty()) {
        return;
    }
    switch (kind) {
        case 0:
            throw platform::Exception(platform::result::kFail, platform::FromUtf8(message));
        case 1:
            throw std::runtime_error(message);
        default:
            throw 0;
    }
}

template <typename T = std::string>
T Next(Words& words) {
    T word{};
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

/// Reports when it is asked for its children after a change of its layout.
class LayoutReporter final : public platform::StackPanel {
  public:
    std::span<const std::shared_ptr<UIElement>> Children() const override {
        if (Layout().Width) {
            Report("layout");
        }
        return {};
    }
};

class StagePage final : public platform::Page {
  public:
    StagePage() : m_elements(platform::LoadComponent(*this, u"ms-appx:///Stage.xaml", Code())) {}

    /// By x:Name; "Page" is the page itself.
    FrameworkElement& Find(const std::string& name) {
        return name == "Page" ? *this : *m_elements.Find<FrameworkElement>(platform::FromUtf8(name));
    }

  private:
    static auto KeyHandler(const std::string& what) {
        return [what](platform::UIElement& sender, platform::KeyRoutedEventArgs& args) {
            Report(what + " " + NameOf(sender) + " " + std::to_string(static_cast<unsigned>(args.Key)));
            args.Handled = args.Key != platform::VirtualKey::Tab;
        };
    }

    static platform::ComponentCode Code() {
        platform::ComponentCode code;
        code.EventHandlers.emplace(u"Clicked", [](UIElement& sender, const platform::RoutedEventArgs&) {
            Report("clicked " + NameOf(sender));
        });
        code.EventHandlers.emplace(u"Loaded", [](UIElement& sender, const platform::RoutedEventArgs&) {
            Report("loaded " + NameOf(sender));
        });
        code.KeyHandlers.emplace(u"KeyDown", KeyHandler("keydown"));
        code.KeyHandlers.emplace(u"KeyUp", KeyHandler("keyup"));
        return code;
    }

    platform::NamedElements m_elements;
};

class Stage final : public platform::Application {
  public:
    /// One of the worlds is `world`, the other null.
    Stage(platform::World& world, desktop::DesktopWorld* desktop, headless::HeadlessWorld* headless)
        : m_world(world), m_desktop(desktop), m_headless(headless) {
        Suspending().Add([](Application&, platform::SuspendingEventArgs&) { Report("suspended"); });
    }

    /// Commands separated by semicolons. User-interface thread.
    void Obey(const std::string& line) {
        std::istringstream commands(line);
        for (std::string command; std::getline(commands, command, ';');) {
            Words words(command);
            kCommands.at(Next(words))(*this, words);
        }
    }

  protected:
    void OnLaunched(const platform::LaunchActivatedEventArgs& args) override {
        Report((args.PrelaunchActivated ? "prelaunched " : "launched ") + platform::ToUtf8(args.Arguments));
        if (!args.PrelaunchActivated) {
            Show();
        }
    }

    void OnActivated(const platform::ActivatedEventArgs& args) override {
        Report("activated " + platform::ToUtf8(args.Uri.Query()));
        Show();
    }

  private:
    void Show() {
        auto& window = *platform::Window::Current();
        if (!window.Content()) {
            platform::SystemNavigationManager::GetForCurrentView().BackRequested().Add(
                [](auto&, platform::BackRequestedEventArgs& args) {
                    args.Handled = true;
                    Report("back");
                });
            auto& view = platform::ApplicationView::GetForCurrentView();
            view.SetPreferredMinSize({640, 210});
            platform::ApplicationView::PreferredLaunchViewSize({640, 210});
            platform::ApplicationView::PreferredLaunchWindowingMode(
                platform::ApplicationViewWindowingMode::PreferredLaunchViewSize);
            Reload();
        }
        window.Activate();
    }

    void Reload() {
        m_page = std::make_shared<StagePage>();
        platform::Window::Current()->Content(m_page);
    }

    void Icon(Words& words) {
        auto icon = std::make_shared<platform::FontIcon>();
        icon->Glyph(u"\uEC61");
        icon->Foreground({platform::Colors::Green});
        dynamic_cast<platform::Button&>(m_page->Find(Next(words))).Content(std::move(icon));
    }

    void TellSize() {
        const auto size = platform::ApplicationView::GetForCurrentView().VisibleBounds();
        const auto insets = platform::Window::Current()->Peer()->SystemOverlayInsets();
        Tell("size " + std::to_string(size.Width) + " " + std::to_string(size.Height) + " " +
             std::to_string(insets.Left) + " " + std::to_string(insets.Right));
    }

    static void Dispatch() {
        const auto post = [dispatcher =
                               platform::CoreWindow::GetForCurrentThread()->Dispatcher()](auto handler) {
            dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, handler);
        };
        post([post] {
            post([] { Tell("ran third"); });
            Tell("ran first");
        });
        post([] {
            Tell("ran second");
            throw platform::Exception(platform::result::kFail, u"broken");
        });
        Tell("ran nothing yet");
    }

    void Speak(Words& words) {
        auto& speech = m_world.Speech();
        const auto stream = std::make_shared<platform::SpeechSynthesisStream>(
            speech.Synthesize(platform::FromUtf8(Rest(words)), speech.Voices().at(0), 1));
        Tell("samples " + std::to_string(std::count_if(stream->Samples.begin(), stream->Samples.end(),
                                                       [](auto sample) { return sample != 0; })));
        m_playback = speech.Play(stream, [](const std::exception_ptr& failure) {
            Report(failure ? "sound failed" : "sound ended");
        });
    }

    /// What a user perceives without a screen: the focus, how many characters have been heard, the clipboard,
    /// what was announced.
    void Look() {
        std::size_t heard = 0;
        for (const auto& sound : m_headless->Spoken().Sounds()) {
            heard += sound.State == headless::HeadlessSpeech::SoundState::Ended ? sound.Text.size() : 0;
        }
        const auto* const focused = m_headless->Window().Focused();
        std::string announced;
        for (const auto& text : m_headless->Window().Announced()) {
            announced += "\t" + platform::ToUtf8(text);
        }
        Tell("looks\t" + (focused != nullptr ? NameOf(*focused) : "") + "\t" + std::to_string(heard) + "\t" +
             platform::ToUtf8(m_headless->ClipboardText()) + announced);
    }

    void Read(Words& words) {
        const auto& element = m_page->Find(Next(words));
        const auto* const block = dynamic_cast<const platform::TextBlock*>(&element);
        const auto& text =
            block != nullptr ? block->Text() : dynamic_cast<const platform::TextBox&>(element).Text();
        Tell((element.IsShown() ? "reads\t" : "hidden\t") + platform::ToUtf8(text));
    }

    using Command = void (*)(Stage&, Words&);
    static const std::map<std::string, Command, std::less<>> kCommands;

    platform::World& m_world;
    desktop::DesktopWorld* m_desktop;
    headless::HeadlessWorld* m_headless;
    std::shared_ptr<StagePage> m_page;
    std::unique_ptr<platform::Playback> m_playback;
};

const std::map<std::string, Stage::Command, std::less<>> Stage::kCommands = {
    {"set",
     [](Stage& stage, Words& words) {
         auto& element = stage.m_page->Find(Next(words));
         const auto attribute = Next(words);
         platform::markup::SetAttribute(element, attribute, Rest(words));
     }},
    {"icon", [](Stage& stage, Words& words) { stage.Icon(words); }},
    {"resize",
     [](Stage&, Words& words) {
         const auto width = Next<double>(words);
         platform::ApplicationView::GetForCurrentView().TryResizeView({width, Next<double>(words)});
     }},
    {"size", [](Stage& stage, Words&) { stage.TellSize(); }},
    // The caption buttons change their side.
    {"mirror",
     [](Stage& stage, Words&) {
         stage.m_page->FlowDirection(platform::FlowDirection::RightToLeft);
         stage.m_page->AddBinding([] { Report("insets"); });
         if (stage.m_headless != nullptr) {
             stage.m_headless->Window().SetOverlayInsets({.Left = 120});
         }
     }},
    {"speak", [](Stage& stage, Words& words) { stage.Speak(words); }},
    {"hush", [](Stage& stage, Words&) { stage.m_playback.reset(); }},
    {"focus", [](Stage& stage, Words& words) { stage.m_page->Find(Next(words)).Focus(); }},
    {"titlebar",
     [](Stage& stage, Words& words) {
         platform::Window::Current()->SetTitleBar(stage.m_page->Find(Next(words)).shared_from_this());
     }},
    {"copy",
     [](Stage&, Words& words) {
         platform::DataPackage package;
         package.SetText(platform::FromUtf8(Rest(words)));
         platform::Clipboard::SetContent(package);
     }},
    {"announce", [](Stage& stage,
                    Words& words) { stage.m_page->RaiseNotificationEvent(platform::FromUtf8(Rest(words))); }},
    {"reload", [](Stage& stage, Words&) { stage.Reload(); }},
    {"picture",
     [](Stage& stage, Words& words) {
         stage.m_desktop->SavePicture(Rest(words),
                                      [](const std::string& error) { Report("picture " + error); });
     }},
    {"dispatch", [](Stage&, Words&) { Dispatch(); }},
    {"timer",
     [](Stage& stage, Words&) {
         stage.m_world.Loop().PostAfter(std::chrono::milliseconds(1), [] { Report("timer"); });
     }},
    {"fail",
     [](Stage&, Words& words) {
         const auto kind = Next<int>(words);
         g_failure.With([&](WantedFailure& wanted) { wanted = {Rest(words), kind}; });
     }},
    {"exit", [](Stage&, Words&) { platform::Application::Exit(); }},
    {"look", [](Stage& stage, Words&) { stage.Look(); }},
    {"read", [](Stage& stage, Words& words) { stage.Read(words); }},
    {"hold",
     [](Stage& stage, Words& words) {
         const auto key = static_cast<platform::VirtualKey>(Next<unsigned>(words));
         const auto modifiers = static_cast<platform::VirtualKeyModifiers>(Next<unsigned>(words));
         stage.m_headless->Window().HoldKey(key, modifiers);
     }},
    {"release",
     [](Stage& stage, Words& words) {
         stage.m_headless->Window().ReleaseKey(static_cast<platform::VirtualKey>(Next<unsigned>(words)));
     }},
    {"click",
     [](Stage& stage, Words& words) {
         dynamic_cast<platform::Button&>(stage.m_page->Find(Next(words))).Invoke();
     }},
    {"back", [](Stage& stage, Words&) { stage.m_headless->Window().RequestBack(); }},
    {"close", [](Stage& stage, Words&) { stage.m_headless->Window().RequestClose(); }},
};

}  // namespace

int main(int count, char** arguments) {
    platform::BlockEndSignals();
    platform::RegisterType(u"Kelvane.LayoutReporter", [] { return std::make_shared<LayoutReporter>(); });
    std::vector<std::string> words(arguments + 1, arguments + count);
    const bool withoutSound = std::erase(words, "--headless-without-sound") > 0;
    std::unique_ptr<desktop::DesktopWorld> desktop;
    std::unique_ptr<headless::HeadlessWorld> headless;
    if (std::erase(words, "--headless") > 0 || withoutSound) {
        headless = std::make_unique<headless::HeadlessWorld>(headless::HeadlessOptions{
            .Words = words, .Voices = std::vector<platform::VoiceInformation>(1), .HasSound = !withoutSound});
    } else if (desktop::DisplayAvailable()) {
        const bool background = std::erase(words, "--gapplication-service") > 0;
        desktop = desktop::CreateDesktopWorld({.Words = words, .Background = background});
    } else {
        std::cerr << "no display\n";
        return 2;
    }
    platform::World& world = desktop ? static_cast<platform::World&>(*desktop) : *headless;
    // Ends with the process, since reading the standard input cannot be broken off; the world ends before it.
    static platform::Guarded<platform::World*> present;
    present.With([&world](auto& reached) { reached = &world; });
    std::thread([] {
        const auto post = [](const std::function<void()>& act) {
            present.With([&act](platform::World* reached) {
                if (reached != nullptr) {
                    reached->Loop().Post(act);
                }
            });
        };
        for (std::string line; std::getline(std::cin, line);) {
            post([line] {
                if (const auto stage = std::dynamic_pointer_cast<Stage>(platform::Application::Current())) {
                    stage->Obey(line);
                }
            });
        }
        post([] { platform::Application::Exit(); });
    }).detach();
    const int status = platform::Application::Start(
        world, [&] { return std::make_shared<Stage>(world, desktop.get(), headless.get()); });
    present.With([](auto& reached) { reached = nullptr; });
    return status;
}
