#include "platform/core/Exception.h"

#include <cerrno>
#include <new>
#include <system_error>

#include "platform/core/Text.h"

namespace platform {

Exception::Exception(HResult code, std::u16string message)
    : m_code(code), m_message(std::move(message)), m_what(ToUtf8(m_message)) {}

Exception ExceptionFromErrno(std::string_view operation, int error) {
    HResult code = result::kFail;
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            code = result::kFileNotFound;
            break;
        case EEXIST:
        case ENOTEMPTY:
            code = result::kAlreadyExists;
            break;
        case EACCES:
        case EPERM:
        case EROFS:
            code = result::kAccessDenied;
            break;
        case ENOSPC:
        case EDQUOT:
            code = result::kDiskFull;
            break;
        case ENOMEM:
            code = result::kOutOfMemory;
            break;
        case EINVAL:
            code = result::kInvalidArgument;
            break;
        default:
            break;
    }
    std::string text{operation};
    text += ": ";
    text += std::generic_category().message(error);
    return {code, FromUtf8(text)};
}

Exception CurrentException() {
    try {
        throw;
    } catch (const Exception& exception) {
        return exception;
    } catch (const std::bad_alloc&) {
        return {result::kOutOfMemory, u"Not enough memory is available to complete this operation."};
    } catch (const std::exception& exception) {
        return {result::kFail, FromUtf8(exception.what())};
    } catch (...) {
        return {result::kFail, u"Unspecified failure"};
    }
}

}  // namespace platform
