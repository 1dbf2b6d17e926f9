// Controls, region of interest, stills and status.
#include "tests/camera_contract/fixture.h"

#include <algorithm>
#include <chrono>

namespace vexcap::contract {
namespace controls_test {

CAMERA_SUITE(Controls);
CAMERA_SUITE(Steps);
CAMERA_SUITE(Stills);
CAMERA_SUITE(State);

// Steps of the region; 2 of a camera that does not say.
struct RegionSteps {
    explicit RegionSteps(ICamera* camera) {
        const Held<ICameraSteps> steps(camera, VEX_IID_CAMERA_STEPS);
        if (steps) steps->GetRegionStep(&x, &y, &width, &height);
    }
    uint32_t x = 2, y = 2, width = 2, height = 2;
};

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

CAMERA_CHECK(Controls, KeepTheirValuesInsideOfTheirLimits,
             "Sets it; E_INVALIDARG outside the limits, nothing changed.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!controls) GTEST_SKIP() << "no controls";
    for (const uint32_t control : {VEX_CONTROL_EXPOSURE, VEX_CONTROL_GAIN, VEX_CONTROL_BLACK_LEVEL,
                                   VEX_CONTROL_BIT_DEPTH, VEX_CONTROL_FRAME_RATE, VEX_CONTROL_TRIGGER_MODE,
                                   VEX_CONTROL_BALANCE_RED, VEX_CONTROL_BALANCE_GREEN, VEX_CONTROL_BALANCE_BLUE}) {
        int32_t minimum = 0, maximum = 0, standard = 0, value = 0;
        const HRESULT range = controls->GetRange(control, &minimum, &maximum, &standard);
        if (range < 0) {
            EXPECT_EQ(range, E_NOTIMPL) << control;
            continue;
        }
        EXPECT_LE(minimum, standard) << control;
        EXPECT_LE(standard, maximum) << control;
        ASSERT_GE(controls->Get(control, &value), 0) << control;
        EXPECT_GE(value, minimum) << control;
        EXPECT_LE(value, maximum) << control;
        EXPECT_GE(controls->Put(control, standard), 0) << control;
        EXPECT_GE(controls->Get(control, &value), 0);
        EXPECT_EQ(value, standard) << control;
        if (minimum > INT32_MIN) {
            EXPECT_EQ(controls->Put(control, minimum - 1), E_INVALIDARG) << control;
        }
        if (maximum < INT32_MAX) {
            EXPECT_EQ(controls->Put(control, maximum + 1), E_INVALIDARG) << control;
        }
        EXPECT_GE(controls->Get(control, &value), 0);
        EXPECT_EQ(value, standard) << control << ": a refused value changes nothing";
        EXPECT_LT(controls->Get(control, nullptr), 0);
    }
}

CAMERA_CHECK(Controls, AnswerAnUnknownNumberWithNotImplemented,
             "Limits and default of a control; E_NOTIMPL for one that the camera does not have, here and below.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!controls) GTEST_SKIP() << "no controls";
    for (const uint32_t control : {0u, 99u, 0xFFFFFFFFu}) {
        int32_t minimum = 0, maximum = 0, standard = 0;
        EXPECT_EQ(controls->GetRange(control, &minimum, &maximum, &standard), E_NOTIMPL);
        EXPECT_EQ(controls->Get(control, &minimum), E_NOTIMPL);
        EXPECT_EQ(controls->Put(control, 0), E_NOTIMPL);
    }
}

CAMERA_CHECK(Controls, ExposureIsWhatTheCameraTells, "Exposure in microseconds, at least 1.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    int32_t minimum = 0, maximum = 0, standard = 0, value = 0;
    if (!controls || controls->GetRange(VEX_CONTROL_EXPOSURE, &minimum, &maximum, &standard) < 0)
        GTEST_SKIP() << "no exposure control";
    ASSERT_GE(controls->Put(VEX_CONTROL_EXPOSURE, std::clamp(5000, minimum, maximum)), 0);
    uint32_t told = 0;
    EXPECT_GE(controls->Get(VEX_CONTROL_EXPOSURE, &value), 0);
    EXPECT_GE(camera->GetExposureTime(&told), 0);
    EXPECT_EQ(told, uint32_t(value));
}

CAMERA_CHECK(Controls, BitDepthIsThatOfTheRawFrames,
             "Bits of a raw sample. During a stream, too: the frames to come have it.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    const Held<ICameraRaw> raw(camera.get(), VEX_IID_CAMERA_RAW);
    int32_t minimum = 0, maximum = 0, standard = 0;
    if (!controls || !raw || controls->GetRange(VEX_CONTROL_BIT_DEPTH, &minimum, &maximum, &standard) < 0)
        GTEST_SKIP() << "one depth only";
    EXPECT_LE(uint32_t(maximum), camera->GetBitDepth());
    for (int32_t depth = minimum; depth <= maximum; ++depth) {
        if (controls->Put(VEX_CONTROL_BIT_DEPTH, depth) < 0) continue;
        uint32_t pattern = 0, told = 0;
        ASSERT_GE(raw->GetRawFormat(&pattern, &told), 0);
        EXPECT_EQ(told, uint32_t(depth));
        Stream stream(camera.get());
        ASSERT_GE(stream.watchRaw(), 0);
        ASSERT_GE(stream.start(), 0);
        ASSERT_TRUE(stream.waitForRaws(2)) << depth;
        stream.stop();
        EXPECT_EQ(stream.raws().back().depth, uint32_t(depth));
        EXPECT_LT(stream.raws().front().largest, 1u << depth);
    }
}

CAMERA_CHECK(Controls, FrameRateBoundsTheSensor,
             "Sensor frames a second at most; 0: as fast as exposure and size allow.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!controls || controls->Put(VEX_CONTROL_FRAME_RATE, 5) < 0) GTEST_SKIP() << "no frame-rate control";
    Stream stream(camera.get());
    if (stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForRaws(1));
    const size_t first = stream.raws().size();
    const auto begin = std::chrono::steady_clock::now();
    pause(1200);
    stream.stop();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(double(stream.raws().size() - first), 5 * seconds.count() + 2);
}

CAMERA_CHECK(Controls, SoftwareTriggersGiveOneFrameEach, "Write only: that many software triggers.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!controls || controls->Put(VEX_CONTROL_TRIGGER_MODE, 1) < 0) GTEST_SKIP() << "no software trigger";
    ASSERT_GE(camera->PutOption(VEX_OPTION_FRAME_RATE, 0), 0);
    Stream stream(camera.get());
    const bool hasRaw = stream.watchRaw() >= 0;
    ASSERT_GE(stream.start(), 0);
    pause(250);
    EXPECT_EQ(stream.frames().size(), 0u);
    ASSERT_GE(controls->Put(VEX_CONTROL_FIRE, 3), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    pause(250);
    EXPECT_EQ(stream.frames().size(), 3u);
    if (hasRaw) {
        EXPECT_EQ(stream.raws().size(), 3u);
    }
    ASSERT_GE(controls->Put(VEX_CONTROL_FIRE, 1), 0);
    EXPECT_TRUE(stream.waitForFrames(4));
    stream.stop();
    EXPECT_GE(controls->Put(VEX_CONTROL_TRIGGER_MODE, 0), 0);
}

CAMERA_CHECK(Controls, RegionOfInterestIsTheSizeOfTheFrames,
             "All three show the same exposure, after region of interest, binning and rotation, so that all have the "
             "size of the frame info record") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    int32_t width = 0, height = 0;
    ASSERT_GE(camera->GetSize(&width, &height), 0);
    const RegionSteps steps(camera.get());
    const uint32_t half = uint32_t(width) / 2 / steps.width * steps.width;
    const uint32_t low = uint32_t(height) / 2 / steps.height * steps.height;
    if (!controls || controls->PutRoi(steps.x, 2 * steps.y, half, low) < 0) GTEST_SKIP() << "no region of interest";
    uint32_t x = 0, y = 0, w = 0, h = 0;
    ASSERT_GE(camera->GetRoi(&x, &y, &w, &h), 0);
    EXPECT_EQ(x, steps.x);
    EXPECT_EQ(y, 2 * steps.y);
    EXPECT_EQ(w, half);
    EXPECT_EQ(h, low);
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) {
        EXPECT_EQ(Size({frame.info.width, frame.info.height}), Size({half, low}));
        EXPECT_TRUE(frame.roomKept);
    }
    ASSERT_GE(controls->PutRoi(0, 0, 0, 0), 0);
    EXPECT_EQ(frameSize(camera.get()), Size({width / 2 * 2, height / 2 * 2}));
}

CAMERA_CHECK(Controls, RegionOfInterestThatDoesNotFitChangesNothing, "E_INVALIDARG when it does not fit.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    int32_t width = 0, height = 0;
    ASSERT_GE(camera->GetSize(&width, &height), 0);
    if (!controls || controls->PutRoi(0, 0, 0, 0) < 0) GTEST_SKIP() << "no region of interest";
    const Size before = frameSize(camera.get());
    const uint32_t w = uint32_t(width), h = uint32_t(height);
    const uint32_t bad[][4] = {{1, 0, 16, 16},   {0, 1, 16, 16},          {0, 0, 15, 16},
                               {0, 0, 16, 15},   {2, 0, w, 16},           {0, 2, 16, h},
                               {0, 0, w + 2, h}, {0xFFFFFFFE, 0, 16, 16}, {16, 0xFFFFFFF0, 16, 16},
                               {0, 0, 0, 16},    {0, 0, 16, 0},           {0, 0, 0xFFFFFFFE, 0xFFFFFFFE}};
    for (const auto& roi : bad) {
        EXPECT_EQ(controls->PutRoi(roi[0], roi[1], roi[2], roi[3]), E_INVALIDARG)
            << roi[0] << ' ' << roi[1] << ' ' << roi[2] << ' ' << roi[3];
        EXPECT_EQ(frameSize(camera.get()), before);
    }
}

CAMERA_CHECK(Controls, RegionOfInterestDuringAStreamIsToldByASizeEvent,
             "Between two streams, or during one: then a size event follows, and the frames after it have the new "
             "size.") {
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    int32_t width = 0, height = 0;
    ASSERT_GE(camera->GetSize(&width, &height), 0);
    const RegionSteps steps(camera.get());
    const uint32_t half = uint32_t(width) / 2 / steps.width * steps.width;
    const uint32_t low = uint32_t(height) / 2 / steps.height * steps.height;
    if (!controls || controls->PutRoi(0, 0, 0, 0) < 0) GTEST_SKIP() << "no region of interest";
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(2));
    if (controls->PutRoi(0, 0, half, low) < 0) GTEST_SKIP() << "only between two streams";
    EXPECT_TRUE(stream.waitFor([&] {
        const std::vector<uint32_t> events = stream.events();
        return std::find(events.begin(), events.end(), uint32_t(VEX_CAMERA_EVENT_SIZE)) != events.end();
    }));
    EXPECT_TRUE(stream.waitFor([&] {
        const std::vector<Stream::Frame> frames = stream.frames();
        return Size({frames.back().info.width, frames.back().info.height}) == Size({half, low});
    }));
    stream.stop();
    const std::vector<Stream::Frame> frames = stream.frames();
    bool small = false;
    for (const Stream::Frame& frame : frames) {
        const Size size{frame.info.width, frame.info.height};
        EXPECT_TRUE(size == Size({half, low}) || (!small && size == Size({width / 2 * 2, height / 2 * 2})));
        small = small || size == Size({half, low});
    }
}

