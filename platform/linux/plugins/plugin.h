// A plug-in that is loaded when its port is first used.
#pragma once

#include <string>

#include "base/log.h"
#include "base/mutex.h"
#include "base/text.h"
#include "platform/loader.h"
#include "platform/plugin_abi.h"

namespace vexcap {

/// The plug-in of `Port`. It is loaded once and stays loaded. Any thread.
template <typename Port>
class Plugin final {
public:
    /// Loader and log must outlive this, and the host the process.
    Plugin(ILoader& systemLoader, const PluginHost& pluginHost, Log& lines)
        : loader(systemLoader), host(pluginHost), log(lines) {}

    /// Null where the plug-in is missing, or of another version.
    Port* Loaded() VEX_EXCLUDES(lock) {
        MutexGuard guard(lock);
        if (!tried) object = Load();
        tried = true;
        return object;
    }

private:
    Port* Load() const {
        const std::u16string name = u"lib" + toUtf16(Port::plugin.library) + u".so.1";
        std::u16string problem;
        void* const library = loader.Load(name, problem);
        if (!library) {
            log.Write(VEX_LOG_WARNING, u"The plug-in %s cannot be loaded: %s", name, problem);
            return nullptr;
        }
        const auto function = reinterpret_cast<PluginFunction<Port>*>(loader.Symbol(library, Port::plugin.function));
        Port* const made = function ? function(Port::plugin.version, host) : nullptr;
        if (made) {
            log.Write(VEX_LOG_INFO, u"The plug-in %s is loaded", name);
        } else {
            log.Write(VEX_LOG_WARNING, u"The plug-in %s is not of version %u", name, Port::plugin.version);
            loader.Free(library);
        }
        return made;
    }

    ILoader& loader;
    const PluginHost host;
    Log& log;
    Mutex lock;
    bool tried VEX_GUARDED_BY(lock) = false;
    Port* object VEX_GUARDED_BY(lock) = nullptr;
};

}  // namespace vexcap
