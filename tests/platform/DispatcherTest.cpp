#include <gtest/gtest.h>

#include <thread>

#include "backends/headless/HeadlessLoop.h"
#include "platform/tasks/CoreDispatcher.h"
#include "tests/support/TestClock.h"

namespace platform {

namespace {

constexpr auto kNormal = CoreDispatcherPriority::Normal;

TEST(Dispatcher, RefusesWorkOnceTheWindowIsGoneAndDestroysItOnItsOwnThread) {
    const UserInterfaceThreadMark mark;
    headless::HeadlessLoop loop;
    const auto dispatcher = std::make_shared<CoreDispatcher>(loop);
    loop.Post([&] { loop.Quit(); });
    const auto watched = std::make_shared<int>();
    const auto post = [&, weak = std::weak_ptr(watched)] {
        return dispatcher->RunAsync(kNormal, [held = weak.lock()] { FAIL() << "refused work ran"; });
    };
    const auto queued = post();
    loop.Run();
    const auto late = post();
    dispatcher->Close();
    EXPECT_EQ(watched.use_count(), 1);
    EXPECT_EQ(dispatcher->Pending(), 0U);
    auto held = dispatcher->Hold(watched);
    task<void> refused;
    std::jthread([&] {
        refused = post();
        held.reset();
    }).join();
    EXPECT_EQ(watched.use_count(), 3) << "nothing is released on that thread";
    dispatcher->Close();
    EXPECT_EQ(watched.use_count(), 1);
    for (const auto& each : {queued, late, refused}) {
        ASSERT_TRUE(each.is_done());
        EXPECT_THROW(each.get(), task_canceled);
    }
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
