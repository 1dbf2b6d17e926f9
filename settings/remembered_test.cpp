#include "settings/remembered.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "platform/fake/fake_settings.h"

namespace vexcap {
namespace remembered_test {

/// Keys of recordings and of the overlay over stores of their own.
class Remembered : public testing::Test {
protected:
    Remembered() { init(); }
    void init() { EXPECT_TRUE(overlay.Init(overlayStore, overlayStore.root(), u"Optics", u"Viewer").ok()); }
    SettingValue get(std::u16string_view name) { return getSetting(key.get(), overlay, name).value(); }
    Status put(std::u16string_view name, uint32_t number, std::u16string_view text = {}) {
        return putSetting(key.get(), overlay, name, number, text);
    }

    FakeSettings store, overlayStore;
    const std::unique_ptr<ISettingsKey> key = store.CreateKey(store.root(), u"key").value();
    MarkerSettings overlay;
};

TEST_F(Remembered, EachIsStoredInItsOwnKey) {
    for (const vex_setting& setting : allSettings()) {
        SCOPED_TRACE(toUtf8(setting.name));
        EXPECT_FALSE(get(setting.name).stored);
        ASSERT_TRUE(put(setting.name, setting.most, u"text").ok());
        FakeSettings& used = isOverlaySetting(setting) ? overlayStore : store;
        FakeSettings& other = isOverlaySetting(setting) ? store : overlayStore;
        EXPECT_EQ(used.written, std::vector<std::u16string>{setting.name}) << "it alone";
        EXPECT_TRUE(other.written.empty());
        EXPECT_TRUE(get(setting.name).stored);
        used.written.clear();
    }
}

TEST_F(Remembered, ANumberIsAlsoTextAndATextHasALength) {
    ASSERT_TRUE(put(u"TimeLimit", 90).ok());
    EXPECT_EQ(get(u"timelimit").number, 90u);
    EXPECT_EQ(get(u"TimeLimit").text, u"90");
    ASSERT_TRUE(put(u"CaptureTitle", 7, u"Mars").ok());
    EXPECT_EQ(get(u"CaptureTitle").number, 4u);
    EXPECT_EQ(get(u"CaptureTitle").text, u"Mars");
}

TEST_F(Remembered, ASignedNumberHasItsSign) {
    ASSERT_TRUE(put(u"eMarkerxPos", uint32_t(-50)).ok());
    EXPECT_EQ(get(u"eMarkerxPos").number, uint32_t(-50));
    EXPECT_EQ(get(u"eMarkerxPos").text, u"-50");
    ASSERT_TRUE(put(u"ScaleColor", 0xFFFFFFFF).ok());
    EXPECT_EQ(get(u"ScaleColor").text, u"4294967295");
}

TEST_F(Remembered, AnOverlayValueIsThatOfTheProcess) {
    overlay.SetGeo({.eMarkerGeo = VEX_MARKER_CIRCLE, .eMarkerGeox = 0, .eMarkerxPos = -99});
    EXPECT_EQ(get(u"eMarkerGeo").number, uint32_t(VEX_MARKER_CIRCLE));
    EXPECT_EQ(get(u"eMarkerGeox").number, 0u) << "as marker_get_markergeo returns it";
    EXPECT_EQ(get(u"eMarkerxPos").text, u"-99");
    overlayStore.values[u"eMarkerGeo"] = 1u;
    EXPECT_EQ(get(u"eMarkerGeo").number, uint32_t(VEX_MARKER_CIRCLE)) << "what others store comes with the next start";
    overlay.SetCaptureAfter(0);
    EXPECT_EQ(get(u"CaptureAfter").number, 0u);
    ASSERT_TRUE(put(u"CaptureAfter", 5).ok());
    EXPECT_EQ(overlay.CaptureAfter(), 5u);
}

TEST_F(Remembered, AnOverlayValueOutlivesTheProcess) {
    ASSERT_TRUE(put(u"Date", VEX_DATE_NUMERIC).ok());
    ASSERT_TRUE(put(u"eMarkerGeoFlag", 0).ok());
    init();
    EXPECT_EQ(overlay.Txt().Date, VEX_DATE_NUMERIC);
    EXPECT_EQ(overlay.Geo().eMarkerGeoFlag, 0u);
}

TEST_F(Remembered, WhatCannotBeIsRefusedAndChangesNothing) {
    for (const vex_setting& setting : allSettings()) {
        SCOPED_TRACE(toUtf8(setting.name));
        if (isText(setting)) {
            EXPECT_EQ(put(setting.name, 0, std::u16string(setting.most + 1, u'a')).code(), E_INVALIDARG);
            continue;
        }
        for (const uint32_t beyond : {setting.most + 1, setting.least - 1}) {
            if (isWithinLimits(setting, beyond)) continue;  // limits at the ends of the numbers
            EXPECT_EQ(put(setting.name, beyond).code(), E_INVALIDARG);
        }
    }
    EXPECT_EQ(put(u"FileNamePrefix", 0, u"a/b").code(), E_INVALIDARG) << "no part of a file name";
    EXPECT_EQ(put(u"Unknown", 0).code(), E_INVALIDARG);
    EXPECT_FALSE(getSetting(key.get(), overlay, u"Unknown"));
    EXPECT_TRUE(store.written.empty());
    EXPECT_TRUE(overlayStore.written.empty());
}

TEST_F(Remembered, WithoutKeysEachIsStandardAndNothingCanBeStored) {
    EXPECT_FALSE(overlay.Init(overlayStore, nullptr, u"", u"").ok());
    for (const vex_setting& setting : allSettings()) {
        SCOPED_TRACE(toUtf8(setting.name));
        const auto value = getSetting(nullptr, overlay, setting.name);
        EXPECT_EQ(value->number, isText(setting) ? 0 : setting.standard);
        EXPECT_FALSE(value->stored);
        EXPECT_EQ(putSetting(nullptr, overlay, setting.name, setting.least, {}).code(), E_UNEXPECTED);
    }
}

TEST_F(Remembered, AValueThatCannotBeStoredIsNotTaken) {
    overlayStore.writeFailure = VEX_E_DISK_FULL;
    EXPECT_EQ(put(u"FontSize", 6).code(), VEX_E_DISK_FULL);
    EXPECT_EQ(overlay.Txt().FontSize, 3);
}

}  // namespace remembered_test
}  // namespace vexcap
