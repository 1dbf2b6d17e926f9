// The exported functions: each tests its arguments, calls, catches and translates. No logic.
#include "engine/exports.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "engine/device_catalogue.h"
#include "wizard/naming.h"
#include "wizard/setting.h"

using namespace vexcap;

namespace {

IDfc* dfcOf(vexcap_context* context) { return context ? contextOf(context)->FindDfc() : nullptr; }

using CapabilityQuery = int32_t (CaptureContext::*)(std::vector<vex_capability>& out);

int32_t capabilities(vexcap_context* context, vex_capability** out, CapabilityQuery query) {
    if (out) *out = nullptr;
    if (!context || !out) return 0;
    return guarded<int32_t>(0, [&] {
        std::vector<vex_capability> found;
        const int32_t count = (contextOf(context)->*query)(found);
        if (!found.empty()) {
            *out = new vex_capability[found.size()];
            std::copy(found.begin(), found.end(), *out);
        }
        return count;
    });
}

constexpr size_t propertyTextRoom = 32;
constexpr size_t pathRoom = 260;
constexpr size_t settingRoom = 260;

bool isText(const vex_setting& setting) { return setting.kind == VEX_SETTING_TEXT; }

bool fits(const vex_setting& setting, uint32_t number, std::u16string_view text) {
    if (isText(setting))
        return text.size() <= setting.most && (&setting != &setting::FileNamePrefix || !hasForbiddenCharacter(text));
    return number >= setting.least && number <= setting.most;
}

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

vex_device* vexcap_enum_device(const vex_char* filter) {
    return guarded<vex_device*>(nullptr, [&] { return enumDevices(engineState(), filter); });
}

vex_device* vexcap_enum_codec(void) {
    return guarded<vex_device*>(nullptr, [] { return enumCodecs(engineState()); });
}

void vexcap_free_dsvi(vex_device* devices) { freeDevices(devices); }

int32_t vexcap_get_capability(vexcap_context* context, vex_capability** out) {
    return capabilities(context, out, &CaptureContext::Capabilities);
}

int32_t vexcap_get_stillimage_capability(vexcap_context* context, vex_capability** out) {
    return capabilities(context, out, &CaptureContext::StillCapabilities);
}

void vexcap_free_capability(vex_capability* capabilities) { delete[] capabilities; }

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

void vexcap_set_esize(vexcap_context* context, uint32_t size, uint32_t still) {
    act(context, [&](CaptureContext& c) { c.SetEsize(size, still); });
}

HRESULT vexcap_put_format(vexcap_context* context, uint32_t index) {
    if (!context) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return contextOf(context)->PutFormat(index).code(); });
}

void vexcap_put_flip(vexcap_context* context, uint32_t value, uint32_t mask) {
    act(context, [&](CaptureContext& c) { c.PutFlip(value, mask); });
}

uint32_t vexcap_get_flip(vexcap_context* context) { return context ? contextOf(context)->Flip() : 0; }

void vexcap_put_chrome(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.PutChrome(on); });
}

uint32_t vexcap_get_chrome(vexcap_context* context) { return context ? contextOf(context)->Chrome() : 0; }

void vexcap_put_negative(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.PutNegative(on); });
}

uint32_t vexcap_get_negative(vexcap_context* context) { return context ? contextOf(context)->Negative() : 0; }

int32_t vexcap_is_dfc(vexcap_context* context) {
    IDfc* const dfc = dfcOf(context);
    return dfc ? dfc->IsDfc() : 0;
}

int32_t vexcap_has_dfc(vexcap_context* context) {
    IDfc* const dfc = dfcOf(context);
    return dfc ? dfc->HasDfc() : 0;
}

void vexcap_dfc_enable(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.EnableDfc(on); });
}

HRESULT vexcap_dfc_capture(vexcap_context* context, uint32_t count) {
    if (!context) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return contextOf(context)->CaptureDfc(count); });
}

HRESULT vexcap_dfc_import(vexcap_context* context, const vex_char* path) {
    IDfc* const dfc = dfcOf(context);
    if (!dfc || !path) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return dfc->Import(path); });
}

HRESULT vexcap_dfc_export(vexcap_context* context, const vex_char* path) {
    IDfc* const dfc = dfcOf(context);
    if (!dfc || !path) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return dfc->Export(path); });
}

uint32_t vexcap_get_state(vexcap_context* context) { return context ? contextOf(context)->PlayState() : 0; }

void vexcap_set_state(vexcap_context* context, uint32_t state) {
    act(context, [&](CaptureContext& c) { c.SetPlayState(state); });
}

int32_t vexcap_get_seek(vexcap_context* context, int64_t* duration, uint32_t* caps) {
    if (!context) return 0;
    if (duration) *duration = contextOf(context)->Duration();
    if (caps) *caps = contextOf(context)->SeekCaps();
    return 1;
}

