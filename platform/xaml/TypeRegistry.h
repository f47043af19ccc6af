#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string_view>

namespace platform {

class UIElement;

/// The page and control types that markup and frames create by name. Registered once, before the application
/// starts; read on the user-interface thread.
using TypeFactory = std::function<std::shared_ptr<UIElement>()>;

/// A second registration of the same full name ("Kelvane.MainPage") replaces the first.
void RegisterType(std::u16string_view fullName, TypeFactory factory);

/// Creates an element of a registered type; throws a platform exception for a name that is not known, for a
/// type that is just being created (it would contain itself without end), and when markup could not be loaded
/// during that, even if the type's constructor caught that exception. User-interface thread.
std::shared_ptr<UIElement> ActivateType(std::u16string_view fullName);

/// For the markup reader: makes the ActivateType in progress, if there is one, fail with `failure`. The first
/// failure counts. User-interface thread.
void FailActivation(std::exception_ptr failure);

}  // namespace platform
