// Pixels of a text, kept from frame to frame.
#pragma once

#include <cstdint>
#include <memory>

#include "overlay/text/text_target.h"
#include "pixel/raster/raster.h"

namespace vexcap {

/// The picture of a text for one target: which pixels are set. On a render target, which draws by itself, only its
/// size.
///
/// What could not be made for a target stays unready until the target changes, or Reset.
class TextBitmap final {
public:
    void Reset();
    /// Was it made, or tried, for this target? Mode and sizes count, the margins do not.
    bool IsFor(const TextTarget& target) const;
    /// All clear. Not ready: a size without pixels, one that has no room on the target, or no memory.
    void Make(const TextTarget& target, TextSize wanted);

    bool Ready() const { return ready; }
    TextSize Size() const { return size; }
    /// No pixels on a render target.
    TextMask Pixels() { return {pixels.get(), size.width, size.height}; }
    Mask Drawn() const { return {pixels.get(), size.width, size.height}; }

private:
    struct Key {
        FrameMode mode;
        int32_t width, height;
        int32_t imageWidth, imageHeight;
        bool sizeAlone;
        bool operator==(const Key&) const = default;
    };
    static Key KeyOf(const TextTarget& target);

    Key key = {};
    bool initialised = false;
    bool ready = false;
    TextSize size;
    std::unique_ptr<uint8_t[]> pixels;
};

}  // namespace vexcap
