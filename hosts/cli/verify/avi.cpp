#include "hosts/cli/verify/avi.h"

#include <map>
#include <utility>

#include "hosts/cli/verify/avi_index.h"

namespace vexcap::cli {

namespace {

std::string streamKind(uint32_t type) {
    if (type == fourcc("vids")) return "video";
    if (type == fourcc("auds")) return "audio";
    if (type == fourcc("txts")) return "text";
    return nameText(type);
}

/// A list that was not ended: not even its kind has room in it.
bool hasNoSize(const Chunk& list) { return list.size < 4; }

/// The chunks of each stream in a part of the file.
struct Held {
    StreamCounts frames = {};
    StreamCounts chunks = {};  ///< Frames, samples and whatever else a stream has.
};

/// Looks at one file: first at the segments, which tell what is there; then header and indexes are compared with that.
class AviVerifier final {
public:
    explicit AviVerifier(Source& read) : source(read), reader(read) {}
    FileReport Run();

private:
    void ReadSegments();
    void ReadSegment(const Chunk& riff);
    void ReadList(const Chunk& riff, const Chunk& list, uint64_t end);
    void ReadFrames(uint64_t begin, uint64_t end, bool inRecord);
    void FindFrames(uint64_t begin);
    void Count(const Chunk& chunk);
    void Describe();
    void CompareHeader();
    void CompareIndexes();
    bool MainCountIsRight() const;
    void ComparePromises(size_t stream);
    void CompareIndex(const char* index, uint64_t listed, const char* place, uint64_t held, size_t stream);
    std::string OfStream(size_t stream) const;
    std::string SegmentName() const { return "RIFF segment " + std::to_string(report.segments); }

