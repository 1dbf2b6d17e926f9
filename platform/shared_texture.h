// Port: pictures that stay in the graphics memory, shared between camera library and host.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/status.h"

namespace vexcap {

/// One texture that a camera fills and a render target draws.
struct ISharedTexture {
    virtual ~ISharedTexture() = default;
    /// What the camera library is given.
    virtual void* Handle() = 0;
    /// Copies the texture to where it can be read and hands out its rows, 4 bytes a pixel, blue first, bottom-up:
    /// read(pixels, rowPitch). E_UNEXPECTED when it cannot be had.
    virtual Status ReadBack(uint32_t width, uint32_t height,
                            const std::function<void(const uint8_t* pixels, size_t rowPitch)>& read) = 0;
};

struct ISharedTextures {
    virtual ~ISharedTextures() = default;
    /// True where this platform has render targets that share textures with a camera library.
    virtual bool Available() = 0;
    /// A texture on the host's device; null when it cannot be made.
    virtual std::unique_ptr<ISharedTexture> Create(void* device, void* context, void* renderTarget, uint32_t width,
                                                   uint32_t height) = 0;
};

}  // namespace vexcap
