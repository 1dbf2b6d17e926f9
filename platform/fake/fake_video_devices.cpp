#include "platform/fake/fake_video_devices.h"

#include <algorithm>
#include <cstring>

namespace vexcap {

void FakeVideoScript::push(const FakeVideoFrame& frame) {
    const MutexGuard held(lock);
    Fill(frame);
    changed.notifyAll();
}

void FakeVideoScript::pace(std::chrono::microseconds every) {
    const MutexGuard held(lock);
    interval = every;
    due = std::chrono::steady_clock::now();
    changed.notifyAll();
}

void FakeVideoScript::failNext(HRESULT code) {
    const MutexGuard held(lock);
    failure = code;
    changed.notifyAll();
}

void FakeVideoScript::waitUntilDrained() {
    const MutexGuard held(lock);
    while (!filled.empty() || !waiting) changed.wait(lock);
}

void FakeVideoScript::set(bool FakeVideoScript::*flag, bool on) {
    const MutexGuard held(lock);
    this->*flag = on;
    changed.notifyAll();
}

void FakeVideoScript::Fill(const FakeVideoFrame& frame) {
    sequence += frame.lostBefore + 1;
    if (free.empty()) return;
    const uint32_t index = free.front();
    free.erase(free.begin());
    std::byte* const memory = buffers[index].get();
    const size_t whole = frame.content.empty() ? bufferBytes : std::min(bufferBytes, frame.content.size());
    if (frame.content.empty())
        std::memset(memory, frame.fill, whole);
    else
        std::memcpy(memory, frame.content.data(), whole);
    filled.push_back({memory, std::min(frame.bytes, whole), index, sequence, frame.time, frame.damaged});
}

VideoMode FakeVideoScript::ModeOf(const VideoFormat& format, int64_t wanted) const {
    const uint32_t stride = strideOf(format);
    return {format, wanted ? std::clamp(wanted, format.minInterval, format.maxInterval) : format.minInterval, stride,
            bytesOf ? bytesOf(format) : stride * format.height};
}

Result<VideoMode> FakeVideoDevice::Mode() {
    if (!s.present) return E_FAIL;
    return s.ModeOf(*s.present, s.present->maxInterval);
}

Result<VideoMode> FakeVideoDevice::SetMode(const VideoFormat& format, int64_t interval) {
    if (s.setModeResult < 0) return s.setModeResult;
    const auto fits = [&](const VideoFormat& f) {
        return f.fourcc == format.fourcc && format.width >= f.minWidth && format.width <= f.maxWidth &&
               format.height >= f.minHeight && format.height <= f.maxHeight;
    };
    if (std::none_of(s.formats.begin(), s.formats.end(), fits)) return E_INVALIDARG;
    const MutexGuard held(s.lock);
    s.modes.emplace_back(format, interval);
    s.present = format;
    return s.ModeOf(format, interval);
}

Status FakeVideoDevice::Start(uint32_t count) {
    if (s.startResult < 0) return s.startResult;
    const MutexGuard held(s.lock);
    s.buffersAsked = count;
    s.bufferBytes = s.ModeOf(*s.present, 0).frameBytes;
    s.buffers.clear();
    s.free.clear();
    s.filled.clear();
    s.filled.reserve(count);  // nothing is taken from the heap for a frame
    for (uint32_t i = 0; i < count; ++i) {
        s.buffers.push_back(std::make_unique_for_overwrite<std::byte[]>(s.bufferBytes));
        s.free.push_back(i);
    }
    s.isStreaming = true;
    s.interrupted = false;
    s.due = std::chrono::steady_clock::now();
    s.changed.notifyAll();
    return S_OK;
}

Result<VideoFrame> FakeVideoDevice::Next(uint32_t milliseconds) {
    using Steady = std::chrono::steady_clock;
    const Steady::time_point began = Steady::now();
    const MutexGuard held(s.lock);
    for (;;) {
        const Steady::time_point end = began + std::chrono::milliseconds(s.stalled ? 1 : milliseconds);
        if (std::exchange(s.interrupted, false)) return VEX_E_INTERRUPTED;
        if (s.gone) return VEX_E_DEVICE_LOST;
        if (s.failure) return *std::exchange(s.failure, std::nullopt);
        Steady::time_point wake = s.hanging ? Steady::time_point::max() : end;
        if (s.interval.count() > 0) {
            for (; s.due <= Steady::now(); s.due += s.interval)
                s.Fill({.fill = uint8_t(s.sequence + 1),
                        .time = s.due.time_since_epoch() / std::chrono::nanoseconds(100)});
            wake = std::min(wake, s.due);
        }
        if (!s.filled.empty()) {
            const VideoFrame frame = s.filled.front();
            s.filled.erase(s.filled.begin());
            return frame;
        }
        const Steady::time_point now = Steady::now();
        if (!s.hanging && now >= end) {
            s.limits.push_back(milliseconds);
            s.changed.notifyAll();
            return VEX_E_TIMEOUT;
        }
        s.waiting = true;
        s.changed.notifyAll();
        s.changed.waitFor(s.lock, std::min<Steady::duration>(wake - now, std::chrono::minutes(1)));
        s.waiting = false;
    }
}

Status FakeVideoDevice::GiveBack(uint32_t index) {
    if (s.giveBackResult < 0) return s.giveBackResult;
    const MutexGuard held(s.lock);
    if (index >= s.buffers.size()) return E_INVALIDARG;
    std::memset(s.buffers[index].get(), FakeVideoScript::trampled, s.bufferBytes);
    s.free.push_back(index);
    return S_OK;
}

void FakeVideoDevice::Stop() {
    const MutexGuard held(s.lock);
    s.isStreaming = false;
    s.buffers.clear();
    s.free.clear();
    s.filled.clear();
    s.changed.notifyAll();
}

Status FakeVideoDevice::Check() {
    const MutexGuard held(s.lock);
    ++s.checksMade;
    s.changed.notifyAll();
    return s.gone ? VEX_E_DEVICE_LOST : S_OK;
}

Status FakeVideoDevice::GetControl(uint32_t id, int32_t& value) {
    const auto found = s.controlValues.find(id);
    if (found == s.controlValues.end()) return E_INVALIDARG;
    value = found->second;
    return S_OK;
}

Status FakeVideoDevice::PutControl(uint32_t id, int32_t value) {
    if (!s.controlValues.contains(id)) return E_INVALIDARG;
    s.controlValues[id] = value;
    return S_OK;
}

Result<std::unique_ptr<IVideoDevice>> FakeVideoDevices::Open(std::u16string_view displayName) {
    if (openResult < 0) return openResult;
    const auto found = scripts.find(std::u16string(displayName));
    if (found == scripts.end()) return Parse(displayName) ? VEX_E_FILE_NOT_FOUND : E_INVALIDARG;
    return std::unique_ptr<IVideoDevice>(std::make_unique<FakeVideoDevice>(found->second));
}

FakeVideoScript& FakeVideoDevices::add(std::u16string displayName, std::u16string friendlyName) {
    entries.push_back({displayName, std::move(friendlyName)});
    return *(scripts[std::move(displayName)] = std::make_shared<FakeVideoScript>());
}

}  // namespace vexcap
