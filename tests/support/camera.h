// A camera of the camera library used directly, without the engine: what a recording must be compared with.
#pragma once

#include <vexcap/camera_library.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vexcap::test {

/// Region of interest, pixels; a size of 0, 0 is the whole frame.
struct Region {
    uint32_t x = 0, y = 0, width = 0, height = 0;
};

/// Sets the region of an opened camera through its controls.
HRESULT setRegion(ICamera* camera, const Region& region);

/// The raw frames of one stream, by number. For each the hash of its rows from the last to the first, which is how a
/// SER file holds them.
class RawFrames final {
public:
    /// Streams `name` of the library, whose prefix is "Vexcam", until all frames with the wanted hashes came, or 300.
    /// Throws when there is no such camera.
    RawFrames(const std::string& libraryPath, const std::string& name, const Region& region,
              const std::vector<uint64_t>& wanted);

    /// Number of the frame with this hash, -1 when there is none.
    int64_t find(uint64_t hash) const;

private:
    std::unordered_map<uint64_t, uint32_t> numbers;
};

}  // namespace vexcap::test
