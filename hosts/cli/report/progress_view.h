/// Progress as it is shown while a command runs.
#pragma once

#include <functional>
#include <string>

#include "hosts/cli/report/progress.h"

namespace vexcap::cli {

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
