#pragma once

// A world with a screen: GTK 4, the session bus, speech by espeak-ng, sound by PulseAudio's protocol. Only
// main includes this; nothing of the toolkit shows.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/world/World.h"

namespace desktop {

struct Options {
    /// What the first start is reported with: the words of the command line, or one URI.
    std::vector<std::string> words;
    /// Hand a start to the program that runs already in this session. Otherwise always a program of its own.
    bool singleInstance = true;
    /// Started by the session bus: begin with a prelaunch and wait for a start.
    bool background = false;
};

/// Readies the toolkit; false when there is no display to show a window on, and then nothing has been
/// written. Call it first in the process, before any other thread runs: it changes environment variables.
/// Those that are about drawing are put back; without a session bus, those that keep the toolkit from looking
/// for one stay. Throws WrongUsage for an unknown KELVANE_COLOR_SCHEME.
bool DisplayAvailable();

class DesktopWorld : public platform::World {
  public:
    /// User-interface thread. Writes what the window shows as PNG to `path`, as soon as all changes made so
    /// far have been drawn; then calls `done` on the user-interface thread, with an error in words or an
    /// empty text.
    virtual void SavePicture(std::string path, std::function<void(std::string error)> done) = 0;
};

/// Only after DisplayAvailable() said true.
std::unique_ptr<DesktopWorld> CreateDesktopWorld(Options options);

}  // namespace desktop
