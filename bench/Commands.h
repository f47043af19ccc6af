#pragma once

#include <span>

namespace bench {

/// One benchmark: prints one line of JSON and returns the exit status; 2 for arguments that it does not take.
using Command = int(std::span<char* const> arguments);

Command Flood;
Command Growth;
Command Log;
Command Rpc;
Command Start;

}  // namespace bench
