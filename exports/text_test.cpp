#include <vexcap/text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace vexcap {
namespace text_exports_test {

// One, two, three and four bytes of UTF-8; the last one is two units of UTF-16.
constexpr const char* narrow = "aµ€🔭";
constexpr const vex_char* wide = u"aµ€🔭";
constexpr size_t narrowLength = 1 + 2 + 3 + 4, wideLength = 5;

TEST(Utf8, HasTheLengthOfTheWholeTextWhateverFits) {
    char text[32];
    for (const size_t room : {size_t(0), size_t(1), size_t(5), narrowLength, sizeof text})
        EXPECT_EQ(vexcap_utf8_from_utf16(wide, text, room), narrowLength) << room;
    EXPECT_EQ(std::string(text), narrow);
    EXPECT_EQ(vexcap_utf8_from_utf16(wide, nullptr, sizeof text), narrowLength);
}

TEST(Utf8, IsNeverCutInsideACharacter) {
    for (size_t room = 1; room <= narrowLength + 1; ++room) {
        std::string text(narrowLength + 2, '#');
        vexcap_utf8_from_utf16(wide, text.data(), room);
        const size_t length = std::char_traits<char>::length(text.c_str());
        size_t whole = 0;
        for (const size_t end : {size_t(1), size_t(3), size_t(6), narrowLength})
            if (end < room) whole = end;
        EXPECT_EQ(text.substr(0, length), std::string(narrow).substr(0, whole)) << room;
        EXPECT_EQ(text.substr(room), std::string(text.size() - room, '#')) << "behind the room of " << room;
    }
}

TEST(Utf8, OfNothingIsEmpty) {
    char text[4] = "old";
    EXPECT_EQ(vexcap_utf8_from_utf16(nullptr, text, sizeof text), 0u);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(vexcap_utf8_from_utf16(u"", text, 0), 0u);
}

TEST(Utf8, HasAReplacementForEachBrokenSurrogate) {
    const vex_char broken[] = {0xD800, u'a', 0xDC00, 0xD83D, 0};
    char text[16];
    EXPECT_EQ(vexcap_utf8_from_utf16(broken, text, sizeof text), 10u);
    EXPECT_STREQ(text, "\uFFFDa\uFFFD\uFFFD");
}

TEST(Utf16, HasTheLengthOfTheWholeTextWhateverFits) {
    vex_char text[32];
    for (const size_t room : {size_t(0), size_t(1), size_t(3), wideLength, size_t(32)})
        EXPECT_EQ(vexcap_utf16_from_utf8(narrow, text, room), wideLength) << room;
    EXPECT_EQ(std::u16string(text), wide);
    EXPECT_EQ(vexcap_utf16_from_utf8(narrow, nullptr, 32), wideLength);
}

TEST(Utf16, IsNeverCutInsideAPair) {
    vex_char text[8];
    std::fill(std::begin(text), std::end(text), u'#');
    EXPECT_EQ(vexcap_utf16_from_utf8(narrow, text, wideLength), wideLength);
    EXPECT_EQ(std::u16string(text), u"aµ€");
    EXPECT_EQ(text[wideLength], u'#');
}

TEST(Utf16, OfNothingIsEmpty) {
    vex_char text[4] = u"old";
    EXPECT_EQ(vexcap_utf16_from_utf8(nullptr, text, 4), 0u);
    EXPECT_EQ(text[0], 0);
}

TEST(Utf16, HasReplacementsForBrokenSequences) {
    vex_char text[16];
    EXPECT_EQ(vexcap_utf16_from_utf8("a\xFF\xE2\x82z\xC0\x80", text, 16), 6u);
    EXPECT_EQ(std::u16string(text), u"a\uFFFD\uFFFDz\uFFFD\uFFFD");
}

}  // namespace text_exports_test
}  // namespace vexcap
