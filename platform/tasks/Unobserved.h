#pragma once

#include <exception>

namespace platform {

/// Reports an exception that nobody will ever see on the standard error stream. Any thread; never throws.
void ReportUnobserved(std::exception_ptr exception) noexcept;

}  // namespace platform
