#include "recording/ser_writer.h"

#include <gtest/gtest.h>

#include <new>
#include <random>

#include "base/dib.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_disk.h"
#include "recording/null_disk_testing.h"

namespace vexcap {
namespace ser_writer_test {

using Kind = DiskOperation::Kind;
using Frame = std::vector<uint8_t>;

constexpr size_t headerBytes = 178;

// Offsets as the file format tells them, on their own here.
uint32_t le32(const std::vector<uint8_t>& file, size_t offset) {
    return uint32_t(file.at(offset)) | uint32_t(file.at(offset + 1)) << 8 | uint32_t(file.at(offset + 2)) << 16 |
           uint32_t(file.at(offset + 3)) << 24;
}
uint64_t le64(const std::vector<uint8_t>& file, size_t offset) {
    return le32(file, offset) | uint64_t(le32(file, offset + 4)) << 32;
}
std::string textAt(const std::vector<uint8_t>& file, size_t offset, size_t size) {
    return {file.begin() + ptrdiff_t(offset), file.begin() + ptrdiff_t(offset + size)};
}
std::string zeros(size_t size) { return std::string(size, '\0'); }

/// Formats on both roads: rows that are copied, and rows that are long enough to be gathered.
const SerFormat smallMono8 = {.device = u"Moon 120", .bitDepth = 8, .width = 5, .height = 4};
const SerFormat wideMono12 = {.device = u"Moon 120", .bitDepth = 12, .width = 1000, .height = 3};
const SerFormat bothRoads[] = {smallMono8, wideMono12};

size_t rowBytesOf(const SerFormat& format) { return format.width * (format.bitDepth <= 8 ? 1u : 2u); }

Frame frameOf(const SerFormat& format, unsigned seed) {
    std::mt19937 random(seed);
    Frame frame(rowBytesOf(format) * format.height);
    for (uint8_t& byte : frame) byte = uint8_t(random());
    return frame;
}

Frame rowsReversed(const SerFormat& format, const Frame& frame) {
    Frame reversed;
    const ptrdiff_t rowBytes = ptrdiff_t(rowBytesOf(format));
    for (ptrdiff_t y = format.height; y-- > 0;)
        reversed.insert(reversed.end(), frame.begin() + y * rowBytes, frame.begin() + (y + 1) * rowBytes);
    return reversed;
}

Bytes bytesOf(const Frame& frame) { return std::as_bytes(std::span(frame)); }

struct SerWriterTest : testing::Test {
    std::unique_ptr<SerWriter> create(const SerFormat& format) {
        auto made = SerWriter::create(disk, clock, path, format);
        EXPECT_TRUE(made.ok()) << std::hex << made.code();
        return made.ok() ? std::move(made).value() : nullptr;
    }
    /// A recording of one frame, whole.
    std::vector<uint8_t> recorded(const SerFormat& format) {
        auto writer = create(format);
        EXPECT_TRUE(writer->writeFrame(bytesOf(frameOf(format, 1))).ok());
        EXPECT_TRUE(writer->close().ok());
        return disk.bytes(path);
    }
    /// What lies behind the header.
    Frame body() const {
        const auto file = disk.bytes(path);
        return {file.begin() + headerBytes, file.end()};
    }

    FakeDisk disk;
    FakeClock clock;
    const std::u16string path = u"m31.ser";
};

TEST_F(SerWriterTest, EveryHeaderFieldLiesAtItsOffset) {
    const SerFormat format = {
        .device = u"Moon 120", .fourcc = fourcc("GRBG"), .bitDepth = 12, .width = 0x234, .height = 6};
    auto writer = create(format);
    for (unsigned i = 0; i < 3; ++i) ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(format, i))).ok());
    ASSERT_TRUE(writer->close().ok());

    const auto file = disk.bytes(path);
    EXPECT_EQ(textAt(file, 0, 14), "LUCAM-RECORDER");
    EXPECT_EQ(le32(file, 14), 0u) << "LuID";
    EXPECT_EQ(le32(file, 18), 11u) << "ColorID";
    EXPECT_EQ(le32(file, 22), 0u) << "LittleEndian";
    EXPECT_EQ(le32(file, 26), 0x234u) << "ImageWidth";
    EXPECT_EQ(le32(file, 30), 6u) << "ImageHeight";
    EXPECT_EQ(le32(file, 34), 12u) << "PixelDepthPerPlane";
    EXPECT_EQ(le32(file, 38), 3u) << "FrameCount";
    EXPECT_EQ(textAt(file, 42, 40), zeros(40)) << "Observer";
    EXPECT_EQ(textAt(file, 82, 40), "Moon 120" + zeros(32)) << "Instrument";
    EXPECT_EQ(textAt(file, 122, 40), zeros(40)) << "Telescope";
}

