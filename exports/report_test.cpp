#include <vexcap/vexcap.h>

#include "engine/state/engine_testing.h"

namespace vexcap {
namespace exports_report_test {

TEST(Version, TheLibraryHasThatOfItsHeaders) { EXPECT_EQ(vexcap_version(), uint32_t(VEXCAP_VERSION_NUMBER)); }

class Reports : public EngineFixture {
protected:
    std::u16string resultText(HRESULT code) {
        vex_char text[200];
        const uint32_t length = vexcap_result_text(code, text, 200);
        EXPECT_EQ(length, std::u16string_view(text).size());
        return text;
    }
};

TEST_F(Reports, AResultHasTheWordsOfTheLibraryOrOfTheSystem) {
    fakes.messageBox.descriptions[VEX_E_BUSY] = u"Device or resource busy";
    EXPECT_EQ(resultText(E_UNEXPECTED), u"Not possible in this state");
    EXPECT_EQ(resultText(VEX_E_BUSY), u"Device or resource busy");
    EXPECT_EQ(resultText(VEX_RESULT(0x8007ABCDu)), u"Unknown error 0x8007ABCD");
}

TEST_F(Reports, AResultTextIsCutToItsRoom) {
    vex_char text[5] = u"####";
    EXPECT_EQ(vexcap_result_text(S_OK, text, 3), 4u);
    EXPECT_EQ(std::u16string(text), u"Do");
    EXPECT_EQ(text[3], u'#');
    EXPECT_EQ(vexcap_result_text(S_OK, text, 1), 4u);
    EXPECT_EQ(text[0], u'\0');
    text[0] = u'#';
    EXPECT_EQ(vexcap_result_text(S_OK, text, 0), 4u);
    EXPECT_EQ(text[0], u'#');
    EXPECT_EQ(vexcap_result_text(S_OK, nullptr, 100), 4u);
}

}  // namespace exports_report_test
}  // namespace vexcap
