#include "hosts/common/text/result_text.h"

#include <gtest/gtest.h>

namespace vexcap::host {
namespace result_text_test {

TEST(ResultText, AFailureThatAUserCanMendHasWords) {
    EXPECT_EQ(resultText(VEX_E_DISK_FULL), "the disk is full");
    EXPECT_EQ(resultText(E_ACCESSDENIED), "permission denied");
    EXPECT_EQ(resultText(VEX_E_BUSY), "another program uses it");
    EXPECT_EQ(resultText(noModule), "libvexcap-media.so.1, which compresses and plays video, is not installed");
}

TEST(ResultText, AnyOtherHasTheWordsOfTheLibrary) { EXPECT_EQ(resultText(E_FAIL), "Unspecified failure"); }

}  // namespace result_text_test
}  // namespace vexcap::host
