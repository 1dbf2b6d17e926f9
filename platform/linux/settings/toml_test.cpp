// What toml.h replaces in toml++ is still there to be replaced, and is replaced.
#include "platform/linux/settings/toml.h"

#include <gtest/gtest.h>

#include <string>

namespace vexcap {
namespace toml_test {

// A promise to the compiler that does not hold is no constant expression: these do not compile where one is left.

constexpr bool isBlank(char32_t c) {
    return c == 0xA0 || c == 0x1680 || c == 0x180E || (c >= 0x2000 && c <= 0x200B) || c == 0x202F || c == 0x205F ||
           c == 0x2060 || c == 0x3000 || c == 0xFEFF;
}

constexpr bool tableOfBlanksIsRight() {
    for (char32_t c = 0x80; c <= 0x1'0100; ++c)
        if (toml::impl::is_non_ascii_horizontal_whitespace(c) != isBlank(c)) return false;
    return true;
}
static_assert(tableOfBlanksIsRight());

TEST(Toml, IsOfAReleaseThatWasLookedAt) {
    EXPECT_EQ(TOML_LIB_MAJOR, 3) << "see whether toml.h still replaces what it has to, then allow this release here";
    EXPECT_LE(TOML_LIB_MINOR, 4) << "see whether toml.h still replaces what it has to, then allow this release here";
}

TEST(Toml, DamageIsAnErrorAndNoStop) {
    for (const char* const damaged : {"[[[", "[[[a]]]", "a.", "a=", "\"", "a = [[[[", "\xC3"})
        EXPECT_THROW(static_cast<void>(toml::parse(damaged)), toml::parse_error) << damaged;
}

TEST(Toml, ValuesNestNoDeeperThanTheLimit) {
    const auto nested = [](size_t depth) { return "a = " + std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_NO_THROW(static_cast<void>(toml::parse(nested(31))));
    EXPECT_THROW(static_cast<void>(toml::parse(nested(33))), toml::parse_error);
}

}  // namespace toml_test
}  // namespace vexcap
