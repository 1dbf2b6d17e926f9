// A camera library with one camera that nobody needs to buy: 640 x 480 pixels, 8 bits, 50 frames a second. It has raw
// frames and a status; a real one asks its driver where this one draws a picture.
#include <vexcap/camera_library.h>

#include <pthread.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#define EXPORTED __attribute__((visibility("default")))

enum { width = 640, height = 480, stride = (width * 24 + 31) / 32 * 4, frames_a_second = 50 };
static const vex_char identifier[] = u"mine-1";

typedef struct Camera {
    ICamera camera;  // the three tables of one object
    ICameraStatus status;
    ICameraRaw raw;
    atomic_uint references;
    pthread_t thread;
    bool streaming;  // of the host's thread
    atomic_bool stopping, paused, every_frame;
    atomic_int recording, frame_rate;     // options
    atomic_uint total, stretch, started;  // sensor frames of the stream and of the last seconds; when these began
    vex_camera_frame_callback frame;
    vex_camera_buffer_callback buffer;
    void* context;
    pthread_mutex_t raw_lock;  // held while a raw frame is delivered, so that SetRawCallback waits for it
    vex_camera_raw_callback raw_callback;
    void* raw_context;
    uint8_t sensor[width * height];
    uint8_t display[stride * height];  // for an engine without room of its own
} Camera;

// The camera to which a table belongs.
#define OWNER(self, member) ((Camera*)(void*)((char*)(self)-offsetof(Camera, member)))

static HRESULT query(Camera* camera, const vex_guid* iid, void** out) {
    if (out == NULL) return E_POINTER;
    *out = NULL;
    if (memcmp(iid, &VEX_IID_UNKNOWN, sizeof *iid) == 0) *out = &camera->camera;
    if (memcmp(iid, &VEX_IID_CAMERA_STATUS, sizeof *iid) == 0) *out = &camera->status;
    if (memcmp(iid, &VEX_IID_CAMERA_RAW, sizeof *iid) == 0) *out = &camera->raw;
    if (*out == NULL) return E_NOINTERFACE;
    atomic_fetch_add(&camera->references, 1);
    return S_OK;
}

static uint32_t release(Camera* camera) {
    const uint32_t left = atomic_fetch_sub(&camera->references, 1) - 1;
    if (left == 0) {
        pthread_mutex_destroy(&camera->raw_lock);
        free(camera);
    }
    return left;
}

// The first three operations, which each table has.
#define UNKNOWN_OPERATIONS(Type, member)                                                                           \
    static HRESULT member##_query(Type* self, const vex_guid* iid, void** out) {                                   \
        return query(OWNER(self, member), iid, out);                                                               \
    }                                                                                                              \
    static uint32_t member##_add(Type* self) { return atomic_fetch_add(&OWNER(self, member)->references, 1) + 1; } \
    static uint32_t member##_release(Type* self) { return release(OWNER(self, member)); }
UNKNOWN_OPERATIONS(ICamera, camera)
UNKNOWN_OPERATIONS(ICameraStatus, status)
UNKNOWN_OPERATIONS(ICameraRaw, raw)

static uint32_t milliseconds_now(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint32_t)now.tv_sec * 1000 + (uint32_t)(now.tv_nsec / 1000000);
}

// Darker from the bottom, the first row, to the top, with a bright bar that moves to the right.
static void expose(Camera* camera, uint32_t sequence) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const row = camera->sensor + y * width;
        memset(row, (int)(200 - y * 180 / height), width);
        for (uint32_t x = 0; x < 32; ++x) row[(sequence * 4 + x) % width] = 255;
    }
}

static void show(Camera* camera, const vex_frame_info* info) {
    void* room = NULL;
    if (camera->buffer != NULL) camera->buffer(0, &room, NULL, NULL, camera->context);
    uint8_t* const display = room != NULL ? room : camera->display;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) memset(display + y * stride + x * 3, camera->sensor[y * width + x], 3);
    camera->frame(display, info, 0, NULL, NULL, 0, 0, 0, camera->context);
}

