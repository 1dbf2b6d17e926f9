#include <cstdlib>
#include <new>
#include <string_view>

#include "base/text.h"
#include "companions/cameras/provider.h"
#include "companions/cameras/simulated/camera.h"

namespace vexcap::cameras {
namespace {

bool switchedOff() {
    const char* const value = std::getenv("VEXCAP_SIMULATED");
    if (!value) return false;
    const std::string_view text(value);
    return text == "off" || text == "0" || text == "no";
}

class SimulatedProvider final : public ICameraProvider {
public:
    void List(std::vector<vex_camera_entry>& entries) override {
        if (switchedOff()) return;
        for (const SimulatedModel& model : simulatedModels()) {
            if (entries.size() >= VEX_CAMERA_ENTRIES) return;
            vex_camera_entry entry{};
            copyToField(entry.display, std::size(entry.display), model.display);
            copyToField(entry.identifier, std::size(entry.identifier), model.identifier);
            entry.model = &model;
            entries.push_back(entry);
        }
    }

    Result<ICamera*> Open(std::u16string_view identifier) override {
        if (switchedOff()) return VEX_E_FILE_NOT_FOUND;
        const auto options = parseSimulatedOptions(identifier);
        return options.ok() ? SimulatedCamera::Open(options.value()) : options.status();
    }
};

}  // namespace

ICameraProvider& simulatedProvider() {
    static SimulatedProvider provider;
    return provider;
}

}  // namespace vexcap::cameras
