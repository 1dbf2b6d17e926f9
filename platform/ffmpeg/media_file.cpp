#include "platform/ffmpeg/media_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "platform/ffmpeg/av.h"
#include "platform/ffmpeg/picture.h"

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/pixdesc.h>
}

namespace vexcap::ffmpeg {
namespace {

constexpr AVRational units = {1, 10'000'000};  // 100 nanoseconds
constexpr int64_t second = 10'000'000;
constexpr int64_t unitsPerAvTime = 10'000'000 / AV_TIME_BASE;
constexpr int64_t usualInterval = second / 25;

constexpr int inputBufferBytes = 256 << 10;

// The largest picture that is tried, 16384 x 16384: a damaged header could tell anything.
constexpr int64_t mostPixels = int64_t(1) << 28;

constexpr unsigned mostThreads = 2;

// A layout that is lost is found again at most so many times without a packet between.
constexpr int mostLayoutFaults = 100;

/// A file as libavformat reads it.
class Input final {
public:
    explicit Input(std::unique_ptr<IFile> opened) : file(std::move(opened)) {}
    ~Input() { Close(); }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    /// Begins anew.
    Status Open();
    AVIOContext* Context() const { return context; }
    /// Why the last read failed, or S_OK.
    Status Failure() const { return failure; }

private:
    void Close();
    static int Read(void* opaque, uint8_t* buffer, int size);
    static int64_t Seek(void* opaque, int64_t offset, int whence);

    const std::unique_ptr<IFile> file;
    AVIOContext* context = nullptr;
    uint64_t position = 0;
    Status failure = S_OK;
};

Status Input::Open() {
    Close();
    position = 0;
    failure = S_OK;
    auto* const buffer = static_cast<uint8_t*>(av_malloc(inputBufferBytes));
    if (!buffer) return E_OUTOFMEMORY;
    context = avio_alloc_context(buffer, inputBufferBytes, 0, this, Read, nullptr, Seek);
    if (context) return S_OK;
    av_free(buffer);
    return E_OUTOFMEMORY;
}

void Input::Close() {
    if (!context) return;
    av_freep(&context->buffer);  // libavformat may have made another one
    avio_context_free(&context);
}

int Input::Read(void* opaque, uint8_t* buffer, int size) {
    auto& self = *static_cast<Input*>(opaque);
    const auto got = self.file->ReadAt(self.position, std::as_writable_bytes(std::span(buffer, size_t(size))));
    if (!got.ok()) {
        self.failure = got.status();
        return AVERROR(EIO);
    }
    if (!got.value()) return AVERROR_EOF;
    self.position += got.value();
    return int(got.value());
}

int64_t Input::Seek(void* opaque, int64_t offset, int whence) {
    auto& self = *static_cast<Input*>(opaque);
    const auto size = self.file->Size();
    if (!size.ok()) return AVERROR(EIO);
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return int64_t(size.value());
        case SEEK_SET:
            break;
        case SEEK_CUR:
            offset += int64_t(self.position);
            break;
        case SEEK_END:
            offset += int64_t(size.value());
            break;
        default:
            return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    self.position = uint64_t(offset);
    return offset;
}

/// What libavformat asks when a file refers to another one.
int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EACCES); }

/// Layouts that consist of references. Some of them go to the network without asking.
bool refersToOthers(const AVInputFormat& layout) {
    constexpr const char* layouts[] = {"concat", "dash", "hls", "imf", "redir", "rtsp", "sdp"};
    return std::any_of(std::begin(layouts), std::end(layouts),
                       [&](const char* name) { return av_match_name(name, layout.name); });
}

/// A recording of 16-bit samples says in its header whose low byte comes first. Its readers and writers agree on what
/// they do when it says 0, which is the opposite of what it should mean and of what libavformat makes of it.
void swapSerBytes(AVCodecParameters& video) {
    const AVPixelFormat swapped = av_pix_fmt_swap_endianness(AVPixelFormat(video.format));
    if (swapped == AV_PIX_FMT_NONE) return;
    video.format = swapped;
    video.codec_tag = avcodec_pix_fmt_to_codec_tag(swapped);
}

/// A decoded picture on its way to Read.
struct Shown {
    FramePtr frame;
    MediaTimes times;

    bool holds(int64_t position) const {
        return times.start <= position && position < std::max(times.stop, times.start + 1);
    }
};

