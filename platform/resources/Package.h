#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/Provided.h"
#include "platform/resources/UserEnvironment.h"

namespace platform {

struct PackageVersion {
    std::uint16_t Major = 0;
    std::uint16_t Minor = 0;
    std::uint16_t Build = 0;
    std::uint16_t Revision = 0;
    bool operator==(const PackageVersion&) const = default;
};

/// Who the program is.
class PackageId {
  public:
    explicit PackageId(PackageVersion version) : m_version(version) {}

    const PackageVersion& Version() const { return m_version; }

    /// The machine's processor architecture.
    ProcessorArchitecture Architecture() const { return Provided<UserEnvironment>::Current().Architecture(); }

  private:
    PackageVersion m_version;
};

/// What "Manifest.xml" of the package says. Read once; any thread afterwards.
class Package {
  public:
    /// Throws a platform exception, with file and line, when the manifest cannot be read.
    static const Package& Current();

    /// Reads the manifest, which Current does once. Throws as it does.
    static Package Read();

    const PackageId& Id() const { return m_id; }

    /// True for a URI scheme (in lower case) that the manifest declares.
    bool HandlesProtocol(std::u16string_view scheme) const;

  private:
    Package(PackageId id, std::vector<std::u16string> protocols);

    PackageId m_id;
    std::vector<std::u16string> m_protocols;
};

}  // namespace platform
