// The frame sink of a media graph.
#pragma once

#include "frame/frame_render.h"
#include "graph/renderer.h"

namespace vexcap {

/// A renderer that hands its samples to a frame sink. Each sample goes through the dark field, flip, grey and negative
/// in its own memory, and is then copied once, into the sink's picture. It lives by its references.
///
/// Takes plain pictures of 24 bits, rows bottom-up, in FORMAT_VideoInfo or FORMAT_VideoInfo2.
class CVexcapRender final : public CBaseRenderer, public IAMFilterMiscFlags, public CFrameRender {
public:
    /// {F40C5C1F-26AF-4051-BD42-131F685B3BE5}
    static constexpr vex_guid classId = {0xF40C5C1F, 0x26AF, 0x4051, {0xBD, 0x42, 0x13, 0x1F, 0x68, 0x5B, 0x3B, 0xE5}};

    /// The ports outlive the filter.
    CVexcapRender(IClock& clock, ISharedTextures& textures, IFileSystem& files);

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }
    uint32_t GetMiscFlags() override { return isRenderer; }

private:
    ~CVexcapRender() override = default;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    /// A type that is accepted sets the size of the frames to come, so only a type of their true size may be asked for.
    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT DoRenderSample(CMediaSample& sample) override;
    /// A file that is paused shows where it stands.
    bool OnReceiveFirstSample(CMediaSample& sample) override {
        DoRenderSample(sample);
        return true;
    }

    const PixelKernels& stepKernels;
};

}  // namespace vexcap
