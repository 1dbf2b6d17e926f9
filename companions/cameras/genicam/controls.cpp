#include "companions/cameras/genicam/controls.h"

#include <vexcap/camera_library.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace vexcap::cameras {
namespace {

constexpr double percentOfNone = 100;
constexpr double decibelsOfTen = 20;  // an amplitude ten times as large
constexpr double realStep = 0.1;
constexpr char balanceFeature[] = "BalanceRatio";

// Limits are rounded inwards, so that each whole number between them can be set.
int32_t within(double value) {
    if (std::isnan(value)) return 0;
    return int32_t(
        std::clamp(value, double(std::numeric_limits<int32_t>::min()), double(std::numeric_limits<int32_t>::max())));
}

bool isDecibel(const char* unit) { return unit && g_ascii_strcasecmp(unit, "dB") == 0; }

}  // namespace

double GainMap::toPercent(double gain) const {
    return decibels ? percentOfNone * std::pow(10.0, gain / decibelsOfTen) : percentOfNone + (gain - minimum) / step;
}

double GainMap::fromPercent(double percent) const {
    return decibels ? decibelsOfTen * std::log10(percent / percentOfNone) : minimum + (percent - percentOfNone) * step;
}

GenicamControls::GenicamControls(ArvCamera* controlled) : camera(controlled) {
    FindTriggers();
    FindGainMap();
    ArvError error;
    if (arv_camera_is_frame_rate_available(camera, error.out())) {
        const bool limited = !arv_camera_is_feature_available(camera, "AcquisitionFrameRateEnable", error.out()) ||
                             arv_camera_get_boolean(camera, "AcquisitionFrameRateEnable", error.out());
        if (limited) frameRate = std::max(0, within(std::round(arv_camera_get_frame_rate(camera, error.out()))));
    }
    for (const uint32_t control :
         {VEX_CONTROL_EXPOSURE, VEX_CONTROL_GAIN, VEX_CONTROL_BLACK_LEVEL, VEX_CONTROL_FRAME_RATE,
          VEX_CONTROL_TRIGGER_MODE, VEX_CONTROL_BALANCE_RED, VEX_CONTROL_BALANCE_GREEN, VEX_CONTROL_BALANCE_BLUE})
        if (int32_t value = 0; Get(control, value).ok()) defaults[control] = value;
}

void GenicamControls::FindTriggers() {
    ArvError error;
    softwareTrigger = arv_camera_is_software_trigger_supported(camera, error.out()) && !error.failed();
    guint count = 0;
    const GlibArray<const char*> sources(arv_camera_dup_available_trigger_sources(camera, &count, error.out()));
    for (guint i = 0; sources && i < count; ++i) {
        const std::string_view source = sources[i];
        if (source.starts_with("Line") && (triggerLine.empty() || source < triggerLine)) triggerLine = source;
    }
}

void GenicamControls::FindGainMap() {
    ArvError error;
    Limits limits{};
    arv_camera_get_gain_bounds(camera, &limits.minimum, &limits.maximum, error.out());
    if (error.failed()) return;
    gainMap.minimum = limits.minimum;
    ArvGcNode* const node = arv_device_get_feature(arv_camera_get_device(camera), "Gain");
    if (!ARV_IS_GC_FLOAT(node)) return;
    gainMap.decibels = isDecibel(arv_gc_float_get_unit(ARV_GC_FLOAT(node)));
    gainMap.step = realStep;
}

