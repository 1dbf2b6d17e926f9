// Pictures from a device that may send anything: nothing crashes, and only the lent bytes are written.
#include <algorithm>
#include <cstdlib>

#include "base/dib.h"
#include "platform/fake/fake_disk.h"
#include "platform/ffmpeg/ffmpeg_media.h"
#include "platform/ffmpeg/picture.h"

using namespace vexcap;
using namespace vexcap::ffmpeg;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FakeDisk disk;
    static FfmpegMedia media(disk);
    if (size < 2) return 0;
    // The size told is the input's own choice, and twice the same decoder has to stand it.
    const uint32_t width = 1 + data[0], height = 1 + data[1];
    auto decoder = media.OpenDecoder(fourcc("MJPG"), width, height);
    if (!decoder.ok()) std::abort();
    constexpr size_t beyond = 64;
    constexpr auto mark = std::byte(0xA5);
    std::vector<std::byte> picture(pictureBytes(width, height) + beyond, mark);
    for (int round = 0; round < 2; ++round) {
        const Status s = decoder.value()->Decode(std::as_bytes(std::span(data + 2, size - 2)),
                                                 std::span(picture).first(picture.size() - beyond));
        if (s.code() > 0) std::abort();
        if (std::any_of(picture.end() - beyond, picture.end(), [](std::byte b) { return b != mark; })) std::abort();
    }
    return 0;
}
