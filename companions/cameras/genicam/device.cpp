#include "companions/cameras/genicam/device.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace vexcap::cameras {
namespace {

constexpr int32_t longestSide = 65536;  // what a camera says beyond it is taken for nonsense
constexpr uint32_t resolutionFactors[] = {1, 2, 4};
constexpr int lossWaits = 1000;

uint32_t sane(gint value) { return uint32_t(std::clamp(value, 1, longestSide)); }

}  // namespace

Result<std::unique_ptr<GenicamDevice>> GenicamDevice::create(GObjectPtr<ArvCamera> opened) {
    std::unique_ptr<GenicamDevice> made(new GenicamDevice(std::move(opened)));
    if (const Status s = made->Prepare(); !s.ok()) return s;
    return made;
}

GenicamDevice::GenicamDevice(GObjectPtr<ArvCamera> opened)
    : device(static_cast<ArvDevice*>(g_object_ref(arv_camera_get_device(opened.get())))), camera(std::move(opened)) {
    lossHandler = g_signal_connect(device.get(), "control-lost", G_CALLBACK(&GenicamDevice::OnControlLost), this);
}

GenicamDevice::~GenicamDevice() {
    g_signal_handler_disconnect(device.get(), lossHandler);
    camera.reset();
    // The thread that told of the loss still holds a reference for a moment. Were its reference the last one, that
    // thread would have to end the device, and with it wait for itself.
    for (int i = 0; removed && i < lossWaits && g_atomic_int_get(&G_OBJECT(device.get())->ref_count) > 1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void GenicamDevice::OnControlLost(ArvDevice*, gpointer self) { static_cast<GenicamDevice*>(self)->removed = true; }

void GenicamDevice::Probe() {
    ArvError error;
    guint32 value = 0;
    arv_device_read_register(device.get(), 0, &value, error.out());
    if (error.failed()) removed = true;
}

Status GenicamDevice::Prepare() {
    if (ARV_IS_GV_DEVICE(device.get()) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device.get()))) return VEX_E_BUSY;
    ArvError error;
    arv_camera_stop_acquisition(camera.get(), error.out());  // another program may have left it running
    arv_camera_clear_triggers(camera.get(), error.out());    // fails where there are none
    controls = std::make_unique<GenicamControls>(camera.get());
    canBin = arv_camera_is_binning_available(camera.get(), error.out());
    canMove = arv_camera_is_region_offset_available(camera.get(), error.out());
    if (const Status s = FindResolutions(); !s.ok()) return s;
    return FindFormats();
}

Status GenicamDevice::FindFormats() {
    ArvError error;
    guint count = 0;
    const GlibArray<gint64> offered(arv_camera_dup_available_pixel_formats(camera.get(), &count, error.out()));
    if (error.failed() || !offered) return error.failed() ? error.code() : E_NOTIMPL;
    const std::vector<int64_t> codes(offered.get(), offered.get() + count);
    const uint32_t present = arv_camera_get_pixel_format(camera.get(), error.out());
    formats = chooseFormats(codes, present);
    if (formats.empty()) return E_NOTIMPL;
    return SetFormat(formats.back());
}

Status GenicamDevice::SetFormat(const SensorFormat& wanted) {
    ArvError error;
    arv_camera_set_pixel_format(camera.get(), wanted.code, error.out());
    if (error.failed()) return error.code();
    format = wanted;
    return S_OK;
}

Status GenicamDevice::FindResolutions() {
    for (const uint32_t factor : resolutionFactors) {
        if (!OffersBinning(factor)) continue;
        // Offsets and binning come first: the limits of a size hold for them as they are at present.
        Status s = TakeOffsetsBack();
        if (s.ok()) s = SetBinning(factor);
        const auto width = ReadLimits(true, factor);
        const auto height = ReadLimits(false, factor);
        if (s.ok()) s = width.ok() ? height.status() : width.status();
        if (!s.ok()) {
            if (factor == 1) return s;
            continue;
        }
        const auto columns = fitAxis(width.value(), width.value().maximum & ~1u, 1, {});
        const auto rows = fitAxis(height.value(), height.value().maximum & ~1u, 1, {});
        if (columns && rows) resolutions.push_back({factor, columns->size, rows->size});
    }
    if (resolutions.empty() || resolutions.front().factor != 1) return E_NOTIMPL;
    return Apply({}, resolutions.front());
}

Status GenicamDevice::SetReadout(const Readout& wanted) {
    if (wanted.resolution >= resolutions.size() || wanted.binning == 0) return E_INVALIDARG;
    const Readout before = readout;
    const Status s = Apply(wanted, resolutions[wanted.resolution]);
    if (!s.ok()) Apply(before, resolutions[before.resolution]).ignore();
    return s;
}

