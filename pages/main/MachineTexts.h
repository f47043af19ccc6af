#pragma once

// What the main page and the text output say of the machine's details, as functions of values.

#include <string>

#include "pages/DisplayTexts.h"
#include "viewmodel/MachineDetails.h"

namespace Kelvane {

/// The picture of the machine's kind in "Segoe MDL2 Assets"; that of an unknown one without details.
std::u16string MachineGlyph(const MachineDetails* details);

/// "Laptop"; empty for a kind that is not known.
std::u16string MachineKind(const MachineDetails& details, const DisplayTexts& texts);

/// "Laptop by Maker", as far as both are known; else empty.
std::u16string MachineLine(const MachineDetails& details, const DisplayTexts& texts);

}  // namespace Kelvane
