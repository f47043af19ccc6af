#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/core/Provided.h"
#include "platform/core/UserInterfaceThread.h"

namespace platform {

/// A message to the user beside the window, with a button or without.
struct ToastNotification {
    std::u16string Text{};
    /// Empty for no button.
    std::u16string ActionText{};
    /// What the button does, on the user-interface thread, as long as the program runs. After its end the
    /// button, where the desktop keeps it, opens the program.
    std::function<void()> Activated{};
};

/// What notifications need of a backend. User-interface thread.
class NotificationOwner {
  public:
    virtual ~NotificationOwner() = default;

    /// Shows `toast` in place of the one before; nothing happens where the desktop shows none. One without a
    /// text only takes the one before away.
    virtual void ShowNotification(ToastNotification toast) = 0;
};

/// The program's one notification. User-interface thread.
class ToastNotificationManager {
  public:
    static void Show(ToastNotification toast) {
        VerifyUserInterfaceThread();
        Provided<NotificationOwner>::Current().ShowNotification(std::move(toast));
    }
    static void Clear() { Show({}); }
};

}  // namespace platform
