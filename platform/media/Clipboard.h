#pragma once

#include <string>

#include "platform/core/UserInterfaceThread.h"
#include "platform/core/World.h"

namespace platform {

/// What is handed to the clipboard.
class DataPackage {
  public:
    void SetText(std::u16string text) { m_text = std::move(text); }
    const std::u16string& Text() const { return m_text; }

  private:
    std::u16string m_text;
};

/// The user's clipboard. User-interface thread.
class Clipboard {
  public:
    /// Throws a platform exception when there is no clipboard.
    static void SetContent(const DataPackage& content) {
        VerifyUserInterfaceThread();
        CurrentWorld().SetClipboardText(content.Text());
    }
};

}  // namespace platform
