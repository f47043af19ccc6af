#pragma once

// What the main page and the text output say of the machine's details, as functions of values.

#include <string>
#include <string_view>

#include "pages/DisplayTexts.h"
#include "viewmodel/MachineDetails.h"

namespace Kelvane {

/// The picture of the machine's kind in "Segoe MDL2 Assets"; that of an unknown one without details.
std::u16string MachineGlyph(const MachineDetails* details);

/// "Laptop"; empty for a kind that is not known.
std::u16string MachineKind(const MachineDetails& details, const DisplayTexts& texts);

/// "Laptop by Maker", as far as both are known; else empty.
std::u16string MachineLine(const MachineDetails& details, const DisplayTexts& texts);

/// The keys of the main page's rows in the details, by the place of each in the record; the last is the BIOS
/// password's.
inline constexpr std::u16string_view kDetailsKeys[] = {
    u"productName",     u"productNumber", u"processor",    u"memory",          u"operatingSystem",
    u"firmwareVersion", u"systemBoard",   u"serialNumber", u"buildIdentifier", u"biosPassword"};

/// What the details say of a row; a field that says nothing without details, or where they leave it out.
const FieldDetails& FieldOf(const MachineDetails* details, std::size_t row);

/// Why the field has no value; empty for one that has, or that says nothing.
std::u16string ReasonText(const FieldDetails& field, const DisplayTexts& texts);

/// Where a technician can look the field up, and what stands there in place of a value.
std::u16string SourceText(const FieldDetails& field);

}  // namespace Kelvane
