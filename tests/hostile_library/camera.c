// The operations of a scripted camera, and the four exports of its library.
#include "tests/hostile_library/camera.h"

#include <stdlib.h>
#include <string.h>

#include "tests/hostile_library/hostile.h"

#define OWNER(pointer, member) ((Camera*)(void*)((char*)(pointer)-offsetof(Camera, member)))

static atomic_int cameras;

// --- References ------------------------------------------------------------------------------------------------------

void camera_hold(Camera* camera) { atomic_fetch_add(&camera->references, 1); }

unsigned camera_drop(Camera* camera) {
    const unsigned left = atomic_fetch_sub(&camera->references, 1) - 1;
    if (left == 0) {
        pthread_mutex_destroy(&camera->raw_lock);
        free(camera);
        atomic_fetch_sub(&cameras, 1);
    }
    return left;
}

static uint32_t add_reference(Camera* camera) {
    const uint32_t count = atomic_fetch_add(&camera->references, 1) + 1;
    return camera->script.references != 0 ? 0 : count;
}

static uint32_t release_reference(Camera* camera) {
    const bool nonsense = camera->script.references != 0;
    const unsigned left = camera_drop(camera);
    return nonsense ? 0xFFFFFFFFu : left;
}

static bool same(const vex_guid* a, const vex_guid* b) { return memcmp(a, b, sizeof *a) == 0; }

static HRESULT query(Camera* camera, const vex_guid* iid, void** out) {
    if (out == NULL) return E_POINTER;
    if (camera->script.query == 2) return E_FAIL;
    *out = NULL;
    if (camera->script.query == 1) return S_OK;
    if (iid == NULL) return E_POINTER;
    if (same(iid, &VEX_IID_UNKNOWN)) *out = &camera->camera;
    if (same(iid, &VEX_IID_CAMERA_STATUS) && camera->script.status != 0) *out = &camera->status;
    if (same(iid, &VEX_IID_CAMERA_STILL) && camera->script.still_count != 0) *out = &camera->still;
    if (same(iid, &VEX_IID_CAMERA_RAW) && camera->script.raw != 0) *out = &camera->raw;
    if (*out == NULL) return E_NOINTERFACE;
    camera_hold(camera);
    return S_OK;
}

#define UNKNOWN_OPERATIONS(Type, member)                                                    \
    static HRESULT member##_query(Type* self, const vex_guid* iid, void** out) {            \
        return query(OWNER(self, member), iid, out);                                        \
    }                                                                                       \
    static uint32_t member##_add(Type* self) { return add_reference(OWNER(self, member)); } \
    static uint32_t member##_release(Type* self) { return release_reference(OWNER(self, member)); }

UNKNOWN_OPERATIONS(ICamera, camera)
UNKNOWN_OPERATIONS(ICameraStatus, status)
UNKNOWN_OPERATIONS(ICameraStill, still)
UNKNOWN_OPERATIONS(ICameraRaw, raw)

// --- ICamera ---------------------------------------------------------------------------------------------------------

static HRESULT get_size(ICamera* self, int32_t* width, int32_t* height) {
    Camera* const camera = OWNER(self, camera);
    if (width == NULL || height == NULL) return E_POINTER;
    if (camera->script.size_result < 0) return (HRESULT)camera->script.size_result;
    *width = atomic_load(&camera->width);
    *height = atomic_load(&camera->height);
    return S_OK;
}

static HRESULT get_esize(ICamera* self, uint32_t* index) {
    (void)self;
    if (index == NULL) return E_POINTER;
    *index = 0;
    return S_OK;
}

static HRESULT get_gains(ICamera* self, int32_t* gains) {
    (void)self;
    (void)gains;
    return E_NOTIMPL;
}

static HRESULT get_exposure(ICamera* self, uint32_t* microseconds) {
    if (microseconds == NULL) return E_POINTER;
    *microseconds = (uint32_t)OWNER(self, camera)->script.exposure;
    return S_OK;
}

static int32_t get_resolution_count(ICamera* self) { return (int32_t)OWNER(self, camera)->script.resolutions; }

static HRESULT get_resolution(ICamera* self, uint32_t index, int32_t* width, int32_t* height) {
    const Camera* const camera = OWNER(self, camera);
    if (width == NULL || height == NULL) return E_POINTER;
    if (camera->script.resolution_result < 0) return (HRESULT)camera->script.resolution_result;
    if ((int64_t)index >= camera->script.resolutions) return E_INVALIDARG;
    *width = (int32_t)camera->script.width;
    *height = (int32_t)camera->script.height;
    return S_OK;
}