    Source& source;
    ByteReader reader;
    FileReport report;
    AviHeader header;
    bool closed = true;
    uint64_t movi = 0;  ///< Where the kind of the first list of frames stands; 0 without one.
    std::optional<Chunk> firstIndex;
    Held all, first;  ///< In the file, in its first segment.
    Repeated wrongSize, unknownStream;
};

FileReport AviVerifier::Run() {
    report.container = FileReport::Container::Avi;
    report.bytes = reader.Size();
    ReadSegments();
    Describe();
    wrongSize.TellTo(report.problems);
    unknownStream.TellTo(report.problems);
    if (closed) {
        CompareHeader();
        CompareIndexes();
    }
    return std::move(report);
}

void AviVerifier::ReadSegments() {
    for (uint64_t position = 0; closed && position < reader.Size();) {
        const auto chunk = chunkAt(reader, position);
        const uint32_t kind = chunk ? listKind(reader, *chunk) : 0;
        if (chunk && chunk->name == fourcc("RIFF") && (kind == fourcc("AVI ") || kind == fourcc("AVIX"))) {
            ++report.segments;
            ReadSegment(*chunk);
            if (report.segments == 1) first = all;
            if (hasNoSize(*chunk)) return;
        } else if (!chunk || chunk->name != fourcc("JUNK") || chunk->End() > reader.Size()) {
            report.problems.Add("the last " + std::to_string(reader.Size() - position) + " bytes, from " +
                                hexText(position) + " on, lie in no RIFF segment");
            return;
        }
        position = chunk->Next();
    }
}

void AviVerifier::ReadSegment(const Chunk& riff) {
    const bool cut = hasNoSize(riff) || riff.End() > reader.Size();
    const uint64_t end = cut ? reader.Size() : riff.End();
    std::optional<Chunk> tooLong;
    for (uint64_t position = riff.Data() + 4; closed && position < end && end - position >= chunkHeaderBytes;) {
        const auto chunk = chunkAt(reader, position);
        if (!chunk) break;
        if (!isName(chunk->name)) {
            report.problems.Add("at " + hexText(position) + " no chunk begins");
            break;
        }
        if (chunk->name == fourcc("LIST")) ReadList(riff, *chunk, end);
        if (chunk->name == fourcc("idx1") && report.segments == 1 && !firstIndex) firstIndex = chunk;
        if (chunk->End() > end) {
            tooLong = chunk;
            break;
        }
        position = chunk->Next();
    }
    if (!closed) return;
    if (hasNoSize(riff))
        report.problems.Add(SegmentName() + " has no size");
    else if (cut)
        report.problems.Add(SegmentName() + " ends beyond the file: at " + hexText(riff.End()) +
                            ", but the file ends at " + hexText(reader.Size()));
    else if (tooLong)
        report.problems.Add("the chunk " + nameText(tooLong->name) + " at " + hexText(tooLong->position) +
                            " ends beyond " + SegmentName());
}

/// @param end  Of the segment, or of the file where that comes first.
void AviVerifier::ReadList(const Chunk& riff, const Chunk& list, uint64_t end) {
    const uint32_t kind = listKind(reader, list);
    if (kind == fourcc("hdrl") && report.segments == 1) header = readAviHeader(reader, list, end, report.problems);
    if (kind != fourcc("movi")) return;
    if (movi == 0) movi = list.Data();
    // Sizes and counts come last into a file. Until then sizes are 0, or as large as they can be.
    const bool sizesOpen = riff.End() > reader.Size() || list.End() > riff.End() || hasNoSize(list);
    if (report.segments == 1 && sizesOpen && header.PromisesNothing()) {
        closed = false;
        FindFrames(list.Data() + 4);
    } else {
        ReadFrames(list.Data() + 4, std::min(list.End(), end), false);
    }
}

/// @param inRecord  Within a list that keeps chunks together; it has no further ones.
void AviVerifier::ReadFrames(uint64_t begin, uint64_t end, bool inRecord) {
    forEachChunk(reader, begin, end, report.problems, [&](const Chunk& chunk) {
        if (!inRecord && listKind(reader, chunk) == fourcc("rec "))
            ReadFrames(chunk.Data() + 4, chunk.End(), true);
        else
            Count(chunk);
    });
}

/// Counts the frames of a file whose lists have no sizes yet: all chunks, one behind the other, to its end.
void AviVerifier::FindFrames(uint64_t begin) {
    uint64_t position = begin;
    for (;;) {
        const auto chunk = chunkAt(reader, position);
        if (!chunk || !isName(chunk->name)) break;
        const uint32_t kind = listKind(reader, *chunk);
        if (chunk->name == fourcc("RIFF") || kind == fourcc("movi") || kind == fourcc("rec ")) {
            if (chunk->name == fourcc("RIFF")) ++report.segments;
            position += listHeaderBytes;
            continue;
        }
        if (chunk->End() > reader.Size()) break;
        Count(*chunk);
        position = chunk->Next();
    }
    const auto video = header.Video();
    std::string text = "the recording was not closed: " + std::to_string(video ? all.frames[*video] : 0) +
                       " whole frames can be found";
    if (position < reader.Size())
        text += ", and the last " + std::to_string(reader.Size() - position) + " bytes hold none";
    report.problems.Add(text);
}

void AviVerifier::Count(const Chunk& chunk) {
    const auto number = streamOf(chunk.name);
    if (!number) return;
    ++all.chunks[*number];
    if (header.found && *number >= header.streams.size())
        unknownStream.Note([&] {
            return "the chunk " + nameText(chunk.name) + " at " + hexText(chunk.position) +
                   " belongs to a stream that the header does not have";
        });
    if (!isFrame(chunk.name)) return;
    const uint64_t frame = ++all.frames[*number];
    const uint64_t bytes = *number < header.streams.size() ? header.streams[*number].FrameBytes() : 0;
    // A frame of no bytes tells that the one before it stays.
    if (bytes && chunk.size && chunk.size != bytes)
        wrongSize.Note([&] {
            return "frame " + std::to_string(frame) + " at " + hexText(chunk.position) + " has " +
                   std::to_string(chunk.size) + " bytes, but a picture of this size and kind takes " +
                   std::to_string(bytes);
        });
}

void AviVerifier::Describe() {
    const auto video = header.Video();
    for (size_t i = 0; i < header.streams.size(); ++i)
        if (i != video) report.otherStreams.push_back(streamKind(header.streams[i].type));
    if (!video) return;
    const AviStream& stream = header.streams[*video];
    report.frames = all.frames[*video];
    report.width = stream.width;
    report.height = stream.height;
    report.bits = stream.bits;
    report.pixels = stream.Pixels();
    // Before a recording is closed its rate is a guess.
    if (!closed || stream.rate == 0 || stream.scale == 0) return;
    report.framesPerSecond = double(stream.rate) / stream.scale;
    report.seconds = double(report.frames) / *report.framesPerSecond;
}

void AviVerifier::CompareHeader() {
    if (!header.found) return report.problems.Add("there is no header that can be read");
    if (movi == 0) report.problems.Add("there is no list of frames");
    for (size_t i = 0; i < header.streams.size(); ++i) {
        const AviStream& stream = header.streams[i];
        if (!stream.IsVideo()) continue;
        if (!stream.formatKnown) report.problems.Add("the header does not tell the format of the pictures");
        ComparePromises(i);
    }
}

/// The count of the main header is that of the longest stream; in a file of several segments some programs stop it
/// with the first one.
bool AviVerifier::MainCountIsRight() const {
    for (size_t i = 0; i < header.streams.size(); ++i) {
        const bool stopped = header.allFrames && header.frames < all.frames[i];
        if (header.streams[i].IsVideo() && (header.frames == all.frames[i] || stopped)) return true;
    }
    return false;
}

void AviVerifier::ComparePromises(size_t stream) {
    const uint64_t held = all.frames[stream];
    const uint32_t length = header.streams[stream].length;
    std::map<uint32_t, std::string> wrong;  // and where it stands
    const auto note = [&wrong](const char* place, uint32_t promised) {
        std::string& places = wrong[promised];
        places += (places.empty() ? "" : ", ") + std::string(place);
    };
    const bool isShown = header.Video() == stream;
    if (isShown && !MainCountIsRight()) note("avih", header.frames);
    if (length != held && !(header.allFrames && length == first.frames[stream])) note("strh", length);
    // Some programs fill this one in only where there are further segments.
    if (isShown && header.allFrames && *header.allFrames != held && (*header.allFrames || report.segments > 1))
        note("dmlh", *header.allFrames);
    for (const auto& [promised, places] : wrong)
        report.problems.Add("the header (" + places + ") promises " + std::to_string(promised) + " frames" +
                            OfStream(stream) + ", the file holds " + std::to_string(held));
}

void AviVerifier::CompareIndexes() {
    AviIndexReader index(source, report.problems);
    bool found = firstIndex.has_value();
    if (firstIndex) {
        const StreamCounts listed = index.ReadFirst(*firstIndex, movi);
        for (size_t i = 0; i < mostStreams; ++i)
            CompareIndex("idx1", listed[i], "the first segment", first.chunks[i], i);
    }
    for (size_t i = 0; i < header.streams.size(); ++i) {
        if (!header.streams[i].index) continue;
        found = true;
        CompareIndex("the OpenDML index", index.ReadOpenDml(*header.streams[i].index, i), "the file",
                     header.streams[i].IsVideo() ? all.frames[i] : all.chunks[i], i);
    }
    if (!found && (header.flags & AviHeader::hasIndex)) report.problems.Add("the index is missing");
}

void AviVerifier::CompareIndex(const char* index, uint64_t listed, const char* place, uint64_t held, size_t stream) {
    if (listed == held) return;
    const bool isVideo = stream < header.streams.size() && header.streams[stream].IsVideo();
    report.problems.Add(std::string(index) + " lists " + std::to_string(listed) + (isVideo ? " frames" : " chunks") +
                        OfStream(stream) + ", " + place + " holds " + std::to_string(held));
}

/// Told only where there are several.
std::string AviVerifier::OfStream(size_t stream) const {
    return header.streams.size() > 1 ? " of stream " + std::to_string(stream) : "";
}

}  // namespace

bool isAvi(Source& source) {
    ByteReader reader(source);
    const auto chunk = chunkAt(reader, 0);
    return chunk && chunk->name == fourcc("RIFF") && listKind(reader, *chunk) == fourcc("AVI ");
}

FileReport verifyAvi(Source& source) { return AviVerifier(source).Run(); }

}  // namespace vexcap::cli
