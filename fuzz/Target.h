#pragma once

// What all fuzz targets share. A target defines Run and, beside it, seeds of the same form;
// "fuzz-NAME --write-seeds FOLDER" writes those to files.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Hands an input to the decoder. Defined by each target.
void Run(std::string_view input);

/// Inputs to begin with, made by the project's own code. Defined by each target.
std::vector<std::string> Seeds();

inline std::string Seed(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Adds `text` behind each of `firsts`.
void Add(std::vector<std::string>& seeds, std::initializer_list<int> firsts, std::string_view text);

/// Removes the first byte of `input` and returns it; 0 when there is none.
std::uint8_t TakeByte(std::string_view& input);

/// A failure that the fuzzer reports with the input that leads to it.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// The content of a file of the repository.
std::string FileOf(const std::filesystem::path& path);

/// This process's own folder in memory, removed at its end.
const std::filesystem::path& Folder();

/// A file in that folder, by its path there, with this content.
std::filesystem::path WriteFile(const std::filesystem::path& name, std::string_view content);

}  // namespace fuzz
