#pragma once

// One call as the procedure that answers it sees it: who calls, the arguments, and what is returned.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/rpc/Ndr.h"
#include "platform/rpc/Socket.h"

namespace platform::rpc {

/// One call while a procedure answers it. Used on the connection's thread, inside the procedure. `parameter`
/// counts the parameters after the handle from 0, a counted text as one.
class ServerCall {
  public:
    /// Sends a callback's values to the client and waits for its answer. Throws RpcException.
    using CallBack = std::function<void(const CallValues&)>;

    /// What is passed must outlive the call.
    ServerCall(const SocketCredentials& caller, const rpc::Procedure& procedure, CallValues& values,
               const CallBack& callBack);

    unsigned Procedure() const { return m_procedure.Number; }
    const SocketCredentials& Caller() const { return m_caller; }

    std::int32_t Long(std::size_t parameter) const;
    std::int64_t Hyper(std::size_t parameter) const;

    /// A counted text that the client sent, with the terminating zero if it sent one; nothing for null.
    const std::optional<std::u16string>& Text(std::size_t parameter) const { return m_texts[parameter]; }

    /// Returns a counted text, its length counting the terminating zero that is added here; nothing for null.
    /// What is never set returns as null.
    void SetText(std::size_t parameter, std::optional<std::u16string> text);

    /// Returns a counted text of exactly these characters with any length, also one that contradicts them.
    void SetRawText(std::size_t parameter, std::int32_t length, std::optional<std::u16string> characters);

    /// Calls the client back (its callback 0) and waits for the answer. Throws RpcException.
    void InvokeCallback(std::int32_t code, std::u16string_view text, std::int64_t address);

    /// The state behind the context handle that the client sent; null in a procedure that opens one.
    const std::shared_ptr<void>& Context() const { return m_context; }

    /// In a procedure that passes the handle out: opens a context, or closes it with null. The state is
    /// destroyed with its last reference: when it is closed, or when the client's last connection closes.
    void SetContext(std::shared_ptr<void> context) { m_context = std::move(context); }

  private:
    const SocketCredentials& m_caller;
    const CallBack& m_callBack;
    const rpc::Procedure& m_procedure;
    CallValues& m_values;
    std::shared_ptr<void> m_context;
    /// Those that came, for what arrives during a callback overwrites their bytes, and those that are
    /// returned.
    std::array<std::optional<std::u16string>, kMaxParameters> m_texts;
};

/// A procedure's body. It may block; it throws RpcException to send that status as a fault.
using ServerProcedure = std::function<void(ServerCall&)>;

}  // namespace platform::rpc
