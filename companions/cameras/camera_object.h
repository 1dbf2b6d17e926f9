// What every camera of this library has in common.
#pragma once

#include <vexcap/camera_library.h>

#include <atomic>

#include "base/status.h"
#include "companions/cameras/frame_delivery.h"

namespace vexcap::cameras {

/// A camera as an object of the contract: one reference at first, one identity under every table, freed by its last
/// Release. It answers what needs no device; a kind of camera adds its device.
class CameraObject : public ICamera,
                     public ICameraStatus,
                     public ICameraStill,
                     public ICameraPreviewSize,
                     public ICameraRaw,
                     public ICameraControls,
                     public ICameraSteps {
public:
    CameraObject(const CameraObject&) = delete;
    CameraObject& operator=(const CameraObject&) = delete;

    HRESULT QueryInterface(const vex_guid& iid, void** out) final;
    uint32_t AddRef() final;
    uint32_t Release() final;

    HRESULT GetSize(int32_t* width, int32_t* height) final;
    HRESULT GetEsize(uint32_t* index) final;
    HRESULT GetWhiteBalanceGains(int32_t gains[3]) final;
    HRESULT GetExposureTime(uint32_t* microseconds) final;
    HRESULT GetTempTint(int32_t* temperature, int32_t* tint) override;
    HRESULT GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) final;
    HRESULT PutOption(uint32_t number, int32_t value) final;
    HRESULT GetOption(uint32_t number, int32_t* value) final;
    HRESULT Snap(uint32_t index, uint32_t count, void* value) override;
    HRESULT Trigger(uint32_t on) final;
    uint32_t TextureAccepted() final;
    HRESULT PipelineOcl(void* a, void* b, void* c) final;

    HRESULT GetStillSize(uint32_t* width, uint32_t* height) override;
    HRESULT SetStillIndex(uint32_t index) override;
    int32_t GetStillCount() override;
    HRESULT GetStillResolution(uint32_t index, int32_t* width, int32_t* height) override;

    HRESULT GetPreviewIndex(uint32_t* index) final;
    HRESULT GetPreviewSize(int32_t* width, int32_t* height) final;

    HRESULT SetRawCallback(vex_camera_raw_callback callback, void* context) final;

protected:
    CameraObject() = default;
    virtual ~CameraObject() = default;

    /// Whether the camera has the still interface. A camera that has overrides its operations, and Snap.
    virtual bool HasStills() const { return false; }
    /// Index of the present resolution.
    virtual uint32_t ResolutionIndex() const = 0;
    /// The binning option, 1 for none, and its setter.
    virtual int32_t Binning() const = 0;
    virtual Status PutBinning(int32_t value) = 0;
    /// Degrees clockwise. The setter of a camera that cannot turn its picture takes 0 alone.
    virtual int32_t Rotation() const { return 0; }
    virtual Status PutRotation(int32_t degrees) { return degrees == 0 ? S_OK : E_NOTIMPL; }
    /// True once Close was called, of a camera that has given its device back.
    virtual bool Closed() const { return false; }
    /// True when the device is gone.
    virtual bool Gone() const { return false; }
    /// E_UNEXPECTED for a closed camera, E_FAIL for one whose device is gone.
    Status Usable() const;

    FrameDelivery delivery;

private:
    std::atomic<uint32_t> references{1};
    std::atomic<int32_t> recording{1};  // the option; nothing here depends on it
};

}  // namespace vexcap::cameras