class AvReader final : public IMediaReader {
public:
    explicit AvReader(std::unique_ptr<IFile> file) : input(std::move(file)) {}
    Status Open();
    const MediaFileInfo& Info() const override { return info; }
    Status Read(std::span<std::byte> picture, MediaTimes& times) override;
    Status Seek(int64_t position) override;

private:
    Status OpenStream();
    Status OpenDecoder(const AVCodec& implementation);
    int64_t DurationOfFile() const;
    Status FeedDecoder();
    Status NextFrame(AVFrame& frame);
    Status Next(Shown& shown);
    Status NextAfterJump(Shown& shown);
    bool Jump(int64_t position);
    Status Gather(int64_t position);
    Status SeekFromStart(int64_t position);

    Input input;
    FormatPtr format;
    CodecPtr decoder;
    const PacketPtr packet{av_packet_alloc()};
    int stream = -1;
    int64_t origin = 0;  // the stream's first time, in its own units
    int64_t lead = 0;    // how much later than the file the stream begins
    int64_t lastStop = 0;
    int64_t firstStart = 0;
    bool keyFramesAreTold = true;

    MediaFileInfo info;
    // Pictures that Open or Seek decoded already, in the order of Read.
    std::array<Shown, 2> held;
    size_t heldCount = 0;
    Shown current;
    std::unique_ptr<PictureMaker> maker;
};

Status AvReader::OpenStream() {
    decoder.reset();
    format.reset();
    if (const Status s = input.Open(); !s.ok()) return s;

    const AVInputFormat* layout = nullptr;
    const int unlike = av_probe_input_buffer2(input.Context(), &layout, "", nullptr, 0, 0);
    if (unlike < 0) return E_FAIL;
    if (refersToOthers(*layout)) return E_FAIL;
    AVFormatContext* opening = avformat_alloc_context();
    if (!opening) return E_OUTOFMEMORY;
    opening->pb = input.Context();
    opening->io_open = refuseToOpen;
    opening->protocol_whitelist = av_strdup("none");
    opening->flags |= AVFMT_FLAG_DISCARD_CORRUPT;
    const int failed = avformat_open_input(&opening, "", layout, nullptr);  // frees it when it fails
    if (failed < 0) return E_FAIL;  // also for want of memory: a damaged header asks for any amount
    format.reset(opening);
    if (avformat_find_stream_info(opening, nullptr) < 0) return E_FAIL;

    const AVCodec* implementation = nullptr;
    stream = av_find_best_stream(opening, AVMEDIA_TYPE_VIDEO, -1, -1, &implementation, 0);
    if (stream < 0 || !implementation) return E_FAIL;
    AVStream& video = *opening->streams[stream];
    if (av_match_name("ser", layout->name)) swapSerBytes(*video.codecpar);
    if (video.disposition & AV_DISPOSITION_ATTACHED_PIC) return E_FAIL;  // the cover of a piece of music
    for (unsigned i = 0; i < opening->nb_streams; ++i)
        if (int(i) != stream) opening->streams[i]->discard = AVDISCARD_ALL;

    origin = video.start_time == AV_NOPTS_VALUE ? 0 : video.start_time;
    lead = 0;
    if (opening->start_time != AV_NOPTS_VALUE && video.start_time != AV_NOPTS_VALUE) {
        lead = av_rescale_q(origin, video.time_base, units) - opening->start_time * unitsPerAvTime;
        // The file's time is the stream's, but for its rounding.
        if (std::abs(lead) <= unitsPerAvTime) lead = 0;
    }
    lastStop = 0;
    return OpenDecoder(*implementation);
}

Status AvReader::OpenDecoder(const AVCodec& implementation) {
    const AVStream& video = *format->streams[stream];
    decoder.reset(avcodec_alloc_context3(&implementation));
    if (!decoder) return E_OUTOFMEMORY;
    if (const int failed = avcodec_parameters_to_context(decoder.get(), video.codecpar); failed < 0)
        return statusFromAv(failed);
    decoder->pkt_timebase = video.time_base;
    decoder->thread_count = codecThreads(mostThreads);
    decoder->max_pixels = mostPixels;
    // Where pictures stand alone, half a one counts as none. Elsewhere the decoder says which ones it had to mend.
    const AVCodecDescriptor* const about = avcodec_descriptor_get(implementation.id);
    const bool standAlone = about && (about->props & AV_CODEC_PROP_INTRA_ONLY);
    if (standAlone) decoder->err_recognition |= AV_EF_EXPLODE | AV_EF_CRCCHECK;
    keyFramesAreTold = !standAlone;
    const int failed = avcodec_open2(decoder.get(), &implementation, nullptr);
    return failed < 0 ? statusFromAv(failed) : Status(S_OK);
}

