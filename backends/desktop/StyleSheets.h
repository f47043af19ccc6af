#pragma once

#include <string_view>

namespace desktop {

// The style sheets of this folder, compiled in. style.css names its colours by what they are for; a palette
// gives each a value.
extern const std::string_view kStyleSheet;
extern const std::string_view kLightPalette;
extern const std::string_view kDarkPalette;
extern const std::string_view kContrastLightPalette;
extern const std::string_view kContrastDarkPalette;

}  // namespace desktop
