#pragma once

// What the logging tests share: a private state folder, and the log files of a folder read back.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/diagnostics/EventTraceReader.h"

namespace tests {

/// An empty folder that XDG_STATE_HOME names, deleted at the end.
class StateFolderScope {
  public:
    StateFolderScope();
    ~StateFolderScope();
    StateFolderScope(const StateFolderScope&) = delete;
    StateFolderScope& operator=(const StateFolderScope&) = delete;

    std::filesystem::path Kelvane() const { return m_path / "kelvane"; }
    std::filesystem::path Logs() const { return Kelvane() / "Logs"; }
    std::filesystem::path Stored() const { return Kelvane() / "LocalState" / "Kelvane_LogFiles"; }

  private:
    std::filesystem::path m_path;
};

/// Tells whether a log call took so long that it, or the calls behind it, may have dropped its message: that
/// happens when the disk keeps a caller waiting for a second, and then proves nothing about the program. Any
/// thread.
class StallWatch {
  public:
    template <typename Call>
    void Time(Call call) {
        const auto before = std::chrono::steady_clock::now();
        call();
        m_stalled = m_stalled || std::chrono::steady_clock::now() - before > std::chrono::milliseconds(900);
    }
    bool HasStalled() const { return m_stalled; }

  private:
    std::atomic<bool> m_stalled = false;
};

std::vector<std::byte> ReadBytes(const std::filesystem::path& path);

/// The names of the files in `folder` with `extension`, sorted; none when there is no such folder.
std::vector<std::string> Names(const std::filesystem::path& folder, const std::string& extension = ".etl");

/// All messages of one file; a problem that the reader or the rules of the format find is a test failure.
std::vector<platform::etl::TraceEvent> ReadSound(const std::filesystem::path& path);

/// All messages of the log files in `folder`, in the order of the files' starts.
std::vector<platform::etl::TraceEvent> ReadFolder(const std::filesystem::path& folder);

/// Only the texts.
std::vector<std::u16string> Texts(const std::vector<platform::etl::TraceEvent>& events);

}  // namespace tests
