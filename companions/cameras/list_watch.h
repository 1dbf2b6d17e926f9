// Notices that the list of cameras changed.
#pragma once

#include <vexcap/camera_library.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/mutex.h"

namespace vexcap::cameras {

/// Looks at the list from time to time, on a thread that lives only while a callback is registered.
class ListWatch final {
public:
    /// Identifiers of the cameras that are there; called on the watch's thread.
    using Look = std::function<std::vector<std::u16string>()>;

    ListWatch(Look how, std::chrono::milliseconds between) : look(std::move(how)), interval(between) {}
    ListWatch(const ListWatch&) = delete;
    ListWatch& operator=(const ListWatch&) = delete;
    ~ListWatch() { End(); }

    /// Registers the callback of changes; null ends the watch. Once it returned, the callback registered before neither
    /// runs nor comes. E_OUTOFMEMORY when no thread can be had. One thread at a time, never from inside the callback.
    HRESULT Set(vex_camera_list_callback callback, void* context) VEX_EXCLUDES(lock);

private:
    void End() VEX_EXCLUDES(lock);
    void Run(vex_camera_list_callback callback, void* context) VEX_EXCLUDES(lock);
    // False when the watch ends.
    bool WaitForNextLook() VEX_EXCLUDES(lock);

    const Look look;
    const std::chrono::milliseconds interval;
    std::thread thread;
    Mutex lock;
    Condition changed VEX_GUARDED_BY(lock);
    bool ending VEX_GUARDED_BY(lock) = false;
};

}  // namespace vexcap::cameras
