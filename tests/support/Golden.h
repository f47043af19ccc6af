#pragma once

#include <string>

namespace tests {

/// Fails unless the golden file `path`, below tests/, holds `text`. With KELVANE_RENEW_GOLDEN in the
/// environment, as tests/renew-golden sets it, writes it there instead.
void ExpectGolden(const std::string& path, const std::string& text);

}  // namespace tests