static HRESULT get_temp_tint(ICamera* self, int32_t* temperature, int32_t* tint) {
    (void)self;
    (void)temperature;
    (void)tint;
    return E_NOTIMPL;
}

static uint32_t get_bit_depth(ICamera* self) { return (uint32_t)OWNER(self, camera)->script.depth; }

static HRESULT get_roi(ICamera* self, uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) {
    const Camera* const camera = OWNER(self, camera);
    if (width == NULL || height == NULL) return E_POINTER;
    if (camera->script.roi_result < 0) return (HRESULT)camera->script.roi_result;
    if (x != NULL) *x = 0;
    if (y != NULL) *y = 0;
    *width = (uint32_t)(camera->script.roi_width != 0 ? camera->script.roi_width : atomic_load(&camera->width));
    *height = (uint32_t)(camera->script.roi_height != 0 ? camera->script.roi_height : atomic_load(&camera->height));
    return S_OK;
}

static HRESULT get_frame_rate(ICamera* self, uint32_t* frames, uint32_t* milliseconds, uint32_t* total) {
    Camera* const camera = OWNER(self, camera);
    if (frames == NULL || milliseconds == NULL || total == NULL) return E_POINTER;
    *frames = (uint32_t)camera->script.rate_frames;
    *milliseconds = (uint32_t)camera->script.rate_milliseconds;
    *total = atomic_load(&camera->sent);
    return S_OK;
}

static HRESULT put_option(ICamera* self, uint32_t number, int32_t value) {
    Camera* const camera = OWNER(self, camera);
    if (camera->script.option_result < 0) return (HRESULT)camera->script.option_result;
    switch (number) {
        case VEX_OPTION_RECORDING:
        case VEX_OPTION_FRAME_RATE:
            if (value < 0) return E_INVALIDARG;
            atomic_store(&camera->option[number], (unsigned)value);
            return S_OK;
        case VEX_OPTION_BINNING:
            return value == camera->script.binning ? S_OK : E_INVALIDARG;
        case VEX_OPTION_ROTATION:
            return value == camera->script.rotation ? S_OK : E_INVALIDARG;
        default:
            return E_NOTIMPL;
    }
}

static HRESULT get_option(ICamera* self, uint32_t number, int32_t* value) {
    Camera* const camera = OWNER(self, camera);
    if (value == NULL) return E_POINTER;
    if (camera->script.option_result < 0) return (HRESULT)camera->script.option_result;
    switch (number) {
        case VEX_OPTION_RECORDING:
        case VEX_OPTION_FRAME_RATE:
            *value = (int32_t)atomic_load(&camera->option[number]);
            return S_OK;
        case VEX_OPTION_BINNING:
            *value = (int32_t)camera->script.binning;
            return S_OK;
        case VEX_OPTION_ROTATION:
            *value = (int32_t)camera->script.rotation;
            return S_OK;
        default:
            return E_NOTIMPL;
    }
}

static HRESULT start_pull(ICamera* self, uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                          vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                          void* event_context, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                          uint32_t one) {
    Camera* const camera = OWNER(self, camera);
    (void)zero0, (void)zero1, (void)zero2, (void)zero3, (void)texture, (void)one;
    if (frame == NULL) return E_POINTER;
    if (camera->streaming) return E_UNEXPECTED;
    camera->callbacks = (Callbacks){frame, buffer, event, context, event_context};
    atomic_store(&camera->sequence, 0);
    atomic_store(&camera->sent, 0);
    atomic_store(&camera->paused, false);
    stream_deliver(camera, &camera->callbacks, camera->script.sync_start);
    if (camera->script.start_result < 0) return (HRESULT)camera->script.start_result;
    camera->streaming = stream_start(camera);
    return camera->streaming ? S_OK : E_OUTOFMEMORY;
}

static void end_stream(Camera* camera) {
    if (!camera->streaming) return;
    camera->streaming = false;
    stream_deliver(camera, &camera->callbacks, camera->script.sync_stop);
    stream_stop(camera);
}

static HRESULT stop(ICamera* self) {
    Camera* const camera = OWNER(self, camera);
    end_stream(camera);
    return (HRESULT)camera->script.stop_result;
}

static void close_camera(ICamera* self) {
    Camera* const camera = OWNER(self, camera);
    end_stream(camera);
    camera_drop(camera);
}