TEST_F(SerWriterTest, TheMosaicIsNamedAsTheReversedRowsShowIt) {
    const struct {
        uint32_t camera;
        uint32_t colorId;
    } table[] = {
        {0x42474752, 10}, {0x47425247, 11}, {0x47524247, 8}, {0x52474742, 9}, {0, 0}, {fourcc("Y800"), 0}, {~0u, 0},
    };
    for (const auto& row : table) {
        SerFormat format = smallMono8;
        format.fourcc = row.camera;
        EXPECT_EQ(le32(recorded(format), 18), row.colorId) << std::hex << row.camera;
    }
}

TEST_F(SerWriterTest, RowsAreStoredLastToFirstWithoutPadding) {
    for (const SerFormat& format : bothRoads) {
        auto writer = create(format);
        const Frame frame = frameOf(format, 7);
        EXPECT_EQ(writer->writeFrame(bytesOf(frame)).value(), frame.size());
        ASSERT_TRUE(writer->close().ok());
        EXPECT_EQ(body(), rowsReversed(format, frame));
    }
}

TEST_F(SerWriterTest, AnEightBitRowOfFivePixelsTakesFiveBytes) {
    EXPECT_EQ(recorded(smallMono8).size(), headerBytes + 5 * 4);
}

TEST_F(SerWriterTest, EveryDepthAndWidthKeepsItsSamples) {
    for (uint32_t depth = 1; depth <= 16; ++depth)
        for (const uint32_t width : {1u, 2u, 3u, 64u, 767u, 768u, 769u, 1535u, 1536u, 1537u}) {
            const SerFormat format = {.device = u"d", .bitDepth = depth, .width = width, .height = 3};
            const auto file = recorded(format);
            ASSERT_EQ(file.size(), headerBytes + width * 3 * (depth <= 8 ? 1u : 2u));
            ASSERT_EQ(le32(file, 34), depth);
            ASSERT_EQ(body(), rowsReversed(format, frameOf(format, 1))) << depth << " bits, " << width << " pixels";
        }
}

TEST_F(SerWriterTest, ATwelveBitSampleIsLowByteFirstAndNotShifted) {
    const SerFormat format = {.device = u"d", .bitDepth = 12, .width = 1, .height = 1};
    auto writer = create(format);
    ASSERT_TRUE(writer->writeFrame(bytesOf({0xBC, 0x0A})).ok());
    ASSERT_TRUE(writer->close().ok());
    EXPECT_EQ(body(), (Frame{0xBC, 0x0A}));
}

TEST_F(SerWriterTest, SamplesAreShiftedAndSwappedWhenItIsAskedFor) {
    for (const uint32_t depth : {8u, 9u, 10u, 12u, 14u, 15u, 16u})
        for (const bool shiftToMsb : {false, true})
            for (const uint32_t littleEndian : {0u, 1u, 7u})
                for (const uint32_t width : {5u, 1001u}) {
                    const SerFormat format = {.device = u"d",
                                              .bitDepth = depth,
                                              .width = width,
                                              .height = 3,
                                              .shiftToMsb = shiftToMsb,
                                              .littleEndian = littleEndian};
                    Frame frame = frameOf(format, depth);
                    Frame expected = rowsReversed(format, frame);
                    for (size_t i = 0; depth > 8 && i < expected.size(); i += 2) {
                        const unsigned shift = shiftToMsb && depth < 16 ? 16 - depth : 0;
                        const unsigned sample = (expected[i] | unsigned(expected[i + 1]) << 8) << shift;
                        expected[i + (littleEndian ? 1 : 0)] = uint8_t(sample);
                        expected[i + (littleEndian ? 0 : 1)] = uint8_t(sample >> 8);
                    }
                    frame.insert(frame.begin(), 0);  // samples of a camera need not be aligned
                    auto writer = create(format);
                    ASSERT_TRUE(writer->writeFrame(bytesOf(frame).subspan(1)).ok());
                    ASSERT_TRUE(writer->close().ok());
                    ASSERT_EQ(body(), expected) << depth << " bits, shift " << shiftToMsb << ", swap " << littleEndian;
                    ASSERT_EQ(le32(disk.bytes(path), 22), littleEndian);
                }
}

