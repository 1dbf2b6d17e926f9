#include "hosts/cli/report/picture_result.h"

#include "hosts/cli/report/json.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

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

}  // namespace vexcap::cli
