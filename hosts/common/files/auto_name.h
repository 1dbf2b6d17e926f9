/// Names that recordings get by themselves.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vexcap::host {

/// How a recording gets its name by itself; what is not set is as the remembered settings have it.
struct AutoName {
    std::string extension;                 ///< ".ser" or ".avi"; empty for what the device is recorded as.
    std::optional<std::string> directory;  ///< Base folder, UTF-8.
    std::optional<std::string> prefix;     ///< Begins the name, UTF-8.
    std::optional<int32_t> format;         ///< VEX_NAME_...
    std::optional<int32_t> subfolders;     ///< VEX_FOLDERS_...
};

/// A path by the rules, whose folder is made where it is missing. The engine must have been started. Throws Failure:
/// exitUsage for rules that make no path, exitFailure when the folder cannot be made.
std::string autoPath(const AutoName& rules);

/// Asks for paths until one is not taken. A name made of the time changes with the next second: while the same path
/// comes again, `wait` is called, which returns false when it was enough; the path is returned then.
std::string firstFree(const std::function<std::string()>& ask, const std::function<bool(const std::string&)>& taken,
                      const std::function<bool()>& wait);

}  // namespace vexcap::host
