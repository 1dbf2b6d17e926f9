// Raw frames and their format.
#include "tests/camera_contract/fixture.h"

#include <chrono>

namespace vexcap::contract {
namespace raw_test {

constexpr uint32_t fourcc(const char (&name)[5]) {
    return uint32_t(uint8_t(name[0])) | uint32_t(uint8_t(name[1])) << 8 | uint32_t(uint8_t(name[2])) << 16 |
           uint32_t(uint8_t(name[3])) << 24;
}
constexpr uint32_t rggb = fourcc("RGGB"), grbg = fourcc("GRBG"), gbrg = fourcc("GBRG"), bggr = fourcc("BGGR");

class RawFrames : public CameraTest {
public:
    using CameraTest::nameOf;

protected:
    void SetUp() override {
        CameraTest::SetUp();
        if (HasFatalFailure()) return;
        if (!Held<ICameraRaw>(camera.get(), VEX_IID_CAMERA_RAW)) GTEST_SKIP() << "no raw interface";
    }
    HRESULT format(uint32_t& pattern, uint32_t& depth) {
        return Held<ICameraRaw>(camera.get(), VEX_IID_CAMERA_RAW)->GetRawFormat(&pattern, &depth);
    }
};
// The library may list none.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RawFrames);
INSTANTIATE_TEST_SUITE_P(Each, RawFrames, testing::ValuesIn(subject().names), &RawFrames::nameOf);

CAMERA_CHECK(RawFrames, HaveAFormat,
             "Mosaic from the first row in memory (\"RGGB\" as 0x42474752), 0 for mono; bits of a sample.") {
    uint32_t pattern = 1, depth = 0;
    ASSERT_GE(format(pattern, depth), 0);
    EXPECT_TRUE(pattern == 0 || pattern == rggb || pattern == grbg || pattern == gbrg || pattern == bggr) << pattern;
    EXPECT_GE(depth, 8u);
    EXPECT_LE(depth, 16u);
    EXPECT_LE(depth, camera->GetBitDepth());
    const Held<ICameraRaw> raw(camera.get(), VEX_IID_CAMERA_RAW);
    EXPECT_LT(raw->GetRawFormat(nullptr, nullptr), 0);
}

CAMERA_CHECK(RawFrames, ComeInOrderWithTheFormatAndSizeThatTheCameraTells,
             "Every raw frame of the sensor, in order, before its display frame.") {
    uint32_t pattern = 1, depth = 0;
    ASSERT_GE(format(pattern, depth), 0);
    Stream stream(camera.get());
    ASSERT_GE(stream.watchRaw(), 0);
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForRaws(6));
    stream.stop();
    const Size want = frameSize(camera.get());
    const std::vector<Stream::Raw> raws = stream.raws();
    for (size_t i = 0; i < raws.size(); ++i) {
        ASSERT_TRUE(raws[i].memory) << i;
        EXPECT_EQ(raws[i].fourcc, pattern);
        EXPECT_EQ(raws[i].depth, depth);
        EXPECT_EQ(Size({raws[i].info.width, raws[i].info.height}), want);
        EXPECT_EQ(raws[i].info.reserved, 0u);
        EXPECT_LT(raws[i].largest, 1u << depth) << "samples are low-aligned";
        if (i > 0) {
            EXPECT_GT(raws[i].info.sequence, raws[i - 1].info.sequence);
        }
    }
}

CAMERA_CHECK(RawFrames, AreAllThereAsFarAsTheCameraCountsNoLosses,
             "Sensor frames lost between the sensor and the callbacks since StartPull: at least the gaps in the "
             "numbers.") {
    const Held<ICameraStatus> status(camera.get(), VEX_IID_CAMERA_STATUS);
    uint32_t lost = 0;
    if (!status || status->GetLostFrames(&lost) < 0) GTEST_SKIP() << "losses are not counted";
    Stream stream(camera.get());
    ASSERT_GE(stream.watchRaw(), 0);
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForRaws(10));
    stream.stop();
    ASSERT_GE(status->GetLostFrames(&lost), 0);
    const std::vector<Stream::Raw> raws = stream.raws();
    const uint32_t gaps = raws.back().info.sequence - raws.front().info.sequence + 1 - uint32_t(raws.size());
    EXPECT_LE(gaps, lost);
}

