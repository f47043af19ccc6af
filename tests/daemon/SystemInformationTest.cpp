// What is reported of the machines of tests/machines, and what no folder can hold: other rights, links out of
// the tree, failures by chance.

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
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/Recorder.h"
#include "daemon/machine/Smbios.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/machine/Values.h"
#include "platform/core/Text.h"
#include "tests/support/Golden.h"
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

using testing::HasSubstr;

/// Both records and the notes.
std::string Told(const std::string& root) {
    MachineFiles files(root);
    const MachineDetails told = ReadMachine(files);
    std::ostringstream text;
    const std::vector<Field> information = SystemInformationFields(told);
    text << "System information: " << platform::ToUtf8(Joined(information)) << "\n\n";
    for (const Field& field : UsbTypeCFields(told.TypeCPorts)) {
        text << platform::ToUtf8(field.Label) << ": " << platform::ToUtf8(field.Text) << "\n";
    }
    text << "\n";
    for (const std::string& note : files.Notes()) {
        text << "Note: " << note << "\n";
    }
    // Whatever firmware writes, a reader of the record finds as many fields as were written.
    const std::u16string record = Joined(information);
    std::size_t separators = 0;
    for (auto at = record.find(kFieldSeparator); at != std::u16string::npos;
         at = record.find(kFieldSeparator, at + 1)) {
        ++separators;
    }
    EXPECT_EQ(separators + 1, information.size());
    EXPECT_LE(record.size(), kSystemInformationLimit);
    return text.str();
}

TEST(Machines, AreToldAsTheirGoldenFilesSay) {
    for (const std::string& name : MachineNames()) {
        tests::ExpectGolden("machines/" + name + "/record.txt", Told(MachineFolder(name)));
    }
}

/// Without identifiers, which all hold "5ECRET" in tests/machines and are replaced whole in a recording.
std::string WithoutIdentifiers(const std::string& told) {
    constexpr auto kField = R"((: |<\.\^\.>)((?!<\.\^\.>).)*(5ECRET|RECORDED-SERIAL)((?!<\.\^\.>).)*)";
    return std::regex_replace(told, std::regex(kField), "$1-");
}

TEST(Recorder, RecordedTreeTellsTheSameWithTheSameFaultsAndWithoutIdentifiers) {
    for (const std::string& name : MachineNames()) {
        const RecordedMachine copy;
        Record(MachineFolder(name), copy.Root());
        EXPECT_EQ(WithoutIdentifiers(Told(copy.Root())), WithoutIdentifiers(Told(MachineFolder(name))))
            << name;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(copy.Root())) {
            if (entry.is_regular_file()) {
                std::ifstream file(entry.path(), std::ios::binary);
                const std::string content(std::istreambuf_iterator<char>(file), {});
                EXPECT_EQ(content.find("5ECRET"), std::string::npos) << name << entry.path();
            }
        }
        EXPECT_THROW(Record(MachineFolder(name), copy.Root()), std::exception) << "nothing is written over";
    }
}

// A link in a recorded tree that leads out of it must not show the files of the machine that serves the tree.
TEST(MachineFiles, LinksStayBelowTheRootAndOddFilesAreRefused) {
    RecordedMachine machine;
    machine.Link("/etc/os-release", "/../../../../etc/passwd").Link("/proc/cpuinfo", "/etc/os-release");
    const std::string pipe = machine.Root() + "/proc/meminfo";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(machine.SystemInformation(), testing::Not(HasSubstr("root")));
    EXPECT_THAT(Told(machine.Root()), HasSubstr("Note: /proc/meminfo: not a regular file"));
    EXPECT_THROW(MachineFiles("/nonexistent/tree"), std::exception);
}

TEST(MachineFiles, AnOpeningThatFailsByChanceIsTriedAgainAndOneThatAlwaysDoesIsReported) {
    const std::string root = MachineFolder("business-laptop");
    const std::string told = Told(root);
    for (const int error : {EAGAIN, EINTR}) {
        g_failures = {.Error = error, .Each = 3};
        EXPECT_EQ(Told(root), told) << error;
    }
    g_failures = {.Error = EAGAIN, .Each = 1'000'000};
    MachineFiles files(root);
    EXPECT_FALSE(files.Read("/proc/cpuinfo"));
    EXPECT_TRUE(files.List("/sys/class/typec").empty());
    EXPECT_FALSE(files.LinkTarget("/etc/os-release"));
    g_failures = {};
    EXPECT_THAT(files.Notes(), testing::ElementsAre("/proc/cpuinfo: Resource temporarily unavailable",
                                                    "/sys/class/typec: Resource temporarily unavailable",
                                                    "/etc/os-release: Resource temporarily unavailable"));
}

// Under systemd the unit has "none" stand in for what the service manager could not read.
TEST(MachineFiles, CredentialsAreReadAndTheirStandInIsNotTheMachine) {
    const RecordedMachine credentials;
    std::ofstream(credentials.Root() + "/product_serial") << "none";
    std::ofstream(credentials.Root() + "/board_serial") << "none\n";
    setenv("CREDENTIALS_DIRECTORY", credentials.Root().c_str(), 1);
    MachineFiles files("/");
    unsetenv("CREDENTIALS_DIRECTORY");
    EXPECT_NE(files.Read("/sys/class/dmi/id/product_serial"), "none");
    EXPECT_EQ(files.Read("/sys/class/dmi/id/board_serial"), "none\n");
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

TEST(Smbios, NoNumberReachesBeyondItsStructure) {
    const auto structure = ParseSmbios({"\x11\x06\0\0\1\2text\0\0", 12}).front();
    EXPECT_EQ(structure.Word(4), 0x0201U);
    EXPECT_FALSE(structure.Word(5));
    EXPECT_FALSE(structure.Double(3));
    EXPECT_FALSE(structure.Byte(6));
}

TEST(Values, CleanKeepsOneReadableLine) {
    EXPECT_EQ(Clean("\t a\n\x7F  b\xC2\xA0"), u"a b");
    EXPECT_EQ(Clean("\xED\xA0\x80 \xF0\x9F\x92\xBB \xE2\x80\xAEx"), u"? \U0001F4BB x");
    EXPECT_EQ(Capped(u"ab\U0001F4BBcd", 4), u"ab…");
    EXPECT_FALSE(Value("........"));
    EXPECT_FALSE(Value("FFFFFFFF"));
    EXPECT_TRUE(Value("FX-505"));
}

}  // namespace
}  // namespace daemon_service
