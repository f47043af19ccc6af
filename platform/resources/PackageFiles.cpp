#include "platform/resources/PackageFiles.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "platform/core/Exception.h"
#include "platform/core/ProgramOptions.h"
#include "platform/core/Text.h"

namespace platform {

namespace {

constexpr std::u16string_view kPackageScheme = u"ms-appx:///";
constexpr std::string_view kStringsFolder = "Strings/";

std::span<const PackageFile> g_files;

/// The folder whose files replace the package's own; empty for none.
std::filesystem::path ReplacementFolder() {
    const char* folder = std::getenv("KELVANE_PACKAGE_DIRECTORY");
    return folder != nullptr ? folder : "";
}

}  // namespace

void SetPackageFiles(std::span<const PackageFile> files) {
    g_files = files;
}

void VerifyPackageDirectory() {
    const auto folder = ReplacementFolder();
    if (std::error_code none; !folder.empty() && !std::filesystem::is_directory(folder, none)) {
        throw WrongUsage("KELVANE_PACKAGE_DIRECTORY names '" + folder.string() +
                         "', which is not a folder; name one that is there, or unset the variable");
    }
}

LoadedFile ReadPackageFile(std::string_view path) {
    if (const auto folder = ReplacementFolder(); !folder.empty()) {
        const auto replacement = folder / path;
        if (std::ifstream file(replacement, std::ios::binary); file) {
            return {.Content = {std::istreambuf_iterator<char>(file), {}},
                    .DisplayPath = replacement.string()};
        }
    }
    const auto found = std::find_if(g_files.begin(), g_files.end(),
                                    [path](const PackageFile& file) { return file.Path == path; });
    if (found == g_files.end()) {
        throw Exception(result::kFileNotFound, u"The package has no file " + FromUtf8(path));
    }
    return {.Content = std::string(found->Content), .DisplayPath = std::string(path)};
}

LoadedFile ReadPackageUri(std::u16string_view uri) {
    if (!uri.starts_with(kPackageScheme)) {
        throw Exception(result::kInvalidArgument, u"Not a URI of the package: " + std::u16string(uri));
    }
    return ReadPackageFile(ToUtf8(uri.substr(kPackageScheme.size())));
}

std::vector<std::string> PackageLanguages() {
    std::set<std::string> languages;
    for (const auto& file : g_files) {
        if (file.Path.starts_with(kStringsFolder)) {
            const auto rest = file.Path.substr(kStringsFolder.size());
            languages.emplace(rest.substr(0, rest.find('/')));
        }
    }
    if (const auto folder = ReplacementFolder(); !folder.empty()) {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(folder / kStringsFolder, none)) {
            languages.insert(entry.path().filename().string());
        }
    }
    return {languages.begin(), languages.end()};
}

}  // namespace platform
