#pragma once

// The service's interface: identity, procedure numbers, memory and callback routines of the client. Used by
// RpcClient, by services and by tests. HotkeyRpc.cpp holds the table, HotkeyRpc.idl is the same for people.

#include <cstddef>
#include <cstdint>

#include "platform/rpc/Binding.h"
#include "platform/rpc/Interface.h"

namespace Kelvane {

/// The interface's context handle: opaque, null while no context is open.
using RPC_CONTEXT = platform::rpc::RPC_CONTEXT_HANDLE;

inline constexpr char16_t kProtocolSequence[] = u"ncalrpc";
inline constexpr char16_t kEndpoint[] = u"HotkeyRpcEndpoint";

namespace procedure {
enum Number : unsigned {
    OpenContext,
    CloseContext,
    StartMSInfoApp,
    StartUSBC,
    ReadSysInfo,
    ReadUSBTypeCInfo,
    WriteTextProc6,
    ReadTextProc7,
    ExchangeTextProc8,
    WriteTwoTextsProc9,
    ReadTextProc10,
    CommandWithCallbackProc11,
    SetUEFIFlag,
    Count
};
}  // namespace procedure

/// The interface as the stubs read it. Constant.
extern const platform::rpc::InterfaceDescription kHotkeyRpc;

/// Memory of the texts that the service returns, zero-filled; null when there is none. Any thread.
void* midl_user_allocate(std::size_t bytes);
void midl_user_free(void* block);

/// The function that a callback address stands for.
using CallbackFunction = void (*)(std::int32_t code, const char16_t* text);

/// The interface's callback, on the thread that is in the outer call. Calls the function at `address` unless
/// that is zero. The only address that a client sends is the one that it gives to CommandWithCallbackProc11.
void CmdCallback(std::int32_t code, const char16_t* text, std::int64_t address);

}  // namespace Kelvane
