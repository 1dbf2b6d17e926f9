// What a recording on a media graph does to its frames before they are compressed and written.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame/dark_field.h"
#include "graph/transform.h"
#include "pixel/kernels.h"
#include "platform/clock.h"
#include "platform/file.h"

namespace vexcap {

/// Settings of a recording's stream. Any thread, at any time; they hold from the next frame on.
struct IMarkerConfig : IVexUnknown {
    /// {54DBE4AE-A494-4717-8C4C-61CF4090ED80}
    static constexpr vex_guid iid = {0x54DBE4AE, 0xA494, 0x4717, {0x8C, 0x4C, 0x61, 0xCF, 0x40, 0x90, 0xED, 0x80}};
    /// Keeps one frame in `divider`, the first one always; 0 is taken as 1. The times of those that are kept are
    /// divided, so that the recording plays at the rate of the source.
    virtual HRESULT SetFrameDivider(uint32_t divider) = 0;
    /// Bit 0 mirrors left and right, bit 1 top and bottom. Mask bit 0 takes bit 0 of `value`, else mask bit 1 takes
    /// bit 1: one bit in one call.
    virtual HRESULT SetFlip(uint32_t value, uint32_t mask) = 0;
    /// Non-zero makes grey.
    virtual HRESULT SetChrome(uint32_t on) = 0;
    /// Frames a second that came since the first one, rounded down. 0 before the first frame and within its
    /// millisecond.
    virtual uint64_t GetFrameRate() = 0;
    /// Non-zero makes the negative.
    virtual HRESULT SetNegative(uint32_t on) = 0;

protected:
    ~IMarkerConfig() = default;
};

/// Changes the frames of a recording in place: dark field, flip, grey, negative, in this order; and thins them out for
/// time lapse. Takes RGB24 in FORMAT_VideoInfo. Counts frames over its whole life.
class CMarkerFilter final : public CTransInPlaceFilter, public IMarkerConfig, public IDfcImpl {
public:
    /// {EF01A0C1-720B-4D56-A590-22908AA42D93}
    static constexpr vex_guid classId = {0xEF01A0C1, 0x720B, 0x4D56, {0xA5, 0x90, 0x22, 0x90, 0x8A, 0xA4, 0x2D, 0x93}};

    /// `bytesPerPixel`: 3 or 4. The ports outlive the filter.
    CMarkerFilter(uint32_t bytesPerPixel, IClock& clock, IFileSystem& files);

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }

    HRESULT SetFrameDivider(uint32_t divider) override;
    HRESULT SetFlip(uint32_t value, uint32_t mask) override;
    HRESULT SetChrome(uint32_t on) override;
    uint64_t GetFrameRate() override;
    HRESULT SetNegative(uint32_t on) override;

private:
    ~CMarkerFilter() override = default;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    HRESULT CheckInputType(const MediaType* candidate) override;
    using CTransInPlaceFilter::Transform;
    HRESULT Transform(CMediaSample& sample) override;
    void ChangePicture(CMediaSample& sample, const vex_bitmap_header& bitmap);

    const uint8_t bytesPerPixel;
    IClock& tickClock;
    const PixelKernels& kernelsOfSteps;
    std::atomic<uint32_t> frameCounter{0};  // all frames that came
    std::atomic<uint32_t> frameDivider{1};
    std::atomic<uint32_t> firstTick{0};  // 0: no frame yet
    std::atomic<uint32_t> flip{0};
    std::atomic<uint32_t> chrome{0};
    std::atomic<uint32_t> negative{0};
};

}  // namespace vexcap
