// The threads of a scripted camera and the frames that they deliver.
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "tests/hostile_library/camera.h"
#include "tests/hostile_library/hostile.h"

static atomic_int runaways;

static uint64_t now_100ns(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (uint64_t)time.tv_sec * 10000000u + (uint64_t)time.tv_nsec / 100u;
}

static uint32_t padded(uint32_t width, uint32_t bits) { return (width * bits + 31) / 32 * 4; }

static uint32_t value_at(uint32_t x, uint32_t y, uint32_t sequence, uint32_t depth) {
    return (x * 3 + y * 5 + sequence) & ((1u << depth) - 1);
}

static uint32_t depth_of_frames(const Camera* camera) {
    const int64_t depth = camera->script.raw_frame_depth != 0 ? camera->script.raw_frame_depth : camera->script.depth;
    return (uint32_t)depth;
}

// Memory of exactly the size that the frame has, so that a read behind its end is found.
static void* raw_frame(const Camera* camera, uint32_t width, uint32_t height, uint32_t sequence) {
    const uint32_t depth = depth_of_frames(camera);
    const size_t bytes = depth <= 8 ? 1 : 2;
    uint8_t* const frame = malloc((size_t)width * height * bytes + 1);
    if (frame == NULL) return NULL;
    uint8_t* at = frame;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t value = value_at(x, y, sequence, depth >= 1 && depth <= 16 ? depth : 8);
            *at++ = (uint8_t)value;
            if (bytes == 2) *at++ = (uint8_t)(value >> 8);
        }
    return frame;
}

static vex_frame_info info_of(const Camera* camera, uint32_t sequence) {
    return (vex_frame_info){.sequence = sequence,
                            .width = (uint32_t)atomic_load(&camera->width),
                            .height = (uint32_t)atomic_load(&camera->height),
                            .timestamp = now_100ns()};
}

static bool sane(const vex_frame_info* info) {
    return info->width >= 1 && info->width <= 512 && info->height >= 1 && info->height <= 512;
}

static void deliver_raw(Camera* camera, vex_camera_raw_callback callback, void* context, uint32_t sequence) {
    const Script* const script = &camera->script;
    vex_frame_info info = info_of(camera, sequence);
    if (script->raw_width != 0) info.width = (uint32_t)script->raw_width;
    if (script->raw_height != 0) info.height = (uint32_t)script->raw_height;
    // Wild sizes are told with the memory of a small picture: nobody may read it before looking at the size.
    const bool small = sane(&info);
    void* const frame = raw_frame(camera, small ? info.width : 1, small ? info.height : 1, sequence);
    callback(script->raw_null == 1 ? NULL : frame, script->raw_null == 2 ? NULL : &info, (uint32_t)script->raw_fourcc,
             depth_of_frames(camera), context);
    free(frame);
}

void stream_deliver_raw(Camera* camera, vex_camera_raw_callback callback, void* context, int64_t count) {
    for (int64_t i = 0; i < count; ++i) deliver_raw(camera, callback, context, (uint32_t)i);
}

// Writes what the engine gave room for. Several threads at once share that room, so then nobody writes.
static void fill(const Camera* camera, const vex_frame_info* info, void* display, void* raw, void* deep) {
    if (camera->script.threads != 1 || !sane(info)) return;
    const uint32_t depth = (uint32_t)camera->script.depth;
    const uint32_t good_depth = depth >= 8 && depth <= 16 ? depth : 8;
    for (uint32_t y = 0; y < info->height; ++y)
        for (uint32_t x = 0; x < info->width; ++x) {
            const uint32_t value = value_at(x, y, info->sequence, good_depth);
            if (display != NULL)
                memset((uint8_t*)display + (size_t)y * padded(info->width, 24) + x * 3u,
                       (int)(value >> (good_depth - 8)), 3);
            if (raw != NULL && good_depth == 8) ((uint8_t*)raw)[(size_t)y * info->width + x] = (uint8_t)value;
            if (raw != NULL && good_depth > 8) {
                const uint16_t sample = (uint16_t)value;
                memcpy((uint8_t*)raw + ((size_t)y * info->width + x) * 2, &sample, 2);
            }
            if (deep != NULL) {
                const uint16_t sample[3] = {(uint16_t)value, (uint16_t)value, (uint16_t)value};
                memcpy((uint8_t*)deep + (size_t)y * padded(info->width, 48) + x * 6u, sample, 6);
            }
        }
}

static void deliver_display(Camera* camera, const Callbacks* to, uint32_t sequence) {
    const Script* const script = &camera->script;
    const uint32_t still = script->still_frames != 0 && sequence % 2 == 1;
    vex_frame_info info = info_of(camera, sequence);
    void* display = NULL;
    void* raw = NULL;
    void* deep = NULL;
    if (to->buffer != NULL)
        to->buffer(still, &display, script->ask_all != 0 ? &raw : NULL, script->ask_all != 0 ? &deep : NULL,
                   to->context);
    void* const own = display == NULL && sane(&info) ? malloc((size_t)padded(info.width, 24) * info.height) : NULL;
    fill(camera, &info, display != NULL ? display : own, raw, deep);
    if (script->info_width != 0) info.width = (uint32_t)script->info_width;
    if (script->info_height != 0) info.height = (uint32_t)script->info_height;
    // Wild sizes come with room that the engine gave, never with the camera's own small memory.
    const void* frame = display != NULL ? display : script->info_width != 0 || script->info_height != 0 ? NULL : own;
    if (script->frame_one != 0) frame = (const void*)(uintptr_t)1;
    if (frame != NULL)
        to->frame(frame, script->null_info != 0 ? NULL : &info, still, raw, deep, script->depth > 8,
                  (uint32_t)script->raw_fourcc, 0x1122334455667788u, to->context);
    atomic_fetch_add(&camera->sent, 1);
    free(own);
}

