#include "recording/avi_testing.h"

#include <algorithm>

namespace vexcap::test {
namespace {

constexpr uint32_t flagHasIndex = 0x10;
constexpr uint32_t flagKeyFrame = 0x10;                 // of an entry in idx1
constexpr uint32_t flagNoKeyFrame = uint32_t(1) << 31;  // beside the size of an entry in ix00
constexpr uint64_t firstListStart = 2044;               // "movi"

/// Bytes of the file from anywhere in it; zeros beyond its end.
class Source {
public:
    explicit Source(std::istream& file) : stream(file) {
        stream.clear();
        stream.seekg(0, std::ios::end);
        length = uint64_t(stream.tellg());
    }
    uint64_t size() const { return length; }
    std::vector<uint8_t> bytes(uint64_t position, size_t count) {
        std::vector<uint8_t> result(count);
        if (position >= length) return result;
        stream.clear();
        stream.seekg(std::streamoff(position));
        stream.read(reinterpret_cast<char*>(result.data()), std::streamsize(count));
        return result;
    }

private:
    std::istream& stream;
    uint64_t length = 0;
};

/// Fields that follow one another.
class Fields {
public:
    explicit Fields(std::vector<uint8_t> data) : all(std::move(data)) {}
    uint64_t number(size_t count) {
        uint64_t value = 0;
        for (size_t i = 0; i < count && at + i < all.size(); ++i) value |= uint64_t(all[at + i]) << (8 * i);
        at += count;
        return value;
    }
    uint8_t u8() { return uint8_t(number(1)); }
    uint16_t u16() { return uint16_t(number(2)); }
    uint32_t u32() { return uint32_t(number(4)); }
    uint64_t u64() { return number(8); }
    std::string name() {
        std::string text;
        for (size_t i = 0; i < 4; ++i) text += char(u8());
        return text;
    }
    std::vector<uint8_t> rest() {
        std::vector<uint8_t> result(all.begin() + ptrdiff_t(std::min(at, all.size())), all.end());
        at = all.size();
        return result;
    }
    bool zeros(size_t count) {
        bool clear = true;
        for (size_t i = 0; i < count; ++i) clear = u8() == 0 && clear;
        return clear;
    }

private:
    std::vector<uint8_t> all;
    size_t at = 0;
};

struct Chunk {
    std::string name;   // of a RIFF or LIST: its kind
    bool list = false;  // the children follow at `data`
    uint64_t start = 0;
    uint64_t data = 0;
    uint64_t end = 0;  // without padding
};

class Reader {
public:
    explicit Reader(std::istream& file) : source(file) {}

    AviContent read() {
        uint64_t position = 0;
        while (position < source.size()) {
            const auto riff = chunkAt(position, source.size(), "RIFF");
            if (!riff) break;
            position = riff->end + riff->end % 2;
            content.segments.push_back({.start = riff->start, .end = riff->end});
            if (content.segments.size() == 1)
                readFirst(*riff);
            else
                readFurther(*riff);
        }
        require(!content.segments.empty(), "no RIFF");
        require(content.segments.empty() || content.segments.back().end == source.size(),
                "the file does not end where its last RIFF does");
        if (content.faults.empty()) compareCounts();
        if (content.faults.empty()) compareSuperIndex();
        return std::move(content);
    }

private:
    void fault(const std::string& text, uint64_t position) {
        content.faults.push_back(text + " at " + std::to_string(position));
    }
    void require(bool good, const std::string& text) {
        if (!good) content.faults.push_back(text);
    }

