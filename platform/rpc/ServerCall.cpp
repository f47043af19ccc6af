#include "platform/rpc/ServerCall.h"

#include <span>
#include <utility>

namespace platform::rpc {

namespace {

ByteView TextBytes(const std::u16string& text, std::size_t characters) {
    return std::as_bytes(std::span(text.data(), characters));
}

}  // namespace

ServerCall::ServerCall(const SocketCredentials& caller, const rpc::Procedure& procedure, CallValues& values,
                       const CallBack& callBack)
    : m_caller(caller), m_callBack(callBack), m_procedure(procedure), m_values(values) {
    for (std::size_t i = 0; i < kMaxParameters; ++i) {
        if (values.Parameters[i].Text) {
            m_texts[i] = values.Parameters[i].CopyText();
        }
    }
}

std::int32_t ServerCall::Long(std::size_t parameter) const {
    return static_cast<std::int32_t>(m_values.Parameters.at(parameter).Number);
}

std::int64_t ServerCall::Hyper(std::size_t parameter) const {
    return m_values.Parameters.at(parameter).Number;
}

void ServerCall::SetText(std::size_t parameter, std::optional<std::u16string> text) {
    auto& held = m_texts.at(parameter) = std::move(text);
    Value& value = m_values.Parameters[parameter];
    value = {};
    if (held) {
        value.Number = static_cast<std::int64_t>(held->size() + 1);
        value.Text = TextBytes(*held, held->size() + 1);
    }
}

void ServerCall::SetRawText(std::size_t parameter, std::int32_t length,
                            std::optional<std::u16string> characters) {
    auto& held = m_texts.at(parameter) = std::move(characters);
    Value& value = m_values.Parameters[parameter];
    value = {.Number = length};
    if (held) {
        value.Text = TextBytes(*held, held->size());
    }
}

void ServerCall::InvokeCallback(std::int32_t code, std::u16string_view text, std::int64_t address) {
    const std::u16string terminated(text);
    CallValues values;
    values.Parameters[0].Number = code;
    values.Parameters[1].Text = TextBytes(terminated, terminated.size() + 1);
    values.Parameters[2].Number = address;
    m_callBack(values);
}

}  // namespace platform::rpc
