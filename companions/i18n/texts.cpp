#include "companions/i18n/texts.h"

#include <vexcap/string_library.h>

#include <cstring>

namespace vexcap::i18n {
namespace {

// A comment that begins with "Translators:" goes into the catalogues with the text below it.
#define TEXT(key, english) \
    { key, nullptr, 0, key "\004" english, u"" english }
#define DIALOG_TEXT(dialog, control, english) \
    { nullptr, dialog, control, dialog "\004" english, u"" english }

constexpr Text texts[] = {
    // Boxes: the source and its preview.
    TEXT("ids_captureerror", "The camera stopped because of an error. Check its connection, then open it again."),
    TEXT("ids_surpriseremoval", "The camera was removed. Connect it, then open it again."),
    TEXT("ids_devicelost",
         "The connection to the camera was lost. Check its cable and its power supply, then open it again."),
    TEXT("ids_noframe", "The camera sends no pictures. Check its cable and its power supply, then open it again."),
    TEXT("ids_zornamerror", "The connection to the network camera was lost. Check the network, then open it again."),
    TEXT("ids_nosource",
         "The camera could not be opened. Check that it is connected and that no other program uses it."),
    TEXT("ids_noax", "A driver that the camera needs is missing. Install the driver of the camera and try again."),
    TEXT("ids_filtergraph",
         "The video system of this computer could not be set up. Restart the program and try again."),
    TEXT("ids_previewfail", "The preview could not be started. Check that no other program uses the camera."),
    TEXT("ids_stoppreviewfail", "The preview could not be stopped. Close the camera, then open it again."),
    TEXT("ids_startfail", "The file could not be played. It may be damaged, or of a kind that is not supported."),

    // Boxes: recordings and broadcasts.
    TEXT("ids_recordfail1",
         "The recording could not be started. Check the camera, and that the folder exists, can be written to and has "
         "room."),
    TEXT("ids_recordfail2",
         "The recording could not be started: no encoder fits this choice. Choose another video format."),
    TEXT("ids_setfile", "This file cannot be recorded to. Choose another name or another folder."),
    TEXT("ids_rendercapture", "The camera could not be connected to the file. Choose another video format."),
    TEXT("ids_renderpreview", "The preview could not be started for this recording. Stop the recording and try again."),
    TEXT("ids_errorstop", "The recording could not be stopped. Try again."),
    // Translators: %s is the path of a file.
    TEXT("ids_savedlgreplace", "%s exists already. Replace it?"),
    TEXT("ids_badport", "The broadcast could not be started. Another program may use its port: choose another one."),

    // Boxes: what was typed cannot be.
    TEXT("ids_error", "Error"),
    TEXT("ids_filenr", "A name cannot contain any of these characters: < > : \" / \\ | ? *"),
    TEXT("ids_stepdir", "Enter a file name, and choose a folder that exists."),
    TEXT("ids_integerinvalid", "This is not a valid number."),
    // Translators: the smallest and the largest number.
    TEXT("ids_stepqualityminmax", "Enter the quality as a whole number from %u to %u."),
    TEXT("ids_stepiframe", "Enter the key frame spacing as a whole number of seconds."),
    // Translators: the smallest and the largest number.
    TEXT("ids_stepiframeminmax", "The key frame spacing must be from %u to %u seconds."),
    TEXT("ids_steptimelimit", "Enter the time limit as a whole number of seconds from 1 to 36000."),
    TEXT("ids_steptimelapse", "Enter the time lapse as a whole number from 1 to 100."),
    TEXT("ids_step_port", "Enter the port as a whole number from 1 to 32767."),

    // Pages of the wizard.
    TEXT("ids_recordstep1", "Video format"),
    TEXT("ids_recordstep2", "File name and folder"),
    TEXT("ids_recordstep2tipwmv", "The broadcast is saved to this file as well, as a wmv video."),
    TEXT("ids_recordstep3", "Video quality"),
    TEXT("ids_recordstep4", "Time limit and time lapse"),
    // Translators: the title of a page with the time limit of a broadcast.
    TEXT("ids_recordstep4b", "Time limit"),
    // Translators: the title of a page with the title, author, copyright and description of a video.
    TEXT("ids_recordheader", "About the video"),
    TEXT("ids_broadcastpar", "Broadcast settings"),
    // Translators: stands behind a file format, in brackets.
    TEXT("ids_depre", "outdated"),
    TEXT("ids_gpuwin8", "Hardware encoders cannot be listed on this system."),
    TEXT("ids_gpuinsu", "If the hardware encoder cannot keep up, choose the software encoder."),
    // Translators: a menu entry: fills in a file name or a folder.
    TEXT("ids_auto", "Automatic"),
    // Translators: a menu entry; three dots follow.
    TEXT("ids_options", "Options"),
    // Translators: a list entry: no compression.
    TEXT("ids_stepavinone", "Uncompressed"),

    // Summary of a recording.
    TEXT("ids_format", "Format"),
    TEXT("ids_width", "Width"),
    TEXT("ids_height", "Height"),
    TEXT("ids_file", "File"),
    TEXT("ids_encoder", "Encoder"),
    TEXT("ids_quality", "Quality"),
    TEXT("ids_bitrate", "Bit rate"),
    TEXT("ids_keyfs", "Key frame spacing (seconds)"),

    // Lists of name formats and of subfolders.
    // Translators: a name format: names end in a number that counts them.
    TEXT("ids_nameformatnnnn", "Sequence number (nnnn)"),
    // Translators: a list entry: no subfolders, no encoders.
    TEXT("ids_none", "None"),
    // Translators: names a subfolder; "(YYYYMMDD)" follows.
    TEXT("ids_date", "Date"),
    // Translators: names a subfolder; "(YYYY)" follows.
    TEXT("ids_year", "Year"),
    // Translators: names a subfolder; "(MM)" follows.
    TEXT("ids_month", "Month"),
    // Translators: names a subfolder; "(DD)" follows.
    TEXT("ids_day", "Day"),

    // Listing of what is known about the system, the source and the recording: its two columns, words among its values.
    TEXT("ids_property", "Property"),
    TEXT("ids_value", "Value"),
    TEXT("ids_yes", "Yes"),
    TEXT("ids_no", "No"),
    TEXT("ids_na", "Not available"),
    // Translators: the unit micrometre.
    TEXT("ids_abbrum", "µm"),
    // Translators: the unit degree Celsius.
    TEXT("ids_ucelsius", "°C"),

    // Its rows. A row is found by its label, so no two of them may have the same.
    TEXT("ids_computer", "Computer"),
    TEXT("ids_os", "Operating system"),
    TEXT("ids_version", "Version"),
    TEXT("ids_cpu", "Processor"),
    TEXT("ids_cpucore", "Processor cores"),
    TEXT("ids_cputhrd", "Processor threads"),
    TEXT("ids_mem", "Memory"),
    // Translators: the program, and an encoder that needs no special hardware.
    TEXT("ids_sw", "Software"),
    TEXT("ids_duration", "Duration"),
    TEXT("ids_deviceid", "Device ID"),
    TEXT("ids_devicename", "Device name"),
    TEXT("ids_cameraid", "Camera ID"),
    TEXT("ids_productdate", "Production date"),
    TEXT("ids_revision", "Revision"),
    TEXT("ids_hwver", "Hardware version"),
    TEXT("ids_fwver", "Firmware version"),
    TEXT("ids_fpgaver", "FPGA version"),
    TEXT("ids_psize", "Pixel size"),
    TEXT("ids_stillimagecapture", "Still images"),
    TEXT("ids_stillimagewidth", "Still image width"),
    TEXT("ids_stillimageheight", "Still image height"),
    TEXT("ids_videowidth", "Video width"),
    TEXT("ids_videoheight", "Video height"),
    TEXT("ids_compression", "Compression"),
    TEXT("ids_vexcapbpp", "Bits per pixel"),
    // Translators: where a broadcast can be watched.
    TEXT("ids_url", "Broadcast address"),
    TEXT("ids_frame", "Frames"),
    TEXT("ids_framerate", "Frame rate"),
    TEXT("ids_framesaved", "Frames saved"),
    TEXT("ids_framedropped", "Frames dropped"),
    TEXT("ids_expti", "Exposure time"),
    TEXT("ids_gain", "Gain"),
    TEXT("ids_stemp", "Sensor temperature"),
    TEXT("ids_pxf", "Pixel format"),
    TEXT("ids_roi", "Region of interest"),
    TEXT("ids_autoe", "Auto exposure"),
    TEXT("ids_expta", "Auto exposure target"),
    TEXT("ids_whitebalance", "White balance"),
    TEXT("ids_blackbalance", "Black balance"),
    TEXT("ids_hue", "Hue"),
    TEXT("ids_sat", "Saturation"),
    TEXT("ids_bri", "Brightness"),
    TEXT("ids_gamma", "Gamma"),
    TEXT("ids_con", "Contrast"),
    TEXT("ids_fspeed", "Frame speed level"),
    // Translators: the frequency of the lamps' power: "60Hz", "50Hz", or "DC".
    TEXT("ids_power", "Light frequency"),
    // Translators: how a sensor gives smaller pictures: its value is "Binning" or "Skipping".
    TEXT("ids_sampling", "Sampling"),
    // Translators: neighbouring pixels are added up.
    TEXT("ids_bin", "Binning"),
    // Translators: pixels are left out.
    TEXT("ids_skip", "Skipping"),
    TEXT("ids_ffc", "Flat field correction"),
    TEXT("ids_dfc", "Dark field correction"),
    TEXT("ids_sharpen", "Sharpening"),
    TEXT("ids_cvtgain", "Conversion gain"),
    TEXT("ids_fan", "Fan speed"),
    // Translators: the sensor is cooled electrically.
    TEXT("ids_tec", "Thermoelectric cooling"),
    TEXT("ids_ttemp", "Target temperature"),
    TEXT("ids_bcount", "Broadcast frames"),
    TEXT("ids_bdroppcnt", "Broadcast frames dropped"),
    TEXT("ids_bcbbps", "Broadcast bit rate (kbit/s)"),
    TEXT("ids_baveragebps", "Average broadcast bit rate (kbit/s)"),
    TEXT("ids_bccfr", "Broadcast frame rate"),
    TEXT("ids_baveragesr", "Average broadcast frame rate"),
    TEXT("ids_bandwidth", "Bandwidth (kbit/s)"),
    TEXT("ids_preceived", "Packets received"),
    TEXT("ids_plost", "Packets lost"),

    DIALOG_TEXT("IDD_AUTO", VEX_DIALOG_TITLE, "File name options"),
    DIALOG_TEXT("IDD_AUTO", VEX_AUTO_FORMAT, "Name format:"),
    DIALOG_TEXT("IDD_AUTO", VEX_AUTO_PREFIX, "Prefix:"),
    DIALOG_TEXT("IDD_AUTO", VEX_AUTO_SAMPLE, "Example:"),
    DIALOG_TEXT("IDD_AUTO", VEX_DIALOG_OK, "OK"),
    DIALOG_TEXT("IDD_AUTO", VEX_DIALOG_CANCEL, "Cancel"),

    DIALOG_TEXT("IDD_RECORD", VEX_DIALOG_TITLE, "Folder options"),
    DIALOG_TEXT("IDD_RECORD", VEX_RECORD_BASE, "Folder:"),
    DIALOG_TEXT("IDD_RECORD", VEX_RECORD_SUBFOLDERS, "Subfolders:"),
    DIALOG_TEXT("IDD_RECORD", VEX_RECORD_BROWSE, "Browse..."),
    DIALOG_TEXT("IDD_RECORD", VEX_DIALOG_OK, "OK"),
    DIALOG_TEXT("IDD_RECORD", VEX_DIALOG_CANCEL, "Cancel"),

    DIALOG_TEXT("IDD_QUICKSAVERENAME", VEX_DIALOG_TITLE, "Name of the recording"),
    DIALOG_TEXT("IDD_QUICKSAVERENAME", VEX_RENAME_NAME, "Name:"),
    DIALOG_TEXT("IDD_QUICKSAVERENAME", VEX_RENAME_DONT_SHOW, "Don't show the rename dialog later"),
    DIALOG_TEXT("IDD_QUICKSAVERENAME", VEX_DIALOG_OK, "OK"),
    DIALOG_TEXT("IDD_QUICKSAVERENAME", VEX_DIALOG_CANCEL, "Cancel"),
};

bool same(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

}  // namespace

std::span<const Text> allTexts() { return texts; }

const Text* findText(const char* key) {
    for (const Text& text : texts)
        if (same(text.key, key)) return &text;
    return nullptr;
}

const Text* findText(const char* dialog, uint32_t control) {
    for (const Text& text : texts)
        if (same(text.dialog, dialog) && text.control == control) return &text;
    return nullptr;
}

}  // namespace vexcap::i18n
