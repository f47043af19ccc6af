#pragma once

// What the logging tests share: a private state folder, and the log files of a folder read back.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/diagnostics/EventTraceReader.h"

namespace tests {

/// A folder in memory where there is one: a disk that stands still for a second lets the program drop
/// messages.
std::filesystem::path Memory();

/// An empty folder that XDG_STATE_HOME names, deleted at the end. Its path is not UTF-8, as a path need not
/// be.
class StateFolderScope {
  public:
    explicit StateFolderScope(const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~StateFolderScope();
    StateFolderScope(const StateFolderScope&) = delete;
    StateFolderScope& operator=(const StateFolderScope&) = delete;

    std::filesystem::path Kelvane() const { return m_path / "kelvane"; }
    std::filesystem::path Logs() const { return Kelvane() / "Logs"; }
    std::filesystem::path Stored() const { return Kelvane() / "LocalState" / "Kelvane_LogFiles"; }

  private:
    std::filesystem::path m_path;
};

std::vector<std::byte> ReadBytes(const std::filesystem::path& path);

/// Makes the file, and its folder when that is missing.
void WriteBytes(const std::filesystem::path& path, std::span<const std::byte> bytes);

/// A log file with one message of each text, on the channel "c" at Verbose; begun and ended at `start`, when
/// the steady clock stood at 1000. It advances by one with each message.
std::vector<std::byte> LogFile(const std::vector<std::u16string>& texts, std::uint32_t lost = 0,
                               std::int64_t start = 133000000000000000);

/// The bytes as text, 16 a line behind their position; lines that repeat the one before are left out.
std::string HexLines(std::span<const std::byte> bytes);

/// The names of the files in `folder` with `extension`, sorted; none when there is no such folder.
std::vector<std::string> Names(const std::filesystem::path& folder, const std::string& extension = ".etl");

/// All messages of one file; a problem that the reader finds, and any contradiction, is a test failure.
std::vector<platform::etl::TraceEvent> ReadSound(const std::filesystem::path& path);

/// All messages of the log files in `folder`, in the order of the files' starts.
std::vector<platform::etl::TraceEvent> ReadFolder(const std::filesystem::path& folder);

/// Only the texts.
std::vector<std::u16string> Texts(const std::vector<platform::etl::TraceEvent>& events);

/// Does `work` on a thread of its own. When it has not ended after 30 seconds, says that `what` does not end,
/// and ends the program.
void DoWithLimit(const std::string& what, const std::function<void()>& work);

}  // namespace tests
