#include "engine/graph_components.h"

#include "frame/vexcap_render.h"
#include "overlay/marker_filter.h"
#include "recording/avi_mux.h"
#include "recording/file_writer.h"
#include "source/media_file_source.h"
#include "source/src_filter.h"
#include "source/video_converter.h"

namespace vexcap {
namespace {

constexpr uint8_t bytesPerPixel = 3;

Platform& platformOf(void* context) { return *static_cast<Platform*>(context); }

const FilterTemplate table[] = {
    {u"VexcapRender", CVexcapRender::classId,
     [](void* context) -> Ref<CBaseFilter> {
         Platform& platform = platformOf(context);
         return makeRef<CVexcapRender>(platform.clock, platform.textures, platform.files);
     }},
    {CSrcFilter::className, CSrcFilter::classId,
     [](void* context) -> Ref<CBaseFilter> { return makeRef<CSrcFilter>(platformOf(context).clock); }},
    {u"MarkerFilter", CMarkerFilter::classId,
     [](void* context) -> Ref<CBaseFilter> {
         Platform& platform = platformOf(context);
         return makeRef<CMarkerFilter>(bytesPerPixel, overlayPorts(platform));
     }},
};

}  // namespace

OverlayPorts overlayPorts(const Platform& platform) {
    return {platform.texts, platform.dates, platform.clock, platform.files};
}

std::span<const FilterTemplate> ownFilters() { return table; }

Result<Ref<CBaseFilter>> GraphComponents::OpenFile(std::u16string_view path) {
    auto reader = platform.media.OpenFile(path);
    if (!reader.ok()) return reader.status();
    return Ref<CBaseFilter>(makeRef<CMediaFileSource>(std::move(reader).value()));
}

Ref<CBaseFilter> GraphComponents::Converter(const MediaType& from) { return makeVideoConverter(platform.media, from); }

Result<IGraphComponents::Output> GraphComponents::OpenOutput(const vex_guid& fileType) {
    if (fileType != MEDIASUBTYPE_Avi) return E_NOTIMPL;
    return Output{makeRef<CAviMux>(), makeRef<CFileWriter>(platform.files)};
}

}  // namespace vexcap
