#include "recording/avi_mux.h"

#include <algorithm>
#include <utility>

#include "recording/compressor_filter.h"

namespace vexcap {
namespace {

constexpr uint16_t rgbDepth = 24;
constexpr int64_t ticksPerMillisecond = 10'000;  // of sample times

/// The file's format for a stream of this type; false for one that no file of ours holds.
bool aviFormatOf(const MediaType& type, AviFormat& format) {
    vex_bitmap_header bitmap;
    if (!(type.major == MEDIATYPE_Video) || !(type.formatType == FORMAT_VideoInfo) || !type.GetBitmapHeader(bitmap))
        return false;
    if (bitmap.biWidth < 1 || bitmap.biHeight < 1 || aviFrameBytes(bitmap.biWidth, bitmap.biHeight) == 0) return false;
    const bool rgb = type.subtype == MEDIASUBTYPE_RGB24 && bitmap.biCompression == 0 && bitmap.biBitCount == rgbDepth;
    const bool compressed = bitmap.biCompression != 0 && type.subtype == subtypeOf(bitmap.biCompression);
    if (!rgb && !compressed) return false;

    format.width = uint32_t(bitmap.biWidth);
    format.height = uint32_t(bitmap.biHeight);
    format.depth = bitmap.biBitCount != 0 ? bitmap.biBitCount : rgbDepth;
    format.compressor = bitmap.biCompression;
    const int64_t interval = type.AverageTimePerFrame();
    format.fps = interval > 0 ? 1e7 / double(interval) : rateOfInterval(interval);
    if (compressed) {
        const std::span<const std::byte> extra = type.ExtraData();
        format.extraData.assign(extra.begin(), extra.end());
    }
    AviHeaderBlock header;
    return fillAviHeader(header, format, runningAvi);
}

}  // namespace

class CAviMux::InputPin final : public CBaseInputPin {
public:
    explicit InputPin(CAviMux& owner) : CBaseInputPin(owner, u"Input 01"), mux(owner) {}
    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        AviFormat format;
        return aviFormatOf(*candidate, format) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT Receive(CMediaSample& sample) override { return flushing ? S_FALSE : mux.Receive(sample); }
    HRESULT EndOfStream() override { return mux.EndOfStream(); }

private:
    CAviMux& mux;
};

/// No samples pass through it: the file writer only says where the file is.
class CAviMux::OutputPin final : public CBaseOutputPin {
public:
    explicit OutputPin(CAviMux& owner) : CBaseOutputPin(owner, u"AVI Out") {}
    HRESULT GetMediaType(int32_t position, MediaType* out) override {
        if (!out) return E_POINTER;
        if (position != 0) return position < 0 ? E_INVALIDARG : VFW_S_NO_MORE_ITEMS;
        *out = {};
        out->major = MEDIATYPE_Stream;
        out->subtype = MEDIASUBTYPE_Avi;
        out->fixedSize = false;
        return S_OK;
    }
    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        const bool avi = candidate->major == MEDIATYPE_Stream && candidate->subtype == MEDIASUBTYPE_Avi;
        return avi ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT Active() override { return S_OK; }
    HRESULT Inactive() override { return S_OK; }
    Ref<IFileTarget> Target() const { return queryInterface<IFileTarget>(ConnectedTo()); }

private:
    HRESULT CheckConnect(CBasePin& other) override {
        if (!queryInterface<IFileTarget>(&other)) return E_NOINTERFACE;
        return CBaseOutputPin::CheckConnect(other);
    }
    HRESULT DecideAllocator(CBaseInputPin&) override { return S_OK; }
    HRESULT DecideBufferSize(CBaseAllocator&, const AllocatorProperties&) override { return S_OK; }
};

CAviMux::CAviMux() : input(std::make_unique<InputPin>(*this)), output(std::make_unique<OutputPin>(*this)) {}

CAviMux::~CAviMux() = default;

CBasePin* CAviMux::GetPin(size_t index) {
    if (index == 0) return input.get();
    return index == 1 ? output.get() : nullptr;
}

CBaseInputPin& CAviMux::Input() { return *input; }
CBaseOutputPin& CAviMux::Output() { return *output; }

HRESULT CAviMux::Pause() {
    const RecursiveMutexGuard guard(interfaceLock);
    if (IsStopped() && input->IsConnected())
        if (const Status s = OpenFile(); !s.ok()) return s.code();
    return CBaseFilter::Pause();
}

HRESULT CAviMux::Stop() {
    // Without a lock: what is held back comes in by Receive.
    if (!IsStopped())
        if (const auto delayed = queryInterface<IDelayedStream>(input->ConnectedTo())) delayed->Drain();
    const HRESULT result = CBaseFilter::Stop();
    FinishFile();
    return result;
}

Status CAviMux::OpenFile() {
    AviFormat format;
    if (!aviFormatOf(input->CurrentMediaType(), format)) return VFW_E_TYPE_NOT_ACCEPTED;
    const Ref<IFileTarget> target = output->Target();
    if (!target) return VFW_E_NOT_CONNECTED;
    auto where = target->Place();
    if (!where.ok()) return where.status();
    auto made = AviFile::create(*where.value().files, where.value().path, format);
    if (!made.ok()) return made.status();

    const MutexGuard guard(writing);
    place = std::move(where).value();
    frameBytes = format.compressor != 0 ? 0 : size_t(aviFrameBytes(format.width, format.height));
    span = {};
    counts = {};
    failureTold = false;
    file = std::move(made).value();
    return S_OK;
}

HRESULT CAviMux::Receive(CMediaSample& sample) {
    Status failure = S_OK;
    {
        const MutexGuard guard(writing);
        if (!file) return S_FALSE;
        failure = Write(sample);
        if (!failure.ok()) {
            ++counts.failures;
            counts.lastFailure = failure.code();
        }
        failure = FirstFailure(failure);
    }
    if (!failure.ok()) NotifyEvent(EC_ERRORABORT, failure.code(), 0);
    return S_OK;  // the stream goes on: the disk may take the next frame
}

Status CAviMux::Write(CMediaSample& sample) {
    size_t length = sample.GetActualDataLength();
    if (frameBytes != 0) {
        if (length < frameBytes) return E_INVALIDARG;
        length = frameBytes;
    }
    const Bytes bytes = std::as_bytes(std::span(sample.GetPointer(), length));
    const Result<size_t> written = file->writeFrame(bytes, frameBytes != 0 || sample.IsSyncPoint());
    if (!written.ok()) return written.status();
    ++counts.written;
    counts.bytes += written.value();

    // By its stop times a stream is measured as well whose frames last from the one before to their own arrival.
    int64_t start = 0, stop = 0;
    if (!sample.GetTime(start, stop).ok()) return S_OK;
    span.first = span.frames == 0 ? stop : std::min(span.first, stop);
    span.last = span.frames == 0 ? stop : std::max(span.last, stop);
    ++span.frames;
    return S_OK;
}

AviMuxCounts CAviMux::Counts() {
    const MutexGuard guard(writing);
    return counts;
}

HRESULT CAviMux::EndOfStream() {
    FinishFile();
    return output->DeliverEndOfStream();
}

void CAviMux::FinishFile() {
    Status failure = S_OK;
    {
        const MutexGuard guard(writing);
        if (!file) return;
        failure = CloseFile();
        if (!failure.ok()) counts.lastFailure = failure.code();
        failure = FirstFailure(failure);
    }
    if (!failure.ok()) NotifyEvent(EC_ERRORABORT, failure.code(), 0);
}

Status CAviMux::CloseFile() {
    constexpr uint32_t shortest = 1000;  // milliseconds; below it the rate would be guesswork
    const uint32_t elapsed = Elapsed();
    Status result = file->close();
    file.reset();
    if (elapsed > shortest)
        if (const Status s = storeRealRate(*place.files, place.path, elapsed); result.ok()) result = s;
    return result;
}

/// Milliseconds that all frames in the file last, by the mean distance of those that have a time; 0 when unknown.
uint32_t CAviMux::Elapsed() const {
    if (span.frames < 2 || span.last <= span.first) return 0;
    const double between = (double(span.last) - double(span.first)) / (span.frames - 1);
    const double all = between * file->videoFrames() / ticksPerMillisecond + 0.5;
    return all < double(UINT32_MAX) ? uint32_t(all) : 0;
}

Status CAviMux::FirstFailure(Status failure) {
    if (failure.ok() || std::exchange(failureTold, true)) return S_OK;
    return failure;
}

}  // namespace vexcap