static HRESULT snap(ICamera* self, uint32_t index, uint32_t count, void* value) {
    (void)self, (void)index, (void)count, (void)value;
    return E_NOTIMPL;
}

static HRESULT pause_stream(ICamera* self, uint32_t pause) {
    Camera* const camera = OWNER(self, camera);
    atomic_store(&camera->paused, pause != 0);
    return (HRESULT)camera->script.pause_result;
}

static HRESULT trigger(ICamera* self, uint32_t on) {
    atomic_store(&OWNER(self, camera)->triggered, on != 0);
    return S_OK;
}

static uint32_t texture_accepted(ICamera* self) { return (uint32_t)OWNER(self, camera)->script.texture; }

static HRESULT pipeline(ICamera* self, void* a, void* b, void* c) {
    (void)self, (void)a, (void)b, (void)c;
    return E_NOTIMPL;
}

static const ICameraTable camera_table = {
    camera_query,   camera_add,           camera_release, get_size,         get_esize,     get_gains,
    get_exposure,   get_resolution_count, get_resolution, get_temp_tint,    get_bit_depth, get_roi,
    get_frame_rate, put_option,           get_option,     start_pull,       stop,          close_camera,
    snap,           pause_stream,         trigger,        texture_accepted, pipeline,
};

// --- ICameraStatus ---------------------------------------------------------------------------------------------------

static HRESULT get_state(ICameraStatus* self, uint32_t* state) {
    Camera* const camera = OWNER(self, status);
    if (state == NULL) return E_POINTER;
    if (camera->script.status_result < 0) return (HRESULT)camera->script.status_result;
    *state = atomic_load(&camera->lost) ? (uint32_t)VEX_CAMERA_STATE_REMOVED : (uint32_t)camera->script.state;
    return S_OK;
}

static HRESULT get_lost_frames(ICameraStatus* self, uint32_t* lost) {
    (void)self;
    if (lost == NULL) return E_POINTER;
    *lost = 0;
    return S_OK;
}

static HRESULT get_max_frame_rate(ICameraStatus* self, uint32_t index, uint32_t* rate) {
    const Camera* const camera = OWNER(self, status);
    if (rate == NULL) return E_POINTER;
    if ((int64_t)index >= camera->script.resolutions) return E_INVALIDARG;
    *rate = camera->script.interval_us > 0 ? (uint32_t)(1000000 / camera->script.interval_us) : 0;
    return S_OK;
}

static const ICameraStatusTable status_table = {status_query, status_add,      status_release,
                                                get_state,    get_lost_frames, get_max_frame_rate};

// --- ICameraStill ----------------------------------------------------------------------------------------------------

static HRESULT get_still_size(ICameraStill* self, uint32_t* width, uint32_t* height) {
    const Camera* const camera = OWNER(self, still);
    if (width == NULL || height == NULL) return E_POINTER;
    if (camera->script.still_result < 0) return (HRESULT)camera->script.still_result;
    *width = (uint32_t)camera->script.still_width;
    *height = (uint32_t)camera->script.still_height;
    return S_OK;
}

static HRESULT set_still_index(ICameraStill* self, uint32_t index) {
    return (int64_t)index < OWNER(self, still)->script.still_count ? S_OK : E_INVALIDARG;
}

static int32_t get_still_count(ICameraStill* self) { return (int32_t)OWNER(self, still)->script.still_count; }

static HRESULT get_still_resolution(ICameraStill* self, uint32_t index, int32_t* width, int32_t* height) {
    const Camera* const camera = OWNER(self, still);
    if (width == NULL || height == NULL) return E_POINTER;
    if (camera->script.still_result < 0) return (HRESULT)camera->script.still_result;
    if ((int64_t)index >= camera->script.still_count) return E_INVALIDARG;
    *width = (int32_t)camera->script.still_width;
    *height = (int32_t)camera->script.still_height;
    return S_OK;
}

static const ICameraStillTable still_table = {still_query,     still_add,       still_release,       get_still_size,
                                              set_still_index, get_still_count, get_still_resolution};

// --- ICameraRaw ------------------------------------------------------------------------------------------------------

static HRESULT get_raw_format(ICameraRaw* self, uint32_t* fourcc, uint32_t* depth) {
    const Camera* const camera = OWNER(self, raw);
    if (fourcc == NULL || depth == NULL) return E_POINTER;
    if (camera->script.raw_result < 0) return (HRESULT)camera->script.raw_result;
    const int64_t told = camera->script.raw_depth;
    *fourcc = (uint32_t)camera->script.raw_fourcc;
    *depth = told == -1 ? 0 : (uint32_t)(told != 0 ? told : camera->script.depth);
    return S_OK;
}

