#pragma once

// The application's only speaker of the service's interface. Any worker thread; each call blocks until the
// service answers. Has no lock: the view model sees to it that nothing else runs while a client is destroyed.
// Turns every failure into a number; nothing throws.

#include <cstddef>
#include <cstdint>
#include <string>

#include "service/HotkeyRpc.h"
#include "service/ServiceBinding.h"

namespace Kelvane {

class RpcClient {
  public:
    RpcClient() = default;
    virtual ~RpcClient();
    RpcClient(const RpcClient&) = delete;
    RpcClient& operator=(const RpcClient&) = delete;

    /// 0: connected, 1: a context was open already, else the status of what failed.
    std::int64_t Initialize() noexcept;

    /// 0, also without a context; else the status of the call.
    std::int32_t StartMSInfoApp() noexcept;

    /// 0, or the status of the call.
    std::int32_t StartUSBC() noexcept;

    /// Copies the record and its zero into `destination`, which has room for `capacity` characters; a record
    /// that does not fit leaves it empty. 0: read, -1: no context, memory, destination or text, else the
    /// status of the call. `*copied` is set when the result is 0: 0 when the record was copied, else 1743 for
    /// one that is too long, 1783 for one without its zero.
    std::int64_t ReadSysInfo(char16_t* destination, std::int32_t capacity,
                             platform::rpc::Status* copied = nullptr) noexcept;
    std::int64_t ReadUSBTypeCInfo(char16_t* destination, std::int32_t capacity,
                                  platform::rpc::Status* copied = nullptr) noexcept;

    /// 0: the call went through, 1: it did not; `*status`, if given, receives the call's status, if there was
    /// a call.
    std::int32_t SetUEFIFlag(platform::rpc::Status* status = nullptr) noexcept;

    /// The name of the user whose process listens at the endpoint; empty when Initialize has reached none.
    std::u16string ListenerName() const noexcept { return Kelvane::ListenerName(m_hBinding); }

  private:
    struct TextReply;
    struct ReadTraces;

    void CallForText(procedure::Number number, TextReply& reply);
    std::int64_t Read(procedure::Number number, char16_t* destination, std::int32_t capacity,
                      platform::rpc::Status* copied, const ReadTraces& traces);

    platform::rpc::RPC_BINDING_HANDLE m_hBinding = nullptr;
    RPC_CONTEXT m_hContext = nullptr;
};

}  // namespace Kelvane
