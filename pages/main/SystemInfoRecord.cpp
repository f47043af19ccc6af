#include "pages/main/SystemInfoRecord.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "pages/Split.h"

namespace Kelvane {

namespace {

using enum platform::LoggingLevel;

constexpr std::u16string_view kOldFieldSeparator = u",";
constexpr std::u16string_view kUsable = u"usable";

/// Fields of the short form, without, and of the long form, with the BIOS password status. The old separator
/// allows more.
constexpr std::size_t kShortFormFields = 10;
constexpr std::size_t kLongFormFields = 11;
constexpr std::size_t kBiosPasswordField = 9;

/// As they stand between commas, leading blank included.
constexpr std::u16string_view kGenerations[] = {u" USB 3.2 Gen 1", u" USB 3.2 Gen 2", u" USB 4"};

std::vector<std::u16string> ParseSystemInfo(std::u16string_view text, std::u16string_view delimiter,
                                            TraceLines& lines) {
    return Split(text, delimiter, u"Kelvane::MainPage::ParseSystemInfo", lines);
}

/// The fields by the new separator, else by the old one; none when there are too few.
std::vector<std::u16string> FieldsOf(std::u16string_view record, const LineTrace& trace, TraceLines& lines) {
    trace.Add(Verbose, u"Complete Sys Info : ", record);
    auto fields = ParseSystemInfo(record, kFieldSeparator, lines);
    trace.Add(Information, u"Split String Count = ", fields.size());
    if (fields.size() == kShortFormFields || fields.size() == kLongFormFields) {
        return fields;
    }
    trace.Add(Warning,
              u"Required Number of required Sys Info Components are not present when parsed with new "
              u"separator(<.^.>)");
    trace.Add(Information, u"Retrying parsing with old separator (,)");
    fields = ParseSystemInfo(record, kOldFieldSeparator, lines);
    trace.Add(Information, u"Split String Count = ", fields.size());
    if (fields.size() < kShortFormFields) {
        trace.Add(
            Error,
            u"Required Number of required Sys Info Components are not correct/present when parsed with new "
            u"separator");
        return {};
    }
    return fields;
}

/// With the first "usable" in the user's language. Without the word there is nothing to translate, but still
/// a capacity that the user wants to see.
std::u16string MemoryText(std::u16string field, const DisplayTexts& texts, const LineTrace& trace) {
    const auto found = field.find(kUsable);
    if (found != std::u16string::npos) {
        if (!texts.HasWindow) {
            trace.Add(Error, u"GetForCurrentThread() = NULL");
        }
        field.replace(found, kUsable.size(), texts.Lookup(u"Usable/Text"));
    }
    return field;
}

/// A field as a signed 32-bit integer: blanks skipped, sign, 0x for hexadecimal, 0 for octal; what follows
/// the number is ignored. Throws std::invalid_argument without a digit, std::out_of_range outside 32 bits.
std::int32_t ParseStatusCode(std::u16string_view field) {
    return std::stoi(std::wstring(field.begin(), field.end()), nullptr, 0);
}

/// The resource key of the name of the BIOS credential that a status code stands for.
std::u16string_view BiosCredentialKey(std::int32_t code) {
    if (code >= 16 && code <= 255) {
        return u"BiosCredentialValueVeldra/Text";
    }
    if (code >= 1 && code <= 15) {
        return u"BiosCredentialValuePassword/Text";
    }
    return u"BiosCredentialValueNone/Text";
}

std::u16string GetBiosPasswordStatus(std::u16string_view field, const DisplayTexts& texts,
                                     TraceLines& lines) {
    return TracedInto(lines, u"Kelvane::MainPage::GetBiosPasswordStatus", [&](const LineTrace& trace) {
        trace.Add(Verbose, u"BIOS Password Status (Input) : ", field);
        std::u16string result;
        if (!texts.HasWindow) {
            trace.Add(Error, u"GetForCurrentThread() = NULL");
        } else {
            try {
                const auto code = ParseStatusCode(field);
                trace.Add(Information, u"Split String Count = ", code);
                result = texts.Lookup(BiosCredentialKey(code));
            } catch (const std::invalid_argument&) {
                trace.Add(Critical, u"Bad input: std::invalid_argument thrown");
            } catch (const std::out_of_range&) {
                trace.Add(Critical, u"Integer overflow: std::out_of_range thrown");
            } catch (const std::exception&) {
                trace.Add(Critical, u"Unknown exception caught");
            }
        }
        trace.Add(Verbose, u"BIOS Password Status (Output) : ", result);
        return result;
    });
}

bool NamesGeneration(std::u16string_view field) {
    while (!field.empty()) {
        const auto comma = std::min(field.find(u','), field.size());
        if (std::find(std::begin(kGenerations), std::end(kGenerations), field.substr(0, comma)) !=
            std::end(kGenerations)) {
            return true;
        }
        field.remove_prefix(std::min(comma + 1, field.size()));
    }
    return false;
}

}  // namespace

SystemInfoReading InterpretSystemInfo(std::u16string_view record, const DisplayTexts& texts) {
    SystemInfoReading reading;
    const LineTrace trace(u"Kelvane::MainPage::UpdateUI", reading.Lines);
    const auto fields = FieldsOf(record, trace, reading.Lines);
    if (fields.empty()) {
        return reading;
    }
    auto& value = reading.Value.emplace();
    for (std::size_t row = 0; row < kSystemInfoRows; ++row) {
        if (HasValue(fields[row])) {
            value.Rows[row] = row == kMemoryField ? MemoryText(fields[row], texts, trace) : fields[row];
        }
    }
    if (fields.size() == kShortFormFields) {
        value.Bios = SystemInfo::BiosRow::Hidden;
    } else if (fields.size() == kLongFormFields) {
        value.Bios = SystemInfo::BiosRow::Shown;
        if (HasValue(fields[kBiosPasswordField])) {
            value.BiosPassword = GetBiosPasswordStatus(fields[kBiosPasswordField], texts, reading.Lines);
        }
    }
    return reading;
}

UsbTypeCOffer InterpretUsbTypeCOffer(std::u16string_view record) {
    UsbTypeCOffer offer;
    const auto firstField = ParseSystemInfo(record, kFieldSeparator, offer.Lines).front();
    // The subfields only appear in the trace; the rule cuts the whole field at commas.
    ParseSystemInfo(firstField, kSubfieldSeparator, offer.Lines);
    offer.HasPage = NamesGeneration(firstField);
    return offer;
}

}  // namespace Kelvane
