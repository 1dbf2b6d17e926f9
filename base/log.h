// The log: lines for support, handed to the hook of the host. Without a hook nothing is formatted and nothing
// allocated.
#pragma once

#include <vexcap/report.h>

#include <atomic>

#include "base/mutex.h"
#include "base/text.h"

namespace vexcap {

/// Any thread; its lock nests in every other one, so the hook may run under locks of the library.
class Log final {
public:
    /// Hands lines up to `level` to `hook`; null ends it. Once it returned, the hook of before neither runs nor comes.
    void SetHook(vex_log_hook hook, void* context, uint32_t level) VEX_EXCLUDES(lock) {
        RecursiveMutexGuard guard(lock);
        target = hook;
        targetContext = context;
        most = hook ? level : 0;
    }

    bool Wants(uint32_t level) const { return level <= most.load(std::memory_order_relaxed); }

    /// A line of level VEX_LOG_..., as textFrom makes it. Without memory it is dropped.
    template <typename... Values>
    void Write(uint32_t level, std::u16string_view format, const Values&... values) noexcept {
        if (!Wants(level)) return;
        try {
            HandOut(level, textFrom(format, values...));
        } catch (...) {
        }
    }

private:
    void HandOut(uint32_t level, const std::u16string& line) VEX_EXCLUDES(lock) {
        RecursiveMutexGuard guard(lock);
        if (target && Wants(level)) target(targetContext, level, line.c_str());
    }

    std::atomic<uint32_t> most = 0;
    RecursiveMutex lock;
    vex_log_hook target VEX_GUARDED_BY(lock) = nullptr;
    void* targetContext VEX_GUARDED_BY(lock) = nullptr;
};

}  // namespace vexcap
