#pragma once

// A world with a screen: GTK 4, the session bus, speech by espeak-ng, sound by PulseAudio's protocol. Only
// main includes this; nothing of the toolkit shows.

#include <functional>
#include <memory>
#include <string>

#include "backends/desktop/DesktopOptions.h"
#include "platform/world/World.h"

namespace desktop {

class DesktopWorld : public platform::World {
  public:
    /// User-interface thread. Writes what the window shows as PNG to `path`, as soon as all changes made so
    /// far have been drawn; then calls `done` on the user-interface thread, with an error in words or an
    /// empty text.
    virtual void SavePicture(std::string path, std::function<void(std::string error)> done) = 0;
};

/// Only after DisplayAvailable() said true.
std::unique_ptr<DesktopWorld> CreateDesktopWorld(DesktopOptions options);

}  // namespace desktop
