// A built plug-in, as the library meets it. Compiled for each one, with PLUGIN_PATH, PLUGIN_HEADER and PLUGIN_PORT.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/fake/fake_disk.h"
#include "tests/support/shell.h"

#include PLUGIN_HEADER

namespace vexcap {
namespace plugin_library_test {

using Port = PLUGIN_PORT;

/// The plug-in, loaded as long as this lives.
struct Library {
    Library() : handle(dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
        if (handle) function = reinterpret_cast<PluginFunction<Port>*>(dlsym(handle, Port::plugin.function));
    }
    ~Library() {
        if (handle) dlclose(handle);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    void* const handle;
    PluginFunction<Port>* function = nullptr;
};

FakeDisk disk;
constexpr uint32_t version = Port::plugin.version;

TEST(PluginLibrary, ReturnsItsOneObjectForItsVersionAlone) {
    const Library library;
    ASSERT_NE(library.function, nullptr);
    Port* const object = library.function(version, {disk});
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(library.function(version, {disk}), object);
    EXPECT_EQ(library.function(version + 1, {disk}), nullptr);
    EXPECT_EQ(library.function(0, {disk}), nullptr);
}

TEST(PluginLibrary, StaysLoadedWhenItsHandleIsClosed) {
    { const Library library; }
    void* const handle = dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    EXPECT_NE(handle, nullptr);
    if (handle) dlclose(handle);
}

TEST(PluginLibrary, HasTheNameThatTheLibraryLooksFor) {
    const std::string path = PLUGIN_PATH;
    EXPECT_EQ(path.substr(path.rfind('/') + 1), "lib" + std::string(Port::plugin.library) + ".so.1");
}

TEST(PluginLibrary, ExportsNothingElse) {
    // Names that begin so belong to a sanitizer.
    const std::string list = "nm -D --defined-only " PLUGIN_PATH " | awk '{ print $3 }' | grep -v ^__";
    EXPECT_EQ(test::shell(list).text, std::string(Port::plugin.function) + "\n");
}

}  // namespace plugin_library_test
}  // namespace vexcap
