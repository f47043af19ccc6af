#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A file that ships inside the program, by its path in the package ("MainPage.xaml",
/// "Strings/en-US/Resources.resw").
struct PackageFile {
    std::string_view Path;
    std::string_view Content;
};

/// Makes `files`, which must outlive every use, the package. Call it before anything reads the package.
void SetPackageFiles(std::span<const PackageFile> files);

/// Throws WrongUsage when KELVANE_PACKAGE_DIRECTORY names no folder.
void VerifyPackageDirectory();

/// A package file as it was found.
struct LoadedFile {
    std::string Content;
    /// What error messages call it: the path in the package, or the full path of a file that replaces it.
    std::string DisplayPath;
};

/// Any thread. Reads a package file. A file of the same path in the folder that KELVANE_PACKAGE_DIRECTORY
/// names replaces the one in the program. Throws a platform exception when there is neither.
LoadedFile ReadPackageFile(std::string_view path);

/// The same by URI ("ms-appx:///MainPage.xaml").
LoadedFile ReadPackageUri(std::u16string_view uri);

/// The languages that have texts: the names of the folders below "Strings".
std::vector<std::string> PackageLanguages();

}  // namespace platform
