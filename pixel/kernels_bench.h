// How every kernel is measured: against memcpy of as many bytes as it writes, taken right before and right after in
// turn.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace vexcap {

struct PictureSize {
    uint32_t width, height;
};
constexpr PictureSize benchSizes[] = {{1936, 1096}, {4144, 2822}};

/// Registers "kernel/form/WxH". `body` runs the kernel once and writes `outputBytes` bytes at `target`; a kernel that
/// writes nothing is measured against a copy of what it reads.
/// The counter "ratio" is the median of memcpy time / kernel time: 1.00 is the speed of memcpy, 0.50 half of it.
/// With --benchmark_enable_random_interleaving and repetitions the forms take turns as well.
void registerAgainstMemcpy(const char* kernel, const char* form, PictureSize size, uint8_t* target, size_t outputBytes,
                           std::function<void()> body);

/// Noise of a fixed seed, shared by all benchmarks; at least as many bytes as the largest picture needs.
const uint8_t* benchSource();
/// Where all benchmarks write to.
uint8_t* benchTarget();

}  // namespace vexcap
