// The road to a camera of the camera library: frames come by callback into the sinks' buffers.
#pragma once

#include <vexcap/camera_library.h>

#include <memory>

#include "engine/callback_gate.h"
#include "engine/road.h"
#include "source/camera_facts.h"

namespace vexcap {

/// Display frames a second that suit a frame of so many pixels.
uint32_t baseFrameRate(uint64_t pixels, bool astroMode);

/// The value of the camera's frame-rate option: `percent` of the base, at most `cap` (0: no bound), at least 2.
uint32_t frameRateValue(uint32_t base, uint32_t percent, uint32_t cap);

class CameraRoad final : public Road {
public:
    using Road::Road;
    ~CameraRoad() override { CloseSource(); }

    Status OpenSource() override;
    bool HasSource() const override { return camera; }
    void CloseSource() override;
    Status CreatePreviewSink() override;
    Status ConnectPreviewSink() override;
    void BuildStillPath() override;
    Status Run() override;
    Status Halt() override;
    bool SourceRemoved() override;
    bool ChangeState(uint32_t from, uint32_t to) override;
    void SetSize(uint32_t size, bool still) override;
    Status FinalSize(uint32_t& width, uint32_t& height) override;
    uint32_t LargestFrameRate() override;
    Status FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) override;
    int32_t Capabilities(std::vector<vex_capability>& out) override;
    int32_t StillCapabilities(std::vector<vex_capability>& out) override;
    Status PutCapture(uint32_t kind) override;
    uint32_t StillCount() override;
    Status TakeStill(void* value) override;
    void* Handle() override { return camera; }
    Status StartRawFrames(void* token) override;
    Status RawFormat(uint32_t& fourcc, uint32_t& depth) override;
    void StopRawFrames() override;
    void TellRecordingState(bool recording) override;
    void RefreshSinkOptions() override;

private:
    // Callbacks of the camera library, on its threads.
    static void OnFrame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw,
                        const void* deep, uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* token);
    static void OnBuffers(uint32_t still, void** display, void** raw, void** deep, void* token);
    static void OnEvent(uint32_t event, void* token);
    static void OnRgbFrame(void* recording, const void* frame, uint32_t width, uint32_t height);
    static void OnRawFrame(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* token);

    void PutOption(uint32_t number, int32_t value);
    void BuildStillSink();
    void TakeNewSize();
    /// Posts the size message when frames begin to have another size than those before.
    void AnnounceSize(uint32_t width, uint32_t height);

    ICamera* camera = nullptr;  ///< From Open to Close.
    CallbackGate gate;          ///< Open while the stream runs.
    uint64_t frameSize = 0;     ///< Last one announced, packed. Frame thread; the host's while no stream runs.
};

}  // namespace vexcap
