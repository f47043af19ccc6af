#pragma once

// Storing log files in a session's folder, and what earlier sessions left there. A log file appears under its
// name when it is whole, so every one in the folder is.

#include <cstddef>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace platform {

/// The log files of one session name in one folder: "<stem>-<number of the live file>-<number>.etl". They
/// belong to the process that holds the lock of the live file "<stem>-<number>.live", so that several
/// processes can use the folder at once. One thread.
class LogFiles {
  public:
    static constexpr std::string_view kExtension = ".etl";

    LogFiles(std::filesystem::path folder, std::string stem)
        : m_folder(std::move(folder)), m_stem(std::move(stem)) {}

    const std::filesystem::path& Folder() const { return m_folder; }
    const std::string& Stem() const { return m_stem; }

    /// Writes `bytes` to a new file of the caller, who holds the lock of `live`, under the next free number.
    /// Until it is whole it lies beside `live`. A failure is a platform exception and leaves no file.
    std::filesystem::path Store(std::span<const std::byte> bytes, const std::filesystem::path& live);

    struct Leftovers {
        /// The log files that ended processes left, now the caller's, in the order in which they were begun.
        std::vector<std::filesystem::path> Files;
        /// The first thing that failed; what it concerns stays for the next time.
        std::exception_ptr Failure;
    };

    /// Stores what the live files of ended processes hold, and claims log files whose process has ended. The
    /// caller holds the lock of `live`.
    Leftovers TakeLeftovers(const std::filesystem::path& live);

  private:
    std::vector<std::filesystem::path> Find(std::string_view extension) const;
    std::filesystem::path GiveName(const std::filesystem::path& file, const std::filesystem::path& live);
    void StoreLeftover(const std::filesystem::path& leftover, const std::filesystem::path& live);

    const std::filesystem::path m_folder;
    const std::string m_stem;
    int m_number = 0;
};

}  // namespace platform
