#pragma once

// One connection of a server: negotiates, puts requests together, runs procedures, answers. One thread at a
// time; only Shutdown comes from another one.

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/rpc/Admission.h"
#include "platform/rpc/Association.h"
#include "platform/rpc/Ndr.h"
#include "platform/rpc/Pdu.h"
#include "platform/rpc/ServerCall.h"
#include "platform/rpc/ServerOptions.h"

namespace platform::rpc {

/// What the connections of one server share. Constant, or with internal locks.
struct ServerShared {
    /// An interface and what answers its procedures.
    struct Served {
        const InterfaceDescription& Interface;
        const std::vector<ServerProcedure> Procedures;
    };

    std::list<Served> Interfaces;  ///< constant while the server runs
    const ServerOptions Options;
    AssociationTable Associations{Options.MaxContextsPerConnection};
    rpc::Admission Admission{Options};
};

class ServerConnection {
  public:
    ServerConnection(ServerShared& shared, FileDescriptor socket, const SocketCredentials& caller,
                     Admitted admitted);

    /// Serves until either side ends; blocks. The descriptor stays open until this object is destroyed.
    void Run() noexcept;

    /// In place of Run, without waiting: handles what has arrived. False when the connection has ended, as it
    /// does with the first answer to one that is not to be served.
    bool HandleArrived() noexcept;

    /// Any thread. Makes Run return once the procedure that is running has ended.
    void Shutdown() noexcept;

    int Descriptor() const { return m_socket.Get(); }
    const SocketCredentials& Caller() const { return m_caller; }

  private:
    /// What a context id of the client's stands for.
    struct Presentation {
        const ServerShared::Served* Served;
        const TransferSyntax* Syntax;
    };

    std::optional<Pdu> Receive();
    bool MayStaySilent() const;
    void LimitSilence();
    bool Handle(const Pdu& pdu);
    bool Negotiate(const Pdu& pdu);
    bool Refuse(const Pdu& pdu, NakReason reason);
    void Choose(const ServerShared::Served& served, const BindBody& body, std::vector<BindResult>& results);
    bool Serve(const Call& request);
    void Dispatch(const Call& request);
    void InvokeCallback(const CallValues& values);
    void RunProcedure(const ServerProcedure& body, const Procedure& procedure, CallValues& values,
                      ServerCall& call);
    bool Send();

    ServerShared& m_shared;
    const FileDescriptor m_socket;
    const SocketCredentials m_caller;
    const Admitted m_admitted;
    std::shared_ptr<Association> m_association;
    std::map<std::uint16_t, Presentation> m_presentations;
    std::uint16_t m_maxTransmit = kFragmentSize;
    bool m_silenceIsLimited = true;
    PduStream m_stream;
    Reassembly m_reassembly;
    Buffer m_message;
    const ServerCall::CallBack m_callBack = [this](const CallValues& values) { InvokeCallback(values); };

    // The call in progress.
    CallHeader m_call;
    bool m_executed = false;
    bool m_lost = false;
};

}  // namespace platform::rpc
