/// Whether a recording may be made where the user wants it.
#pragma once

#include <string>

namespace vexcap::host {

/// What a recording is written as; the end of its name tells it.
enum class Container { Ser, Avi };
/// Avi for a name that ends in ".avi", letters without case, as in the library.
Container containerOf(const std::string& path);

/// True when something has this name, whatever it is.
bool isTaken(const std::string& path);

/// Throws Failure: exitUsage for a file that exists while `overwrite` is not set, exitFailure for a directory that is
/// not there or does not take a file. Nothing is made or changed.
void checkOutputFile(const std::string& path, bool overwrite);

}  // namespace vexcap::host