int64_t AvReader::DurationOfFile() const {
    if (format->duration == AV_NOPTS_VALUE) return 0;
    int64_t duration = format->duration;
    // These headers tell the last time, not the time from the first one to it.
    const char* const name = format->iformat->name;
    if (format->start_time > 0 && (av_match_name("matroska", name) || av_match_name("mp4", name)))
        duration -= format->start_time;
    return std::max<int64_t>(duration, 0) * unitsPerAvTime;
}

Status AvReader::Open() {
    if (!packet) return E_OUTOFMEMORY;
    for (Shown* const shown : {&held[0], &held[1], &current}) {
        shown->frame.reset(av_frame_alloc());
        if (!shown->frame) return E_OUTOFMEMORY;
    }
    if (const Status s = OpenStream(); !s.ok()) return input.Failure().ok() ? s : input.Failure();

    const AVStream& video = *format->streams[stream];
    const AVRational rate = video.avg_frame_rate.num > 0 ? video.avg_frame_rate : video.r_frame_rate;
    if (rate.num > 0 && rate.den > 0) info.interval = av_rescale_q(1, av_inv_q(rate), units);
    info.duration = DurationOfFile();
    info.seekable = true;

    const Status first = Next(held[0]);
    if (!first.ok()) return first;
    const AVFrame& frame = *held[0].frame;
    if (first == S_FALSE || !sws_isSupportedInput(AVPixelFormat(frame.format))) return E_FAIL;
    if (frame.width <= 0 || frame.height <= 0 || !pictureBytes(uint32_t(frame.width), uint32_t(frame.height)))
        return E_FAIL;
    heldCount = 1;
    firstStart = held[0].times.start;
    info.width = uint32_t(frame.width);
    info.height = uint32_t(frame.height);
    maker = std::make_unique<PictureMaker>(info.width, info.height);
    return S_OK;
}

/// Gives the decoder the stream's next packet, or the end. A packet that it does not take is left out.
Status AvReader::FeedDecoder() {
    for (int faults = 0;;) {
        const int failed = av_read_frame(format.get(), packet.get());
        if (failed < 0) {
            if (!input.Failure().ok()) return input.Failure();
            if (failed == AVERROR_EOF) {
                avcodec_send_packet(decoder.get(), nullptr);
                return S_OK;
            }
            if (++faults > mostLayoutFaults) return E_FAIL;
            continue;
        }
        const bool ours = packet->stream_index == stream;
        if (ours) avcodec_send_packet(decoder.get(), packet.get());
        av_packet_unref(packet.get());
        if (ours) return S_OK;
        faults = 0;
    }
}

/// S_FALSE at the end of the file.
Status AvReader::NextFrame(AVFrame& frame) {
    if (!decoder) return E_FAIL;  // a Seek could not open the file again
    for (;;) {
        const int failed = avcodec_receive_frame(decoder.get(), &frame);
        if (failed == AVERROR_EOF) return S_FALSE;
        if (failed == AVERROR(EAGAIN)) {
            if (const Status s = FeedDecoder(); !s.ok()) return s;
        } else if (failed >= 0 && !(frame.flags & AV_FRAME_FLAG_CORRUPT) && !frame.decode_error_flags) {
            return S_OK;
        }
    }
}

Status AvReader::Next(Shown& shown) {
    if (const Status s = NextFrame(*shown.frame); s != S_OK) return s;
    const AVFrame& frame = *shown.frame;
    const AVRational base = format->streams[stream]->time_base;
    int64_t start = lastStop;
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE)
        start = lead + av_rescale_q(frame.best_effort_timestamp - origin, base, units);
    int64_t duration = frame.pkt_duration > 0 ? av_rescale_q(frame.pkt_duration, base, units) : info.interval;
    if (duration <= 0) duration = usualInterval;
    shown.times.start = std::max<int64_t>(start, 0);
    shown.times.stop = lastStop = shown.times.start + duration;
    return S_OK;
}

