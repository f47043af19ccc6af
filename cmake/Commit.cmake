# Writes OUTPUT, the source of platform/core/Commit.h, for the commit of SOURCE. An archive that git made has it in cmake/commit.
file(STRINGS ${SOURCE}/cmake/commit commit)
if(commit MATCHES "Format")
    set(commit "")
    execute_process(COMMAND git -C ${SOURCE} describe --always --dirty --abbrev=10 --exclude=*
        OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(commit)
    set(commit " (${commit})")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[#include "platform/core/Commit.h"

namespace platform {

const std::string_view kCommit = "@commit@";

}  // namespace platform
]] @ONLY)
