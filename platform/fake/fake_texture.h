// Shared textures in plain memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/shared_texture.h"

namespace vexcap {

/// Textures that a test fills and reads. The test's thread makes the settings before they are used.
class FakeTextures final : public ISharedTextures {
public:
    /// What a texture was made with, and its pixels: 4 bytes each, rows bottom-up. It outlives the texture.
    struct Picture {
        void* device;
        void* context;
        void* renderTarget;
        uint32_t width;
        uint32_t height;
        size_t rowPitch;
        std::vector<uint8_t> pixels;
    };

    bool available = false;         ///< Answer of Available.
    bool failCreate = false;        ///< No texture can be made.
    bool failReadBack = false;      ///< No texture can be read.
    bool hidePixels = false;        ///< A read succeeds, and hands out null.
    size_t rowPadding = 0;          ///< Bytes behind each row of the textures to come.
    size_t alive = 0;               ///< Textures that were made and not yet released.
    size_t made = 0;                ///< Textures that were made.
    std::shared_ptr<Picture> last;  ///< The newest one.

    bool Available() override { return available; }
    std::unique_ptr<ISharedTexture> Create(void* device, void* context, void* renderTarget, uint32_t width,
                                           uint32_t height) override {
        if (failCreate) return nullptr;
        const size_t pitch = size_t(width) * 4 + rowPadding;
        last = std::make_shared<Picture>(
            Picture{device, context, renderTarget, width, height, pitch, std::vector<uint8_t>(pitch * height)});
        ++made;
        return std::make_unique<Texture>(*this, last);
    }

private:
    class Texture final : public ISharedTexture {
    public:
        Texture(FakeTextures& textures, std::shared_ptr<Picture> filled) : owner(textures), picture(std::move(filled)) {
            ++owner.alive;
        }
        ~Texture() override { --owner.alive; }
        void* Handle() override { return picture.get(); }
        Status ReadBack(uint32_t width, uint32_t height,
                        const std::function<void(const uint8_t* pixels, size_t rowPitch)>& read) override {
            if (owner.failReadBack || width > picture->width || height > picture->height) return E_UNEXPECTED;
            read(owner.hidePixels ? nullptr : picture->pixels.data(), picture->rowPitch);
            return S_OK;
        }

    private:
        FakeTextures& owner;
        const std::shared_ptr<Picture> picture;
    };
};

}  // namespace vexcap
