#include "companions/cameras/simulated/camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "companions/cameras/simulated/probe_testing.h"

namespace vexcap::cameras {
namespace simulated_camera_test {

double meanOf(const SeenFrame& frame) {
    double sum = 0;
    if (frame.depth > 8) {
        for (size_t i = 0; i < frame.bytes.size(); i += 2) sum += frame.bytes[i] + 256 * frame.bytes[i + 1];
        return sum / double(frame.bytes.size() / 2);
    }
    for (const uint8_t byte : frame.bytes) sum += byte;
    return sum / double(frame.bytes.size());
}

TEST(SimulatedCamera, EachModelTellsItsNumbers) {
    struct Model {
        const char16_t* identifier;
        int32_t width, height, resolutions;
        uint32_t bits, rate, fourcc, depth;
        bool still;
    };
    const Model models[] = {{u"sim-planet", 1936, 1096, 1, 12, 170, 0, 8, false},
                            {u"sim-deepsky", 4144, 2822, 1, 14, 10, fourcc("GBRG"), 14, false},
                            {u"sim-microscope", 2592, 1944, 3, 12, 30, fourcc("BGGR"), 8, true},
                            {u"sim-fast", 640, 480, 1, 12, 500, 0, 8, false}};
    for (const Model& model : models) {
        Probe probe(model.identifier);
        ASSERT_NE(probe.camera, nullptr);
        int32_t width = 0, height = 0;
        uint32_t index = 9, x = 9, y = 9, w = 0, h = 0, rate = 0, tag = 1, depth = 0;
        EXPECT_EQ(probe.camera->GetSize(&width, &height), S_OK);
        EXPECT_EQ(width, model.width);
        EXPECT_EQ(height, model.height);
        EXPECT_EQ(probe.camera->GetEsize(&index), S_OK);
        EXPECT_EQ(index, 0u);
        EXPECT_EQ(probe.camera->GetResolutionCount(), model.resolutions);
        EXPECT_EQ(probe.camera->GetResolution(uint32_t(model.resolutions), &width, &height), E_INVALIDARG);
        EXPECT_EQ(probe.camera->GetBitDepth(), model.bits);
        EXPECT_EQ(probe.camera->GetRoi(&x, &y, &w, &h), S_OK);
        EXPECT_EQ(x + y, 0u);
        EXPECT_EQ(int32_t(w), model.width);
        EXPECT_EQ(int32_t(h), model.height);
        EXPECT_EQ(probe.camera->GetRoi(nullptr, nullptr, &w, &h), S_OK);
        EXPECT_EQ(probe.Status().GetMaxFrameRate(0, &rate), S_OK);
        EXPECT_EQ(rate, model.rate);
        EXPECT_EQ(probe.Status().GetMaxFrameRate(uint32_t(model.resolutions), &rate), E_INVALIDARG);
        EXPECT_EQ(probe.Raw().GetRawFormat(&tag, &depth), S_OK);
        EXPECT_EQ(tag, model.fourcc);
        EXPECT_EQ(depth, model.depth);
        EXPECT_EQ(probe.Query<ICameraStill>(VEX_IID_CAMERA_STILL) != nullptr, model.still);
        EXPECT_EQ(probe.camera->Snap(0xFFFFFFFF, 1, nullptr), model.still ? E_UNEXPECTED : E_NOTIMPL);
        EXPECT_EQ(probe.camera->TextureAccepted(), 0u);
        EXPECT_EQ(probe.camera->PipelineOcl(nullptr, nullptr, nullptr), E_NOTIMPL);
        int32_t gains[3] = {}, temperature = 0, tint = 0;
        const HRESULT colour = model.fourcc ? S_OK : E_NOTIMPL;
        EXPECT_EQ(probe.camera->GetWhiteBalanceGains(gains), colour);
        EXPECT_EQ(probe.camera->GetTempTint(&temperature, &tint), colour);
        EXPECT_EQ(probe.camera->Stop(), S_OK) << "without a stream";
        EXPECT_EQ(probe.camera->Pause(1), E_UNEXPECTED);
    }
}

TEST(SimulatedCamera, NullArgumentsAreRefused) {
    Probe probe(u"sim-microscope");
    ICamera& camera = *probe.camera;
    EXPECT_EQ(camera.QueryInterface(VEX_IID_UNKNOWN, nullptr), E_POINTER);
    EXPECT_EQ(camera.GetSize(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(camera.GetEsize(nullptr), E_POINTER);
    EXPECT_EQ(camera.GetWhiteBalanceGains(nullptr), E_POINTER);
    EXPECT_EQ(camera.GetExposureTime(nullptr), E_POINTER);
    EXPECT_EQ(camera.GetResolution(0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(camera.GetTempTint(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(camera.GetRoi(nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(camera.GetFrameRate(nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(camera.GetOption(VEX_OPTION_BINNING, nullptr), E_POINTER);
    EXPECT_EQ(camera.StartPull(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, 1), E_POINTER);
    EXPECT_EQ(probe.Status().GetState(nullptr), E_POINTER);
    EXPECT_EQ(probe.Status().GetLostFrames(nullptr), E_POINTER);
    EXPECT_EQ(probe.Status().GetMaxFrameRate(0, nullptr), E_POINTER);
    EXPECT_EQ(probe.Still().GetStillSize(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(probe.Still().GetStillResolution(0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(probe.Raw().GetRawFormat(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(probe.Raw().SetRawCallback(nullptr, nullptr), S_OK);
    EXPECT_EQ(probe.Controls().GetRange(VEX_CONTROL_GAIN, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(probe.Controls().Get(VEX_CONTROL_GAIN, nullptr), E_POINTER);
}

TEST(SimulatedCamera, InterfacesAreOneObjectThatLivesByItsReferences) {
    ICamera* const camera = simulatedProvider().Open(u"sim-microscope").value();
    ASSERT_NE(camera, nullptr);
    const vex_guid all[] = {VEX_IID_UNKNOWN,      VEX_IID_CAMERA_STATUS,
                            VEX_IID_CAMERA_STILL, VEX_IID_CAMERA_PREVIEW_SIZE,
                            VEX_IID_CAMERA_RAW,   VEX_IID_CAMERA_CONTROLS};
    uint32_t references = 1;
    for (const vex_guid& iid : all) {
        void* table = nullptr;
        ASSERT_EQ(camera->QueryInterface(iid, &table), S_OK);
        ASSERT_NE(table, nullptr);
        void* unknown = nullptr;
        EXPECT_EQ(static_cast<IVexUnknown*>(table)->QueryInterface(VEX_IID_UNKNOWN, &unknown), S_OK);
        EXPECT_EQ(unknown, camera) << "every table leads back to the camera";
        references += 2;
        EXPECT_EQ(camera->AddRef(), references + 1);
        EXPECT_EQ(camera->Release(), references);
    }
    void* table = camera;
    const vex_guid strange = {1, 2, 3, {4}};
    EXPECT_EQ(camera->QueryInterface(strange, &table), E_NOINTERFACE);
    EXPECT_EQ(table, nullptr);
    while (references > 2) EXPECT_EQ(camera->Release(), --references);
    camera->Close();  // the opener's
    EXPECT_EQ(camera->Release(), 0u);
}

TEST(SimulatedCamera, ControlsHaveLimitsAndKeepToThem) {
    Probe probe(u"sim-deepsky;fps=5");
    ICameraControls& controls = probe.Controls();
    const struct {
        uint32_t control;
        int32_t minimum, maximum, usual, now;
    } table[] = {{VEX_CONTROL_EXPOSURE, 32, 1'000'000'000, 100'000, 100'000},
                 {VEX_CONTROL_GAIN, 100, 3200, 100, 100},
                 {VEX_CONTROL_BLACK_LEVEL, 0, 32 << 6, 4 << 6, 4 << 6},
                 {VEX_CONTROL_BIT_DEPTH, 8, 14, 14, 14},
                 {VEX_CONTROL_FRAME_RATE, 0, 20, 0, 5},
                 {VEX_CONTROL_TRIGGER_MODE, 0, 2, 0, 0}};
    for (const auto& line : table) {
        int32_t minimum = -1, maximum = -1, usual = -1, value = -1;
        EXPECT_EQ(controls.GetRange(line.control, &minimum, &maximum, &usual), S_OK);
        EXPECT_EQ(minimum, line.minimum) << line.control;
        EXPECT_EQ(maximum, line.maximum) << line.control;
        EXPECT_EQ(usual, line.usual) << line.control;
        EXPECT_EQ(controls.Get(line.control, &value), S_OK);
        EXPECT_EQ(value, line.now) << line.control;
        EXPECT_EQ(controls.Put(line.control, line.minimum - 1), E_INVALIDARG);
        EXPECT_EQ(controls.Put(line.control, line.maximum + 1), E_INVALIDARG);
        EXPECT_EQ(controls.Get(line.control, &value), S_OK);
        EXPECT_EQ(value, line.now) << "a refused value changes nothing";
        EXPECT_EQ(controls.Put(line.control, line.maximum), S_OK);
        EXPECT_EQ(controls.Get(line.control, &value), S_OK);
        EXPECT_EQ(value, line.maximum) << line.control;
    }
    int32_t value = 0;
    EXPECT_EQ(controls.Get(VEX_CONTROL_FIRE, &value), E_NOTIMPL) << "write only";
    EXPECT_EQ(controls.Get(0, &value), E_NOTIMPL);
    EXPECT_EQ(controls.Put(99, 1), E_NOTIMPL);
    EXPECT_EQ(controls.GetRange(99, nullptr, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(controls.Put(VEX_CONTROL_BIT_DEPTH, 13), E_INVALIDARG) << "a depth between those of the sensor";
    EXPECT_EQ(controls.Put(VEX_CONTROL_BLACK_LEVEL, 256), S_OK);
    EXPECT_EQ(controls.Put(VEX_CONTROL_BIT_DEPTH, 8), S_OK);
    EXPECT_EQ(controls.Get(VEX_CONTROL_BLACK_LEVEL, &value), S_OK);
    EXPECT_EQ(value, 4) << "the same darkness at another depth";
    uint32_t tag = 0, depth = 0;
    EXPECT_EQ(probe.Raw().GetRawFormat(&tag, &depth), S_OK);
    EXPECT_EQ(depth, 8u);
    uint32_t exposure = 0;
    EXPECT_EQ(probe.camera->GetExposureTime(&exposure), S_OK);
    EXPECT_EQ(exposure, 1'000'000'000u);
}

TEST(SimulatedCamera, AColourCameraHasABalanceAndAMonoCameraHasNone) {
    int32_t gains[3] = {1, 2, 3};
    Probe colour(u"sim-microscope");
    EXPECT_EQ(colour.camera->GetWhiteBalanceGains(gains), S_OK);
    EXPECT_EQ(gains[0] + gains[1] + gains[2], 300);
    EXPECT_EQ(colour.Controls().Put(VEX_CONTROL_BALANCE_BLUE, 150), S_OK);
    EXPECT_EQ(colour.Controls().Put(VEX_CONTROL_BALANCE_RED, 401), E_INVALIDARG);
    EXPECT_EQ(colour.camera->GetWhiteBalanceGains(gains), S_OK);
    EXPECT_EQ(gains[0], 100);
    EXPECT_EQ(gains[2], 150);
    Probe mono(u"sim-planet");
    EXPECT_EQ(mono.Controls().Put(VEX_CONTROL_BALANCE_BLUE, 150), E_NOTIMPL);
    EXPECT_EQ(mono.camera->GetWhiteBalanceGains(gains), E_NOTIMPL);
    EXPECT_EQ(gains[2], 150);
}

TEST(SimulatedCamera, StepsAreThoseOfItsControlsAndItsRegion) {
    Probe probe(u"sim-deepsky");
    ICameraSteps& steps = *probe.Query<ICameraSteps>(VEX_IID_CAMERA_STEPS);
    int32_t step = 0;
    EXPECT_EQ(steps.GetControlStep(VEX_CONTROL_BIT_DEPTH, &step), S_OK);
    EXPECT_EQ(step, 2) << "8, 12 and 14 bits";
    EXPECT_EQ(steps.GetControlStep(VEX_CONTROL_EXPOSURE, &step), S_OK);
    EXPECT_EQ(step, 1);
    EXPECT_EQ(steps.GetControlStep(99, &step), E_NOTIMPL);
    EXPECT_EQ(steps.GetControlStep(VEX_CONTROL_GAIN, nullptr), E_POINTER);
    uint32_t x = 0, y = 0, width = 0, height = 0;
    EXPECT_EQ(steps.GetRegionStep(&x, &y, &width, &height), S_OK);
    EXPECT_EQ(x + y + width + height, 8u);
    EXPECT_EQ(steps.GetRegionStep(&x, &y, &width, nullptr), E_POINTER);
}

TEST(SimulatedCamera, OptionsAreKeptAndUnknownOnesRefused) {
    Probe probe(u"sim-fast");
    const struct {
        uint32_t number;
        int32_t usual, other;
    } table[] = {{VEX_OPTION_RECORDING, 1, 0},
                 {VEX_OPTION_FRAME_RATE, 0, 30},
                 {VEX_OPTION_BINNING, 1, 4},
                 {VEX_OPTION_ROTATION, 0, 270}};
    int32_t value = -1;
    for (const auto& line : table) {
        EXPECT_EQ(probe.camera->GetOption(line.number, &value), S_OK);
        EXPECT_EQ(value, line.usual) << line.number;
        EXPECT_EQ(probe.camera->PutOption(line.number, line.other), S_OK);
        EXPECT_EQ(probe.camera->GetOption(line.number, &value), S_OK);
        EXPECT_EQ(value, line.other) << line.number;
    }
    EXPECT_EQ(probe.camera->PutOption(VEX_OPTION_FRAME_RATE, -1), E_INVALIDARG);
    EXPECT_EQ(probe.camera->PutOption(VEX_OPTION_BINNING, 3), E_INVALIDARG);
    EXPECT_EQ(probe.camera->PutOption(VEX_OPTION_ROTATION, 45), E_INVALIDARG);
    EXPECT_EQ(probe.camera->PutOption(2, 0), E_NOTIMPL);
    EXPECT_EQ(probe.camera->GetOption(2, &value), E_NOTIMPL);
}

TEST(SimulatedCamera, RawFramesComeInOrderBeforeTheirDisplayFramesAndShowTheSame) {
    Probe probe(u"sim-fast;deterministic");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(10));
    ASSERT_EQ(probe.Start(), E_UNEXPECTED) << "one stream at a time";
    ASSERT_EQ(probe.camera->Stop(), S_OK);
    ASSERT_EQ(probe.raws.size(), probe.frames.size());
    uint32_t lost = 0;
    ASSERT_EQ(probe.Status().GetLostFrames(&lost), S_OK);
    // What was counted as lost behind the last frame has no frame to show it: the stop came first.
    EXPECT_LE(probe.raws.back().info.sequence, probe.raws.size() - 1 + lost);
    EXPECT_GE(probe.raws.back().info.sequence, probe.raws.size() - 1);
    for (size_t i = 0; i < probe.raws.size(); ++i) {
        const SeenFrame& raw = probe.raws[i];
        const SeenFrame& shown = probe.frames[i];
        EXPECT_EQ(raw.info.sequence, shown.info.sequence);
        EXPECT_EQ(raw.info.timestamp, shown.info.timestamp);
        if (i > 0) {
            EXPECT_GT(raw.info.sequence, probe.raws[i - 1].info.sequence);
            EXPECT_NEAR(double(raw.info.timestamp - probe.raws[i - 1].info.timestamp),
                        20'000.0 * (raw.info.sequence - probe.raws[i - 1].info.sequence), 2)
                << "2 ms apart, in units of 100 ns";
        }
        EXPECT_EQ(raw.info.width, 640u);
        EXPECT_EQ(raw.info.height, 480u);
        EXPECT_EQ(raw.depth, 8u);
        EXPECT_EQ(raw.tag, 0u);
        EXPECT_EQ(shown.depth, 0u);
        for (size_t pixel = 0; pixel < raw.bytes.size(); pixel += 97)
            ASSERT_EQ(shown.bytes[pixel * 3 + 1], raw.bytes[pixel]) << "both bottom-up";
    }
}

// Frames of a short deterministic stream by their number.
std::map<uint32_t, std::vector<uint8_t>> streamOf(std::u16string_view identifier) {
    Probe probe(identifier);
    EXPECT_EQ(probe.Start(), S_OK);
    EXPECT_TRUE(probe.WaitForFrames(8));
    probe.camera->Stop();
    std::map<uint32_t, std::vector<uint8_t>> frames;
    for (SeenFrame& frame : probe.raws) frames[frame.info.sequence] = std::move(frame.bytes);
    return frames;
}

TEST(SimulatedCamera, ADeterministicStreamRepeatsFrameByFrame) {
    const auto first = streamOf(u"sim-fast;deterministic;seed=3;scene=moon;fps=200");
    const auto second = streamOf(u"sim-fast;deterministic;seed=3;scene=moon");
    const auto other = streamOf(u"sim-fast;deterministic;seed=4;scene=moon");
    const auto free = streamOf(u"sim-fast;seed=3;scene=moon");
    size_t common = 0;
    for (const auto& [number, bytes] : first) {
        if (const auto again = second.find(number); again != second.end()) {
            ++common;
            EXPECT_EQ(bytes, again->second) << number;
        }
        EXPECT_FALSE(other.contains(number) && other.at(number) == bytes) << "another seed, frame " << number;
        EXPECT_FALSE(free.contains(number) && free.at(number) == bytes) << "a free stream, frame " << number;
        EXPECT_FALSE(first.contains(number + 1) && first.at(number + 1) == bytes) << "the next frame, " << number;
    }
    EXPECT_GE(common, 1u);
}

TEST(SimulatedCamera, BrightnessFollowsTheExposureDuringAStream) {
    Probe probe(u"sim-fast;fps=200");
    ICameraControls& controls = probe.Controls();
    ASSERT_EQ(controls.Put(VEX_CONTROL_BIT_DEPTH, 12), S_OK);
    ASSERT_EQ(controls.Put(VEX_CONTROL_BLACK_LEVEL, 0), S_OK);
    ASSERT_EQ(controls.Put(VEX_CONTROL_EXPOSURE, 300), S_OK);
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(2));
    ASSERT_EQ(controls.Put(VEX_CONTROL_EXPOSURE, 600), S_OK);
    size_t now = 0;
    ASSERT_TRUE(probe.Wait([&](const Probe& p) { return (now = p.raws.size()) > 0; }));
    ASSERT_TRUE(probe.Wait([&](const Probe& p) { return p.raws.size() >= now + 3; }));
    probe.camera->Stop();
    EXPECT_EQ(probe.raws.back().depth, 12u);
    EXPECT_NE(probe.frames.back().depth, 0u) << "the depth flag";
    EXPECT_NEAR(meanOf(probe.raws.back()) / meanOf(probe.raws.front()), 2, 0.1);
}

TEST(SimulatedCamera, ADepthSetDuringAStreamHoldsForTheFramesToCome) {
    Probe probe(u"sim-fast;fps=200");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(2));
    ASSERT_EQ(probe.Controls().Put(VEX_CONTROL_BIT_DEPTH, 12), S_OK);
    EXPECT_TRUE(probe.Wait([](const Probe& p) { return !p.raws.empty() && p.raws.back().depth == 12; }));
    probe.camera->Stop();
}

TEST(SimulatedCamera, GeometryReachesFramesAndRawFormatAlike) {
    Probe probe(u"sim-microscope;fps=30");
    ASSERT_EQ(probe.Query<ICameraPreviewSize>(VEX_IID_CAMERA_PREVIEW_SIZE)->SetPreviewIndex(2), S_OK);
    int32_t width = 0, height = 0;
    ASSERT_EQ(probe.camera->GetSize(&width, &height), S_OK);
    EXPECT_EQ(width, 648);
    EXPECT_EQ(height, 486);
    ASSERT_EQ(probe.Controls().PutRoi(2, 6, 100, 60), S_OK);
    const struct {
        int32_t rotation, binning;
        uint32_t width, height;
        const char (&name)[5];
    } table[] = {{0, 1, 100, 60, "BGGR"},   {90, 1, 60, 100, "GRBG"}, {180, 1, 100, 60, "RGGB"},
                 {270, 1, 60, 100, "GBRG"}, {0, 2, 50, 30, "BGGR"},   {90, 4, 14, 24, "GRBG"}};
    for (const auto& line : table) {
        ASSERT_EQ(probe.camera->PutOption(VEX_OPTION_ROTATION, line.rotation), S_OK);
        ASSERT_EQ(probe.camera->PutOption(VEX_OPTION_BINNING, line.binning), S_OK);
        uint32_t tag = 0, depth = 0;
        ASSERT_EQ(probe.Raw().GetRawFormat(&tag, &depth), S_OK);
        EXPECT_EQ(tag, fourcc(line.name)) << line.rotation;
        probe.Forget();
        ASSERT_EQ(probe.Start(), S_OK);
        ASSERT_TRUE(probe.WaitForFrames(1));
        probe.camera->Stop();
        EXPECT_EQ(probe.raws[0].tag, tag);
        EXPECT_EQ(probe.frames[0].tag, tag);
        EXPECT_EQ(probe.raws[0].info.width, line.width) << line.rotation << " " << line.binning;
        EXPECT_EQ(probe.raws[0].info.height, line.height);
        EXPECT_EQ(probe.raws[0].depth, depth);
    }
}

TEST(SimulatedCamera, AChangeOfTheRegionDuringAStreamIsAnnouncedBeforeItsFrames) {
    Probe probe(u"sim-fast");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(2));
    EXPECT_EQ(probe.Controls().PutRoi(0, 0, 3, 3), E_INVALIDARG);
    ASSERT_EQ(probe.Controls().PutRoi(64, 32, 320, 200), S_OK);
    ASSERT_TRUE(probe.Wait([](const Probe& p) { return p.frames.back().info.width == 320; }));
    ASSERT_EQ(probe.camera->PutOption(VEX_OPTION_ROTATION, 90), S_OK);
    ASSERT_TRUE(probe.Wait([](const Probe& p) { return p.frames.back().info.width == 200; }));
    probe.camera->Stop();
    EXPECT_EQ(probe.events, (std::vector<uint32_t>{VEX_CAMERA_EVENT_SIZE, VEX_CAMERA_EVENT_SIZE}));
    EXPECT_EQ(probe.frames.back().info.height, 320u);
    EXPECT_EQ(probe.Query<ICameraPreviewSize>(VEX_IID_CAMERA_PREVIEW_SIZE)->SetPreviewIndex(1), E_INVALIDARG);
}

TEST(SimulatedCamera, AResolutionIsChosenBetweenTwoStreams) {
    Probe probe(u"sim-microscope");
    auto& preview = *probe.Query<ICameraPreviewSize>(VEX_IID_CAMERA_PREVIEW_SIZE);
    ASSERT_EQ(preview.SetPreviewIndex(1), S_OK);
    uint32_t index = 0;
    int32_t width = 0, height = 0;
    EXPECT_EQ(preview.GetPreviewIndex(&index), S_OK);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(preview.GetPreviewSize(&width, &height), S_OK);
    EXPECT_EQ(width, 1296);
    EXPECT_EQ(height, 972);
    ASSERT_EQ(probe.Start(false), S_OK);
    EXPECT_EQ(preview.SetPreviewIndex(0), E_UNEXPECTED);
    probe.camera->Stop();
    EXPECT_EQ(preview.SetPreviewIndex(0), S_OK);
    uint32_t rates[3] = {};
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(probe.Status().GetMaxFrameRate(i, &rates[i]), S_OK);
    EXPECT_EQ(rates[0], 30u);
    EXPECT_EQ(rates[1], 60u);
    EXPECT_EQ(rates[2], 120u);
}

TEST(SimulatedCamera, StillsComeAtTheirOwnSizeWhileTheStreamGoesOn) {
    Probe probe(u"sim-microscope");
    ASSERT_EQ(probe.Query<ICameraPreviewSize>(VEX_IID_CAMERA_PREVIEW_SIZE)->SetPreviewIndex(2), S_OK);
    ICameraStill& still = probe.Still();
    EXPECT_EQ(still.GetStillCount(), 3);
    int32_t width = 0, height = 0;
    for (const auto& [index, expected] : {std::pair(0u, 2592), std::pair(1u, 1296), std::pair(2u, 648)}) {
        EXPECT_EQ(still.GetStillResolution(index, &width, &height), S_OK);
        EXPECT_EQ(width, expected);
    }
    EXPECT_EQ(still.GetStillResolution(3, &width, &height), E_INVALIDARG);
    EXPECT_EQ(still.SetStillIndex(3), E_INVALIDARG);
    EXPECT_EQ(still.SetStillIndex(1), S_OK);
    ASSERT_EQ(probe.camera->PutOption(VEX_OPTION_ROTATION, 90), S_OK);
    uint32_t w = 0, h = 0;
    EXPECT_EQ(still.GetStillSize(&w, &h), S_OK);
    EXPECT_EQ(w, 972u) << "as it will come, turned";
    EXPECT_EQ(h, 1296u);
    ASSERT_EQ(probe.Start(), S_OK);
    EXPECT_EQ(probe.camera->Snap(3, 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(probe.camera->Snap(0, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(probe.camera->Snap(0xFFFFFFFF, 2, nullptr), S_OK);
    EXPECT_EQ(probe.camera->Snap(0, 1, nullptr), S_OK);
    const auto stillsOf = [](const Probe& p) {
        return std::ranges::count_if(p.frames, [](const SeenFrame& frame) { return frame.still != 0; });
    };
    ASSERT_TRUE(probe.Wait([&](const Probe& p) { return stillsOf(p) >= 3 && p.raws.size() >= 3; }));
    probe.camera->Stop();
    EXPECT_EQ(stillsOf(probe), 3);
    std::map<uint32_t, int> widths;
    for (const SeenFrame& frame : probe.frames) {
        ++widths[frame.info.width];
        EXPECT_EQ(frame.info.width == 486, frame.still == 0);
    }
    EXPECT_EQ(widths[972], 2);
    EXPECT_EQ(widths[1944], 1);
    for (const SeenFrame& raw : probe.raws) EXPECT_EQ(raw.info.width, 486u) << "a still has no raw callback";
}

}  // namespace simulated_camera_test
}  // namespace vexcap::cameras