CAMERA_CHECK(Steps, LeadFromTheMinimumToTheValuesOfAControl,
             "each value that the camera takes is the minimum and a multiple of the step. At least 1; E_NOTIMPL for a "
             "control that the camera does not have.") {
    const Held<ICameraSteps> steps(camera.get(), VEX_IID_CAMERA_STEPS);
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!steps) GTEST_SKIP() << "no steps";
    ASSERT_TRUE(bool(controls)) << "steps of what?";
    for (uint32_t control = VEX_CONTROL_EXPOSURE; control <= VEX_CONTROL_BALANCE_BLUE; ++control) {
        int32_t minimum = 0, maximum = 0, standard = 0, step = 0, value = 0;
        if (controls->GetRange(control, &minimum, &maximum, &standard) < 0) {
            EXPECT_EQ(steps->GetControlStep(control, &step), E_NOTIMPL) << control;
            continue;
        }
        ASSERT_GE(steps->GetControlStep(control, &step), 0) << control;
        ASSERT_GE(step, 1) << control;
        EXPECT_EQ((int64_t(standard) - minimum) % step, 0) << control;
        if (int64_t(minimum) + step > maximum || controls->Put(control, minimum + step) < 0) continue;
        EXPECT_TRUE(controls->Get(control, &value) < 0 || value == minimum + step) << control;
        controls->Put(control, standard);
    }
    int32_t step = 0;
    EXPECT_EQ(steps->GetControlStep(99, &step), E_NOTIMPL);
    EXPECT_LT(steps->GetControlStep(VEX_CONTROL_EXPOSURE, nullptr), 0);
}

