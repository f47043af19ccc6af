#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/core/Event.h"
#include "platform/diagnostics/LoggingChannel.h"
#include "platform/storage/StorageFile.h"
#include "platform/tasks/task.h"

namespace platform {

class LogFileRecorder;

class LogFileGeneratedEventArgs {
  public:
    explicit LogFileGeneratedEventArgs(std::shared_ptr<StorageFile> file) : m_file(std::move(file)) {}

    /// Lies in the session's folder; a handler that wants to keep it moves it. One that is not moved is
    /// reported again by the next session.
    const std::shared_ptr<StorageFile>& File() const { return m_file; }

  private:
    std::shared_ptr<StorageFile> m_file;
};

/// Records the messages of channels into log files (docs/log-files.md), from the first AddLoggingChannel to
/// Close; at 256 KB it goes on to the next file. Own it by std::shared_ptr. Any thread.
class FileLoggingSession : public std::enable_shared_from_this<FileLoggingSession> {
  public:
    /// Files lie in LogsFolder.
    explicit FileLoggingSession(std::u16string name);
    FileLoggingSession(std::u16string name, std::filesystem::path folder);

    /// Closes the session.
    ~FileLoggingSession();

    const std::u16string& Name() const { return m_name; }

    /// Records the channel's messages of `level` and above; a channel that is recorded already gets the new
    /// level. Refused (closed) after the end. Handlers of LogFileGenerated are subscribed before the first
    /// call.
    void AddLoggingChannel(const std::shared_ptr<LoggingChannel>& channel,
                           LoggingLevel level = LoggingLevel::Verbose);

    void RemoveLoggingChannel(const std::shared_ptr<LoggingChannel>& channel);

    /// Raised on the session's own thread when a file is full and the next one has begun, and for each file
    /// that an earlier run left; not for the last file.
    Event<FileLoggingSession&, LogFileGeneratedEventArgs&>& LogFileGenerated() { return m_logFileGenerated; }

    /// Ends recording. The task ends when all files are stored and all handlers have returned; it yields the
    /// last file, or null when nothing was recorded since the file before it. It fails when the disk does;
    /// the messages then wait in the session's folder for the next session.
    task<std::shared_ptr<StorageFile>> CloseAndSaveToFileAsync();

    /// Ends recording and waits until everything is stored, unless another close is at it. The last file
    /// stays in the session's folder; the next session hands it out.
    void Close();

  private:
    /// A recorder and the thread that runs it.
    struct Recording {
        std::shared_ptr<LogFileRecorder> recorder;
        std::thread thread;
    };

    /// What the first call that ends the session takes; empty for others.
    Recording TakeRecording();
    std::shared_ptr<StorageFile> End();

    const std::u16string m_name;
    const std::filesystem::path m_folder;
    Event<FileLoggingSession&, LogFileGeneratedEventArgs&> m_logFileGenerated;

    std::mutex m_mutex;
    // Guarded by m_mutex.
    Recording m_recording;
    std::vector<std::shared_ptr<LoggingChannel>> m_channels;
    bool m_closed = false;
};

}  // namespace platform
