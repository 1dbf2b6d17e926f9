// ser_check FILE: prints "FRAMES WIDTHxHEIGHT DEPTH" of a SER file. Status 1 when it is not whole: header, frames back
// to back, and nothing behind the last one.
#include <algorithm>
#include <cstdio>
#include <optional>

#include "tests/support/ser_reader.h"

namespace {

constexpr uint64_t year2000 = 630'822'816'000'000'000;  // in 100-nanosecond units since the year 1

/// What is wrong with a file; null when nothing is.
const char* faultOf(const vexcap::test::SerFile& file) {
    const auto& header = file.header();
    if (header.fileId != "LUCAM-RECORDER") return "wrong magic";
    constexpr uint32_t colours[] = {0, 8, 9, 10, 11};
    if (std::ranges::find(colours, header.colorId) == std::end(colours)) return "unknown colour";
    if (header.littleEndian != 0) return "the byte order flag is not 0";
    if (header.frameCount == 0) return "no frames";
    if (!file.whole()) return "its size is not that of its header and frames";
    for (const uint64_t time : {header.dateTime, header.dateTimeUtc})
        if (vexcap::test::serTicks(time) <= year2000) return "no time";
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const auto file = vexcap::test::SerFile::read(argv[1]);
    if (const char* const fault = file ? faultOf(*file) : "cannot be read, or is shorter than its header") {
        std::fprintf(stderr, "%s: %s\n", argv[1], fault);
        return 1;
    }
    const auto& header = file->header();
    std::printf("%u %ux%u %u\n", header.frameCount, header.width, header.height, header.depth);
}
