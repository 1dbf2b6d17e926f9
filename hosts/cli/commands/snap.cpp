#include "hosts/cli/commands/snap.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include "hosts/cli/commands/abilities.h"
#include "hosts/cli/commands/save_picture.h"
#include "hosts/common/draw_overlay.h"
#include "hosts/common/failure.h"
#include "hosts/common/files/output_file.h"
#include "hosts/common/prepare.h"
#include "hosts/common/text/result_text.h"

namespace vexcap::cli {

namespace {

constexpr int mostTries = 5;  // the first pictures after a change may still lack what was asked for

/// Deep pictures come at more than 8 bits alone: the depth that is not told becomes the largest.
void wishForDepth(const Session& session, Options& options) {
    if (options.grab != VEX_GRAB_DEEP || options.source.camera.depth) return;
    int32_t least = 0, most = 0, usual = 0;
    const auto controls = session.Query<ICameraControls>(VEX_IID_CAMERA_CONTROLS);
    if (controls && controls->GetRange(VEX_CONTROL_BIT_DEPTH, &least, &most, &usual) >= 0)
        options.source.camera.depth = most;
}

void askForSamples(const Session& session, const Device& device, uint32_t kind) {
    if (kind == VEX_GRAB_DISPLAY) return;
    const HRESULT result = vexcap_put_capture(session.Context(), kind);
    if (result == E_NOTIMPL) throw Failure(exitUsage, "\"" + device.name + "\" has no samples of more than 8 bits");
    if (result < 0)
        throw Failure(exitFailure, "\"" + device.name + "\" does not give its samples: " + resultText(result));
}

/// Sets the size of stills, and gives it.
Size chooseStill(Session& session, const Device& device, uint32_t index) {
    const std::vector<Format> sizes = session.StillFormats();
    if (sizes.empty()) throw Failure(exitUsage, "\"" + device.name + "\" takes no stills");
    const Size size = sizes[matchFormat(sizes, {.index = index, .layout = {}, .size = {}})].size;
    vexcap_set_esize(session.Context(), device.IsCamera() ? index : size.height << 16 | size.width, 1);
    return size;
}

void takeStill(Session& session, const Device& device, const Signals& signals) {
    if (!vexcap_grabber_stillimage(session.Context(), nullptr))
        throw Failure(exitFailure, "\"" + device.name + "\" did not take a still");
    session.WaitForStill(signals);
}

/// The picture with the largest samples that a grab could give.
size_t roomFor(const Size& size, uint32_t kind) {
    const uint64_t row = uint64_t(size.width) * (kind == VEX_GRAB_DEEP ? 6 : 3) + 3;
    return std::min<uint64_t>(row * size.height, std::numeric_limits<int32_t>::max());
}

Image grab(Session& session, const Device& device, const Options& options, const Size& size, const Signals& signals) {
    const size_t room = roomFor(size, options.grab);
    const auto bitmap = std::make_unique_for_overwrite<uint8_t[]>(sizeof(vex_bitmap_header) + room);
    for (int i = 0; i < mostTries; ++i) {
        if (options.still) {
            takeStill(session, device, signals);
        } else {
            session.WaitForPicture(signals);
        }
        if (vexcap_grabber(session.Context(), bitmap.get(), static_cast<int32_t>(room),
                           static_cast<int32_t>(options.grab), options.still.has_value(), 0, 0, 0, 0))
            return imageFromGrab(bitmap.get(), options.grab, session.RawDepth());
    }
    throw Failure(exitFailure, "\"" + device.name + "\" gives no such picture");
}

}  // namespace

ExitCode snap(const Options& given, const Signals& signals) {
    Options options = given;
    checkOutputFile(options.output, options.overwrite);
    Engine engine(options.engine, Mode::Pictures);
    const Device device = engine.Find(options.device);
    checkAbilities(device, options);
    Session session(engine, device, options.still.has_value());
    askForSamples(session, device, options.grab);
    wishForDepth(session, options);
    const std::string note = preparePicture(session, device, options.source, signals);
    if (!options.quiet && !note.empty()) std::fprintf(stderr, "%s\n", note.c_str());
    const Size size = options.still ? chooseStill(session, device, *options.still) : session.PictureSize();
    applyOverlay(session, options.overlay, size);
    if (const std::string cut = textsWithoutRoom(options.overlay, size); !cut.empty())
        std::fprintf(stderr, "vexcap: %s\n", cut.c_str());
    const Image image = grab(session, device, options, size, signals);
    savePicture(image, notesOf(session, device, options.overlay), options);
    return exitDone;
}

}  // namespace vexcap::cli