    /// The chunk at `position`, if it lies within `limit` whole. A list that is wanted by its outer name has to be one.
    std::optional<Chunk> chunkAt(uint64_t position, uint64_t limit, const std::string& outer = "") {
        Fields head(source.bytes(position, 12));
        Chunk chunk{.name = head.name(), .start = position, .data = position + 8};
        chunk.end = chunk.data + head.u32();
        if (position + 8 > limit || chunk.end > limit) {
            fault("the chunk \"" + chunk.name + "\" reaches beyond what holds it", position);
            return std::nullopt;
        }
        if (!outer.empty() && chunk.name != outer) {
            fault("\"" + chunk.name + "\" where there should be " + outer, position);
            return std::nullopt;
        }
        if (chunk.name == "RIFF" || chunk.name == "LIST") {
            if (chunk.end < chunk.data + 4) {
                fault("a list without a kind", position);
                return std::nullopt;
            }
            chunk.list = true;
            chunk.name = head.name();
            chunk.data += 4;
        }
        if (chunk.end % 2 && (chunk.end >= limit || source.bytes(chunk.end, 1)[0] != 0))
            fault("no zero behind an odd size", position);
        return chunk;
    }

    std::vector<Chunk> childrenOf(const Chunk& list) {
        std::vector<Chunk> children;
        for (uint64_t position = list.data; position < list.end;) {
            const auto child = chunkAt(position, list.end);
            if (!child) break;
            children.push_back(*child);
            position = child->end + child->end % 2;
        }
        return children;
    }

    /// The children of `list` if they have these names, in this order; one whose name begins with '?' may be missing.
    std::vector<std::optional<Chunk>> expectChildren(const Chunk& list, const std::vector<std::string>& names) {
        const std::vector<Chunk> children = childrenOf(list);
        std::vector<std::optional<Chunk>> result;
        size_t next = 0;
        for (const std::string& wanted : names) {
            const bool optional = wanted[0] == '?';
            const std::string name = optional ? wanted.substr(1) : wanted;
            if (next < children.size() && children[next].name == name) {
                result.push_back(children[next++]);
            } else {
                result.push_back(std::nullopt);
                if (!optional) fault("no \"" + name + "\" in \"" + list.name + "\"", list.start);
            }
        }
        if (next < children.size()) fault("\"" + children[next].name + "\" is out of place", children[next].start);
        return result;
    }

    Fields fieldsOf(const Chunk& chunk) { return Fields(source.bytes(chunk.data, size_t(chunk.end - chunk.data))); }
    void requireSize(const Chunk& chunk, uint64_t size) {
        if (chunk.end - chunk.data != size) fault("the size of \"" + chunk.name + "\" is wrong", chunk.start);
    }

    void readFirst(const Chunk& riff) {
        if (riff.name != "AVI ") return fault("the first RIFF is no AVI", riff.start);
        const auto children = expectChildren(riff, {"hdrl", "JUNK", "movi", "?idx1"});
        if (!content.faults.empty()) return;
        if (!children[0]->list || !children[2]->list) return fault("hdrl or movi is no list", riff.start);
        readHeaders(*children[0]);
        if (children[2]->data - 4 != firstListStart) fault("the list of frames is out of place", children[2]->start);
        readList(*children[2], 0);
        if (children[3]) readFrameIndex(*children[3]);
        const bool told = content.main.flags & flagHasIndex;
        if (told != content.hasFrameIndex) fault("the flag of the index is wrong", riff.start);
    }

    void readFurther(const Chunk& riff) {
        if (riff.name != "AVIX") return fault("a further RIFF is no AVIX", riff.start);
        const auto children = expectChildren(riff, {"movi"});
        if (!content.faults.empty()) return;
        if (!children[0]->list) return fault("movi is no list", riff.start);
        readList(*children[0], riff.start);
    }

    void readHeaders(const Chunk& hdrl) {
        const auto children = expectChildren(hdrl, {"avih", "strl", "?odml"});
        if (!content.faults.empty()) return;
        requireSize(*children[0], 56);
        Fields avih = fieldsOf(*children[0]);
        AviMainHeader& main = content.main;
        main.microSecPerFrame = avih.u32();
        main.maxBytesPerSec = avih.u32();
        main.paddingGranularity = avih.u32();
        main.flags = avih.u32();
        main.totalFrames = avih.u32();
        main.initialFrames = avih.u32();
        main.streams = avih.u32();
        main.suggestedBufferSize = avih.u32();
        main.width = avih.u32();
        main.height = avih.u32();
        if (!avih.zeros(16)) fault("avih has something in its reserved fields", children[0]->start);

        readStream(*children[1]);
        if (!children[2]) return;
        const auto openDml = expectChildren(*children[2], {"dmlh"});
        if (!content.faults.empty()) return;
        requireSize(*openDml[0], 4);
        content.openDmlFrames = fieldsOf(*openDml[0]).u32();
    }

