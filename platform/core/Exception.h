#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace platform {

/// A 32-bit result code of a platform operation; failures have the top bit set.
using HResult = std::uint32_t;

/// Result codes that the layer raises. The numbers are the published ones.
namespace result {
inline constexpr HResult kAborted = 0x80004004;
inline constexpr HResult kFail = 0x80004005;
inline constexpr HResult kPointer = 0x80004003;
inline constexpr HResult kInvalidArgument = 0x80070057;
inline constexpr HResult kOutOfMemory = 0x8007000E;
inline constexpr HResult kAccessDenied = 0x80070005;
inline constexpr HResult kFileNotFound = 0x80070002;
inline constexpr HResult kAlreadyExists = 0x800700B7;
inline constexpr HResult kDiskFull = 0x80070070;
inline constexpr HResult kNoInterface = 0x80004002;
inline constexpr HResult kIllegalMethodCall = 0x8000000E;
inline constexpr HResult kClosed = 0x80000013;
inline constexpr HResult kWrongThread = 0x8001010E;
inline constexpr HResult kMarkup = 0x802B000A;
}  // namespace result

/// The failure of a platform operation: a result code and a message for people.
class Exception : public std::exception {
  public:
    Exception(HResult code, std::u16string message);

    HResult Code() const noexcept { return m_code; }
    const std::u16string& Message() const noexcept { return m_message; }

    /// The message in UTF-8.
    const char* what() const noexcept override { return m_what.c_str(); }

  private:
    HResult m_code;
    std::u16string m_message;
    std::string m_what;
};

/// The failure of a system call as a platform exception: `operation` says what was tried ("open /x"), `error`
/// is errno.
Exception ExceptionFromErrno(std::string_view operation, int error);

/// Inside a catch block: the exception in flight as a platform exception; standard-library exceptions are
/// converted.
Exception CurrentException();

}  // namespace platform
