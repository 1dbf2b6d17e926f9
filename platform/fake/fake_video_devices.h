// Video input devices that a test makes up.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/mutex.h"
#include "platform/video_devices.h"

namespace vexcap {

/// A frame that a test lets a device give.
struct FakeVideoFrame {
    uint8_t fill = 0;                   ///< Every byte of the frame.
    std::vector<uint8_t> content = {};  ///< Or these bytes, padding included.
    size_t bytes = SIZE_MAX;            ///< Bytes that the device tells of; SIZE_MAX for all.
    uint32_t lostBefore = 0;            ///< Frames that the device dropped before this one.
    int64_t time = 0;                   ///< Steady clock, 100-nanosecond units.
    bool damaged = false;
};

/// What a device answers, and what it was asked. It outlives its device, so that a test that handed the device away
/// still has it. Any thread; the answers are set before the call that gives them.
class FakeVideoScript {
public:
    // Answers.
    std::vector<VideoFormat> formats;
    std::optional<VideoFormat> present;  ///< Format that the device stands at; none makes Mode fail.
    std::function<uint32_t(const VideoFormat&)> strideOf = [](const VideoFormat& f) { return f.width * 2; };
    std::function<uint32_t(const VideoFormat&)> bytesOf;  ///< Null: stride times height.
    HRESULT setModeResult = S_OK, startResult = S_OK, giveBackResult = S_OK;
    std::vector<VideoControl> controls;
    std::map<uint32_t, int32_t> controlValues;

    /// Fills the next free buffer; without one the frame is lost, as a driver loses it.
    void push(const FakeVideoFrame& frame) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        Fill(frame);
        changed.notifyAll();
    }
    /// From now on a frame each interval, filled with its number and stamped with the time of its making; 0 ends it.
    void pace(std::chrono::microseconds every) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        interval = every;
        due = std::chrono::steady_clock::now();
        changed.notifyAll();
    }
    /// Nothing comes any more, and waiting takes a millisecond, whatever the limit: then Next gives VEX_E_TIMEOUT.
    void stall(bool on = true) VEX_EXCLUDES(lock) { set(&FakeVideoScript::stalled, on); }
    /// Next waits for ever, whatever its limit, and only Interrupt ends it.
    void hang(bool on = true) VEX_EXCLUDES(lock) { set(&FakeVideoScript::hanging, on); }
    void unplug() VEX_EXCLUDES(lock) { set(&FakeVideoScript::gone, true); }
    /// Lets the next Next fail.
    void failNext(HRESULT code) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        failure = code;
        changed.notifyAll();
    }

    bool streaming() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::isStreaming); }
    uint32_t startedBuffers() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::buffersAsked); }
    uint32_t checks() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::checksMade); }
    /// Milliseconds that the calls of Next were ready to wait before they gave VEX_E_TIMEOUT.
    std::vector<uint32_t> timeouts() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::limits); }
    /// What SetMode was asked for: format and interval.
    std::vector<std::pair<VideoFormat, int64_t>> modesSet() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::modes); }
    /// Waits until Next has taken every frame that was pushed and waits for more.
    void waitUntilDrained() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        while (!filled.empty() || !waiting) changed.wait(lock);
    }
    /// Waits until this holds of the script; it is looked at after each of the device's calls.
    template <typename Condition>
    void waitUntil(Condition holds) VEX_EXCLUDES(lock) {
        for (;;) {
            if (holds()) return;
            const MutexGuard held(lock);
            changed.waitFor(lock, std::chrono::milliseconds(5));
        }
    }

