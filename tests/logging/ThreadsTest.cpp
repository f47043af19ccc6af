// Four threads write at once, until they are done or until their process is killed at a random moment: every
// message whose call had returned is there, in order; before the next start and after it.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <thread>

#include "platform/core/Text.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "tests/support/LogFolder.h"
#include "tools/LogSources.h"

namespace {

using platform::FileLoggingSession;
using platform::LoggingLevel;

constexpr int kThreads = 4;

/// How often a process is killed. With the thread sanitizer each takes more than a second.
#ifdef __SANITIZE_THREAD__
constexpr int kRounds = 10;
#else
constexpr int kRounds = 50;
#endif

/// How many calls of each thread have returned; shared with the process that is killed.
using Returned = std::array<std::atomic<int>, kThreads>;

std::u16string TextOf(int thread, int number) {
    return platform::ToText(thread) + u" " + platform::ToText(number) + std::u16string(number % 300, u'.');
}

void WriteMessages(platform::LoggingChannel& channel, int messages, Returned& returned) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int number = 0; number < messages; ++number) {
                channel.LogMessage(TextOf(thread, number), static_cast<LoggingLevel>(number % 5));
                returned[static_cast<std::size_t>(thread)] = number + 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

/// Takes messages as they are read, and holds them against what was written.
class Expectation {
  public:
    void Take(const platform::etl::TraceEvent& event) {
        const int thread = event.Text.at(0) - u'0';
        const int number = m_next[thread]++;
        EXPECT_EQ(event.Text, TextOf(thread, number));
        EXPECT_EQ(event.Level, static_cast<LoggingLevel>(number % 5));
        EXPECT_GE(event.FileTime, std::exchange(m_time, event.FileTime));
    }
    void Check(const Returned& returned) {
        for (int thread = 0; thread < kThreads; ++thread) {
            EXPECT_GE(m_next[thread], returned[static_cast<std::size_t>(thread)]);
        }
    }

  private:
    std::map<int, int> m_next;
    std::int64_t m_time = 0;
};

TEST(Threads, FillOneFileAfterTheOther) {
    const tests::StateFolderScope state(tests::Memory());
    const auto channel = std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel");
    const auto session = std::make_shared<FileLoggingSession>(u"Kelvane_Session");
    session->AddLoggingChannel(channel);
    Returned returned{};
    WriteMessages(*channel, 5000, returned);
    tests::DoWithLimit("the session", [&] { session->Close(); });
    EXPECT_GT(tests::Names(state.Logs()).size(), 10U);
    EXPECT_TRUE(tests::Names(state.Logs(), ".live").empty());
    Expectation expectation;
    std::ranges::for_each(tests::ReadFolder(state.Logs()),
                          [&](const auto& event) { expectation.Take(event); });
    expectation.Check(returned);
}

TEST(Threads, LoseNoMessageWhenTheirProcessIsKilled) {
    std::mt19937 random(20260305);
    void* const shared =
        mmap(nullptr, sizeof(Returned), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    for (int round = 0; round < kRounds; ++round) {
        const tests::StateFolderScope state;
        const auto channel = std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel");
        const auto session = std::make_shared<FileLoggingSession>(u"Kelvane_Session");
        auto& returned = *new (shared) Returned{};
        const int moment = std::uniform_int_distribution(0, 12000)(random);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // So that one that hangs ends too.
            alarm(30);
            session->AddLoggingChannel(channel);
            WriteMessages(*channel, std::numeric_limits<int>::max(), returned);
            abort();
        }
        const auto count = [&] { return std::accumulate(returned.begin(), returned.end(), 0); };
        while (count() < moment && waitpid(child, nullptr, WNOHANG) == 0) {
            std::this_thread::yield();
        }
        ASSERT_GE(count(), moment) << "the threads stopped writing";
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        Expectation atOnce;
        const auto fail = [](const auto& path, const auto& what) { ADD_FAILURE() << path << what; };
        logtool::LogSources sources(
            {{.Path = state.Logs(), .MayBeMissing = true}}, [&](const auto& event) { atOnce.Take(event); },
            fail, fail);
        sources.Poll();
        atOnce.Check(returned);

        // The session stores what was left, as sound files, and hands them out in order.
        Expectation afterwards;
        session->LogFileGenerated().Add([&](auto&, platform::LogFileGeneratedEventArgs& args) {
            std::ranges::for_each(tests::ReadSound(platform::ToPathBytes(args.File()->Path())),
                                  [&](const auto& event) { afterwards.Take(event); });
        });
        session->AddLoggingChannel(channel);
        tests::DoWithLimit("the session", [&] { session->Close(); });
        afterwards.Check(returned);
        EXPECT_TRUE(tests::Names(state.Logs(), ".live").empty());
    }
}

}  // namespace
