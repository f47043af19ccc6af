#include "pages/usbc/TypeCPorts.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "pages/Split.h"
#include "platform/core/Text.h"

namespace Kelvane {

namespace {

using Ports = std::vector<TypeCPortDetails>;

/// In rising order.
constexpr std::u16string_view kStandards[] = {u"USB 2.0",       u"USB 3.2",         u"USB 3.2 Gen 1",
                                              u"USB 3.2 Gen 2", u"USB 3.2 Gen 2x2", u"USB4"};

/// How exactly a part of a location tells the place.
enum class Exactness { Side, Horizontal, Vertical };

struct PlacePart {
    /// In the details.
    std::u16string_view name;
    Exactness exactness;
    std::u16string_view text;
};
constexpr PlacePart kPlaceParts[] = {
    {u"panel left", Exactness::Side, u"UsbTypeCPlaceLeft/Text"},
    {u"panel right", Exactness::Side, u"UsbTypeCPlaceRight/Text"},
    {u"panel front", Exactness::Side, u"UsbTypeCPlaceFront/Text"},
    {u"panel back", Exactness::Side, u"UsbTypeCPlaceBack/Text"},
    {u"panel top", Exactness::Side, u"UsbTypeCPlaceTop/Text"},
    {u"panel bottom", Exactness::Side, u"UsbTypeCPlaceBottom/Text"},
    {u"lid", Exactness::Side, u"UsbTypeCPlaceLid/Text"},
    {u"dock", Exactness::Side, u"UsbTypeCPlaceDock/Text"},
    {u"horizontal left", Exactness::Horizontal, u"UsbTypeCPlaceAtLeft/Text"},
    {u"horizontal center", Exactness::Horizontal, u"UsbTypeCPlaceMiddle/Text"},
    {u"horizontal right", Exactness::Horizontal, u"UsbTypeCPlaceAtRight/Text"},
    {u"vertical upper", Exactness::Vertical, u"UsbTypeCPlaceUpper/Text"},
    {u"vertical center", Exactness::Vertical, u"UsbTypeCPlaceMiddle/Text"},
    {u"vertical lower", Exactness::Vertical, u"UsbTypeCPlaceLower/Text"},
};

std::u16string Listed(const std::vector<std::u16string>& all, const DisplayTexts& texts) {
    return Joined(u"ListOfTwo/Text", all, texts);
}

std::u16string NameOf(std::size_t index, const DisplayTexts& texts) {
    return Filled(texts.Lookup(u"UsbTypeCPort/Text"),
                  {{u"{number}", platform::ToText(std::uint64_t{index + 1})}});
}

std::u16string PlaceOf(const TypeCPortDetails& port, Exactness exactness, const DisplayTexts& texts) {
    std::vector<std::u16string> parts;
    for (const auto& part : kPlaceParts) {
        if (part.exactness <= exactness &&
            (u", " + port.Location + u", ").find(u", " + std::u16string(part.name) + u", ") !=
                std::u16string::npos) {
            parts.push_back(texts.Lookup(part.text));
        }
    }
    return Listed(parts, texts);
}

std::u16string PlaceAmong(const Ports& ports, const TypeCPortDetails& port, const DisplayTexts& texts) {
    using enum Exactness;
    for (const auto exactness : {Side, Horizontal}) {
        auto place = PlaceOf(port, exactness, texts);
        if (std::ranges::count(ports, place, [&](const TypeCPortDetails& each) {
                return PlaceOf(each, exactness, texts);
            }) == 1) {
            return place;
        }
    }
    return PlaceOf(port, Vertical, texts);
}

/// 0 for none.
std::ptrdiff_t RankOf(std::u16string_view standard) {
    const auto* const found = std::ranges::find(kStandards, standard);
    return found != std::end(kStandards) ? found - kStandards + 1 : 0;
}

std::ptrdiff_t BestStandard(const TypeCPortDetails& port) {
    std::ptrdiff_t best = port.Usb4 == PortSupport::Yes ? RankOf(u"USB4") : 0;
    for (const auto& standard : port.UsbStandards) {
        best = std::max(best, RankOf(standard));
    }
    return best;
}

PortSupport PowerDeliveryOf(const TypeCPortDetails& port) {
    return port.PowerDelivery == u"unknown" ? PortSupport::Unknown : PortSupport::Yes;
}

PortSupport ThunderboltOrUsb4(const TypeCPortDetails& port) {
    if (port.Thunderbolt == PortSupport::Yes || port.Usb4 == PortSupport::Yes) {
        return PortSupport::Yes;
    }
    return port.Thunderbolt == PortSupport::No ? port.Usb4 : PortSupport::Unknown;
}

/// Whether the port takes power in.
PortSupport ChargingOf(const TypeCPortDetails& port) {
    if (port.SinkPowerMilliwatts) {
        return *port.SinkPowerMilliwatts > 0 ? PortSupport::Yes : PortSupport::No;
    }
    return port.PowerRole.empty()        ? PortSupport::Unknown
           : port.PowerRole == u"source" ? PortSupport::No
                                         : PortSupport::Yes;
}

std::u16string AbilitiesOf(const TypeCPortDetails& port, const DisplayTexts& texts) {
    std::vector<std::u16string> abilities;
    if (const auto best = BestStandard(port); best > 0) {
        abilities.emplace_back(kStandards[best - 1]);
    }
    if (port.Thunderbolt == PortSupport::Yes) {
        abilities.emplace_back(u"Thunderbolt");
    }
    if (port.DisplayPort == PortSupport::Yes) {
        abilities.emplace_back(u"DisplayPort");
    }
    return abilities.empty() ? u"USB Type-C" : Listed(abilities, texts);
}

/// "15 W", "7.5 W".
std::u16string Watts(double milliwatts, const DisplayTexts& texts) {
    const auto tenths = std::llround(milliwatts / 100);
    return Filled(texts.Lookup(tenths % 10 == 0 ? u"Watts/Text" : u"WattsAndTenths/Text"),
                  {{u"{number}", platform::ToText(std::int64_t{tenths / 10})},
                   {u"{tenths}", platform::ToText(std::int64_t{tenths % 10})}});
}

/// That a port does not charge says something only where another one does.
std::u16string PowerOf(const TypeCPortDetails& port, bool anyCharges, const DisplayTexts& texts) {
    const auto charging = ChargingOf(port);
    const auto with = [&](std::u16string_view key, std::optional<double> milliwatts) {
        return Filled(texts.Lookup(key), {{u"{power}", Watts(milliwatts.value_or(0), texts)}});
    };
    std::u16string takes;
    if (charging == PortSupport::Yes) {
        takes = with(port.SinkPowerMilliwatts ? u"UsbTypeCChargesUpTo/Text" : u"UsbTypeCCharges/Text",
                     port.SinkPowerMilliwatts);
    } else if (charging == PortSupport::No && anyCharges) {
        takes = texts.Lookup(u"UsbTypeCDoesNotCharge/Text");
    }
    const auto gives = port.SourcePowerMilliwatts.value_or(0) > 0
                           ? with(u"UsbTypeCGivesUpTo/Text", port.SourcePowerMilliwatts)
                           : std::u16string();
    const auto power = Joined(u"UsbTypeCTwoFacts/Text", {takes, gives}, texts);
    return power.empty() ? texts.Lookup(u"UsbTypeCPowerNotKnown/Text") : power;
}

/// How good a port is in what a field of the record has the best of: positive where it can do it, negative
/// where a source says that it cannot.
double Grade(const TypeCPortDetails& port, std::size_t field) {
    const auto grade = [](PortSupport support) {
        return support == PortSupport::Yes ? 1.0 : support == PortSupport::No ? -1.0 : 0.0;
    };
    switch (field) {
        case 0:
            return static_cast<double>(BestStandard(port));
        case 1:
            return grade(PowerDeliveryOf(port));
        case 2:
            return grade(port.DisplayPort);
        case 3:
            return grade(ThunderboltOrUsb4(port));
        case 4:
            return grade(ChargingOf(port));
        default:
            return port.SourcePowerMilliwatts.value_or(0);
    }
}

/// Which ports have what the record reports.
std::u16string BestPorts(const std::vector<double>& grades, const DisplayTexts& texts) {
    const double best = *std::ranges::max_element(grades);
    if (best <= 0) {
        return texts.Lookup(u"UsbTypeCWhichPortNotKnown/Text");
    }
    std::vector<std::u16string> names;
    for (std::size_t i = 0; i < grades.size(); ++i) {
        if (grades[i] == best) {
            names.push_back(NameOf(i, texts));
        }
    }
    return names.size() == grades.size() ? texts.Lookup(u"UsbTypeCEveryPort/Text") : Listed(names, texts);
}

}  // namespace

std::vector<TypeCPortTexts> TextsOfPorts(const Ports& ports, const DisplayTexts& texts) {
    const bool anyCharges = std::ranges::count(ports, PortSupport::Yes, ChargingOf) != 0;
    std::vector<TypeCPortTexts> all;
    for (const auto& port : ports) {
        all.push_back({.Name = NameOf(all.size(), texts),
                       .Place = PlaceAmong(ports, port, texts),
                       .Abilities = AbilitiesOf(port, texts),
                       .Power = PowerOf(port, anyCharges, texts),
                       .Source = port.Source});
    }
    return all;
}

std::array<std::u16string, kUsbTypeCFields> NotesOfValues(const UsbTypeCReading& reading, const Ports& ports,
                                                          const DisplayTexts& texts) {
    std::array<std::u16string, kUsbTypeCFields> notes;
    for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
        std::vector<double> grades;
        const auto value = reading.Values[i].value_or(u"");
        std::ranges::transform(ports, std::back_inserter(grades), [&](const TypeCPortDetails& port) {
            // The record may count a router for any port: it is not known then which one has USB4.
            const bool isLess = i == 0 && value.ends_with(u"USB4") && BestStandard(port) < RankOf(u"USB4");
            return isLess ? 0 : Grade(port, i);
        });
        if (value.empty()) {
            notes[i] = texts.Lookup(u"NotKnown/Text");
        } else if (!reading.Supports[i].value_or(true)) {
            // A record has no word for what no source reports.
            notes[i] = std::ranges::count(grades, 0.0) != 0 ? texts.Lookup(u"UsbTypeCNotReported/Text") : u"";
        } else if (ports.size() > 1 && !value.ends_with(u"USB Type-C")) {
            notes[i] = BestPorts(grades, texts);
        }
    }
    return notes;
}

}  // namespace Kelvane