Status GenicamDevice::Apply(const Readout& wanted, const Resolution& resolution) {
    const uint32_t factor = resolution.factor * wanted.binning;
    if (!OffersBinning(factor)) return E_INVALIDARG;
    if (const Status s = TakeOffsetsBack(); !s.ok()) return s;
    if (const Status s = SetBinning(factor); !s.ok()) return s;
    const auto width = ReadLimits(true, factor);
    const auto height = ReadLimits(false, factor);
    if (!width.ok() || !height.ok()) return width.ok() ? height.status() : width.status();
    const auto columns = fitAxis(width.value(), resolution.width, wanted.binning, wanted.across);
    const auto rows = fitAxis(height.value(), resolution.height, wanted.binning, wanted.down);
    if (!columns || !rows) return E_INVALIDARG;
    if (const Status s = WriteRegion(*columns, *rows); !s.ok()) return s;
    readout = wanted;
    across = *columns;
    down = *rows;
    acrossLimits = width.value();
    downLimits = height.value();
    return S_OK;
}

bool GenicamDevice::OffersBinning(uint32_t factor) {
    if (!canBin) return factor == 1;
    ArvError error;
    for (const bool horizontal : {true, false}) {
        gint minimum = 1;
        gint maximum = 1;
        if (horizontal)
            arv_camera_get_x_binning_bounds(camera.get(), &minimum, &maximum, error.out());
        else
            arv_camera_get_y_binning_bounds(camera.get(), &minimum, &maximum, error.out());
        if (error.failed()) return factor == 1;
        const gint step = horizontal ? arv_camera_get_x_binning_increment(camera.get(), error.out())
                                     : arv_camera_get_y_binning_increment(camera.get(), error.out());
        const int64_t above = int64_t(factor) - minimum;
        if (above < 0 || factor > uint32_t(std::max(maximum, 1)) || above % int64_t(sane(step)) != 0) return false;
    }
    return true;
}

Status GenicamDevice::SetBinning(uint32_t factor) {
    if (!canBin) return S_OK;
    ArvError error;
    arv_camera_set_binning(camera.get(), gint(factor), gint(factor), error.out());
    return error.code();
}

Result<AxisLimits> GenicamDevice::ReadLimits(bool horizontal, uint32_t factor) {
    ArvCamera* const of = camera.get();
    ArvError error;
    gint minimum = 1;
    gint maximum = 1;
    if (horizontal)
        arv_camera_get_width_bounds(of, &minimum, &maximum, error.out());
    else
        arv_camera_get_height_bounds(of, &minimum, &maximum, error.out());
    if (error.failed()) return error.code();
    AxisLimits limits;
    limits.minimum = sane(minimum);
    limits.maximum = sane(maximum);
    // A camera that forgets to shrink its limits must not read beyond the binned sensor.
    if (!resolutions.empty()) {
        const Resolution& whole = resolutions.front();
        limits.maximum = std::min(limits.maximum, std::max((horizontal ? whole.width : whole.height) / factor, 1u));
    }
    limits.sizeStep = sane(horizontal ? arv_camera_get_width_increment(of, error.out())
                                      : arv_camera_get_height_increment(of, error.out()));
    if (canMove)
        limits.offsetStep = sane(horizontal ? arv_camera_get_x_offset_increment(of, error.out())
                                            : arv_camera_get_y_offset_increment(of, error.out()));
    return limits;
}

Status GenicamDevice::TakeOffsetsBack() {
    if (!canMove) return S_OK;
    ArvError error;
    arv_camera_set_integer(camera.get(), "OffsetX", 0, error.out());
    if (!error.failed()) arv_camera_set_integer(camera.get(), "OffsetY", 0, error.out());
    return error.code();
}

Status GenicamDevice::WriteRegion(const AxisSpan& columns, const AxisSpan& rows) {
    if (!canMove && (columns.offset != 0 || rows.offset != 0)) return E_INVALIDARG;
    struct Step {
        const char* feature;
        uint32_t value;
    };
    const Step steps[] = {
        {"Width", columns.size}, {"Height", rows.size}, {"OffsetX", columns.offset}, {"OffsetY", rows.offset}};
    for (const Step& step : steps) {
        if (!canMove && step.value == 0) continue;
        ArvError error;
        arv_camera_set_integer(camera.get(), step.feature, step.value, error.out());
        if (error.failed()) return error.code();
        if (arv_camera_get_integer(camera.get(), step.feature, error.out()) != step.value) return E_FAIL;
    }
    return S_OK;
}

}  // namespace vexcap::cameras
