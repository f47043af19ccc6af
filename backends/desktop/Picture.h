#pragma once

#include <functional>
#include <string>

namespace desktop {

class DesktopWindow;

/// See DesktopWorld::SavePicture. `window` must outlive the call of `done`.
void SavePicture(DesktopWindow& window, std::string path, std::function<void(std::string error)> done);

}  // namespace desktop
