#pragma once

// What the logging tests share: a private state folder, a clock that is set by hand, and the log files of a
// folder read back.

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/core/Clock.h"
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

/// Stands still; sleeping advances its local time.
class HandClock : public platform::Clock {
  public:
    std::int64_t FileTime() override { return fileTime; }
    std::int64_t Steady() override { return steady; }
    platform::SystemTime LocalTime() override;
    std::int32_t TimeZoneBias() override { return -60; }
    bool SleepFor(std::chrono::milliseconds duration) override;

    std::atomic<std::int64_t> fileTime = 133000000000000000;
    std::atomic<std::int64_t> steady = 5000000000;

  private:
    /// Behind 5 March 2026, 09:04:07.045.
    std::atomic<std::int64_t> m_slept = 0;
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
