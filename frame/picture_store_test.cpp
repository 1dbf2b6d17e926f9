#include "frame/picture_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/dib.h"
#include "platform/fake/fake_texture.h"

namespace vexcap::test {
namespace picture_store_test {

constexpr PictureSize small = {20, 10}, wide = {40, 10}, tall = {10, 40};
constexpr SinkMode everyMode[] = {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying};

struct Lent {
    void* display = nullptr;
    void* raw = nullptr;
    void* deep = nullptr;
};
Lent lend(PictureStore& store) {
    Lent made;
    store.lend(&made.display, &made.raw, &made.deep);
    return made;
}

PictureStore storeOf(SinkMode mode, PictureSize size = small) {
    PictureStore store(mode, 3);
    store.putSize(size);
    store.resize();
    return store;
}

SourceFrame frameOf(const void* display, PictureSize size = small) {
    return {display, nullptr, nullptr, false, 0, size, 0};
}

std::vector<uint8_t> pixelsOf(PictureSize size, uint8_t value) {
    return std::vector<uint8_t>(dibStride(size.width, 3) * size.height, value);
}

/// A frame as the mode has it come: in the buffer that is lent, or in memory of the source's own.
bool show(PictureStore& store, const std::vector<uint8_t>& pixels, PictureSize size = small) {
    void* const display = lend(store).display;
    if (!display) return store.take(frameOf(pixels.data(), size));
    std::memcpy(display, pixels.data(), pixels.size());
    return store.take(frameOf(display, size));
}

bool reads(const PictureStore& store, const std::vector<uint8_t>& pixels) {
    const uint8_t* const shown = store.readableDisplay();
    return shown && std::equal(pixels.begin(), pixels.end(), shown);
}

TEST(TextureValue, IsOneAndNothingElse) {
    int pixel = 0;
    EXPECT_TRUE(isTexture(reinterpret_cast<const void*>(uintptr_t(1))));
    EXPECT_FALSE(isTexture(nullptr));
    EXPECT_FALSE(isTexture(reinterpret_cast<const void*>(uintptr_t(2))));
    EXPECT_FALSE(isTexture(&pixel));
}

TEST(PictureStore, ShowsTheLastFrameInEveryMode) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        EXPECT_FALSE(store.shows());
        for (const uint8_t value : {uint8_t(7), uint8_t(8), uint8_t(9)}) {
            const auto pixels = pixelsOf(small, value);
            ASSERT_TRUE(show(store, pixels));
            EXPECT_TRUE(store.shows());
            EXPECT_TRUE(reads(store, pixels));
        }
        EXPECT_EQ(store.texture(), nullptr);
    }
}

TEST(PictureStore, SwapsTheTwoBuffersOfAPoolAndCopiesNothing) {
    PictureStore store = storeOf(SinkMode::Pooled);
    void* const first = lend(store).display;
    ASSERT_TRUE(store.take(frameOf(first)));
    EXPECT_EQ(store.readableDisplay(), first);
    void* const second = lend(store).display;
    EXPECT_NE(second, first);
    ASSERT_TRUE(store.take(frameOf(second)));
    EXPECT_EQ(store.readableDisplay(), second);
    EXPECT_EQ(lend(store).display, first);
}

TEST(PictureStore, CopiesAFrameInForeignMemoryIntoTheBufferThatIsNotShown) {
    PictureStore store = storeOf(SinkMode::Pooled);
    void* const shown = lend(store).display;
    ASSERT_TRUE(store.take(frameOf(shown)));
    const auto foreign = pixelsOf(small, 5);
    ASSERT_TRUE(store.take(frameOf(foreign.data())));
    EXPECT_TRUE(reads(store, foreign));
    EXPECT_NE(store.readableDisplay(), shown);
    EXPECT_NE(store.readableDisplay(), foreign.data());
}

TEST(PictureStore, LendsTheOneBufferOfAnOwnedStoreAgainAndAgain) {
    PictureStore store = storeOf(SinkMode::Owned);
    void* const lent = lend(store).display;
    ASSERT_NE(lent, nullptr);
    ASSERT_TRUE(store.take(frameOf(lent)));
    EXPECT_EQ(lend(store).display, lent);
    EXPECT_EQ(store.readableDisplay(), lent);
}

