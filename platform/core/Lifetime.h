#pragma once

#include <exception>

namespace platform {

/// How the lower areas end the running application. Any thread.
class Lifetime {
  public:
    virtual ~Lifetime() = default;

    /// Ends the application in good order.
    virtual void Exit() = 0;

    /// Ends the application with exit status 1 for a failure that nothing handled, and reports the first such
    /// failure.
    virtual void Fail(const std::exception& failure) = 0;
};

}  // namespace platform
