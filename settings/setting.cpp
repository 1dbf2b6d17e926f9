#include "settings/setting.h"

#include <algorithm>

namespace vexcap {
namespace {

constexpr uint32_t longestText = 259;
// A longer one is stored in 260 bytes and more, which is not read back.
constexpr uint32_t longestMetadata = 128;

constexpr vex_setting number(const vex_char* name, uint32_t standard, uint32_t least, uint32_t most) {
    return {name, VEX_SETTING_NUMBER, standard, least, most, 0};
}
constexpr vex_setting flag(const vex_char* name, uint32_t standard) { return number(name, standard, 0, 1); }
constexpr vex_setting signedNumber(const vex_char* name, uint32_t most) {
    return {name, VEX_SETTING_SIGNED, 0, 0, most, 0};
}
constexpr vex_setting choice(const vex_char* name, uint32_t standard, uint32_t least, uint32_t most) {
    return {name, VEX_SETTING_CHOICE, standard, least, most, 0};
}
constexpr vex_setting text(const vex_char* name, uint32_t most) { return {name, VEX_SETTING_TEXT, 0, 0, most, 0}; }

constexpr vex_setting table[] = {
    flag(u"VideoCaptureAVI", 0),
    choice(u"VideoCaptureH264", 1, 0, 2),
    text(u"AviCodec", longestText),
    number(u"BitRateScale", 100, 25, 400),
    number(u"SecPerKey", 4, 1, 30),
    number(u"SecPerKeyBroadcast", 1, 1, 4),
    number(u"CaptureQuality", 100, 1, 100),
    flag(u"Hardware", 1),
    number(u"LUIDLowPart", 0, 0, UINT32_MAX),
    number(u"LUIDHighPart", 0, 0, UINT32_MAX),
    flag(u"UseTimeLimit", 0),
    number(u"TimeLimit", 60, 1, 36000),
    text(u"CaptureTitle", longestMetadata),
    text(u"CaptureAuthor", longestMetadata),
    text(u"CaptureCopyright", longestMetadata),
    text(u"CaptureDescription", longestMetadata),
    signedNumber(u"FileNameFomat", 4),  // the spelling is what users have stored
    text(u"FileNamePrefix", longestText),
    signedNumber(u"DirSub", 2),
    text(u"CapturePath", longestText),
    // No limit is a better guess than the usual port when a stored one cannot be.
    choice(u"BroadcastPort", 2080, 1, 32767),
};

/// A name that the table lacks does not compile.
consteval const vex_setting& named(std::u16string_view name) {
    for (const vex_setting& entry : table)
        if (name == entry.name) return entry;
    throw "no such setting";
}

constexpr bool isWithin(const vex_setting& setting, uint32_t value) {
    return value >= setting.least && value <= setting.most;
}

bool equalWithoutCase(std::u16string_view a, std::u16string_view b) {
    const auto lowered = [](char16_t unit) { return unit >= u'A' && unit <= u'Z' ? char16_t(unit + 32) : unit; };
    return std::ranges::equal(a, b, {}, lowered, lowered);
}

void tell(bool* stored, bool value) {
    if (stored) *stored = value;
}

}  // namespace

namespace setting {
constinit const vex_setting& VideoCaptureAVI = named(u"VideoCaptureAVI");
constinit const vex_setting& VideoCaptureH264 = named(u"VideoCaptureH264");
constinit const vex_setting& AviCodec = named(u"AviCodec");
constinit const vex_setting& BitRateScale = named(u"BitRateScale");
constinit const vex_setting& SecPerKey = named(u"SecPerKey");
constinit const vex_setting& SecPerKeyBroadcast = named(u"SecPerKeyBroadcast");
constinit const vex_setting& CaptureQuality = named(u"CaptureQuality");
constinit const vex_setting& Hardware = named(u"Hardware");
constinit const vex_setting& LUIDLowPart = named(u"LUIDLowPart");
constinit const vex_setting& LUIDHighPart = named(u"LUIDHighPart");
constinit const vex_setting& UseTimeLimit = named(u"UseTimeLimit");
constinit const vex_setting& TimeLimit = named(u"TimeLimit");
constinit const vex_setting& CaptureTitle = named(u"CaptureTitle");
constinit const vex_setting& CaptureAuthor = named(u"CaptureAuthor");
constinit const vex_setting& CaptureCopyright = named(u"CaptureCopyright");
constinit const vex_setting& CaptureDescription = named(u"CaptureDescription");
constinit const vex_setting& FileNameFomat = named(u"FileNameFomat");
constinit const vex_setting& FileNamePrefix = named(u"FileNamePrefix");
constinit const vex_setting& DirSub = named(u"DirSub");
constinit const vex_setting& CapturePath = named(u"CapturePath");
constinit const vex_setting& BroadcastPort = named(u"BroadcastPort");
}  // namespace setting

std::span<const vex_setting> allSettings() { return table; }

const vex_setting* findSetting(std::u16string_view name) {
    for (const vex_setting& entry : table)
        if (equalWithoutCase(name, entry.name)) return &entry;
    return nullptr;
}

uint32_t withinLimits(const vex_setting& setting, uint32_t value) {
    if (setting.kind == VEX_SETTING_CHOICE && !isWithin(setting, value)) return setting.standard;
    if (setting.kind == VEX_SETTING_SIGNED && int32_t(value) < 0) return setting.least;
    return std::clamp(value, setting.least, setting.most);
}

uint32_t readNumber(ISettingsKey* key, const vex_setting& setting, bool* stored) {
    const std::optional<uint32_t> found = key ? key->ReadNumber(setting.name) : std::nullopt;
    tell(stored, found && (setting.kind != VEX_SETTING_CHOICE || isWithin(setting, *found)));
    return found ? withinLimits(setting, *found) : setting.standard;
}

std::u16string readText(ISettingsKey* key, const vex_setting& setting, bool* stored) {
    std::optional<std::u16string> found = key ? key->ReadText(setting.name) : std::nullopt;
    const bool usable = found && found->size() <= setting.most;
    tell(stored, usable);
    return usable ? *std::move(found) : std::u16string();
}

Status writeNumber(ISettingsKey* key, const vex_setting& setting, uint32_t value) {
    return key ? key->WriteNumber(setting.name, withinLimits(setting, value)) : E_UNEXPECTED;
}

Status writeText(ISettingsKey* key, const vex_setting& setting, std::u16string_view value) {
    return key ? key->WriteText(setting.name, value) : E_UNEXPECTED;
}

}  // namespace vexcap
