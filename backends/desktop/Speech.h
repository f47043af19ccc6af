#pragma once

#include <memory>
#include <string>

#include "platform/media/SpeechEngine.h"

namespace desktop {

/// Speech by espeak-ng, sound by PulseAudio's protocol. `language` is the user's (BCP 47). One a process at a
/// time: the speech library is one object.
std::unique_ptr<platform::SpeechEngine> NewSpeechEngine(std::u16string language);

}  // namespace desktop
