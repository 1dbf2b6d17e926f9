// Recording to a SER file against the limit: write(2) of the same frames with their rows as they lie.
#include "platform/linux/clock.h"
#include "platform/linux/file.h"
#include "recording/bench_testing.h"
#include "recording/ser_writer.h"

namespace vexcap {
namespace {

using bench::Camera;
using bench::Place;

struct Size {
    uint32_t width;
    uint32_t height;
    uint32_t depth;
    size_t bytes() const { return size_t(width) * height * (depth > 8 ? 2 : 1); }
};

bench::Recorder serWriter(const Size& size) {
    return [size](const Camera& camera, const std::filesystem::path& path, int count, std::vector<double>& times) {
        LinuxFileSystem files;
        LinuxClock clock;
        auto made =
            SerWriter::create(files, clock, path.u16string(),
                              {.device = u"bench", .bitDepth = size.depth, .width = size.width, .height = size.height});
        if (!made.ok()) return false;
        for (int i = 0; i < count; ++i) {
            const double start = bench::seconds();
            if (!made.value()->writeFrame(camera.frame(i)).ok()) return false;
            times.push_back(bench::seconds() - start);
        }
        return made.value()->close().ok();
    };
}

void serThroughput(benchmark::State& state, Size size, Place place) {
    bench::throughput(state, Camera(size.bytes()), place, bench::plainWrites(SerWriter::headerBytes), serWriter(size));
}

void serWorstFrame(benchmark::State& state, Size size, Place place) {
    bench::worstFrame(state, Camera(size.bytes()), place, bench::plainWrites(SerWriter::headerBytes), serWriter(size),
                      56, 180);
}

VEXCAP_RECORDING_BENCH(serThroughput, ram_1936x1096_8bit, Size{1936, 1096, 8}, Place::Ram);
VEXCAP_RECORDING_BENCH(serThroughput, ram_1936x1096_16bit, Size{1936, 1096, 16}, Place::Ram);
VEXCAP_RECORDING_BENCH(serThroughput, ram_4144x2822_8bit, Size{4144, 2822, 8}, Place::Ram);
VEXCAP_RECORDING_BENCH(serThroughput, ram_4144x2822_16bit, Size{4144, 2822, 16}, Place::Ram);
VEXCAP_RECORDING_BENCH(serThroughput, disk_1936x1096_8bit, Size{1936, 1096, 8}, Place::Disk);
VEXCAP_RECORDING_BENCH(serThroughput, disk_1936x1096_16bit, Size{1936, 1096, 16}, Place::Disk);
VEXCAP_RECORDING_BENCH(serThroughput, disk_4144x2822_8bit, Size{4144, 2822, 8}, Place::Disk);
VEXCAP_RECORDING_BENCH(serThroughput, disk_4144x2822_16bit, Size{4144, 2822, 16}, Place::Disk);
VEXCAP_RECORDING_BENCH(serThroughput, ram_640x480_8bit, Size{640, 480, 8}, Place::Ram);
VEXCAP_RECORDING_BENCH(serThroughput, disk_640x480_8bit, Size{640, 480, 8}, Place::Disk);
VEXCAP_RECORDING_BENCH(serWorstFrame, ram_1936x1096_8bit, Size{1936, 1096, 8}, Place::Ram);

}  // namespace
}  // namespace vexcap