CAMERA_CHECK(
    Steps, OfTheRegionAreEvenAndKept,
    "Steps of the region of interest, in pixels of the present resolution; even numbers. PutRoi sets multiples "
    "of them exactly") {
    const Held<ICameraSteps> steps(camera.get(), VEX_IID_CAMERA_STEPS);
    const Held<ICameraControls> controls(camera.get(), VEX_IID_CAMERA_CONTROLS);
    if (!steps || !controls || controls->PutRoi(0, 0, 0, 0) < 0) GTEST_SKIP() << "no steps of a region";
    for (const int32_t binning : {1, 2}) {
        if (camera->PutOption(VEX_OPTION_BINNING, binning) < 0) continue;
        uint32_t dx = 0, dy = 0, dw = 0, dh = 0, x = 0, y = 0, w = 0, h = 0;
        ASSERT_GE(steps->GetRegionStep(&dx, &dy, &dw, &dh), 0);
        for (const uint32_t step : {dx, dy, dw, dh}) {
            ASSERT_GE(step, 2u);
            EXPECT_EQ(step % 2, 0u);
        }
        int32_t width = 0, height = 0;
        ASSERT_GE(camera->GetSize(&width, &height), 0);
        const uint32_t wide = uint32_t(width) / 2 / dw * dw, tall = uint32_t(height) / 2 / dh * dh;
        ASSERT_GE(controls->PutRoi(3 * dx, dy, wide, tall), 0);
        ASSERT_GE(camera->GetRoi(&x, &y, &w, &h), 0);
        EXPECT_EQ(x, 3 * dx);
        EXPECT_EQ(y, dy);
        EXPECT_EQ(Size({w, h}), Size({wide, tall}));
        EXPECT_GE(controls->PutRoi(0, 0, 0, 0), 0);
    }
}

