#include "tests/application/ApplicationTest.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <sstream>
#include <thread>

#include "logging/LoggingHandler.h"
#include "package/PackageContent.h"
#include "platform/xaml/InfoBar.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"
#include "tests/application/TraceText.h"
#include "tests/support/Golden.h"
#include "viewmodel/MainViewModel.h"

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

/// Texts in quotes, so that blanks show; without those that are blank and hidden. An icon without a name has
/// its `parent`'s.
void Describe(const platform::UIElement& element, std::string& lines, const std::string& parent = {}) {
    const auto* const framework = dynamic_cast<const platform::FrameworkElement*>(&element);
    const auto name = platform::ToUtf8(framework != nullptr ? framework->Name() : u"");
    const auto* const icon = dynamic_cast<const platform::FontIcon*>(&element);
    const bool isSymbol = dynamic_cast<const platform::SymbolIcon*>(&element) != nullptr;
    auto line = name.empty() && (icon != nullptr || isSymbol) ? parent : name;
    if (element.Visibility() != platform::Visibility::Visible) {
        line += " hidden";
    }
    if (const auto* const bar = dynamic_cast<const platform::InfoBar*>(&element)) {
        if (!bar->IsOpen()) {
            return;
        }
        line += bar->Severity() >= platform::InfoBarSeverity::Warning ? " warns" : " tells";
    } else if (const auto* const button = dynamic_cast<const platform::Button*>(&element)) {
        line += button->IsEnabled() ? "" : " disabled";
    } else if (const auto* const ring = dynamic_cast<const platform::ProgressRing*>(&element)) {
        line += ring->IsActive() ? " active" : " at rest";
    } else if (const auto* const block = dynamic_cast<const platform::TextBlock*>(&element)) {
        line += " " + platform::ToJson(block->ShownText());
        line += block->TextWrapping() != platform::TextWrapping::NoWrap ? " wraps" : "";
    } else if (const auto* const box = dynamic_cast<const platform::TextBox*>(&element)) {
        line += " " + platform::ToJson(box->Text()) + (box->IsReadOnly() ? "" : " can be changed");
        line += box->SelectedText().empty() ? "" : ", selected " + platform::ToJson(box->SelectedText());
    } else if (icon != nullptr) {
        line += " icon " + platform::ToJson(icon->Glyph());
        line += icon->Foreground() == platform::SolidColorBrush{platform::Colors::Green} ? " green" : "";
    } else if (isSymbol) {
        line += " symbol " + platform::ToUtf8(framework->Style());
        line.resize(line.find_last_not_of(' ') + 1);
    }
    const auto* const text = dynamic_cast<const platform::TextBlock*>(&element);
    if (text != nullptr && text->Text().empty() && text->Visibility() != platform::Visibility::Visible) {
        return;
    }
    if (!line.empty() && framework != nullptr) {
        const auto* const label =
            dynamic_cast<const platform::FrameworkElement*>(framework->Accessibility().LabeledBy);
        lines += line + (label != nullptr ? " by " + platform::ToUtf8(label->Name()) : "") + "\n";
        for (const auto& [how, words] : {std::pair(" called ", framework->Accessibility().Name),
                                         std::pair(" tip ", framework->Accessibility().ToolTip)}) {
            lines += words.empty() ? "" : name + how + platform::ToJson(words) + "\n";
        }
    }
    for (const auto& child : element.Children()) {
        Describe(*child, lines, name);
    }
}

}  // namespace

ApplicationTest::ApplicationTest() {
    platform::SetPackageFiles(PackageContent());
    RegisterPages();
}

void ApplicationTest::StartService(std::map<unsigned, platform::rpc::ServerProcedure> others,
                                   platform::rpc::ServerOptions options,
                                   platform::rpc::ServerProcedure readDetails) {
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
    m_service.emplace(std::move(others), std::move(options), std::move(readDetails));
}

