#include "chrome/ErrorDisplay.h"

#include "logging/Trace.h"
#include "platform/xaml/Markup.h"

namespace Kelvane {

ErrorDisplay::ErrorDisplay() {
    TracedUncaught(u"Kelvane::ErrorDisplay::ErrorDisplay", [this] {
        const auto elements = platform::LoadComponent(*this, u"ms-appx:///ErrorDisplay.xaml", {});
        m_icon = elements.Find<platform::FontIcon>(u"ErrorIcon");
        m_message = elements.Find<platform::TextBlock>(u"ErrorMessage");
    });
}

ErrorDisplay::~ErrorDisplay() {
    TracedUncaught(u"Kelvane::ErrorDisplay::~ErrorDisplay", [] {});
}

}  // namespace Kelvane
