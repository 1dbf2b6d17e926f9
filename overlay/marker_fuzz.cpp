// Overlays from records that anybody may have made, on frames, surfaces and render targets of any size: nothing
// crashes, hangs or reaches beyond its memory.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "base/dib.h"
#include "overlay/marker.h"
#include "overlay/software_target.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/fake_disk.h"

using namespace vexcap;

namespace {

constexpr int32_t largestSide = 64;  // of frames and surfaces

/// Takes the input apart; zeros when it is over.
class Input {
public:
    Input(const uint8_t* bytes, size_t size) : next(bytes), left(size) {}
    bool over() const { return left == 0; }
    template <typename Value>
    Value take() {
        Value value = {};
        const size_t count = std::min(sizeof value, left);
        std::memcpy(&value, next, count);
        next += count;
        left -= count;
        return value;
    }
    /// 0 to `most`.
    int32_t upTo(int32_t most) { return int32_t(take<uint8_t>()) % (most + 1); }
    /// Small numbers more often than large ones.
    int32_t number() { return upTo(3) != 0 ? take<int8_t>() : take<int32_t>(); }
    std::u16string text() {
        std::u16string made(size_t(upTo(40)) * (upTo(9) == 9 ? 100 : 1), u'a');
        if (!made.empty()) made.front() = take<char16_t>();
        return made;
    }

private:
    const uint8_t* next;
    size_t left;
};

/// Solid texts of any size, drawn no further than the mask goes.
struct SolidRaster final : ITextRaster {
    TextSize Measure(const TextFont& font, std::u16string_view text) override {
        if (font.height < 1) std::abort();
        if (text.empty() || text.front() == u'?') return {};
        const int64_t width = int64_t(font.height) * int64_t(text.size());
        return {int32_t(std::min<int64_t>(width, INT32_MAX)), font.height};
    }
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override {
        const TextSize size = Measure(font, text);
        const int64_t first = std::max(x, 0), end = std::min<int64_t>(int64_t(x) + size.width, mask.width);
        const int64_t bottom = std::min<int64_t>(int64_t(y) + size.height, mask.height);
        for (int64_t row = std::max(y, 0); row < bottom && first < end; ++row)
            std::memset(mask.pixels + row * mask.width + first, 255, size_t(end - first));
        return size.width > 0;
    }
};

/// Reads all of the frame.
double sumOf(const void* frame, uint32_t bits, uint32_t width, uint32_t height) {
    const auto* const bytes = static_cast<const uint8_t*>(frame);
    double sum = 0;
    for (size_t i = 0; i < dibStride(width, bits / 8) * height; ++i) sum += bytes[i];
    return sum / 1000;
}

/// A frame that ends where its memory does.
struct Frame {
    explicit Frame(Input& input)
        : width(1 + input.upTo(largestSide - 1)),
          height(1 + input.upTo(largestSide - 1)),
          bytesPerPixel(3 + uint32_t(input.upTo(1))),
          bytes(new uint8_t[dibStride(uint32_t(width), bytesPerPixel) * size_t(height)]()) {}
    int32_t width, height;
    uint32_t bytesPerPixel;
    std::unique_ptr<uint8_t[]> bytes;
};

MarkerTxt txtOf(Input& input) {
    MarkerTxt txt = {};
    for (int32_t MarkerTxt::*field : {&MarkerTxt::MarkerPos, &MarkerTxt::FontSize, &MarkerTxt::FontWeight,
                                      &MarkerTxt::eBackground, &MarkerTxt::ScaleSize, &MarkerTxt::Date})
        txt.*field = input.upTo(7) != 7 ? input.upTo(4) : input.take<int32_t>();
    for (uint32_t MarkerTxt::*field : {&MarkerTxt::Scale, &MarkerTxt::ScaleWithPower, &MarkerTxt::Contrast})
        txt.*field = uint32_t(input.upTo(1));
    txt.ScaleColor = txt.DateColor = txt.ContrastColor = input.take<uint32_t>();
    return txt;
}

MarkerGeo geoOf(Input& input) {
    MarkerGeo geo = {};
    geo.eMarkerGeo = input.upTo(7);
    geo.eMarkerGeoFlag = input.take<uint8_t>();
    geo.eMarkerGeoColor = input.take<uint32_t>();
    for (int32_t MarkerGeo::*field : {&MarkerGeo::eMarkerGeox, &MarkerGeo::eMarkerGeoy, &MarkerGeo::eMarkerGeox2,
                                      &MarkerGeo::eMarkerGeoy2, &MarkerGeo::eMarkerxPos, &MarkerGeo::eMarkeryPos})
        geo.*field = input.number();
    geo.eMarkerGeoAngle = input.take<int32_t>();
    return geo;
}

void setScale(Input& input, CMarker& marker) {
    const double length = input.upTo(3) != 0 ? input.upTo(100) : input.take<double>();
    const uint32_t stillLength = uint32_t(input.number());
    const std::u16string video = input.text(), still = input.text(), power = input.text();
    const auto orNull = [&](const std::u16string& text) { return input.upTo(5) == 5 ? nullptr : text.c_str(); };
    marker.SetScale({length, orNull(video), stillLength, orNull(still), orNull(power)});
}

/// The memory is as large as the header says when it is a picture, else nothing lies behind the header.
void setWater(Input& input, CMarker& marker) {
    auto header = input.take<vex_bitmap_header>();
    if (input.upTo(3) != 0) {
        header.biBitCount = 24;
        header.biWidth = input.number();
        header.biHeight = input.number();
    }
    const int64_t width = header.biWidth, height = std::abs(int64_t(header.biHeight));
    const bool picture = header.biBitCount == 24 && width >= 1 && height >= 1 && header.biHeight != INT32_MIN;
    constexpr int64_t reasonable = 256, absurd = int64_t(1) << 30;
    if (picture && width * height <= absurd / 3 && (width > reasonable || height > reasonable)) return;  // slow
    const bool whole = picture && width <= reasonable && height <= reasonable;
    const size_t size = sizeof header + (whole ? dibStride(uint32_t(width), 3) * size_t(height) : 0);
    const std::unique_ptr<uint8_t[]> dib(new uint8_t[size]);
    std::memset(dib.get(), input.upTo(255), size);
    std::memcpy(dib.get(), &header, sizeof header);
    const bool had = marker.HasWater();
    const bool taken = marker.SetWater({input.take<uint8_t>(), dib.get()}) != 0;
    if (taken != whole || marker.HasWater() != (had || whole)) std::abort();
}

void burn(Input& input, CMarker& marker) {
    const Frame frame(input);
    OverlayMargins margins;
    if (input.upTo(1)) margins = {input.number(), input.number(), input.number(), input.number()};
    const bool still = input.upTo(1);
    for (int twice = 0; twice < 2; ++twice)
        marker.BurnOverlay(frame.bytes.get(), frame.width, frame.height, still, margins, frame.bytesPerPixel);
}

vex_rect rectangleOf(Input& input) {
    const int32_t left = input.number(), top = input.number();
    if (input.upTo(3) == 0) return {left, top, input.take<int32_t>(), input.take<int32_t>()};
    const auto moved = [&](int32_t from) { return int32_t(uint32_t(from) + uint32_t(input.upTo(120))); };
    return {left, top, moved(left), moved(top)};
}

/// On a surface that ends where its memory does, whichever way its rows go.
void paint(Input& input, CMarker& marker, ITextRaster& texts) {
    const int32_t width = 1 + input.upTo(largestSide - 1), height = 1 + input.upTo(largestSide - 1), row = width * 4;
    const std::unique_ptr<uint8_t[]> bytes(new uint8_t[size_t(row) * size_t(height)]());
    const bool upward = input.upTo(1);
    const vex_surface surface = {upward ? bytes.get() + ptrdiff_t(row) * (height - 1) : bytes.get(),
                                 width,
                                 height,
                                 upward ? -row : row,
                                 uint32_t(input.number()),
                                 uint32_t(input.number())};
    const Frame frame(input);
    const bool shared = input.upTo(3) == 3;  // in a texture, of any size
    const uint8_t* const pixels = shared ? nullptr : frame.bytes.get();
    const int32_t imageWidth = shared ? input.number() : frame.width;
    const int32_t imageHeight = shared ? input.number() : frame.height;
    const vex_rect rectangle = rectangleOf(input);
    SoftwareTarget target(surface, texts);
    const bool onTarget = input.upTo(1);
    for (int twice = 0; twice < 2; ++twice) {
        if (onTarget)
            marker.DrawOverlayD2d(pixels, frame.bytesPerPixel, imageWidth, imageHeight, target, rectangle);
        else
            marker.DrawOverlayGdi(pixels, frame.bytesPerPixel, imageWidth, imageHeight, surface, rectangle);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    SolidRaster texts;
    FakeDateText dates;
    FakeClock clock;
    FakeDisk disk;
    CMarker marker({texts, dates, clock, disk}, input.upTo(1) ? &sumOf : nullptr);
    for (int step = 0; step < 24 && !input.over(); ++step) {
        switch (input.upTo(10)) {
            case 0:
                marker.SetTxt(txtOf(input));
                break;
            case 1:
                marker.SetGeo(geoOf(input));
                break;
            case 2:
                setScale(input, marker);
                break;
            case 3:
                setWater(input, marker);
                break;
            case 4:
                marker.SetWaterOffset(input.number(), input.number());
                break;
            case 5:
                marker.SetWaterRotate(input.take<int32_t>());
                break;
            case 6:
                marker.SetTick(input.upTo(1) ? input.upTo(30) : input.take<double>());
                break;
            case 7: {
                marker.SetFlip(input.take<uint8_t>(), input.take<uint8_t>());
                marker.SetChrome(uint32_t(input.upTo(1)));
                marker.SetNegative(uint32_t(input.upTo(1)));
                clock.advance(input.take<uint32_t>());
                break;
            }
            case 8:
                burn(input, marker);
                break;
            default:
                paint(input, marker, texts);
        }
    }
    return 0;
}
