// A process is killed at a random moment while four threads write: every message whose call had returned is
// there, before the next start and after it.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "platform/core/Text.h"
#include "platform/diagnostics/FileLoggingSession.h"
#include "tests/support/LogFolder.h"
#include "tools/LogSources.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 50;

/// How many calls of each thread have returned; shared with the process that is killed.
using Returned = std::array<std::atomic<int>, kThreads>;

std::u16string TextOf(int thread, int number) {
    return platform::ToText(thread) + u" " + platform::ToText(number) + std::u16string(number % 300, u'.');
}

[[noreturn]] void WriteUntilKilled(Returned& returned) {
    const auto channel = std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel");
    const auto session = std::make_shared<platform::FileLoggingSession>(u"Kelvane_Session");
    session->AddLoggingChannel(channel);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int number = 0;; ++number) {
                channel->LogMessage(TextOf(thread, number), platform::LoggingLevel::Information);
                returned[static_cast<std::size_t>(thread)] = number + 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    abort();
}

/// Counts each thread's messages and holds them against what was written, in order.
class Expectation {
  public:
    void Take(const platform::etl::TraceEvent& event) {
        const int thread = event.Text.at(0) - u'0';
        const int number = m_next[thread]++;
        EXPECT_EQ(event.Text, TextOf(thread, number));
    }
    void Check(const Returned& returned) const {
        for (int thread = 0; thread < kThreads; ++thread) {
            const auto found = m_next.find(thread);
            EXPECT_GE(found == m_next.end() ? 0 : found->second, returned[static_cast<std::size_t>(thread)]);
        }
    }

  private:
    std::map<int, int> m_next;
};

TEST(Crash, LosesNoMessageWhoseCallHadReturned) {
    std::mt19937 random(20260305);
    void* const shared =
        mmap(nullptr, sizeof(Returned), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    for (int round = 0; round < kRounds; ++round) {
        const tests::StateFolderScope state;
        auto& returned = *new (shared) Returned{};
        const int moment = std::uniform_int_distribution(0, 12000)(random);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            WriteUntilKilled(returned);
        }
        while (returned[0] + returned[1] + returned[2] + returned[3] < moment) {
            std::this_thread::yield();
        }
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        Expectation atOnce;
        const auto fail = [](const auto& path, const auto& what) { ADD_FAILURE() << path << what; };
        logtool::LogSources sources(
            {{.path = state.Logs(), .mayBeMissing = true}}, [&](const auto& event) { atOnce.Take(event); },
            fail, fail);
        sources.Poll();
        atOnce.Check(returned);

        // The next session stores what was left, as sound files, and hands them out in order.
        const auto next = std::make_shared<platform::FileLoggingSession>(u"Kelvane_Session");
        Expectation afterwards;
        next->LogFileGenerated().Add([&](auto&, platform::LogFileGeneratedEventArgs& args) {
            for (const auto& event : tests::ReadSound(platform::ToPathBytes(args.File()->Path()))) {
                afterwards.Take(event);
            }
        });
        next->AddLoggingChannel(std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel"));
        next->Close();
        afterwards.Check(returned);
        EXPECT_TRUE(tests::Names(state.Logs(), ".live").empty());
    }
}

}  // namespace
