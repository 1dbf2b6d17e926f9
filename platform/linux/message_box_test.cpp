#include "platform/linux/message_box.h"

#include <gtest/gtest.h>

namespace vexcap {
namespace message_box_test {

TEST(ConsoleMessageBox, WritesTitleAndLinesToTheErrorOutput) {
    testing::internal::CaptureStderr();
    ConsoleMessageBox().Show(nullptr, u"It broke.\r\nhr = 0x80004005.", u"vexcap");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vexcap: It broke.\nhr = 0x80004005.\n");
}

TEST(ConsoleMessageBox, WritesAQuestionDownAndAnswersNo) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ConsoleMessageBox().Ask(nullptr, u"Replace m31.avi?\r\nIt exists.", u"vexcap"));
    EXPECT_FALSE(ConsoleMessageBox().Ask(nullptr, u"Sure?", u""));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vexcap: Replace m31.avi?\nIt exists.\nSure?\n");
}

TEST(ConsoleMessageBox, DescribesTheCodesOfTheSystem) {
    ConsoleMessageBox box;
    EXPECT_EQ(box.Describe(VEX_E_DISK_FULL), u"No space left on device");
    EXPECT_EQ(box.Describe(E_ACCESSDENIED), u"Permission denied");
    EXPECT_EQ(box.Describe(E_FAIL), u"");
    EXPECT_EQ(box.Describe(VEX_RESULT(0x8007ABCDu)), u"");
    EXPECT_EQ(box.Describe(VEX_RESULT(0xC0001234u)), u"");
}

}  // namespace message_box_test
}  // namespace vexcap
