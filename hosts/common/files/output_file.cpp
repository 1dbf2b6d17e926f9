#include "hosts/common/files/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "hosts/common/failure.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

Container containerOf(const std::string& path) {
    return lowerCase(path).ends_with(".avi") ? Container::Avi : Container::Ser;
}

bool isTaken(const std::string& path) {
    struct stat found = {};
    // A link that leads nowhere is something that is there, too.
    return lstat(path.c_str(), &found) == 0;
}

void checkOutputFile(const std::string& path, bool overwrite) {
    std::filesystem::path directory = std::filesystem::path(path).parent_path();
    if (directory.empty()) directory = ".";
    struct stat found = {};
    if (stat(directory.c_str(), &found) != 0)
        throw Failure(exitFailure, "the directory " + directory.string() + ": " + std::strerror(errno));
    if (!S_ISDIR(found.st_mode)) throw Failure(exitFailure, directory.string() + " is not a directory");

    // A link that leads nowhere is something that is there, too.
    if (lstat(path.c_str(), &found) == 0) {
        if (S_ISDIR(found.st_mode)) throw Failure(exitUsage, path + " is a directory");
        if (!overwrite) throw Failure(exitUsage, path + " exists; --overwrite replaces it");
        if (access(path.c_str(), W_OK) != 0) throw Failure(exitFailure, path + ": " + std::strerror(errno));
        return;
    }
    if (errno != ENOENT) throw Failure(exitFailure, path + ": " + std::strerror(errno));
    if (access(directory.c_str(), W_OK | X_OK) != 0)
        throw Failure(exitFailure, "the directory " + directory.string() + ": " + std::strerror(errno));
}

}  // namespace vexcap::host
