// The models of simulated cameras: numbers only.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "companions/cameras/simulated/scene.h"
#include "pixel/kernels.h"

namespace vexcap::cameras {

struct SimulatedModel {
    std::u16string_view identifier;
    std::u16string_view display;
    uint32_t width;   ///< Of the sensor, pixels.
    uint32_t height;  ///< Of the sensor, pixels.
    std::optional<Mosaic> mosaic;
    std::span<const uint32_t> depths;       ///< Bits of a sample, rising; the last one is what GetBitDepth tells.
    uint32_t depth;                         ///< At opening.
    std::span<const uint32_t> resolutions;  ///< Factor by which each one shrinks both sides of the sensor.
    uint32_t stillCount;                    ///< Still resolutions; the same factors, from 0 on.
    uint32_t fastestRate;                   ///< Whole frames a second at 8 bits; half of it at more.
    uint32_t exposure;                      ///< Microseconds at opening; fills the sensor at light 1 and gain 100.
    uint32_t longestExposure;               ///< Microseconds.
    float fullWell;                         ///< Electrons.
    float readNoise;                        ///< Electrons.
    SceneName scene;
};

std::span<const SimulatedModel> simulatedModels();

constexpr uint32_t shortestExposure = 32;  ///< Microseconds.
constexpr uint32_t smallestRoi = 16;       ///< Pixels, both sides.
constexpr uint32_t regionStep = 2;         ///< Pixels, offsets and sides.
constexpr uint32_t largestBinning = 4;     ///< Option 23.

/// Microseconds in which a sensor of `model` reads one frame of `rows` rows of a resolution shrunk by `factor`.
uint32_t readoutMicroseconds(const SimulatedModel& model, uint32_t depth, uint32_t factor, uint32_t rows);

/// Side of a picture shrunk by a factor: always even, so that a mosaic stays whole.
constexpr uint32_t shrunkSide(uint32_t side, uint32_t factor) { return side / factor & ~1u; }

}  // namespace vexcap::cameras
