// Pixel formats of GenICam cameras that the camera library passes on: one sample a pixel, mono or mosaic.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pixel/kernels.h"

namespace vexcap::cameras {

/// One pixel format: its GenICam number and what its samples are.
struct SensorFormat {
    uint32_t code = 0;
    uint32_t depth = 0;  ///< 8, 10, 12 or 16; deeper than 8 means 16-bit samples, low-aligned.
    bool colour = false;
    Mosaic mosaic = Mosaic::Rggb;

    uint32_t sampleBytes() const { return depth > 8 ? 2 : 1; }
};

/// Null for a format that is packed, has several samples a pixel, or is unknown.
const SensorFormat* sensorFormatOf(uint32_t code);

/// The formats to use of those that a camera offers, one for each depth, shallowest first; empty when it offers none.
/// A sensor has one mosaic or none: where exactly one mosaic is offered the sensor is taken to have it, since a colour
/// camera offers grey formats as well. A camera that offers several is taken as it stands at `present`.
std::vector<SensorFormat> chooseFormats(std::span<const int64_t> offered, uint32_t present);

}  // namespace vexcap::cameras
