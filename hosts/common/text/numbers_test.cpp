#include "hosts/common/text/numbers.h"

#include <gtest/gtest.h>

namespace vexcap::host {
namespace numbers_test {

TEST(Numbers, TimesAreShort) {
    EXPECT_EQ(formatTime(0), "0:00");
    EXPECT_EQ(formatTime(5.9), "0:05");
    EXPECT_EQ(formatTime(61), "1:01");
    EXPECT_EQ(formatTime(3599.999), "59:59");
    EXPECT_EQ(formatTime(3600), "1:00:00");
    EXPECT_EQ(formatTime(36061), "10:01:01");
    EXPECT_EQ(formatTime(-1), "0:00");
}

TEST(Numbers, BytesChangeTheirUnitBeforeTheyNeedAFourthDigit) {
    EXPECT_EQ(formatBytes(0), "0 B");
    EXPECT_EQ(formatBytes(999), "999 B");
    EXPECT_EQ(formatBytes(1000), "1.0 kB");
    EXPECT_EQ(formatBytes(999'949), "999.9 kB");
    EXPECT_EQ(formatBytes(999'960), "1.0 MB");
    EXPECT_EQ(formatBytes(48.26e6), "48.3 MB");
    EXPECT_EQ(formatBytes(2e12), "2.0 TB");
    EXPECT_EQ(formatBytes(5e15), "5000.0 TB");
}

TEST(Pair, IsTwoWholeNumbers) {
    EXPECT_EQ(parsePair("5,-10"), (std::pair<int32_t, int32_t>{5, -10}));
    EXPECT_EQ(parsePair("-2147483648,2147483647"), (std::pair<int32_t, int32_t>{INT32_MIN, INT32_MAX}));
    for (const char* wrong : {"", ",", "5", "5,", ",5", "5,6,7", "5, 6", "5.5,1", "2147483648,0", "a,b", "+1,2"})
        EXPECT_FALSE(parsePair(wrong)) << wrong;
}

}  // namespace numbers_test
}  // namespace vexcap::host
