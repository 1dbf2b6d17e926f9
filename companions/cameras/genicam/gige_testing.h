// What the tests of GenICam cameras share: a host that keeps what it is given.
#pragma once

#include <vexcap/camera_library.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace vexcap::cameras {

/// One display frame or raw frame.
struct KeptFrame {
    vex_frame_info info{};
    uint32_t fourcc = 0;
    uint32_t depth = 0;      // raw frames
    uint32_t depthFlag = 0;  // display frames
    std::vector<uint8_t> bytes;
};

/// The host's side of a stream. Callbacks come on the camera's threads, the rest is the test's.
class FakeHost final {
public:
    /// StartPull and raw callback.
    HRESULT start(ICamera* camera);
    HRESULT start(ICamera* camera, ICameraRaw* raw);

    size_t rawCount();
    size_t displayCount();
    size_t lossCount();
    std::vector<uint32_t> events();
    KeptFrame lastRaw();
    KeptFrame lastDisplay();
    std::vector<uint32_t> sequences();
    /// "f" a frame, "L" the loss, "E" an event, in the order in which they came; equal frames in a row are one.
    std::string story();
    void forget();
    /// False when `until` does not become true of this host in time.
    bool waitFor(std::chrono::milliseconds limit, const std::function<bool()>& until);
    bool waitForRaw(size_t count, std::chrono::milliseconds limit = std::chrono::seconds(20));

private:
    static void onFrame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw,
                        const void* deep, uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* context);
    static void onRaw(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context);
    static void onEvent(uint32_t event, void* context);
    void tell(char what);

    std::mutex lock;
    std::condition_variable changed;
    size_t raws = 0;
    size_t displays = 0;
    size_t losses = 0;
    std::vector<uint32_t> told;
    std::vector<uint32_t> numbers;
    KeptFrame raw;
    KeptFrame display;
    std::string tale;
};

/// An interface of a camera for the length of a block.
template <typename Interface>
class Ask final {
public:
    Ask(ICamera* camera, const vex_guid& iid) {
        void* out = nullptr;
        if (camera->QueryInterface(iid, &out) == S_OK) asked = static_cast<Interface*>(out);
    }
    ~Ask() {
        if (asked) asked->Release();
    }
    Ask(const Ask&) = delete;
    Ask& operator=(const Ask&) = delete;
    Interface* operator->() const { return asked; }
    Interface* get() const { return asked; }

private:
    Interface* asked = nullptr;
};

}  // namespace vexcap::cameras
