#pragma once

// What the USB Type-C page and the text output say of each port, as functions of the details.

#include <array>
#include <string>
#include <vector>

#include "pages/DisplayTexts.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "viewmodel/MachineDetails.h"

namespace Kelvane {

struct TypeCPortTexts {
    /// "Port 1", in the order of the details.
    std::u16string Name;
    /// "left side", as exact as needed to find the port among the others; empty where nobody knows.
    std::u16string Place;
    /// "USB4, Thunderbolt, DisplayPort": the best USB standard, and what else is known to work.
    std::u16string Abilities;
    /// "Charges this computer, up to 100 W · Gives up to 15 W".
    std::u16string Power;
    /// Where all that was read, for a technician.
    std::u16string Source;
};

std::vector<TypeCPortTexts> TextsOfPorts(const std::vector<TypeCPortDetails>& ports,
                                         const DisplayTexts& texts);

/// What stands beside each value of the record: that it is not known; or, since the record has the best of
/// all ports, which port it is of. Empty where there is nothing to add. `ports` is empty without details.
std::array<std::u16string, kUsbTypeCFields> NotesOfValues(const UsbTypeCReading& reading,
                                                          const std::vector<TypeCPortDetails>& ports,
                                                          const DisplayTexts& texts);

}  // namespace Kelvane
