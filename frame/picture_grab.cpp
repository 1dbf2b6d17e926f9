#include "frame/picture_grab.h"

#include <vexcap/records.h>

#include <cstring>
#include <functional>

namespace vexcap {
namespace {

constexpr uint32_t bitmapBytesPerPixel = 3;

/// Writes the header and returns where the pixels go. The host's memory may lie at any address.
uint8_t* writeHeader(uint8_t* bitmap, PictureSize size, uint32_t bits, uint32_t tag, uint64_t bytes) {
    vex_bitmap_header header{};
    header.biSize = sizeof header;
    header.biWidth = int32_t(size.width);
    header.biHeight = int32_t(size.height);
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bits);
    header.biCompression = tag;
    header.biSizeImage = uint32_t(bytes);
    std::memcpy(bitmap, &header, sizeof header);
    return bitmap + sizeof header;
}

bool inside(const vex_point& point, PictureSize size) {
    return point.x >= 0 && point.y >= 0 && uint32_t(point.x) < size.width && uint32_t(point.y) < size.height;
}

/// Red, green, blue of each point inside. `row` is the picture's lowest row.
template <typename Sample>
int32_t readPoints(const vex_point* points, uint32_t count, uint16_t* values, const uint8_t* row, size_t stride,
                   size_t pixelBytes, PictureSize size) {
    int32_t written = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (!inside(points[i], size)) continue;
        Sample pixel[3];
        std::memcpy(pixel, row + (size.height - size_t(points[i].y) - 1) * stride + size_t(points[i].x) * pixelBytes,
                    sizeof pixel);
        uint16_t* const value = values + size_t(written) * 3;
        value[0] = pixel[2];
        value[1] = pixel[1];
        value[2] = pixel[0];
        ++written;
    }
    return written;
}

/// Largest sample of a depth; 0 for one that is not known.
uint32_t largestSample(uint32_t depth) {
    return depth == 10 || depth == 12 || depth == 14 || depth == 16 ? (1u << depth) - 1 : 0;
}

/// Hands the rows of a texture to `read`. E_UNEXPECTED when they cannot be had.
template <typename Read>
HRESULT readTexture(ISharedTexture& texture, PictureSize size, Read read) {
    bool done = false;
    auto checked = [&](const uint8_t* rows, size_t pitch) {
        if (!rows || pitch < size_t(size.width) * textureBytesPerPixel) return;
        read(rows, pitch);
        done = true;
    };
    const Status status = texture.ReadBack(size.width, size.height, std::ref(checked));
    return status.ok() && done ? S_OK : E_UNEXPECTED;
}

HRESULT grabDisplay(const PictureStore& pictures, const PixelKernels& kernels, uint8_t* bitmap, int64_t capacity) {
    const uint8_t* const picture = pictures.readableDisplay();
    if (!picture) return E_FAIL;
    const PictureSize size = pictures.size();
    const uint64_t bytes = pictureBytes(size.width, size.height, bitmapBytesPerPixel);
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    uint8_t* const target = writeHeader(bitmap, size, bitmapBytesPerPixel * 8, 0, bytes);
    if (pictures.bytesPerPixel() == bitmapBytesPerPixel) {
        std::memcpy(target, picture, size_t(bytes));
    } else {
        kernels.bgrx32ToBgr24(target, ptrdiff_t(dibStride(size.width, bitmapBytesPerPixel)), picture,
                              ptrdiff_t(dibStride(size.width, pictures.bytesPerPixel())), size.width, size.height);
    }
    return S_OK;
}

HRESULT grabRaw(const PictureStore& pictures, uint8_t* bitmap, int64_t capacity) {
    const uint8_t* const picture = pictures.readableRaw();
    if (!picture) return E_FAIL;
    const PictureSize size = pictures.size();
    const uint32_t depth = pictures.rawDepth();
    const uint64_t bytes = packedBytes(size.width, size.height, rawSampleBytes(depth));
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    std::memcpy(writeHeader(bitmap, size, depth, pictures.rawTag(), bytes), picture, size_t(bytes));
    return S_OK;
}

