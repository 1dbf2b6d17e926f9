// Settings as directories and TOML files below a root.
#pragma once

#include <filesystem>

#include "platform/settings.h"

namespace vexcap {

/// The node A\b is the file A/b.toml, which the first write makes with its folders. Host's thread.
struct LinuxSettings final : ISettings {
    Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) override;
};

/// The file of the node `path` ('\' between its names) below `root`. A folder or file that is there and differs in the
/// case of ASCII letters only is the one that is meant; else the file's name is in lower case. A name cannot lead out
/// of the root: what a file name cannot hold becomes '_'.
std::filesystem::path settingsPath(const std::filesystem::path& root, std::u16string_view path);

}  // namespace vexcap

/// A settings root is a directory.
struct vex_key {
    std::filesystem::path directory;
};
