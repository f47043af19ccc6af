#include "service/RpcClient.h"

#include <algorithm>

#include "platform/core/DebugOutput.h"
#include "platform/core/Text.h"
#include "service/ServiceBinding.h"

namespace Kelvane {

using platform::OutputDebugStringW;
using platform::rpc::NdrClientCall3;
using platform::rpc::Status;

/// A text that the service returns, and the cell that receives the pointer to it.
struct RpcClient::TextReply {
    TextReply() : Cell(static_cast<char16_t**>(midl_user_allocate(sizeof(char16_t*)))) {}
    TextReply(const TextReply&) = delete;
    TextReply& operator=(const TextReply&) = delete;
    ~TextReply() {
        if (Cell == nullptr) {
            return;
        }
        if (*Cell != nullptr) {
            midl_user_free(*Cell);
        }
        midl_user_free(Cell);
    }

    char16_t** const Cell;
    std::int32_t Length = 0;
};

/// What a read writes to the debugger output; null for nothing.
struct RpcClient::ReadTraces {
    const char16_t* CopyFailed;
    const char16_t* Contents;
};

std::int64_t RpcClient::Initialize() noexcept {
    if (m_hContext != nullptr) {
        return 1;
    }
    if (m_hBinding != nullptr) {
        platform::rpc::RpcBindingFree(&m_hBinding);
    }
    auto status = static_cast<std::int32_t>(BindToService(&m_hBinding));
    if (status != 0) {
        return status;
    }
    if (m_hBinding != nullptr) {
        status = static_cast<std::int32_t>(Guard([this] {
            NdrClientCall3(kHotkeyRpc, procedure::OpenContext, {m_hBinding, &m_hContext});
        }));
    }
    return status;
}

std::int32_t RpcClient::StartMSInfoApp() noexcept {
    if (m_hContext == nullptr) {
        return 0;
    }
    return static_cast<std::int32_t>(
        Guard([this] { NdrClientCall3(kHotkeyRpc, procedure::StartMSInfoApp, {m_hContext}); }));
}

std::int32_t RpcClient::StartUSBC() noexcept {
    return static_cast<std::int32_t>(
        Guard([this] { NdrClientCall3(kHotkeyRpc, procedure::StartUSBC, {m_hContext}); }));
}

std::int64_t RpcClient::ReadSysInfo(char16_t* destination, std::int32_t capacity, Status* copied) noexcept {
    OutputDebugStringW(u"Inside RpcClient::ReadSysInfo() ");
    if (destination == nullptr) {
        OutputDebugStringW(u"NULL == SysData");
        return -1;
    }
    return Read(procedure::ReadSysInfo, destination, capacity, copied,
                {.CopyFailed = u"Failed to copy pSysdata", .Contents = u"Sys Info = "});
}

std::int64_t RpcClient::ReadUSBTypeCInfo(char16_t* destination, std::int32_t capacity,
                                         Status* copied) noexcept {
    if (destination == nullptr) {
        return -1;
    }
    return Read(procedure::ReadUSBTypeCInfo, destination, capacity, copied,
                {.CopyFailed = u"Failed to copy USBTypeC Data", .Contents = nullptr});
}

std::int32_t RpcClient::SetUEFIFlag(Status* status) noexcept {
    OutputDebugStringW(u"Inside RpcClient::SetUEFIFlag() ");
    TextReply reply;
    if (reply.Cell == nullptr || m_hContext == nullptr) {
        return 1;
    }
    const Status result = Guard([&] { CallForText(procedure::SetUEFIFlag, reply); });
    if (status != nullptr) {
        *status = result;
    }
    return result == 0 ? 0 : 1;
}

RpcClient::~RpcClient() {
    if (m_hContext != nullptr) {
        // A failure has no one to report to; the service ends the context with the connection.
        Guard([this] { NdrClientCall3(kHotkeyRpc, procedure::CloseContext, {&m_hContext}); });
    }
    if (m_hBinding != nullptr) {
        platform::rpc::RpcBindingFree(&m_hBinding);
    }
}

void RpcClient::CallForText(procedure::Number number, TextReply& reply) {
    NdrClientCall3(kHotkeyRpc, number, {m_hContext, &reply.Length, reply.Cell});
}

std::int64_t RpcClient::Read(procedure::Number number, char16_t* destination, std::int32_t capacity,
                             Status* copied, const ReadTraces& traces) {
    TextReply reply;
    if (reply.Cell == nullptr || m_hContext == nullptr) {
        return -1;
    }
    if (const Status status = Guard([&] { CallForText(number, reply); }); status != 0) {
        return status;
    }
    if (*reply.Cell == nullptr) {
        return -1;
    }
    Status copy = platform::rpc::status::kOk;
    if (!platform::CopyText(destination, std::min(reply.Length, capacity), *reply.Cell)) {
        OutputDebugStringW(traces.CopyFailed);
        copy = reply.Length > capacity ? platform::rpc::status::kStringTooLong
                                       : platform::rpc::status::kBadStubData;
    }
    if (copied != nullptr) {
        *copied = copy;
    }
    if (traces.Contents != nullptr) {
        OutputDebugStringW(traces.Contents);
        OutputDebugStringW({destination, std::find(destination, destination + std::max(capacity, 0), u'\0')});
    }
    return 0;
}

}  // namespace Kelvane
