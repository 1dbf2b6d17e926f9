// What tests of the overlay share: ports that tell what they were asked, pictures, surfaces.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/dib.h"
#include "base/mutex.h"
#include "overlay/marker.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_text_raster.h"

namespace vexcap::test {

using Bytes = std::vector<uint8_t>;

/// Texts in their order, as a FakeTextRaster has them. One thread.
class LoggingRaster final : public ITextRaster {
public:
    TextSize Measure(const TextFont& font, std::u16string_view text) override {
        measured.emplace_back(text);
        fonts.push_back(font);
        return fake.Measure(font, text);
    }
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override {
        drawn.emplace_back(text);
        return fake.Draw(font, text, mask, x, y);
    }
    void forget() {
        measured.clear();
        fonts.clear();
        drawn.clear();
    }

    FakeTextRaster fake;
    std::vector<std::u16string> measured, drawn;
    std::vector<TextFont> fonts;  ///< Of what was measured.
};

/// A sharpness measure that gives what it is told. One thread.
struct Clarity {
    static double measure(const void* frame, uint32_t bits, uint32_t width, uint32_t height) {
        ++calls;
        last = {*static_cast<const uint8_t*>(frame), bits, width, height};
        return value;
    }
    static void reset() {
        calls = 0;
        value = 0;
    }
    struct Call {
        uint8_t firstByte;
        uint32_t bits, width, height;
    };
    static inline int calls = 0;
    static inline double value = 0;
    static inline Call last = {};
};

/// What is given is drawn white, nothing is on, and texts are 21 pixels high on a cell of 10.
inline MarkerTxt plainTxt() {
    MarkerTxt txt = {};
    txt.MarkerPos = VEX_CORNER_BOTTOM_RIGHT;
    txt.FontSize = 3;
    txt.ScaleSize = 3;
    txt.ScaleColor = txt.DateColor = txt.ContrastColor = 0xFFFFFF;
    return txt;
}

/// The ports, and a marker on them whose clock stands at 2024-01-01 00:01:40.
struct MarkerRig {
    MarkerRig() { Clarity::reset(); }
    OverlayPorts ports() { return {texts, dates, clock, disk}; }

    LoggingRaster texts;
    FakeDateText dates;
    FakeClock clock;
    FakeDisk disk;
    CMarker marker{ports(), &Clarity::measure};
};

/// A bottom-up frame.
struct Frame {
    Frame(int32_t frameWidth, int32_t frameHeight, uint32_t frameBytesPerPixel = 3, uint8_t fill = 40)
        : width(frameWidth),
          height(frameHeight),
          bytesPerPixel(frameBytesPerPixel),
          bytes(dibStride(uint32_t(width), bytesPerPixel) * size_t(height), fill) {}
    /// A pixel of row 0, the lowest one, upward.
    uint8_t* at(int32_t x, int32_t row) {
        return &bytes[dibStride(uint32_t(width), bytesPerPixel) * size_t(row) + size_t(x) * bytesPerPixel];
    }
    void set(int32_t x, int32_t row, uint32_t colour) {
        uint8_t* const pixel = at(x, row);
        pixel[0] = uint8_t(colour >> 16);
        pixel[1] = uint8_t(colour >> 8);
        pixel[2] = uint8_t(colour);
    }
    bool operator==(const Frame& other) const { return bytes == other.bytes; }

    int32_t width, height;
    uint32_t bytesPerPixel;
    Bytes bytes;
};

/// The first pixel that differs, for a failure's message.
inline std::string difference(Frame& a, Frame& b) {
    for (int32_t row = 0; row < a.height; ++row)
        for (int32_t x = 0; x < a.width; ++x)
            for (uint32_t c = 0; c < a.bytesPerPixel; ++c)
                if (a.at(x, row)[c] != b.at(x, row)[c])
                    return "column " + std::to_string(x) + ", row " + std::to_string(row) +
                           " from the bottom: " + std::to_string(a.at(x, row)[c]) + " against " +
                           std::to_string(b.at(x, row)[c]);
    return "padding";
}
#define EXPECT_SAME_FRAME(a, b) EXPECT_TRUE((a) == (b)) << ::vexcap::test::difference(a, b)

/// What `burn` makes of a frame.
inline Frame burnt(CMarker& marker, Frame frame, bool still = false, const OverlayMargins& margins = {}) {
    marker.BurnOverlay(frame.bytes.data(), frame.width, frame.height, still, margins, frame.bytesPerPixel);
    return frame;
}

/// Memory that is painted on.
struct Surface {
    Surface(int32_t surfaceWidth, int32_t surfaceHeight)
        : width(surfaceWidth), height(surfaceHeight), bytes(size_t(width) * 4 * size_t(height), 40) {}
    vex_surface view() { return {bytes.data(), width, height, width * 4, 0, 0}; }
    void set(int32_t x, int32_t y, uint32_t colour) {
        if (x < 0 || y < 0 || x >= width || y >= height) return;
        uint8_t* const pixel = &bytes[(size_t(y) * size_t(width) + size_t(x)) * 4];
        pixel[0] = uint8_t(colour >> 16);
        pixel[1] = uint8_t(colour >> 8);
        pixel[2] = uint8_t(colour);
    }
    bool untouched() const {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 40; });
    }

    int32_t width, height;
    Bytes bytes;
};

}  // namespace vexcap::test
