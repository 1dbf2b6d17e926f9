#include "overlay/marker_filter.h"

#include "base/dib.h"
#include "settings/marker_settings.h"

namespace vexcap {
namespace {

constexpr auto relaxed = std::memory_order_relaxed;

}  // namespace

CMarkerFilter::CMarkerFilter(uint32_t pixelBytes, const OverlayPorts& ports)
    : bytesPerPixel(uint8_t(pixelBytes)), tickClock(ports.clock), marker(ports, nullptr) {}

CMarkerFilter::~CMarkerFilter() { markerSettings().Save(); }

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

HRESULT CMarkerFilter::CopyFrom(CMarker* source) {
    if (source) marker.CopyFrom(*source);
    return S_OK;
}

HRESULT CMarkerFilter::SetGeo(const MarkerGeo* record) {
    if (!record) return E_FAIL;
    marker.SetGeo(*record);
    return S_OK;
}

HRESULT CMarkerFilter::GetGeo(MarkerGeo* record) {
    if (!record) return E_FAIL;
    *record = marker.GetGeo();
    return S_OK;
}

HRESULT CMarkerFilter::SetTxt(const MarkerTxt* record) {
    if (!record) return E_FAIL;
    marker.SetTxt(*record);
    return S_OK;
}

HRESULT CMarkerFilter::SetWater(const WaterInfo* info) { return info && marker.SetWater(*info) != 0 ? S_OK : E_FAIL; }

HRESULT CMarkerFilter::SetWaterOffset(int32_t x, int32_t y) {
    marker.SetWaterOffset(x, y);
    return S_OK;
}

HRESULT CMarkerFilter::SetWaterRotate(int32_t angle) {
    marker.SetWaterRotate(angle);
    return S_OK;
}

HRESULT CMarkerFilter::SetScale(double videoLength, const vex_char* videoText, uint32_t stillLength,
                                const vex_char* stillText, const vex_char* powerText) {
    marker.SetScale({videoLength, videoText, stillLength, stillText, powerText});
    return E_FAIL;  // whatever happened: callers have learned to ignore it
}

HRESULT CMarkerFilter::SetTick(double spacing) {
    marker.SetTick(spacing);
    return S_OK;
}

HRESULT CMarkerFilter::SetFrameDivider(uint32_t divider) {
    frameDivider.store(divider != 0 ? divider : 1, relaxed);
    return S_OK;
}

HRESULT CMarkerFilter::SetFlip(uint32_t value, uint32_t mask) {
    marker.SetFlip(value, mask);
    return S_OK;
}

HRESULT CMarkerFilter::SetChrome(uint32_t on) {
    marker.SetChrome(on);
    return S_OK;
}

HRESULT CMarkerFilter::SetNegative(uint32_t on) {
    marker.SetNegative(on);
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
    Burn(sample, bitmap);
    int64_t start = 0, stop = 0;
    if (divider > 1 && sample.GetTime(start, stop).ok()) sample.SetTime(start / divider, stop / divider);
    return S_OK;
}

void CMarkerFilter::Burn(CMediaSample& sample, const vex_bitmap_header& bitmap) {
    // A sample that holds less than a picture passes as it is: whoever writes it knows what to do with it.
    if (bitmap.biWidth < 1 || bitmap.biHeight < 1) return;
    if (sample.GetActualDataLength() <
        uint64_t(dibStride(uint32_t(bitmap.biWidth), bytesPerPixel)) * uint32_t(bitmap.biHeight))
        return;
    marker.BurnOverlay(sample.GetPointer(), bitmap.biWidth, bitmap.biHeight, false, {}, bytesPerPixel);
}

}  // namespace vexcap
