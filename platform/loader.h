// Port: libraries that are bound by name at run time.
#pragma once

#include <string>
#include <string_view>

namespace vexcap {

struct ILoader {
    virtual ~ILoader() = default;
    /// Loads a library by path or name; null when it cannot be had, and `problem` is why, in the loader's own words. It
    /// stays loaded until Free.
    virtual void* Load(std::u16string_view name, std::u16string& problem) = 0;
    void* Load(std::u16string_view name) {
        std::u16string unread;
        return Load(name, unread);
    }
    /// Address of an exported name; null when there is none.
    virtual void* Symbol(void* library, const char* name) = 0;
    /// Lets a library go.
    virtual void Free(void* library) = 0;
};

}  // namespace vexcap
