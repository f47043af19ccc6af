#pragma once

// The client's side by the platform's names: string bindings, binding handles, remote calls. Any thread;
// calls on one binding happen one after another.

#include <cstdint>
#include <initializer_list>
#include <variant>

#include "platform/rpc/Interface.h"
#include "platform/rpc/Status.h"

namespace platform::rpc {

class ClientConnection;
struct ClientContext;

/// A server that calls can be made to. Null is no binding.
using RPC_BINDING_HANDLE = ClientConnection*;

/// An open context; it belongs to its binding and ends with CloseContext or the binding. Null is no context.
using RPC_CONTEXT_HANDLE = ClientContext*;

/// Composes `objectUuid@protocolSequence:networkAddress[endpoint,options]`; null and empty parts are left
/// out, and characters with a meaning get a backslash. The caller releases `*stringBinding` with
/// RpcStringFreeW.
Status RpcStringBindingComposeW(const char16_t* objectUuid, const char16_t* protocolSequence,
                                const char16_t* networkAddress, const char16_t* endpoint,
                                const char16_t* options, char16_t** stringBinding) noexcept;

/// Makes a binding, which does not connect yet: the first call does. Protocol sequence "ncalrpc" only,
/// without object UUID, network address and options. Released with RpcBindingFree.
Status RpcBindingFromStringBindingW(const char16_t* stringBinding, RPC_BINDING_HANDLE* binding) noexcept;

/// Releases a composed string and sets `*string` to null.
Status RpcStringFreeW(char16_t** string) noexcept;

/// Closes the connection, ends the contexts opened on it, sets `*binding` to null. No call may be in
/// progress.
Status RpcBindingFree(RPC_BINDING_HANDLE* binding) noexcept;

/// The user whose process listens at the endpoint, by name, as the first connection found it. Status 1746 as
/// long as there was none. The caller releases `*serverPrincipalName` with RpcStringFreeW.
Status RpcBindingInqAuthInfoW(RPC_BINDING_HANDLE binding, char16_t** serverPrincipalName) noexcept;

/// One argument of a call. A counted text takes two: pointer to its length, pointer to the pointer to its
/// characters.
using RpcArgument = std::variant<RPC_BINDING_HANDLE, RPC_CONTEXT_HANDLE, RPC_CONTEXT_HANDLE*, std::int32_t,
                                 std::int64_t, std::int32_t*, char16_t**>;

/// Calls a procedure with its arguments in declared order, the handle first, and blocks until the answer is
/// there. Throws RpcException, and then no out argument has changed. Out texts are allocated with the
/// interface's `Allocate` and are the caller's; a zero follows the characters that were received. When the
/// thread pool is stopped, a call in progress fails with status 1818. A callback runs on the calling thread
/// and must not call on the same binding (status 1791).
void NdrClientCall3(const InterfaceDescription& interface, unsigned procedure,
                    std::initializer_list<RpcArgument> arguments);

}  // namespace platform::rpc
