// One opened GenICam camera: what it offers, and what it is set to between two streams.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "base/status.h"
#include "companions/cameras/genicam/arv.h"
#include "companions/cameras/genicam/controls.h"
#include "companions/cameras/genicam/format.h"
#include "companions/cameras/genicam/geometry.h"

namespace vexcap::cameras {

/// A resolution: the whole sensor, shrunk by binning. The sides are even and in the camera's steps.
struct Resolution {
    uint32_t factor = 1;
    uint32_t width = 0;
    uint32_t height = 0;
};

/// What part of the sensor is read out.
struct Readout {
    uint32_t resolution = 0;  ///< Index.
    uint32_t binning = 1;     ///< On top of the resolution's own.
    AxisSpan across;          ///< As asked, in pixels of the resolution; a size of 0 is the whole side.
    AxisSpan down;
};

/// Holds the camera and its control channel from creation to destruction. Not thread-safe but for Removed: whoever
/// owns the camera's lock calls it. Setters may be called only while nothing streams.
class GenicamDevice final {
public:
    /// Takes over a camera that was just opened: free running, whole sensor, deepest format. VEX_E_BUSY when another
    /// program controls it, E_NOTIMPL when it offers no format that can be passed on.
    static Result<std::unique_ptr<GenicamDevice>> create(GObjectPtr<ArvCamera> opened);
    /// Gives the control back. Takes some seconds when the camera does not answer any more.
    ~GenicamDevice();
    GenicamDevice(const GenicamDevice&) = delete;
    GenicamDevice& operator=(const GenicamDevice&) = delete;

    ArvCamera* Camera() const { return camera.get(); }
    GenicamControls& Controls() { return *controls; }
    /// True once the camera is gone or another program took it. Any thread.
    bool Removed() const { return removed; }
    /// Asks the camera for a register, so that one that is gone is noticed.
    void Probe();

    const std::vector<SensorFormat>& Formats() const { return formats; }
    const SensorFormat& Format() const { return format; }
    Status SetFormat(const SensorFormat& wanted);

    /// Largest first; the list never changes.
    const std::vector<Resolution>& Resolutions() const { return resolutions; }
    /// As it was asked for.
    const Readout& Present() const { return readout; }
    /// What the camera made of it, in its steps and in pixels of the frame.
    const AxisSpan& Across() const { return across; }
    const AxisSpan& Down() const { return down; }
    /// What it allows along the two sides with the present resolution and binning.
    const AxisLimits& AcrossLimits() const { return acrossLimits; }
    const AxisLimits& DownLimits() const { return downLimits; }
    bool CanBin() const { return canBin; }
    /// E_INVALIDARG when it does not fit or the camera has no such binning; after a failure all stands as before.
    Status SetReadout(const Readout& wanted);

private:
    explicit GenicamDevice(GObjectPtr<ArvCamera> opened);
    Status Prepare();
    Status FindFormats();
    Status FindResolutions();
    Status SetBinning(uint32_t factor);
    bool OffersBinning(uint32_t factor);
    Result<AxisLimits> ReadLimits(bool horizontal, uint32_t factor);
    Status TakeOffsetsBack();
    Status Apply(const Readout& wanted, const Resolution& resolution);
    Status WriteRegion(const AxisSpan& columns, const AxisSpan& rows);
    static void OnControlLost(ArvDevice* device, gpointer self);

    GObjectPtr<ArvDevice> device;  // the last reference: its end waits for the camera's own threads
    GObjectPtr<ArvCamera> camera;
    std::unique_ptr<GenicamControls> controls;
    gulong lossHandler = 0;
    std::atomic<bool> removed{false};
    bool canBin = false;
    bool canMove = false;  // the region has offsets
    std::vector<SensorFormat> formats;
    SensorFormat format;
    std::vector<Resolution> resolutions;
    Readout readout;
    AxisSpan across;
    AxisSpan down;
    AxisLimits acrossLimits;
    AxisLimits downLimits;
};

}  // namespace vexcap::cameras