int ApplicationTest::Run(std::vector<Step> steps) {
    m_world = std::make_unique<headless::HeadlessWorld>(m_options);
    std::size_t next = 0;
    std::function<void()> take = [&] {
        if (m_closed || (m_endsItself && next == steps.size())) {
            return;
        }
        MarkShown();
        if (next == steps.size()) {
            Mark("== end");
            m_options.HasWindow ? Close() : platform::Application::Exit();
            return;
        }
        Mark("== step " + std::to_string(next + 1));
        steps[next++]();
        platform::Application::WhenIdle(take);
    };
    testing::internal::CaptureStderr();
    const Watchdog watchdog;
    const int status = platform::Application::Start(*m_world, [&] {
        platform::Application::WhenIdle(take);
        return App::Create();
    });
    m_errors = testing::internal::GetCapturedStderr();
    return status;
}

void ApplicationTest::Mark(const std::string& text) {
    LoggingHandler::GetInstance().LogVerbose(platform::FromUtf8(text));
}

void ApplicationTest::Press(std::u16string_view name) {
    Mark("> press " + platform::ToUtf8(name));
    Find<platform::Button>(name)->Invoke();
}

void ApplicationTest::PressKey(platform::VirtualKey key) {
    Mark("> key " + platform::ToUtf8(platform::NameOf(key)));
    m_world->Window().PressKey(key);
}

void ApplicationTest::Close() {
    m_closed = true;
    m_world->Window().RequestClose();
}

std::string ApplicationTest::Trace(bool whole) const {
    auto text = TraceText(tests::ReadFolder(StoredLogs()), static_cast<std::uint32_t>(gettid()), whole) +
                (m_errors.empty() ? "" : "== standard error\n" + m_errors);
    // A PackageScope's, which has another name each time.
    const char* const folder = std::getenv("KELVANE_PACKAGE_DIRECTORY");
    for (std::size_t at = 0; folder != nullptr && (at = text.find(folder)) != std::string::npos;) {
        text.replace(at, std::strlen(folder), "PACKAGE");
    }
    return text;
}

std::string ApplicationTest::DetailsTrace() const {
    return DetailsText(tests::ReadFolder(StoredLogs()), static_cast<std::uint32_t>(gettid()));
}

void ApplicationTest::ExpectTrace(const std::string& name, bool whole) const {
    tests::ExpectGolden("application/traces/" + name + ".txt", Trace(whole));
}

std::shared_ptr<platform::UIElement> ApplicationTest::FindElement(platform::UIElement& root,
                                                                  std::u16string_view name) {
    if (const auto* const element = dynamic_cast<platform::FrameworkElement*>(&root);
        element != nullptr && element->Name() == name) {
        return root.shared_from_this();
    }
    for (const auto& child : root.Children()) {
        if (auto found = FindElement(*child, name)) {
            return found;
        }
    }
    return nullptr;
}

std::string ApplicationTest::Shown() {
    const auto content = platform::Window::Current()->Content();
    auto& window = m_world->Window();
    std::ostringstream lines;
    lines << "window " << window.Size().Width << " x " << window.Size().Height << ", at least "
          << window.MinimumSize().Width << (window.IsShown() ? "\n" : ", hidden\n");
    if (!content) {
        return lines.str();
    }
    m_contents += content != m_content.lock() ? 1 : 0;
    m_content = content;
    const auto* const focus = dynamic_cast<const platform::FrameworkElement*>(window.Focused());
    lines << "content " << m_contents << "\nfocus "
          << platform::ToUtf8(focus != nullptr ? focus->Name() : u"") << "\nclipboard "
          << platform::ToJson(m_world->ClipboardText()) << "\n";
    const bool leftToRight = content->FlowDirection() == platform::FlowDirection::LeftToRight;
    std::string elements = leftToRight ? "left to right\n" : "right to left\n";
    Describe(*content, elements);
    return lines.str() + elements;
}

void ApplicationTest::MarkShown() {
    std::set<std::string> shown;
    std::istringstream lines(Shown());
    for (std::string line; std::getline(lines, line);) {
        if (shown.insert(line).second && !m_shown.contains(line)) {
            Mark("| " + line);
        }
    }
    m_shown = std::move(shown);
}

void AwaitDetails() {
    MainViewModel::GetInstance()->DetailsRead().then([] {}).wait();
}

std::u16string MachineFile(const std::string& path) {
    std::ifstream file(tests::PathOf("machines/" + path));
    return platform::FromUtf8(std::string(std::istreambuf_iterator<char>(file), {}));
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
