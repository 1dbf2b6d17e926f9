#include "recording/compressor_filter.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "recording/avi_file.h"

namespace vexcap {

/// The compressor is opened with the size of a connection before that connection stands.
class CCompressorFilter::InputPin final : public CTransformInputPin {
public:
    explicit InputPin(CCompressorFilter& owner) : CTransformInputPin(owner, u"Input"), owning(owner) {}
    HRESULT SetMediaType(const MediaType* chosen) override {
        if (!chosen) return E_POINTER;
        if (const Status s = owning.OpenFor(*chosen); !s.ok()) return s.code();
        return CTransformInputPin::SetMediaType(chosen);
    }

private:
    CCompressorFilter& owning;
};

class CCompressorFilter::OutputPin final : public CTransformOutputPin,
                                           public IAMVideoCompression,
                                           public IDelayedStream {
public:
    explicit OutputPin(CCompressorFilter& owner) : CTransformOutputPin(owner, u"Output"), owning(owner) {}

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
    uint32_t AddRef() override { return CBasePin::AddRef(); }
    uint32_t Release() override { return CBasePin::Release(); }
    HRESULT PutQuality(double quality) override { return owning.PutQuality(quality); }
    HRESULT GetQuality(double* quality) override {
        if (!quality) return E_POINTER;
        *quality = owning.Quality();
        return S_OK;
    }
    HRESULT Drain() override { return owning.Drain(); }

    /// A sample with room for `bytes`. Pictures are seldom larger than uncompressed ones; for one that is, the pool is
    /// made anew with larger samples.
    Result<Ref<CMediaSample>> Sample(size_t bytes) {
        {
            auto sample = GetDeliveryBuffer(0);
            if (!sample.ok() || sample.value()->GetSize() >= bytes) return sample;
        }
        const AllocatorProperties before = allocator->GetProperties();
        const Status made = MakePool({before.buffers, bytes + bytes / 4});
        if (!made.ok()) MakePool(before).ignore();  // at least the next picture has a sample
        if (!made.ok()) return made;
        return GetDeliveryBuffer(0);
    }

private:
    Status MakePool(const AllocatorProperties& properties) {
        allocator->Decommit();
        const auto made = allocator->SetProperties(properties);
        return made.ok() ? allocator->Commit() : made.status();
    }
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (id == IAMVideoCompression::iid) {
            *out = static_cast<IAMVideoCompression*>(this);
        } else if (id == IDelayedStream::iid) {
            *out = static_cast<IDelayedStream*>(this);
        } else {
            return CTransformOutputPin::NonDelegatingQueryInterface(id, out);
        }
        AddRef();
        return S_OK;
    }

    CCompressorFilter& owning;
};

CCompressorFilter::CCompressorFilter(IMedia& codecs, std::u16string_view displayName)
    : media(codecs), name(displayName) {
    input = std::make_unique<InputPin>(*this);
    auto sending = std::make_unique<OutputPin>(*this);
    sender = sending.get();
    output = std::move(sending);
}

CCompressorFilter::~CCompressorFilter() = default;

// --- connecting

HRESULT CCompressorFilter::CheckInputType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    vex_bitmap_header bitmap;
    const bool plain = candidate->major == MEDIATYPE_Video && candidate->subtype == MEDIASUBTYPE_RGB24 &&
                       candidate->formatType == FORMAT_VideoInfo && candidate->GetBitmapHeader(bitmap) &&
                       bitmap.biCompression == 0 && bitmap.biBitCount == 24;
    if (!plain || bitmap.biWidth < 1 || bitmap.biHeight < 1) return VFW_E_TYPE_NOT_ACCEPTED;
    return aviFrameBytes(bitmap.biWidth, bitmap.biHeight) != 0 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CCompressorFilter::CheckTransform(const MediaType& in, const MediaType& out) {
    vex_bitmap_header bitmap;
    const MutexGuard guard(compressing);
    const bool sameSize = in.GetBitmapHeader(bitmap) && uint32_t(bitmap.biWidth) == settings.width &&
                          uint32_t(bitmap.biHeight) == settings.height;
    return sameSize && out == outputType ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CCompressorFilter::GetMediaType(int32_t position, MediaType* out) {
    if (!out) return E_POINTER;
    if (position != 0) return position < 0 ? E_INVALIDARG : VFW_S_NO_MORE_ITEMS;
    const MutexGuard guard(compressing);
    *out = outputType;
    return S_OK;
}

/// The type of what comes out is known when the compressor is open.
Status CCompressorFilter::OpenFor(const MediaType& inputType) {
    vex_bitmap_header bitmap;
    if (!inputType.GetBitmapHeader(bitmap)) return E_UNEXPECTED;
    const MutexGuard guard(compressing);
    settings.width = uint32_t(bitmap.biWidth);
    settings.height = uint32_t(bitmap.biHeight);
    settings.interval = inputType.AverageTimePerFrame();
    frameBytes = size_t(aviFrameBytes(settings.width, settings.height));
    if (const Status s = Open(); !s.ok()) return s;

    VideoInfoHeader header;
    header.averageTimePerFrame = settings.interval;
    header.bitmap.biSize = sizeof header.bitmap;
    header.bitmap.biWidth = bitmap.biWidth;
    header.bitmap.biHeight = bitmap.biHeight;
    header.bitmap.biPlanes = 1;
    header.bitmap.biBitCount = 24;
    header.bitmap.biCompression = compressor->FourCC();
    header.bitmap.biSizeImage = uint32_t(frameBytes);
    outputType = {};
    outputType.major = MEDIATYPE_Video;
    outputType.subtype = subtypeOf(compressor->FourCC());
    outputType.fixedSize = false;
    outputType.SetVideoInfo(header, compressor->ExtraData());
    return S_OK;
}

HRESULT CCompressorFilter::BreakConnect(PinDirection direction) {
    if (direction != PinDirection::Input) return S_OK;
    const MutexGuard guard(compressing);
    compressor.reset();
    return S_OK;
}

HRESULT CCompressorFilter::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    const MutexGuard guard(compressing);
    const AllocatorProperties asked = {std::max(wanted.buffers, 1u), std::max(wanted.bufferBytes, frameBytes)};
    const auto made = pool.SetProperties(asked);
    if (!made.ok()) return made.code();
    return made.value().buffers < asked.buffers || made.value().bufferBytes < asked.bufferBytes ? E_FAIL : S_OK;
}

