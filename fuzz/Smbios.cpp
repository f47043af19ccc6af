// Firmware tables: everything that reads them, on any bytes.

#include "daemon/machine/Smbios.h"
#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Memory.h"
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
    using daemon_service::SmbiosBuilder;
    // All ways to tell a module's size, in the machine's own array and in another.
    SmbiosBuilder memory;
    memory.MemoryArray(0x1000).MemoryArray(0x1001, 4);
    memory.MemoryDevice(0x1000, 8192).MemoryDevice(0x1000, 0x7FFF, 65536).MemoryDevice(0x1000, 0x8200);
    memory.MemoryDevice(0x1000, 0).MemoryDevice(0x1000, 0xFFFF).MemoryDevice(0x1001, 512, 0, 9);
    SmbiosBuilder others;
    others.Add(1, 1, {1, 2, 3, 4}, {"Veldra", "Slate", "X1", "PF0ABCDE"});
    others.Add(4, 4, std::vector<std::uint8_t>(44, 3), {"socket", "maker", "Quad Core CPU"});
    others.Add(8, 8, {1, 0, 2, 18, 0}, {"inside", "outside"});
    std::vector<std::string> seeds{memory.Bytes(), others.Bytes(), others.Add(127, 127, {}).Bytes()};
    for (const std::uint8_t settings : {0x00, 0x40, 0x55, 0xAA, 0xFF}) {
        seeds.push_back(memory.Bytes() + SmbiosBuilder().HardwareSecurity(settings).Bytes());
    }
    return seeds;
}
