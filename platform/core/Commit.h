#pragma once

#include <string_view>

namespace platform {

/// The commit that was built, as " (0123456789)", with "-dirty" where files differ from it; empty where it is
/// not known. cmake/Commit.cmake writes its value at each build.
extern const std::string_view kCommit;

}  // namespace platform
