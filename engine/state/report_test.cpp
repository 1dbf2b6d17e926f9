#include "engine/state/report.h"

#include "engine/state/engine_testing.h"

namespace vexcap {
namespace report_test {

class ReportErrorTest : public EngineFixture {
protected:
    ReportErrorTest() { init(); }
    std::u16string report(std::u16string_view text, HRESULT code, const std::vector<FormatArgument>& values = {}) {
        fakes.messageBox.shown.clear();
        ReportError(engine, owner.native(), text, code, values);
        return fakes.messageBox.shown.empty() ? u"no box" : fakes.messageBox.shown[0].text;
    }
};

TEST_F(ReportErrorTest, AnEmptyTextShowsNothing) { EXPECT_EQ(report(u"", E_FAIL), u"no box"); }

TEST_F(ReportErrorTest, TheBoxBelongsToTheWindowAndCarriesTheProduct) {
    report(u"Text", S_OK);
    EXPECT_EQ(fakes.messageBox.shown[0].owner, owner.native());
    EXPECT_EQ(fakes.messageBox.shown[0].title, u"Product");
}

TEST_F(ReportErrorTest, ASuccessCodeAddsNothing) {
    EXPECT_EQ(report(u"Text", S_OK), u"Text");
    EXPECT_EQ(report(u"Text", S_FALSE), u"Text");
    EXPECT_EQ(report(u"Text", 0x4027E), u"Text");
}

TEST_F(ReportErrorTest, ANegativeCodeIsShownWithItsDescription) {
    fakes.messageBox.descriptions[VEX_E_BUSY] = u"Busy";
    EXPECT_EQ(report(u"Text", VEX_E_BUSY), u"Text\r\nhr = 0x800700aa (Busy).");
}

TEST_F(ReportErrorTest, ACodeOfTheLibraryHasItsWordsWhateverTheSystemSays) {
    fakes.messageBox.descriptions[E_FAIL] = u"Error";
    EXPECT_EQ(report(u"Text", E_FAIL), u"Text\r\nhr = 0x80004005 (Unspecified failure).");
}

TEST_F(ReportErrorTest, ACodeThatNobodyKnowsIsUnknown) {
    EXPECT_EQ(report(u"Text", VEX_RESULT(0x8007ABCDu)), u"Text\r\nhr = 0x8007abcd (Unknown error 0x8007ABCD).");
}

TEST_F(ReportErrorTest, LineEndAndBlankAreCutFromADescription) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"Gone.\r\n", u"Gone."},
        {u"Gone.\n", u"Gone."},
        {u"Gone. \r\n", u"Gone."},
        {u"Gone. ", u"Gone."},
        {u"Gone.  ", u"Gone. "},
        {u"\n", u"\n"},
        {u" ", u" "},
    };
    for (const auto& [told, shown] : cases) {
        fakes.messageBox.descriptions[VEX_E_BUSY] = told;
        EXPECT_EQ(report(u"T", VEX_E_BUSY), u"T\r\nhr = 0x800700aa (" + shown + u").");
    }
}

TEST_F(ReportErrorTest, ArgumentsAreFormatted) {
    EXPECT_EQ(report(u"%s is %d", S_OK, {std::u16string(u"M31"), int64_t(-7)}), u"M31 is -7");
}

TEST_F(ReportErrorTest, ATextWithMoreConversionsThanArgumentsPrintsThem) {
    EXPECT_EQ(report(u"%s and %s, %n %d", S_OK, {std::u16string(u"one")}), u"one and %s, %n %d");
}

TEST_F(ReportErrorTest, ALongTextIsCutAt2047) {
    EXPECT_EQ(report(std::u16string(5000, u'x'), S_OK), std::u16string(2047, u'x'));
}

TEST(ResultTextTest, ASuccessHasWordsToo) {
    FakePlatform fakes;
    Platform ports = fakes.ports();
    engineState().platform = &ports;
    EXPECT_EQ(ResultText(engineState(), S_OK), u"Done");
    EXPECT_EQ(ResultText(engineState(), 0x41234), u"Done, with 0x41234");
}

}  // namespace report_test
}  // namespace vexcap
