#include "platform/xaml/Keyboard.h"

#include <algorithm>

#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Window.h"

namespace platform {

namespace {

constexpr auto kNone = VirtualKeyModifiers::None;
constexpr auto kControl = VirtualKeyModifiers::Control;
constexpr auto kShift = VirtualKeyModifiers::Shift;
constexpr auto kMenu = VirtualKeyModifiers::Menu;

struct GestureKey {
    VirtualKey key;
    VirtualKeyModifiers modifiers;
    TextGesture gesture;
    /// Of its name in the list of shortcuts; empty for a key that is not listed.
    std::u16string_view resource;
};

constexpr GestureKey kGestureKeys[] = {
    {VirtualKey::C, kControl, TextGesture::Copy, u"ShortcutCopy/Text"},
    {VirtualKey::Insert, kControl, TextGesture::Copy, u""},
    {VirtualKey::A, kControl, TextGesture::SelectAll, u"ShortcutSelectAll/Text"},
    {VirtualKey::F10, kShift, TextGesture::ContextMenu, u"ShortcutContextMenu/Text"},
    {VirtualKey::Application, kNone, TextGesture::ContextMenu, u"ShortcutContextMenu/Text"},
};

/// With Control by words or to the ends of the text, with Shift selecting.
constexpr VirtualKey kCaretKeys[] = {VirtualKey::Left, VirtualKey::Right, VirtualKey::Home, VirtualKey::End};

struct BackKey {
    VirtualKey key;
    VirtualKeyModifiers modifiers;
    /// The direction that the key points back in; nothing for both.
    std::optional<FlowDirection> direction;
};

constexpr BackKey kBackKeys[] = {{VirtualKey::Escape, kNone, {}},
                                 {VirtualKey::Left, kMenu, FlowDirection::LeftToRight},
                                 {VirtualKey::Right, kMenu, FlowDirection::RightToLeft},
                                 {VirtualKey::GoBack, kNone, {}}};

/// The keys of the page that `root` shows.
bool IsIn(const BackKey& key, const UIElement& root) {
    return key.direction.value_or(root.FlowDirection()) == root.FlowDirection();
}

TextGesture GestureOf(const UIElement* focused, const KeyPress& press) {
    if (dynamic_cast<const TextBlock*>(focused) == nullptr &&
        dynamic_cast<const TextBox*>(focused) == nullptr) {
        return TextGesture::None;
    }
    for (const auto& each : kGestureKeys) {
        if (each.key == press.Key && each.modifiers == press.Modifiers) {
            return each.gesture;
        }
    }
    const bool moves = std::ranges::find(kCaretKeys, press.Key) != std::end(kCaretKeys) &&
                       !HasModifier(press.Modifiers, kMenu) &&
                       !HasModifier(press.Modifiers, VirtualKeyModifiers::Windows);
    return moves ? TextGesture::MoveCaret : TextGesture::None;
}

/// The visible texts below `element`, as one.
std::u16string TextsIn(const UIElement& element) {
    if (element.Visibility() == Visibility::Collapsed) {
        return {};
    }
    const auto* const block = dynamic_cast<const TextBlock*>(&element);
    std::u16string text = block != nullptr ? block->Text() : u"";
    for (const auto& child : element.Children()) {
        text += TextsIn(*child);
    }
    return text;
}

std::u16string NameOf(const UIElement& element) {
    const auto& name = dynamic_cast<const FrameworkElement&>(element).Accessibility().Name;
    return name.empty() ? TextsIn(element) : name;
}

void AddTabStops(UIElement& element, std::vector<UIElement*>& order) {
    if (element.Visibility() == Visibility::Collapsed) {
        return;
    }
    const auto before = order.size();
    for (const auto& child : element.Children()) {
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

/// The accelerators of visible elements, last in reading order first: what stands later on a page
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
        order.push_back({.element = element.shared_from_this(), .accelerator = accelerator});
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

/// Asks the accelerators with these keys, then goes back. A press that `repeats` does nothing where it would
/// have done something at first.
bool InvokeShortcut(UIElement& root, const KeyPress& press, bool repeats) {
    std::vector<Accelerated> accelerators;
    AddAccelerators(root, accelerators);
    std::erase_if(accelerators, [&](const Accelerated& each) {
        return each.accelerator->Key != press.Key || each.accelerator->Modifiers != press.Modifiers;
    });
    if (std::ranges::any_of(accelerators, [&](const Accelerated& each) { return repeats || Invoke(each); })) {
        return true;
    }
    return std::ranges::any_of(kBackKeys, [&](const BackKey& back) {
        return back.key == press.Key && back.modifiers == press.Modifiers && IsIn(back, root) &&
               (repeats || SystemNavigationManager::GetForCurrentView().RequestBack());
    });
}

/// Tab: to the element after `focused`, from the last to the first.
KeyResponse MoveFocus(UIElement& root, const UIElement* focused, bool back) {
    auto order = TabOrder(root);
    if (back) {
        std::reverse(order.begin(), order.end());
    }
    const auto current = std::find(order.begin(), order.end(), focused);
    if (current != order.end() && std::next(current) != order.end()) {
        return {.Handled = true, .Focus = *std::next(current)};
    }
    return {.Handled = true,
            .Focus = order.empty() ? nullptr : order.front(),
            .LeavesContent = current != order.end()};
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

Button* ButtonWithAccessKey(UIElement& root, std::u16string_view characters) {
    for (const auto character : characters) {
        auto* const button =
            FindButton(root, [character](const Button& each) { return each.AccessKey() == character; });
        if (button != nullptr) {
            return button;
        }
    }
    return nullptr;
}

UIElement* FirstFocus(UIElement& root) {
    auto* const defaultButton = DefaultButton(root);
    if (defaultButton != nullptr) {
        return defaultButton;
    }
    const auto order = TabOrder(root);
    return order.empty() ? nullptr : order.front();
}

std::vector<Shortcut> Shortcuts(UIElement& root) {
    const auto loader = ResourceLoader::GetForCurrentView();
    std::vector<Shortcut> shortcuts;
    std::vector<Accelerated> accelerators;
    AddAccelerators(root, accelerators);
    shortcuts.reserve(accelerators.size());
    for (const auto& [element, accelerator] : accelerators) {
        shortcuts.push_back({.Key = accelerator->Key,
                             .Modifiers = accelerator->Modifiers,
                             .Name = accelerator->Name.empty() ? NameOf(*element) : accelerator->Name});
    }
    for (const auto& back : kBackKeys) {
        if (IsIn(back, root)) {
            shortcuts.push_back({.Key = back.key,
                                 .Modifiers = back.modifiers,
                                 .Name = loader->GetString(u"ShortcutBack/Text")});
        }
    }
    for (const auto& gesture : kGestureKeys) {
        if (!gesture.resource.empty()) {
            shortcuts.push_back({.Key = gesture.key,
                                 .Modifiers = gesture.modifiers,
                                 .Name = loader->GetString(std::u16string(gesture.resource))});
        }
    }
    for (auto* const element : TabOrder(root)) {
        if (const auto* const button = dynamic_cast<Button*>(element);
            button != nullptr && button->AccessKey() != 0) {
            shortcuts.push_back(
                {.Modifiers = kMenu, .Character = button->AccessKey(), .Name = NameOf(*button)});
        }
    }
    return shortcuts;
}

KeyResponse Keyboard::KeyDown(UIElement& root, UIElement* focused, const KeyPress& press) {
    m_chosen.reset();
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
    if (const auto gesture = GestureOf(focused, press); gesture != TextGesture::None) {
        return {.Gesture = gesture};
    }
    if (InvokeShortcut(root, press, repeats)) {
        return {.Handled = true};
    }
    if (auto* const button =
            press.Modifiers == kMenu ? ButtonWithAccessKey(root, press.Characters) : nullptr) {
        return {.Handled = true, .Press = repeats ? nullptr : button};
    }
    if (isHandled) {
        // The window shows the access keys while Alt is held.
        return {.Handled = press.Key != VirtualKey::Menu};
    }
    if (press.Key == VirtualKey::Tab && !HasModifier(press.Modifiers, kMenu) &&
        !HasModifier(press.Modifiers, VirtualKeyModifiers::Windows)) {
        return MoveFocus(root, focused, HasModifier(press.Modifiers, kShift));
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

UIElement* Keyboard::ContentChanged(UIElement& root, const UIElement* focused) {
    if (focused == nullptr) {
        m_stale = m_held;
    } else if (focused != m_chosen.lock().get()) {
        return nullptr;
    }
    auto* const first = FirstFocus(root);
    m_chosen = first != nullptr ? first->weak_from_this() : std::weak_ptr<UIElement>();
    return first != focused ? first : nullptr;
}

void Keyboard::ReleaseAll() {
    m_held.clear();
    m_stale.clear();
}

}  // namespace platform
