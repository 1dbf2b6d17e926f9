#include "settings/marker_settings.h"

#include <algorithm>
#include <string>

#include "base/text.h"

namespace vexcap {
namespace {

/// A value as the store keeps it: the bits of a number. Either of the two members is set.
template <typename Record>
struct Field {
    const char16_t* name;
    int32_t Record::*number;
    uint32_t Record::*bits;
    uint32_t standard;
    int32_t least, most;  // of a number
    int32_t above;        // what a number above `most` becomes

    uint32_t Get(const Record& record) const { return number ? uint32_t(record.*number) : record.*bits; }
    void Load(Record& record, uint32_t value) const {
        if (!number) {
            record.*bits = value;
        } else {
            const int32_t signedValue = int32_t(value);
            record.*number = signedValue > most ? above : std::max(signedValue, least);
        }
    }
};

template <typename Record>
constexpr Field<Record> limited(const char16_t* name, int32_t Record::*member, int32_t standard, int32_t least,
                                int32_t most) {
    return {name, member, nullptr, uint32_t(standard), least, most, most};
}
template <typename Record>
constexpr Field<Record> unlimited(const char16_t* name, uint32_t Record::*member, uint32_t standard) {
    return {name, nullptr, member, standard, 0, 0, 0};
}

// Both in the order in which they are saved.

constexpr Field<MarkerGeo> geoFields[] = {
    limited(u"eMarkerGeo", &MarkerGeo::eMarkerGeo, 0, 0, 5),
    unlimited(u"eMarkerGeoFlag", &MarkerGeo::eMarkerGeoFlag, 1),
    limited(u"eMarkerGeoAngle", &MarkerGeo::eMarkerGeoAngle, 0, 0, 360'000),
    unlimited(u"eMarkerGeoColor", &MarkerGeo::eMarkerGeoColor, 0x0000FF),
    limited(u"eMarkerGeox", &MarkerGeo::eMarkerGeox, 100, 1, 100),
    limited(u"eMarkerGeoy", &MarkerGeo::eMarkerGeoy, 100, 1, 100),
    limited(u"eMarkerGeox2", &MarkerGeo::eMarkerGeox2, 100, 1, 100),
    limited(u"eMarkerGeoy2", &MarkerGeo::eMarkerGeoy2, 100, 1, 100),
    limited(u"eMarkerxPos", &MarkerGeo::eMarkerxPos, 0, -50, 50),
    limited(u"eMarkeryPos", &MarkerGeo::eMarkeryPos, 0, -50, 50),
};

constexpr Field<MarkerTxt> txtFields[] = {
    limited(u"MarkerPos", &MarkerTxt::MarkerPos, VEX_CORNER_BOTTOM_RIGHT, VEX_CORNER_TOP_LEFT, VEX_CORNER_BOTTOM_RIGHT),
    unlimited(u"Scale", &MarkerTxt::Scale, 0),
    unlimited(u"ScaleWithPower", &MarkerTxt::ScaleWithPower, 0),
    unlimited(u"ScaleColor", &MarkerTxt::ScaleColor, 0x00FFFF),
    {u"Date", &MarkerTxt::Date, nullptr, VEX_DATE_NONE, VEX_DATE_NONE, VEX_DATE_NUMERIC, VEX_DATE_SHORT},
    unlimited(u"DateColor", &MarkerTxt::DateColor, 0x00FFFF),
    unlimited(u"Contrast", &MarkerTxt::Contrast, 0),
    unlimited(u"ContrastColor", &MarkerTxt::ContrastColor, 0xFF0000),
    limited(u"FontSize", &MarkerTxt::FontSize, 3, 0, 6),
    limited(u"ScaleSize", &MarkerTxt::ScaleSize, 3, 0, 6),
    limited(u"FontWeight", &MarkerTxt::FontWeight, 1, 0, 2),
    limited(u"eBackground", &MarkerTxt::eBackground, 0, 0, 2),
};

constexpr std::u16string_view captureAfterName = u"CaptureAfter";

uint32_t read(ISettingsKey* key, std::u16string_view name, uint32_t standard) {
    return key ? key->ReadNumber(name).value_or(standard) : standard;
}

template <typename Record, size_t count>
void load(ISettingsKey* key, const Field<Record> (&fields)[count], Record& record) {
    for (const Field<Record>& field : fields) field.Load(record, read(key, field.name, field.standard));
}

template <typename Record, size_t count>
void save(ISettingsKey& key, const Field<Record> (&fields)[count], const Record& record) {
    for (const Field<Record>& field : fields) key.WriteNumber(field.name, field.Get(record)).ignore();
}

}  // namespace

Status MarkerSettings::Init(ISettings& settings, vex_key* root, std::u16string_view name1, std::u16string_view name2) {
    auto opened = settings.CreateKey(
        root, formatText(u"SOFTWARE\\%s\\%s\\marker", {std::u16string(name1), std::u16string(name2)}));
    key = opened.ok() ? std::move(opened.value()) : nullptr;
    load(key.get(), geoFields, geo);
    geo.eMarkerGeoFlag &= 1;
    load(key.get(), txtFields, txt);
    captureAfter = read(key.get(), captureAfterName, 1);
    return opened.status();
}

void MarkerSettings::SetGeo(const MarkerGeo& record) {
    geo = record;
    Save();
}

void MarkerSettings::SetTxt(const MarkerTxt& record) {
    txt = record;
    Save();
}

void MarkerSettings::Save() {
    if (!key) return;
    save(*key, geoFields, geo);
    save(*key, txtFields, txt);
}

void MarkerSettings::SetCaptureAfter(uint32_t on) {
    captureAfter = on;
    if (key) key->WriteNumber(captureAfterName, on).ignore();
}

MarkerSettings& markerSettings() {
    // Never destroyed: a filter that outlives main still saves.
    static MarkerSettings* const settings = new MarkerSettings;
    return *settings;
}

}  // namespace vexcap
