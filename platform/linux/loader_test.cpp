#include "platform/linux/loader.h"

#include <gtest/gtest.h>
#include <vexcap/types.h>

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
