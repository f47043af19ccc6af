#pragma once

#include <memory>

#include "logging/Trace.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

/// The window of the calling thread, for a step that needs one; null where there is none, which is traced.
inline std::shared_ptr<platform::CoreWindow> WindowOfThread(const Trace& trace) {
    auto window = platform::CoreWindow::GetForCurrentThread();
    if (!window) {
        trace.Error(u"GetForCurrentThread() = NULL");
    }
    return window;
}

}  // namespace Kelvane
