#include "hosts/cli/result_text.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace {

TEST(ResultText, AFailureThatAUserCanMendHasWords) {
    EXPECT_EQ(resultText(VEX_E_DISK_FULL), "the disk is full");
    EXPECT_EQ(resultText(E_ACCESSDENIED), "permission denied");
}

TEST(ResultText, AnyOtherHasItsNumber) { EXPECT_EQ(resultText(E_FAIL), "error 0x80004005"); }

}  // namespace
}  // namespace vexcap::cli
