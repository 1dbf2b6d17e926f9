// Transforms: one input, one output.
#pragma once

#include <memory>

#include "graph/base_filter.h"

namespace vexcap {

class CTransformFilter;

class CTransformInputPin : public CBaseInputPin {
public:
    CTransformInputPin(CTransformFilter& owner, std::u16string_view pinName);
    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT Receive(CMediaSample& sample) override;
    HRESULT EndOfStream() override;
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;
    HRESULT NewSegment(int64_t start) override;

protected:
    friend class CTransformFilter;
    HRESULT BreakConnect() override;
    CTransformFilter& transform;
};

/// Answers IMediaSeeking by the source upstream of the filter's input.
class CTransformOutputPin : public CBaseOutputPin {
public:
    CTransformOutputPin(CTransformFilter& owner, std::u16string_view pinName);
    HRESULT GetMediaType(int32_t position, MediaType* out) override;
    HRESULT CheckMediaType(const MediaType* candidate) override;

protected:
    HRESULT NonDelegatingQueryInterface(const vex_guid& iid, void** out) override;
    /// E_UNEXPECTED while the input is not connected.
    HRESULT CheckConnect(CBasePin& other) override;
    HRESULT BreakConnect() override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override;
    CTransformFilter& transform;
};

/// Makes a sample out of each sample. The output can be connected once the input is. An input that is connected anew
/// while the output stands takes only types that the output's can be made of.
class CTransformFilter : public CBaseFilter {
public:
    size_t GetPinCount() override { return 2; }
    CBasePin* GetPin(size_t index) override;
    CTransformInputPin& Input() { return *input; }
    CTransformOutputPin& Output() { return *output; }

    HRESULT Stop() override;
    HRESULT Pause() override;

protected:
    friend class CTransformInputPin;
    friend class CTransformOutputPin;
    CTransformFilter();
    CTransformFilter(std::unique_ptr<CTransformInputPin> in, std::unique_ptr<CTransformOutputPin> out);
    ~CTransformFilter() override = default;

    virtual HRESULT CheckInputType(const MediaType* candidate) = 0;
    /// May `out` be made of `in`? In-place filters: always the same type.
    virtual HRESULT CheckTransform(const MediaType& in, const MediaType& out) = 0;
    /// The types that can be made of the input's, in their order, like CBasePin::GetMediaType.
    virtual HRESULT GetMediaType(int32_t position, MediaType* out) = 0;
    virtual HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) = 0;
    /// Before the first sample of a stream and after its last, with streamingLock held. Only with both pins connected.
    virtual HRESULT StartStreaming() { return S_OK; }
    virtual HRESULT StopStreaming() { return S_OK; }
    /// One sample came. The usual form gets an output sample, copies times and flags, calls Transform and delivers;
    /// S_FALSE of Transform drops it. A failure of Transform, and no other, is this filter's to tell the graph.
    virtual HRESULT Receive(CMediaSample& sample);
    /// With streamingLock held; the length of `out` is all of its buffer.
    virtual HRESULT Transform(CMediaSample& in, CMediaSample& out) = 0;
    virtual HRESULT EndOfStream();
    virtual HRESULT BeginFlush();
    virtual HRESULT EndFlush();
    virtual HRESULT NewSegment(int64_t start);
    virtual HRESULT BreakConnect(PinDirection) { return S_OK; }

    /// Calls Transform, unless the filter has stopped, and hands `out` on when it gives S_OK. What Receive is to
    /// return.
    HRESULT TransformAndDeliver(CMediaSample& in, CMediaSample& out) VEX_EXCLUDES(streamingLock);

    /// Keeps a stop from ending the stream within a Transform. Never held while a sample is handed on, which may wait.
    Mutex streamingLock VEX_ACQUIRED_AFTER(interfaceLock);

    std::unique_ptr<CTransformInputPin> input;
    std::unique_ptr<CTransformOutputPin> output;

private:
    HRESULT EndStreaming() VEX_EXCLUDES(streamingLock);

    bool streaming VEX_GUARDED_BY(streamingLock) = false;
};

/// Changes samples where they are: input and output share one pool, and no sample is copied. Where upstream's samples
/// are read-only, or the receiver insists on a pool of its own, the filter copies them into the output's pool.
class CTransInPlaceFilter : public CTransformFilter {
protected:
    CTransInPlaceFilter();

    /// With streamingLock held. S_FALSE drops the sample. Derived classes say `using CTransInPlaceFilter::Transform`,
    /// for the form of two samples stays.
    virtual HRESULT Transform(CMediaSample& sample) = 0;

    HRESULT CheckTransform(const MediaType& in, const MediaType& out) final;
    HRESULT GetMediaType(int32_t position, MediaType* out) final;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) final;
    HRESULT Receive(CMediaSample& sample) final;
    HRESULT Transform(CMediaSample& in, CMediaSample& out) final;

private:
    class InputPin;
    class OutputPin;
    bool SharesPool() const;
};

}  // namespace vexcap
