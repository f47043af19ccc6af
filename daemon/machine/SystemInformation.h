#pragma once

// The system-information record: ten fields, or eleven where the status of the BIOS password is known.

#include <string>
#include <vector>

#include "daemon/machine/MachineDetails.h"

namespace daemon_service {

inline constexpr std::u16string_view kFieldSeparator = u"<.^.>";

/// What readers of a record have room for, without the terminating zero.
inline constexpr std::size_t kSystemInformationLimit = 998;
inline constexpr std::size_t kUsbTypeCLimit = 498;

/// A field's label (for --print) and its text; "null" where the machine does not tell.
struct Field {
    std::u16string_view Label;
    std::u16string Text;
};

/// In record order.
std::vector<Field> SystemInformationFields(const MachineDetails& machine);

/// Of the machine with these files. Never throws for what they hold.
std::vector<Field> ReadSystemInformation(MachineFiles& files);

/// The fields' texts joined by the separator.
std::u16string Joined(const std::vector<Field>& fields);

}  // namespace daemon_service
