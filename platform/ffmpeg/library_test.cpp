// The built plug-in, as the library meets it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>

#include "platform/linux/plugins/media_plugin.h"

namespace vexcap {
namespace library_test {

struct Library {
    Library() : handle(dlopen(VEXCAP_MEDIA_PATH, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
        if (handle) function = reinterpret_cast<MediaPluginFunction*>(dlsym(handle, "vexcap_media"));
    }
    ~Library() {
        if (handle) dlclose(handle);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    void* const handle;
    MediaPluginFunction* function = nullptr;
};

TEST(MediaLibrary, GivesItsServicesForItsVersionAlone) {
    const Library library;
    ASSERT_NE(library.function, nullptr);
    IMedia* const media = library.function(mediaPluginVersion);
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(library.function(mediaPluginVersion), media);
    EXPECT_EQ(library.function(mediaPluginVersion + 1), nullptr);
    EXPECT_EQ(library.function(0), nullptr);
    EXPECT_FALSE(media->Compressors().empty());
    EXPECT_TRUE(media->OpenCompressor(media->Compressors()[0].displayName, {.width = 64, .height = 48}).ok());
    EXPECT_EQ(media->OpenFile(u"/no/such/file").code(), VEX_E_FILE_NOT_FOUND);
}

TEST(MediaLibrary, WhatItMadeOutlivesItsHandle) {
    std::unique_ptr<ICompressor> compressor;
    {
        const Library library;
        IMedia* const media = library.function(mediaPluginVersion);
        auto made = media->OpenCompressor(media->Compressors()[0].displayName, {.width = 64, .height = 48});
        ASSERT_TRUE(made.ok());
        compressor = std::move(made).value();
    }
    const std::vector<std::byte> picture(64 * 48 * 3);
    EXPECT_EQ(compressor->Put(picture, 0), S_OK);
}

TEST(MediaLibrary, NothingElseIsExported) {
    const Library library;
    for (const char* const name :
         {"_ZTVN6vexcap6ffmpeg11FfmpegMediaE", "_ZN6vexcap6toUtf8B5cxx11ESt17basic_string_viewIDsSt11char_traitsIDsEE",
          "vexcap_send_key"}) {
        void* const symbol = dlsym(library.handle, name);
        Dl_info info{};
        EXPECT_FALSE(symbol && dladdr(symbol, &info) && std::strstr(info.dli_fname, "vexcap-media")) << name;
    }
}

}  // namespace library_test
}  // namespace vexcap
