// What a user gets of the two records: the pages, and the outputs for terminals and for programs.

#include "app/TextOutput.h"

#include "service/HotkeyRpc.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/Golden.h"
#include "tests/support/PackageScope.h"

namespace Kelvane {

namespace {

/// What the service answers, and the file that holds what comes of it.
struct OutputCase {
    const char* name;
    std::optional<std::u16string> systemInformation;
    std::optional<std::u16string> usbTypeC;
    bool hasService = true;
    platform::ProcessorArchitecture architecture = platform::ProcessorArchitecture::X64;
    std::u16string language = u"en-US";

    friend void PrintTo(const OutputCase& output, std::ostream* out) { *out << output.name; }
};

class OutputTest : public ApplicationTest, public testing::WithParamInterface<OutputCase> {};

TEST_P(OutputTest, PagesAndOutputsSayWhatTheRecordsSay) {
    const auto& output = GetParam();
    const PackageScope package;
    package.Write("Strings/he-IL/Resources.resw",
                  "<root><data name='SysInfoLabel0.Text'><value>שם המוצר</value></data>"
                  "<data name='Usable.Text'><value>שמיש</value></data>"
                  "<data name='Supported.Text'><value>נתמך</value></data>"
                  "<data name='BiosCredentialValueNone.Text'><value>לא מוגדר</value></data></root>");
    m_systemInformation = output.systemInformation;
    m_usbTypeC = output.usbTypeC;
    m_options.Architecture = output.architecture;
    m_options.Languages = {output.language};
    if (output.hasService) {
        StartService();
    }
    std::string got;
    Run({[&] {
             got += "# main page, after " + std::to_string(Calls(procedure::ReadSysInfo)) + " + " +
                    std::to_string(Calls(procedure::ReadUSBTypeCInfo)) + " reads\n" + Shown() + "\n# text\n" +
                    MachineAs(OutputFormat::Text) + "\n# JSON\n" +
                    tests::JsonLines(MachineAs(OutputFormat::Json)) + "\n# USB Type-C page\n";
             Find<platform::Button>(u"USBType")->Visibility(platform::Visibility::Visible);
             Press(u"USBType");
         },
         [&] { got += Shown(); }});
    tests::ExpectGolden(std::string("application/output/") + output.name + ".txt", got);
}

// Fields that differ in every record, so that none can stand in for another.
const std::u16string kLaptop =
    u"Workstation 5<.^.>4T8Z9EA#ABU<.^.>12th Gen @ 2.10 GHz<.^.>16 GB (15.6 GB usable)<.^.>Debian 12<.^.>U21 "
    u"02.09<.^.>8953 KBC<.^.>5CG1234XYZ<.^.>21WWHT602<.^.>0<.^.>x";
const std::u16string kPorts =
    u"USB 2.0(~!~)USB 3.1 Gen 2(~!~), USB 3.2 Gen "
    u"2<.^.>Supported<.^.>no<.^.>Supported<.^.>supported<.^.>60.0 "
    u"W";

INSTANTIATE_TEST_SUITE_P(
    Golden, OutputTest,
    testing::Values(
        OutputCase{"Complete", kLaptop, kPorts}, OutputCase{"Absent", {}, {}, false},
        OutputCase{"RightToLeft", kLaptop, kPorts, true, platform::ProcessorArchitecture::X64, u"he-IL"},
        OutputCase{
            "MissingValues",
            u"null<.^.><.^.>NULL<.^.>null<.^.> <.^.> padded <.^.>null <.^.>s<.^.>null<.^.>letters<.^.>",
            u"v(~!~)USB 3.1 Gen 1<.^.><.^.>Supported <.^.>Supported<.^.>Supported<.^.>null"},
        OutputCase{"ShortForm", Record(Letters(10)), u""},
        OutputCase{"OldForm", u"a,b,c,d,e,f,g,h,i,16,k,l", u"x, USB 4"},
        OutputCase{"OldFormWithBiosPassword", u"a,b,c,8 GB,e,f,g,h,i,0x10,k", u"x, USB 4,<.^.>"},
        OutputCase{"LongestRecord", std::u16string(943, u'x') + Record(Letters(10)), kPorts},
        OutputCase{"TooFewFields", Record(Letters(9)), kPorts},
        OutputCase{
            "HostileValues",
            u"a\nSerial number: x\u009B<.^.>\u001B[2J\x7F<.^.>\"c\\<.^.>8\t<.^.>\xD800<.^.>f<.^.>g<.^.>h"
            u"<.^.>i<.^.>1<.^.>",
            u"x\r, USB 4,<.^.>"},
        OutputCase{"UsbTypeCFails", kLaptop, {}},
        OutputCase{"UsbTypeCNotReadOnArm", kLaptop, {}, true, platform::ProcessorArchitecture::Arm64},
        OutputCase{"SystemInformationFails", {}, kPorts}),
    [](const auto& output) { return std::string(output.param.name); });

}  // namespace

}  // namespace Kelvane
