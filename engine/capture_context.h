// The object behind every context export: one source of video, its preview and its recording.
#pragma once

#include <vexcap/vexcap.h>

#include <memory>

#include "engine/callback_gate.h"
#include "engine/road.h"
#include "wizard/wizard_info.h"

namespace vexcap {

/// Made by vexcap_device, freed by vexcap_stop. Host's thread.
class CaptureContext {
public:
    /// Null for a record that cannot be opened here.
    static std::unique_ptr<CaptureContext> Create(EngineState& engine, vex_window* owner, vex_window* preview,
                                                  const vex_device* device, void* d3dDevice, void* d3dContext,
                                                  void* renderTarget);
    /// Ends source, recording and preview, in this order.
    ~CaptureContext();
    CaptureContext(const CaptureContext&) = delete;
    CaptureContext& operator=(const CaptureContext&) = delete;

    Status Start(vex_window* still, uint32_t stillMessage, uint32_t stillWanted, uint32_t stillFollowsPreview,
                 uint32_t retryStart);
    /// Reads what the source told, and acts on it.
    void Notify();

    /// Records as the remembered settings say. `promptFlag` may be null.
    Status StartCaptureMicro(bool skipMediaFoundation, bool quick, uint8_t* promptFlag);
    /// Records to an AVI or SER file by the path's extension; limits of 0 or less are none.
    Status StartCaptureAstro(std::u16string_view path, int32_t seconds, int32_t frames);
    void PutTimeLapse(uint32_t every) { state.timeLapse = every ? every : 1; }
    void StopCapture();

    bool HasSource() const { return road && road->HasSource(); }
    bool Previewing() const { return state.previewing; }
    bool UsesTexture() const;
    void VideoSize(int32_t* width, int32_t* height) const;
    Status FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total);
    int32_t Capabilities(std::vector<vex_capability>& out) { return road ? road->Capabilities(out) : 0; }
    int32_t StillCapabilities(std::vector<vex_capability>& out) { return road ? road->StillCapabilities(out) : 0; }
    void* SourceHandle() { return road ? road->Handle() : nullptr; }
    const Recording& recording() const { return state.recording; }
    bool astroMode() const { return state.engine.astroMode; }
    vex_window* ownerWindow() const { return state.ownerWindow; }

private:
    CaptureContext(EngineState& engine, const vex_device& device);

    HRESULT BuildPreview();
    Status Run();
    /// True when the preview was running and now is not.
    bool StopPreview();
    void Teardown();

    /// What the record of a recording is made for, asked of the source.
    Result<WizardSource> RecordingSource(bool skipMediaFoundation);
    Status StartFrameSink(const CWizardCaptureInfo& info);
    Status StartAvi();
    Status StartSer();
    void BeginLimits(CaptureMode mode);
    /// The stop sequence; false when nothing was recorded.
    bool EndRecording();
    void KillLimitTimer();
    static void OnLimitTimer(vex_window* window, uintptr_t id);
    void CheckLimits();

    ContextState state;
    std::unique_ptr<Road> road;  ///< Null where this device has no road here.
    CallbackGate rawGate;        ///< Open while the camera hands raw frames to the recording.
    bool limitTimer = false;
    bool checkingLimits = false;
};

/// Start a recording and tell the user of a failure.
Status startCaptureMicro(EngineState& engine, CaptureContext& context, bool skipMediaFoundation, bool quick,
                         uint8_t* promptFlag);
/// Null for the context is a failure, too.
Status startCaptureAstro(EngineState& engine, CaptureContext* context, std::u16string_view path, int32_t seconds,
                         int32_t frames);

}  // namespace vexcap
