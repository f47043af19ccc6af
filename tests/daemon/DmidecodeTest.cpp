// What dmidecode reads in the tables of the machines in tests/machines.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Smbios.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

/// The table as dmidecode's own dump: DSP0134, "SMBIOS 3.0 (64-bit) Entry Point", with the table at byte 32.
std::string Dump(const std::string& table) {
    std::string dump = std::string("_SM3_\0\x18\3\3\0\1\0", 12) + std::string(20, '\0');
    for (int i = 0; i < 4; ++i) {
        dump[12 + i] = static_cast<char>(table.size() >> 8 * i);
    }
    dump[16] = 32;
    unsigned sum = 0;
    for (const char byte : dump) {
        sum += static_cast<unsigned char>(byte);
    }
    dump[5] = static_cast<char>(-sum);
    return dump + table;
}

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
    std::string text;
    for (int c = 0; output != nullptr && (c = std::fgetc(output.get())) != EOF;) {
        text += static_cast<char>(c);
    }
    return text;
}

/// "16 GB", "No Module Installed", "Unknown".
std::string Size(const MemoryModule& module) {
    if (module.Bytes.value_or(0) == 0) {
        return module.Bytes ? "No Module Installed" : "Unknown";
    }
    std::uint64_t number = *module.Bytes / 1024;
    constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB"};
    const char* const* unit = kUnits;
    for (; number % 1024 == 0; ++unit) {
        number /= 1024;
    }
    return std::to_string(number) + " " + *unit;
}

/// A structure as both read it, in the words of dmidecode.
struct Told {
    std::string Structures;
    std::string Modules;
};

Told ByUs(MachineFiles& files, std::string_view table) {
    std::ostringstream structures;
    for (const SmbiosStructure& structure : ParseSmbios(table)) {
        structures << structure.Handle << " type " << int{structure.Type} << "\n";
        if (structure.Type == smbios::kProcessor) {
            structures << "Version: " << structure.Text(0x10) << "\n";
        }
    }
    std::ostringstream modules;
    for (const MemoryModule& module : ReadSystem(files).MemoryModules) {
        modules << "Size: " << Size(module) << ", Locator: " << module.Slot << "\n";
    }
    return {structures.str(), modules.str()};
}

Told ByDmidecode(const std::string& dump) {
    std::istringstream lines(OutputOf("dmidecode --from-dump " + dump + " 2>&1"));
    Told told;
    std::set<unsigned> memoryArrays;
    int type = -1;
    unsigned handle = 0;
    unsigned array = 0;
    std::string module;
    for (std::string line; std::getline(lines, line);) {
        if (std::sscanf(line.c_str(), "Handle 0x%x, DMI type %d", &handle, &type) == 2 &&
            type != smbios::kEndOfTable) {
            told.Structures += std::to_string(handle) + " type " + std::to_string(type) + "\n";
        } else if (line == "\t<TRUNCATED>") {
            told.Structures.resize(told.Structures.rfind('\n', told.Structures.size() - 2) + 1);
        } else if (type == smbios::kProcessor && line.starts_with("\tVersion: ")) {
            told.Structures += line.substr(1) + "\n";
        } else if (type == smbios::kMemoryArray && line == "\tUse: System Memory") {
            memoryArrays.insert(handle);
        } else if (std::sscanf(line.c_str(), "\tArray Handle: 0x%x", &array) == 1) {
            module.clear();
        } else if (type == smbios::kMemoryDevice && line.starts_with("\tSize: ")) {
            module = line.substr(1);
        } else if (type == smbios::kMemoryDevice && line.starts_with("\tLocator: ")) {
            module += ", " + line.substr(1) + "\n";
        } else if (type == smbios::kMemoryDevice && line.starts_with("\tType: ") &&
                   line.find("non-volatile") == std::string::npos && memoryArrays.contains(array)) {
            told.Modules += module;
        }
    }
    return told;
}

TEST(Smbios, StructuresAreThoseThatDmidecodeReads) {
    if (OutputOf("dmidecode --version 2>/dev/null").empty()) {
        GTEST_SKIP() << "dmidecode is not installed";
    }
    std::size_t tables = 0;
    for (const std::string& name : MachineNames()) {
        const RecordedMachine machine(name);
        MachineFiles files(machine.Root());
        const auto table = files.Read(std::string(smbios::kTablePath));
        if (table && name != "hostile-texts") {  // whose texts do not stay as they are
            ++tables;
            const std::string dump = machine.Root() + "/dump";
            std::ofstream(dump, std::ios::binary) << Dump(*table);
            const Told ours = ByUs(files, *table);
            const Told theirs = ByDmidecode(dump);
            EXPECT_EQ(ours.Structures, theirs.Structures) << name;
            EXPECT_EQ(ours.Modules, theirs.Modules) << name;
        }
    }
    EXPECT_GT(tables, 15U);
}

}  // namespace
}  // namespace daemon_service
