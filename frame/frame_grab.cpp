// What hosts read of the present picture: whole images and single pixels.
#include <cstring>
#include <functional>

#include "frame/frame_render.h"

#include <vexcap/records.h>

namespace vexcap {
namespace {

constexpr uint32_t bitmapBytesPerPixel = 3;
constexpr uint32_t textureBytesPerPixel = 4;
constexpr uint32_t deepBytesPerPixel = 6;

uint32_t rawSampleBytes(uint32_t depth) { return depth < 9 ? 1 : 2; }

/// Writes the header and gives where the pixels go. The host's memory may lie at any address.
uint8_t* writeHeader(uint8_t* bitmap, uint32_t width, uint32_t height, uint32_t bits, uint32_t tag, uint64_t bytes) {
    vex_bitmap_header header{};
    header.biSize = sizeof header;
    header.biWidth = int32_t(width);
    header.biHeight = int32_t(height);
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bits);
    header.biCompression = tag;
    header.biSizeImage = uint32_t(bytes);
    std::memcpy(bitmap, &header, sizeof header);
    return bitmap + sizeof header;
}

bool inside(const vex_point& point, uint32_t width, uint32_t height) {
    return point.x >= 0 && point.y >= 0 && uint32_t(point.x) < width && uint32_t(point.y) < height;
}

/// Red, green, blue of each point inside. `row` is the picture's lowest row.
template <typename Sample>
int32_t readPoints(const vex_point* points, uint32_t count, uint16_t* values, const uint8_t* row, size_t stride,
                   size_t pixelBytes, uint32_t width, uint32_t height) {
    int32_t written = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (!inside(points[i], width, height)) continue;
        Sample pixel[3];
        std::memcpy(pixel, row + (height - size_t(points[i].y) - 1) * stride + size_t(points[i].x) * pixelBytes,
                    sizeof pixel);
        uint16_t* const value = values + size_t(written) * 3;
        value[0] = pixel[2];
        value[1] = pixel[1];
        value[2] = pixel[0];
        ++written;
    }
    return written;
}

/// Largest sample of a depth; 0 for one that is not told.
uint32_t largestSample(uint32_t depth) {
    return depth == 10 || depth == 12 || depth == 14 || depth == 16 ? (1u << depth) - 1 : 0;
}

/// Hands the rows of a texture to `read`. E_UNEXPECTED when they cannot be had.
template <typename Read>
HRESULT readTexture(ISharedTexture& texture, uint32_t width, uint32_t height, Read read) {
    bool done = false;
    auto checked = [&](const uint8_t* rows, size_t pitch) {
        if (!rows || pitch < size_t(width) * textureBytesPerPixel) return;
        read(rows, pitch);
        done = true;
    };
    const Status status = texture.ReadBack(width, height, std::ref(checked));
    return status.ok() && done ? S_OK : E_UNEXPECTED;
}

}  // namespace

HRESULT CFrameRender::GetImage(void* bitmap, int32_t capacity, uint32_t kind) {
    const RecursiveMutexGuard guard(frameLock);
    if (!bitmap) return CanGrab(kind);
    uint8_t* const target = static_cast<uint8_t*>(bitmap);
    if (texture) return ReadBackImage(target, capacity);
    switch (kind) {
        case 0:
            return GrabDisplay(target, capacity);
        case 1:
            return GrabRaw(target, capacity);
        case 2:
            return GrabDeep(target, capacity);
        default:
            return E_FAIL;
    }
}

/// What readers may see: null also where the stored size, which SetVideoSize changes at any time, is larger than the
/// buffer.
const uint8_t* CFrameRender::ReadableDisplay() const {
    const uint64_t bytes = pictureBytes(width, height, bytesPerPixel);
    return (mode == SinkMode::Pooled ? displayPool.holds(bytes) : ownDisplay.holds(bytes)) ? display : nullptr;
}

const uint8_t* CFrameRender::ReadableRaw() const {
    const uint64_t bytes = packedBytes(width, height, rawSampleBytes(rawDepth));
    return (mode == SinkMode::Pooled ? rawPool.holds(bytes) : ownRaw.holds(bytes)) ? raw : nullptr;
}

