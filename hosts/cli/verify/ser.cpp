#include "hosts/cli/verify/ser.h"

#include <algorithm>
#include <limits>

#include "hosts/cli/verify/byte_reader.h"

namespace vexcap::cli {

namespace {

constexpr size_t headerBytes = 178;
constexpr size_t timeBytes = 8;
constexpr char magic[] = {'L', 'U', 'C', 'A', 'M', '-', 'R', 'E', 'C', 'O', 'R', 'D', 'E', 'R'};
using Header = std::array<uint8_t, headerBytes>;

// Offsets of the header's fields.
constexpr size_t colourAt = 18, widthAt = 26, heightAt = 30, depthAt = 34, frameCountAt = 38, startUtcAt = 170;

constexpr int64_t ticksPerMillisecond = 10'000;
constexpr int64_t ticksBefore1970 = 621'355'968'000'000'000;  // from the year 1 on

struct Colour {
    uint32_t number;
    const char* name;
    uint32_t planes;
};
constexpr Colour colours[] = {{0, "mono", 1},        {8, "Bayer RGGB", 1},  {9, "Bayer GRBG", 1},
                              {10, "Bayer GBRG", 1}, {11, "Bayer BGGR", 1}, {16, "Bayer CYYM", 1},
                              {17, "Bayer YCMY", 1}, {18, "Bayer YMCY", 1}, {19, "Bayer MYYC", 1},
                              {100, "RGB", 3},       {101, "BGR", 3}};

const Colour* colourOf(uint32_t number) {
    const auto found =
        std::find_if(std::begin(colours), std::end(colours), [=](const Colour& c) { return c.number == number; });
    return found == std::end(colours) ? nullptr : found;
}

/// The largest number where the product is larger.
uint64_t product(uint64_t a, uint64_t b) {
    uint64_t result = 0;
    return __builtin_mul_overflow(a, b, &result) ? std::numeric_limits<uint64_t>::max() : result;
}

/// Ticks since the year 1. Some programs put the kind of the time into the two highest bits.
int64_t ticksOf(uint64_t stored) { return static_cast<int64_t>(stored & 0x3FFF'FFFF'FFFF'FFFFu); }

std::string promise(uint64_t promised, uint64_t held) {
    return "the header promises " + std::to_string(promised) + " frames, the file holds " + std::to_string(held);
}

/// The rate of a list of times, from its first and its last one.
void readTimes(ByteReader& reader, uint64_t position, FileReport& report) {
    if (report.frames < 2) return;
    const auto first = reader.Record<timeBytes>(position);
    const auto last = reader.Record<timeBytes>(position + (report.frames - 1) * timeBytes);
    if (!first || !last) return;
    const int64_t ticks = ticksOf(le64(*last, 0)) - ticksOf(le64(*first, 0));
    if (ticks <= 0) return;
    const double between = double(ticks) / 1e7 / double(report.frames - 1);
    report.framesPerSecond = 1 / between;
    report.seconds = between * double(report.frames);
}

/// Compares what the header promises with the bytes behind it.
void countFrames(ByteReader& reader, uint64_t promised, uint64_t frameBytes, FileReport& report) {
    const uint64_t held = reader.Size() - headerBytes;
    const uint64_t wanted = product(promised, frameBytes), wantedTimes = promised * timeBytes;
    if (held < wanted) {
        report.frames = held / frameBytes;
        report.problems.Add(promise(promised, report.frames));
        return;
    }
    report.frames = promised;
    const uint64_t behind = held - wanted;
    if (behind == wantedTimes) {
        readTimes(reader, headerBytes + wanted, report);
    } else if (behind >= frameBytes && (behind % frameBytes == 0 || promised == 0)) {
        report.frames = held / frameBytes;
        report.problems.Add(promise(promised, report.frames));
    } else if (behind > 0 && behind < wantedTimes) {
        report.problems.Add("the list of times behind the frames is cut short: it has " + std::to_string(behind) +
                            " of " + std::to_string(wantedTimes) + " bytes");
    } else if (behind > 0) {
        report.problems.Add(std::to_string(behind) + " bytes behind the last frame belong to nothing");
    }
}

}  // namespace

bool isSer(Source& source) {
    Header header = {};
    const size_t count = source.ReadAt(0, header);
    if (count >= sizeof magic && std::equal(std::begin(magic), std::end(magic), header.begin())) return true;
    return count == headerBytes && std::all_of(header.begin(), header.end(), [](uint8_t byte) { return byte == 0; });
}

FileReport verifySer(Source& source) {
    ByteReader reader(source);
    FileReport report;
    report.container = FileReport::Container::Ser;
    report.bytes = reader.Size();
    const auto header = reader.Record<headerBytes>(0);
    if (!header) {
        report.problems.Add("the file ends within its header: it has " + std::to_string(report.bytes) + " of " +
                            std::to_string(headerBytes) + " bytes");
        return report;
    }
    if ((*header)[0] == 0) {
        report.problems.Add("the recording was not closed: its header is empty, and " +
                            std::to_string(report.bytes - headerBytes) + " bytes of frames lie behind it");
        return report;
    }

    report.width = le32(*header, widthAt);
    report.height = le32(*header, heightAt);
    report.bits = le32(*header, depthAt);
    const uint32_t colourNumber = le32(*header, colourAt);
    const Colour* const colour = colourOf(colourNumber);
    if (colour) report.pixels = colour->name;
    if (const int64_t ticks = ticksOf(le64(*header, startUtcAt)))
        report.start = (ticks - ticksBefore1970) / ticksPerMillisecond;

    if (report.width == 0 || report.height == 0)
        report.problems.Add("the header tells a picture of " + std::to_string(report.width) + "x" +
                            std::to_string(report.height) + " pixels");
    if (report.bits < 1 || report.bits > 16)
        report.problems.Add("the header tells samples of " + std::to_string(report.bits) + " bits; 1 to 16 can be");
    if (!colour) report.problems.Add("the header tells pixels of the unknown kind " + std::to_string(colourNumber));
    if (report.Whole()) {
        const uint64_t sampleBytes = report.bits <= 8 ? 1 : 2;
        const uint64_t frameBytes = product(uint64_t{report.width} * report.height, sampleBytes * colour->planes);
        countFrames(reader, le32(*header, frameCountAt), frameBytes, report);
    }
    return report;
}

}  // namespace vexcap::cli
