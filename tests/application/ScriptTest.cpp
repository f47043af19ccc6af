// Plays the scripts of the folder: what is done to the application, and what it writes to its log, shows and
// gives out.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <semaphore>
#include <sstream>

#include "app/ServiceReport.h"
#include "app/TextOutput.h"
#include "pages/ServiceMessage.h"
#include "pages/main/MainPage.h"
#include "platform/core/UserName.h"
#include "platform/storage/ApplicationData.h"
#include "platform/tasks/task.h"
#include "platform/xaml/Navigation.h"
#include "tests/application/ApplicationTest.h"
#include "tests/support/Golden.h"
#include "tests/support/PackageScope.h"

namespace Kelvane {

namespace {

using platform::Window;
using platform::rpc::ServerCall;

const std::map<std::string, unsigned> kProcedures = {{"OpenContext", procedure::OpenContext},
                                                     {"ReadSysInfo", procedure::ReadSysInfo},
                                                     {"ReadUSBTypeCInfo", procedure::ReadUSBTypeCInfo}};

std::vector<std::string> Split(const std::string& text, char delimiter) {
    std::istringstream parts(text);
    std::vector<std::string> all;
    for (std::string part; std::getline(parts, part, delimiter);) {
        all.push_back(part);
    }
    return all;
}

/// "\u000A" is the UTF-16 code unit with that number.
std::u16string Unescaped(const std::string& line) {
    auto text = platform::FromUtf8(line);
    for (auto at = text.find(u"\\u"); at != std::u16string::npos; at = text.find(u"\\u", at + 1)) {
        const auto unit = std::stoul(platform::ToUtf8(text.substr(at + 2, 4)), nullptr, 16);
        text.replace(at, 6, 1, static_cast<char16_t>(unit));
    }
    return text;
}

std::vector<std::string> Scripts() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(tests::PathOf("application/scripts"))) {
        names.push_back(file.path().stem());
    }
    return names;
}

/// A script is a golden file. Its lines that begin with "$" are played: those before the first "$ step"
/// before the start, the others as steps. What came of them stands below: the log, or, if the script asks for
/// any, the outputs.
class ScriptTest : public ApplicationTest, public testing::WithParamInterface<std::string> {
  protected:
    ScriptTest() {
        m_systemInformation = Record(Letters(10));
        m_onRequest = [this] { AnswerRequest(); };
    }
    ~ScriptTest() override {
        // Its procedures use what the script has set.
        StopService();
    }

    void Play(const std::vector<std::string>& lines) {
        for (const auto& line : lines) {
            Play(line);
        }
    }

    std::string Result() {
        const auto user = platform::ToUtf8(platform::CurrentUserName());
        auto errors = m_errors;
        for (auto at = errors.find(user); at != std::string::npos; at = errors.find(user, at)) {
            errors.replace(at, user.size(), "USER");
        }
        const auto details = m_flow.empty() ? "" : "== details\n" + DetailsTrace();
        return (m_output + details).empty() ? Trace(m_isWhole) + m_logs
                                            : m_output + errors + details + m_logs;
    }

    /// While the machine may sleep there is no log to note it in.
    void NoteLogs() {
        m_logs += "== logs " + std::to_string(tests::Names(StoredLogs()).size()) + ", may sleep " +
                  std::to_string(m_sleeps) + "\n";
    }

    std::counting_semaphore<> m_answer{0};
    /// Released by each question for details.
    std::counting_semaphore<> m_asked{0};
    /// The golden trace of the whole run, besides what the script shows.
    std::string m_flow;
    /// Whether the service was asked to run as another user.
    bool m_isOfAnother = false;

  private:
    void Play(const std::string& line);

    static platform::VirtualKey Key(const std::u16string& name) {
        platform::VirtualKey key{};
        while (platform::NameOf(key) != name) {
            key = static_cast<platform::VirtualKey>(static_cast<unsigned>(key) + 1);
        }
        return key;
    }

    static std::shared_ptr<platform::Frame> Frame() {
        return std::dynamic_pointer_cast<platform::Frame>(Window::Current()->Content());
    }

    void Show(std::u16string_view name) {
        auto* each = dynamic_cast<platform::UIElement*>(Find<platform::FrameworkElement>(name).get());
        for (; each != nullptr; each = each->Parent()) {
            each->Visibility(platform::Visibility::Visible);
        }
    }

    /// The service gives the records, fails as the script says, and has details where the script has any.
    void Serve() {
        const auto details = [this](ServerCall& call) {
            m_asked.release();
            if (m_detailsAreLate) {
                m_answer.acquire();
            }
            call.SetText(0, m_details);
        };
        StartService(m_procedures, m_serviceOptions,
                     m_details.empty() ? nullptr : platform::rpc::ServerProcedure(details));
    }