const uint8_t* CFrameRender::ReadableDeep() const {
    const uint64_t bytes = pictureBytes(width, height, deepBytesPerPixel);
    return (mode == SinkMode::Pooled ? deepPool.holds(bytes) : ownDeep.holds(bytes)) ? deep : nullptr;
}

HRESULT CFrameRender::CanGrab(uint32_t kind) const {
    const bool there = kind == 1 ? ReadableRaw() != nullptr : ReadableDisplay() || ReadableDeep() || texture;
    return there ? S_FALSE : E_POINTER;
}

HRESULT CFrameRender::GrabDisplay(uint8_t* bitmap, int64_t capacity) const {
    const uint8_t* const picture = ReadableDisplay();
    if (!picture) return E_FAIL;
    const uint64_t bytes = pictureBytes(width, height, bitmapBytesPerPixel);
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    uint8_t* const target = writeHeader(bitmap, width, height, bitmapBytesPerPixel * 8, 0, bytes);
    if (bytesPerPixel == bitmapBytesPerPixel) {
        std::memcpy(target, picture, size_t(bytes));
    } else {
        pixels.bgrx32ToBgr24(target, ptrdiff_t(dibStride(width, bitmapBytesPerPixel)), picture,
                             ptrdiff_t(dibStride(width, bytesPerPixel)), width, height);
    }
    return S_OK;
}

HRESULT CFrameRender::GrabRaw(uint8_t* bitmap, int64_t capacity) const {
    const uint8_t* const picture = ReadableRaw();
    if (!picture) return E_FAIL;
    const uint64_t bytes = packedBytes(width, height, rawSampleBytes(rawDepth));
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    std::memcpy(writeHeader(bitmap, width, height, rawDepth, rawTag, bytes), picture, size_t(bytes));
    return S_OK;
}

HRESULT CFrameRender::GrabDeep(uint8_t* bitmap, int64_t capacity) const {
    const uint8_t* const picture = ReadableDeep();
    if (!picture) return E_FAIL;
    const uint64_t bytes = pictureBytes(width, height, deepBytesPerPixel);
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    std::memcpy(writeHeader(bitmap, width, height, sensorDepth * 3, 0, bytes), picture, size_t(bytes));
    return S_OK;
}

HRESULT CFrameRender::ReadBackImage(uint8_t* bitmap, int64_t capacity) {
    const uint64_t bytes = pictureBytes(width, height, bitmapBytesPerPixel);
    if (bytes == 0 || bytes == unholdable) return E_UNEXPECTED;
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    const auto pack = [&, w = width, h = height](const uint8_t* rows, size_t pitch) {
        pixels.bgrx32ToBgr24(writeHeader(bitmap, w, h, bitmapBytesPerPixel * 8, 0, bytes),
                             ptrdiff_t(dibStride(w, bitmapBytesPerPixel)), rows, ptrdiff_t(pitch), w, h);
    };
    return readTexture(*texture, width, height, pack);
}

int32_t CFrameRender::GetPixels(const vex_point* points, uint32_t count, uint16_t* values, uint32_t* maximum) {
    if (!points || !values) return 0;
    const RecursiveMutexGuard guard(frameLock);
    if (texture) return ReadBackPixels(points, count, values);
    if (const uint8_t* const picture = ReadableDeep()) {
        const uint32_t largest = largestSample(rawDepth);
        if (maximum && largest != 0) *maximum = largest;
        return readPoints<uint16_t>(points, count, values, picture, dibStride(width, deepBytesPerPixel),
                                    deepBytesPerPixel, width, height);
    }
    if (const uint8_t* const picture = ReadableDisplay()) {
        if (maximum) *maximum = 255;
        return readPoints<uint8_t>(points, count, values, picture, dibStride(width, bytesPerPixel), bytesPerPixel,
                                   width, height);
    }
    return 0;
}

int32_t CFrameRender::ReadBackPixels(const vex_point* points, uint32_t count, uint16_t* values) {
    int32_t written = 0;
    const auto pick = [&, w = width, h = height](const uint8_t* rows, size_t pitch) {
        written = readPoints<uint8_t>(points, count, values, rows, pitch, textureBytesPerPixel, w, h);
    };
    const HRESULT result = readTexture(*texture, width, height, pick);
    return result < 0 ? result : written;
}

}  // namespace vexcap
