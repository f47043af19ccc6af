#pragma once

// The details interface: for each value its source, or the reason why there is none, as one JSON document,
// and the way back from a firmware request. At the same endpoint as HotkeyRpc. DetailsRpc.cpp holds the
// table, DetailsRpc.idl is the same for people, docs/details.md describes the document.

#include <cstdint>

#include "platform/rpc/Interface.h"

namespace Kelvane {

/// The most characters that ReadDetails returns, the terminating zero included.
inline constexpr std::int32_t kMaxDetailsCharacters = 32'000;

namespace details_procedure {
enum Number : unsigned { ReadDetails, CancelFirmwareRequest, Count };
}  // namespace details_procedure

/// The interface as the stubs read it. Constant.
extern const platform::rpc::InterfaceDescription kDetailsRpc;

}  // namespace Kelvane
