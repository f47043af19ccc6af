#include "platform/xaml/ContentControl.h"

namespace platform {

ContentControl::~ContentControl() {
    if (m_content) {
        Orphan(*m_content);
    }
}

void ContentControl::Content(std::shared_ptr<UIElement> value) {
    VerifyUserInterfaceThread();
    if (value == m_content) {
        return;
    }
    if (value) {
        Adopt(*value);
    }
    if (const auto earlier = std::exchange(m_content, nullptr)) {
        Detached(*earlier);
    }
    if (value) {
        m_content = std::move(value);
        Attached(*m_content);
    }
}

}  // namespace platform
