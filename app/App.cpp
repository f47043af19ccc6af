#include "app/App.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "chrome/PageChrome.h"
#include "logging/Trace.h"
#include "pages/shortcuts/ShortcutsPage.h"
#include "platform/core/Exception.h"
#include "platform/resources/Locale.h"
#include "platform/resources/Package.h"
#include "platform/resources/ResourceLoader.h"

namespace Kelvane {

namespace {

constexpr std::u16string_view kMainPage = u"Kelvane.MainPage";
constexpr std::u16string_view kScheme = u"kelvane";

struct FrameKey {
    platform::VirtualKey key;
    platform::VirtualKeyModifiers modifiers;
    /// Of what the list of shortcuts says.
    std::u16string_view resource;
    void (*act)(platform::Frame&);
};
constexpr FrameKey kFrameKeys[] = {
    {platform::VirtualKey::W, platform::VirtualKeyModifiers::Control, u"ShortcutClose/Text",
     [](platform::Frame&) { platform::Application::Exit(); }},
    {platform::VirtualKey::Q, platform::VirtualKeyModifiers::Control, u"ShortcutClose/Text",
     [](platform::Frame&) { platform::Application::Exit(); }},
    {platform::VirtualKey::F1, platform::VirtualKeyModifiers::None, u"ShortcutList/Text", ShowShortcuts},
    {platform::VirtualKey::QuestionMark, platform::VirtualKeyModifiers::Control, u"ShortcutList/Text",
     ShowShortcuts},
};

/// Room for a language or country name with its zero; longer names are reported as failures.
constexpr int kLocaleNameSize = 5;

struct LocaleGroup {
    std::u16string_view line;
    std::array<std::u16string_view, 4> locales;
};
constexpr LocaleGroup kChinese[] = {
    {u"Language is Chinese Simplified", {u"zh_CN", u"zh_HANS", u"zh_SG"}},
    {u"Language is Chinese Traditional", {u"zh_TW", u"zh_HANT", u"zh_HK", u"zh_MO"}},
};

}  // namespace

std::shared_ptr<App> App::Create() {
    auto app = std::make_shared<App>();
    app->Suspending().Add(app, &App::OnSuspending);
    return app;
}

App::~App() {
    TracedUncaught(u"Kelvane::App::~App", [] {});
}

void App::OnLaunched(const platform::LaunchActivatedEventArgs& args) {
    TracedUncaught(u"Kelvane::App::OnLaunched", [&](const Trace& trace) {
        GetAppVersion();
        GetAppLocale();
        InitialiseMainViewModel();
        auto& window = *platform::Window::Current();
        auto frame = std::dynamic_pointer_cast<platform::Frame>(window.Content());
        const bool isNew = !frame;
        if (isNew) {
            frame = std::make_shared<platform::Frame>();
            const auto self = std::static_pointer_cast<App>(Current());
            frame->NavigationFailed().Add(self, &App::OnNavigationFailed);
            AddKeys(*frame);
        }
        if (!args.PrelaunchActivated) {
            if (!frame->Content()) {
                frame->Navigate(kMainPage, args.Arguments);
            }
            if (isNew) {
                window.Content(frame);
            }
            window.Activate();
        }
        if (platform::CoreWindow::GetForCurrentThread()) {
            ApplyLayoutDirection(*frame);
        } else {
            trace.Error(u"GetForCurrentThread() = NULL");
        }
    });
}

void App::ApplyLayoutDirection(platform::Frame& frame) {
    const auto context = platform::ResourceContext::GetForCurrentView();
    const auto direction = context.QualifierValues().find(u"LayoutDirection");
    const bool leftToRight = direction != context.QualifierValues().end() && direction->second == u"LTR";
    frame.FlowDirection(leftToRight ? platform::FlowDirection::LeftToRight
                                    : platform::FlowDirection::RightToLeft);
}

void App::AddKeys(platform::Frame& frame) {
    const auto loader = platform::ResourceLoader::GetForCurrentView();
    for (const auto& row : kFrameKeys) {
        auto accelerator = std::make_shared<platform::KeyboardAccelerator>();
        accelerator->Key = row.key;
        accelerator->Modifiers = row.modifiers;
        accelerator->Name = loader->GetString(std::u16string(row.resource));
        accelerator->Invoked.Add([act = row.act](platform::UIElement& element, auto& args) {
            args.Handled = true;
            act(dynamic_cast<platform::Frame&>(element));
        });
        frame.KeyboardAccelerators().push_back(std::move(accelerator));
    }
    if (!std::exchange(m_hearsBack, true)) {
        platform::SystemNavigationManager::GetForCurrentView().BackRequested().Add(
            std::static_pointer_cast<App>(Current()), &App::OnBackRequested);
    }
}

void App::OnBackRequested(platform::SystemNavigationManager&, platform::BackRequestedEventArgs& args) {
    const auto frame = std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content());
    const auto page = frame ? frame->Content() : nullptr;
    if (auto* const returning = dynamic_cast<ReturningPage*>(page.get())) {
        returning->Return();
        args.Handled = true;
    }
}

