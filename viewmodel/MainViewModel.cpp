#include "viewmodel/MainViewModel.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <string_view>

#include "logging/Trace.h"
#include "platform/core/Text.h"
#include "platform/core/UserName.h"
#include "service/DetailsClient.h"

namespace Kelvane {

namespace {

constexpr std::u16string_view kNoClient = u"RPC Client pointer is NULL";

/// Characters in the buffer of a record that is read with `capacity`.
constexpr std::size_t BufferSize(std::int32_t capacity) {
    return static_cast<std::size_t>(capacity) + 1;
}

std::unique_ptr<char16_t[]> AllocateBuffer(std::int32_t capacity) {
    return std::unique_ptr<char16_t[]>(new (std::nothrow) char16_t[BufferSize(capacity)]());
}

/// Nothing for status 0.
template <typename Client>
std::optional<ServiceProblem> ProblemFor(std::int64_t status, const Client& client) {
    if (status == 0) {
        return std::nullopt;
    }
    return ServiceProblem{
        .Status = status, .Listener = client.ListenerName(), .User = platform::CurrentUserName()};
}

/// Whether a call with this status has not brought the service's answer.
bool IsOfTheLink(std::int64_t status) {
    constexpr std::int64_t kFirst = 1700;
    constexpr std::int64_t kLast = 1999;
    return (status >= kFirst && status <= kLast) || status < 0 ||
           status == platform::rpc::status::kMutualAuthenticationFailed ||
           status == platform::rpc::status::kOutOfMemory;
}

/// The first step of every chain. It never stops the chain: the second step finds out for itself.
void ConnectStep(MainViewModel& viewModel, const Trace& trace) {
    if (viewModel.InitialiseRpcConnection() != 0) {
        trace.Error(u"RPC Client Initialization failed ");
        trace.Verbose(u"Exit");
    }
}

/// Runs the two steps on workers, one after the other, and waits for the second; the view model outlives
/// them.
template <typename Work>
void RunChain(const std::shared_ptr<MainViewModel>& viewModel, MethodName connectStep, Work work) {
    const auto chain = platform::create_task([viewModel, connectStep] {
                           ConnectStep(*viewModel, Trace(connectStep));
                       }).then([viewModel, work = std::move(work)] { work(); });
    chain.wait();
}

}  // namespace

/// What differs between the two records.
struct MainViewModel::RecordKind {
    std::int32_t capacity;
    std::int64_t (RpcClient::*call)(char16_t*, std::int32_t, platform::rpc::Status*);

    MethodName read;
    std::u16string_view bufferIsNull;
    std::u16string_view reading;
    std::u16string_view returnedStatus;
    std::u16string_view readFailed;

    MethodName readDetails;
    MethodName connectStep;
    MethodName readStep;
    std::u16string_view dataIsNull;
    std::u16string_view stepStatus;
    std::u16string_view notCompleted;

