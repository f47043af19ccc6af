#pragma once

// Status codes of the RPC runtime: the published numbers of the platform ("System Error Codes 1700 to 3999"),
// and the codes that a fault carries on the wire (C706 appendix E, MS-RPCE 3.1.1.5.5).

#include <cstdint>
#include <exception>
#include <string>

namespace platform::rpc {

using Status = std::uint32_t;

namespace status {
inline constexpr Status kOk = 0;
inline constexpr Status kAccessDenied = 5;
inline constexpr Status kContextMismatch = 6;
inline constexpr Status kOutOfMemory = 14;
inline constexpr Status kServerOutOfMemory = 1130;
inline constexpr Status kRevisionMismatch = 1306;
inline constexpr Status kMutualAuthenticationFailed = 1397;
inline constexpr Status kInvalidStringBinding = 1700;
inline constexpr Status kInvalidBinding = 1702;
inline constexpr Status kProtocolSequenceNotSupported = 1703;
inline constexpr Status kInvalidProtocolSequence = 1704;
inline constexpr Status kInvalidEndpointFormat = 1706;
inline constexpr Status kUnknownInterface = 1717;
inline constexpr Status kOutOfResources = 1721;
inline constexpr Status kServerUnavailable = 1722;
inline constexpr Status kServerTooBusy = 1723;
inline constexpr Status kCallFailed = 1726;
inline constexpr Status kCallFailedDidNotExecute = 1727;
inline constexpr Status kProtocolError = 1728;
inline constexpr Status kUnsupportedTransferSyntax = 1730;
inline constexpr Status kInvalidBound = 1734;
inline constexpr Status kStringTooLong = 1743;
inline constexpr Status kProcedureOutOfRange = 1745;
inline constexpr Status kBindingHasNoAuthentication = 1746;
inline constexpr Status kUnknownAuthentication = 1747;
inline constexpr Status kEndpointNotRegistered = 1753;
inline constexpr Status kCannotSupport = 1764;
inline constexpr Status kInNullContext = 1775;
inline constexpr Status kNullReferencePointer = 1780;
inline constexpr Status kBadStubData = 1783;
inline constexpr Status kCallInProgress = 1791;
inline constexpr Status kCallCancelled = 1818;
}  // namespace status

/// Codes that a server puts into a fault.
namespace fault {
inline constexpr Status kUnspecified = 0x1C000012;
inline constexpr Status kContextMismatch = 0x1C00001A;
inline constexpr Status kRemoteNoMemory = 0x1C00001B;
inline constexpr Status kInvalidPresentationContext = 0x1C00001C;
inline constexpr Status kOperationOutOfRange = 0x1C010002;
inline constexpr Status kServerTooBusy = 0x1C010014;
}  // namespace fault

/// A failed remote call. Only the service link sees it.
class RpcException : public std::exception {
  public:
    explicit RpcException(rpc::Status status);

    rpc::Status Status() const noexcept { return m_status; }
    const char* what() const noexcept override { return m_what.c_str(); }

  private:
    rpc::Status m_status;
    std::string m_what;
};

/// What a client raises for the status in a fault. Codes without a meaning of their own stay unchanged.
Status StatusOfFault(Status fault) noexcept;

/// Inside a catch block: the status that stands for the exception in flight in a fault.
Status CurrentFault() noexcept;

}  // namespace platform::rpc
