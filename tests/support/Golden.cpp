#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tests {

void ExpectGolden(const std::string& path, const std::string& text) {
    const auto file = std::filesystem::path(KELVANE_TESTS) / path;
    if (std::getenv("KELVANE_RENEW_GOLDEN") != nullptr) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
        return;
    }
    std::ifstream golden(file);
    std::istringstream actual(text);
    std::string expectedLine;
    std::string line;
    for (int number = 1;; ++number) {
        const bool isExpected = static_cast<bool>(std::getline(golden, expectedLine));
        const bool isThere = static_cast<bool>(std::getline(actual, line));
        if (!isExpected && !isThere) {
            return;
        }
        if (isExpected != isThere || expectedLine != line) {
            ADD_FAILURE() << "tests/" << path << ", line " << number
                          << "\n  golden: " << (isExpected ? expectedLine : "(no such line)")
                          << "\n  now:    " << (isThere ? line : "(no such line)")
                          << "\ntests/renew-golden writes what is now; git diff shows the whole difference";
            return;
        }
    }
}

}  // namespace tests
