#include "companions/cameras/simulated/sensor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "companions/cameras/simulated/noise.h"
#include "companions/cameras/simulated/settings.h"
#include "platform/fake/allocations.h"

namespace vexcap::cameras {
namespace simulated_sensor_test {

constexpr uint32_t depths[] = {8, 12};
constexpr uint32_t factors[] = {1, 2, 4};

// A sensor small enough for quick tests. A full well without end has no noise that could be seen.
SimulatedModel smallModel(std::optional<Mosaic> mosaic, SceneName scene, float fullWell = 1e12f, uint32_t width = 96,
                          uint32_t height = 64) {
    return {u"test", u"test", width, height, mosaic, depths, 12, factors, 3, 100, 1000, 100'000, fullWell, 0, scene};
}

SimulatedSensor sensorOf(const SimulatedModel& model, uint64_t seed = 1) {
    return SimulatedSensor(model, sceneFor(model.scene, model.width, model.height, model.mosaic), seed);
}

SensorView wholeOf(const SimulatedModel& model) { return {0, 0, model.width, model.height, 1, 0}; }

SensorExposure exposureOf(const SimulatedModel& model, uint32_t depth = 12) {
    SensorExposure exposure;
    exposure.depth = depth;
    exposure.microseconds = model.exposure;
    exposure.black = 16;
    exposure.noiseKey = 7;
    return exposure;
}

// A frame as a picture with its first row at the top.
struct Grid {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint16_t> samples;

    explicit Grid(const SensorFrame& frame) : width(frame.width), height(frame.height) {
        EXPECT_FALSE(frame.topDown);
        EXPECT_EQ(frame.rowBytes, frame.width * (frame.depth > 8 ? 2u : 1u));
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const size_t place = size_t(height - 1 - y) * width + x;
                samples.push_back(frame.depth > 8 ? static_cast<const uint16_t*>(frame.samples)[place]
                                                  : static_cast<const uint8_t*>(frame.samples)[place]);
            }
    }
    uint16_t At(uint32_t x, uint32_t y) const { return samples[size_t(y) * width + x]; }
    double Mean() const {
        double sum = 0;
        for (const uint16_t sample : samples) sum += sample;
        return sum / double(samples.size());
    }
};

TEST(SimulatedSensor, EqualKeysGiveEqualFramesAndOthersDoNot) {
    const SimulatedModel model = smallModel(Mosaic::Rggb, SceneName::Hubble, 1000);
    SimulatedSensor one = sensorOf(model);
    SimulatedSensor other = sensorOf(model);
    SensorExposure exposure = exposureOf(model);
    const Grid first(one.Expose(wholeOf(model), exposure));
    exposure.noiseKey = 8;
    const Grid second(one.Expose(wholeOf(model), exposure));
    EXPECT_NE(first.samples, second.samples);
    EXPECT_EQ(second.samples, Grid(other.Expose(wholeOf(model), exposure)).samples);
    exposure.noiseKey = 7;
    EXPECT_EQ(first.samples, Grid(one.Expose(wholeOf(model), exposure)).samples)
        << "no frame depends on the one before";
}

TEST(SimulatedSensor, BrightnessFollowsExposureAndGainUntilItSaturates) {
    for (const uint32_t depth : depths) {
        const SimulatedModel model = smallModel(std::nullopt, SceneName::Cell);
        SimulatedSensor sensor = sensorOf(model);
        SensorExposure exposure = exposureOf(model, depth);
        exposure.microseconds = 250;
        const double quarter = Grid(sensor.Expose(wholeOf(model), exposure)).Mean() - 16;
        exposure.microseconds = 500;
        const double half = Grid(sensor.Expose(wholeOf(model), exposure)).Mean() - 16;
        EXPECT_NEAR(half / quarter, 2, 0.02) << depth;
        exposure.gain = 200;
        const double gained = Grid(sensor.Expose(wholeOf(model), exposure)).Mean() - 16;
        EXPECT_NEAR(gained / half, 2, 0.02) << depth;
        exposure.microseconds = 100'000;
        exposure.gain = 3200;
        const Grid full(sensor.Expose(wholeOf(model), exposure));
        EXPECT_EQ(full.Mean(), (1 << depth) - 1);
        exposure.microseconds = 0;
        EXPECT_EQ(Grid(sensor.Expose(wholeOf(model), exposure)).Mean(), 16) << "the black level alone";
    }
}

TEST(SimulatedSensor, NoiseHasTheVarianceOfItsElectrons) {
    SimulatedModel model = smallModel(std::nullopt, SceneName::Cell, 4095);
    model.readNoise = 10;
    SimulatedSensor sensor = sensorOf(model);
    SensorExposure exposure = exposureOf(model);
    // With one electron a count, the mean of squared differences of two exposures is twice signal + read variance.
    const Grid one(sensor.Expose(wholeOf(model), exposure));
    exposure.noiseKey = 1234;
    const Grid other(sensor.Expose(wholeOf(model), exposure));
    double squares = 0;
    for (size_t i = 0; i < one.samples.size(); ++i) squares += std::pow(double(one.samples[i]) - other.samples[i], 2);
    const double variance = squares / double(one.samples.size()) / 2;
    EXPECT_NEAR(variance / (one.Mean() - 16 + 100), 1, 0.1);
}

TEST(SimulatedSensor, EightBitsShowTheSamePictureAsTwelve) {
    const SimulatedModel model = smallModel(Mosaic::Grbg, SceneName::Ihc);
    SimulatedSensor sensor = sensorOf(model);
    SensorExposure exposure = exposureOf(model, 8);
    exposure.black = 0;
    const Grid narrow(sensor.Expose(wholeOf(model), exposure));
    exposure.depth = 12;
    const Grid wide(sensor.Expose(wholeOf(model), exposure));
    for (size_t i = 0; i < wide.samples.size(); ++i)
        ASSERT_NEAR(narrow.samples[i] / 255.0, wide.samples[i] / 4095.0, 1 / 255.0);
}

TEST(SimulatedSensor, ARegionIsThatPartOfTheWholeFrame) {
    for (const SceneName scene : {SceneName::Moon, SceneName::Ihc})
        for (const auto mosaic : {std::optional<Mosaic>(), std::optional(Mosaic::Gbrg)}) {
            const SimulatedModel model = smallModel(mosaic, scene, 1e12f, 320, 240);
            SimulatedSensor sensor = sensorOf(model, 3);
            SensorExposure exposure = exposureOf(model);
            exposure.seconds = 12.34;
            const Grid whole(sensor.Expose(wholeOf(model), exposure));
            const SensorFrame frame = sensor.Expose({30, 14, 80, 48, 1, 0}, exposure);
            EXPECT_EQ(frame.colour, mosaic.has_value());
            if (mosaic) {
                EXPECT_EQ(frame.mosaic, *mosaic) << "an even corner keeps the mosaic";
            }
            const Grid part(frame);
            ASSERT_EQ(part.width, 80u);
            ASSERT_EQ(part.height, 48u);
            for (uint32_t y = 0; y < 48; ++y)
                for (uint32_t x = 0; x < 80; ++x) ASSERT_NEAR(part.At(x, y), whole.At(x + 30, y + 14), 1);
        }
}

TEST(SimulatedSensor, ATurnedFrameIsTheTurnedPicture) {
    for (const SceneName scene : {SceneName::Moon, SceneName::Ihc})
        for (const auto mosaic : {std::optional<Mosaic>(), std::optional(Mosaic::Grbg)}) {
            // Large enough for hot pixels, which turn as well.
            const SimulatedModel model = smallModel(mosaic, scene, 1e12f, 320, 240);
            SimulatedSensor sensor = sensorOf(model, 4);
            SensorExposure exposure = exposureOf(model);
            exposure.seconds = 3.21;
            SensorView view{10, 20, 200, 160, 1, 0};
            const Grid upright(sensor.Expose(view, exposure));
            for (const uint32_t turn : {90u, 180u, 270u}) {
                view.turn = turn;
                const Grid turned(sensor.Expose(view, exposure));
                ASSERT_EQ(turned.width, turn == 180 ? 200u : 160u);
                ASSERT_EQ(turned.height, turn == 180 ? 160u : 200u);
                for (uint32_t y = 0; y < 160; ++y)
                    for (uint32_t x = 0; x < 200; ++x) {
                        const uint16_t there = turn == 90    ? turned.At(159 - y, x)
                                               : turn == 180 ? turned.At(199 - x, 159 - y)
                                                             : turned.At(y, 199 - x);
                        ASSERT_NEAR(there, upright.At(x, y), 1) << turn << " at " << x << "," << y;
                    }
            }
        }
}

TEST(SimulatedSensor, TheMosaicTurnsWithThePicture) {
    const struct {
        Mosaic upright, right, half, left;
    } table[] = {{Mosaic::Rggb, Mosaic::Grbg, Mosaic::Bggr, Mosaic::Gbrg},
                 {Mosaic::Grbg, Mosaic::Bggr, Mosaic::Gbrg, Mosaic::Rggb},
                 {Mosaic::Gbrg, Mosaic::Rggb, Mosaic::Grbg, Mosaic::Bggr},
                 {Mosaic::Bggr, Mosaic::Gbrg, Mosaic::Rggb, Mosaic::Grbg}};
    for (const auto& line : table) {
        EXPECT_EQ((SensorView{0, 0, 16, 16, 1, 0}.Turned(line.upright)), line.upright);
        EXPECT_EQ((SensorView{0, 0, 16, 16, 1, 90}.Turned(line.upright)), line.right);
        EXPECT_EQ((SensorView{0, 0, 16, 16, 1, 180}.Turned(line.upright)), line.half);
        EXPECT_EQ((SensorView{0, 0, 16, 16, 1, 270}.Turned(line.upright)), line.left);
    }
}

TEST(SimulatedSensor, BinningGivesTheMeanOfPixelsOfOneColour) {
    for (const auto mosaic : {std::optional<Mosaic>(), std::optional(Mosaic::Rggb)})
        for (const uint32_t factor : {2u, 4u}) {
            const SimulatedModel model = smallModel(mosaic, SceneName::Ihc);  // too small for a hot pixel
            SimulatedSensor sensor = sensorOf(model);
            const SensorExposure exposure = exposureOf(model);
            const Grid whole(sensor.Expose(wholeOf(model), exposure));
            const SensorView view{6, 2, 50, 46, factor, 0};
            const Grid binned(sensor.Expose(view, exposure));
            ASSERT_EQ(binned.width, view.width / factor / 2 * 2);
            ASSERT_EQ(binned.height, view.height / factor / 2 * 2);
            const uint32_t apart = mosaic ? 2 : 1;
            for (uint32_t y = 0; y < binned.height; ++y)
                for (uint32_t x = 0; x < binned.width; ++x) {
                    double sum = 0;
                    for (uint32_t j = 0; j < factor; ++j)
                        for (uint32_t i = 0; i < factor; ++i)
                            sum += whole.At(6 + x / apart * apart * factor + x % apart + i * apart,
                                            2 + y / apart * apart * factor + y % apart + j * apart);
                    ASSERT_NEAR(binned.At(x, y), sum / (factor * factor), 1.1);
                }
        }
}

TEST(SimulatedSensor, BinningLessensNoise) {
    const SimulatedModel model = smallModel(std::nullopt, SceneName::Cell, 2000);
    SimulatedSensor sensor = sensorOf(model);
    double variances[2];
    for (const uint32_t factor : {1u, 4u}) {
        SensorView view = wholeOf(model);
        view.factor = factor;
        SensorExposure exposure = exposureOf(model);
        const Grid one(sensor.Expose(view, exposure));
        exposure.noiseKey = 99;
        const Grid other(sensor.Expose(view, exposure));
        double squares = 0;
        for (size_t i = 0; i < one.samples.size(); ++i)
            squares += std::pow(double(one.samples[i]) - other.samples[i], 2);
        variances[factor == 4] = squares / double(one.samples.size());
    }
    EXPECT_NEAR(variances[0] / variances[1], 16, 4);
}

TEST(SimulatedSensor, HotPixelsStayWhereTheyAreForASeed) {
    const SimulatedModel model = smallModel(std::nullopt, SceneName::Moon, 1e12f, 400, 300);
    const auto hotPlaces = [&](uint64_t seed, double seconds) {
        SimulatedSensor sensor = sensorOf(model, seed);
        SensorExposure exposure = exposureOf(model);
        exposure.seconds = seconds;
        const Grid grid(sensor.Expose(wholeOf(model), exposure));
        std::vector<size_t> places;
        for (size_t i = 0; i < grid.samples.size(); ++i) {
            const uint32_t x = uint32_t(i % 400), y = uint32_t(i / 400);
            // The sky beside the disc is dark.
            if (std::hypot(x - 200.0, y - 150.0) > 180 && grid.samples[i] > 200) places.push_back(i);
        }
        return places;
    };
    std::vector<size_t> places;
    uint64_t seed = 0;
    while (places.empty()) places = hotPlaces(++seed, 0);
    EXPECT_EQ(places, hotPlaces(seed, 30)) << "they belong to the sensor, not to the scene";
    EXPECT_NE(places, hotPlaces(seed + 1, 0));
}

TEST(SimulatedSensor, TheBalanceAmplifiesEachColourByItself) {
    const SimulatedModel model = smallModel(Mosaic::Grbg, SceneName::Ihc);
    SimulatedSensor sensor = sensorOf(model);
    SensorExposure exposure = exposureOf(model);
    exposure.microseconds /= 4;
    for (const uint32_t turn : {0u, 90u}) {
        SensorView view = wholeOf(model);
        view.turn = turn;
        exposure.balance = {100, 100, 100};
        const Grid plain(sensor.Expose(view, exposure));
        exposure.balance = {200, 100, 50};
        const Grid balanced(sensor.Expose(view, exposure));
        const MosaicOrigin red = originOf(view.Turned(Mosaic::Grbg));
        int wrong = 0;
        for (uint32_t y = 0; y < plain.height; ++y)
            for (uint32_t x = 0; x < plain.width; ++x) {
                const bool redColumn = x % 2 == red.x, redRow = y % 2 == red.y;
                const double factor = redColumn && redRow ? 2 : redColumn || redRow ? 1 : 0.5;
                const double want = (plain.At(x, y) - 16) * factor + 16;
                wrong += std::abs(balanced.At(x, y) - want) > 3;
            }
        EXPECT_LE(wrong, 2) << "but for hot pixels, at " << turn << " degrees";
    }
}

TEST(SimulatedSensor, AFrameIsMadeWithoutAllocating) {
    const SimulatedModel model = smallModel(Mosaic::Rggb, SceneName::Hubble);
    SimulatedSensor sensor = sensorOf(model);
    SensorExposure exposure = exposureOf(model);
    sensor.Expose(wholeOf(model), exposure);
    const uint64_t before = allocations();
    for (int i = 0; i < 10; ++i) {
        ++exposure.noiseKey;
        exposure.depth = i % 2 ? 8 : 12;
        sensor.Expose(wholeOf(model), exposure);
    }
    EXPECT_EQ(allocations(), before);
}

TEST(SimulatedSettings, PicturesAlwaysHaveEvenSides) {
    for (const SimulatedModel& model : simulatedModels()) {
        EXPECT_LE(std::max(model.width, model.height), longestNoiseRow);
        SimulatedSettings settings(model);
        for (uint32_t resolution = 0; resolution < model.resolutions.size(); ++resolution)
            for (const int32_t binning : {1, 2, 4})
                for (const int32_t rotation : {0, 90, 180, 270})
                    for (const bool region : {false, true}) {
                        ASSERT_EQ(settings.PutResolution(resolution), S_OK);
                        ASSERT_EQ(settings.PutBinning(binning), S_OK);
                        ASSERT_EQ(settings.PutRotation(rotation), S_OK);
                        ASSERT_EQ(region ? settings.PutRoi(2, 4, 18, 30) : settings.PutRoi(0, 0, 0, 0), S_OK);
                        const SensorView view = settings.View();
                        EXPECT_EQ(view.OutWidth() % 2 + view.OutHeight() % 2, 0u);
                        EXPECT_GE(std::min(view.OutWidth(), view.OutHeight()), 2u);
                        const uint32_t across = settings.roi.width / uint32_t(binning) & ~1u;
                        EXPECT_EQ(rotation % 180 ? view.OutHeight() : view.OutWidth(), across);
                    }
    }
}

TEST(SimulatedSettings, ARefusedValueChangesNothing) {
    SimulatedSettings settings(simulatedModels()[2]);
    for (const int32_t value : {0, 3, 5, 8, 15, 16, 0x40}) EXPECT_EQ(settings.PutBinning(value), E_INVALIDARG) << value;
    EXPECT_EQ(settings.PutBinning(0x42), S_OK) << "only the low four bits are the factor";
    EXPECT_EQ(settings.View().factor, 2u);
    for (const int32_t value : {-90, 45, 360, 1}) EXPECT_EQ(settings.PutRotation(value), E_INVALIDARG) << value;
    const uint32_t regions[][4] = {{1, 0, 64, 64},    {0, 1, 64, 64},          {0, 0, 63, 64},   {0, 0, 64, 63},
                                   {0, 0, 0, 64},     {0, 0, 14, 64},          {2, 0, 2592, 64}, {0, 0, 2594, 64},
                                   {0, 1936, 64, 16}, {4294967294u, 0, 64, 64}};
    ASSERT_EQ(settings.PutRoi(8, 16, 64, 32), S_OK);
    for (const auto& region : regions)
        EXPECT_EQ(settings.PutRoi(region[0], region[1], region[2], region[3]), E_INVALIDARG) << region[0];
    EXPECT_EQ(settings.roi.x, 8u);
    EXPECT_EQ(settings.roi.height, 32u);
    EXPECT_EQ(settings.PutRoi(0, 0, 0, 0), S_OK);
    EXPECT_EQ(settings.roi.width, 2592u);
    EXPECT_EQ(settings.PutResolution(3), E_INVALIDARG);
    EXPECT_EQ(settings.PutStill(3), E_INVALIDARG);
    EXPECT_EQ(SimulatedSettings(simulatedModels()[0]).PutStill(0), E_NOTIMPL);
    EXPECT_EQ(settings.Put(99, 0), E_NOTIMPL);
}

TEST(SimulatedSettings, AFrameTakesAsLongAsItsExposureReadoutAndLimit) {
    SimulatedSettings settings(simulatedModels()[0]);
    ASSERT_EQ(settings.Put(VEX_CONTROL_EXPOSURE, 100), S_OK);
    EXPECT_NEAR(double(settings.PeriodNanoseconds()), 1e9 / 170, 1000);
    ASSERT_EQ(settings.Put(VEX_CONTROL_BIT_DEPTH, 12), S_OK);
    EXPECT_NEAR(double(settings.PeriodNanoseconds()), 1e9 / 85, 1000);
    ASSERT_EQ(settings.PutRoi(0, 0, 1936, 548), S_OK);
    EXPECT_NEAR(double(settings.PeriodNanoseconds()), 1e9 / 170, 1000) << "fewer rows are read sooner";
    ASSERT_EQ(settings.Put(VEX_CONTROL_FRAME_RATE, 20), S_OK);
    EXPECT_EQ(settings.PeriodNanoseconds(), 50'000'000u);
    ASSERT_EQ(settings.Put(VEX_CONTROL_EXPOSURE, 80'000), S_OK);
    EXPECT_EQ(settings.PeriodNanoseconds(), 80'000'000u);
}

}  // namespace simulated_sensor_test
}  // namespace vexcap::cameras
