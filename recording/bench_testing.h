// What the benchmarks of recordings share: places, frames, and rounds in which a recorder runs between two runs of the
// limit. Files go to $VEXCAP_BENCH_RAM (/dev/shm, a file system in memory) and $VEXCAP_BENCH_DISK (the working
// directory).
#pragma once

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

#include "platform/file.h"
#include "platform/linux/unique_fd.h"

namespace vexcap::bench {

constexpr uint64_t largestFile = 400'000'000;  // a virtual machine may not have more memory at hand without delay
constexpr int framesOfACamera = 4;             // a camera delivers into a few buffers in turn
constexpr int rounds = 9;

enum class Place { Ram, Disk };

inline std::filesystem::path directoryOf(Place place) {
    const char* const told = std::getenv(place == Place::Ram ? "VEXCAP_BENCH_RAM" : "VEXCAP_BENCH_DISK");
    if (told && *told) return told;
    return place == Place::Ram ? "/dev/shm" : ".";
}

inline bool hasRoom(Place place) {
    std::error_code failure;
    const auto space = std::filesystem::space(directoryOf(place), failure);
    return !failure && space.available > 2 * largestFile;
}

inline double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// The name of a file of its own, gone with the object.
class Target {
public:
    explicit Target(Place place)
        : path(directoryOf(place) / ("vexcap_recording_bench_" + std::to_string(::getpid()))) {}
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
    explicit Camera(size_t frameBytes) : bytes(frameBytes), memory(bytes * framesOfACamera) {
        uint32_t noise = 1;
        for (std::byte& b : memory) b = std::byte((noise = noise * 1664525 + 1013904223) >> 24);
    }
    Bytes frame(int number) const { return Bytes(memory).subspan(bytes * size_t(number % framesOfACamera), bytes); }
    size_t frameBytes() const { return bytes; }
    /// As many as a file may have.
    int framesOfAFile(int most) const { return int(std::clamp<uint64_t>(largestFile / bytes, 1, uint64_t(most))); }

private:
    const size_t bytes;
    std::vector<std::byte> memory;
};

/// Writes `count` frames to a new file and tells each one's seconds; false when the disk refuses.
using Recorder =
    std::function<bool(const Camera&, const std::filesystem::path&, int count, std::vector<double>& times)>;

/// The limit: write(2) of each frame, behind `headerBytes` that are left out.
inline Recorder plainWrites(size_t headerBytes) {
    return
        [headerBytes](const Camera& camera, const std::filesystem::path& path, int count, std::vector<double>& times) {
            const UniqueFd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
            if (!fd || ::lseek(fd.get(), off_t(headerBytes), SEEK_SET) < 0) return false;
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
        };
}

/// One file, removed again.
inline bool recordOnce(const Recorder& recorder, const Camera& camera, Place place, int count,
                       std::vector<double>& times) {
    const Target target(place);
    return recorder(camera, target.path, count, times);
}

/// Time of the limit / time of `recorder`, median over the rounds; the limit is measured before and after.
class Comparison {
public:
    Comparison(const Camera& frames, Place where, Recorder theLimit)
        : camera(frames), place(where), limit(std::move(theLimit)), count(camera.framesOfAFile(200)) {
        once(limit);  // memory that the machine has to fetch first
        before = once(limit);
    }
    /// False when the disk refuses.
    bool run(const Recorder& recorder, std::vector<double>& ratios, std::vector<double>& frameSeconds) {
        const double time = once(recorder), after = once(limit);
        if (before <= 0 || time <= 0 || after <= 0) return false;
        ratios.push_back((before + after) / 2 / time);
        frameSeconds.push_back(time / count);
        limits.push_back(after);
        before = after;
        return true;
    }
    double limitMegabytesASecond() const { return double(count) * double(camera.frameBytes()) / median(limits) / 1e6; }

private:
    double once(const Recorder& recorder) {
        std::vector<double> times;
        times.reserve(size_t(count));
        double total = 0;
        if (!recordOnce(recorder, camera, place, count, times)) return 0;
        for (const double t : times) total += t;
        return total;
    }

    const Camera& camera;
    const Place place;
    const Recorder limit;
    const int count;
    double before = 0;
    std::vector<double> limits;
};

/// ratio: of the recorder to the limit; peer_ratio: the same of another one that runs in turn with it, if there is one.
inline void throughput(benchmark::State& state, const Camera& camera, Place place, const Recorder& limit,
                       const Recorder& recorder, const Recorder& peer = nullptr) {
    if (!hasRoom(place)) return state.SkipWithError("no room for the file");
    std::vector<double> ratios, peerRatios, times, ignored;
    for (auto _ : state) {
        Comparison comparison(camera, place, limit);
        for (int round = 0; round < rounds; ++round)
            if (!comparison.run(recorder, ratios, times) || (peer && !comparison.run(peer, peerRatios, ignored)))
                return state.SkipWithError("the disk refuses");
        state.SetIterationTime(median(times));
        state.counters["limit_MB_s"] = comparison.limitMegabytesASecond();
    }
    state.counters["ratio"] = median(ratios);
    if (peer) state.counters["peer_ratio"] = median(peerRatios);
}

/// The worst frame of `files` files, which are removed one by one, so that memory is enough.
/// worst: slowest frame / median frame. place_worst: the same of the places in a file, each taken at its median over
/// the files, which leaves out what other programs of the machine cost. limit_...: the same of the limit.
inline void worstFrame(benchmark::State& state, const Camera& camera, Place place, const Recorder& limit,
                       const Recorder& recorder, int files, int framesOfAFile) {
    if (!hasRoom(place)) return state.SkipWithError("no room for the file");
    const auto tell = [&](const std::vector<double>& times, const std::string& prefix) {
        const double middle = median(times);
        std::vector<double> places;
        for (int i = 0; i < framesOfAFile; ++i) {
            std::vector<double> samePlace;
            for (int file = 0; file < files; ++file) samePlace.push_back(times[size_t(file * framesOfAFile + i)]);
            places.push_back(median(std::move(samePlace)));
        }
        state.counters[prefix + "worst"] = *std::max_element(times.begin(), times.end()) / middle;
        state.counters[prefix + "place_worst"] = *std::max_element(places.begin(), places.end()) / middle;
    };
    std::vector<double> times, limitTimes;
    times.reserve(size_t(files * framesOfAFile));
    limitTimes.reserve(size_t(files * framesOfAFile));
    for (auto _ : state) {
        for (int file = 0; file < files; ++file)
            if (!recordOnce(recorder, camera, place, framesOfAFile, times) ||
                !recordOnce(limit, camera, place, framesOfAFile, limitTimes))
                return state.SkipWithError("the disk refuses");
        state.SetIterationTime(median(times));
    }
    tell(times, "");
    tell(limitTimes, "limit_");
}

#define VEXCAP_RECORDING_BENCH(function, name, ...) \
    BENCHMARK_CAPTURE(function, name, __VA_ARGS__)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond)

}  // namespace vexcap::bench
