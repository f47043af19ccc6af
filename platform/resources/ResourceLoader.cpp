#include "platform/resources/ResourceLoader.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>
#include <vector>

#include "platform/core/Provided.h"
#include "platform/core/Text.h"
#include "platform/resources/PackageFiles.h"
#include "platform/resources/UserEnvironment.h"
#include "platform/resources/XmlSource.h"

namespace platform {

namespace {

constexpr std::string_view kDefaultLanguage = "en-US";

/// Languages written from right to left.
constexpr std::array<std::u16string_view, 12> kRightToLeft = {u"ar", u"he", u"iw", u"fa", u"ur",  u"ps",
                                                              u"sd", u"ug", u"yi", u"dv", u"ckb", u"ks"};

/// What in a tag means that Chinese is written in traditional characters.
constexpr std::array<std::string_view, 4> kTraditionalChinese = {"-Hant", "-TW", "-HK", "-MO"};

template <typename Char>
std::basic_string_view<Char> BaseLanguage(std::basic_string_view<Char> tag) {
    return tag.substr(0, tag.find(Char{'-'}));
}

/// Where neither its own tag nor its base language is the folder's name: Chinese is written in two ways, by
/// region, and Hebrew has two codes.
std::string WrittenAs(const std::string& language) {
    const auto base = BaseLanguage<char>(language);
    if (base == "zh") {
        const bool isTraditional = std::ranges::any_of(kTraditionalChinese, [&](std::string_view part) {
            return language.find(part) != std::string::npos;
        });
        return isTraditional ? "zh-Hant" : "zh-Hans";
    }
    return base == "iw" ? "he" : language;
}

/// The folder of texts that serves a language best: the same tag, else the way it is written, else the same
/// base language, else none.
std::string FolderFor(const std::string& language, const std::vector<std::string>& folders) {
    const auto written = WrittenAs(language);
    for (const auto& name : {language, written}) {
        if (std::ranges::find(folders, name) != folders.end()) {
            return name;
        }
    }
    const auto base = std::ranges::find_if(folders, [&](const std::string& folder) {
        return BaseLanguage<char>(folder) == BaseLanguage<char>(written);
    });
    return base != folders.end() ? *base : std::string();
}

}  // namespace

std::shared_ptr<ResourceLoader> ResourceLoader::GetForCurrentView() {
    static const auto loader = Read();
    return loader;
}

std::shared_ptr<ResourceLoader> ResourceLoader::Read() {
    auto loader = std::make_shared<ResourceLoader>();
    const auto folders = PackageLanguages();
    std::vector<std::string> order;
    for (const auto& language : Provided<UserEnvironment>::Current().Languages()) {
        order.push_back(FolderFor(ToUtf8(language), folders));
    }
    order.emplace_back(kDefaultLanguage);
    for (const auto& folder : order) {
        if (folder.empty()) {
            continue;
        }
        const auto path = "Strings/" + folder + "/Resources.resw";
        auto file = ReadPackageFile(path);
        const bool isBuiltIn = file.DisplayPath == path;
        const XmlSource source(std::move(file));
        for (const auto& entry : source.Root("root").children("data")) {
            std::u16string key = FromUtf8(entry.attribute("name").value());
            std::replace(key.begin(), key.end(), u'.', u'/');
            loader->m_texts.try_emplace(std::move(key), FromUtf8(entry.child_value("value")));
        }
        if (isBuiltIn) {
            break;  // It has every text; a file in its place may lack some.
        }
    }
    return loader;
}

std::u16string ResourceLoader::GetString(std::u16string_view key) const {
    const auto found = m_texts.find(key);
    return found != m_texts.end() ? found->second : std::u16string();
}

ResourceContext ResourceContext::GetForCurrentView() {
    ResourceContext context;
    const auto language = Provided<UserEnvironment>::Current().Languages().front();
    const bool rightToLeft = std::find(kRightToLeft.begin(), kRightToLeft.end(),
                                       BaseLanguage<char16_t>(language)) != kRightToLeft.end();
    context.m_values[u"Language"] = language;
    context.m_values[u"LayoutDirection"] = rightToLeft ? u"RTL" : u"LTR";
    return context;
}

}  // namespace platform
