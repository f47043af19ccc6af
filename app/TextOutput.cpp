#include "app/TextOutput.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "pages/CachedRecord.h"
#include "pages/main/MachineTexts.h"
#include "pages/main/MainPage.h"
#include "pages/main/SystemInfoRecord.h"
#include "pages/usbc/TypeCPorts.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "platform/core/Text.h"
#include "platform/data/JsonObject.h"

namespace Kelvane {

namespace {

using platform::JsonObject;

/// One value of a record.
struct Field {
    /// Its place among the record's values.
    std::size_t place;
    /// Its key in JSON, which never changes.
    std::u16string_view key;
    /// The resource key of its label.
    std::u16string_view label;
};

constexpr Field kUsbTypeC[] = {
    {0, u"usbStandard", u"UsbTypeCLabel1/Text"},       {2, u"displayPortOutput", u"UsbTypeCLabel3/Text"},
    {3, u"thunderboltOrUsb4", u"UsbTypeCLabel4/Text"}, {1, u"powerDelivery", u"UsbTypeCLabel2/Text"},
    {4, u"charging", u"UsbTypeCLabel5/Text"},          {5, u"maximumPower", u"UsbTypeCLabel6/Text"},
};

/// What stands in JSON for the display texts that a record's values lead to.
struct NeutralText {
    std::u16string_view key;
    std::u16string_view text;
};
/// "Not supported" is not told from "not known" in a record.
constexpr NeutralText kNeutralTexts[] = {
    {u"Usable/Text", u"usable"},
    {u"BiosCredentialValueNone/Text", u"none"},
    {u"BiosCredentialValuePassword/Text", u"password"},
    {u"BiosCredentialValueVeldra/Text", u"veldra"},
    {u"Supported/Text", u"yes"},
    {u"NotSupported/Text", u"unknown"},
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

std::u16string TextLine(const std::u16string& label, const std::u16string& value) {
    return TextRow(label, value) + u"\n";
}

/// The rows of the main page, with kind and maker below the name as there.
std::u16string SystemInformationLines(const DisplayTexts& texts) {
    std::u16string lines;
    const auto values = SystemInformation(texts);
    for (const auto& row : kPageRows) {
        if (row.Place < values.size()) {
            const auto& value = values[row.Place];
            const bool hidden = MainPage::HidesIdentifiers() && row.IsIdentifier && !value.empty();
            lines += TextLine(texts.Lookup(row.Label), hidden ? std::u16string(platform::kMask) : value);
        }
        if (row.Place == 0) {
            lines += MachineRows(MainViewModel::GetInstance()->Details().get(), texts);
        }
    }
    return lines;
}

/// A line for each port, as far as the details tell them.
std::u16string PortLines(const DisplayTexts& texts) {
    const auto details = MainViewModel::GetInstance()->Details();
    const auto ports = details ? TextsOfPorts(details->Ports, texts) : std::vector<TypeCPortTexts>();
    std::u16string lines;
    for (const auto& port : ports) {
        lines += TextLine(Joined(u"ListOfTwo/Text", {port.Name, port.Place}, texts),
                          Joined(u"UsbTypeCTwoFacts/Text", {port.Abilities, port.Power}, texts));
    }
    return lines;
}

/// Each value, or that it is not known.
JsonObject FieldsOf(const Values& values) {
    JsonObject fields;
    for (const auto& row : kPageRows) {
        JsonObject object;
        if (row.Place < values.size() && !values[row.Place].empty()) {
            object.SetNamedValue(u"value", values[row.Place]);
        } else {
            object.SetNamedValue(u"missing", u"unknown");
        }
        object.SetNamedValue(u"source", u"record");
        fields.SetNamedValue(row.Key, std::move(object));
    }
    return fields;
}

/// The details document (docs/details.md) as far as the records go.
JsonObject DocumentOfRecords() {
    const auto texts = NeutralTexts();
    JsonObject maker;
    maker.SetNamedValue(u"missing", u"unknown");
    maker.SetNamedValue(u"source", u"record");
    JsonObject machine;
    machine.SetNamedValue(u"kind", u"unknown");
    machine.SetNamedValue(u"maker", std::move(maker));
    JsonObject best;
    const auto values = UsbTypeC(texts);
    for (const auto& field : kUsbTypeC) {
        if (!values[field.place].empty()) {
            best.SetNamedValue(field.key, values[field.place]);
        }
    }
    if (!HasValues(values)) {
        best.SetNamedValue(u"missing", u"unknown");
    }
    best.SetNamedValue(u"source", u"record");
    JsonObject typeC;
    typeC.SetNamedValue(u"bestOfPorts", std::move(best));
    JsonObject document;
    document.SetNamedValue(u"version", 1);
    document.SetNamedValue(u"machine", std::move(machine));
    document.SetNamedValue(u"fields", FieldsOf(SystemInformation(texts)));
    document.SetNamedValue(u"usbTypeC", std::move(typeC));
    return document;
}

void RemoveIdentifiers(JsonObject& document) {
    auto fields = document.GetNamedObject(u"fields");
    for (const auto& row : kPageRows) {
        const auto* const field = fields.Find(row.Key);
        if (row.IsIdentifier && field != nullptr && field->GetObject().Find(u"value") != nullptr) {
            JsonObject removed;
            removed.SetNamedValue(u"missing", u"removed");
            removed.SetNamedValue(u"source", field->GetObject().GetNamedString(u"source"));
            fields.SetNamedValue(row.Key, std::move(removed));
        }
    }
    document.SetNamedValue(u"fields", std::move(fields));
}

}  // namespace

std::string MachineAs(OutputFormat format) {
    if (format == OutputFormat::Json) {
        const auto details = MainViewModel::GetInstance()->Details();
        auto document = details ? details->Document : DocumentOfRecords();
        if (MainPage::HidesIdentifiers()) {
            RemoveIdentifiers(document);
        }
        return platform::ToUtf8(document.Stringify()) + "\n";
    }
    const auto texts = PackageTexts();
    auto text = SystemInformationLines(texts);
    if (const auto ports = UsbTypeC(texts); HasValues(ports)) {
        text += u"\n" + texts.Lookup(u"UsbTypeCTitle/Text") + u"\n";
        for (const auto& field : kUsbTypeC) {
            text += TextLine(texts.Lookup(field.label), ports[field.place]);
        }
        text += PortLines(texts);
    }
    return platform::ToValidUtf8(text);
}

bool HasSystemInformation() {
    return HasValues(SystemInformation(NeutralTexts()));
}

}  // namespace Kelvane
