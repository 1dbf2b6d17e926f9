#include "frame/vexcap_render.h"

#include "base/dib.h"

namespace vexcap {
namespace {

constexpr uint32_t pixelBytes = 3;
constexpr uint32_t depthTold = 8;  // not 0: a raw frame beside this picture has the device's depth

}  // namespace

CVexcapRender::CVexcapRender(IClock& time, ISharedTextures& sharedTextures, IFileSystem& fileSystem)
    : CBaseRenderer(u"In"),
      CFrameRender(SinkMode::Copying, 0, pixelBytes, time, sharedTextures, fileSystem, false),
      stepKernels(kernels()) {}

HRESULT CVexcapRender::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IID_IFrameInfo) return give(static_cast<IFrameInfo*>(this), out);
    if (id == IID_IDfc) return give(static_cast<IDfc*>(this), out);
    if (id == IAMFilterMiscFlags::iid) return give(static_cast<IAMFilterMiscFlags*>(this), out);
    return CBaseRenderer::NonDelegatingQueryInterface(id, out);
}

HRESULT CVexcapRender::CheckMediaType(const MediaType* candidate) {
    if (!candidate || !(candidate->major == MEDIATYPE_Video)) return E_INVALIDARG;
    const bool known = candidate->formatType == FORMAT_VideoInfo || candidate->formatType == FORMAT_VideoInfo2;
    vex_bitmap_header bitmap;
    if (!known || !candidate->GetBitmapHeader(bitmap)) return E_INVALIDARG;
    if (bitmap.biCompression != 0 || bitmap.biBitCount != 8 * pixelBytes) return E_INVALIDARG;
    if (bitmap.biWidth < 1 || bitmap.biHeight < 1) return E_INVALIDARG;
    SetVideoSize(uint32_t(bitmap.biWidth), uint32_t(bitmap.biHeight), nullptr, nullptr, nullptr);
    return S_OK;
}

HRESULT CVexcapRender::DoRenderSample(CMediaSample& sample) {
    uint8_t* const frame = sample.GetPointer();
    // Of the type, and not of the present picture, which is forgotten when a paint asks for another size.
    const auto [columns, rows] = LastVideoSize();
    const uint64_t frameBytes = uint64_t(dibStride(columns, pixelBytes)) * rows;
    if (!frame || frameBytes == 0 || sample.GetActualDataLength() < frameBytes) return S_OK;
    if (Accumulate(frame, pixelBytes, columns, rows) != S_OK) Apply(frame, pixelBytes, columns, rows);
    Steps().apply(stepKernels, frame, pixelBytes, columns, rows);
    ReceiveFrame(frame, nullptr, nullptr, depthTold, 0, columns, rows, 0);
    return S_OK;
}

}  // namespace vexcap
