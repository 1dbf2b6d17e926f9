#include "hosts/common/session.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr size_t propertyRoom = 32;  // UTF-16 units that the library writes

}  // namespace

Session::Session(Engine& engine, const Device& device, bool stills)
    : window(engine.Window()), name(device.name), isCamera(device.IsCamera()), context(window, device) {
    const std::string what = isCamera ? "camera" : "video input device";
    if (!context.get()) throw Failure(exitNoDevice, "no such " + what + ": " + name);
    const HRESULT result = vexcap_start(context.get(), window, messageStill, stills, 0, 0);
    if (result >= 0) return;
    const std::string reason = context.LastError();
    throw Failure(exitNoDevice, "cannot open the " + what + " \"" + name +
                                    "\": " + (reason.empty() ? resultText(result) : reason) +
                                    "; \"vexcap devices\" lists what is there");
}

Session::Session(Engine& engine, const MediaFile& file)
    : window(engine.Window()), name(file.path), isCamera(false), context(window, file) {
    if (!context.get()) throw Failure(exitUsage, "no file is named");
    const HRESULT result = context.Start();
    if (result >= 0) return;
    if (result == noModule) throw Failure(exitNoMedia, "cannot play " + name + ": " + resultText(result));
    if (result == E_FAIL) throw Failure(exitNoVideo, name + " has no video that can be played");
    throw Failure(exitFailure, "cannot play " + name + ": " + resultText(result));
}

News Session::Wait(int milliseconds, const StopRequest& stop) {
    pollfd sources[2] = {{vex_window_queue_fd(window), POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}};
    poll(sources, 2, milliseconds);
    News news;
    vex_message message;
    while (vex_window_queue_next(window, &message)) {
        if (message.message == messageEvent) {
            if (!isCamera) news.framesAtEvent = Rate().total;
            vexcap_notify(context.get());
        }
        if (message.message == messageLimit) news.limit = true;
        if (message.message == messageFrame) news.frame = true;
        if (message.message == messageStill) news.still = true;
        if (message.message == messageDarkField) {
            // Frames and their count; zeros when the dark frame is there.
            const bool done = !message.wparam && !message.lparam;
            const uint32_t before = news.dark ? news.dark->taken : 0;
            news.dark = {done ? before : static_cast<uint32_t>(message.wparam), done};
        }
    }
    news.asked = stop.Asked();
    news.lost = !vexcap_fpreviewing(context.get());
    return news;
}

void Session::WaitForFreshFrame(const StopRequest& stop) {
    const uint32_t first = Rate().total;
    StallWatch stall(StallSeconds());
    for (;;) {
        const News news = Wait(10, stop);
        if (news.asked) throw Failure(exitAborted, "ended before a frame came");
        const uint32_t total = Rate().total;
        if (news.lost || stall.Stalled(total, steadySeconds()))
            throw Failure(exitDeviceLost, "\"" + name + "\" sends no frames");
        if (total - first >= 2) return;
    }
}

void Session::WaitForPicture(const StopRequest& stop) {
    Wait(0, stop);  // those from before do not count
    WaitFor(&News::frame, "sends no pictures", stop);
}

void Session::WaitForStill(const StopRequest& stop) { WaitFor(&News::still, "sends no still", stop); }

void Session::WaitFor(bool News::*what, const char* missing, const StopRequest& stop) {
    const double longest = StallSeconds();
    for (const double start = steadySeconds();;) {
        const News news = Wait(10, stop);
        if (news.asked) throw Failure(exitAborted, "ended before a picture came");
        if (news.*what) return;
        if (news.lost || steadySeconds() - start > longest)
            throw Failure(exitDeviceLost, "\"" + name + "\" " + missing);
    }
}

ICamera& Session::Camera() const {
    if (void* const camera = vexcap_get_interface(context.get(), nullptr)) return *static_cast<ICamera*>(camera);
    throw Failure(exitDeviceLost, "the camera \"" + name + "\" is gone");
}