    /// The service answers what it tells of this machine of tests/machines, and the script's ports and
    /// firmware request.
    void BeMachine(const std::string& name) {
        const auto record = MachineFile(name + "/record.txt");
        const auto begin = record.find(u": ") + 2;
        m_systemInformation = record.substr(begin, record.find(u'\n') - begin);
        m_details = MachineFile(name + "/details.json");
        constexpr std::u16string_view kRequest = u"\"firmwareRequest\":";
        constexpr std::u16string_view kPorts = u"\"ports\":";
        if (const auto begin = m_details.find(kPorts) + kPorts.size(); !m_ports.empty()) {
            m_details.replace(begin, m_details.find(kRequest) - begin, m_ports + u"},\n");
        }
        if (const auto end = m_details.find(kRequest); !m_firmwareRequest.empty()) {
            m_details.replace(end + kRequest.size(), std::u16string::npos, m_firmwareRequest + u"}");
        }
        for (const auto& [from, to] : m_replacements) {
            m_details.replace(m_details.find(from), from.size(), to);
        }
        Serve();
    }

    /// As many clients as one user may have are connected already.
    void ServeACrowd() {
        m_serviceOptions.MaxConnectionsPerUser = m_others.size();
        Serve();
        std::ranges::for_each(m_others, &platform::rpc::test::Client::Open);
    }

    /// Only root can listen as another user.
    void ServeAsAnother() {
        m_isOfAnother = true;
        chmod(m_endpoints.Directory().c_str(), 0777);
        if (seteuid(65534) == 0) {
            Serve();
            seteuid(0);
        }
    }

    /// What a screen reader has said since the last time.
    void MarkAnnounced() {
        const auto& all = m_world->Window().Announced();
        for (; m_announced < all.size(); ++m_announced) {
            Mark("| says " + platform::ToJson(all[m_announced]));
        }
    }

    /// The page becomes the window's content.
    static void RemoveFrame() {
        const auto frame = Frame();
        auto page = frame->Content();
        frame->Content(nullptr);
        Window::Current()->Content(std::move(page));
    }

    /// The service's answer to a request comes after the click that led to it, and, as the words say, after
    /// the window is closed; never; or is a failure.
    void HoldRequests(const std::string& words) {
        const auto has = [words](const char* word) { return words.find(word) != std::string::npos; };
        m_onRequest = [this, has] {
            m_world->Loop().Post([this, has] {
                has("closed") ? Close() : void();
                m_world->Loop().Post([this, has] {
                    EXPECT_NE(m_world->Window().IsShown(), has("closed"));
                    has("unanswered") ? m_clock.Advance(std::chrono::seconds(4)) : m_answer.release();
                });
            });
            m_answer.acquire();
            if (has("refused")) {
                throw std::runtime_error("refused");
            }
            AnswerRequest();
        };
    }

    /// The next step comes after what is due by then.
    void Wait(std::chrono::seconds time) {
        m_clock.Advance(time);
        const auto dispatcher = platform::CoreWindow::GetForCurrentThread()->Dispatcher();
        const auto run = [dispatcher](auto handler) {
            dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, handler);
        };
        run([run] { run([] {}); });
    }

    void AnswerRequest() const {
        if (m_status != 0) {
            throw platform::rpc::RpcException(m_status);
        }
    }

    /// The first read is answered when two seconds have passed and the window shows what comes of that.
    void AnswerLate() {
        m_onRead = [this, isFirst = true]() mutable {
            if (!std::exchange(isFirst, false)) {
                return;
            }
            const auto post = [this](const auto& act) { m_world->Loop().Post(act); };
            post([=, this] {
                m_clock.Advance(std::chrono::seconds(2));
                post([=, this] { post([=, this] { post([this] { MarkShown(), m_answer.release(); }); }); });
            });
            m_answer.acquire();
        };
    }

    void EndWhenAnswered(std::chrono::seconds limit) {
        m_endsItself = true;
        WhenServiceAnswered(m_world->Loop(), limit, [this](bool answered) {
            answered ? Play(std::vector<std::string>{"report", "json"}) : void(m_output += "given up\n");
            Close();
        });
    }

    const PackageScope m_package;
    std::map<unsigned, platform::rpc::ServerProcedure> m_procedures;
    platform::rpc::ServerOptions m_serviceOptions;
    std::array<platform::rpc::test::Client, 8> m_others;
    std::optional<platform::rpc::ListeningSocket> m_stuck;
    std::u16string m_details;
    std::vector<std::pair<std::u16string, std::u16string>> m_replacements;
    std::u16string m_firmwareRequest;
    bool m_detailsAreLate = false;
    std::u16string m_ports;
    std::atomic<unsigned> m_status = 0;
    bool m_isWhole = false;
    std::string m_output;
    std::string m_logs;
    std::size_t m_announced = 0;
    std::atomic<int> m_sleeps = 0;
};

