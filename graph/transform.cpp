// Transforms: one input, one output.
#include "graph/transform.h"

#include <algorithm>
#include <cstring>

#include "graph/interfaces.h"

namespace vexcap {

CTransformInputPin::CTransformInputPin(CTransformFilter& owner, std::u16string_view pinName)
    : CBaseInputPin(owner, pinName), transform(owner) {}

HRESULT CTransformInputPin::CheckMediaType(const MediaType* candidate) {
    const HRESULT result = transform.CheckInputType(candidate);
    if (result != S_OK || !candidate || !transform.output->IsConnected()) return result;
    return transform.CheckTransform(*candidate, transform.output->CurrentMediaType());
}

HRESULT CTransformInputPin::Receive(CMediaSample& sample) {
    const HRESULT result = CheckStreaming();
    return result == S_OK ? transform.Receive(sample) : result;
}

HRESULT CTransformInputPin::EndOfStream() {
    const HRESULT result = CheckStreaming();
    return result == S_OK ? transform.EndOfStream() : result;
}

HRESULT CTransformInputPin::BeginFlush() {
    const HRESULT result = CBaseInputPin::BeginFlush();
    return result >= 0 ? transform.BeginFlush() : result;
}

HRESULT CTransformInputPin::EndFlush() {
    // Downstream first: when samples are taken here again, they are taken there, too.
    const HRESULT result = transform.EndFlush();
    const HRESULT own = CBaseInputPin::EndFlush();
    return result < 0 ? result : own;
}

HRESULT CTransformInputPin::NewSegment(int64_t start) { return transform.NewSegment(start); }

HRESULT CTransformInputPin::BreakConnect() {
    const HRESULT result = transform.BreakConnect(direction);
    const HRESULT own = CBaseInputPin::BreakConnect();
    return result < 0 ? result : own;
}

CTransformOutputPin::CTransformOutputPin(CTransformFilter& owner, std::u16string_view pinName)
    : CBaseOutputPin(owner, pinName), transform(owner) {}

HRESULT CTransformOutputPin::GetMediaType(int32_t position, MediaType* out) {
    if (!out) return E_POINTER;
    if (position < 0) return E_INVALIDARG;
    return transform.input->IsConnected() ? transform.GetMediaType(position, out) : VFW_S_NO_MORE_ITEMS;
}

HRESULT CTransformOutputPin::CheckMediaType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    if (!transform.input->IsConnected()) return E_UNEXPECTED;
    return transform.CheckTransform(transform.input->CurrentMediaType(), *candidate);
}

HRESULT CTransformOutputPin::NonDelegatingQueryInterface(const vex_guid& iid, void** out) {
    if (!(iid == IMediaSeeking::iid)) return CBaseOutputPin::NonDelegatingQueryInterface(iid, out);
    const Ref<CBasePin> upstream = transform.input->ConnectedTo();
    return upstream ? upstream->QueryInterface(iid, out) : E_NOINTERFACE;
}

HRESULT CTransformOutputPin::CheckConnect(CBasePin& other) {
    return transform.input->IsConnected() ? CBaseOutputPin::CheckConnect(other) : E_UNEXPECTED;
}

HRESULT CTransformOutputPin::BreakConnect() {
    const HRESULT result = transform.BreakConnect(direction);
    const HRESULT own = CBaseOutputPin::BreakConnect();
    return result < 0 ? result : own;
}

HRESULT CTransformOutputPin::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    return transform.DecideBufferSize(pool, wanted);
}

CTransformFilter::CTransformFilter()
    : CTransformFilter(std::make_unique<CTransformInputPin>(*this, u"Input"),
                       std::make_unique<CTransformOutputPin>(*this, u"Output")) {}

CTransformFilter::CTransformFilter(std::unique_ptr<CTransformInputPin> in, std::unique_ptr<CTransformOutputPin> out)
    : input(std::move(in)), output(std::move(out)) {}

CBasePin* CTransformFilter::GetPin(size_t index) {
    if (index == 0) return input.get();
    return index == 1 ? output.get() : nullptr;
}

HRESULT CTransformFilter::Pause() {
    RecursiveMutexGuard held(interfaceLock);
    if (IsStopped() && input->IsConnected() && output->IsConnected()) {
        MutexGuard heldStreaming(streamingLock);
        if (const HRESULT result = StartStreaming(); result < 0) return result;
        streaming = true;
    }
    const HRESULT result = CBaseFilter::Pause();
    if (result < 0) EndStreaming();
    return result;
}

HRESULT CTransformFilter::Stop() {
    RecursiveMutexGuard held(interfaceLock);
    if (IsStopped()) return S_OK;
    const HRESULT result = CBaseFilter::Stop();
    const HRESULT ended = EndStreaming();
    return result < 0 ? result : ended;
}

HRESULT CTransformFilter::EndStreaming() {
    MutexGuard held(streamingLock);  // waits for the sample that is being changed, and no longer
    if (!streaming) return S_OK;
    streaming = false;
    return StopStreaming();
}

HRESULT CTransformFilter::Receive(CMediaSample& sample) {
    if (!output->IsConnected()) return VFW_E_NOT_CONNECTED;
    const Result<Ref<CMediaSample>> made = output->GetDeliveryBuffer(0);
    if (!made.ok()) return made.code();
    CMediaSample& out = *made.value();
    int64_t start = 0, stop = 0;
    if (sample.GetTime(start, stop).ok()) out.SetTime(start, stop);
    out.SetSyncPoint(sample.IsSyncPoint());
    out.SetDiscontinuity(sample.IsDiscontinuity());
    return TransformAndDeliver(sample, out);
}

