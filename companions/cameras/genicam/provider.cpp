#include "companions/cameras/genicam/provider.h"

#include <chrono>
#include <cstdlib>
#include <iterator>

#include "base/text.h"
#include "companions/cameras/genicam/camera.h"
#include "companions/cameras/genicam/discovery.h"
#include "companions/cameras/provider.h"
#include "companions/cameras/signals_blocked.h"

namespace vexcap::cameras {
namespace {

constexpr std::u16string_view prefix = u"genicam:";
constexpr size_t fieldRoom = std::size(vex_camera_entry{}.identifier);
constexpr size_t longest = fieldRoom - 1;
constexpr std::chrono::milliseconds listPatience{500};

std::u16string checkSum(std::string_view text) {
    uint32_t sum = 2166136261u;  // FNV-1a
    for (const char c : text) sum = (sum ^ uint8_t(c)) * 16777619u;
    std::u16string digits;
    for (int shift = 28; shift >= 0; shift -= 4) digits += u"0123456789abcdef"[sum >> shift & 0xF];
    return digits;
}

std::string_view textOrEmpty(const char* text) { return text ? text : ""; }

void add(std::vector<vex_camera_entry>& entries, const std::u16string& display, const std::u16string& identifier) {
    if (entries.size() >= VEX_CAMERA_ENTRIES) return;
    vex_camera_entry entry{};
    copyToField(entry.display, std::size(entry.display), display);
    copyToField(entry.identifier, std::size(entry.identifier), identifier);
    entries.push_back(entry);
}

class GenicamProvider final : public ICameraProvider {
public:
    void List(std::vector<vex_camera_entry>& entries) override;
    Result<ICamera*> Open(std::u16string_view identifier) override;

private:
    static GigeSearch ChooseInterfaces();
    static Result<GObjectPtr<ArvCamera>> OpenListed(std::u16string_view identifier);
};

// Without leave no packet is sent: an interface that is off is neither listed nor opened.
GigeSearch GenicamProvider::ChooseInterfaces() {
    const GigeSearch search = gigeSearchOf(std::getenv("VEXCAP_GIGE"));
    if (search.everywhere)
        arv_enable_interface("GigEVision");
    else
        arv_disable_interface("GigEVision");
    // Cameras without a device, for tests.
    if (textOrEmpty(std::getenv("VEXCAP_GENICAM_FAKE")) == "1")
        arv_enable_interface("Fake");
    else
        arv_disable_interface("Fake");
    return search;
}

void GenicamProvider::List(std::vector<vex_camera_entry>& entries) {
    const GigeSearch search = ChooseInterfaces();
    const SignalsBlocked blocked;  // the USB part keeps a thread
    arv_update_device_list();
    for (unsigned i = 0; i < arv_get_n_devices(); ++i)
        add(entries,
            genicamDisplayName(textOrEmpty(arv_get_device_vendor(i)), textOrEmpty(arv_get_device_model(i)),
                               textOrEmpty(arv_get_device_serial_nbr(i))),
            genicamIdentifier(textOrEmpty(arv_get_device_id(i))));
    if (search.addresses.empty()) return;
    for (const NetworkCamera& camera : askCameras(search.addresses, listPatience))
        add(entries, genicamDisplayName(camera.vendor, camera.model, camera.serial), genicamIdentifier(camera.address));
}

Result<ICamera*> GenicamProvider::Open(std::u16string_view identifier) {
    if (!identifier.starts_with(prefix)) return VEX_E_FILE_NOT_FOUND;
    const std::string name = toUtf8(identifier.substr(prefix.size()));
    const GigeSearch search = ChooseInterfaces();
    const SignalsBlocked blocked;  // Aravis keeps a thread for each network camera
    if (isAddress(name) && !search.allowed()) return E_ACCESSDENIED;
    auto opened = isAddress(name) ? openAddress(name) : OpenListed(identifier);
    if (!opened.ok()) return opened.status();
    return GenicamCamera::create(std::move(opened).value());
}

Result<GObjectPtr<ArvCamera>> GenicamProvider::OpenListed(std::u16string_view identifier) {
    Status failure = VEX_E_FILE_NOT_FOUND;
    // Mostly the camera is known from the last listing, and a new one takes a second.
    for (const bool update : {false, true}) {
        if (update) arv_update_device_list();
        for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
            const std::string id(textOrEmpty(arv_get_device_id(i)));
            if (genicamIdentifier(id) != identifier) continue;
            ArvError error;
            if (GObjectPtr<ArvCamera> opened{arv_camera_new(id.c_str(), error.out())}) return opened;
            failure = failureOf(error);
        }
    }
    return failure;
}

}  // namespace

std::u16string genicamIdentifier(std::string_view id) {
    std::u16string identifier = std::u16string(prefix) + toUtf16(id);
    if (identifier.size() <= longest) return identifier;
    const std::u16string sum = u'#' + checkSum(id);
    const size_t kept = longest - sum.size();
    const bool insidePair = identifier[kept] >= 0xDC00 && identifier[kept] <= 0xDFFF;
    return identifier.substr(0, insidePair ? kept - 1 : kept) + sum;
}

std::u16string genicamDisplayName(std::string_view vendor, std::string_view model, std::string_view serial) {
    std::string name;
    const auto append = [&name](std::string_view word) {
        if (!name.empty() && !word.empty()) name += ' ';
        name += word;
    };
    append(vendor);
    append(model);
    if (!serial.empty()) append('(' + std::string(serial) + ')');
    return toUtf16(name);
}

ICameraProvider& genicamProvider() {
    static GenicamProvider provider;
    return provider;
}

}  // namespace vexcap::cameras
