// A simulated sensor: light, exposure and noise become samples. No thread, no clock: the same call gives the same
// frame.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "companions/cameras/frame_delivery.h"
#include "companions/cameras/simulated/model.h"
#include "companions/cameras/simulated/scene.h"

namespace vexcap::cameras {

/// The part of the sensor that is read, and how it becomes a picture.
struct SensorView {
    uint32_t x = 0;       ///< Sensor pixels, even.
    uint32_t y = 0;       ///< Sensor pixels, even.
    uint32_t width = 0;   ///< Sensor pixels.
    uint32_t height = 0;  ///< Sensor pixels.
    uint32_t factor = 1;  ///< Pixels of one colour averaged across and down: 1, 2, 4, 8 or 16.
    uint32_t turn = 0;    ///< Degrees clockwise: 0, 90, 180, 270.

    bool operator==(const SensorView&) const = default;
    bool Upright() const { return turn % 180 == 0; }
    uint32_t OutWidth() const { return shrunkSide(Upright() ? width : height, factor); }
    uint32_t OutHeight() const { return shrunkSide(Upright() ? height : width, factor); }
    /// Mosaic of the picture's top left corner, for a sensor with `mosaic` at its own.
    Mosaic Turned(Mosaic mosaic) const;
};

/// Percent by which red, green and blue are amplified.
using ColourGains = std::array<uint32_t, 3>;

struct SensorExposure {
    uint32_t depth = 8;         ///< Bits of a sample.
    uint32_t microseconds = 0;  ///< Exposure.
    uint32_t gain = 100;        ///< Percent.
    ColourGains balance{100, 100, 100};
    uint32_t black = 0;     ///< Counts.
    uint64_t noiseKey = 0;  ///< The same key gives the same noise.
    double seconds = 0;     ///< Time of the scene, which drifts.
};

/// One thread at a time. Allocates only when the view or the balance changes or the frame grows.
class SimulatedSensor {
public:
    /// `seed` places hot pixels and sets the scene's drift.
    SimulatedSensor(const SimulatedModel& sensorModel, std::shared_ptr<const Scene> seen, uint64_t sensorSeed);
    /// A frame, bottom-up and without row padding. Its samples stay good until the next call; sequence and timestamp
    /// are the caller's to fill. Throws when memory is short.
    SensorFrame Expose(const SensorView& view, const SensorExposure& exposure);

private:
    /// Light as it falls on the pixels of a picture, with the margin around it: in the scene's own memory, or
    /// averaged and turned in memory of its own.
    struct Light {
        const float* first = nullptr;
        size_t stride = 0;
    };
    struct HotPixel {
        uint32_t index;  // in the frame
        float current;   // of full well, at the model's own exposure
    };

    void Prepare(const SensorView& view, const ColourGains& balance);
    std::vector<float> TurnedMap(const SensorView& view, const ColourGains& balance,
                                 const std::vector<float>& from) const;
    void PlaceHotPixels(const SensorView& view);
    Light LightAt(double seconds) const;
    template <typename Sample>
    void HeatPixels(Sample* frame, float strength, uint32_t maximum) const;

    const SimulatedModel& model;
    const std::shared_ptr<const Scene> scene;
    const uint64_t seed;

    SensorView prepared;  // width 0 until the first frame
    ColourGains preparedBalance{};
    uint32_t margin = 0;  // in picture pixels
    std::vector<Light> light;
    std::vector<std::vector<float>> ownLight;
    std::vector<HotPixel> hotPixels;
    std::vector<uint16_t> samples;
    std::vector<uint16_t> wideRow;
};

}  // namespace vexcap::cameras
