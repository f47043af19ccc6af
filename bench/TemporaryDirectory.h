#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace bench {

/// A private directory for what the run itself listens at.
class TemporaryDirectory {
  public:
    TemporaryDirectory() : m_path(std::filesystem::temp_directory_path() / "kelvane-bench-XXXXXX") {
        if (mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("cannot create a directory in the temporary folder");
        }
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& Path() const { return m_path; }

  private:
    std::string m_path;
};

}  // namespace bench
