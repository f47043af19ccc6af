#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace daemon_service {

/// Why an action was not done: a status number for the caller and a sentence for the log.
class ActionError : public std::runtime_error {
  public:
    /// The platform's published error numbers.
    enum class Status : std::uint32_t {
        NotFound = 2,          ///< no tool is installed or configured; no such boot entry
        AccessDenied = 5,      ///< the system's policy says no
        WriteFault = 29,       ///< the request was accepted and is not there when read back
        Failed = 31,           ///< anything else; the sentence has it
        NotSupported = 50,     ///< the firmware or the boot loader cannot
        DiskFull = 112,        ///< no room for the firmware's variable
        Misconfigured = 1610,  ///< the service's own configuration cannot be followed
        NotRunning = 1062,     ///< no session manager or no bus to reach it by
        Busy = 170,            ///< asked for again too soon
        TimedOut = 1460,
    };

    ActionError(Status status, const std::string& sentence)
        : std::runtime_error(sentence), m_status(status) {}

    Status Code() const noexcept { return m_status; }

  private:
    Status m_status;
};

}  // namespace daemon_service
