#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <cstdio>
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

std::string PathOf(const std::string& path) {
    return std::filesystem::path(KELVANE_TESTS) / path;
}

std::string JsonLines(const std::string& json) {
    std::string lines;
    for (const char each : json) {
        if (each == '"' && lines.ends_with("},")) {
            lines += '\n';
        }
        lines += each;
    }
    return lines;
}

void ExpectGolden(const std::string& path, const std::string& text) {
    const std::filesystem::path file = PathOf(path);
    std::istringstream now(text);
    const auto after = Lines(now);
    const auto written = [&file] {
        std::ifstream golden(file);
        return Lines(golden);
    };
    // Several tests may share a file and run at once, so it is left alone when nothing changes.
    if (std::getenv("KELVANE_RENEW_GOLDEN") != nullptr && written() != after) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    const auto before = written();
    EXPECT_TRUE(before == after) << "tests/" << path << "; tests/renew-golden writes what is now\n"
                                 << testing::internal::edit_distance::CreateUnifiedDiff(before, after);
}

void ExpectScripts(const std::string& folder, const std::function<Player()>& makePlayer) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(KELVANE_TESTS) / folder)) {
        std::ifstream script(entry.path());
        const auto player = makePlayer();
        std::string text;
        std::optional<std::string> outcome = "";
        for (const auto& line : Lines(script)) {
            if (outcome && !line.starts_with("  ")) {
                outcome = player(line);
                std::istringstream result(outcome.value_or(""));
                text += line + "\n";
                for (const auto& each : Lines(result)) {
                    text += "  " + each + "\n";
                }
            }
        }
        if (outcome) {
            ExpectGolden(folder + "/" + entry.path().filename().string(), text);
        } else {
            std::puts(("skipped on this machine: " + entry.path().string()).c_str());
        }
    }
}

}  // namespace tests
