/// How far the playing of a file is, and the lines that tell it.
#pragma once

#include <cstdint>
#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/formats.h"

namespace vexcap::cli {

struct PlayedFile {
    std::string path;
    Size size;
    double duration = 0;  ///< Seconds, 0 when unknown.
    bool seekable = false;
};

struct PlayProgress {
    double elapsed = 0;   ///< Seconds since the start.
    double position = 0;  ///< Seconds in the file.
    double duration = 0;  ///< Seconds, 0 when unknown.
    uint32_t frames = 0;  ///< Shown so far.
    double framesPerSecond = 0;
};

enum class PlayEnd { File, Limit, Asked };

/// "a.avi, 640x480, 0:04".
std::string fileLine(const PlayedFile& file);
std::string fileJson(const PlayedFile& file);
/// "0:03 of 0:10  75 frames, 25.0 fps".
std::string playLine(const PlayProgress& progress);
std::string playJson(const PlayProgress& progress);
/// A position that was gone to.
std::string seekLine(double position);
std::string seekJson(double position);
/// "Played 100 frames of a.avi, to its end".
std::string endLine(const PlayedFile& file, PlayEnd end, uint32_t frames);
std::string endJson(const PlayedFile& file, PlayEnd end, uint32_t frames);

}  // namespace vexcap::cli
