#include "platform/storage/SettingsFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <thread>

#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/storage/FolderContent.h"
#include "platform/storage/Places.h"

namespace platform {

namespace {

constexpr const char* kNewSuffix = ".new-";

bool NeedsEscape(std::u16string_view text, std::size_t at) {
    const char16_t unit = text[at];
    const auto high = [](char16_t c) { return (c & 0xFC00) == 0xD800; };
    const auto low = [](char16_t c) { return (c & 0xFC00) == 0xDC00; };
    if (high(unit)) {
        return at + 1 == text.size() || !low(text[at + 1]);
    }
    if (low(unit)) {
        return at == 0 || !high(text[at - 1]);
    }
    return unit < 0x20 || unit == u'\\' || (unit >= 0x7F && unit < 0xA0) || unit >= 0xFFFE;
}

std::string Escape(std::u16string_view text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (NeedsEscape(text, i)) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", unsigned{text[i]});
            out += FromUtf8(escaped);
        } else {
            out += text[i];
        }
    }
    return ToUtf8(out);
}

[[noreturn]] void Damaged(const char* why) {
    throw Exception(result::kFail, FromUtf8(why));
}

template <typename Number>
Number ParseNumber(std::string_view text, Number value, auto... base) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
    if (error != std::errc() || end != text.data() + text.size()) {
        Damaged("a value is no number of its type");
    }
    return value;
}

std::u16string Unescape(const char* utf8) {
    const std::u16string text = FromUtf8(utf8);
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            out += text[i];
            continue;
        }
        const std::string digits = ToUtf8(std::u16string_view(text).substr(i + 1, 5));
        if (digits.size() != 5 || digits[0] != 'u') {
            Damaged("a text holds a broken escape");
        }
        out += static_cast<char16_t>(ParseNumber<std::uint16_t>(std::string_view(digits).substr(1), 0, 16));
        i += 5;
    }
    return out;
}

template <typename Number>
std::string Decimal(Number value) {
    char digits[40];
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

std::string ValueText(const PropertyValue& value) {
    struct Writer {
        std::string operator()(NoValue) const { return {}; }
        std::string operator()(bool boolean) const { return boolean ? "true" : "false"; }
        std::string operator()(std::int32_t number) const { return Decimal(number); }
        std::string operator()(std::int64_t number) const { return Decimal(number); }
        std::string operator()(double number) const { return Decimal(number); }
        std::string operator()(const std::u16string& text) const { return Escape(text); }
    };
    return std::visit(Writer{}, value);
}

PropertyValue ParseValue(std::string_view type, const char* text) {
    const auto found = std::find(kTypeNames.begin(), kTypeNames.end(), type);
    switch (found - kTypeNames.begin()) {
        case 0:
            return {};
        case 1:
            if (std::string_view(text) != "true" && std::string_view(text) != "false") {
                Damaged("a Boolean is neither true nor false");
            }
            return std::string_view(text) == "true";
        case 2:
            return ParseNumber<std::int32_t>(text, 0);
        case 3:
            return ParseNumber<std::int64_t>(text, 0);
        case 4:
            return ParseNumber<double>(text, 0);
        case 5:
            return Unescape(text);
        default:
            Damaged("a value has an unknown type");
    }
}

PropertyMap ParseSettings(const std::vector<std::byte>& bytes) {
    pugi::xml_document document;
    // Blanks at the ends of a text belong to it.
    const auto outcome =
        document.load_buffer(bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    if (!outcome) {
        Damaged(outcome.description());
    }
    const auto root = document.child("settings");
    if (!root) {
        Damaged("it has no settings element");
    }
    PropertyMap values;
    for (const auto& entry : root.children("setting")) {
        const auto* const key = entry.attribute("key").value();
        try {
            values.insert_or_assign(Unescape(key),
                                    ParseValue(entry.attribute("type").value(), entry.child_value()));
        } catch (const Exception& exception) {
            throw Exception(exception.Code(), FromUtf8(key) + u": " + exception.Message());
        }
    }
    return values;
}

std::size_t SizeOf(const FileDescriptor& opened, const std::filesystem::path& file) {
    struct stat status {};
    if (fstat(opened.Get(), &status) != 0) {
        throw ExceptionFromErrno("look up " + file.string(), errno);
    }
    return static_cast<std::size_t>(status.st_size);
}

}  // namespace

PropertyMap LoadSettings(const std::filesystem::path& file) {
    std::string why;
    try {
        const auto opened = OpenFile(file, O_RDONLY);
        return ParseSettings(ReadUpTo(opened, file, 0, SizeOf(opened, file)));
    } catch (const Exception& exception) {
        if (exception.Code() == result::kFileNotFound) {
            return {};
        }
        why = exception.what();
    }
    auto aside = file;
    aside += ".damaged";
    int error = RenameToFreeName(file, aside);
    for (int number = 2; error == EEXIST; ++number) {
        aside = file;
        aside += ".damaged-" + std::to_string(number);
        error = RenameToFreeName(file, aside);
    }
    WriteStandardError({"kelvane: the settings in ", file.native(), " cannot be read (", why,
                        error == 0 ? "); they were set aside as " : "); they could not be set aside as ",
                        aside.native(), ", the defaults apply"});
    return {};
}

FileDescriptor LockSettings(const std::filesystem::path& file) {
    EnsureFolder(file.parent_path());
    FileDescriptor folder(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    bool isLocked = flock(folder.Get(), LOCK_EX | LOCK_NB) == 0;
    for (int wait = 0; !isLocked && errno == EWOULDBLOCK && wait < 1000; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        isLocked = flock(folder.Get(), LOCK_EX | LOCK_NB) == 0;
    }
    if (!isLocked) {
        return {};  // Somebody may be saving: what lies beside the file may be its.
    }
    // What processes left that were killed while they saved.
    std::error_code unknown;
    for (const auto& path : PathsIn(file.parent_path(), unknown)) {
        if (path.native().starts_with(file.native() + kNewSuffix)) {
            std::filesystem::remove(path, unknown);
        }
    }
    return folder;
}

void SaveSettings(const std::filesystem::path& file, const PropertyMap& values) {
    pugi::xml_document document;
    auto root = document.append_child("settings");
    for (const auto& [key, value] : values) {
        auto entry = root.append_child("setting");
        entry.append_attribute("key").set_value(Escape(key).c_str());
        entry.append_attribute("type").set_value(kTypeNames[value.index()]);
        entry.text().set(ValueText(value).c_str());
    }
    std::ostringstream stream;
    document.save(stream, "  ");
    const std::string text = stream.str();

    EnsureFolder(file.parent_path());
    // A unique name, so that two processes never write into one file.
    auto fresh = file;
    fresh += kNewSuffix + std::to_string(getpid());
    const auto opened = OpenFile(fresh, O_WRONLY | O_CREAT | O_TRUNC);
    try {
        WriteAt(opened, fresh, std::as_bytes(std::span(text)), 0);
        if (fsync(opened.Get()) != 0) {
            throw ExceptionFromErrno("sync " + fresh.string(), errno);
        }
        if (std::rename(fresh.c_str(), file.c_str()) != 0) {
            throw ExceptionFromErrno("rename " + fresh.string(), errno);
        }
        SyncFolder(file.parent_path());
    } catch (const Exception&) {
        unlink(fresh.c_str());
        throw;
    }
}

}  // namespace platform
