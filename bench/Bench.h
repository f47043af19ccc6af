#pragma once

// The subcommands of kelvane-bench. Each gets its own arguments, prints one line of JSON to the standard
// output, and returns the exit status: 0, 1 for a failure, 2 for wrong arguments. May throw std::exception.

#include <span>

namespace bench {

int Rpc(std::span<char* const> arguments);

}  // namespace bench