void ScriptTest::Play(const std::string& line) {
    const auto verb = line.substr(0, line.find(' '));
    const auto rest = line.substr(std::min(verb.size() + 1, line.size()));
    const auto text = Unescaped(rest);
    const auto record = text == u"none" ? std::nullopt : std::optional(text);
    const auto parts = Split(rest, '|');
    const auto words = Split(rest, ' ');
    const std::map<std::string, std::function<void()>> verbs = {
        {"whole", [&] { m_isWhole = true; }},
        {"service", [&] { Serve(); }},
        {"service-with-a-crowd", [&] { ServeACrowd(); }},
        {"service-of-another", [&] { ServeAsAnother(); }},
        {"service-for-nobody", [&] { m_serviceOptions.Accept = [](const auto&) { return false; }, Serve(); }},
        {"service-stuck", [&] { m_stuck.emplace(platform::rpc::test::EndpointScope::Socket()); }},
        {"fault",
         [&] {
             m_procedures[kProcedures.at(words.at(0))] =
                 [status = std::stoul(words.at(1), nullptr, 16)](ServerCall&) {
                     throw platform::rpc::RpcException(static_cast<platform::rpc::Status>(status));
                 };
         }},
        {"raw",
         [&] {
             m_procedures[kProcedures.at(words.at(0))] =
                 [length = std::stoi(words.at(1)), word = platform::FromUtf8(words.at(2))](ServerCall& call) {
                     call.SetRawText(0, length, word);
                 };
         }},
        {"long",
         [&] {
             m_procedures[kProcedures.at(words.at(0))] = [length =
                                                              std::stoul(words.at(1))](ServerCall& call) {
                 call.SetText(0, std::u16string(length, u'x'));
             };
         }},
        {"machine", [&] { BeMachine(rest); }},
        {"details", [&] { m_details = text; }},
        {"details-with",
         [&] { m_replacements.emplace_back(Unescaped(parts.at(0)), Unescaped(parts.at(1))); }},
        {"flow", [&] { m_flow = rest; }},
        {"report", [&] { m_output += ReportMissingData() ? "complete\n" : "incomplete\n"; }},
        {"end-when-answered", [&] { EndWhenAnswered(std::chrono::seconds(std::stoi(rest))); }},
        {"after",
         [&] {
             m_world->Loop().PostAfter(std::chrono::seconds(std::stoi(words.at(0))),
                                       [this, line = rest.substr(rest.find(' ') + 1)] { Play(line); });
         }},
        {"idle", [&] { platform::Application::WhenIdle([this, rest] { Play(rest); }); }},
        {"said", [&] { std::fputs((rest + "\n").c_str(), stderr); }},
        {"hide-identifiers", [] { HideIdentifiers(); }},
        {"late-details", [&] { m_detailsAreLate = true; }},
        {"answer-details", [&] { m_answer.release(); }},
        {"await-details", [] { platform::create_task(AwaitDetails); }},
        {"await-question", [&] { platform::create_task([this] { m_asked.acquire(); }); }},
        {"system-information", [&] { m_systemInformation = record; }},
        {"usb-type-c", [&] { m_usbTypeC = record; }},
        {"words", [&] { m_options.Words = words; }},
        {"prelaunch", [&] { m_options.Prelaunch = true; }},
        {"windowless", [&] { m_options.HasWindow = false; }},
        {"arm64", [&] { m_options.Architecture = platform::ProcessorArchitecture::Arm64; }},
        {"x64", [&] { m_options.Architecture = platform::ProcessorArchitecture::X64; }},
        {"locale", [&] { m_options.LocaleName = rest; }},
        {"language", [&] { m_options.Languages = {text}; }},
        {"man",
         [&] {
             m_options.Voices.push_back({text, u"", u"", platform::VoiceGender::Male});
         }},
        {"woman",
         [&] {
             m_options.Voices.push_back({text, u"", u"", platform::VoiceGender::Female});
         }},
        {"write", [&] { m_package.Write(parts.at(0), platform::ToUtf8(Unescaped(parts.at(1)))); }},
        {"replace", [&] { m_package.Replace(parts.at(0), parts.at(1), parts.at(2)); }},
        {"hold", [&] { HoldRequests(rest); }},
        {"answer", [&] { m_status = static_cast<unsigned>(std::stoul(rest)); }},
        {"firmware", [&] { m_firmwareRequest = text; }},
        {"ports", [&] { m_ports = text; }},
        {"wait", [&] { Wait(std::chrono::seconds(std::stoi(rest))); }},
        {"silent", [&] { AnswerLate(); }},
        {"press", [&] { Press(text); }},
        {"show", [&] { Show(text); }},
        {"focus", [&] { Find<platform::FrameworkElement>(text)->Focus(); }},
        {"key", [&] { PressKey(Key(text)); }},
        {"swallows",
         [&] {
             auto& focused = *m_world->Window().Focused();
             Mark("> " + rest + (focused.RaiseKey(Key(text), true) ? " down" : "") +
                  (focused.RaiseKey(Key(text), false) ? " up" : "") + " goes no further");
         }},
        {"look", [&] { MarkShown(); }},
        {"mute", [&] { m_options.HasSound = false; }},
        {"lasting", [&] { m_options.SoundsLast = true; }},
        {"hear", [&] { m_world->Spoken().EndSounds(); }},
        {"announced", [&] { MarkAnnounced(); }},
        {"frameless", [&] { RemoveFrame(); }},
        {"update", [&] { std::dynamic_pointer_cast<MainPage>(Frame()->Content())->UpdateUI(text); }},
        {"start", [&] { m_world->Client().Started(words, false); }},
        {"sleep", [&] { m_world->Client().SleepAnnounced([this] { ++m_sleeps; }); }},
        {"wake", [&] { m_world->Client().Woken(); }},
        {"end", [&] { m_world->Client().EndRequested(); }},
        {"logs", [&] { NoteLogs(); }},
        {"page", [&] { m_output += "# page\n" + Shown(); }},
        {"text", [&] { m_output += "# text\n" + MachineAs(OutputFormat::Text); }},
        {"json", [&] { m_output += "# JSON\n" + tests::JsonLines(MachineAs(OutputFormat::Json)); }},
    };
    verbs.at(verb)();
}

