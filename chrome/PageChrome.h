#pragma once

// What the pages do alike with the title bar that wraps them. User-interface thread only.

#include <functional>
#include <memory>
#include <string_view>

#include "chrome/CustomTitleBar.h"
#include "logging/Trace.h"

namespace Kelvane {

/// A page that leads back to another one. Escape, the back keys and the mouse's back button do what its
/// button for that does.
class ReturningPage {
  public:
    virtual void Return() = 0;

  protected:
    ~ReturningPage() = default;
};

/// Whether the ring of a new title bar stays as the markup has it.
enum class TitleBarRing { AsInMarkup, Stopped };

/// Extends the view into the window's title bar and, when the page has no `titleBar` yet, makes one the
/// page's content, with the page's own content in it.
void WrapInTitleBar(platform::Page& page, std::shared_ptr<CustomTitleBar>& titleBar,
                    TitleBarRing ring = TitleBarRing::AsInMarkup);

/// Gives the page its own content back and drops `titleBar`, which is returned; null when there was none.
std::shared_ptr<CustomTitleBar> UnwrapFromTitleBar(platform::Page& page,
                                                   std::shared_ptr<CustomTitleBar>& titleBar);

/// Stops the ring of a page's title bar, unless the page no longer has one.
void StopRing(const std::shared_ptr<CustomTitleBar>& titleBar);

/// Leads the root frame back one page, when there is one, after `unwrap` has given the present page its own
/// content back. A window whose content is no frame is traced as `castingFailed`.
void GoBackFrom(const Trace& trace, std::u16string_view castingFailed, const std::function<void()>& unwrap);

}  // namespace Kelvane
