#pragma once

#include <string>
#include <string_view>

#include "platform/core/Provided.h"
#include "platform/core/UserInterfaceThread.h"

namespace platform {

/// What the clipboard needs of a backend. User-interface thread.
class ClipboardOwner {
  public:
    virtual ~ClipboardOwner() = default;

    /// Throws a platform exception when there is no clipboard.
    virtual void SetClipboardText(std::u16string_view text) = 0;
};

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
        Provided<ClipboardOwner>::Current().SetClipboardText(content.Text());
    }
};

}  // namespace platform