static void change_size(Camera* camera, const Callbacks* to, uint32_t sequence) {
    static const int sizes[][2] = {{64, 48},       {128, 96}, {2, 2},  {1, 1},
                                   {320, 3},       {0, 0},    {-5, 7}, {INT32_MAX, INT32_MAX},
                                   {65536, 65536}, {40000, 1}};
    const uint32_t choices = camera->script.size_events == 2 ? 10 : 5;
    atomic_store(&camera->width, sizes[sequence % choices][0]);
    atomic_store(&camera->height, sizes[sequence % choices][1]);
    if (to->event != NULL) to->event(VEX_CAMERA_EVENT_SIZE, to->event_context);
}

// True when the device is lost now.
static bool lose(Camera* camera, const Callbacks* to, uint32_t sequence) {
    if (camera->script.lost_after < 0 || (int64_t)sequence < camera->script.lost_after) return false;
    if (atomic_exchange(&camera->lost, true)) return true;
    to->frame(NULL, NULL, 0, NULL, NULL, 0, 0, 0, to->context);
    if (to->event != NULL) to->event(VEX_CAMERA_EVENT_STATE, to->event_context);
    return true;
}

// Display frames are thinned to the frame-rate option while no trigger holds, by the share of sensor frames.
static bool wanted(Camera* camera, uint32_t sequence) {
    const uint32_t limit = atomic_load(&camera->option[VEX_OPTION_FRAME_RATE]);
    if (limit == 0 || atomic_load(&camera->triggered) || camera->script.interval_us <= 0) return true;
    const int64_t step = 1000000 / ((int64_t)limit * camera->script.interval_us);
    return step <= 1 || sequence % step == 0;
}

static void deliver(Camera* camera, const Callbacks* to) {
    const uint32_t sequence = atomic_fetch_add(&camera->sequence, 1);
    if (lose(camera, to, sequence)) return;
    if (camera->script.size_events != 0) change_size(camera, to, sequence);
    for (uint32_t i = 0; i < (uint32_t)camera->script.event_storm && to->event != NULL; ++i) {
        const uint32_t known = i % 2 == 0 ? VEX_CAMERA_EVENT_STATE : VEX_CAMERA_EVENT_SIZE;
        to->event(i % 4 < 2 ? known : i * 0x10001u, to->event_context);
    }
    pthread_mutex_lock(&camera->raw_lock);
    if (camera->raw_callback != NULL) deliver_raw(camera, camera->raw_callback, camera->raw_context, sequence);
    pthread_mutex_unlock(&camera->raw_lock);
    if (wanted(camera, sequence)) deliver_display(camera, to, sequence);
}

void stream_deliver(Camera* camera, const Callbacks* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) deliver(camera, to);
}

static void* produce(void* argument) {
    Camera* const camera = argument;
    const Callbacks to = camera->callbacks;
    while (!atomic_load(&camera->stopping)) {
        if (!atomic_load(&camera->paused) && !atomic_load(&camera->lost)) deliver(camera, &to);
        if (camera->script.interval_us > 0) usleep((useconds_t)camera->script.interval_us);
    }
    return NULL;
}

static void* run_away(void* argument) {
    Camera* const camera = argument;
    const Callbacks to = camera->callbacks;
    for (int64_t i = 0; i < camera->script.after_stop; ++i) {
        deliver(camera, &to);
        usleep(500);
    }
    camera_drop(camera);
    atomic_fetch_sub(&runaways, 1);
    return NULL;
}

bool stream_start(Camera* camera) {
    atomic_store(&camera->stopping, false);
    const int64_t count = camera->script.threads < HOSTILE_MOST_THREADS ? camera->script.threads : HOSTILE_MOST_THREADS;
    for (camera->thread_count = 0; camera->thread_count < count; ++camera->thread_count)
        if (pthread_create(&camera->threads[camera->thread_count], NULL, produce, camera) != 0) break;
    return camera->thread_count > 0 || count == 0;
}

void stream_stop(Camera* camera) {
    atomic_store(&camera->stopping, true);
    for (int i = 0; i < camera->thread_count; ++i) pthread_join(camera->threads[i], NULL);
    camera->thread_count = 0;
    if (camera->script.after_stop <= 0) return;
    pthread_t thread;
    camera_hold(camera);
    atomic_fetch_add(&runaways, 1);
    if (pthread_create(&thread, NULL, run_away, camera) == 0) {
        pthread_detach(thread);
    } else {
        atomic_fetch_sub(&runaways, 1);
        camera_drop(camera);
    }
}

void hostile_settle(void) {
    while (atomic_load(&runaways) > 0) usleep(1000);
}
