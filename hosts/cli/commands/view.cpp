#include "hosts/cli/commands/view.h"

#include <cstdio>
#include <vector>

#include "hosts/cli/commands/abilities.h"
#include "hosts/cli/commands/save_picture.h"
#include "hosts/common/draw_overlay.h"
#include "hosts/common/failure.h"
#include "hosts/common/files/output_file.h"
#include "hosts/common/prepare.h"

namespace vexcap::cli {

namespace {

constexpr int32_t bytesPerPixel = 4;

/// One paint of the present picture.
Image paint(const Session& session, const Size& size) {
    std::vector<uint8_t> pixels(size_t(size.width) * size.height * bytesPerPixel);
    vex_surface surface = {.pixels = pixels.data(),
                           .width = static_cast<int32_t>(size.width),
                           .height = static_cast<int32_t>(size.height),
                           .stride = static_cast<int32_t>(size.width) * bytesPerPixel,
                           .dpiX = 0,
                           .dpiY = 0};
    const vex_rect whole = {0, 0, surface.width, surface.height};
    const Size picture = session.PictureSize();
    vexcap_draw_gdi(session.Context(), &surface, &whole, picture.width, picture.height);
    return imageFromSurface(surface);
}

}  // namespace

ExitCode view(const Options& options, const Signals& signals) {
    checkOutputFile(options.output, options.overwrite);
    Engine engine(options.engine, Mode::Pictures);
    const Device device = engine.Find(options.device);
    checkAbilities(device, options);
    Session session(engine, device);
    const std::string note = preparePicture(session, device, options.source, signals);
    if (!options.quiet && !note.empty()) std::fprintf(stderr, "%s\n", note.c_str());
    const Size picture = session.PictureSize();
    const Size size = options.viewSize.value_or(picture);
    applyOverlay(session, options.overlay, picture, picture.width ? double(size.width) / picture.width : 1);
    if (const std::string cut = textsWithoutRoom(options.overlay, size); !cut.empty())
        std::fprintf(stderr, "vexcap: %s\n", cut.c_str());
    session.WaitForPicture(signals);
    ImageNotes notes = notesOf(session, device, options.overlay);
    if (notes.pixelSize) *notes.pixelSize *= double(picture.width) / size.width;
    savePicture(paint(session, size), notes, options);
    return exitDone;
}

}  // namespace vexcap::cli
