// Samples, and the fixed pools that they return to.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/mutex.h"
#include "base/ref.h"
#include "base/status.h"
#include "graph/codes.h"
#include "graph/unknown.h"

namespace vexcap {

class CBaseAllocator;

/// One buffer on its way through the graph. The pointer is valid until the last release, at which the sample returns
/// to its allocator. One thread at a time.
class CMediaSample final {
public:
    CMediaSample(CBaseAllocator& owner, uint8_t* memory, size_t bytes)
        : allocator(owner), pointer(memory), size(bytes) {}
    CMediaSample(const CMediaSample&) = delete;
    CMediaSample& operator=(const CMediaSample&) = delete;

    uint32_t AddRef() { return references.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Release();

    uint8_t* GetPointer() const { return pointer; }
    size_t GetSize() const { return size; }
    size_t GetActualDataLength() const { return length; }
    /// E_INVALIDARG beyond the size.
    Status SetActualDataLength(size_t bytes);
    /// Stream times, 100-nanosecond units. VFW_E_SAMPLE_TIME_NOT_SET without them.
    Status GetTime(int64_t& start, int64_t& stop) const;
    void SetTime(int64_t start, int64_t stop);
    bool IsSyncPoint() const { return syncPoint; }
    void SetSyncPoint(bool on) { syncPoint = on; }
    /// Times begin anew here, or something was lost before.
    bool IsDiscontinuity() const { return discontinuity; }
    void SetDiscontinuity(bool on) { discontinuity = on; }

private:
    friend class CBaseAllocator;
    /// As a sample is that comes fresh from its allocator: full length, no times, no flags, one reference.
    void Reset();

    CBaseAllocator& allocator;
    uint8_t* pointer;
    size_t size;
    size_t length = 0;  // all of the buffer in a fresh sample
    int64_t startTime = 0;
    int64_t stopTime = 0;
    bool hasTime = false;
    bool syncPoint = false;
    bool discontinuity = false;
    std::atomic<uint32_t> references{0};
};

struct AllocatorProperties {
    uint32_t buffers = 0;
    size_t bufferBytes = 0;
};

/// GetBuffer fails at once when none is free.
inline constexpr uint32_t AM_GBF_NOWAIT = 4;

/// A pool of samples. It lives at least as long as each sample that is out. Any thread.
class CBaseAllocator : public CUnknown {
public:
    /// E_INVALIDARG for nothing; VFW_E_WRONG_STATE while committed or while samples are out. Gives what it will make.
    Result<AllocatorProperties> SetProperties(const AllocatorProperties& wanted) VEX_EXCLUDES(lock);
    AllocatorProperties GetProperties() VEX_EXCLUDES(lock);
    /// Makes the samples; nothing happens when it is committed, and samples that are still out of an earlier commit go
    /// on as they are. E_UNEXPECTED before SetProperties, E_OUTOFMEMORY.
    Status Commit() VEX_EXCLUDES(lock);
    /// Ends every wait. The samples free themselves: at once, or when the last one that is out is handed back.
    void Decommit() VEX_EXCLUDES(lock);
    /// A free sample. Waits for one, without AM_GBF_NOWAIT; VFW_E_NOT_COMMITTED, VFW_E_TIMEOUT when it may not wait and
    /// none is free. Never allocates.
    Result<Ref<CMediaSample>> GetBuffer(uint32_t flags) VEX_EXCLUDES(lock);

protected:
    CBaseAllocator() = default;
    /// Derived classes free what memory they still have in their own destructor.
    ~CBaseAllocator() override = default;
    /// Makes the memory behind the samples, under the lock: one address for each buffer. After a failure FreeMemory is
    /// called.
    virtual Status Alloc(const AllocatorProperties& wanted, std::vector<uint8_t*>& memory) = 0;
    virtual void FreeMemory() = 0;

private:
    friend class CMediaSample;
    void ReturnSample(CMediaSample& sample) VEX_EXCLUDES(lock);
    Status MakeSamples() VEX_REQUIRES(lock);
    void FreeSamples() VEX_REQUIRES(lock);

    Mutex lock;
    Condition freed;
    AllocatorProperties properties VEX_GUARDED_BY(lock);
    bool committed VEX_GUARDED_BY(lock) = false;
    std::vector<std::unique_ptr<CMediaSample>> samples VEX_GUARDED_BY(lock);
    std::vector<CMediaSample*> free VEX_GUARDED_BY(lock);  // room for all samples
    uint32_t out VEX_GUARDED_BY(lock) = 0;                 // each counts as a reference to the pool
};

/// The usual pool: memory that begins at a page's start, all zero when it is made.
class CMemAllocator final : public CBaseAllocator {
private:
    ~CMemAllocator() override = default;
    Status Alloc(const AllocatorProperties& wanted, std::vector<uint8_t*>& memory) override;
    void FreeMemory() override;

    struct Deleter {
        void operator()(uint8_t* memory) const;
    };
    std::vector<std::unique_ptr<uint8_t, Deleter>> blocks;
};

}  // namespace vexcap
