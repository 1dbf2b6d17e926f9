#include "companions/cameras/list_watch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>

namespace vexcap::cameras {
namespace list_watch_test {

using namespace std::chrono_literals;

// A list that the test changes, and a host that counts what it hears.
class ListWatchTest : public testing::Test {
protected:
    ListWatch::Look look() {
        return [this] {
            MutexGuard guard(lock);
            ++looks;
            changed.notifyAll();
            if (broken) throw std::runtime_error("no list");
            return list;
        };
    }
    void put(std::vector<std::u16string> now, bool fails = false) {
        MutexGuard guard(lock);
        list = std::move(now);
        broken = fails;
    }
    // Until the list, as it is now, was looked at and compared.
    void waitForLooks() {
        MutexGuard guard(lock);
        const int wanted = looks + 2;
        while (looks < wanted) changed.wait(lock);
    }
    static void hear(void* context) { ++*static_cast<std::atomic<int>*>(context); }

    Mutex lock;
    Condition changed;
    std::vector<std::u16string> list = {u"one"};
    bool broken = false;
    int looks = 0;
    std::atomic<int> heard{0};
    ListWatch watch{look(), 1ms};
};

TEST_F(ListWatchTest, TellsOfEachChangeOnceAndOfNothingElse) {
    ASSERT_EQ(watch.Set(hear, &heard), S_OK);
    waitForLooks();
    EXPECT_EQ(heard, 0) << "what is there at first is no change";
    put({u"one", u"two"});
    waitForLooks();
    EXPECT_EQ(heard, 1);
    put({u"two"});
    waitForLooks();
    EXPECT_EQ(heard, 2);
    waitForLooks();
    EXPECT_EQ(heard, 2);
}

TEST_F(ListWatchTest, AListThatCannotBeHadIsNoChange) {
    ASSERT_EQ(watch.Set(hear, &heard), S_OK);
    waitForLooks();
    put({u"one"}, true);
    waitForLooks();
    put({u"one"});
    waitForLooks();
    EXPECT_EQ(heard, 0);
}

TEST_F(ListWatchTest, IsSilentOnceItsEndReturnedAndCanBeginAgain) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> counted{0};
        put({u"one"});
        ASSERT_EQ(watch.Set(hear, &counted), S_OK);
        waitForLooks();
        put({u"two"});
        ASSERT_EQ(watch.Set(nullptr, nullptr), S_OK);
        const int before = counted;
        put({u"three"});
        EXPECT_EQ(counted, before);
    }
    EXPECT_EQ(watch.Set(nullptr, nullptr), S_OK);
    ASSERT_EQ(watch.Set(hear, &heard), S_OK);
    waitForLooks();
    put({u"four"});
    waitForLooks();
    EXPECT_EQ(heard, 1) << "and the destructor ends it";
}

}  // namespace list_watch_test
}  // namespace vexcap::cameras
