#include "hosts/cli/device_match.h"

#include <gtest/gtest.h>

#include "hosts/cli/failure.h"

namespace vexcap::cli {
namespace {

const Device planet = {"Planet camera", "sim-planet"};
const Device planetFast = {"Planet camera fast", "sim-fast"};
const Device sky = {"Deep sky", "sim-sky"};
const std::vector<Device> all = {planet, planetFast, sky};

ExitCode codeOf(std::string_view wanted) {
    try {
        matchDevice(all, wanted);
    } catch (const Failure& failure) {
        return failure.code;
    }
    return exitDone;
}

TEST(DeviceMatch, ANumberIsAnIndex) {
    EXPECT_EQ(matchDevice(all, "0"), planet);
    EXPECT_EQ(matchDevice(all, "2"), sky);
    EXPECT_EQ(codeOf("3"), exitNoDevice);
    EXPECT_EQ(codeOf("99999999999999999999999"), exitNoDevice);
}

TEST(DeviceMatch, AWholeNameWinsOverTheLongerNameThatBeginsWithIt) {
    EXPECT_EQ(matchDevice(all, "planet CAMERA"), planet);
}

TEST(DeviceMatch, AWholeIdentifierWinsAndIsTakenLetterByLetter) {
    EXPECT_EQ(matchDevice(all, "sim-fast"), planetFast);
    EXPECT_EQ(matchDevice(all, "SIM-FAST"), (Device{"SIM-FAST", "SIM-FAST"}));
}

TEST(DeviceMatch, ABeginningOrAPartOfOneNameIsEnough) {
    EXPECT_EQ(matchDevice(all, "deep"), sky);
    EXPECT_EQ(matchDevice(all, "FAST"), planetFast);
}

TEST(DeviceMatch, ABeginningWinsOverAPart) {
    const std::vector<Device> devices = {{"Fast sky", "a"}, {"Sky", "b"}, {"Skyline fast", "c"}};
    EXPECT_EQ(matchDevice(devices, "fast").identifier, "a");
    EXPECT_EQ(matchDevice(devices, "skyl").identifier, "c");
}

TEST(DeviceMatch, ATextThatFitsSeveralIsRefusedAndTheyAreNamed) {
    try {
        matchDevice(all, "planet");
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
        const std::string text = failure.what();
        EXPECT_NE(text.find("Planet camera fast  (sim-fast)"), std::string::npos) << text;
        EXPECT_EQ(text.find("Deep sky"), std::string::npos) << text;
    }
}

TEST(DeviceMatch, WhatIsNotListedIsAnIdentifier) {
    const std::string identifier = "sim-planet;seed=7;drop-after=100";
    EXPECT_EQ(matchDevice(all, identifier), (Device{identifier, identifier}));
    EXPECT_EQ(matchDevice({}, "cam"), (Device{"cam", "cam"}));
}

TEST(DeviceMatch, AnEmptyTextNamesNoCamera) { EXPECT_EQ(codeOf(""), exitNoDevice); }

}  // namespace
}  // namespace vexcap::cli
