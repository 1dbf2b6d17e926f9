#include "platform/fake/fake_settings.h"

#include "platform/fake/settings_testing.h"

namespace vexcap::test {
namespace fake_settings_test {

struct FakeHarness {
    ISettings& settings() { return fake; }
    vex_key* root() { return fake.root(); }
    FakeSettings fake;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, SettingsContract, FakeHarness);

TEST(FakeSettings, FailsWhenItIsTold) {
    FakeSettings fake;
    const auto key = std::move(fake.CreateKey(fake.root(), u"a")).value();
    ASSERT_TRUE(key->WriteNumber(u"a", 1).ok());
    fake.writeFailure = VEX_E_DISK_FULL;
    EXPECT_EQ(key->WriteNumber(u"a", 2), VEX_E_DISK_FULL);
    EXPECT_EQ(key->WriteText(u"a", u"2"), VEX_E_DISK_FULL);
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
    fake.failure = E_ACCESSDENIED;
    EXPECT_EQ(fake.CreateKey(fake.root(), u"a").code(), E_ACCESSDENIED);
}

}  // namespace fake_settings_test
}  // namespace vexcap::test
