#include "tests/support/queue_window.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace vexcap::test {

using Clock = std::chrono::steady_clock;

QueueWindow::QueueWindow() : window(vex_window_queue_new()) {
    if (window == nullptr) throw std::runtime_error("no queue window");
}

QueueWindow::~QueueWindow() { vex_window_queue_free(window); }

bool QueueWindow::pumpUntil(const std::function<bool()>& done, int milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        vex_message message;
        while (vex_window_queue_next(window, &message) == 1)
            if (message.message != VEX_MESSAGE_INVALIDATE) taken.push_back(message);
        if (done()) return true;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return false;
        // `done` may look at something that posts no message.
        vex_window_queue_wait(window, int32_t(std::min<int64_t>(left, 5)));
    }
}

void QueueWindow::pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
}

bool QueueWindow::pumpUntilMessage(uint32_t message, int milliseconds) {
    const size_t before = count(message);
    return pumpUntil([&] { return count(message) > before; }, milliseconds);
}

size_t QueueWindow::count(uint32_t message) const {
    return size_t(
        std::count_if(taken.begin(), taken.end(), [&](const vex_message& m) { return m.message == message; }));
}

}  // namespace vexcap::test
