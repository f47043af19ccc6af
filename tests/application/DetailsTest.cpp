// The details beside the records: whatever becomes of them, the records' flow is the same.

#include <cstdio>
#include <future>

#include "app/ServiceReport.h"
#include "app/TextOutput.h"
#include "platform/tasks/task.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/Golden.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

using platform::rpc::ServerCall;

/// With everything that the view model takes out of a document, and a key of a later service.
constexpr char16_t kDocument[] =
    uR"({"version":1,"later":[],"machine":{"kind":"laptop","maker":{"value":"M","source":"smbios 1.4"}},)"
    uR"("fields":{"productName":{"value":"P","source":"smbios 1.5"},)"
    uR"("serialNumber":{"missing":"placeholder","source":"smbios 1.7","detail":"Default string"},)"
    uR"("memory":{"missing":"stolen","source":"x"}},)"
    uR"("usbTypeC":{"ports":[{"name":"port0","usbStandards":["USB 2.0","USB4"],"powerDelivery":"3.0",)"
    uR"("displayPort":"yes","thunderbolt":"no","usb4":"unknown","sourcePowerMilliwatts":15000,)"
    uR"("partner":{"productType":"hub"},"source":"s"},{"name":"port1","usbStandards":[],)"
    uR"("powerDelivery":"unknown","displayPort":"unknown","thunderbolt":"unknown","usb4":"unknown",)"
    uR"("source":"t"}]},"firmwareRequest":{"kind":"bootEntry","name":"test","supported":true,"pending":true}})";

std::u16string Changed(std::u16string_view from, std::u16string_view to) {
    std::u16string document = kDocument;
    return document.replace(document.find(from), from.size(), to);
}

std::string Describe(const FieldDetails& field) {
    return platform::ToUtf8(field.Value) + " | " +
           (field.Missing ? std::to_string(static_cast<int>(*field.Missing)) : "-") + " | " +
           platform::ToUtf8(field.Source) + " | " + platform::ToUtf8(field.Detail) + "\n";
}

std::string Describe(const MachineDetails& details) {
    const auto number = [](const std::optional<double>& value) {
        return value ? std::to_string(static_cast<int>(*value)) : "-";
    };
    std::string text = platform::ToUtf8(details.Kind) + " | " + Describe(details.Maker);
    for (const auto& [key, field] : details.Fields) {
        text += platform::ToUtf8(key) + " | " + Describe(field);
    }
    for (const auto& port : details.Ports) {
        text += platform::ToUtf8(port.Name) + " | " + std::to_string(port.UsbStandards.size()) + " | " +
                platform::ToUtf8(port.PowerDelivery) + " | " +
                std::to_string(static_cast<int>(port.DisplayPort)) +
                std::to_string(static_cast<int>(port.Thunderbolt)) +
                std::to_string(static_cast<int>(port.Usb4)) + " | " + number(port.SourcePowerMilliwatts) +
                " | " + number(port.SinkPowerMilliwatts) + " | " +
                platform::ToUtf8(port.Partner.value_or(u"-")) + " | " + platform::ToUtf8(port.Source) + "\n";
    }
    if (const auto& request = details.FirmwareRequest) {
        text += platform::ToUtf8(request->BootEntry) + " | " + std::to_string(request->Supported) +
                std::to_string(request->Pending) + "\n";
    }
    return text;
}

struct DetailsAnswer {
    const char* name;
    std::u16string document;
    enum class When { AtOnce, Late, Never } when = When::AtOnce;

    friend void PrintTo(const DetailsAnswer& answer, std::ostream* out) { *out << answer.name; }
};

class DetailsAnswerTest : public ApplicationTest, public testing::WithParamInterface<DetailsAnswer> {};

