#include "service/DetailsClient.h"

#include <memory>

namespace Kelvane {

namespace status = platform::rpc::status;
using platform::rpc::NdrClientCall3;
using platform::rpc::Status;

DetailsClient::~DetailsClient() {
    if (m_binding != nullptr) {
        platform::rpc::RpcBindingFree(&m_binding);
    }
}

Status DetailsClient::Bind() noexcept {
    return m_binding != nullptr ? status::kOk : BindToService(&m_binding);
}

Status DetailsClient::ReadDetails(std::u16string& json) noexcept {
    if (const Status bound = Bind(); bound != status::kOk) {
        return bound;
    }
    return Guard([&] {
        std::int32_t length = 0;
        char16_t* text = nullptr;
        NdrClientCall3(kDetailsRpc, details_procedure::ReadDetails, {m_binding, &length, &text});
        const std::unique_ptr<char16_t, decltype(kDetailsRpc.Free)> owner(text, kDetailsRpc.Free);
        if (length > kMaxDetailsCharacters) {
            throw platform::rpc::RpcException(status::kStringTooLong);
        }
        if (text == nullptr || length < 1 || text[length - 1] != u'\0') {
            throw platform::rpc::RpcException(status::kBadStubData);
        }
        json.assign(text, static_cast<std::size_t>(length) - 1);
    });
}

Status DetailsClient::CancelFirmwareRequest() noexcept {
    if (const Status bound = Bind(); bound != status::kOk) {
        return bound;
    }
    return Guard([&] { NdrClientCall3(kDetailsRpc, details_procedure::CancelFirmwareRequest, {m_binding}); });
}

}  // namespace Kelvane