TEST_F(SerWriterTest, TheLastByteOfTheFileIsTheLastOfTheLastFrame) {
    for (const SerFormat& format : bothRoads) {
        auto writer = create(format);
        Frame expected;
        for (unsigned i = 0; i < 3; ++i) {
            const Frame frame = frameOf(format, i);
            ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
            const Frame reversed = rowsReversed(format, frame);
            expected.insert(expected.end(), reversed.begin(), reversed.end());
        }
        ASSERT_TRUE(writer->close().ok());
        EXPECT_EQ(body(), expected);
        EXPECT_EQ(disk.reservedBehind(path), 0u);
    }
}

TEST_F(SerWriterTest, OneFrameIsOneWrite) {
    for (const SerFormat& format : bothRoads) {
        auto writer = create(format);
        const size_t before = disk.count(Kind::Write);
        for (unsigned i = 0; i < 3; ++i) ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(format, i))).ok());
        EXPECT_EQ(disk.count(Kind::Write), before + 3);
        ASSERT_TRUE(writer->close().ok());
        EXPECT_EQ(disk.count(Kind::Write), before + 4);
    }
}

TEST_F(SerWriterTest, ARecordingThatWasCutShortBeginsWithZeros) {
    auto writer = create(smallMono8);
    const Frame frame = frameOf(smallMono8, 1);
    ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
    EXPECT_EQ(textAt(disk.bytes(path), 0, headerBytes), zeros(headerBytes));
    EXPECT_EQ(body(), rowsReversed(smallMono8, frame));
}

TEST_F(SerWriterTest, ARecordingWithoutFramesLeavesNoFile) {
    auto writer = create(smallMono8);
    EXPECT_TRUE(disk.exists(path));
    EXPECT_TRUE(writer->close().ok());
    EXPECT_FALSE(disk.exists(path));
    EXPECT_EQ(disk.count(Kind::Write), 0u);
}

TEST_F(SerWriterTest, AnEmptyFileThatCannotBeRemovedIsTold) {
    auto writer = create(smallMono8);
    disk.fail(Kind::Remove, E_ACCESSDENIED);
    EXPECT_EQ(writer->close(), E_ACCESSDENIED);
    EXPECT_EQ(disk.count(Kind::Close), 1u);
}

TEST_F(SerWriterTest, ARecordingWhoseFramesAllFailedLeavesNoFile) {
    auto writer = create(smallMono8);
    disk.fail(Kind::Write, VEX_E_DISK_FULL);
    EXPECT_EQ(writer->writeFrame(bytesOf(frameOf(smallMono8, 1))).code(), VEX_E_DISK_FULL);
    EXPECT_TRUE(writer->close().ok());
    EXPECT_FALSE(disk.exists(path));
}

TEST_F(SerWriterTest, AFailedWriteLosesThatFrameAndNoOther) {
    for (const SerFormat& format : bothRoads) {
        const size_t frameBytes = frameOf(format, 0).size();
        for (unsigned failing = 0; failing < 3; ++failing)
            for (const size_t kept : {size_t(0), size_t(1), frameBytes - 1, frameBytes}) {
                auto writer = create(format);
                disk.failWrite(disk.count(Kind::Write) + failing, E_FAIL, kept);
                Frame expected;
                for (unsigned i = 0; i < 3; ++i) {
                    const Frame frame = frameOf(format, i);
                    const auto written = writer->writeFrame(bytesOf(frame));
                    ASSERT_EQ(written.code(), i == failing ? E_FAIL : S_OK);
                    if (i == failing) continue;
                    const Frame reversed = rowsReversed(format, frame);
                    expected.insert(expected.end(), reversed.begin(), reversed.end());
                }
                EXPECT_EQ(writer->frameCount(), 2u);
                ASSERT_TRUE(writer->close().ok());
                EXPECT_EQ(le32(disk.bytes(path), 38), 2u);
                ASSERT_EQ(body(), expected) << "frame " << failing << ", " << kept << " bytes left behind";
            }
    }
}

