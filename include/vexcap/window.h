/// How the library speaks to its host: posted messages, and timers on the host's thread.
/// A host with a toolkit fills a vex_window over its own event loop. A host without one uses the queue window below.
#ifndef VEXCAP_WINDOW_H
#define VEXCAP_WINDOW_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

typedef struct vex_window vex_window;

/// A timer's call. `id` is the number that set_timer was given.
typedef void (*vex_timer_fire)(vex_window* window, uintptr_t id);

/// A window of the host. The host owns it; it outlives everything that was given it.
/// All four functions must be there.
struct vex_window {
    /// Puts a message into the host's queue. Any thread; never waits; in order per window.
    void (*post)(vex_window* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
    /// Asks for a repaint of the whole picture. Any thread; never waits.
    void (*invalidate)(vex_window* window);
    /// Calls `fire` on the host's thread every `milliseconds`, until killed. The same id again replaces the timer.
    /// Host's thread only.
    void (*set_timer)(vex_window* window, uintptr_t id, uint32_t milliseconds, vex_timer_fire fire);
    /// Ends a timer. Once it returned no call of this timer comes any more. An unknown id is nothing.
    /// Host's thread only; also from inside `fire`.
    void (*kill_timer)(vex_window* window, uintptr_t id);
    /// The host's own.
    void* user;
};

/// A message taken from a queue window.
typedef struct vex_message {
    uint32_t message;   ///< The number that the host chose, or VEX_MESSAGE_INVALIDATE.
    uint32_t reserved;  ///< 0.
    uintptr_t wparam;
    intptr_t lparam;
} vex_message;

enum {
    VEX_MESSAGE_INVALIDATE = 0  ///< Comes once for any number of invalidate calls since it was last taken.
};

/// Makes a ready window for hosts without a toolkit: a queue with a file descriptor, timers included.
/// The caller owns it and frees it with vex_window_queue_free on the thread that used it. Null when out of
/// descriptors or memory.
VEXCAP_API vex_window* vex_window_queue_new(void);

/// Frees a queue window; its messages and timers go with it. Null is allowed.
VEXCAP_API void vex_window_queue_free(vex_window* window);

/// The descriptor that is readable while a message waits or a timer is due: for poll, epoll or a toolkit's loop.
/// It stays the window's. -1 for null.
VEXCAP_API int vex_window_queue_fd(vex_window* window);

/// Runs the timers that are due, then takes the oldest message. Never waits. 1 with a message, 0 without one.
/// Host's thread.
/// The queue holds 8192 messages. A message equal to the newest one waiting is merged with it while the queue is
/// more than half full; at the end of its room it drops what comes.
VEXCAP_API int32_t vex_window_queue_next(vex_window* window, vex_message* out);

/// Waits until a message or a timer is due, at most `milliseconds` (-1: without limit). 1 when there is something
/// to take, 0 when the time is over, -1 for null or when a signal came. Host's thread.
VEXCAP_API int32_t vex_window_queue_wait(vex_window* window, int32_t milliseconds);

VEXCAP_EXTERN_C_END
#endif
