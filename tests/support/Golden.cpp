#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tests {

namespace {

std::vector<std::string> Lines(std::istream& text) {
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

void ExpectGolden(const std::string& path, const std::string& text) {
    const auto file = std::filesystem::path(KELVANE_TESTS) / path;
    if (std::getenv("KELVANE_RENEW_GOLDEN") != nullptr) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    std::ifstream golden(file);
    std::istringstream now(text);
    const auto before = Lines(golden);
    const auto after = Lines(now);
    EXPECT_TRUE(before == after) << "tests/" << path << "; tests/renew-golden writes what is now\n"
                                 << testing::internal::edit_distance::CreateUnifiedDiff(before, after);
}

}  // namespace tests
