// Samples and their pools: how a sample comes fresh, where it returns to, and what a decommit ends.
#include "graph/sample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "graph/testing/log.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace sample_test {

Ref<CMemAllocator> poolOf(uint32_t buffers, size_t bytes) {
    auto pool = makeRef<CMemAllocator>();
    EXPECT_TRUE(pool->SetProperties({buffers, bytes}).ok());
    EXPECT_TRUE(pool->Commit().ok());
    return pool;
}

/// Tells when it dies.
class WatchedAllocator final : public CBaseAllocator {
public:
    explicit WatchedAllocator(bool& deadFlag) : dead(deadFlag) {}
    int freed = 0;
    bool failing = false;

private:
    ~WatchedAllocator() override { dead = true; }
    Status Alloc(const AllocatorProperties& wanted, std::vector<uint8_t*>& memory) override {
        if (failing) return E_OUTOFMEMORY;
        memory.assign(wanted.buffers, bytes);
        return S_OK;
    }
    void FreeMemory() override { ++freed; }
    uint8_t bytes[16] = {};
    bool& dead;
};

TEST(Allocator, RefusesPropertiesOfNothing) {
    auto pool = makeRef<CMemAllocator>();
    EXPECT_EQ(pool->SetProperties({0, 100}).code(), E_INVALIDARG);
    EXPECT_EQ(pool->SetProperties({1, 0}).code(), E_INVALIDARG);
    EXPECT_EQ(pool->GetProperties().buffers, 0u);
}

TEST(Allocator, HasNoBufferBeforeProperties) {
    auto pool = makeRef<CMemAllocator>();
    EXPECT_EQ(pool->Commit().code(), E_UNEXPECTED);
    EXPECT_EQ(pool->GetBuffer(0).code(), VFW_E_NOT_COMMITTED);
}

TEST(Allocator, KeepsItsPropertiesWhileCommittedAndWhileSamplesAreOut) {
    auto pool = poolOf(2, 100);
    EXPECT_EQ(pool->SetProperties({3, 100}).code(), VFW_E_WRONG_STATE);
    Ref<CMediaSample> out = pool->GetBuffer(0).value();
    pool->Decommit();
    EXPECT_EQ(pool->SetProperties({3, 100}).code(), VFW_E_WRONG_STATE);
    out = nullptr;
    const auto got = pool->SetProperties({3, 200});
    ASSERT_TRUE(got.ok());
    EXPECT_EQ(got.value().buffers, 3u);
    EXPECT_EQ(got.value().bufferBytes, 200u);
    EXPECT_EQ(pool->GetProperties().buffers, 3u);
    EXPECT_EQ(pool->GetProperties().bufferBytes, 200u);
}

TEST(Allocator, GivesAsManySamplesAsItHasAndNotOneMore) {
    auto pool = poolOf(3, 100);
    std::vector<Ref<CMediaSample>> out;
    for (int i = 0; i < 3; ++i) out.push_back(pool->GetBuffer(AM_GBF_NOWAIT).value());
    for (const auto& sample : out) {
        EXPECT_EQ(sample->GetSize(), 100u);
        EXPECT_EQ(uintptr_t(sample->GetPointer()) % 4096, 0u);
        EXPECT_TRUE(std::all_of(sample->GetPointer(), sample->GetPointer() + 100, [](uint8_t b) { return b == 0; }));
        EXPECT_EQ(std::count_if(out.begin(), out.end(),
                                [&](const auto& other) { return other->GetPointer() == sample->GetPointer(); }),
                  1);
    }
    EXPECT_EQ(pool->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_TIMEOUT);
    uint8_t* const memory = out[1]->GetPointer();
    out.erase(out.begin() + 1);
    EXPECT_EQ(pool->GetBuffer(AM_GBF_NOWAIT).value()->GetPointer(), memory);
}

TEST(Allocator, ASampleReturnsAtTheLastReleaseAndNotBefore) {
    auto pool = poolOf(1, 100);
    Ref<CMediaSample> first = pool->GetBuffer(0).value();
    Ref<CMediaSample> second = first;
    first = nullptr;
    EXPECT_EQ(pool->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_TIMEOUT);
    second = nullptr;
    EXPECT_TRUE(pool->GetBuffer(AM_GBF_NOWAIT).ok());
}

