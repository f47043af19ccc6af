#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tests {

/// Of a file below tests/.
std::string PathOf(const std::string& path);

/// Fails unless the golden file `path`, below tests/, holds `text`. With KELVANE_RENEW_GOLDEN in the
/// environment, as tests/renew-golden sets it, writes it there instead.
void ExpectGolden(const std::string& path, const std::string& text);

/// What comes of one line of a script, each of its lines with an end; nothing when this machine does not
/// allow the line.
using Player = std::function<std::optional<std::string>(const std::string& line)>;

/// Plays every file of `folder`, below tests/, with a player of its own. A script is a golden file: each line
/// that is not indented is played, and what came of it stands behind it, indented.
void ExpectScripts(const std::string& folder, const std::function<Player()>& makePlayer);

/// An object's JSON with a line for most of the objects in it, so that a golden file can be read.
std::string JsonLines(const std::string& json);

}  // namespace tests
