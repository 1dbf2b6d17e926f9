// A plug-in that is loaded when its port is first used.
#pragma once

#include <string>

#include "base/mutex.h"
#include "base/text.h"
#include "platform/loader.h"
#include "platform/plugin_abi.h"

namespace vexcap {

/// The plug-in of `Port`. It is loaded once and stays loaded. Any thread.
template <typename Port>
class Plugin final {
public:
    /// The loader must outlive this, and the host the process.
    Plugin(ILoader& systemLoader, const PluginHost& pluginHost) : loader(systemLoader), host(pluginHost) {}

    /// Null where the plug-in is missing, or of another version.
    Port* Loaded() VEX_EXCLUDES(lock) {
        MutexGuard guard(lock);
        if (!tried) object = Load();
        tried = true;
        return object;
    }

private:
    Port* Load() const {
        void* const library = loader.Load(u"lib" + toUtf16(Port::plugin.library) + u".so.1");
        if (!library) return nullptr;
        const auto function = reinterpret_cast<PluginFunction<Port>*>(loader.Symbol(library, Port::plugin.function));
        Port* const made = function ? function(Port::plugin.version, host) : nullptr;
        if (!made) loader.Free(library);
        return made;
    }

    ILoader& loader;
    const PluginHost host;
    Mutex lock;
    bool tried VEX_GUARDED_BY(lock) = false;
    Port* object VEX_GUARDED_BY(lock) = nullptr;
};

}  // namespace vexcap
