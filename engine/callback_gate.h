// A door between a camera library's threads and an object of ours that may be gone when a callback comes late.
#pragma once

#include <cstdint>

namespace vexcap {

/// While open, callbacks that carry its token reach the target; afterwards they reach nothing. The token is a number
/// and no address, so that a library which calls back after it was stopped, or after the context was freed, does no
/// harm. Entering and leaving costs two atomic operations and takes no lock.
class CallbackGate {
public:
    CallbackGate();
    ~CallbackGate();
    CallbackGate(const CallbackGate&) = delete;
    CallbackGate& operator=(const CallbackGate&) = delete;

    /// Lets callbacks through to `target`. Null when the process has more than a thousand gates.
    void* Open(void* target);
    /// Once it returned, no callback of the token is inside and none gets in. Waits for the ones that are.
    void Close();

    /// One callback's stay behind the gate.
    class Visit {
    public:
        explicit Visit(void* token);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        /// Null when the gate is closed.
        template <typename Target>
        Target* target() const {
            return static_cast<Target*>(visited);
        }

    private:
        uint32_t slot = 0;
        void* visited = nullptr;
    };

private:
    uint32_t slot;
};

}  // namespace vexcap
