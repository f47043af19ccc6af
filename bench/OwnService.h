#pragma once

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/TemporaryDirectory.h"
#include "platform/core/Text.h"
#include "platform/rpc/Server.h"
#include "service/HotkeyRpc.h"

namespace bench {

/// A service of this process, for a run without another one; KELVANE_RPC_DIRECTORY names its folder. It
/// answers at once.
class OwnService {
  public:
    OwnService() : m_server(Kelvane::kHotkeyRpc, Procedures()) {
        setenv("KELVANE_RPC_DIRECTORY", m_directory.Path().c_str(), 1);
        m_server.Listen(Kelvane::kEndpoint);
        m_thread = std::jthread([this] { m_server.Run(); });
    }
    ~OwnService() { m_server.Stop(); }
    OwnService(const OwnService&) = delete;
    OwnService& operator=(const OwnService&) = delete;

    std::filesystem::path Socket() const {
        return m_directory.Path() + "/" + platform::ToUtf8(Kelvane::kEndpoint);
    }

  private:
    static std::vector<platform::rpc::ServerProcedure> Procedures() {
        using platform::rpc::ServerCall;
        namespace procedure = Kelvane::procedure;
        std::vector<platform::rpc::ServerProcedure> procedures(procedure::Count, [](ServerCall&) {});
        procedures[procedure::OpenContext] = [](ServerCall& call) {
            call.SetContext(std::make_shared<int>());
        };
        procedures[procedure::CloseContext] = [](ServerCall& call) { call.SetContext(nullptr); };
        procedures[procedure::ReadSysInfo] = [record = std::u16string(300, u'x')](ServerCall& call) {
            call.SetText(0, record);
        };
        return procedures;
    }

    const TemporaryDirectory m_directory;
    platform::rpc::Server m_server;
    std::jthread m_thread;
};

}  // namespace bench
