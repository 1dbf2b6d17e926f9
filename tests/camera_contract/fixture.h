// The base of the tests that run once for each camera.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "tests/camera_contract/rules.h"
#include "tests/camera_contract/stream.h"
#include "tests/camera_contract/subject.h"

namespace vexcap::contract {

class CameraTest : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (subject().open == nullptr) GTEST_FAIL() << "the library has no Open";
        if (!camera) GTEST_FAIL() << GetParam() << " cannot be opened";
        quicken(camera.get());
    }
    /// Name of a test for this camera: its identifier, with only letters and digits.
    static std::string nameOf(const testing::TestParamInfo<std::string>& info) {
        std::string name;
        for (const char c : info.param) name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
        return name + "_" + std::to_string(info.index);
    }

    Camera camera{GetParam()};
};

}  // namespace vexcap::contract

/// Declares a suite that runs for every camera under test; the library may list none.
#define CAMERA_SUITE(Suite)                               \
    class Suite : public vexcap::contract::CameraTest {   \
    public:                                               \
        using vexcap::contract::CameraTest::nameOf;       \
    };                                                    \
    GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Suite); \
    INSTANTIATE_TEST_SUITE_P(Each, Suite, testing::ValuesIn(vexcap::contract::subject().names), &Suite::nameOf)