TEST(PictureStore, LendsNothingWhereFramesAreCopied) {
    PictureStore store = storeOf(SinkMode::Copying);
    store.raiseSensorDepth(12);
    for (const uint32_t kind : {0u, 1u, 2u}) {
        store.want(kind);
        const Lent lent = lend(store);
        EXPECT_EQ(lent.display, nullptr);
        EXPECT_EQ(lent.raw, nullptr);
        EXPECT_EQ(lent.deep, nullptr);
    }
}

TEST(PictureStore, LendsRawOrDeepBuffersOnlyWhereTheyAreWanted) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned}) {
        PictureStore store = storeOf(mode);
        store.raiseSensorDepth(12);
        EXPECT_EQ(lend(store).raw, nullptr);
        store.want(1);
        EXPECT_NE(lend(store).raw, nullptr);
        EXPECT_EQ(lend(store).deep, nullptr);
        store.want(2);
        EXPECT_EQ(lend(store).raw, nullptr);
        EXPECT_NE(lend(store).deep, nullptr);
        store.lend(nullptr, nullptr, nullptr);  // asked for nothing, and not written through
        store.want(3);
        EXPECT_EQ(lend(store).deep, nullptr);
    }
}

TEST(PictureStore, LendsNoRawBufferThatASampleOfMoreBitsHasOutgrown) {
    PictureStore store = storeOf(SinkMode::Pooled);
    store.want(1);
    ASSERT_NE(lend(store).raw, nullptr);
    store.raiseSensorDepth(16);
    EXPECT_EQ(lend(store).raw, nullptr);
    store.want(1);
    EXPECT_NE(lend(store).raw, nullptr);
}

TEST(PictureStore, TakesRawAndDeepPicturesFromItsOwnBuffersAlone) {
    PictureStore store = storeOf(SinkMode::Pooled);
    store.raiseSensorDepth(12);
    store.want(1);
    const Lent lent = lend(store);
    const std::vector<uint8_t> foreign(small.width * small.height * 2);
    ASSERT_TRUE(store.take({lent.display, foreign.data(), nullptr, true, 77, small, 0}));
    EXPECT_EQ(store.readableRaw(), nullptr);
    ASSERT_TRUE(store.take({lent.display, lent.raw, nullptr, true, 78, small, 0}));
    EXPECT_EQ(store.readableRaw(), lent.raw);
    EXPECT_EQ(store.rawTag(), 78u);
    EXPECT_EQ(store.rawDepth(), 12u);
    ASSERT_TRUE(store.take({lent.display, lent.raw, nullptr, false, 78, small, 0}));
    EXPECT_EQ(store.rawDepth(), 8u);
}

TEST(PictureStore, RefusesAFrameThatItsBufferDoesNotHoldAndKeepsTheOneThatItHas) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned}) {
        PictureStore store = storeOf(mode);
        const auto pixels = pixelsOf(small, 3);
        ASSERT_TRUE(show(store, pixels));
        for (const PictureSize claimed : {wide, PictureSize{UINT32_MAX, UINT32_MAX}, PictureSize{1, UINT32_MAX}}) {
            EXPECT_FALSE(store.take(frameOf(lend(store).display, claimed)));
            EXPECT_EQ(store.size(), small);
            EXPECT_TRUE(store.shows());
        }
    }
}

TEST(PictureStore, MakesALargerBufferWhereFramesAreCopied) {
    PictureStore store = storeOf(SinkMode::Copying);
    ASSERT_TRUE(show(store, pixelsOf(small, 1)));
    const auto larger = pixelsOf(wide, 2);
    ASSERT_TRUE(store.take(frameOf(larger.data(), wide)));
    EXPECT_EQ(store.size(), wide);
    EXPECT_TRUE(reads(store, larger));
    EXPECT_FALSE(store.take(frameOf(larger.data(), {UINT32_MAX, 1})));
    EXPECT_TRUE(reads(store, larger));
}

