#include "tools/LogSources.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <system_error>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/diagnostics/LogFiles.h"
#include "platform/storage/FileDescriptor.h"
#include "platform/storage/FolderContent.h"

namespace logtool {

namespace {

namespace etl = platform::etl;

/// Log files have 256 KB; a foreign file that is larger than this is not read whole.
constexpr std::size_t kLargestFile = std::size_t{1} << 30;

bool IsLive(const std::filesystem::path& path) {
    return path.extension() == platform::LiveFile::kExtension;
}

std::optional<etl::FileHeader> HeaderAt(const std::filesystem::path& path, std::size_t offset) {
    const auto bytes =
        platform::ReadUpTo(platform::OpenFile(path, O_RDONLY), path, offset, sizeof(etl::FileHeader));
    if (bytes.size() < sizeof(etl::FileHeader)) {
        return {};
    }
    etl::FileHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    return header;
}

std::tuple<std::int64_t, std::int64_t, std::uint32_t> KeyOf(const etl::FileHeader& header) {
    return {header.LogFile.StartTime, header.Record.SystemTime, header.Record.ProcessId};
}

/// True only where the file certainly does not exist; another error may hide an existing one.
bool IsGone(const std::filesystem::path& path) {
    std::error_code failure;
    return std::filesystem::status(path, failure).type() == std::filesystem::file_type::not_found;
}

/// The log and live files of a folder, newest first, and those whose time cannot be read.
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder, std::error_code& failure) {
    std::vector<std::pair<std::filesystem::file_time_type, std::filesystem::path>> files;
    for (const auto& path : platform::PathsIn(folder, failure)) {
        std::error_code gone;
        if (!IsLive(path) && path.extension() != platform::LogFiles::kExtension) {
            continue;
        }
        const auto type = std::filesystem::status(path, gone).type();
        if (type == std::filesystem::file_type::regular || type == std::filesystem::file_type::none) {
            files.emplace_back(std::filesystem::last_write_time(path, gone), path);
        }
    }
    std::ranges::sort(files, std::ranges::greater());
    std::vector<std::filesystem::path> paths;
    paths.reserve(files.size());
    for (auto& [time, path] : files) {
        paths.push_back(std::move(path));
    }
    return paths;
}

std::vector<std::string> ProblemsOf(etl::TraceSummary summary) {
    if (summary.ForeignEvents != 0) {
        summary.Problems.push_back(std::to_string(summary.ForeignEvents) +
                                   " events of other programs' providers are not shown");
    }
    return std::move(summary.Problems);
}

}  // namespace

LogSources::LogSources(std::vector<Place> places, OnEvent onEvent, OnProblem onProblem, OnLoss onLoss)
    : m_places(std::move(places)),
      m_onEvent(std::move(onEvent)),
      m_onProblem(std::move(onProblem)),
      m_onLoss(std::move(onLoss)) {}

bool LogSources::Poll() {
    bool any = false;
    // A source that moved on while it was looked at is met in the next round.
    do {
        m_again = false;
        std::vector<Source> sources;
        for (const auto& place : m_places) {
            AddPlace(place, sources);
        }
        m_first = false;
        any = any || !sources.empty() || !m_finished.empty();
        std::ranges::stable_sort(sources, {}, &Source::key);
        for (const auto& source : sources) {
            try {
                ReadSource(source);
            } catch (...) {
                Fail(source.path, platform::CurrentException());
            }
        }
    } while (m_again);
    return any;
}

void LogSources::AddPlace(const Place& place, std::vector<Source>& sources) {
    std::vector<std::filesystem::path> files = {place.Path};
    std::error_code failure;
    if (std::filesystem::is_directory(place.Path, failure)) {
        files = FilesIn(place.Path, failure);
        if (failure) {
            Fail(place.Path, platform::ExceptionFromErrno("list", failure.value()));
        } else if (files.empty() && m_first && !place.MayBeMissing) {
            Say(m_onProblem, {.key = {}, .path = place.Path}, "there are no log files in it");
        }
        if (place.Newest != 0 && m_first && files.size() > place.Newest) {
            // The others are as good as read.
            for (std::size_t i = place.Newest; i < files.size(); ++i) {
                m_finished[files[i]] = StampOf(files[i]);
            }
            files.resize(place.Newest);
        }
        // Live files first: a message stored between the two listings is then found in a log file.
        std::stable_partition(files.begin(), files.end(), IsLive);
    } else if (place.MayBeMissing && IsGone(place.Path)) {
        return;
    }
    for (const auto& file : files) {
        try {
            IsLive(file) ? AddLiveFile(file, sources) : AddLogFile(file, sources);
        } catch (...) {
            Fail(file, platform::CurrentException());
        }
    }
}

