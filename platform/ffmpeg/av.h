// Owners of FFmpeg's objects, and what all users of them share.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <thread>

#include "base/status.h"

namespace vexcap::ffmpeg {

struct AvDeleter {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using CodecPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using FormatPtr = std::unique_ptr<AVFormatContext, AvDeleter>;
using FramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, AvDeleter>;

#if defined(__SANITIZE_THREAD__)
inline constexpr bool threadsAreWatched = true;
#elif defined(__has_feature)
inline constexpr bool threadsAreWatched = __has_feature(thread_sanitizer);
#else
inline constexpr bool threadsAreWatched = false;
#endif

/// How many threads a codec may have. One where the thread sanitizer runs: FFmpeg is not built with it, so that what
/// its threads hand to each other would look like a race.
inline int codecThreads(unsigned most) {
    if (threadsAreWatched) return 1;
    const unsigned here = std::thread::hardware_concurrency();
    return int(here < 1 ? 1 : here < most ? here : most);
}

/// Never a success.
inline Status statusFromAv(int error) { return error == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_FAIL; }

}  // namespace vexcap::ffmpeg