TEST_P(DetailsAnswerTest, LeavesTheRecordsFlowAsItIsLineForLine) {
    const auto& answer = GetParam();
    m_systemInformation = Record(Letters(10));
    std::promise<void> asked;
    std::promise<void> released;
    StartService({}, {}, [&](ServerCall& call) {
        asked.set_value();
        if (answer.when != DetailsAnswer::When::AtOnce) {
            released.get_future().wait();
        }
        call.SetText(0, answer.document);
    });
    EXPECT_EQ(Run({[&] {
                  Press(u"ExpandButton");
                  platform::create_task([&] {
                      asked.get_future().wait();
                      if (answer.when != DetailsAnswer::When::Never) {
                          released.set_value();
                          MainViewModel::GetInstance()->DetailsRead().wait();
                      }
                  });
              }}),
              0);
    ExpectTrace("Menu", true);
    const auto details = MainViewModel::GetInstance()->Details();
    const auto problem = MainViewModel::GetInstance()->DetailsProblem();
    tests::ExpectGolden(std::string("application/details/") + answer.name + ".txt",
                        DetailsTrace() + (details ? Describe(*details) : "") +
                            (problem ? "status " + std::to_string(problem->Status) + "\n" : ""));
    if (answer.when == DetailsAnswer::When::Never) {
        released.set_value();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Golden, DetailsAnswerTest,
    testing::Values(DetailsAnswer{"AtOnce", kDocument},
                    DetailsAnswer{"Late", kDocument, DetailsAnswer::When::Late},
                    DetailsAnswer{"Never", kDocument, DetailsAnswer::When::Never},
                    DetailsAnswer{"Megabyte", u"{\"a\":\"" + std::u16string(1 << 20, u'x') + u"\"}"},
                    DetailsAnswer{"Deep", std::u16string(15'000, u'[') + std::u16string(15'000, u']')},
                    DetailsAnswer{"Cut", std::u16string(kDocument).substr(0, 300)},
                    DetailsAnswer{"OtherVersion", Changed(u"1", u"2")},
                    DetailsAnswer{"WrongType", Changed(u"[\"USB 2.0\",\"USB4\"]", u"\"USB4\"")},
                    DetailsAnswer{"NoPorts", Changed(u"\"ports\"", u"\"harbours\"")}),
    [](const auto& answer) { return std::string(answer.param.name); });

/// What `kelvane --json` does, with a limit of three seconds.
class JsonTest : public ApplicationTest {
  protected:
    /// `late`: the limit passes when everything but the details has been read.
    void ExpectJson(const std::string& name, bool late = false, OutputFormat format = OutputFormat::Json) {
        m_systemInformation = Record(Letters(10));
        std::string json;
        Run({[&] {
            WhenServiceAnswered(
                m_world->Loop(), std::chrono::seconds(3), Needed::Details, [&](bool answered) {
                    const bool complete = ReportMissingData(Needed::Details);
                    std::fputs(!answered ? "no answer\n" : complete ? "complete\n" : "incomplete\n", stderr);
                    json = tests::JsonLines(MachineAs(format));
                    Close();
                });
            platform::Application::WhenIdle(
                [&, late] { m_clock.Advance(std::chrono::seconds(late ? 3 : 0)); });
        }});
        tests::ExpectGolden("application/json/" + name + ".txt", json + m_errors);
    }
};

TEST_F(JsonTest, IsTheDocumentOfTheService) {
    StartService({}, {}, [](ServerCall& call) { call.SetText(0, kDocument); });
    ExpectJson("Details");
}

TEST_F(JsonTest, IsWithoutTheSerialNumberOnRequest) {
    StartService();
    ExpectJson("RecordsWithoutIdentifiers", false, OutputFormat::JsonWithoutIdentifiers);
}

TEST_F(JsonTest, IsMadeOfTheRecordsWhereThereIsNoInterface) {
    StartService();
    ExpectJson("RecordsWithoutInterface");
}

TEST_F(JsonTest, IsMadeOfTheRecordsWhereTheDetailsAreBroken) {
    StartService({}, {}, [](ServerCall& call) { call.SetText(0, u"{"); });
    ExpectJson("RecordsForBroken");
}

TEST_F(JsonTest, IsMadeOfTheRecordsWhereTheDetailsDoNotComeInTime) {
    std::promise<void> released;
    StartService({}, {}, [&](ServerCall&) { released.get_future().wait(); });
    ExpectJson("RecordsForNever", true);
    released.set_value();
}

TEST_F(JsonTest, WithoutAServiceSaysWhy) {
    ExpectJson("RecordsWithoutService");
}

}  // namespace

}  // namespace Kelvane
