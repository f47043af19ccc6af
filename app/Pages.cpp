#include "app/App.h"
#include "chrome/ErrorDisplay.h"
#include "pages/main/MainPage.h"
#include "platform/xaml/TypeRegistry.h"

namespace Kelvane {

void RegisterPages() {
    platform::RegisterType(u"Kelvane.MainPage", [] { return std::make_shared<MainPage>(); });
    platform::RegisterType(u"Kelvane.ErrorDisplay", [] { return std::make_shared<ErrorDisplay>(); });
}

}  // namespace Kelvane
