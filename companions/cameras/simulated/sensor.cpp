#include "companions/cameras/simulated/sensor.h"

#include <algorithm>
#include <span>

#include "companions/cameras/simulated/noise.h"

namespace vexcap::cameras {
namespace {

/// One pixel of this many is hot.
constexpr uint32_t pixelsForAHotOne = 20'000;
constexpr ColourGains noBalance{100, 100, 100};

struct Place {
    uint32_t x;
    uint32_t y;
};

// Where a pixel of an upright picture of width x height comes to lie when the picture turns clockwise.
Place turned(Place place, uint32_t turn, uint32_t width, uint32_t height) {
    switch (turn) {
        case 90:
            return {height - 1 - place.y, place.x};
        case 180:
            return {width - 1 - place.x, height - 1 - place.y};
        case 270:
            return {place.y, width - 1 - place.x};
        default:
            return place;
    }
}

Displacement turned(Displacement move, uint32_t turn) {
    switch (turn) {
        case 90:
            return {-move.y, move.x};
        case 180:
            return {-move.x, -move.y};
        case 270:
            return {move.y, -move.x};
        default:
            return move;
    }
}

// What the sum of factor * factor pixels is multiplied by, for the four places of a cell, row by row. Views and margins
// begin with a whole cell.
std::array<float, 4> weightsOf(const ColourGains& balance, std::optional<Mosaic> mosaic, uint32_t factor) {
    std::array<float, 4> weights;
    weights.fill(1 / float(factor * factor));
    if (!mosaic) return weights;
    const MosaicOrigin red = originOf(*mosaic);
    for (uint32_t place = 0; place < 4; ++place) {
        const size_t colour = size_t(place % 2 != red.x) + size_t(place / 2 != red.y);  // red, green, blue
        weights[place] *= float(balance[colour]) / 100;
    }
    return weights;
}

int32_t floorDivide(int32_t value, int32_t divisor) {
    return value >= 0 ? value / divisor : -((-value + divisor - 1) / divisor);
}

}  // namespace

Mosaic SensorView::Turned(Mosaic mosaic) const {
    // Pictures have even sides, so a whole picture turns as one cell does.
    const MosaicOrigin red = originOf(mosaic);
    const Place place = turned(Place{red.x, red.y}, turn, 2, 2);
    return mosaicOf({place.x, place.y});
}

SimulatedSensor::SimulatedSensor(const SimulatedModel& sensorModel, std::shared_ptr<const Scene> seen,
                                 uint64_t sensorSeed)
    : model(sensorModel), scene(std::move(seen)), seed(sensorSeed) {}

void SimulatedSensor::Prepare(const SensorView& view, const ColourGains& balance) {
    if (view == prepared && balance == preparedBalance) return;
    prepared = {};  // should memory run short below, the next frame tries again
    light.clear();
    ownLight.clear();
    margin = scene->margin / view.factor;
    if (view.factor == 1 && view.turn == 0 && balance == noBalance) {
        for (size_t map = 0; map < scene->light.size(); ++map)
            light.push_back({scene->at(map, view.x + margin, view.y + margin), scene->stride()});
    } else {
        // Half pixels are lost in larger ones.
        const size_t maps = view.factor == 1 ? scene->light.size() : 1;
        const size_t stride = size_t(view.OutWidth()) + 2 * margin;
        for (size_t map = 0; map < maps; ++map) {
            ownLight.push_back(TurnedMap(view, balance, scene->light[map]));
            light.push_back({ownLight.back().data() + margin * stride + margin, stride});
        }
    }
    PlaceHotPixels(view);
    const size_t pixels = size_t(view.OutWidth()) * view.OutHeight();
    if (samples.size() < pixels) samples.resize(pixels);
    wideRow.resize(view.OutWidth());
    prepared = view;
    preparedBalance = balance;
}

// The light of a view averaged, balanced and turned, with the margin around it.
std::vector<float> SimulatedSensor::TurnedMap(const SensorView& view, const ColourGains& balance,
                                              const std::vector<float>& from) const {
    const uint32_t factor = view.factor;
    const uint32_t width = shrunkSide(view.width, factor) + 2 * margin;
    const uint32_t height = shrunkSide(view.height, factor) + 2 * margin;
    // Pixels of one colour lie two apart in a mosaic.
    const uint32_t apart = model.mosaic ? 2 : 1;
    const auto firstOf = [&](uint32_t place) { return place / apart * apart * factor + place % apart; };
    const size_t outStride = view.Upright() ? width : height;
    const std::array<float, 4> weights = weightsOf(balance, model.mosaic, factor);
    std::vector<float> map(size_t(width) * height);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            float sum = 0;
            for (uint32_t j = 0; j < factor; ++j) {
                const float* const row = from.data() + (view.y + firstOf(y) + j * apart) * scene->stride() + view.x;
                for (uint32_t i = 0; i < factor; ++i) sum += row[firstOf(x) + i * apart];
            }
            const Place out = turned(Place{x, y}, view.turn, width, height);
            map[out.y * outStride + out.x] = sum * weights[y % 2 * 2 + x % 2];
        }
    }
    return map;
}

