#pragma once

#include <optional>
#include <string>
#include <vector>

#include "backends/desktop/ColorScheme.h"
#include "backends/desktop/DesktopOptions.h"
#include "backends/desktop/GLibPtr.h"
#include "backends/desktop/SleepMonitor.h"
#include "backends/desktop/Unit.h"
#include "platform/media/ToastNotification.h"

namespace desktop {

class Loop;

/// The program as a client of the user's session: one instance, starts, the session's end.
/// User-interface thread.
class SessionClient {
  public:
    SessionClient(DesktopOptions options, Loop& loop);

    /// See World::Run.
    int Run(platform::WorldClient& client);

    /// See platform::NotificationOwner.
    void Notify(platform::ToastNotification toast);

    GtkApplication* Application() const { return m_application.get(); }

  private:
    void AddStartAction();
    template <typename Act>
    void AddAction(const char* name, Act act);
    void StartHidden();
    void HandOver();
    void Started(const std::vector<std::string>& words, bool prelaunch);

    DesktopOptions m_options;
    Loop& m_loop;
    GObjectPtr<GtkApplication> m_application;
    platform::WorldClient* m_client = nullptr;
    /// Whether there was a start other than a prelaunch.
    bool m_wasStarted = false;
    /// What the button of the notification does.
    std::function<void()> m_notified;
    std::vector<Signal> m_signals;
    // While the loop runs.
    std::optional<SleepMonitor> m_sleepMonitor;
    std::optional<ColorScheme> m_colorScheme;
    std::optional<TextScale> m_textScale;
};

}  // namespace desktop
