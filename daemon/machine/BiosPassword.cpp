#include "daemon/machine/BiosPassword.h"

#include <algorithm>
#include <utility>

#include "daemon/machine/Values.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// What several statements add up to: one that is set decides, one that is unknown prevents "none".
/// Each names its source.
struct Verdict {
    std::string Password{};
    std::string OtherKind{};
    std::string UnknownKind{};  ///< one is set, of a kind that no source names
    std::string UnknownRole{};  ///< no source names what it guards
    std::string Off{};
    std::string Open{};
    Missing Why = Missing::Unknown;  ///< of Open
    std::string Detail{};            ///< of UnknownRole, else of Open
    std::string Silent{};            ///< the source that has no statement
    Missing SilentWhy = Missing::NotReported;

    Sourced<BiosCredential> Result() const {
        if (!Password.empty()) {
            return {.Value = BiosCredential::Password, .Source = Password};
        }
        if (!OtherKind.empty()) {
            return {.Value = BiosCredential::OtherKind, .Source = OtherKind};
        }
        if (!UnknownKind.empty()) {
            return {.Source = UnknownKind, .Detail = "one is set; its mechanism is not known"};
        }
        if (!UnknownRole.empty()) {
            return {.Source = UnknownRole, .Detail = Detail};
        }
        if (!Open.empty()) {
            return {.Source = Open, .Why = Why, .Detail = Detail};
        }
        if (!Off.empty()) {
            return {.Value = BiosCredential::None, .Source = Off};
        }
        return {.Source = Silent, .Why = SilentWhy};
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
        verdict.Detail = "unknown role \"" + platform::ToValidUtf8(role.Value.value_or(u"")) + "\"";
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
        verdict.Why = content ? Missing::Unknown : sources.Files().Why();
        if (verdict.UnknownRole.empty()) {
            verdict.Detail =
                content ? "\"" + platform::ToValidUtf8(Clean(*content)) + "\"" : sources.Files().Reason();
        }
    }
}

Verdict FromAttributes(Sources& sources, std::vector<std::string>& kinds) {
    Verdict verdict;
    const std::string folder = "class/firmware-attributes/";
    const auto drivers = sources.Files().List("/sys/" + folder);
    verdict.Silent = "sysfs class/firmware-attributes";
    verdict.SilentWhy = drivers.empty() ? Missing::Absent : Missing::NotReported;
    for (const std::string& driver : drivers) {
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
    Verdict verdict{.Silent = "smbios 24.4"};
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
    if (result.Value) {
        return result;
    }
    const bool hasTable =
        std::ranges::count(sources.Tables(), smbios::kHardwareSecurity, &SmbiosStructure::Type) > 0;
    if (hasTable) {
        Verdict tables = FromTables(sources.Tables());
        tables.UnknownKind = attributes.UnknownKind;
        tables.UnknownRole = attributes.UnknownRole;
        tables.Detail = attributes.UnknownRole.empty() ? "" : attributes.Detail;
        const auto byTables = tables.Result();
        // Of two sources that do not tell, the first one that is there.
        result = byTables.Value || result.Why == Missing::Absent ? byTables : result;
    } else if (result.Why == Missing::Absent && sources.WhyNoTable() != Missing::Absent) {
        result = {.Source = "smbios 24.4", .Why = sources.WhyNoTable()};
    }
    return result;
}

}  // namespace daemon_service
