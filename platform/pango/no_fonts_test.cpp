// A system without any font, as ctest makes it for this program.
#include <gtest/gtest.h>

#include "platform/pango/pango_text.h"
#include "platform/pango/text_testing.h"

namespace vexcap::pango {
namespace no_fonts_test {

TEST(WithoutFonts, NothingIsDrawnAndNothingComplains) {
    testing::internal::CaptureStderr();
    PangoText texts;
    for (const std::u16string_view text : {u"Jupiter", u"12:45:56", u"\u6728\u661F", u"\u0632\u062D\u0644"})
        for (const int32_t height : {1, 12, 300, 4096}) {
            EXPECT_EQ(texts.Measure({.height = height}, text), TextSize());
            test::Drawing drawing(40, 20);
            EXPECT_FALSE(texts.Draw({.height = height}, text, drawing.Mask(), 0, 0));
            EXPECT_EQ(drawing.Count(), 0u);
        }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace no_fonts_test
}  // namespace vexcap::pango
