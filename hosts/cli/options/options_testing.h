/// Command lines as tests give them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/cli/options/options.h"

namespace vexcap::cli {

inline ParsedCommandLine parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "vexcap");
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

inline Options parsed(const std::vector<const char*>& arguments) {
    const ParsedCommandLine result = parse(arguments);
    EXPECT_TRUE(result.options) << result.text;
    return result.options.value_or(Options{});
}

/// The text of a command line that is refused.
inline std::string refusal(const std::vector<const char*>& arguments) {
    const ParsedCommandLine result = parse(arguments);
    EXPECT_FALSE(result.options);
    EXPECT_EQ(result.code, exitUsage);
    EXPECT_NE(result.text.find("\nSee \"vexcap"), std::string::npos) << result.text;
    return result.text;
}

}  // namespace vexcap::cli
