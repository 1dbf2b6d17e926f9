// Settings change on one thread while frames are burnt and painted on others.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "overlay/marker_testing.h"

namespace vexcap {
namespace marker_threads_test {

using test::Bytes;
using test::Frame;
using test::Surface;

constexpr int32_t width = 160, height = 120;

/// Ports that any thread may use.
struct ThreadRig {
    FakeTextRaster texts;
    FakeDateText dates;
    FakeClock clock;
    FakeDisk disk;
    OverlayPorts ports() { return {texts, dates, clock, disk}; }
};

/// Two records whose pictures have nothing in common.
MarkerTxt recordOf(bool first) {
    MarkerTxt txt = test::plainTxt();
    txt.MarkerPos = first ? VEX_CORNER_TOP_LEFT : VEX_CORNER_BOTTOM_RIGHT;
    txt.FontSize = first ? 0 : 3;
    txt.FontWeight = first ? 0 : 2;
    txt.eBackground = first ? 1 : 2;
    txt.Contrast = 1;
    txt.ContrastColor = first ? 0x0000FF : 0xFF0000;
    return txt;
}

MarkerGeo geoOf(bool first) {
    return first ? MarkerGeo{VEX_MARKER_CROSS, 0xFF, 0, 10, 90, 1, 1, -40, 0, 0}
                 : MarkerGeo{VEX_MARKER_RECTANGLE, 0xFF00, 0, 20, 20, 1, 1, 40, 40, 0};
}

Bytes burntBy(CMarker& marker) {
    Frame frame(width, height);
    marker.BurnOverlay(frame.bytes.data(), width, height, false, {}, 3);
    return frame.bytes;
}

Bytes paintedBy(CMarker& marker) {
    Surface surface(width, height);
    const Frame frame(width, height);
    marker.DrawOverlayGdi(frame.bytes.data(), 3, width, height, surface.view(), {0, 0, width, height});
    return surface.bytes;
}

/// Burns and paints while `set` puts one of two settings after the other on the marker. Every frame and every paint
/// must be one of the two that a marker with one setting alone gives.
template <typename Set>
void expectNoHalfSetting(Set set) {
    ThreadRig rig;
    Bytes burnt[2], painted[2];
    for (const bool first : {false, true}) {
        CMarker alone(rig.ports(), nullptr);
        set(alone, first);
        burnt[first] = burntBy(alone);
        painted[first] = paintedBy(alone);
    }
    ASSERT_NE(burnt[0], burnt[1]);
    ASSERT_NE(painted[0], painted[1]);

    CMarker marker(rig.ports(), nullptr);
    set(marker, true);
    std::atomic<bool> ended = false;
    std::atomic<int> torn = 0;
    std::thread burner([&] {
        for (int i = 0; i < 300; ++i) {
            const Bytes frame = burntBy(marker);
            if (frame != burnt[0] && frame != burnt[1]) ++torn;
        }
        ended = true;
    });
    std::thread painter([&] {
        while (!ended) {
            const Bytes paint = paintedBy(marker);
            if (paint != painted[0] && paint != painted[1]) ++torn;
        }
    });
    for (bool first = false; !ended; first = !first) set(marker, first);
    burner.join();
    painter.join();
    EXPECT_EQ(torn, 0);
}

TEST(MarkerThreads, NoFrameAndNoPaintSeesHalfOfTheTexts) {
    expectNoHalfSetting([](CMarker& marker, bool first) { marker.SetTxt(recordOf(first)); });
}

TEST(MarkerThreads, NoFrameAndNoPaintSeesHalfOfAShape) {
    expectNoHalfSetting([](CMarker& marker, bool first) { marker.SetGeo(geoOf(first)); });
}

TEST(MarkerThreads, EverySettingMayChangeAtAnyTime) {
    ThreadRig rig;
    CMarker marker(rig.ports(), nullptr), recorded(rig.ports(), nullptr);
    std::vector<uint8_t> dib(sizeof(vex_bitmap_header) + 12 * 4, 90);
    const vex_bitmap_header header = {40, 4, 4, 1, 24, 0, 0, 0, 0, 0, 0};
    std::memcpy(dib.data(), &header, sizeof header);
    std::atomic<bool> ended = false;
    std::thread host([&] {
        for (uint32_t i = 0; !ended; ++i) {
            marker.SetTxt(recordOf(i % 2));
            marker.SetGeo(geoOf(i % 3 == 0));
            marker.SetScale({double(i % 50), i % 5 ? u"1 mm" : nullptr, i % 50, u"2 mm", i % 7 ? u"4x" : nullptr});
            marker.SetTick(i % 9);
            marker.SetFlip(i, 1 + i % 2);
            marker.SetChrome(i & 1);
            marker.SetNegative(i & 2);
            marker.SetWater({uint8_t(i), i % 4 ? dib.data() : nullptr});
            marker.SetWaterOffset(int32_t(i % 100), 3);
            marker.SetWaterRotate(int32_t(i % 8) * 45'000);
            recorded.CopyFrom(marker);
            rig.clock.advance(100);
        }
    });
    std::thread painter([&] {
        while (!ended) {
            paintedBy(marker);
            marker.HasPaint();
            marker.HasWork(FrameMode::Still);
        }
    });
    for (int i = 0; i < 200; ++i) {
        burntBy(marker);
        burntBy(recorded);
    }
    ended = true;
    host.join();
    painter.join();
}

}  // namespace marker_threads_test
}  // namespace vexcap
