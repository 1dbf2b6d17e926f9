#include "recording/avi_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "base/dib.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_disk.h"
#include "recording/avi_testing.h"
#include "recording/null_disk_testing.h"

namespace vexcap {
namespace avi_file_test {

using Kind = DiskOperation::Kind;
using Frame = std::vector<uint8_t>;
using File = std::vector<uint8_t>;
using test::AviContent;
using test::AviFrame;
using test::AviScan;

constexpr size_t headerBytes = 2048;
constexpr uint32_t upToTheEnd = 0xFEFFF003;

uint64_t little(const File& file, size_t offset, size_t count) {
    uint64_t value = 0;
    for (size_t i = count; i-- > 0;) value = value << 8 | file.at(offset + i);
    return value;
}
uint32_t le32(const File& file, size_t offset) { return uint32_t(little(file, offset, 4)); }
std::string textAt(const File& file, size_t offset, size_t size) {
    return {file.begin() + ptrdiff_t(offset), file.begin() + ptrdiff_t(offset + size)};
}

/// One field of the header, as the layout tells it.
struct Field {
    size_t offset;
    size_t width;
    uint64_t value;
    const char* name;
};
Field named(size_t offset, const char (&name)[5]) { return {offset, 4, fourcc(name), name}; }

/// The header has these fields, and zeros everywhere else.
void expectHeader(const File& file, const std::vector<Field>& fields) {
    ASSERT_GE(file.size(), headerBytes);
    File rest(file.begin(), file.begin() + headerBytes);
    for (const Field& field : fields) {
        EXPECT_EQ(little(file, field.offset, field.width), field.value) << field.name << " at " << field.offset;
        for (size_t i = 0; i < field.width; ++i) rest[field.offset + i] = 0;
    }
    for (size_t i = 0; i < headerBytes; ++i) EXPECT_EQ(rest[i], 0) << "something at " << i;
}

/// What stands before offset 212 for `shown` below, in a recording that runs.
constexpr uint32_t shownWidth = 0x1235, shownHeight = 0x357;
std::vector<Field> fieldsUpToFormat() {
    return {
        named(0, "RIFF"),
        {4, 4, upToTheEnd, "RIFF size"},
        named(8, "AVI "),
        named(12, "LIST"),
        {16, 4, 0, "hdrl size"},
        named(20, "hdrl"),
        named(24, "avih"),
        {28, 4, 56, "avih size"},
        {32, 4, 33367, "dwMicroSecPerFrame"},
        {44, 4, 0x110, "dwFlags"},
        {48, 4, 0, "dwTotalFrames"},
        {56, 4, 1, "dwStreams"},
        {64, 4, shownWidth, "dwWidth"},
        {68, 4, shownHeight, "dwHeight"},
        named(88, "LIST"),
        {92, 4, 0, "strl size"},
        named(96, "strl"),
        named(100, "strh"),
        {104, 4, 56, "strh size"},
        named(108, "vids"),
        named(112, "abcd"),
        {128, 4, 1'000'000, "dwScale"},
        {132, 4, 29'970'000, "dwRate"},
        {140, 4, 0, "dwLength"},
        {144, 4, 0, "strh dwSuggestedBufferSize"},
        {148, 4, 0xFFFFFFFF, "dwQuality"},
        named(164, "strf"),
        {168, 4, 40 + 3, "strf size"},
        {172, 4, 40, "biSize"},
        {176, 4, shownWidth, "biWidth"},
        {180, 4, shownHeight, "biHeight"},
        {184, 2, 1, "biPlanes"},
        {186, 2, 24, "biBitCount"},
        named(188, "abcd"),
        {192, 4, 3 * shownWidth * shownHeight, "biSizeImage"},
        {212, 3, 0x030201, "extra data"},
    };
}
AviFormat shown() {
    return {.width = shownWidth,
            .height = shownHeight,
            .fps = 29.97,
            .compressor = fourcc("abcd"),
            .extraData = {std::byte(1), std::byte(2), std::byte(3)}};
}
constexpr size_t shownFormatEnd = 212 + 4;  // with the byte that makes it even

void set(std::vector<Field>& fields, size_t offset, uint64_t value) {
    for (Field& field : fields)
        if (field.offset == offset) field.value = value;
}

/// The padding from `end` on, and the list of frames.
void addTail(std::vector<Field>& fields, size_t end, uint64_t moviSize) {
    fields.push_back(named(end, "JUNK"));
    fields.push_back({end + 4, 4, 2028 - end, "JUNK size"});
    fields.push_back(named(2036, "LIST"));
    fields.push_back({2040, 4, moviSize, "movi size"});
    fields.push_back(named(2044, "movi"));
}

Frame frameOf(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Frame frame(size);
    for (uint8_t& byte : frame) byte = uint8_t(random());
    return frame;
}

Bytes bytesOf(const Frame& frame) { return std::as_bytes(std::span(frame)); }

AviFormat small(uint64_t segmentBytes = aviSegmentBytes) {
    return {.width = 5, .height = 4, .segmentBytes = segmentBytes};
}

AviContent contentOf(const File& file) {
    std::istringstream stream(std::string(file.begin(), file.end()));
    return test::readAvi(stream);
}

AviScan scanOf(const File& file) {
    std::istringstream stream(std::string(file.begin(), file.end()));
    return test::scanAvi(stream);
}

std::vector<Frame> bytesAt(const File& file, const std::vector<AviFrame>& places) {
    std::vector<Frame> frames;
    for (const AviFrame& place : places)
        frames.emplace_back(file.begin() + ptrdiff_t(place.position),
                            file.begin() + ptrdiff_t(place.position + place.size));
    return frames;
}

const std::vector<std::string> noFaults;

/// A disk with the file of one recording after another.
struct Recorder {
    std::unique_ptr<AviFile> create(const AviFormat& format) {
        auto made = AviFile::create(disk, path, format);
        EXPECT_TRUE(made.ok()) << std::hex << made.code();
        return made.ok() ? std::move(made).value() : nullptr;
    }
    HRESULT write(AviFile& writer, const Frame& frame) {
        const auto result = writer.writeFrame(bytesOf(frame));
        if (!result.ok()) return result.code();
        EXPECT_EQ(result.value(), frame.size());
        written.push_back(frame);
        return S_OK;
    }
    /// A recording of frames of these sizes.
    File record(const AviFormat& format, const std::vector<size_t>& sizes) {
        written.clear();
        auto writer = create(format);
        for (const size_t size : sizes) EXPECT_EQ(write(*writer, frameOf(size, unsigned(written.size()))), S_OK);
        EXPECT_EQ(writer->close(), S_OK);
        return disk.bytes(path);
    }
    /// The file agrees with itself and holds what was reported as written.
    AviContent expectWhole(const File& file) {
        const AviContent content = contentOf(file);
        EXPECT_EQ(content.faults, noFaults);
        EXPECT_EQ(bytesAt(file, content.frames()), written);
        expectFound(file);
        return content;
    }
    /// Whoever goes from chunk to chunk finds what was reported as written, and nothing else.
    void expectFound(const File& file) {
        const AviScan scan = scanOf(file);
        EXPECT_EQ(scan.fault, "");
        EXPECT_EQ(bytesAt(file, scan.frames), written);
    }

