// Port: folders, and what lies in them.
#pragma once

#include <string>
#include <string_view>

#include "base/status.h"

namespace vexcap {

/// A path with a zero in it is refused with E_INVALIDARG, or is none of anything.
struct IFolders {
    virtual ~IFolders() = default;
    /// The user's documents folder; it is made where it is missing.
    virtual Result<std::u16string> Documents() = 0;
    /// The folder that relative paths begin at. Like the one above it fails when its path cannot be told as text.
    virtual Result<std::u16string> Current() = 0;
    virtual bool IsFolder(std::u16string_view path) = 0;
    /// True for anything of this name: a file, a folder, a link that leads nowhere.
    virtual bool Exists(std::u16string_view path) = 0;
    /// Makes a folder with all its parents. One that is there already is a success; after a failure some of its parents
    /// may have been made.
    virtual Status Create(std::u16string_view path) = 0;
};

}  // namespace vexcap
