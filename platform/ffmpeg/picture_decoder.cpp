#include "platform/ffmpeg/picture_decoder.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "base/dib.h"
#include "platform/ffmpeg/av.h"
#include "platform/ffmpeg/picture.h"

namespace vexcap::ffmpeg {
namespace {

constexpr size_t mostBytes = INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE;

class JpegDecoder final : public IPictureDecoder {
public:
    static Result<std::unique_ptr<IPictureDecoder>> create(uint32_t width, uint32_t height);
    Status Decode(std::span<const std::byte> compressed, std::span<std::byte> picture) override;

private:
    JpegDecoder(uint32_t pictureWidth, uint32_t pictureHeight)
        : width(int(pictureWidth)), height(int(pictureHeight)), maker(pictureWidth, pictureHeight) {}
    static int GetBuffer(AVCodecContext* decoder, AVFrame* frame, int flags);
    Status Open();
    Status Fill(std::span<const std::byte> compressed);
    Status DecodePacket(std::span<std::byte> picture);

    const int width;
    const int height;
    const PacketPtr packet{av_packet_alloc()};
    const FramePtr frame{av_frame_alloc()};
    CodecPtr decoder;  // null after a failure: it would take what it misread along to the next picture
    PictureMaker maker;
    int room = 0;  // of the packet's buffer
};

/// The decoder asks for a frame as soon as it has read a picture's header, before it takes any other memory for it.
int JpegDecoder::GetBuffer(AVCodecContext* decoder, AVFrame* frame, int flags) {
    const auto* const self = static_cast<const JpegDecoder*>(decoder->opaque);
    if (frame->width != self->width || frame->height != self->height) return AVERROR_INVALIDDATA;
    return avcodec_default_get_buffer2(decoder, frame, flags);
}

Result<std::unique_ptr<IPictureDecoder>> JpegDecoder::create(uint32_t width, uint32_t height) {
    std::unique_ptr<JpegDecoder> made(new JpegDecoder(width, height));
    if (!made->packet || !made->frame) return E_OUTOFMEMORY;
    if (const Status s = made->Open(); !s.ok()) return s;
    return std::unique_ptr<IPictureDecoder>(std::move(made));
}

Status JpegDecoder::Open() {
    const AVCodec* const implementation = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    if (!implementation) return E_FAIL;
    CodecPtr opened(avcodec_alloc_context3(implementation));
    if (!opened) return E_OUTOFMEMORY;
    opened->opaque = this;
    opened->width = width;
    opened->height = height;
    opened->get_buffer2 = GetBuffer;
    opened->thread_count = 1;  // each picture is wanted at once
    // Half a picture counts as none.
    opened->err_recognition = AV_EF_EXPLODE;
    if (const int failed = avcodec_open2(opened.get(), implementation, nullptr); failed < 0)
        return statusFromAv(failed);
    decoder = std::move(opened);
    return S_OK;
}

/// Copies, since the decoder reads beyond the end.
Status JpegDecoder::Fill(std::span<const std::byte> compressed) {
    if (compressed.empty() || compressed.size() > mostBytes) return E_FAIL;
    const int size = int(compressed.size());
    if (size > room || !av_buffer_is_writable(packet->buf)) {
        room = 0;
        av_packet_unref(packet.get());
        if (const int failed = av_new_packet(packet.get(), size); failed < 0) return statusFromAv(failed);
        room = size;
    }
    std::memcpy(packet->data, compressed.data(), compressed.size());
    std::memset(packet->data + size, 0, AV_INPUT_BUFFER_PADDING_SIZE);
    packet->size = size;
    return S_OK;
}

Status JpegDecoder::DecodePacket(std::span<std::byte> picture) {
    if (avcodec_send_packet(decoder.get(), packet.get()) < 0) return E_FAIL;
    if (avcodec_receive_frame(decoder.get(), frame.get()) < 0) return E_FAIL;
    return maker.Make(*frame, picture);
}

Status JpegDecoder::Decode(std::span<const std::byte> compressed, std::span<std::byte> picture) {
    if (const Status s = Fill(compressed); !s.ok()) return s;
    for (;;) {
        const bool fresh = !decoder;
        if (fresh)
            if (const Status s = Open(); !s.ok()) return s;
        const Status made = DecodePacket(picture);
        av_frame_unref(frame.get());
        if (made.ok()) return made;
        // What an earlier picture left behind in the decoder is no fault of this one.
        decoder.reset();
        if (fresh) return made;
    }
}

}  // namespace

Result<std::unique_ptr<IPictureDecoder>> openPictureDecoder(uint32_t code, uint32_t width, uint32_t height) {
    if (code != fourcc("MJPG") || !pictureBytes(width, height)) return E_INVALIDARG;
    return JpegDecoder::create(width, height);
}

}  // namespace vexcap::ffmpeg
