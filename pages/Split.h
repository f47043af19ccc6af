#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "logging/TraceLines.h"

namespace Kelvane {

/// The separator of the records' fields, and that of the subfields of the USB Type-C record's first field.
inline constexpr std::u16string_view kFieldSeparator = u"<.^.>";
inline constexpr std::u16string_view kSubfieldSeparator = u"(~!~)";

/// False for the two texts that mean "no value": the empty one and "null".
inline bool HasValue(std::u16string_view field) {
    return !field.empty() && field != u"null";
}

/// The pieces of `text` between the delimiters, empty ones included: always one more than there are
/// delimiters. An empty delimiter is found nowhere. Adds the lines of the method `name`: input and pieces.
std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view delimiter, MethodName name,
                                  TraceLines& lines);

}  // namespace Kelvane
