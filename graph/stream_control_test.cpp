// Beginning and ending a stream at a time.
#include "graph/stream_control.h"

#include <gtest/gtest.h>

#include <limits>

namespace vexcap {
namespace stream_control_test {

constexpr int64_t never = IAMStreamControl::never;

TEST(StreamControl, LetsEverythingThroughAtFirst) {
    StreamControl control;
    for (const int64_t time : {std::numeric_limits<int64_t>::min(), int64_t(-1), int64_t(0), never - 1})
        EXPECT_TRUE(control.Passes(time)) << time;
}

TEST(StreamControl, BeginsWithTheSampleAtTheStartTimeAndEndsBeforeTheOneAtTheStopTime) {
    StreamControl control;
    const int64_t start = 100, stop = 200;
    control.StartAt(&start);
    control.StopAt(&stop);
    EXPECT_FALSE(control.Passes(99));
    EXPECT_TRUE(control.Passes(100));
    EXPECT_TRUE(control.Passes(199));
    EXPECT_FALSE(control.Passes(200));
}

TEST(StreamControl, AStartThatNeverComesHoldsTheStreamBackUntilItIsReleased) {
    StreamControl control;
    control.StartAt(&never);
    EXPECT_FALSE(control.Passes(0));
    EXPECT_FALSE(control.Passes(never - 1));
    const int64_t now = 0;
    control.StartAt(&now);
    control.StopAt(&never);
    EXPECT_TRUE(control.Passes(0));
    EXPECT_TRUE(control.Passes(never - 1));
}

TEST(StreamControl, AStopAtOnceHoldsUntilTheNextStart) {
    StreamControl control;
    control.StopAt(nullptr);
    EXPECT_FALSE(control.Passes(0));
    control.StopAt(&never);
    EXPECT_FALSE(control.Passes(0));
    control.StartAt(nullptr);
    EXPECT_TRUE(control.Passes(0));
    EXPECT_TRUE(control.Passes(-1));
    control.StopAt(nullptr);
    const int64_t later = 50;
    control.StartAt(&later);
    EXPECT_FALSE(control.Passes(49));
    EXPECT_TRUE(control.Passes(50));
}

TEST(StreamControl, AStopTimeOutlivesAStart) {
    StreamControl control;
    const int64_t stop = 10;
    control.StopAt(&stop);
    control.StartAt(nullptr);
    EXPECT_TRUE(control.Passes(9));
    EXPECT_FALSE(control.Passes(10));
}

}  // namespace stream_control_test
}  // namespace vexcap
