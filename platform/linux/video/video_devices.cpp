#include "platform/linux/video/video_devices.h"

#include <libudev.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/text.h"
#include "platform/linux/video/v4l2_device.h"

namespace vexcap {
namespace {

constexpr std::u16string_view hardwarePrefix = u"@device:v4l2:";
constexpr std::u16string_view softwarePrefix = u"@device:sw:{";

template <typename T, T* (*release)(T*)>
struct Release {
    void operator()(T* owned) const { release(owned); }
};
using Udev = std::unique_ptr<udev, Release<udev, udev_unref>>;
using UdevEnumerate = std::unique_ptr<udev_enumerate, Release<udev_enumerate, udev_enumerate_unref>>;
using UdevDevice = std::unique_ptr<udev_device, Release<udev_device, udev_device_unref>>;

std::string textOrEmpty(const char* text) { return text ? text : ""; }

uint16_t hexNumber(const char* text) {
    uint16_t number = 0;
    if (text) std::from_chars(text, text + std::strlen(text), number, 16);
    return number;
}

/// A part of a display name, which '#' takes apart.
std::string part(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c <= ' ' || c == '#' || c == 0x7F; }, '_');
    return text;
}

/// False for a node whose name could not be told.
bool readNode(udev_device* device, VideoNode& out) {
    out.path = textOrEmpty(udev_device_get_devnode(device));
    if (out.path.empty()) return false;
    if (textOrEmpty(udev_device_get_property_value(device, "ID_V4L_CAPABILITIES")).find(":capture:") !=
        std::string::npos)
        out.card = textOrEmpty(udev_device_get_property_value(device, "ID_V4L_PRODUCT"));

    // A device's parents belong to it, and go with it.
    udev_device* const parent = udev_device_get_parent(device);
    if (!parent) return true;
    out.bus = textOrEmpty(udev_device_get_subsystem(parent));
    out.place = textOrEmpty(udev_device_get_sysname(parent));
    if (out.bus != "usb") return !out.bus.empty();
    udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
    if (!usb) return false;
    out.vendor = hexNumber(udev_device_get_sysattr_value(usb, "idVendor"));
    out.product = hexNumber(udev_device_get_sysattr_value(usb, "idProduct"));
    out.serial = textOrEmpty(udev_device_get_sysattr_value(usb, "serial"));
    return true;
}

}  // namespace

std::vector<VideoNode> udevVideoNodes() {
    const Udev library(udev_new());
    const UdevEnumerate found(library ? udev_enumerate_new(library.get()) : nullptr);
    if (!found || udev_enumerate_add_match_subsystem(found.get(), "video4linux") < 0 ||
        udev_enumerate_add_match_sysname(found.get(), "video[0-9]*") < 0 ||
        udev_enumerate_scan_devices(found.get()) < 0)
        return {};
    std::vector<std::pair<int, VideoNode>> numbered;
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(found.get())) {
        // It may have gone since it was found.
        const UdevDevice device(udev_device_new_from_syspath(library.get(), udev_list_entry_get_name(entry)));
        VideoNode node;
        if (!device || !readNode(device.get(), node)) continue;
        const std::string number = textOrEmpty(udev_device_get_sysnum(device.get()));
        numbered.emplace_back(std::atoi(number.c_str()), std::move(node));
    }
    std::ranges::sort(numbered, {}, [](const auto& n) { return n.first; });
    std::vector<VideoNode> nodes;
    for (auto& [number, node] : numbered) {
        // The kernel counts in each of a driver's units by itself, of which one place may hold several.
        node.index = uint32_t(std::ranges::count_if(
            nodes, [&n = node](const VideoNode& earlier) { return earlier.bus == n.bus && earlier.place == n.place; }));
        nodes.push_back(std::move(node));
    }
    return nodes;
}

std::u16string videoDisplayName(const VideoNode& node) {
    if (node.bus.empty())
        return std::u16string(softwarePrefix) +
               toUtf16("video4linux}#" + part(node.path.substr(node.path.rfind('/') + 1)));
    std::u16string name(hardwarePrefix);
    if (node.bus == "usb") {
        name += formatText(u"usb#vid_%04x&pid_%04x#", {uint64_t(node.vendor), uint64_t(node.product)});
        return name + toUtf16(part(node.serial) + "#" + part(node.place) + "." + std::to_string(node.index));
    }
    return name + toUtf16(part(node.bus) + "#" + part(node.place) + "#" + std::to_string(node.index));
}

std::vector<VideoDeviceEntry> LinuxVideoDevices::List() {
    std::vector<VideoDeviceEntry> entries;
    for (const VideoNode& node : nodes()) {
        const auto opened = V4l2Node::open(calls, node.path);
        std::u16string name;
        if (!opened.ok()) {
            // Somebody else has it, or this user may not: it is there all the same, and opening it tells why not.
            name = toUtf16(node.card);
        } else if (auto card = v4l2CardName(opened.value()); card.ok()) {
            name = std::move(card).value();
        }
        if (!name.empty()) entries.push_back({videoDisplayName(node), std::move(name)});
    }
    return entries;
}

bool LinuxVideoDevices::Parse(std::u16string_view displayName) {
    return displayName.find(u'\0') == displayName.npos &&
           ((displayName.starts_with(hardwarePrefix) && displayName.size() > hardwarePrefix.size()) ||
            (displayName.starts_with(softwarePrefix) && displayName.size() > softwarePrefix.size()));
}

Result<std::unique_ptr<IVideoDevice>> LinuxVideoDevices::Open(std::u16string_view displayName) {
    if (!Parse(displayName)) return E_INVALIDARG;
    for (const VideoNode& node : nodes())
        if (videoDisplayName(node) == displayName) return V4l2Device::open(calls, node.path);
    return VEX_E_FILE_NOT_FOUND;
}

}  // namespace vexcap
