#include "hosts/cli/report/json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vexcap::cli {
namespace json_test {

TEST(Json, EscapesQuotesBackslashesAndControlCharacters) {
    EXPECT_EQ(jsonString("a\"b\\c"), "\"a\\\"b\\\\c\"");
    EXPECT_EQ(jsonString("x\ny\t\x01\x7F"), "\"x\\u000ay\\u0009\\u0001\\u007f\"");
    EXPECT_EQ(jsonString(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
}

TEST(Json, KeepsUtf8AndReplacesWhatIsNone) {
    EXPECT_EQ(jsonString("\xC3\xA9\xF0\x9F\x94\xAD"), "\"\xC3\xA9\xF0\x9F\x94\xAD\"");
    EXPECT_EQ(jsonString("a\xFF"
                         "b"),
              "\"a\\ufffdb\"");
    // A replacement character that was in the text stays as it is.
    EXPECT_EQ(jsonString("\xEF\xBF\xBD"), "\"\xEF\xBF\xBD\"");
}

TEST(Json, MembersStandInTheirOrderOnOneLine) {
    const std::string line = JsonObject()
                                 .Text("name", "M 31")
                                 .Integer("count", -3)
                                 .Real("rate", 1.5)
                                 .Flag("on", true)
                                 .Raw("list", "[1,2]")
                                 .Line();
    EXPECT_EQ(line, R"({"name":"M 31","count":-3,"rate":1.500,"on":true,"list":[1,2]})");
    EXPECT_EQ(JsonObject().Line(), "{}");
}

TEST(Json, ANumberThatIsNotFiniteIsNull) {
    EXPECT_EQ(JsonObject().Real("a", std::nan("")).Real("b", INFINITY).Line(), R"({"a":null,"b":null})");
}

TEST(Json, TheLargestNumberIsWhole) {
    const std::string line = JsonObject().Real("a", 1e308).Line();
    EXPECT_TRUE(line.ends_with(".000}")) << line;
}

}  // namespace json_test
}  // namespace vexcap::cli