CAMERA_CHECK(Stills, HaveSizesOfWhichTheFirstIsTheLargest, "A still resolution; 0 is the largest.") {
    const Held<ICameraStill> still(camera.get(), VEX_IID_CAMERA_STILL);
    if (!still || still->GetStillCount() < 1) GTEST_SKIP() << "no stills";
    const int32_t count = still->GetStillCount();
    int64_t largest = 0;
    for (int32_t i = 0; i < count; ++i) {
        int32_t width = 0, height = 0;
        uint32_t w = 0, h = 0;
        ASSERT_GE(still->GetStillResolution(uint32_t(i), &width, &height), 0) << i;
        EXPECT_GE(width, 1);
        EXPECT_GE(height, 1);
        if (i == 0) largest = int64_t(width) * height;
        EXPECT_LE(int64_t(width) * height, largest) << i;
        ASSERT_GE(still->SetStillIndex(uint32_t(i)), 0) << i;
        ASSERT_GE(still->GetStillSize(&w, &h), 0);
        EXPECT_EQ(Size({w, h}), Size({width, height})) << i;
    }
    int32_t width = 0, height = 0;
    EXPECT_LT(still->GetStillResolution(uint32_t(count), &width, &height), 0);
    EXPECT_LT(still->SetStillIndex(uint32_t(count)), 0);
}

