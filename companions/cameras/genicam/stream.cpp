#include "companions/cameras/genicam/stream.h"

#include <algorithm>
#include <new>

#include "companions/cameras/signals_blocked.h"

namespace vexcap::cameras {
namespace {

constexpr size_t mostBuffers = 12;
constexpr size_t fewestBuffers = 4;
constexpr size_t mostMemory = size_t(512) << 20;
constexpr size_t extraPayload = size_t(1) << 20;  // chunks and padding that a camera may add to a picture
constexpr gint socketBytes = 4 << 20;             // an unprivileged socket drops most frames with the default
constexpr guint64 popMicroseconds = 20'000;       // bounds how long Halt waits

}  // namespace

GenicamStream::GenicamStream(GenicamDevice& streamed, Mutex& lock, FrameDelivery& target,
                             std::chrono::milliseconds beyondReason)
    : device(streamed), deviceLock(lock), delivery(target), basePatience(beyondReason), patience(beyondReason) {}

GenicamStream::~GenicamStream() { Halt(); }

Status GenicamStream::Start() {
    if (device.Removed()) return E_FAIL;
    ids = {};
    lost = 0;
    state = VEX_CAMERA_STATE_OK;
    paused = false;
    if (const Status s = Begin(); !s.ok()) return s;
    StartThread(false, false);
    return S_OK;
}

Status GenicamStream::Resume(bool sizeChanged) {
    const Status s = device.Removed() ? Status(E_FAIL) : Begin();
    StartThread(sizeChanged, !s.ok());
    return s;
}

Status GenicamStream::Begin() {
    {
        MutexGuard guard(triggerLock);
        triggers = {};
    }
    ids.restart();
    MutexGuard guard(deviceLock);
    const Status s = CreateStream();
    if (!s.ok()) stream.reset();
    return s;
}

Status GenicamStream::CreateStream() {
    ArvCamera* const camera = device.Camera();
    ArvError error;
    const SensorFormat& format = device.Format();
    arv_camera_set_acquisition_mode(camera, ARV_ACQUISITION_MODE_CONTINUOUS, error.out());
    if (arv_camera_get_pixel_format(camera, error.out()) != format.code) {
        // Some cameras choose another format by themselves when the binning changes.
        if (const Status s = device.SetFormat(SensorFormat(format)); !s.ok()) return s;
    }
    payload = arv_camera_get_payload(camera, error.out());
    if (error.failed()) return error.code();

    expected = {};
    expected.topDown = true;
    expected.width = device.Across().size;
    expected.height = device.Down().size;
    expected.depth = format.depth;
    expected.colour = format.colour;
    expected.mosaic = format.mosaic;
    expectedCode = format.code;
    const size_t picture = size_t(expected.width) * expected.height * format.sampleBytes();
    if (payload < picture || payload > 2 * picture + extraPayload) return E_FAIL;

    freeRunning = device.Controls().TriggerMode() == 0;
    ReadRhythm();

    const SignalsBlocked blocked;  // Aravis starts its receiving thread here
    stream.reset(arv_camera_create_stream(camera, nullptr, nullptr, error.out()));
    if (!stream) return error.failed() ? error.code() : E_FAIL;
    if (ARV_IS_GV_STREAM(stream.get()))
        g_object_set(stream.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                     socketBytes, nullptr);
    if (const Status s = MakeBuffers(); !s.ok()) return s;
    if (!paused) arv_camera_start_acquisition(camera, error.out());
    return error.code();
}

void GenicamStream::ReadRhythm() {
    int32_t exposure = 0;
    int32_t rate = 0;
    std::chrono::milliseconds longest = basePatience;
    if (device.Controls().Get(VEX_CONTROL_EXPOSURE, exposure).ok())
        longest += 2 * std::chrono::milliseconds(exposure / 1000);
    if (device.Controls().Get(VEX_CONTROL_FRAME_RATE, rate).ok() && rate > 0)
        longest += std::chrono::milliseconds(2000 / rate);
    patience = longest;
}

Status GenicamStream::MakeBuffers() {
    const size_t each = (payload + 63) / 64 * 64;
    const size_t count = std::clamp(mostMemory / each, fewestBuffers, mostBuffers);
    if (memoryBytes < each * count) {
        memory.reset(new (std::nothrow) uint8_t[each * count]());  // written once, so that its pages are there
        memoryBytes = memory ? each * count : 0;
        if (!memory) return E_OUTOFMEMORY;
    }
    for (size_t i = 0; i < count; ++i)
        arv_stream_push_buffer(stream.get(), arv_buffer_new(payload, memory.get() + i * each));
    return S_OK;
}

void GenicamStream::StartThread(bool sizeChanged, bool broken) {
    stopping = false;
    const SignalsBlocked blocked;
    thread = std::thread([this, sizeChanged, broken] { Run(sizeChanged, broken); });
}

void GenicamStream::Halt() {
    stopping = true;
    if (thread.joinable()) thread.join();
    if (!stream) return;
    if (!device.Removed()) {
        ArvError error;
        MutexGuard guard(deviceLock);
        arv_camera_stop_acquisition(device.Camera(), error.out());
    }
    stream.reset();
}

Status GenicamStream::Pause(bool on) {
    if (device.Removed()) return E_FAIL;
    if (paused == on) return S_OK;
    ArvError error;
    MutexGuard guard(deviceLock);
    if (on) {
        paused = true;  // first: frames that are on their way are dropped
        arv_camera_stop_acquisition(device.Camera(), error.out());
    } else {
        arv_camera_start_acquisition(device.Camera(), error.out());
        if (!error.failed()) paused = false;
    }
    return error.code();
}

Status GenicamStream::Fire(uint32_t count) {
    if (freeRunning || device.Removed()) return E_UNEXPECTED;
    {
        MutexGuard guard(triggerLock);
        triggers.wanted += count;
    }
    return FireNext();
}

Status GenicamStream::FireNext() {
    {
        MutexGuard guard(triggerLock);
        if (paused || triggers.awaiting || triggers.wanted == 0) return S_OK;
        --triggers.wanted;
        triggers.awaiting = true;
        triggers.fired = Clock::now();
    }
    Status s = S_OK;
    {
        MutexGuard guard(deviceLock);
        s = device.Controls().Fire();
    }
    if (!s.ok()) {
        MutexGuard guard(triggerLock);
        triggers = {};
    }
    return s;
}

void GenicamStream::Run(bool sizeChanged, bool broken) {
    if (broken) {
        if (!device.Removed()) state = VEX_CAMERA_STATE_FAILED;
        TellLoss();
        return;
    }
    if (sizeChanged) delivery.DeliverEvent(VEX_CAMERA_EVENT_SIZE);
    lastFrame = Clock::now();
    while (!stopping) {
        if (device.Removed()) {
            TellLoss();
            return;
        }
        ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream.get(), popMicroseconds);
        if (buffer) {
            Take(buffer);
            arv_stream_push_buffer(stream.get(), buffer);
        } else {
            Quiet();
        }
        FireNext().ignore();  // a camera that refuses is one whose frames stay away, and told by that
    }
}

