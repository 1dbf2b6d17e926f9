// What the shared library says of itself and of failures, as a host sees it.
#include <gtest/gtest.h>
#include <vexcap/vexcap.h>

#include <string>

namespace vexcap::test {
namespace report_test {

std::u16string resultText(HRESULT code) {
    vex_char text[200];
    vexcap_result_text(code, text, 200);
    return text;
}

TEST(Report, TheLibraryHasTheVersionOfItsHeaders) { EXPECT_EQ(vexcap_version(), uint32_t(VEXCAP_VERSION_NUMBER)); }

TEST(Report, AResultHasWordsBeforeTheEngineStarts) {
    EXPECT_EQ(resultText(E_FAIL), u"Unspecified failure");
    EXPECT_EQ(resultText(E_ACCESSDENIED), u"Permission denied");
    EXPECT_EQ(resultText(VEX_E_DISK_FULL), u"No space left on device");
    EXPECT_EQ(resultText(VEX_RESULT(0x80071234u)), u"Unknown error 0x80071234");
}

}  // namespace report_test
}  // namespace vexcap::test