TEST(PictureStore, HasRoomForTheLargestFrameAndForTurnedOnes) {
    PictureStore store(SinkMode::Pooled, 3);
    store.putLargest(wide);
    store.putSize(small);
    store.resize();
    for (const PictureSize size : {small, wide, tall}) EXPECT_TRUE(show(store, pixelsOf(size, 1), size));
}

TEST(PictureStore, HidesAPictureThatIsSmallerThanTheSizeToCome) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        ASSERT_TRUE(show(store, pixelsOf(small, 1)));
        store.putSize(wide);
        EXPECT_EQ(store.readableDisplay(), nullptr);
        EXPECT_EQ(store.announcedSize(), wide);
    }
}

TEST(PictureStore, TakesTheStoredSizeForAFrameWithoutOneAndTheAnnouncedSizeWhereThatWasForgotten) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        ASSERT_TRUE(show(store, pixelsOf(small, 1), {0, 0}));
        EXPECT_EQ(store.size(), small);
        store.forgetSize();
        EXPECT_TRUE(store.size().empty());
        ASSERT_TRUE(show(store, pixelsOf(small, 2), {0, 0}));
        EXPECT_EQ(store.size(), small);
    }
}

TEST(PictureStore, SaysWhatMayBeReadOfTheBufferThatIsLentAndBelievesTheRest) {
    PictureStore store = storeOf(SinkMode::Pooled);
    const void* const lent = lend(store).display;
    int elsewhere = 0;
    EXPECT_TRUE(store.mayBeRead(lent, small));
    EXPECT_TRUE(store.mayBeRead(lent, {0, 0}));
    EXPECT_FALSE(store.mayBeRead(lent, wide));
    EXPECT_FALSE(store.mayBeRead(lent, {UINT32_MAX, UINT32_MAX}));
    EXPECT_TRUE(store.mayBeRead(&elsewhere, wide));
}

TEST(PictureStore, KeepsALentBufferAliveWhenItMakesOthers) {
    PictureStore store = storeOf(SinkMode::Pooled);
    auto* const lent = static_cast<uint8_t*>(lend(store).display);
    store.putSize(wide);
    store.resize();
    lent[0] = 1;  // freed memory would be noticed by the sanitizer
    EXPECT_FALSE(store.mayBeRead(lent, wide));
}

TEST(PictureStore, KeepsOfAFrameBehindAHookItsSizeAndItsRawPicture) {
    PictureStore store = storeOf(SinkMode::Pooled, wide);
    store.want(1);
    const Lent lent = lend(store);
    store.takeBehindHook({lent.display, lent.raw, nullptr, false, 9, small, 0});
    EXPECT_FALSE(store.shows());
    EXPECT_EQ(store.size(), small);
    EXPECT_EQ(store.readableRaw(), lent.raw);
    EXPECT_EQ(store.rawTag(), 9u);
    store.takeBehindHook(frameOf(lent.display, {UINT32_MAX, 2}));
    EXPECT_EQ(store.size(), small);
}

TEST(PictureStore, FeedsThePictureThatIsShown) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        ASSERT_TRUE(show(store, pixelsOf(small, 1)));
        EXPECT_EQ(store.feedTarget().data(), store.readableDisplay());
    }
}

TEST(PictureStore, FeedsWhileNothingIsShownWhereTheSourceDoesNotWrite) {
    PictureStore pooled = storeOf(SinkMode::Pooled);
    const void* const lent = lend(pooled).display;
    EXPECT_NE(pooled.feedTarget().data(), nullptr);
    EXPECT_NE(pooled.feedTarget().data(), lent);
    PictureStore owned = storeOf(SinkMode::Owned);
    EXPECT_NE(owned.feedTarget().data(), nullptr);
    EXPECT_EQ(storeOf(SinkMode::Copying).feedTarget().data(), nullptr);
}

TEST(PictureStore, ForgetsTheDisplayPictureUntilTheNextFrame) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        const auto pixels = pixelsOf(small, 1);
        ASSERT_TRUE(show(store, pixels));
        store.forgetDisplay();
        EXPECT_FALSE(store.shows());
        EXPECT_TRUE(store.size().empty());
        ASSERT_TRUE(show(store, pixels));
        EXPECT_TRUE(reads(store, pixels));
    }
}

