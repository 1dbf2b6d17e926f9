#include "settings/marker_settings.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/fake/fake_settings.h"

namespace vexcap {
namespace marker_settings_test {

const MarkerGeo standardGeo = {0, 255, 1, 100, 100, 100, 100, 0, 0, 0};
const MarkerTxt standardTxt = {4, 3, 1, 0, 3, 0, 0, 65535, 0, 65535, 0, 0xFF0000};

template <typename Record>
bool same(const Record& a, const Record& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct SettingsRig {
    Status init() { return settings.Init(store, store.root(), u"Optics", u"Viewer"); }
    /// What a stored number becomes.
    int32_t loaded(const char16_t* name, int32_t stored, int32_t MarkerGeo::*field) {
        store.values[name] = uint32_t(stored);
        EXPECT_TRUE(init().ok());
        return settings.Geo().*field;
    }
    int32_t loaded(const char16_t* name, int32_t stored, int32_t MarkerTxt::*field) {
        store.values[name] = uint32_t(stored);
        EXPECT_TRUE(init().ok());
        return settings.Txt().*field;
    }

    FakeSettings store;
    MarkerSettings settings;
};

TEST(MarkerSettings, BeforeTheStartAllIsNothingAtTheTopLeft) {
    MarkerSettings settings;
    EXPECT_TRUE(same(settings.Geo(), MarkerGeo{}));
    EXPECT_TRUE(same(settings.Txt(), MarkerTxt{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(settings.CaptureAfter(), 1u);
    settings.Save();
    settings.SetCaptureAfter(0);
    EXPECT_EQ(settings.CaptureAfter(), 0u);
}

TEST(MarkerSettings, TheKeyIsNamedByTheHost) {
    SettingsRig rig;
    EXPECT_EQ(rig.init().code(), S_OK);
    ASSERT_EQ(rig.store.opened.size(), 1u);
    EXPECT_EQ(rig.store.opened[0].root, rig.store.root());
    EXPECT_EQ(rig.store.opened[0].path, u"SOFTWARE\\Optics\\Viewer\\marker");
}

TEST(MarkerSettings, TheStandardValuesNeedNoKey) {
    EXPECT_TRUE(same(vexcap::standardGeo(), standardGeo));
    EXPECT_TRUE(same(vexcap::standardTxt(), standardTxt));
}

TEST(MarkerSettings, AnEmptyKeyGivesStandardValues) {
    SettingsRig rig;
    EXPECT_EQ(rig.init().code(), S_OK);
    EXPECT_TRUE(same(rig.settings.Geo(), standardGeo));
    EXPECT_TRUE(same(rig.settings.Txt(), standardTxt));
    EXPECT_EQ(rig.settings.CaptureAfter(), 1u);
    EXPECT_TRUE(rig.store.written.empty()) << "reading writes nothing";
}

TEST(MarkerSettings, WithoutAKeyStandardValuesHoldAndNothingIsKept) {
    SettingsRig rig;
    EXPECT_EQ(rig.settings.Init(rig.store, nullptr, u"a", u"b").code(), E_INVALIDARG);
    EXPECT_TRUE(same(rig.settings.Geo(), standardGeo));
    EXPECT_TRUE(same(rig.settings.Txt(), standardTxt));
    EXPECT_EQ(rig.settings.CaptureAfter(), 1u);
    rig.store.failure = E_ACCESSDENIED;
    EXPECT_EQ(rig.init().code(), E_ACCESSDENIED);
    rig.settings.SetGeo(MarkerGeo{2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    rig.settings.SetTxt(MarkerTxt{});
    rig.settings.SetCaptureAfter(0);
    EXPECT_EQ(rig.settings.Geo().eMarkerGeoAngle, 11);
    EXPECT_TRUE(rig.store.written.empty());
}

TEST(MarkerSettings, AFailedStartForgetsTheKeyOfTheOneBefore) {
    SettingsRig rig;
    rig.store.values[u"eMarkerGeo"] = 3u;
    ASSERT_TRUE(rig.init().ok());
    rig.store.failure = E_ACCESSDENIED;
    EXPECT_FALSE(rig.init().ok());
    EXPECT_EQ(rig.settings.Geo().eMarkerGeo, 0);
    rig.settings.Save();
    EXPECT_TRUE(rig.store.written.empty());
}

TEST(MarkerSettings, NumbersBeyondTheirLimitsAreBroughtBack) {
    struct GeoCase {
        const char16_t* name;
        int32_t MarkerGeo::*field;
        int32_t least, most;
    };
    for (const GeoCase& c : {GeoCase{u"eMarkerGeo", &MarkerGeo::eMarkerGeo, 0, 5},
                             GeoCase{u"eMarkerGeox", &MarkerGeo::eMarkerGeox, 1, 100},
                             GeoCase{u"eMarkerGeoy", &MarkerGeo::eMarkerGeoy, 1, 100},
                             GeoCase{u"eMarkerGeox2", &MarkerGeo::eMarkerGeox2, 1, 100},
                             GeoCase{u"eMarkerGeoy2", &MarkerGeo::eMarkerGeoy2, 1, 100},
                             GeoCase{u"eMarkerxPos", &MarkerGeo::eMarkerxPos, -50, 50},
                             GeoCase{u"eMarkeryPos", &MarkerGeo::eMarkeryPos, -50, 50},
                             GeoCase{u"eMarkerGeoAngle", &MarkerGeo::eMarkerGeoAngle, 0, 360'000}}) {
        SettingsRig rig;
        for (const int32_t stored : {INT32_MIN, c.least - 1, c.least})
            EXPECT_EQ(rig.loaded(c.name, stored, c.field), c.least) << stored;
        EXPECT_EQ(rig.loaded(c.name, c.least + 1, c.field), c.least + 1);
        for (const int32_t stored : {c.most, c.most + 1, INT32_MAX})
            EXPECT_EQ(rig.loaded(c.name, stored, c.field), c.most) << stored;
    }
    struct TxtCase {
        const char16_t* name;
        int32_t MarkerTxt::*field;
        int32_t least, most;
    };
    for (const TxtCase& c :
         {TxtCase{u"MarkerPos", &MarkerTxt::MarkerPos, 1, 4}, TxtCase{u"FontSize", &MarkerTxt::FontSize, 0, 6},
          TxtCase{u"FontWeight", &MarkerTxt::FontWeight, 0, 2}, TxtCase{u"eBackground", &MarkerTxt::eBackground, 0, 2},
          TxtCase{u"ScaleSize", &MarkerTxt::ScaleSize, 0, 6}}) {
        SettingsRig rig;
        for (const int32_t stored : {INT32_MIN, c.least - 1, c.least})
            EXPECT_EQ(rig.loaded(c.name, stored, c.field), c.least) << stored;
        EXPECT_EQ(rig.loaded(c.name, c.least + 1, c.field), c.least + 1);
        for (const int32_t stored : {c.most, c.most + 1, INT32_MAX})
            EXPECT_EQ(rig.loaded(c.name, stored, c.field), c.most) << stored;
    }
}

TEST(MarkerSettings, ADateAboveThreeIsTheShortOne) {
    SettingsRig rig;
    const std::pair<int32_t, int32_t> dates[] = {{7, 1}, {4, 1}, {INT32_MAX, 1}, {3, 3},        {2, 2},
                                                 {1, 1}, {0, 0}, {-1, 0},        {INT32_MIN, 0}};
    for (const auto& [stored, date] : dates) EXPECT_EQ(rig.loaded(u"Date", stored, &MarkerTxt::Date), date) << stored;
}

TEST(MarkerSettings, OfTheFlagOnlyTheLowestBitIsRead) {
    SettingsRig rig;
    for (const auto& [stored, flag] :
         {std::pair{6u, 0u}, std::pair{7u, 1u}, std::pair{0u, 0u}, std::pair{0xFFFFFFFFu, 1u}}) {
        rig.store.values[u"eMarkerGeoFlag"] = stored;
        ASSERT_TRUE(rig.init().ok());
        EXPECT_EQ(rig.settings.Geo().eMarkerGeoFlag, flag);
    }
}

TEST(MarkerSettings, ColoursAndSwitchesAreTakenAsTheyAre) {
    SettingsRig rig;
    const char16_t* const names[] = {u"eMarkerGeoColor", u"Scale",    u"ScaleWithPower", u"ScaleColor",
                                     u"DateColor",       u"Contrast", u"ContrastColor",  u"CaptureAfter"};
    for (const char16_t* name : names) rig.store.values[name] = 0xFEDCBA98u;
    ASSERT_TRUE(rig.init().ok());
    const MarkerTxt& txt = rig.settings.Txt();
    for (const uint32_t value : {rig.settings.Geo().eMarkerGeoColor, txt.Scale, txt.ScaleWithPower, txt.ScaleColor,
                                 txt.DateColor, txt.Contrast, txt.ContrastColor, rig.settings.CaptureAfter()})
        EXPECT_EQ(value, 0xFEDCBA98u);
}

TEST(MarkerSettings, ATextInPlaceOfANumberCountsAsMissing) {
    SettingsRig rig;
    rig.store.values[u"MarkerPos"] = std::u16string(u"2");
    EXPECT_EQ(rig.init().code(), S_OK);
    EXPECT_EQ(rig.settings.Txt().MarkerPos, 4);
}

TEST(MarkerSettings, SavingWritesAllValuesInTheirOrder) {
    const std::vector<std::u16string> order = {
        u"eMarkerGeo",  u"eMarkerGeoFlag", u"eMarkerGeoAngle", u"eMarkerGeoColor", u"eMarkerGeox",
        u"eMarkerGeoy", u"eMarkerGeox2",   u"eMarkerGeoy2",    u"eMarkerxPos",     u"eMarkeryPos",
        u"MarkerPos",   u"Scale",          u"ScaleWithPower",  u"ScaleColor",      u"Date",
        u"DateColor",   u"Contrast",       u"ContrastColor",   u"FontSize",        u"ScaleSize",
        u"FontWeight",  u"eBackground"};
    SettingsRig rig;
    ASSERT_TRUE(rig.init().ok());
    rig.settings.SetGeo({1, 2, 3, 4, 5, 6, 7, -8, 9, 10});
    EXPECT_EQ(rig.store.written, order);
    rig.store.written.clear();
    rig.settings.SetTxt({11, 12, 13, 14, 15, 16, 17, 18, -19, 20, 21, 22});
    EXPECT_EQ(rig.store.written, order);
    rig.store.written.clear();
    rig.settings.Save();
    EXPECT_EQ(rig.store.written, order);
    const int32_t values[] = {1, 3, 10, 2, 4, 5, 6, 7, -8, 9, 11, 16, 17, 18, -19, 20, 21, 22, 12, 15, 13, 14};
    for (size_t i = 0; i < order.size(); ++i)
        EXPECT_EQ(std::get<uint32_t>(rig.store.values.at(order[i])), uint32_t(values[i])) << i;
}

TEST(MarkerSettings, RecordsAreStoredAsTheyComeAndLimitedOnlyWhenRead) {
    SettingsRig rig;
    ASSERT_TRUE(rig.init().ok());
    MarkerGeo geo = standardGeo;
    geo.eMarkerGeox = 0;
    rig.settings.SetGeo(geo);
    EXPECT_EQ(rig.settings.Geo().eMarkerGeox, 0);
    EXPECT_EQ(std::get<uint32_t>(rig.store.values.at(u"eMarkerGeox")), 0u);
    ASSERT_TRUE(rig.init().ok());
    EXPECT_EQ(rig.settings.Geo().eMarkerGeox, 1);
}

TEST(MarkerSettings, WritesThatFailAreNobodysBusiness) {
    SettingsRig rig;
    ASSERT_TRUE(rig.init().ok());
    rig.store.writeFailure = VEX_E_DISK_FULL;
    rig.settings.SetGeo({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    rig.settings.SetCaptureAfter(5);
    EXPECT_EQ(rig.settings.Geo().eMarkerGeo, 1);
    EXPECT_EQ(rig.settings.CaptureAfter(), 5u);
}

TEST(MarkerSettings, CaptureAfterIsStoredAloneAndReadBack) {
    SettingsRig rig;
    ASSERT_TRUE(rig.init().ok());
    rig.settings.SetCaptureAfter(0);
    EXPECT_EQ(rig.store.written, (std::vector<std::u16string>{u"CaptureAfter"}));
    ASSERT_TRUE(rig.init().ok());
    EXPECT_EQ(rig.settings.CaptureAfter(), 0u);
}

TEST(MarkerSettings, OffsetAndAngleOfTheWatermarkAreNeverSaved) {
    SettingsRig rig;
    ASSERT_TRUE(rig.init().ok());
    rig.settings.waterOffsetX = 5;
    rig.settings.waterRotate = 400'000;
    rig.settings.Save();
    EXPECT_EQ(rig.store.values.size(), 22u);
    EXPECT_EQ(rig.settings.waterRotate, 400'000) << "not wrapped";
}

TEST(MarkerSettings, TheProcessHasOne) { EXPECT_EQ(&markerSettings(), &markerSettings()); }

}  // namespace marker_settings_test
}  // namespace vexcap
