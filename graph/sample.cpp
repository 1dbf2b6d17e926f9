// Samples, and the fixed pools that they return to.
#include "graph/sample.h"

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

namespace vexcap {

uint32_t CMediaSample::Release() {
    const uint32_t left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) allocator.ReturnSample(*this);  // which may be the end of this sample
    return left;
}

Status CMediaSample::SetActualDataLength(size_t bytes) {
    if (bytes > size) return E_INVALIDARG;
    length = bytes;
    return S_OK;
}

Status CMediaSample::GetTime(int64_t& start, int64_t& stop) const {
    if (!hasTime) return VFW_E_SAMPLE_TIME_NOT_SET;
    start = startTime;
    stop = stopTime;
    return S_OK;
}

void CMediaSample::SetTime(int64_t start, int64_t stop) {
    startTime = start;
    stopTime = stop;
    hasTime = true;
}

void CMediaSample::Reset() {
    length = size;
    hasTime = false;
    syncPoint = false;
    discontinuity = false;
    references.store(1, std::memory_order_relaxed);
}

Result<AllocatorProperties> CBaseAllocator::SetProperties(const AllocatorProperties& wanted) {
    if (wanted.buffers == 0 || wanted.bufferBytes == 0) return E_INVALIDARG;
    MutexGuard held(lock);
    if (committed || out != 0) return VFW_E_WRONG_STATE;
    properties = wanted;
    return wanted;
}

AllocatorProperties CBaseAllocator::GetProperties() {
    MutexGuard held(lock);
    return properties;
}

Status CBaseAllocator::Commit() {
    MutexGuard held(lock);
    if (committed) return S_OK;
    if (properties.buffers == 0) return E_UNEXPECTED;
    if (samples.empty()) {
        if (Status made = MakeSamples(); !made.ok()) {
            FreeSamples();
            return made;
        }
    }
    committed = true;
    return S_OK;
}

Status CBaseAllocator::MakeSamples() {
    try {
        std::vector<uint8_t*> memory;
        if (Status made = Alloc(properties, memory); !made.ok()) return made;
        assert(memory.size() == properties.buffers);
        samples.reserve(memory.size());
        free.reserve(memory.size());
        for (uint8_t* const buffer : memory) {
            samples.push_back(std::make_unique<CMediaSample>(*this, buffer, properties.bufferBytes));
            free.push_back(samples.back().get());
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::length_error&) {  // more buffers than a vector can count
        return E_OUTOFMEMORY;
    }
}

void CBaseAllocator::FreeSamples() {
    free.clear();
    samples.clear();
    FreeMemory();
}

void CBaseAllocator::Decommit() {
    MutexGuard held(lock);
    if (!committed) return;
    committed = false;
    if (out == 0) FreeSamples();
    freed.notifyAll();
}

Result<Ref<CMediaSample>> CBaseAllocator::GetBuffer(uint32_t flags) {
    MutexGuard held(lock);
    for (;;) {
        if (!committed) return VFW_E_NOT_COMMITTED;
        if (!free.empty()) break;
        if (flags & AM_GBF_NOWAIT) return VFW_E_TIMEOUT;
        freed.wait(lock);
    }
    // The buffer that was used last is the one that the processor's cache still knows.
    CMediaSample* const sample = free.back();
    free.pop_back();
    ++out;
    AddRef();
    sample->Reset();
    return Ref<CMediaSample>::adopt(sample);
}

void CBaseAllocator::ReturnSample(CMediaSample& sample) {
    {
        MutexGuard held(lock);
        --out;
        if (committed || out != 0) {
            free.push_back(&sample);
            if (committed) freed.notifyAll();
        } else {
            FreeSamples();
        }
    }
    Release();
}

void CMemAllocator::Deleter::operator()(uint8_t* memory) const { std::free(memory); }

Status CMemAllocator::Alloc(const AllocatorProperties& wanted, std::vector<uint8_t*>& memory) {
    constexpr size_t page = 4096;
    if (wanted.bufferBytes > SIZE_MAX - page) return E_OUTOFMEMORY;
    const size_t bytes = (wanted.bufferBytes + page - 1) / page * page;
    blocks.reserve(wanted.buffers);
    memory.reserve(wanted.buffers);
    for (uint32_t i = 0; i < wanted.buffers; ++i) {
        blocks.emplace_back(static_cast<uint8_t*>(std::aligned_alloc(page, bytes)));
        if (!blocks.back()) return E_OUTOFMEMORY;
        std::memset(blocks.back().get(), 0, bytes);  // the first frames meet no page faults either
        memory.push_back(blocks.back().get());
    }
    return S_OK;
}

void CMemAllocator::FreeMemory() { blocks.clear(); }

}  // namespace vexcap
