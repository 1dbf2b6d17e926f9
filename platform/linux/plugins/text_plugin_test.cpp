#include "platform/linux/plugins/text_plugin.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_loader.h"
#include "platform/fake/fake_text_raster.h"

namespace vexcap {
namespace text_plugin_test {

ITextRaster* textPlugin(uint32_t version, const PluginHost&) {
    return pluginObject<ITextRaster, FakeTextRaster>(version);
}

/// One character of the fake, 6 x 12 pixels, with a column and a row more.
struct Drawing {
    TextMask Mask() { return {pixels.data(), 7, 13}; }
    std::vector<uint8_t> pixels = std::vector<uint8_t>(7 * 13);
};

TEST(TextPlugin, HandsEverythingToThePlugin) {
    FakeLoader loader;
    FakeDisk disk;
    Log log;
    loader.add(u"libvexcap-text.so.1", {{"vexcap_text", symbolOf(&textPlugin)}});
    TextPlugin texts(loader, {disk}, log);
    EXPECT_EQ(texts.Measure({.height = 20, .weight = 700}, u"abc"), (TextSize{33, 20}));
    Drawing got, want;
    EXPECT_TRUE(texts.Draw({}, u"a", got.Mask(), 1, 1));
    EXPECT_TRUE(FakeTextRaster().Draw({}, u"a", want.Mask(), 1, 1));
    EXPECT_EQ(got.pixels, want.pixels);
    EXPECT_FALSE(texts.Draw({}, u"", got.Mask(), 1, 1));
}

TEST(TextPlugin, DrawsNothingWithoutThePlugin) {
    FakeLoader loader;
    FakeDisk disk;
    Log log;
    TextPlugin texts(loader, {disk}, log);
    EXPECT_EQ(texts.Measure({}, u"a"), TextSize());
    Drawing drawing;
    EXPECT_FALSE(texts.Draw({}, u"a", drawing.Mask(), 0, 0));
    EXPECT_EQ(drawing.pixels, Drawing().pixels);
}

/// A system without fonts.
struct NoFonts final : ITextRaster {
    TextSize Measure(const TextFont&, std::u16string_view) override { return {}; }
    bool Draw(const TextFont&, std::u16string_view, const TextMask&, int32_t, int32_t) override { return false; }
};

TEST(TextPlugin, ReportsOnceThatNoFontIsThere) {
    FakeLoader loader;
    FakeDisk disk;
    Log log;
    int lines = 0;
    log.SetHook([](void* count, uint32_t, const vex_char*) { ++*static_cast<int*>(count); }, &lines, VEX_LOG_WARNING);
    const auto plugin = [](uint32_t version, const PluginHost&) { return pluginObject<ITextRaster, NoFonts>(version); };
    loader.add(u"libvexcap-text.so.1", {{"vexcap_text", symbolOf(+plugin)}});
    TextPlugin texts(loader, {disk}, log);
    texts.Measure({}, u"");
    EXPECT_EQ(lines, 0);
    texts.Measure({}, u"a");
    texts.Measure({}, u"a");
    EXPECT_EQ(lines, 1);
}

}  // namespace text_plugin_test
}  // namespace vexcap
