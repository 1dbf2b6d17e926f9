#include "platform/ffmpeg/compressor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <mutex>
#include <shared_mutex>

#include "base/dib.h"
#include "platform/ffmpeg/av.h"
#include "platform/ffmpeg/picture.h"

namespace vexcap::ffmpeg {
namespace {

constexpr std::u16string_view namePrefix = u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\";

/// What a codec understands by quality.
enum class Scale { None, Quantiser, RateFactor };

struct Codec {
    std::u16string_view friendlyName;
    const char* encoder;
    uint32_t fourcc;
    AVPixelFormat format;
    Scale scale = Scale::None;
    double finest = 0;              // the scale's value for quality 1
    double coarsest = 0;            // and for 0
    const char* options = nullptr;  // the encoder's own
    uint32_t sideStep = 1;          // divides both sides
    uint32_t longestSide = 65535;
    bool opensAlone = false;
};

/// Each time a libxvid encoder is opened, it computes again the code tables that all of its encoders in the process
/// read: pictures compressed at that moment would be spoilt. So encoders that open alone hold this lock, exclusively
/// while they open and shared while they compress.
std::shared_mutex sharedTables;

/// Lossless ones take a format with red, green and blue, so that nothing is lost on the way to them either. JPEG keeps
/// to the Huffman tables of the standard: the tables that fit best cost a second pass, and not every reader wants them.
/// The limits of sides are told where the encoder does not tell them, or loses memory over it.
constexpr Codec codecs[] = {
    {u"MJPEG Compressor", "mjpeg", fourcc("MJPG"), AV_PIX_FMT_YUVJ420P, Scale::Quantiser, 1, 31, "huffman=default"},
    {u"FFV1 Lossless", "ffv1", fourcc("FFV1"), AV_PIX_FMT_BGR0},
    {u"HuffYUV Lossless", "huffyuv", fourcc("HFYU"), AV_PIX_FMT_RGB24},
    {u"FFvHuff Lossless", "ffvhuff", fourcc("FFVH"), AV_PIX_FMT_RGB24},
    {u"Ut Video Lossless", "utvideo", fourcc("ULRG"), AV_PIX_FMT_GBRP},
    {u"MagicYUV Lossless", "magicyuv", fourcc("M8RG"), AV_PIX_FMT_GBRP},
    {u"PNG Lossless", "png", fourcc("MPNG"), AV_PIX_FMT_RGB24},
    {u"MPEG-4 Video", "mpeg4", fourcc("FMP4"), AV_PIX_FMT_YUV420P, Scale::Quantiser, 2, 31, nullptr, 1, 8191},
    {u"Xvid MPEG-4 Video", "libxvid", fourcc("XVID"), AV_PIX_FMT_YUV420P, Scale::Quantiser, 2, 31, nullptr, 2, 8190,
     true},
    {u"MS MPEG-4 Video v3", "msmpeg4", fourcc("MP43"), AV_PIX_FMT_YUV420P, Scale::Quantiser, 2, 31, nullptr, 1, 8191},
    {u"H.264 Video", "libx264", fourcc("H264"), AV_PIX_FMT_YUV420P, Scale::RateFactor, 12, 40, "preset=veryfast", 2,
     16384},
};

constexpr unsigned mostThreads = 4;

// More pictures than any encoder keeps back: threads, and the 10 that H.264 looks ahead.
constexpr size_t mostInside = 256;

constexpr int64_t second = 10'000'000;
constexpr int64_t usualInterval = second / 25;
constexpr int64_t shortestInterval = second / 10'000;

// MPEG-4 counts the ticks of a second in 16 bits.
constexpr int mostTicks = 65535;

class AvCompressor final : public ICompressor {
public:
    static Result<std::unique_ptr<ICompressor>> create(const Codec& codec, const CompressorSettings& settings,
                                                       int threads);
    uint32_t FourCC() const override { return codec.fourcc; }
    std::span<const std::byte> ExtraData() const override {
        return std::as_bytes(std::span(encoder->extradata, size_t(encoder->extradata_size)));
    }
    Status Put(std::span<const std::byte> picture, int64_t order) override;
    Status Get(CompressedPicture& out) override;
    Status Finish() override;

private:
    AvCompressor(const Codec& used, size_t bytes, CodecPtr opened, std::unique_ptr<FrameFiller> filler, PacketPtr empty)
        : codec(used),
          pictureSize(bytes),
          encoder(std::move(opened)),
          fill(std::move(filler)),
          packet(std::move(empty)) {}
    Result<AVFrame*> FreeFrame();
    std::shared_lock<std::shared_mutex> SteadyTables() const {
        return codec.opensAlone ? std::shared_lock(sharedTables) : std::shared_lock<std::shared_mutex>();
    }

