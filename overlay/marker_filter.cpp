#include "overlay/marker_filter.h"

#include "base/dib.h"
#include "frame/picture_steps.h"

namespace vexcap {
namespace {

constexpr auto relaxed = std::memory_order_relaxed;

}  // namespace

CMarkerFilter::CMarkerFilter(uint32_t pixelBytes, IClock& time, IFileSystem& fileSystem)
    : IDfcImpl(fileSystem), bytesPerPixel(uint8_t(pixelBytes)), tickClock(time), kernelsOfSteps(kernels()) {}

HRESULT CMarkerFilter::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IMarkerConfig::iid) return give(static_cast<IMarkerConfig*>(this), out);
    if (id == IID_IDfc) return give(static_cast<IDfc*>(this), out);
    return CTransInPlaceFilter::NonDelegatingQueryInterface(id, out);
}

HRESULT CMarkerFilter::CheckInputType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    if (!(candidate->major == MEDIATYPE_Video) || !(candidate->subtype == MEDIASUBTYPE_RGB24) ||
        !(candidate->formatType == FORMAT_VideoInfo))
        return VFW_E_TYPE_NOT_ACCEPTED;
    vex_bitmap_header bitmap;
    if (!candidate->GetBitmapHeader(bitmap)) return E_UNEXPECTED;
    return bitmap.biBitCount == 24 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CMarkerFilter::SetFrameDivider(uint32_t divider) {
    frameDivider.store(divider != 0 ? divider : 1, relaxed);
    return S_OK;
}

HRESULT CMarkerFilter::SetFlip(uint32_t value, uint32_t mask) {
    const uint32_t bit = mask & 1 ? 1 : mask & 2;
    if (value & bit) {
        flip.fetch_or(bit, relaxed);
    } else {
        flip.fetch_and(~bit, relaxed);
    }
    return S_OK;
}

HRESULT CMarkerFilter::SetChrome(uint32_t on) {
    chrome.store(on, relaxed);
    return S_OK;
}

HRESULT CMarkerFilter::SetNegative(uint32_t on) {
    negative.store(on, relaxed);
    return S_OK;
}

uint64_t CMarkerFilter::GetFrameRate() {
    const uint32_t first = firstTick.load(relaxed);
    const uint32_t elapsed = tickClock.Tick() - first;
    if (first == 0 || elapsed == 0) return 0;
    return uint64_t(frameCounter.load(relaxed)) * 1000 / elapsed;
}

HRESULT CMarkerFilter::Transform(CMediaSample& sample) {
    vex_bitmap_header bitmap;
    if (!Input().CurrentMediaType().GetBitmapHeader(bitmap)) return E_POINTER;
    if (firstTick.load(relaxed) == 0) firstTick.store(tickClock.Tick(), relaxed);
    const uint32_t divider = frameDivider.load(relaxed);
    if (frameCounter.fetch_add(1, relaxed) % divider != 0) return S_FALSE;
    if (!sample.GetPointer()) return E_POINTER;
    ChangePicture(sample, bitmap);
    int64_t start = 0, stop = 0;
    if (divider > 1 && sample.GetTime(start, stop).ok()) sample.SetTime(start / divider, stop / divider);
    return S_OK;
}

void CMarkerFilter::ChangePicture(CMediaSample& sample, const vex_bitmap_header& bitmap) {
    // A sample that holds less than a picture passes as it is: whoever writes it knows what to do with it.
    if (bitmap.biWidth < 1 || bitmap.biHeight < 1) return;
    const auto width = uint32_t(bitmap.biWidth), height = uint32_t(bitmap.biHeight);
    if (sample.GetActualDataLength() < uint64_t(dibStride(width, bytesPerPixel)) * height) return;
    uint8_t* const frame = sample.GetPointer();
    Apply(frame, bytesPerPixel, width, height);
    applyPictureSteps(kernelsOfSteps, frame, bytesPerPixel, width, height, flip.load(relaxed), chrome.load(relaxed),
                      negative.load(relaxed));
}

}  // namespace vexcap