    FakeDisk disk;
    const std::u16string path = u"sun.avi";
    std::vector<Frame> written;
};

struct AviFileTest : testing::Test, Recorder {};

TEST_F(AviFileTest, EveryFieldOfTheHeaderLiesAtItsOffsetWhileTheRecordingRuns) {
    auto writer = create(shown());
    ASSERT_EQ(write(*writer, frameOf(10, 1)), S_OK);
    std::vector<Field> fields = fieldsUpToFormat();
    set(fields, 16, shownFormatEnd - 20);
    set(fields, 92, shownFormatEnd - 96);
    addTail(fields, shownFormatEnd, upToTheEnd);
    expectHeader(disk.bytes(path), fields);
}

TEST_F(AviFileTest, EveryFieldOfTheFinalHeaderOfAPlainFileLiesAtItsOffset) {
    const File file = record(shown(), {10, 31, 8});
    constexpr size_t framesBytes = 18 + 40 + 16, frameIndexBytes = 8 + 3 * 16;
    EXPECT_EQ(file.size(), headerBytes + framesBytes + frameIndexBytes);

    std::vector<Field> fields = fieldsUpToFormat();
    set(fields, 4, file.size() - 8);
    set(fields, 16, shownFormatEnd - 20);
    set(fields, 48, 3);
    set(fields, 92, shownFormatEnd - 96);
    set(fields, 140, 3);
    set(fields, 144, 31);
    set(fields, 148, 0);
    addTail(fields, shownFormatEnd, framesBytes + 4);
    expectHeader(file, fields);
}

TEST_F(AviFileTest, EveryFieldOfTheFinalHeaderOfAFileOfSegmentsLiesAtItsOffset) {
    // The second frame opens a segment, so does the third.
    AviFormat format = shown();
    format.segmentBytes = 6000;
    const File file = record(format, {1000, 3001, 6000});
    constexpr uint64_t indexBytes = 8 + 24 + 8, frameIndexBytes = 8 + 16;
    constexpr uint64_t firstIndex = headerBytes + 8 + 1000;
    constexpr uint64_t second = firstIndex + indexBytes + frameIndexBytes;
    constexpr uint64_t secondIndex = second + 24 + 8 + 3002;
    constexpr uint64_t third = secondIndex + indexBytes;
    constexpr uint64_t thirdIndex = third + 24 + 8 + 6000;
    EXPECT_EQ(file.size(), thirdIndex + indexBytes);

    std::vector<Field> fields = fieldsUpToFormat();
    set(fields, 4, second - 8);
    constexpr size_t superIndex = shownFormatEnd, openDml = superIndex + 8 + 24 + 3 * 16, end = openDml + 24;
    set(fields, 16, end - 20);
    set(fields, 48, 3);
    set(fields, 92, openDml - 96);
    set(fields, 140, 3);
    set(fields, 144, 6000);
    set(fields, 148, 0);
    fields.push_back(named(superIndex, "indx"));
    fields.push_back({superIndex + 4, 4, 24 + 3 * 16, "indx size"});
    fields.push_back({superIndex + 8, 2, 4, "indx wLongsPerEntry"});
    fields.push_back({superIndex + 12, 4, 3, "indx nEntriesInUse"});
    fields.push_back(named(superIndex + 16, "ix00"));
    size_t entry = superIndex + 32;
    for (const uint64_t index : {firstIndex, secondIndex, thirdIndex}) {
        fields.push_back({entry, 8, index, "qwOffset"});
        fields.push_back({entry + 8, 4, 24 + 8, "dwSize"});
        fields.push_back({entry + 12, 4, 0, "dwDuration"});
        entry += 16;
    }
    fields.push_back(named(openDml, "LIST"));
    fields.push_back({openDml + 4, 4, 16, "odml size"});
    fields.push_back(named(openDml + 8, "odml"));
    fields.push_back(named(openDml + 12, "dmlh"));
    fields.push_back({openDml + 16, 4, 4, "dmlh size"});
    fields.push_back({openDml + 20, 4, 3, "dwTotalFrames of dmlh"});
    addTail(fields, end, firstIndex + indexBytes - 2044);
    expectHeader(file, fields);

    // What stands between the frames.
    EXPECT_EQ(textAt(file, firstIndex, 4), "ix00");
    EXPECT_EQ(le32(file, firstIndex + 4), 24u + 8);
    EXPECT_EQ(little(file, firstIndex + 8, 4), 0x01000002u) << "two words an entry, an index of chunks";
    EXPECT_EQ(le32(file, firstIndex + 12), 1u);
    EXPECT_EQ(textAt(file, firstIndex + 16, 4), "00dc");
    EXPECT_EQ(little(file, firstIndex + 20, 8), 0u);
    EXPECT_EQ(le32(file, firstIndex + 28), 0u);
    EXPECT_EQ(le32(file, firstIndex + 32), headerBytes + 8);
    EXPECT_EQ(le32(file, firstIndex + 36), 1000u);
    EXPECT_EQ(textAt(file, firstIndex + indexBytes, 4), "idx1");
    EXPECT_EQ(le32(file, firstIndex + indexBytes + 4), 16u) << "the frame that opens a segment is not in it";
    EXPECT_EQ(textAt(file, second, 4), "RIFF");
    EXPECT_EQ(le32(file, second + 4), third - second - 8);
    EXPECT_EQ(textAt(file, second + 8, 8), "AVIXLIST");
    EXPECT_EQ(le32(file, second + 16), third - second - 20);
    EXPECT_EQ(textAt(file, second + 20, 8), "movi00dc");
    EXPECT_EQ(le32(file, second + 28), 3001u);
    EXPECT_EQ(little(file, secondIndex + 20, 8), second);
    EXPECT_EQ(le32(file, secondIndex + 32), 32u);
    EXPECT_EQ(le32(file, secondIndex + 36), 3001u);
    EXPECT_EQ(le32(file, third + 4), file.size() - third - 8);
    EXPECT_EQ(le32(file, third + 16), file.size() - third - 20);
    EXPECT_EQ(little(file, thirdIndex + 20, 8), third);
    expectWhole(file);
}

TEST_F(AviFileTest, AShortRecordingHasOneSegmentAndEndsWithItsIndex) {
    const File file = record(small(), {60, 60});
    const AviContent content = expectWhole(file);
    EXPECT_EQ(content.main.flags, 0x110u);
    EXPECT_EQ(content.segments.size(), 1u);
    EXPECT_FALSE(content.segments[0].hasIndex);
    EXPECT_TRUE(content.hasFrameIndex);
    EXPECT_EQ(textAt(file, file.size() - 40, 4), "idx1");
    EXPECT_EQ(le32(file, 2040), file.size() - 40 - 2044) << "movi ends where idx1 begins";
}

TEST_F(AviFileTest, TheFrameIndexCountsFromTheStartOfTheFile) {
    const File file = record(small(), {60, 7, 60});
    const size_t index = file.size() - 3 * 16;
    EXPECT_EQ(textAt(file, index, 4), "00dc");
    EXPECT_EQ(le32(file, index + 4), 0x10u);
    EXPECT_EQ(le32(file, index + 8), 2048u) << "the header of the chunk";
    EXPECT_EQ(le32(file, index + 12), 60u);
    EXPECT_EQ(le32(file, index + 24), 2048u + 68);
    EXPECT_EQ(le32(file, index + 28), 7u);
    EXPECT_EQ(le32(file, index + 40), 2048u + 68 + 16);
}

TEST_F(AviFileTest, ARecordingWithoutFramesIsAnEmptyAvi) {
    const File file = record(small(), {});
    EXPECT_EQ(file.size(), headerBytes + 8);
    EXPECT_EQ(textAt(file, headerBytes, 4), "idx1");
    EXPECT_EQ(expectWhole(file).main.flags, 0x110u);
}

TEST_F(AviFileTest, AnOddFrameIsPaddedAndThePaddingNotCounted) {
    const File file = record(small(), {3, 5, 4});
    EXPECT_EQ(le32(file, headerBytes + 4), 3u);
    EXPECT_EQ(file[headerBytes + 8 + 3], 0);
    EXPECT_EQ(textAt(file, headerBytes + 12, 4), "00dc");
    EXPECT_EQ(le32(file, headerBytes + 16), 5u);
    EXPECT_EQ(expectWhole(file).stream.suggestedBufferSize, 5u);
}

TEST_F(AviFileTest, FramesOfManySegmentsAreAllFoundInEachIndex) {
    std::mt19937 random(1);
    for (const uint64_t segmentBytes : {6000u, 7001u, 10000u}) {
        std::vector<size_t> sizes;
        for (int i = 0; i < 60; ++i) sizes.push_back(1 + random() % 1500);
        const AviContent content = expectWhole(record(small(segmentBytes), sizes));
        EXPECT_EQ(content.frames().size(), 60u);
        EXPECT_GT(content.segments.size(), 4u);
        EXPECT_EQ(content.main.flags, 0x110u);
        EXPECT_TRUE(content.hasFrameIndex);
        for (size_t i = 0; i < content.segments.size(); ++i) {
            EXPECT_TRUE(content.segments[i].hasIndex) << i;
            EXPECT_LE(content.segments[i].end, (i + 1) * segmentBytes) << i;
        }
    }
}

TEST_F(AviFileTest, ASegmentOpensWhenTheNextFrameAndTheIndexesWouldPassItsEnd) {
    constexpr size_t first = 100, second = 33;
    // The header, two frames with their padding, and one entry for each frame in either index.
    constexpr uint64_t expectedEnd = (2048 + 8 + first) + (8 + second + 1) + 8 * 1 + ((16 * 2) | 8) + 2048 + 32;
    EXPECT_EQ(expectWhole(record(small(expectedEnd), {first, second})).segments.size(), 1u);
    EXPECT_EQ(expectWhole(record(small(expectedEnd - 1), {first, second})).segments.size(), 2u);
}

TEST_F(AviFileTest, ALaterSegmentOpensByItsOwnIndexAlone) {
    // The first frame, its two indexes, then the second segment with the second frame.
    constexpr uint64_t secondSegment = 2048 + (8 + 3000) + (8 + 24 + 8) + (8 + 16);
    constexpr uint64_t position = secondSegment + 24 + 8 + 3000;
    constexpr uint64_t segmentBytes = 10000;
    constexpr size_t third = 2 * segmentBytes - position - 8 - 8 * 1 - 32;
    static_assert(third % 2 == 0);
    const AviContent content = expectWhole(record(small(segmentBytes), {3000, 3000, third}));
    ASSERT_EQ(content.segments.size(), 2u);
    EXPECT_EQ(content.segments[1].start, secondSegment);
    EXPECT_EQ(expectWhole(record(small(segmentBytes), {3000, 3000, third - 1})).segments.size(), 2u);
    EXPECT_EQ(expectWhole(record(small(segmentBytes), {3000, 3000, third + 1})).segments.size(), 3u);
}

TEST_F(AviFileTest, AFrameLargerThanASegmentHasOneOfItsOwn) {
    const AviContent content = expectWhole(record(small(5000), {9000, 100, 9001, 100}));
    std::vector<size_t> frames;
    for (const auto& segment : content.segments) frames.push_back(segment.frames.size());
    EXPECT_EQ(frames, (std::vector<size_t>{0, 1, 1, 1, 1}));
}

TEST_F(AviFileTest, IndexesGrowPastTheirBlocks) {
    for (const size_t count : {4095u, 4096u, 4097u, 8193u, 12289u}) {
        const AviContent content = expectWhole(record(small(), std::vector<size_t>(count, 2)));
        EXPECT_EQ(content.frames().size(), count);
    }
    // The second segment begins with an index that has grown already.
    const AviContent content = expectWhole(record(small(300'000), std::vector<size_t>(30'000, 2)));
    ASSERT_GT(content.segments.size(), 2u);
    EXPECT_GT(content.segments[0].frames.size(), 4096u);
    EXPECT_GT(content.segments[1].frames.size(), 8192u);
}

TEST_F(AviFileTest, OneFrameIsOneWriteAlsoWhereASegmentOpens) {
    auto writer = create(small(10000));
    EXPECT_EQ(disk.count(Kind::Write), 1u);
    for (unsigned i = 0; i < 20; ++i) {
        ASSERT_EQ(write(*writer, frameOf(1001, i)), S_OK);
        EXPECT_EQ(disk.count(Kind::Write), 2u + i);
    }
    ASSERT_EQ(writer->close(), S_OK);
    EXPECT_GT(expectWhole(disk.bytes(path)).segments.size(), 2u);
}

TEST_F(AviFileTest, EachIndexTellsWhichFramesNeedOthers) {
    for (const uint64_t segmentBytes : {aviSegmentBytes, uint64_t(6000)}) {
        written.clear();
        auto writer = create(small(segmentBytes));
        for (unsigned i = 0; i < 20; ++i) {
            written.push_back(frameOf(601, i));
            ASSERT_TRUE(writer->writeFrame(bytesOf(written.back()), i % 4 == 0).ok());
        }
        ASSERT_EQ(writer->close(), S_OK);
        const AviContent content = expectWhole(disk.bytes(path));  // where there are two indexes, they agree
        EXPECT_EQ(content.segments.size() > 1, segmentBytes == 6000);
        for (unsigned i = 0; i < 20; ++i) EXPECT_EQ(content.frames()[i].keyFrame, i % 4 == 0) << i;
    }
}

TEST_F(AviFileTest, AFileThatWasNotClosedIsReadFromChunkToChunk) {
    auto writer = create(small(6000));
    for (unsigned i = 0; i < 20; ++i) ASSERT_EQ(write(*writer, frameOf(1001, i)), S_OK);
    const File file = disk.bytes(path);
    expectFound(file);
    EXPECT_EQ(le32(file, 4), upToTheEnd);
    EXPECT_EQ(le32(file, 2040), upToTheEnd);
    // Also by a reader that takes what opens a segment for a chunk like the others.
    size_t position = headerBytes, frames = 0;
    for (; position < file.size(); position += 8 + (le32(file, position + 4) + 1) / 2 * 2)
        frames += textAt(file, position, 4) == "00dc";
    EXPECT_EQ(position, file.size());
    EXPECT_EQ(frames, 20u);
}

TEST_F(AviFileTest, AnOlderFileIsCutAtTheEndOfTheNewOne) {
    const File fresh = record(small(), {60, 61});
    disk.put(path, File(100'000, 0xEE));
    const size_t creations = disk.count(Kind::Create);
    EXPECT_EQ(record(small(), {60, 61}), fresh);
    EXPECT_EQ(disk.count(Kind::Create), creations);

    // Not before the end: what is there takes no new space, and a failure to start leaves its length.
    disk.put(path, File(100'000, 0xEE));
    auto writer = create(small());
    ASSERT_EQ(write(*writer, frameOf(60, 0)), S_OK);
    EXPECT_EQ(disk.bytes(path).size(), 100'000u);
}

TEST_F(AviFileTest, AnOlderShorterFileIsWrittenOver) {
    const File fresh = record(small(), {60, 61});
    disk.put(path, File(100, 0xEE));
    EXPECT_EQ(record(small(), {60, 61}), fresh);
}

TEST_F(AviFileTest, BeyondThirtyTwoSegmentsFramesFailAndTheFileStaysGood) {
    auto writer = create(small(6000));
    unsigned offered = 0;
    while (write(*writer, frameOf(2000, offered)) == S_OK) ASSERT_LT(++offered, 1000u);
    const File before = disk.bytes(path);
    const size_t operations = disk.operations().size();
    const uint32_t count = writer->videoFrames();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(write(*writer, frameOf(2000, 1)), VEX_E_DISK_FULL);
    EXPECT_EQ(disk.operations().size(), operations);
    EXPECT_EQ(disk.bytes(path), before);
    EXPECT_EQ(writer->videoFrames(), count);
    EXPECT_EQ(write(*writer, frameOf(2, 1)), S_OK) << "one that fits";
    ASSERT_EQ(writer->close(), S_OK);

    const AviContent content = expectWhole(disk.bytes(path));
    EXPECT_EQ(content.segments.size(), 32u);
    EXPECT_EQ(content.superIndex.size(), 32u);
    EXPECT_EQ(content.main.totalFrames, count + 1);
    EXPECT_LE(disk.bytes(path).size(), 32u * 6000);
}

TEST_F(AviFileTest, ExtraDataFollowsTheFormatPaddedToEven) {
    for (const size_t size : {0u, 1u, 2u, 17u, 18u, 1813u, 1814u}) {
        AviFormat format = small();
        for (size_t i = 0; i < size; ++i) format.extraData.push_back(std::byte(i + 1));
        const File file = record(format, {60});
        const AviContent content = expectWhole(file);
        EXPECT_EQ(le32(file, 168), 40 + size);
        EXPECT_EQ(le32(file, 172), 40u);
        ASSERT_EQ(content.bitmap.extraData.size(), size);
        for (size_t i = 0; i < size; ++i) ASSERT_EQ(content.bitmap.extraData[i], uint8_t(i + 1));
        EXPECT_EQ(le32(file, 212 + (size + 1) / 2 * 2 + 4), 2028 - 212 - (size + 1) / 2 * 2) << "JUNK";
    }
}

TEST_F(AviFileTest, AFormatWhoseHeaderDoesNotFitMakesNoFile) {
    for (const size_t size : {1815u, 1816u, 1836u, 1837u, 2048u, 100'000u}) {
        AviFormat format = small();
        format.extraData.resize(size);
        EXPECT_EQ(AviFile::create(disk, path, format).code(), E_INVALIDARG) << size;
    }
    EXPECT_TRUE(disk.operations().empty());
}

TEST_F(AviFileTest, AFinalHeaderThatDoesNotFitKeepsTheFirstOneAndEveryFrame) {
    // Two segments take 24 + 8 + 2 * 16 + 24 bytes of the header.
    for (const size_t size : {1726u, 1727u, 1814u}) {
        AviFormat format = small(6000);
        format.extraData.resize(size);
        const File file = record(format, {1500, 1501});
        if (size == 1726) {
            EXPECT_EQ(expectWhole(file).segments.size(), 2u);
        } else {
            EXPECT_EQ(le32(file, 4), upToTheEnd);
            EXPECT_EQ(le32(file, 48), 0u);
            EXPECT_EQ(le32(file, 2040), upToTheEnd);
            expectFound(file);
        }
    }
}

TEST_F(AviFileTest, SizesThatNoFileHasAreRefused) {
    for (AviFormat format : {AviFormat{.width = 0, .height = 4}, AviFormat{.width = 5, .height = 0},
                             AviFormat{.width = 5, .height = 4, .segmentBytes = 0},
                             AviFormat{.width = 5, .height = 4, .segmentBytes = 0x76C00001}})
        EXPECT_EQ(AviFile::create(disk, path, format).code(), E_INVALIDARG);
    EXPECT_TRUE(disk.operations().empty());
}

TEST_F(AviFileTest, ASegmentHasAtMost1900MiB) { EXPECT_EQ(AviFormat().segmentBytes, 0x76C00000u); }

TEST_F(AviFileTest, HuffyuvCountsItsTablesInTheFormat) {
    AviFormat format = small();
    format.extraData.resize(7);
    format.compressor = fourcc("HFYU");
    EXPECT_EQ(expectWhole(record(format, {60})).bitmap.size, 47u);
    format.compressor = fourcc("hfyu");
    EXPECT_EQ(expectWhole(record(format, {60})).bitmap.size, 40u);
}

TEST_F(AviFileTest, AnotherDepthAndCompressorStandInTheHeader) {
    AviFormat format = {.width = 7, .height = 3, .depth = 32, .compressor = fourcc("MJPG")};
    const AviContent content = expectWhole(record(format, {60}));
    EXPECT_EQ(content.stream.handler, fourcc("MJPG"));
    EXPECT_EQ(content.bitmap.compression, fourcc("MJPG"));
    EXPECT_EQ(content.bitmap.bitCount, 32u);
    EXPECT_EQ(content.bitmap.sizeImage, 7u * 3 * 4);
}

TEST_F(AviFileTest, TheImageSizeCountsNoPaddingOfRows) {
    const AviContent content = expectWhole(record({.width = 5, .height = 4}, {64}));
    EXPECT_EQ(content.bitmap.sizeImage, 5u * 4 * 3);
    EXPECT_EQ(content.bitmap.compression, 0u);
    EXPECT_EQ(content.stream.handler, 0u);
}

TEST_F(AviFileTest, WhatMustBeReadByItsIndexSaysSo) {
    AviFormat format = small();
    format.mustUseIndex = true;
    {
        auto writer = create(format);
        EXPECT_EQ(le32(disk.bytes(path), 44), 0x130u);
    }
    EXPECT_EQ(expectWhole(record(format, {60})).main.flags, 0x130u);
    format.segmentBytes = 6000;
    EXPECT_EQ(expectWhole(record(format, {3000, 3000})).main.flags, 0x130u);
}

TEST_F(AviFileTest, TheRateIsRoundedAndTooSmallOneIsZero) {
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double fps;
        uint32_t microSeconds, rate;
    } table[] = {
        {25.0, 40'000, 25'000'000},
        {30.0, 33'333, 30'000'000},
        {60.0, 16'667, 60'000'000},
        {0.001, 1'000'000'000, 1000},
        {0.0009999, 0, 0},
        {0.0, 0, 0},
        {-25.0, 0, 0},
        {std::nan(""), 0, 0},
        {4'000'000.0 / 3, 1, 0xFFFFFFFF},
        {1e300, 0, 0xFFFFFFFF},
        {inf, 0, 0xFFFFFFFF},
    };
    for (const auto& row : table) {
        AviFormat format = small();
        format.fps = row.fps;
        {
            auto writer = create(format);
            EXPECT_EQ(le32(disk.bytes(path), 32), row.microSeconds) << row.fps;
            EXPECT_EQ(le32(disk.bytes(path), 132), row.rate) << row.fps;
        }
        const AviContent content = expectWhole(disk.bytes(path));
        EXPECT_EQ(content.main.microSecPerFrame, row.microSeconds) << row.fps;
        EXPECT_EQ(content.stream.rate, row.rate) << row.fps;
        EXPECT_EQ(content.stream.scale, 1'000'000u);
    }
}

TEST(AviFrameBytes, RowsArePaddedToFourBytes) {
    EXPECT_EQ(aviFrameBytes(1, 1), 4u);
    EXPECT_EQ(aviFrameBytes(2, 1), 8u);
    EXPECT_EQ(aviFrameBytes(3, 1), 12u);
    EXPECT_EQ(aviFrameBytes(4, 1), 12u);
    EXPECT_EQ(aviFrameBytes(5, 4), 64u);
    EXPECT_EQ(aviFrameBytes(1917, 1077), 5752u * 1077);
    EXPECT_EQ(aviFrameBytes(1920, 1080), 5760u * 1080);
}

TEST(AviFrameBytes, WhatIsNoFrameHasNone) {
    EXPECT_EQ(aviFrameBytes(0, 1), 0u);
    EXPECT_EQ(aviFrameBytes(1, 0), 0u);
    EXPECT_EQ(aviFrameBytes(32'768, 21'845), 32'768u * 3 * 21'845) << "just below 2 GiB";
    EXPECT_EQ(aviFrameBytes(32'768, 21'846), 0u);
    EXPECT_EQ(aviFrameBytes(1, 0x1FFFFFFF), 0x7FFFFFFCu);
    EXPECT_EQ(aviFrameBytes(1, 0x20000000), 0u);
    EXPECT_EQ(aviFrameBytes(0xFFFFFFFF, 0xFFFFFFFF), 0u);
    EXPECT_EQ(aviFrameBytes(0xFFFFFFFF, 1), 0u);
    EXPECT_EQ(aviFrameBytes(0x10000000, 1), 0u);
    EXPECT_EQ(aviFrameBytes(1, 0xFFFFFFFF), 0u);
}

TEST_F(AviFileTest, EmptyFramesAndThoseOfTwoGiBAreRefused) {
    auto writer = create(small());
    const size_t writes = disk.count(Kind::Write);
    EXPECT_EQ(writer->writeFrame({}).code(), E_INVALIDARG);
    const std::byte one = {};
    EXPECT_EQ(writer->writeFrame({&one, size_t(1) << 31}).code(), E_INVALIDARG);
    EXPECT_EQ(disk.count(Kind::Write), writes);
    EXPECT_EQ(writer->videoFrames(), 0u);
}

/// Sizes that open segments at frames odd and even when a segment has 6500 bytes.
const std::vector<size_t> someSizes = {1000, 1501, 1, 2000, 999, 1501, 700, 701, 2500, 1301, 2500, 1};

TEST_F(AviFileTest, AWriteThatFailsLosesWhatItWasToWriteAndNothingElse) {
    for (const uint64_t segmentBytes : {aviSegmentBytes, uint64_t(6500)}) {
        Recorder clean;
        const File cleanFile = clean.record(small(segmentBytes), someSizes);
        const bool plain = contentOf(cleanFile).segments.size() == 1;
        std::vector<DiskOperation> writes = clean.disk.operations();
        std::erase_if(writes, [](const DiskOperation& o) { return o.kind != Kind::Write; });
        ASSERT_EQ(writes.size(), 1 + someSizes.size() + (plain ? 2 : 4)) << "header, frames, index, header, segments";

        for (size_t failing = 1; failing < writes.size(); ++failing)
            for (const uint64_t kept : {uint64_t(0), uint64_t(1), uint64_t(8), uint64_t(13), writes[failing].size / 2,
                                        writes[failing].size - 1, writes[failing].size}) {
                SCOPED_TRACE("write " + std::to_string(failing) + " fails after " + std::to_string(kept) + " bytes");
                const bool isFrame = failing <= someSizes.size();
                const bool isIndex = failing == someSizes.size() + 1;
                Recorder torn;
                torn.disk.put(torn.path, File(50'000, 0xEE));
                torn.disk.failWrite(failing, E_FAIL, size_t(kept));
                auto writer = torn.create(small(segmentBytes));
                for (size_t i = 0; i < someSizes.size(); ++i)
                    EXPECT_EQ(torn.write(*writer, frameOf(someSizes[i], unsigned(i))),
                              i + 1 == failing ? E_FAIL : S_OK);
                EXPECT_EQ(writer->videoFrames(), someSizes.size() - isFrame);
                EXPECT_EQ(writer->close(), isFrame ? S_OK : E_FAIL);
                EXPECT_EQ(torn.disk.count(Kind::Close), 1u);

                const File file = torn.disk.bytes(path);
                if (isFrame || isIndex) {
                    const AviContent content = torn.expectWhole(file);
                    EXPECT_EQ(content.hasFrameIndex, !plain || !isIndex);
                    EXPECT_EQ(content.segments.back().hasIndex, !plain && !isIndex);
                } else {
                    torn.expectFound(file);
                    EXPECT_EQ(file.size(), cleanFile.size());
                }
            }
    }
}

TEST_F(AviFileTest, AHeaderThatCannotBeWrittenLeavesTheSegmentsToReadersOfChunks) {
    disk.failWrite(2 + someSizes.size(), E_FAIL);
    auto writer = create(small(6500));
    for (const size_t size : someSizes) ASSERT_EQ(write(*writer, frameOf(size, unsigned(size))), S_OK);
    EXPECT_EQ(writer->close(), E_FAIL);
    const File file = disk.bytes(path);
    EXPECT_EQ(le32(file, 4), upToTheEnd);
    expectFound(file);
    for (const AviFrame& frame : scanOf(file).frames) {
        const size_t before = frame.position - 8 - 24;
        if (frame.position == headerBytes + 8 || textAt(file, before, 4) != "RIFF") continue;
        EXPECT_EQ(le32(file, before + 4), 16u);
        EXPECT_EQ(le32(file, before + 16), 0u);
    }
}

TEST_F(AviFileTest, ASegmentSizeThatCannotBeWrittenCostsNoOther) {
    disk.failWrite(3 + someSizes.size(), E_FAIL);
    auto writer = create(small(6500));
    for (const size_t size : someSizes) ASSERT_EQ(write(*writer, frameOf(size, unsigned(size))), S_OK);
    EXPECT_EQ(writer->close(), E_FAIL);
    const File file = disk.bytes(path);
    Recorder clean;
    auto other = clean.create(small(6500));
    for (const size_t size : someSizes) ASSERT_EQ(clean.write(*other, frameOf(size, unsigned(size))), S_OK);
    ASSERT_EQ(other->close(), S_OK);
    File cleanFile = clean.disk.bytes(path);
    const size_t second = size_t(contentOf(cleanFile).segments.at(1).start);
    EXPECT_EQ(le32(file, second + 4), 16u);
    for (size_t i = second; i < second + 24; ++i) cleanFile[i] = file[i];
    EXPECT_EQ(file, cleanFile);
}

TEST_F(AviFileTest, WhenEveryWriteFailsFromSomeFrameOnTheFramesBeforeAreThere) {
    for (size_t good = 0; good <= someSizes.size(); ++good) {
        Recorder torn;
        auto writer = torn.create(small(6500));
        for (size_t i = 0; i < someSizes.size(); ++i) {
            if (i == good) torn.disk.fail(Kind::Write, E_ACCESSDENIED);
            EXPECT_EQ(torn.write(*writer, frameOf(someSizes[i], unsigned(i))), i < good ? S_OK : E_ACCESSDENIED);
        }
        torn.disk.fail(Kind::Write, E_ACCESSDENIED);
        EXPECT_EQ(writer->close(), E_ACCESSDENIED);
        torn.expectFound(torn.disk.bytes(path));
        EXPECT_EQ(torn.written.size(), good);
    }
}

TEST_F(AviFileTest, ADiskThatFillsUpLeavesAWholeFile) {
    for (const uint64_t segmentBytes : {aviSegmentBytes, uint64_t(6500)}) {
        const uint64_t whole = Recorder().record(small(segmentBytes), someSizes).size();
        size_t fewest = someSizes.size(), most = 0;
        for (uint64_t capacity = headerBytes; capacity <= whole; capacity += 97) {
            SCOPED_TRACE(capacity);
            Recorder full;
            full.disk.setCapacity(capacity);
            auto writer = full.create(small(segmentBytes));
            for (const size_t size : someSizes) {
                const HRESULT result = full.write(*writer, frameOf(size, unsigned(size)));
                EXPECT_TRUE(result == S_OK || result == VEX_E_DISK_FULL);
            }
            const Status closed = writer->close();
            const AviContent content = full.expectWhole(full.disk.bytes(path));
            const bool lastIndex =
                content.segments.size() > 1 ? content.segments.back().hasIndex : content.hasFrameIndex;
            EXPECT_EQ(closed.code(), lastIndex ? S_OK : VEX_E_DISK_FULL);
            EXPECT_EQ(full.disk.reservedBehind(path), 0u);
            fewest = std::min(fewest, full.written.size());
            most = std::max(most, full.written.size());
        }
        EXPECT_EQ(fewest, 0u);
        EXPECT_GE(most, someSizes.size() - 1);
    }
}

TEST_F(AviFileTest, RoomThatComesBackIsUsed) {
    disk.setCapacity(headerBytes + 3000);
    auto writer = create(small());
    EXPECT_EQ(write(*writer, frameOf(2000, 1)), S_OK);
    EXPECT_EQ(write(*writer, frameOf(2000, 2)), VEX_E_DISK_FULL);
    disk.setCapacity(1'000'000);
    EXPECT_EQ(write(*writer, frameOf(2000, 3)), S_OK);
    EXPECT_EQ(writer->close(), S_OK);
    EXPECT_EQ(expectWhole(disk.bytes(path)).main.totalFrames, 2u);
}

TEST_F(AviFileTest, AFileThatCannotBeOpenedOrMadeIsTold) {
    disk.fail(Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(AviFile::create(disk, path, small()).code(), E_ACCESSDENIED);
    disk.put(path, File(100, 0xEE));
    disk.fail(Kind::Update, E_FAIL);
    EXPECT_EQ(AviFile::create(disk, path, small()).code(), E_FAIL);
    EXPECT_EQ(disk.count(Kind::Create), 1u) << "what is there and cannot be opened is not emptied";
    EXPECT_EQ(disk.bytes(path), File(100, 0xEE));
}

TEST_F(AviFileTest, AFirstHeaderThatCannotBeWrittenIsToldAndLeavesTheLengthOfTheFile) {
    for (const size_t kept : {size_t(0), size_t(100), headerBytes - 1}) {
        disk.put(path, File(50'000, 0xEE));
        disk.failWrite(disk.count(Kind::Write), VEX_E_DISK_FULL, kept);
        EXPECT_EQ(AviFile::create(disk, path, small()).code(), VEX_E_DISK_FULL);
        EXPECT_EQ(disk.bytes(path).size(), 50'000u);
        EXPECT_EQ(disk.count(Kind::Update), disk.count(Kind::Close));
    }
    expectWhole(record(small(), {60}));
}

TEST_F(AviFileTest, TheFileOfARunningRecordingIsRefused) {
    auto writer = create(small());
    ASSERT_EQ(write(*writer, frameOf(60, 1)), S_OK);
    EXPECT_EQ(AviFile::create(disk, path, small()).code(), VEX_E_BUSY);
    ASSERT_EQ(writer->close(), S_OK);
    expectWhole(disk.bytes(path));
}

TEST_F(AviFileTest, AnEndThatCannotBeCutIsTold) {
    auto writer = create(small());
    ASSERT_EQ(write(*writer, frameOf(60, 1)), S_OK);
    disk.fail(Kind::Resize, E_FAIL);
    EXPECT_EQ(writer->close(), E_FAIL);
    EXPECT_EQ(disk.count(Kind::Close), 1u);
    expectWhole(disk.bytes(path));
}

TEST_F(AviFileTest, TheFirstFailureOfTheEndIsTold) {
    auto writer = create(small());
    ASSERT_EQ(write(*writer, frameOf(60, 1)), S_OK);
    disk.failWrite(2, E_ACCESSDENIED);
    disk.failWrite(3, E_FAIL);
    disk.fail(Kind::Resize, VEX_E_BUSY);
    EXPECT_EQ(writer->close(), E_ACCESSDENIED);
}

TEST_F(AviFileTest, ASecondCloseDoesNothing) {
    auto writer = create(small());
    ASSERT_EQ(write(*writer, frameOf(60, 1)), S_OK);
    ASSERT_EQ(writer->close(), S_OK);
    const size_t before = disk.operations().size();
    EXPECT_EQ(writer->close(), S_OK);
    EXPECT_EQ(writer->writeFrame(bytesOf(frameOf(60, 2))).code(), E_UNEXPECTED);
    EXPECT_EQ(writer->videoFrames(), 1u);
    writer.reset();
    EXPECT_EQ(disk.operations().size(), before);
}

TEST_F(AviFileTest, TheEndOfTheWriterClosesTheFile) {
    ASSERT_EQ(write(*create(small()), frameOf(60, 1)), S_OK);
    EXPECT_EQ(expectWhole(disk.bytes(path)).main.totalFrames, 1u);
}

TEST_F(AviFileTest, OnlyAGrowingIndexAllocates) {
    const size_t none = allocations();
    ::operator delete(::operator new(100));
    ASSERT_GT(allocations(), none) << "allocations are not counted here";

    NullDisk nowhere;
    for (const uint64_t segmentBytes : {aviSegmentBytes, uint64_t(100'000)}) {
        auto writer = std::move(AviFile::create(nowhere, path, small(segmentBytes))).value();
        const Frame frame = frameOf(50, 1);
        size_t before = allocations();
        for (int i = 0; i < 4096; ++i) ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
        EXPECT_EQ(allocations(), before);
        ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
        // Of the file of segments, no index has 4096 entries.
        EXPECT_EQ(allocations() > before, segmentBytes == aviSegmentBytes);
        before = allocations();
        for (int i = 0; i < 4095; ++i) ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
        EXPECT_EQ(allocations(), before);
        ASSERT_TRUE(writer->close().ok());
        EXPECT_EQ(allocations(), before);
    }
}

constexpr size_t scaleOffset = 128, rateOffset = 132, lengthOffset = 140;

struct RealRateTest : testing::Test {
    /// The head of a file of so many frames.
    static File fileOf(uint32_t frames) {
        File file = Recorder().record(small(), {60, 61});
        for (size_t i = 0; i < 4; ++i) file[lengthOffset + i] = uint8_t(frames >> (8 * i));
        return file;
    }
    /// Rate and scale behind storeRealRate; all other bytes are as they were.
    std::pair<uint32_t, uint32_t> rateOf(uint32_t frames, uint32_t elapsed, HRESULT expected) {
        const File before = fileOf(frames);
        disk.put(path, before);
        EXPECT_EQ(storeRealRate(disk, path, elapsed), expected);
        File after = disk.bytes(path);
        const std::pair result(le32(after, rateOffset), le32(after, scaleOffset));
        std::copy_n(before.begin() + scaleOffset, 8, after.begin() + scaleOffset);
        EXPECT_EQ(after, before);
        return result;
    }
    FakeDisk disk;
    const std::u16string path = u"sun.avi";
};

TEST_F(RealRateTest, TheFramesOverTheTimeAreStored) {
    const struct {
        uint32_t frames, elapsed, rate;
    } table[] = {
        {100, 2000, 50'000},
        {1, 1001, 999},
        {2, 3000, 667},
        {1, 3000, 333},
        {1, 64, 15'625},
        {1, 128, 7813},     // 7812.5
        {3, 128, 23'438},   // 23437.5
        {1, 2'000'000, 1},  // 0.5
        {0xFFFFFFFF, 0xFFFFFFFF, 1'000'000},
        {2147, 1, 2'147'000'000},
    };
    for (const auto& row : table)
        EXPECT_EQ(rateOf(row.frames, row.elapsed, S_OK), std::pair(row.rate, 1000u))
            << row.frames << " frames in " << row.elapsed << " ms";
}

TEST_F(RealRateTest, ARateThatNoHeaderCanHoldIsNotStored) {
    const std::pair nominal(25'000'000u, 1'000'000u);
    EXPECT_EQ(rateOf(100, 0, S_FALSE), nominal);
    EXPECT_EQ(rateOf(0, 2000, S_FALSE), nominal);
    EXPECT_EQ(rateOf(2148, 1, S_FALSE), nominal);
    EXPECT_EQ(rateOf(0xFFFFFFFF, 1, S_FALSE), nominal);
    EXPECT_EQ(rateOf(1, 2'000'001, S_FALSE), nominal) << "less than half";
}

TEST_F(RealRateTest, OfTheFirstBytesAloneAreWrittenBack) {
    disk.put(path, fileOf(10));
    ASSERT_EQ(storeRealRate(disk, path, 2000), S_OK);
    std::vector<DiskOperation> writes = disk.operations();
    std::erase_if(writes, [](const DiskOperation& o) { return o.kind != Kind::Write; });
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0].position, 0u);
    EXPECT_EQ(writes[0].size, 256u);
    EXPECT_EQ(disk.count(Kind::Close), disk.count(Kind::Update));
}

TEST_F(RealRateTest, AFileOfSegmentsKeepsAllElse) {
    Recorder recorder;
    recorder.record(small(6500), someSizes);
    ASSERT_EQ(storeRealRate(recorder.disk, path, 4000), S_OK);
    const AviContent content = recorder.expectWhole(recorder.disk.bytes(path));
    EXPECT_EQ(content.stream.rate, 3000u);
    EXPECT_EQ(content.stream.scale, 1000u);
    EXPECT_EQ(content.main.microSecPerFrame, 40'000u) << "nominal";
}

TEST_F(RealRateTest, FilesThatAreNoAviStayAsTheyAre) {
    File audio = fileOf(10);
    audio[108] = 'a';
    File cut = fileOf(10);
    cut.resize(255);
    for (const File& file : {File(), File(300, 0), audio, cut}) {
        disk.put(path, file);
        EXPECT_EQ(storeRealRate(disk, path, 2000), S_FALSE);
        EXPECT_EQ(disk.bytes(path), file);
    }
    EXPECT_EQ(disk.count(Kind::Write), 0u);
    cut = fileOf(10);
    cut.resize(256);
    disk.put(path, cut);
    EXPECT_EQ(storeRealRate(disk, path, 2000), S_OK);
}

TEST_F(RealRateTest, EachFailureIsTold) {
    EXPECT_EQ(storeRealRate(disk, path, 2000), VEX_E_FILE_NOT_FOUND);
    EXPECT_FALSE(disk.exists(path));
    const File file = fileOf(10);
    disk.put(path, file);
    for (const Kind kind : {Kind::Update, Kind::Read, Kind::Write}) {
        disk.fail(kind, E_ACCESSDENIED);
        EXPECT_EQ(storeRealRate(disk, path, 2000), E_ACCESSDENIED);
        disk.fail(kind, S_OK);
        EXPECT_EQ(disk.bytes(path), file);
    }
    const auto writer = disk.Update(path);
    EXPECT_EQ(storeRealRate(disk, path, 2000), VEX_E_BUSY);
}

}  // namespace avi_file_test
}  // namespace vexcap
