#pragma once

// How the clients of the service's interfaces reach it, and how a failed call becomes a number. Any thread.

#include <string>

#include "platform/rpc/Binding.h"
#include "platform/rpc/Status.h"

namespace Kelvane {

/// Makes a binding to the service's endpoint, which does not connect yet. The caller releases `*binding` with
/// RpcBindingFree.
platform::rpc::Status BindToService(platform::rpc::RPC_BINDING_HANDLE* binding) noexcept;

/// The name of the user whose process listens at the endpoint; empty when no call has reached one.
std::u16string ListenerName(platform::rpc::RPC_BINDING_HANDLE binding) noexcept;

/// Runs `body` and returns the status of what it threw, or 0.
template <typename Body>
platform::rpc::Status Guard(Body body) noexcept {
    try {
        body();
        return platform::rpc::status::kOk;
    } catch (const platform::rpc::RpcException& exception) {
        return exception.Status();
    } catch (...) {
        return platform::rpc::status::kCallFailed;
    }
}

}  // namespace Kelvane
