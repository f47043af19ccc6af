#pragma once

#include "platform/core/Exception.h"

namespace platform {

/// An interface that the world in use implements for one area of the layer. The area asks for it by
/// `Current`, so that it need not know the world. Create and destroy it while no other thread uses the layer;
/// `provided` must outlive it.
template <typename Interface>
class Provided {
  public:
    explicit Provided(Interface& provided) { s_current = &provided; }
    ~Provided() { s_current = nullptr; }
    Provided(const Provided&) = delete;
    Provided& operator=(const Provided&) = delete;

    /// Any thread. Throws a platform exception when no world is in use.
    static Interface& Current() {
        if (s_current == nullptr) {
            throw Exception(result::kIllegalMethodCall, u"The application has not been started");
        }
        return *s_current;
    }

  private:
    inline static Interface* s_current = nullptr;
};

}  // namespace platform
