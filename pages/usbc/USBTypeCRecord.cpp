#include "pages/usbc/USBTypeCRecord.h"

#include "pages/Split.h"

namespace Kelvane {

namespace {

using enum platform::LoggingLevel;

/// Generations that have a display text of their own.
struct Generation {
    std::u16string_view value;
    std::u16string_view key;
};
constexpr Generation kGenerations[] = {{u"USB 3.1 Gen 2", u"USB31Gen2/Text"},
                                       {u"USB 3.1 Gen 1", u"USB31Gen1/Text"}};

std::vector<std::u16string> ParseUSBTypeCInfo(std::u16string_view text, std::u16string_view delimiter,
                                              TraceLines& lines) {
    return Split(text, delimiter, u"Kelvane::USBTypeCPage::ParseUSBTypeCInfo", lines);
}

std::u16string GenerationText(const std::u16string& generation, const DisplayTexts& texts,
                              const LineTrace& trace) {
    for (const auto& known : kGenerations) {
        if (generation == known.value) {
            auto text = texts.Lookup(known.key);
            trace.Add(Verbose, u" usbResourceValue : ", text);
            return text;
        }
    }
    return generation;
}

std::u16string DeviceLine(const std::u16string& field, const DisplayTexts& texts, const LineTrace& trace,
                          TraceLines& lines) {
    const auto subfields = ParseUSBTypeCInfo(field, kSubfieldSeparator, lines);
    trace.Add(Information, u"Split String Count = ", subfields.size());
    if (subfields.size() < 2) {
        trace.Add(Warning,
                  u"Required Number of required USB Device Components are not present when parsed with new "
                  u"separator ','");
        return field;
    }
    const auto& value = subfields[0];
    const auto& generation = subfields[1];
    trace.Add(Verbose, u" usbDeviceValue : ", value);
    trace.Add(Verbose, u" USBDeviceGeneration : ", generation, u" Length : ", generation.size());
    std::u16string line;
    if (!value.empty()) {
        trace.Add(Verbose, u"The USB device is USB 2.0 ");
        line = value + u", ";
    } else {
        trace.Add(Verbose, u"The USB device doesnt have USB 2.0 ");
    }
    return line + GenerationText(generation, texts, trace);
}

std::u16string CheckSupportStatus(bool isSupported, const DisplayTexts& texts, TraceLines& lines) {
    return TracedInto(lines, u"Kelvane::USBTypeCPage::CheckSupportStatus", [&](const LineTrace&) {
        return texts.Lookup(isSupported ? u"Supported/Text" : u"NotSupported/Text");
    });
}

}  // namespace

UsbTypeCReading InterpretUsbTypeC(std::u16string_view record, const DisplayTexts& texts) {
    UsbTypeCReading reading;
    auto& lines = reading.Lines;
    const LineTrace trace(u"Kelvane::USBTypeCPage::UpdateUI", lines);
    trace.Add(Verbose, u"Complete USB Type C Info : ", record);
    const auto fields = ParseUSBTypeCInfo(record, kFieldSeparator, lines);
    trace.Add(Information, u"Split String Count = ", fields.size());
    if (fields.size() != kUsbTypeCFields) {
        trace.Add(Warning,
                  u"Required Number of required USB-C Components are not present when parsed with new "
                  u"separator(<.^.>)");
    }
    if (!texts.HasWindow) {
        trace.Add(Error, u"GetForCurrentThread() = NULL");
        return reading;
    }
    constexpr std::size_t kDevice = 0;
    constexpr std::size_t kMaximumPower = kUsbTypeCFields - 1;
    for (std::size_t i = 0; i < fields.size() && i < kUsbTypeCFields; ++i) {
        auto& value = reading.Values[i];
        if (i == kDevice) {
            value = DeviceLine(fields[i], texts, trace, lines);
        } else if (i < kMaximumPower) {
            const bool isSupported = fields[i] == u"Supported";
            value = CheckSupportStatus(isSupported, texts, lines);
            reading.Supports[i] = isSupported;
        } else if (HasValue(fields[i])) {
            trace.Add(Verbose, u" Max Power : ", fields[i]);
            value = fields[i];
        }
    }
    return reading;
}

}  // namespace Kelvane
