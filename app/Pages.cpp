#include "app/App.h"
#include "chrome/ErrorDisplay.h"
#include "pages/diagnostics/RunSystemDiagnostics.h"
#include "pages/main/MainPage.h"
#include "pages/shortcuts/ShortcutsPage.h"
#include "pages/usbc/USBTypeCPage.h"
#include "platform/xaml/TypeRegistry.h"

namespace Kelvane {

void RegisterPages() {
    platform::RegisterType(u"Kelvane.MainPage", [] { return std::make_shared<MainPage>(); });
    platform::RegisterType(u"Kelvane.USBTypeCPage", [] { return std::make_shared<USBTypeCPage>(); });
    platform::RegisterType(u"Kelvane.RunSystemDiagnostics",
                           [] { return std::make_shared<RunSystemDiagnostics>(); });
    platform::RegisterType(u"Kelvane.ShortcutsPage", [] { return std::make_shared<ShortcutsPage>(); });
    platform::RegisterType(u"Kelvane.ErrorDisplay", [] { return std::make_shared<ErrorDisplay>(); });
}

void HideIdentifiers() {
    MainPage::HidesIdentifiers(true);
}

}  // namespace Kelvane
