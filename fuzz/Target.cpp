#include "fuzz/Target.h"

#include <fstream>
#include <iterator>

namespace fuzz {

void Add(std::vector<std::string>& seeds, std::initializer_list<int> firsts, std::string_view text) {
    for (const int first : firsts) {
        seeds.push_back(static_cast<char>(first) + std::string(text));
    }
}

std::uint8_t TakeByte(std::string_view& input) {
    const auto first = static_cast<std::uint8_t>(input.empty() ? 0 : input.front());
    input.remove_prefix(input.empty() ? 0 : 1);
    return first;
}

std::string FileOf(const std::filesystem::path& path) {
    std::ifstream file(KELVANE_SOURCE_DIRECTORY / path, std::ios::binary);
    Require(file.is_open());
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::filesystem::path& Folder() {
    static const struct Scope {
        Scope() {
            std::string pattern = "/dev/shm/kelvane-fuzz-XXXXXX";
            Require(mkdtemp(pattern.data()) != nullptr);
            path = pattern;
        }
        ~Scope() { std::filesystem::remove_all(path); }
        std::filesystem::path path;
    } scope;
    return scope.path;
}

std::filesystem::path WriteFile(const std::filesystem::path& name, std::string_view content) {
    auto path = Folder() / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Run({reinterpret_cast<const char*>(data), size});
    return 0;
}

/// Called by the fuzzer before it reads the command line.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    if (*count == 3 && std::string_view((*arguments)[1]) == "--write-seeds") {
        const std::filesystem::path folder = (*arguments)[2];
        std::filesystem::create_directories(folder);
        int number = 0;
        for (const std::string& seed : fuzz::Seeds()) {
            std::ofstream file(folder / std::to_string(++number), std::ios::binary);
            file << seed << std::flush;
            fuzz::Require(file.good());
        }
        std::exit(0);
    }
    return 0;
}
