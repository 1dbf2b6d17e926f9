/// Which device or compressor a user means.
#pragma once

#include <vexcap/records.h>

#include <string>
#include <string_view>
#include <vector>

namespace vexcap::host {

struct Device {
    std::string name;                 ///< What a user sees, UTF-8 without control characters.
    std::string identifier;           ///< What opens it, without the open-mode character.
    uint32_t kind = VEX_KIND_CAMERA;  ///< VEX_KIND_CAMERA or VEX_KIND_VIDEO_INPUT.
    bool operator==(const Device&) const = default;
    bool IsCamera() const { return kind == VEX_KIND_CAMERA; }
    /// One of the cameras of software that come with the library.
    bool IsSimulated() const { return IsCamera() && identifier.starts_with("sim-"); }
};

/// "camera", "video input".
const char* kindWord(const Device& device);

/// The device that `wanted` names. The first of these rules that fits decides:
/// - a decimal number is an index of the list;
/// - a whole identifier, or a whole name without regard to case of ASCII letters;
/// - the beginning of one name only, then a part of one name only, without regard to case.
/// What fits no rule is taken for the identifier of a device that is not listed, and gives that with its own name: a
/// video input device where it begins with "@device:", a camera else.
/// Throws Failure: exitNoDevice for an empty text or an index behind the list, exitUsage for a text that fits several.
Device matchDevice(const std::vector<Device>& devices, std::string_view wanted);

/// A compressor of the library.
struct Codec {
    std::string display;  ///< What a user sees.
    std::string name;     ///< What the library knows it by.
    bool operator==(const Codec&) const = default;
};

/// A word that names a compressor in a command line: the first one of what a user sees, or all of that where the word
/// fits several.
std::string codecWord(const std::vector<Codec>& codecs, const Codec& codec);

/// The compressor that `wanted` names: a whole `name` or `display`, then the beginning, then a part of `display` and at
/// last of `name` that fits one only, all without regard to case of ASCII letters. Throws Failure exitUsage with all
/// names when none or several fit.
Codec matchCodec(const std::vector<Codec>& codecs, std::string_view wanted);

}  // namespace vexcap::host
