#pragma once

#include <span>

#include "platform/resources/PackageFiles.h"

namespace Kelvane {

/// Markup, texts and manifest, compiled into the program from the files of this source tree.
std::span<const platform::PackageFile> PackageContent();

}  // namespace Kelvane
