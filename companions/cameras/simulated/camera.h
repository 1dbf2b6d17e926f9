// A simulated camera behind the tables of the camera library's contract.
#pragma once

#include <vexcap/camera_library.h>

#include "base/mutex.h"
#include "companions/cameras/camera_object.h"
#include "companions/cameras/simulated/options.h"
#include "companions/cameras/simulated/settings.h"
#include "companions/cameras/simulated/stream.h"

namespace vexcap::cameras {

class SimulatedCamera final : public CameraObject {
public:
    /// A camera with one reference; VEX_E_BUSY or E_FAIL when the options refuse it.
    static Result<ICamera*> Open(const SimulatedOptions& options);

    int32_t GetResolutionCount() override;
    HRESULT GetResolution(uint32_t index, int32_t* width, int32_t* height) override;
    HRESULT GetTempTint(int32_t* temperature, int32_t* tint) override;
    uint32_t GetBitDepth() override;
    HRESULT GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) override;
    HRESULT StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                      vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                      void* eventContext, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                      uint32_t one) override;
    HRESULT Stop() override;
    void Close() override;
    HRESULT Snap(uint32_t index, uint32_t count, void* value) override;
    HRESULT Pause(uint32_t pause) override;

    HRESULT GetState(uint32_t* state) override;
    HRESULT GetLostFrames(uint32_t* lost) override;
    HRESULT GetMaxFrameRate(uint32_t index, uint32_t* rate) override;

    HRESULT GetStillSize(uint32_t* width, uint32_t* height) override;
    HRESULT SetStillIndex(uint32_t index) override;
    int32_t GetStillCount() override;
    HRESULT GetStillResolution(uint32_t index, int32_t* width, int32_t* height) override;

    HRESULT SetPreviewIndex(uint32_t index) override;

    HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) override;

    HRESULT GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) override;
    HRESULT Get(uint32_t control, int32_t* value) override;
    HRESULT Put(uint32_t control, int32_t value) override;
    HRESULT PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override;

    HRESULT GetControlStep(uint32_t control, int32_t* step) override;
    HRESULT GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) override;

private:
    explicit SimulatedCamera(const SimulatedOptions& asked);

    bool HasStills() const override { return options.model->stillCount > 0; }
    uint32_t ResolutionIndex() const override { return Settings().resolution; }
    int32_t Binning() const override { return Settings().binning; }
    Status PutBinning(int32_t value) override;
    int32_t Rotation() const override { return Settings().rotation; }
    Status PutRotation(int32_t degrees) override;

    SimulatedSettings Settings() const VEX_EXCLUDES(lock);
    template <typename Setter>
    HRESULT Change(Setter setter) VEX_EXCLUDES(lock);

    const SimulatedOptions options;
    SimulatedStream stream;

    // Getters may also be called by a host that reacts to an event at once, on the stream's own thread.
    mutable Mutex lock;
    SimulatedSettings settings VEX_GUARDED_BY(lock);
};

}  // namespace vexcap::cameras
