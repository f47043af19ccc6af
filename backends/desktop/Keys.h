#pragma once

#include <gdk/gdk.h>

#include "platform/xaml/Types.h"

namespace desktop {

/// The platform's number of a key; None for one that has none here.
platform::VirtualKey VirtualKeyOf(guint keyValue);

platform::VirtualKeyModifiers ModifiersOf(GdkModifierType state);

}  // namespace desktop