TEST_P(ScriptTest, PlaysAsWritten) {
    const auto path = "application/scripts/" + GetParam() + ".txt";
    std::ifstream file(tests::PathOf(path));
    std::ostringstream result;
    std::vector<std::vector<std::string>> parts(1);
    for (std::string line; std::getline(file, line) && line.starts_with("$ ");) {
        result << line << "\n";
        line == "$ step" ? void(parts.emplace_back()) : parts.back().push_back(line.substr(2));
    }
    Play(parts.front());
    if (m_isOfAnother && geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    std::vector<Step> steps;
    for (auto part = parts.begin() + 1; part != parts.end(); ++part) {
        steps.emplace_back([this, part] { Play(*part); });
    }
    const int status = Run(steps);
    m_answer.release();
    if (!m_flow.empty()) {
        ExpectTrace(m_flow, true);
    }
    const auto logging =
        platform::ApplicationData::Current().LocalSettings().Values().Lookup(u"Kelvane_LoggingEnabled");
    result << Result();
    for (const auto& [text, voice, rate] : m_world->Spoken().Spoken()) {
        result << "== spoken " << platform::ToJson(text) << " by " << platform::ToUtf8(voice)
               << (rate == 1 ? "" : " slowly") << "\n";
    }
    for (const auto& [text, state] : m_world->Spoken().Sounds()) {
        result << "== sound " << platform::ToJson(text) << " in state " << static_cast<int>(state) << "\n";
    }
    for (const auto& toast : m_world->Notifications()) {
        if (!toast.Text.empty()) {
            result << "== notification " << platform::ToJson(toast.Text) << " with "
                   << platform::ToJson(toast.ActionText) << "\n";
        }
    }
    result << "== status " << status << ", reads " << Calls(procedure::ReadSysInfo) << " + "
           << Calls(procedure::ReadUSBTypeCInfo) << ", requests " << Calls(procedure::StartMSInfoApp) << " + "
           << Calls(procedure::SetUEFIFlag) << ", logs " << tests::Names(StoredLogs()).size() << ", logging "
           << (logging == platform::PropertyValue(true)) << "\n";
    tests::ExpectGolden(path, result.str());
}

class ServiceMessages : public ApplicationTest {};

TEST_F(ServiceMessages, AreWholeForEveryStatus) {
    Run({[] {
        for (std::int64_t status = -1; status < 2000; ++status) {
            for (const auto* const listener : {u"", u"L"}) {
                const auto [title, message] = MessageOf({status, listener, u"U"}, PackageTexts());
                EXPECT_TRUE(!title.empty() && !message.empty() &&
                            (title + message).find_first_of(u"{}") == std::u16string::npos)
                    << status;
            }
        }
    }});
}

INSTANTIATE_TEST_SUITE_P(Golden, ScriptTest, testing::ValuesIn(Scripts()),
                         [](const auto& script) { return script.param; });

}  // namespace

}  // namespace Kelvane
