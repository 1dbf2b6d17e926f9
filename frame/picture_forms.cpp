#include "frame/picture_forms.h"

#include <algorithm>
#include <cstring>

namespace vexcap {

uint64_t PictureSizes::largestBytes(uint32_t pixelBytes) const {
    return std::max(pictureBytes(largest.width, largest.height, pixelBytes),
                    pictureBytes(present.width, present.height, pixelBytes));
}

uint64_t PictureSizes::turnedDisplayBytes() const {
    return std::max({displayBytes(), pictureBytes(largest.height, largest.width, bytesPerPixel),
                     pictureBytes(present.height, present.width, bytesPerPixel)});
}

uint64_t PictureSizes::rawBytes() const {
    const uint32_t sampleBytes = rawSampleBytes(sensorDepth);
    return std::max(packedBytes(largest.width, largest.height, sampleBytes),
                    packedBytes(present.width, present.height, sampleBytes));
}

bool SinglePlane::show(uint64_t need, uint64_t wanted) {
    if (!buffer.holds(need)) {
        PixelBuffer made(std::max(wanted, need), PixelBuffer::Fill::Zero);
        if (!made.data()) made = PixelBuffer(need, PixelBuffer::Fill::Zero);
        if (!made.data()) return false;
        buffer = made;
    }
    shown = true;
    return true;
}

void PooledSamples::make(PictureKind kind, const PictureSizes& sizes) {
    PooledPlane& plane = kind == PictureKind::Raw ? rawPlane : deepPlane;
    const uint64_t need = kind == PictureKind::Raw ? sizes.rawBytes() : sizes.deepBytes();
    if (!plane.holds(need)) plane.make(need, PixelBuffer::Fill::None);
}

void PooledSamples::free() noexcept {
    rawPlane.free();
    deepPlane.free();
}

void PooledSamples::forget() {
    rawPlane.forget();
    deepPlane.forget();
}

void PooledPictures::resize(PictureSizes& sizes) {
    sizes.bytesPerPixel = memoryBytesPerPixel;
    samples.free();
    display.make(sizes.turnedDisplayBytes(), PixelBuffer::Fill::Zero);
}

void OwnedPictures::lend(PictureLoan& loan, const PictureSizes& sizes, bool raw, bool deep) {
    const auto lent = [](SinglePlane& plane, uint64_t bytes) {
        return plane.show(bytes, bytes) ? plane.present() : PixelBuffer();
    };
    loan.display = lent(display, sizes.displayBytes());
    loan.raw = raw ? lent(rawPlane, sizes.rawBytes()) : PixelBuffer();
    loan.deep = deep ? lent(deepPlane, sizes.deepBytes()) : PixelBuffer();
}

PixelBuffer OwnedPictures::feedTarget(const PictureSizes& sizes, const PixelBuffer&) {
    if (!display.view().pixels && !display.show(sizes.displayBytes(), sizes.displayBytes())) return {};
    return display.present();
}

bool CopiedPicture::take(const SourceFrame& frame, uint64_t bytes, const PictureSizes& sizes) {
    if (bytes == 0 || !display.show(bytes, sizes.displayBytes())) return false;
    std::memcpy(display.data(), frame.display, size_t(bytes));
    return true;
}

}  // namespace vexcap
