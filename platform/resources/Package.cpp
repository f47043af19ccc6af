#include "platform/resources/Package.h"

#include <algorithm>
#include <cstdio>
#include <pugixml.hpp>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/resources/PackageFiles.h"
#include "platform/resources/XmlSource.h"

namespace platform {

namespace {

PackageVersion ParseVersion(const XmlSource& source, const pugi::xml_node& identity) {
    unsigned part[4]{};
    const char* text = identity.attribute("Version").value();
    if (std::sscanf(text, "%5u.%5u.%5u.%5u", &part[0], &part[1], &part[2], &part[3]) != 4 ||
        std::any_of(part, part + 4, [](unsigned value) { return value > 0xFFFF; })) {
        source.Fail(identity, "Version must be four numbers up to 65535, joined by dots");
    }
    const auto number = [](unsigned value) { return static_cast<std::uint16_t>(value); };
    return {number(part[0]), number(part[1]), number(part[2]), number(part[3])};
}

}  // namespace

Package::Package(PackageId id, std::vector<std::u16string> protocols)
    : m_id(id), m_protocols(std::move(protocols)) {}

const Package& Package::Current() {
    static const Package package = Read();
    return package;
}

Package Package::Read() {
    const XmlSource source(ReadPackageFile("Manifest.xml"));
    const auto root = source.Root("Package");
    std::vector<std::u16string> protocols;
    for (const auto& protocol : root.children("Protocol")) {
        protocols.push_back(FromUtf8(protocol.attribute("Name").value()));
    }
    return {PackageId(ParseVersion(source, root.child("Identity"))), std::move(protocols)};
}

bool Package::HandlesProtocol(std::u16string_view scheme) const {
    return std::find(m_protocols.begin(), m_protocols.end(), scheme) != m_protocols.end();
}

}  // namespace platform
