#pragma once

#include <gdk/gdk.h>

#include "platform/xaml/Keyboard.h"

namespace desktop {

/// A key event of the toolkit's: the key's value in the layout in use, its code, and what is held with it.
platform::KeyPress KeyPressOf(guint keyValue, guint code, GdkModifierType state);

}  // namespace desktop
