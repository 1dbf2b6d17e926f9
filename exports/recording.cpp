// The exported functions for recordings.
#include "base/text.h"
#include "exports/exports.h"

using namespace vexcap;

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
