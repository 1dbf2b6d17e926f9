/// How far a recording is: numbers, and the lines that tell them.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace vexcap::cli {

struct Progress {
    double elapsed = 0;  ///< Seconds.
    uint32_t frames = 0;
    uint32_t lost = 0;
    uint64_t bytes = 0;
    double framesPerSecond = 0;
    double bytesPerSecond = 0;
    int32_t frameLimit = 0;  ///< 0 for none.
    double timeLimit = 0;    ///< Seconds, 0 for none.
};

/// Part that is done, 0 to 1; nothing without a limit.
std::optional<double> doneShare(const Progress& progress);
/// Nothing without a limit, or with no rate to tell it from.
std::optional<double> secondsLeft(const Progress& progress);

/// One line for a log.
std::string plainLine(const Progress& progress);
/// One line for a terminal, at most `columns` wide; what matters least is left out first.
std::string terminalLine(const Progress& progress, int columns, bool colour);
/// One JSON object.
std::string jsonLine(const Progress& progress);

/// Rates over the last two seconds or so.
class RateMeter final {
public:
    /// Puts the rates into `progress`, from its time, frames and bytes.
    void Measure(Progress& progress);

private:
    struct Sample {
        double time;
        uint32_t frames;
        uint64_t bytes;
    };
    std::deque<Sample> samples;
};

}  // namespace vexcap::cli
