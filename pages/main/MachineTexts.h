#pragma once

// What the main page and the text output say of the machine's details, as functions of values.

#include <string>
#include <string_view>

#include "pages/DisplayTexts.h"
#include "pages/main/SystemInfoRecord.h"
#include "viewmodel/MachineDetails.h"

namespace Kelvane {

/// The picture of the machine's kind in "Segoe MDL2 Assets"; that of an unknown one without details.
std::u16string MachineGlyph(const MachineDetails* details);

/// "Laptop"; empty for a kind that is not known.
std::u16string MachineKind(const MachineDetails& details, const DisplayTexts& texts);

/// "Laptop by Maker", as far as both are known; else empty.
std::u16string MachineLine(const MachineDetails& details, const DisplayTexts& texts);

/// A row of the main page.
struct PageRow {
    /// Of its value in the record; the BIOS password's is behind all others.
    std::size_t Place;
    /// In the details.
    std::u16string_view Key;
    /// The resource key of its label.
    std::u16string_view Label;
    /// Whether its value tells the machine from others of its kind.
    bool IsIdentifier = false;
};
/// In the order of the page.
inline constexpr PageRow kPageRows[] = {
    {0, u"productName", u"SysInfoLabel0/Text"},
    {1, u"productNumber", u"SysInfoLabel1/Text"},
    {kSerialNumberField, u"serialNumber", u"SerialNumberLabel/Text", true},
    {2, u"processor", u"SysInfoLabel2/Text"},
    {kMemoryField, u"memory", u"SysInfoLabel3/Text"},
    {6, u"systemBoard", u"SysInfoLabel6/Text"},
    {4, u"operatingSystem", u"SysInfoLabel4/Text"},
    {8, u"buildIdentifier", u"SysInfoLabel8/Text", true},
    {5, u"firmwareVersion", u"SysInfoLabel5/Text"},
    {kSystemInfoRows, u"biosPassword", u"BiosPasswordLabel/Text"},
};

/// "label: value"; what would forge rows or steer a terminal is a blank.
std::u16string TextRow(const std::u16string& label, const std::u16string& value);

/// The machine's kind and maker as rows with line feeds, as far as they are known; empty without details.
std::u16string MachineRows(const MachineDetails* details, const DisplayTexts& texts);

/// What the details say of a row; a field that says nothing without details, or where they leave it out.
const FieldDetails& FieldOf(const MachineDetails* details, const PageRow& row);

/// Why the field has no value; empty for one that has, or that says nothing.
std::u16string ReasonText(const FieldDetails& field, const DisplayTexts& texts);

/// Where a technician can look the field up, and what stands there in place of a value.
std::u16string SourceText(const FieldDetails& field);

}  // namespace Kelvane
