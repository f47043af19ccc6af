#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "platform/core/UserName.h"
#include "platform/rpc/Binding.h"
#include "platform/rpc/ClientConnection.h"
#include "platform/rpc/Socket.h"

namespace platform::rpc {

namespace {

constexpr std::u16string_view kSpecial = u"\\@:[],";

void AppendEscaped(std::u16string& out, const char16_t* part) {
    for (const char16_t unit : std::u16string_view(part == nullptr ? u"" : part)) {
        if (kSpecial.find(unit) != std::u16string_view::npos) {
            out += u'\\';
        }
        out += unit;
    }
}

bool IsEmpty(const char16_t* part) {
    return part == nullptr || *part == 0;
}

struct Parts {
    std::u16string ObjectUuid, ProtocolSequence, NetworkAddress, Endpoint, Options;
};

/// Takes characters up to the first one of `ends` that has no backslash; that one stays.
std::u16string TakePart(std::u16string_view& rest, std::u16string_view ends) {
    std::u16string part;
    while (!rest.empty() && ends.find(rest.front()) == std::u16string_view::npos) {
        if (rest.front() == u'\\') {
            rest.remove_prefix(1);
            if (rest.empty()) {
                throw RpcException(status::kInvalidStringBinding);
            }
        }
        part += rest.front();
        rest.remove_prefix(1);
    }
    return part;
}

bool Skip(std::u16string_view& rest, char16_t unit) {
    if (!rest.starts_with(unit)) {
        return false;
    }
    rest.remove_prefix(1);
    return true;
}

Parts Parse(std::u16string_view rest) {
    Parts parts;
    parts.ProtocolSequence = TakePart(rest, u"@:[");
    if (Skip(rest, u'@')) {
        parts.ObjectUuid = std::exchange(parts.ProtocolSequence, TakePart(rest, u":["));
    }
    if (!Skip(rest, u':')) {
        throw RpcException(status::kInvalidStringBinding);
    }
    parts.NetworkAddress = TakePart(rest, u"[");
    if (Skip(rest, u'[')) {
        parts.Endpoint = TakePart(rest, u",]");
        if (Skip(rest, u',')) {
            parts.Options = TakePart(rest, u"]");
        }
        if (!Skip(rest, u']')) {
            throw RpcException(status::kInvalidStringBinding);
        }
    }
    if (!rest.empty()) {
        throw RpcException(status::kInvalidStringBinding);
    }
    constexpr std::u16string_view kEndpointOption = u"endpoint=";
    if (parts.Endpoint.starts_with(kEndpointOption)) {
        parts.Endpoint.erase(0, kEndpointOption.size());
    }
    return parts;
}

/// The binding's socket; empty when the string names no endpoint.
std::string PathOf(const Parts& parts) {
    if (parts.ProtocolSequence != u"ncalrpc") {
        throw RpcException(parts.ProtocolSequence.starts_with(u"nca") ? status::kProtocolSequenceNotSupported
                                                                      : status::kInvalidProtocolSequence);
    }
    if (!parts.ObjectUuid.empty() || !parts.NetworkAddress.empty() || !parts.Options.empty()) {
        throw RpcException(status::kCannotSupport);
    }
    return parts.Endpoint.empty() ? std::string() : EndpointPath(parts.Endpoint);
}

/// For the caller to release with RpcStringFreeW.
char16_t* CopyOf(std::u16string_view text) {
    auto copy = std::make_unique<char16_t[]>(text.size() + 1);
    std::ranges::copy(text, copy.get());
    return copy.release();
}

template <typename Body>
Status Guard(Body body) noexcept {
    try {
        body();
        return status::kOk;
    } catch (const RpcException& exception) {
        return exception.Status();
    } catch (const std::bad_alloc&) {
        return status::kOutOfMemory;
    }
}

}  // namespace

Status RpcStringBindingComposeW(const char16_t* objectUuid, const char16_t* protocolSequence,
                                const char16_t* networkAddress, const char16_t* endpoint,
                                const char16_t* options, char16_t** stringBinding) noexcept {
    return Guard([&] {
        std::u16string text;
        AppendEscaped(text, objectUuid);
        if (!IsEmpty(objectUuid)) {
            text += u'@';
        }
        AppendEscaped(text, protocolSequence);
        text += u':';
        AppendEscaped(text, networkAddress);
        if (!IsEmpty(endpoint) || !IsEmpty(options)) {
            text += u'[';
            AppendEscaped(text, endpoint);
            if (!IsEmpty(options)) {
                text += u',';
                AppendEscaped(text, options);
            }
            text += u']';
        }
        *stringBinding = CopyOf(text);
    });
}

Status RpcBindingFromStringBindingW(const char16_t* stringBinding, RPC_BINDING_HANDLE* binding) noexcept {
    return Guard([&] {
        if (stringBinding == nullptr) {
            throw RpcException(status::kInvalidStringBinding);
        }
        *binding = std::make_unique<ClientConnection>(PathOf(Parse(stringBinding))).release();
    });
}

Status RpcBindingInqAuthInfoW(RPC_BINDING_HANDLE binding, char16_t** serverPrincipalName) noexcept {
    return Guard([&] {
        if (binding == nullptr) {
            throw RpcException(status::kInvalidBinding);
        }
        const auto listener = binding->Listener();
        if (!listener) {
            throw RpcException(status::kBindingHasNoAuthentication);
        }
        *serverPrincipalName = CopyOf(UserName(*listener));
    });
}

Status RpcStringFreeW(char16_t** string) noexcept {
    delete[] std::exchange(*string, nullptr);
    return status::kOk;
}

Status RpcBindingFree(RPC_BINDING_HANDLE* binding) noexcept {
    if (*binding == nullptr) {
        return status::kInvalidBinding;
    }
    delete std::exchange(*binding, nullptr);
    return status::kOk;
}

}  // namespace platform::rpc
