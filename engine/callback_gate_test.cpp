#include "engine/callback_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace vexcap {
namespace callback_gate_test {

TEST(CallbackGate, LetsCallbacksThroughWhileItIsOpen) {
    int target = 0;
    CallbackGate gate;
    void* const token = gate.Open(&target);
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(CallbackGate::Visit(token).target<int>(), &target);
}

TEST(CallbackGate, ACallbackAfterTheCloseReachesNothing) {
    int target = 0;
    CallbackGate gate;
    void* const token = gate.Open(&target);
    gate.Close();
    EXPECT_EQ(CallbackGate::Visit(token).target<int>(), nullptr);
}

TEST(CallbackGate, AnOldTokenDoesNotReachTheTargetOfALaterOpening) {
    int first = 0, second = 0;
    CallbackGate gate;
    void* const old = gate.Open(&first);
    gate.Close();
    void* const token = gate.Open(&second);
    EXPECT_EQ(CallbackGate::Visit(old).target<int>(), nullptr);
    EXPECT_EQ(CallbackGate::Visit(token).target<int>(), &second);
}

TEST(CallbackGate, ATokenOfADeadGateReachesNothingInTheGateThatTookItsPlace) {
    int first = 0, second = 0;
    auto gate = std::make_unique<CallbackGate>();
    void* const old = gate->Open(&first);
    gate.reset();
    CallbackGate next;
    next.Open(&second);
    EXPECT_EQ(CallbackGate::Visit(old).target<int>(), nullptr);
}

TEST(CallbackGate, ForeignTokensReachNothing) {
    CallbackGate gate;
    int target = 0;
    gate.Open(&target);
    int other = 0;
    for (void* token :
         {static_cast<void*>(nullptr), static_cast<void*>(&other), reinterpret_cast<void*>(~uintptr_t(0))})
        EXPECT_EQ(CallbackGate::Visit(token).target<int>(), nullptr);
}

TEST(CallbackGate, ACallbackInsideACallbackGetsIn) {
    int target = 0;
    CallbackGate gate;
    void* const token = gate.Open(&target);
    CallbackGate::Visit outer(token);
    EXPECT_EQ(CallbackGate::Visit(token).target<int>(), &target);
}

TEST(CallbackGate, CloseWaitsForTheCallbacksThatAreInside) {
    for (int round = 0; round < 200; ++round) {
        std::atomic<bool> stop = false;
        auto alive = std::make_unique<std::atomic<int>>(0);
        CallbackGate gate;
        void* const token = gate.Open(alive.get());
        std::vector<std::thread> callers;
        for (int i = 0; i < 2; ++i)
            callers.emplace_back([&] {
                while (!stop) {
                    CallbackGate::Visit visit(token);
                    if (auto* target = visit.target<std::atomic<int>>()) ++*target;
                }
            });
        while (*alive < 10) std::this_thread::yield();
        gate.Close();
        alive.reset();  // a callback that is still inside would now touch freed memory
        stop = true;
        for (std::thread& caller : callers) caller.join();
    }
}

TEST(CallbackGate, OutOfGatesOpenGivesNullAndLaterOnesWorkAgain) {
    int target = 0;
    {
        std::vector<std::unique_ptr<CallbackGate>> all;
        void* token = &target;
        while (token) {
            all.push_back(std::make_unique<CallbackGate>());
            token = all.back()->Open(&target);
            ASSERT_LT(all.size(), 5000u);
        }
        EXPECT_GT(all.size(), 1000u);
    }
    CallbackGate gate;
    EXPECT_NE(gate.Open(&target), nullptr);
}

}  // namespace callback_gate_test
}  // namespace vexcap
