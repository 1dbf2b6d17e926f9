/// What became of a recording.
#pragma once

#include <vexcap/records.h>

#include <string>

#include "hosts/cli/exit_code.h"
#include "hosts/cli/output_file.h"

namespace vexcap::cli {

enum class Ending { Limit, Asked, DeviceLost, Stalled, DiskFull };

struct RecordingResult {
    std::string file;
    Ending ending = Ending::Limit;
    vex_recording_counts counts = {};
    uint32_t cameraLost = 0;  ///< Frames that the camera lost during the recording.
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t depth = 0;  ///< Bits of a sample, or of a pixel of an AVI file.
};

/// "8 bits", "24 bits a pixel".
std::string depthText(uint32_t depth, Container container);

ExitCode exitCodeOf(const RecordingResult& result);
/// Several lines with their line breaks.
std::string summaryText(const RecordingResult& result);
/// One JSON object.
std::string summaryJson(const RecordingResult& result);

}  // namespace vexcap::cli
