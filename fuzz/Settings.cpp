// The file of the application's settings: any text.

#include <cmath>

#include "fuzz/Target.h"
#include "platform/storage/SettingsFile.h"

using namespace platform;

void fuzz::Run(std::string_view input) {
    std::filesystem::remove_all(fuzz::Folder() / "settings");
    const auto file = fuzz::WriteFile("settings/settings.xml", input);
    // As a process leaves it that is killed while it saves.
    const auto leftover = fuzz::WriteFile("settings/settings.xml.new-1", input);
    const auto lock = LockSettings(file);
    fuzz::Require(!std::filesystem::exists(leftover));
    auto values = LoadSettings(file);
    const bool isDamaged = std::filesystem::exists(file.string() + ".damaged");
    fuzz::Require(isDamaged != std::filesystem::exists(file) && (!isDamaged || values.empty()));
    if (isDamaged) {
        fuzz::WriteFile("settings/settings.xml", input);
        LoadSettings(file);
        fuzz::Require(std::filesystem::exists(file.string() + ".damaged-2"));
    }
    // Not equal to itself.
    std::erase_if(values, [](const auto& entry) {
        const auto* const number = std::get_if<double>(&entry.second);
        return number != nullptr && std::isnan(*number);
    });
    SaveSettings(file, values);
    fuzz::Require(LoadSettings(file) == values);
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
