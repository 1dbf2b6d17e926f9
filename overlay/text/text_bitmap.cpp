#include "overlay/text/text_bitmap.h"

#include <new>

namespace vexcap {
namespace {

// A rectangle that shows a corner of the picture much enlarged asks for texts of any size; beyond this there is no use.
constexpr int64_t mostPixels = 1 << 26;

}  // namespace

TextBitmap::Key TextBitmap::KeyOf(const TextTarget& target) {
    return {target.mode,       target.width,       target.height,
            target.imageWidth, target.imageHeight, target.renderTarget != nullptr};
}

void TextBitmap::Reset() { *this = {}; }

bool TextBitmap::IsFor(const TextTarget& target) const { return initialised && key == KeyOf(target); }

void TextBitmap::Make(const TextTarget& target, TextSize wanted) {
    Reset();
    key = KeyOf(target);
    initialised = true;
    if (wanted.width < 1 || wanted.height < 1 || !target.HasRoom(wanted)) return;
    if (!target.renderTarget) {
        const int64_t count = int64_t(wanted.width) * wanted.height;
        if (count <= mostPixels) pixels.reset(new (std::nothrow) uint8_t[size_t(count)]());
        if (!pixels) return;
    }
    size = wanted;
    ready = true;
}

}  // namespace vexcap
