// Everything that the overlay draws, on real pictures, compared with sheets that a person looked at.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "base/dib.h"
#include "overlay/marker.h"
#include "overlay/software_target.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/fake_disk.h"
#include "platform/pango/pango_text.h"
#include "settings/marker_settings.h"
#include "tests/support/png.h"

namespace vexcap::test {
namespace gallery_test {

const std::string folder = VEXCAP_GALLERY_FOLDER;
const std::string pictures = VEXCAP_PICTURES_FOLDER;

/// What every sheet is drawn with. It is the 5th of June 2026, 7:08:09.
struct Ports {
    pango::PangoText texts{"DejaVu Sans"};
    FakeDateText dates;
    FakeClock clock;
    FakeDisk files;
    Ports() {
        constexpr uint64_t fifthOfJune = 134'251'168'890'000'000;
        clock.setWallTime(fifthOfJune, fifthOfJune);
    }
};

double sharpness(const void*, uint32_t, uint32_t, uint32_t) { return 1234.56; }

/// A part of a picture, as a frame: bottom-up at the DIB stride.
struct Frame {
    Frame(const PngPicture& from, int32_t left, int32_t top, int32_t columns, int32_t rows, uint32_t bytes = 3)
        : width(columns),
          height(rows),
          bytesPerPixel(bytes),
          pixels(dibStride(uint32_t(columns), bytes) * size_t(rows), 0xFF) {
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < columns; ++x)
                std::memcpy(At(x, y), &from.bgr[(size_t(top + y) * size_t(from.width) + size_t(left + x)) * 3], 3);
    }
    uint8_t* At(int32_t x, int32_t y) {
        return pixels.data() + size_t(height - 1 - y) * dibStride(uint32_t(width), bytesPerPixel) +
               size_t(x) * bytesPerPixel;
    }
    PngPicture Png() {
        PngPicture png{width, height, std::vector<uint8_t>(size_t(width) * size_t(height) * 3)};
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                std::memcpy(&png.bgr[(size_t(y) * size_t(width) + size_t(x)) * 3], At(x, y), 3);
        return png;
    }

    int32_t width, height;
    uint32_t bytesPerPixel;
    std::vector<uint8_t> pixels;
};

/// The lowest rows of a picture.
PngPicture bottomOf(const PngPicture& picture, int32_t rows) {
    const auto skipped = ptrdiff_t(picture.height - rows) * picture.width * 3;
    return {picture.width, rows, {picture.bgr.begin() + skipped, picture.bgr.end()}};
}

/// Where two pictures of one size differ: the smallest rectangle around it.
struct Bounds {
    int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
    bool Near(const Bounds& other) const {
        constexpr int32_t tolerance = 4;
        return std::abs(left - other.left) <= tolerance && std::abs(top - other.top) <= tolerance &&
               std::abs(right - other.right) <= tolerance && std::abs(bottom - other.bottom) <= tolerance;
    }
};

/// Pictures of one size beside each other, with a line between them.
class Sheet {
public:
    Sheet(std::string sheetName, int32_t columnCount) : name(std::move(sheetName)), columns(columnCount) {}

    void Add(const PngPicture& before, const PngPicture& after) {
        tiles.push_back(after);
        bases.push_back(before);
    }

    /// Compares with the sheet that is kept; `texts` whether there are any on it.
    void Check(bool texts = false) {
        const PngPicture drawn = Assemble(tiles);
        if (const char* const wanted = std::getenv("VEXCAP_GALLERY")) {
            ASSERT_TRUE(writePng(std::string(wanted) + "/" + name + ".png", drawn));
            return;
        }
        const PngPicture kept = readPng(folder + "/" + name + ".png");
        if (drawn == kept) return;
        const std::string written = testing::TempDir() + "gallery-" + name + ".png";
        writePng(written, drawn);
        ASSERT_EQ(drawn.bgr.size(), kept.bgr.size()) << "see " << written;
        ASSERT_TRUE(texts && !FontsAreThoseOfTheSheets()) << "see " << written;
        const PngPicture base = Assemble(bases);
        for (int32_t i = 0; i < int32_t(tiles.size()); ++i)
            EXPECT_TRUE(BoundsOf(drawn, base, i).Near(BoundsOf(kept, base, i)))
                << "picture " << i << ", see " << written;
    }

