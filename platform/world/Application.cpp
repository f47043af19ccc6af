#include "platform/world/Application.h"

#include <atomic>
#include <optional>
#include <utility>

#include "platform/core/EndSignals.h"
#include "platform/core/Exception.h"
#include "platform/core/ExtendedExecution.h"
#include "platform/core/Guarded.h"
#include "platform/core/Lifetime.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/resources/Package.h"
#include "platform/tasks/task.h"
#include "platform/xaml/Window.h"

namespace platform {

namespace {

using namespace std::chrono_literals;

/// How long the end waits for the deferrals of its suspension, and how much of that for sessions before it.
constexpr auto kSuspensionLimit = 5s;
constexpr auto kExtensionLimit = 4s;

}  // namespace

/// One run of the application in its world, from Start to the end.
class ApplicationRun final : private WorldClient, private Lifetime {
  public:
    explicit ApplicationRun(World& world);
    ~ApplicationRun() override;
    ApplicationRun(const ApplicationRun&) = delete;
    ApplicationRun& operator=(const ApplicationRun&) = delete;

    int Run(const std::function<std::shared_ptr<Application>()>& create);

    /// Any thread.
    void Exit() override {
        m_world.Loop().Post([this] { EndRequested(); });
    }
    void Fail(const std::exception& failure) override;
    void WhenIdle(std::function<void()> handler);

  private:
    void Started(const std::vector<std::string>& words, bool prelaunch) override;
    void EndRequested() override;
    void SleepAnnounced(std::function<void()> done) override;
    void Woken() override;

    void Suspend(std::function<void()> done);
    void SuspendAndFinish();
    void CloseWindow();
    void Resume(int sleep);
    void Finish();
    void CheckIdle();