TEST(Allocator, ASampleComesFreshWhateverItWasBefore) {
    auto pool = poolOf(1, 100);
    {
        Ref<CMediaSample> used = pool->GetBuffer(0).value();
        used->SetTime(1, 2);
        used->SetSyncPoint(true);
        used->SetDiscontinuity(true);
        ASSERT_TRUE(used->SetActualDataLength(5).ok());
    }
    const Ref<CMediaSample> fresh = pool->GetBuffer(0).value();
    int64_t start = -1, stop = -1;
    EXPECT_EQ(fresh->GetTime(start, stop).code(), VFW_E_SAMPLE_TIME_NOT_SET);
    EXPECT_FALSE(fresh->IsSyncPoint());
    EXPECT_FALSE(fresh->IsDiscontinuity());
    EXPECT_EQ(fresh->GetActualDataLength(), 100u);
}

TEST(Sample, HoldsTimesFlagsAndLength) {
    auto pool = poolOf(1, 100);
    const Ref<CMediaSample> sample = pool->GetBuffer(0).value();
    int64_t start = 0, stop = 0;
    sample->SetTime(-7, 9);
    ASSERT_TRUE(sample->GetTime(start, stop).ok());
    EXPECT_EQ(start, -7);
    EXPECT_EQ(stop, 9);
    sample->SetSyncPoint(true);
    EXPECT_TRUE(sample->IsSyncPoint());
    sample->SetDiscontinuity(true);
    EXPECT_TRUE(sample->IsDiscontinuity());
    EXPECT_TRUE(sample->SetActualDataLength(0).ok());
    EXPECT_EQ(sample->GetActualDataLength(), 0u);
    EXPECT_TRUE(sample->SetActualDataLength(100).ok());
    EXPECT_EQ(sample->SetActualDataLength(101).code(), E_INVALIDARG);
    EXPECT_EQ(sample->GetActualDataLength(), 100u);
}

TEST(Allocator, CommitAndDecommitMayBeSaidTwice) {
    auto pool = poolOf(2, 100);
    uint8_t* const memory = pool->GetBuffer(0).value()->GetPointer();
    EXPECT_TRUE(pool->Commit().ok());
    EXPECT_EQ(pool->GetBuffer(0).value()->GetPointer(), memory);
    pool->Decommit();
    pool->Decommit();
    EXPECT_EQ(pool->GetBuffer(0).code(), VFW_E_NOT_COMMITTED);
}

TEST(Allocator, SamplesThatAreOutFreeThemselvesWhenTheLastOneComesBack) {
    bool dead = false;
    auto pool = makeRef<WatchedAllocator>(dead);
    ASSERT_TRUE(pool->SetProperties({2, 16}).ok());
    ASSERT_TRUE(pool->Commit().ok());
    Ref<CMediaSample> a = pool->GetBuffer(0).value(), b = pool->GetBuffer(0).value();
    pool->Decommit();
    EXPECT_EQ(pool->freed, 0);
    a = nullptr;
    EXPECT_EQ(pool->freed, 0);
    EXPECT_NE(b->GetPointer(), nullptr);
    b = nullptr;
    EXPECT_EQ(pool->freed, 1);
    pool = nullptr;
    EXPECT_TRUE(dead);
}

TEST(Allocator, LivesAsLongAsASampleIsOut) {
    bool dead = false;
    auto pool = makeRef<WatchedAllocator>(dead);
    ASSERT_TRUE(pool->SetProperties({2, 16}).ok());
    ASSERT_TRUE(pool->Commit().ok());
    Ref<CMediaSample> a = pool->GetBuffer(0).value(), b = pool->GetBuffer(0).value();
    pool = nullptr;
    a = nullptr;
    EXPECT_FALSE(dead);
    b->GetPointer()[15] = 1;
    b = nullptr;
    EXPECT_TRUE(dead);
}

TEST(Allocator, ACommitWhileSamplesAreOutGoesOnWithThem) {
    auto pool = poolOf(2, 100);
    Ref<CMediaSample> out = pool->GetBuffer(0).value();
    pool->Decommit();
    ASSERT_TRUE(pool->Commit().ok());
    Ref<CMediaSample> other = pool->GetBuffer(AM_GBF_NOWAIT).value();
    EXPECT_NE(other->GetPointer(), out->GetPointer());
    EXPECT_EQ(pool->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_TIMEOUT);
    out = nullptr;
    EXPECT_TRUE(pool->GetBuffer(AM_GBF_NOWAIT).ok());
}