void App::OnActivated(const platform::ActivatedEventArgs& args) {
    TracedUncaught(u"Kelvane::App::OnActivated", [&](const Trace& trace) {
        if (args.Kind != platform::ActivationKind::Protocol) {
            return;
        }
        InitialiseMainViewModel();
        trace.Error(u"URI Scheme = ", args.Uri.SchemeName());
        if (args.Uri.SchemeName() != kScheme) {
            return;
        }
        auto& window = *platform::Window::Current();
        const auto frame = std::make_shared<platform::Frame>();
        AddKeys(*frame);
        frame->Navigate(kMainPage, args.Uri.Query());
        window.Content(frame);
        window.Activate();
    });
}

void App::OnSuspending(platform::Application&, platform::SuspendingEventArgs& args) {
    TracedUncaught(u"Kelvane::App::OnSuspending", [&](const Trace& trace) {
        try {
            const auto deferral = args.SuspendingOperation().GetDeferral();
            trace.Verbose(u" Cancelling async operations");
            m_cancellationTokenSource.cancel();
            trace.Verbose(u"Resetting token source");
            m_cancellationTokenSource = {};
            deferral->Complete();
        } catch (const platform::Exception& exception) {
            trace.Error(u"Exception: ", exception.Message());
        }
    });
}

void App::OnNavigationFailed(platform::UIElement&, const platform::NavigationFailedEventArgs& args) {
    TracedUncaught(u"Kelvane::App::OnNavigationFailed", [] {});
    throw platform::Exception(platform::result::kFail, u"Failed to load Page " + args.SourcePageType);
}

void App::InitialiseMainViewModel() {
    TracedUncaught(u"Kelvane::App::InitialiseMainViewModel", [] {});
}

void App::GetAppVersion() {
    TracedUncaught(u"Kelvane::App::GetAppVersion", [](const Trace& trace) {
        const auto& version = platform::Package::Current().Id().Version();
        trace.Information(u"Kelvane App version = ", version.Major, u".", version.Minor, u".", version.Build,
                          u".", version.Revision);
    });
}

void App::GetAppLocale() {
    Traced(u"Kelvane::App::GetAppLocale", [](const Trace& trace) {
        char16_t language[kLocaleNameSize]{};
        if (platform::GetLocaleInfoW(platform::LOCALE_USER_DEFAULT, platform::LOCALE_SISO639LANGNAME,
                                     language, kLocaleNameSize) == 0) {
            trace.Error(u"GetLocaleInfo: UserDefaultLanguage failed with error : ", platform::GetLastError());
            return;
        }
        trace.Information(u"The language code is ", language);
        char16_t country[kLocaleNameSize]{};
        if (platform::GetLocaleInfoW(platform::LOCALE_USER_DEFAULT, platform::LOCALE_SISO3166CTRYNAME,
                                     country, kLocaleNameSize) == 0) {
            trace.Error(u"GetLocaleInfo: UserDefaultCountryCode failed with error : ",
                        platform::GetLastError());
            return;
        }
        trace.Information(u"The country code is ", country);
        const auto locale = std::u16string(language) + u"_" + country;
        trace.Information(u"CompleteLocale is ", locale);
        for (const auto& group : kChinese) {
            if (std::find(group.locales.begin(), group.locales.end(), locale) != group.locales.end()) {
                trace.Information(group.line);
                break;
            }
        }
    });
}

}  // namespace Kelvane
