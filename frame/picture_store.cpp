#include "frame/picture_store.h"

#include <algorithm>

namespace vexcap {

PictureStore::PictureStore(SinkMode mode, uint32_t bytesPerPixel) {
    if (mode == SinkMode::Owned) form.emplace<OwnedPictures>();
    if (mode == SinkMode::Copying) form.emplace<CopiedPicture>();
    sizes.bytesPerPixel = bytesPerPixel == 4 && mode != SinkMode::Copying ? 4 : memoryBytesPerPixel;
}

void PictureStore::putSize(PictureSize size) {
    announced = size;
    sizes.present = size;
}

void PictureStore::raiseSensorDepth(uint32_t bits) { sizes.sensorDepth = std::max(sizes.sensorDepth, bits); }

void PictureStore::useTexture(std::unique_ptr<ISharedTexture> texture, void* device, void* context) {
    PooledSamples kept;
    if (auto* const pooled = std::get_if<PooledPictures>(&form)) {
        kept = pooled->takeSamples();
    } else if (auto* const shared = std::get_if<TexturePicture>(&form)) {
        kept = shared->takeSamples();
    } else {
        return;
    }
    offered = {};
    if (texture) {
        offered = {device, context, texture->Handle()};
        form.emplace<TexturePicture>(std::move(texture), std::move(kept));
    } else {
        form.emplace<PooledPictures>(std::move(kept));
    }
}

void PictureStore::resize() {
    withForm([this](auto& kept) { kept.resize(sizes); });
}

void PictureStore::want(uint32_t kind) {
    wantedKind = kind;
    if (kind != uint32_t(PictureKind::Raw) && kind != uint32_t(PictureKind::Deep)) return;
    withForm([&](auto& kept) { kept.make(PictureKind(kind), sizes); });
}

void PictureStore::lend(void** outDisplay, void** outRaw, void** outDeep) {
    const bool raw = outRaw && wantedKind == uint32_t(PictureKind::Raw);
    const bool deep = outDeep && wantedKind == uint32_t(PictureKind::Deep);
    withForm([&](auto& kept) { kept.lend(loan, sizes, raw, deep); });
    if (outDisplay) *outDisplay = loan.display.data();
    if (outRaw) *outRaw = loan.raw.data();
    if (outDeep) *outDeep = loan.deep.data();
}

bool PictureStore::mayBeRead(const void* frame, PictureSize frameSize) const {
    const PictureSize size = sizeOf(frameSize);
    const uint64_t bytes = pictureBytes(size.width, size.height, sizes.bytesPerPixel);
    return bytes == 0 || frame != loan.display.data() || loan.display.holds(bytes);
}

bool PictureStore::take(const SourceFrame& frame) {
    const PictureSize size = sizeOf(frame.size);
    const uint64_t bytes = pictureBytes(size.width, size.height, sizes.bytesPerPixel);
    const bool taken = withForm([&](auto& kept) {
        if (!kept.take(frame, bytes, sizes)) return false;
        if (kept.keepsFrameTag) tags.frame = frame.frameTag;
        return true;
    });
    if (!taken) return false;
    sizes.present = size;
    keepTags(frame);
    return true;
}

void PictureStore::takeBehindHook(const SourceFrame& frame) {
    const uint64_t bytes = pictureBytes(frame.size.width, frame.size.height, sizes.bytesPerPixel);
    if (withForm([&](auto& kept) { return kept.takeBehindHook(frame, bytes); })) sizes.present = frame.size;
    keepTags(frame);
}

void PictureStore::keepTags(const SourceFrame& frame) {
    tags.raw = frame.rawTag;
    tags.rawDepth = frame.fullDepth ? sizes.sensorDepth : 8;
    tags.stamp = frame.stamp;
}

PixelBuffer PictureStore::feedTarget() {
    return withForm([this](auto& kept) { return kept.feedTarget(sizes, loan.display); });
}

void PictureStore::forgetDisplay() {
    forgetSize();
    withForm([](auto& kept) { kept.forgetDisplay(); });
}

void PictureStore::reset() {
    withForm([this](auto& kept) {
        if (!kept.resets) return;
        kept.forget();
        forgetSize();
        tags.raw = 0;
        tags.rawDepth = 0;
    });
}

const uint8_t* PictureStore::display() const {
    return withForm([](const auto& kept) { return kept.view(PictureKind::Display).pixels; });
}

const uint8_t* PictureStore::readable(PictureKind kind, uint64_t bytes) const {
    const PictureView view = withForm([kind](const auto& kept) { return kept.view(kind); });
    return bytes != 0 && bytes <= view.capacity ? view.pixels : nullptr;
}

const uint8_t* PictureStore::readableDisplay() const {
    return readable(PictureKind::Display, pictureBytes(sizes.present.width, sizes.present.height, sizes.bytesPerPixel));
}

const uint8_t* PictureStore::readableRaw() const {
    return readable(PictureKind::Raw,
                    packedBytes(sizes.present.width, sizes.present.height, rawSampleBytes(tags.rawDepth)));
}

const uint8_t* PictureStore::readableDeep() const {
    return readable(PictureKind::Deep, pictureBytes(sizes.present.width, sizes.present.height, deepBytesPerPixel));
}

ISharedTexture* PictureStore::texture() const {
    return withForm([](const auto& kept) { return kept.texture(); });
}

PictureSize PictureStore::sizeOf(PictureSize told) const {
    if (!told.empty()) return told;
    return sizes.present.empty() ? announced : sizes.present;
}

}  // namespace vexcap