FrameRate Session::Rate() const {
    if (!isCamera) {
        vex_char count[propertyRoom] = {}, rate[propertyRoom] = {};
        if (!vexcap_get_property(context.get(), count, rate)) return {};
        // The library writes them as the C library of this process reads them.
        return {std::strtod(toUtf8(rate).c_str(), nullptr),
                static_cast<uint32_t>(std::strtoul(toUtf8(count).c_str(), nullptr, 10))};
    }
    uint32_t frames = 0, milliseconds = 0, total = 0;
    if (Camera().GetFrameRate(&frames, &milliseconds, &total) < 0) return {};
    return {milliseconds ? frames * 1000.0 / milliseconds : 0, total};
}

Size Session::PictureSize() const {
    vex_picture_format format = {.size = sizeof format};
    if (vexcap_picture_size(context.get(), &format)) return {format.width, format.height};
    throw Failure(exitDeviceLost, "\"" + name + "\" does not report the size of its pictures");
}

uint32_t Session::RawDepth() const {
    uint32_t fourcc = 0, depth = 0;
    const auto raw = Query<ICameraRaw>(VEX_IID_CAMERA_RAW);
    return raw && raw->GetRawFormat(&fourcc, &depth) >= 0 ? depth : 0;
}

uint32_t Session::LostFrames() const {
    uint32_t lost = 0;
    const auto status = Query<ICameraStatus>(VEX_IID_CAMERA_STATUS);
    return status && status->GetLostFrames(&lost) >= 0 ? lost : 0;
}

bool Session::CameraFailed() const {
    uint32_t state = VEX_CAMERA_STATE_OK;
    const auto status = Query<ICameraStatus>(VEX_IID_CAMERA_STATUS);
    return status && status->GetState(&state) >= 0 &&
           (state == VEX_CAMERA_STATE_FAILED || state == VEX_CAMERA_STATE_REMOVED);
}

double Session::StallSeconds() const {
    constexpr double patience = 10;
    if (!isCamera) return patience;
    uint32_t microseconds = 0;
    return Camera().GetExposureTime(&microseconds) >= 0 ? patience + microseconds / 1e6 : patience;
}

std::vector<Format> Session::Formats() const { return FormatsOf(vexcap_get_capability); }

std::vector<Format> Session::StillFormats() const {
    return vexcap_has_stillimage(context.get()) ? FormatsOf(vexcap_get_stillimage_capability) : std::vector<Format>();
}

std::vector<Format> Session::FormatsOf(Capability capability) const {
    vex_capability* list = nullptr;
    const int32_t count = capability(context.get(), &list);
    std::vector<Format> formats;
    for (int32_t i = 0; list && i < count; ++i) formats.push_back(formatOf(list[i], isCamera));
    vexcap_free_capability(list);
    if (count < 0) throw Failure(exitFailure, "\"" + name + "\" does not tell its formats: " + resultText(count));
    return formats;
}

void Session::SetFormat(const FormatChoice& choice, const StopRequest& stop) {
    const std::vector<Format> formats = Formats();
    const uint32_t index = matchFormat(formats, choice);
    const std::string refused = "\"" + name + "\" does not take " + sizeText(formats[index].size);
    if (isCamera) {
        vexcap_set_esize(context.get(), index, 0);
        if (!vexcap_fpreviewing(context.get())) throw Failure(exitFailure, refused);
    } else if (const HRESULT result = vexcap_put_format(context.get(), index); result < 0) {
        throw Failure(exitFailure, refused + ": " + resultText(result));
    }
    WaitForFreshFrame(stop);
    int32_t width = 0, height = 0;
    vexcap_video_size(context.get(), &width, &height);
    if (Size{static_cast<uint32_t>(width), static_cast<uint32_t>(height)} != formats[index].size)
        throw Failure(exitFailure, refused);
}

bool StallWatch::Stalled(uint32_t total, double now) {
    if (!started || total != seen) {
        started = true;
        seen = total;
        since = now;
    }
    return now - since > longest;
}

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace vexcap::host