Result<GenicamControls::Limits> GenicamControls::LimitsOf(uint32_t control) {
    ArvError error;
    Limits limits{};
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            if (!arv_camera_is_exposure_time_available(camera, error.out())) return E_NOTIMPL;
            arv_camera_get_exposure_time_bounds(camera, &limits.minimum, &limits.maximum, error.out());
            break;
        case VEX_CONTROL_GAIN:
            if (!arv_camera_is_gain_available(camera, error.out())) return E_NOTIMPL;
            arv_camera_get_gain_bounds(camera, &limits.minimum, &limits.maximum, error.out());
            limits = {gainMap.toPercent(limits.minimum), gainMap.toPercent(limits.maximum)};
            break;
        case VEX_CONTROL_BLACK_LEVEL:
            if (!arv_camera_is_black_level_available(camera, error.out())) return E_NOTIMPL;
            arv_camera_get_black_level_bounds(camera, &limits.minimum, &limits.maximum, error.out());
            break;
        case VEX_CONTROL_FRAME_RATE:
            if (!arv_camera_is_frame_rate_available(camera, error.out())) return E_NOTIMPL;
            arv_camera_get_frame_rate_bounds(camera, &limits.minimum, &limits.maximum, error.out());
            limits.minimum = 0;
            break;
        case VEX_CONTROL_TRIGGER_MODE:
            if (!softwareTrigger && triggerLine.empty()) return E_NOTIMPL;
            return Limits{0, triggerLine.empty() ? 1.0 : 2.0};
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            if (const Status s = SelectColour(control); !s.ok()) return s;
            arv_camera_get_float_bounds(camera, balanceFeature, &limits.minimum, &limits.maximum, error.out());
            limits = {limits.minimum * percentOfNone, limits.maximum * percentOfNone};
            break;
        default:
            return E_NOTIMPL;
    }
    if (error.failed()) return error.code();
    return limits;
}

Result<ControlRange> GenicamControls::Range(uint32_t control) {
    const auto limits = LimitsOf(control);
    if (!limits.ok()) return limits.status();
    ControlRange range{within(std::ceil(limits.value().minimum)), within(std::floor(limits.value().maximum)), 0};
    if (range.maximum < range.minimum) return E_NOTIMPL;
    range.defaultValue = std::clamp(defaults[control].value_or(range.minimum), range.minimum, range.maximum);
    return range;
}

Result<double> GenicamControls::Read(uint32_t control) {
    ArvError error;
    double value = 0;
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            value = arv_camera_get_exposure_time(camera, error.out());
            break;
        case VEX_CONTROL_GAIN:
            value = gainMap.toPercent(arv_camera_get_gain(camera, error.out()));
            break;
        case VEX_CONTROL_BLACK_LEVEL:
            value = arv_camera_get_black_level(camera, error.out());
            break;
        case VEX_CONTROL_FRAME_RATE:
            value = frameRate;
            break;
        case VEX_CONTROL_TRIGGER_MODE:
            value = triggerMode;
            break;
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            if (const Status s = SelectColour(control); !s.ok()) return s;
            value = arv_camera_get_float(camera, balanceFeature, error.out()) * percentOfNone;
            break;
        default:
            return E_NOTIMPL;
    }
    if (error.failed()) return error.code();
    return value;
}

Status GenicamControls::Get(uint32_t control, int32_t& value) {
    if (const auto limits = LimitsOf(control); !limits.ok()) return limits.status();
    const auto read = Read(control);
    if (read.ok()) value = within(std::round(read.value()));
    return read.status();
}

Status GenicamControls::Put(uint32_t control, int32_t value) {
    const auto range = Range(control);
    if (!range.ok()) return range.status();
    if (value < range.value().minimum || value > range.value().maximum) return E_INVALIDARG;
    return Write(control, value);
}

Status GenicamControls::Write(uint32_t control, int32_t value) {
    ArvError error;
    switch (control) {
        case VEX_CONTROL_EXPOSURE:
            if (arv_camera_is_exposure_auto_available(camera, error.out()))
                arv_camera_set_exposure_time_auto(camera, ARV_AUTO_OFF, error.out());
            arv_camera_set_exposure_time(camera, value, error.out());
            return error.code();
        case VEX_CONTROL_GAIN:
            if (arv_camera_is_gain_auto_available(camera, error.out()))
                arv_camera_set_gain_auto(camera, ARV_AUTO_OFF, error.out());
            arv_camera_set_gain(camera, gainMap.fromPercent(value), error.out());
            return error.code();
        case VEX_CONTROL_BLACK_LEVEL:
            if (arv_camera_is_black_level_auto_available(camera, error.out()))
                arv_camera_set_black_level_auto(camera, ARV_AUTO_OFF, error.out());
            arv_camera_set_black_level(camera, value, error.out());
            return error.code();
        case VEX_CONTROL_FRAME_RATE:
            return WriteFrameRate(value);
        case VEX_CONTROL_TRIGGER_MODE:
            return WriteTriggerMode(value);
        case VEX_CONTROL_BALANCE_RED:
        case VEX_CONTROL_BALANCE_GREEN:
        case VEX_CONTROL_BALANCE_BLUE:
            return WriteBalance(control, value);
        default:
            return E_NOTIMPL;
    }
}

