#pragma once

// The two records as they are served: of a machine's files, or of a text file that stands in for one.

#include <optional>
#include <string>
#include <vector>

#include "daemon/service/Options.h"
#include "platform/core/Guarded.h"

namespace daemon_service {

/// Any thread.
class Records {
  public:
    explicit Records(const Options& options);

    /// The text of the record, read anew; nothing if the file that stands in for it is missing.
    std::optional<std::u16string> SystemInformation();
    std::optional<std::u16string> UsbTypeC();

  private:
    // Constant after construction.
    const std::string m_sysroot;
    const std::optional<std::string> m_systemInformationFile;
    const std::optional<std::string> m_usbTypeCFile;

    /// What the log was told last, so that it is told again only when something changed.
    using Notes = std::vector<std::string>;
    void LogNews(platform::Guarded<Notes>& known, const Notes& notes);
    platform::Guarded<Notes> m_systemInformationNotes;
    platform::Guarded<Notes> m_usbTypeCNotes;
};

/// Both records and why values are missing, for people, on standard output and standard error. False when the
/// output cannot be written, which has been reported.
bool PrintRecords(const std::string& sysroot);

}  // namespace daemon_service
