// The live source over a video input device.
#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "graph/source.h"
#include "platform/video_devices.h"
#include "source/video_layout.h"

namespace vexcap {

/// Pins "Capture" and "Still", told by IKsPropertySet. The device streams from pause to stop, and frames are handed on
/// while the filter runs; a paused one gives VFW_S_CANT_CUE.
///
/// A frame is copied once: out of the device's memory into a sample of the pool that the connection agreed on, without
/// the device's row padding (see VideoPicture). The device has its memory back before the frame is handed on, so it
/// never writes into a sample, whoever holds it. A frame is lost when downstream has every sample in hand, or holds a
/// delivery up until the device's own buffers are full. The times are those at which the device took the frame. One
/// thread, the capture pin's, asks the device and delivers to both pins, and takes nothing from the heap for it.
///
/// "Capture": IAMStreamConfig over the formats of the device, whose smallest interval is their interval. SetFormat
/// works while the pin is unconnected or the filter is stopped; what is connected has to be connected anew, else the
/// filter refuses to pause with VFW_E_TYPE_NOT_ACCEPTED. IAMStreamControl. IAMDroppedFrames: frames that the device
/// lost, that were damaged, too short or too long, or for which downstream left no sample free.
///
/// "Still": the next frame after SetMode(pin, trigger), in the format of the capture pin, as long as that one is
/// connected. Nothing else flows there.
///
/// Events. A device that is gone: EC_ERRORABORT with VEX_E_DEVICE_LOST if it ran, then EC_DEVICE_LOST, once in a graph
/// and within a second in any state, since a thread of its own looks after the device while the filter is in a graph.
/// No frame for two seconds or ten intervals, whichever is longer, while it runs: EC_ERRORABORT with VEX_E_TIMEOUT; the
/// first frame has five seconds at least, and a wait that began in a pause is not counted. Another failure of the
/// stream: EC_ERRORABORT with its code. After any of them nothing flows until the filter was stopped.
class CVideoCaptureFilter final : public CSource, public IAMFilterMiscFlags, public IAMVideoControl {
public:
    /// Sets the format that the device stands at, or its first one when that layout is not known, with the shortest
    /// interval. Host's thread. E_FAIL for a device without a format that is known, or the device's code.
    static Result<Ref<CVideoCaptureFilter>> create(std::unique_ptr<IVideoDevice> device);

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CSource::QueryInterface(id, out); }
    uint32_t AddRef() override { return CSource::AddRef(); }
    uint32_t Release() override { return CSource::Release(); }

    size_t GetPinCount() override { return 2; }
    CBasePin* GetPin(size_t index) override;
    HRESULT Run(int64_t start) override;
    HRESULT GetState(uint32_t milliseconds, FilterState* out) override;
    HRESULT JoinFilterGraph(IGraphEvents* events, std::u16string_view nameInGraph) override;
    uint32_t GetMiscFlags() override { return isSource; }
    /// Asks for a still: the still pin and `trigger`. E_INVALIDARG for anything else; VFW_E_NOT_CONNECTED;
    /// VFW_E_WRONG_STATE while the filter does not run. A still that was asked for and has not come yet is the one.
    HRESULT SetMode(CBasePin* pin, uint32_t mode) override;

private:
    class CapturePin;
    class StillPin;

    explicit CVideoCaptureFilter(std::unique_ptr<IVideoDevice> opened);
    ~CVideoCaptureFilter() override;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    Status SetFormat(const VideoFormat& format, int64_t interval);
    MediaType Type() const { return videoType(picture, mode.interval, mode.frameBytes); }
    // What both pins answer of the device's present format.
    HRESULT PresentType(int32_t position, MediaType* out) const;
    HRESULT CheckPresent(const MediaType* candidate) const;
    HRESULT GetCaps(const VideoFormat& format, MediaType* type, VideoStreamConfigCaps* caps) const;
    HRESULT SetPool(CBaseAllocator& pool, AllocatorProperties wanted, uint32_t fewest) const;
    /// Copies a frame whose length was checked. False when the sample is too small.
    bool CopyFrame(const VideoFrame& frame, CMediaSample& sample) const;
    bool IsWhole(const VideoFrame& frame) const;
    void TellLost();
    void Watch();
    bool WatchEnded() VEX_EXCLUDES(watchLock);
    void EndWatch() VEX_EXCLUDES(watchLock);

    const std::unique_ptr<IVideoDevice> device;
    std::vector<VideoFormat> formats;  // of known layouts
    // What the device is set to. Written by the host's thread while nothing streams.
    VideoMode mode;
    VideoPicture picture;
    size_t deviceStride = 0;  // bytes from row to row in its memory; 0 for compressed pictures
    std::unique_ptr<CapturePin> capture;
    std::unique_ptr<StillPin> still;
    // Steady clock at stream time 0 and at the beginning of the run; set before the state is running.
    std::atomic<int64_t> runStart{0};
    std::atomic<int64_t> runBegan{0};
    std::atomic<bool> lossTold{false};

    Mutex watchLock;  // nests in nothing
    Condition watchChanged;
    bool watchEnds VEX_GUARDED_BY(watchLock) = false;
    std::thread watcher;
};

}  // namespace vexcap
