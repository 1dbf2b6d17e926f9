// Beginning and ending a pin's stream while the graph runs.
#pragma once

#include <cstdint>
#include <limits>

#include "base/mutex.h"
#include "graph/interfaces.h"

namespace vexcap {

/// The times of IAMStreamControl, for the pin that offers it. Any thread. At first all samples pass.
class StreamControl {
public:
    /// Null: from now on. Withdraws a StopAt that came with null; a stop time stays as it is.
    void StartAt(const int64_t* start) VEX_EXCLUDES(lock);
    /// Null: at once, until the next StartAt. IAMStreamControl::never: no end.
    void StopAt(const int64_t* stop) VEX_EXCLUDES(lock);
    /// Is a sample of this stream time let through? The present stream time stands in for a sample without a time.
    bool Passes(int64_t time) VEX_EXCLUDES(lock);

private:
    static constexpr int64_t always = std::numeric_limits<int64_t>::min();

    Mutex lock;  // nests in nothing
    int64_t startTime VEX_GUARDED_BY(lock) = always;
    int64_t stopTime VEX_GUARDED_BY(lock) = IAMStreamControl::never;
    bool stoppedNow VEX_GUARDED_BY(lock) = false;
};

}  // namespace vexcap