CAMERA_CHECK(Stills, ComeWhenTheyAreAskedForWithTheirSize, "They come beside the stream, `count` of them in all.") {
    const Held<ICameraStill> still(camera.get(), VEX_IID_CAMERA_STILL);
    if (!still || still->GetStillCount() < 1) GTEST_SKIP() << "no stills";
    ASSERT_GE(still->SetStillIndex(0), 0);
    uint32_t width = 0, height = 0;
    ASSERT_GE(still->GetStillSize(&width, &height), 0);
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    const auto stills = [&] {
        std::vector<Stream::Frame> found;
        for (const Stream::Frame& frame : stream.frames())
            if (frame.still != 0) found.push_back(frame);
        return found;
    };
    ASSERT_GE(camera->Snap(0xFFFFFFFFu, 1, nullptr), 0);
    ASSERT_TRUE(stream.waitFor([&] { return stills().size() == 1; }));
    EXPECT_EQ(Size({stills()[0].info.width, stills()[0].info.height}), Size({width, height}));
    ASSERT_GE(camera->Snap(0, 2, nullptr), 0);
    EXPECT_TRUE(stream.waitFor([&] { return stills().size() == 3; }));
    EXPECT_LT(camera->Snap(uint32_t(still->GetStillCount()), 1, nullptr), 0);
    pause(100);
    EXPECT_EQ(stills().size(), 3u);
}

CAMERA_CHECK(Stills, AreRefusedByACameraWithoutThem, "A camera without stills refuses.") {
    const Held<ICameraStill> still(camera.get(), VEX_IID_CAMERA_STILL);
    if (still && still->GetStillCount() >= 1) GTEST_SKIP() << "it has stills";
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    EXPECT_LT(camera->Snap(0xFFFFFFFFu, 1, nullptr), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    for (const Stream::Frame& frame : stream.frames()) EXPECT_EQ(frame.still, 0u);
}

CAMERA_CHECK(State, TellsTheHighestRateOfEachResolution,
             "Highest frame rate of a resolution, in frames a second, at least 1.") {
    const Held<ICameraStatus> status(camera.get(), VEX_IID_CAMERA_STATUS);
    if (!status) GTEST_SKIP() << "no status";
    const int32_t count = camera->GetResolutionCount();
    uint32_t rate = 0;
    for (int32_t i = 0; i < count; ++i) {
        EXPECT_GE(status->GetMaxFrameRate(uint32_t(i), &rate), 0) << i;
        EXPECT_GE(rate, 1u) << i;
    }
    EXPECT_LT(status->GetMaxFrameRate(uint32_t(std::max(count, 0)), &rate), 0);
    EXPECT_LT(status->GetState(nullptr), 0);
    EXPECT_LT(status->GetLostFrames(nullptr), 0);
}

CAMERA_CHECK(State, TakesAnyPipelinePointers,
             "Hands three pointers of the host to the camera's own pipeline; any may be null.") {
    camera->PipelineOcl(nullptr, nullptr, nullptr);
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(1));
}

}  // namespace controls_test
}  // namespace vexcap::contract
