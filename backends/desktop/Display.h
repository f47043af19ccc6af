#pragma once

namespace desktop {

/// Readies the toolkit; false when there is no display to show a window on, and then nothing has been
/// written. Call it first in the process, before any other thread runs: it changes environment variables.
/// Those that are about drawing are put back; without a session bus, those that keep the toolkit from looking
/// for one stay. Throws WrongUsage for an unknown KELVANE_COLOR_SCHEME.
bool DisplayAvailable();

}  // namespace desktop
