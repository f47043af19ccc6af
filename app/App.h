#pragma once

// The application object: what the platform starts and calls back. It hosts the root frame and sends it to
// the main page. All members run on the user-interface thread.

#include "platform/tasks/Cancellation.h"
#include "platform/world/Application.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

class App final : public platform::Application {
  public:
    App() = default;
    ~App() override;

    /// Creates the application object and subscribes it to its own suspension, which a constructor cannot.
    static std::shared_ptr<App> Create();

  protected:
    void OnLaunched(const platform::LaunchActivatedEventArgs& args) override;
    void OnActivated(const platform::ActivatedEventArgs& args) override;

  private:
    void OnSuspending(platform::Application& sender, platform::SuspendingEventArgs& args);
    void OnBackRequested(platform::SystemNavigationManager& sender, platform::BackRequestedEventArgs& args);
    void OnNavigationFailed(platform::UIElement& sender, const platform::NavigationFailedEventArgs& args);

    void InitialiseMainViewModel();
    void GetAppVersion();
    void GetAppLocale();
    void ApplyLayoutDirection(platform::Frame& frame);
    /// The keys that do the same on every page.
    void AddKeys(platform::Frame& frame);

    /// For application-wide work; cancelled and replaced at every suspension.
    platform::cancellation_token_source m_cancellationTokenSource;
    bool m_hearsBack = false;
};

/// Hides serial number and build identifier in the window and in all outputs. Before the application starts.
void HideIdentifiers();

/// Tells the platform which page types there are, by name. Once, before the application starts.
void RegisterPages();

}  // namespace Kelvane
