// Waiting for what the library posts.
#pragma once

#include <vexcap/window.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace vexcap::test {

/// A queue window that remembers what was posted. Used on one thread.
class QueueWindow final {
public:
    QueueWindow();
    ~QueueWindow();
    QueueWindow(const QueueWindow&) = delete;
    QueueWindow& operator=(const QueueWindow&) = delete;

    vex_window* get() const { return window; }
    /// Takes messages and runs timers until `done` says so; false when `milliseconds` are over first.
    bool pumpUntil(const std::function<bool()>& done, int milliseconds);
    void pumpFor(int milliseconds);
    /// Waits for a message of this number that was not there before the call.
    bool pumpUntilMessage(uint32_t message, int milliseconds);
    const std::vector<vex_message>& messages() const { return taken; }
    size_t count(uint32_t message) const;
    void forget() { taken.clear(); }

private:
    vex_window* window;
    std::vector<vex_message> taken;
};

}  // namespace vexcap::test
