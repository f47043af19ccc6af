#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/resources/PackageFiles.h"

/// A folder of files that replace the program's own package files while it lives.
class PackageScope {
  public:
    PackageScope() {
        std::string pattern = std::filesystem::temp_directory_path() / "kelvane-package-XXXXXX";
        m_folder = mkdtemp(pattern.data());
        setenv("KELVANE_PACKAGE_DIRECTORY", m_folder.c_str(), 1);
    }
    ~PackageScope() {
        unsetenv("KELVANE_PACKAGE_DIRECTORY");
        std::filesystem::remove_all(m_folder);
    }
    PackageScope(const PackageScope&) = delete;
    PackageScope& operator=(const PackageScope&) = delete;

    void Write(const std::string& path, const std::string& content) const {
        const auto file = m_folder / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }

    /// Writes the package's own file with the first `from` in it replaced by `to`.
    void Replace(const std::string& path, const std::string& from, const std::string& to) const {
        auto content = platform::ReadPackageFile(path).Content;
        content.replace(content.find(from), from.size(), to);
        Write(path, content);
    }

  private:
    std::filesystem::path m_folder;
};
