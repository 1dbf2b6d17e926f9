// The built plug-in, as the library meets it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>

#include "platform/linux/plugins/text_plugin.h"
#include "platform/pango/text_test_support.h"

namespace vexcap {
namespace library_test {

struct Library {
    Library() : handle(dlopen(VEXCAP_TEXT_PATH, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
        if (handle) function = reinterpret_cast<TextPluginFunction*>(dlsym(handle, "vexcap_text"));
    }
    ~Library() {
        if (handle) dlclose(handle);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    void* const handle;
    TextPluginFunction* function = nullptr;
};

TEST(TextLibrary, GivesItsTextsForItsVersionAlone) {
    const Library library;
    ASSERT_NE(library.function, nullptr);
    ITextRaster* const texts = library.function(textPluginVersion);
    ASSERT_NE(texts, nullptr);
    EXPECT_EQ(library.function(textPluginVersion), texts);
    EXPECT_EQ(library.function(textPluginVersion + 1), nullptr);
    EXPECT_EQ(library.function(0), nullptr);
    EXPECT_GT(pango::test::drawn(*texts, {.height = 16}, u"Jupiter").Count(), 0u);
}

TEST(TextLibrary, WhatItMadeOutlivesItsHandle) {
    ITextRaster* texts = nullptr;
    {
        const Library library;
        texts = library.function(textPluginVersion);
    }
    EXPECT_EQ(texts->Measure({.height = 16}, u"2006-11-27 12:45:56"), (TextSize{167, 19}));
}

TEST(TextLibrary, NothingElseIsExported) {
    const Library library;
    for (const char* const name :
         {"_ZTVN6vexcap5pango9PangoTextE", "_ZN6vexcap6toUtf8B5cxx11ESt17basic_string_viewIDsSt11char_traitsIDsEE",
          "vexcap_send_key"}) {
        void* const symbol = dlsym(library.handle, name);
        Dl_info info{};
        EXPECT_FALSE(symbol && dladdr(symbol, &info) && std::strstr(info.dli_fname, "vexcap-text")) << name;
    }
}

}  // namespace library_test
}  // namespace vexcap
