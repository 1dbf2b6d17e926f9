// What the program prints: the checks that failed with the rule that was broken, and a sum.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace vexcap::contract {

/// Replaces the printer of GoogleTest. Prints failures and what was left out; with `verbose` also what passed.
class Report final : public testing::EmptyTestEventListener {
public:
    explicit Report(bool everything) : verbose(everything) {}

    void OnTestStart(const testing::TestInfo& check) override;
    void OnTestPartResult(const testing::TestPartResult& part) override;
    void OnTestEnd(const testing::TestInfo& check) override;
    void OnTestProgramEnd(const testing::UnitTest& all) override;

private:
    const bool verbose;
    std::string seen;     // what the failed expectations of the present check said
    std::string skipped;  // why it was left out
};

/// "Suite.Check" of a test, without the camera that it runs for.
std::string checkOf(const testing::TestInfo& test);

/// A library that crashes takes this program along; from now on the last words name the check and its rule.
void reportCrashes();

}  // namespace vexcap::contract
