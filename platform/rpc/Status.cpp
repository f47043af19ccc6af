#include "platform/rpc/Status.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace platform::rpc {

namespace {

struct FaultRow {
    Status Fault;
    Status Raised;
};

constexpr FaultRow kFaults[] = {
    {0x00000000, status::kProtocolError},            // forbidden in a fault
    {0x1C000001, 1767},                              // nca_s_fault_int_div_by_zero
    {0x1C000002, 1768},                              // nca_s_fault_addr_error
    {0x1C000003, 1769},                              // nca_s_fault_fp_div_zero
    {0x1C000004, 1770},                              // nca_s_fault_fp_underflow
    {0x1C000005, 1771},                              // nca_s_fault_fp_overflow
    {0x1C000006, 1733},                              // nca_s_fault_invalid_tag
    {0x1C000007, status::kInvalidBound},             // nca_s_fault_invalid_bound
    {0x1C000008, status::kProtocolError},            // nca_rpc_version_mismatch
    {0x1C000009, status::kCallFailed},               // nca_unspec_reject
    {0x1C00000A, status::kCallFailedDidNotExecute},  // nca_s_bad_actid
    {0x1C00000B, status::kCallFailed},               // nca_who_are_you_failed
    {0x1C00000C, status::kCallFailedDidNotExecute},  // nca_manager_not_entered
    {0x1C00000D, status::kCallCancelled},            // nca_s_fault_cancel
    {0x1C00000E, 1768},                              // nca_s_fault_ill_inst
    {0x1C00000F, 1771},                              // nca_s_fault_fp_error
    {0x1C000010, 1768},                              // nca_s_fault_int_overflow
    {fault::kUnspecified, status::kCallFailed},
    {0x1C000014, 1918},                  // nca_s_fault_pipe_empty
    {0x1C000015, 1916},                  // nca_s_fault_pipe_closed
    {0x1C000016, 1831},                  // nca_s_fault_pipe_order
    {0x1C000017, 1917},                  // nca_s_fault_pipe_discipline
    {0x1C000018, 1820},                  // nca_s_fault_pipe_comm_error
    {0x1C000019, status::kOutOfMemory},  // nca_s_fault_pipe_memory
    {fault::kContextMismatch, status::kContextMismatch},
    {fault::kRemoteNoMemory, status::kServerOutOfMemory},
    {0x1C010001, 1820},  // nca_s_comm_failure
    {fault::kOperationOutOfRange, status::kProcedureOutOfRange},
    {0x1C010003, status::kUnknownInterface},   // nca_unk_if
    {0x1C010009, status::kCallFailed},         // nca_s_you_crashed
    {0x1C01000B, status::kProtocolError},      // nca_proto_error
    {0x1C010013, status::kServerOutOfMemory},  // nca_out_args_too_big
    {fault::kServerTooBusy, status::kServerTooBusy},
    {0x1C010017, 1732},  // nca_unsupported_type
};
static_assert(std::ranges::is_sorted(kFaults, {}, &FaultRow::Fault));

}  // namespace

RpcException::RpcException(rpc::Status status)
    : m_status(status), m_what("remote procedure call failed with status " + std::to_string(status)) {}

Status StatusOfFault(Status fault) noexcept {
    const auto* row = std::ranges::lower_bound(kFaults, fault, {}, &FaultRow::Fault);
    return row != std::end(kFaults) && row->Fault == fault ? row->Raised : fault;
}

Status CurrentFault() noexcept {
    try {
        throw;
    } catch (const RpcException& exception) {
        return exception.Status();
    } catch (const std::bad_alloc&) {
        return fault::kRemoteNoMemory;
    } catch (...) {
        return fault::kUnspecified;
    }
}

}  // namespace platform::rpc
