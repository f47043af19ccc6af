#include "pages/DisplayTexts.h"

#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

DisplayTexts PackageTexts() {
    return {.Lookup =
                [](std::u16string_view key) {
                    return platform::ResourceLoader::GetForCurrentView()->GetString(key);
                },
            .HasWindow = platform::CoreWindow::GetForCurrentThread() != nullptr};
}

}  // namespace Kelvane
