// Plays the scripts of the records: what the pages make of one, and the lines that the trace gets. A line is
// "system-information", "offer" (of the USB Type-C page) or "usb-type-c", and the record; or "windowless" and
// such a line; or "split" and a delimiter, "|" and a text.

#include <gtest/gtest.h>

#include "pages/DisplayTexts.h"
#include "pages/Split.h"
#include "pages/main/SystemInfoRecord.h"
#include "pages/usbc/USBTypeCRecord.h"
#include "platform/core/Text.h"
#include "tests/support/Golden.h"

namespace Kelvane {

namespace {

/// Behind a blank and in quotes, so that blanks show; "-" for nothing.
std::string Quoted(const std::optional<std::u16string>& text) {
    return text ? " " + platform::ToJson(*text) : " -";
}

/// A line for each but those of splits: the first letter of the level, and the text.
std::string Readable(const TraceLines& lines, bool hasSplits = false) {
    std::string readable;
    for (const auto& line : lines) {
        const auto is = [&line](std::u16string_view name) { return line.Text.find(name) != line.Text.npos; };
        if (hasSplits || (!is(u"::ParseSystemInfo") && !is(u"::ParseUSBTypeCInfo"))) {
            readable += std::string("  ") + LoggingLevelName(line.Level)[0] + " " +
                        platform::ToUtf8(line.Text) + "\n";
        }
    }
    return readable;
}

std::string SystemInformation(std::u16string_view record, const DisplayTexts& texts) {
    const auto [value, lines] = InterpretSystemInfo(record, texts);
    std::string text;
    if (value) {
        for (const auto& row : value->Rows) {
            text += Quoted(row);
        }
        constexpr const char* kBiosRows[] = {"unchanged", "hidden", "shown"};
        text += std::string("\n BIOS password ") + kBiosRows[static_cast<int>(value->Bios)] +
                Quoted(value->BiosPassword) + "\n";
    }
    return text + Readable(lines);
}

std::string UsbTypeC(std::u16string_view record, const DisplayTexts& texts) {
    const auto [values, supports, lines] = InterpretUsbTypeC(record, texts);
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += Quoted(values[i]) + (!supports[i] ? "" : *supports[i] ? "+" : "-");
    }
    return text + "\n" + Readable(lines);
}

std::string Pieces(std::u16string_view words) {
    TraceLines lines;
    std::string text;
    const auto end = words.find(u'|');
    for (const auto& piece : Split(words.substr(end + 1), words.substr(0, end), u"Kelvane::Test", lines)) {
        text += Quoted(piece);
    }
    return text + "\n";
}

std::string Play(const std::string& line, bool hasWindow = true) {
    const auto end = line.find(' ');
    const auto what = line.substr(0, end);
    const auto record = platform::FromUtf8(line.substr(std::min(end, line.size() - 1) + 1));
    // Each key in brackets in place of its text.
    const DisplayTexts texts{
        .Lookup = [](std::u16string_view key) { return u"[" + std::u16string(key) + u"]"; },
        .HasWindow = hasWindow};
    if (what == "windowless") {
        return Play(line.substr(end + 1), false);
    }
    if (what == "offer") {
        const auto offer = InterpretUsbTypeCOffer(record);
        return (offer.HasPage ? "page\n" : "no page\n") + Readable(offer.Lines, true);
    }
    return what == "split"        ? Pieces(record)
           : what == "usb-type-c" ? UsbTypeC(record, texts)
                                  : SystemInformation(record, texts);
}

TEST(Records, AreInterpretedAsTheirScriptsSay) {
    tests::ExpectScripts("pages/records", [] { return [](const std::string& line) { return Play(line); }; });
}

}  // namespace

}  // namespace Kelvane
