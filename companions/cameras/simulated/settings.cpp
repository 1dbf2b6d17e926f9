#include "companions/cameras/simulated/settings.h"

#include <vexcap/camera_library.h>

#include <algorithm>
#include <numeric>

namespace vexcap::cameras {
namespace {

constexpr uint32_t largestGain = 3200;
constexpr uint32_t mostTriggers = 1000;
constexpr uint32_t smallestBalance = 25;
constexpr uint32_t largestBalance = 400;

uint32_t defaultBlack(uint32_t depth) { return 4u << (depth - 8); }

bool regionSideFits(uint32_t first, uint32_t side, uint32_t whole) {
    return first % regionStep == 0 && side % regionStep == 0 && side >= smallestRoi && side <= whole &&
           first <= whole - side;
}

}  // namespace

SimulatedSettings::SimulatedSettings(const SimulatedModel& cameraModel)
    : model(&cameraModel),
      roi{0, 0, Width(0), Height(0)},
      depth(cameraModel.depth),
      exposure(cameraModel.exposure),
      black(defaultBlack(cameraModel.depth)) {}

HRESULT SimulatedSettings::Range(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) const {
    const auto tell = [&](uint32_t least, uint32_t most, uint32_t usual) {
        if (minimum) *minimum = int32_t(least);
        if (maximum) *maximum = int32_t(most);
        if (defaultValue) *defaultValue = int32_t(usual);
        return S_OK;
    };
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            return tell(shortestExposure, model->longestExposure, model->exposure);
        case VEX_CONTROL_GAIN:
            return tell(100, largestGain, 100);
        case VEX_CONTROL_BLACK_LEVEL:
            return tell(0, 32u << (depth - 8), defaultBlack(depth));
        case VEX_CONTROL_BIT_DEPTH:
            return tell(model->depths.front(), model->depths.back(), model->depth);
        case VEX_CONTROL_FRAME_RATE:
            return tell(0, model->fastestRate, 0);
        case VEX_CONTROL_TRIGGER_MODE:
            return tell(0, 2, 0);
        case VEX_CONTROL_FIRE:
            return tell(1, mostTriggers, 1);
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            return model->mosaic ? tell(smallestBalance, largestBalance, 100) : E_NOTIMPL;
        default:
            return E_NOTIMPL;
    }
}

HRESULT SimulatedSettings::Get(uint32_t control, int32_t* value) const {
    if (!value) return E_POINTER;
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            *value = int32_t(exposure);
            return S_OK;
        case VEX_CONTROL_GAIN:
            *value = int32_t(gain);
            return S_OK;
        case VEX_CONTROL_BLACK_LEVEL:
            *value = int32_t(black);
            return S_OK;
        case VEX_CONTROL_BIT_DEPTH:
            *value = int32_t(depth);
            return S_OK;
        case VEX_CONTROL_FRAME_RATE:
            *value = int32_t(frameRate);
            return S_OK;
        case VEX_CONTROL_TRIGGER_MODE:
            *value = int32_t(triggerMode);
            return S_OK;
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            if (!model->mosaic) return E_NOTIMPL;
            *value = int32_t(balance[control - VEX_CONTROL_BALANCE_RED]);
            return S_OK;
        default:
            return E_NOTIMPL;
    }
}

HRESULT SimulatedSettings::Put(uint32_t control, int32_t value) {
    int32_t minimum = 0;
    int32_t maximum = 0;
    const HRESULT known = Range(control, &minimum, &maximum, nullptr);
    if (known < 0) return known;
    if (value < minimum || value > maximum) return E_INVALIDARG;
    const auto wanted = uint32_t(value);
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            exposure = wanted;
            return S_OK;
        case VEX_CONTROL_GAIN:
            gain = wanted;
            return S_OK;
        case VEX_CONTROL_BLACK_LEVEL:
            black = wanted;
            return S_OK;
        case VEX_CONTROL_FRAME_RATE:
            frameRate = wanted;
            return S_OK;
        case VEX_CONTROL_TRIGGER_MODE:
            triggerMode = wanted;
            return S_OK;
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            balance[control - VEX_CONTROL_BALANCE_RED] = wanted;
            return S_OK;
        case VEX_CONTROL_BIT_DEPTH:
            if (std::ranges::find(model->depths, wanted) == model->depths.end()) return E_INVALIDARG;
            // The same darkness in counts of the new depth.
            black = wanted > depth ? black << (wanted - depth) : black >> (depth - wanted);
            depth = wanted;
            return S_OK;
        default:
            return S_OK;  // triggers are counted by the stream
    }
}

HRESULT SimulatedSettings::Step(uint32_t control, int32_t& step) const {
    if (const HRESULT known = Range(control, nullptr, nullptr, nullptr); known < 0) return known;
    uint32_t common = 0;
    if (control == VEX_CONTROL_BIT_DEPTH)
        for (const uint32_t offered : model->depths) common = std::gcd(common, offered - model->depths.front());
    step = int32_t(std::max(common, 1u));
    return S_OK;
}

HRESULT SimulatedSettings::PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    const Region whole{0, 0, Width(resolution), Height(resolution)};
    if (width == 0 && height == 0) {
        roi = whole;
        return S_OK;
    }
    if (!regionSideFits(x, width, whole.width) || !regionSideFits(y, height, whole.height)) return E_INVALIDARG;
    roi = {x, y, width, height};
    return S_OK;
}

HRESULT SimulatedSettings::PutBinning(int32_t value) {
    const uint32_t factor = uint32_t(value) & 15;
    if (factor == 0 || factor > largestBinning || (factor & (factor - 1)) != 0) return E_INVALIDARG;
    binning = value;
    return S_OK;
}

HRESULT SimulatedSettings::PutRotation(int32_t degrees) {
    if (degrees < 0 || degrees > 270 || degrees % 90 != 0) return E_INVALIDARG;
    rotation = degrees;
    return S_OK;
}

HRESULT SimulatedSettings::PutResolution(uint32_t index) {
    if (index >= model->resolutions.size()) return E_INVALIDARG;
    resolution = index;
    return PutRoi(0, 0, 0, 0);
}

HRESULT SimulatedSettings::PutStill(uint32_t index) {
    if (model->stillCount == 0) return E_NOTIMPL;
    if (index >= model->stillCount) return E_INVALIDARG;
    still = index;
    return S_OK;
}

SensorView SimulatedSettings::View() const {
    const uint32_t factor = model->resolutions[resolution];
    return {
        roi.x * factor,    roi.y * factor, roi.width * factor, roi.height * factor, factor * (uint32_t(binning) & 15),
        uint32_t(rotation)};
}

SensorView SimulatedSettings::StillView(uint32_t index) const {
    const uint32_t factor = model->resolutions[index];
    return {0, 0, Width(index) * factor, Height(index) * factor, factor, uint32_t(rotation)};
}

uint64_t SimulatedSettings::PeriodNanoseconds() const {
    const uint64_t readout = readoutMicroseconds(*model, depth, model->resolutions[resolution], roi.height);
    const uint64_t sensor = std::max<uint64_t>(readout, exposure) * 1000;
    return frameRate ? std::max<uint64_t>(sensor, 1'000'000'000 / frameRate) : sensor;
}

}  // namespace vexcap::cameras
