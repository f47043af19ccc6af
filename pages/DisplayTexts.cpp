#include "pages/DisplayTexts.h"

#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

std::u16string Filled(std::u16string text,
                      std::initializer_list<std::pair<std::u16string_view, std::u16string>> values) {
    for (const auto& [name, value] : values) {
        for (auto at = text.find(name); at != std::u16string::npos; at = text.find(name, at + value.size())) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

std::u16string Joined(std::u16string_view key, const std::vector<std::u16string>& parts,
                      const DisplayTexts& texts) {
    std::u16string list;
    for (const auto& part : parts) {
        list = list.empty()   ? part
               : part.empty() ? list
                              : Filled(texts.Lookup(key), {{u"{first}", list}, {u"{second}", part}});
    }
    return list;
}

DisplayTexts PackageTexts() {
    return {.Lookup =
                [](std::u16string_view key) {
                    return platform::ResourceLoader::GetForCurrentView()->GetString(key);
                },
            .HasWindow = platform::CoreWindow::GetForCurrentThread() != nullptr};
}

}  // namespace Kelvane