/// Lets the demuxer go on at the last key frame before `position`. False when it cannot.
bool AvReader::Jump(int64_t position) {
    if (!decoder || format->iformat->flags & AVFMT_NOTIMESTAMPS) return false;
    const AVRational base = format->streams[stream]->time_base;
    const int64_t time = origin + av_rescale_q_rnd(position - lead, units, base, AV_ROUND_DOWN);
    if (av_seek_frame(format.get(), stream, time, AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(decoder.get());
    return true;
}

/// The first picture that can be trusted. Those before the first key frame build on pictures that were not decoded, and
/// in a broadcast's layouts a picture without a time of its own would be given one that is only guessed.
Status AvReader::NextAfterJump(Shown& shown) {
    const bool timesAreGuessed = format->iformat->flags & AVFMT_TS_DISCONT;
    for (;;) {
        const Status s = Next(shown);
        if (s != S_OK) return s;
        const AVFrame& frame = *shown.frame;
        if (keyFramesAreTold && !frame.key_frame) continue;
        if (!timesAreGuessed || frame.pts != AV_NOPTS_VALUE) return s;
    }
}

/// From the first held picture on to the one that is shown at `position`, or the first one behind it.
Status AvReader::Gather(int64_t position) {
    heldCount = 1;
    while (held[0].times.start <= position) {
        const Status s = Next(held[1]);
        if (!s.ok()) return heldCount = 0, s;
        if (s == S_FALSE) {
            heldCount = held[0].holds(position) ? 1 : 0;
            return S_OK;
        }
        if (held[1].times.start > position && held[0].holds(position)) {
            heldCount = 2;
            return S_OK;
        }
        std::swap(held[0], held[1]);
    }
    return S_OK;
}

Status AvReader::SeekFromStart(int64_t position) {
    if (const Status s = OpenStream(); !s.ok()) return input.Failure().ok() ? s : input.Failure();
    const Status first = Next(held[0]);
    return first == S_OK ? Gather(position) : first;
}

Status AvReader::Seek(int64_t position) {
    heldCount = 0;
    position = std::max<int64_t>(position, 0);
    const int64_t from = info.duration ? std::min(position, info.duration) : position;
    // Some layouts lead to a picture that is too late: behind the one that is wanted in the order of decoding, or just
    // somewhere near. Some decoders leave out a picture behind a key frame that they did not come to in order. So where
    // nothing seems to be shown, one begins earlier, until that is found twice.
    constexpr int64_t notFound = -1, end = INT64_MAX;
    int64_t before = notFound;
    for (int64_t back = 0;; back = back ? back * 4 : second) {
        if (!Jump(std::max<int64_t>(from - back, 0))) break;
        const Status first = NextAfterJump(held[0]);
        if (!first.ok()) return first;
        if (first == S_OK && held[0].times.start <= std::max(position, firstStart)) {
            if (const Status s = Gather(position); !s.ok()) return s;
            const int64_t found = heldCount ? held[0].times.start : end;
            if ((heldCount && held[0].holds(position)) || found == before || position < firstStart) return S_OK;
            before = found;
        }
        if (back > from) break;
    }
    return SeekFromStart(position);
}

Status AvReader::Read(std::span<std::byte> picture, MediaTimes& times) {
    if (picture.size() < pictureBytes(info.width, info.height)) return E_INVALIDARG;
    for (;;) {
        if (heldCount) {
            std::swap(current, held[0]);
            std::swap(held[0], held[1]);
            --heldCount;
        } else if (const Status s = Next(current); s != S_OK) {
            return s;
        }
        const Status made = maker->Make(*current.frame, picture);
        times = current.times;
        av_frame_unref(current.frame.get());
        // One in a format that nobody can show counts as damaged.
        if (made.code() != E_FAIL) return made;
    }
}

}  // namespace

Result<std::unique_ptr<IMediaReader>> openMediaFile(std::unique_ptr<IFile> file) {
    auto reader = std::make_unique<AvReader>(std::move(file));
    if (const Status s = reader->Open(); !s.ok()) return s;
    return std::unique_ptr<IMediaReader>(std::move(reader));
}

}  // namespace vexcap::ffmpeg
