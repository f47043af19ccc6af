#include "platform/xaml/Panels.h"

namespace platform {

Panel::~Panel() {
    for (const auto& child : m_children) {
        Orphan(*child);
    }
}

void Panel::Append(std::shared_ptr<UIElement> child) {
    Adopt(*child);
    m_children.push_back(std::move(child));
    Attached(*m_children.back());
}

void Panel::RemoveAtEnd() {
    VerifyUserInterfaceThread();
    if (m_children.empty()) {
        return;
    }
    const auto child = std::move(m_children.back());
    m_children.pop_back();
    Detached(*child);
}

void Grid::SetRow(FrameworkElement& element, int row) {
    auto layout = element.Layout();
    layout.Row = row;
    element.Layout(layout);
}

}  // namespace platform
