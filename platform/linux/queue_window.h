// A window for hosts without a toolkit: a queue of messages and timers behind one file descriptor.
#pragma once

#include <vexcap/window.h>

#include <memory>
#include <vector>

#include "base/mutex.h"
#include "platform/linux/unique_fd.h"

namespace vexcap {

/// Messages come from any thread, everything else from the host's. The queue has its room from the beginning, so that
/// posting allocates nothing.
class QueueWindow final {
public:
    /// Null when out of descriptors or memory.
    static std::unique_ptr<QueueWindow> create();
    QueueWindow(const QueueWindow&) = delete;
    QueueWindow& operator=(const QueueWindow&) = delete;

    static QueueWindow& of(vex_window* window) { return *static_cast<QueueWindow*>(window->user); }
    vex_window* native() { return &window; }
    int descriptor() const { return poller.get(); }
    /// Fires what is due, then takes the oldest message.
    bool next(vex_message& out) VEX_EXCLUDES(queueLock);

private:
    static constexpr size_t room = 8192;

    struct Timer {
        uintptr_t id;
        uint32_t period;  ///< Milliseconds.
        uint64_t due;     ///< Milliseconds of the steady clock.
        vex_timer_fire fire;
    };

    QueueWindow();
    void post(const vex_message& message) VEX_EXCLUDES(queueLock);
    void invalidate() VEX_EXCLUDES(queueLock);
    void setTimer(uintptr_t id, uint32_t milliseconds, vex_timer_fire fire);
    void killTimer(uintptr_t id);
    void fireDueTimers();
    void programTimer();
    void wake();

    UniqueFd poller;     ///< Readable when one of the two below is.
    UniqueFd wakeEvent;  ///< Readable while a message waits.
    UniqueFd timer;      ///< Readable when the earliest timer is due.

    Mutex queueLock;
    std::vector<vex_message> ring VEX_GUARDED_BY(queueLock);
    size_t first VEX_GUARDED_BY(queueLock) = 0;
    size_t count VEX_GUARDED_BY(queueLock) = 0;
    bool repaint VEX_GUARDED_BY(queueLock) = false;

    std::vector<Timer> timers;  ///< Host's thread.
    vex_window window = {};
};

}  // namespace vexcap
