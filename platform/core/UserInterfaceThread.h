#pragma once

namespace platform {

/// True on the thread that owns the window and its elements. One thread of the process at most is marked.
bool IsUserInterfaceThread();

/// Refuses, with the platform's wrong-thread error (0x8001010E), every thread but the user-interface thread.
void VerifyUserInterfaceThread();

/// Marks the calling thread as the user-interface thread while it lives. The dispatcher's owner holds one.
class UserInterfaceThreadMark {
  public:
    UserInterfaceThreadMark();
    ~UserInterfaceThreadMark();
    UserInterfaceThreadMark(const UserInterfaceThreadMark&) = delete;
    UserInterfaceThreadMark& operator=(const UserInterfaceThreadMark&) = delete;
};

}  // namespace platform
