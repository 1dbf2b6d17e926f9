/// How far a recording is: numbers, and the lines that tell them.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
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
    int32_t timeLimit = 0;   ///< Seconds, 0 for none.
};

/// Part that is done, 0 to 1; nothing without a limit.
std::optional<double> doneShare(const Progress& progress);
/// Nothing without a limit, or with no rate to tell it from.
std::optional<double> secondsLeft(const Progress& progress);

/// "0:05", "1:02:03"; less than a second counts as the second that it begins.
std::string formatTime(double seconds);
/// Three digits or so in decimal units: "999 B", "1.2 kB", "48.3 MB".
std::string formatBytes(double bytes);
/// With one decimal.
std::string formatReal(double value);

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

/// Tells progress on the standard error: a line that is drawn anew on a terminal, else a line a second; or as JSON
/// on the standard output. Its destructor leaves a clean line.
class ProgressView final {
public:
    enum class Kind { None, Lines, Terminal, Json };
    /// What suits the options and the terminal.
    static Kind KindFor(bool json, bool quiet);
    /// One line that suits `kind`; for a terminal at most `columns` wide.
    using LineMaker = std::function<std::string(Kind kind, int columns, bool colour)>;
    explicit ProgressView(Kind shown) : kind(shown) {}
    ~ProgressView() { Clear(); }
    ProgressView(const ProgressView&) = delete;
    ProgressView& operator=(const ProgressView&) = delete;

    /// Shows it when it is time for it.
    void Show(const Progress& progress);
    /// Shows the line of somebody else, made when it is time for it.
    void Show(double elapsed, const LineMaker& makeLine);
    /// Takes the line from the terminal.
    void Clear();

private:
    const Kind kind;
    double nextTime = 0;  ///< Elapsed seconds from which on the next line is due.
    bool drawn = false;
};

}  // namespace vexcap::cli
