#include "platform/linux/plugins/media_plugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/fake/fake_loader.h"

namespace vexcap {
namespace media_plugin_test {

struct OneCompressor final : IMedia {
    std::vector<Compressor> Compressors() override { return {{u"display", u"friendly"}}; }
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view, const CompressorSettings&) override {
        return E_INVALIDARG;
    }
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t code, uint32_t, uint32_t) override {
        return HRESULT(E_FAIL + HRESULT(code));
    }
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override {
        return path == u"there" ? E_ACCESSDENIED : VEX_E_FILE_NOT_FOUND;
    }
};

std::atomic<int> asked = 0;
IMedia* plugin(uint32_t version) {
    static OneCompressor media;
    ++asked;
    return version == mediaPluginVersion ? &media : nullptr;
}
IMedia* otherPlugin(uint32_t) { return nullptr; }

void expectNoModule(MediaPlugin& media) {
    EXPECT_TRUE(media.Compressors().empty());
    EXPECT_EQ(media.OpenCompressor(u"display", {}).code(), VEX_E_NO_MODULE);
    EXPECT_EQ(media.OpenDecoder(0, 1, 1).code(), VEX_E_NO_MODULE);
    EXPECT_EQ(media.OpenFile(u"there").code(), VEX_E_NO_MODULE);
}

TEST(MediaPlugin, HandsEverythingToThePlugin) {
    FakeLoader loader;
    loader.add(u"libvexcap-media.so.1", {{"vexcap_media", symbolOf(&plugin)}});
    MediaPlugin media(loader);
    ASSERT_EQ(media.Compressors().size(), 1u);
    EXPECT_EQ(media.Compressors()[0].displayName, u"display");
    EXPECT_EQ(media.OpenCompressor(u"display", {}).code(), E_INVALIDARG);
    EXPECT_EQ(media.OpenDecoder(3, 1, 1).code(), E_FAIL + 3);
    EXPECT_EQ(media.OpenFile(u"there").code(), E_ACCESSDENIED);
}

TEST(MediaPlugin, LoadsWhenItIsFirstNeededAndOnce) {
    FakeLoader loader;
    loader.add(u"libvexcap-media.so.1", {{"vexcap_media", symbolOf(&plugin)}});
    MediaPlugin media(loader);
    EXPECT_TRUE(loader.calls().empty());
    asked = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&media] { EXPECT_EQ(media.OpenFile(u"there").code(), E_ACCESSDENIED); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(loader.loaded(u"libvexcap-media.so.1"), 1);
    EXPECT_EQ(asked, 1);
}

TEST(MediaPlugin, WithoutThePluginThereIsNothingAndItIsLookedForOnce) {
    FakeLoader loader;
    MediaPlugin media(loader);
    expectNoModule(media);
    EXPECT_EQ(loader.calls().size(), 1u);
}

TEST(MediaPlugin, APluginOfAnotherVersionIsLetGo) {
    FakeLoader loader;
    loader.add(u"libvexcap-media.so.1", {{"vexcap_media", symbolOf(&otherPlugin)}});
    MediaPlugin media(loader);
    expectNoModule(media);
    EXPECT_EQ(loader.loaded(u"libvexcap-media.so.1"), 0);
}

TEST(MediaPlugin, ALibraryWithoutTheFunctionIsLetGo) {
    FakeLoader loader;
    loader.add(u"libvexcap-media.so.1", {});
    MediaPlugin media(loader);
    expectNoModule(media);
    EXPECT_EQ(loader.loaded(u"libvexcap-media.so.1"), 0);
}

}  // namespace media_plugin_test
}  // namespace vexcap
