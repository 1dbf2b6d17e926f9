/// What the command line asks for.
#pragma once

#include <vexcap/vexcap.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/cli/host.h"
#include "hosts/common/engine.h"
#include "hosts/common/exit_code.h"
#include "hosts/common/files/auto_name.h"
#include "hosts/common/overlay.h"
#include "hosts/common/source_settings.h"

namespace vexcap::cli {

enum class Command { Codecs, Dark, Devices, Formats, Play, Record, Settings, Snap, Verify, View, Watch };

enum class DarkAction { Capture, Import, Export, On, Off, Show };

struct Options {
    Command command = Command::Devices;

    EngineConfig engine;
    bool json = false;  ///< One JSON object a line on the standard output.

    bool sizes = false;  ///< devices: open each one and list its sizes.
    std::string match;   ///< devices: regular expression for video input devices, UTF-8; empty for all.

    std::string device;     ///< Index, name or identifier; empty for the only one.
    double seconds = 0;     ///< play, record, watch: time limit, 0 for none.
    SourceSettings source;  ///< dark (format alone), record, snap, view.
    bool stills = false;    ///< formats: those of stills.

    std::string output;               ///< record, snap, view: the file, UTF-8; empty with autoNamed.
    bool autoNamed = false;           ///< record: the file is named by autoName.
    AutoName autoName;                ///< record.
    int32_t frames = 0;               ///< record: frame limit, 0 for none. dark: frames of which the mean is taken.
    int32_t timeLapse = 1;            ///< record: one frame in so many is kept.
    std::string codec;                ///< record: compressor; empty for none.
    std::optional<uint32_t> quality;  ///< record: of the compressor, percent; else as remembered.
    bool overwrite = false;           ///< dark, record, snap, view: an existing file may be replaced.
    bool quiet = false;               ///< record, snap, view: nothing but what went wrong.
    Overlay overlay;                  ///< record, snap, view.

    uint32_t grab = VEX_GRAB_DISPLAY;  ///< snap: VEX_GRAB_...
    std::optional<uint32_t> still;     ///< snap: which of the still sizes; no still but the present picture if not set.
    std::optional<Size> viewSize;      ///< view: what is painted on; as large as the picture if not set.

    DarkAction darkAction = DarkAction::Show;  ///< dark.
    std::optional<Size> darkSize;              ///< dark: which of the frames that are kept.

    std::vector<double> seeks;          ///< play: seconds to go to, one after the other.
    std::vector<std::string> files;     ///< dark, play: one. verify.
    std::vector<std::string> settings;  ///< settings: each NAME or NAME=VALUE.
    std::vector<std::string> defaults;  ///< settings: names of those that become standard again.
    bool longNames = false;             ///< codecs.
};

/// Either the options, or a text for the user and the exit status.
struct ParsedCommandLine {
    std::optional<Options> options;
    std::string text;          ///< Without a final line break.
    ExitCode code = exitDone;  ///< exitDone: the text was asked for and belongs to the standard output.
};

ParsedCommandLine parseCommandLine(int count, const char* const* arguments);

/// "X,Y,WIDTH,HEIGHT", even numbers; nothing for another text.
std::optional<Region> parseRegion(const std::string& text);

}  // namespace vexcap::cli
