/// What the command line asks for.
#pragma once

#include <vexcap/vexcap.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/cli/exit_code.h"
#include "hosts/cli/formats.h"
#include "hosts/cli/overlay.h"

namespace vexcap::cli {

/// Region of interest in pixels of the camera's resolution.
struct Region {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool operator==(const Region&) const = default;
};

/// Settings of the camera; what is not set stays as the camera has it.
struct CameraSettings {
    std::optional<int32_t> exposure;   ///< Microseconds.
    std::optional<int32_t> gain;       ///< Percent.
    std::optional<int32_t> depth;      ///< Bits of a sample.
    std::optional<int32_t> frameRate;  ///< Frames a second at most.
    std::optional<int32_t> binning;    ///< Factor by which both sides shrink.
    std::optional<Region> region;
};

/// How the picture of a video input device is made.
struct PictureSettings {
    bool mirrored = false;  ///< Left and right.
    bool upsideDown = false;
    bool grey = false;
    bool negative = false;
    std::string dark;  ///< Bitmap of the dark frame, UTF-8; empty for the one that is kept.
};

/// How a recording gets its name by itself; what is not set is as the remembered settings have it.
struct AutoName {
    bool wanted = false;                   ///< False where a file is named.
    std::string extension;                 ///< ".ser" or ".avi"; empty for what the device is recorded as.
    std::optional<std::string> directory;  ///< Base folder, UTF-8.
    std::optional<std::string> prefix;     ///< Begins the name, UTF-8.
    std::optional<int32_t> format;         ///< VEX_NAME_...
    std::optional<int32_t> subfolders;     ///< VEX_FOLDERS_...
};

enum class Command { Codecs, Dark, Devices, Formats, Play, Record, Settings, Snap, Verify, View, Watch };

enum class DarkAction { Capture, Import, Export, On, Off, Show };

struct Options {
    Command command = Command::Devices;

    std::string library = "libvexcap-cameras.so.1";  ///< UTF-8.
    std::string prefix = "Vexcam";
    std::string gige;               ///< Value for VEXCAP_GIGE, empty to leave it as it is.
    bool json = false;              ///< One JSON object a line on the standard output.
    std::string settingsDirectory;  ///< Root of the settings, UTF-8; empty for the user's.
    bool noSettings = false;        ///< Nothing is remembered: every setting has its standard value.

    bool sizes = false;  ///< devices: open each one and list its sizes.
    std::string match;   ///< devices: regular expression for video input devices, UTF-8; empty for all.

    std::string device;                  ///< Index, name or identifier; empty for the only one.
    int32_t seconds = 0;                 ///< play, record, watch: time limit, 0 for none.
    std::optional<FormatChoice> format;  ///< dark, record, snap, view.
    bool stills = false;                 ///< formats: those of stills.

    std::string output;               ///< record, snap, view: the file, UTF-8; empty with autoName.
    AutoName autoName;                ///< record: instead of output.
    int32_t frames = 0;               ///< record: frame limit, 0 for none. dark: frames of which the mean is taken.
    int32_t timeLapse = 1;            ///< record: one frame in so many is kept.
    std::string codec;                ///< record: compressor; empty for none.
    std::optional<uint32_t> quality;  ///< record: of the compressor, percent; else as remembered.
    bool overwrite = false;           ///< dark, record, snap, view: an existing file may be replaced.
    bool quiet = false;               ///< record, snap, view: nothing but what went wrong.
    CameraSettings camera;            ///< record, snap, view.
    PictureSettings picture;          ///< record, snap, view.
    Overlay overlay;                  ///< record, snap, view.

    uint32_t grab = VEX_GRAB_DISPLAY;  ///< snap: VEX_GRAB_...
    std::optional<uint32_t> still;     ///< snap: which of the still sizes; no still but the present picture if not set.
    std::optional<Size> viewSize;      ///< view: what is painted on; as large as the picture if not set.

    DarkAction darkAction = DarkAction::Show;  ///< dark.
    std::optional<Size> darkSize;              ///< dark: which of the frames that are kept.

    std::vector<double> seeks;          ///< play: seconds to go to, one after the other.
    std::vector<std::string> files;     ///< dark, play: one. verify.
    std::vector<std::string> settings;  ///< settings: each NAME or NAME=VALUE.
};

/// Either the options, or a text for the user and the exit status.
struct ParsedCommandLine {
    std::optional<Options> options;
    std::string text;          ///< With its final line break.
    ExitCode code = exitDone;  ///< exitDone: the text was asked for and belongs to the standard output.
};

ParsedCommandLine parseCommandLine(int count, const char* const* arguments);

/// "X,Y,WIDTH,HEIGHT", even numbers; nothing for another text.
std::optional<Region> parseRegion(const std::string& text);

}  // namespace vexcap::cli
