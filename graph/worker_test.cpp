// The command channel between a worker thread and those who give it commands.
#include "graph/worker.h"

#include <gtest/gtest.h>

#include <functional>

#include "graph/testing/log.h"
#include "platform/fake/patience.h"

namespace vexcap {
namespace worker_test {

/// Runs what the test says.
class Worker final : public CAMThread {
public:
    explicit Worker(std::function<void(Worker&)> procedure) : run(std::move(procedure)) {}
    ~Worker() { Close(); }
    using CAMThread::CheckRequest;
    using CAMThread::GetRequest;
    using CAMThread::Reply;
    using CAMThread::WaitForRequestOrWake;
    using CAMThread::Wake;

private:
    HRESULT ThreadProc() override {
        run(*this);
        return S_OK;
    }
    std::function<void(Worker&)> run;
};

TEST(Worker, AnswersEachCommandWithItsReply) {
    Worker worker([](Worker& self) {
        for (uint32_t command; (command = self.GetRequest()) != 0;) self.Reply(HRESULT(command * 2));
        self.Reply(S_FALSE);
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_TRUE(worker.ThreadExists());
    EXPECT_EQ(worker.CallWorker(7), 14);
    EXPECT_EQ(worker.CallWorker(8), 16);
    EXPECT_EQ(worker.CallWorker(0), S_FALSE);
    worker.Close();
    EXPECT_FALSE(worker.ThreadExists());
}

TEST(Worker, WithoutAThreadACommandFails) {
    Worker worker([](Worker&) {});
    EXPECT_EQ(worker.CallWorker(1), E_FAIL);
    ASSERT_TRUE(worker.Create());
    worker.Close();
    EXPECT_EQ(worker.CallWorker(1), E_FAIL);
}

TEST(Worker, AThreadThatEndsWithoutAReplyFailsTheCommand) {
    Worker worker([](Worker& self) { self.GetRequest(); });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(1), E_FAIL);
    EXPECT_EQ(worker.CallWorker(1), E_FAIL);
}

TEST(Worker, IsMadeOnceAndAgainAfterClose) {
    Worker worker([](Worker& self) {
        self.GetRequest();
        self.Reply(S_OK);
    });
    for (int turn = 0; turn < 2; ++turn) {
        ASSERT_TRUE(worker.Create());
        EXPECT_FALSE(worker.Create());
        EXPECT_EQ(worker.CallWorker(1), S_OK);
        EXPECT_FALSE(worker.Create()) << "ended, but not closed";
        worker.Close();
        worker.Close();
    }
}

TEST(Worker, ACommandStaysUntilItsReply) {
    test::Log<uint32_t> seen;
    Worker worker([&](Worker& self) {
        seen.add(self.GetRequest());
        seen.add(self.CheckRequest().value_or(0));
        seen.add(self.GetRequest());
        self.Reply(S_OK);
        seen.add(self.CheckRequest().value_or(0));
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(5), S_OK);
    worker.Close();
    EXPECT_EQ(seen.all(), (std::vector<uint32_t>{5, 5, 5, 0}));
}

TEST(Worker, AWakeEndsTheWaitWithoutACommand) {
    test::Log<int> woken;
    Worker worker([&](Worker& self) {
        self.WaitForRequestOrWake();
        woken.add(self.CheckRequest() ? 1 : 0);
    });
    ASSERT_TRUE(worker.Create());
    worker.Wake();
    worker.Close();
    EXPECT_EQ(woken.all(), std::vector<int>{0});
}

TEST(Worker, AWakeBeforeTheWaitCountsOnce) {
    test::Log<bool> results;
    Worker worker([&](Worker& self) {
        self.GetRequest();
        self.Reply(S_OK);
        self.GetRequest();
        self.Reply(S_OK);
        results.add(self.WaitForRequestOrWake(test::patience));
        results.add(self.WaitForRequestOrWake(std::chrono::milliseconds(1)));
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(1), S_OK);
    worker.Wake();
    worker.Wake();
    EXPECT_EQ(worker.CallWorker(1), S_OK);
    worker.Close();
    EXPECT_EQ(results.all(), (std::vector<bool>{true, false}));
}

TEST(Worker, AWakeIsNotLostToACommandThatCameWithIt) {
    test::Log<bool> results;
    Worker worker([&](Worker& self) {
        self.GetRequest();  // leaves the command where it is
        self.Wake();
        self.WaitForRequestOrWake();  // ends for the command
        self.Reply(S_OK);
        results.add(self.WaitForRequestOrWake(test::patience));
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(1), S_OK);
    worker.Close();
    EXPECT_EQ(results.all(), std::vector<bool>{true});
}

TEST(Worker, ACommandEndsAWaitForAWake) {
    Worker worker([](Worker& self) {
        while (!self.CheckRequest()) self.WaitForRequestOrWake();
        self.Reply(3);
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(1), 3);
}

TEST(Worker, CommandsFromSeveralThreadsEachGetTheirOwnReply) {
    constexpr uint32_t callers = 3, turns = 200;
    Worker worker([](Worker& self) {
        for (uint32_t i = 0; i < callers * turns; ++i) self.Reply(HRESULT(self.GetRequest()));
    });
    ASSERT_TRUE(worker.Create());
    std::atomic<uint32_t> right{0};
    std::vector<std::thread> threads;
    for (uint32_t id = 0; id < callers; ++id)
        threads.emplace_back([&, id] {
            for (uint32_t turn = 0; turn < turns; ++turn)
                if (worker.CallWorker(id * turns + turn) == HRESULT(id * turns + turn)) ++right;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, callers * turns);
}

}  // namespace worker_test
}  // namespace vexcap