    static uint64_t MarkOfFonts() {
        pango::PangoText raster{"DejaVu Sans"};
        uint64_t mark = 14695981039346656037u;
        for (const int32_t height : {12, 21, 30})
            for (const int32_t weight : {400, 700, 900}) {
                const std::u16string_view sample = u"Hamburgefonstiv 0123456789 Ω Ж 漢字 かな ع";
                const TextFont font{height, weight};
                const TextSize size = raster.Measure(font, sample);
                std::vector<uint8_t> pixels(size_t(size.width) * size_t(size.height));
                raster.Draw(font, sample, {pixels.data(), size.width, size.height}, 0, 0);
                for (const uint8_t pixel : pixels) mark = (mark ^ pixel) * 1099511628211u;
            }
        return mark;
    }

private:
    static constexpr int32_t gap = 4;

    static bool FontsAreThoseOfTheSheets() {
        std::ifstream file(folder + "/fonts.txt");
        uint64_t kept = 0;
        return file >> std::hex >> kept && kept == MarkOfFonts();
    }
    int32_t Left(int32_t i) const { return (i % columns) * (tiles[0].width + gap); }
    int32_t Top(int32_t i) const { return (i / columns) * (tiles[0].height + gap); }
    PngPicture Assemble(const std::vector<PngPicture>& of) const {
        const int32_t rows = (int32_t(of.size()) + columns - 1) / columns;
        PngPicture sheet{columns * (of[0].width + gap) - gap, rows * (of[0].height + gap) - gap, {}};
        sheet.bgr.assign(size_t(sheet.width) * size_t(sheet.height) * 3, 128);
        for (int32_t i = 0; i < int32_t(of.size()); ++i)
            for (int32_t y = 0; y < of[0].height; ++y)
                std::memcpy(&sheet.bgr[(size_t(Top(i) + y) * size_t(sheet.width) + size_t(Left(i))) * 3],
                            &of[size_t(i)].bgr[size_t(y) * size_t(of[0].width) * 3], size_t(of[0].width) * 3);
        return sheet;
    }
    Bounds BoundsOf(const PngPicture& sheet, const PngPicture& base, int32_t i) const {
        Bounds bounds;
        for (int32_t y = 0; y < tiles[0].height; ++y)
            for (int32_t x = 0; x < tiles[0].width; ++x) {
                const size_t at = (size_t(Top(i) + y) * size_t(sheet.width) + size_t(Left(i) + x)) * 3;
                if (std::memcmp(&sheet.bgr[at], &base.bgr[at], 3) == 0) continue;
                bounds = {std::min(bounds.left, x), std::min(bounds.top, y), std::max(bounds.right, x),
                          std::max(bounds.bottom, y)};
            }
        return bounds;
    }

    const std::string name;
    const int32_t columns;
    std::vector<PngPicture> tiles;
    std::vector<PngPicture> bases;
};

class Gallery : public testing::Test {
protected:
    using Setting = std::function<void(CMarker&)>;

    /// Burns an overlay into a copy of the frame.
    PngPicture Burnt(const Frame& frame, const Setting& set, bool still = false, const OverlayMargins& margins = {}) {
        CMarker marker({ports.texts, ports.dates, ports.clock, ports.files}, sharpness);
        set(marker);
        Frame copy = frame;
        marker.BurnOverlay(copy.pixels.data(), copy.width, copy.height, still, margins, copy.bytesPerPixel);
        return copy.Png();
    }

    /// Paints an overlay over the frame that was stretched to a size, on a surface or on a render target.
    PngPicture Painted(const Frame& frame, int32_t columns, int32_t rows, const Setting& set, bool onTarget = false,
                       uint32_t dpi = 0) {
        CMarker marker({ports.texts, ports.dates, ports.clock, ports.files}, sharpness);
        set(marker);
        std::vector<uint8_t> memory(size_t(columns) * size_t(rows) * 4, 0xFF);
        const vex_surface surface = {memory.data(), columns, rows, columns * 4, dpi, dpi};
        const vex_rect rectangle = {0, 0, columns, rows};
        const Canvas canvas = {memory.data(), surface.stride, columns, rows, 4};
        stretchPicture(canvas, {0, 0, columns, rows},
                       pictureOf(frame.pixels.data(), frame.width, frame.height, frame.bytesPerPixel));
        if (onTarget) {
            SoftwareTarget target(surface, ports.texts);
            marker.DrawOverlayD2d(frame.pixels.data(), frame.bytesPerPixel, frame.width, frame.height, target,
                                  rectangle);
        } else {
            marker.DrawOverlayGdi(frame.pixels.data(), frame.bytesPerPixel, frame.width, frame.height, surface,
                                  rectangle);
        }
        PngPicture png{columns, rows, std::vector<uint8_t>(size_t(columns) * size_t(rows) * 3)};
        for (size_t i = 0; i < png.bgr.size() / 3; ++i) std::memcpy(&png.bgr[i * 3], &memory[i * 4], 3);
        return png;
    }
    static void Nothing(CMarker&) {}

