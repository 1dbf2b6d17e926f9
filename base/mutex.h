// Locks that clang's thread-safety analysis follows. Their order: base/lock_order.h.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define VEX_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VEX_THREAD_ATTRIBUTE(x)
#endif
#define VEX_CAPABILITY(name) VEX_THREAD_ATTRIBUTE(capability(name))
#define VEX_SCOPED_CAPABILITY VEX_THREAD_ATTRIBUTE(scoped_lockable)
#define VEX_GUARDED_BY(lock) VEX_THREAD_ATTRIBUTE(guarded_by(lock))
#define VEX_PT_GUARDED_BY(lock) VEX_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define VEX_REQUIRES(...) VEX_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VEX_ACQUIRE(...) VEX_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VEX_RELEASE(...) VEX_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define VEX_EXCLUDES(...) VEX_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define VEX_ACQUIRED_AFTER(...) VEX_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))
#define VEX_ACQUIRED_BEFORE(...) VEX_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))
#define VEX_NO_THREAD_SAFETY_ANALYSIS VEX_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace vexcap {

/// A lock of one owner at a time.
class VEX_CAPABILITY("mutex") Mutex {
public:
    void lock() VEX_ACQUIRE() { native.lock(); }
    void unlock() VEX_RELEASE() { native.unlock(); }

private:
    std::mutex native;
};

/// A lock that its owner may take again.
class VEX_CAPABILITY("mutex") RecursiveMutex {
public:
    void lock() VEX_ACQUIRE() { native.lock(); }
    void unlock() VEX_RELEASE() { native.unlock(); }

private:
    std::recursive_mutex native;
};

/// Holds a lock to the end of its block.
template <typename Lockable>
class VEX_SCOPED_CAPABILITY Guard {
public:
    explicit Guard(Lockable& mutex) VEX_ACQUIRE(mutex) : held(mutex) { held.lock(); }
    ~Guard() VEX_RELEASE() { held.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    Lockable& held;
};
using MutexGuard = Guard<Mutex>;
using RecursiveMutexGuard = Guard<RecursiveMutex>;

/// Waits for a condition under a Mutex.
class Condition {
public:
    void wait(Mutex& mutex) VEX_REQUIRES(mutex) { native.wait(mutex); }
    /// False when the time is over.
    template <typename Duration>
    bool waitFor(Mutex& mutex, Duration limit) VEX_REQUIRES(mutex) {
        return native.wait_for(mutex, limit) == std::cv_status::no_timeout;
    }
    void notifyAll() { native.notify_all(); }

private:
    std::condition_variable_any native;
};

}  // namespace vexcap
