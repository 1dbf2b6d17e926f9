// Settings as directories and files below a root.
#pragma once

#include <filesystem>

#include "platform/settings.h"

namespace vexcap {

/// Host's thread.
struct LinuxSettings final : ISettings {
    Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) override;
};

/// Where the node `path` ('\' between its names) lies below `root`. A name cannot lead out of it: what a file name
/// cannot hold becomes '_'.
std::filesystem::path settingsPath(const std::filesystem::path& root, std::u16string_view path);

}  // namespace vexcap

/// A settings root is a directory.
struct vex_key {
    std::filesystem::path directory;
};
