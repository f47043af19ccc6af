#pragma once

// Speaks the details interface, on a connection of its own, so that a slow answer holds up no call of
// RpcClient. Any worker thread; each call blocks until the service answers. Has no lock. Nothing throws.

#include <string>

#include "service/DetailsRpc.h"
#include "service/ServiceBinding.h"

namespace Kelvane {

class DetailsClient {
  public:
    DetailsClient() = default;
    ~DetailsClient();
    DetailsClient(const DetailsClient&) = delete;
    DetailsClient& operator=(const DetailsClient&) = delete;

    /// 0 and the document in `json`; 1717: the service has no such interface; 1743: the document is longer
    /// than the interface allows; 1783: there is none, or it has no terminating zero; else the status of the
    /// call.
    platform::rpc::Status ReadDetails(std::u16string& json) noexcept;

    /// 0 when the firmware request is taken back or there was none, else the status of the call.
    platform::rpc::Status CancelFirmwareRequest() noexcept;

    /// See ListenerName(RPC_BINDING_HANDLE).
    std::u16string ListenerName() const noexcept { return Kelvane::ListenerName(m_binding); }

  private:
    platform::rpc::Status Bind() noexcept;

    platform::rpc::RPC_BINDING_HANDLE m_binding = nullptr;
};

}  // namespace Kelvane