private:
    friend class FakeVideoDevice;
    static constexpr uint8_t trampled = 0xDD;  // what lies in a buffer that went back

    void set(bool FakeVideoScript::*flag, bool on) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        this->*flag = on;
        changed.notifyAll();
    }
    template <typename Value>
    Value get(Value FakeVideoScript::*value) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return this->*value;
    }
    void Fill(const FakeVideoFrame& frame) VEX_REQUIRES(lock) {
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
    VideoMode ModeOf(const VideoFormat& format, int64_t wanted) const {
        const uint32_t stride = strideOf(format);
        return {format, wanted ? std::clamp(wanted, format.minInterval, format.maxInterval) : format.minInterval,
                stride, bytesOf ? bytesOf(format) : stride * format.height};
    }

    Mutex lock;
    Condition changed;
    std::chrono::microseconds interval VEX_GUARDED_BY(lock){0};
    std::chrono::steady_clock::time_point due VEX_GUARDED_BY(lock);
    bool stalled VEX_GUARDED_BY(lock) = false;
    bool hanging VEX_GUARDED_BY(lock) = false;
    bool gone VEX_GUARDED_BY(lock) = false;
    bool interrupted VEX_GUARDED_BY(lock) = false;
    bool isStreaming VEX_GUARDED_BY(lock) = false;
    bool waiting VEX_GUARDED_BY(lock) = false;
    std::optional<HRESULT> failure VEX_GUARDED_BY(lock);
    uint32_t sequence VEX_GUARDED_BY(lock) = 0xFFFFFFF0;  // wraps soon
    uint32_t buffersAsked VEX_GUARDED_BY(lock) = 0;
    uint32_t checksMade VEX_GUARDED_BY(lock) = 0;
    std::vector<uint32_t> limits VEX_GUARDED_BY(lock);
    std::vector<std::pair<VideoFormat, int64_t>> modes VEX_GUARDED_BY(lock);
    std::vector<std::unique_ptr<std::byte[]>> buffers VEX_GUARDED_BY(lock);
    size_t bufferBytes VEX_GUARDED_BY(lock) = 0;
    std::vector<uint32_t> free VEX_GUARDED_BY(lock);      // the oldest first
    std::vector<VideoFrame> filled VEX_GUARDED_BY(lock);  // too
};

/// A device that follows its script.
class FakeVideoDevice final : public IVideoDevice {
public:
    explicit FakeVideoDevice(std::shared_ptr<FakeVideoScript> followed) : script(std::move(followed)), s(*script) {}

    std::vector<VideoFormat> Formats() override { return s.formats; }
    Result<VideoMode> Mode() override {
        if (!s.present) return E_FAIL;
        return s.ModeOf(*s.present, s.present->maxInterval);
    }
    Result<VideoMode> SetMode(const VideoFormat& format, int64_t interval) override {
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
    Status Start(uint32_t count) override {
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
    /// As a device that fills its own memory alone.
    Status StartInto(std::span<const std::span<std::byte>>) override { return E_NOTIMPL; }
    Result<VideoFrame> Next(uint32_t milliseconds) override {
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
    Status GiveBack(uint32_t index) override {
        if (s.giveBackResult < 0) return s.giveBackResult;
        const MutexGuard held(s.lock);
        if (index >= s.buffers.size()) return E_INVALIDARG;
        std::memset(s.buffers[index].get(), FakeVideoScript::trampled, s.bufferBytes);
        s.free.push_back(index);
        return S_OK;
    }
    void Stop() override {
        const MutexGuard held(s.lock);
        s.isStreaming = false;
        s.buffers.clear();
        s.free.clear();
        s.filled.clear();
        s.changed.notifyAll();
    }
    void Interrupt() override { s.set(&FakeVideoScript::interrupted, true); }
    Status Check() override {
        const MutexGuard held(s.lock);
        ++s.checksMade;
        s.changed.notifyAll();
        return s.gone ? VEX_E_DEVICE_LOST : S_OK;
    }
    std::vector<VideoControl> Controls() override { return s.controls; }
    Status GetControl(uint32_t id, int32_t& value) override {
        const auto found = s.controlValues.find(id);
        if (found == s.controlValues.end()) return E_INVALIDARG;
        value = found->second;
        return S_OK;
    }
    Status PutControl(uint32_t id, int32_t value) override {
        if (!s.controlValues.contains(id)) return E_INVALIDARG;
        s.controlValues[id] = value;
        return S_OK;
    }

private:
    const std::shared_ptr<FakeVideoScript> script;
    FakeVideoScript& s;
};

/// Devices by display name. Host's thread.
struct FakeVideoDevices final : IVideoDevices {
    std::vector<VideoDeviceEntry> List() override { return entries; }
    Result<std::unique_ptr<IVideoDevice>> Open(std::u16string_view displayName) override {
        if (openResult < 0) return openResult;
        const auto found = scripts.find(std::u16string(displayName));
        if (found == scripts.end()) return Parse(displayName) ? VEX_E_FILE_NOT_FOUND : E_INVALIDARG;
        return std::unique_ptr<IVideoDevice>(std::make_unique<FakeVideoDevice>(found->second));
    }
    bool Parse(std::u16string_view displayName) override { return displayName.starts_with(u"@device:"); }

    /// Lists a device and gives its script.
    FakeVideoScript& add(std::u16string displayName, std::u16string friendlyName) {
        entries.push_back({displayName, std::move(friendlyName)});
        return *(scripts[std::move(displayName)] = std::make_shared<FakeVideoScript>());
    }

    std::vector<VideoDeviceEntry> entries;
    std::map<std::u16string, std::shared_ptr<FakeVideoScript>> scripts;
    HRESULT openResult = S_OK;
};

}  // namespace vexcap
