// What the tests of the dark field share: frames, a field with a size, and what its callbacks hear.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/dib.h"
#include "frame/dark/dark_field.h"
#include "frame/sink_testing.h"
#include "platform/fake/fake_disk.h"

namespace vexcap::test {

using Kind = DiskOperation::Kind;

inline constexpr uint32_t width = 5, height = 4;  // rows of 15 bytes, 16 with their padding
inline constexpr size_t stride = 16;
inline const std::u16string path = u"dark.bmp";

/// What a callback was told.
struct Told {
    uint32_t a, b;
    Bytes dark;
    uint32_t c, d;
    friend bool operator==(const Told&, const Told&) = default;
};
using Telling = std::vector<Told>;

inline void tell(void* telling, uint32_t a, uint32_t b, const uint8_t* dark, uint32_t c, uint32_t d) {
    static_cast<Telling*>(telling)->push_back({a, b, dark ? Bytes(dark, dark + size_t(a) * b * 3) : Bytes{}, c, d});
}

struct DarkField final : IDfcBaseImpl {
    using IDfcBaseImpl::IDfcBaseImpl;
};

/// A frame of one value for each channel, with padding that tells a wrong stride.
inline Bytes frameOf(uint8_t value, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
    const size_t pitch = dibStride(w, bytesPerPixel);
    Bytes made(pitch * h, 0xCC);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t i = 0; i < 3; ++i) made[y * pitch + x * bytesPerPixel + i] = value;
    return made;
}

/// The rows of a frame of 3 bytes a pixel without their padding.
inline Bytes packedRows(const Bytes& frame, uint32_t w = width, uint32_t h = height) {
    Bytes rows;
    for (uint32_t y = 0; y < h; ++y) {
        const auto row = frame.begin() + ptrdiff_t(y * dibStride(w, 3));
        rows.insert(rows.end(), row, row + ptrdiff_t(w * 3));
    }
    return rows;
}

inline std::unique_ptr<uint8_t[]> owned(const Bytes& bytes) {
    std::unique_ptr<uint8_t[]> made(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), made.get());
    return made;
}

struct DarkFieldTest : testing::Test {
    DarkFieldTest() { field.SetDarkSize(width, height); }

    HRESULT accumulate(const Bytes& frame, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
        return field.Accumulate(frame.data(), bytesPerPixel, w, h);
    }
    Bytes applied(Bytes frame, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
        field.Apply(frame.data(), bytesPerPixel, w, h);
        return frame;
    }
    /// The dark frame, seen by a capture that ends without a frame; empty when there is none.
    Bytes dark() {
        Telling heard;
        field.Capture(1, nullptr, nullptr);
        field.Capture(1, tell, &heard);
        field.SetDarkSize(width + 1, height);  // ends the second one, too
        field.SetDarkSize(width, height);
        return heard.empty() ? Bytes{} : heard.front().dark;
    }
    void setDark(const Bytes& packed) { field.SetDark(owned(packed), int32_t(width), int32_t(height)); }
    /// Every channel dark by one value.
    void setDark(uint8_t value) { setDark(Bytes(width * height * 3, value)); }

    FakeDisk disk;
    DarkField field{disk};
    Telling telling;
};

/// A dark frame whose pixel (2, 1) is hot.
inline Bytes withHotPixel() {
    Bytes packed(width * height * 3, 0);
    for (size_t i = 0; i < 3; ++i) packed[(1 * width + 2) * 3 + i] = 200;
    return packed;
}

/// A bitmap file of the field's size, as Export makes it.
inline Bytes fileOf(const Bytes& packed, uint32_t w = width, uint32_t h = height) {
    FakeDisk own;
    DarkField field(own);
    field.SetDark(owned(packed), int32_t(w), int32_t(h));
    field.Export(u"a");
    return own.bytes(u"a");
}

}  // namespace vexcap::test
