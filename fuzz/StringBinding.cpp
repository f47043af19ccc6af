// String bindings of the remote calls: any text as a whole, and composed of any parts. The first byte picks
// which; parts are a line each.

#include "fuzz/Target.h"
#include "platform/core/Lines.h"
#include "platform/core/Text.h"
#include "platform/rpc/Binding.h"

using namespace platform::rpc;

namespace {

/// The status that a binding from this text ends with.
Status StatusOf(const char16_t* text) {
    RPC_BINDING_HANDLE binding = nullptr;
    const auto status = RpcBindingFromStringBindingW(text, &binding);
    fuzz::Require((status == status::kOk) == (binding != nullptr));
    char16_t* name = nullptr;
    const auto unconnected = RpcBindingInqAuthInfoW(binding, &name);
    fuzz::Require(unconnected ==
                  (binding != nullptr ? status::kBindingHasNoAuthentication : status::kInvalidBinding));
    fuzz::Require(RpcBindingFree(&binding) ==
                  (status == status::kOk ? status::kOk : status::kInvalidBinding));
    return status;
}

/// Whatever characters its parts have, a composed text names the same parts.
void CheckComposed(const std::vector<std::u16string>& parts) {
    char16_t* composed = nullptr;
    fuzz::Require(RpcStringBindingComposeW(parts[0].c_str(), parts[1].c_str(), parts[2].c_str(),
                                           parts[3].c_str(), parts[4].c_str(), &composed) == status::kOk);
    const auto status = StatusOf(composed);
    RpcStringFreeW(&composed);
    fuzz::Require(composed == nullptr && status != status::kInvalidStringBinding);
    const bool isLocal = parts[1] == u"ncalrpc";
    const bool hasMore = !parts[0].empty() || !parts[2].empty() || !parts[4].empty();
    fuzz::Require((status == status::kCannotSupport) == (isLocal && hasMore));
    fuzz::Require(status != status::kOk || isLocal);
}

}  // namespace

void fuzz::Run(std::string_view input) {
    const bool isNull = input.size() <= 1;
    if (fuzz::TakeByte(input) % 2 == 0) {
        StatusOf(isNull ? nullptr : platform::FromUtf8(input).c_str());
        return;
    }
    std::vector<std::u16string> parts;
    for (const auto line : platform::Lines(input)) {
        parts.push_back(platform::FromUtf8(line.substr(0, line.find('\0'))));
    }
    parts.resize(5);
    CheckComposed(parts);
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds(1, std::string(1, '\0'));
    for (const std::string_view text :
         {"ncalrpc:[HotkeyRpcEndpoint]", "ncalrpc:", "ncacn_ip_tcp:host[80]",
          "x:", "ncalrpc:[endpoint=a,Security=b]", "uuid@ncalrpc:host[a]", "ncalrpc:[a]x", "ncalrpc:[a",
          "ncalrpc", "ncalrpc:[a\\]b]", "ncalrpc:[a\\", "ncalrpc:[../a]"}) {
        seeds.push_back('\0' + std::string(text));
    }
    for (const std::string_view text :
         {"\nncalrpc\n\nHotkeyRpcEndpoint", "uuid\nncalrpc\nhost\na\noption", "\nncacn_np\n\n\n\\pipe", "\nx",
          "\nncalrpc\n\n@:[],\\", "\nncalrpc\n\n\noption"}) {
        seeds.push_back('\1' + std::string(text));
    }
    return seeds;
}
