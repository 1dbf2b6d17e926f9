/// What became of a recording.
#pragma once

#include <vexcap/records.h>

#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/exit_code.h"
#include "hosts/common/files/output_file.h"

namespace vexcap::cli {

enum class Ending { Limit, Asked, DeviceLost, Stalled, DiskFull };

struct RecordingResult {
    std::string file;
    Ending ending = Ending::Limit;
    vex_recording_counts counts = {};
    uint32_t cameraLost = 0;  ///< Frames that the camera lost during the recording.
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t depth = 0;  ///< Bits of a sample, or of a pixel of an AVI file before it is compressed.
    std::string codec;   ///< What a user sees of the compressor; empty for none.
};

/// "8 bits", "24 bits a pixel", the compressor.
std::string depthText(const RecordingResult& result);

ExitCode exitCodeOf(const RecordingResult& result);
/// Several lines with their line breaks.
std::string summaryText(const RecordingResult& result);
/// One JSON object.
std::string summaryJson(const RecordingResult& result);

}  // namespace vexcap::cli