TEST(PictureStore, ResetsPooledPicturesAlone) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        ASSERT_TRUE(show(store, pixelsOf(small, 1)));
        store.reset();
        EXPECT_EQ(store.shows(), mode != SinkMode::Pooled);
        EXPECT_EQ(store.size().empty(), mode == SinkMode::Pooled);
    }
}

TEST(PictureStore, PassesOnTheTagOfOwnedPicturesAlone) {
    for (const SinkMode mode : everyMode) {
        PictureStore store = storeOf(mode);
        const auto pixels = pixelsOf(small, 1);
        const void* const lent = lend(store).display;
        ASSERT_TRUE(store.take({lent ? lent : pixels.data(), nullptr, nullptr, false, 0, small, 42}));
        EXPECT_EQ(store.frameTag(), mode == SinkMode::Owned ? 42u : 0u);
    }
}

TEST(PictureStore, IsMadeWithFourBytesAPixelOnlyWhereNothingIsCopied) {
    for (const SinkMode mode : everyMode) {
        EXPECT_EQ(PictureStore(mode, 4).bytesPerPixel(), mode == SinkMode::Copying ? 3u : 4u);
        EXPECT_EQ(PictureStore(mode, 3).bytesPerPixel(), 3u);
    }
}

TEST(PictureStoreInATexture, ShowsNothingInMemoryAndKeepsItsRawBuffers) {
    FakeTextures textures;
    int device = 0, context = 0;
    PictureStore store = storeOf(SinkMode::Pooled);
    store.want(1);
    const Lent before = lend(store);
    store.useTexture(textures.Create(&device, &context, nullptr, small.width, small.height), &device, &context);
    store.resize();
    ASSERT_NE(store.texture(), nullptr);
    EXPECT_EQ(store.textureTarget().device, &device);
    EXPECT_EQ(store.textureTarget().context, &context);
    EXPECT_EQ(store.textureTarget().texture, store.texture()->Handle());
    EXPECT_EQ(store.bytesPerPixel(), 4u);
    const Lent lent = lend(store);
    EXPECT_EQ(lent.display, nullptr);
    EXPECT_EQ(lent.raw, before.raw);
    const auto pixels = pixelsOf(small, 1);
    EXPECT_FALSE(store.take(frameOf(pixels.data())));
    EXPECT_FALSE(store.shows());
    EXPECT_EQ(store.feedTarget().data(), nullptr);
    store.takeBehindHook({pixels.data(), lent.raw, nullptr, false, 5, small, 0});
    EXPECT_EQ(store.readableRaw(), lent.raw);
}

TEST(PictureStoreInATexture, ComesBackToMemory) {
    FakeTextures textures;
    int device = 0;
    PictureStore store = storeOf(SinkMode::Pooled);
    store.useTexture(textures.Create(&device, nullptr, nullptr, small.width, small.height), &device, nullptr);
    store.resize();
    store.useTexture(nullptr, nullptr, nullptr);
    EXPECT_EQ(textures.alive, 0u);
    EXPECT_EQ(store.textureTarget().device, nullptr);
    store.resize();
    EXPECT_EQ(store.bytesPerPixel(), 3u);
    const auto pixels = pixelsOf(small, 1);
    ASSERT_TRUE(show(store, pixels));
    EXPECT_TRUE(reads(store, pixels));
}

TEST(PictureStoreInATexture, IsPooledAndOfNoOtherMode) {
    FakeTextures textures;
    for (const SinkMode mode : {SinkMode::Owned, SinkMode::Copying}) {
        PictureStore store = storeOf(mode);
        ASSERT_TRUE(show(store, pixelsOf(small, 1)));
        store.useTexture(textures.Create(&textures, nullptr, nullptr, small.width, small.height), &textures, nullptr);
        EXPECT_EQ(store.texture(), nullptr);
        EXPECT_EQ(store.textureTarget().device, nullptr);
        EXPECT_TRUE(store.shows());
    }
    EXPECT_EQ(textures.alive, 0u);
}

}  // namespace picture_store_test
}  // namespace vexcap::test