std::optional<LogSources::Stamp> LogSources::StampOf(const std::filesystem::path& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    constexpr std::int64_t kNanoseconds = 1000000000;
    return Stamp{.inode = status.st_ino,
                 .size = static_cast<std::uintmax_t>(status.st_size),
                 .time = status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

const Place* LogSources::FindPlace(const std::filesystem::path& path) const {
    const auto found = std::ranges::find(m_places, path, &Place::Path);
    return found == m_places.end() ? nullptr : &*found;
}

void LogSources::Say(const OnProblem& listener, const Source& source, const std::string& what) {
    if (m_said.emplace(source.key, source.key == Key() ? source.path : "", what).second) {
        listener(source.path, what);
    }
}

void LogSources::Fail(const std::filesystem::path& path, const platform::Exception& exception) {
    const auto* const place = FindPlace(path);
    if ((place == nullptr || place->MayBeMissing) && IsGone(path)) {
        // Its messages may be in another file by now.
        m_again = true;
        return;
    }
    m_finished[path] = StampOf(path);
    Say(m_onProblem, {.key = {}, .path = path}, exception.what());
}

void LogSources::AddLogFile(const std::filesystem::path& path, std::vector<Source>& sources) {
    const auto stamp = StampOf(path);
    const auto finished = m_finished.find(path);
    if (finished != m_finished.end() && (!stamp || finished->second == stamp)) {
        return;
    }
    const auto header = HeaderAt(path, 0);
    sources.push_back({.key = header ? KeyOf(*header) : Key(), .path = path});
}

void LogSources::AddLiveFile(const std::filesystem::path& path, std::vector<Source>& sources) {
    bool isOne = false;
    for (std::size_t index = 0; index < platform::LiveFile::kImages; ++index) {
        const auto offset = index * etl::kFileSize;
        const auto header = HeaderAt(path, offset);
        isOne = isOne || (header && header->Buffer.BufferType == etl::kBufferTypeHeader);
        if (header && header->LogFile.BuffersWritten > 1) {
            sources.push_back({.key = KeyOf(*header), .path = path, .offset = offset, .isLive = true});
        }
    }
    // A live file is empty while it is created; that is an error only for a file named by the user.
    std::error_code gone;
    const auto size = std::filesystem::file_size(path, gone);
    if (!isOne && (FindPlace(path) != nullptr || (!gone && size != 0 && size < sizeof(etl::FileHeader)))) {
        throw platform::Exception(platform::result::kInvalidArgument,
                                  u"it is no log file of a running program");
    }
}

std::vector<std::byte> LogSources::BytesOf(const Source& source) {
    std::error_code gone;
    const auto size = std::filesystem::file_size(source.path, gone);
    const auto length = source.isLive ? etl::kFileSize : std::min<std::size_t>(size, kLargestFile);
    const auto file = platform::OpenFile(source.path, O_RDONLY);
    if (!source.isLive) {
        // A foreign file is refused before it is read, however large it is.
        etl::CheckEventTrace(platform::ReadUpTo(file, source.path, 0, sizeof(etl::FileHeader)));
    }
    auto bytes = platform::ReadUpTo(file, source.path, source.offset, length);
    if (source.isLive) {
        // The copy is complete unless the image was reused while it was read.
        const auto header = HeaderAt(source.path, source.offset);
        if (!header || KeyOf(*header) != source.key || header->LogFile.BuffersWritten < 2) {
            m_again = true;
            bytes.clear();
        }
    }
    return bytes;
}

void LogSources::ReadSource(const Source& source) {
    const auto stamp = StampOf(source.path);
    const auto bytes = BytesOf(source);
    if (bytes.empty() && source.isLive) {
        return;
    }
    std::vector<bool> unknown;
    // A header without a start does not tell its file from others.
    auto& handedOut = source.key == Key() ? unknown : m_handedOut[source.key];
    handedOut.resize(std::max(handedOut.size(), bytes.size() / etl::kRecordAlignment));
    const auto summary = etl::ReadEventTrace(bytes, [&](const etl::TraceEvent& event) {
        const auto index = event.Position / etl::kRecordAlignment;
        if (!handedOut[index]) {
            handedOut[index] = true;
            m_onEvent(event);
        }
    });
    auto problems = ProblemsOf(summary);
    if (!source.isLive) {
        m_finished[source.path] = stamp;
        if (bytes.size() == kLargestFile) {
            problems.emplace_back("it is too large; only its beginning was read");
        }
    } else if (!problems.empty()) {
        // What a second look does not find was only being written.
        const auto second = BytesOf(source);
        const auto confirmed = second.empty() ? std::vector<std::string>()
                                              : ProblemsOf(etl::ReadEventTrace(second, [](auto&&) {}));
        std::erase_if(problems, [&](const std::string& problem) {
            return std::ranges::find(confirmed, problem) == confirmed.end();
        });
    }
    for (const auto& problem : problems) {
        Say(m_onProblem, source, problem);
    }
    if (const auto lost = summary.Header.EventsLost; lost != 0) {
        Say(m_onLoss, source,
            std::to_string(lost) + (lost == 1 ? " message was lost" : " messages were lost"));
    }
}

}  // namespace logtool
