// What a recording on a media graph does to its frames before they are compressed and written.
#pragma once

#include <atomic>
#include <cstdint>

#include "graph/transform.h"
#include "overlay/marker.h"
#include "platform/clock.h"

namespace vexcap {

/// Settings of a recording's stream. Any thread, at any time; they hold from the next frame on. S_OK where nothing else
/// is told.
struct IMarkerConfig : IVexUnknown {
    /// {54DBE4AE-A494-4717-8C4C-61CF4090ED80}
    static constexpr vex_guid iid = {0x54DBE4AE, 0xA494, 0x4717, {0x8C, 0x4C, 0x61, 0xCF, 0x40, 0x90, 0xED, 0x80}};

    // What is drawn, as CMarker has it. A null record is E_FAIL.

    /// A null source changes nothing.
    virtual HRESULT CopyFrom(CMarker* source) = 0;
    virtual HRESULT SetGeo(const MarkerGeo* record) = 0;
    virtual HRESULT GetGeo(MarkerGeo* record) = 0;
    virtual HRESULT SetTxt(const MarkerTxt* record) = 0;
    /// E_FAIL for a watermark that is refused.
    virtual HRESULT SetWater(const WaterInfo* info) = 0;
    virtual HRESULT SetWaterOffset(int32_t x, int32_t y) = 0;
    virtual HRESULT SetWaterRotate(int32_t angle) = 0;
    /// Takes effect, and is E_FAIL all the same.
    virtual HRESULT SetScale(double videoLength, const vex_char* videoText, uint32_t stillLength,
                             const vex_char* stillText, const vex_char* powerText) = 0;
    virtual HRESULT SetTick(double spacing) = 0;

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

/// Burns an overlay of its own into the frames of a recording, in place, and thins them out for time lapse. Takes RGB24
/// in FORMAT_VideoInfo. Counts frames over its whole life. Its end saves the overlay settings of the process.
class CMarkerFilter final : public CTransInPlaceFilter, public IMarkerConfig, public IDfc {
public:
    /// {EF01A0C1-720B-4D56-A590-22908AA42D93}
    static constexpr vex_guid classId = {0xEF01A0C1, 0x720B, 0x4D56, {0xA5, 0x90, 0x22, 0x90, 0x8A, 0xA4, 0x2D, 0x93}};

    /// `bytesPerPixel`: 3 or 4. The ports outlive the filter.
    CMarkerFilter(uint32_t bytesPerPixel, const OverlayPorts& ports);

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }

    /// What it burns.
    CMarker& Marker() { return marker; }

    HRESULT CopyFrom(CMarker* source) override;
    HRESULT SetGeo(const MarkerGeo* record) override;
    HRESULT GetGeo(MarkerGeo* record) override;
    HRESULT SetTxt(const MarkerTxt* record) override;
    HRESULT SetWater(const WaterInfo* info) override;
    HRESULT SetWaterOffset(int32_t x, int32_t y) override;
    HRESULT SetWaterRotate(int32_t angle) override;
    HRESULT SetScale(double videoLength, const vex_char* videoText, uint32_t stillLength, const vex_char* stillText,
                     const vex_char* powerText) override;
    HRESULT SetTick(double spacing) override;
    HRESULT SetFrameDivider(uint32_t divider) override;
    HRESULT SetFlip(uint32_t value, uint32_t mask) override;
    HRESULT SetChrome(uint32_t on) override;
    uint64_t GetFrameRate() override;
    HRESULT SetNegative(uint32_t on) override;

    // The dark field is that of the marker.

    int32_t IsDfc() override { return marker.IsDfc(); }
    int32_t HasDfc() override { return marker.HasDfc(); }
    int32_t Capture(uint32_t count, DarkFieldCallback callback, void* context) override {
        return marker.Capture(count, callback, context);
    }
    HRESULT Enable(uint32_t on) override { return marker.Enable(on); }
    HRESULT SetDark(std::unique_ptr<uint8_t[]> frame, int32_t width, int32_t height) override {
        return marker.SetDark(std::move(frame), width, height);
    }
    HRESULT TakeDark(std::unique_ptr<uint8_t[]>* frame, int32_t* width, int32_t* height) override {
        return marker.TakeDark(frame, width, height);
    }
    HRESULT Export(const vex_char* path) override { return marker.Export(path); }
    HRESULT Import(const vex_char* path) override { return marker.Import(path); }

private:
    ~CMarkerFilter() override;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    HRESULT CheckInputType(const MediaType* candidate) override;
    using CTransInPlaceFilter::Transform;
    HRESULT Transform(CMediaSample& sample) override;
    void Burn(CMediaSample& sample, const vex_bitmap_header& bitmap);

    const uint8_t bytesPerPixel;
    IClock& tickClock;
    CMarker marker;
    std::atomic<uint32_t> frameCounter{0};  // all frames that came
    std::atomic<uint32_t> frameDivider{1};
    std::atomic<uint32_t> firstTick{0};  // 0: no frame yet
};

}  // namespace vexcap
