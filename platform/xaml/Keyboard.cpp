#include "platform/xaml/Keyboard.h"

#include <algorithm>

#include "platform/xaml/Controls.h"

namespace platform {

namespace {

void AddTabStops(UIElement& element, std::vector<UIElement*>& order) {
    if (element.Visibility() == Visibility::Collapsed) {
        return;
    }
    const auto before = order.size();
    for (auto* const child : element.Children()) {
        AddTabStops(*child, order);
    }
    if (element.IsTabStop() && order.size() == before) {
        order.push_back(&element);
    }
}

/// The first visible button that `matches`, in reading order.
template <typename Matches>
Button* FindButton(UIElement& root, Matches matches) {
    for (auto* const element : TabOrder(root)) {
        if (auto* const button = dynamic_cast<Button*>(element); button != nullptr && matches(*button)) {
            return button;
        }
    }
    return nullptr;
}

struct Accelerated {
    std::shared_ptr<UIElement> element;
    std::shared_ptr<KeyboardAccelerator> accelerator;
};

/// The enabled accelerators of visible elements, last in reading order first: what stands later on a page
/// lies over what stands before it.
void AddAccelerators(UIElement& element, std::vector<Accelerated>& order) {
    if (element.Visibility() == Visibility::Collapsed) {
        return;
    }
    const auto children = element.Children();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        AddAccelerators(**child, order);
    }
    for (const auto& accelerator : element.KeyboardAccelerators()) {
        if (accelerator->IsEnabled) {
            order.push_back({.element = element.shared_from_this(), .accelerator = accelerator});
        }
    }
}

/// Whether the accelerator has used the key.
bool Invoke(const Accelerated& accelerated) {
    KeyboardAcceleratorInvokedEventArgs args;
    accelerated.accelerator->Invoked.Raise(*accelerated.element, args);
    if (args.Handled) {
        return true;
    }
    auto* const button = dynamic_cast<Button*>(accelerated.element.get());
    if (button != nullptr) {
        button->Invoke();
    }
    return button != nullptr;
}

/// The element that Tab moves to from `focused`, from the last to the first; null when there is none.
UIElement* NextFocus(UIElement& root, const UIElement* focused, bool back) {
    auto order = TabOrder(root);
    if (back) {
        std::reverse(order.begin(), order.end());
    }
    const auto current = std::find(order.begin(), order.end(), focused);
    if (current != order.end() && std::next(current) != order.end()) {
        return *std::next(current);
    }
    return order.empty() ? nullptr : order.front();
}

}  // namespace

std::vector<UIElement*> TabOrder(UIElement& root) {
    std::vector<UIElement*> order;
    AddTabStops(root, order);
    return order;
}

Button* DefaultButton(UIElement& root) {
    return FindButton(root, [](const Button& button) { return button.IsDefault(); });
}

UIElement* FirstFocus(UIElement& root) {
    auto* const defaultButton = DefaultButton(root);
    return defaultButton != nullptr ? defaultButton : FindButton(root, [](const Button&) { return true; });
}

KeyResponse Keyboard::KeyDown(UIElement& root, UIElement* focused, const KeyPress& press) {
    const bool repeats = !m_held.insert(press.ScanCode).second;
    if (m_stale.contains(press.ScanCode)) {
        return {.Handled = true};
    }
    // A handler may show another page.
    const auto keepPage = root.shared_from_this();
    const auto keepFocused = (focused != nullptr ? *focused : root).shared_from_this();
    const bool isHandled = keepFocused->RaiseKey(press.Key, true);
    if (keepFocused->Peer() == nullptr) {
        return {.Handled = true};
    }
    std::vector<Accelerated> accelerators;
    AddAccelerators(root, accelerators);
    std::erase_if(accelerators, [&](const Accelerated& each) {
        return each.accelerator->Key != press.Key || each.accelerator->Modifiers != press.Modifiers;
    });
    if (std::ranges::any_of(accelerators, [&](const Accelerated& each) { return repeats || Invoke(each); }) ||
        isHandled) {
        return {.Handled = true};
    }
    const auto has = [&](VirtualKeyModifiers modifier) { return HasModifier(press.Modifiers, modifier); };
    if (press.Key == VirtualKey::Tab && !has(VirtualKeyModifiers::Menu) &&
        !has(VirtualKeyModifiers::Windows)) {
        auto* const next = NextFocus(root, focused, has(VirtualKeyModifiers::Shift));
        return {.Handled = next != nullptr, .Focus = next};
    }
    if (press.Key == VirtualKey::None || press.Modifiers != VirtualKeyModifiers::None) {
        return {};
    }
    Button* pressed = nullptr;
    if (press.Key == VirtualKey::Enter || press.Key == VirtualKey::Space) {
        pressed = dynamic_cast<Button*>(focused);
        if (pressed == nullptr && press.Key == VirtualKey::Enter) {
            pressed = DefaultButton(root);
        }
    }
    return {.Handled = pressed != nullptr, .Press = pressed};
}

void Keyboard::KeyUp(UIElement& root, UIElement* focused, const KeyPress& press) {
    m_held.erase(press.ScanCode);
    m_stale.erase(press.ScanCode);
    (focused != nullptr ? *focused : root).RaiseKey(press.Key, false);
}

void Keyboard::ReleaseAll() {
    m_held.clear();
    m_stale.clear();
}

}  // namespace platform
