#include "companions/cameras/simulated/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "companions/cameras/simulated/noise.h"

namespace vexcap::cameras {
namespace scene_test {

constexpr SceneName allScenes[] = {SceneName::Cell, SceneName::Hubble, SceneName::Ihc, SceneName::Moon};
constexpr Mosaic allMosaics[] = {Mosaic::Rggb, Mosaic::Grbg, Mosaic::Gbrg, Mosaic::Bggr};

TEST(Picture, EachOneDecodesToItsKnownSize) {
    const struct {
        SceneName name;
        uint32_t width, height, channels;
    } table[] = {{SceneName::Cell, 550, 660, 1},
                 {SceneName::Hubble, 1000, 872, 3},
                 {SceneName::Ihc, 512, 512, 3},
                 {SceneName::Moon, 512, 512, 1}};
    for (const auto& line : table) {
        const Picture picture = loadPicture(line.name);
        EXPECT_EQ(picture.width, line.width);
        EXPECT_EQ(picture.height, line.height);
        EXPECT_EQ(picture.channels, line.channels);
        ASSERT_EQ(picture.samples.size(), size_t(line.width) * line.height * line.channels);
        const auto [darkest, brightest] = std::ranges::minmax(picture.samples);
        EXPECT_GT(brightest - darkest, 100) << "a picture, not a plane";
    }
}

TEST(Scene, LightStaysBetweenDarkAndFull) {
    for (const SceneName name : allScenes) {
        const auto scene = sceneFor(name, 160, 120, std::nullopt);
        EXPECT_EQ(scene->width, 160u);
        EXPECT_EQ(scene->height, 120u);
        for (const auto& map : scene->light) {
            ASSERT_EQ(map.size(), scene->stride() * (scene->height + 2 * scene->margin));
            const auto [darkest, brightest] = std::ranges::minmax(map);
            EXPECT_GE(darkest, 0);
            EXPECT_LE(brightest, 1);
            EXPECT_GT(brightest, 0.3f) << "something can be seen";
        }
    }
}

TEST(Scene, OnlyTheMoonMoves) {
    for (const SceneName name : allScenes) {
        const bool moves = name == SceneName::Moon;
        const auto scene = sceneFor(name, 160, 120, std::nullopt);
        EXPECT_EQ(scene->margin, moves ? sceneMargin : 0u);
        EXPECT_EQ(scene->light.size(), moves ? 4u : 1u) << "maps at half pixels";
        const Displacement move = sceneDisplacement(*scene, 1, 20);
        EXPECT_EQ(move.x != 0 || move.y != 0, moves);
    }
    EXPECT_EQ(sceneFor(SceneName::Moon, 160, 120, Mosaic::Rggb)->light.size(), 1u) << "a mosaic moves by cells";
}

TEST(Scene, ASensorOfTheSameKindSharesItAndTheLastOneFreesIt) {
    std::weak_ptr<const Scene> watched;
    {
        const auto first = sceneFor(SceneName::Cell, 80, 60, std::nullopt);
        EXPECT_EQ(first, sceneFor(SceneName::Cell, 80, 60, std::nullopt));
        EXPECT_NE(first, sceneFor(SceneName::Cell, 80, 60, Mosaic::Rggb));
        EXPECT_NE(first, sceneFor(SceneName::Cell, 82, 60, std::nullopt));
        watched = first;
    }
    EXPECT_TRUE(watched.expired());
}

TEST(Scene, EachPixelOfAMosaicSeesItsOwnColour) {
    // Whatever the mosaic, a colour has one value at a place; so maps agree where their colours do.
    const auto colourAt = [](Mosaic mosaic, uint32_t x, uint32_t y) {
        const MosaicOrigin red = originOf(mosaic);
        return ((x ^ red.x) & 1) + ((y ^ red.y) & 1);
    };
    double sums[3] = {};
    for (const Mosaic one : allMosaics)
        for (const Mosaic other : allMosaics) {
            const auto a = sceneFor(SceneName::Ihc, 64, 48, one);
            const auto b = sceneFor(SceneName::Ihc, 64, 48, other);
            for (uint32_t y = 0; y < 48; ++y)
                for (uint32_t x = 0; x < 64; ++x) {
                    if (colourAt(one, x, y) == colourAt(other, x, y)) {
                        ASSERT_EQ(*a->at(0, x, y), *b->at(0, x, y));
                    }
                    sums[colourAt(one, x, y)] += double(*a->at(0, x, y)) * (colourAt(one, x, y) == 1 ? 0.5 : 1);
                }
        }
    EXPECT_GT(sums[0], sums[2] * 1.05) << "brown stain: more red than blue";
}

TEST(Scene, TheMosaicsOriginIsWhereItsNameSays) {
    for (const Mosaic mosaic : allMosaics) EXPECT_EQ(mosaicOf(originOf(mosaic)), mosaic);
    EXPECT_EQ(originOf(Mosaic::Grbg).x, 1u);
    EXPECT_EQ(originOf(Mosaic::Grbg).y, 0u);
    EXPECT_EQ(originOf(Mosaic::Gbrg).x, 0u);
    EXPECT_EQ(originOf(Mosaic::Gbrg).y, 1u);
}

TEST(Scene, AHalfPixelMapLiesBetweenItsNeighbours) {
    const auto scene = sceneFor(SceneName::Moon, 1000, 800, std::nullopt);
    double halfError = 0;
    double wholeError = 0;
    for (uint32_t y = 400; y < 500; ++y)
        for (uint32_t x = 500; x < 600; ++x) {
            const float mean = (*scene->at(0, x, y) + *scene->at(0, x - 1, y)) / 2;
            halfError += std::abs(*scene->at(1, x, y) - mean);
            wholeError += std::abs(*scene->at(0, x, y) - mean);
        }
    EXPECT_LT(halfError, wholeError / 4);
}

TEST(Scene, MovesDependOnSeedAndTimeAloneAndStayInTheMargin) {
    const auto scene = sceneFor(SceneName::Moon, 160, 120, std::nullopt);
    int steps = 0;
    Displacement before;
    for (int i = 0; i < 20000; ++i) {
        const double time = i / 30.0;
        const Displacement move = sceneDisplacement(*scene, 5, time);
        const Displacement again = sceneDisplacement(*scene, 5, time);
        ASSERT_TRUE(move.x == again.x && move.y == again.y);
        ASSERT_LT(std::abs(move.x), int32_t(2 * sceneMargin - 2));
        ASSERT_LT(std::abs(move.y), int32_t(2 * sceneMargin - 2));
        if (i > 0) {
            ASSERT_LE(std::abs(move.x - before.x), 8) << "it trembles, it does not jump";
            steps += move.x != before.x;
        }
        before = move;
    }
    EXPECT_GT(steps, 1000);
    const Displacement other = sceneDisplacement(*scene, 6, 10);
    const Displacement one = sceneDisplacement(*scene, 5, 10);
    EXPECT_TRUE(other.x != one.x || other.y != one.y);
}

TEST(Noise, HasMeanZeroAndVarianceOne) {
    const auto table = noiseTable();
    ASSERT_EQ(table.size(), noisePlaces + longestNoiseRow);
    const double mean = std::accumulate(table.begin(), table.end(), 0.0) / double(table.size());
    double variance = 0;
    for (const float value : table) variance += (value - mean) * (value - mean);
    variance /= double(table.size());
    EXPECT_NEAR(mean, 0, 0.02);
    EXPECT_NEAR(variance, 1, 0.02);
    EXPECT_EQ(table.data(), noiseTable().data());
}

TEST(Noise, StirredKeysDiffer) {
    EXPECT_EQ(stir(1, 2), stir(1, 2));
    EXPECT_NE(stir(1, 2), stir(2, 1));
    EXPECT_NE(stir(0, 0), stir(0, 1));
    for (uint64_t i = 0; i < 1000; ++i) {
        EXPECT_GE(stirUnit(3, i), 0);
        EXPECT_LT(stirUnit(3, i), 1);
    }
}

}  // namespace scene_test
}  // namespace vexcap::cameras
