#pragma once

// Writes a tree that gives the service the same answers as this machine, to send along with a fault report.

#include <string>
#include <string_view>
#include <vector>

namespace daemon_service {

/// Copies what the readers look at below `root`, and nothing else, to the new or empty directory `folder`;
/// serial numbers and the like are replaced. Returns the notes of the readers. Throws platform::Exception
/// when `folder` cannot be written or is not empty.
std::vector<std::string> Record(const std::string& root, const std::string& folder);

/// What `Record` writes for the content of the file at `path`: identifiers replaced, lines that no reader
/// wants left out. A pure function.
std::string WithoutIdentifiers(std::string_view path, std::string_view content);

}  // namespace daemon_service