CAMERA_CHECK(RawFrames, ComeBeforeTheirDisplayFrame,
             "Every raw frame of the sensor, in order, before its display frame.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.watchRaw(), 0);
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(6));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) EXPECT_TRUE(frame.rawSeenBefore) << frame.info.sequence;
}

CAMERA_CHECK(RawFrames, ComeNoMoreOnceTheirCallbackWasTakenAway,
             "Any time; once the call returned, the callback registered before neither runs nor comes.") {
    const Held<ICameraRaw> raw(camera.get(), VEX_IID_CAMERA_RAW);
    Stream stream(camera.get());
    ASSERT_GE(stream.watchRaw(), 0);
    ASSERT_GE(stream.start(), 0);
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(stream.waitForRaws(stream.raws().size() + 1));
        ASSERT_GE(raw->SetRawCallback(nullptr, nullptr), 0);
        const size_t raws = stream.raws().size();
        const size_t frames = stream.frames().size();
        ASSERT_TRUE(stream.waitForFrames(frames + 2)) << "the stream itself goes on";
        EXPECT_EQ(stream.raws().size(), raws);
        ASSERT_GE(stream.watchRaw(), 0);
    }
}

CAMERA_CHECK(RawFrames, GoToTheNewestCallbackOnly,
             "Any time; once the call returned, the callback registered before neither runs nor comes.") {
    Stream first(camera.get());
    Stream second(camera.get());
    ASSERT_GE(first.watchRaw(), 0);
    ASSERT_GE(first.start(), 0);
    ASSERT_TRUE(first.waitForRaws(2));
    ASSERT_GE(second.watchRaw(), 0);
    const size_t before = first.raws().size();
    ASSERT_TRUE(second.waitForRaws(3));
    EXPECT_EQ(first.raws().size(), before);
    first.stop();
}

CAMERA_CHECK(RawFrames, CanBeWatchedBeforeAndAfterTheStart,
             "Registers the callback of raw frames, null ends it. Any time") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    EXPECT_EQ(stream.raws().size(), 0u);
    ASSERT_GE(stream.watchRaw(), 0);
    EXPECT_TRUE(stream.waitForRaws(2));
}

CAMERA_CHECK(RawFrames, TurnTheirMosaicWithTheirPicture, "Raw frames and their mosaic turn too.") {
    uint32_t pattern = 0, depth = 0;
    ASSERT_GE(format(pattern, depth), 0);
    if (pattern == 0) GTEST_SKIP() << "mono";
    // Rows run upwards: "abcd" holds a b in the bottom row and c d above it.
    const struct {
        uint32_t upright, by90, by180, by270;
    } table[] = {
        {rggb, gbrg, bggr, grbg}, {grbg, rggb, gbrg, bggr}, {gbrg, bggr, grbg, rggb}, {bggr, grbg, rggb, gbrg}};
    for (const auto& row : table) {
        if (row.upright != pattern) continue;
        for (const auto& [degrees, want] : {std::pair(90, row.by90), std::pair(180, row.by180),
                                            std::pair(270, row.by270), std::pair(0, row.upright)}) {
            if (camera->PutOption(VEX_OPTION_ROTATION, degrees) < 0) continue;
            uint32_t turned = 0;
            ASSERT_GE(format(turned, depth), 0);
            EXPECT_EQ(turned, want) << degrees;
            Stream stream(camera.get());
            ASSERT_GE(stream.watchRaw(), 0);
            ASSERT_GE(stream.start(), 0);
            ASSERT_TRUE(stream.waitForRaws(2)) << degrees;
            stream.stop();
            EXPECT_EQ(stream.raws().front().fourcc, want) << degrees;
        }
    }
}

}  // namespace raw_test
}  // namespace vexcap::contract
