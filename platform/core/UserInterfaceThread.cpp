#include "platform/core/UserInterfaceThread.h"

#include "platform/core/Exception.h"

namespace platform {

namespace {
thread_local bool t_isUserInterfaceThread = false;
}

bool IsUserInterfaceThread() {
    return t_isUserInterfaceThread;
}

void VerifyUserInterfaceThread() {
    if (!t_isUserInterfaceThread) {
        throw Exception(result::kWrongThread,
                        u"The application called an interface that was marshalled for a different thread.");
    }
}

UserInterfaceThreadMark::UserInterfaceThreadMark() {
    t_isUserInterfaceThread = true;
}

UserInterfaceThreadMark::~UserInterfaceThreadMark() {
    t_isUserInterfaceThread = false;
}

}  // namespace platform
