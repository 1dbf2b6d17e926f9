#include "hosts/common/files/temporary_settings.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "hosts/common/failure.h"

namespace vexcap::host {

namespace fs = std::filesystem;

TemporarySettings::~TemporarySettings() {
    std::error_code ignored;  // nobody is left to hear of it
    if (!directory.empty()) fs::remove_all(directory, ignored);
}

void TemporarySettings::Make() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "vexcap-XXXXXX").string();
    if (error || !mkdtemp(pattern.data()))
        throw Failure(exitFailure, "no temporary directory can be made: " +
                                       (error ? error.message() : std::string(std::strerror(errno))));
    directory = pattern;
}

}  // namespace vexcap::host
