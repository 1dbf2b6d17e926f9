/// The standard output, whose reader may be gone or whose disk may be full.
#pragma once

#include <string>

namespace vexcap::cli {

/// Writes one or more lines, at once; the last one may lack its line end. False when they, or lines before them, could
/// not be written.
bool writeLine(const std::string& lines);
/// The same; throws Failure exitFailure instead.
void printLine(const std::string& lines);
/// Why not everything could be written; empty when it was.
std::string outputFailure();

}  // namespace vexcap::cli
