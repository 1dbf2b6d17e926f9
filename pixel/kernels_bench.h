// How every kernel is measured: against a limit, mostly memcpy of as many bytes as it writes, taken right before and
// right after in turn.
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

/// Registers "kernel/form/WxH". `body` runs the kernel once, `limit` what it cannot be faster than.
/// The counter "ratio" is the median of limit time / kernel time: 1.00 is the speed of the limit, 0.50 half of it.
/// With --benchmark_enable_random_interleaving and repetitions the forms take turns as well.
void registerAgainst(const char* kernel, const char* form, PictureSize size, std::function<void()> limit,
                     std::function<void()> body);

/// The same for a kernel that writes `outputBytes` bytes at `target`: the limit is memcpy of as many. A kernel that
/// writes nothing is measured against a copy of what it reads.
void registerAgainstMemcpy(const char* kernel, const char* form, PictureSize size, uint8_t* target, size_t outputBytes,
                           std::function<void()> body);

/// Noise of a fixed seed, shared by all benchmarks; at least as many bytes as the largest picture needs.
const uint8_t* benchSource();
/// Where all benchmarks write to.
uint8_t* benchTarget();

}  // namespace vexcap
