#include "hosts/common/image/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "hosts/common/failure.h"
#include "hosts/common/image/png_file.h"
#include "hosts/common/image/tiff_file.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace fs = std::filesystem;

namespace {

constexpr uint32_t fileHeaderBytes = 14;

[[noreturn]] void failWriting(const std::string& path, int error) {
    const bool full = error == ENOSPC || error == EDQUOT;
    throw Failure(full ? exitDiskFull : exitFailure, path + ": " + std::strerror(error));
}

/// A new file beside the one that it becomes, gone with this object unless it became that.
class PartFile final {
public:
    explicit PartFile(const fs::path& target)
        : path((target.parent_path() / (".vexcap-" + std::to_string(getpid()) + ".part")).string()),
          descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666)) {}
    ~PartFile() {
        if (descriptor < 0) return;
        close(descriptor);
        if (!path.empty()) unlink(path.c_str());
    }
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    /// Each gives 0, or the number of the error.
    int Write(std::span<const uint8_t> bytes) const {
        if (descriptor < 0) return errno;
        while (!bytes.empty()) {
            const ssize_t count = write(descriptor, bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return errno;
            bytes = bytes.subspan(static_cast<size_t>(count));
        }
        return fsync(descriptor) == 0 ? 0 : errno;
    }
    int Become(const fs::path& target, bool overwrite) {
        int result = renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), overwrite ? 0 : RENAME_NOREPLACE);
        // Some file systems cannot tell; that nothing was there was seen before.
        if (result != 0 && errno == EINVAL) result = std::rename(path.c_str(), target.c_str());
        if (result != 0) return errno;
        path.clear();
        return 0;
    }

private:
    std::string path;
    const int descriptor;
};

}  // namespace

std::optional<ImageKind> imageKindOf(const std::string& path) {
    const std::string name = lowerCase(path);
    if (name.ends_with(".png")) return ImageKind::Png;
    if (name.ends_with(".bmp")) return ImageKind::Bmp;
    if (name.ends_with(".tif") || name.ends_with(".tiff")) return ImageKind::Tiff;
    return {};
}

FileBytes encodeBmp(const Image& image, const ImageNotes& notes) {
    std::vector<uint8_t> bitmap = bitmapOf(image);
    if (notes.pixelSize) {
        const auto perMetre = static_cast<int32_t>(std::lround(1e6 / *notes.pixelSize));
        std::memcpy(bitmap.data() + offsetof(vex_bitmap_header, biXPelsPerMeter), &perMetre, sizeof perMetre);
        std::memcpy(bitmap.data() + offsetof(vex_bitmap_header, biYPelsPerMeter), &perMetre, sizeof perMetre);
    }
    const auto whole = static_cast<uint32_t>(fileHeaderBytes + bitmap.size());
    const uint32_t pixels = fileHeaderBytes + sizeof(vex_bitmap_header);
    uint8_t header[fileHeaderBytes] = {'B', 'M'};
    std::memcpy(header + 2, &whole, sizeof whole);
    std::memcpy(header + 10, &pixels, sizeof pixels);
    bitmap.insert(bitmap.begin(), header, header + sizeof header);
    return bitmap;
}

FileBytes encodeImage(const std::string& path, const Image& image, const ImageNotes& notes) {
    switch (imageKindOf(path).value_or(ImageKind::Png)) {
        case ImageKind::Bmp:
            return encodeBmp(image, notes);
        case ImageKind::Tiff:
            return encodeTiff(image, notes);
        case ImageKind::Png:
            break;
    }
    return encodePng(image, notes);
}

void saveFile(const std::string& path, std::span<const uint8_t> bytes, bool overwrite) {
    // What a link leads to is replaced, and not the link.
    std::error_code none;
    const fs::path target = fs::is_symlink(path, none) ? fs::canonical(path, none) : fs::path(path);
    PartFile part(target);
    if (const int error = part.Write(bytes)) failWriting(path, error);
    const int error = part.Become(target, overwrite);
    if (error == EEXIST) throw Failure(exitUsage, path + " exists; --overwrite replaces it");
    if (error) failWriting(path, error);
}

}  // namespace vexcap::host