HRESULT CTransformFilter::TransformAndDeliver(CMediaSample& in, CMediaSample& out) {
    HRESULT result;
    {
        MutexGuard held(streamingLock);
        if (!streaming) return VFW_E_WRONG_STATE;
        result = Transform(in, out);
    }
    if (result == S_OK) return output->Deliver(out);
    if (result > 0) return S_OK;  // a sample that is left out is no end of the stream
    input->TellRunTimeError(result);
    return result;
}

HRESULT CTransformFilter::EndOfStream() { return output->DeliverEndOfStream(); }
HRESULT CTransformFilter::BeginFlush() { return output->DeliverBeginFlush(); }
HRESULT CTransformFilter::EndFlush() { return output->DeliverEndFlush(); }
HRESULT CTransformFilter::NewSegment(int64_t start) { return output->DeliverNewSegment(start); }

// In place

class CTransInPlaceFilter::OutputPin final : public CTransformOutputPin {
public:
    using CTransformOutputPin::CTransformOutputPin;

    /// The input's pool, where its samples may be changed and the receiver takes it; else another one.
    HRESULT DecideAllocator(CBaseInputPin& receiver) override;
    CBaseAllocator* Pool() const { return allocator.get(); }
};

class CTransInPlaceFilter::InputPin final : public CTransformInputPin {
public:
    using CTransformInputPin::CTransformInputPin;

    // What upstream asks for is the receiver's to answer, once there is one.
    Result<Ref<CBaseAllocator>> GetAllocator() override {
        CBaseInputPin* const receiver = transform.Output().Receiver();
        return receiver ? receiver->GetAllocator() : CTransformInputPin::GetAllocator();
    }
    AllocatorProperties GetAllocatorRequirements() override {
        CBaseInputPin* const receiver = transform.Output().Receiver();
        return receiver ? receiver->GetAllocatorRequirements() : AllocatorProperties{};
    }
    HRESULT NotifyAllocator(CBaseAllocator& chosen, bool readOnly) override {
        if (const HRESULT result = CTransformInputPin::NotifyAllocator(chosen, readOnly); result < 0) return result;
        // An input that is connected anew brings another pool.
        CBaseInputPin* const receiver = transform.Output().Receiver();
        return receiver ? static_cast<OutputPin&>(transform.Output()).DecideAllocator(*receiver) : S_OK;
    }
    CBaseAllocator* Pool() const { return allocator.get(); }
    bool ReadOnly() const { return readOnlySamples; }
};

HRESULT CTransInPlaceFilter::OutputPin::DecideAllocator(CBaseInputPin& receiver) {
    const auto& from = static_cast<InputPin&>(transform.Input());
    CBaseAllocator* const pool = from.Pool();
    if (pool && !from.ReadOnly() && DecideBufferSize(*pool, receiver.GetAllocatorRequirements()) >= 0 &&
        receiver.NotifyAllocator(*pool, false) >= 0) {
        UseAllocator(pool);
        return S_OK;
    }
    return CTransformOutputPin::DecideAllocator(receiver);
}

CTransInPlaceFilter::CTransInPlaceFilter()
    : CTransformFilter(std::make_unique<InputPin>(*this, u"Input"), std::make_unique<OutputPin>(*this, u"Output")) {}

bool CTransInPlaceFilter::SharesPool() const {
    return static_cast<InputPin&>(*input).Pool() == static_cast<OutputPin&>(*output).Pool();
}

HRESULT CTransInPlaceFilter::CheckTransform(const MediaType& in, const MediaType& out) {
    return in == out ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CTransInPlaceFilter::GetMediaType(int32_t position, MediaType* out) {
    if (position > 0) return VFW_S_NO_MORE_ITEMS;
    *out = input->CurrentMediaType();
    return S_OK;
}

HRESULT CTransInPlaceFilter::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    // Never less than what upstream has agreed on: it may be upstream's own pool.
    CBaseAllocator* const upstream = static_cast<InputPin&>(*input).Pool();
    if (!upstream) return VFW_E_NO_ALLOCATOR;
    const AllocatorProperties least = upstream->GetProperties();
    const AllocatorProperties asked{std::max(least.buffers, wanted.buffers),
                                    std::max(least.bufferBytes, wanted.bufferBytes)};
    const AllocatorProperties present = pool.GetProperties();
    if (present.buffers >= asked.buffers && present.bufferBytes >= asked.bufferBytes) return S_OK;
    const Result<AllocatorProperties> got = pool.SetProperties(asked);
    if (!got.ok()) return got.code();
    return got.value().buffers < asked.buffers || got.value().bufferBytes < asked.bufferBytes ? E_FAIL : S_OK;
}

HRESULT CTransInPlaceFilter::Receive(CMediaSample& sample) {
    if (!SharesPool()) return CTransformFilter::Receive(sample);
    if (!output->IsConnected()) return VFW_E_NOT_CONNECTED;
    return TransformAndDeliver(sample, sample);
}

HRESULT CTransInPlaceFilter::Transform(CMediaSample& in, CMediaSample& out) {
    if (&in != &out) {
        const size_t bytes = in.GetActualDataLength();
        if (!out.SetActualDataLength(bytes).ok()) return VEX_E_INSUFFICIENT_BUFFER;
        std::memcpy(out.GetPointer(), in.GetPointer(), bytes);
    }
    return Transform(out);
}

}  // namespace vexcap