static HRESULT set_raw_callback(ICameraRaw* self, vex_camera_raw_callback callback, void* context) {
    Camera* const camera = OWNER(self, raw);
    if (camera->script.callback_result < 0) return (HRESULT)camera->script.callback_result;
    if (callback != NULL) stream_deliver_raw(camera, callback, context, camera->script.sync_raw);
    pthread_mutex_lock(&camera->raw_lock);
    camera->raw_callback = callback;
    camera->raw_context = context;
    pthread_mutex_unlock(&camera->raw_lock);
    return S_OK;
}

static const ICameraRawTable raw_table = {raw_query, raw_add, raw_release, get_raw_format, set_raw_callback};

Camera* camera_new(const Script* script) {
    Camera* const camera = calloc(1, sizeof *camera);
    if (camera == NULL) return NULL;
    camera->camera.table = &camera_table;
    camera->status.table = &status_table;
    camera->still.table = &still_table;
    camera->raw.table = &raw_table;
    camera->script = *script;
    atomic_init(&camera->references, 1);
    atomic_init(&camera->width, (int)script->width);
    atomic_init(&camera->height, (int)script->height);
    pthread_mutex_init(&camera->raw_lock, NULL);
    atomic_fetch_add(&cameras, 1);
    return camera;
}

int hostile_cameras(void) { return atomic_load(&cameras); }

// --- The exports -----------------------------------------------------------------------------------------------------

#define JOINED(prefix, name) prefix##_##name
#define NAMED(prefix, name) JOINED(prefix, name)
#define EXPORT(name) NAMED(HOSTILE_PREFIX, name)

#ifndef HOSTILE_WITHOUT_EnumV2
HOSTILE_API uint32_t EXPORT(EnumV2)(vex_camera_entry entries[VEX_CAMERA_ENTRIES]) {
    static const char display[] = "Scripted camera";
    static const char identifier[] = "scripted";
    const Script script = current_script();
    if (script.unterminated != 0) {
        for (int i = 0; i < VEX_CAMERA_ENTRIES; ++i)
            for (int c = 0; c < 64; ++c) entries[i].display[c] = entries[i].identifier[c] = (vex_char)('A' + i);
        return (uint32_t)script.count;
    }
    memset(entries, 0, VEX_CAMERA_ENTRIES * sizeof *entries);
    for (size_t c = 0; c < sizeof display; ++c) entries[0].display[c] = (vex_char)display[c];
    for (size_t c = 0; c < sizeof identifier; ++c) entries[0].identifier[c] = (vex_char)identifier[c];
    return (uint32_t)script.count;
}
#endif

#ifndef HOSTILE_WITHOUT_Open
HOSTILE_API ICamera* EXPORT(Open)(const vex_char* name) {
    static const char identifier[] = "scripted";
    const Script script = current_script();
    if (script.open == 0 || name == NULL) return NULL;
    if (name[0] != VEX_OPEN_ASTRO && name[0] != VEX_OPEN_GAINS && name[0] != VEX_OPEN_TEMPTINT) return NULL;
    for (size_t c = 0; c < sizeof identifier; ++c)
        if (name[c + 1] != (vex_char)identifier[c]) return NULL;
    Camera* const camera = camera_new(&script);
    return camera != NULL ? &camera->camera : NULL;
}
#endif

#ifndef HOSTILE_WITHOUT_calc_ClarityFactor
// Mean square of the steps between neighbours in a row.
HOSTILE_API double EXPORT(calc_ClarityFactor)(const void* frame, uint32_t bits, uint32_t width, uint32_t height) {
    if (frame == NULL || width < 2 || height < 1 || (bits != 24 && bits != 32)) return 0;
    const size_t stride = ((size_t)width * bits + 31) / 32 * 4;
    double sum = 0;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 1; x < width; ++x) {
            const uint8_t* const at = (const uint8_t*)frame + y * stride + (size_t)x * (bits / 8);
            const double step = at[0] - at[0 - (int)(bits / 8)];
            sum += step * step;
        }
    return sum / width / height;
}
#endif

#ifndef HOSTILE_WITHOUT_InitOcl
HOSTILE_API int32_t EXPORT(InitOcl)(void) { return (int32_t)current_script().init_ocl; }
#endif
