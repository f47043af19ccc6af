#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/diagnostics/LoggingLevel.h"

namespace platform {

class LogFileRecorder;

/// A source of messages. Any thread.
class LoggingChannel {
  public:
    /// `name` may have up to 255 characters; more are left out.
    explicit LoggingChannel(std::u16string_view name);

    const std::u16string& Name() const { return m_name; }

    /// Hands the message to every session that records this channel at `level` or below, and, when
    /// KELVANE_TRACE=1 is set, to the standard error stream. When the call has returned, the message outlives
    /// the process. The text ends at a zero character or at the limit of the file format (some 32,000
    /// characters); a lone surrogate becomes U+FFFD. A session that cannot record is no failure. Throws a
    /// platform exception when there is not enough memory to repair the text.
    void LogMessage(std::u16string_view text, LoggingLevel level);

    /// Hands messages of `level` and above to the recorder as well; one that is attached already gets the new
    /// level. TraceLock is taken.
    void Attach(const std::shared_ptr<LogFileRecorder>& recorder, LoggingLevel level);
    void Detach(const LogFileRecorder* recorder);

  private:
    struct Recording {
        std::shared_ptr<LogFileRecorder> recorder;
        LoggingLevel level;
    };

    const std::u16string m_name;

    // Guarded by TraceLock.
    std::vector<Recording> m_recordings;
};

}  // namespace platform
