#include "hosts/cli/report/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vexcap::cli {
namespace output_test {

TEST(Output, TheFirstFailureIsRememberedAndEndsIt) {
    EXPECT_EQ(outputFailure(), "");
    EXPECT_TRUE(writeLine("a line of this test"));
    const int before = dup(STDOUT_FILENO), full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    ASSERT_EQ(dup2(full, STDOUT_FILENO), STDOUT_FILENO);
    EXPECT_FALSE(writeLine("lost"));
    EXPECT_THROW(printLine("lost"), std::runtime_error);
    dup2(before, STDOUT_FILENO);
    close(before);
    close(full);
    EXPECT_EQ(outputFailure(), "the standard output cannot be written: No space left on device");
    EXPECT_FALSE(writeLine("too late"));
}

}  // namespace output_test
}  // namespace vexcap::cli
