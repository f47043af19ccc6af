#pragma once

// Storing log files in a session's folder, and what earlier sessions left there.

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace platform {

/// The names of a session's files in one folder: "<stem>-<number>.etl".
class LogFileNames {
  public:
    static constexpr std::string_view kExtension = ".etl";

    LogFileNames(std::filesystem::path folder, std::string stem)
        : m_folder(std::move(folder)), m_stem(std::move(stem)) {}

    const std::filesystem::path& Folder() const { return m_folder; }
    const std::string& Stem() const { return m_stem; }

    /// Writes `bytes` to a new file under the next free number. A failure is a platform exception and leaves
    /// no file.
    std::filesystem::path Store(std::span<const std::byte> bytes);

    /// Stores what live files of ended processes hold and completes unfinished log files; returns all log
    /// files of the stem that lie in the folder, oldest first. What cannot be stored now stays for the next
    /// time.
    std::vector<std::filesystem::path> CollectLeftovers();

  private:
    bool IsOurs(const std::filesystem::path& path, std::string_view extension) const;
    void StoreLeftover(const std::filesystem::path& live);

    const std::filesystem::path m_folder;
    const std::string m_stem;
    int m_number = 0;
};

}  // namespace platform
