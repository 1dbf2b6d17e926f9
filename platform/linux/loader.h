// Libraries of a Linux system, and the few functions of system modules that exist here under another system's name.
#pragma once

#include <filesystem>

#include "platform/loader.h"

namespace vexcap {

/// "vexcap" beside the file that this code is in, which is the library where a host runs: there lies what belongs to
/// the library and is loaded by name. Empty when that file cannot be found.
std::filesystem::path ownFolder();

/// Any thread.
class LinuxLoader final : public ILoader {
public:
    /// A name without '/' that the system does not find is looked for in `folder`.
    explicit LinuxLoader(std::filesystem::path folder = ownFolder()) : own(std::move(folder)) {}
    /// A name that ends in ".dll" means a system module: it is answered from the built-in ones, or not at all.
    using ILoader::Load;
    void* Load(std::u16string_view name, std::u16string& problem) override;
    void* Symbol(void* library, const char* name) override;
    void Free(void* library) override;

private:
    const std::filesystem::path own;
};

}  // namespace vexcap
