// Recording to a SER file against the limit: write(2) of the same frames with their rows as they lie.
// Files go to $VEXCAP_BENCH_RAM (/dev/shm, a file system in memory) and $VEXCAP_BENCH_DISK (the working directory).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/text.h"
#include "platform/linux/clock.h"
#include "platform/linux/file.h"
#include "platform/linux/unique_fd.h"
#include "recording/ser_writer.h"

namespace vexcap {
namespace {

constexpr uint64_t largestFile = 400'000'000;  // a virtual machine may not have more memory at hand without delay
constexpr int framesOfACamera = 4;             // a camera delivers into a few buffers in turn
constexpr int rounds = 9;

enum class Place { Ram, Disk };

struct Size {
    uint32_t width;
    uint32_t height;
    uint32_t depth;
    size_t bytes() const { return size_t(width) * height * (depth > 8 ? 2 : 1); }
    int framesOfAFile() const { return int(std::clamp<uint64_t>(largestFile / bytes(), 1, 200)); }
};

std::filesystem::path directoryOf(Place place) {
    const char* const told = std::getenv(place == Place::Ram ? "VEXCAP_BENCH_RAM" : "VEXCAP_BENCH_DISK");
    if (told && *told) return told;
    return place == Place::Ram ? "/dev/shm" : ".";
}

double seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// A file of its own, gone with the object.
class Target {
public:
    explicit Target(Place place)
        : path(directoryOf(place) / ("vexcap_ser_bench_" + std::to_string(::getpid()) + ".ser")) {}
    ~Target() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    const std::filesystem::path path;
};

/// The frames of a camera.
class Camera {
public:
    explicit Camera(const Size& size) : bytes(size.bytes()), memory(bytes * framesOfACamera) {
        uint32_t noise = 1;
        for (std::byte& b : memory) b = std::byte((noise = noise * 1664525 + 1013904223) >> 24);
    }
    Bytes frame(int number) const { return Bytes(memory).subspan(bytes * size_t(number % framesOfACamera), bytes); }

private:
    const size_t bytes;
    std::vector<std::byte> memory;
};

/// Writes `count` frames to a new file and tells each one's seconds; false when the disk refuses.
using Recorder = std::function<bool(const Size&, const Camera&, Place, int count, std::vector<double>& times)>;

bool recordByLimit(const Size&, const Camera& camera, Place place, int count, std::vector<double>& times) {
    const Target target(place);
    const UniqueFd fd(::open(target.path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!fd || ::lseek(fd.get(), off_t(SerWriter::headerBytes), SEEK_SET) < 0) return false;
    for (int i = 0; i < count; ++i) {
        const double start = seconds();
        for (Bytes left = camera.frame(i); !left.empty();) {
            const ssize_t n = ::write(fd.get(), left.data(), left.size());
            if (n <= 0) return false;
            left = left.subspan(size_t(n));
        }
        times.push_back(seconds() - start);
    }
    return true;
}

bool recordBySerWriter(const Size& size, const Camera& camera, Place place, int count, std::vector<double>& times) {
    const Target target(place);
    LinuxFileSystem files;
    LinuxClock clock;
    auto made =
        SerWriter::create(files, clock, target.path.u16string(),
                          {.device = u"bench", .bitDepth = size.depth, .width = size.width, .height = size.height});
    if (!made.ok()) return false;
    for (int i = 0; i < count; ++i) {
        const double start = seconds();
        if (!made.value()->writeFrame(camera.frame(i)).ok()) return false;
        times.push_back(seconds() - start);
    }
    return made.value()->close().ok();
}

double sum(const std::vector<double>& times) {
    double total = 0;
    for (const double t : times) total += t;
    return total;
}

bool hasRoom(Place place) {
    std::error_code failure;
    const auto space = std::filesystem::space(directoryOf(place), failure);
    return !failure && space.available > 2 * largestFile;
}

/// ratio: time of the limit / time of the writer, median over the rounds; the limit is measured before and after.
void serThroughput(benchmark::State& state, Size size, Place place) {
    if (!hasRoom(place)) return state.SkipWithError("no room for the file");
    const Camera camera(size);
    const int count = size.framesOfAFile();
    std::vector<double> ratios, limits;
    const auto once = [&](const Recorder& recorder) {
        std::vector<double> times;
        times.reserve(size_t(count));
        return recorder(size, camera, place, count, times) ? sum(times) : 0;
    };
    for (auto _ : state) {
        once(recordByLimit);  // memory that the machine has to fetch first
        double before = once(recordByLimit), total = 0;
        for (int round = 0; round < rounds; ++round) {
            const double writer = once(recordBySerWriter), after = once(recordByLimit);
            if (before <= 0 || writer <= 0 || after <= 0) return state.SkipWithError("the disk refuses");
            ratios.push_back((before + after) / 2 / writer);
            limits.push_back(after);
            total += writer;
            before = after;
        }
        state.SetIterationTime(total / rounds / count);
    }
    state.counters["ratio"] = median(ratios);
    state.counters["limit_MB_s"] = double(count) * double(size.bytes()) / median(limits) / 1e6;
}

/// The worst of 10,000 frames, over files of 180 frames that are removed one by one, so that memory is enough.
/// worst: slowest frame / median frame. limit_worst: the same of the limit, which shows how quiet the machine is.
void serWorstFrame(benchmark::State& state, Size size, Place place) {
    if (!hasRoom(place)) return state.SkipWithError("no room for the file");
    constexpr int frames = 10'000, perFile = 180;
    const Camera camera(size);
    std::vector<double> writer, limit;
    for (auto _ : state) {
        while (int(writer.size()) < frames) {
            const int count = std::min(perFile, frames - int(writer.size()));
            if (!recordBySerWriter(size, camera, place, count, writer) ||
                !recordByLimit(size, camera, place, count, limit))
                return state.SkipWithError("the disk refuses");
        }
        state.SetIterationTime(median(writer));
    }
    const auto worst = [](const std::vector<double>& times) {
        return *std::max_element(times.begin(), times.end()) / median(times);
    };
    state.counters["worst"] = worst(writer);
    state.counters["limit_worst"] = worst(limit);
}

#define SER_BENCH(function, name, ...) \
    BENCHMARK_CAPTURE(function, name, __VA_ARGS__)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond)

SER_BENCH(serThroughput, ram_1936x1096_8bit, Size{1936, 1096, 8}, Place::Ram);
SER_BENCH(serThroughput, ram_1936x1096_16bit, Size{1936, 1096, 16}, Place::Ram);
SER_BENCH(serThroughput, ram_4144x2822_8bit, Size{4144, 2822, 8}, Place::Ram);
SER_BENCH(serThroughput, ram_4144x2822_16bit, Size{4144, 2822, 16}, Place::Ram);
SER_BENCH(serThroughput, disk_1936x1096_8bit, Size{1936, 1096, 8}, Place::Disk);
SER_BENCH(serThroughput, disk_1936x1096_16bit, Size{1936, 1096, 16}, Place::Disk);
SER_BENCH(serThroughput, disk_4144x2822_8bit, Size{4144, 2822, 8}, Place::Disk);
SER_BENCH(serThroughput, disk_4144x2822_16bit, Size{4144, 2822, 16}, Place::Disk);
SER_BENCH(serThroughput, ram_640x480_8bit, Size{640, 480, 8}, Place::Ram);
SER_BENCH(serThroughput, disk_640x480_8bit, Size{640, 480, 8}, Place::Disk);
SER_BENCH(serWorstFrame, ram_1936x1096_8bit, Size{1936, 1096, 8}, Place::Ram);

}  // namespace
}  // namespace vexcap