void vexcap_set_pos(vexcap_context* context, int64_t position) {
    act(context, [&](CaptureContext& c) { c.SetPosition(position); });
}

int64_t vexcap_get_pos(vexcap_context* context) {
    if (!context) return -1;
    return guarded<int64_t>(-1, [&] { return contextOf(context)->Position(); });
}

const vex_setting* vexcap_settings(uint32_t* count) {
    const std::span<const vex_setting> all = allSettings();
    if (count) *count = uint32_t(all.size());
    return all.data();
}

HRESULT vexcap_get_setting(const vex_char* name, uint32_t* number, vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        const vex_setting* const setting = findSetting(textOf(name));
        if (!setting) return E_INVALIDARG;
        ISettingsKey* const key = engineState().rootKey.get();
        bool stored = false;
        std::u16string value;
        uint32_t size = 0;
        if (isText(*setting)) {
            value = readText(key, *setting, &stored);
            size = uint32_t(value.size());
        } else {
            size = readNumber(key, *setting, &stored);
            value = formatText(u"%u", {uint64_t(size)});
        }
        if (number) *number = size;
        if (text) copyToField(text, settingRoom, value);
        return stored ? S_OK : S_FALSE;
    });
}

HRESULT vexcap_put_setting(const vex_char* name, uint32_t number, const vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        const vex_setting* const setting = findSetting(textOf(name));
        if (!setting || !fits(*setting, number, textOf(text))) return E_INVALIDARG;
        ISettingsKey* const key = engineState().rootKey.get();
        return (isText(*setting) ? writeText(key, *setting, textOf(text)) : writeNumber(key, *setting, number)).code();
    });
}

HRESULT vexcap_auto_path(const vex_name_rules* rules, const vex_char* extension, vex_char* path) {
    if (!path) return E_INVALIDARG;
    *path = 0;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        constexpr vex_name_rules asRemembered = {nullptr, nullptr, VEX_NAME_AS_REMEMBERED, VEX_FOLDERS_AS_REMEMBERED};
        const auto made = autoPath(engineState(), rules ? *rules : asRemembered, textOf(extension));
        if (made.ok()) copyToField(path, pathRoom, made.value());
        return made.code();
    });
}

HRESULT vexcap_start_capture_micro(vexcap_context* context, uint8_t skipMediaFoundation, uint8_t quick,
                                   uint8_t* promptFlag) {
    if (!context) return E_FAIL;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        return startCaptureMicro(engineState(), *contextOf(context), skipMediaFoundation, quick, promptFlag).code();
    });
}

HRESULT vexcap_start_capture_astro(vexcap_context* context, const vex_char* path, int32_t seconds, int32_t frames) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        return startCaptureAstro(engineState(), contextOf(context), textOf(path), seconds, frames).code();
    });
}

HRESULT vexcap_start_capture_avi(vexcap_context* context, const vex_char* path, const vex_char* codec,
                                 int32_t seconds) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        return startCaptureAvi(engineState(), contextOf(context), textOf(path), textOf(codec), seconds).code();
    });
}

void vexcap_put_timelapse(vexcap_context* context, uint32_t every) {
    if (context) contextOf(context)->PutTimeLapse(every);
}

void vexcap_stop_capture(vexcap_context* context) {
    act(context, [](CaptureContext& c) { c.StopCapture(); });
}

uint32_t vexcap_fcapturing(vexcap_context* context) {
    return context && contextOf(context)->recording().captureMode() != captureIdle;
}

uint32_t vexcap_lcapstarttime(vexcap_context* context) {
    return context ? contextOf(context)->recording().captureStartTick() : 0;
}

uint32_t vexcap_dwframecount(vexcap_context* context) {
    return context ? contextOf(context)->recording().frameCount() : 0;
}

uint32_t vexcap_dwframelimit(vexcap_context* context) {
    return context ? contextOf(context)->recording().frameLimit() : 0;
}

uint32_t vexcap_dwtimelimit(vexcap_context* context) {
    return context ? contextOf(context)->recording().timeLimit() : 0;
}

int32_t vexcap_filepath(vexcap_context* context, vex_char* buffer260) {
    if (!context || !buffer260) return 0;
    const Recording& recording = contextOf(context)->recording();
    if (recording.captureMode() == captureIdle || recording.captureFile().empty()) return 0;
    copyToField(buffer260, pathRoom, recording.captureFile());
    return 1;
}

uint64_t vexcap_filesize(vexcap_context* context) {
    return context && contextOf(context)->astroMode() ? contextOf(context)->recording().bytesWritten() >> 10 : 0;
}

int32_t vexcap_recording(vexcap_context* context, vex_recording_counts* counts) {
    return context && counts && contextOf(context)->RecordingCounts(*counts);
}