HRESULT CCompressorFilter::PutQuality(double value) {
    if (!(value >= 0 && value <= 1)) return E_INVALIDARG;
    if (!IsStopped()) return VFW_E_NOT_STOPPED;
    const MutexGuard guard(compressing);
    if (value != settings.quality) compressor.reset();
    settings.quality = value;
    return S_OK;
}

double CCompressorFilter::Quality() {
    const MutexGuard guard(compressing);
    return settings.quality;
}

// --- running

Status CCompressorFilter::Open() {
    auto opened = media.OpenCompressor(name, settings);
    if (!opened.ok()) return opened.status();
    compressor = std::move(opened).value();
    return S_OK;
}

HRESULT CCompressorFilter::StartStreaming() try {
    const MutexGuard guard(compressing);
    if (!compressor) {
        if (const Status s = Open(); !s.ok()) return s.code();
        // The file's header tells what the connection was told.
        const std::span<const std::byte> told = outputType.ExtraData(), extra = compressor->ExtraData();
        if (!(outputType.subtype == subtypeOf(compressor->FourCC())) || !std::ranges::equal(told, extra)) {
            compressor.reset();
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
    }
    pending.assign(mostPending, {});
    nextOrder = 0;
    accepting = true;
    failureTold = false;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CCompressorFilter::StopStreaming() {
    const MutexGuard guard(compressing);
    accepting = false;
    compressor.reset();
    return S_OK;
}

HRESULT CCompressorFilter::Stop() {
    Drain();  // while the samples have a pool, and the filter behind may still take them
    return CTransformFilter::Stop();
}

HRESULT CCompressorFilter::Receive(CMediaSample& sample) {
    const MutexGuard guard(compressing);
    if (!accepting) return S_FALSE;
    if (const Status s = Compress(sample); !s.ok()) TellFirst(s);
    return DeliverReady();
}

HRESULT CCompressorFilter::EndOfStream() {
    const HRESULT result = Drain();
    const HRESULT told = output->DeliverEndOfStream();
    return result < 0 ? result : told;
}

HRESULT CCompressorFilter::Drain() {
    const MutexGuard guard(compressing);
    if (!std::exchange(accepting, false)) return S_FALSE;
    if (const Status s = compressor->Finish(); !s.ok()) TellFirst(s);
    return DeliverReady();
}

Status CCompressorFilter::Compress(CMediaSample& sample) {
    if (sample.GetActualDataLength() < frameBytes) return E_INVALIDARG;
    Pending& times = pending[size_t(nextOrder) % mostPending];
    times.order = nextOrder;
    times.hasTime = sample.GetTime(times.start, times.stop).ok();
    return compressor->Put(std::as_bytes(std::span(sample.GetPointer(), frameBytes)), nextOrder++);
}

/// All that the compressor gives now. A failure of its own is told and not handed back: the stream goes on. Each may
/// have cost a picture, so that there are no more of them than pictures inside.
HRESULT CCompressorFilter::DeliverReady() {
    for (size_t failures = 0; failures < mostPending;) {
        CompressedPicture picture;
        const Status got = compressor->Get(picture);
        if (got == Status(S_FALSE)) break;
        if (!got.ok()) {
            TellFirst(got);
            ++failures;
        } else if (const HRESULT result = Deliver(picture); result != S_OK) {
            return result;
        }
    }
    return S_OK;
}

HRESULT CCompressorFilter::Deliver(const CompressedPicture& picture) {
    const auto room = sender->Sample(picture.bytes.size());
    if (!room.ok()) {
        TellFirst(room.status());
        return S_OK;
    }
    CMediaSample& sample = *room.value();
    std::memcpy(sample.GetPointer(), picture.bytes.data(), picture.bytes.size());
    if (const Status s = sample.SetActualDataLength(picture.bytes.size()); !s.ok()) return s.code();
    sample.SetSyncPoint(picture.keyFrame);
    const Pending& times = pending[size_t(picture.order) % mostPending];
    if (times.order == picture.order && times.hasTime) sample.SetTime(times.start, times.stop);
    return output->Deliver(sample);
}

void CCompressorFilter::TellFirst(Status failure) {
    if (!std::exchange(failureTold, true)) NotifyEvent(EC_ERRORABORT, failure.code(), 0);
}

}  // namespace vexcap
