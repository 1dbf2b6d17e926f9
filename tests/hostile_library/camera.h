/// One scripted camera in the C form of the contract.
#ifndef VEXCAP_TESTS_HOSTILE_CAMERA_H
#define VEXCAP_TESTS_HOSTILE_CAMERA_H

#include <pthread.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <vexcap/camera_library.h>

#include "tests/hostile_library/script.h"

#define HOSTILE_MOST_THREADS 8

/// The callbacks of a stream. They live in the threads that use them, so that a thread that goes on has its own.
typedef struct Callbacks {
    vex_camera_frame_callback frame;
    vex_camera_buffer_callback buffer;
    vex_camera_event_callback event;
    void* context;
    void* event_context;
} Callbacks;

typedef struct Camera {
    ICamera camera;
    ICameraStatus status;
    ICameraStill still;
    ICameraRaw raw;
    Script script;  // constant after Open
    atomic_uint references;

    atomic_int width, height;  // change with size events
    atomic_uint option[25];    // values of the options, by number
    atomic_bool lost;
    atomic_bool paused;
    atomic_bool triggered;
    atomic_bool stopping;
    atomic_uint sequence;  // next sensor frame
    atomic_uint sent;      // display frames of this stream

    bool streaming;
    Callbacks callbacks;
    int thread_count;
    pthread_t threads[HOSTILE_MOST_THREADS];

    pthread_mutex_t raw_lock;  // held while the raw callback runs
    vex_camera_raw_callback raw_callback;
    void* raw_context;
} Camera;

/// A new camera with one reference, null without memory.
Camera* camera_new(const Script* script);
void camera_hold(Camera* camera);
/// The count that is left.
unsigned camera_drop(Camera* camera);

/// Starts the threads of the stream. False when none could be made.
bool stream_start(Camera* camera);
/// Ends them. With frames to come afterwards, a thread of its own delivers those.
void stream_stop(Camera* camera);
/// Delivers this many sensor frames on the calling thread.
void stream_deliver(Camera* camera, const Callbacks* to, int64_t count);
/// Delivers this many raw frames on the calling thread.
void stream_deliver_raw(Camera* camera, vex_camera_raw_callback callback, void* context, int64_t count);

#endif
