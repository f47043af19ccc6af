#pragma once

// How a method of the application writes to the trace. Every method writes its qualified name + "Entry" when
// it starts and + "Exit" when it ends; everything else that it writes has the qualified name in front. The
// rule stands here once: a method hands its name and its body to one of the functions below. Any thread,
// after the first use on the user-interface thread.

#include <algorithm>
#include <array>
#include <charconv>
#include <concepts>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/core/Exception.h"
#include "platform/diagnostics/LoggingLevel.h"

namespace Kelvane {

/// "Kelvane::Class::Method", known at compile time.
class MethodName {
  public:
    consteval MethodName(const char16_t* qualifiedName) : m_text(qualifiedName) {}

    constexpr std::u16string_view Text() const { return m_text; }

  private:
    std::u16string_view m_text;
};

namespace detail {

/// One part of a message as text: a text, "true" or "false", or a decimal number.
class MessagePart {
  public:
    template <typename T>
    explicit MessagePart(const T& part) {
        if constexpr (std::same_as<T, bool>) {
            m_text = part ? u"true" : u"false";
        } else if constexpr (std::integral<T>) {
            std::array<char, 24> digits;
            const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), part).ptr;
            std::copy(digits.data(), end, m_digits.data());
            m_text = {m_digits.data(), static_cast<std::size_t>(end - digits.data())};
        } else {
            m_text = part;
        }
    }
    MessagePart(const MessagePart&) = delete;
    MessagePart& operator=(const MessagePart&) = delete;

    std::u16string_view Text() const { return m_text; }

  private:
    std::array<char16_t, 24> m_digits;
    std::u16string_view m_text;
};

/// Writes the parts as one message; a failure is a platform exception.
void WriteMessage(platform::LoggingLevel level, std::initializer_list<std::u16string_view> parts);

/// The helper's own lines: a failure goes to the debugger output, never to the method.
void WriteEntry(MethodName name) noexcept;
void WriteExit(MethodName name) noexcept;
void WriteException(MethodName name, const platform::Exception& exception) noexcept;

}  // namespace detail

/// What a method's body writes with. A message is built of parts: texts, Booleans, integers. A failure to
/// write is a platform exception.
class Trace {
  public:
    explicit Trace(MethodName name) : m_name(name) {}

    template <class... Parts>
    void Verbose(const Parts&... parts) const {
        Write(platform::LoggingLevel::Verbose, parts...);
    }
    template <class... Parts>
    void Information(const Parts&... parts) const {
        Write(platform::LoggingLevel::Information, parts...);
    }
    template <class... Parts>
    void Warning(const Parts&... parts) const {
        Write(platform::LoggingLevel::Warning, parts...);
    }
    template <class... Parts>
    void Error(const Parts&... parts) const {
        Write(platform::LoggingLevel::Error, parts...);
    }
    template <class... Parts>
    void Critical(const Parts&... parts) const {
        Write(platform::LoggingLevel::Critical, parts...);
    }

  private:
    template <class... Parts>
    void Write(platform::LoggingLevel level, const Parts&... parts) const {
        detail::WriteMessage(level, {m_name.Text(), detail::MessagePart(parts).Text()...});
    }

    MethodName m_name;
};

namespace detail {

template <class Body>
decltype(auto) RunBody(MethodName name, Body&& body) {
    if constexpr (std::invocable<Body, const Trace&>) {
        return std::forward<Body>(body)(Trace(name));
    } else {
        return std::forward<Body>(body)();
    }
}

}  // namespace detail

/// Entry line, `body(trace)` or `body()`, Exit line. A platform exception that leaves the body is written at
/// Error as "Exception = " + its message and ends there.
template <class Body>
void Traced(MethodName name, Body&& body) {
    detail::WriteEntry(name);
    try {
        detail::RunBody(name, std::forward<Body>(body));
    } catch (const platform::Exception& exception) {
        detail::WriteException(name, exception);
    }
    detail::WriteExit(name);
}

/// The same for a method that returns a value: after an exception it is `fallback`.
template <class Result, class Body>
Result Traced(MethodName name, Result fallback, Body&& body) {
    Traced(name, [&] { fallback = detail::RunBody(name, std::forward<Body>(body)); });
    return fallback;
}

/// Entry line, `body(trace)` or `body()`, Exit line; after an exception, which passes on, no Exit line.
template <class Body>
decltype(auto) TracedUncaught(MethodName name, Body&& body) {
    detail::WriteEntry(name);
    if constexpr (std::is_void_v<decltype(detail::RunBody(name, std::forward<Body>(body)))>) {
        detail::RunBody(name, std::forward<Body>(body));
        detail::WriteExit(name);
    } else {
        decltype(auto) result = detail::RunBody(name, std::forward<Body>(body));
        detail::WriteExit(name);
        return result;
    }
}

}  // namespace Kelvane
