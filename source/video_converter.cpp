#include "source/video_converter.h"

#include "base/dib.h"
#include "graph/transform.h"
#include "source/video_layout.h"

namespace vexcap {
namespace {

class CVideoConverter final : public CTransformFilter {
public:
    explicit CVideoConverter(IMedia& codecs) : media(codecs) {}

private:
    ~CVideoConverter() override = default;
    HRESULT CheckInputType(const MediaType* candidate) override;
    HRESULT CheckTransform(const MediaType& in, const MediaType& out) override;
    HRESULT GetMediaType(int32_t position, MediaType* out) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override;
    HRESULT StartStreaming() override;
    HRESULT StopStreaming() override;
    HRESULT Transform(CMediaSample& in, CMediaSample& out) override;
    bool Convert(std::span<const uint8_t> from, CMediaSample& out);
    size_t OutBytes() const { return dibStride(picture.width, 3) * picture.height; }

    IMedia& media;
    const PixelKernels& pixel = kernels();

    // Set before samples flow, then the streaming thread's.
    VideoPicture picture;
    std::unique_ptr<IPictureDecoder> decoder;  // of compressed pictures
    bool lost = false;                         // the sample before was dropped
};

HRESULT CVideoConverter::CheckInputType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    return pictureOf(*candidate) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CVideoConverter::CheckTransform(const MediaType& in, const MediaType& out) {
    const std::optional<VideoPicture> from = pictureOf(in);
    vex_bitmap_header to = {};
    const bool fits = from && out.major == MEDIATYPE_Video && out.subtype == MEDIASUBTYPE_RGB24 &&
                      out.GetBitmapHeader(to) && to.biBitCount == 24 && to.biWidth == int32_t(from->width) &&
                      to.biHeight == int32_t(from->height);
    return fits ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CVideoConverter::GetMediaType(int32_t position, MediaType* out) {
    if (position < 0) return E_INVALIDARG;
    if (position > 0) return VFW_S_NO_MORE_ITEMS;
    if (!out) return E_POINTER;
    const MediaType& in = input->CurrentMediaType();
    const std::optional<VideoPicture> from = pictureOf(in);
    if (!from) return E_UNEXPECTED;
    *out = rgb24Type(int32_t(from->width), int32_t(from->height), in.AverageTimePerFrame());
    return S_OK;
}

HRESULT CVideoConverter::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    const std::optional<VideoPicture> from = pictureOf(input->CurrentMediaType());
    if (!from) return E_UNEXPECTED;
    constexpr uint32_t fewest = 3;  // one on show, one on its way, one being made
    const size_t bytes = dibStride(from->width, 3) * from->height;
    const Result<AllocatorProperties> got =
        pool.SetProperties({std::max(wanted.buffers, fewest), std::max(wanted.bufferBytes, bytes)});
    if (!got.ok()) return got.code();
    return got.value().bufferBytes < bytes ? E_FAIL : S_OK;
}

HRESULT CVideoConverter::StartStreaming() {
    const std::optional<VideoPicture> from = pictureOf(input->CurrentMediaType());
    if (!from) return E_UNEXPECTED;
    picture = *from;
    lost = false;
    if (!picture.layout->Compressed()) return S_OK;
    auto opened = media.OpenDecoder(picture.layout->fourcc, picture.width, picture.height);
    if (!opened.ok()) return opened.code();
    decoder = std::move(opened).value();
    return S_OK;
}

HRESULT CVideoConverter::StopStreaming() {
    decoder.reset();
    return S_OK;
}

HRESULT CVideoConverter::Transform(CMediaSample& in, CMediaSample& out) {
    if (!out.SetActualDataLength(OutBytes()).ok() || !Convert({in.GetPointer(), in.GetActualDataLength()}, out)) {
        lost = true;
        return S_FALSE;
    }
    if (lost) out.SetDiscontinuity(true);
    lost = false;
    return S_OK;
}

bool CVideoConverter::Convert(std::span<const uint8_t> from, CMediaSample& out) {
    const uint32_t width = picture.width, height = picture.height;
    const VideoLayout& layout = *picture.layout;
    if (layout.Compressed())
        return decoder->Decode(std::as_bytes(from), {reinterpret_cast<std::byte*>(out.GetPointer()), OutBytes()}).ok();
    if (from.size() < picture.Bytes()) return false;
    const uint8_t* const source = from.data();
    const uint16_t* const source16 = reinterpret_cast<const uint16_t*>(source);
    const ptrdiff_t stride = ptrdiff_t(picture.Stride()), outStride = -ptrdiff_t(dibStride(width, 3));
    uint8_t* const target = out.GetPointer() + size_t(-outStride) * (height - 1);  // the first row comes last
    switch (layout.kind) {
        case PixelKind::Yuyv:
            pixel.yuyvToBgr24(target, outStride, source, stride, width, height);
            break;
        case PixelKind::Uyvy:
            pixel.uyvyToBgr24(target, outStride, source, stride, width, height);
            break;
        case PixelKind::Nv12:
            pixel.nv12ToBgr24(target, outStride, source, stride, source + stride * ptrdiff_t(height), stride, width,
                              height);
            break;
        case PixelKind::Grey8:
            pixel.mono8ToBgr24(target, outStride, source, stride, width, height);
            break;
        case PixelKind::Grey16:
            pixel.mono16ToBgr24(target, outStride, source16, stride, width, height, layout.depth);
            break;
        case PixelKind::Mosaic8:
            pixel.bayer8ToBgr24(target, outStride, source, stride, width, height, layout.mosaic);
            break;
        case PixelKind::Mosaic16:
            pixel.bayer16ToBgr24(target, outStride, source16, stride, width, height, layout.mosaic, layout.depth);
            break;
        case PixelKind::Bgr:
            pixel.copyRowsReversed(out.GetPointer(), source, size_t(stride), height);
            break;
        case PixelKind::Rgb:
            pixel.rgb24ToBgr24(target, outStride, source, stride, width, height);
            break;
        case PixelKind::Jpeg:
            break;
    }
    return true;
}

}  // namespace

Ref<CBaseFilter> makeVideoConverter(IMedia& media, const MediaType& from) {
    if (!pictureOf(from)) return nullptr;
    return Ref<CBaseFilter>(makeRef<CVideoConverter>(media));
}

}  // namespace vexcap
