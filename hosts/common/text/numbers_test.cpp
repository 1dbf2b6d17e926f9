#include "hosts/common/text/numbers.h"

#include <gtest/gtest.h>

#include <clocale>

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

TEST(Real, HasAPointOrThatOfTheUsersLocale) {
    EXPECT_EQ(parseReal("0.5", ","), 0.5);
    EXPECT_EQ(parseReal("0,5", ","), 0.5);
    EXPECT_EQ(parseReal("-12", ","), -12);
    EXPECT_EQ(parseReal("0.5", "."), 0.5);
    EXPECT_FALSE(parseReal("0,5", "."));
    for (const char* wrong : {"", ",", "1,2,3", "1.2,3", "1,2.3", "x", "inf", "nan", "1e999", "0x10", " 1", "1 "})
        EXPECT_FALSE(parseReal(wrong, ",")) << wrong;
}

TEST(Time, HasAUnitOrThatOfItsOption) {
    EXPECT_EQ(parseTime("1.5", 1), 1.5);
    EXPECT_EQ(parseTime("5000", 1e-6), 0.005);
    EXPECT_EQ(parseTime("90s", 1e-6), 90);
    EXPECT_EQ(parseTime("500ms", 1), 0.5);
    EXPECT_EQ(parseTime("20us", 1), 20 * 1e-6);
    EXPECT_EQ(parseTime("20\u00B5s", 1), 20 * 1e-6);
    EXPECT_EQ(parseTime("2 min", 1), 120);
    EXPECT_EQ(parseTime("1h", 1), 3600);
    EXPECT_EQ(parseTime("010", 1), 10) << "zeros in front change nothing";
    for (const char* wrong : {"", "s", "ms", "-1", "-1s", "1m", "1 s x", "1  s", "0x10", "ten"})
        EXPECT_FALSE(parseTime(wrong, 1)) << wrong;
}

TEST(Time, IsToldInTheUnitThatSuitsIt) {
    EXPECT_EQ(timeWithUnit(32e-6), "32 \u00B5s");
    EXPECT_EQ(timeWithUnit(0.0015), "1.5 ms");
    EXPECT_EQ(timeWithUnit(60), "60 s");
    EXPECT_EQ(timeWithUnit(0), "0 s");
}

TEST(Numbers, AreWrittenWithAPointInEveryLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    for (const char* locale : {"C", "de_DE.UTF-8", "de_DE.utf8"}) {
        std::setlocale(LC_NUMERIC, locale);
        EXPECT_EQ(formatReal(29.97), "30.0") << locale;
        EXPECT_EQ(formatReal(0.25), "0.2") << locale;
        EXPECT_EQ(formatBytes(1234), "1.2 kB") << locale;
        EXPECT_EQ(plainNumber(0.5), "0.5") << locale;
    }
    std::setlocale(LC_NUMERIC, before.c_str());
}

}  // namespace numbers_test
}  // namespace vexcap::host
