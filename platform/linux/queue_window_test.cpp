#include "platform/linux/queue_window.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <functional>
#include <thread>

#include "platform/linux/clock.h"

namespace vexcap {
namespace queue_window_test {

class QueueWindowTest : public testing::Test {
protected:
    ~QueueWindowTest() override { vex_window_queue_free(window); }

    bool readable() {
        pollfd waited = {vex_window_queue_fd(window), POLLIN, 0};
        return ::poll(&waited, 1, 0) == 1;
    }
    std::vector<vex_message> drain() {
        std::vector<vex_message> all;
        for (vex_message m; vex_window_queue_next(window, &m);) all.push_back(m);
        return all;
    }
    void post(uint32_t message, uintptr_t wparam = 0, intptr_t lparam = 0) {
        window->post(window, message, wparam, lparam);
    }
    /// Runs timers until `done`, at most ten seconds.
    bool pump(const std::function<bool()>& done) {
        const uint64_t end = LinuxClock().Milliseconds() + 10'000;
        while (!done() && LinuxClock().Milliseconds() < end) {
            vex_window_queue_wait(window, 100);
            drain();
        }
        return done();
    }

    vex_window* window = vex_window_queue_new();
};

TEST_F(QueueWindowTest, MessagesComeInOrderWithTheirParameters) {
    post(5, 1, -1);
    post(6, UINTPTR_MAX, INTPTR_MIN);
    const auto all = drain();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].message, 5u);
    EXPECT_EQ(all[0].wparam, 1u);
    EXPECT_EQ(all[0].lparam, -1);
    EXPECT_EQ(all[1].wparam, UINTPTR_MAX);
    EXPECT_EQ(all[1].lparam, INTPTR_MIN);
}

TEST_F(QueueWindowTest, TheDescriptorIsReadableWhileSomethingWaits) {
    EXPECT_FALSE(readable());
    EXPECT_EQ(vex_window_queue_wait(window, 0), 0);
    post(1);
    post(2);
    EXPECT_TRUE(readable());
    EXPECT_EQ(vex_window_queue_wait(window, 0), 1);
    vex_message m;
    ASSERT_TRUE(vex_window_queue_next(window, &m));
    EXPECT_TRUE(readable());
    ASSERT_TRUE(vex_window_queue_next(window, &m));
    EXPECT_FALSE(readable());
}

TEST_F(QueueWindowTest, ManyInvalidationsComeOnceAndAfterTheMessages) {
    window->invalidate(window);
    window->invalidate(window);
    EXPECT_TRUE(readable());
    post(9);
    const auto all = drain();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].message, 9u);
    EXPECT_EQ(all[1].message, VEX_MESSAGE_INVALIDATE);
    EXPECT_FALSE(readable());
}

TEST_F(QueueWindowTest, AFloodOfOneMessageLeavesRoomForOthers) {
    for (int i = 0; i < 100'000; ++i) post(1);
    post(2, 7);
    const auto all = drain();
    ASSERT_LT(all.size(), 8192u);
    EXPECT_GT(all.size(), 4096u);
    EXPECT_EQ(all.back().message, 2u);
    EXPECT_EQ(all.back().wparam, 7u);
}

TEST_F(QueueWindowTest, AFullQueueKeepsTheOldestAndGoesOn) {
    for (uintptr_t i = 0; i < 10'000; ++i) post(1, i);
    const auto all = drain();
    ASSERT_EQ(all.size(), 8192u);
    EXPECT_EQ(all.front().wparam, 0u);
    EXPECT_EQ(all.back().wparam, 8191u);
    post(3);
    EXPECT_EQ(drain().size(), 1u);
}

TEST_F(QueueWindowTest, MessagesOfManyThreadsAllArrive) {
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < 4; ++t)
        threads.emplace_back([this, t] {
            for (uintptr_t i = 0; i < 500; ++i) post(t + 1, i);
        });
    size_t seen = 0;
    std::vector<uintptr_t> next(5, 0);
    while (seen < 2000) {
        ASSERT_GE(vex_window_queue_wait(window, 10'000), 0);
        for (const vex_message& m : drain()) {
            EXPECT_EQ(m.wparam, next[m.message]++);  // in order for each poster
            ++seen;
        }
    }
    for (std::thread& thread : threads) thread.join();
}

// The timers below carry what they count in their id.
void countFire(vex_window*, uintptr_t id) { ++*reinterpret_cast<int*>(id); }

TEST_F(QueueWindowTest, ATimerFiresAgainAndAgainUntilItIsKilled) {
    int fired = 0;
    const auto id = reinterpret_cast<uintptr_t>(&fired);
    window->set_timer(window, id, 5, countFire);
    EXPECT_TRUE(pump([&] { return fired >= 3; }));
    window->kill_timer(window, id);
    const int atTheKill = fired;
    EXPECT_EQ(vex_window_queue_wait(window, 30), 0);
    drain();
    EXPECT_EQ(fired, atTheKill);
}

TEST_F(QueueWindowTest, ALateTimerFiresOnceAndNotInABurst) {
    int fired = 0;
    window->set_timer(window, reinterpret_cast<uintptr_t>(&fired), 10, countFire);
    LinuxClock().Sleep(100);
    drain();
    EXPECT_EQ(fired, 1);
}

TEST_F(QueueWindowTest, TheSameIdReplacesTheTimer) {
    int fired = 0;
    const auto id = reinterpret_cast<uintptr_t>(&fired);
    window->set_timer(window, id, 1, countFire);
    window->set_timer(window, id, 3'600'000, countFire);
    LinuxClock().Sleep(20);
    drain();
    EXPECT_EQ(fired, 0);
    EXPECT_FALSE(readable());
}

TEST_F(QueueWindowTest, ATimerMayKillItselfAndSetOthersWhileItFires) {
    static int first, second;
    first = second = 0;
    window->set_timer(window, 1, 1, [](vex_window* w, uintptr_t id) {
        ++first;
        w->kill_timer(w, id);
        for (uintptr_t other = 2; other < 50; ++other)
            w->set_timer(w, other, 1, [](vex_window*, uintptr_t) { ++second; });
    });
    EXPECT_TRUE(pump([] { return second >= 48; }));
    EXPECT_EQ(first, 1);
}

TEST_F(QueueWindowTest, AnUnknownTimerMayBeKilled) { window->kill_timer(window, 77); }

TEST_F(QueueWindowTest, ATimerWithoutACallIsNone) {
    int fired = 0;
    const auto id = reinterpret_cast<uintptr_t>(&fired);
    window->set_timer(window, id, 1, countFire);
    window->set_timer(window, id, 1, nullptr);
    LinuxClock().Sleep(10);
    drain();
    EXPECT_EQ(fired, 0);
    EXPECT_FALSE(readable());
}

TEST_F(QueueWindowTest, NullIsRefused) {
    vex_message m;
    EXPECT_EQ(vex_window_queue_next(nullptr, &m), 0);
    EXPECT_EQ(vex_window_queue_next(window, nullptr), 0);
    EXPECT_EQ(vex_window_queue_fd(nullptr), -1);
    EXPECT_EQ(vex_window_queue_wait(nullptr, 0), -1);
    vex_window_queue_free(nullptr);
}

}  // namespace queue_window_test
}  // namespace vexcap
