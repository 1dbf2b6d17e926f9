// A host for tests: it opens a simulated camera, takes its frames and waits for what it wants to see.
#pragma once

#include <vexcap/camera_library.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string_view>
#include <vector>

#include "base/dib.h"
#include "base/mutex.h"
#include "companions/cameras/provider.h"

namespace vexcap::cameras {

/// One frame, raw or display.
struct SeenFrame {
    vex_frame_info info{};
    bool lost = false;
    uint32_t still = 0;
    uint32_t tag = 0;
    uint32_t depth = 0;  ///< Raw: bits of a sample. Display: the depth flag.
    std::vector<uint8_t> bytes;
};

class Probe {
public:
    explicit Probe(std::u16string_view identifier) : camera(simulatedProvider().Open(identifier).value()) {}
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    ~Probe() {
        if (camera) camera->Close();
    }

    template <typename Interface>
    Interface* Query(const vex_guid& iid) {
        void* found = nullptr;
        if (camera->QueryInterface(iid, &found) < 0) return nullptr;
        auto* const table = static_cast<Interface*>(found);
        table->Release();  // the opener's reference holds it as long as the probe lives
        return table;
    }
    ICameraControls& Controls() { return *Query<ICameraControls>(VEX_IID_CAMERA_CONTROLS); }
    ICameraRaw& Raw() { return *Query<ICameraRaw>(VEX_IID_CAMERA_RAW); }
    ICameraStatus& Status() { return *Query<ICameraStatus>(VEX_IID_CAMERA_STATUS); }
    ICameraStill& Still() { return *Query<ICameraStill>(VEX_IID_CAMERA_STILL); }

    HRESULT Start(bool withRaw = true) {
        if (withRaw) Raw().SetRawCallback(TakeRaw, this);
        return camera->StartPull(0, 0, TakeFrame, nullptr, this, TakeEvent, this, 0, 0, nullptr, 1);
    }

    /// Waits until `fulfilled`, which runs under the lock of what was seen; false after ten seconds.
    bool Wait(const std::function<bool(const Probe&)>& fulfilled) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        MutexGuard guard(lock);
        while (!fulfilled(*this)) {
            if (std::chrono::steady_clock::now() > limit) return false;
            changed.waitFor(lock, std::chrono::milliseconds(100));
        }
        return true;
    }
    bool WaitForFrames(size_t count) {
        return Wait([&](const Probe& probe) { return probe.frames.size() >= count; });
    }
    void Forget() {
        MutexGuard guard(lock);
        raws.clear();
        frames.clear();
        events.clear();
    }

    ICamera* camera;
    // Read after Stop, or inside of Wait.
    std::vector<SeenFrame> raws;
    std::vector<SeenFrame> frames;
    std::vector<uint32_t> events;

private:
    void Add(std::vector<SeenFrame>& list, SeenFrame frame) {
        MutexGuard guard(lock);
        list.push_back(std::move(frame));
        changed.notifyAll();
    }
    static void TakeRaw(const void* raw, const vex_frame_info* info, uint32_t tag, uint32_t depth, void* context) {
        const auto* const bytes = static_cast<const uint8_t*>(raw);
        SeenFrame seen{*info, false, 0, tag, depth, {}};
        seen.bytes.assign(bytes, bytes + size_t(info->width) * info->height * (depth > 8 ? 2 : 1));
        auto* const probe = static_cast<Probe*>(context);
        probe->Add(probe->raws, std::move(seen));
    }
    static void TakeFrame(const void* frame, const vex_frame_info* info, uint32_t still, const void*, const void*,
                          uint32_t depthFlag, uint32_t tag, uint64_t, void* context) {
        const auto* const bytes = static_cast<const uint8_t*>(frame);
        SeenFrame seen;
        seen.lost = !frame || !info;
        if (!seen.lost) {
            seen.info = *info;
            seen.bytes.assign(bytes, bytes + dibStride(info->width, 3) * info->height);
        }
        seen.still = still;
        seen.depth = depthFlag;
        seen.tag = tag;
        auto* const probe = static_cast<Probe*>(context);
        probe->Add(probe->frames, std::move(seen));
    }
    static void TakeEvent(uint32_t event, void* context) {
        auto* const probe = static_cast<Probe*>(context);
        MutexGuard guard(probe->lock);
        probe->events.push_back(event);
        probe->changed.notifyAll();
    }

    Mutex lock;
    Condition changed;
};

}  // namespace vexcap::cameras
