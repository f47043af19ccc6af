// The details beside the records: with or without them, the records' flow is the same.

#include <cstdio>
#include <future>
#include <sstream>

#include "app/ServiceReport.h"
#include "app/TextOutput.h"
#include "platform/tasks/task.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/Golden.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

using platform::rpc::ServerCall;

/// The document of a recorded machine, with `from` replaced.
std::u16string Document(std::u16string_view from = u"", std::u16string_view to = u"") {
    auto document = MachineFile("business-laptop/details.json");
    // The window has a message for a request that is pending.
    constexpr std::u16string_view kPending = u"\"pending\":true";
    document.replace(document.find(kPending), kPending.size(), u"\"pending\":false");
    return document.replace(document.find(from), from.size(), to);
}

constexpr auto kSerial = u"\"value\":\"PF05ECRET\"";

std::string Describe(const FieldDetails& field) {
    return platform::ToUtf8(field.Value + u" | " + field.Source + u" | " + field.Detail) +
           (field.Missing ? " | " + std::to_string(static_cast<int>(*field.Missing)) : "") + "\n";
}

/// What the view model makes of a document.
std::string Describe(const MachineDetails& details) {
    std::ostringstream text;
    text << platform::ToUtf8(details.Kind) << "\nmaker: " << Describe(details.Maker);
    for (const auto& [key, field] : details.Fields) {
        text << platform::ToUtf8(key) << ": " << Describe(field);
    }
    for (const auto& port : details.Ports) {
        text << platform::ToUtf8(port.Name + u" | " + port.Location + u" | " + port.DataRole + u" | " +
                                 port.PowerRole + u" | " + port.PowerDelivery + u" | " +
                                 port.Partner.value_or(u"-") + u" | " + port.Source)
             << " | " << port.UsbStandards.size() << static_cast<int>(port.DisplayPort)
             << static_cast<int>(port.Thunderbolt) << static_cast<int>(port.Usb4) << " | "
             << port.SourcePowerMilliwatts.value_or(-1) << " | " << port.SinkPowerMilliwatts.value_or(-1)
             << "\n";
    }
    if (const auto& request = details.FirmwareRequest) {
        text << platform::ToUtf8(request->BootEntry) << " | " << request->Supported << request->Pending
             << "\n";
    }
    return text.str();
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
                          AwaitDetails();
                      }
                  });
              }}),
              0);
    if (answer.when == DetailsAnswer::When::Never) {
        released.set_value();
    }
    ExpectTrace("Menu", true);
    const auto details = MainViewModel::GetInstance()->Details();
    const auto problem = MainViewModel::GetInstance()->DetailsProblem();
    tests::ExpectGolden(std::string("application/details/") + answer.name + ".txt",
                        DetailsTrace() + (details ? Describe(*details) : "") +
                            (problem ? "status " + std::to_string(problem->Status) + "\n" : ""));
}

INSTANTIATE_TEST_SUITE_P(
    Golden, DetailsAnswerTest,
    testing::Values(
        DetailsAnswer{"AtOnce", Document(kSerial, u"\"missing\":\"placeholder\",\"detail\":\"None\"")},
        DetailsAnswer{"Late", Document(kSerial, u"\"missing\":\"stolen\""), DetailsAnswer::When::Late},
        DetailsAnswer{"Never", Document(), DetailsAnswer::When::Never},
        DetailsAnswer{"Megabyte", u"{\"a\":\"" + std::u16string(1 << 20, u'x') + u"\"}"},
        DetailsAnswer{"Deep", std::u16string(15'000, u'[') + std::u16string(15'000, u']')},
        DetailsAnswer{"Cut", Document().substr(0, 300)}, DetailsAnswer{"OtherVersion", Document(u"1", u"2")},
        DetailsAnswer{"WrongType", Document(u"\"productName\":{", u"\"productName\":1,\"x\":{")},
        DetailsAnswer{"WrongStatus", Document(u"\"pending\":false", u"\"pending\":false,\"status\":1e300")},
        DetailsAnswer{"NoPorts", Document(u"\"ports\"", u"\"harbours\"")}),
    [](const auto& answer) { return std::string(answer.param.name); });

struct JsonCase {
    const char* name;
    /// The service has details, or none; nothing: there is no service.
    std::optional<std::u16string> details;
    bool late = false;
    bool hidesIdentifiers = false;

    friend void PrintTo(const JsonCase& json, std::ostream* out) { *out << json.name; }
};

class JsonTest : public ApplicationTest, public testing::WithParamInterface<JsonCase> {};

// After a start by the hotkey, since the other test has one from the menu.
TEST_P(JsonTest, IsTheDocumentOrMadeOfTheRecordsWithinTheLimit) {
    const auto& json = GetParam();
    m_options.Words = {"hot", "key"};
    m_systemInformation = Record(Letters(10));
    std::promise<void> released;
    platform::rpc::ServerProcedure readDetails = [&](ServerCall& call) {
        if (json.late) {
            released.get_future().wait();
        }
        call.SetText(0, json.details);
    };
    if (json.details) {
        StartService({}, {}, json.details->empty() ? nullptr : readDetails);
    }
    if (json.hidesIdentifiers) {
        HideIdentifiers();
    }
    std::string text;
    m_endsItself = true;
    Run({[&] {
        WhenServiceAnswered(m_world->Loop(), std::chrono::seconds(3), [&](bool answered) {
            const bool complete = answered && ReportMissingData();
            text =
                tests::JsonLines(MachineAs(OutputFormat::Json)) + (complete ? "complete\n" : "incomplete\n");
            Close();
        });
        platform::Application::WhenIdle([&] { m_clock.Advance(std::chrono::seconds(json.late ? 3 : 0)); });
    }});
    tests::ExpectGolden(std::string("application/json/") + json.name + ".txt", text + m_errors);
    released.set_value();
}

INSTANTIATE_TEST_SUITE_P(Golden, JsonTest,
                         testing::Values(JsonCase{"Details", Document()},
                                         JsonCase{"RecordsWithoutInterface", u""},
                                         JsonCase{"RecordsForBroken", u"{"},
                                         JsonCase{"RecordsForNever", Document(), true},
                                         JsonCase{"RecordsWithoutService", {}},
                                         JsonCase{"WithoutIdentifiers", Document(), false, true}),
                         [](const auto& json) { return std::string(json.param.name); });

}  // namespace

}  // namespace Kelvane
