#include "daemon/service/Procedures.h"

#include <unistd.h>

#include <memory>

#include "daemon/actions/ActionError.h"
#include "daemon/actions/FirmwareFlag.h"
#include "daemon/service/Log.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

using platform::rpc::RpcException;
using platform::rpc::ServerCall;
using platform::rpc::SocketCredentials;
using Text = std::optional<std::u16string>;

/// What stands behind a context handle: the texts that its client wrote last. Connections of one client may
/// share a context.
struct Texts {
    Text First;
    Text Second;
};
using Context = platform::Guarded<Texts>;

std::shared_ptr<Context> ContextOf(const ServerCall& call) {
    return std::static_pointer_cast<Context>(call.Context());
}

/// A text as it was sent, without the zero at its end: the server adds one to what it returns.
Text Sent(const ServerCall& call, std::size_t parameter) {
    Text text = call.Text(parameter);
    if (text && text->ends_with(u'\0')) {
        text->pop_back();
    }
    return text;
}

std::string Caller(const SocketCredentials& caller) {
    return "user " + std::to_string(caller.Uid) + " (process " + std::to_string(caller.Pid) + ")";
}

}  // namespace

Procedures::Procedures(const Options& options, bool byManager)
    : m_configuration(options.Configuration),
      m_configurationOwner(byManager ? 0 : geteuid()),
      m_callers(m_configuration, m_configurationOwner),
      m_records(options),
      m_tools(byManager) {}

platform::rpc::ServerProcedure Procedures::Watched(platform::rpc::ServerProcedure body) {
    return [this, body = std::move(body)](ServerCall& call) {
        const auto mark = m_running.With([](auto& running) { return running.insert(Clock::now()); });
        const auto unmark = [this, mark](void*) {
            m_running.With([mark](auto& running) { running.erase(mark); });
        };
        const std::unique_ptr<void, decltype(unmark)> end(this, unmark);
        body(call);
    };
}

std::vector<platform::rpc::ServerProcedure> Procedures::DetailsTable() {
    if (!m_records.HasDetails()) {
        return {};
    }
    return {
        /* ReadDetails */ Watched([this](ServerCall& call) { call.SetText(0, ReadDetails()); }),
        /* CancelFirmwareRequest */
        Watched([this](ServerCall& call) { CancelFirmwareRequest(call.Caller()); }),
    };
}

std::vector<platform::rpc::ServerProcedure> Procedures::Table() {
    return {
        /* OpenContext */ [](ServerCall& call) { call.SetContext(std::make_shared<Context>()); },
        /* CloseContext */ [](ServerCall& call) { call.SetContext(nullptr); },
        /* StartMSInfoApp */
        Watched([this](ServerCall& call) { StartTool(Tool::SystemInformation, call.Caller()); }),
        /* StartUSBC */ Watched([this](ServerCall& call) { StartTool(Tool::UsbTypeC, call.Caller()); }),
        /* ReadSysInfo */
        Watched([this](ServerCall& call) { call.SetText(0, m_records.SystemInformation()); }),
        /* ReadUSBTypeCInfo */ Watched([this](ServerCall& call) { call.SetText(0, m_records.UsbTypeC()); }),
        /* WriteTextProc6 */
        [](ServerCall& call) {
            ContextOf(call)->With(
                [&](Texts& texts) { texts = {.First = Sent(call, 0), .Second = std::nullopt}; });
        },
        /* ReadTextProc7 */
        [](ServerCall& call) {
            call.SetText(0, ContextOf(call)->With([](Texts& texts) { return texts.First; }));
        },
        /* ExchangeTextProc8 */ [](ServerCall& call) { call.SetText(1, Sent(call, 0)); },
        /* WriteTwoTextsProc9 */
        [](ServerCall& call) {
            ContextOf(call)->With(
                [&](Texts& texts) { texts = {.First = Sent(call, 0), .Second = Sent(call, 1)}; });
        },
        /* ReadTextProc10 */
        [](ServerCall& call) {
            call.SetText(0, ContextOf(call)->With([](Texts& texts) { return texts.Second; }));
        },
        /* CommandWithCallbackProc11 */
        [](ServerCall& call) {
            const Text text = Sent(call, 1);
            if (call.Hyper(3) != 0) {
                call.InvokeCallback(call.Long(0), text.value_or(u""), call.Hyper(3));
            }
            call.SetText(2, text);
        },
        /* SetUEFIFlag */ Watched([this](ServerCall& call) { call.SetText(0, SetUefiFlag(call.Caller())); }),
    };
}

template <typename Action>
auto Procedures::Act(const std::string& what, const SocketCredentials& caller, Action action) {
    try {
        Log(Priority::Notice, Caller(caller) + " asks: " + what);
        if (!MayCall(caller)) {
            throw ActionError(ActionError::Status::AccessDenied, "no active session on a seat any more");
        }
        return action();
    } catch (const ActionError& error) {
        Log(Priority::Warning, what + " for " + Caller(caller) + ": " + error.what());
        throw RpcException(static_cast<platform::rpc::Status>(error.Code()));
    }
}

std::chrono::steady_clock::duration Procedures::OldestCall() const {
    return m_running.With([](const auto& running) {
        return running.empty() ? Clock::duration::zero() : Clock::now() - *running.begin();
    });
}

void Procedures::StartTool(Tool tool, const SocketCredentials& caller) {
    Act("start the " + std::string(ToolName(tool)) + " tool", caller,
        [&] { m_tools.Start(tool, caller.Uid, CurrentConfiguration()); });
}

std::u16string Procedures::SetUefiFlag(const SocketCredentials& caller) {
    const std::string sentence = Act("run the diagnostics at the next start", caller,
                                     [&] { return SetFirmwareFlag(CurrentConfiguration().Firmware); });
    Log(Priority::Notice, sentence);
    return platform::FromUtf8(sentence);
}

std::u16string Procedures::ReadDetails() {
    FirmwareRequest request;
    FirmwareFlagState flag;
    try {
        request = CurrentConfiguration().Firmware;
        flag = ReadFirmwareFlag(request);
    } catch (const ActionError& error) {
        flag.Failure = error.Code();
    }
    return m_records.Details(request, flag);
}

void Procedures::CancelFirmwareRequest(const SocketCredentials& caller) {
    Act("take back the request for the next start", caller,
        [&] { CancelFirmwareFlag(CurrentConfiguration().Firmware); });
}

Configuration Procedures::CurrentConfiguration() const {
    try {
        return LoadConfiguration(m_configuration, m_configurationOwner);
    } catch (const ConfigurationError& error) {
        throw ActionError(ActionError::Status::Misconfigured, error.what());
    }
}

}  // namespace daemon_service
