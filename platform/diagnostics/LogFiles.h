#pragma once

// Storing log files in a session's folder, and what earlier sessions left there. A log file appears under its
// name when it is whole, so every one in the folder is.

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace platform {

/// The log files of one session name in one folder: "<stem>-<number>.etl". One thread.
class LogFiles {
  public:
    static constexpr std::string_view kExtension = ".etl";

    LogFiles(std::filesystem::path folder, std::string stem)
        : m_folder(std::move(folder)), m_stem(std::move(stem)) {}

    const std::filesystem::path& Folder() const { return m_folder; }
    const std::string& Stem() const { return m_stem; }

    /// Writes `bytes` to a new file under the next free number. Until it is whole it lies beside `live`, the
    /// caller's locked live file. A failure is a platform exception and leaves no file.
    std::filesystem::path Store(std::span<const std::byte> bytes, const std::filesystem::path& live);

    /// Stores what the live files of ended processes hold; returns all log files in the folder, oldest first.
    /// A failure is a platform exception; what was not stored stays for the next time.
    std::vector<std::filesystem::path> CollectLeftovers();

  private:
    std::vector<std::filesystem::path> Find(std::string_view extension) const;
    void StoreLeftover(const std::filesystem::path& live);

    const std::filesystem::path m_folder;
    const std::string m_stem;
    int m_number = 0;
};

}  // namespace platform
