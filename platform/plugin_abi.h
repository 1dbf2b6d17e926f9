// What the library and its plug-ins agree on. A plug-in is a shared library of its own that implements one port, so
// that what it needs of a system is loaded only when that port is used.
#pragma once

#include <cstdint>
#include <new>
#include <string_view>

#include "platform/file.h"

namespace vexcap {

/// How the plug-in of a port is found: the port's constant `plugin`.
struct PluginAbi {
    std::string_view library;  ///< "vexcap-media" for libvexcap-media.so.1.
    const char* function;      ///< The one name that it exports, a PluginFunction.
    uint32_t version;          ///< Of the port's header and of this one: counts up when either changes.
};

/// What a plug-in may use of the library. It lives as long as the process.
struct PluginHost {
    IFileSystem& files;
};

/// Returns the plug-in's only object, which lives as long as the process; null for another version than its own, and
/// where memory is short.
template <typename Port>
using PluginFunction = Port*(uint32_t version, const PluginHost& host);

/// The body of a PluginFunction: makes the object at the first call.
template <typename Port, typename Implementation, typename... Arguments>
Port* pluginObject(uint32_t version, Arguments&... arguments) {
    if (version != Port::plugin.version) return nullptr;
    // Never destroyed: a host may call in while the process ends.
    static Port* const object = new (std::nothrow) Implementation(arguments...);
    return object;
}

}  // namespace vexcap
