#include "platform/fake/fake_loader.h"

#include <gtest/gtest.h>

namespace vexcap {
namespace fake_loader_test {

int seven() { return 7; }

TEST(FakeLoader, GivesTheSymbolsThatItWasTold) {
    FakeLoader loader;
    loader.add(u"cameras.so", {{"A_Seven", symbolOf(&seven)}});
    void* const library = loader.Load(u"cameras.so");
    ASSERT_NE(library, nullptr);
    const auto function = reinterpret_cast<int (*)()>(loader.Symbol(library, "A_Seven"));
    ASSERT_NE(function, nullptr);
    EXPECT_EQ(function(), 7);
    EXPECT_EQ(loader.Symbol(library, "A_Eight"), nullptr);
    EXPECT_EQ(loader.Load(u"Cameras.so"), nullptr);
}

TEST(FakeLoader, RemembersItsCallsInOrder) {
    FakeLoader loader;
    loader.add(u"a", {});
    void* const library = loader.Load(u"a");
    loader.Load(u"b");
    loader.Symbol(library, "x");
    EXPECT_EQ(loader.loaded(u"a"), 1);
    loader.Free(library);
    EXPECT_EQ(loader.loaded(u"a"), 0);

    const auto calls = loader.calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].kind, LoaderCall::Kind::Load);
    EXPECT_TRUE(calls[0].found);
    EXPECT_EQ(calls[1].library, u"b");
    EXPECT_FALSE(calls[1].found);
    EXPECT_EQ(calls[2].kind, LoaderCall::Kind::Symbol);
    EXPECT_EQ(calls[2].symbol, "x");
    EXPECT_FALSE(calls[2].found);
    EXPECT_EQ(calls[3].kind, LoaderCall::Kind::Free);
}

TEST(FakeLoader, AHiddenLibraryStaysGoodForThoseWhoHaveIt) {
    FakeLoader loader;
    loader.add(u"a", {{"seven", symbolOf(&seven)}});
    void* const library = loader.Load(u"a");
    loader.hide(u"a");
    EXPECT_EQ(loader.Load(u"a"), nullptr);
    EXPECT_EQ(loader.Symbol(library, "seven"), symbolOf(&seven));
}

}  // namespace fake_loader_test
}  // namespace vexcap