    World& m_world;
    UserInterfaceThreadMark m_thread;
    WorldScope m_scope;
    Provided<Lifetime> m_lifetime{*this};
    ExtendedExecution m_extended;
    Provided<ExtendedExecution> m_providedExtended{m_extended};
    std::shared_ptr<CoreDispatcher> m_dispatcher;
    std::shared_ptr<Application> m_application;
    std::optional<Window> m_window;
    std::vector<std::function<void()>> m_whenIdle;
    std::atomic<int> m_status = 0;
    bool m_started = false;
    /// Suspended, or being suspended; the task ends when all deferrals have been completed.
    bool m_suspended = false;
    task<void> m_suspension;
    /// How often a sleep has been announced.
    int m_sleeps = 0;
    bool m_ending = false;
    bool m_finished = false;
};

namespace {

/// The run in progress, and its application object once there is one; any thread may ask for them.
struct RunInProgress {
    ApplicationRun* run = nullptr;
    std::shared_ptr<Application> application;
};

Guarded<RunInProgress>& CurrentRun() {
    static Guarded<RunInProgress> current;
    return current;
}

/// Calls `use` with the run in progress, which lasts at least as long as the call; not at all when there is
/// none.
template <typename Use>
void WithCurrentRun(Use use) {
    CurrentRun().With([&](const RunInProgress& current) {
        if (current.run != nullptr) {
            use(*current.run);
        }
    });
}

}  // namespace

ApplicationRun::ApplicationRun(World& world)
    : m_world(world), m_scope(world), m_dispatcher(std::make_shared<CoreDispatcher>(world.Loop())) {
    CurrentRun().With([this](RunInProgress& current) { current.run = this; });
    m_dispatcher->OnHandlerEnded([this] { CheckIdle(); });
    ThreadPool::Default().OnIdle([this] { m_world.Loop().Post([this] { CheckIdle(); }); });
}

ApplicationRun::~ApplicationRun() {
    m_dispatcher->Close();
    ThreadPool::Default().Stop();
    // What workers posted until then.
    m_dispatcher->Close();
    m_window.reset();
    CurrentRun().With([](RunInProgress& current) { current = {}; });
}

int ApplicationRun::Run(const std::function<std::shared_ptr<Application>()>& create) {
    const EndSignals signals([this] { Exit(); });
    m_application = create();
    CurrentRun().With([this](RunInProgress& current) { current.application = m_application; });
    const int status = m_world.Run(*this);
    m_dispatcher->Close();
    return status != 0 ? status : m_status.load();
}

void ApplicationRun::Started(const std::vector<std::string>& words, bool prelaunch) {
    if (m_ending) {
        return;
    }
    try {
        if (!m_window) {
            m_window.emplace(m_world, m_dispatcher);
        }
        const auto uri = words.size() == 1 ? Uri::Parse(FromUtf8(words[0])) : std::nullopt;
        if (uri && Package::Current().HandlesProtocol(uri->SchemeName())) {
            m_application->OnActivated({.Kind = ActivationKind::Protocol, .Uri = *uri});
        } else {
            LaunchActivatedEventArgs args;
            args.PrelaunchActivated = prelaunch;
            for (const auto& word : words) {
                args.Arguments += args.Arguments.empty() ? u"" : u" ";
                args.Arguments += FromUtf8(word);
            }
            m_application->OnLaunched(args);
        }
    } catch (...) {
        Fail(CurrentException());
    }
    m_started = true;
    CheckIdle();
}

void ApplicationRun::Suspend(std::function<void()> done) {
    if (m_suspended) {
        m_suspension.then([done = std::move(done)](const task<void>&) { done(); });
        return;
    }
    const task_completion_event<void> ended;
    const auto operation = std::make_shared<SuspendingOperation>([ended] { ended.set(); });
    SuspendingEventArgs args(operation);
    auto suspension = create_task(ended);
    // Last of what can fail, as for want of memory: the suspension may come again, and a continuation keeps a
    // task that never ends.
    suspension.then([done = std::move(done)](const task<void>&) { done(); });
    m_suspension = std::move(suspension);
    m_suspended = true;
    try {
        m_application->Suspending().Raise(*m_application, args);
    } catch (...) {
        Fail(CurrentException());
    }
}

void ApplicationRun::EndRequested() {
    if (m_ending) {
        return;
    }
    // Before the end has begun: a request that fails here, as for want of memory, may come again.
    m_world.Loop().PostAfter(kSuspensionLimit, [this] { Finish(); });
    m_ending = true;
    if (m_extended.IsOpen()) {
        CloseWindow();
        m_world.Loop().PostAfter(kExtensionLimit, [this] {
            m_extended.Revoke();
            SuspendAndFinish();
        });
    }
    m_extended.WhenClosed([this] { m_world.Loop().Post([this] { SuspendAndFinish(); }); });
}

void ApplicationRun::SuspendAndFinish() {
    try {
        Suspend([this] { m_world.Loop().Post([this] { Finish(); }); });
    } catch (...) {
        Fail(CurrentException());
        Finish();
    }
}

void ApplicationRun::CloseWindow() {
    if (m_window && m_window->Peer() != nullptr) {
        m_window->Peer()->Close();
    }
}

void ApplicationRun::Finish() {
    if (std::exchange(m_finished, true)) {
        return;
    }
    CloseWindow();
    m_world.Loop().Quit();
}

void ApplicationRun::SleepAnnounced(std::function<void()> done) {
    ++m_sleeps;
    Suspend(std::move(done));
}

void ApplicationRun::Woken() {
    if (!m_suspended) {
        return;
    }
    // A machine may wake before the handlers of the suspension have completed their deferrals. By the
    // dispatcher, which counts for WhenIdle and takes nothing once the run has ended.
    m_suspension.then([this, dispatcher = m_dispatcher, sleep = m_sleeps](const task<void>&) {
        dispatcher->RunAsync(CoreDispatcherPriority::Normal, [this, sleep] { Resume(sleep); });
    });
}

void ApplicationRun::Resume(int sleep) {
    if (m_ending || sleep != m_sleeps || !std::exchange(m_suspended, false)) {
        return;
    }
    try {
        m_application->Resuming().Raise(*m_application);
    } catch (...) {
        Fail(CurrentException());
    }
}

void ApplicationRun::Fail(const std::exception& failure) {
    // The first failure is the reason for those that follow from it.
    if (m_status.exchange(1) == 0) {
        WriteStandardError({"kelvane: ", failure.what()});
    }
    Exit();
}

void ApplicationRun::WhenIdle(std::function<void()> handler) {
    VerifyUserInterfaceThread();
    m_whenIdle.push_back(std::move(handler));
    m_world.Loop().Post([this] { CheckIdle(); });
}

void ApplicationRun::CheckIdle() {
    // Workers first: only they post.
    if (!m_started || ThreadPool::Default().Outstanding() != 0 || m_dispatcher->Pending() != 0) {
        return;
    }
    for (const auto& handler : std::exchange(m_whenIdle, {})) {
        if (m_status.load() != 0) {
            return;
        }
        try {
            handler();
        } catch (...) {
            Fail(CurrentException());
        }
    }
}

int Application::Start(World& world, const std::function<std::shared_ptr<Application>()>& create) {
    ApplicationRun run(world);
    return run.Run(create);
}

std::shared_ptr<Application> Application::Current() {
    return CurrentRun().With([](const RunInProgress& current) { return current.application; });
}

void Application::Exit() {
    WithCurrentRun([](ApplicationRun& run) { run.Exit(); });
}

void Application::WhenIdle(std::function<void()> handler) {
    WithCurrentRun([&](ApplicationRun& run) { run.WhenIdle(std::move(handler)); });
}

void Application::Fail(const std::exception& failure) {
    WithCurrentRun([&](ApplicationRun& run) { run.Fail(failure); });
}

}  // namespace platform
