// What is measured beside our overlay.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace vexcap::bench {

/// Draws a date, a scale bar, a cross and a watermark into one frame.
struct Peer {
    virtual ~Peer() = default;
    virtual void Run() = 0;
};

/// Null where it cannot be made.
std::unique_ptr<Peer> makePeer(uint32_t width, uint32_t height, uint32_t waterWidth, uint32_t waterHeight);

}  // namespace vexcap::bench