TEST_F(SerWriterTest, ADiskThatFillsUpInTheMiddleLeavesAWholeFile) {
    for (const SerFormat& format : bothRoads) {
        const size_t frameBytes = frameOf(format, 0).size();
        disk.setCapacity(headerBytes + frameBytes * 5 / 2);
        auto writer = create(format);
        Frame expected;
        for (unsigned i = 0; i < 5; ++i) {
            if (i == 4) disk.setCapacity(headerBytes + frameBytes * 3);  // somebody made room
            const Frame frame = frameOf(format, i);
            const bool fits = i < 2 || i == 4;
            ASSERT_EQ(writer->writeFrame(bytesOf(frame)).code(), fits ? S_OK : VEX_E_DISK_FULL);
            if (!fits) continue;
            const Frame reversed = rowsReversed(format, frame);
            expected.insert(expected.end(), reversed.begin(), reversed.end());
        }
        ASSERT_TRUE(writer->close().ok());
        EXPECT_EQ(le32(disk.bytes(path), 38), 3u);
        EXPECT_EQ(body(), expected);
    }
}

TEST_F(SerWriterTest, AHeaderThatCannotBeWrittenIsTold) {
    auto writer = create(smallMono8);
    ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(smallMono8, 1))).ok());
    disk.failWrite(1, E_ACCESSDENIED);
    disk.fail(Kind::Resize, E_FAIL);
    EXPECT_EQ(writer->close(), E_ACCESSDENIED);  // the first failure
    EXPECT_EQ(disk.count(Kind::Close), 1u);
}

TEST_F(SerWriterTest, AnEndThatCannotBeCutIsTold) {
    auto writer = create(smallMono8);
    ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(smallMono8, 1))).ok());
    disk.fail(Kind::Resize, E_FAIL);
    EXPECT_EQ(writer->close(), E_FAIL);
    EXPECT_EQ(le32(disk.bytes(path), 38), 1u);
}

TEST_F(SerWriterTest, ASecondCloseDoesNothing) {
    auto writer = create(smallMono8);
    ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(smallMono8, 1))).ok());
    ASSERT_TRUE(writer->close().ok());
    const size_t before = disk.operations().size();
    EXPECT_EQ(writer->close(), S_OK);
    EXPECT_EQ(writer->writeFrame(bytesOf(frameOf(smallMono8, 2))).code(), E_UNEXPECTED);
    writer.reset();
    EXPECT_EQ(disk.operations().size(), before);
}

TEST_F(SerWriterTest, TheEndOfTheWriterClosesTheFile) {
    ASSERT_TRUE(create(smallMono8)->writeFrame(bytesOf(frameOf(smallMono8, 1))).ok());
    EXPECT_EQ(textAt(disk.bytes(path), 0, 14), "LUCAM-RECORDER");
}

TEST_F(SerWriterTest, BytesThatAreNotOneFrameAreRefused) {
    for (const SerFormat& format : bothRoads) {
        auto writer = create(format);
        const Frame frame = frameOf(format, 1);
        Frame longer = frame;
        longer.push_back(0);
        const size_t before = disk.count(Kind::Write);
        EXPECT_EQ(writer->writeFrame({}).code(), E_INVALIDARG);
        EXPECT_EQ(writer->writeFrame(bytesOf(frame).first(frame.size() - 1)).code(), E_INVALIDARG);
        EXPECT_EQ(writer->writeFrame(bytesOf(longer)).code(), E_INVALIDARG);
        EXPECT_EQ(disk.count(Kind::Write), before);
    }
}

TEST_F(SerWriterTest, SizesThatNoFrameHasMakeNoFile) {
    const struct {
        uint32_t depth, width, height;
    } table[] = {
        {0, 5, 4},         {8, 0, 4},         {8, 5, 0},         {17, 5, 4},         {32, 5, 4},       {~0u, 5, 4},
        {8, ~0u, 1},       {8, 1, ~0u},       {8, ~0u, ~0u},     {16, ~0u, ~0u},     {8, 1u << 31, 1}, {8, 1, 1u << 31},
        {16, 1u << 30, 1}, {16, 1, 1u << 30}, {8, 65536, 32768}, {16, 32768, 32768},
    };
    for (const auto& row : table) {
        const SerFormat format = {.device = u"d", .bitDepth = row.depth, .width = row.width, .height = row.height};
        EXPECT_EQ(SerWriter::create(disk, clock, path, format).code(), E_INVALIDARG)
            << row.depth << " bits, " << row.width << " x " << row.height;
    }
    EXPECT_EQ(disk.count(Kind::Create), 0u);
}

