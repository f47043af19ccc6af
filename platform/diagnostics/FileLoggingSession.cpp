#include "platform/diagnostics/FileLoggingSession.h"

#include <algorithm>
#include <utility>

#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/diagnostics/LogFileRecorder.h"
#include "platform/storage/Places.h"
#include "platform/tasks/ThreadPool.h"

namespace platform {

FileLoggingSession::FileLoggingSession(std::u16string name)
    : FileLoggingSession(std::move(name), LogsFolder()) {}

FileLoggingSession::FileLoggingSession(std::u16string name, std::filesystem::path folder)
    : m_name(std::move(name)), m_folder(std::move(folder)) {}

FileLoggingSession::~FileLoggingSession() {
    Close();
}

void FileLoggingSession::AddLoggingChannel(const std::shared_ptr<LoggingChannel>& channel,
                                           LoggingLevel level) {
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        throw Exception(result::kClosed, u"The logging session has been closed.");
    }
    if (!m_recording.recorder) {
        const auto recorder = std::make_shared<LogFileRecorder>(
            m_folder, m_name, [weak = weak_from_this()](const std::filesystem::path& path) {
                if (const auto session = weak.lock()) {
                    LogFileGeneratedEventArgs args(std::make_shared<StorageFile>(path));
                    session->m_logFileGenerated.Raise(*session, args);
                }
            });
        m_recording = {.recorder = recorder, .thread = std::thread([recorder] { recorder->Run(); })};
    }
    channel->Attach(m_recording.recorder, level);
    if (std::ranges::find(m_channels, channel) == m_channels.end()) {
        m_channels.push_back(channel);
    }
}

void FileLoggingSession::RemoveLoggingChannel(const std::shared_ptr<LoggingChannel>& channel) {
    const std::lock_guard lock(m_mutex);
    if (m_recording.recorder) {
        channel->Detach(m_recording.recorder.get());
    }
    std::erase(m_channels, channel);
}

task<std::shared_ptr<StorageFile>> FileLoggingSession::CloseAndSaveToFileAsync() {
    return create_task([self = shared_from_this()] { return self->End(); });
}

void FileLoggingSession::Close() {
    try {
        End();
    } catch (...) {
        OutputDebugStringW(u"The last log file is not stored yet: " + CurrentException().Message());
    }
}

FileLoggingSession::Recording FileLoggingSession::TakeRecording() {
    std::vector<std::shared_ptr<LoggingChannel>> channels;
    Recording recording;
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        recording = std::exchange(m_recording, {});
        channels.swap(m_channels);
    }
    for (const auto& channel : channels) {
        channel->Detach(recording.recorder.get());
    }
    return recording;
}

/// Returns the last file, as CloseAndSaveToFileAsync yields it. Throws when something could not be stored.
std::shared_ptr<StorageFile> FileLoggingSession::End() {
    auto [recorder, thread] = TakeRecording();
    if (!recorder) {
        return nullptr;
    }
    recorder->Close();
    // A handler of LogFileGenerated ends the session: its thread stores the rest after the handler.
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
        return nullptr;
    }
    {
        const BlockingRegion blocking;
        thread.join();
    }
    const auto last = recorder->LastFile();
    return last ? std::make_shared<StorageFile>(*last) : nullptr;
}

}  // namespace platform
