// A host's window that keeps what it is told, and fires its timers by hand.
#pragma once

#include <vexcap/window.h>

#include <cstddef>
#include <map>
#include <mutex>
#include <vector>

namespace vexcap {

/// Messages, repaints and timers of one window. Any thread.
class FakeWindow final {
public:
    FakeWindow() = default;
    FakeWindow(const FakeWindow&) = delete;
    FakeWindow& operator=(const FakeWindow&) = delete;

    /// What the library is given; good as long as this object.
    vex_window* native() { return &window; }

    /// What was posted, oldest first.
    std::vector<vex_message> messages() const {
        const std::lock_guard guard(mutex);
        return posted;
    }
    size_t invalidations() const {
        const std::lock_guard guard(mutex);
        return repaints;
    }
    /// Forgets messages and repaints; timers stay.
    void clear() {
        const std::lock_guard guard(mutex);
        posted.clear();
        repaints = 0;
    }

    size_t timerCount() const {
        const std::lock_guard guard(mutex);
        return timers.size();
    }
    /// Milliseconds of a timer, 0 when there is none of this id.
    uint32_t timerInterval(uintptr_t id) const {
        const std::lock_guard guard(mutex);
        const auto found = timers.find(id);
        return found == timers.end() ? 0 : found->second.milliseconds;
    }
    /// Fires each timer once. One that an earlier one killed is left out, one that was set meanwhile too.
    void fireTimers() {
        for (const auto& [id, due] : snapshot())
            if (isSet(id)) due.fire(&window, id);
    }

private:
    struct Timer {
        uint32_t milliseconds;
        vex_timer_fire fire;
    };

    static FakeWindow& of(vex_window* window) { return *static_cast<FakeWindow*>(window->user); }
    static void post(vex_window* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
        FakeWindow& self = of(window);
        const std::lock_guard guard(self.mutex);
        self.posted.push_back({message, 0, wparam, lparam});
    }
    static void invalidate(vex_window* window) {
        FakeWindow& self = of(window);
        const std::lock_guard guard(self.mutex);
        ++self.repaints;
    }
    static void setTimer(vex_window* window, uintptr_t id, uint32_t milliseconds, vex_timer_fire fire) {
        FakeWindow& self = of(window);
        const std::lock_guard guard(self.mutex);
        self.timers[id] = {milliseconds, fire};
    }
    static void killTimer(vex_window* window, uintptr_t id) {
        FakeWindow& self = of(window);
        const std::lock_guard guard(self.mutex);
        self.timers.erase(id);
    }

    std::map<uintptr_t, Timer> snapshot() const {
        const std::lock_guard guard(mutex);
        return timers;
    }
    bool isSet(uintptr_t id) const {
        const std::lock_guard guard(mutex);
        return timers.count(id) != 0;
    }

    mutable std::mutex mutex;
    std::vector<vex_message> posted;
    size_t repaints = 0;
    std::map<uintptr_t, Timer> timers;
    vex_window window = {&post, &invalidate, &setTimer, &killTimer, this};
};

}  // namespace vexcap
