#include "service/HotkeyRpc.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>

#include "platform/core/DebugOutput.h"
#include "platform/rpc/Ndr.h"

namespace Kelvane {

using namespace std::literals;

namespace {

using enum platform::rpc::Direction;
using enum platform::rpc::Kind;
using platform::rpc::CallValues;
using platform::rpc::Handle;
using platform::rpc::Procedure;
namespace flag = platform::rpc::context_flag;

constexpr std::uint8_t kOpens = flag::kThroughPointer | flag::kOut | flag::kAlways;
constexpr std::uint8_t kUses = flag::kIn | flag::kAlways | flag::kCannotBeNull;
constexpr std::uint8_t kCloses = kOpens | kUses;
static_assert(kOpens == 0xa4 && kCloses == 0xe5 && kUses == 0x45);

constexpr Procedure kProcedures[] = {
    {.Number = procedure::OpenContext, .Handle = Handle::Binding, .ContextFlags = kOpens},
    {.Number = procedure::CloseContext, .Handle = Handle::Context, .ContextFlags = kCloses},
    {.Number = procedure::StartMSInfoApp, .Handle = Handle::Context, .ContextFlags = kUses},
    {.Number = procedure::StartUSBC, .Handle = Handle::Context, .ContextFlags = kUses},
    {.Number = procedure::ReadSysInfo,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = Out}}}},
    {.Number = procedure::ReadUSBTypeCInfo,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = Out}}}},
    {.Number = procedure::WriteTextProc6,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = In}}}},  // never called
    {.Number = procedure::ReadTextProc7,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = Out}}}},  // never called
    {.Number = procedure::ExchangeTextProc8,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = In},
                     {.Kind = CountedText, .Direction = Out}}}},  // never called
    {.Number = procedure::WriteTwoTextsProc9,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = In},
                     {.Kind = CountedText, .Direction = In}}}},  // never called
    {.Number = procedure::ReadTextProc10,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = Out}}}},  // never called
    {.Number = procedure::CommandWithCallbackProc11,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = Long, .Direction = In},
                     {.Kind = CountedText, .Direction = In},
                     {.Kind = CountedText, .Direction = Out},
                     {.Kind = Hyper, .Direction = In}}}},  // never called
    {.Number = procedure::SetUEFIFlag,
     .Handle = Handle::Context,
     .ContextFlags = kUses,
     .Parameters = {{{.Kind = CountedText, .Direction = Out}}}},
};

constexpr Procedure kCallbacks[] = {
    {.Number = 0,
     .Parameters = {{{.Kind = Long, .Direction = In},
                     {.Kind = String, .Direction = In},
                     {.Kind = Hyper, .Direction = In}}}},
};

constexpr std::size_t kCallbackAddress = 3;

constexpr void (*kCallbackRoutines[])(const CallValues&, CallValues&) = {
    [](const CallValues& sent, CallValues& values) {
        const auto& [code, text, address, unused] = values.Parameters;
        // Only an address that the call in progress has sent is a function of this process. The calls without
        // that parameter have sent 0.
        if (address.Number != 0 && address.Number != sent.Parameters[kCallbackAddress].Number) {
            throw platform::rpc::RpcException(platform::rpc::status::kBadStubData);
        }
        CmdCallback(static_cast<std::int32_t>(code.Number), text.CopyString().c_str(), address.Number);
    },
};

constexpr bool NumbersAreIndexes(std::span<const Procedure> procedures) {
    for (std::size_t i = 0; i < procedures.size(); ++i) {
        if (procedures[i].Number != i) {
            return false;
        }
    }
    return true;
}
static_assert(std::size(kProcedures) == procedure::Count && NumbersAreIndexes(kProcedures));
static_assert(std::size(kCallbacks) == std::size(kCallbackRoutines) && NumbersAreIndexes(kCallbacks));

}  // namespace

constinit const platform::rpc::InterfaceDescription kHotkeyRpc{
    .Id = {{0x5535f280, 0x9677, 0x482b, {0x83, 0x28, 0xbd, 0x28, 0xe5, 0xa4, 0x64, 0x78}}, 1, 0},
    .Flags = platform::rpc::interface_flag::kHasMultipleTransferSyntaxes |
             platform::rpc::interface_flag::kHasCallbacks,
    .Procedures = kProcedures,
    .Callbacks = kCallbacks,
    .CallbackRoutines = kCallbackRoutines,
    .Allocate = midl_user_allocate,
    .Free = midl_user_free,
};

void* midl_user_allocate(std::size_t bytes) {
    platform::OutputDebugStringW(u"KELVANE midl_user_allocate"sv);
    void* const block = std::malloc(bytes);
    return block != nullptr ? std::memset(block, 0, bytes) : nullptr;
}

void midl_user_free(void* block) {
    platform::OutputDebugStringW(u"KELVANE midl_user_free"sv);
    std::free(block);
}

void CmdCallback(std::int32_t code, const char16_t* text, std::int64_t address) {
    if (address == 0) {
        return;
    }
    try {
        std::bit_cast<CallbackFunction>(address)(code, text);
    } catch (const std::exception&) {
        platform::OutputDebugStringW(u"CmdCallback failed with exception:");
    }
}

}  // namespace Kelvane
