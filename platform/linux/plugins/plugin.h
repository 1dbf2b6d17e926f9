// A plug-in that lies beside the library.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/mutex.h"
#include "platform/loader.h"

namespace vexcap {

/// The one object of a plug-in, which its one export gives: null for another version than its own; what it gives lives
/// as long as the process. Loaded when it is first needed, once; it stays loaded. Any thread.
template <typename Interface>
class Plugin final {
public:
    using Function = Interface*(uint32_t version);

    /// The loader must outlive this.
    Plugin(ILoader& systemLoader, std::u16string_view libraryName, const char* exportName, uint32_t wantedVersion)
        : loader(systemLoader), library(libraryName), symbol(exportName), version(wantedVersion) {}

    /// Null where it is missing, or of another version.
    Interface* Loaded() VEX_EXCLUDES(lock) {
        MutexGuard guard(lock);
        if (!tried) object = Load();
        tried = true;
        return object;
    }

private:
    Interface* Load() const {
        void* const loaded = loader.Load(library);
        if (!loaded) return nullptr;
        const auto function = reinterpret_cast<Function*>(loader.Symbol(loaded, symbol));
        Interface* const made = function ? function(version) : nullptr;
        if (!made) loader.Free(loaded);
        return made;
    }

    ILoader& loader;
    const std::u16string_view library;
    const char* const symbol;
    const uint32_t version;
    Mutex lock;
    bool tried VEX_GUARDED_BY(lock) = false;
    Interface* object VEX_GUARDED_BY(lock) = nullptr;
};

}  // namespace vexcap
