// What hosts see of the present picture: it is stretched into their surface or render target, and drawn over.
#include "frame/frame_render.h"
#include "pixel/raster/raster.h"

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
    if (!pictures.shows()) return S_OK;
    if (pictures.size() != PictureSize{pictureWidth, pictureHeight}) {
        pictures.forgetDisplay();
        return S_OK;
    }
    const uint8_t* const shown = pictures.readableDisplay();
    if (!shown) return S_OK;
    const auto columns = int32_t(pictureWidth), rows = int32_t(pictureHeight);
    const uint32_t pixelBytes = pictures.bytesPerPixel();
    stretchPicture(canvasOf(surface), {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom},
                   pictureOf(shown, columns, rows, pixelBytes));
    if (overlay) overlay->DrawOverlayGdi(shown, pixelBytes, columns, rows, surface, rectangle);
    return S_OK;
}

HRESULT CFrameRender::DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t pictureWidth,
                              uint32_t pictureHeight, IPaintOverlay* overlay) {
    const RecursiveMutexGuard guard(frameLock);
    if (pictures.size() != PictureSize{pictureWidth, pictureHeight}) {
        pictures.forgetSize();
        return S_OK;
    }
    ISharedTexture* const texture = pictures.texture();
    const uint8_t* const shown = pictures.readableDisplay();
    if (!texture && !shown) return S_OK;
    const auto columns = int32_t(pictureWidth), rows = int32_t(pictureHeight);
    const uint32_t pixelBytes = pictures.bytesPerPixel();
    const vex_picture picture = texture ? vex_picture{nullptr, texture->Handle(), columns, rows, 0, pixelBytes}
                                        : inMemory(pictureOf(shown, columns, rows, pixelBytes));
    const vex_rect_f destination = {float(rectangle.left), float(rectangle.top), float(rectangle.right),
                                    float(rectangle.bottom)};
    target.DrawBitmap(&picture, &destination, 1.0F);
    if (overlay) overlay->DrawOverlayD2d(shown, pixelBytes, columns, rows, target, rectangle);
    return S_OK;
}

}  // namespace vexcap