    MethodName get;
    std::u16string_view targetIsNull;
    std::u16string_view cacheIsNull;
    std::u16string_view copyFailed;
};

constexpr MainViewModel::RecordKind MainViewModel::kSysInfo{
    .capacity = kSysDataCapacity,
    .call = &RpcClient::ReadSysInfo,
    .read = u"Kelvane::MainViewModel::ReadSysInfo",
    .bufferIsNull = u"Sys Info Buffer in NULL",
    .reading = u"Reading System Info Details ... ",
    .returnedStatus = u"ReadSysInfo() Returned Status = ",
    .readFailed = u"ReadSysInfo() failed",
    .readDetails = u"Kelvane::MainViewModel::ReadSysInfoDetailsAsync",
    .connectStep = u"Kelvane::MainViewModel::ReadSysInfoDetailsAsync::<lambda_1>::operator ()",
    .readStep = u"Kelvane::MainViewModel::ReadSysInfoDetailsAsync::<lambda_2>::operator ()",
    .dataIsNull = u"m_pSysData Data is NULL",
    .stepStatus = u"ReadSysInfo Return Status = ",
    .notCompleted = u"Reading System Info data not completed!",
    .get = u"Kelvane::MainViewModel::GetSysInfo",
    .targetIsNull = u"pSysData Pointer is NULL",
    .cacheIsNull = u"m_pSysData Pointer is NULL",
    .copyFailed = u"Failed to copy m_pSysData",
};

constexpr MainViewModel::RecordKind MainViewModel::kUsbTypeCInfo{
    .capacity = kUsbTypeCDataCapacity,
    .call = &RpcClient::ReadUSBTypeCInfo,
    .read = u"Kelvane::MainViewModel::ReadUSBTypeCInfo",
    .bufferIsNull = u"UsbTypeCInfo buffer is NULL",
    .reading = u"Reading Usb TypeC Info ... ",
    .returnedStatus = u"ReadUSBTypeCInfo() Returned Status = ",
    .readFailed = u"ReadUSBTypeCInfo() failed",
    .readDetails = u"Kelvane::MainViewModel::ReadUsbTypeCInfoDetailsAsync",
    .connectStep = u"Kelvane::MainViewModel::ReadUsbTypeCInfoDetailsAsync::<lambda_1>::operator ()",
    .readStep = u"Kelvane::MainViewModel::ReadUsbTypeCInfoDetailsAsync::<lambda_2>::operator ()",
    .dataIsNull = u"m_pUsbTypeCData Data is NULL",
    .stepStatus = u"ReadUSBTypeCInfo Return Status = ",
    .notCompleted = u"Reading USBTypeC Info data not completed!",
    .get = u"Kelvane::MainViewModel::GetUsbTypeCInfo",
    .targetIsNull = u"pUsbTypeCData Pointer is NULL",
    .cacheIsNull = u"m_pUsbTypeCData Pointer is NULL",
    .copyFailed = u"Failed to copy m_pUsbTypeCData",
};

/// What differs between the two tools.
struct MainViewModel::Tool {
    std::int32_t (RpcClient::*call)();
    /// Nothing: nobody is told what came of it.
    std::optional<Request> request;
    MethodName launch;
    MethodName connectStep;
    MethodName launchStep;
    std::u16string_view returned;
};

constexpr MainViewModel::Tool MainViewModel::kSysInfoTool{
    .call = &RpcClient::StartMSInfoApp,
    .request = Request::SystemInformationTool,
    .launch = u"Kelvane::MainViewModel::LaunchSysInfo",
    .connectStep = u"Kelvane::MainViewModel::LaunchSysInfo::<lambda_1>::operator ()",
    .launchStep = u"Kelvane::MainViewModel::LaunchSysInfo::<lambda_2>::operator ()",
    .returned = u"StartMSInfoApp return = ",
};

constexpr MainViewModel::Tool MainViewModel::kUsbTypeCTool{
    .call = &RpcClient::StartUSBC,
    .request = {},
    .launch = u"Kelvane::MainViewModel::LaunchUSBC",
    .connectStep = u"Kelvane::MainViewModel::LaunchUSBC::<lambda_1>::operator ()",
    .launchStep = u"Kelvane::MainViewModel::LaunchUSBC::<lambda_2>::operator ()",
    .returned = u"StartUSBC return = ",
};

std::shared_ptr<MainViewModel> MainViewModel::GetInstance() {
    static const auto instance = std::make_shared<MainViewModel>();
    return instance;
}

MainViewModel::MainViewModel() {
    TracedUncaught(u"Kelvane::MainViewModel::MainViewModel", [this] {
        m_sysInfo.data.With([](Buffer& data) { data = AllocateBuffer(kSysDataCapacity); });
        m_usbTypeCInfo.data.With([](Buffer& data) { data = AllocateBuffer(kUsbTypeCDataCapacity); });
    });
}

MainViewModel::~MainViewModel() {
    // A message that cannot be written ends here: nothing may leave a destructor.
    Traced(u"Kelvane::MainViewModel::~MainViewModel", [this](const Trace& trace) {
        const auto release = [&trace](Buffer& data, std::u16string_view line) {
            if (data) {
                trace.Verbose(line);
                data.reset();
            }
        };
        m_sysInfo.data.With([&](Buffer& data) { release(data, u"Deallocating m_pSysData"); });
        m_usbTypeCInfo.data.With([&](Buffer& data) { release(data, u"Deallocating m_pUsbTypeCData"); });
    });
}

std::shared_ptr<RpcClient> MainViewModel::Client() const {
    const std::lock_guard lock(m_connecting);
    return m_pRpcClient;
}

std::int64_t MainViewModel::InitialiseRpcConnection() {
    std::int64_t result = -1;
    Traced(u"Kelvane::MainViewModel::InitialiseRpcConnection", [&](const Trace& trace) {
        const std::lock_guard lock(m_connecting);
        if (m_bRpcInitialised.load()) {
            result = 0;
            trace.Verbose(u"Initialization already complete. Status = ", true);
            return;
        }
        m_pRpcClient.reset(new (std::nothrow) RpcClient);
        if (!m_pRpcClient) {
            m_connectionProblem.With([](auto& last) { last = ServiceProblem(); });
            trace.Error(u"RPC Client Pointer Creation failed");
            return;
        }
        result = m_pRpcClient->Initialize();
        m_connectionProblem.With(
            [problem = ProblemFor(result, *m_pRpcClient)](auto& last) { last = problem; });
        trace.Information(u"ReadSysInfo Initialization Return Status = ", result);
        if (result == 0) {
            m_bRpcInitialised.store(true);
        } else {
            trace.Error(u"ReadSysInfo  Initialization failed ");
        }
    });
    return result;
}

std::int64_t MainViewModel::ReadSysInfo(char16_t* buffer, std::int32_t capacity) {
    return Read(kSysInfo, buffer, capacity);
}

std::int64_t MainViewModel::ReadUSBTypeCInfo(char16_t* buffer, std::int32_t capacity) {
    return Read(kUsbTypeCInfo, buffer, capacity);
}

std::int64_t MainViewModel::Read(const RecordKind& kind, char16_t* buffer, std::int32_t capacity,
                                 std::optional<ServiceProblem>* problem) {
    std::int64_t result = -1;
    Traced(kind.read, [&](const Trace& trace) {
        if (buffer == nullptr) {
            trace.Error(kind.bufferIsNull);
            return;
        }
        trace.Verbose(kind.reading);
        const auto client = Client();
        if (!client) {
            trace.Error(kNoClient);
            return;
        }
        platform::rpc::Status copied = platform::rpc::status::kOk;
        result = ((*client).*kind.call)(buffer, capacity, &copied);
        if (problem != nullptr) {
            *problem = ProblemFor(result != 0 ? result : copied, *client);
        }
        trace.Information(kind.returnedStatus, result);
        if (result != 0) {
            trace.Error(kind.readFailed);
        }
    });
    return result;
}

void MainViewModel::GetSysInfo(char16_t* buffer, std::int32_t capacity) const {
    Get(kSysInfo, m_sysInfo, buffer, capacity);
}

void MainViewModel::GetUsbTypeCInfo(char16_t* buffer, std::int32_t capacity) const {
    Get(kUsbTypeCInfo, m_usbTypeCInfo, buffer, capacity);
}

void MainViewModel::Get(const RecordKind& kind, const Record& record, char16_t* buffer,
                        std::int32_t capacity) const {
    Traced(kind.get, [&](const Trace& trace) {
        if (buffer == nullptr) {
            trace.Error(kind.targetIsNull);
            return;
        }
        record.data.With([&](const Buffer& data) {
            if (!data) {
                trace.Error(kind.cacheIsNull);
            } else if (!platform::CopyText(buffer, capacity, data.get())) {
                trace.Error(kind.copyFailed);
            }
        });
    });
}

void MainViewModel::ReadSysInfoDetailsAsync() {
    ReadDetails(kSysInfo, m_sysInfo);
}

void MainViewModel::ReadUsbTypeCInfoDetailsAsync() {
    ReadDetails(kUsbTypeCInfo, m_usbTypeCInfo);
}

void MainViewModel::ReadDetails(const RecordKind& kind, Record& record) {
    Traced(kind.readDetails, [&](const Trace& trace) {
        if (record.data.With([](const Buffer& data) { return data == nullptr; })) {
            trace.Error(kind.dataIsNull);
            return;
        }
        RunChain(shared_from_this(), kind.connectStep, [this, &kind, &record] {
            const Trace step(kind.readStep);
            record.readCompleted.store(false);
            // The cache stays free for the pages while the service answers. A failed call leaves it as it
            // was, and so does an answer of no characters.
            std::array<char16_t, BufferSize(kSysDataCapacity)> text{};
            record.data.With(
                [&](const Buffer& data) { std::copy_n(data.get(), BufferSize(kind.capacity), text.data()); });
            std::optional<ServiceProblem> problem;
            const auto result = Read(kind, text.data(), kind.capacity, &problem);
            record.problem.With([&](auto& last) { last = std::move(problem); });
            step.Information(kind.stepStatus, result);
            if (result != 0) {
                step.Error(kind.notCompleted);
                step.Verbose(u"Exit");
                return;
            }
            record.data.With(
                [&](Buffer& data) { std::copy_n(text.data(), BufferSize(kind.capacity), data.get()); });
            record.readCompleted.store(true);
            step.Information(kind.stepStatus, 0);
            // Both records' lines show the flag of the system information.
            step.Information(u"RPC Connection Status = ", m_sysInfo.readCompleted.load());
        });
    });
}

std::optional<ServiceProblem> MainViewModel::ProblemOf(const Record& record) const {
    if (!IsRpcInitialised()) {
        return m_connectionProblem.With([](const auto& problem) { return problem; });
    }
    return record.problem.With([](const auto& problem) { return problem; });
}

platform::task<void> MainViewModel::ReadMachineDetailsAsync() {
    Traced(u"Kelvane::MainViewModel::ReadMachineDetailsAsync", [this](const Trace& trace) {
        const platform::task_completion_event<void> ended;
        const bool begins = m_details.With([&ended](DetailsState& details) {
            const bool idle = details.read.is_done();
            if (idle) {
                details.read = platform::create_task(ended);
            }
            return idle;
        });
        if (!begins) {
            trace.Verbose(u"The details are being read");
            return;
        }
        // Ends the task with the work item, also when no worker can take it.
        std::shared_ptr<void> end(nullptr, [ended](void*) { ended.set(); });
        platform::ThreadPool::RunAsync(
            [self = shared_from_this(), end = std::move(end)]() mutable {
                self->ReadMachineDetails();
                // Normal work, so that the application is not idle before what follows the end is under way.
                platform::ThreadPool::RunAsync([end = std::move(end)] {});
            },
            platform::WorkItemPriority::Low);
    });
    return DetailsRead();
}

void MainViewModel::ReadMachineDetails() {
    Traced(u"Kelvane::MainViewModel::ReadMachineDetails", [this](const Trace& trace) {
        DetailsClient client;
        std::u16string json;
        std::int64_t status = client.ReadDetails(json);
        trace.Information(u"ReadDetails() Returned Status = ", status);
        std::shared_ptr<const MachineDetails> value;
        if (status == 0) {
            try {
                value = std::make_shared<MachineDetails>(ParseMachineDetails(json));
            } catch (const platform::Exception& exception) {
                status = platform::rpc::status::kBadStubData;
                trace.Error(u"The details cannot be used: ", exception.Message());
            }
        }
        m_details.With([&, problem = ProblemFor(status, client)](DetailsState& details) {
            details.value = std::move(value);
            details.problem = problem;
        });
    });
}

std::int64_t MainViewModel::CancelFirmwareRequest() {
    return Traced(u"Kelvane::MainViewModel::CancelFirmwareRequest", std::int64_t{-1},
                  [this](const Trace& trace) {
                      DetailsClient client;
                      const std::int64_t status = client.CancelFirmwareRequest();
                      trace.Information(u"CancelFirmwareRequest() Returned Status = ", status);
                      Ended(Request::FirmwareRequestCancel, status, client);
                      return status;
                  });
}

template <typename Caller>
void MainViewModel::Ended(Request request, std::int64_t status, const Caller& client) {
    RequestOutcome outcome{.What = request, .Status = status};
    if (request != Request::FirmwareRequestCancel && !IsRpcInitialised()) {
        outcome.Problem = m_connectionProblem.With([](const auto& problem) { return problem; });
    } else if (IsOfTheLink(status)) {
        outcome.Problem = ProblemFor(status, client);
    }
    if (request != Request::SystemInformationTool && status == 0 && !outcome.Problem) {
        m_details.With([&](DetailsState& details) {
            if (details.value && details.value->FirmwareRequest) {
                auto changed = std::make_shared<MachineDetails>(*details.value);
                changed->FirmwareRequest->Pending = request == Request::FirmwareRequest;
                details.value = std::move(changed);
            }
        });
    }
    const auto receiver = m_outcomes.With([&](Outcomes& outcomes) {
        outcomes.last = std::move(outcome);
        return outcomes.receiver;
    });
    if (receiver) {
        receiver();
    }
}

std::optional<RequestOutcome> MainViewModel::TakeOutcome() {
    return m_outcomes.With([](Outcomes& outcomes) { return std::exchange(outcomes.last, std::nullopt); });
}

void MainViewModel::OnOutcome(std::function<void()> receiver) {
    m_outcomes.With([&](Outcomes& outcomes) { outcomes.receiver.swap(receiver); });
}

std::shared_ptr<const MachineDetails> MainViewModel::Details() const {
    return m_details.With([](const DetailsState& details) { return details.value; });
}

std::optional<ServiceProblem> MainViewModel::DetailsProblem() const {
    return m_details.With([](const DetailsState& details) { return details.problem; });
}

platform::task<void> MainViewModel::DetailsRead() const {
    return m_details.With([](const DetailsState& details) { return details.read; });
}

void MainViewModel::LaunchSysInfo() {
    Launch(kSysInfoTool);
}

void MainViewModel::LaunchUSBC() {
    Launch(kUsbTypeCTool);
}

void MainViewModel::Launch(const Tool& tool) {
    Traced(tool.launch, [&] {
        RunChain(shared_from_this(), tool.connectStep, [this, &tool] {
            const Trace step(tool.launchStep);
            if (const auto client = Client()) {
                const auto status = ((*client).*tool.call)();
                step.Information(tool.returned, status);
                if (tool.request) {
                    Ended(*tool.request, status, *client);
                }
            } else {
                step.Error(kNoClient);
            }
        });
    });
}

void MainViewModel::SetUEFIFlagOperation() {
    Traced(u"Kelvane::MainViewModel::SetUEFIFlagOperation", [this](const Trace& trace) {
        char16_t* const token = m_sysInfo.data.With([](const Buffer& data) { return data.get(); });
        if (token == nullptr) {
            trace.Error(u"m_pSysData Data is NULL");
            return;
        }
        RunChain(
            shared_from_this(), u"Kelvane::MainViewModel::SetUEFIFlagOperation::<lambda_1>::operator ()",
            [this, token] {
                const Trace step(u"Kelvane::MainViewModel::SetUEFIFlagOperation::<lambda_2>::operator ()");
                platform::rpc::Status called = platform::rpc::status::kOk;
                const auto result = RequestFirmware(token, &called);
                step.Information(u"Set UEFI flag Return Status = ", result);
                if (const auto client = Client()) {
                    Ended(Request::FirmwareRequest, result != 0 && called == 0 ? -1 : called, *client);
                }
            });
    });
}

std::int64_t MainViewModel::SetUEFIFlag(char16_t* buffer, std::int32_t) {
    return RequestFirmware(buffer, nullptr);
}

std::int64_t MainViewModel::RequestFirmware(const char16_t* buffer, platform::rpc::Status* status) {
    std::int64_t result = -1;
    Traced(u"Kelvane::MainViewModel::SetUEFIFlag", [&](const Trace& trace) {
        if (buffer == nullptr) {
            trace.Error(u"SetUEFIFlag() failed");
            return;
        }
        trace.Verbose(u"Set UEFI Flag... ");
        const auto client = Client();
        if (!client) {
            trace.Error(kNoClient);
            return;
        }
        result = client->SetUEFIFlag(status);
        if (result != 0) {
            trace.Error(u"SetUEFIFlag() failed");
        }
    });
    return result;
}

}  // namespace Kelvane
