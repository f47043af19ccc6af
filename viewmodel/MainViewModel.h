#pragma once

// The one object through which the pages reach the system service. It owns the connection, caches the two
// records as opaque text and the details as values, and runs the service's calls as task chains on workers.
// The records' formats are the pages' business.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/core/Guarded.h"
#include "platform/tasks/BlockingMutex.h"
#include "platform/tasks/task.h"
#include "service/RpcClient.h"
#include "viewmodel/MachineDetails.h"
#include "viewmodel/RequestOutcome.h"
#include "viewmodel/ServiceProblem.h"

namespace Kelvane {

class MainViewModel : public std::enable_shared_from_this<MainViewModel> {
  public:
    /// Characters that a read or a copy of each record passes: one less than its buffer holds.
    static constexpr std::int32_t kSysDataCapacity = 999;
    static constexpr std::int32_t kUsbTypeCDataCapacity = 499;

    /// Any thread. The shared instance, created at the first call and kept for the life of the process.
    static std::shared_ptr<MainViewModel> GetInstance();

    MainViewModel();
    ~MainViewModel();
    MainViewModel(const MainViewModel&) = delete;
    MainViewModel& operator=(const MainViewModel&) = delete;

    // Workers only: each runs a chain of two tasks (connect if needed, then the work), and returns when the
    // chain has ended. The outcome is in the flags and the trace.

    /// Asks the service to start the system-information tool.
    void LaunchSysInfo();
    void ReadSysInfoDetailsAsync();
    void ReadUsbTypeCInfoDetailsAsync();
    /// Asks the service to start the USB Type-C tool.
    void LaunchUSBC();
    /// Asks the service to run the firmware diagnostics at the next start.
    void SetUEFIFlagOperation();

    /// Any thread; returns at once. Reads the details in the background, on a connection of its own, unless
    /// that is in progress. The task ends when the read has ended, whatever came of it.
    platform::task<void> ReadMachineDetailsAsync();

    // Any thread; these block while the service answers.

    /// 0 connected, now or earlier; -1 the client could not be created; else the status of
    /// RpcClient::Initialize.
    std::int64_t InitialiseRpcConnection();
    /// 0 done; 1 the service call failed; -1 not attempted. The buffer is only a token and must not be null.
    std::int64_t SetUEFIFlag(char16_t* buffer, std::int32_t capacity);
    /// Reads a record from the service into `buffer`, which has room for `capacity` characters; status as
    /// RpcClient's, or -1.
    std::int64_t ReadSysInfo(char16_t* buffer, std::int32_t capacity);
    std::int64_t ReadUSBTypeCInfo(char16_t* buffer, std::int32_t capacity);
    /// Asks the service to take back the request that SetUEFIFlag made. 0, or a status of the service link.
    /// What came of it is an outcome, too.
    std::int64_t CancelFirmwareRequest();

    // Any thread; these never block.

    /// Copies the cached record with its zero into `buffer`; a record that does not fit leaves it empty.
    void GetSysInfo(char16_t* buffer, std::int32_t capacity) const;
    void GetUsbTypeCInfo(char16_t* buffer, std::int32_t capacity) const;
    /// The last background read of the record succeeded.
    bool IsSysInfoReadCompleted() const { return m_sysInfo.readCompleted.load(); }
    bool IsUsbTypeCInfoReadCompleted() const { return m_usbTypeCInfo.readCompleted.load(); }
    /// The service is, or once was, connected.
    bool IsRpcInitialised() const { return m_bRpcInitialised.load(); }
    /// What kept the record from being read at the last attempt, or from being copied; nothing when it is
    /// there, or when there was no attempt.
    std::optional<ServiceProblem> SysInfoProblem() const { return ProblemOf(m_sysInfo); }
    std::optional<ServiceProblem> UsbTypeCInfoProblem() const { return ProblemOf(m_usbTypeCInfo); }
    /// Of the last read of the details; nothing before, or when it failed.
    std::shared_ptr<const MachineDetails> Details() const;
    /// What kept them from being read; kNoAnswer while the first read has not ended, nothing when they are
    /// there.
    std::optional<ServiceProblem> DetailsProblem() const;
    /// The read in progress, or one that has ended.
    platform::task<void> DetailsRead() const;

    /// What came of the last request whose outcome has not been taken; nothing when there is none.
    std::optional<RequestOutcome> TakeOutcome();
    /// `receiver` is called, on a worker, when there is an outcome to take. One at a time; null for none.
    void OnOutcome(std::function<void()> receiver);

  private:
    using Buffer = std::unique_ptr<char16_t[]>;

    /// One cached record. The buffer is null when there was no memory for it.
    struct Record {
        platform::Guarded<Buffer> data;
        std::atomic<bool> readCompleted = false;
        platform::Guarded<std::optional<ServiceProblem>> problem;
    };
    struct RecordKind;
    static const RecordKind kSysInfo;
    static const RecordKind kUsbTypeCInfo;
    struct Tool;
    static const Tool kSysInfoTool;
    static const Tool kUsbTypeCTool;

    /// The client in use, or null; waits while a connection is being made. It stays whole for as long as the
    /// caller holds it, also when it is replaced meanwhile.
    std::shared_ptr<RpcClient> Client() const;

    void Launch(const Tool& tool);
    std::int64_t RequestFirmware(const char16_t* buffer, platform::rpc::Status* status);
    /// `client` has made the call that ended with `status`.
    template <typename Caller>
    void Ended(Request request, std::int64_t status, const Caller& client);
    std::int64_t Read(const RecordKind& kind, char16_t* buffer, std::int32_t capacity,
                      std::optional<ServiceProblem>* problem = nullptr);
    std::optional<ServiceProblem> ProblemOf(const Record& record) const;
    void ReadDetails(const RecordKind& kind, Record& record);
    void ReadMachineDetails();
    void Get(const RecordKind& kind, const Record& record, char16_t* buffer, std::int32_t capacity) const;

    Record m_sysInfo;
    Record m_usbTypeCInfo;

    struct DetailsState {
        platform::task<void> read = platform::task_from_result();
        std::shared_ptr<const MachineDetails> value;
        std::optional<ServiceProblem> problem = ServiceProblem{.Status = kNoAnswer};
    };
    platform::Guarded<DetailsState> m_details;

    struct Outcomes {
        std::optional<RequestOutcome> last;
        std::function<void()> receiver;
    };
    platform::Guarded<Outcomes> m_outcomes;

    std::atomic<bool> m_bRpcInitialised = false;
    /// Of the last attempt to connect.
    platform::Guarded<std::optional<ServiceProblem>> m_connectionProblem;

    /// Held while a connection is being made, so that two chains make one; that takes as long as the service
    /// does.
    mutable platform::BlockingMutex m_connecting;
    std::shared_ptr<RpcClient> m_pRpcClient;
};

}  // namespace Kelvane
