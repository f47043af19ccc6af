#include "platform/core/EndSignals.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <semaphore>

namespace platform {

namespace {

TEST(EndSignals, HandsThemOutWhileItLivesAndLetsThemThroughAfterwards) {
    const auto run = [] {
        {
            std::binary_semaphore asked{0};
            const EndSignals signals([&asked] { asked.release(); });
            kill(getpid(), SIGTERM);
            asked.acquire();
        }
        kill(getpid(), SIGTERM);
        _exit(0);
    };
    EXPECT_EXIT(run(), testing::KilledBySignal(SIGTERM), "");
}

}  // namespace

}  // namespace platform
