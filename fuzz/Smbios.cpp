// Firmware tables: everything that reads them, on any bytes.

#include "daemon/machine/Smbios.h"
#include "daemon/machine/Memory.h"
#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Recorder.h"
#include "daemon/machine/Values.h"
#include "fuzz/Target.h"
#include "tests/support/RecordedMachine.h"

void fuzz::Run(std::string_view input) {
    // The kernel shows the whole input, or each structure of it.
    std::filesystem::remove_all(fuzz::Folder() / "sys");
    fuzz::WriteFile(
        input.size() % 2 == 0 ? "sys/firmware/dmi/tables/DMI" : "sys/firmware/dmi/entries/17-0/raw", input);
    daemon_service::MachineFiles files(fuzz::Folder());
    fuzz::Require(daemon_service::ReadSmbios(files) == input);

    const auto structures = daemon_service::ParseSmbios(input);
    daemon_service::ReadSystem(files);
    const auto installed = daemon_service::InstalledMemory(structures);
    for (const daemon_service::SmbiosStructure& structure : structures) {
        for (const std::string_view text : structure.Strings) {
            daemon_service::Value(text);
        }
    }
    // A recorded input must be one that reads the same.
    const std::string recorded = daemon_service::WithoutIdentifiers("/sys/firmware/dmi/tables/DMI", input);
    fuzz::Require(daemon_service::InstalledMemory(daemon_service::ParseSmbios(recorded)) == installed);
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string& name : daemon_service::MachineNames()) {
        daemon_service::MachineFiles files(daemon_service::MachineFolder(name));
        seeds.push_back(daemon_service::ReadSmbios(files));
    }
    std::erase(seeds, "");
    return seeds;
}
