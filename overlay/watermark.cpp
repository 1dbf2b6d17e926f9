#include "overlay/watermark.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/dib.h"
#include "base/mul_div.h"

namespace vexcap {
namespace {

/// A picture of more bytes is refused.
constexpr uint64_t mostBytes = uint64_t(1) << 30;

/// Bytes of a host's picture with its header; 0 when it is not one.
uint64_t bytesOf(const vex_bitmap_header& header) {
    if (header.biBitCount != 24 || header.biWidth < 1 || header.biHeight == 0 || header.biHeight == INT32_MIN) return 0;
    const uint64_t rows = uint64_t(std::abs(header.biHeight));
    if (uint64_t(header.biWidth) * 3 * rows > mostBytes) return 0;
    const uint64_t bytes = dibStride(uint32_t(header.biWidth), 3) * rows;
    return bytes > mostBytes ? 0 : bytes + sizeof header;
}

}  // namespace

int32_t Watermark::Set(const WaterInfo& info) {
    if (!info.dib) {
        dib = {};
        return 1;
    }
    vex_bitmap_header header;
    std::memcpy(&header, info.dib, sizeof header);
    const uint64_t bytes = bytesOf(header);
    if (bytes == 0) return 0;
    const auto* const given = static_cast<const Dib*>(info.dib);
    try {
        dib = std::vector<Dib>(given, given + bytes);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    // The rows of a top-down picture are not turned over: it comes out upside down.
    header.biHeight = std::abs(header.biHeight);
    std::memcpy(dib.data(), &header, sizeof header);
    alpha = info.alpha;
    return 1;
}

void Watermark::SetOffset(int32_t newX, int32_t newY) {
    x = newX;
    y = newY;
}

void Watermark::SetRotate(int32_t newAngle) {
    angle = newAngle % 360000;
    shared = {};
    forTarget = {};
}

bool Watermark::Ready(Turned& turned, uint32_t bytesPerPixel) const {
    if (!Present()) return false;
    if (!turned.tried) {
        turned.tried = true;
        turned.pixels.reset(RotateDib(turned.header, nullptr, dib.data(), float(angle) / 1000, bytesPerPixel));
    }
    return turned.pixels != nullptr;
}

void Watermark::Burn(const Canvas& frame) {
    if (!Ready(shared, 3)) return;
    blendPicture(frame, pictureOf(shared.pixels.get(), shared.header.biWidth, shared.header.biHeight, 3), x, y, alpha);
}

Box Watermark::Placed(const Turned& turned, const PaintArea& area, int32_t imageWidth, int32_t imageHeight) const {
    const int32_t width = int32_t(area.width), height = int32_t(area.height);
    const int32_t left = mulDiv(x, width, imageWidth), top = mulDiv(y, height, imageHeight);
    const auto end = [](int32_t start, int32_t length) {
        return int32_t(std::min<int64_t>(int64_t(start) + length, INT32_MAX));
    };
    return {left, top, end(left, mulDiv(turned.header.biWidth, width, imageWidth)),
            end(top, mulDiv(turned.header.biHeight, height, imageHeight))};
}

void Watermark::Paint(const vex_surface& surface, const vex_rect& rectangle, int32_t imageWidth, int32_t imageHeight) {
    const PaintArea area(rectangle);
    if (!area.Paintable() || imageWidth < 1 || imageHeight < 1 || !Ready(shared, 3)) return;
    stretchBlended(canvasOf(surface), Placed(shared, area, imageWidth, imageHeight),
                   pictureOf(shared.pixels.get(), shared.header.biWidth, shared.header.biHeight, 3),
                   uint8_t((100 - alpha) * 255 / 100));
}

void Watermark::Paint(vex_render_target& target, const vex_rect& rectangle, int32_t imageWidth, int32_t imageHeight) {
    const PaintArea area(rectangle);
    if (!area.Paintable() || imageWidth < 1 || imageHeight < 1 || !Ready(forTarget, 4)) return;
    const int32_t width = forTarget.header.biWidth, height = forTarget.header.biHeight;
    // From the first row in memory down, as if the rows were stored from the top.
    const vex_picture picture = {forTarget.pixels.get(), nullptr, width, height, width * 4, 4};
    const Box box = Placed(forTarget, area, imageWidth, imageHeight);
    const float left = float(area.left), top = float(area.top);
    const vex_rect_f place = {left + float(box.left), top + float(box.top), left + float(box.right),
                              top + float(box.bottom)};
    // Deliberately the other way round than in frames and on surfaces.
    target.DrawBitmap(&picture, &place, std::clamp(float(alpha) / 100, 0.0f, 1.0f));
}

}  // namespace vexcap
