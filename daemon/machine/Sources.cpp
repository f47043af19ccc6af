#include "daemon/machine/Sources.h"

#include <algorithm>
#include <utility>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// Cuts the first word off.
std::string_view TakeWord(std::string_view& text) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    return word;
}

/// Without the shell's quotes and escapes (os-release(5)).
std::string Unquoted(std::string_view raw) {
    std::string text;
    char quote = 0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (c == '\\' && quote != '\'' && i + 1 < raw.size()) {
            text += raw[++i];
        } else if ((c == '"' || c == '\'') && (quote == 0 || quote == c)) {
            quote = quote == 0 ? c : '\0';
        } else {
            text += c;
        }
    }
    return text;
}

}  // namespace

Sources::Sources(MachineFiles& files) : m_files(files), m_tableBytes(ReadSmbios(files)) {
    SmbiosFaults faults;
    m_tables = ParseSmbios(m_tableBytes, &faults);
    m_tablesCutOff = faults.CutOff;
    for (const std::string& sentence : faults.Sentences) {
        files.Note("firmware tables: " + sentence);
    }
    if (!faults.Sentences.empty()) {
        m_whyNoTable = Missing::Damaged;
    } else if (!m_tables.empty() || files.Read(std::string(smbios::kTablePath))) {
        m_whyNoTable = Missing::NotReported;
    } else {
        m_whyNoTable = files.Why();
    }
}

SourcedText Sources::Text(std::string_view source) {
    SourcedText text{.Source = std::string(source)};
    const auto bytes = Bytes(source);
    if (!bytes) {
        text.Why = m_why;
        text.Detail = m_detail;
        return text;
    }
    std::u16string clean = Clean(*bytes);
    if (clean.empty()) {
        text.Why = Missing::NotReported;
    } else if (IsPlaceholder(clean)) {
        text.Why = Missing::Placeholder;
        text.Detail = platform::ToValidUtf8(clean);
    } else {
        text.Value = std::move(clean);
    }
    return text;
}

SourcedText Sources::First(std::span<const SourceRow> rows) {
    std::optional<SourcedText> reason;
    for (const SourceRow& row : rows) {
        SourcedText text = Text(row.Source);
        if (text.Value && row.Take != nullptr) {
            text.Value = row.Take(*text.Value);
            text.Why = Missing::NotReported;
        }
        if (text.Value) {
            return text;
        }
        if (!reason || (reason->Why == Missing::Absent && text.Why != Missing::Absent)) {
            reason = std::move(text);
        }
    }
    return reason.value_or(SourcedText());
}

std::optional<std::string> Sources::Bytes(std::string_view source) {
    m_why = Missing::NotReported;
    m_detail.clear();
    const std::string_view kind = TakeWord(source);
    if (kind == "sysfs") {
        return FileBytes("/sys/" + std::string(source));
    }
    if (kind == "devicetree") {
        auto property = FileBytes("/sys/firmware/devicetree/base/" + std::string(source));
        if (property) {
            property->resize(std::min(property->find('\0'), property->size()));
        }
        return property;
    }
    if (kind == "os-release") {
        return Release(source);
    }
    if (kind == "smbios") {
        return TableText(source);
    }
    auto content = FileBytes("/proc/" + std::string(TakeWord(source)));
    if (content && !source.empty()) {
        const auto value = platform::LineValue(*content, source, ':');
        content = value ? std::optional(std::string(*value)) : std::nullopt;
    }
    return content;
}

std::optional<std::string> Sources::FileBytes(const std::string& path) {
    auto content = m_files.Read(path);
    if (!content) {
        m_why = m_files.Why();
        m_detail = m_why == Missing::Absent ? "" : m_files.Reason();
    }
    return content;
}

std::optional<std::string> Sources::Release(std::string_view key) {
    auto release = FileBytes("/etc/os-release");
    if (!release) {
        release = FileBytes("/usr/lib/os-release");
    }
    if (!release) {
        return std::nullopt;
    }
    const auto value = platform::LastLineValue(*release, key, '=');
    m_why = Missing::NotReported;
    m_detail.clear();
    return value ? std::optional(Unquoted(*value)) : std::nullopt;
}

std::optional<std::string> Sources::TableText(std::string_view place) {
    const auto dot = place.find('.');
    const auto type = Number(place.substr(0, dot));
    const auto offset = Number(place.substr(dot + 1), 16);
    for (const SmbiosStructure& structure : m_tables) {
        const std::string_view text = structure.Text(offset.value());
        if (structure.Type == type && !IsPlaceholder(Clean(text))) {
            return std::string(text);
        }
    }
    m_why = m_whyNoTable;
    return std::nullopt;
}

std::string ReasonOf(Missing why, const std::string& detail) {
    switch (why) {
        case Missing::NotReported:
            return "says nothing";
        case Missing::Placeholder:
            return "holds only \"" + detail + "\"";
        case Missing::Absent:
            return "absent";
        case Missing::Denied:
            return detail.empty() ? "denied" : detail;
        case Missing::Damaged:
            return detail.empty() ? "damaged" : "damaged (" + detail + ")";
        default:
            return detail.empty() ? "does not know" : detail;
    }
}

}  // namespace daemon_service
