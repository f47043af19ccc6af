#pragma once

// Where kelvane-log reads from: log files and the live files of running sessions, in files and folders. A
// message travels from a live file to a log file, which is then moved; each is shown once, wherever it is met
// first.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceReader.h"

namespace logtool {

/// A file, or a folder whose log and live files count.
struct Place {
    std::filesystem::path Path;
    /// Only so many of the files that a folder holds at first, the newest; 0 for all.
    std::size_t Newest = 0;
    /// Its absence is no problem; it may come later.
    bool MayBeMissing = false;
};

class LogSources {
  public:
    using OnEvent = std::function<void(const platform::etl::TraceEvent&)>;
    using OnProblem = std::function<void(const std::filesystem::path&, const std::string&)>;

    /// A file's word on messages that never got into it.
    using OnLoss = OnProblem;

    LogSources(std::vector<Place> places, OnEvent onEvent, OnProblem onProblem, OnLoss onLoss);

    /// Hands out all messages that have not been handed out before, file by file in the order of the files'
    /// starts. Each problem and loss is handed out once, also where several copies of a file are read.
    /// Returns whether there was any file.
    bool Poll();

  private:
    /// Tells one log file from all others, wherever its bytes are: start, clock reading, process.
    using Key = std::tuple<std::int64_t, std::int64_t, std::uint32_t>;

    /// A log file, or one image in a live file.
    struct Source {
        Key key;
        std::filesystem::path path;
        std::size_t offset = 0;
        bool isLive = false;
    };

    /// Tells whether a path still leads to the same file with the same content: names come again.
    struct Stamp {
        std::uintmax_t inode;
        std::uintmax_t size;
        /// Of the last change, in nanoseconds.
        std::int64_t time;

        bool operator==(const Stamp&) const = default;
    };
    static std::optional<Stamp> StampOf(const std::filesystem::path& path);

    void AddPlace(const Place& place, std::vector<Source>& sources);
    void AddLogFile(const std::filesystem::path& path, std::vector<Source>& sources);
    void AddLiveFile(const std::filesystem::path& path, std::vector<Source>& sources);
    void ReadSource(const Source& source);
    /// Empty when the source has moved on.
    std::vector<std::byte> BytesOf(const Source& source);
    /// The place that is `path` itself; null for a file of a folder.
    const Place* FindPlace(const std::filesystem::path& path) const;
    void Say(const OnProblem& listener, const Source& source, const std::string& what);
    void Fail(const std::filesystem::path& path, const platform::Exception& exception);

    const std::vector<Place> m_places;
    const OnEvent m_onEvent;
    const OnProblem m_onProblem;
    const OnLoss m_onLoss;
    /// Which messages of each log file have been handed out, by the place of their records: copies may be
    /// damaged, each in its own way.
    std::map<Key, std::vector<bool>> m_handedOut;
    /// What has been said of which log file, or of which path when that does not tell the file apart.
    std::set<std::tuple<Key, std::filesystem::path, std::string>> m_said;
    /// Log files already read, which are not read again while unchanged; none where that cannot be
    /// determined.
    std::map<std::filesystem::path, std::optional<Stamp>> m_finished;
    /// Something has moved since the places were listed.
    bool m_again = false;
    bool m_first = true;
};

}  // namespace logtool
