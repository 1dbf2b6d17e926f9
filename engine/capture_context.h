// The object behind every context export: one source of video, its preview and its recording.
#pragma once

#include <vexcap/vexcap.h>

#include <memory>

#include "engine/callback_gate.h"
#include "engine/context_overlay.h"
#include "engine/context_picture.h"
#include "engine/road.h"
#include "settings/recording_info.h"

namespace vexcap {

/// Made by vexcap_device, freed by vexcap_stop. Host's thread.
class CaptureContext {
public:
    /// Null for a record that cannot be opened here.
    static std::unique_ptr<CaptureContext> Create(EngineState& engine, vex_window* owner, vex_window* preview,
                                                  const vex_device* device, void* d3dDevice, void* d3dContext,
                                                  void* renderTarget);
    /// Plays a media file. Null for an empty path.
    static std::unique_ptr<CaptureContext> CreateForFile(EngineState& engine, vex_window* owner, vex_window* preview,
                                                         std::u16string_view path);
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
    /// Records to an AVI file through the compressor of this name, or uncompressed without a name.
    Status StartCaptureAvi(std::u16string_view path, std::u16string_view codec, int32_t seconds);
    void PutTimeLapse(uint32_t every) { state.timeLapse = every ? every : 1; }
    void StopCapture();

    bool HasSource() const { return road && road->HasSource(); }
    bool Previewing() const { return state.previewing; }
    bool UsesTexture() const;
    void VideoSize(int32_t* width, int32_t* height) const;
    Status FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total);
    int32_t Capabilities(std::vector<vex_capability>& out) { return road ? road->Capabilities(out) : 0; }
    int32_t StillCapabilities(std::vector<vex_capability>& out) { return road ? road->StillCapabilities(out) : 0; }
    void SetEsize(uint32_t size, bool still);
    Status PutFormat(uint32_t index);
    /// The sink of the preview; there is one between the start and the end of a preview.
    CFrameRender& Preview() const { return *state.PreviewSink(); }
    ContextOverlay Overlay() { return ContextOverlay(state); }
    ContextPicture Picture() { return ContextPicture(state, road.get()); }
    void StillSize(int32_t* width, int32_t* height) const;
    void* SourceHandle() { return road ? road->Handle() : nullptr; }
    const Recording& recording() const { return state.recording; }
    /// Counts of the running recording, or of the last one.
    bool RecordingCounts(vex_recording_counts& counts);

    // The picture of a video input device; the others have none of it.
    void PutFlip(uint32_t value, uint32_t mask);
    void PutChrome(uint32_t on);
    void PutNegative(uint32_t on);
    uint32_t Flip() const { return HasPictureSteps() ? state.steps.flip() : 0; }
    uint32_t Chrome() const { return HasPictureSteps() ? state.steps.chrome() : 0; }
    uint32_t Negative() const { return HasPictureSteps() ? state.steps.negative() : 0; }

    /// Null where the source has no dark field. The context keeps it.
    IDfc* FindDfc() const;
    void EnableDfc(uint32_t on);
    HRESULT CaptureDfc(uint32_t count);

    uint32_t PlayState() const { return state.playState; }
    void SetPlayState(uint32_t to);
    int64_t Duration() const { return state.duration; }
    uint32_t SeekCaps() const { return state.seekCaps; }
    void SetPosition(int64_t position) const;
    int64_t Position() const { return road ? road->Position() : -1; }

    /// Why the last start failed.
    const Failure& LastFailure() const { return state.failure; }
    void ForgetFailure() { state.failure = {}; }
    /// Keeps a cause, unless one is kept already. `sentence` says %s where the meaning of the code stands.
    void KeepFailure(std::u16string_view sentence, Status cause);

    bool astroMode() const { return state.engine.astroMode; }
    vex_window* ownerWindow() const { return state.ownerWindow; }

private:
    /// What the source told since the last look.
    struct SourceNews {
        bool failed = false;
        bool stopPreview = false;
        bool removed = false;
        HRESULT code = S_OK;
    };

    CaptureContext(EngineState& engine, uint32_t kind, std::u16string_view name, std::u16string_view display);
    void MakeMarker();
    Status StartPreview(vex_window* still, uint32_t stillMessage, uint32_t stillWanted, uint32_t stillFollowsPreview,
                        uint32_t retryStart);
    bool HasPictureSteps() const { return state.kind == VEX_KIND_VIDEO_INPUT; }

    HRESULT BuildPreview();
    Status Run();
    /// True when the preview was running and now is not.
    bool StopPreview();
    void Teardown();
    /// Builds and runs it; false leaves it stopped.
    bool RestartPreview();
    bool DrainEvents(SourceNews& news);
    void ReportLoss(const SourceNews& news);

    // The dark field over a rebuild, and on its way to the recording.
    void StashDark();
    void HandDarkBack();
    static void OnDarkField(void* context, uint32_t a, uint32_t b, const uint8_t* dark, uint32_t c, uint32_t d);

    /// What the record of a recording is made for, asked of the source.
    Result<WizardSource> RecordingSource(bool skipMediaFoundation, bool hostNamesFile);
    /// The route that the output, the compressor and the source ask for.
    Status Dispatch(const CWizardCaptureInfo& info);
    /// Takes path and limits over; a path that does not fit would name another file than the host meant.
    Status PrepareRecording(const CWizardCaptureInfo& info);
    Status StartFrameSink(const CWizardCaptureInfo& info);
    Status StartAvi();
    Status StartSer();
    /// Keeps why the file of the recording cannot be made: E_FAIL.
    Status FileFailed(Status cause);
    // Recording on a capture graph: capture_graph.cpp.
    Status StartCaptureGraph(const CWizardCaptureInfo& info);
    Status BuildCaptureGraph(const CWizardCaptureInfo& info);
    Status BuildCameraSource();
    void AddMarkerFilter(const CWizardCaptureInfo& info);
    void AddCompressor(const CWizardCaptureInfo& info);
    void ShowCapturePreview();
    Status RunCaptureGraph();
    Status RunDeviceCapture();
    Status RunCameraCapture();
    bool StopCaptureGraph();
    void CollectGraphCounts();
    void ApplyPictureSteps();

    void BeginLimits(CaptureMode mode);
    void StartLimitTimer();
    /// The stop sequence; false when nothing was recorded.
    bool EndRecording();
    void LogEndOfRecording();
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

Status startCaptureAvi(EngineState& engine, CaptureContext* context, std::u16string_view path,
                       std::u16string_view codec, int32_t seconds);

/// The compressor that a recording wants, where it names one that is there.
const Compressor* chosenCompressor(const CWizardCaptureInfo& info);

}  // namespace vexcap
