#include "hosts/cli/signals.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include "hosts/common/exit_code.h"

namespace vexcap::cli {
namespace signals_test {

bool becomesReadable(int descriptor) {
    pollfd one = {descriptor, POLLIN, 0};
    return poll(&one, 1, 10'000) == 1;
}

TEST(Signals, TheFirstSignalIsAWishToEnd) {
    signal(SIGHUP, SIG_DFL);  // nohup may have started this test
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        const Signals signals;
        EXPECT_FALSE(signals.Asked());
        kill(getpid(), number);
        EXPECT_TRUE(becomesReadable(signals.Descriptor())) << number;
        EXPECT_TRUE(signals.Asked());
    }
}

TEST(SignalsDeathTest, TheSecondSignalEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const Signals signals;
            kill(getpid(), SIGINT);
            becomesReadable(signals.Descriptor());
            kill(getpid(), SIGINT);
            for (;;) pause();
        },
        testing::ExitedWithCode(exitAborted), "vexcap: aborted");
}

TEST(SignalsDeathTest, TwoThatWaitTogetherCountAsTwo) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            sigset_t both;
            sigemptyset(&both);
            sigaddset(&both, SIGINT);
            sigaddset(&both, SIGTERM);
            pthread_sigmask(SIG_BLOCK, &both, nullptr);
            kill(getpid(), SIGINT);
            kill(getpid(), SIGTERM);
            const Signals signals;
            for (;;) pause();
        },
        testing::ExitedWithCode(exitAborted), "vexcap: aborted");
}

TEST(Signals, AReaderThatWentAwayIsNoSignal) {
    const Signals signals;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

}  // namespace signals_test
}  // namespace vexcap::cli