static void* stream(void* argument) {
    Camera* const camera = argument;
    uint32_t sequence = 0, next_display = milliseconds_now();
    for (; !atomic_load(&camera->stopping);
         nanosleep(&(struct timespec){.tv_nsec = 1000000000 / frames_a_second}, NULL)) {
        if (atomic_load(&camera->paused)) continue;  // no sensor frame, and no number of one
        const uint32_t now = milliseconds_now();
        const vex_frame_info info = {sequence, width, height, 0, (uint64_t)now * 10000};
        expose(camera, sequence++);
        atomic_fetch_add(&camera->total, 1);
        if (now - atomic_load(&camera->started) > 2000) {
            atomic_store(&camera->started, now);
            atomic_store(&camera->stretch, 0);
        }
        atomic_fetch_add(&camera->stretch, 1);
        pthread_mutex_lock(&camera->raw_lock);
        if (camera->raw_callback != NULL) camera->raw_callback(camera->sensor, &info, 0, 8, camera->raw_context);
        pthread_mutex_unlock(&camera->raw_lock);
        const int rate = atomic_load(&camera->frame_rate);
        if (rate > 0 && !atomic_load(&camera->every_frame)) {
            if ((int32_t)(now - next_display) < 0) continue;  // raw frames are more than display frames
            next_display = now + (uint32_t)(1000 / rate);
        }
        show(camera, &info);
    }
    return NULL;
}

static HRESULT get_size(ICamera* self, int32_t* w, int32_t* h) {
    (void)self;
    if (w == NULL || h == NULL) return E_POINTER;
    *w = width;
    *h = height;
    return S_OK;
}
static HRESULT get_esize(ICamera* self, uint32_t* index) { return (void)self, index ? (*index = 0, S_OK) : E_POINTER; }
static HRESULT get_gains(ICamera* self, int32_t* gains) { return (void)self, (void)gains, E_NOTIMPL; }
static HRESULT get_exposure(ICamera* self, uint32_t* us) { return (void)self, us ? (*us = 10000, S_OK) : E_POINTER; }
static int32_t get_resolution_count(ICamera* self) { return (void)self, 1; }
static HRESULT get_resolution(ICamera* self, uint32_t index, int32_t* w, int32_t* h) {
    return index == 0 ? get_size(self, w, h) : E_INVALIDARG;
}
static HRESULT get_temp_tint(ICamera* self, int32_t* a, int32_t* b) { return (void)self, (void)a, (void)b, E_NOTIMPL; }
static uint32_t get_bit_depth(ICamera* self) { return (void)self, 8; }
static HRESULT get_roi(ICamera* self, uint32_t* x, uint32_t* y, uint32_t* w, uint32_t* h) {
    return (void)self, (void)x, (void)y, (void)w, (void)h, E_NOTIMPL;
}
static HRESULT get_frame_rate(ICamera* self, uint32_t* frames, uint32_t* milliseconds, uint32_t* total) {
    Camera* const camera = OWNER(self, camera);
    if (frames == NULL || milliseconds == NULL || total == NULL) return E_POINTER;
    *frames = atomic_load(&camera->stretch);
    *milliseconds = camera->streaming ? milliseconds_now() - atomic_load(&camera->started) : 0;
    *total = atomic_load(&camera->total);
    return S_OK;
}

static atomic_int* option(Camera* camera, uint32_t number) {
    if (number == VEX_OPTION_RECORDING) return &camera->recording;
    return number == VEX_OPTION_FRAME_RATE ? &camera->frame_rate : NULL;
}
static HRESULT put_option(ICamera* self, uint32_t number, int32_t value) {
    atomic_int* const place = option(OWNER(self, camera), number);
    if (place == NULL) return E_NOTIMPL;
    if (value < 0) return E_INVALIDARG;
    atomic_store(place, value);
    return S_OK;
}
static HRESULT get_option(ICamera* self, uint32_t number, int32_t* value) {
    atomic_int* const place = option(OWNER(self, camera), number);
    if (value == NULL) return E_POINTER;
    return place != NULL ? (*value = atomic_load(place), S_OK) : E_NOTIMPL;
}

