#include "companions/cameras/genicam/gige_testing.h"

#include "base/dib.h"

// GLib and Aravis are not built with the thread sanitizer, which therefore does not see their locks and queues: what
// they hand from thread to thread looks like a race. A race between two places of our own is still told.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:libaravis-0.8.so\nrace:libglib-2.0.so\nrace:libgobject-2.0.so\nrace:libgio-2.0.so\n"
           "race:libusb-1.0.so\n";
}

namespace vexcap::cameras {

HRESULT FakeHost::start(ICamera* camera) {
    return camera->StartPull(0, 0, &FakeHost::onFrame, nullptr, this, &FakeHost::onEvent, this, 0, 0, nullptr, 1);
}

HRESULT FakeHost::start(ICamera* camera, ICameraRaw* rawFrames) {
    const HRESULT result = rawFrames->SetRawCallback(&FakeHost::onRaw, this);
    return result == S_OK ? start(camera) : result;
}

size_t FakeHost::rawCount() {
    const std::lock_guard guard(lock);
    return raws;
}

size_t FakeHost::displayCount() {
    const std::lock_guard guard(lock);
    return displays;
}

size_t FakeHost::lossCount() {
    const std::lock_guard guard(lock);
    return losses;
}

std::vector<uint32_t> FakeHost::events() {
    const std::lock_guard guard(lock);
    return told;
}

KeptFrame FakeHost::lastRaw() {
    const std::lock_guard guard(lock);
    return raw;
}

KeptFrame FakeHost::lastDisplay() {
    const std::lock_guard guard(lock);
    return display;
}

std::vector<uint32_t> FakeHost::sequences() {
    const std::lock_guard guard(lock);
    return numbers;
}

std::string FakeHost::story() {
    const std::lock_guard guard(lock);
    return tale;
}

void FakeHost::forget() {
    const std::lock_guard guard(lock);
    raws = displays = losses = 0;
    told.clear();
    numbers.clear();
    tale.clear();
}

bool FakeHost::waitFor(std::chrono::milliseconds limit, const std::function<bool()>& until) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!until()) {
        std::unique_lock guard(lock);
        if (std::chrono::steady_clock::now() >= end) return false;
        changed.wait_for(guard, std::chrono::milliseconds(10));
    }
    return true;
}

bool FakeHost::waitForRaw(size_t count, std::chrono::milliseconds limit) {
    return waitFor(limit, [this, count] { return rawCount() >= count; });
}

void FakeHost::onFrame(const void* frame, const vex_frame_info* info, uint32_t, const void*, const void*,
                       uint32_t depthFlag, uint32_t tag, uint64_t, void* context) {
    auto& host = *static_cast<FakeHost*>(context);
    const std::lock_guard guard(host.lock);
    if (!frame || !info) {
        ++host.losses;
        host.tell('L');
    } else {
        ++host.displays;
        const auto* const bytes = static_cast<const uint8_t*>(frame);
        host.display = {*info, tag, 0, depthFlag, {bytes, bytes + dibStride(info->width, 3) * info->height}};
        host.tell('f');
    }
    host.changed.notify_all();
}

void FakeHost::onRaw(const void* samples, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context) {
    auto& host = *static_cast<FakeHost*>(context);
    const std::lock_guard guard(host.lock);
    const auto* const bytes = static_cast<const uint8_t*>(samples);
    const size_t size = size_t(info->width) * info->height * (depth > 8 ? 2 : 1);
    host.raw = {*info, fourcc, depth, 0, {bytes, bytes + size}};
    host.numbers.push_back(info->sequence);
    ++host.raws;
    host.changed.notify_all();
}

void FakeHost::onEvent(uint32_t event, void* context) {
    auto& host = *static_cast<FakeHost*>(context);
    const std::lock_guard guard(host.lock);
    host.told.push_back(event);
    host.tell('E');
    host.changed.notify_all();
}

void FakeHost::tell(char what) {
    if (tale.empty() || tale.back() != what || what != 'f') tale += what;
}

}  // namespace vexcap::cameras
