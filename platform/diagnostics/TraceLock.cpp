#include "platform/diagnostics/TraceLock.h"

namespace platform {

TraceMutex& TraceLock() {
    static TraceMutex mutex;
    return mutex;
}

}  // namespace platform