    const Codec& codec;
    const size_t pictureSize;
    const CodecPtr encoder;
    const std::unique_ptr<FrameFiller> fill;
    const PacketPtr packet;
    std::vector<FramePtr> frames;                 // as many as the encoder holds at a time: made at its first pictures
    std::array<int64_t, mostInside> orders = {};  // of picture i at i modulo its size
    int64_t taken = 0;
    bool finished = false;
};

void applyQuality(AVCodecContext& encoder, const Codec& codec, double quality, AVDictionary*& options) {
    switch (codec.scale) {
        case Scale::None:
            break;
        case Scale::Quantiser: {
            const double quantiser = codec.finest * std::pow(codec.coarsest / codec.finest, 1 - quality);
            encoder.flags |= AV_CODEC_FLAG_QSCALE;
            encoder.global_quality = int(std::lround(FF_QP2LAMBDA * quantiser));
            encoder.qmin = int(codec.finest);
            break;
        }
        case Scale::RateFactor: {
            const double factor = codec.coarsest + (codec.finest - codec.coarsest) * quality;
            av_dict_set_int(&options, "crf", std::lround(factor), 0);
            break;
        }
    }
}

Result<CodecPtr> openEncoder(const Codec& codec, const CompressorSettings& settings, int threads) {
    const AVCodec* const implementation = avcodec_find_encoder_by_name(codec.encoder);
    if (!implementation) return E_INVALIDARG;
    CodecPtr encoder(avcodec_alloc_context3(implementation));
    if (!encoder) return E_OUTOFMEMORY;
    // The encoder wants it for rate control alone; the file tells the real one. Long pauses would be spelled out second
    // by second in each picture of MPEG-4.
    const int64_t interval =
        settings.interval <= 0 ? usualInterval : std::clamp(settings.interval, shortestInterval, second);
    av_reduce(&encoder->time_base.num, &encoder->time_base.den, interval, second, mostTicks);
    encoder->framerate = {encoder->time_base.den, encoder->time_base.num};
    encoder->width = int(settings.width);
    encoder->height = int(settings.height);
    encoder->pix_fmt = codec.format;
    encoder->codec_tag = codec.fourcc;
    encoder->bits_per_coded_sample = 24;
    encoder->gop_size = int(std::clamp<int64_t>(second / interval, 1, 250));
    encoder->max_b_frames = 0;
    encoder->thread_count = threads;
    if (codec.format == AV_PIX_FMT_YUV420P || codec.format == AV_PIX_FMT_YUVJ420P) {
        encoder->colorspace = AVCOL_SPC_SMPTE170M;
        encoder->color_range = codec.format == AV_PIX_FMT_YUVJ420P ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    }

    AVDictionary* options = nullptr;
    if (codec.options) av_dict_parse_string(&options, codec.options, "=", ":", 0);
    applyQuality(*encoder, codec, settings.quality, options);
    std::unique_lock<std::shared_mutex> alone(sharedTables, std::defer_lock);
    if (codec.opensAlone) alone.lock();
    const int failed = avcodec_open2(encoder.get(), implementation, &options);
    av_dict_free(&options);
    if (failed < 0) return failed == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_INVALIDARG;
    return encoder;
}

Result<std::unique_ptr<ICompressor>> AvCompressor::create(const Codec& codec, const CompressorSettings& settings,
                                                          int threads) {
    const uint64_t bytes = pictureBytes(settings.width, settings.height);
    if (!bytes || !(settings.quality >= 0 && settings.quality <= 1)) return E_INVALIDARG;
    if (settings.width % codec.sideStep || settings.height % codec.sideStep) return E_INVALIDARG;
    if (std::max(settings.width, settings.height) > codec.longestSide) return E_INVALIDARG;
    auto encoder = openEncoder(codec, settings, threads);
    if (!encoder.ok()) return encoder.status();
    auto fill = FrameFiller::create(settings.width, settings.height, codec.format);
    if (!fill.ok()) return fill.status();
    PacketPtr packet(av_packet_alloc());
    if (!packet) return E_OUTOFMEMORY;
    return std::unique_ptr<ICompressor>(
        new AvCompressor(codec, bytes, std::move(encoder).value(), std::move(fill).value(), std::move(packet)));
}

/// A frame that the encoder does not hold any more.
Result<AVFrame*> AvCompressor::FreeFrame() {
    for (const FramePtr& frame : frames)
        if (av_frame_is_writable(frame.get())) return frame.get();
    FramePtr frame(av_frame_alloc());
    if (!frame) return E_OUTOFMEMORY;
    frame->width = encoder->width;
    frame->height = encoder->height;
    frame->format = encoder->pix_fmt;
    frame->colorspace = encoder->colorspace;
    frame->color_range = encoder->color_range;
    // In mode "fixed quantiser" the encoder takes it from each picture.
    frame->quality = encoder->global_quality;
    if (const int failed = av_frame_get_buffer(frame.get(), 0); failed < 0) return statusFromAv(failed);
    frames.push_back(std::move(frame));
    return frames.back().get();
}

Status AvCompressor::Put(std::span<const std::byte> picture, int64_t order) {
    av_packet_unref(packet.get());
    if (finished) return E_UNEXPECTED;
    if (picture.size() != pictureSize) return E_INVALIDARG;
    const auto frame = FreeFrame();
    if (!frame.ok()) return frame.status();
    if (const Status s = fill->Fill(picture, *frame.value()); !s.ok()) return s;
    frame.value()->pts = taken;
    const auto steady = SteadyTables();
    const int failed = avcodec_send_frame(encoder.get(), frame.value());
    if (failed == AVERROR(EAGAIN)) return E_UNEXPECTED;  // its packets were not fetched
    if (failed < 0) return statusFromAv(failed);
    orders[size_t(taken) % mostInside] = order;
    ++taken;
    return S_OK;
}

Status AvCompressor::Get(CompressedPicture& out) {
    av_packet_unref(packet.get());
    const auto steady = SteadyTables();
    const int failed = avcodec_receive_packet(encoder.get(), packet.get());
    if (failed == AVERROR(EAGAIN) || failed == AVERROR_EOF) return S_FALSE;
    if (failed < 0) return statusFromAv(failed);
    out.bytes = std::as_bytes(std::span(packet->data, size_t(packet->size)));
    out.order = orders[size_t(packet->pts) % mostInside];
    out.keyFrame = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    return S_OK;
}

Status AvCompressor::Finish() {
    av_packet_unref(packet.get());
    if (finished) return S_OK;
    finished = true;
    const auto steady = SteadyTables();
    const int failed = avcodec_send_frame(encoder.get(), nullptr);
    return failed < 0 ? statusFromAv(failed) : Status(S_OK);
}

}  // namespace

std::vector<Compressor> findCompressors() {
    // The smallest picture that all of them take in their usual way.
    const CompressorSettings small = {.width = 64, .height = 64, .interval = usualInterval};
    std::vector<Compressor> found;
    for (const Codec& codec : codecs)
        if (openEncoder(codec, small, 1).ok())
            found.push_back(
                {std::u16string(namePrefix).append(codec.friendlyName), std::u16string(codec.friendlyName)});
    return found;
}

Result<std::unique_ptr<ICompressor>> openCompressor(std::u16string_view displayName,
                                                    const CompressorSettings& settings) {
    if (!displayName.starts_with(namePrefix)) return E_INVALIDARG;
    for (const Codec& codec : codecs)
        if (displayName.substr(namePrefix.size()) == codec.friendlyName)
            return AvCompressor::create(codec, settings, codecThreads(mostThreads));
    return E_INVALIDARG;
}

}  // namespace vexcap::ffmpeg
