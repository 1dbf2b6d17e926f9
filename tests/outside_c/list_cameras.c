/* A program of somebody else: lists what can be opened, and records a few frames. */
#include <stdio.h>
#include <string.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

enum { eventMessage = 1, sizeMessage, limitMessage, darkMessage, frameMessage };

static void widen(vex_char* to, size_t room, const char* from) {
    size_t i = 0;
    for (; i + 1 < room && from[i] != 0; ++i) to[i] = (vex_char)from[i];
    to[i] = 0;
}

static int is(const vex_char* text, const char* ascii) {
    while (*ascii != 0 && *text == (vex_char)*ascii) ++text, ++ascii;
    return *ascii == 0 && *text == 0;
}

int main(int argc, char** argv) {
    static vex_char library[4096], file[260];
    static const vex_char product[] = {'O', 'u', 't', 's', 'i', 'd', 'e', 0};
    if (argc != 3) return 2;
    widen(library, 4096, argv[1]);
    widen(file, 260, argv[2]);
    vexcap_init(NULL, product, product, product, library, "Vexcam", product, eventMessage, sizeMessage, limitMessage,
                darkMessage, frameMessage, 0, 1, NULL, 0, 0, 0);
    vex_device* const devices = vexcap_enum_device(NULL);
    if (devices == NULL) return fprintf(stderr, "nothing can be opened\n"), 1;
    const vex_device* fast = NULL;
    for (const vex_device* one = devices; one->name != NULL; ++one)
        if (is(one->name, "$sim-fast")) fast = one;
    if (fast == NULL) return fprintf(stderr, "the fast camera is not listed\n"), 1;

    vex_window* const window = vex_window_queue_new();
    vexcap_context* const context = vexcap_device(window, window, fast, NULL, NULL, NULL);
    if (vexcap_start(context, NULL, 0, 0, 0, 0) < 0) return fprintf(stderr, "it does not start\n"), 1;
    if (vexcap_start_capture_astro(context, file, 0, 20) < 0) return fprintf(stderr, "it does not record\n"), 1;
    int ended = 0;
    for (int rounds = 0; rounds < 600 && !ended; ++rounds) {
        vex_message message;
        vex_window_queue_wait(window, 100);
        while (vex_window_queue_next(window, &message) == 1) ended |= message.message == limitMessage;
    }
    vexcap_stop(context);
    vexcap_free_dsvi(devices);
    vex_window_queue_free(window);
    vexcap_fini();
    return ended ? 0 : (fprintf(stderr, "the recording did not end\n"), 1);
}