    void readStream(const Chunk& strl) {
        const auto children = expectChildren(strl, {"strh", "strf", "?indx"});
        if (!content.faults.empty()) return;
        requireSize(*children[0], 56);
        Fields strh = fieldsOf(*children[0]);
        AviStreamHeader& stream = content.stream;
        stream.type = strh.name();
        stream.handler = strh.u32();
        stream.flags = strh.u32();
        stream.priorityAndLanguage = strh.u32();
        stream.initialFrames = strh.u32();
        stream.scale = strh.u32();
        stream.rate = strh.u32();
        stream.start = strh.u32();
        stream.length = strh.u32();
        stream.suggestedBufferSize = strh.u32();
        stream.quality = strh.u32();
        stream.sampleSize = strh.u32();
        if (!strh.zeros(8)) fault("strh has a rectangle", children[0]->start);

        Fields strf = fieldsOf(*children[1]);
        AviBitmapHeader& bitmap = content.bitmap;
        bitmap.size = strf.u32();
        bitmap.width = strf.u32();
        bitmap.height = strf.u32();
        bitmap.planes = strf.u16();
        bitmap.bitCount = strf.u16();
        bitmap.compression = strf.u32();
        bitmap.sizeImage = strf.u32();
        if (!strf.zeros(16)) fault("strf has a resolution or colours", children[1]->start);
        bitmap.extraData = strf.rest();

        if (children[2]) readSuperIndex(*children[2]);
    }

    void readSuperIndex(const Chunk& chunk) {
        Fields indx = fieldsOf(chunk);
        if (indx.u16() != 4 || indx.u8() != 0 || indx.u8() != 0) fault("indx is no index of indexes", chunk.start);
        const uint32_t entries = indx.u32();
        if (indx.name() != "ix00") fault("indx is for another stream", chunk.start);
        if (!indx.zeros(12)) fault("indx has something in its reserved fields", chunk.start);
        requireSize(chunk, 24 + uint64_t(16) * entries);
        if (!content.faults.empty()) return;
        for (uint32_t i = 0; i < entries; ++i) {
            AviIndexPlace& place = content.superIndex.emplace_back();
            place.position = indx.u64();
            place.size = indx.u32();
            place.duration = indx.u32();
        }
    }

    /// Frames, and behind them perhaps the index of the segment.
    void readList(const Chunk& list, uint64_t base) {
        AviSegment& segment = content.segments.back();
        for (const Chunk& chunk : childrenOf(list)) {
            if (segment.hasIndex) return fault("something behind ix00", chunk.start);
            if (chunk.name == "00dc") {
                segment.frames.push_back({chunk.data, uint32_t(chunk.end - chunk.data)});
            } else if (chunk.name == "ix00") {
                segment.hasIndex = true;
                readSegmentIndex(chunk, base);
            } else {
                return fault("\"" + chunk.name + "\" in a list of frames", chunk.start);
            }
        }
    }

    void readSegmentIndex(const Chunk& chunk, uint64_t base) {
        std::vector<AviFrame>& frames = content.segments.back().frames;
        requireSize(chunk, 24 + 8 * frames.size());
        Fields ix00 = fieldsOf(chunk);
        if (ix00.u16() != 2 || ix00.u8() != 0 || ix00.u8() != 1) fault("ix00 is no index of chunks", chunk.start);
        if (ix00.u32() != frames.size()) fault("ix00 has the wrong number of entries", chunk.start);
        if (ix00.name() != "00dc") fault("ix00 is for other chunks", chunk.start);
        if (ix00.u64() != base) fault("ix00 counts from elsewhere", chunk.start);
        if (!ix00.zeros(4)) fault("ix00 has something in its reserved field", chunk.start);
        for (AviFrame& frame : frames) {
            const uint64_t position = base + ix00.u32();
            const uint32_t size = ix00.u32();
            frame.keyFrame = !(size & flagNoKeyFrame);
            if (position != frame.position || (size & ~flagNoKeyFrame) != frame.size)
                return fault("ix00 tells another frame", chunk.start);
        }
    }

