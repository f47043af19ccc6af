#include "logging/Trace.h"

#include <string>

#include "logging/LoggingHandler.h"
#include "platform/core/DebugOutput.h"

namespace Kelvane::detail {

namespace {

void WriteOwnLine(platform::LoggingLevel level, std::initializer_list<std::u16string_view> parts) noexcept {
    try {
        WriteMessage(level, parts);
    } catch (...) {
        platform::OutputDebugStringW(u"A trace line could not be written:");
        for (const auto part : parts) {
            platform::OutputDebugStringW(part);
        }
        platform::OutputDebugStringW(platform::CurrentException().Message());
    }
}

}  // namespace

void WriteMessage(platform::LoggingLevel level, std::initializer_list<std::u16string_view> parts) {
    std::u16string message;
    try {
        std::size_t length = 0;
        for (const auto part : parts) {
            length += part.size();
        }
        message.reserve(length);
        for (const auto part : parts) {
            message += part;
        }
    } catch (...) {
        throw platform::CurrentException();
    }
    LoggingHandler::GetInstance().Log(message, level);
}

void WriteEntry(MethodName name) noexcept {
    WriteOwnLine(platform::LoggingLevel::Verbose, {name.Text(), u"Entry"});
}

void WriteExit(MethodName name) noexcept {
    WriteOwnLine(platform::LoggingLevel::Verbose, {name.Text(), u"Exit"});
}

void WriteException(MethodName name, const platform::Exception& exception) noexcept {
    WriteOwnLine(platform::LoggingLevel::Error, {name.Text(), u"Exception = ", exception.Message()});
}

}  // namespace Kelvane::detail
