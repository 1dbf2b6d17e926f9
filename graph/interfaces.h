// What filters and pins offer besides their base classes; asked for by QueryInterface.
#pragma once

#include <vexcap/camera_library.h>

#include <cstdint>
#include <string_view>

#include "graph/media_type.h"

namespace vexcap {

class CBasePin;

/// What a format of a source can be set to, 128 bytes.
struct VideoStreamConfigCaps {
    vex_guid guid = {};
    uint32_t videoStandard = 0;
    int32_t inputSize[2] = {};
    int32_t minCroppingSize[2] = {};
    int32_t maxCroppingSize[2] = {};
    int32_t cropGranularity[2] = {};
    int32_t cropAlign[2] = {};
    int32_t minOutputSize[2] = {};
    int32_t maxOutputSize[2] = {};
    int32_t outputGranularity[2] = {};
    int32_t stretchTaps[2] = {};
    int32_t shrinkTaps[2] = {};
    int64_t minFrameInterval = 0;  ///< 100-nanosecond units.
    int64_t maxFrameInterval = 0;
    int32_t minBitsPerSecond = 0;
    int32_t maxBitsPerSecond = 0;
};
static_assert(sizeof(VideoStreamConfigCaps) == 128);

/// Formats of a source's pin.
struct IAMStreamConfig : IVexUnknown {
    static constexpr vex_guid iid = {
        0xC6E13340, 0x30AC, 0x11D0, {0xA1, 0x8C, 0x00, 0xA0, 0xC9, 0x11, 0x89, 0x56}};
    virtual HRESULT SetFormat(const MediaType* type) = 0;
    virtual HRESULT GetFormat(MediaType* type) = 0;
    /// Either may be null. A size other than 128 means capabilities of another kind.
    virtual HRESULT GetNumberOfCapabilities(int32_t* count, int32_t* size) = 0;
    /// Either may be null. S_FALSE behind the last one.
    virtual HRESULT GetStreamCaps(int32_t index, MediaType* type, VideoStreamConfigCaps* caps) = 0;

protected:
    ~IAMStreamConfig() = default;
};

/// Lets a pin begin and end its stream while the graph runs. Times are stream times.
struct IAMStreamControl : IVexUnknown {
    static constexpr vex_guid iid = {
        0x36B73881, 0xC2C8, 0x11CF, {0x8B, 0x46, 0x00, 0x80, 0x5F, 0x6C, 0xEF, 0x60}};
    static constexpr int64_t never = 0x7FFFFFFFFFFFFFFF;
    /// Null: from now on.
    virtual HRESULT StartAt(const int64_t* start) = 0;
    /// Null: at once.
    virtual HRESULT StopAt(const int64_t* stop) = 0;

protected:
    ~IAMStreamControl() = default;
};

/// Counts of a capture pin since the graph left the stopped state.
struct IAMDroppedFrames : IVexUnknown {
    static constexpr vex_guid iid = {
        0xC6E13344, 0x30AC, 0x11D0, {0xA1, 0x8C, 0x00, 0xA0, 0xC9, 0x11, 0x89, 0x56}};
    virtual HRESULT GetNumDropped(uint32_t* count) = 0;
    virtual HRESULT GetNumNotDropped(uint32_t* count) = 0;

protected:
    ~IAMDroppedFrames() = default;
};

/// Still trigger of a source.
struct IAMVideoControl : IVexUnknown {
    static constexpr vex_guid iid = {
        0x6A2E0670, 0x28E4, 0x11D0, {0xA1, 0x8C, 0x00, 0xA0, 0xC9, 0x11, 0x89, 0x56}};
    static constexpr uint32_t trigger = 8;
    virtual HRESULT SetMode(CBasePin* pin, uint32_t mode) = 0;

protected:
    ~IAMVideoControl() = default;
};

/// How a compressor's output pin works.
struct IAMVideoCompression : IVexUnknown {
    static constexpr vex_guid iid = {
        0xC6E13343, 0x30AC, 0x11D0, {0xA1, 0x8C, 0x00, 0xA0, 0xC9, 0x11, 0x89, 0x56}};
    virtual HRESULT PutQuality(double quality) = 0;  ///< 0 to 1.
    virtual HRESULT GetQuality(double* quality) = 0;

protected:
    ~IAMVideoCompression() = default;
};

/// Where a filter stands in a graph.
struct IAMFilterMiscFlags : IVexUnknown {
    static constexpr vex_guid iid = {
        0x2DD74950, 0xA890, 0x11D1, {0xAB, 0xE8, 0x00, 0xA0, 0xC9, 0x05, 0xF3, 0x75}};
    static constexpr uint32_t isRenderer = 1, isSource = 2;
    virtual uint32_t GetMiscFlags() = 0;

protected:
    ~IAMFilterMiscFlags() = default;
};

inline constexpr vex_guid PIN_CATEGORY_CAPTURE = {
    0xFB6C4281, 0x0353, 0x11D1, {0x90, 0x5F, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr vex_guid PIN_CATEGORY_PREVIEW = {
    0xFB6C4282, 0x0353, 0x11D1, {0x90, 0x5F, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr vex_guid PIN_CATEGORY_STILL = {
    0xFB6C428A, 0x0353, 0x11D1, {0x90, 0x5F, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr vex_guid AMPROPSETID_Pin = {
    0x9B00F101, 0x1567, 0x11D1, {0xB3, 0xF1, 0x00, 0xAA, 0x00, 0x37, 0x61, 0xC5}};

/// Tells the category of a pin: set AMPROPSETID_Pin, id 0.
struct IKsPropertySet : IVexUnknown {
    static constexpr vex_guid iid = {
        0x31EFAC30, 0x515C, 0x11D0, {0xA9, 0xAA, 0x00, 0xAA, 0x00, 0x61, 0xBE, 0x93}};
    virtual HRESULT Set(const vex_guid& set, uint32_t id, const void* data, uint32_t bytes) = 0;
    virtual HRESULT Get(const vex_guid& set, uint32_t id, void* data, uint32_t room, uint32_t* returned) = 0;
    virtual HRESULT QuerySupported(const vex_guid& set, uint32_t id, uint32_t* support) = 0;

protected:
    ~IKsPropertySet() = default;
};

/// Bits of IMediaSeeking::GetCapabilities.
enum : uint32_t {
    AM_SEEKING_CanSeekAbsolute = 0x1,
    AM_SEEKING_CanSeekForwards = 0x2,
    AM_SEEKING_CanSeekBackwards = 0x4,
    AM_SEEKING_CanGetCurrentPos = 0x8,
    AM_SEEKING_CanGetDuration = 0x20
};

/// Position in a file, in 100-nanosecond units. Renderers pass it upstream to the source.
struct IMediaSeeking : IVexUnknown {
    static constexpr vex_guid iid = {
        0x36B73880, 0xC2C8, 0x11CF, {0x8B, 0x46, 0x00, 0x80, 0x5F, 0x6C, 0xEF, 0x60}};
    virtual HRESULT GetCapabilities(uint32_t* capabilities) = 0;
    virtual HRESULT GetDuration(int64_t* duration) = 0;
    virtual HRESULT GetCurrentPosition(int64_t* position) = 0;
    virtual HRESULT SetPosition(int64_t position) = 0;

protected:
    ~IMediaSeeking() = default;
};

/// Target of a file writer.
struct IFileSinkFilter2 : IVexUnknown {
    static constexpr vex_guid iid = {
        0x00855B90, 0xCE1B, 0x11D0, {0xBD, 0x4F, 0x00, 0xA0, 0xC9, 0x11, 0xC7, 0x86}};
    static constexpr uint32_t overwrite = 1;
    virtual HRESULT SetFileName(std::u16string_view path) = 0;
    virtual HRESULT GetCurFile(std::u16string* path) = 0;
    /// Without `overwrite` an existing file makes the graph refuse to run.
    virtual HRESULT SetMode(uint32_t flags) = 0;
    virtual HRESULT GetMode(uint32_t* flags) = 0;

protected:
    ~IFileSinkFilter2() = default;
};

}  // namespace vexcap
