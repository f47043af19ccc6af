// What the application does when there is no memory: each allocation of a thread fails in turn.

#include <array>
#include <cstdlib>
#include <new>
#include <thread>

#include "logging/LoggingHandler.h"
#include "logging/Trace.h"
#include "platform/storage/ApplicationData.h"
#include "service/RpcClient.h"
#include "tests/application/ApplicationTest.h"

namespace {

/// Allocations of this thread until one fails; 0 for never.
thread_local int t_untilFailure = 0;

void* Allocate(std::size_t size) noexcept {
    return t_untilFailure > 0 && --t_untilFailure == 0 ? nullptr : std::malloc(size);
}

}  // namespace

// Stand in for the C++ library's, from which the others are made. Not inlined, where the compiler would see
// free() meet new.
void* operator new(std::size_t size) {
    if (void* const block = Allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace Kelvane {

namespace {

/// Calls `work` once for each allocation that it makes, which then fails. Returns how many there were.
int WithEachAllocationFailing(const std::function<void()>& work) {
    for (int number = 1;; ++number) {
        t_untilFailure = number;
        work();
        if (std::exchange(t_untilFailure, 0) != 0) {
            return number - 1;
        }
    }
}

class MemoryTest : public ApplicationTest {};

TEST_F(MemoryTest, ALogCallWithoutMemoryLosesItsOwnLineOnlyAndAReadIsAStatus) {
    m_systemInformation = u"record";
    StartService();
    Run({[&] {
        EXPECT_GT(WithEachAllocationFailing([] {
                      Traced(u"Method", [](const auto& trace) {
                          trace.Error(u"a long line of this call, longer than any text without memory ", 1);
                      });
                  }),
                  0);
        Mark("the log goes on");
        std::array<char16_t, 999> text{};
        std::int64_t status = 0;
        EXPECT_GT(WithEachAllocationFailing([&] {
                      text.fill(u'\0');
                      RpcClient client;
                      const auto opened = client.Initialize();
                      status = opened != 0 ? opened : client.ReadSysInfo(text.data(), 999);
                      EXPECT_EQ(std::u16string_view(text.data()), status == 0 ? u"record" : u"");
                      EXPECT_TRUE(status == 0 || status == platform::rpc::status::kOutOfMemory) << status;
                  }),
                  10);
        EXPECT_EQ(status, 0);
    }});
    EXPECT_NE(Trace().find("the log goes on"), std::string::npos);
}

TEST_F(MemoryTest, WhatCouldNotBeQueuedOrEndedIsNotWaitedFor) {
    m_endsItself = true;
    bool isWhole = false;
    Run({[&] {
        const auto failing = [](const std::function<void()>& work) {
            return WithEachAllocationFailing([&] {
                try {
                    work();
                } catch (const std::bad_alloc&) {
                }
            });
        };
        auto& settings = platform::ApplicationData::Current().LocalSettings().Values();
        settings.Insert(u"Test", std::u16string(99, u'x'));
        EXPECT_GT(failing([&] { static_cast<void>(settings.All()); }), 1);
        // One of the test's own: workers post to the window's meanwhile.
        const auto dispatcher = std::make_shared<platform::CoreDispatcher>(m_world->Loop());
        const auto post = [&] { dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [] {}); };
        EXPECT_GT(failing(post), 1);
        EXPECT_EQ(dispatcher->Pending(), 1U);
        // What another thread drops goes back by a handler of its own, also when there was no memory for the
        // first.
        const auto postHeld = [&] {
            dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal,
                                 [held = dispatcher->Hold(std::make_shared<int>())] {});
        };
        std::thread([&] { EXPECT_GT(failing(postHeld), 3); }).join();
        dispatcher->Close();
        EXPECT_GT(failing([&] { m_world->Client().SleepAnnounced([] {}); }), 3);
        EXPECT_GT(failing([&] { m_world->Client().EndRequested(); }), 0);
        m_clock.Advance(std::chrono::seconds(5));
        isWhole = true;
    }});
    EXPECT_TRUE(isWhole) << m_errors;
}

}  // namespace

}  // namespace Kelvane
