// Folders of a Linux file system.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>

#include "platform/folders.h"

namespace vexcap {

/// Names are UTF-8. Any thread.
struct LinuxFolders final : IFolders {
    /// XDG_DOCUMENTS_DIR of the user's directories, else "Documents" in the home folder, which is $HOME or what the
    /// system knows the user by.
    Result<std::u16string> Documents() override;
    Result<std::u16string> Current() override;
    bool IsFolder(std::u16string_view path) override;
    bool Exists(std::u16string_view path) override;
    Status Create(std::u16string_view path) override;
};

/// The folder that an environment variable names. A relative one counts as not set.
std::optional<std::filesystem::path> environmentFolder(const char* variable);

/// Makes a folder with all its parents, each with this mode but for the process's mask. One that is there already is a
/// success and keeps its mode.
Status makeFolders(const std::filesystem::path& path, mode_t mode);

}  // namespace vexcap
