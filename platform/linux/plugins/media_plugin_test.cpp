#include "platform/linux/plugins/media_plugin.h"

#include <gtest/gtest.h>

#include "platform/fake/fake_disk.h"
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

IMedia* mediaPlugin(uint32_t version, const PluginHost&) { return pluginObject<IMedia, OneCompressor>(version); }

TEST(MediaPlugin, HandsEverythingToThePlugin) {
    FakeLoader loader;
    FakeDisk disk;
    Log log;
    loader.add(u"libvexcap-media.so.1", {{"vexcap_media", symbolOf(&mediaPlugin)}});
    MediaPlugin media(loader, {disk}, log);
    ASSERT_EQ(media.Compressors().size(), 1u);
    EXPECT_EQ(media.Compressors()[0].displayName, u"display");
    EXPECT_EQ(media.OpenCompressor(u"display", {}).code(), E_INVALIDARG);
    EXPECT_EQ(media.OpenDecoder(3, 1, 1).code(), E_FAIL + 3);
    EXPECT_EQ(media.OpenFile(u"there").code(), E_ACCESSDENIED);
}

TEST(MediaPlugin, HasNothingWithoutThePlugin) {
    FakeLoader loader;
    FakeDisk disk;
    Log log;
    MediaPlugin media(loader, {disk}, log);
    EXPECT_TRUE(media.Compressors().empty());
    EXPECT_EQ(media.OpenCompressor(u"display", {}).code(), VEX_E_NO_MODULE);
    EXPECT_EQ(media.OpenDecoder(0, 1, 1).code(), VEX_E_NO_MODULE);
    EXPECT_EQ(media.OpenFile(u"there").code(), VEX_E_NO_MODULE);
}

}  // namespace media_plugin_test
}  // namespace vexcap
