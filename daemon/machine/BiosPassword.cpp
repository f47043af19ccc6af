#include "daemon/machine/BiosPassword.h"

#include "daemon/machine/Values.h"

namespace daemon_service {

namespace {

/// What several statements add up to: one that is set decides, one that is open keeps "none" from being told.
struct Verdict {
    bool Password = false;
    bool OtherKind = false;
    bool UnknownKind = false;  ///< one is set, and nobody says of which kind
    bool Off = false;
    bool Open = false;

    std::optional<BiosCredential> Result() const {
        if (Password) {
            return BiosCredential::Password;
        }
        if (OtherKind) {
            return BiosCredential::OtherKind;
        }
        return Off && !Open && !UnknownKind ? std::optional(BiosCredential::None) : std::nullopt;
    }
};

/// Documentation/ABI/testing/sysfs-class-firmware-attributes of the kernel.
Verdict FromAttributes(MachineFiles& files) {
    Verdict verdict;
    const std::string classFolder = "/sys/class/firmware-attributes/";
    for (const std::string& driver : files.List(classFolder)) {
        const std::string folder = classFolder + driver + "/authentication/";
        for (const std::string& name : files.List(folder)) {
            const auto attribute = [&](const char* file) {
                return std::string(Trimmed(files.Read(folder + name + "/" + file).value_or("")));
            };
            const std::string role = attribute("role");
            if (role != "bios-admin" && role != "power-on") {
                verdict.Open |= role.empty();
                continue;  // passwords of disks and of management are not the firmware's
            }
            const std::string enabled = attribute("is_enabled");
            if (enabled == "1") {
                const std::string mechanism = attribute("mechanism");
                verdict.Password |= mechanism == "password";
                verdict.UnknownKind |= mechanism.empty();
                verdict.OtherKind |= mechanism != "password" && !mechanism.empty();
            }
            verdict.Off |= enabled == "0";
            verdict.Open |= enabled != "0" && enabled != "1";
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
            verdict.Password |= status == kEnabled;
            verdict.Off |= status == kDisabled;
            verdict.Open |= status == kUnknown;
        }
    }
    return verdict;
}

}  // namespace

std::optional<BiosCredential> ReadBiosPassword(MachineFiles& files, std::span<const SmbiosStructure> tables) {
    const Verdict attributes = FromAttributes(files);
    auto status = attributes.Result();
    if (!status) {
        Verdict fromTables = FromTables(tables);
        fromTables.UnknownKind = attributes.UnknownKind;
        status = fromTables.Result();
    }
    if (!status) {
        files.Note(
            "BIOS password: no value: neither /sys/class/firmware-attributes nor a firmware table of type 24 "
            "tells");
    }
    return status;
}

}  // namespace daemon_service
