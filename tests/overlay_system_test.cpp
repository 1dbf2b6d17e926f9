// Overlays through the whole library: a simulated camera, texts drawn by the plug-in, and every way that a picture
// takes.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <optional>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "recording/avi_testing.h"
#include "tests/support/queue_window.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace overlay_system_test {

constexpr int32_t width = 640, height = 480;
constexpr size_t rowBytes = width * 3;

/// Pixels in the size of the picture, three bytes each, top row first.
using Pixels = std::vector<uint8_t>;

/// The part that the watermark hides, where a picture is the same in each frame.
constexpr int32_t hiddenWidth = 320, hiddenHeight = 260;

Pixels hiddenPart(const Pixels& pixels) {
    Pixels part;
    for (int32_t y = 0; y < hiddenHeight; ++y) {
        const auto row = pixels.begin() + ptrdiff_t(y) * ptrdiff_t(rowBytes);
        part.insert(part.end(), row, row + hiddenWidth * 3);
    }
    return part;
}

size_t countOfColour(const Pixels& pixels, uint32_t colour) {
    const uint8_t bytes[] = {uint8_t(colour >> 16), uint8_t(colour >> 8), uint8_t(colour)};
    size_t count = 0;
    for (size_t i = 0; i < pixels.size(); i += 3) count += std::memcmp(&pixels[i], bytes, 3) == 0;
    return count;
}

Pixels topDown(const uint8_t* bottomUp) {
    Pixels pixels;
    for (int32_t y = height - 1; y >= 0; --y)
        pixels.insert(pixels.end(), bottomUp + size_t(y) * rowBytes, bottomUp + size_t(y + 1) * rowBytes);
    return pixels;
}

class Overlay : public testing::Test {
protected:
    static constexpr uint32_t lineColour = 0x102030, barColour = 0x405060, dateColour = 0x708090,
                              waterColour = 0xA0B0C0;

    void start(const host::Device& camera = {"Simulated", "sim-fast"}) {
        context.emplace(window.get(), camera, VEX_OPEN_TEMPTINT);
        ASSERT_EQ(vexcap_start(context->get(), window.get(), host::messageStill, 1, 0, 0), S_OK);
        frame();
    }
    void frame() { ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, 60000)); }
    /// A watermark over the top left, a cross through it, scale bar and date on top.
    void drawEverything() const {
        std::vector<uint8_t> dib(40 + size_t(hiddenWidth) * hiddenHeight * 3);
        const vex_bitmap_header header = {
            .biSize = 40, .biWidth = hiddenWidth, .biHeight = hiddenHeight, .biPlanes = 1, .biBitCount = 24};
        std::memcpy(dib.data(), &header, sizeof header);
        for (size_t i = 40; i < dib.size(); i += 3) std::memcpy(&dib[i], "\xA0\xB0\xC0", 3);
        const WaterInfo water = {0, dib.data()};
        vexcap_set_water(context->get(), &water);
        drawWithoutWater();
    }
    void drawWithoutWater() const {
        const MarkerGeo geo = {.eMarkerGeo = VEX_MARKER_CROSS,
                               .eMarkerGeoColor = lineColour,
                               .eMarkerGeox = 100,
                               .eMarkerGeoy = 100,
                               .eMarkerxPos = -20};
        const MarkerTxt txt = {.MarkerPos = VEX_CORNER_TOP_LEFT,
                               .FontSize = 2,
                               .Scale = 1,
                               .ScaleColor = barColour,
                               .Date = VEX_DATE_NUMERIC,
                               .DateColor = dateColour};
        EXPECT_EQ(vexcap_set_markergeo(context->get(), &geo), 1);
        EXPECT_EQ(vexcap_set_markertxt(context->get(), &txt), 1);
        vexcap_set_scale(context->get(), 100, u"100 µm", 100, u"100 µm", u"");
    }
    Pixels grabbed() const {
        Pixels bitmap(40 + rowBytes * height);
        EXPECT_EQ(
            vexcap_grabber(context->get(), bitmap.data(), int32_t(rowBytes * height), VEX_GRAB_DISPLAY, 0, 0, 0, 0, 0),
            1);
        return topDown(bitmap.data() + 40);
    }
    /// One paint, each pixel on one of a surface.
    Pixels painted() const {
        std::vector<uint8_t> memory(size_t(width) * height * 4);
        vex_surface surface = {memory.data(), width, height, width * 4, 0, 0};
        const vex_rect rectangle = {0, 0, width, height};
        vexcap_draw_gdi(context->get(), &surface, &rectangle, width, height);
        Pixels pixels(rowBytes * height);
        for (size_t i = 0; i < size_t(width) * height; ++i) std::memcpy(&pixels[i * 3], &memory[i * 4], 3);
        return pixels;
    }
    /// The last frame of an uncompressed file.
    static Pixels lastFrameOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        const AviFrame entry = readAvi(file).frames().back();
        Pixels bytes(entry.size);
        file.clear();
        file.seekg(std::streamoff(entry.position));
        file.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()));
        return topDown(bytes.data());
    }

    const TempDir directory;
    QueueWindow window;
    const host::Engine engine{{.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Pictures};
    std::optional<host::Context> context;
};

