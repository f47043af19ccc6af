#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/rpc/Pdu.h"
#include "service/HotkeyRpc.h"

namespace platform::rpc::test {

/// The rows of wire.txt that begin with `kind`, cut into fields; the kind is field 0.
std::vector<std::vector<std::string>> Rows(std::string_view kind);

Bytes Copied(ByteView bytes);

/// A client's first message: HotkeyRpc in one transfer syntax.
Bytes BindOf(const SyntaxId& syntax, std::uint32_t group = 0, std::uint16_t maxReceive = kFragmentSize);

/// A request or response.
Bytes MessageOf(const CallHeader& header, ByteView stub, std::size_t fragmentSize = kFragmentSize);

}  // namespace platform::rpc::test
