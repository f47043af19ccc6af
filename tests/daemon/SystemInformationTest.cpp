// The system-information record of whole machines, and of the single faults that firmware is known for.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>

#include "daemon/machine/Smbios.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/Values.h"
#include "platform/core/Text.h"
#include "tests/support/RecordedMachine.h"

namespace {

/// What openat2 answers: `Error` for the first `Each` tries of every opening.
struct Failures {
    int Error = 0;
    int Each = 0;
    int Tries = 0;
} g_failures;

}  // namespace

/// Stands before the library's function of this name, through which openat2 is called.
extern "C" long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long& argument : arguments) {
        argument = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_openat2 && g_failures.Tries++ < g_failures.Each) {
        errno = g_failures.Error;
        return -1;
    }
    if (number == SYS_openat2) {
        g_failures.Tries = 0;
    }
    static const auto real = reinterpret_cast<decltype(&syscall)>(dlsym(RTLD_NEXT, "syscall"));
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

namespace daemon_service {
namespace {

using testing::Contains;
using testing::HasSubstr;

enum FieldIndex : std::size_t {
    kName,
    kNumber,
    kProcessor,
    kMemory,
    kSystem,
    kFirmware,
    kBoard,
    kSerial,
    kBuild,
    kPassword
};

TEST(SystemInformation, LaptopTellsEverything) {
    RecordedMachine machine;
    BuildLaptop(machine);
    EXPECT_EQ(
        machine.SystemInformation(),
        "Veldra Slate X1<.^.>VELDRA_MT_20HR<.^.>Quad Core CPU @ 2.70GHz<.^.>16 GB (15.6 GB usable)<.^.>"
        "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64<.^.>N1MET61W (1.46 ), 2023-02-14, UEFI<.^.>"
        "Veldra 20HRCTO1WW SDK0J40697 WIN<.^.>PF0ABCDE<.^.>6.1.0-18-amd64<.^.>1<.^.>null");
}

TEST(SystemInformation, VirtualMachineWithNothingIsAllNullButUsable) {
    RecordedMachine machine;
    machine.MemTotal(24684084).File("/sys/devices/system/memory/block_size_bytes", "8000000\n");
    for (int i = 0; i < 192; ++i) {
        machine.File("/sys/devices/system/memory/memory" + std::to_string(i) + "/online", "1\n");
    }
    EXPECT_EQ(machine.SystemInformation(),
              "null<.^.>null<.^.>null<.^.>24 GB (23.5 GB usable)<.^.>null<.^.>null<.^.>"
              "null<.^.>null<.^.>null<.^.>null");
    EXPECT_EQ(machine.UsbTypeC(), "");
    EXPECT_THAT(machine.Notes(),
                Contains(HasSubstr("serial number: no value: sysfs class/dmi/id/product_serial: absent")));
}

TEST(SystemInformation, ArmBoardByDeviceTree) {
    RecordedMachine machine;
    const std::string base = "/sys/firmware/devicetree/base/";
    machine.MemTotal(8131072)
        .File("/proc/cpuinfo", "processor\t: 0\nCPU part\t: 0xd0b\nSerial\t\t: 10000000abcdef01\n")
        .File(base + "model", std::string("Berry Model 5 Rev 1.0\0", 22))
        .File(base + "serial-number", std::string("10000000abcdef01\0", 17))
        .File(base + "compatible", std::string("berry,5-model\0bcorp,bc2712\0", 27))
        .File(base + "chosen/u-boot,version", std::string("U-Boot 2024.01\0", 15));
    for (const char* core : {"cpu@100", "cpu@200", "cpu@400"}) {
        machine.File(base + "cpus/" + core + "/compatible", std::string("arm,cortex-a76\0", 15));
    }
    machine.File(base + "cpus/cpu@0/compatible", std::string("arm,cortex-a55\0", 15))
        .File(base + "cpus/cpu@300/compatible", "");
    EXPECT_EQ(machine.SystemInformation(),
              "Berry Model 5 Rev 1.0<.^.>null<.^.>BC2712 (1 x CORTEX-A55, 3 x CORTEX-A76)<.^.>7.8 GB "
              "usable<.^.>null<.^.>"
              "U-Boot 2024.01<.^.>null<.^.>10000000abcdef01<.^.>null<.^.>null");
}

TEST(SystemInformation, PlaceholdersAreNoValuesAndFallBack) {
    RecordedMachine machine;
    machine.Dmi({{"product_name", "To Be Filled By O.E.M."},
                 {"product_version", " default STRING "},
                 {"product_sku", "SKU"},
                 {"board_name", "A520M Pro"},
                 {"product_serial", "System Serial Number"},
                 {"board_serial", "00000000"},
                 {"chassis_serial", "CH-77"},
                 {"bios_version", "Unknown"},
                 {"bios_date", "n/a"}});
    EXPECT_EQ(machine.Field(kName), "A520M Pro");
    EXPECT_EQ(machine.Field(kNumber), "null");
    EXPECT_EQ(machine.Field(kSerial), "CH-77");
    EXPECT_EQ(machine.Field(kFirmware), "null");
}

TEST(SystemInformation, OrderCodeAsNameChangesPlacesWithReadableVersion) {
    struct Row {
        const char* name;
        const char* version;
        const char* wantedName;
        const char* wantedNumber;
    };
    for (const Row& row : {Row{"20HRCTO1WW", "Veldra Slate", "Veldra Slate", "20HRCTO1WW"},
                           Row{"B450M", "Rev 1.xx", "B450M", "Rev 1.xx"},
                           Row{"Latitude 7420", "A12", "Latitude 7420", "A12"}}) {
        RecordedMachine machine;
        machine.Dmi({{"product_name", row.name}, {"product_version", row.version}});
        EXPECT_EQ(machine.Field(kName), row.wantedName);
        EXPECT_EQ(machine.Field(kNumber), row.wantedNumber);
    }
}

TEST(SystemInformation, HostileTextsNeverChangeTheFieldCountNorTheLimit) {
    RecordedMachine machine;
    const std::string endless(5000, 'W');
    for (const char* file : {"product_name", "product_sku", "product_serial", "bios_version", "board_name"}) {
        machine.Dmi({{file, "a<.^.>b<.<.^.>^.>\x01\xFF(~!~)" + endless}});
    }
    machine.File("/proc/cpuinfo", "model name : " + endless)
        .File("/etc/os-release", "PRETTY_NAME=" + endless + "\nBUILD_ID=" + endless)
        .MemTotal(1 << 20)
        .Tables(SmbiosBuilder().HardwareSecurity(0x00));
    const std::u16string record = platform::FromUtf8(machine.SystemInformation());
    EXPECT_LE(record.size(), kSystemInformationLimit);
    std::size_t separators = 0;
    for (auto at = record.find(kFieldSeparator); at != record.npos;
         at = record.find(kFieldSeparator, at + 1)) {
        ++separators;
    }
    EXPECT_EQ(separators, 10u);
    EXPECT_THAT(machine.Field(kName), testing::StartsWith("a b<. ^.> ? WWW"));
}

TEST(SystemInformation, OsReleaseQuotesAndFallbacks) {
    RecordedMachine machine;
    machine.File("/etc/os-release", "NAME='Plain \"OS\"'\nVERSION_ID=\"4\\$2\"\nIMAGE_VERSION=77\n");
    EXPECT_EQ(machine.Field(kSystem), "Plain \"OS\" 4$2");
    EXPECT_EQ(machine.Field(kBuild), "77");
}

// A link in a recorded tree that leads out of it must not show the files of the machine that serves the tree.
TEST(MachineFiles, LinksStayBelowTheRootAndOddFilesAreRefused) {
    RecordedMachine machine;
    machine.Link("/etc/os-release", "/../../../../etc/passwd").Link("/proc/cpuinfo", "/etc/os-release");
    const std::string pipe = machine.Root() + "/proc/meminfo";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(machine.SystemInformation(), testing::Not(HasSubstr("root")));
    EXPECT_THAT(machine.Notes(), Contains(HasSubstr("/proc/meminfo: not a regular file")));
    EXPECT_THROW(MachineFiles("/nonexistent/tree"), std::exception);
}

TEST(MachineFiles, AnOpeningThatFailsByChanceIsTriedAgainAndOneThatAlwaysDoesIsReported) {
    RecordedMachine machine;
    BuildLaptop(machine);
    const std::string record = machine.SystemInformation() + machine.UsbTypeC();
    for (const int error : {EAGAIN, EINTR}) {
        g_failures = {.Error = error, .Each = 3};
        EXPECT_EQ(machine.SystemInformation() + machine.UsbTypeC(), record) << error;
    }
    g_failures = {.Error = EAGAIN, .Each = 1'000'000};
    MachineFiles files(machine.Root());
    EXPECT_FALSE(files.Read("/proc/cpuinfo"));
    EXPECT_TRUE(files.List("/sys/class/typec").empty());
    EXPECT_FALSE(files.LinkTarget("/etc/os-release"));
    g_failures = {};
    EXPECT_THAT(files.Notes(), testing::ElementsAre("/proc/cpuinfo: Resource temporarily unavailable",
                                                    "/sys/class/typec: Resource temporarily unavailable",
                                                    "/etc/os-release: Resource temporarily unavailable"));
}

/// Takes openat2 away from this process, as the sandbox of the service's unit does.
void ForbidOpenat2() {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{.len = std::size(program), .filter = program};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

TEST(MachineFiles, ThisMachineIsReadInTheSandboxToo) {
    EXPECT_EXIT(
        {
            ForbidOpenat2();
            MachineFiles files("/");
            std::_Exit(files.Read("/proc/meminfo") && !files.List("/proc").empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Values, CleanKeepsOneReadableLine) {
    EXPECT_EQ(Clean("\t a\n\x7F  b\xC2\xA0"), u"a b");
    EXPECT_EQ(Clean("\xED\xA0\x80 \xF0\x9F\x92\xBB \xE2\x80\xAEx"), u"? \U0001F4BB x");
    EXPECT_EQ(Capped(u"ab\U0001F4BBcd", 4), u"ab…");
    EXPECT_FALSE(Value("........"));
    EXPECT_FALSE(Value("FFFFFFFF"));
    EXPECT_TRUE(Value("FX-505"));
}

struct MemoryCase {
    const char* fault;
    SmbiosBuilder tables;
    const char* wanted;
};

TEST(Memory, InstalledSizeByTables) {
    const MemoryCase cases[] = {
        {"two modules and an empty slot",
         SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 8192).MemoryDevice(1, 0).MemoryDevice(1, 8192),
         "16 GB (7.8 GB usable)"},
        {"a large module in the extended field",
         SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 0x7FFF, 0x80010000), "64 GB (7.8 GB usable)"},
        {"a module counted in KiB is less than what is in use",
         SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 0x8000 | 0x7C00), "7.8 GB usable"},
        {"flash and video arrays do not count",
         SmbiosBuilder().MemoryArray(1).MemoryArray(2, 5).MemoryDevice(1, 8192).MemoryDevice(2, 8192),
         "8 GB (7.8 GB usable)"},
        {"persistent storage does not count",
         SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 8192).MemoryDevice(1, 8192, 0, 0x1F),
         "8 GB (7.8 GB usable)"},
        {"one unknown module makes the sum unknown",
         SmbiosBuilder().MemoryArray(1).MemoryDevice(1, 16384).MemoryDevice(1, 0xFFFF), "7.8 GB usable"},
        {"modules without an array", SmbiosBuilder().MemoryDevice(1, 16384), "7.8 GB usable"},
    };
    for (const MemoryCase& row : cases) {
        RecordedMachine machine;
        machine.MemTotal(8131072).Tables(row.tables);
        EXPECT_EQ(machine.Field(kMemory), row.wanted) << row.fault;
    }
}

TEST(Memory, LaterSourcesStandInForTables) {
    RecordedMachine machine;
    machine.MemTotal(8131072).File("/run/udev/data/+dmi:id",
                                   "E:MEMORY_ARRAY_NUM_DEVICES=4\nE:MEMORY_DEVICE_0_SIZE=8589934592\n"
                                   "E:MEMORY_DEVICE_2_SIZE=4294967296\n"
                                   "E:MEMORY_DEVICE_3_SIZE=8589934592\n"
                                   "E:MEMORY_DEVICE_3_TYPE=Logical non-volatile device\n");
    EXPECT_EQ(machine.Field(kMemory), "12 GB (7.8 GB usable)");
    for (const auto& [name, table] : {std::pair("16-0", SmbiosBuilder().MemoryArray(1)),
                                      std::pair("17-0", SmbiosBuilder().MemoryDevice(1, 16384))}) {
        machine.File("/sys/firmware/dmi/entries/" + std::string(name) + "/raw", table.Bytes());
    }
    EXPECT_EQ(machine.Field(kMemory), "16 GB (7.8 GB usable)");
    machine.File("/proc/meminfo", "");
    EXPECT_EQ(machine.Field(kMemory), "16 GB");
}

TEST(Smbios, BrokenTablesGiveWhatComesBeforeTheBreak) {
    const std::string whole = SmbiosBuilder()
                                  .Add(4, 0x400, std::vector<std::uint8_t>(0x2C, 1), {"CPU Name"})
                                  .MemoryArray(1)
                                  .MemoryDevice(1, 8192)
                                  .Add(127, 0x7F00, {})
                                  .Bytes();
    EXPECT_EQ(ParseSmbios(whole + "junk after the end").size(), 3u);
    // Cut at every length and damaged at every byte: never more than the bytes there are, never a crash.
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        EXPECT_LE(ParseSmbios(std::string_view(whole).substr(0, cut)).size(), 3u);
        std::string damaged = whole;
        damaged[cut] = static_cast<char>(0xFF);
        for (const SmbiosStructure& structure : ParseSmbios(damaged)) {
            EXPECT_LE(structure.Formatted.size(), whole.size());
            EXPECT_FALSE(structure.Double(structure.Formatted.size() - 3));
            structure.Text(4);
        }
    }
}

struct PasswordCase {
    const char* fault;
    const char* role;
    const char* mechanism;
    const char* enabled;
    int table;  // settings byte of the firmware's table, -1 for none
    const char* wanted;
};

TEST(BiosPassword, UnknownIsNeverToldAsNone) {
    constexpr auto kNoField = "null";  // index 9 is then the trailing field of the short form
    const PasswordCase cases[] = {
        {"a password is set", "bios-admin", "password", "1", -1, "1"},
        {"none is set", "power-on", "password", "0", -1, "0"},
        {"a certificate is the other kind", "bios-admin", "certificate", "1", -1, "16"},
        {"set, and of a kind that cannot be read", "bios-admin", "", "1", -1, kNoField},
        {"set, and the table knows that it is a password", "bios-admin", "", "1", 0x04, "1"},
        {"set, so the table cannot make it none", "bios-admin", "", "1", 0x00, kNoField},
        {"a disk's password is not the firmware's", "hdd", "password", "1", -1, kNoField},
        {"the driver does not know", "bios-admin", "password", "unknown", -1, kNoField},
        {"the class is silent, the table knows", "bios-admin", "password", "", 0x04, "1"},
        {"the class wins over the table", "bios-admin", "password", "0", 0x44, "0"},
        {"table: administrator enabled", "", "", "", 0x04, "1"},
        {"table: power-on enabled", "", "", "", 0x40, "1"},
        {"table: both disabled", "", "", "", 0x00, "0"},
        {"table: the keyboard's password is another one", "", "", "", 0x10, "0"},
        {"table: one disabled, one unknown", "", "", "", 0xC0, kNoField},
        {"table: nothing implemented", "", "", "", 0xAA, kNoField},
        {"nothing tells", "", "", "", -1, kNoField},
    };
    for (const PasswordCase& row : cases) {
        RecordedMachine machine;
        const std::string folder = "/sys/class/firmware-attributes/driver/authentication/Some/";
        if (*row.role != '\0') {
            machine.File(folder + "role", row.role).File(folder + "mechanism", row.mechanism);
            machine.File(folder + "is_enabled", row.enabled);
        }
        if (row.table >= 0) {
            machine.Tables(SmbiosBuilder().HardwareSecurity(static_cast<std::uint8_t>(row.table)));
        }
        EXPECT_EQ(machine.Field(kPassword), row.wanted) << row.fault;
    }
}

}  // namespace
}  // namespace daemon_service
