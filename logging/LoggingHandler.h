#pragma once

// The one object through which the application logs. It owns the channel that every message goes to and the
// session that records the channel into files, moves each file into "Kelvane_LogFiles" in the local folder,
// saves the last one when the application is suspended, and remembers both in the local settings. It writes
// nothing to the trace itself.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "logging/LoggingEventArgs.h"
#include "platform/core/Event.h"
#include "platform/core/Guarded.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "platform/diagnostics/LoggingChannel.h"
#include "platform/storage/StorageFolder.h"
#include "platform/tasks/task.h"
#include "platform/world/Application.h"

namespace Kelvane {

class LoggingHandler final : public std::enable_shared_from_this<LoggingHandler> {
  public:
    // Any thread.

    /// The handler of the current application, created by the first call, which must be on the user-interface
    /// thread before any worker logs; it is never destroyed. The first call may throw a platform exception.
    static LoggingHandler& GetInstance();

    /// A handler that follows the suspension of `application`, without keeping it alive; the current
    /// application's is GetInstance.
    static std::shared_ptr<LoggingHandler> Create(platform::Application& application);

    /// Each writes one message to the channel; a failure is a platform exception.
    void LogVerbose(std::u16string_view message);
    void LogInformation(std::u16string_view message);
    void LogWarning(std::u16string_view message);
    void LogError(std::u16string_view message);
    void LogCritical(std::u16string_view message);

    /// The same at a level that is not known before.
    void Log(std::u16string_view message, platform::LoggingLevel level);

    /// Raised when a log file has been stored, on the thread that did.
    platform::Event<LoggingHandler&, LoggingEventArgs&>& StatusChanged() { return m_statusChanged; }

  private:
    using LoggingSession = std::shared_ptr<platform::FileLoggingSession>;
    using File = std::shared_ptr<platform::StorageFile>;

    /// What the steps of one asynchronous chain hand on.
    struct ContinuationData;

    LoggingHandler();

    // User-interface thread.
    void OnAppSuspending(platform::Application& sender, platform::SuspendingEventArgs& args);
    void OnAppResuming(platform::Application& sender);
    void RestoreLoggingState();
    void StartLoggingSession();
    platform::task<File> CloseSessionSaveFinalLogFile();

    // The session's thread.
    void OnLogFileGenerated(platform::FileLoggingSession& session, platform::LogFileGeneratedEventArgs& args);

    /// Any thread. Runs `work` on a worker when all that was given before it has ended: files are named by
    /// the millisecond, and none is deleted before it has been reported. Fails as `work` does.
    platform::task<void> InTurn(std::function<void()> work);

    // Workers, in turn.
    /// Moves the file into Kelvane_LogFiles under a name that begins with `prefix`. A failure is said once on
    /// the standard error stream, and thrown; the file stays where it is, for the next start to hand out.
    void Store(ContinuationData& data, std::u16string_view prefix);
    void MoveIntoFolder(ContinuationData& data, std::u16string_view prefix);
    /// Deletes old log files beyond the limit, among them those that could not be moved. `stored`, the path
    /// of the file just stored, and the file that is still to be reported stay.
    void KeepNewestFiles(const std::u16string& stored = {});

    // Workers.
    void FinishSuspension(const platform::task<File>& saved);

    void RaiseStatusChanged(std::int32_t status, std::u16string message);

    // Constant after construction.
    const std::shared_ptr<platform::LoggingChannel> m_channel;

    // With their own locking.
    platform::Event<LoggingHandler&, LoggingEventArgs&> m_statusChanged;
    std::atomic<bool> m_suspending = false;

    // Workers, in turn.
    bool m_saidNotStored = false;

    // Guarded.
    platform::Guarded<LoggingSession> m_session;
    /// The last turn so far.
    platform::Guarded<platform::task<void>> m_turns{platform::task_from_result()};
};

}  // namespace Kelvane
