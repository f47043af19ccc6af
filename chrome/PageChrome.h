#pragma once

#include <memory>

#include "chrome/CustomTitleBar.h"

namespace Kelvane {

/// Extends the view into the window's title bar and, when the page has no `titleBar` yet, makes one the
/// page's content, with the page's own content in it. `ring` tells whether the ring stays as the title bar's
/// markup has it, or is stopped.
enum class TitleBarRing { AsInMarkup, Stopped };
void WrapInTitleBar(platform::Page& page, std::shared_ptr<CustomTitleBar>& titleBar,
                    TitleBarRing ring = TitleBarRing::AsInMarkup);

/// Gives the page its own content back and drops `titleBar`, which is returned; null when there was none.
std::shared_ptr<CustomTitleBar> UnwrapFromTitleBar(platform::Page& page,
                                                   std::shared_ptr<CustomTitleBar>& titleBar);

}  // namespace Kelvane
