#include "pages/usbc/USBTypeCRecord.h"

#include "pages/Split.h"

namespace Kelvane {

namespace {

/// Generations that have a display text of their own.
struct Generation {
    std::u16string_view value;
    std::u16string_view key;
};
constexpr Generation kGenerations[] = {{u"USB 3.1 Gen 2", u"USB31Gen2/Text"},
                                       {u"USB 3.1 Gen 1", u"USB31Gen1/Text"}};

std::u16string GenerationText(const Trace& trace, const std::u16string& generation,
                              const ResourceLookup& lookup) {
    for (const auto& known : kGenerations) {
        if (generation == known.value) {
            auto text = lookup(known.key);
            trace.Verbose(u" usbResourceValue : ", text);
            return text;
        }
    }
    return generation;
}

std::u16string DeviceLine(const Trace& trace, const std::u16string& field,
                          const UsbTypeCInterpreter& interpreter) {
    std::vector<std::u16string> subfields;
    interpreter.Split(field, kSubfieldSeparator, subfields);
    trace.Information(u"Split String Count = ", subfields.size());
    if (subfields.size() < 2) {
        trace.Warning(
            u"Required Number of required USB Device Components are not present when parsed with new "
            u"separator ','");
        return field;
    }
    const auto& value = subfields[0];
    const auto& generation = subfields[1];
    trace.Verbose(u" usbDeviceValue : ", value);
    trace.Verbose(u" USBDeviceGeneration : ", generation, u" Length : ", generation.size());
    std::u16string line;
    if (!value.empty()) {
        trace.Verbose(u"The USB device is USB 2.0 ");
        line = value + u", ";
    } else {
        trace.Verbose(u"The USB device doesnt have USB 2.0 ");
    }
    return line + GenerationText(trace, generation, interpreter.Lookup);
}

}  // namespace

std::vector<std::u16string> SplitUsbTypeCRecord(const Trace& trace, std::u16string_view record,
                                                const UsbTypeCInterpreter& interpreter) {
    trace.Verbose(u"Complete USB Type C Info : ", record);
    std::vector<std::u16string> fields;
    interpreter.Split(record, kFieldSeparator, fields);
    trace.Information(u"Split String Count = ", fields.size());
    if (fields.size() != kUsbTypeCFields) {
        trace.Warning(
            u"Required Number of required USB-C Components are not present when parsed with new "
            u"separator(<.^.>)");
    }
    return fields;
}

void InterpretUsbTypeCFields(const Trace& trace, const std::vector<std::u16string>& fields,
                             const UsbTypeCInterpreter& interpreter) {
    constexpr std::size_t kDevice = 0;
    constexpr std::size_t kMaximumPower = kUsbTypeCFields - 1;
    for (std::size_t i = 0; i < fields.size() && i < kUsbTypeCFields; ++i) {
        if (i == kDevice) {
            interpreter.Show(i, DeviceLine(trace, fields[i], interpreter));
        } else if (i < kMaximumPower) {
            interpreter.Show(i, interpreter.Support(fields[i]));
        } else if (HasValue(fields[i])) {
            trace.Verbose(u" Max Power : ", fields[i]);
            interpreter.Show(i, fields[i]);
        }
    }
}

std::u16string SupportText(std::u16string_view field, const ResourceLookup& lookup) {
    return lookup(field == u"Supported" ? u"Supported/Text" : u"NotSupported/Text");
}

UsbTypeCDisplayValues InterpretUsbTypeCRecord(const Trace& trace, std::u16string_view record,
                                              const ResourceLookup& lookup) {
    UsbTypeCDisplayValues values;
    const UsbTypeCInterpreter interpreter{
        .Split = [&](auto text, auto delimiter,
                     auto& pieces) { SplitTraced(trace, text, delimiter, pieces); },
        .Lookup = lookup,
        .Support = [&](const std::u16string& field) { return SupportText(field, lookup); },
        .Show = [&](std::size_t field, std::u16string value) { values[field] = std::move(value); }};
    InterpretUsbTypeCFields(trace, SplitUsbTypeCRecord(trace, record, interpreter), interpreter);
    return values;
}

}  // namespace Kelvane
