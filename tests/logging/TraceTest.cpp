#include "logging/Trace.h"

#include <gtest/gtest.h>

#include "backends/headless/HeadlessWorld.h"
#include "platform/core/DebugOutput.h"
#include "platform/core/Text.h"
#include "platform/diagnostics/LoggingChannel.h"
#include "platform/world/Application.h"
#include "tests/support/Golden.h"
#include "tests/support/LogFolder.h"
#include "tests/support/TestClock.h"

namespace {

using Kelvane::Traced;
using Kelvane::TracedUncaught;

/// An application whose launch is the test.
class TracingApplication final : public platform::Application {
  public:
    explicit TracingApplication(std::function<void()> body) : m_body(std::move(body)) {}

  private:
    void OnLaunched(const platform::LaunchActivatedEventArgs&) override { m_body(), Exit(); }
    void OnActivated(const platform::ActivatedEventArgs&) override {}

    std::function<void()> m_body;
};

TEST(Trace, FramesEachMethodByItsRule) {
    const auto fail = [] { throw platform::Exception(platform::result::kFail, u"boom"); };
    const auto body = [&] {
        const std::u16string text = u"text";
        Traced(u"K::A", [&](const Kelvane::Trace& trace) {
            trace.Information(u" n=", 7, u" ", true, u" ", std::uint64_t{18446744073709551615U}, u" ", -3,
                              text);
            trace.Critical();
        });
        Traced(u"K::B", fail);
        EXPECT_EQ(Traced(u"K::C", 5, [] { return 6; }), 6);
        EXPECT_EQ(Traced(u"K::D", 5, [&]() -> int { fail(), throw 0; }), 5);
        EXPECT_EQ(TracedUncaught(u"K::E", [](const Kelvane::Trace&) { return std::u16string(u"x"); }), u"x");
        EXPECT_THROW(TracedUncaught(u"K::F", fail), platform::Exception);
    };
    const tests::StateFolderScope state;
    headless::HeadlessWorld world({});
    EXPECT_EQ(platform::Application::Start(world, [&] { return std::make_shared<TracingApplication>(body); }),
              0);
    std::string lines;
    for (const auto& event : tests::ReadFolder(state.Stored())) {
        lines += platform::LoggingLevelName(event.Level) + (" " + platform::ToUtf8(event.Text)) + "\n";
    }
    tests::ExpectGolden("logging/traces/rule.txt", lines);
}

TEST(Trace, NeverFailsAMethodWhenItsOwnLinesCannotBeWritten) {
    // Without an application there is nothing to log through, and no thread that may ask for it.
    setenv("KELVANE_DEBUG", "1", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Traced(u"K::A", 1, [] { return 2; }), 2);
    constexpr std::string_view kWhy =
        "debug: The application called an interface that was marshalled for a different thread.\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "debug: A trace line could not be written:\ndebug: K::A\ndebug: Entry\n" + std::string(kWhy) +
                  "debug: A trace line could not be written:\ndebug: K::A\ndebug: Exit\n" +
                  std::string(kWhy));
    EXPECT_THROW(TracedUncaught(u"K::B", [](const Kelvane::Trace& trace) { trace.Error(u"x"); }),
                 platform::Exception);
    EXPECT_EQ(Traced(u"K::C", 1,
                     [](const Kelvane::Trace& trace) {
                         trace.Error(u"x");
                         return 2;
                     }),
              1);
}

TEST(Trace, ShowsMessagesLiveWhenAsked) {
    setenv("KELVANE_TRACE", "1", 1);
    setenv("KELVANE_DEBUG", "1", 1);
    TestClock clock;
    const platform::ClockScope scope(clock);
    testing::internal::CaptureStderr();
    platform::LoggingChannel(u"c").LogMessage(u"caf\u00E9\n09:04:07.045 Error forged\x1B",
                                              platform::LoggingLevel::Warning);
    platform::OutputDebugStringW(u"09:04:07.045 Error forged\nkelvane: forged\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "09:04:07.045 Warning caf\xC3\xA9\\n09:04:07.045 Error forged\\u001B\n"
              "debug: 09:04:07.045 Error forged\\nkelvane: forged\n");
}

}  // namespace
