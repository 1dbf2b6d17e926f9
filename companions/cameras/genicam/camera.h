// A GenICam camera behind the interfaces of the camera library.
#pragma once

#include <vexcap/camera_library.h>

#include <atomic>
#include <chrono>
#include <memory>

#include "base/mutex.h"
#include "companions/cameras/camera_object.h"
#include "companions/cameras/genicam/device.h"
#include "companions/cameras/genicam/stream.h"

namespace vexcap::cameras {

/// Life and threads as the contract tells. A camera that is gone answers E_FAIL, a closed one E_UNEXPECTED.
class GenicamCamera final : public CameraObject {
public:
    /// Takes over a camera that was just opened. VEX_E_BUSY when another program controls it, E_NOTIMPL when it is of
    /// no use here; it is closed then. The caller owns the first reference. The state is VEX_CAMERA_STATE_NO_FRAMES
    /// when a freely running camera gives none for `patience`, beyond what its exposure and its rate explain.
    static Result<ICamera*> create(GObjectPtr<ArvCamera> opened,
                                   std::chrono::milliseconds patience = std::chrono::milliseconds(3000));

    int32_t GetResolutionCount() override;
    HRESULT GetResolution(uint32_t index, int32_t* width, int32_t* height) override;
    uint32_t GetBitDepth() override;
    HRESULT GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) override;
    HRESULT StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                      vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                      void* eventContext, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                      uint32_t one) override;
    HRESULT Stop() override;
    void Close() override;
    HRESULT Pause(uint32_t pause) override;

    HRESULT GetState(uint32_t* state) override;
    HRESULT GetLostFrames(uint32_t* lost) override;
    HRESULT GetMaxFrameRate(uint32_t index, uint32_t* rate) override;

    HRESULT SetPreviewIndex(uint32_t index) override;

    HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) override;

    HRESULT GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) override;
    HRESULT Get(uint32_t control, int32_t* value) override;
    HRESULT Put(uint32_t control, int32_t value) override;
    HRESULT PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override;

    HRESULT GetControlStep(uint32_t control, int32_t* step) override;
    HRESULT GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) override;

private:
    GenicamCamera(std::unique_ptr<GenicamDevice> opened, std::chrono::milliseconds patience);
    ~GenicamCamera() override;

    uint32_t ResolutionIndex() const override { return resolution; }
    int32_t Binning() const override;
    Status PutBinning(int32_t value) override;
    bool Closed() const override { return !device; }
    bool Gone() const override;

    Status PutReadout(const Readout& wanted) VEX_EXCLUDES(deviceLock);
    Status PutDepth(int32_t depth) VEX_EXCLUDES(deviceLock);
    Status PutTriggerMode(int32_t mode) VEX_EXCLUDES(deviceLock);
    // Holds a running stream while `change` is made, since cameras refuse it during acquisition.
    template <typename Change>
    Status BetweenFrames(Change change);

    std::atomic<uint32_t> resolution{0};  // index; the event callback asks for its size
    const std::vector<Resolution> resolutions;
    const uint32_t largestDepth;
    bool streaming = false;  // host's thread

    Mutex deviceLock;                       // the stream's thread fires triggers
    std::unique_ptr<GenicamDevice> device;  // null once closed
    std::unique_ptr<GenicamStream> stream;  // null once closed
};

}  // namespace vexcap::cameras
