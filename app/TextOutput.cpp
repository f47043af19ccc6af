#include "app/TextOutput.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <vector>

#include "pages/CachedRecord.h"
#include "pages/main/SystemInfoRecord.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "platform/core/Text.h"

namespace Kelvane {

namespace {

/// One value of a record.
struct Field {
    /// Its place among the record's values.
    std::size_t place;
    /// Its key in JSON, which never changes.
    const char* key;
    /// The resource key of its label.
    std::u16string_view label;
};

constexpr std::size_t kBiosPassword = kSystemInfoRows;

// In the order of the pages' rows.
constexpr Field kSystemInformation[] = {
    {0, "productName", u"SysInfoLabel0/Text"},
    {1, "productNumber", u"SysInfoLabel1/Text"},
    {kSerialNumberField, "serialNumber", u"SerialNumberLabel/Text"},
    {2, "processor", u"SysInfoLabel2/Text"},
    {kMemoryField, "memory", u"SysInfoLabel3/Text"},
    {4, "operatingSystem", u"SysInfoLabel4/Text"},
    {5, "firmwareVersion", u"SysInfoLabel5/Text"},
    {6, "systemBoard", u"SysInfoLabel6/Text"},
    {8, "buildIdentifier", u"SysInfoLabel8/Text"},
    {kBiosPassword, "biosPassword", u"BiosPasswordLabel/Text"},
};
constexpr Field kUsbTypeC[] = {
    {0, "usbStandard", u"UsbTypeCLabel1/Text"},       {2, "displayPortOutput", u"UsbTypeCLabel3/Text"},
    {3, "thunderboltOrUsb4", u"UsbTypeCLabel4/Text"}, {1, "powerDelivery", u"UsbTypeCLabel2/Text"},
    {4, "charging", u"UsbTypeCLabel5/Text"},          {5, "maximumPower", u"UsbTypeCLabel6/Text"},
};

/// What stands in JSON for the display texts that a record's values lead to.
struct NeutralText {
    std::u16string_view key;
    std::u16string_view text;
};
constexpr NeutralText kNeutralTexts[] = {
    {u"Usable/Text", u"usable"},
    {u"BiosCredentialValueNone/Text", u"none"},
    {u"BiosCredentialValuePassword/Text", u"password"},
    {u"BiosCredentialValueVeldra/Text", u"veldra"},
    {u"Supported/Text", u"yes"},
    {u"NotSupported/Text", u"no"},
    {u"USB31Gen1/Text", u"USB 3.2 Gen 1"},
    {u"USB31Gen2/Text", u"USB 3.2 Gen 2"},
};

DisplayTexts NeutralTexts() {
    return {.Lookup = [](std::u16string_view key) {
        const auto* const found = std::ranges::find(kNeutralTexts, key, &NeutralText::key);
        return std::u16string(found != std::end(kNeutralTexts) ? found->text : key);
    }};
}

/// By place; empty where a value is not known. Without the BIOS password where its row is hidden.
using Values = std::vector<std::u16string>;

Values SystemInformation(const DisplayTexts& texts) {
    SystemInfo info;
    if (MainViewModel::GetInstance()->IsSysInfoReadCompleted()) {
        const auto record = CachedRecord(&MainViewModel::GetSysInfo, MainViewModel::kSysDataCapacity);
        info = InterpretSystemInfo(record, texts).Value.value_or(info);
    }
    Values values;
    for (const auto& row : info.Rows) {
        values.push_back(row.value_or(u""));
    }
    if (info.Bios != SystemInfo::BiosRow::Hidden) {
        values.push_back(info.BiosPassword.value_or(u""));
    }
    return values;
}

Values UsbTypeC(const DisplayTexts& texts) {
    Values values(kUsbTypeCFields);
    if (MainViewModel::GetInstance()->IsUsbTypeCInfoReadCompleted()) {
        const auto record =
            CachedRecord(&MainViewModel::GetUsbTypeCInfo, MainViewModel::kUsbTypeCDataCapacity);
        std::ranges::transform(InterpretUsbTypeC(record, texts).Values, values.begin(),
                               [](const auto& value) { return value.value_or(u""); });
    }
    return values;
}

bool HasValues(const Values& values) {
    return !std::ranges::all_of(values, &std::u16string::empty);
}

/// A line for each value. What would forge rows or steer the terminal becomes a blank.
std::string TextLines(std::span<const Field> fields, const Values& values, const DisplayTexts& texts) {
    std::string lines;
    for (const auto& field : fields) {
        if (field.place < values.size()) {
            const auto& value = values[field.place];
            auto line = texts.Lookup(field.label) + (value.empty() ? u":" : u": ") + value;
            std::ranges::replace_if(line, platform::SteersTerminal, u' ');
            lines += platform::ToValidUtf8(line) + "\n";
        }
    }
    return lines;
}

std::string JsonObject(std::span<const Field> fields, const Values& values) {
    std::string object;
    for (const auto& field : fields) {
        if (field.place < values.size() && !values[field.place].empty()) {
            object += object.empty() ? "" : ", ";
            object += std::string("\"") + field.key + "\": " + platform::ToJson(values[field.place]);
        }
    }
    return "{" + object + "}";
}

}  // namespace

std::string RecordsAs(OutputFormat format) {
    if (format == OutputFormat::Json) {
        const auto texts = NeutralTexts();
        return "{\"systemInformation\": " + JsonObject(kSystemInformation, SystemInformation(texts)) +
               ", \"usbTypeC\": " + JsonObject(kUsbTypeC, UsbTypeC(texts)) + "}\n";
    }
    const auto texts = PackageTexts();
    auto text = TextLines(kSystemInformation, SystemInformation(texts), texts);
    if (const auto values = UsbTypeC(texts); HasValues(values)) {
        text += "\n" + platform::ToValidUtf8(texts.Lookup(u"UsbTypeCTitle/Text")) + "\n" +
                TextLines(kUsbTypeC, values, texts);
    }
    return text;
}

bool HasSystemInformation() {
    return HasValues(SystemInformation(NeutralTexts()));
}

}  // namespace Kelvane
