#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/core/EventLoop.h"
#include "platform/core/Provided.h"
#include "platform/media/Clipboard.h"
#include "platform/media/SpeechEngine.h"
#include "platform/media/ToastNotification.h"
#include "platform/resources/UserEnvironment.h"
#include "platform/xaml/Peers.h"

namespace platform {

/// What a world reports about the program's life. User-interface thread.
class WorldClient {
  public:
    virtual ~WorldClient() = default;

    /// A start, the first or a later one of the same session: the words of the command line, or one URI. A
    /// prelaunch shows nothing.
    virtual void Started(const std::vector<std::string>& words, bool prelaunch) = 0;

    /// The program is asked to end: the session ends or a signal came.
    virtual void EndRequested() = 0;

    /// The machine is about to sleep; `done` is called (any thread) when it may.
    virtual void SleepAnnounced(std::function<void()> done) = 0;

    /// The machine woke up.
    virtual void Woken() = 0;
};

/// All that a backend implements: a window system, a loop, and what belongs to the user. Each interface
/// stands in the area that calls it; this is their sum. backends/headless and backends/desktop each have one;
/// main picks one and hands it to Application::Start.
class World : public WindowSystem, public ClipboardOwner, public NotificationOwner, public UserEnvironment {
  public:
    virtual EventLoop& Loop() = 0;

    /// Runs on the thread that calls it, which becomes the user-interface thread, until EventLoop::Quit;
    /// reports the first start when it is ready. A start that was handed to a program already running returns
    /// at once. Returns an exit status.
    virtual int Run(WorldClient& client) = 0;

    /// Speech and sound; lives as long as the world.
    virtual SpeechEngine& Speech() = 0;
};

/// Makes `world` the one in use while the scope lives. Create and destroy it while no other thread uses the
/// layer.
class WorldScope {
  public:
    explicit WorldScope(World& world)
        : m_clipboard(world), m_notifications(world), m_user(world), m_speech(world.Speech()) {}

  private:
    Provided<ClipboardOwner> m_clipboard;
    Provided<NotificationOwner> m_notifications;
    Provided<UserEnvironment> m_user;
    Provided<SpeechEngine> m_speech;
};

}  // namespace platform
