// What threads report to a test: values in their order, events of a graph; and a clock for them.
#pragma once

#include <atomic>
#include <chrono>
#include <vector>

#include "base/mutex.h"
#include "graph/base_filter.h"
#include "platform/fake/patience.h"

namespace vexcap::test {

/// Values that come from other threads, in their order.
template <typename T>
class Log {
public:
    explicit Log(size_t room = 1000) { values.reserve(room); }
    void add(T value) VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        values.push_back(std::move(value));
        added.notifyAll();
    }
    std::vector<T> all() const VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        return values;
    }
    size_t count() const VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        return values.size();
    }
    /// False when there are still fewer after a long time.
    bool waitFor(size_t wanted) const VEX_EXCLUDES(lock) {
        const auto end = std::chrono::steady_clock::now() + patience;
        MutexGuard held(lock);
        while (values.size() < wanted) {
            const auto left = end - std::chrono::steady_clock::now();
            if (left <= left.zero()) return false;
            added.waitFor(lock, left);
        }
        return true;
    }

private:
    mutable Mutex lock;
    mutable Condition added;
    std::vector<T> values VEX_GUARDED_BY(lock);
};

struct GraphEvent {
    uint32_t code;
    intptr_t first, second;
    friend bool operator==(const GraphEvent&, const GraphEvent&) = default;
};

/// Keeps the events of filters that have joined it as their graph.
class EventLog final : public IGraphEvents, public Log<GraphEvent> {
public:
    void Notify(uint32_t code, intptr_t first, intptr_t second) override { add({code, first, second}); }
};

/// A clock that stands until it is set.
struct HandClock final : IReferenceClock {
    int64_t GetTime() override { return now; }
    std::atomic<int64_t> now{0};
};

}  // namespace vexcap::test
