#include "platform/xaml/UIElement.h"

namespace platform {

namespace {

auto g_rootFlowDirection = FlowDirection::LeftToRight;

}  // namespace

UIElement::~UIElement() = default;

bool UIElement::IsShown() const {
    return m_visibility == platform::Visibility::Visible && (m_parent == nullptr || m_parent->IsShown());
}

FlowDirection UIElement::FlowDirection() const {
    if (m_flowDirection) {
        return *m_flowDirection;
    }
    if (m_parent != nullptr) {
        return m_parent->FlowDirection();
    }
    return g_rootFlowDirection;
}

void UIElement::RootFlowDirection(platform::FlowDirection value) {
    VerifyUserInterfaceThread();
    g_rootFlowDirection = value;
}

void UIElement::FlowDirection(platform::FlowDirection value) {
    VerifyUserInterfaceThread();
    const auto before = FlowDirection();
    m_flowDirection = value;
    if (before != value) {
        FlowDirectionChanged();
    }
}

std::vector<std::shared_ptr<UIElement>> UIElement::HeldChildren() const {
    const auto children = Children();
    return {children.begin(), children.end()};
}

void UIElement::FlowDirectionChanged() {
    Changed(ElementProperty::FlowDirection);
    for (const auto& child : HeldChildren()) {
        if (!child->m_flowDirection) {
            child->FlowDirectionChanged();
        }
    }
    for (const auto& refresh : m_bindings) {
        refresh();
    }
}

void UIElement::Focus() {
    VerifyUserInterfaceThread();
    if (m_peer) {
        m_peer->Focus();
    }
}

bool UIElement::RaiseKey(VirtualKey key, bool down) {
    KeyRoutedEventArgs args{.Key = key};
    // A handler may take the element out of the tree.
    const auto keepAlive = shared_from_this();
    for (UIElement* element = this; element != nullptr && !args.Handled; element = element->m_parent) {
        (down ? element->m_keyDown : element->m_keyUp).Raise(*element, args);
    }
    return args.Handled;
}

void UIElement::Visibility(platform::Visibility value) {
    VerifyUserInterfaceThread();
    if (value == platform::Visibility::Visible && m_peer && !m_childrenHavePeers) {
        m_childrenHavePeers = true;
        EnterChildren();
    }
    Set(m_visibility, value, ElementProperty::Visibility);
}

void UIElement::EnterWindow(WindowPeer& window) {
    m_window = &window;
    if (m_parent == nullptr || m_parent->m_childrenHavePeers) {
        m_peer = window.CreatePeer(*this);
        m_childrenHavePeers = m_visibility == platform::Visibility::Visible;
    }
    EnterChildren();
    for (const auto& refresh : m_bindings) {
        refresh();
    }
}

void UIElement::EnterChildren() {
    const auto children = HeldChildren();
    for (const auto& child : children) {
        child->EnterWindow(*m_window);
    }
    if (!children.empty() && m_childrenHavePeers) {
        Changed(ElementProperty::Children);
    }
}

void UIElement::LeaveWindow() {
    for (const auto& child : Children()) {
        child->LeaveWindow();
    }
    m_childrenHavePeers = false;
    m_peer.reset();
    m_window = nullptr;
}

void UIElement::RaiseLoaded() {
    const auto keepAlive = shared_from_this();
    for (const auto& child : HeldChildren()) {
        child->RaiseLoaded();
    }
    m_loaded.Raise(*this, {});
}

void UIElement::RefreshBindings() {
    for (const auto& refresh : m_bindings) {
        refresh();
    }
    for (const auto& child : HeldChildren()) {
        child->RefreshBindings();
    }
}

void UIElement::Changed(ElementProperty property) {
    if (m_peer) {
        m_peer->Update(property);
    }
    m_propertyChanged.Raise(*this, property);
}

void UIElement::Adopt(UIElement& child) {
    VerifyUserInterfaceThread();
    if (child.m_parent != nullptr) {
        throw Exception(result::kFail, u"Element is already the child of another element.");
    }
    const auto direction = child.FlowDirection();
    child.m_parent = this;
    if (child.FlowDirection() != direction) {
        child.FlowDirectionChanged();
    }
}

void UIElement::Attached(UIElement& child) {
    if (m_window == nullptr) {
        return;
    }
    child.EnterWindow(*m_window);
    Changed(ElementProperty::Children);
    child.RaiseLoaded();
}

void UIElement::Detached(UIElement& child) {
    VerifyUserInterfaceThread();
    child.m_parent = nullptr;
    Changed(ElementProperty::Children);
    child.LeaveWindow();
}

}  // namespace platform
