#include "hosts/common/device_match.h"

#include <gtest/gtest.h>

#include "hosts/common/failure.h"

namespace vexcap::host {
namespace device_match_test {

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

TEST(DeviceMatch, WhatIsNotListedIsAVideoInputDeviceByTheBeginningOfItsIdentifier) {
    EXPECT_EQ(matchDevice(all, "@device:v4l2:usb#1").kind, uint32_t{VEX_KIND_VIDEO_INPUT});
    EXPECT_EQ(matchDevice(all, "device:v4l2").kind, uint32_t{VEX_KIND_CAMERA});
}

TEST(DeviceMatch, AListedDeviceKeepsItsKind) {
    const Device webcam = {"Webcam", "@device:v4l2:usb#1", VEX_KIND_VIDEO_INPUT};
    for (const char* wanted : {"@device:v4l2:usb#1", "WEB", "1"}) EXPECT_EQ(matchDevice({sky, webcam}, wanted), webcam);
    EXPECT_STREQ(kindWord(webcam), "video input");
    EXPECT_STREQ(kindWord(sky), "camera");
}

TEST(DeviceMatch, AnEmptyTextNamesNoCamera) { EXPECT_EQ(codeOf(""), exitNoDevice); }

const Codec mjpeg = {"MJPEG Compressor", "@device:sw:{33}\\MJPEG Compressor"};
const Codec huffyuv = {"HuffYUV", "huff"};
const Codec ffvHuffyuv = {"FFmpeg HuffYUV", "ffvhuff"};
const std::vector<Codec> codecs = {mjpeg, huffyuv, ffvHuffyuv};

std::string codecRefusal(std::string_view wanted) {
    try {
        matchCodec(codecs, wanted);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
        return failure.what();
    }
    return "not refused";
}

TEST(CodecMatch, AWholeNameWinsInBothForms) {
    EXPECT_EQ(matchCodec(codecs, "HUFFYUV"), huffyuv);
    EXPECT_EQ(matchCodec(codecs, "FfvHuff"), ffvHuffyuv);
    EXPECT_EQ(matchCodec(codecs, mjpeg.name), mjpeg);
}

TEST(CodecMatch, APartOfOneNameIsEnough) {
    EXPECT_EQ(matchCodec(codecs, "mjpeg"), mjpeg);
    EXPECT_EQ(matchCodec(codecs, "compr"), mjpeg);
    EXPECT_EQ(matchCodec(codecs, "sw:{33}"), mjpeg);
}

TEST(CodecMatch, ABeginningWinsOverAPart) { EXPECT_EQ(matchCodec(codecs, "huffy"), huffyuv); }

TEST(CodecMatch, WhatFitsNoneIsRefusedWithAllNames) {
    for (const char* wrong : {"vp8", "", "0"})
        EXPECT_EQ(codecRefusal(wrong), "there is no compressor \"" + std::string(wrong) +
                                           "\"; these are there:\n  MJPEG Compressor\n  HuffYUV\n  FFmpeg HuffYUV");
}

TEST(CodecMatch, WhatFitsSeveralIsRefusedWithThose) {
    EXPECT_EQ(codecRefusal("uffyuv"), "\"uffyuv\" fits several compressors:\n  HuffYUV\n  FFmpeg HuffYUV");
}

TEST(CodecWord, IsAWordThatFitsNoOther) {
    const std::vector<Codec> listed = {
        {"MJPEG Compressor", "a"}, {"MPEG-4 Video", "b"}, {"Xvid MPEG-4", "c"}, {"Xvid", "d"}, {"Xv Two", "e"}};
    EXPECT_EQ(codecWord(listed, listed[0]), "mjpeg");
    EXPECT_EQ(codecWord(listed, listed[1]), "mpeg-4");
    EXPECT_EQ(codecWord(listed, listed[2]), "Xvid MPEG-4") << "the word is the whole name of another one";
    EXPECT_EQ(codecWord(listed, listed[3]), "xvid");
    EXPECT_EQ(codecWord(listed, listed[4]), "Xv Two") << "the word begins several";
}

TEST(Device, OnlyACameraOfTheSimulatorIsSimulated) {
    EXPECT_TRUE((Device{"Simulated fast camera", "sim-fast;fps=5"}).IsSimulated());
    EXPECT_FALSE((Device{"Simulated", "other"}).IsSimulated());
    EXPECT_FALSE((Device{"Webcam", "sim-fast", VEX_KIND_VIDEO_INPUT}).IsSimulated());
}

}  // namespace device_match_test
}  // namespace vexcap::host
