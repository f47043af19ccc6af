#include "platform/diagnostics/LoggingChannel.h"

#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/LiveTrace.h"
#include "platform/diagnostics/LogFileRecorder.h"
#include "platform/diagnostics/TraceLock.h"

namespace platform {

namespace {

constexpr std::size_t kNameLimit = 255;

constexpr bool IsHigh(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLow(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

/// True when the text holds a zero or any surrogate: a loop without branches, since nearly no text does.
bool NeedsLook(std::u16string_view text) {
    bool found = false;
    for (const char16_t unit : text) {
        found |= unit == 0 || (unit & 0xF800) == 0xD800;
    }
    return found;
}

/// Ends the text at its first zero and replaces lone surrogates.
std::u16string Repair(std::u16string_view text) {
    std::u16string out(text.substr(0, text.find(u'\0')));
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (IsHigh(out[i]) && i + 1 < out.size() && IsLow(out[i + 1])) {
            ++i;
        } else if (IsHigh(out[i]) || IsLow(out[i])) {
            out[i] = u'\uFFFD';
        }
    }
    return out;
}

/// Shortens the text to `limit` units, not inside a surrogate pair.
std::u16string_view Cut(std::u16string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    return text.substr(0, IsHigh(text[limit - 1]) && IsLow(text[limit]) ? limit - 1 : limit);
}

std::uint32_t CurrentThread() {
    thread_local const auto id = static_cast<std::uint32_t>(gettid());
    return id;
}

const auto g_process = static_cast<std::uint32_t>(getpid());

}  // namespace

LoggingChannel::LoggingChannel(std::u16string_view name) : m_name(Repair(Cut(name, kNameLimit))) {}

void LoggingChannel::LogMessage(std::u16string_view text, LoggingLevel level) {
    if (IsLiveTraceOn()) {
        WriteLiveTrace(text, level);
    }
    std::u16string repaired;
    if (NeedsLook(text)) {
        try {
            repaired = Repair(text);
        } catch (...) {
            throw CurrentException();
        }
        text = repaired;
    }
    const etl::Message message{.Channel = m_name,
                               .Text = Cut(text, etl::TextLimit(m_name.size())),
                               .Level = static_cast<int>(level),
                               .Thread = CurrentThread(),
                               .Process = g_process};
    std::unique_lock lock(TraceLock());
    // Index loop: Write may release the lock and m_recordings may change.
    for (std::size_t i = 0; i < m_recordings.size(); ++i) {
        if (level >= m_recordings[i].level) {
            m_recordings[i].recorder->Write(lock, message);
        }
    }
}

void LoggingChannel::Attach(const std::shared_ptr<LogFileRecorder>& recorder, LoggingLevel level) {
    Detach(recorder.get());
    const std::lock_guard lock(TraceLock());
    m_recordings.push_back({recorder, level});
}

void LoggingChannel::Detach(const LogFileRecorder* recorder) {
    // Destroyed outside the lock.
    std::shared_ptr<LogFileRecorder> removed;
    const std::lock_guard lock(TraceLock());
    const auto found = std::ranges::find(m_recordings, recorder,
                                         [](const Recording& entry) { return entry.recorder.get(); });
    if (found != m_recordings.end()) {
        removed = std::move(found->recorder);
        m_recordings.erase(found);
    }
}

}  // namespace platform
