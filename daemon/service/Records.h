#pragma once

// The two records and the details as they are served: of a machine's files, or records of text files that
// stand in for them.

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "daemon/actions/FirmwareFlag.h"
#include "daemon/service/Options.h"
#include "platform/core/Guarded.h"

namespace daemon_service {

/// Any thread.
class Records {
  public:
    explicit Records(const Options& options);

    /// The text of the record, read at each call; nothing if the file that stands in for it is missing.
    std::optional<std::u16string> SystemInformation();
    std::optional<std::u16string> UsbTypeC();

    /// Whether the records are of the machine's files, so that details of it go with them.
    bool HasDetails() const { return !m_systemInformationFile && !m_usbTypeCFile; }
    /// The details document, made at each call.
    std::u16string Details(const FirmwareRequest& request, const FirmwareFlagState& flag);

  private:
    // Constant after construction.
    const std::string m_sysroot;
    const std::optional<std::string> m_systemInformationFile;
    const std::optional<std::string> m_usbTypeCFile;

    /// What was logged last, so that it is logged again only when something changed.
    using Notes = std::vector<std::string>;
    void LogNews(platform::Guarded<Notes>& known, const Notes& notes);
    platform::Guarded<Notes> m_systemInformationNotes;
    platform::Guarded<Notes> m_usbTypeCNotes;

    /// One document at a time is made: what that takes of memory counts once, not per connection.
    std::mutex m_makingDetails;
};

}  // namespace daemon_service
