#pragma once

// From the bytes that firmware and the kernel give to a text that may stand in a record's field.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/core/Lines.h"

namespace daemon_service {

using platform::Trimmed;

/// Readable text of one line: UTF-8 to UTF-16, control characters and the records' separators replaced by
/// blanks, bytes that are no UTF-8 by "?", runs of blanks collapsed, ends trimmed. May be empty.
std::u16string Clean(std::string_view bytes);

/// True for what firmware writers leave where a maker should have filled the value in ("To be filled by
/// O.E.M."), and for the empty text. Expects cleaned text.
bool IsPlaceholder(std::u16string_view text);

/// The cleaned text unless it is a placeholder.
std::optional<std::u16string> Value(std::string_view bytes);

/// At most `limit` UTF-16 units; a longer text ends in "…". Never cuts a surrogate pair.
std::u16string Capped(std::u16string text, std::size_t limit);

/// The whole of `text`, but for blanks at its ends, as an unsigned number; nothing for anything else.
std::optional<std::uint64_t> Number(std::string_view text, int base = 10);

}  // namespace daemon_service
