#include "companions/cameras/simulated/scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <tuple>

#include "base/mutex.h"
#include "companions/cameras/simulated/noise.h"

namespace vexcap::cameras {
namespace {

/// How a picture becomes a scene.
struct SceneLook {
    bool disc;           // the picture on a ball against a black sky; it moves
    float background;    // light of an empty place
    float span;          // light that white adds
    float darkerCorner;  // of the light lost in the sensor's corners
};

SceneLook lookOf(SceneName name) {
    switch (name) {
        case SceneName::Cell:
            return {false, 0.02f, 0.85f, 0};
        case SceneName::Hubble:
            return {false, 0.01f, 0.90f, 0.25f};
        case SceneName::Ihc:
            return {false, 0.01f, 0.90f, 0.10f};
        case SceneName::Moon:
            return {true, 0.005f, 0.90f, 0};
    }
    return {};
}

// Four neighbours of a place between samples and their cubic B-spline weights, which never ring nor go below zero.
struct Tap {
    std::array<uint32_t, 4> index;
    std::array<float, 4> weight;
};

std::vector<Tap> tapsFor(uint32_t count, uint32_t sourceCount, double step, double first) {
    std::vector<Tap> taps(count);
    for (uint32_t i = 0; i < count; ++i) {
        const double place = first + step * i;
        const double whole = std::floor(place);
        const float t = float(place - whole);
        for (int k = 0; k < 4; ++k)
            taps[i].index[size_t(k)] =
                uint32_t(std::clamp(int64_t(whole) - 1 + k, int64_t(0), int64_t(sourceCount) - 1));
        const float u = 1 - t;
        taps[i].weight = {u * u * u / 6, (4 - 6 * t * t + 3 * t * t * t) / 6, (4 - 6 * u * u + 3 * u * u * u) / 6,
                          t * t * t / 6};
    }
    return taps;
}

// One channel of a picture, drawn large row by row. Rows are asked for from the top to the bottom.
class Enlarger {
public:
    Enlarger(std::vector<float> plane, uint32_t planeWidth, const std::vector<Tap>& across,
             const std::vector<Tap>& down)
        : source(std::move(plane)), sourceWidth(planeWidth), columns(across), lines(down) {
        for (auto& row : cache) row.resize(columns.size());
        line.resize(columns.size());
    }

    const std::vector<float>& Row(uint32_t y) {
        const Tap& tap = lines[y];
        std::array<const float*, 4> rows{};
        for (size_t k = 0; k < 4; ++k) rows[k] = Widened(tap.index[k]);
        for (size_t x = 0; x < line.size(); ++x)
            line[x] = tap.weight[0] * rows[0][x] + tap.weight[1] * rows[1][x] + tap.weight[2] * rows[2][x] +
                      tap.weight[3] * rows[3][x];
        return line;
    }

private:
    const float* Widened(uint32_t sourceRow) {
        const size_t slot = sourceRow % cache.size();
        if (cachedRow[slot] != int64_t(sourceRow)) {
            cachedRow[slot] = sourceRow;
            const float* const from = source.data() + size_t(sourceRow) * sourceWidth;
            for (size_t x = 0; x < columns.size(); ++x) {
                const Tap& tap = columns[x];
                cache[slot][x] = tap.weight[0] * from[tap.index[0]] + tap.weight[1] * from[tap.index[1]] +
                                 tap.weight[2] * from[tap.index[2]] + tap.weight[3] * from[tap.index[3]];
            }
        }
        return cache[slot].data();
    }

