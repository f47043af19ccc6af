// The file of the application's settings: any text.

#include <cmath>

#include "fuzz/Target.h"
#include "platform/core/Exception.h"
#include "platform/storage/SettingsFile.h"

using namespace platform;

namespace {

/// Each of `reads` gives what is there, or refuses a value of another type.
void Look(const PropertySet& set, const std::u16string& key, const PropertyValue& value) {
    try {
        fuzz::Require(PropertyValue(*set.LookupBoolean(key)) == value);
    } catch (const Exception&) {
        fuzz::Require(!std::holds_alternative<bool>(value));
    }
    try {
        const auto text = *set.LookupString(key);
        fuzz::Require(PropertyValue(text) == value ||
                      (text.empty() && std::holds_alternative<std::monostate>(value)));
    } catch (const Exception&) {
        fuzz::Require(!std::holds_alternative<std::u16string>(value));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::filesystem::remove_all(fuzz::Folder() / "settings");
    const auto file = fuzz::WriteFile("settings/settings.xml", {reinterpret_cast<const char*>(data), size});
    auto values = LoadSettings(file);
    const bool isDamaged = std::filesystem::exists(file.string() + ".damaged");
    fuzz::Require(isDamaged != std::filesystem::exists(file) && (!isDamaged || values.empty()));
    // Not equal to itself.
    std::erase_if(values, [](const auto& entry) {
        const auto* const number = std::get_if<double>(&entry.second);
        return number != nullptr && std::isnan(*number);
    });
    PropertyMap saved;
    PropertySet set(u"settings", {}, [&](const PropertyMap& changed) { saved = changed; });
    for (const auto& [key, value] : values) {
        set.Insert(key, value);
        Look(set, key, value);
    }
    fuzz::Require(saved == values);
    SaveSettings(file, saved);
    fuzz::Require(LoadSettings(file) == values);
    for (const auto& [key, value] : values) {
        set.Remove(key);
        set.Remove(key);
        fuzz::Require(!set.LookupBoolean(key) && !set.LookupString(key));
    }
    fuzz::Require(saved.empty());
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    std::filesystem::remove_all(Folder() / "settings");
    const auto file = WriteFile("settings/settings.xml", "");
    SaveSettings(file, {{u"empty", {}},
                        {u"yes", true},
                        {u"no", false},
                        {u"int32", std::int32_t{-1}},
                        {u"int64", std::int64_t{9007199254740993}},
                        {u"double", 0.1},
                        {u"text", u" \n\\<&\"\xD800x\xDC00\U0001F600\x85"}});
    const auto setting = [](const std::string& content) {
        return "<settings><setting key='k' " + content + "</setting></settings>";
    };
    return {FileOf(file),
            "<settings/>",
            "<other/>",
            setting("type='Boolean'>yes"),
            setting("type='Int32'>x"),
            setting("type='Double'>1e999"),
            setting("type='Colour'>red"),
            setting("type='String'>\\u12"),
            setting("type='String'>\\x0041"),
            setting("type='String'>\\u00zz")};
}
