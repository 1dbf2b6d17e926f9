#include "base/civil_time.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"

namespace vexcap {
namespace civil_time_test {

std::string textOfTime(uint64_t fileTime) {
    const CivilTime t = civilTime(fileTime);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02u:%02u:%02u", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return text;
}

TEST(CivilTime, KnowsLeapDaysAndTheEndsOfDays) {
    EXPECT_EQ(textOfTime(0), "1601-01-01 00:00:00");
    EXPECT_EQ(textOfTime(116'444'736'000'000'000), "1970-01-01 00:00:00");
    EXPECT_EQ(textOfTime(125'963'423'999'999'999), "2000-02-29 23:59:59") << "what is below a second is cut off";
    EXPECT_EQ(textOfTime(125'963'424'000'000'000), "2000-03-01 00:00:00");
    EXPECT_EQ(textOfTime(133'485'408'000'000'000), "2024-01-01 00:00:00");
}

}  // namespace civil_time_test
}  // namespace vexcap