/// The clock may go on between two pictures: the date is compared with one that was taken in the same second.
template <typename First, typename Second>
void expectEqualWithinASecond(First first, Second second) {
    Pixels one, other;
    for (int attempt = 0; attempt < 10; ++attempt) {
        one = first();
        other = second();
        if (one == other) break;
    }
    EXPECT_TRUE(one == other);
}

TEST_F(Overlay, CanHaveTexts) { EXPECT_EQ(vexcap_can_draw_texts(), 1); }

TEST_F(Overlay, IsTheSameOnTheScreenAndInAGrab) {
    start();
    drawEverything();
    EXPECT_EQ(vexcap_draw_buffered(context->get()), 1u);
    const Pixels seen = hiddenPart(painted());
    EXPECT_GT(countOfColour(seen, waterColour), size_t(hiddenWidth * hiddenHeight / 2));
    EXPECT_GT(countOfColour(seen, lineColour), size_t(hiddenHeight));
    EXPECT_GT(countOfColour(seen, barColour), 300u);
    EXPECT_GT(countOfColour(seen, dateColour), 200u);
    expectEqualWithinASecond([&] { return hiddenPart(painted()); }, [&] { return hiddenPart(grabbed()); });
}

TEST_F(Overlay, IsTheSameInARecording) {
    start();
    drawEverything();
    const std::string path = directory.file("a.avi");
    const auto recorded = [&] {
        EXPECT_EQ(vexcap_start_capture_avi(context->get(), wide(path).c_str(), nullptr, 0), S_OK);
        EXPECT_TRUE(window.pumpUntil([&] { return context->Counts().written >= 2; }, 60000));
        vexcap_stop_capture(context->get());
        return hiddenPart(lastFrameOf(path));
    };
    expectEqualWithinASecond(recorded, [&] { return hiddenPart(grabbed()); });
}

TEST_F(Overlay, ChangesNothingOfThePreviewsOwnPicture) {
    start();
    drawEverything();
    grabbed();
    marker_set_captureafter(0);
    EXPECT_EQ(countOfColour(grabbed(), waterColour), 0u);
    marker_set_captureafter(1);
}

