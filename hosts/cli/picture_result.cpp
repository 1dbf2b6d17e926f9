#include "hosts/cli/picture_result.h"

#include <cstdio>

#include "hosts/cli/image_file.h"
#include "hosts/cli/json.h"

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

std::string pictureLine(const std::string& file, const Image& image) {
    std::string line = file + ": " + sizeText(image.size) + ", " + std::to_string(image.BitsPerPixel()) + " bits";
    if (image.channels > 1) line += " a pixel";
    if (!image.mosaic.empty()) line += ", " + image.mosaic;
    return line;
}

std::string pictureJson(const std::string& file, const Image& image, const ImageNotes& notes) {
    JsonObject object;
    object.Text("type", "picture")
        .Text("file", file)
        .Integer("width", image.size.width)
        .Integer("height", image.size.height)
        .Integer("depth", image.BitsPerPixel())
        .Integer("channels", image.channels);
    if (!image.mosaic.empty()) object.Text("mosaic", image.mosaic);
    object.Text("time", timeText(notes.taken)).Text("device", notes.device);
    if (notes.exposure) object.Integer("exposure", *notes.exposure);
    if (notes.gain) object.Integer("gain", *notes.gain);
    if (notes.pixelSize) object.Raw("pixelSize", plainNumber(*notes.pixelSize));
    return object.Line();
}

void savePicture(const Image& image, const ImageNotes& notes, const Options& options) {
    saveFile(options.output, encodeImage(options.output, image, notes), options.overwrite);
    if (options.json) {
        std::printf("%s\n", pictureJson(options.output, image, notes).c_str());
    } else if (!options.quiet) {
        std::printf("%s\n", pictureLine(options.output, image).c_str());
    }
}

}  // namespace vexcap::cli
