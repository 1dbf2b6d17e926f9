// Cairo, drawing on its own format of 4 bytes a pixel: pictures of 3 are converted first.
#include <cairo.h>

#include <cstdlib>
#include <memory>

#include "pixel/kernels.h"
#include "pixel/raster/raster_bench.h"

namespace vexcap {
namespace {

using Surface = std::shared_ptr<cairo_surface_t>;
using Drawing = std::shared_ptr<cairo_t>;

Surface over(PictureSize size, cairo_format_t format, const uint8_t* pixels, uint32_t bytesPerPixel) {
    return {cairo_image_surface_create_for_data(const_cast<uint8_t*>(pixels), format, int(size.width), int(size.height),
                                                int(size.width * bytesPerPixel)),
            cairo_surface_destroy};
}

Drawing on(PictureSize size) {
    return {cairo_create(over(size, CAIRO_FORMAT_RGB24, benchTarget(), 4).get()), cairo_destroy};
}

/// Cairo gives up on a call that it cannot serve without a word, and would look fast.
void expectFine(const Drawing& drawing) {
    if (cairo_status(drawing.get()) != CAIRO_STATUS_SUCCESS) std::abort();
}

void stretch(const Drawing& view, const Surface& picture, PictureSize size) {
    cairo_save(view.get());
    cairo_scale(view.get(), double(viewSize.width) / size.width, double(viewSize.height) / size.height);
    cairo_set_source_surface(view.get(), picture.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(view.get()), CAIRO_FILTER_NEAREST);
    cairo_paint(view.get());
    cairo_restore(view.get());
    expectFine(view);
}

void registerStretch(PictureSize size) {
    const Drawing view = on(viewSize);
    const Surface ready = over(size, CAIRO_FORMAT_RGB24, benchSource(), 4);
    registerAgainstMemcpy("stretch32", "cairo", size, benchTarget(), viewBytes,
                          [view, ready, size] { stretch(view, ready, size); });
    const Surface converted(cairo_image_surface_create(CAIRO_FORMAT_RGB24, int(size.width), int(size.height)),
                            cairo_surface_destroy);
    registerAgainstMemcpy("stretch24", "cairo", size, benchTarget(), viewBytes, [view, converted, size] {
        cairo_surface_flush(converted.get());
        kernels().bgr24ToBgrx32(cairo_image_surface_get_data(converted.get()),
                                cairo_image_surface_get_stride(converted.get()), benchSource(),
                                ptrdiff_t(size.width) * 3, size.width, size.height);
        cairo_surface_mark_dirty(converted.get());
        stretch(view, converted, size);
    });
}

bool registerPeer() {
    for (const PictureSize size : stretchedSizes) registerStretch(size);
    const Drawing frame = on(overlaidSize);
    const Surface picture = over(blendedSize, CAIRO_FORMAT_RGB24, benchSource(), 4);
    registerAgainstMemcpy("blend32", "cairo", blendedSize, benchTarget(), blendedPixels * 4, [frame, picture] {
        cairo_save(frame.get());
        cairo_set_source_surface(frame.get(), picture.get(), blendedAt, blendedAt);
        cairo_paint_with_alpha(frame.get(), 0.7);
        cairo_restore(frame.get());
        expectFine(frame);
    });
    const Surface mask = over(maskSize, CAIRO_FORMAT_A8, benchMask(), 1);
    registerAgainstMemcpy("mask32", "cairo", maskSize, benchTarget(), maskPixels * 4, [frame, mask] {
        cairo_set_source_rgb(frame.get(), 1, 1, 1);
        cairo_mask_surface(frame.get(), mask.get(), 0, 0);
        expectFine(frame);
    });
    cairo_set_antialias(frame.get(), CAIRO_ANTIALIAS_NONE);
    cairo_set_line_width(frame.get(), 1);
    registerLineBench("cairo", 4, [frame](int fromX, int fromY, int toX, int toY) {
        cairo_set_source_rgb(frame.get(), 0, 0, 1);
        cairo_move_to(frame.get(), fromX + 0.5, fromY + 0.5);
        cairo_line_to(frame.get(), toX + 0.5, toY + 0.5);
        cairo_stroke(frame.get());
        expectFine(frame);
    });
    return true;
}

[[maybe_unused]] const bool registered = registerPeer();

}  // namespace
}  // namespace vexcap
