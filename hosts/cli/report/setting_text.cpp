#include "hosts/cli/report/setting_text.h"

#include "hosts/cli/report/json.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

struct Known {
    const char* name;
    SettingHelp help;
};

constexpr Known known[] = {
    {"VideoCaptureAVI", {SettingUse::Hosts, "1: the recording wizard proposes an AVI file"}},
    {"VideoCaptureH264", {SettingUse::Hosts, "Encoder that the wizard proposes: 0 none, 1 H.264, 2 H.265"}},
    {"AviCodec",
     {SettingUse::Hosts, "Compressor of the wizard's AVI files, as \"vexcap codecs --long\" shows it; see --codec"}},
    {"BitRateScale", {SettingUse::Hosts, "Percent of the usual bit rate of encoders"}},
    {"SecPerKey", {SettingUse::Hosts, "Seconds between the key frames of encoded recordings"}},
    {"SecPerKeyBroadcast", {SettingUse::Hosts, "Seconds between the key frames of a broadcast"}},
    {"CaptureQuality", {SettingUse::Record, "Percent of quality of a compressor, for --codec without --quality"}},
    {"Hardware", {SettingUse::Hosts, "1: encoders of the graphics hardware may be used"}},
    {"LUIDLowPart", {SettingUse::Hosts, "Graphics adapter that encodes, lower half of its number; 0 for any"}},
    {"LUIDHighPart", {SettingUse::Hosts, "The upper half"}},
    {"UseTimeLimit", {SettingUse::Hosts, "1: the wizard's recordings end after TimeLimit; see --seconds"}},
    {"TimeLimit", {SettingUse::Hosts, "Seconds of the wizard's recordings"}},
    {"CaptureTitle", {SettingUse::Hosts, "Title written into encoded recordings"}},
    {"CaptureAuthor", {SettingUse::Hosts, "Author written into encoded recordings"}},
    {"CaptureCopyright", {SettingUse::Hosts, "Copyright written into encoded recordings"}},
    {"CaptureDescription", {SettingUse::Hosts, "Description written into encoded recordings"}},
    {"FileNameFomat",
     {SettingUse::Record,
      "Form of names for --auto-name: 0 yymmddHHMMSS, 1 yyyymmddHHMMSS, 2 yy-mm-dd-HH-MM-SS, "
      "3 yyyy-mm-dd-HH-MM-SS, 4 nnnn"}},
    {"FileNamePrefix", {SettingUse::Record, "What names of --auto-name begin with"}},
    {"DirSub", {SettingUse::Record, "Folders for --auto-name: 0 none, 1 date, 2 year-month-day"}},
    {"CapturePath", {SettingUse::Record, "Base folder for --auto-name; empty for vexcap in the documents folder"}},
    {"BroadcastPort", {SettingUse::Hosts, "Port of a broadcast"}},
    {"eMarkerGeo",
     {SettingUse::Hosts, "Marker: 0 none, 1 cross, 2 rectangle, 3 circle, 4 cross and rectangle, 5 cross and circle"}},
    {"eMarkerGeoFlag", {SettingUse::Hosts, "1: tick marks along the marker"}},
    {"eMarkerGeoAngle", {SettingUse::Hosts, "Turns the marker clockwise, thousandths of a degree"}},
    {"eMarkerGeoColor", {SettingUse::Hosts, "Colour of the marker, red + 256 green + 65536 blue"}},
    {"eMarkerGeox", {SettingUse::Hosts, "Width of the marker in percent of the picture's; radius of a circle"}},
    {"eMarkerGeoy", {SettingUse::Hosts, "Height of the marker in percent of the picture's"}},
    {"eMarkerGeox2",
     {SettingUse::Hosts, "Width of the shape around a cross in percent of the picture's; radius of a circle"}},
    {"eMarkerGeoy2", {SettingUse::Hosts, "Height of the shape around a cross in percent of the picture's"}},
    {"eMarkerxPos", {SettingUse::Hosts, "Place of the marker, percent of the width from the centre"}},
    {"eMarkeryPos", {SettingUse::Hosts, "Place of the marker, percent of the height from the centre"}},
    {"MarkerPos", {SettingUse::Hosts, "Corner of the texts: 1 top left, 2 top right, 3 bottom left, 4 bottom right"}},
    {"Scale", {SettingUse::Hosts, "1: scale bar"}},
    {"ScaleWithPower", {SettingUse::Hosts, "1: a text below the scale bar"}},
    {"ScaleColor", {SettingUse::Hosts, "Colour of the scale bar, red + 256 green + 65536 blue"}},
    {"Date", {SettingUse::Hosts, "Date and time: 0 none, 1 short, 2 long, 3 numeric"}},
    {"DateColor", {SettingUse::Hosts, "Colour of the date, red + 256 green + 65536 blue"}},
    {"Contrast", {SettingUse::Hosts, "1: figure of sharpness"}},
    {"ContrastColor", {SettingUse::Hosts, "Colour of that figure, red + 256 green + 65536 blue"}},
    {"FontSize", {SettingUse::Hosts, "Size of the texts, 0 to 6"}},
    {"ScaleSize", {SettingUse::Hosts, "Thickness of the scale bar, 0 to 6"}},
    {"FontWeight", {SettingUse::Hosts, "Weight of the texts: 0 normal, 1 bold, 2 heavy"}},
    {"eBackground", {SettingUse::Hosts, "Plate behind the texts: 0 none, 1 black, 2 white"}},
    {"CaptureAfter", {SettingUse::Hosts, "1: single pictures have the overlay, too"}},
};

}  // namespace

SettingHelp settingHelp(const vex_setting& setting) {
    const std::string name = toUtf8(setting.name);
    for (const Known& one : known)
        if (name == one.name) return one.help;
    return {};
}

std::string settingJson(const vex_setting& setting, const Remembered& remembered) {
    JsonObject object;
    object.Text("type", "setting").Text("name", toUtf8(setting.name));
    if (isText(setting))
        object.Text("value", valueText(remembered.value)).Integer("mostCharacters", setting.most);
    else
        object.Integer("value", std::get<int64_t>(remembered.value))
            .Integer("standard", numberOf(setting, setting.standard))
            .Integer("least", numberOf(setting, setting.least))
            .Integer("most", numberOf(setting, setting.most));
    const SettingHelp help = settingHelp(setting);
    return object.Flag("stored", remembered.stored)
        .Text("for", help.use == SettingUse::Record ? "record" : "hosts")
        .Text("help", help.text)
        .Line();
}

}  // namespace vexcap::cli
