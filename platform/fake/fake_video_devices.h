// Video input devices that a test makes up.
#pragma once

#include <chrono>
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
    void push(const FakeVideoFrame& frame) VEX_EXCLUDES(lock);
    /// From now on a frame each interval, filled with its number and stamped with the time of its making; 0 ends it.
    void pace(std::chrono::microseconds every) VEX_EXCLUDES(lock);
    /// Nothing comes any more, and waiting takes a millisecond, whatever the limit: then Next gives VEX_E_TIMEOUT.
    void stall(bool on = true) VEX_EXCLUDES(lock) { set(&FakeVideoScript::stalled, on); }
    /// Next waits for ever, whatever its limit, and only Interrupt ends it.
    void hang(bool on = true) VEX_EXCLUDES(lock) { set(&FakeVideoScript::hanging, on); }
    void unplug() VEX_EXCLUDES(lock) { set(&FakeVideoScript::gone, true); }
    /// Lets the next Next fail.
    void failNext(HRESULT code) VEX_EXCLUDES(lock);

    bool streaming() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::isStreaming); }
    uint32_t startedBuffers() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::buffersAsked); }
    uint32_t checks() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::checksMade); }
    /// Milliseconds that the calls of Next were ready to wait before they gave VEX_E_TIMEOUT.
    std::vector<uint32_t> timeouts() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::limits); }
    /// What SetMode was asked for: format and interval.
    std::vector<std::pair<VideoFormat, int64_t>> modesSet() VEX_EXCLUDES(lock) { return get(&FakeVideoScript::modes); }
    /// Waits until Next has taken every frame that was pushed and waits for more.
    void waitUntilDrained() VEX_EXCLUDES(lock);
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

    void set(bool FakeVideoScript::*flag, bool on) VEX_EXCLUDES(lock);
    template <typename Value>
    Value get(Value FakeVideoScript::*value) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return this->*value;
    }
    void Fill(const FakeVideoFrame& frame) VEX_REQUIRES(lock);
    VideoMode ModeOf(const VideoFormat& format, int64_t wanted) const;

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
    Result<VideoMode> Mode() override;
    Result<VideoMode> SetMode(const VideoFormat& format, int64_t interval) override;
    Status Start(uint32_t count) override;
    /// As a device that fills its own memory alone.
    Status StartInto(std::span<const std::span<std::byte>>) override { return E_NOTIMPL; }
    Result<VideoFrame> Next(uint32_t milliseconds) override;
    Status GiveBack(uint32_t index) override;
    void Stop() override;
    void Interrupt() override { s.set(&FakeVideoScript::interrupted, true); }
    Status Check() override;
    std::vector<VideoControl> Controls() override { return s.controls; }
    Status GetControl(uint32_t id, int32_t& value) override;
    Status PutControl(uint32_t id, int32_t value) override;

private:
    const std::shared_ptr<FakeVideoScript> script;
    FakeVideoScript& s;
};

/// Devices by display name. Host's thread.
struct FakeVideoDevices final : IVideoDevices {
    std::vector<VideoDeviceEntry> List() override { return entries; }
    Result<std::unique_ptr<IVideoDevice>> Open(std::u16string_view displayName) override;
    bool Parse(std::u16string_view displayName) override { return displayName.starts_with(u"@device:"); }

    /// Lists a device and gives its script.
    FakeVideoScript& add(std::u16string displayName, std::u16string friendlyName);

    std::vector<VideoDeviceEntry> entries;
    std::map<std::u16string, std::shared_ptr<FakeVideoScript>> scripts;
    HRESULT openResult = S_OK;
};

}  // namespace vexcap
