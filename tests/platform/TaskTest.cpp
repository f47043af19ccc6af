#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include "platform/core/UserInterfaceThread.h"
#include "platform/tasks/BlockingMutex.h"
#include "platform/tasks/Clock.h"
#include "platform/tasks/task.h"

namespace platform {

namespace {

[[noreturn]] void Throw() {
    throw Exception(result::kFail, u"broken");
}

/// The code of the platform exception that `body` ends with.
template <typename Body>
std::optional<HResult> CodeOf(Body body) {
    try {
        body();
    } catch (const Exception& exception) {
        return exception.Code();
    }
    return std::nullopt;
}

TEST(Task, HandsValuesFailuresAndInnerTasksDownTheChain) {
    const auto chain = create_task([] {
                           return 20;
                       }).then([](int value) {
                             return create_task([value] { return value + 1; });
                         }).then([](const task<int>& earlier) { return earlier.get() * 2; });
    EXPECT_EQ(chain.get(), 42);

    std::atomic<bool> ran = false;
    const auto broken = create_task([] { Throw(); }).then([&] { ran = true; });
    EXPECT_EQ(CodeOf([&] { broken.wait(); }), result::kFail);
    EXPECT_FALSE(ran);
    EXPECT_EQ(create_task([]() -> task<int> {
                  Throw();
              }).then([](const task<int>& failed) {
                    return CodeOf([&] { failed.get(); });
                }).get(),
              result::kFail);
}

TEST(Task, WhenAllEndsWithTheLastTaskAndHasTheFirstFailureOfTheRange) {
    const task_completion_event<void> first;
    const task_completion_event<void> second;
    const std::vector<task<void>> tasks = {create_task(first), create_task(second)};
    const auto all = when_all(tasks.begin(), tasks.end());
    second.set_exception(std::make_exception_ptr(Exception(result::kFail, u"second")));
    EXPECT_FALSE(all.is_done()) << "a failure does not end the wait for the others";
    first.set_exception(std::make_exception_ptr(Exception(result::kAborted, u"first")));
    EXPECT_EQ(CodeOf([&] { all.wait(); }), result::kAborted);
    EXPECT_TRUE(when_all(tasks.end(), tasks.end()).is_done());
}

TEST(Task, NestedWaitsNeverLockThePoolUp) {
    // Each level blocks a worker; with a pool of fixed size the deepest would never start.
    std::function<int(int)> nest = [&](int depth) {
        return depth == 0 ? 0 : 1 + create_task([&, depth] { return nest(depth - 1); }).get();
    };
    std::vector<task<void>> all;
    for (int i = 0; i < 20; ++i) {
        all.push_back(create_task([&] { EXPECT_EQ(nest(8), 8); }));
    }
    for (const auto& each : all) {
        each.wait();
    }
}

/// Whether what the body that `bodyWith` makes captured, as a constant, is gone when its task ends.
template <typename BodyWith>
bool CaptureGoesFirst(BodyWith bodyWith) {
    const task_completion_event<void> start;
    std::promise<bool> gone;
    const auto work = [&] {
        const auto held = std::make_shared<int>(7);
        auto ending = create_task(start).then(bodyWith(held));
        detail::TaskAccess::StateOf(ending)->WhenDone(
            [&, watched = std::weak_ptr<int>(held)] { gone.set_value(watched.expired()); });
        return ending;
    }();
    start.set();
    const bool wasGone = gone.get_future().get();
    work.then([](const auto& ended) { CodeOf([&] { ended.wait(); }); }).wait();
    return wasGone;
}

TEST(Task, WhatTheWorkCapturedGoesBeforeTheTaskEnds) {
    using Held = std::shared_ptr<int>;
    EXPECT_TRUE(CaptureGoesFirst([](const Held& held) { return [held] { return *held; }; }));
    EXPECT_TRUE(CaptureGoesFirst([](const Held& held) { return [held] { *held == 7 ? Throw() : void(); }; }));
    EXPECT_TRUE(CaptureGoesFirst(
        [](const Held& held) { return [held] { return create_task([value = *held] { return value; }); }; }));
}

TEST(Task, AContinuationOvertakesNoneThatWasThereEarlier) {
    const task_completion_event<void> event;
    const auto state = detail::TaskAccess::StateOf(create_task(event));
    std::vector<int> order;
    state->WhenDone([&] {
        std::jthread([&] { state->WhenDone([&] { order.push_back(2); }); }).join();
        order.push_back(1);
    });
    event.set();
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(Task, RefusesWaitingOnTheUserInterfaceThreadAndDefaultConstructedTasks) {
    const task_completion_event<int> event;
    const auto pending = create_task(event);
    {
        const UserInterfaceThreadMark mark;
        EXPECT_EQ(CodeOf([&] { pending.wait(); }), result::kIllegalMethodCall);
        event.set(7);
        EXPECT_EQ(pending.get(), 7) << "a finished task may be asked anywhere";
    }
    try {
        task<void>().wait();
        FAIL();
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.Message(), u"This function cannot be called on a default constructed task");
    }
}

TEST(Task, ReportsAFailureThatNobodyObserves) {
    testing::internal::CaptureStderr();
    create_task([] { Throw(); });
    ThreadPool::Default().Stop();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("broken"), std::string::npos);
}

TEST(Task, ACancelledTokenKeepsTheBodyFromRunning) {
    const cancellation_token_source source;
    source.cancel();
    std::atomic<bool> ran = false;
    const auto cancelled = create_task([&] { ran = true; }, source.get_token());
    EXPECT_THROW(cancelled.wait(), task_canceled);
    EXPECT_FALSE(ran);
}

TEST(ThreadPool, StopInterruptsWhatBlocksAndRunsWhatIsQueued) {
    std::atomic<bool> slept = false;
    std::atomic<bool> continued = false;
    create_task([&] { slept = SystemClock().SleepFor(std::chrono::hours(1)); }).then([&] {
        continued = true;
    });
    ThreadPool::Default().Stop();
    EXPECT_FALSE(slept) << "the sleep must say that it was cut short";
    EXPECT_TRUE(continued);
}

constexpr std::chrono::seconds kLimit{10};

/// More than the pool has workers when none blocks.
const unsigned kMoreThanWorkers = 2 * std::max(2U, std::thread::hardware_concurrency());

TEST(ThreadPool, WaitingForALockTakesNoWorkerFromOtherWorkAndEndsWithThePool) {
    BlockingMutex mutex;
    mutex.lock();
    std::atomic<unsigned> interrupted = 0;
    for (unsigned i = 0; i < kMoreThanWorkers; ++i) {
        create_task([&] {
            const auto code = CodeOf([&] { const std::lock_guard lock(mutex); });
            interrupted += code == result::kAborted ? 1 : 0;
        });
    }
    std::promise<void> ran;
    create_task([&] { ran.set_value(); });
    EXPECT_EQ(ran.get_future().wait_for(kLimit), std::future_status::ready);
    const auto stopped = std::async(std::launch::async, [] { ThreadPool::Default().Stop(); });
    EXPECT_EQ(stopped.wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(interrupted, kMoreThanWorkers);
    mutex.unlock();
}

/// Has `count` workers enter regions, once `start` is there, until a task that was created after theirs runs.
void BlockWorkers(unsigned count, const std::shared_future<void>& start,
                  const std::function<void()>& created) {
    std::promise<void> go;
    const auto gone = go.get_future().share();
    std::vector<task<void>> blocked;
    for (unsigned i = 0; i < count; ++i) {
        blocked.push_back(create_task([start, gone] {
            start.wait();
            const BlockingRegion outer;
            const BlockingRegion inner;
            EXPECT_EQ(gone.wait_for(kLimit), std::future_status::ready);
        }));
    }
    create_task([&] { go.set_value(); });
    created();
    for (const auto& each : blocked) {
        each.wait();
    }
}

TEST(ThreadPool, AWorkerInTwoRegionsCountsAsBlockedOnceAndIsReplacedAlsoByOneThatWaits) {
    std::promise<void> start;
    const auto started = start.get_future().share();
    const auto begin = [&] { start.set_value(); };
    BlockWorkers(kMoreThanWorkers, started, begin);
    // Those that were started for it wait now. Which of two threads is faster decides whether one has looked
    // in vain before.
    for (int i = 0; i < 200; ++i) {
        start = {};
        BlockWorkers(kMoreThanWorkers / 2, start.get_future().share(), begin);
    }
}

/// Waits on a worker for a second task when the system gives this user no further thread.
[[noreturn]] void WaitOnTheOnlyWorker() {
    create_task([] {}).wait();
    constexpr rlimit kOneThread{1, 1};
    constexpr uid_t kNobody = 65534;
    // The limit does not bind root.
    if (setrlimit(RLIMIT_NPROC, &kOneThread) != 0 || (geteuid() == 0 && setuid(kNobody) != 0)) {
        _exit(2);
    }
    const auto code = create_task([] { return CodeOf([] { create_task([] {}).wait(); }); }).get();
    _exit(code == result::kOutOfMemory ? 0 : 1);
}

TEST(ThreadPool, RefusesToBlockTheOnlyWorkerThatThereCanBe) {
    EXPECT_EXIT(WaitOnTheOnlyWorker(), testing::ExitedWithCode(0), "");
}

}  // namespace

}  // namespace platform
