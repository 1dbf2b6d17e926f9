// The controls of a GenICam camera in the units of the camera library: exposure, gain, black level, rate, trigger,
// balance.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "base/status.h"
#include "companions/cameras/genicam/arv.h"

namespace vexcap::cameras {

/// Between a camera's own gain and percent. A gain that the camera tells in decibels is an amplification, and percent
/// tell it: 0 dB are 100, 6.02 dB are 200. Other gains are numbers without a common meaning: there 100 percent are
/// the smallest one, and each step more is one percent more; a step is 1, or 0.1 for a real number.
struct GainMap {
    bool decibels = false;
    double minimum = 0;
    double step = 1;

    double toPercent(double gain) const;
    double fromPercent(double percent) const;
};

struct ControlRange {
    int32_t minimum = 0;
    int32_t maximum = 0;
    int32_t defaultValue = 0;
};

/// Reads and writes them. Not thread-safe: whoever owns the camera's lock calls it. The camera outlives it.
class GenicamControls final {
public:
    /// Remembers as defaults what the camera is set to.
    explicit GenicamControls(ArvCamera* controlled);

    /// VEX_CONTROL_EXPOSURE, GAIN, BLACK_LEVEL, FRAME_RATE, TRIGGER_MODE or one of the BALANCE; E_NOTIMPL for one that
    /// is missing.
    Result<ControlRange> Range(uint32_t control);
    Status Get(uint32_t control, int32_t& value);
    /// E_INVALIDARG outside the limits, nothing changed. An automatic of the camera for this value is switched off.
    Status Put(uint32_t control, int32_t value);
    /// Step of a control that is there, at least 1: the camera's own one where it counts in whole units.
    int32_t Step(uint32_t control);
    /// One software trigger.
    Status Fire();
    bool CanFire() const { return softwareTrigger; }
    int32_t TriggerMode() const { return triggerMode; }
    /// The camera's highest rate with the present exposure and size.
    Result<double> MaxFrameRate();

private:
    struct Limits {
        double minimum;
        double maximum;
    };
    static constexpr uint32_t controls = 11;  // VEX_CONTROL_EXPOSURE to BALANCE_BLUE are 1 to 10

    Result<Limits> LimitsOf(uint32_t control);
    Result<double> Read(uint32_t control);
    Status Write(uint32_t control, int32_t value);
    Status SelectColour(uint32_t control);
    Status WriteBalance(uint32_t control, int32_t percent);
    Status WriteFrameRate(int32_t rate);
    Status WriteTriggerMode(int32_t mode);
    void FindTriggers();
    void FindGainMap();

    ArvCamera* const camera;
    GainMap gainMap;
    std::array<std::optional<int32_t>, controls> defaults;  // by control; nothing for one that is missing
    int32_t frameRate = 0;                                  // as set; 0: no limit
    int32_t triggerMode = 0;
    bool softwareTrigger = false;
    std::string triggerLine;  // empty when the camera has no line to trigger by
};

}  // namespace vexcap::cameras
