#include <gtest/gtest.h>

#include "backends/headless/HeadlessLoop.h"
#include "platform/tasks/CoreDispatcher.h"
#include "tests/support/TestClock.h"

namespace platform {

namespace {

constexpr auto kNormal = CoreDispatcherPriority::Normal;

TEST(Dispatcher, QueuesEvenOnItsOwnThreadAndKeepsTheOrder) {
    headless::HeadlessLoop loop;
    const auto dispatcher = std::make_shared<CoreDispatcher>(loop);
    std::string order;
    dispatcher->RunAsync(kNormal, [&] {
        dispatcher->RunAsync(kNormal, [&] { order += "c"; });
        order += "a";
    });
    const auto failed = dispatcher->RunAsync(kNormal, [&] {
        order += "b";
        throw Exception(result::kFail, u"broken");
    });
    dispatcher->RunAsync(kNormal, [&] { dispatcher->RunAsync(kNormal, [&] { loop.Quit(); }); });
    loop.Run();
    EXPECT_EQ(order, "abc");
    EXPECT_THROW(failed.get(), Exception);
    EXPECT_EQ(dispatcher->Pending(), 0U);
}

TEST(Dispatcher, RefusesWorkOnceTheWindowIsGone) {
    headless::HeadlessLoop loop;
    const auto dispatcher = std::make_shared<CoreDispatcher>(loop);
    bool ran = false;
    loop.Post([&] { loop.Quit(); });
    const auto held = std::make_shared<int>();
    const auto queued = dispatcher->RunAsync(kNormal, [&ran, held] { ran = true; });
    loop.Run();
    const auto late = dispatcher->RunAsync(kNormal, [&ran, held] { ran = true; });
    dispatcher->Close();
    EXPECT_EQ(held.use_count(), 1) << "nothing of it is left to other threads";
    EXPECT_EQ(dispatcher->Pending(), 0U);
    for (const auto& refused : {queued, late, dispatcher->RunAsync(kNormal, [&] { ran = true; })}) {
        ASSERT_TRUE(refused.is_done());
        EXPECT_THROW(refused.get(), task_canceled);
    }
    EXPECT_FALSE(ran);
}

TEST(Dispatcher, TimersGoByTheClockThatIsHandedIn) {
    TestClock clock;
    const ClockScope scope(clock);
    headless::HeadlessLoop loop;
    std::string order;
    loop.PostAfter(std::chrono::hours(2), [&] {
        order += "2";
        loop.Quit();
    });
    loop.PostAfter(std::chrono::hours(1), [&] { order += "1"; });
    loop.Post([&] {
        order += "0";
        clock.Advance(std::chrono::hours(2));
    });
    loop.Run();
    EXPECT_EQ(order, "012");
}

}  // namespace

}  // namespace platform
