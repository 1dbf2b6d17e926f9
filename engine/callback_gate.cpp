#include "engine/callback_gate.h"

#include <array>
#include <atomic>

namespace vexcap {
namespace {

// State of a slot: generation in the upper half, then the open bit, then the number of callbacks inside.
constexpr uint64_t openBit = 1ull << 31;
constexpr uint64_t visitors = openBit - 1;
constexpr uint64_t oneGeneration = 1ull << 32;
constexpr uint32_t slotCount = 1024;  // 0 stands for "no slot", so that no token is null

struct Slot {
    std::atomic<bool> taken = false;
    std::atomic<uint64_t> state = 0;
    void* target = nullptr;  // written before the gate opens, read by those who came in
};
std::array<Slot, slotCount> slots;

constexpr uintptr_t tokenOf(uint64_t state, uint32_t slot) { return uintptr_t(state >> 32) * slotCount + slot; }

}  // namespace

CallbackGate::CallbackGate() : slot(0) {
    for (uint32_t candidate = 1; candidate < slotCount && !slot; ++candidate)
        if (!slots[candidate].taken.exchange(true)) slot = candidate;
}

CallbackGate::~CallbackGate() {
    Close();
    slots[slot].taken = false;
}

void* CallbackGate::Open(void* target) {
    if (!slot) return nullptr;
    Close();
    slots[slot].target = target;
    const uint64_t before = slots[slot].state.fetch_add(openBit, std::memory_order_release);
    return reinterpret_cast<void*>(tokenOf(before, slot));
}

void CallbackGate::Close() {
    std::atomic<uint64_t>& state = slots[slot].state;
    uint64_t now = state.load(std::memory_order_relaxed);
    if (!(now & openBit)) return;
    now = state.fetch_add(oneGeneration - openBit, std::memory_order_acq_rel) + oneGeneration - openBit;
    while (now & visitors) {
        state.wait(now, std::memory_order_acquire);
        now = state.load(std::memory_order_acquire);
    }
}

CallbackGate::Visit::Visit(void* token) : slot(uint32_t(reinterpret_cast<uintptr_t>(token) % slotCount)) {
    std::atomic<uint64_t>& state = slots[slot].state;
    uint64_t now = state.load(std::memory_order_relaxed);
    do {
        if (!(now & openBit) || tokenOf(now, slot) != reinterpret_cast<uintptr_t>(token)) return;
    } while (!state.compare_exchange_weak(now, now + 1, std::memory_order_acquire, std::memory_order_relaxed));
    visited = slots[slot].target;
}

CallbackGate::Visit::~Visit() {
    if (!visited) return;
    const uint64_t before = slots[slot].state.fetch_sub(1, std::memory_order_release);
    if (!(before & openBit) && (before & visitors) == 1) slots[slot].state.notify_all();
}

}  // namespace vexcap
