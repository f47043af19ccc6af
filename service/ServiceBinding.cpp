#include "service/ServiceBinding.h"

#include "service/HotkeyRpc.h"

namespace Kelvane {

platform::rpc::Status BindToService(platform::rpc::RPC_BINDING_HANDLE* binding) noexcept {
    char16_t* stringBinding = nullptr;
    auto status = platform::rpc::RpcStringBindingComposeW(nullptr, kProtocolSequence, nullptr, kEndpoint,
                                                          nullptr, &stringBinding);
    if (status != platform::rpc::status::kOk) {
        return status;
    }
    status = platform::rpc::RpcBindingFromStringBindingW(stringBinding, binding);
    const auto freed = platform::rpc::RpcStringFreeW(&stringBinding);
    return status != platform::rpc::status::kOk ? status : freed;
}

std::u16string ListenerName(platform::rpc::RPC_BINDING_HANDLE binding) noexcept {
    char16_t* name = nullptr;
    if (platform::rpc::RpcBindingInqAuthInfoW(binding, &name) != platform::rpc::status::kOk) {
        return {};
    }
    std::u16string copy;
    Guard([&] { copy = name; });
    platform::rpc::RpcStringFreeW(&name);
    return copy;
}

}  // namespace Kelvane