static HRESULT start(ICamera* self, uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                     vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                     void* event_context, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                     uint32_t one) {
    Camera* const camera = OWNER(self, camera);
    (void)zero0, (void)zero1, (void)event, (void)event_context, (void)zero2, (void)zero3, (void)texture, (void)one;
    if (frame == NULL) return E_POINTER;
    if (camera->streaming) return E_UNEXPECTED;
    camera->frame = frame;
    camera->buffer = buffer;
    camera->context = context;
    atomic_store(&camera->stopping, false);
    atomic_store(&camera->paused, false);
    atomic_store(&camera->total, 0);
    atomic_store(&camera->stretch, 0);
    atomic_store(&camera->started, milliseconds_now());
    camera->streaming = pthread_create(&camera->thread, NULL, stream, camera) == 0;
    return camera->streaming ? S_OK : E_OUTOFMEMORY;
}
static HRESULT stop(ICamera* self) {
    Camera* const camera = OWNER(self, camera);
    if (!camera->streaming) return S_OK;
    atomic_store(&camera->stopping, true);
    pthread_join(camera->thread, NULL);  // so that no callback runs any more
    camera->streaming = false;
    return S_OK;
}
static void close_camera(ICamera* self) {
    stop(self);
    release(OWNER(self, camera));
}
static HRESULT snap(ICamera* self, uint32_t index, uint32_t count, void* value) {
    return (void)self, (void)index, (void)count, (void)value, E_NOTIMPL;
}
static HRESULT pause_stream(ICamera* self, uint32_t on) {
    return atomic_store(&OWNER(self, camera)->paused, on != 0), S_OK;
}
static HRESULT trigger(ICamera* self, uint32_t on) {
    return atomic_store(&OWNER(self, camera)->every_frame, on != 0), S_OK;
}
static uint32_t texture_accepted(ICamera* self) { return (void)self, 0; }
static HRESULT pipeline(ICamera* self, void* a, void* b, void* c) {
    return (void)self, (void)a, (void)b, (void)c, E_NOTIMPL;
}

static HRESULT get_state(ICameraStatus* self, uint32_t* state) {
    return (void)self, state ? (*state = VEX_CAMERA_STATE_OK, S_OK) : E_POINTER;
}
static HRESULT get_lost_frames(ICameraStatus* self, uint32_t* lost) {
    return (void)self, lost ? (*lost = 0, S_OK) : E_POINTER;
}
static HRESULT get_max_frame_rate(ICameraStatus* self, uint32_t index, uint32_t* rate) {
    (void)self;
    if (rate == NULL) return E_POINTER;
    return index == 0 ? (*rate = frames_a_second, S_OK) : E_INVALIDARG;
}

static HRESULT get_raw_format(ICameraRaw* self, uint32_t* fourcc, uint32_t* depth) {
    (void)self;
    if (fourcc == NULL || depth == NULL) return E_POINTER;
    *fourcc = 0;  // mono
    *depth = 8;
    return S_OK;
}
static HRESULT set_raw_callback(ICameraRaw* self, vex_camera_raw_callback callback, void* context) {
    Camera* const camera = OWNER(self, raw);
    pthread_mutex_lock(&camera->raw_lock);
    camera->raw_callback = callback;
    camera->raw_context = context;
    pthread_mutex_unlock(&camera->raw_lock);
    return S_OK;
}

static const ICameraTable camera_table = {
    camera_query,         camera_add,     camera_release, get_size,      get_esize, get_gains,      get_exposure,
    get_resolution_count, get_resolution, get_temp_tint,  get_bit_depth, get_roi,   get_frame_rate, put_option,
    get_option,           start,          stop,           close_camera,  snap,      pause_stream,   trigger,
    texture_accepted,     pipeline};
static const ICameraStatusTable status_table = {status_query, status_add,      status_release,
                                                get_state,    get_lost_frames, get_max_frame_rate};
static const ICameraRawTable raw_table = {raw_query, raw_add, raw_release, get_raw_format, set_raw_callback};

EXPORTED uint32_t My_EnumV2(vex_camera_entry entries[VEX_CAMERA_ENTRIES]) {
    static const vex_char display[] = u"My camera";
    memset(&entries[0], 0, sizeof entries[0]);
    memcpy(entries[0].display, display, sizeof display);
    memcpy(entries[0].identifier, identifier, sizeof identifier);
    return 1;
}

static _Thread_local HRESULT why = E_FAIL;

EXPORTED ICamera* My_Open(const vex_char* name) {
    why = name == NULL || name[0] == 0 ? E_INVALIDARG : VEX_E_FILE_NOT_FOUND;
    if (why == E_INVALIDARG) return NULL;
    for (size_t i = 0; i < sizeof identifier / sizeof identifier[0]; ++i)  // behind the open-mode character
        if (name[i + 1] != identifier[i]) return NULL;
    Camera* const camera = calloc(1, sizeof *camera);
    why = camera != NULL ? S_OK : E_OUTOFMEMORY;
    if (camera == NULL) return NULL;
    camera->camera.table = &camera_table;
    camera->status.table = &status_table;
    camera->raw.table = &raw_table;
    camera->references = 1;
    camera->recording = 1;
    pthread_mutex_init(&camera->raw_lock, NULL);
    return &camera->camera;
}

EXPORTED HRESULT My_OpenStatus(void) { return why; }
