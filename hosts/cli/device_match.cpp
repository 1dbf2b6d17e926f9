#include "hosts/cli/device_match.h"

#include <algorithm>
#include <charconv>

#include "hosts/cli/failure.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

[[noreturn]] void refuseSeveral(const std::vector<Device>& fitting, std::string_view wanted) {
    std::string text = "\"" + std::string(wanted) + "\" fits several cameras:";
    for (const Device& device : fitting) text += "\n  " + device.name + "  (" + device.identifier + ")";
    throw Failure(exitUsage, text);
}

/// The devices whose name stands to `wanted` as `fits` says.
template <typename Fits>
std::vector<Device> filter(const std::vector<Device>& devices, Fits fits) {
    std::vector<Device> fitting;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(fitting), fits);
    return fitting;
}

Device atIndex(const std::vector<Device>& devices, std::string_view digits) {
    size_t index = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (read.ec == std::errc() && index < devices.size()) return devices[index];
    throw Failure(exitNoDevice, "there is no camera " + std::string(digits) + "; " + std::to_string(devices.size()) +
                                    " listed by \"vexcap devices\"");
}

}  // namespace

Device matchDevice(const std::vector<Device>& devices, std::string_view wanted) {
    if (wanted.empty()) throw Failure(exitNoDevice, "no camera is named");
    if (wanted.find_first_not_of("0123456789") == std::string_view::npos) return atIndex(devices, wanted);

    const auto same =
        std::find_if(devices.begin(), devices.end(), [&](const Device& d) { return d.identifier == wanted; });
    if (same != devices.end()) return *same;

    const std::string lower = lowerCase(wanted);
    const auto whole = [&](const Device& d) { return lowerCase(d.name) == lower; };
    const auto beginning = [&](const Device& d) { return lowerCase(d.name).starts_with(lower); };
    const auto part = [&](const Device& d) { return lowerCase(d.name).find(lower) != std::string::npos; };
    auto fitting = filter(devices, whole);
    if (fitting.empty()) fitting = filter(devices, beginning);
    if (fitting.empty()) fitting = filter(devices, part);
    if (fitting.size() > 1) refuseSeveral(fitting, wanted);
    if (fitting.size() == 1) return fitting.front();
    return {std::string(wanted), std::string(wanted)};
}

}  // namespace vexcap::cli
