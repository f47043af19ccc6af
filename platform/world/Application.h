#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/core/Event.h"
#include "platform/core/Suspension.h"
#include "platform/core/Uri.h"
#include "platform/world/World.h"

namespace platform {

enum class ActivationKind { Launch = 0, Protocol = 4 };

/// A start from the start menu, the command line, or in the background (a prelaunch).
struct LaunchActivatedEventArgs {
    std::u16string Arguments;
    bool PrelaunchActivated = false;
};

/// Any other start; `Uri` belongs to a protocol activation.
struct ActivatedEventArgs {
    ActivationKind Kind = ActivationKind::Protocol;
    platform::Uri Uri;
};

/// The application object. One a process; its members are used on the user-interface thread unless they say
/// otherwise.
class Application {
  public:
    Application() = default;
    virtual ~Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Makes the calling thread the user-interface thread, creates the application object with `create`, and
    /// runs `world` until the application has ended: window closed, asked to by a signal or the session, or
    /// failed. The end waits for open ExtendedExecutionSessions, without the window, then raises `Suspending`
    /// and waits for its deferrals: five seconds at most, four of them for the sessions.
    /// Returns the exit status: 0, or 1 after an unhandled failure, which is reported on the standard error
    /// stream.
    static int Start(World& world, const std::function<std::shared_ptr<Application>()>& create);

    /// Any thread. The application object; null before it has been created.
    static std::shared_ptr<Application> Current();

    /// Asks the application to end in good order. Any thread.
    static void Exit();

    /// Calls `handler` once on the user-interface thread, as soon as no task runs and no handler is posted:
    /// what the start set in motion has ended. An exception of the handler ends the application; after a
    /// failure no handler is called.
    static void WhenIdle(std::function<void()> handler);

    /// Ends the application with exit status 1 for a failure that nothing handled, and reports the first such
    /// failure. Any thread.
    static void Fail(const std::exception& failure);

    Event<Application&, SuspendingEventArgs&>& Suspending() { return m_suspending; }
    Event<Application&>& Resuming() { return m_resuming; }

  protected:
    virtual void OnLaunched(const LaunchActivatedEventArgs& args) = 0;
    virtual void OnActivated(const ActivatedEventArgs& args) = 0;

  private:
    friend class ApplicationRun;

    Event<Application&, SuspendingEventArgs&> m_suspending;
    Event<Application&> m_resuming;
};

}  // namespace platform
