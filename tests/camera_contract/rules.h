// Each check with the rule that it asks for: a sentence of <vexcap/camera_library.h>, word by word.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace vexcap::contract {

/// Rules by the name of their check, "Suite.Check".
std::map<std::string, std::string>& rules();

struct RuleOf {
    RuleOf(const char* check, const char* rule) { rules().emplace(check, rule); }
};

}  // namespace vexcap::contract

#define CONTRACT_RULE(Suite, name, rule) const ::vexcap::contract::RuleOf ruleOf##Suite##name(#Suite "." #name, rule)

/// A check of the library. `rule` is quoted when it fails.
#define LIBRARY_CHECK(Suite, name, rule) \
    CONTRACT_RULE(Suite, name, rule);    \
    TEST(Suite, name)

/// A check of each camera, in a suite of CAMERA_SUITE.
#define CAMERA_CHECK(Suite, name, rule) \
    CONTRACT_RULE(Suite, name, rule);   \
    TEST_P(Suite, name)
