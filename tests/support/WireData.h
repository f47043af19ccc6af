#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/rpc/Pdu.h"

namespace platform::rpc::test {

/// The rows of wire.txt that begin with `kind`, cut into fields; the kind is field 0.
std::vector<std::vector<std::string>> Rows(std::string_view kind);

/// A request or response in one fragment.
Bytes MessageOf(const CallHeader& header, ByteView stub);

}  // namespace platform::rpc::test
