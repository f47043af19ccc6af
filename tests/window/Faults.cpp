// Runs the application in its window and lets one handler of a page throw, or one other call from the
// toolkit. Usage: kelvane-faults PAGE NUMBER, with the full name of a page or "Toolkit". It says which of how
// many it is; the test looks at how the program ends.

#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "app/App.h"
#include "backends/desktop/DesktopWorld.h"
#include "backends/desktop/Display.h"
#include "backends/desktop/ElementWidget.h"
#include "backends/desktop/GtkPeer.h"
#include "package/PackageContent.h"
#include "platform/core/EndSignals.h"
#include "platform/core/Text.h"
#include "platform/media/SpeechEngine.h"
#include "platform/resources/PackageFiles.h"
#include "platform/world/Application.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"

namespace {

using platform::FrameworkElement;
using platform::UIElement;

/// A place that throws, and what makes the toolkit call it.
struct Fault {
    std::string name;
    /// `fail` is what is to be called at the place.
    std::function<void(std::function<void()> fail)> cause;
};

GtkWidget* WidgetOf(const UIElement& element) {
    return desktop::GtkPeer::Of(element)->Widget();
}

/// Shows the element, where nothing has shown it yet.
void Uncover(UIElement& element) {
    for (auto* each = &element; each != nullptr; each = each->Parent()) {
        each->Visibility(platform::Visibility::Visible);
    }
}

/// What the window is told of a key that goes down or up.
void EmitKey(UIElement& element, const char* signal) {
    auto* const window = gtk_widget_get_root(WidgetOf(element));
    const desktop::GObjectPtr<GListModel> controllers(gtk_widget_observe_controllers(GTK_WIDGET(window)));
    for (guint index = 0; index < g_list_model_get_n_items(controllers.get()); ++index) {
        const desktop::GObjectPtr<GObject> controller(
            static_cast<GObject*>(g_list_model_get_item(controllers.get(), index)));
        if (GTK_IS_EVENT_CONTROLLER_KEY(controller.get()) &&
            gtk_event_controller_get_propagation_phase(GTK_EVENT_CONTROLLER(controller.get())) ==
                GTK_PHASE_CAPTURE) {
            gboolean handled = FALSE;
            g_signal_emit_by_name(controller.get(), signal, guint{GDK_KEY_a}, 38U, GdkModifierType{},
                                  &handled);
        }
    }
}

using Keys = platform::Event<UIElement&, platform::KeyRoutedEventArgs&>;

void AddKeyFault(std::vector<Fault>& faults, const std::string& name, UIElement& element, Keys& event,
                 const char* signal) {
    if (event.HasHandlers()) {
        faults.push_back({name, [&element, &event, signal](const std::function<void()>& fail) {
                              event.Add([fail](UIElement&, platform::KeyRoutedEventArgs&) { fail(); });
                              Uncover(element);
                              element.Focus();
                              EmitKey(element, signal);
                          }});
    }
}

/// The handlers of `element` and of what is below it.
void AddHandlers(std::vector<Fault>& faults, UIElement& element) {
    const auto* const framework = dynamic_cast<FrameworkElement*>(&element);
    auto name = framework != nullptr ? platform::ToUtf8(framework->Name()) : std::string();
    name = name.empty() ? "Page" : name;
    if (auto* const button = dynamic_cast<platform::Button*>(&element);
        button != nullptr && button->Click().HasHandlers()) {
        faults.push_back({"Click of " + name, [button](const std::function<void()>& fail) {
                              button->Click().Add([fail](UIElement&, const auto&) { fail(); });
                              Uncover(*button);
                              g_signal_emit_by_name(WidgetOf(*button), "clicked");
                          }});
    }
    AddKeyFault(faults, "KeyDown of " + name, element, element.KeyDown(), "key-pressed");
    AddKeyFault(faults, "KeyUp of " + name, element, element.KeyUp(), "key-released");
    if (element.Loaded().HasHandlers()) {
        faults.push_back({"Loaded of " + name, [&element](const std::function<void()>& fail) {
                              element.Loaded().Add([fail](UIElement&, const auto&) { fail(); });
                              auto& window = *platform::Window::Current();
                              const auto content = window.Content();
                              window.Content(nullptr);
                              window.Content(content);
                          }});
    }
    for (auto* const child : element.Children()) {
        AddHandlers(faults, *child);
    }
}

/// Calls from the toolkit that are no handlers of a page.
std::vector<Fault> ToolkitFaults(desktop::DesktopWorld& world) {
    return {
        {"posted work", [&](const auto& fail) { world.Loop().Post(fail); }},
        {"a timer", [&](const auto& fail) { world.Loop().PostAfter(std::chrono::milliseconds(1), fail); }},
        {"a layout",
         [](const auto& fail) {
             auto* const overlay =
                 gtk_widget_get_ancestor(WidgetOf(*platform::Window::Current()->Content()), GTK_TYPE_OVERLAY);
             auto* const box = desktop::NewElementWidget();
             desktop::SetLayout(box, [fail, failed = false]() mutable {
                 if (!std::exchange(failed, true)) {
                     fail();
                 }
                 return desktop::CellLayout();
             });
             gtk_overlay_add_overlay(GTK_OVERLAY(overlay), box);
         }},
        {"the caption buttons' place",
         [](const auto& fail) {
             platform::Window::Current()->Content()->AddBinding(fail);
             g_object_set(gtk_settings_get_default(), "gtk-decoration-layout", ":close", nullptr);
         }},
        {"a frame",
         [&](const auto& fail) { world.SavePicture("/nowhere.png", [fail](const auto&) { fail(); }); }},
        {"the end of a sound",
         [&](const auto& fail) {
             static std::unique_ptr<platform::Playback> playback;
             playback = world.Speech().Play(std::make_shared<platform::SpeechSynthesisStream>(),
                                            [fail](const auto&) { fail(); });
         }},
        {"the suspension",
         [](const auto& fail) {
             const auto application = platform::Application::Current();
             application->Suspending().Add([fail](platform::Application&, auto&) { fail(); });
             platform::Application::Exit();
         }},
    };
}

/// By turns an exception of the layer's, one of the library's, and one of neither.
std::function<void()> Thrower(const std::string& message, std::size_t number) {
    return [message, number] {
        switch (number % 3) {
            case 0:
                throw platform::Exception(platform::result::kFail, platform::FromUtf8(message));
            case 1:
                throw std::runtime_error(message);
            default:
                throw 0;
        }
    };
}

void CauseFault(desktop::DesktopWorld& world, const std::string& page, std::size_t number) {
    std::vector<Fault> faults;
    if (page == "Toolkit") {
        faults = ToolkitFaults(world);
    } else {
        AddHandlers(faults, *platform::Window::Current()->Content());
    }
    if (number >= faults.size()) {
        throw std::runtime_error("there is no such fault");
    }
    const auto& fault = faults[number];
    std::cout << faults.size() << " " << fault.name << std::endl;
    world.Loop().Post([fault, fail = Thrower(fault.name, number)] { fault.cause(fail); });
}

}  // namespace

int main(int count, char** arguments) {
    platform::BlockEndSignals();
    platform::SetPackageFiles(Kelvane::PackageContent());
    Kelvane::RegisterPages();
    if (count != 3 || !desktop::DisplayAvailable()) {
        return 2;
    }
    const std::string page = arguments[1];
    const std::size_t number = std::stoul(arguments[2]);
    const auto world = desktop::CreateDesktopWorld({.Words = {}, .SingleInstance = false});
    return platform::Application::Start(*world, [&] {
        platform::Application::WhenIdle([&] {
            if (page != "Toolkit" && page != "Kelvane.MainPage") {
                platform::As<platform::Frame>(*platform::Window::Current()->Content())
                    .Navigate(platform::FromUtf8(page));
            }
            platform::Application::WhenIdle([&] { CauseFault(*world, page, number); });
        });
        return Kelvane::App::Create();
    });
}
