#include "platform/linux/plugins/text_plugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/fake/fake_loader.h"
#include "platform/fake/fake_text_raster.h"

namespace vexcap {
namespace text_plugin_test {

std::atomic<int> asked = 0;
ITextRaster* plugin(uint32_t version) {
    static FakeTextRaster texts;
    ++asked;
    return version == textPluginVersion ? &texts : nullptr;
}
ITextRaster* otherPlugin(uint32_t) { return nullptr; }

/// One character of the fake, 6 x 12 pixels, with a column and a row more.
struct Drawing {
    TextMask Mask() { return {pixels.data(), 7, 13}; }
    std::vector<uint8_t> pixels = std::vector<uint8_t>(7 * 13);
};

void expectNoText(TextPlugin& texts) {
    EXPECT_EQ(texts.Measure({}, u"a"), TextSize());
    Drawing drawing;
    EXPECT_FALSE(texts.Draw({}, u"a", drawing.Mask(), 0, 0));
    EXPECT_EQ(drawing.pixels, Drawing().pixels);
}

TEST(TextPlugin, HandsEverythingToThePlugin) {
    FakeLoader loader;
    loader.add(u"libvexcap-text.so.1", {{"vexcap_text", symbolOf(&plugin)}});
    TextPlugin texts(loader);
    EXPECT_EQ(texts.Measure({.height = 20, .weight = 700}, u"abc"), (TextSize{33, 20}));
    Drawing got, want;
    EXPECT_TRUE(texts.Draw({}, u"a", got.Mask(), 1, 1));
    EXPECT_TRUE(FakeTextRaster().Draw({}, u"a", want.Mask(), 1, 1));
    EXPECT_EQ(got.pixels, want.pixels);
    EXPECT_FALSE(texts.Draw({}, u"", got.Mask(), 1, 1));
}

TEST(TextPlugin, LoadsWhenItIsFirstNeededAndOnce) {
    FakeLoader loader;
    loader.add(u"libvexcap-text.so.1", {{"vexcap_text", symbolOf(&plugin)}});
    TextPlugin texts(loader);
    EXPECT_TRUE(loader.calls().empty());
    asked = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&texts] { EXPECT_EQ(texts.Measure({}, u"a"), (TextSize{6, 12})); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(loader.loaded(u"libvexcap-text.so.1"), 1);
    EXPECT_EQ(asked, 1);
}

TEST(TextPlugin, WithoutThePluginNothingIsDrawnAndItIsLookedForOnce) {
    FakeLoader loader;
    TextPlugin texts(loader);
    expectNoText(texts);
    EXPECT_EQ(loader.calls().size(), 1u);
}

TEST(TextPlugin, APluginOfAnotherVersionIsLetGo) {
    FakeLoader loader;
    loader.add(u"libvexcap-text.so.1", {{"vexcap_text", symbolOf(&otherPlugin)}});
    TextPlugin texts(loader);
    expectNoText(texts);
    EXPECT_EQ(loader.loaded(u"libvexcap-text.so.1"), 0);
}

TEST(TextPlugin, ALibraryWithoutTheFunctionIsLetGo) {
    FakeLoader loader;
    loader.add(u"libvexcap-text.so.1", {});
    TextPlugin texts(loader);
    expectNoText(texts);
    EXPECT_EQ(loader.loaded(u"libvexcap-text.so.1"), 0);
}

}  // namespace text_plugin_test
}  // namespace vexcap
