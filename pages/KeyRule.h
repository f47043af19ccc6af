#pragma once

#include "platform/xaml/UIElement.h"

namespace Kelvane {

/// The key rule of the value texts: they swallow every key but Tab, which moves the focus on. Returns whether
/// the key is Tab.
inline bool SwallowAllButTab(platform::KeyRoutedEventArgs& args) {
    const bool isTab = platform::NameOf(args.Key) == u"Tab";
    if (!isTab) {
        args.Handled = true;
    }
    return isTab;
}

}  // namespace Kelvane
