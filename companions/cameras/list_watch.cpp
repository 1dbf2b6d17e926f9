#include "companions/cameras/list_watch.h"

#include <exception>
#include <optional>
#include <system_error>

#include "companions/cameras/signals_blocked.h"

namespace vexcap::cameras {

HRESULT ListWatch::Set(vex_camera_list_callback callback, void* context) {
    End();
    if (!callback) return S_OK;
    try {
        const SignalsBlocked blocked;
        thread = std::thread([this, callback, context] { Run(callback, context); });
    } catch (const std::system_error&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void ListWatch::End() {
    if (!thread.joinable()) return;
    {
        MutexGuard guard(lock);
        ending = true;
        changed.notifyAll();
    }
    thread.join();
    MutexGuard guard(lock);
    ending = false;
}

void ListWatch::Run(vex_camera_list_callback callback, void* context) {
    std::optional<std::vector<std::u16string>> known;
    do {
        try {
            auto seen = look();
            const bool differs = known && seen != *known;
            known = std::move(seen);
            if (differs) callback(context);
        } catch (const std::exception&) {
            // No list this time; the next one is compared with the last that there was.
        }
    } while (WaitForNextLook());
}

bool ListWatch::WaitForNextLook() {
    const auto end = std::chrono::steady_clock::now() + interval;
    MutexGuard guard(lock);
    for (;;) {
        if (ending) return false;
        const auto left = end - std::chrono::steady_clock::now();
        if (left.count() <= 0) return true;
        changed.waitFor(lock, left);
    }
}

}  // namespace vexcap::cameras
