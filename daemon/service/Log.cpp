#include "daemon/service/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/core/StandardError.h"

namespace daemon_service {

namespace {

/// In bytes; what comes from outside may be long.
constexpr std::size_t kLongestText = 1000;

/// The service manager names the journal's stream; a redirected standard error is another file.
bool StandardErrorIsJournal() {
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) {
        return false;
    }
    std::array<char, 64> mine{};
    std::snprintf(mine.data(), mine.size(), "%llu:%llu", static_cast<unsigned long long>(status.st_dev),
                  static_cast<unsigned long long>(status.st_ino));
    return std::strcmp(stream, mine.data()) == 0;
}

}  // namespace

void Log(Priority priority, std::string_view text) noexcept {
    static const bool journal = StandardErrorIsJournal();
    const char number = static_cast<char>('0' + static_cast<int>(priority));
    const std::array<char, 4> prefix = {'<', number, '>', '\0'};
    platform::WriteStandardError(
        {journal ? prefix.data() : "kelvane-service: ", text.substr(0, kLongestText)});
}

}  // namespace daemon_service
