#pragma once

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/App.h"
#include "backends/headless/HeadlessWorld.h"
#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Window.h"
#include "tests/support/LogFolder.h"
#include "tests/support/RpcSupport.h"
#include "tests/support/TestClock.h"

namespace Kelvane {

/// Runs the whole application in a headless world, against a service of the test's own, in folders that go
/// with the test. Each test is a process of its own.
class ApplicationTest : public testing::Test {
  protected:
    using Step = std::function<void()>;

    ApplicationTest();

    /// Starts the application and takes the steps on the user-interface thread, each as soon as the one
    /// before has led to nothing more; then ends it as a closed window does. Returns the exit status.
    int Run(std::vector<Step> steps = {});

    /// The service answers reads with the two records below, and the other calls as `others` say; it has the
    /// details interface where `readDetails` answers it.
    void StartService(std::map<unsigned, platform::rpc::ServerProcedure> others = {},
                      platform::rpc::ServerOptions options = {},
                      platform::rpc::ServerProcedure readDetails = {});
    void StopService() { m_service.reset(); }

    /// The element of this name in the window.
    template <typename Element>
    std::shared_ptr<Element> Find(std::u16string_view name) {
        return std::dynamic_pointer_cast<Element>(FindElement(*platform::Window::Current()->Content(), name));
    }
    /// What a user does; it is in the trace as a line of its own.
    void Press(std::u16string_view name);
    void PressKey(platform::VirtualKey key);
    /// Closes the window; no further step is taken.
    void Close();

    /// What a user perceives: a line for each element that has a name, a text or an icon, in reading order,
    /// behind the window's size, the focus and the clipboard.
    std::string Shown();
    /// What of it is new since the last time becomes lines of the trace; each step begins with them.
    void MarkShown();
    /// A line of the trace.
    static void Mark(const std::string& text);

    /// How often the service has been asked for a procedure.
    int Calls(unsigned procedure) const { return m_calls[procedure].load(); }

    std::filesystem::path StoredLogs() const { return m_state.Stored(); }

    /// The log of the last run, what was new in the window after each step, and standard error; without the
    /// start and the end, unless `whole`.
    std::string Trace(bool whole = false) const;
    /// The lines of the reads of the details, those of the user-interface thread first; Trace is without
    /// them.
    std::string DetailsTrace() const;
    /// Compares Trace with the golden file of that name in tests/application/traces.
    void ExpectTrace(const std::string& name, bool whole = false) const;

    headless::HeadlessOptions m_options{
        .Insets = {.Left = 0, .Right = 114}, .LocaleName = "en_US.UTF-8", .Languages = {u"en-US"}};
    std::unique_ptr<headless::HeadlessWorld> m_world;
    std::optional<std::u16string> m_systemInformation;
    std::optional<std::u16string> m_usbTypeC = u"";
    /// Each answer says that it has a text of no characters.
    std::atomic<bool> m_answerIsEmpty = false;
    /// Runs in the service before the answer to a read.
    std::function<void()> m_onRead = [] {};
    /// Runs in the service before the answer to a request that is no read.
    std::function<void()> m_onRequest = [] {};
    /// What the last run wrote to standard error.
    std::string m_errors;
    TestClock m_clock;
    platform::rpc::test::EndpointScope m_endpoints;
    /// The last step sees to the end: what it waits for does not count as work.
    bool m_endsItself = false;

  private:
    std::shared_ptr<platform::UIElement> FindElement(platform::UIElement& root, std::u16string_view name);

    tests::StateFolderScope m_state;
    platform::ClockScope m_clockScope{m_clock};
    std::array<std::atomic<int>, 13> m_calls{};
    bool m_closed = false;
    std::set<std::string> m_shown;
    /// The window's content, and how many it has had.
    std::weak_ptr<platform::UIElement> m_content;
    int m_contents = 0;
    std::optional<platform::rpc::test::TestService> m_service;
};

/// Worker. Ends when the page has shown the details that are being read, or will without further work of
/// others.
void AwaitDetails();

/// The text of a file of tests/machines.
std::u16string MachineFile(const std::string& path);

/// A record of these fields joined by the new separator.
std::u16string Record(const std::vector<std::u16string>& fields);

/// "a", "b", ... : as many fields.
std::vector<std::u16string> Letters(std::size_t count);

}  // namespace Kelvane
