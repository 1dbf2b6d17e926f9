// What hosts see of the present picture: it is stretched into their surface or render target, and drawn over.
#include "frame/frame_render.h"
#include "pixel/raster.h"

namespace vexcap {
namespace {

/// `picture` as a render target is given it.
vex_picture inMemory(const Picture& picture) {
    return {picture.top, nullptr, picture.width, picture.height, int32_t(picture.stride), picture.bytesPerPixel};
}

}  // namespace

HRESULT CFrameRender::DrawGdi(const vex_surface& surface, const vex_rect& rectangle, uint32_t pictureWidth,
                              uint32_t pictureHeight, IPaintOverlay* overlay) {
    const RecursiveMutexGuard guard(frameLock);
    if (!display) return S_OK;
    if (pictureWidth != width || pictureHeight != height) {
        display = nullptr;
        width = 0;
        height = 0;
        return S_OK;
    }
    const uint8_t* const shown = ReadableDisplay();
    if (!shown) return S_OK;
    const auto columns = int32_t(width), rows = int32_t(height);
    stretchPicture(canvasOf(surface), {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom},
                   pictureOf(shown, columns, rows, bytesPerPixel));
    if (overlay) overlay->DrawOverlayGdi(shown, bytesPerPixel, columns, rows, surface, rectangle);
    return S_OK;
}

HRESULT CFrameRender::DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t pictureWidth,
                              uint32_t pictureHeight, IPaintOverlay* overlay) {
    const RecursiveMutexGuard guard(frameLock);
    if (pictureWidth != width || pictureHeight != height) {
        width = 0;
        height = 0;
        return S_OK;
    }
    const uint8_t* const shown = ReadableDisplay();
    if (!texture && !shown) return S_OK;
    const auto columns = int32_t(width), rows = int32_t(height);
    const vex_picture picture = texture ? vex_picture{nullptr, texture->Handle(), columns, rows, 0, bytesPerPixel}
                                        : inMemory(pictureOf(shown, columns, rows, bytesPerPixel));
    const vex_rect_f destination = {float(rectangle.left), float(rectangle.top), float(rectangle.right),
                                    float(rectangle.bottom)};
    target.DrawBitmap(&picture, &destination, 1.0F);
    if (overlay) overlay->DrawOverlayD2d(shown, bytesPerPixel, columns, rows, target, rectangle);
    return S_OK;
}

}  // namespace vexcap
