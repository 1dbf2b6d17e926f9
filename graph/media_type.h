// What flows through a connection.
#pragma once

#include <vexcap/records.h>

#include <cstdint>
#include <span>
#include <vector>

#include "base/guid.h"

namespace vexcap {

inline constexpr vex_guid MEDIATYPE_Video = {0x73646976, 0x0000, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
inline constexpr vex_guid MEDIATYPE_Stream = {
    0xE436EB83, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr vex_guid MEDIASUBTYPE_RGB24 = {
    0xE436EB7D, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr vex_guid MEDIASUBTYPE_Avi = {
    0xE436EB88, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr vex_guid FORMAT_VideoInfo = {
    0x05589F80, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr vex_guid FORMAT_MPEGVideo = {
    0x05589F82, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr vex_guid FORMAT_VideoInfo2 = {
    0xF72A76A0, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr vex_guid FORMAT_MPEG2Video = {
    0xE06D80E3, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}};

/// The subtype of pictures in a layout that has a four-character code.
constexpr vex_guid subtypeOf(uint32_t fourcc) {
    return {fourcc, 0x0000, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
}

/// The format block of FORMAT_VideoInfo, 88 bytes.
struct VideoInfoHeader {
    vex_rect source = {};
    vex_rect target = {};
    uint32_t bitRate = 0;
    uint32_t bitErrorRate = 0;
    int64_t averageTimePerFrame = 0;  ///< 100-nanosecond units; 0 when unknown.
    vex_bitmap_header bitmap = {};
};
static_assert(sizeof(VideoInfoHeader) == 88 && offsetof(VideoInfoHeader, bitmap) == 48);

struct MediaType {
    vex_guid major = {};
    vex_guid subtype = {};
    bool fixedSize = true;
    uint32_t sampleSize = 0;  ///< Bytes of a sample where the size is fixed.
    vex_guid formatType = {};
    std::vector<uint8_t> format;  ///< The format block; empty when there is none.

    /// All fields count, and the format block byte by byte; the sample size only where it is fixed.
    friend bool operator==(const MediaType& a, const MediaType& b);

    /// The block as FORMAT_VideoInfo has it, followed by `extra`.
    void SetVideoInfo(const VideoInfoHeader& header, std::span<const std::byte> extra = {});
    /// The bitmap header of a video format block, wherever its format type puts it. False without one, for a block
    /// that is too short, and for another format type.
    bool GetBitmapHeader(vex_bitmap_header& out) const;
    /// Average time per frame of such a block, 0 without one.
    int64_t AverageTimePerFrame() const;
    /// What stands behind the bitmap header of a FORMAT_VideoInfo block.
    std::span<const std::byte> ExtraData() const;
};

/// The type of uncompressed pictures, 24 bits a pixel, rows bottom-up for a positive height. `interval` in
/// 100-nanosecond units, 0 when unknown.
MediaType rgb24Type(int32_t width, int32_t height, int64_t interval);

/// Frames a second of a time per frame; 30 for one that is not positive.
constexpr uint32_t rateOfInterval(int64_t interval) { return interval > 0 ? uint32_t(10'000'000 / interval) : 30; }

}  // namespace vexcap
