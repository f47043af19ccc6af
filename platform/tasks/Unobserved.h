#pragma once

#include <exception>

namespace platform {

/// Reports an exception that no caller can observe on the standard error stream. Any thread; never throws.
void ReportUnobserved(std::exception_ptr exception) noexcept;

}  // namespace platform