TEST_F(Overlay, IsDrawnIntoAStillWithTheScaleOfStills) {
    start({"Simulated microscope camera", "sim-microscope"});
    ASSERT_GT(vexcap_has_stillimage(context->get()), 0u);
    ASSERT_EQ(vexcap_can_grabber_stillimage(context->get()), 1);
    drawWithoutWater();
    ASSERT_EQ(vexcap_grabber_stillimage(context->get(), nullptr), 1);
    ASSERT_TRUE(window.pumpUntil([&] { return window.count(host::messageStill) > 0; }, 60000));
    int32_t stillWidth = 0, stillHeight = 0;
    ASSERT_EQ(vexcap_stillimage_size(context->get(), &stillWidth, &stillHeight), 1);
    const size_t stride = (size_t(stillWidth) * 24 + 31) / 32 * 4, bytes = stride * size_t(stillHeight);
    Pixels bitmap(40 + bytes);
    const auto bar = [&](uint32_t length) {
        vexcap_set_scale(context->get(), 1, u"video", length, u"still", u"");
        EXPECT_EQ(vexcap_grabber(context->get(), bitmap.data(), int32_t(bytes), VEX_GRAB_DISPLAY, 1, 0, 0, 0, 0), 1);
        return countOfColour(Pixels(bitmap.begin() + 40, bitmap.end() - ptrdiff_t(bytes % 3)), barColour);
    };
    EXPECT_GT(bar(400), bar(100) + 300);
}

TEST_F(Overlay, ASoftwareTargetShowsWhatIsDrawnOnRenderTargets) {
    start();
    drawWithoutWater();
    std::vector<uint8_t> memory(size_t(width) * height * 4);
    const vex_surface surface = {memory.data(), width, height, width * 4, 0, 0};
    const vex_rect rectangle = {0, 0, width, height};
    vex_render_target* const target = vexcap_target_new(&surface);
    ASSERT_NE(target, nullptr);
    vexcap_draw_d2d(context->get(), target, &rectangle, width, height);
    vexcap_target_free(target);
    Pixels pixels(rowBytes * height);
    for (size_t i = 0; i < size_t(width) * height; ++i) std::memcpy(&pixels[i * 3], &memory[i * 4], 3);
    EXPECT_GT(countOfColour(pixels, lineColour), size_t(width));
    EXPECT_GT(countOfColour(pixels, barColour), 300u);
    EXPECT_GT(countOfColour(pixels, dateColour), 200u);
}

TEST(OverlaySettings, AreRememberedBelowTheRootThatTheHostGives) {
    const TempDir directory;
    vex_key* const root = vex_key_directory(directory.path().c_str());
    ASSERT_NE(root, nullptr);
    ASSERT_EQ(marker_init(root, u"Company", u"Product"), 0);
    MarkerTxt txt = {};
    marker_get_markertxt(&txt);
    EXPECT_EQ(txt.MarkerPos, VEX_CORNER_BOTTOM_RIGHT);
    txt.Date = VEX_DATE_NUMERIC;
    txt.DateColor = 0xFFFFFFFF;
    marker_set_markertxt(&txt);
    marker_set_captureafter(0);
    EXPECT_LT(marker_init(nullptr, u"Company", u"Product"), 0);
    EXPECT_EQ(marker_get_markertxt(&txt)->Date, VEX_DATE_NONE);
    EXPECT_EQ(marker_get_captureafter(), 1u);
    ASSERT_EQ(marker_init(root, u"company", u"PRODUCT"), 0) << "names compare without case";
    EXPECT_EQ(marker_get_markertxt(&txt)->Date, VEX_DATE_NUMERIC);
    EXPECT_EQ(txt.DateColor, 0xFFFFFFFF);
    EXPECT_EQ(marker_get_captureafter(), 0u);
    marker_init(nullptr, nullptr, nullptr);
    vex_key_free(root);
}

