#pragma once

// What stands behind the procedures of both interfaces.

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "daemon/actions/ToolStarter.h"
#include "daemon/service/Callers.h"
#include "daemon/service/Records.h"
#include "platform/core/Guarded.h"
#include "platform/rpc/Server.h"

namespace daemon_service {

/// Any thread: the server runs each call on its connection's thread.
class Procedures {
  public:
    /// `options` say what the records are of and where the configuration lies. `byManager`: see ToolStarter;
    /// the configuration must be root's then, since the unit that starts the tool does not trust the
    /// service's user.
    Procedures(const Options& options, bool byManager);

    /// Who is answered. Any thread.
    bool MayCall(const platform::rpc::SocketCredentials& caller) { return m_callers.MayCall(caller); }

    /// In the interface's order. The functions refer to this object.
    std::vector<platform::rpc::ServerProcedure> Table();

    /// The same for the details interface; none where files stand in for the records, of which no details are
    /// known.
    std::vector<platform::rpc::ServerProcedure> DetailsTable();

    /// How long the oldest read or action has been running; zero when none runs. One that never ends means
    /// that the service is stuck.
    std::chrono::steady_clock::duration OldestCall() const;

  private:
    using Clock = std::chrono::steady_clock;

    /// A procedure whose length is ours; one that calls back lasts as long as its client likes.
    platform::rpc::ServerProcedure Watched(platform::rpc::ServerProcedure body);
    /// As it is now; throws ActionError.
    Configuration CurrentConfiguration() const;
    void StartTool(Tool tool, const platform::rpc::SocketCredentials& caller);
    /// Does an action and answers for its failure: in the log, and by its status to the caller. A connection
    /// may be older than its user's turn at the machine, so an action asks again who sits there.
    template <typename Action>
    auto Act(const std::string& what, const platform::rpc::SocketCredentials& caller, Action action);
    std::u16string SetUefiFlag(const platform::rpc::SocketCredentials& caller);
    std::u16string ReadDetails();
    void CancelFirmwareRequest(const platform::rpc::SocketCredentials& caller);

    // Constant after construction.
    const std::string m_configuration;
    const uid_t m_configurationOwner;

    // With their own locking.
    Callers m_callers;
    Records m_records;
    ToolStarter m_tools;

    platform::Guarded<std::multiset<Clock::time_point>> m_running;
};

}  // namespace daemon_service