void SimulatedSensor::PlaceHotPixels(const SensorView& view) {
    const uint32_t factor = view.factor;
    const uint32_t apart = model.mosaic ? 2 : 1;
    const uint32_t width = shrunkSide(view.width, factor);
    const uint32_t height = shrunkSide(view.height, factor);
    const auto shrunk = [&](uint32_t place) { return place / (apart * factor) * apart + place % apart; };
    hotPixels.clear();
    const uint32_t count = model.width * model.height / pixelsForAHotOne;
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t key = stir(seed, 1000 + i);
        const auto sensorX = uint32_t(stirUnit(key, 0) * model.width);
        const auto sensorY = uint32_t(stirUnit(key, 1) * model.height);
        if (sensorX < view.x || sensorY < view.y) continue;
        const Place place{shrunk(sensorX - view.x), shrunk(sensorY - view.y)};
        if (place.x >= width || place.y >= height) continue;
        const Place out = turned(place, view.turn, width, height);
        const float current = 0.1f + 0.7f * float(stirUnit(key, 2));
        hotPixels.push_back(
            {(view.OutHeight() - 1 - out.y) * view.OutWidth() + out.x, current / float(factor * factor)});
    }
}

SimulatedSensor::Light SimulatedSensor::LightAt(double seconds) const {
    const Displacement move = sceneDisplacement(*scene, seed, seconds);
    const auto pixel = int32_t(2 * prepared.factor);  // in half pixels of the sensor
    Displacement whole{floorDivide(move.x, pixel), floorDivide(move.y, pixel)};
    size_t map = 0;
    if (light.size() > 1) map = size_t(move.x - 2 * whole.x) + 2 * size_t(move.y - 2 * whole.y);
    if (model.mosaic) whole = {whole.x & ~1, whole.y & ~1};
    whole = turned(whole, prepared.turn);
    const Light& chosen = light[map];
    return {chosen.first - whole.x - whole.y * ptrdiff_t(chosen.stride), chosen.stride};
}

template <typename Sample>
void SimulatedSensor::HeatPixels(Sample* frame, float strength, uint32_t maximum) const {
    for (const HotPixel& hot : hotPixels) {
        const float heated = float(frame[hot.index]) + hot.current * strength;
        frame[hot.index] = Sample(std::min(heated, float(maximum)));
    }
}

SensorFrame SimulatedSensor::Expose(const SensorView& view, const SensorExposure& exposure) {
    Prepare(view, exposure.balance);
    const PixelKernels& run = kernels();
    const std::span<const float> noise = noiseTable();
    const Light seen = LightAt(exposure.seconds);
    const uint32_t width = view.OutWidth();
    const uint32_t height = view.OutHeight();
    const uint32_t maximum = (1u << exposure.depth) - 1;
    const float exposed = float(exposure.microseconds) / float(model.exposure);
    const float amplified = float(exposure.gain) / 100 * float(maximum);
    // The mean of n pixels is their sum, with n times the electrons and n times the variance of one, divided by n.
    const auto pixels = float(view.factor * view.factor);
    const float electrons = model.fullWell * exposed * pixels;
    const float readVariance = model.readNoise * model.readNoise * pixels;
    const float gain = amplified / model.fullWell / pixels;
    auto* const bytes = reinterpret_cast<uint8_t*>(samples.data());
    for (uint32_t row = 0; row < height; ++row) {  // in memory: the picture's last row first
        uint16_t* const target = exposure.depth > 8 ? samples.data() + size_t(row) * width : wideRow.data();
        const float* const rowNoise = noise.data() + stir(exposure.noiseKey, row) % noisePlaces;
        run.exposeRow(target, seen.first + (height - 1 - row) * seen.stride, rowNoise, width, electrons, readVariance,
                      gain, float(exposure.black), float(maximum));
        if (exposure.depth <= 8) run.narrow16To8(bytes + size_t(row) * width, target, width);
    }
    const float heat = exposed * amplified;
    if (exposure.depth > 8)
        HeatPixels(samples.data(), heat, maximum);
    else
        HeatPixels(bytes, heat, maximum);

    SensorFrame frame;
    frame.samples = samples.data();
    frame.rowBytes = size_t(width) * (exposure.depth > 8 ? 2 : 1);
    frame.width = width;
    frame.height = height;
    frame.depth = exposure.depth;
    frame.colour = model.mosaic.has_value();
    if (model.mosaic) frame.mosaic = view.Turned(*model.mosaic);
    return frame;
}

}  // namespace vexcap::cameras
