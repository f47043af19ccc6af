#include "logging/TraceLines.h"

namespace Kelvane {

void WriteLines(const TraceLines& lines) {
    for (const auto& line : lines) {
        detail::WriteMessage(line.Level, {line.Text});
    }
}

}  // namespace Kelvane