TEST_F(SerWriterTest, AFileThatCannotBeMadeIsTold) {
    disk.fail(Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(SerWriter::create(disk, clock, path, smallMono8).code(), E_ACCESSDENIED);
    disk.fail(Kind::Create, S_OK);
    EXPECT_EQ(SerWriter::create(disk, clock, u"", smallMono8).code(), VEX_E_PATH_NOT_FOUND);
    EXPECT_EQ(disk.count(Kind::Remove), 0u);
}

TEST_F(SerWriterTest, TwoRecordingsNeverShareAFile) {
    auto first = create(smallMono8);
    EXPECT_EQ(SerWriter::create(disk, clock, path, smallMono8).code(), VEX_E_BUSY);
    const Frame frame = frameOf(smallMono8, 1);
    ASSERT_TRUE(first->writeFrame(bytesOf(frame)).ok());
    ASSERT_TRUE(first->close().ok());
    EXPECT_EQ(body(), rowsReversed(smallMono8, frame));
}

TEST_F(SerWriterTest, ANameOf39CharactersStaysInInstrument) {
    SerFormat format = smallMono8;
    format.device = std::u16string(39, u'n');
    const auto file = recorded(format);
    EXPECT_EQ(textAt(file, 82, 40), std::string(39, 'n') + zeros(1));
    EXPECT_EQ(textAt(file, 122, 40), zeros(40));
}

TEST_F(SerWriterTest, ALongNameRunsThroughTelescopeAndTheTimesLieOverIt) {
    const std::string times = textAt(recorded(smallMono8), 162, 16);
    for (const size_t length : {size_t(40), size_t(79), size_t(80), size_t(95), size_t(96), size_t(97), size_t(5000)}) {
        SerFormat format = smallMono8;
        format.device = std::u16string(length, u'n');
        const auto file = recorded(format);
        const size_t shown = std::min(length, size_t(80));
        EXPECT_EQ(textAt(file, 82, 80), std::string(shown, 'n') + zeros(80 - shown)) << length;
        EXPECT_EQ(textAt(file, 162, 16), times) << length;
        EXPECT_EQ(file.size(), headerBytes + 20) << length;
        EXPECT_EQ(body(), rowsReversed(format, frameOf(format, 1))) << length;
    }
}

TEST_F(SerWriterTest, TheNameIsUtf8) {
    SerFormat format = smallMono8;
    format.device = u"\u00C9toile \u2605";
    EXPECT_EQ(textAt(recorded(format), 82, 40), "\xC3\x89toile \xE2\x98\x85" + zeros(40 - 11));
}

TEST_F(SerWriterTest, TheTimesAreTicksSinceTheYearOneAndTellTheirKind) {
    // 2024-01-01 12:00:00 UTC, two hours later by the local clock.
    constexpr uint64_t utc = 133'485'840'000'000'000, local = utc + 72'000'000'000;
    clock.setWallTime(utc, local);
    auto writer = create(smallMono8);
    clock.advance(5000);  // it is the start that counts
    ASSERT_TRUE(writer->writeFrame(bytesOf(frameOf(smallMono8, 1))).ok());
    ASSERT_TRUE(writer->close().ok());
    const auto file = disk.bytes(path);
    constexpr uint64_t ticksAtNoon = 638'397'072'000'000'000;
    EXPECT_EQ(le64(file, 162), (ticksAtNoon + 72'000'000'000) | 0x8000000000000000);
    EXPECT_EQ(le64(file, 170), ticksAtNoon | 0x4000000000000000);
}

TEST_F(SerWriterTest, NoFrameAllocates) {
    const size_t none = allocations();
    ::operator delete(::operator new(100));
    ASSERT_GT(allocations(), none) << "allocations are not counted here";

    NullDisk nowhere;
    SerFormat shifted = wideMono12;
    shifted.shiftToMsb = true;
    shifted.littleEndian = 1;
    for (const SerFormat& format : {smallMono8, wideMono12, shifted}) {
        auto writer = std::move(SerWriter::create(nowhere, clock, path, format)).value();
        const Frame frame = frameOf(format, 1);
        const size_t before = allocations();
        for (int i = 0; i < 10; ++i) ASSERT_TRUE(writer->writeFrame(bytesOf(frame)).ok());
        EXPECT_EQ(allocations(), before);
    }
}

}  // namespace ser_writer_test
}  // namespace vexcap
