/// Calls operations of an object through the C tables.
#ifndef VEXCAP_TESTS_SLOTS_H
#define VEXCAP_TESTS_SLOTS_H

#include <vexcap/camera_library.h>
#include <vexcap/drawing.h>

VEXCAP_EXTERN_C_BEGIN

/// What the operations are given, so that the other side can see that it arrived. Outs point to words of its own.
typedef struct SlotArguments {
    vex_guid iid;
    uint32_t a, b, c, d;
    int32_t value;
    void* first;
    void* second;
    void* third;
    vex_texture_target texture;
    int64_t* written;  ///< Where an operation without a result leaves the number of its slot.
} SlotArguments;

/// Calls every operation of the table in its order, with these arguments, and gives how many those were.
int call_camera(void* object, const SlotArguments* arguments);
int call_status(void* object, const SlotArguments* arguments);
int call_still(void* object, const SlotArguments* arguments);
int call_preview_size(void* object, const SlotArguments* arguments);
int call_raw(void* object, const SlotArguments* arguments);
int call_target(void* object, const SlotArguments* arguments);
int call_controls(void* object, const SlotArguments* arguments);
int call_steps(void* object, const SlotArguments* arguments);

/// The callbacks that StartPull and SetRawCallback are given. They are never called.
void slot_frame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw, const void* deep,
                uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* context);
void slot_buffer(uint32_t still, void** display, void** raw, void** deep, void* context);
void slot_event(uint32_t event, void* context);
void slot_raw(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context);

/// What each call gave back, in the order of the calls; 0 for an operation without a result.
extern int64_t slot_results[32];

VEXCAP_EXTERN_C_END

#endif
