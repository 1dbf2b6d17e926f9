// The network camera library's functions, bound by name at the engine's start. Each may be missing.
#pragma once

#include <vexcap/types.h>

namespace vexcap {

/// One entry of the network library's list.
struct NetworkEntry {
    char name[128];     ///< UTF-8; what opens it.
    char display[512];  ///< UTF-8; what a user sees.
    uint32_t state;     ///< 1: reachable.
    char reserved[516];
};
static_assert(sizeof(NetworkEntry) == 1160 && offsetof(NetworkEntry, state) == 640);

using NetworkHandle = void*;

struct NetworkLibrary {
    void (*Close)(NetworkHandle, uint32_t zero) = nullptr;
    int32_t (*Enum)(NetworkEntry* entries) = nullptr;
    HRESULT (*Init)(void (*devicesChanged)(int32_t code), void* zero) = nullptr;
    int32_t (*Fini)() = nullptr;
    NetworkHandle (*Open)(const char* nameOrPath) = nullptr;
    void (*Pause)(NetworkHandle, uint32_t pause) = nullptr;
    void (*PriFlag)(uint32_t value, uint32_t mask) = nullptr;
    HRESULT (*Record)(NetworkHandle, const char* path) = nullptr;
    void (*Seek)(NetworkHandle, uint32_t milliseconds) = nullptr;
    void (*Stop)(NetworkHandle) = nullptr;
    HRESULT (*get_Duration)(NetworkHandle, uint32_t* milliseconds) = nullptr;
    HRESULT (*get_FourCC)(NetworkHandle, uint32_t* fourcc) = nullptr;
    NetworkEntry* (*get_Inst)(NetworkEntry* out, NetworkHandle) = nullptr;
    HRESULT (*get_Pos)(NetworkHandle, uint32_t* milliseconds) = nullptr;
    HRESULT (*get_Size)(NetworkHandle, int32_t* width, int32_t* height) = nullptr;
    void* (*OpenVideo)(uint32_t width, uint32_t height, uint32_t rate, uint32_t bitRate, const char* path,
                       const char* encoder) = nullptr;
    void (*CloseVideo)(void* writer) = nullptr;
    HRESULT (*WriteVideo)(void* writer, const void* frame, int64_t timestamp) = nullptr;
};

}  // namespace vexcap
