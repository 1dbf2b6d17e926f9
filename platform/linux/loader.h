// Libraries of a Linux system, and the few functions of system modules that exist here under another system's name.
#pragma once

#include "platform/loader.h"

namespace vexcap {

/// Any thread.
struct LinuxLoader final : ILoader {
    /// A name that ends in ".dll" means a system module: it is answered from the built-in ones, or not at all.
    void* Load(std::u16string_view name) override;
    void* Symbol(void* library, const char* name) override;
    void Free(void* library) override;
};

}  // namespace vexcap
