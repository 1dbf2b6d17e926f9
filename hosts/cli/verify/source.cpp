#include "hosts/cli/verify/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "hosts/common/failure.h"

namespace vexcap::cli {

FileSource::FileSource(const std::string& name) : path(name) {
    // A pipe without a writer must not be waited for.
    descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw host::Failure(host::exitFailure, path + ": " + std::strerror(errno));
    struct stat found = {};
    if (fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) {
        close(descriptor);
        throw host::Failure(host::exitFailure, path + " is not a file");
    }
    size = static_cast<uint64_t>(found.st_size);
    // Headers far apart: what the system would read ahead between them is thrown away.
    posix_fadvise(descriptor, 0, 0, POSIX_FADV_RANDOM);
}

FileSource::~FileSource() { close(descriptor); }

size_t FileSource::ReadAt(uint64_t position, std::span<uint8_t> bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(position + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw host::Failure(host::exitFailure, path + ": " + std::strerror(errno));
        if (count == 0) break;
        done += static_cast<size_t>(count);
    }
    return done;
}

size_t MemorySource::ReadAt(uint64_t position, std::span<uint8_t> bytes) {
    if (position >= content.size()) return 0;
    const size_t count = std::min(bytes.size(), content.size() - static_cast<size_t>(position));
    std::memcpy(bytes.data(), content.data() + position, count);
    return count;
}

}  // namespace vexcap::cli
