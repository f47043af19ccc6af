#include "daemon/machine/TypeCPower.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "daemon/machine/Values.h"

namespace daemon_service {

namespace {

/// The number of the first of the files in `folder` that has one with the unit.
std::optional<std::uint64_t> First(MachineFiles& files, const std::string& folder,
                                   std::initializer_list<const char*> names, std::string_view unit) {
    constexpr std::uint64_t kMost = 1'000'000;
    for (const char* name : names) {
        const std::string content = files.Read(folder + name).value_or("");
        std::string_view text = Trimmed(content);
        if (!text.ends_with(unit)) {
            continue;
        }
        text.remove_suffix(unit.size());
        if (const auto number = Number(text); number && *number <= kMost) {
            return number;
        }
    }
    return std::nullopt;
}

/// The attributes' names differ between kinds of supply and between giving and taking, and never contradict
/// each other.
std::optional<std::uint64_t> PowerOf(MachineFiles& files, const std::string& object) {
    if (const auto milliwatts = First(files, object, {"maximum_power", "operational_power"}, "mW")) {
        return milliwatts;
    }
    const auto millivolts = First(files, object, {"voltage", "maximum_voltage"}, "mV");
    const auto milliamperes = First(files, object, {"maximum_current", "operational_current"}, "mA");
    if (millivolts && milliamperes) {
        return *millivolts * *milliamperes / 1000;
    }
    // Adjustable supplies have one current up to 15 V and another one up to 20 V.
    auto upTo15 = First(files, object, {"maximum_current_9V_to_15V"}, "mA");
    auto upTo20 = First(files, object, {"maximum_current_15V_to_20V"}, "mA");
    if (upTo15) {
        *upTo15 *= 15;
    }
    if (upTo20) {
        *upTo20 *= 20;
    }
    return std::max(upTo15, upTo20);
}

}  // namespace

std::optional<std::uint64_t> MostPower(MachineFiles& files, const std::string& folder) {
    std::optional<std::uint64_t> most;
    std::optional<std::uint64_t> programmable;
    for (const std::string& name : files.List(folder)) {
        auto& kind = name.ends_with(":programmable_supply") ? programmable : most;
        kind = std::max(kind, PowerOf(files, PathOf({folder, name, ""})));
    }
    return most ? most : programmable;
}

}  // namespace daemon_service
