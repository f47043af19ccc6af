#include "platform/diagnostics/FileLoggingSession.h"

#include <algorithm>
#include <utility>

#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/diagnostics/LogFileRecorder.h"
#include "platform/storage/Places.h"

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
    if (!m_recorder) {
        m_recorder = LogFileRecorder::Start(
            m_folder, m_name, [weak = weak_from_this()](const std::filesystem::path& path) {
                if (const auto session = weak.lock()) {
                    LogFileGeneratedEventArgs args(std::make_shared<StorageFile>(path));
                    session->m_logFileGenerated.Raise(*session, args);
                }
            });
    }
    channel->Attach(m_recorder, level);
    if (std::ranges::find(m_channels, channel) == m_channels.end()) {
        m_channels.push_back(channel);
    }
}

void FileLoggingSession::RemoveLoggingChannel(const std::shared_ptr<LoggingChannel>& channel) {
    const std::lock_guard lock(m_mutex);
    if (m_recorder) {
        channel->Detach(m_recorder.get());
    }
    std::erase(m_channels, channel);
}

task<std::shared_ptr<StorageFile>> FileLoggingSession::CloseAndSaveToFileAsync() {
    return create_task([self = shared_from_this()]() -> std::shared_ptr<StorageFile> {
        const auto recorder = self->End();
        const auto last = recorder ? recorder->Finish() : std::nullopt;
        return last ? std::make_shared<StorageFile>(*last) : nullptr;
    });
}

void FileLoggingSession::Close() {
    if (const auto recorder = End()) {
        try {
            recorder->Finish();
        } catch (...) {
            OutputDebugStringW(u"The last log file is not stored yet: " + CurrentException().Message());
        }
    }
}

std::shared_ptr<LogFileRecorder> FileLoggingSession::End() {
    std::vector<std::shared_ptr<LoggingChannel>> channels;
    std::shared_ptr<LogFileRecorder> recorder;
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        recorder.swap(m_recorder);
        channels.swap(m_channels);
    }
    for (const auto& channel : channels) {
        channel->Detach(recorder.get());
    }
    return recorder;
}

}  // namespace platform
