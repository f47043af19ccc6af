#include "daemon/service/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace daemon_service {

namespace {

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
    std::array<char, 16> prefix{'\0'};
    if (journal) {
        std::snprintf(prefix.data(), prefix.size(), "<%d>", static_cast<int>(priority));
    }
    std::array<char, 1024> line{};
    const int length = std::snprintf(
        line.data(), line.size() - 1, "%s%.*s",
        journal ? prefix.data() : "kelvane-service: ", static_cast<int>(text.size()), text.data());
    std::size_t end = length < 0 ? 0 : static_cast<std::size_t>(length);
    end = end > line.size() - 2 ? line.size() - 2 : end;
    for (std::size_t i = 0; i < end; ++i) {
        line[i] = static_cast<unsigned char>(line[i]) < 0x20 || line[i] == 0x7F ? ' ' : line[i];
    }
    line[end] = '\n';
    // One write a line keeps the lines of several threads apart; there is nowhere to report a failure.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), end + 1);
}

}  // namespace daemon_service
