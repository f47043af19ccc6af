// Firmware tables: everything that reads them, on any bytes.

#include "daemon/machine/Smbios.h"
#include "daemon/machine/Memory.h"
#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Recorder.h"
#include "daemon/machine/Values.h"
#include "fuzz/Target.h"
#include "tests/support/RecordedMachine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view table(reinterpret_cast<const char*>(data), size);
    // The kernel shows the whole table, or each structure of it.
    std::filesystem::remove_all(fuzz::Folder() / "sys");
    fuzz::WriteFile(size % 2 == 0 ? "sys/firmware/dmi/tables/DMI" : "sys/firmware/dmi/entries/17-0/raw",
                    table);
    daemon_service::MachineFiles files(fuzz::Folder());
    fuzz::Require(daemon_service::ReadSmbios(files) == table);

    const auto structures = daemon_service::ParseSmbios(table);
    daemon_service::ReadSystem(files);
    const auto installed = daemon_service::InstalledMemory(structures);
    std::size_t read = 0;
    for (const daemon_service::SmbiosStructure& structure : structures) {
        read += structure.Formatted.size();
        for (const std::string_view text : structure.Strings) {
            daemon_service::Value(text);
        }
    }
    // A recorded table must be one that reads the same.
    const std::string recorded = daemon_service::WithoutIdentifiers("/sys/firmware/dmi/tables/DMI", table);
    fuzz::Require(read <= size);
    fuzz::Require(daemon_service::InstalledMemory(daemon_service::ParseSmbios(recorded)) == installed);
    return 0;
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    for (const std::string& name : daemon_service::MachineNames()) {
        daemon_service::MachineFiles files(daemon_service::MachineFolder(name));
        seeds.push_back(daemon_service::ReadSmbios(files));
    }
    std::erase(seeds, "");
    // The same with structures that end within a number.
    for (std::size_t count = seeds.size(), i = 0; i < count; ++i) {
        auto table = seeds[i];
        for (const auto& structure : daemon_service::ParseSmbios(seeds[i])) {
            if (structure.Type == daemon_service::smbios::kMemoryDevice) {
                constexpr char kWithinSize = 0x0D;
                table[static_cast<std::size_t>(structure.Formatted.data() - seeds[i].data()) + 1] =
                    kWithinSize;
            }
        }
        seeds.push_back(table);
    }
    return seeds;
}
