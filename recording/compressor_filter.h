// A compressor of recordings in a media graph.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "graph/transform.h"
#include "platform/media.h"

namespace vexcap {

/// Offered by the output pin of a filter that holds pictures back.
struct IDelayedStream : IVexUnknown {
    static constexpr vex_guid iid = {0x9C4F2E13, 0x58A7, 0x4D64, {0xB1, 0x0E, 0x2F, 0x97, 0x66, 0xD4, 0x3B, 0x85}};
    /// Delivers all that is held back; samples that come later are refused with S_FALSE until the filter starts anew.
    /// Any thread, without a lock that the pin downstream takes in Receive. S_FALSE when it was done before.
    virtual HRESULT Drain() = 0;

protected:
    ~IDelayedStream() = default;
};

/// RGB24 bottom-up in, pictures of one of the platform's compressors out: the subtype and biCompression are its
/// four-character code, its extra data stand behind the bitmap header. The compressor is opened when the input is
/// connected; a size that it refuses makes the connection fail. Samples come out in the order in which a file wants
/// them, each with the times of the picture that it shows, key frames as sync points. A picture that cannot be
/// compressed is lost, the next one is tried, and the graph hears EC_ERRORABORT with the first code, once a run.
///
/// The output pin has IAMVideoCompression; quality 1 to begin with, settable while stopped.
///
/// No picture stays inside at the end: those that the compressor holds back are delivered at the end of the stream;
/// when this filter is stopped, before it is; and when a multiplexer behind it is stopped first, before that one
/// closes its file, by IDelayedStream.
class CCompressorFilter final : public CTransformFilter {
public:
    /// `media` outlives the filter. The name is that of IMedia::Compressors().
    CCompressorFilter(IMedia& media, std::u16string_view displayName);

    HRESULT Stop() override;

private:
    class InputPin;
    class OutputPin;
    /// Times of a picture inside of the compressor.
    struct Pending {
        int64_t order = -1;
        int64_t start = 0;
        int64_t stop = 0;
        bool hasTime = false;
    };
    static constexpr size_t mostPending = 1024;  // no compressor has room for as many pictures

    ~CCompressorFilter() override;
    HRESULT CheckInputType(const MediaType* candidate) override;
    HRESULT CheckTransform(const MediaType& in, const MediaType& out) override;
    HRESULT GetMediaType(int32_t position, MediaType* out) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override;
    HRESULT StartStreaming() override;
    HRESULT StopStreaming() override;
    HRESULT Receive(CMediaSample& sample) override VEX_EXCLUDES(compressing);
    HRESULT Transform(CMediaSample&, CMediaSample&) override { return E_UNEXPECTED; }  // one in is not one out
    HRESULT EndOfStream() override VEX_EXCLUDES(compressing);
    HRESULT BreakConnect(PinDirection direction) override;

    Status OpenFor(const MediaType& inputType) VEX_EXCLUDES(compressing);
    Status Open() VEX_REQUIRES(compressing);
    HRESULT Drain() VEX_EXCLUDES(compressing);
    HRESULT PutQuality(double value) VEX_EXCLUDES(compressing);
    double Quality() VEX_EXCLUDES(compressing);
    Status Compress(CMediaSample& sample) VEX_REQUIRES(compressing);
    HRESULT DeliverReady() VEX_REQUIRES(compressing);
    HRESULT Deliver(const CompressedPicture& picture) VEX_REQUIRES(compressing);
    void TellFirst(Status failure) VEX_REQUIRES(compressing);

    IMedia& media;
    const std::u16string name;
    OutputPin* sender;  // the output pin as what it is; made once

    Mutex compressing VEX_ACQUIRED_AFTER(streamingLock);  // held while samples are delivered
    CompressorSettings settings VEX_GUARDED_BY(compressing);
    std::unique_ptr<ICompressor> compressor VEX_GUARDED_BY(compressing);  // unused, or of this run
    MediaType outputType VEX_GUARDED_BY(compressing);
    size_t frameBytes VEX_GUARDED_BY(compressing) = 0;
    std::vector<Pending> pending VEX_GUARDED_BY(compressing);  // by order number
    int64_t nextOrder VEX_GUARDED_BY(compressing) = 0;
    bool accepting VEX_GUARDED_BY(compressing) = false;  // between the start of a run and its end
    bool failureTold VEX_GUARDED_BY(compressing) = false;
};

}  // namespace vexcap
