// What a simulated sensor sees: real pictures, brought to its size and colours once.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "companions/cameras/simulated/picture.h"
#include "pixel/kernels.h"

namespace vexcap::cameras {

/// Light on a sensor, 1.0 at most, top row first. Around the sensor lies a margin, by which a moving scene moves.
struct Scene {
    uint32_t width = 0;   ///< Of the sensor, pixels.
    uint32_t height = 0;  ///< Of the sensor, pixels.
    uint32_t margin = 0;  ///< Pixels on each of the four sides.
    /// One map, or four for a scene that moves by half pixels: in map 2 * y + x the picture lies y half pixels lower
    /// and x half pixels further right.
    std::vector<std::vector<float>> light;

    size_t stride() const { return size_t(width) + 2 * margin; }
    const float* at(size_t map, uint32_t x, uint32_t y) const { return light[map].data() + y * stride() + x; }
};

/// Margin of a moving scene: a multiple of every cell that binning makes.
constexpr uint32_t sceneMargin = 64;

/// The scene for a sensor; the mosaic is that of its top left corner, none for mono. Made anew unless another camera
/// has the same one. Any thread. Throws when memory is short.
std::shared_ptr<const Scene> sceneFor(SceneName name, uint32_t width, uint32_t height, std::optional<Mosaic> mosaic);

/// How far a scene has moved, in half pixels, to the right and down. Never as far as the margin.
struct Displacement {
    int32_t x = 0;
    int32_t y = 0;
};

/// Drift of the mount and the air's trembling at a time of the stream. Nothing for a scene that does not move.
Displacement sceneDisplacement(const Scene& scene, uint64_t seed, double seconds);

/// Position of red in the 2x2 mosaic, 0 or 1 each.
struct MosaicOrigin {
    uint32_t x;
    uint32_t y;
};
MosaicOrigin originOf(Mosaic mosaic);
Mosaic mosaicOf(MosaicOrigin origin);

}  // namespace vexcap::cameras
