#include "hosts/common/device_match.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include "hosts/common/failure.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

/// How a name stands to what is wanted; both in lower case.
using Fits = bool (*)(std::string_view name, std::string_view wanted);
bool whole(std::string_view name, std::string_view wanted) { return name == wanted; }
bool beginning(std::string_view name, std::string_view wanted) { return name.starts_with(wanted); }
bool part(std::string_view name, std::string_view wanted) { return name.find(wanted) != name.npos; }

/// The entries whose `member` stands to `wanted` as the first rule says that fits any.
template <typename Entry>
std::vector<Entry> fitting(const std::vector<Entry>& entries, std::string Entry::*member, std::string_view wanted) {
    const std::string lower = lowerCase(wanted);
    std::vector<Entry> found;
    for (const Fits fits : {whole, beginning, part}) {
        for (const Entry& entry : entries)
            if (fits(lowerCase(entry.*member), lower)) found.push_back(entry);
        if (!found.empty()) break;
    }
    return found;
}

[[noreturn]] void refuseSeveral(const std::vector<Device>& found, std::string_view wanted) {
    std::string text = "\"" + std::string(wanted) + "\" fits several devices:";
    for (const Device& device : found) text += "\n  " + device.name + "  (" + device.identifier + ")";
    throw Failure(exitUsage, text);
}

[[noreturn]] void refuseCodec(const std::vector<Codec>& listed, const std::string& text) {
    std::string lines = text;
    for (const Codec& codec : listed) lines += "\n  " + codec.display;
    throw Failure(exitUsage, lines);
}

Device atIndex(const std::vector<Device>& devices, std::string_view digits) {
    size_t index = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (read.ec == std::errc() && index < devices.size()) return devices[index];
    throw Failure(exitNoDevice, "there is no device " + std::string(digits) + "; " + std::to_string(devices.size()) +
                                    " listed by \"vexcap devices\"");
}

}  // namespace

const char* kindWord(const Device& device) { return device.IsCamera() ? "camera" : "video input"; }

Device matchDevice(const std::vector<Device>& devices, std::string_view wanted) {
    if (wanted.empty()) throw Failure(exitNoDevice, "no device is named");
    if (wanted.find_first_not_of("0123456789") == std::string_view::npos) return atIndex(devices, wanted);

    const auto same =
        std::find_if(devices.begin(), devices.end(), [&](const Device& d) { return d.identifier == wanted; });
    if (same != devices.end()) return *same;

    const std::vector<Device> found = fitting(devices, &Device::name, wanted);
    if (found.size() > 1) refuseSeveral(found, wanted);
    if (found.size() == 1) return found.front();
    const bool videoInput = wanted.starts_with("@device:");
    return {std::string(wanted), std::string(wanted),
            static_cast<uint32_t>(videoInput ? VEX_KIND_VIDEO_INPUT : VEX_KIND_CAMERA)};
}

Codec matchCodec(const std::vector<Codec>& codecs, std::string_view wanted) {
    const std::string quoted = "\"" + std::string(wanted) + "\"";
    const std::string lower = lowerCase(wanted);
    for (const Codec& codec : codecs)
        if (lowerCase(codec.name) == lower) return codec;
    std::vector<Codec> found;
    if (!wanted.empty()) found = fitting(codecs, &Codec::display, wanted);
    if (!wanted.empty() && found.empty()) found = fitting(codecs, &Codec::name, wanted);
    if (found.empty()) refuseCodec(codecs, "there is no compressor " + quoted + "; these are there:");
    if (found.size() > 1) refuseCodec(found, quoted + " fits several compressors:");
    return found.front();
}

std::string codecWord(const std::vector<Codec>& codecs, const Codec& codec) {
    const std::string word = lowerCase(codec.display.substr(0, codec.display.find(' ')));
    try {
        if (matchCodec(codecs, word) == codec) return word;
    } catch (const Failure&) {
        // It fits several.
    }
    return codec.display;
}

}  // namespace vexcap::host
