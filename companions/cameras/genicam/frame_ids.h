// Numbers of sensor frames from the ids that a camera gives them.
#pragma once

#include <cstdint>

namespace vexcap::cameras {

/// Turns the frame ids of one stream into sequence numbers without wrap, and counts what is missing between them.
/// GigE Vision ids of 16 bits go from 65535 to 1, since 0 means that a camera counts nothing; longer ids do not come
/// round. A step backwards, or one too long to believe, is a camera that began to count anew.
class FrameIds final {
public:
    struct Place {
        uint32_t sequence;  ///< Of this frame.
        uint32_t missing;   ///< Frames lost just before it.
    };

    Place next(uint64_t id) {
        const uint32_t missing = known && id != 0 && last != 0 ? missingBefore(id) : 0;
        known = true;
        last = id;
        const uint32_t sequence = following + missing;
        following = sequence + 1;
        return {sequence, missing};
    }

    /// The camera begins to count anew; the sequence goes on.
    void restart() { known = false; }

private:
    static constexpr uint64_t shortIds = 0xFFFF;
    static constexpr uint64_t longestGap = 0x7FFF;

    uint32_t missingBefore(uint64_t id) const {
        uint64_t step = id - last;
        if (id <= last) {
            if (id == last || last > shortIds) return 0;
            step = id + shortIds - last;
        }
        return step - 1 > longestGap ? 0 : uint32_t(step - 1);
    }

    uint64_t last = 0;
    uint32_t following = 0;
    bool known = false;
};

}  // namespace vexcap::cameras