    Ports ports;
    const PngPicture tissue = readPng(pictures + "/ihc.png");
    const PngPicture moon = readPng(pictures + "/moon.png");
    const PngPicture cell = readPng(pictures + "/cell.png");
    const PngPicture vessel = readPng(folder + "/microaneurysms.png");

    static constexpr int32_t angles[] = {0, 12'345, 45'000, 90'000};
    static constexpr const char16_t* scaleText = u"50 µm";

    /// Shapes of every style, as wide as they are different.
    static Setting Shape(int32_t style, int32_t angle) {
        return [=](CMarker& marker) {
            MarkerGeo geo = standardGeo();
            geo.eMarkerGeo = style;
            geo.eMarkerGeoColor = 0x00FF00;
            geo.eMarkerGeox = style == VEX_MARKER_CIRCLE ? 30 : 75;
            geo.eMarkerGeoy = 60;
            geo.eMarkerGeox2 = style == VEX_MARKER_CROSS_CIRCLE ? 25 : 50;
            geo.eMarkerGeoy2 = 45;
            geo.eMarkerxPos = 5;
            geo.eMarkeryPos = -8;
            geo.eMarkerGeoAngle = angle;
            marker.SetGeo(geo);
            marker.SetTick(6.5);
        };
    }
    /// Scale bar, date and sharpness figure as told.
    static Setting Texts(MarkerTxt txt, const char16_t* power = u"40x / 0.75") {
        return [=](CMarker& marker) {
            marker.SetTxt(txt);
            marker.SetScale({.videoLength = 60,
                             .videoText = scaleText,
                             .stillLength = 90,
                             .stillText = u"75 µm",
                             .powerText = power});
        };
    }
    static MarkerTxt Everything() {
        MarkerTxt txt = standardTxt();
        txt.FontSize = 1;
        txt.Scale = txt.ScaleWithPower = txt.Contrast = 1;
        txt.Date = VEX_DATE_NUMERIC;
        txt.DateColor = 0xFFFF00;
        txt.ContrastColor = 0x8080FF;
        return txt;
    }
    const MarkerTxt everything = Everything();
    Setting Water(int32_t angle, uint8_t alpha, int32_t x = 20, int32_t y = 10) {
        Frame frame(vessel, 0, 0, vessel.width, vessel.height);
        const vex_bitmap_header header = {
            .biSize = 40, .biWidth = frame.width, .biHeight = frame.height, .biPlanes = 1, .biBitCount = 24};
        std::vector<uint8_t> dib(sizeof header);
        std::memcpy(dib.data(), &header, sizeof header);
        dib.insert(dib.end(), frame.pixels.begin(), frame.pixels.end());
        return [=](CMarker& marker) {
            marker.SetWater({alpha, dib.data()});
            marker.SetWaterOffset(x, y);
            marker.SetWaterRotate(angle);
        };
    }
};

TEST_F(Gallery, ThePicturesAreThere) {
    EXPECT_EQ(tissue.width, 512);
    EXPECT_EQ(moon.width, 512);
    EXPECT_EQ(cell.width, 550);
    EXPECT_EQ(vessel.width, 102);
}

TEST_F(Gallery, TheMarkOfTheFontsIsKeptWithTheSheets) {
    if (const char* const wanted = std::getenv("VEXCAP_GALLERY"))
        std::ofstream(std::string(wanted) + "/fonts.txt") << std::hex << Sheet::MarkOfFonts() << "\n";
    uint64_t kept = 0;
    EXPECT_TRUE(std::ifstream(folder + "/fonts.txt") >> std::hex >> kept);
}

TEST_F(Gallery, ShapesInFrames) {
    const Frame frame(tissue, 200, 150, 161, 121);
    Sheet sheet("shapes", 4);
    for (int32_t style = VEX_MARKER_CROSS; style <= VEX_MARKER_CROSS_CIRCLE; ++style)
        for (const int32_t angle : angles) sheet.Add(Burnt(frame, Nothing), Burnt(frame, Shape(style, angle)));
    sheet.Check();
}

TEST_F(Gallery, ShapesOnASurfaceOf144DotsAnInch) {
    const Frame frame(tissue, 200, 150, 161, 121);
    Sheet sheet("shapes_surface", 4);
    for (int32_t style = VEX_MARKER_CROSS; style <= VEX_MARKER_CROSS_CIRCLE; ++style)
        for (const int32_t angle : angles)
            sheet.Add(Painted(frame, 200, 150, Nothing), Painted(frame, 200, 150, Shape(style, angle), false, 144));
    sheet.Check();
}

TEST_F(Gallery, ShapesOnARenderTarget) {
    const Frame frame(tissue, 200, 150, 161, 121);
    Sheet sheet("shapes_target", 4);
    for (int32_t style = VEX_MARKER_CROSS; style <= VEX_MARKER_CROSS_CIRCLE; ++style)
        for (const int32_t angle : angles)
            sheet.Add(Painted(frame, 200, 150, Nothing), Painted(frame, 200, 150, Shape(style, angle), true));
    sheet.Check();
}

TEST_F(Gallery, WatermarksInFrames) {
    const Frame frame(moon, 100, 100, 180, 150);
    Sheet sheet("watermark", 6);
    for (const uint8_t alpha : {uint8_t(0), uint8_t(35), uint8_t(75)})
        for (const int32_t angle : {0, 90'000, 45'000, 12'345, 180'000, -90'000})
            sheet.Add(Burnt(frame, Nothing), Burnt(frame, Water(angle, alpha)));
    for (const auto& [x, y] : {std::pair(-40, -30), std::pair(130, 100)})
        sheet.Add(Burnt(frame, Nothing), Burnt(frame, Water(12'345, 35, x, y)));
    sheet.Check();
}

TEST_F(Gallery, WatermarksOnASurfaceAndARenderTarget) {
    const Frame frame(moon, 100, 100, 180, 150);
    Sheet sheet("watermark_painted", 4);
    for (const bool onTarget : {false, true})
        for (const uint8_t alpha : {uint8_t(35), uint8_t(75)})
            for (const int32_t angle : {0, 12'345})
                sheet.Add(Painted(frame, 220, 170, Nothing), Painted(frame, 220, 170, Water(angle, alpha), onTarget));
    sheet.Check();
}

TEST_F(Gallery, TextsInTheFourCorners) {
    const Frame frame(cell, 100, 200, 280, 170);
    Sheet sheet("corners", 4);
    const auto only = [this](bool scale, bool date, bool contrast) {
        MarkerTxt txt = everything;
        txt.Scale = scale;
        txt.Date = date ? VEX_DATE_NUMERIC : VEX_DATE_NONE;
        txt.Contrast = contrast;
        return txt;
    };
    for (MarkerTxt txt : {only(true, false, false), only(false, true, false), only(false, false, true),
                          only(true, true, false), only(true, false, true), only(false, true, true), everything})
        for (int32_t corner = VEX_CORNER_TOP_LEFT; corner <= VEX_CORNER_BOTTOM_RIGHT; ++corner) {
            txt.MarkerPos = corner;
            sheet.Add(Burnt(frame, Nothing), Burnt(frame, Texts(txt), false, {10, 4, 6, 8}));
        }
    sheet.Check(true);
}

TEST_F(Gallery, FontSizesAndWeights) {
    const Frame frame(cell, 60, 200, 460, 130);
    Sheet sheet("fonts", 3);
    for (int32_t size = 0; size <= 6; ++size)
        for (int32_t weight = 0; weight <= 2; ++weight) {
            MarkerTxt txt = everything;
            txt.FontSize = size;
            txt.FontWeight = weight;
            txt.Scale = 0;
            sheet.Add(Burnt(frame, Nothing), Burnt(frame, Texts(txt)));
        }
    sheet.Check(true);
}

// A bar grows with the height of its picture.
TEST_F(Gallery, ScaleBarsOfEverySize) {
    const Frame frame(cell, 100, 0, 200, 660);
    Sheet sheet("bars", 7);
    for (int32_t size = 0; size <= 6; ++size) {
        MarkerTxt txt = everything;
        txt.ScaleSize = size;
        txt.Date = VEX_DATE_NONE;
        txt.Contrast = 0;
        constexpr int32_t rows = 100;
        sheet.Add(bottomOf(Burnt(frame, Nothing), rows), bottomOf(Burnt(frame, Texts(txt)), rows));
    }
    sheet.Check(true);
}

TEST_F(Gallery, Plates) {
    const Frame frame(tissue, 100, 100, 220, 130);
    Sheet sheet("plates", 3);
    for (int32_t plate = 0; plate <= 2; ++plate) {
        MarkerTxt txt = everything;
        txt.eBackground = plate;
        txt.ScaleColor = txt.DateColor = txt.ContrastColor = 0x0000C0;
        sheet.Add(Burnt(frame, Nothing), Burnt(frame, Texts(txt)));
    }
    sheet.Check(true);
}

TEST_F(Gallery, DateFormats) {
    const Frame frame(moon, 0, 200, 512, 70);
    Sheet sheet("dates", 1);
    for (int32_t date = VEX_DATE_SHORT; date <= VEX_DATE_NUMERIC; ++date)
        sheet.Add(
            Burnt(frame, Nothing),
            Burnt(frame,
                  Texts({.MarkerPos = VEX_CORNER_BOTTOM_LEFT, .FontSize = 3, .Date = date, .DateColor = 0x00FFFF})));
    sheet.Check(true);
}

TEST_F(Gallery, ScriptsOfTheWorld) {
    const Frame frame(cell, 100, 200, 300, 110);
    Sheet sheet("scripts", 3);
    for (const char16_t* const text :
         {u"Ångström, größer", u"ΑΒΓ Ωμέγα", u"Съёмка №1", u"显微镜 400倍", u"顕微鏡カメラ", u"مجهر ضوئي",
          u"a\u0301 e\u0308 n\u0303 (combined)", u"אור", u"50 µm² → ±3 ℃"}) {
        MarkerTxt txt = everything;
        txt.Date = VEX_DATE_NONE;
        txt.Contrast = 0;
        txt.FontSize = 4;
        sheet.Add(Burnt(frame, Nothing), Burnt(frame, Texts(txt, text)));
    }
    sheet.Check(true);
}

TEST_F(Gallery, TextsOnASurfaceAndARenderTargetOfManySizes) {
    const Frame frame(cell, 100, 200, 300, 220);
    for (const bool onTarget : {false, true})
        for (const int32_t percent : {50, 100, 180}) {
            Sheet sheet(std::string("texts_") + (onTarget ? "target_" : "surface_") + std::to_string(percent), 2);
            for (const int32_t corner : {VEX_CORNER_TOP_LEFT, VEX_CORNER_BOTTOM_RIGHT}) {
                MarkerTxt txt = everything;
                txt.MarkerPos = corner;
                txt.eBackground = 1;
                const int32_t columns = 300 * percent / 100, rows = 220 * percent / 100;
                sheet.Add(Painted(frame, columns, rows, Nothing), Painted(frame, columns, rows, Texts(txt), onTarget));
            }
            sheet.Check(true);
        }
}

TEST_F(Gallery, EverythingInAStill) {
    const Frame frame(tissue, 0, 0, 511, 500);
    Sheet sheet("everything", 1);
    const Setting water = Water(12'345, 35, 380, 10), shape = Shape(VEX_MARKER_CROSS_CIRCLE, 12'345),
                  texts = Texts(everything);
    sheet.Add(Burnt(frame, Nothing), Burnt(
                                         frame,
                                         [&](CMarker& marker) {
                                             water(marker);
                                             shape(marker);
                                             texts(marker);
                                         },
                                         true));
    sheet.Check(true);
}

// The fourth byte is nobody's, and all else is the same.
TEST_F(Gallery, AFrameOf4BytesShowsWhatOneOf3Does) {
    const Frame three(tissue, 10, 20, 301, 207, 3), four(tissue, 10, 20, 301, 207, 4);
    const Setting water = Water(45'000, 35), texts = Texts(everything);
    for (const int32_t angle : angles) {
        const Setting all = [&, shape = Shape(VEX_MARKER_CROSS_RECTANGLE, angle)](CMarker& marker) {
            water(marker);
            shape(marker);
            texts(marker);
        };
        EXPECT_EQ(Burnt(four, all), Burnt(three, all));
    }
}

}  // namespace gallery_test
}  // namespace vexcap::test
