#include "hosts/cli/commands/save_picture.h"

#include "hosts/cli/report/output.h"
#include "hosts/cli/report/picture_result.h"
#include "hosts/common/image/image_file.h"

namespace vexcap::cli {

ImageNotes notesOf(const Session& session, const Device& device, const Overlay& overlay) {
    ImageNotes notes;
    clock_gettime(CLOCK_REALTIME, &notes.taken);
    notes.device = device.name;
    notes.pixelSize = overlay.pixelSize;
    if (!device.IsCamera()) return notes;
    uint32_t microseconds = 0;
    int32_t percent = 0;
    if (session.Camera().GetExposureTime(&microseconds) >= 0) notes.exposure = microseconds;
    const auto controls = session.Query<ICameraControls>(VEX_IID_CAMERA_CONTROLS);
    if (controls && controls->Get(VEX_CONTROL_GAIN, &percent) >= 0) notes.gain = percent;
    return notes;
}

void savePicture(const Image& image, const ImageNotes& notes, const Options& options) {
    saveFile(options.output, encodeImage(options.output, image, notes), options.overwrite);
    if (options.json) {
        printLine(pictureJson(options.output, image, notes));
    } else if (!options.quiet) {
        printLine(pictureLine(options.output, image));
    }
}

}  // namespace vexcap::cli