TEST(OverlaySettings, EachIsAlsoReachedByItsName) {
    const TempDir directory;
    vex_key* const root = vex_key_directory(directory.path().c_str());
    ASSERT_EQ(marker_init(root, u"Company", u"Product"), 0);
    MarkerGeo geo = {};
    MarkerTxt txt = {};
    const struct {
        const vex_char* name;
        uint32_t value;
        std::function<uint32_t()> ofRecord;
    } rows[] = {
        {u"eMarkerGeo", 3, [&] { return uint32_t(geo.eMarkerGeo); }},
        {u"eMarkerGeoFlag", 0, [&] { return geo.eMarkerGeoFlag; }},
        {u"eMarkerGeoAngle", 359'999, [&] { return uint32_t(geo.eMarkerGeoAngle); }},
        {u"eMarkerGeoColor", 0x123456, [&] { return geo.eMarkerGeoColor; }},
        {u"eMarkerGeox", 11, [&] { return uint32_t(geo.eMarkerGeox); }},
        {u"eMarkerGeoy", 12, [&] { return uint32_t(geo.eMarkerGeoy); }},
        {u"eMarkerGeox2", 13, [&] { return uint32_t(geo.eMarkerGeox2); }},
        {u"eMarkerGeoy2", 14, [&] { return uint32_t(geo.eMarkerGeoy2); }},
        {u"eMarkerxPos", uint32_t(-15), [&] { return uint32_t(geo.eMarkerxPos); }},
        {u"eMarkeryPos", uint32_t(-16), [&] { return uint32_t(geo.eMarkeryPos); }},
        {u"MarkerPos", 2, [&] { return uint32_t(txt.MarkerPos); }},
        {u"Scale", 1, [&] { return txt.Scale; }},
        {u"ScaleWithPower", 17, [&] { return txt.ScaleWithPower; }},
        {u"ScaleColor", 0x234567, [&] { return txt.ScaleColor; }},
        {u"Date", VEX_DATE_LONG, [&] { return uint32_t(txt.Date); }},
        {u"DateColor", 0x345678, [&] { return txt.DateColor; }},
        {u"Contrast", 18, [&] { return txt.Contrast; }},
        {u"ContrastColor", 0x456789, [&] { return txt.ContrastColor; }},
        {u"FontSize", 5, [&] { return uint32_t(txt.FontSize); }},
        {u"ScaleSize", 6, [&] { return uint32_t(txt.ScaleSize); }},
        {u"FontWeight", 0, [&] { return uint32_t(txt.FontWeight); }},
        {u"eBackground", 2, [&] { return uint32_t(txt.eBackground); }},
        {u"CaptureAfter", 0, [] { return marker_get_captureafter(); }},
    };
    const auto readRecords = [&] {
        marker_get_markergeo(&geo);
        marker_get_markertxt(&txt);
    };
    uint32_t number = 0;
    for (const auto& row : rows) {
        readRecords();
        EXPECT_EQ(vexcap_get_setting(row.name, &number, nullptr), S_FALSE) << narrow(row.name);
        EXPECT_EQ(number, row.ofRecord()) << narrow(row.name);
        ASSERT_NE(number, row.value) << narrow(row.name);
        ASSERT_EQ(vexcap_put_setting(row.name, row.value, nullptr), S_OK) << narrow(row.name);
        readRecords();
        EXPECT_EQ(row.ofRecord(), row.value) << narrow(row.name);
    }
    ASSERT_EQ(marker_init(root, u"Company", u"Product"), 0);
    readRecords();
    for (const auto& row : rows) {
        EXPECT_EQ(row.ofRecord(), row.value) << narrow(row.name) << " is remembered";
        EXPECT_EQ(vexcap_get_setting(row.name, &number, nullptr), S_OK) << narrow(row.name);
        EXPECT_EQ(number, row.value) << narrow(row.name);
    }
    const MarkerTxt other = {.MarkerPos = 3, .Date = VEX_DATE_SHORT};
    marker_set_markertxt(&other);
    EXPECT_EQ(vexcap_get_setting(u"MarkerPos", &number, nullptr), S_OK);
    EXPECT_EQ(number, 3u);
    marker_init(nullptr, nullptr, nullptr);
    vex_key_free(root);
}

}  // namespace overlay_system_test
}  // namespace vexcap::test
