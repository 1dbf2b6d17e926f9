/// What a user sets on a device before its pictures are used.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hosts/common/formats.h"

namespace vexcap::host {

/// Region of interest in pixels of the camera's resolution.
struct Region {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool operator==(const Region&) const = default;
};

/// Settings of the camera; what is not set stays as the camera has it.
struct CameraSettings {
    std::optional<int32_t> exposure;   ///< Microseconds.
    std::optional<int32_t> gain;       ///< Percent.
    std::optional<int32_t> depth;      ///< Bits of a sample.
    std::optional<int32_t> frameRate;  ///< Frames a second at most.
    std::optional<int32_t> binning;    ///< Factor by which both sides shrink.
    std::optional<Region> region;
};

/// How the picture of a video input device is made.
struct PictureSettings {
    bool mirrored = false;  ///< Left and right.
    bool upsideDown = false;
    bool grey = false;
    bool negative = false;
    std::string dark;  ///< Bitmap of the dark frame, UTF-8; empty for the one that is kept.
};

struct SourceSettings {
    std::optional<FormatChoice> format;
    CameraSettings camera;    ///< Ignored by a video input device.
    PictureSettings picture;  ///< Ignored by a camera.
};

}  // namespace vexcap::host
