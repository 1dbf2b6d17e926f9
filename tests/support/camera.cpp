#include "tests/support/camera.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "tests/support/ser_reader.h"
#include "tests/support/text.h"

namespace vexcap::test {

namespace {

template <typename Interface>
class Held final {
public:
    Held(ICamera* camera, const vex_guid& iid) {
        void* out = nullptr;
        if (camera->QueryInterface(iid, &out) >= 0) object = static_cast<Interface*>(out);
        if (object == nullptr) throw std::runtime_error("the camera lacks an interface");
    }
    ~Held() { object->Release(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Interface* operator->() const { return object; }

private:
    Interface* object = nullptr;
};

constexpr uint32_t mostFrames = 300;

struct Collector {
    std::mutex lock;
    std::condition_variable changed;
    std::unordered_map<uint64_t, uint32_t>& numbers;
    uint32_t seen = 0;
    std::vector<uint8_t> reversed = {};
};

void collect(const void* raw, const vex_frame_info* info, uint32_t, uint32_t depth, void* context) {
    auto& self = *static_cast<Collector*>(context);
    const std::lock_guard hold(self.lock);
    const size_t rowBytes = size_t(info->width) * (depth > 8 ? 2 : 1);
    const auto* const rows = static_cast<const uint8_t*>(raw);
    self.reversed.clear();
    for (size_t y = info->height; y-- > 0;)
        self.reversed.insert(self.reversed.end(), rows + y * rowBytes, rows + (y + 1) * rowBytes);
    self.numbers.emplace(hashOf(self.reversed), info->sequence);
    ++self.seen;
    self.changed.notify_all();
}

void ignoreFrame(const void*, const vex_frame_info*, uint32_t, const void*, const void*, uint32_t, uint32_t, uint64_t,
                 void*) {}
void ignoreEvent(uint32_t, void*) {}
void giveNoRoom(uint32_t, void** display, void** raw, void** deep, void*) {
    for (void** out : {display, raw, deep})
        if (out != nullptr) *out = nullptr;
}

}  // namespace

HRESULT setRegion(ICamera* camera, const Region& region) {
    return Held<ICameraControls>(camera, VEX_IID_CAMERA_CONTROLS)
        ->PutRoi(region.x, region.y, region.width, region.height);
}

RawFrames::RawFrames(const std::string& libraryPath, const std::string& name, const Region& region,
                     const std::vector<uint64_t>& wanted) {
    void* const library = ::dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(::dlerror());
    const auto open = reinterpret_cast<vex_camera_open>(::dlsym(library, "Vexcam_Open"));
    ICamera* const camera = open(wide(name).c_str());
    if (camera == nullptr) throw std::runtime_error("the camera cannot be opened");
    Collector collector{.lock = {}, .changed = {}, .numbers = numbers};
    if (region.width != 0) setRegion(camera, region);
    Held<ICameraRaw>(camera, VEX_IID_CAMERA_RAW)->SetRawCallback(collect, &collector);
    camera->StartPull(0, 0, ignoreFrame, giveNoRoom, nullptr, ignoreEvent, nullptr, 0, 0, nullptr, 1);
    {
        const auto complete = [&] {
            return collector.seen >= mostFrames ||
                   std::all_of(wanted.begin(), wanted.end(), [&](uint64_t hash) { return numbers.contains(hash); });
        };
        std::unique_lock hold(collector.lock);
        collector.changed.wait_for(hold, std::chrono::seconds(120), complete);
    }
    camera->Close();
}

int64_t RawFrames::find(uint64_t hash) const {
    const auto found = numbers.find(hash);
    return found != numbers.end() ? int64_t(found->second) : -1;
}

}  // namespace vexcap::test
