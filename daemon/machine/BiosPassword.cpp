#include "daemon/machine/BiosPassword.h"

#include <algorithm>
#include <utility>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// What several statements add up to: one that is set decides, one that is open keeps "none" from being told.
/// Each names its source.
struct Verdict {
    std::string Password{};
    std::string OtherKind{};
    std::string UnknownKind{};  ///< one is set, and nobody says of which kind
    std::string UnknownRole{};  ///< nobody says what it guards
    std::string Off{};
    std::string Open{};
    Missing Why = Missing::Unknown;  ///< of Open

    Sourced<BiosCredential> Result() const {
        if (!Password.empty()) {
            return {.Value = BiosCredential::Password, .Source = Password};
        }
        if (!OtherKind.empty()) {
            return {.Value = BiosCredential::OtherKind, .Source = OtherKind};
        }
        for (const std::string* open : {&UnknownKind, &UnknownRole}) {
            if (!open->empty()) {
                return {.Source = *open, .Why = Missing::Unknown};
            }
        }
        if (!Open.empty()) {
            return {.Source = Open, .Why = Why};
        }
        if (!Off.empty()) {
            return {.Value = BiosCredential::None, .Source = Off};
        }
        return {.Source = "sysfs class/firmware-attributes", .Why = Missing::Absent};
    }
};

enum class Guards { Firmware, SomethingElse };

struct Role {
    std::u16string_view Name;
    Guards What;
};

/// Documentation/ABI/testing/sysfs-class-firmware-attributes of the kernel. A role that is not here may guard
/// the firmware, so it leaves the answer open.
constexpr Role kRoles[] = {{u"bios-admin", Guards::Firmware},         {u"power-on", Guards::Firmware},
                           {u"enhanced-bios-auth", Guards::Firmware}, {u"system-mgmt", Guards::SomethingElse},
                           {u"hdd", Guards::SomethingElse},           {u"HDD", Guards::SomethingElse},
                           {u"nvme", Guards::SomethingElse},          {u"NVMe", Guards::SomethingElse}};

void JudgeAttribute(Sources& sources, const std::string& source, Verdict& verdict,
                    std::vector<std::string>& kinds) {
    const SourcedText role = sources.Text(source + "/role");
    const auto* known = std::ranges::find(kRoles, role.Value.value_or(u""), &Role::Name);
    if (known == std::end(kRoles)) {
        verdict.UnknownRole = role.Source;
        return;
    }
    if (known->What != Guards::Firmware) {
        return;
    }
    const std::string path = source + "/is_enabled";
    const auto content = sources.Files().Read("/sys/" + path.substr(path.find(' ') + 1));
    const std::string_view enabled = content ? Trimmed(*content) : std::string_view();
    if (enabled == "1") {
        const std::u16string mechanism = sources.Text(source + "/mechanism").Value.value_or(u"");
        (mechanism.empty()          ? verdict.UnknownKind
         : mechanism == u"password" ? verdict.Password
                                    : verdict.OtherKind) = path;
        kinds.push_back(platform::ToUtf8(*role.Value));
    } else if (enabled == "0") {
        verdict.Off = path;
    } else {
        verdict.Open = path;
        verdict.Why = content ? Missing::Damaged : sources.Files().Why();
    }
}

Verdict FromAttributes(Sources& sources, std::vector<std::string>& kinds) {
    Verdict verdict;
    const std::string folder = "class/firmware-attributes/";
    for (const std::string& driver : sources.Files().List("/sys/" + folder)) {
        const std::string authentication = folder + driver + "/authentication";
        for (const std::string& name : sources.Files().List("/sys/" + authentication)) {
            JudgeAttribute(sources, PathOf({"sysfs " + authentication, name}), verdict, kinds);
        }
    }
    return verdict;
}

/// DSP0134, "Hardware Security (Type 24)".
Verdict FromTables(std::span<const SmbiosStructure> tables) {
    enum { kDisabled, kEnabled, kNotImplemented, kUnknown };
    Verdict verdict;
    for (const SmbiosStructure& structure : tables) {
        const auto settings = structure.Byte(0x04);
        if (structure.Type != smbios::kHardwareSecurity || !settings) {
            continue;
        }
        for (const int shift : {6, 2}) {  // power-on password, administrator password
            const int status = *settings >> shift & 3;
            std::string* where = status == kEnabled    ? &verdict.Password
                                 : status == kDisabled ? &verdict.Off
                                 : status == kUnknown  ? &verdict.Open
                                                       : nullptr;
            if (where != nullptr) {
                *where = "smbios 24.4";
            }
        }
    }
    return verdict;
}

}  // namespace

Sourced<BiosCredential> ReadBiosPassword(Sources& sources, std::vector<std::string>& kinds) {
    const Verdict attributes = FromAttributes(sources, kinds);
    auto result = attributes.Result();
    if (!result.Value) {
        Verdict tables = FromTables(sources.Tables());
        const bool silent = tables.Off.empty() && tables.Open.empty() && tables.Password.empty();
        tables.UnknownKind = attributes.UnknownKind;
        tables.UnknownRole = attributes.UnknownRole;
        result = silent ? result : tables.Result();
    }
    return result;
}

}  // namespace daemon_service
