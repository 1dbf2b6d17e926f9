#include "engine/device_catalogue.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "base/text.h"

namespace vexcap {
namespace {

using OwnedText = std::unique_ptr<vex_char[]>;

OwnedText copyOf(std::u16string_view text) {
    OwnedText copy(new (std::nothrow) vex_char[text.size() + 1]);
    if (copy) copyToField(copy.get(), text.size() + 1, text);
    return copy;
}

struct Entry {
    OwnedText name;
    OwnedText display;
    uint32_t kind;
};

/// Tells the camera library how the camera is to be opened.
vex_char openMode(const EngineState& engine) {
    if (engine.astroMode) return VEX_OPEN_ASTRO;
    return engine.gainBalance ? VEX_OPEN_GAINS : VEX_OPEN_TEMPTINT;
}

void addCameras(const EngineState& engine, std::vector<Entry>& entries) {
    if (!engine.camera.EnumV2) return;
    std::array<vex_camera_entry, VEX_CAMERA_ENTRIES> cameras = {};
    const uint32_t count = std::min<uint32_t>(engine.camera.EnumV2(cameras.data()), VEX_CAMERA_ENTRIES);
    for (const vex_camera_entry& camera : std::span(cameras).first(count)) {
        std::u16string name(1, openMode(engine));
        name += textOfField(camera.identifier, std::size(camera.identifier));
        Entry entry{copyOf(name), copyOf(textOfField(camera.display, std::size(camera.display))), VEX_KIND_CAMERA};
        if (entry.name && entry.display) entries.push_back(std::move(entry));
    }
}

std::wstring wideOf(std::u16string_view text) { return {text.begin(), text.end()}; }

/// Software that poses as a device.
bool isLoopback(std::u16string_view displayName) { return displayName.starts_with(u"@device:sw:{"); }

/// Longer patterns are not understood: their brackets are read by recursion, which a stack must hold.
constexpr size_t longestFilter = 1000;

void addVideoInputs(const EngineState& engine, const vex_char* filter, std::vector<Entry>& entries) {
    const std::u16string_view wanted = textOf(filter);
    if (wanted.size() > longestFilter) return;
    std::optional<std::wregex> pattern;
    try {
        if (filter) pattern.emplace(wideOf(wanted), std::regex_constants::ECMAScript);
        for (const VideoDeviceEntry& device : engine.platform->videoDevices.List()) {
            if (isLoopback(device.displayName)) continue;
            if (pattern && !std::regex_search(wideOf(device.displayName), *pattern)) continue;
            Entry entry{copyOf(device.displayName), copyOf(device.friendlyName), VEX_KIND_VIDEO_INPUT};
            if (entry.name && entry.display) entries.push_back(std::move(entry));
        }
    } catch (const std::regex_error&) {
        // A pattern that cannot be understood matches nothing.
    }
}

vex_device* arrayOf(std::vector<Entry> entries) {
    if (entries.empty()) return nullptr;
    auto* const devices = new (std::nothrow) vex_device[entries.size() + 1]();
    if (!devices) return nullptr;
    for (size_t i = 0; i < entries.size(); ++i)
        devices[i] = {entries[i].name.release(), entries[i].display.release(), entries[i].kind, 0};
    return devices;
}

}  // namespace

vex_device* enumDevices(const EngineState& engine, const vex_char* filter) {
    std::vector<Entry> entries;
    addCameras(engine, entries);
    if (!engine.astroMode) addVideoInputs(engine, filter, entries);
    return arrayOf(std::move(entries));
}

vex_device* enumCodecs(const EngineState& engine) {
    std::vector<Entry> entries;
    for (const Compressor& compressor : engine.platform->media.Compressors()) {
        Entry entry{copyOf(compressor.displayName), copyOf(compressor.friendlyName), 0};
        if (entry.name && entry.display) entries.push_back(std::move(entry));
    }
    return arrayOf(std::move(entries));
}

void freeDevices(vex_device* devices) {
    if (!devices) return;
    for (const vex_device* device = devices; device->name || device->display; ++device) {
        delete[] device->name;
        delete[] device->display;
    }
    delete[] devices;
}

}  // namespace vexcap