// E_NOTIMPL for a camera without the balance of this colour.
Status GenicamControls::SelectColour(uint32_t control) {
    constexpr char selector[] = "BalanceRatioSelector";
    constexpr const char* colours[] = {"Red", "Green", "Blue"};
    ArvError error;
    if (!arv_camera_is_feature_available(camera, balanceFeature, error.out())) return E_NOTIMPL;
    if (!arv_camera_is_feature_available(camera, selector, error.out())) return E_NOTIMPL;
    const char* const colour = colours[control - VEX_CONTROL_BALANCE_RED];
    if (!arv_camera_is_enumeration_entry_available(camera, selector, colour, error.out())) return E_NOTIMPL;
    arv_camera_set_string(camera, selector, colour, error.out());
    return error.code();
}

Status GenicamControls::WriteBalance(uint32_t control, int32_t percent) {
    ArvError error;
    if (arv_camera_is_feature_available(camera, "BalanceWhiteAuto", error.out()))
        arv_camera_set_string(camera, "BalanceWhiteAuto", "Off", error.out());
    if (const Status s = SelectColour(control); !s.ok()) return s;
    arv_camera_set_float(camera, balanceFeature, percent / percentOfNone, error.out());
    return error.code();
}

int32_t GenicamControls::Step(uint32_t control) {
    const char* names[2] = {};
    if (control == VEX_CONTROL_EXPOSURE) names[0] = "ExposureTime", names[1] = "ExposureTimeAbs";
    if (control == VEX_CONTROL_BLACK_LEVEL) names[0] = "BlackLevel", names[1] = "BlackLevelRaw";
    for (const char* const name : names) {
        ArvGcNode* const node = name ? arv_device_get_feature(arv_camera_get_device(camera), name) : nullptr;
        if (!ARV_IS_GC_INTEGER(node)) continue;
        ArvError error;
        const gint64 step = arv_gc_integer_get_inc(ARV_GC_INTEGER(node), error.out());
        if (!error.failed()) return std::max(within(double(step)), 1);
    }
    return 1;
}

Status GenicamControls::WriteFrameRate(int32_t rate) {
    // Aravis ends a trigger mode when it sets a rate. The rate of a triggered camera is its triggers', so the number
    // only waits there until the camera runs freely again.
    if (triggerMode == 0) {
        ArvError error;
        const bool canBeFree = arv_camera_is_feature_available(camera, "AcquisitionFrameRateEnable", error.out());
        if (rate == 0 && canBeFree) {
            arv_camera_set_boolean(camera, "AcquisitionFrameRateEnable", FALSE, error.out());
        } else {
            double lowest = 0;
            double highest = 0;
            arv_camera_get_frame_rate_bounds(camera, &lowest, &highest, error.out());
            if (error.failed()) return error.code();
            arv_camera_set_frame_rate(camera, rate == 0 ? highest : std::clamp(double(rate), lowest, highest),
                                      error.out());
        }
        if (error.failed()) return error.code();
    }
    frameRate = rate;
    return S_OK;
}

Status GenicamControls::WriteTriggerMode(int32_t mode) {
    if (mode == 1 && !softwareTrigger) return E_NOTIMPL;
    ArvError error;
    if (mode == 0)
        arv_camera_clear_triggers(camera, error.out());
    else
        arv_camera_set_trigger(camera, mode == 1 ? "Software" : triggerLine.c_str(), error.out());
    if (error.failed()) return error.code();
    const bool freed = triggerMode != 0 && mode == 0;
    triggerMode = mode;
    return freed && defaults[VEX_CONTROL_FRAME_RATE] ? WriteFrameRate(frameRate) : Status(S_OK);
}

Status GenicamControls::Fire() {
    ArvError error;
    arv_camera_software_trigger(camera, error.out());
    return error.code();
}

Result<double> GenicamControls::MaxFrameRate() {
    const auto limits = LimitsOf(VEX_CONTROL_FRAME_RATE);
    if (!limits.ok()) return limits.status();
    return limits.value().maximum;
}

}  // namespace vexcap::cameras