void GenicamStream::Take(ArvBuffer* buffer) {
    const ArvBufferStatus status = arv_buffer_get_status(buffer);
    const bool frame = status == ARV_BUFFER_STATUS_SUCCESS || status == ARV_BUFFER_STATUS_TIMEOUT ||
                       status == ARV_BUFFER_STATUS_MISSING_PACKETS || status == ARV_BUFFER_STATUS_WRONG_PACKET_ID ||
                       status == ARV_BUFFER_STATUS_SIZE_MISMATCH;
    if (!frame) return;  // given back unused when acquisition ended
    lastFrame = Clock::now();
    if (paused) {
        ids.restart();
        return;
    }
    {
        MutexGuard guard(triggerLock);
        triggers.awaiting = false;
    }
    SetState(VEX_CAMERA_STATE_OK);
    const FrameIds::Place place = ids.next(arv_buffer_get_frame_id(buffer));
    lost += place.missing;
    SensorFrame picture = expected;
    if (status != ARV_BUFFER_STATUS_SUCCESS || !ReadFrame(buffer, picture)) {
        ++lost;
        return;
    }
    picture.sequence = place.sequence;
    picture.timestamp = arv_buffer_get_timestamp(buffer) / 100;
    delivery.Deliver(picture);
}

// A buffer says itself what is in it, and a camera may say anything: only what was asked for is read.
bool GenicamStream::ReadFrame(ArvBuffer* buffer, SensorFrame& frame) const {
    const ArvBufferPayloadType type = arv_buffer_get_payload_type(buffer);
    if (type != ARV_BUFFER_PAYLOAD_TYPE_IMAGE && type != ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA) return false;
    if (arv_buffer_get_image_pixel_format(buffer) != expectedCode) return false;
    if (arv_buffer_get_image_width(buffer) != gint(frame.width)) return false;
    if (arv_buffer_get_image_height(buffer) != gint(frame.height)) return false;
    gint padding = 0;
    arv_buffer_get_image_padding(buffer, &padding, nullptr);
    size_t told = 0;  // 0 when the sender does not say how long its picture is
    frame.samples = arv_buffer_get_image_data(buffer, &told);
    const auto* const begin = static_cast<const uint8_t*>(arv_buffer_get_data(buffer, nullptr));
    if (!frame.samples || !begin || padding < 0) return false;
    const auto before = size_t(static_cast<const uint8_t*>(frame.samples) - begin);
    const size_t rowBytes = size_t(frame.width) * (frame.depth > 8 ? 2 : 1);
    frame.rowBytes = rowBytes + size_t(padding);
    const size_t needed = frame.rowBytes * (frame.height - 1) + rowBytes;
    return before <= payload && needed <= payload - before && (told == 0 || needed <= told);
}

// No frame came for a moment.
void GenicamStream::Quiet() {
    const Clock::time_point now = Clock::now();
    if (paused) lastFrame = now;
    if (!freeRunning) {
        MutexGuard guard(triggerLock);
        if (!triggers.awaiting || now - triggers.fired < patience.load()) return;
        triggers.awaiting = false;
        ++lost;
        return;
    }
    if (now - lastFrame < patience.load() || state != VEX_CAMERA_STATE_OK) return;
    // A network camera that is gone is told by its control channel; a USB camera must be asked.
    if (ARV_IS_UV_DEVICE(arv_camera_get_device(device.Camera()))) {
        MutexGuard guard(deviceLock);
        device.Probe();
        if (device.Removed()) return;
    }
    SetState(VEX_CAMERA_STATE_NO_FRAMES);
}

void GenicamStream::SetState(uint32_t told) {
    if (state.exchange(told) != told) delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
}

void GenicamStream::TellLoss() {
    delivery.DeliverLoss();
    delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
}

}  // namespace vexcap::cameras
