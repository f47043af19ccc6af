#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "service/HotkeyRpc.h"

namespace bench {

/// A connection with an open context, for calls beneath RpcClient.
struct OpenedContext {
    /// Throws RpcException.
    explicit OpenedContext(const std::u16string& endpoint) : OpenedContext() {
        const std::u16string string = u"ncalrpc:[" + endpoint + u"]";
        if (const auto status = platform::rpc::RpcBindingFromStringBindingW(string.c_str(), &Binding);
            status != 0) {
            throw platform::rpc::RpcException(status);
        }
        platform::rpc::NdrClientCall3(Kelvane::kHotkeyRpc, Kelvane::procedure::OpenContext,
                                      {Binding, &Context});
    }
    ~OpenedContext() { platform::rpc::RpcBindingFree(&Binding); }
    OpenedContext(const OpenedContext&) = delete;
    OpenedContext& operator=(const OpenedContext&) = delete;

    /// Characters of the record that one call returns.
    std::size_t Read() const {
        std::int32_t length = 0;
        char16_t* text = nullptr;
        platform::rpc::NdrClientCall3(Kelvane::kHotkeyRpc, Kelvane::procedure::ReadSysInfo,
                                      {Context, &length, &text});
        if (text == nullptr) {
            throw std::runtime_error("the service returned no record");
        }
        Kelvane::midl_user_free(text);
        return static_cast<std::size_t>(length);
    }

    platform::rpc::RPC_BINDING_HANDLE Binding = nullptr;
    Kelvane::RPC_CONTEXT Context = nullptr;

  private:
    OpenedContext() = default;  ///< so that the binding is released where the other constructor throws
};

}  // namespace bench
