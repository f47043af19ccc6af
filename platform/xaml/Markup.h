#pragma once

// Reads the XAML files that describe pages and controls. It knows the elements that the application uses, and
// no more: an unknown element, attribute, handler or value, or a missing name, is a platform exception that
// says file and line.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/core/Exception.h"
#include "platform/xaml/ContentControl.h"

namespace platform {

/// What the class of a page or control gives to its markup, by the names that the markup uses.
struct ComponentCode {
    template <typename Args>
    using Handlers = std::map<std::u16string_view, std::function<void(UIElement&, Args)>>;

    /// For Click and Loaded.
    Handlers<const RoutedEventArgs&> EventHandlers{};
    /// For KeyDown and KeyUp.
    Handlers<KeyRoutedEventArgs&> KeyHandlers{};
    /// For Invoked of a KeyboardAccelerator.
    Handlers<KeyboardAcceleratorInvokedEventArgs&> AcceleratorHandlers{};
    /// Properties that Height="{x:Bind ...}" and Padding="{x:Bind ...}" may name. They are read at loading
    /// and at each RefreshBindings.
    std::map<std::u16string_view, std::function<double()>> Numbers{};
    std::map<std::u16string_view, std::function<Thickness()>> Thicknesses{};
};

/// A member function as a handler; the owner outlives its elements.
template <typename Owner, typename Args>
std::function<void(UIElement&, Args)> Handler(Owner* owner, void (Owner::*method)(UIElement&, Args)) {
    return [owner, method](UIElement& sender, Args args) { (owner->*method)(sender, args); };
}

/// The named elements of a component that has been loaded.
class NamedElements {
  public:
    NamedElements(std::string file,
                  std::map<std::u16string, std::shared_ptr<UIElement>, std::less<>> elements)
        : m_file(std::move(file)), m_elements(std::move(elements)) {}

    /// The element with this x:Name; fails as LoadComponent does when there is none, or when it is of another
    /// kind.
    template <typename Element>
    std::shared_ptr<Element> Find(std::u16string_view name) const {
        auto element = FindIfPresent<Element>(name);
        if (!element) {
            Fail(name, u"is missing");
        }
        return element;
    }

    /// The same for an element that the markup may leave out: null when there is none.
    template <typename Element>
    std::shared_ptr<Element> FindIfPresent(std::u16string_view name) const {
        const auto found = FindElement(name);
        auto element = std::dynamic_pointer_cast<Element>(found);
        if (found && !element) {
            Fail(name, u"is of another kind than needed");
        }
        return element;
    }

  private:
    /// Null when there is none.
    std::shared_ptr<UIElement> FindElement(std::u16string_view name) const;
    [[noreturn]] void Fail(std::u16string_view name, std::u16string_view problem) const;

    std::string m_file;
    std::map<std::u16string, std::shared_ptr<UIElement>, std::less<>> m_elements;
};

/// Fills `root` with what the markup at `uri` ("ms-appx:///MainPage.xaml") describes. The markup's root
/// element stands for `root` itself. A failure also fails the page that is being created (ActivateType),
/// whether or not its code catches the exception: a page is never shown with a part missing. User-interface
/// thread.
NamedElements LoadComponent(ContentControl& root, std::u16string_view uri, const ComponentCode& code);

}  // namespace platform
