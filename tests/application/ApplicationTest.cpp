#include "tests/application/ApplicationTest.h"

#include <algorithm>
#include <cstdlib>
#include <future>
#include <iostream>
#include <sstream>
#include <thread>

#include "package/PackageContent.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

namespace {

using platform::rpc::ServerCall;

/// How long a run may take before it counts as one that never ends.
constexpr std::chrono::minutes kLimit{2};

/// Ends the test with a message when the application has not ended in time.
class Watchdog {
  public:
    ~Watchdog() { m_ended.set_value(); }

  private:
    std::promise<void> m_ended;
    std::jthread m_thread{[ended = m_ended.get_future()] {
        if (ended.wait_for(kLimit) == std::future_status::timeout) {
            std::cout << "the application does not end" << std::endl;
            std::abort();
        }
    }};
};

/// "HH:MM:SS.mmm LEVEL " comes before each message of the trace.
constexpr std::size_t kTimeLength = 13;
constexpr const char* kLevels[] = {"Verbose ", "Information ", "Warning ", "Error ", "Critical "};

/// Texts in quotes, so that blanks show.
void Describe(const platform::UIElement& element, std::string& lines) {
    const auto* const framework = dynamic_cast<const platform::FrameworkElement*>(&element);
    auto line = platform::ToUtf8(framework != nullptr ? framework->Name() : u"");
    if (element.Visibility() != platform::Visibility::Visible) {
        line += " hidden";
    }
    if (const auto* const ring = dynamic_cast<const platform::ProgressRing*>(&element)) {
        line += ring->IsActive() ? " active" : " at rest";
    } else if (const auto* const block = dynamic_cast<const platform::TextBlock*>(&element)) {
        line += " " + platform::ToJson(block->Text());
    } else if (const auto* const box = dynamic_cast<const platform::TextBox*>(&element)) {
        line += " " + platform::ToJson(box->Text());
    }
    if (!line.empty() && framework != nullptr) {
        const auto* const label =
            dynamic_cast<const platform::FrameworkElement*>(framework->Accessibility().LabeledBy);
        lines += line + (label != nullptr ? " by " + platform::ToUtf8(label->Name()) : "") + "\n";
    }
    for (const auto* const child : element.Children()) {
        Describe(*child, lines);
    }
}

}  // namespace

ApplicationTest::ApplicationTest() {
    setenv("KELVANE_TRACE", "1", 1);
    platform::SetPackageFiles(PackageContent());
    RegisterPages();
}

void ApplicationTest::StartService(std::map<unsigned, platform::rpc::ServerProcedure> others,
                                   platform::rpc::ServerOptions options) {
    const auto answer = [this](ServerCall& call, const std::optional<std::u16string>& text) {
        ++m_calls[call.Procedure()];
        m_onRead();
        m_answerIsEmpty ? call.SetRawText(0, 0, u"") : call.SetText(0, text);
    };
    const auto request = [this](ServerCall& call) {
        ++m_calls[call.Procedure()];
        m_onRequest();
    };
    others.merge(std::map<unsigned, platform::rpc::ServerProcedure>{
        {procedure::StartMSInfoApp, request},
        {procedure::ReadSysInfo, [=, this](ServerCall& call) { answer(call, m_systemInformation); }},
        {procedure::ReadUSBTypeCInfo, [=, this](ServerCall& call) { answer(call, m_usbTypeC); }},
        {procedure::SetUEFIFlag, request}});
    m_service.emplace(std::move(others), std::move(options));
}

int ApplicationTest::Run(std::vector<Step> steps) {
    m_world = std::make_unique<headless::HeadlessWorld>(m_options);
    std::size_t next = 0;
    std::function<void()> take = [&] {
        if (next == steps.size()) {
            m_options.HasWindow ? m_world->Window().RequestClose() : platform::Application::Exit();
            return;
        }
        steps[next++]();
        platform::Application::WhenIdle(take);
    };
    testing::internal::CaptureStderr();
    const Watchdog watchdog;
    const int status = platform::Application::Start(*m_world, [&] {
        platform::Application::WhenIdle(take);
        return App::Create();
    });
    m_trace.clear();
    m_errors.clear();
    std::istringstream output(testing::internal::GetCapturedStderr());
    for (std::string line; std::getline(output, line);) {
        const auto* const level =
            std::find_if(std::begin(kLevels), std::end(kLevels), [&](const std::string& each) {
                return line.size() > kTimeLength && line.compare(kTimeLength, each.size(), each) == 0;
            });
        if (level != std::end(kLevels)) {
            m_trace.push_back(line.substr(kTimeLength + std::string(*level).size()));
        } else {
            m_errors += line + "\n";
        }
    }
    return status;
}

std::shared_ptr<platform::UIElement> ApplicationTest::FindElement(platform::UIElement& root,
                                                                  std::u16string_view name) {
    if (const auto* const element = dynamic_cast<platform::FrameworkElement*>(&root);
        element != nullptr && element->Name() == name) {
        return root.shared_from_this();
    }
    for (auto* const child : root.Children()) {
        if (auto found = FindElement(*child, name)) {
            return found;
        }
    }
    return nullptr;
}

std::u16string ApplicationTest::Text(std::u16string_view name) {
    if (const auto box = Find<platform::TextBox>(name)) {
        return box->Text();
    }
    return Find<platform::TextBlock>(name)->Text();
}

bool ApplicationTest::IsVisible(std::u16string_view name) {
    return Find<platform::UIElement>(name)->Visibility() == platform::Visibility::Visible;
}

std::string ApplicationTest::Shown() {
    const auto& content = *platform::Window::Current()->Content();
    std::string lines = content.FlowDirection() == platform::FlowDirection::LeftToRight ? "left to right\n"
                                                                                        : "right to left\n";
    Describe(content, lines);
    return lines;
}

std::u16string ApplicationTest::CurrentPage() {
    if (Find<platform::Button>(u"BackButton")) {
        return u"USBTypeCPage";
    }
    return Find<platform::Button>(u"OkButton") ? u"RunSystemDiagnostics" : u"MainPage";
}

std::vector<std::string> ApplicationTest::TraceOf(const std::vector<std::string>& methods) const {
    std::vector<std::string> lines;
    for (const auto& line : m_trace) {
        if (std::any_of(methods.begin(), methods.end(),
                        [&](const auto& method) { return line.starts_with(method); })) {
            lines.push_back(line);
        }
    }
    return lines;
}

bool ApplicationTest::HasTraced(const std::string& text) const {
    return std::find(m_trace.begin(), m_trace.end(), text) != m_trace.end();
}

std::u16string Record(const std::vector<std::u16string>& fields) {
    std::u16string record;
    for (const auto& field : fields) {
        record += (&field == &fields.front() ? u"" : u"<.^.>") + field;
    }
    return record;
}

std::vector<std::u16string> Letters(std::size_t count) {
    std::vector<std::u16string> letters;
    for (std::size_t i = 0; i < count; ++i) {
        letters.emplace_back(1, static_cast<char16_t>(u'a' + i));
    }
    return letters;
}

}  // namespace Kelvane
