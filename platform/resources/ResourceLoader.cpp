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

template <typename Char>
std::basic_string_view<Char> BaseLanguage(std::basic_string_view<Char> tag) {
    return tag.substr(0, tag.find(Char{'-'}));
}

/// The folder of texts that serves a language best: the same tag, else the same base language, else none.
std::string FolderFor(const std::string& language, const std::vector<std::string>& folders) {
    if (std::find(folders.begin(), folders.end(), language) != folders.end()) {
        return language;
    }
    const auto base = std::find_if(folders.begin(), folders.end(), [&](const std::string& folder) {
        return BaseLanguage<char>(folder) == BaseLanguage<char>(language);
    });
    return base != folders.end() ? *base : std::string();
}

}  // namespace

std::shared_ptr<ResourceLoader> ResourceLoader::GetForCurrentView() {
    static const auto loader = [] {
        auto made = std::make_shared<ResourceLoader>();
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
            const XmlSource source(ReadPackageFile("Strings/" + folder + "/Resources.resw"));
            for (const auto& entry : source.Root("root").children("data")) {
                std::u16string key = FromUtf8(entry.attribute("name").value());
                std::replace(key.begin(), key.end(), u'.', u'/');
                made->m_texts.try_emplace(std::move(key), FromUtf8(entry.child_value("value")));
            }
        }
        return made;
    }();
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
