// What a capture context and its road share.
#pragma once

#include <vexcap/window.h>

#include <atomic>
#include <memory>
#include <string>

#include "engine/media_graph.h"
#include "engine/state/engine_state.h"
#include "frame/frame_render.h"
#include "overlay/marker.h"
#include "recording/recording.h"

namespace vexcap {

/// Play states of a context.
enum : uint32_t { playNeverStarted = 0, playRunning = 1, playPaused = 2, playStopped = 3 };

/// Posts to a host's window; without one the message is dropped.
inline void postMessage(vex_window* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (window) window->post(window, message, wparam, lparam);
}

/// A dark frame between two sinks.
struct SavedDark {
    std::unique_ptr<uint8_t[]> pixels;
    int32_t width = 0;
    int32_t height = 0;
    bool on = false;
};

/// The picture that a host was given last.
struct LastGrab {
    bool any = false;
    bool still = false;
    FrameStamp stamp;
};

/// Written by the host's thread; what frame threads read or write too is atomic.
struct ContextState {
    explicit ContextState(EngineState& engineState)
        : engine(engineState), graph(*engineState.platform), recording(*engineState.platform, playState) {}

    EngineState& engine;

    // The source, as vexcap_device told it.
    uint32_t kind = 0;
    bool networkSource = false;  ///< Frames come from the network camera library.
    bool cameraSource = false;   ///< Frames come from the camera library.
    bool fileSource = false;     ///< A media file is played.
    std::u16string deviceName;
    std::u16string displayName;
    std::atomic<uint32_t> streamLost = 0;  ///< The source delivered an empty frame.

    // The host's windows and its drawing surface.
    vex_window* ownerWindow = nullptr;    ///< Owner of boxes and timers.
    vex_window* previewWindow = nullptr;  ///< Target of messages.
    void* d3dDevice = nullptr;
    void* d3dContext = nullptr;
    void* renderTarget = nullptr;

    // Arguments of vexcap_start.
    vex_window* stillWindow = nullptr;
    uint32_t stillMessage = 0;
    uint32_t stillWanted = 0;
    uint32_t stillFollowsPreview = 0;
    uint32_t retryStart = 0;
    uint32_t startTick = 0;

    uint32_t timeLapse = 1;  ///< The host's wish for the recordings to come: one frame in this many is kept.

    // The preview.
    static constexpr uint8_t bytesPerPixel = 3;
    std::unique_ptr<CFrameRender> previewSink;
    std::unique_ptr<CFrameRender> stillSink;
    std::atomic<uint32_t> width = 0;  ///< The source's size as told to the host, not that of a binned or cut frame.
    std::atomic<uint32_t> height = 0;
    std::atomic<uint32_t> stillWidth = 0;
    std::atomic<uint32_t> stillHeight = 0;
    uint32_t bitDepth = 0;                  ///< Most bits of a sample that the source has.
    std::atomic<uint32_t> captureKind = 0;  ///< Pictures wanted beside the display: 0 none, 1 raw, 2 48-bit.
    uint32_t rateOption = 0;                ///< Display frame rate last given to the camera.
    bool previewBuilt = false;              ///< The preview path is connected.
    bool previewing = false;                ///< The preview runs.
    bool captureBuilt = false;              ///< A recording on a capture graph is connected.
    std::atomic<uint32_t> playState = playNeverStarted;

    // Playback of a file, 100-nanosecond units.
    int64_t duration = 0;
    uint32_t seekCaps = 0;

    PictureSteps steps;  ///< Of a video input device; passed to each sink that is made.
    LastGrab lastGrab;
    SavedDark savedDark;  ///< Over a rebuild of the graph.

    Failure failure;  ///< Of the last start.

    /// Keeps why a start fails, and returns what it answers.
    Status Fail(HRESULT answer, HRESULT cause, std::u16string sentence) {
        failure.Keep(engine.platform->log, cause, std::move(sentence));
        return answer;
    }

    std::unique_ptr<CMarker> marker;  ///< Of preview, stills and frame-sink recordings; null for files.

    MediaGraph graph;
    Recording recording;

    /// The sink of the preview, whichever road made it; null without one.
    CFrameRender* PreviewSink() const { return previewSink ? previewSink.get() : graph.previewRender.get(); }
};

}  // namespace vexcap
