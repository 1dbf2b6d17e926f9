// Media files from outside: nothing crashes or hangs, and a picture that is given has its times.
#include <cstdlib>
#include <cstring>

#include "platform/fake/fake_disk.h"
#include "platform/ffmpeg/ffmpeg_media.h"
#include "platform/ffmpeg/media_file.h"
#include "platform/ffmpeg/picture.h"

using namespace vexcap;
using namespace vexcap::ffmpeg;

namespace {

struct MemoryFile final : IFile {
    explicit MemoryFile(Bytes all) : bytes(all) {}
    Status WriteAt(uint64_t, Bytes) override { return E_ACCESSDENIED; }
    Status WriteGathered(uint64_t, std::span<const Bytes>) override { return E_ACCESSDENIED; }
    Result<size_t> ReadAt(uint64_t position, std::span<std::byte> target) override {
        const Bytes rest = position < bytes.size() ? bytes.subspan(position) : Bytes();
        const size_t size = std::min(rest.size(), target.size());
        if (size) std::memcpy(target.data(), rest.data(), size);
        return size;
    }
    Status Reserve(uint64_t, uint64_t) override { return E_ACCESSDENIED; }
    Status Resize(uint64_t) override { return E_ACCESSDENIED; }
    Result<uint64_t> Size() override { return bytes.size(); }
    const Bytes bytes;
};

// What a small input can tell of in its header is no finding: pictures up to this size are decoded, ten of them.
constexpr uint64_t mostPictureBytes = 1 << 20;

void readSome(IMediaReader& reader, std::span<std::byte> picture) {
    for (int i = 0; i < 10; ++i) {
        MediaTimes times = {-1, -1};
        const Status s = reader.Read(picture, times);
        if (s != S_OK) return;
        if (times.start < 0 || times.stop < times.start) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FakeDisk disk;
    static const FfmpegMedia silent(disk);
    auto opened = openMediaFile(std::make_unique<MemoryFile>(std::as_bytes(std::span(data, size))));
    if (!opened.ok()) return 0;
    IMediaReader& reader = *opened.value();
    const uint64_t bytes = pictureBytes(reader.Info().width, reader.Info().height);
    if (!bytes) std::abort();
    if (bytes > mostPictureBytes) return 0;
    std::vector<std::byte> picture(bytes);
    readSome(reader, picture);
    if (reader.Seek(reader.Info().duration / 2).ok()) readSome(reader, picture);
    return 0;
}
