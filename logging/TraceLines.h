#pragma once

// Lines for the trace as a value: what a function without effects has to say, for its caller to write. Any
// thread.

#include <string>
#include <vector>

#include "logging/Trace.h"

namespace Kelvane {

struct TraceLine {
    platform::LoggingLevel Level;
    /// Qualified name and text.
    std::u16string Text;

    bool operator==(const TraceLine&) const = default;
};
using TraceLines = std::vector<TraceLine>;

/// The lines of one method, at the end of a list that outlives it.
class LineTrace {
  public:
    LineTrace(MethodName name, TraceLines& lines) : m_name(name), m_lines(lines) {}

    /// Parts as in Trace.
    template <class... Parts>
    void Add(platform::LoggingLevel level, const Parts&... parts) const {
        std::u16string text(m_name.Text());
        (text.append(detail::MessagePart(parts).Text()), ...);
        m_lines.push_back({.Level = level, .Text = std::move(text)});
    }

  private:
    MethodName m_name;
    TraceLines& m_lines;
};

/// Entry line, `body(trace)`, Exit line.
template <class Body>
auto TracedInto(TraceLines& lines, MethodName name, Body body) {
    const LineTrace trace(name, lines);
    trace.Add(platform::LoggingLevel::Verbose, u"Entry");
    auto result = body(trace);
    trace.Add(platform::LoggingLevel::Verbose, u"Exit");
    return result;
}

/// Writes the lines in order. A failure to write is a platform exception.
void WriteLines(const TraceLines& lines);

}  // namespace Kelvane
