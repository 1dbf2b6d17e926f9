#include "platform/linux/queue_window.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>

#include "platform/linux/clock.h"

namespace vexcap {
namespace {

bool watch(const UniqueFd& poller, const UniqueFd& watched) {
    epoll_event event = {};
    event.events = EPOLLIN;
    return ::epoll_ctl(poller.get(), EPOLL_CTL_ADD, watched.get(), &event) == 0;
}

bool equal(const vex_message& a, const vex_message& b) {
    return a.message == b.message && a.wparam == b.wparam && a.lparam == b.lparam;
}

}  // namespace

QueueWindow::QueueWindow()
    : poller(::epoll_create1(EPOLL_CLOEXEC)),
      wakeEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      ring(room) {
    window.post = [](vex_window* w, uint32_t message, uintptr_t wparam, intptr_t lparam) {
        of(w).post({message, 0, wparam, lparam});
    };
    window.invalidate = [](vex_window* w) { of(w).invalidate(); };
    window.set_timer = [](vex_window* w, uintptr_t id, uint32_t milliseconds, vex_timer_fire fire) {
        try {
            of(w).setTimer(id, milliseconds, fire);
        } catch (...) {  // no memory for one timer more: it does not come
        }
    };
    window.kill_timer = [](vex_window* w, uintptr_t id) { of(w).killTimer(id); };
    window.user = this;
}

std::unique_ptr<QueueWindow> QueueWindow::create() {
    std::unique_ptr<QueueWindow> made(new QueueWindow);
    const bool complete = made->poller && made->wakeEvent && made->timer && watch(made->poller, made->wakeEvent) &&
                          watch(made->poller, made->timer);
    return complete ? std::move(made) : nullptr;
}

void QueueWindow::wake() { ::eventfd_write(wakeEvent.get(), 1); }

void QueueWindow::post(const vex_message& message) {
    MutexGuard guard(queueLock);
    // A host that is behind loses nothing by hearing the same thing once; and it keeps room for what differs.
    if (count == room || (count > room / 2 && equal(ring[(first + count - 1) % room], message))) return;
    ring[(first + count) % room] = message;
    if (count++ == 0 && !repaint) wake();
}

void QueueWindow::invalidate() {
    MutexGuard guard(queueLock);
    if (!repaint && count == 0) wake();
    repaint = true;
}

bool QueueWindow::next(vex_message& out) {
    fireDueTimers();
    MutexGuard guard(queueLock);
    if (count) {
        out = ring[first];
        first = (first + 1) % room;
        --count;
    } else if (repaint) {
        out = {VEX_MESSAGE_INVALIDATE, 0, 0, 0};
        repaint = false;
    } else {
        return false;
    }
    if (count == 0 && !repaint) {
        eventfd_t seen = 0;
        ::eventfd_read(wakeEvent.get(), &seen);
    }
    return true;
}

void QueueWindow::setTimer(uintptr_t id, uint32_t milliseconds, vex_timer_fire fire) {
    killTimer(id);
    if (!fire) return;
    const uint32_t period = std::max(milliseconds, 1u);
    timers.push_back({id, period, LinuxClock().Milliseconds() + period, fire});
    programTimer();
}

void QueueWindow::killTimer(uintptr_t id) {
    std::erase_if(timers, [id](const Timer& t) { return t.id == id; });
    programTimer();
}

void QueueWindow::fireDueTimers() {
    const uint64_t now = LinuxClock().Milliseconds();
    // A timer's call may set and kill timers, so each round looks for the next due one anew. What was just fired is
    // due later than now, so that a late timer fires once.
    for (;;) {
        const auto due = std::find_if(timers.begin(), timers.end(), [now](const Timer& t) { return t.due <= now; });
        if (due == timers.end()) break;
        due->due = now + due->period;
        due->fire(&window, due->id);
    }
    programTimer();
}

void QueueWindow::programTimer() {
    uint64_t earliest = UINT64_MAX;
    for (const Timer& t : timers) earliest = std::min(earliest, t.due);
    itimerspec when = {};
    if (!timers.empty()) when.it_value = {time_t(earliest / 1000), long(earliest % 1000) * 1'000'000};
    ::timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

}  // namespace vexcap

vex_window* vex_window_queue_new(void) {
    try {
        auto made = vexcap::QueueWindow::create();
        return made ? made.release()->native() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

void vex_window_queue_free(vex_window* window) {
    if (window) delete &vexcap::QueueWindow::of(window);
}

int vex_window_queue_fd(vex_window* window) { return window ? vexcap::QueueWindow::of(window).descriptor() : -1; }

int32_t vex_window_queue_next(vex_window* window, vex_message* out) {
    return window && out && vexcap::QueueWindow::of(window).next(*out);
}

int32_t vex_window_queue_wait(vex_window* window, int32_t milliseconds) {
    if (!window) return -1;
    pollfd waited = {vexcap::QueueWindow::of(window).descriptor(), POLLIN, 0};
    const int ready = ::poll(&waited, 1, std::max(milliseconds, -1));
    return ready < 0 ? -1 : ready > 0;
}
