// The exported functions of the engine and of a context, from its making to its end.
#include "base/text.h"
#include "exports/exports.h"

using namespace vexcap;

namespace {

constexpr size_t propertyTextRoom = 32;

}  // namespace

int32_t vexcap_init(vex_key* root, const vex_char* company, const vex_char* product, const vex_char* software,
                    const vex_char* cameraLibrary, const char* prefix, const vex_char* networkLibrary,
                    uint32_t eventMessage, uint32_t sizeMessage, uint32_t limitMessage, uint32_t dfcMessage,
                    uint32_t frameMessage, uint32_t networkEnabled, uint32_t astroMode, vex_window* deviceWindow,
                    uint32_t deviceMessage, int32_t direct2d, uint32_t gainBalance) {
    return guarded<int32_t>(E_OUTOFMEMORY, [&] {
        return engineState().Init({root, company, product, software, cameraLibrary, prefix, networkLibrary,
                                   eventMessage, sizeMessage, limitMessage, dfcMessage, frameMessage, networkEnabled,
                                   astroMode, deviceWindow, deviceMessage, direct2d, gainBalance});
    });
}

int32_t vexcap_fini(void) {
    return guarded<int32_t>(E_FAIL, [] { return engineState().Fini(); });
}

void vexcap_factorymode(uint32_t on) { engineState().factoryMode = on; }

uint32_t vexcap_mode(vexcap_context* context) {
    return context ? contextOf(context)->UsesTexture() : engineState().d2dAvailable;
}

void vexcap_get_framerate(uint32_t* cap, uint32_t* percent) {
    if (cap) *cap = engineState().frameRateCap;
    if (percent) *percent = engineState().frameRatePercent;
}

void vexcap_set_framerate(uint32_t cap, uint32_t percent) { engineState().SetFrameRate(cap, percent); }

vexcap_context* vexcap_device(vex_window* owner, vex_window* preview, const vex_device* device, void* d3dDevice,
                              void* d3dContext, vex_render_target* renderTarget) {
    return guarded<vexcap_context*>(nullptr, [&] {
        auto context =
            CaptureContext::Create(engineState(), owner, preview, device, d3dDevice, d3dContext, renderTarget);
        return reinterpret_cast<vexcap_context*>(context.release());
    });
}

vexcap_context* vexcap_file(vex_window* owner, vex_window* preview, const vex_char* path) {
    return guarded<vexcap_context*>(nullptr, [&] {
        return reinterpret_cast<vexcap_context*>(
            CaptureContext::CreateForFile(engineState(), owner, preview, textOf(path)).release());
    });
}

HRESULT vexcap_start(vexcap_context* context, vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                     uint32_t stillFollowsPreview, uint32_t retryStart) {
    if (!context) return E_POINTER;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        return contextOf(context)->Start(still, stillMessage, stillWanted, stillFollowsPreview, retryStart).code();
    });
}

void vexcap_stop(vexcap_context* context) { delete contextOf(context); }

uint32_t vexcap_fsource(vexcap_context* context) { return context && contextOf(context)->HasSource(); }

uint32_t vexcap_fpreviewing(vexcap_context* context) { return context && contextOf(context)->Previewing(); }

int32_t vexcap_notify(vexcap_context* context) {
    act(context, [](CaptureContext& c) { c.Notify(); });
    return 0;
}

int32_t vexcap_video_size(vexcap_context* context, int32_t* width, int32_t* height) {
    if (!context) return 0;
    contextOf(context)->VideoSize(width, height);
    return 1;
}

int32_t vexcap_get_property(vexcap_context* context, vex_char* countText, vex_char* rateText) {
    if (!context) return 0;
    return guarded<int32_t>(0, [&] {
        uint32_t frames = 0, milliseconds = 0, total = 0;
        if (!contextOf(context)->FrameRate(frames, milliseconds, total).ok()) return 0;
        const double rate = milliseconds ? frames * 1000.0 / milliseconds : 0.0;
        if (countText) copyToField(countText, propertyTextRoom, formatText(u"%u", {uint64_t(total)}));
        if (rateText) copyToField(rateText, propertyTextRoom, formatText(u"%.1f", {rate}));
        return 1;
    });
}

void* vexcap_get_interface(vexcap_context* context, const vex_guid* iid) {
    return context && !iid ? contextOf(context)->SourceHandle() : nullptr;
}
