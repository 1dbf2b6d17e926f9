#include "platform/linux/loader.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <vexcap/types.h>

#include "base/text.h"
#include "platform/linux/system_testing.h"
#include "platform/system_info.h"

namespace vexcap {
namespace loader_test {

TEST(LinuxLoader, BindsAFunctionOfALibraryByName) {
    LinuxLoader loader;
    void* const library = loader.Load(u"libm.so.6");
    ASSERT_NE(library, nullptr);
    const auto cosine = reinterpret_cast<double (*)(double)>(loader.Symbol(library, "cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(loader.Symbol(library, "no_such_function"), nullptr);
    loader.Free(library);
}

TEST(LinuxLoader, WhatIsNotThereIsNull) {
    LinuxLoader loader;
    EXPECT_EQ(loader.Load(u"/no/such/library.so"), nullptr);
    EXPECT_EQ(loader.Symbol(nullptr, "cos"), nullptr);
    loader.Free(nullptr);
}

/// The file of a library of this process.
std::string fileOf(void* library) {
    const link_map* map = nullptr;
    EXPECT_EQ(dlinfo(library, RTLD_DI_LINKMAP, &map), 0);
    return map ? map->l_name : "";
}

TEST(LinuxLoader, ABareNameIsLookedForInItsOwnFolderToo) {
    const test::TestDirectory directory;
    const test::fs::path own = directory.root / "own";
    LinuxLoader loader(own);
    EXPECT_EQ(loader.Load(u"libowned.so.1"), nullptr);
    test::fs::create_directory(own);
    void* const mathematics = loader.Load(u"libm.so.6");
    test::fs::create_symlink(fileOf(mathematics), own / "libowned.so.1");
    void* const owned = loader.Load(u"libowned.so.1");
    ASSERT_NE(owned, nullptr);
    EXPECT_NE(loader.Symbol(owned, "cos"), nullptr);
    EXPECT_EQ(LinuxLoader(directory.root).Load(u"libowned.so.1"), nullptr);
    EXPECT_EQ(LinuxLoader(directory.root).Load(u"own/libowned.so.1"), nullptr) << "a path is a path";
    loader.Free(owned);
    loader.Free(mathematics);
}

TEST(LinuxLoader, TheSystemsSearchComesFirst) {
    const test::TestDirectory directory;
    test::put(directory.root / "libm.so.6", "no library");
    LinuxLoader loader(directory.root);
    void* const library = loader.Load(u"libm.so.6");
    ASSERT_NE(library, nullptr);
    loader.Free(library);
}

TEST(LinuxLoader, ItsOwnFolderLiesBesideTheFileThatItIsIn) {
    const test::fs::path program = test::fs::read_symlink("/proc/self/exe");
    EXPECT_EQ(ownFolder(), program.parent_path() / "vexcap");
}

TEST(LinuxLoader, SaysWhyALibraryCannotBeLoaded) {
    LinuxLoader loader;
    std::u16string problem;
    EXPECT_EQ(loader.Load(u"/nowhere/libnone.so", problem), nullptr);
    EXPECT_EQ(problem, u"/nowhere/libnone.so: cannot open shared object file: No such file or directory");
    problem.clear();
    EXPECT_EQ(loader.Load(u"/dev/null", problem), nullptr);
    EXPECT_TRUE(problem.starts_with(u"/dev/null: ")) << toUtf8(problem);
    EXPECT_EQ(loader.Load(u"", problem), nullptr);
    EXPECT_EQ(problem, u"no library has this name");
}

TEST(LinuxLoader, AnEmptyNameDoesNotMeanTheProgramItself) { EXPECT_EQ(LinuxLoader().Load(u""), nullptr); }

TEST(LinuxLoader, ANameWithAZeroInItIsNotCutThere) {
    EXPECT_EQ(LinuxLoader().Load(std::u16string_view(u"libm.so.6\0.so", 13)), nullptr);
}

TEST(LinuxLoader, SystemModulesWithoutABuiltInAreNotThere) {
    for (const auto* name : {u"wmvcore.dll", u"Mfplat.dll", u"D2D1.DLL"}) EXPECT_EQ(LinuxLoader().Load(name), nullptr);
}

TEST(LinuxLoader, TheBuiltInVersionIs10) {
    LinuxLoader loader;
    void* const module = loader.Load(u"ntdll.dll");
    const auto version = reinterpret_cast<int32_t (*)(VersionRecord*)>(loader.Symbol(module, "RtlGetVersion"));
    ASSERT_NE(version, nullptr);
    VersionRecord record = {};
    record.size = sizeof record;
    EXPECT_EQ(version(&record), 0);
    EXPECT_EQ(record.major, 10u);
    record.size = 4;
    EXPECT_LT(version(&record), 0);
    EXPECT_LT(version(nullptr), 0);
    EXPECT_EQ(loader.Symbol(module, "cos"), nullptr);
    loader.Free(module);
}

TEST(LinuxLoader, TheBuiltInTickIsSteady) {
    LinuxLoader loader;
    const auto tick = reinterpret_cast<uint64_t (*)()>(loader.Symbol(loader.Load(u"Kernel32.dll"), "GetTickCount64"));
    ASSERT_NE(tick, nullptr);
    const uint64_t first = tick();
    EXPECT_GT(first, 0u);
    EXPECT_GE(tick(), first);
}

TEST(LinuxLoader, TheLocaleNameNeedsRoomForAllOfIt) {
    LinuxLoader loader;
    const auto name = reinterpret_cast<int32_t (*)(vex_char*, int32_t)>(
        loader.Symbol(loader.Load(u"Kernel32.dll"), "GetUserDefaultLocaleName"));
    ASSERT_NE(name, nullptr);
    vex_char buffer[4] = {u'x', u'x', u'x', u'x'};
    EXPECT_EQ(name(buffer, 0), 0);
    EXPECT_EQ(buffer[0], u'x');
    EXPECT_EQ(name(nullptr, 0), 0);
}

}  // namespace loader_test
}  // namespace vexcap
