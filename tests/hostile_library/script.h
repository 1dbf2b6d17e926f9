/// What the scripted camera answers. A script is a text of "key=value" pairs with ';' between them; a key that is not
/// named keeps its default, with which the camera keeps the whole contract of <vexcap/camera_library.h>.
#ifndef VEXCAP_TESTS_HOSTILE_SCRIPT_H
#define VEXCAP_TESTS_HOSTILE_SCRIPT_H

#include <stdint.h>

/// X(field, default)
#define HOSTILE_KEYS(X)                                                                                    \
    /* The list, and opening. */                                                                           \
    X(count, 1)        /* what EnumV2 answers, whatever it filled */                                       \
    X(unterminated, 0) /* 1: the strings of the list have no terminator */                                 \
    X(open, 1)         /* 0: Open answers null */                                                          \
    X(init_ocl, 1)     /* what InitOcl answers */                                                          \
    /* Sizes and formats. */                                                                               \
    X(width, 64)                                                                                           \
    X(height, 48)                                                                                          \
    X(size_result, 0) /* what GetSize answers */                                                           \
    X(resolutions, 1) /* what GetResolutionCount answers */                                                \
    X(resolution_result, 0)                                                                                \
    X(depth, 8) /* what GetBitDepth answers */                                                             \
    X(roi_result, 0)                                                                                       \
    X(roi_width, 0) /* 0: the width */                                                                     \
    X(roi_height, 0)                                                                                       \
    X(binning, 1)       /* what GetOption(23) answers */                                                   \
    X(rotation, 0)      /* what GetOption(24) answers */                                                   \
    X(option_result, 0) /* what PutOption and GetOption answer for numbers they know */                    \
    X(exposure, 1000)                                                                                      \
    X(rate_frames, 10) /* what GetFrameRate answers */                                                     \
    X(rate_milliseconds, 10)                                                                               \
    X(query, 0)      /* 1: QueryInterface answers S_OK and null, 2: E_FAIL and the out untouched */        \
    X(references, 0) /* 1: AddRef and Release answer nonsense */                                           \
    /* The stream. */                                                                                      \
    X(start_result, 0) /* what StartPull answers; negative: no stream */                                   \
    X(stop_result, 0)                                                                                      \
    X(pause_result, 0)                                                                                     \
    X(texture, 0)        /* what TextureAccepted answers */                                                \
    X(interval_us, 1000) /* between two sensor frames */                                                   \
    X(info_width, 0)     /* what the info record tells instead of the true size, 0: the true one */        \
    X(info_height, 0)                                                                                      \
    X(ask_all, 0)      /* 1: asks for and fills raw and deep too */                                        \
    X(frame_one, 0)    /* 1: delivers the value 1 as display frame */                                      \
    X(null_info, 0)    /* 1: delivers frames without info */                                               \
    X(still_frames, 0) /* 1: every second display frame says that it is a still */                         \
    X(lost_after, -1)  /* sensor frames until the device is lost */                                        \
    X(after_stop, 0)   /* sensor frames that come after Stop or Close returned */                          \
    X(threads, 1)      /* threads that deliver at once */                                                  \
    X(sync_start, 0)   /* frames delivered from inside StartPull */                                        \
    X(sync_stop, 0)    /* frames delivered from inside Stop and Close */                                   \
    X(sync_raw, 0)     /* raw frames delivered from inside SetRawCallback */                               \
    X(event_storm, 0)  /* events of all numbers with each sensor frame */                                  \
    X(size_events, 0)  /* 1: another size with each sensor frame, and its event; 2: nonsense among them */ \
    /* The still interface. */                                                                             \
    X(still_count, 0) /* 0: no still interface */                                                          \
    X(still_width, 64)                                                                                     \
    X(still_height, 48)                                                                                    \
    X(still_result, 0)                                                                                     \
    /* The raw interface. */                                                                               \
    X(raw, 1)        /* 0: no raw interface */                                                             \
    X(raw_result, 0) /* what GetRawFormat answers */                                                       \
    X(raw_fourcc, 0)                                                                                       \
    X(raw_depth, 0)       /* what GetRawFormat answers, 0: the depth; -1: really 0 */                      \
    X(raw_frame_depth, 0) /* what raw frames have and say, 0: the depth */                                 \
    X(raw_width, 0)       /* what raw frames have and say, 0: the width; their memory fits exactly */      \
    X(raw_height, 0)                                                                                       \
    X(raw_null, 0)        /* 1: raw frames without memory, 2: without info */                              \
    X(callback_result, 0) /* what SetRawCallback answers; negative: it registers nothing */                \
    /* The status interface. */                                                                            \
    X(status, 1) /* 0: no status interface */                                                              \
    X(state, 0)  /* state of the status interface while the device is not lost */                          \
    X(status_result, 0)

#define HOSTILE_FIELD(name, value) int64_t name;
typedef struct Script {
    HOSTILE_KEYS(HOSTILE_FIELD)
} Script;

/// The script for the cameras opened from now on.
Script current_script(void);

#endif
