#include "settings/marker_settings.h"

#include <string>
#include <type_traits>
#include <variant>

#include "base/text.h"
#include "settings/setting.h"

namespace vexcap {
namespace {

/// Where a record has the value of a setting.
template <typename Record>
struct Field {
    const vex_setting& setting;
    std::variant<int32_t Record::*, uint32_t Record::*> member;

    uint32_t Get(const Record& record) const {
        return std::visit([&](auto value) { return uint32_t(record.*value); }, member);
    }
    void Put(Record& record, uint32_t number) const {
        std::visit([&](auto value) { record.*value = std::remove_reference_t<decltype(record.*value)>(number); },
                   member);
    }
};

// Both in the order in which they are saved.

constexpr Field<MarkerGeo> geoFields[] = {
    {setting::named(u"eMarkerGeo"), &MarkerGeo::eMarkerGeo},
    {setting::named(u"eMarkerGeoFlag"), &MarkerGeo::eMarkerGeoFlag},
    {setting::named(u"eMarkerGeoAngle"), &MarkerGeo::eMarkerGeoAngle},
    {setting::named(u"eMarkerGeoColor"), &MarkerGeo::eMarkerGeoColor},
    {setting::named(u"eMarkerGeox"), &MarkerGeo::eMarkerGeox},
    {setting::named(u"eMarkerGeoy"), &MarkerGeo::eMarkerGeoy},
    {setting::named(u"eMarkerGeox2"), &MarkerGeo::eMarkerGeox2},
    {setting::named(u"eMarkerGeoy2"), &MarkerGeo::eMarkerGeoy2},
    {setting::named(u"eMarkerxPos"), &MarkerGeo::eMarkerxPos},
    {setting::named(u"eMarkeryPos"), &MarkerGeo::eMarkeryPos},
};

constexpr Field<MarkerTxt> txtFields[] = {
    {setting::named(u"MarkerPos"), &MarkerTxt::MarkerPos},
    {setting::named(u"Scale"), &MarkerTxt::Scale},
    {setting::named(u"ScaleWithPower"), &MarkerTxt::ScaleWithPower},
    {setting::named(u"ScaleColor"), &MarkerTxt::ScaleColor},
    {setting::named(u"Date"), &MarkerTxt::Date},
    {setting::named(u"DateColor"), &MarkerTxt::DateColor},
    {setting::named(u"Contrast"), &MarkerTxt::Contrast},
    {setting::named(u"ContrastColor"), &MarkerTxt::ContrastColor},
    {setting::named(u"FontSize"), &MarkerTxt::FontSize},
    {setting::named(u"ScaleSize"), &MarkerTxt::ScaleSize},
    {setting::named(u"FontWeight"), &MarkerTxt::FontWeight},
    {setting::named(u"eBackground"), &MarkerTxt::eBackground},
};

template <typename Record, size_t count>
void load(ISettingsKey* key, const Field<Record> (&fields)[count], Record& record) {
    for (const Field<Record>& field : fields) field.Put(record, readNumber(key, field.setting));
}

/// As is: only what is read is brought within its limits.
template <typename Record, size_t count>
void save(ISettingsKey& key, const Field<Record> (&fields)[count], const Record& record) {
    for (const Field<Record>& field : fields) key.WriteNumber(field.setting.name, field.Get(record)).ignore();
}

}  // namespace

MarkerGeo standardGeo() {
    MarkerGeo geo;
    load(nullptr, geoFields, geo);
    return geo;
}

MarkerTxt standardTxt() {
    MarkerTxt txt;
    load(nullptr, txtFields, txt);
    return txt;
}

Status MarkerSettings::Init(ISettings& settings, vex_key* root, std::u16string_view name1, std::u16string_view name2) {
    auto opened = settings.CreateKey(
        root, formatText(u"SOFTWARE\\%s\\%s\\marker", {std::u16string(name1), std::u16string(name2)}));
    key = opened.ok() ? std::move(opened.value()) : nullptr;
    load(key.get(), geoFields, geo);
    load(key.get(), txtFields, txt);
    captureAfter = readNumber(key.get(), setting::CaptureAfter);
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
    if (key) key->WriteNumber(setting::CaptureAfter.name, on).ignore();
}

uint32_t MarkerSettings::Number(const vex_setting& setting, bool& stored) const {
    stored = key && key->ReadNumber(setting.name);
    for (const auto& field : geoFields)
        if (&field.setting == &setting) return field.Get(geo);
    for (const auto& field : txtFields)
        if (&field.setting == &setting) return field.Get(txt);
    return captureAfter;
}

Status MarkerSettings::PutNumber(const vex_setting& setting, uint32_t value) {
    if (const Status s = writeNumber(key.get(), setting, value); !s.ok()) return s;
    for (const auto& field : geoFields)
        if (&field.setting == &setting) field.Put(geo, value);
    for (const auto& field : txtFields)
        if (&field.setting == &setting) field.Put(txt, value);
    if (&setting == &setting::CaptureAfter) captureAfter = value;
    return S_OK;
}

MarkerSettings& markerSettings() {
    // Never destroyed: a filter that outlives main still saves.
    static MarkerSettings* const settings = new MarkerSettings;
    return *settings;
}

}  // namespace vexcap
