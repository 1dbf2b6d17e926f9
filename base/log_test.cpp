#include "base/log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace vexcap {
namespace log_test {

struct Line {
    uint32_t level;
    std::u16string text;
    bool operator==(const Line&) const = default;
};

void keep(void* lines, uint32_t level, const vex_char* text) {
    static_cast<std::vector<Line>*>(lines)->push_back({level, text});
}

TEST(Log, HandsLinesUpToItsLevelToTheHook) {
    Log log;
    std::vector<Line> lines;
    log.Write(VEX_LOG_ERROR, u"nobody listens");
    log.SetHook(keep, &lines, VEX_LOG_WARNING);
    log.Write(VEX_LOG_ERROR, u"%s has %u of %d", std::u16string_view(u"a.ser"), 7u, -1);
    log.Write(VEX_LOG_WARNING, u"second");
    log.Write(VEX_LOG_INFO, u"too fine");
    log.SetHook(nullptr, nullptr, VEX_LOG_DEBUG);
    log.Write(VEX_LOG_ERROR, u"nobody listens any more");
    EXPECT_EQ(lines, (std::vector<Line>{{VEX_LOG_ERROR, u"a.ser has 7 of -1"}, {VEX_LOG_WARNING, u"second"}}));
}

TEST(Log, WantsNothingWithoutAHook) {
    Log log;
    EXPECT_FALSE(log.Wants(VEX_LOG_ERROR));
    std::vector<Line> lines;
    log.SetHook(keep, &lines, VEX_LOG_INFO);
    EXPECT_TRUE(log.Wants(VEX_LOG_INFO));
    EXPECT_FALSE(log.Wants(VEX_LOG_DEBUG));
}

TEST(Log, AHookMayTakeItselfAway) {
    static Log log;
    static int calls;
    calls = 0;
    log.SetHook(
        [](void*, uint32_t, const vex_char*) {
            ++calls;
            log.SetHook(nullptr, nullptr, 0);
        },
        nullptr, VEX_LOG_ERROR);
    log.Write(VEX_LOG_ERROR, u"one");
    log.Write(VEX_LOG_ERROR, u"two");
    EXPECT_EQ(calls, 1);
}

TEST(Log, AHookThatWasTakenAwayDoesNotRun) {
    Log log;
    struct Target {
        std::atomic<bool> set = false;
        std::atomic<bool> wrong = false;
    } target;
    std::atomic<bool> done = false;
    std::thread writer([&] {
        while (!done) log.Write(VEX_LOG_ERROR, u"line");
    });
    for (int i = 0; i < 200; ++i) {
        target.set = true;
        log.SetHook(
            [](void* context, uint32_t, const vex_char*) {
                auto* const t = static_cast<Target*>(context);
                if (!t->set) t->wrong = true;
            },
            &target, VEX_LOG_ERROR);
        log.SetHook(nullptr, nullptr, 0);
        target.set = false;
    }
    done = true;
    writer.join();
    EXPECT_FALSE(target.wrong);
}

}  // namespace log_test
}  // namespace vexcap
