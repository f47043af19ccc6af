#pragma once

#include <memory>
#include <string>

#include "platform/media/SpeechEngine.h"

namespace desktop {

/// Speech by espeak-ng, sound by PulseAudio's protocol. `language` is the user's (BCP 47). One in the life of
/// a process: see SpeechLibrary.
std::unique_ptr<platform::SpeechEngine> NewSpeechEngine(std::u16string language);

}  // namespace desktop
