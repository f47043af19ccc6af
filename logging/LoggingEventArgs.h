#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace Kelvane {

class LoggingHandler;

/// Says where a log file was stored. Created by the handler only.
class LoggingEventArgs final {
  public:
    /// A file that the running session filled has been stored.
    static constexpr std::int32_t kGenerated = 1;
    /// The file that was saved at the last suspension.
    static constexpr std::int32_t kSavedAtSuspension = 3;

    std::int32_t Status() const { return m_status; }

    /// The full path of the file, as FromPathBytes has it.
    const std::u16string& Message() const { return m_message; }

  private:
    friend class LoggingHandler;

    LoggingEventArgs(std::int32_t status, std::u16string message)
        : m_status(status), m_message(std::move(message)) {}

    const std::int32_t m_status;
    const std::u16string m_message;
};

using StatusChangedHandler = std::function<void(LoggingHandler&, LoggingEventArgs&)>;

}  // namespace Kelvane