    std::vector<float> source;
    uint32_t sourceWidth;
    const std::vector<Tap>& columns;
    const std::vector<Tap>& lines;
    std::array<std::vector<float>, 4> cache;
    std::array<int64_t, 4> cachedRow{-1, -1, -1, -1};
    std::vector<float> line;
};

// Channels as 0 to 1: grey for a mono sensor, else as many as the picture has. Values are taken as light as they
// stand, so that the plain picture looks natural without a tone curve behind it.
std::vector<std::vector<float>> planesOf(const Picture& picture, bool colour) {
    const size_t pixels = size_t(picture.width) * picture.height;
    std::vector<std::vector<float>> planes(colour ? picture.channels : 1, std::vector<float>(pixels));
    const uint8_t* sample = picture.samples.data();
    for (size_t i = 0; i < pixels; ++i, sample += picture.channels) {
        if (planes.size() == picture.channels)
            for (size_t c = 0; c < planes.size(); ++c) planes[c][i] = float(sample[c]) / 255;
        else
            planes[0][i] = (0.299f * float(sample[0]) + 0.587f * float(sample[1]) + 0.114f * float(sample[2])) / 255;
    }
    return planes;
}

// Light that a ball's edge lets through, 0 outside of it, with one soft pixel at the rim.
float ballShade(double x, double y, double radius) {
    const double distance = std::sqrt(x * x + y * y);
    if (distance > radius + 1) return 0;
    const double inside = std::clamp(radius - distance + 0.5, 0.0, 1.0);
    const double share = std::min(distance / radius, 1.0);
    return float(inside * (0.4 + 0.6 * std::sqrt(1 - share * share)));
}

std::vector<float> lightMap(const Scene& scene, const Picture& picture, const SceneLook& look,
                            std::optional<Mosaic> mosaic, double moveX, double moveY) {
    const auto columns = uint32_t(scene.stride());
    const uint32_t rows = scene.height + 2 * scene.margin;
    const double radius = 0.4 * std::min(scene.width, scene.height);
    // Picture pixels for each sensor pixel: the picture covers the ball, or all of the sensor.
    const double step = look.disc
                            ? std::min(picture.width, picture.height) / (2 * radius)
                            : std::min(double(picture.width) / scene.width, double(picture.height) / scene.height);
    const double middleX = columns / 2.0 - 0.5 + moveX;
    const double middleY = rows / 2.0 - 0.5 + moveY;
    const auto across = tapsFor(columns, picture.width, step, picture.width / 2.0 - 0.5 - middleX * step);
    const auto down = tapsFor(rows, picture.height, step, picture.height / 2.0 - 0.5 - middleY * step);

    std::vector<Enlarger> channels;
    for (auto& plane : planesOf(picture, mosaic.has_value()))
        channels.emplace_back(std::move(plane), picture.width, across, down);
    const double cornerSquare = (double(columns) * columns + double(rows) * rows) / 4;
    const double fall = -std::log(1 - look.darkerCorner) / cornerSquare;
    std::vector<float> fallAcross(columns);
    for (uint32_t x = 0; x < columns; ++x) fallAcross[x] = float(std::exp(-fall * std::pow(x - middleX, 2)));

    const MosaicOrigin red = mosaic ? originOf(*mosaic) : MosaicOrigin{0, 0};
    std::vector<float> map(size_t(columns) * rows);
    for (uint32_t y = 0; y < rows; ++y) {
        // Channel of the row's even and odd columns.
        std::array<const float*, 2> lines{};
        if (channels.size() == 1) {
            lines.fill(channels[0].Row(y).data());
        } else {
            for (uint32_t parity = 0; parity < 2; ++parity)  // 0 red, 1 green, 2 blue
                lines[parity] = channels[((parity ^ red.x) & 1) + ((y ^ red.y) & 1)].Row(y).data();
        }
        float* const target = map.data() + size_t(y) * columns;
        const auto fallDown = float(std::exp(-fall * std::pow(y - middleY, 2)));
        for (uint32_t x = 0; x < columns; ++x) {
            float light = look.span * lines[x & 1][x];
            if (look.disc) light *= ballShade(x - middleX, y - middleY, radius);
            target[x] = (look.background + light) * fallDown * fallAcross[x];
        }
    }
    return map;
}

std::shared_ptr<const Scene> makeScene(SceneName name, uint32_t width, uint32_t height, std::optional<Mosaic> mosaic) {
    const SceneLook look = lookOf(name);
    const Picture picture = loadPicture(name);
    auto scene = std::make_shared<Scene>();
    scene->width = width;
    scene->height = height;
    scene->margin = look.disc ? sceneMargin : 0;
    // A mosaic moves by whole cells, since its colours are in the map.
    const size_t maps = look.disc && !mosaic ? 4 : 1;
    for (size_t map = 0; map < maps; ++map)
        scene->light.push_back(lightMap(*scene, picture, look, mosaic, double(map % 2) / 2, double(map / 2) / 2));
    return scene;
}

// A smooth line through one random height, -1 to 1, for each step of time.
double tremble(uint64_t key, double steps) {
    const double whole = std::floor(steps);
    const double t = steps - whole;
    const double ease = t * t * (3 - 2 * t);
    const auto step = uint64_t(int64_t(whole));
    return (stirUnit(key, step) * (1 - ease) + stirUnit(key, step + 1) * ease) * 2 - 1;
}

}  // namespace

std::shared_ptr<const Scene> sceneFor(SceneName name, uint32_t width, uint32_t height, std::optional<Mosaic> mosaic) {
    static Mutex lock;
    static std::map<std::tuple<SceneName, uint32_t, uint32_t, std::optional<Mosaic>>, std::weak_ptr<const Scene>> made;
    MutexGuard guard(lock);
    std::weak_ptr<const Scene>& known = made[{name, width, height, mosaic}];
    std::shared_ptr<const Scene> scene = known.lock();
    if (!scene) known = scene = makeScene(name, width, height, mosaic);
    return scene;
}

Displacement sceneDisplacement(const Scene& scene, uint64_t seed, double seconds) {
    if (scene.margin == 0) return {};
    constexpr double turn = 2 * std::numbers::pi;
    const double phase = turn * stirUnit(seed, 2);
    const double x = 36 * std::sin(turn * seconds / 97 + phase) + 2.5 * tremble(stir(seed, 3), seconds * 12);
    const double y = 24 * std::sin(turn * seconds / 61 + phase) + 2.5 * tremble(stir(seed, 4), seconds * 12);
    return {int32_t(std::lround(2 * x)), int32_t(std::lround(2 * y))};
}

MosaicOrigin originOf(Mosaic mosaic) {
    switch (mosaic) {
        case Mosaic::Rggb:
            return {0, 0};
        case Mosaic::Grbg:
            return {1, 0};
        case Mosaic::Gbrg:
            return {0, 1};
        case Mosaic::Bggr:
            return {1, 1};
    }
    return {0, 0};
}

Mosaic mosaicOf(MosaicOrigin origin) {
    constexpr Mosaic byOrigin[2][2] = {{Mosaic::Rggb, Mosaic::Grbg}, {Mosaic::Gbrg, Mosaic::Bggr}};
    return byOrigin[origin.y & 1][origin.x & 1];
}

}  // namespace vexcap::cameras
