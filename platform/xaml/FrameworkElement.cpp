#include "platform/xaml/FrameworkElement.h"

namespace platform {

void FrameworkElement::RaiseNotificationEvent(std::u16string_view text) const {
    VerifyUserInterfaceThread();
    if (auto* const window = CurrentWindow(); window != nullptr && !text.empty()) {
        window->Announce(text);
    }
}

std::u16string FrameworkElement::SpokenText() const {
    if (!m_accessibility.Name.empty()) {
        return m_accessibility.Name;
    }
    std::u16string text;
    for (const auto& child : Children()) {
        const auto* const element = dynamic_cast<const FrameworkElement*>(child.get());
        if (element != nullptr && element->Visibility() == platform::Visibility::Visible) {
            const auto part = element->SpokenText();
            text += (text.empty() || part.empty() ? u"" : u" ") + part;
        }
    }
    return text;
}

void FrameworkElement::Changed(ElementProperty property) {
    UIElement::Changed(property);
    const bool isHeard = property == ElementProperty::Text || property == ElementProperty::Visibility ||
                         property == ElementProperty::IsActive;
    if (isHeard && m_accessibility.LiveSetting != AutomationLiveSetting::Off && IsShown()) {
        RaiseNotificationEvent(SpokenText());
    }
}

}  // namespace platform
