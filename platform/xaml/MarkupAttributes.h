#pragma once

#include <string>
#include <string_view>

#include "platform/xaml/FrameworkElement.h"

namespace platform::markup {

/// Why a value cannot be used; the reader adds file and line.
struct BadValue {
    std::string Problem;
};

/// Sets the attribute on the element. False when this kind of element has no such attribute; throws BadValue.
bool SetAttribute(FrameworkElement& element, std::string_view name, const std::string& value);

/// The same for an accelerator: Key="H" Modifiers="Control,Shift".
bool SetAttribute(KeyboardAccelerator& accelerator, std::string_view name, const std::string& value);

/// The name in "{x:Bind Name}"; empty for any other value.
std::string_view BoundName(std::string_view value);

}  // namespace platform::markup
