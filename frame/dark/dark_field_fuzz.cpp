// Dark frames from files that anybody may have made: nothing crashes, and what is taken is what the file says.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/dark/dark_field.h"
#include "platform/fake/fake_disk.h"

using namespace vexcap;

namespace {

struct DarkField final : IDfcBaseImpl {
    using IDfcBaseImpl::IDfcBaseImpl;
};

uint32_t le32(const uint8_t* bytes) {
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> file(data, data + size);
    // Every other input gets the fields without which no file is looked at any further, and meets frames of the size
    // that it names.
    const bool patched = size >= 54 && size % 2 == 0;
    if (patched) {
        std::memcpy(&file[0], "BM", 2);
        std::memcpy(&file[14], "\x28\0\0\0", 4);
        std::memcpy(&file[28], "\x18\0\0\0\0\0", 6);
    }
    const uint32_t width = patched ? le32(&file[18]) : 7, height = patched ? le32(&file[22]) : 5;
    FakeDisk disk;
    disk.put(u"in.bmp", file);
    DarkField field(disk);
    field.SetDarkSize(width, height);
    const HRESULT result = field.Import(u"in.bmp");
    if ((result == S_OK) != (field.HasDfc() != 0)) std::abort();
    if (result != S_OK) return 0;

    if (field.Export(u"out.bmp") != S_OK) std::abort();
    std::vector<uint8_t> frame = disk.bytes(u"out.bmp");
    const size_t row = size_t(width) * 3, stride = (row + 3) / 4 * 4;
    for (size_t y = 0; y < height; ++y)
        if (std::memcmp(&frame[54 + y * stride], &file[54 + y * stride], row) != 0) std::abort();
    field.Enable(1);
    field.Apply(frame.data() + 54, 3, width, height);
    return 0;
}
