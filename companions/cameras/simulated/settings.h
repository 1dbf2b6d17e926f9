// What the host has set on a simulated camera, and what follows from it.
#pragma once

#include <vexcap/types.h>

#include <cstdint>

#include "companions/cameras/simulated/model.h"
#include "companions/cameras/simulated/sensor.h"

namespace vexcap::cameras {

/// A plain value: each setter checks, and changes nothing when it refuses.
class SimulatedSettings {
public:
    explicit SimulatedSettings(const SimulatedModel& cameraModel);

    /// E_NOTIMPL for an unknown control; null outs are not asked for.
    HRESULT Range(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) const;
    /// E_NOTIMPL for an unknown control, and for the one that can only be written.
    HRESULT Get(uint32_t control, int32_t* value) const;
    HRESULT Put(uint32_t control, int32_t value);
    /// E_NOTIMPL for an unknown control.
    HRESULT Step(uint32_t control, int32_t& step) const;
    HRESULT PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height);
    HRESULT PutBinning(int32_t value);
    HRESULT PutRotation(int32_t degrees);
    /// The region becomes the whole frame.
    HRESULT PutResolution(uint32_t index);
    HRESULT PutStill(uint32_t index);

    uint32_t Width(uint32_t index) const { return shrunkSide(model->width, model->resolutions[index]); }
    uint32_t Height(uint32_t index) const { return shrunkSide(model->height, model->resolutions[index]); }
    SensorView View() const;
    /// All of the sensor at a still resolution, turned as the stream is.
    SensorView StillView(uint32_t index) const;
    /// From one frame to the next.
    uint64_t PeriodNanoseconds() const;

    struct Region {
        uint32_t x, y, width, height;  // pixels of the resolution
    };

    const SimulatedModel* model;
    uint32_t resolution = 0;
    uint32_t still = 0;
    Region roi;
    int32_t binning = 1;  ///< Option value; its low four bits are the factor.
    int32_t rotation = 0;
    uint32_t depth;
    uint32_t exposure;
    uint32_t gain = 100;
    uint32_t black;
    ColourGains balance{100, 100, 100};
    uint32_t frameRate = 0;
    uint32_t triggerMode = 0;
};

}  // namespace vexcap::cameras