HRESULT grabDeep(const PictureStore& pictures, uint8_t* bitmap, int64_t capacity) {
    const uint8_t* const picture = pictures.readableDeep();
    if (!picture) return E_FAIL;
    const PictureSize size = pictures.size();
    const uint64_t bytes = pictureBytes(size.width, size.height, deepBytesPerPixel);
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    std::memcpy(writeHeader(bitmap, size, pictures.sensorDepth() * 3, 0, bytes), picture, size_t(bytes));
    return S_OK;
}

HRESULT readBackImage(ISharedTexture& texture, PictureSize size, const PixelKernels& kernels, uint8_t* bitmap,
                      int64_t capacity) {
    const uint64_t bytes = pictureBytes(size.width, size.height, bitmapBytesPerPixel);
    if (bytes == 0 || bytes == unholdable) return E_UNEXPECTED;
    if (int64_t(bytes) > capacity) return VEX_E_INSUFFICIENT_BUFFER;
    return readTexture(texture, size, [&](const uint8_t* rows, size_t pitch) {
        kernels.bgrx32ToBgr24(writeHeader(bitmap, size, bitmapBytesPerPixel * 8, 0, bytes),
                              ptrdiff_t(dibStride(size.width, bitmapBytesPerPixel)), rows, ptrdiff_t(pitch), size.width,
                              size.height);
    });
}

int32_t readBackPixels(ISharedTexture& texture, PictureSize size, const vex_point* points, uint32_t count,
                       uint16_t* values) {
    int32_t written = 0;
    const HRESULT result = readTexture(texture, size, [&](const uint8_t* rows, size_t pitch) {
        written = readPoints<uint8_t>(points, count, values, rows, pitch, textureBytesPerPixel, size);
    });
    return result < 0 ? result : written;
}

}  // namespace

uint64_t grabBytes(const PictureStore& pictures, uint32_t kind) {
    const auto [width, height] = pictures.size();
    const uint64_t display = pictureBytes(width, height, bitmapBytesPerPixel);
    if (pictures.texture()) return display == unholdable ? 0 : display;
    switch (PictureKind(kind)) {
        case PictureKind::Display:
            return pictures.readableDisplay() ? display : 0;
        case PictureKind::Raw:
            return pictures.readableRaw() ? packedBytes(width, height, rawSampleBytes(pictures.rawDepth())) : 0;
        case PictureKind::Deep:
            return pictures.readableDeep() ? pictureBytes(width, height, deepBytesPerPixel) : 0;
    }
    return 0;
}

HRESULT grabImage(const PictureStore& pictures, const PixelKernels& kernels, void* bitmap, int32_t capacity,
                  uint32_t kind) {
    if (!bitmap) return grabBytes(pictures, kind) ? S_FALSE : E_POINTER;
    uint8_t* const target = static_cast<uint8_t*>(bitmap);
    if (ISharedTexture* const texture = pictures.texture())
        return readBackImage(*texture, pictures.size(), kernels, target, capacity);
    switch (PictureKind(kind)) {
        case PictureKind::Display:
            return grabDisplay(pictures, kernels, target, capacity);
        case PictureKind::Raw:
            return grabRaw(pictures, target, capacity);
        case PictureKind::Deep:
            return grabDeep(pictures, target, capacity);
    }
    return E_FAIL;
}

int32_t grabPixels(const PictureStore& pictures, const vex_point* points, uint32_t count, uint16_t* values,
                   uint32_t* maximum) {
    const PictureSize size = pictures.size();
    if (ISharedTexture* const texture = pictures.texture())
        return readBackPixels(*texture, size, points, count, values);
    if (const uint8_t* const picture = pictures.readableDeep()) {
        const uint32_t largest = largestSample(pictures.rawDepth());
        if (maximum && largest != 0) *maximum = largest;
        return readPoints<uint16_t>(points, count, values, picture, dibStride(size.width, deepBytesPerPixel),
                                    deepBytesPerPixel, size);
    }
    if (const uint8_t* const picture = pictures.readableDisplay()) {
        if (maximum) *maximum = 255;
        const uint32_t pixelBytes = pictures.bytesPerPixel();
        return readPoints<uint8_t>(points, count, values, picture, dibStride(size.width, pixelBytes), pixelBytes, size);
    }
    return 0;
}

}  // namespace vexcap
