#include "hosts/common/session.h"

#include <gtest/gtest.h>

namespace vexcap::host {
namespace session_test {

TEST(StallWatch, NoFrameForLongerThanItsTimeIsAStall) {
    StallWatch watch(10);
    EXPECT_FALSE(watch.Stalled(0, 100));
    EXPECT_FALSE(watch.Stalled(0, 110));
    EXPECT_TRUE(watch.Stalled(0, 110.1));
}

TEST(StallWatch, EachFrameStartsTheTimeAnew) {
    StallWatch watch(10);
    EXPECT_FALSE(watch.Stalled(5, 0));
    EXPECT_FALSE(watch.Stalled(6, 9));
    EXPECT_FALSE(watch.Stalled(6, 18));
    EXPECT_TRUE(watch.Stalled(6, 19.5));
    EXPECT_FALSE(watch.Stalled(7, 20));
}

}  // namespace session_test
}  // namespace vexcap::host