    void readFrameIndex(const Chunk& chunk) {
        content.hasFrameIndex = true;
        AviSegment& segment = content.segments.back();
        requireSize(chunk, 16 * segment.frames.size());
        Fields idx1 = fieldsOf(chunk);
        for (AviFrame& frame : segment.frames) {
            const std::string name = idx1.name();
            const uint32_t flags = idx1.u32();
            if (name != "00dc" || (flags & ~flagKeyFrame) != 0)
                return fault("idx1 has another kind of frame", chunk.start);
            const bool keyFrame = flags != 0;
            if (segment.hasIndex && keyFrame != frame.keyFrame)
                return fault("ix00 and idx1 do not agree on a key frame", chunk.start);
            frame.keyFrame = keyFrame;
            const uint64_t position = uint64_t(idx1.u32()) + 8;
            if (position != frame.position || idx1.u32() != frame.size)
                return fault("idx1 tells another frame", chunk.start);
        }
    }

    void compareCounts() {
        const std::vector<AviFrame> frames = content.frames();
        uint32_t largest = 0;
        for (const AviFrame& frame : frames) largest = std::max(largest, frame.size);
        require(content.main.totalFrames == frames.size(), "avih tells another number of frames");
        require(content.stream.length == frames.size(), "strh tells another number of frames");
        require(!content.openDmlFrames || *content.openDmlFrames == frames.size(),
                "dmlh tells another number of frames");
        require(content.stream.suggestedBufferSize == largest, "strh tells another largest frame");
    }

    /// It tells the index of each segment that has one, and is there when there are several segments.
    void compareSuperIndex() {
        const bool several = content.segments.size() > 1;
        require(content.superIndex.empty() == !several, "indx is missing, or has no place here");
        require(content.openDmlFrames.has_value() == several, "odml is missing, or has no place here");
        size_t next = 0;
        for (const AviSegment& segment : content.segments) {
            if (!segment.hasIndex) continue;
            if (next == content.superIndex.size()) return require(false, "indx does not tell all indexes");
            const AviIndexPlace& place = content.superIndex[next++];
            const auto chunk = chunkAt(place.position, source.size(), "ix00");
            if (!chunk) return;
            require(segment.start < chunk->start && chunk->start < segment.end,
                    "indx tells the index of another segment");
            require(place.size == chunk->end - chunk->data, "indx tells another size");
            require(place.duration == uint32_t(segment.frames.size() - 1), "indx tells another duration");
        }
        require(next == content.superIndex.size(), "indx tells an index that is not there");
    }

    Source source;
    AviContent content;
};

}  // namespace

std::vector<AviFrame> AviContent::frames() const {
    std::vector<AviFrame> all;
    for (const AviSegment& segment : segments) all.insert(all.end(), segment.frames.begin(), segment.frames.end());
    return all;
}

AviContent readAvi(std::istream& file) { return Reader(file).read(); }

AviScan scanAvi(std::istream& file) {
    Source source(file);
    AviScan scan;
    uint64_t position = firstListStart + 4;
    while (position < source.size()) {
        Fields head(source.bytes(position, 8));
        const std::string name = head.name();
        const uint32_t size = head.u32();
        if (name == "RIFF") {
            position += 24;  // up to the first chunk of its list
            continue;
        }
        if (name == "00dc")
            scan.frames.push_back({position + 8, size});
        else if (name != "ix00" && name != "idx1")
            break;
        position += 8 + uint64_t(size) + size % 2;
    }
    if (position != source.size()) scan.fault = "lost at " + std::to_string(position);
    return scan;
}

}  // namespace vexcap::test
