// The table of remembered values: their names, standards and limits.
#pragma once

#include <vexcap/overlay.h>
#include <vexcap/settings.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/settings.h"

namespace vexcap {

/// All settings, as vexcap_settings lists them: those of recordings and broadcasts, then those of the overlay.
std::span<const vex_setting> allSettings();
/// The setting of this name, letters without case; null when there is none.
const vex_setting* findSetting(std::u16string_view name);
/// True for a member of the list that belongs to the overlay, and is kept in its key.
bool isOverlaySetting(const vex_setting& setting);
bool isText(const vex_setting& setting);

/// True for a number within the limits of its setting.
bool isWithinLimits(const vex_setting& setting, uint32_t value);
/// `value`, or what takes its place where it is outside of the limits.
uint32_t withinLimits(const vex_setting& setting, uint32_t value);

/// The value that is used: what is stored if it is usable, within its limits, else the standard. A null key has
/// nothing stored. `stored` becomes true when the value comes from the key; may be null.
uint32_t readNumber(ISettingsKey* key, const vex_setting& setting, bool* stored = nullptr);
std::u16string readText(ISettingsKey* key, const vex_setting& setting, bool* stored = nullptr);

/// Store a value; a number as readNumber would return it. E_UNEXPECTED without a key.
Status writeNumber(ISettingsKey* key, const vex_setting& setting, uint32_t value);
Status writeText(ISettingsKey* key, const vex_setting& setting, std::u16string_view value);

namespace setting {

inline constexpr uint32_t longestText = 259;
// A longer one is stored in 260 bytes and more, which is not read back.
inline constexpr uint32_t longestMetadata = 128;

constexpr vex_setting number(const vex_char* name, uint32_t standard, uint32_t least, uint32_t most) {
    return {name, VEX_SETTING_NUMBER, standard, least, most, 0};
}
constexpr vex_setting anyNumber(const vex_char* name, uint32_t standard) {
    return number(name, standard, 0, UINT32_MAX);
}
constexpr vex_setting flag(const vex_char* name, uint32_t standard) { return number(name, standard, 0, 1); }
constexpr vex_setting signedNumber(const vex_char* name, int32_t standard, int32_t least, int32_t most) {
    return {name, VEX_SETTING_SIGNED, uint32_t(standard), uint32_t(least), uint32_t(most), 0};
}
constexpr vex_setting choice(const vex_char* name, uint32_t standard, uint32_t least, uint32_t most) {
    return {name, VEX_SETTING_CHOICE, standard, least, most, 0};
}
constexpr vex_setting lowestBit(const vex_char* name, uint32_t standard) {
    return {name, VEX_SETTING_BIT, standard, 0, 1, 0};
}
constexpr vex_setting text(const vex_char* name, uint32_t most) { return {name, VEX_SETTING_TEXT, 0, 0, most, 0}; }

/// Names are those that users have stored, in both keys.
inline constexpr vex_setting table[] = {
    // Of recordings, broadcasts and file names.
    flag(u"VideoCaptureAVI", 0),
    choice(u"VideoCaptureH264", 1, 0, 2),
    text(u"AviCodec", longestText),
    number(u"BitRateScale", 100, 25, 400),
    number(u"SecPerKey", 4, 1, 30),
    number(u"SecPerKeyBroadcast", 1, 1, 4),
    number(u"CaptureQuality", 100, 1, 100),
    flag(u"Hardware", 1),
    anyNumber(u"LUIDLowPart", 0),
    anyNumber(u"LUIDHighPart", 0),
    flag(u"UseTimeLimit", 0),
    number(u"TimeLimit", 60, 1, 36000),
    text(u"CaptureTitle", longestMetadata),
    text(u"CaptureAuthor", longestMetadata),
    text(u"CaptureCopyright", longestMetadata),
    text(u"CaptureDescription", longestMetadata),
    signedNumber(u"FileNameFomat", 0, 0, 4),
    text(u"FileNamePrefix", longestText),
    signedNumber(u"DirSub", 0, 0, 2),
    text(u"CapturePath", longestText),
    // No limit is a better guess than the usual port when a stored one cannot be.
    choice(u"BroadcastPort", 2080, 1, 32767),
    // Of the overlay, in the order in which they are saved.
    signedNumber(u"eMarkerGeo", VEX_MARKER_NONE, VEX_MARKER_NONE, VEX_MARKER_CROSS_CIRCLE),
    lowestBit(u"eMarkerGeoFlag", 1),
    signedNumber(u"eMarkerGeoAngle", 0, 0, 360'000),
    anyNumber(u"eMarkerGeoColor", 0x0000FF),
    signedNumber(u"eMarkerGeox", 100, 1, 100),
    signedNumber(u"eMarkerGeoy", 100, 1, 100),
    signedNumber(u"eMarkerGeox2", 100, 1, 100),
    signedNumber(u"eMarkerGeoy2", 100, 1, 100),
    signedNumber(u"eMarkerxPos", 0, -50, 50),
    signedNumber(u"eMarkeryPos", 0, -50, 50),
    signedNumber(u"MarkerPos", VEX_CORNER_BOTTOM_RIGHT, VEX_CORNER_TOP_LEFT, VEX_CORNER_BOTTOM_RIGHT),
    anyNumber(u"Scale", 0),
    anyNumber(u"ScaleWithPower", 0),
    anyNumber(u"ScaleColor", 0x00FFFF),
    signedNumber(u"Date", VEX_DATE_NONE, VEX_DATE_NONE, VEX_DATE_NUMERIC),
    anyNumber(u"DateColor", 0x00FFFF),
    anyNumber(u"Contrast", 0),
    anyNumber(u"ContrastColor", 0xFF0000),
    signedNumber(u"FontSize", 3, 0, 6),
    signedNumber(u"ScaleSize", 3, 0, 6),
    signedNumber(u"FontWeight", 1, 0, 2),
    signedNumber(u"eBackground", 0, 0, 2),
    anyNumber(u"CaptureAfter", 1),
};

/// A name that the table lacks does not compile.
consteval const vex_setting& named(std::u16string_view name) {
    for (const vex_setting& entry : table)
        if (name == entry.name) return entry;
    throw "no such setting";
}

inline constexpr const vex_setting& VideoCaptureAVI = named(u"VideoCaptureAVI");
inline constexpr const vex_setting& VideoCaptureH264 = named(u"VideoCaptureH264");
inline constexpr const vex_setting& AviCodec = named(u"AviCodec");
inline constexpr const vex_setting& BitRateScale = named(u"BitRateScale");
inline constexpr const vex_setting& SecPerKey = named(u"SecPerKey");
inline constexpr const vex_setting& SecPerKeyBroadcast = named(u"SecPerKeyBroadcast");
inline constexpr const vex_setting& CaptureQuality = named(u"CaptureQuality");
inline constexpr const vex_setting& Hardware = named(u"Hardware");
inline constexpr const vex_setting& LUIDLowPart = named(u"LUIDLowPart");
inline constexpr const vex_setting& LUIDHighPart = named(u"LUIDHighPart");
inline constexpr const vex_setting& UseTimeLimit = named(u"UseTimeLimit");
inline constexpr const vex_setting& TimeLimit = named(u"TimeLimit");
inline constexpr const vex_setting& CaptureTitle = named(u"CaptureTitle");
inline constexpr const vex_setting& CaptureAuthor = named(u"CaptureAuthor");
inline constexpr const vex_setting& CaptureCopyright = named(u"CaptureCopyright");
inline constexpr const vex_setting& CaptureDescription = named(u"CaptureDescription");
inline constexpr const vex_setting& FileNameFomat = named(u"FileNameFomat");
inline constexpr const vex_setting& FileNamePrefix = named(u"FileNamePrefix");
inline constexpr const vex_setting& DirSub = named(u"DirSub");
inline constexpr const vex_setting& CapturePath = named(u"CapturePath");
inline constexpr const vex_setting& BroadcastPort = named(u"BroadcastPort");

inline constexpr const vex_setting& eMarkerGeo = named(u"eMarkerGeo");  // the first one of the overlay
inline constexpr const vex_setting& Date = named(u"Date");
inline constexpr const vex_setting& CaptureAfter = named(u"CaptureAfter");

}  // namespace setting

}  // namespace vexcap
