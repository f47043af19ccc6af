#include "platform/xaml/Controls.h"

namespace platform {

void Button::Invoke() {
    VerifyUserInterfaceThread();
    if (!IsShown() || !m_isEnabled) {
        return;
    }
    // A handler may take the button out of the tree.
    const auto keepAlive = shared_from_this();
    m_click.Raise(*this, {});
}

void TextBox::Text(std::u16string value) {
    VerifyUserInterfaceThread();
    if (value != m_text) {
        m_selectionLength = 0;
    }
    Set(m_text, std::move(value), ElementProperty::Text);
}

void TextBox::SelectAll() {
    VerifyUserInterfaceThread();
    m_selectionLength = m_text.size();
    Changed(ElementProperty::Selection);
}

}  // namespace platform
