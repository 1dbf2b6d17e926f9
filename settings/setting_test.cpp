#include "settings/setting.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/text.h"
#include "platform/fake/fake_settings.h"

namespace vexcap {
namespace setting_test {

struct Row {
    std::u16string_view name;
    const vex_setting* setting;
    uint32_t kind;
    uint32_t standard;
    uint32_t least;
    uint32_t most;
};

const Row rows[] = {
    {u"VideoCaptureAVI", &setting::VideoCaptureAVI, VEX_SETTING_NUMBER, 0, 0, 1},
    {u"VideoCaptureH264", &setting::VideoCaptureH264, VEX_SETTING_CHOICE, 1, 0, 2},
    {u"AviCodec", &setting::AviCodec, VEX_SETTING_TEXT, 0, 0, 259},
    {u"BitRateScale", &setting::BitRateScale, VEX_SETTING_NUMBER, 100, 25, 400},
    {u"SecPerKey", &setting::SecPerKey, VEX_SETTING_NUMBER, 4, 1, 30},
    {u"SecPerKeyBroadcast", &setting::SecPerKeyBroadcast, VEX_SETTING_NUMBER, 1, 1, 4},
    {u"CaptureQuality", &setting::CaptureQuality, VEX_SETTING_NUMBER, 100, 1, 100},
    {u"Hardware", &setting::Hardware, VEX_SETTING_NUMBER, 1, 0, 1},
    {u"LUIDLowPart", &setting::LUIDLowPart, VEX_SETTING_NUMBER, 0, 0, 0xFFFFFFFF},
    {u"LUIDHighPart", &setting::LUIDHighPart, VEX_SETTING_NUMBER, 0, 0, 0xFFFFFFFF},
    {u"UseTimeLimit", &setting::UseTimeLimit, VEX_SETTING_NUMBER, 0, 0, 1},
    {u"TimeLimit", &setting::TimeLimit, VEX_SETTING_NUMBER, 60, 1, 36000},
    {u"CaptureTitle", &setting::CaptureTitle, VEX_SETTING_TEXT, 0, 0, 128},
    {u"CaptureAuthor", &setting::CaptureAuthor, VEX_SETTING_TEXT, 0, 0, 128},
    {u"CaptureCopyright", &setting::CaptureCopyright, VEX_SETTING_TEXT, 0, 0, 128},
    {u"CaptureDescription", &setting::CaptureDescription, VEX_SETTING_TEXT, 0, 0, 128},
    {u"FileNameFomat", &setting::FileNameFomat, VEX_SETTING_SIGNED, 0, 0, 4},
    {u"FileNamePrefix", &setting::FileNamePrefix, VEX_SETTING_TEXT, 0, 0, 259},
    {u"DirSub", &setting::DirSub, VEX_SETTING_SIGNED, 0, 0, 2},
    {u"CapturePath", &setting::CapturePath, VEX_SETTING_TEXT, 0, 0, 259},
    {u"BroadcastPort", &setting::BroadcastPort, VEX_SETTING_CHOICE, 2080, 1, 32767},
    {u"eMarkerGeo", &setting::eMarkerGeo, VEX_SETTING_SIGNED, 0, 0, 5},
    {u"eMarkerGeoFlag", &setting::named(u"eMarkerGeoFlag"), VEX_SETTING_BIT, 1, 0, 1},
    {u"eMarkerGeoAngle", &setting::named(u"eMarkerGeoAngle"), VEX_SETTING_SIGNED, 0, 0, 360'000},
    {u"eMarkerGeoColor", &setting::named(u"eMarkerGeoColor"), VEX_SETTING_NUMBER, 255, 0, 0xFFFFFFFF},
    {u"eMarkerGeox", &setting::named(u"eMarkerGeox"), VEX_SETTING_SIGNED, 100, 1, 100},
    {u"eMarkerGeoy", &setting::named(u"eMarkerGeoy"), VEX_SETTING_SIGNED, 100, 1, 100},
    {u"eMarkerGeox2", &setting::named(u"eMarkerGeox2"), VEX_SETTING_SIGNED, 100, 1, 100},
    {u"eMarkerGeoy2", &setting::named(u"eMarkerGeoy2"), VEX_SETTING_SIGNED, 100, 1, 100},
    {u"eMarkerxPos", &setting::named(u"eMarkerxPos"), VEX_SETTING_SIGNED, 0, uint32_t(-50), 50},
    {u"eMarkeryPos", &setting::named(u"eMarkeryPos"), VEX_SETTING_SIGNED, 0, uint32_t(-50), 50},
    {u"MarkerPos", &setting::named(u"MarkerPos"), VEX_SETTING_SIGNED, 4, 1, 4},
    {u"Scale", &setting::named(u"Scale"), VEX_SETTING_NUMBER, 0, 0, 0xFFFFFFFF},
    {u"ScaleWithPower", &setting::named(u"ScaleWithPower"), VEX_SETTING_NUMBER, 0, 0, 0xFFFFFFFF},
    {u"ScaleColor", &setting::named(u"ScaleColor"), VEX_SETTING_NUMBER, 65535, 0, 0xFFFFFFFF},
    {u"Date", &setting::Date, VEX_SETTING_SIGNED, 0, 0, 3},
    {u"DateColor", &setting::named(u"DateColor"), VEX_SETTING_NUMBER, 65535, 0, 0xFFFFFFFF},
    {u"Contrast", &setting::named(u"Contrast"), VEX_SETTING_NUMBER, 0, 0, 0xFFFFFFFF},
    {u"ContrastColor", &setting::named(u"ContrastColor"), VEX_SETTING_NUMBER, 0xFF0000, 0, 0xFFFFFFFF},
    {u"FontSize", &setting::named(u"FontSize"), VEX_SETTING_SIGNED, 3, 0, 6},
    {u"ScaleSize", &setting::named(u"ScaleSize"), VEX_SETTING_SIGNED, 3, 0, 6},
    {u"FontWeight", &setting::named(u"FontWeight"), VEX_SETTING_SIGNED, 1, 0, 2},
    {u"eBackground", &setting::named(u"eBackground"), VEX_SETTING_SIGNED, 0, 0, 2},
    {u"CaptureAfter", &setting::CaptureAfter, VEX_SETTING_NUMBER, 1, 0, 0xFFFFFFFF},
};

bool isText(const Row& row) { return row.kind == VEX_SETTING_TEXT; }
bool isDate(const Row& row) { return row.setting == &setting::Date; }

class Setting : public testing::Test {
protected:
    /// What is read when `value` is stored.
    uint32_t numberFrom(const Row& row, FakeSettings::Value value) {
        store.values = {{std::u16string(row.name), std::move(value)}};
        return readNumber(key.get(), *row.setting, &stored);
    }
    std::u16string textFrom(const Row& row, FakeSettings::Value value) {
        store.values = {{std::u16string(row.name), std::move(value)}};
        return readText(key.get(), *row.setting, &stored);
    }
    /// What is stored when `value` is written.
    uint32_t numberWritten(const Row& row, uint32_t value) {
        EXPECT_TRUE(writeNumber(key.get(), *row.setting, value).ok());
        return std::get<uint32_t>(store.values.at(std::u16string(row.name)));
    }

    FakeSettings store;
    std::unique_ptr<ISettingsKey> key = store.CreateKey(store.root(), u"key").value();
    bool stored = false;
};

TEST_F(Setting, TheListIsThatOfTheTable) {
    ASSERT_EQ(allSettings().size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(toUtf8(rows[i].name));
        const vex_setting& entry = allSettings()[i];
        EXPECT_EQ(&entry, rows[i].setting);
        EXPECT_EQ(entry.name, rows[i].name);
        EXPECT_EQ(entry.kind, rows[i].kind);
        EXPECT_EQ(entry.standard, rows[i].standard);
        EXPECT_EQ(entry.least, rows[i].least);
        EXPECT_EQ(entry.most, rows[i].most);
        EXPECT_EQ(entry.reserved, 0u);
    }
}

TEST_F(Setting, IsFoundByItsWholeNameWithoutCase) {
    for (const Row& row : rows) EXPECT_EQ(findSetting(row.name), row.setting);
    EXPECT_EQ(findSetting(u"timelimit"), &setting::TimeLimit);
    EXPECT_EQ(findSetting(u"LUIDLOWPART"), &setting::LUIDLowPart);
    for (const auto* name : {u"", u"Time", u"TimeLimits", u"FileNameFormat", u"TimeLimi\u0074\u0301"})
        EXPECT_EQ(findSetting(name), nullptr) << toUtf8(name);
}

TEST_F(Setting, IsStandardWhereNothingIsStored) {
    for (const Row& row : rows) {
        for (ISettingsKey* const place : {key.get(), static_cast<ISettingsKey*>(nullptr)}) {
            stored = true;
            if (isText(row))
                EXPECT_EQ(readText(place, *row.setting, &stored), u"");
            else
                EXPECT_EQ(readNumber(place, *row.setting, &stored), row.standard);
            EXPECT_FALSE(stored);
        }
    }
}

TEST_F(Setting, AValueOfTheOtherTypeCountsAsMissing) {
    for (const Row& row : rows) {
        stored = true;
        if (isText(row))
            EXPECT_EQ(textFrom(row, 7u), u"");
        else
            EXPECT_EQ(numberFrom(row, u"2"), row.standard);
        EXPECT_FALSE(stored) << toUtf8(row.name);
    }
}

TEST_F(Setting, ANumberWithinItsLimitsIsReadAndWrittenAsItIs) {
    for (const Row& row : rows) {
        if (isText(row)) continue;
        for (const uint32_t value : {row.least, row.most, row.least + (row.most - row.least) / 2}) {
            stored = false;
            EXPECT_EQ(numberFrom(row, value), value) << toUtf8(row.name);
            EXPECT_TRUE(stored);
            EXPECT_EQ(numberWritten(row, value), value);
        }
    }
}

TEST_F(Setting, ANumberOutsideOfItsLimitsTakesTheLimitBesideItAtLoadAndAtSave) {
    for (const Row& row : rows) {
        if (row.kind != VEX_SETTING_NUMBER) continue;
        SCOPED_TRACE(toUtf8(row.name));
        if (row.most != UINT32_MAX) {
            for (const uint32_t value : {row.most + 1, UINT32_MAX}) {
                stored = false;
                EXPECT_EQ(numberFrom(row, value), row.most);
                EXPECT_TRUE(stored);
                EXPECT_EQ(numberWritten(row, value), row.most);
            }
        }
        if (row.least) {
            EXPECT_EQ(numberFrom(row, 0u), row.least);
            EXPECT_EQ(numberWritten(row, row.least - 1), row.least);
        }
    }
}

TEST_F(Setting, ASignedNumberOutsideOfItsLimitsTakesTheLimitBesideIt) {
    for (const Row& row : rows) {
        if (row.kind != VEX_SETTING_SIGNED) continue;
        SCOPED_TRACE(toUtf8(row.name));
        for (const int32_t value : {int32_t(row.least) - 1, INT32_MIN}) {
            EXPECT_EQ(numberFrom(row, uint32_t(value)), row.least);
            EXPECT_EQ(numberWritten(row, uint32_t(value)), row.least);
        }
        if (isDate(row)) continue;
        for (const uint32_t value : {row.most + 1, uint32_t(INT32_MAX)}) {
            EXPECT_EQ(numberFrom(row, value), row.most);
            EXPECT_EQ(numberWritten(row, value), row.most);
        }
    }
}

TEST_F(Setting, AnUnknownFormOfDatesIsTheShortOne) {
    for (const uint32_t value : {4u, 7u, uint32_t(INT32_MAX)})
        EXPECT_EQ(withinLimits(setting::Date, value), uint32_t(VEX_DATE_SHORT));
}

TEST_F(Setting, OfABitTheLowestOneCounts) {
    for (const Row& row : rows) {
        if (row.kind != VEX_SETTING_BIT) continue;
        for (const auto& [value, bit] : {std::pair{6u, 0u}, std::pair{7u, 1u}, std::pair{UINT32_MAX, 1u}})
            EXPECT_EQ(numberFrom(row, value), bit) << toUtf8(row.name);
    }
}

TEST_F(Setting, ThoseOfTheOverlayComeLast) {
    bool overlay = false;
    for (const Row& row : rows) {
        overlay |= row.name == u"eMarkerGeo";
        EXPECT_EQ(isOverlaySetting(*row.setting), overlay) << toUtf8(row.name);
    }
}

TEST_F(Setting, AChoiceThatIsNoneIsTheStandardOne) {
    for (const Row& row : rows) {
        if (row.kind != VEX_SETTING_CHOICE) continue;
        SCOPED_TRACE(toUtf8(row.name));
        for (const uint32_t value : {row.least - 1, row.most + 1, UINT32_MAX}) {
            stored = true;
            EXPECT_EQ(numberFrom(row, value), row.standard);
            EXPECT_FALSE(stored);
            EXPECT_EQ(numberWritten(row, value), row.standard);
        }
    }
}

TEST_F(Setting, APortThatCannotBeIs2080) {
    const Row& port = *std::ranges::find(rows, u"BroadcastPort", &Row::name);
    for (const uint32_t value : {0u, 32768u, 65535u, 65536u}) EXPECT_EQ(numberFrom(port, value), 2080u);
    for (const uint32_t value : {1u, 80u, 32767u}) EXPECT_EQ(numberFrom(port, value), value);
}

TEST_F(Setting, AFlagIsSetByAnythingButZero) {
    for (const vex_setting* flag : {&setting::VideoCaptureAVI, &setting::Hardware, &setting::UseTimeLimit}) {
        for (const uint32_t value : {1u, 2u, UINT32_MAX}) EXPECT_EQ(withinLimits(*flag, value), 1u);
        EXPECT_EQ(withinLimits(*flag, 0), 0u);
    }
}

TEST_F(Setting, ATextIsReadUpToItsLengthAndALongerOneIsEmpty) {
    for (const Row& row : rows) {
        if (!isText(row)) continue;
        SCOPED_TRACE(toUtf8(row.name));
        const std::u16string longest(row.most, u'\u00E9');
        for (const std::u16string& text : {std::u16string(), std::u16string(u"moon"), longest}) {
            stored = false;
            EXPECT_EQ(textFrom(row, text), text);
            EXPECT_TRUE(stored);
        }
        EXPECT_EQ(textFrom(row, longest + u'x'), u"");
        EXPECT_FALSE(stored);
    }
}

TEST_F(Setting, ATextIsWrittenAsItIs) {
    for (const Row& row : rows) {
        if (!isText(row)) continue;
        EXPECT_TRUE(writeText(key.get(), *row.setting, u" moon \u263D ").ok());
        EXPECT_EQ(std::get<std::u16string>(store.values.at(std::u16string(row.name))), u" moon \u263D ");
        EXPECT_EQ(store.written.back(), row.name);
    }
}

TEST_F(Setting, AFailedWriteIsToldAndChangesNothing) {
    ASSERT_TRUE(writeNumber(key.get(), setting::TimeLimit, 5).ok());
    ASSERT_TRUE(writeText(key.get(), setting::CaptureTitle, u"moon").ok());
    store.writeFailure = VEX_E_DISK_FULL;
    EXPECT_EQ(writeNumber(key.get(), setting::TimeLimit, 6).code(), VEX_E_DISK_FULL);
    EXPECT_EQ(writeText(key.get(), setting::CaptureTitle, u"mars").code(), VEX_E_DISK_FULL);
    EXPECT_EQ(readNumber(key.get(), setting::TimeLimit), 5u);
    EXPECT_EQ(readText(key.get(), setting::CaptureTitle), u"moon");
}

TEST_F(Setting, WithoutAKeyNothingCanBeStored) {
    EXPECT_EQ(writeNumber(nullptr, setting::TimeLimit, 5).code(), E_UNEXPECTED);
    EXPECT_EQ(writeText(nullptr, setting::CaptureTitle, u"moon").code(), E_UNEXPECTED);
}

}  // namespace setting_test
}  // namespace vexcap