TEST(Allocator, ACommitThatFailsLeavesNothingCommitted) {
    bool dead = false;
    auto pool = makeRef<WatchedAllocator>(dead);
    ASSERT_TRUE(pool->SetProperties({2, 16}).ok());
    pool->failing = true;
    EXPECT_EQ(pool->Commit().code(), E_OUTOFMEMORY);
    EXPECT_EQ(pool->GetBuffer(0).code(), VFW_E_NOT_COMMITTED);
    pool->failing = false;
    EXPECT_TRUE(pool->Commit().ok());
    EXPECT_TRUE(pool->GetBuffer(0).ok());
}

TEST(Allocator, MoreMemoryThanThereIsIsAnAnswerAndNoCrash) {
    auto pool = makeRef<CMemAllocator>();
    ASSERT_TRUE(pool->SetProperties({1, SIZE_MAX}).ok());
    EXPECT_EQ(pool->Commit().code(), E_OUTOFMEMORY);
    EXPECT_EQ(pool->GetBuffer(0).code(), VFW_E_NOT_COMMITTED);
}

TEST(Allocator, AWaitEndsWhenASampleComesBack) {
    auto pool = poolOf(1, 100);
    Ref<CMediaSample> out = pool->GetBuffer(0).value();
    uint8_t* const memory = out->GetPointer();
    test::Log<const uint8_t*> got;
    std::thread waiting([&] { got.add(pool->GetBuffer(0).value()->GetPointer()); });
    out = nullptr;
    ASSERT_TRUE(got.waitFor(1));
    waiting.join();
    EXPECT_EQ(got.all().front(), memory);
}

TEST(Allocator, ADecommitEndsEveryWait) {
    auto pool = poolOf(1, 100);
    const Ref<CMediaSample> out = pool->GetBuffer(0).value();
    test::Log<HRESULT> codes;
    std::vector<std::thread> waiting;
    for (int i = 0; i < 3; ++i) waiting.emplace_back([&] { codes.add(pool->GetBuffer(0).code()); });
    pool->Decommit();
    EXPECT_TRUE(codes.waitFor(3));
    for (std::thread& thread : waiting) thread.join();
    EXPECT_EQ(codes.all(), std::vector<HRESULT>(3, VFW_E_NOT_COMMITTED));
}

TEST(Allocator, NoSampleIsInTwoHandsAtOnce) {
    constexpr int threads = 4, turns = 2000;
    auto pool = poolOf(3, 64);
    std::atomic<int> clashes{0};
    std::vector<std::thread> users;
    for (int id = 1; id <= threads; ++id)
        users.emplace_back([&, id] {
            for (int turn = 0; turn < turns; ++turn) {
                Ref<CMediaSample> sample = pool->GetBuffer(0).value();
                std::fill_n(sample->GetPointer(), 64, uint8_t(id));
                const Ref<CMediaSample> second = sample;
                sample = nullptr;
                if (std::count(second->GetPointer(), second->GetPointer() + 64, uint8_t(id)) != 64) ++clashes;
            }
        });
    for (std::thread& user : users) user.join();
    EXPECT_EQ(clashes, 0);
    for (int i = 0; i < 2; ++i) {
        std::vector<Ref<CMediaSample>> all;
        for (int buffer = 0; buffer < 3; ++buffer) all.push_back(pool->GetBuffer(AM_GBF_NOWAIT).value());
    }
}

TEST(Allocator, StartsAndEndsWhileSamplesAreTakenLoseNone) {
    auto pool = poolOf(2, 64);
    std::atomic<bool> done{false};
    std::vector<std::thread> users;
    for (int id = 0; id < 2; ++id)
        users.emplace_back([&] {
            while (!done)
                if (const auto sample = pool->GetBuffer(0); sample.ok()) sample.value()->GetPointer()[63] = 1;
        });
    for (int turn = 0; turn < 300; ++turn) {
        pool->Decommit();
        EXPECT_TRUE(pool->Commit().ok());
    }
    done = true;
    pool->Decommit();
    for (std::thread& user : users) user.join();
    ASSERT_TRUE(pool->SetProperties({2, 32}).ok());  // nothing is out
}

TEST(Allocator, TakingAndReturningASampleAllocatesNothing) {
    auto pool = poolOf(2, 100);
    const size_t before = allocations();
    for (int i = 0; i < 100; ++i) {
        const Ref<CMediaSample> a = pool->GetBuffer(0).value();
        const Ref<CMediaSample> b = pool->GetBuffer(AM_GBF_NOWAIT).value();
        ASSERT_FALSE(pool->GetBuffer(AM_GBF_NOWAIT).ok());
    }
    EXPECT_EQ(allocations(), before);
}

}  // namespace sample_test
}  // namespace vexcap
