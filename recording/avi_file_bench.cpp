// Recording to an AVI file against the limit, write(2) of the same frames, and against libavformat's AVI muxer where
// it is there.
#include "platform/linux/file.h"
#include "recording/avi_file.h"
#include "recording/bench_testing.h"

#ifdef VEXCAP_BENCH_LIBAVFORMAT
extern "C" {
#include <libavformat/avformat.h>
}
#endif

namespace vexcap {
namespace {

using bench::Camera;
using bench::Place;

struct Size {
    uint32_t width;
    uint32_t height;
    size_t bytes() const { return size_t(aviFrameBytes(width, height)); }
};

bench::Recorder aviFile(const Size& size) {
    return [size](const Camera& camera, const std::filesystem::path& path, int count, std::vector<double>& times) {
        LinuxFileSystem files;
        auto made = AviFile::create(files, path.u16string(), {.width = size.width, .height = size.height});
        if (!made.ok()) return false;
        for (int i = 0; i < count; ++i) {
            const double start = bench::seconds();
            if (!made.value()->writeFrame(camera.frame(i)).ok()) return false;
            times.push_back(bench::seconds() - start);
        }
        return made.value()->close().ok();
    };
}

#ifdef VEXCAP_BENCH_LIBAVFORMAT

struct FreeContext {
    void operator()(AVFormatContext* context) const {
        if (context->pb) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

bool writeByLibavformat(const Size& size, const Camera& camera, const std::filesystem::path& path, int count,
                        std::vector<double>& times) {
    AVFormatContext* made = nullptr;
    if (avformat_alloc_output_context2(&made, nullptr, "avi", path.c_str()) < 0) return false;
    const std::unique_ptr<AVFormatContext, FreeContext> context(made);
    AVStream* const stream = avformat_new_stream(made, nullptr);
    if (!stream) return false;
    stream->time_base = {1, 25};
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = AV_CODEC_ID_RAWVIDEO;
    stream->codecpar->format = AV_PIX_FMT_BGR24;
    stream->codecpar->bits_per_coded_sample = 24;
    stream->codecpar->width = int(size.width);
    stream->codecpar->height = int(size.height);
    if (avio_open(&made->pb, path.c_str(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(made, nullptr) < 0)
        return false;
    AVPacket* packet = av_packet_alloc();
    if (!packet) return false;
    bool good = true;
    for (int i = 0; good && i < count; ++i) {
        const Bytes frame = camera.frame(i);
        const double start = bench::seconds();
        packet->data = reinterpret_cast<uint8_t*>(const_cast<std::byte*>(frame.data()));
        packet->size = int(frame.size());
        packet->stream_index = 0;
        packet->flags = AV_PKT_FLAG_KEY;
        packet->pts = packet->dts = i;
        packet->duration = 1;
        good = av_write_frame(made, packet) >= 0;
        times.push_back(bench::seconds() - start);
    }
    av_packet_free(&packet);
    return av_write_trailer(made) >= 0 && good;
}

bench::Recorder peer(const Size& size) {
    return [size](const Camera& camera, const std::filesystem::path& path, int count, std::vector<double>& times) {
        return writeByLibavformat(size, camera, path, count, times);
    };
}

#else

bench::Recorder peer(const Size&) { return nullptr; }

#endif

void aviThroughput(benchmark::State& state, Size size, Place place) {
    bench::throughput(state, Camera(size.bytes()), place, bench::plainWrites(AviFile::headerBytes), aviFile(size),
                      peer(size));
}

/// Small frames, so that the indexes grow twice in a file that memory holds.
void aviWorstFrame(benchmark::State& state, Place place) {
    constexpr Size size = {160, 100};
    bench::worstFrame(state, Camera(size.bytes()), place, bench::plainWrites(AviFile::headerBytes), aviFile(size), 12,
                      8'300);
}

VEXCAP_RECORDING_BENCH(aviThroughput, ram_1920x1080, Size{1920, 1080}, Place::Ram);
VEXCAP_RECORDING_BENCH(aviThroughput, ram_640x480, Size{640, 480}, Place::Ram);
VEXCAP_RECORDING_BENCH(aviThroughput, disk_1920x1080, Size{1920, 1080}, Place::Disk);
VEXCAP_RECORDING_BENCH(aviThroughput, disk_640x480, Size{640, 480}, Place::Disk);
VEXCAP_RECORDING_BENCH(aviWorstFrame, ram, Place::Ram);
VEXCAP_RECORDING_BENCH(aviWorstFrame, disk, Place::Disk);

}  // namespace
}  // namespace vexcap
