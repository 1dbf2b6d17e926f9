#include "hosts/cli/verify/avi_header.h"

namespace vexcap::cli {

namespace {

int digit(uint32_t character) { return character >= '0' && character <= '9' ? static_cast<int>(character - '0') : -1; }

std::optional<size_t> number(uint32_t twoCharacters) {
    const int tens = digit(twoCharacters & 0xFF), ones = digit(twoCharacters >> 8 & 0xFF);
    if (tens < 0 || ones < 0) return {};
    return static_cast<size_t>(tens * 10 + ones);
}

constexpr uint32_t twoCharacters(char first, char second) {
    return static_cast<uint32_t>(second) << 8 | static_cast<uint32_t>(first);
}

/// Formats whose frames all have one size, and the bits of a pixel there. Those with colour for several pixels
/// together have it only where the sides are whole multiples.
struct PlainFormat {
    uint32_t code;
    uint32_t bits;
    uint32_t widthStep;
    uint32_t heightStep;
};
constexpr PlainFormat plainFormats[] = {
    {fourcc("YUY2"), 16, 2, 1}, {fourcc("YUYV"), 16, 2, 1}, {fourcc("YVYU"), 16, 2, 1}, {fourcc("UYVY"), 16, 2, 1},
    {fourcc("I420"), 12, 2, 2}, {fourcc("IYUV"), 12, 2, 2}, {fourcc("YV12"), 12, 2, 2}, {fourcc("NV12"), 12, 2, 2},
    {fourcc("Y800"), 8, 4, 1},  {fourcc("Y8  "), 8, 4, 1},  {fourcc("GREY"), 8, 4, 1},
};

constexpr uint32_t bitFields = 3;  // BI_BITFIELDS

void readFormat(ByteReader& reader, const Chunk& chunk, AviStream& stream) {
    const auto format = chunk.size >= 20 ? reader.Record<20>(chunk.Data()) : std::nullopt;
    if (!format || !stream.IsVideo()) return;
    const auto height = static_cast<int32_t>(le32(*format, 8));
    stream.formatKnown = true;
    stream.width = le32(*format, 4);
    // A negative height tells rows from the top to the bottom.
    stream.height = height < 0 ? 0u - static_cast<uint32_t>(height) : static_cast<uint32_t>(height);
    stream.bits = le16(*format, 14);
    stream.compression = le32(*format, 16);
}

AviStream readStream(ByteReader& reader, const Chunk& list, Problems& problems) {
    AviStream stream;
    forEachChunk(reader, list.Data() + 4, list.End(), problems, [&](const Chunk& chunk) {
        if (chunk.name == fourcc("strh") && chunk.size >= 36) {
            const auto header = reader.Record<36>(chunk.Data());
            if (!header) return;
            stream.type = le32(*header, 0);
            stream.scale = le32(*header, 20);
            stream.rate = le32(*header, 24);
            stream.length = le32(*header, 32);
        }
        if (chunk.name == fourcc("strf")) readFormat(reader, chunk, stream);
        if (chunk.name == fourcc("indx")) stream.index = chunk;
    });
    return stream;
}

}  // namespace

std::optional<size_t> streamOf(uint32_t name) { return isName(name) ? number(name) : std::nullopt; }

bool isFrame(uint32_t name) { return name >> 16 == twoCharacters('d', 'c') || name >> 16 == twoCharacters('d', 'b'); }

bool isIndexOf(uint32_t name, size_t stream) {
    constexpr uint32_t mark = twoCharacters('i', 'x');
    return ((name & 0xFFFF) == mark && number(name >> 16) == stream) || (name >> 16 == mark && number(name) == stream);
}

uint64_t AviStream::FrameBytes() const {
    // Larger pictures are none, and their sizes would not fit into a chunk's.
    constexpr uint32_t longestSide = 1u << 20;
    if (!IsVideo() || width == 0 || height == 0 || width > longestSide || height > longestSide) return 0;
    if (compression == 0 || compression == bitFields) return (uint64_t{width} * bits + 31) / 32 * 4 * height;
    for (const PlainFormat& format : plainFormats)
        if (format.code == compression && width % format.widthStep == 0 && height % format.heightStep == 0)
            return uint64_t{width} * height * format.bits / 8;
    return 0;
}

std::string AviStream::Pixels() const {
    if (!formatKnown) return {};
    if (compression != 0 && compression != bitFields) return nameText(compression);
    switch (bits) {
        case 8:
            return "palette";
        case 24:
            return "BGR24";
        case 32:
            return "BGR32";
        default:
            return "RGB";
    }
}

std::optional<size_t> AviHeader::Video() const {
    for (size_t i = 0; i < streams.size(); ++i)
        if (streams[i].IsVideo()) return i;
    return {};
}

AviHeader readAviHeader(ByteReader& reader, const Chunk& list, uint64_t end, Problems& problems) {
    AviHeader header;
    forEachChunk(reader, list.Data() + 4, std::min(list.End(), end), problems, [&](const Chunk& chunk) {
        const uint32_t kind = listKind(reader, chunk);
        if (chunk.name == fourcc("avih") && chunk.size >= 20) {
            const auto main = reader.Record<20>(chunk.Data());
            header.found = main.has_value();
            header.flags = main ? le32(*main, 12) : 0;
            header.frames = main ? le32(*main, 16) : 0;
        }
        if (kind == fourcc("strl") && header.streams.size() < mostStreams)
            header.streams.push_back(readStream(reader, chunk, problems));
        if (kind == fourcc("odml"))
            forEachChunk(reader, chunk.Data() + 4, chunk.End(), problems, [&](const Chunk& inner) {
                const auto count = inner.size >= 4 ? reader.Record<4>(inner.Data()) : std::nullopt;
                if (inner.name == fourcc("dmlh") && count) header.allFrames = le32(*count, 0);
            });
    });
    return header;
}

}  // namespace vexcap::cli
