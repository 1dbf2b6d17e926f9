// Any bytes as a file. The first byte chooses: the bytes as they are, or a whole file that is changed by them.
#include <cstdlib>

#include "hosts/cli/verify/files_testing.h"
#include "hosts/cli/verify/verify.h"

using namespace vexcap::cli;
using namespace vexcap::cli::test;

namespace {

std::vector<FileBytes> wholeFiles() {
    return {makeSer({.colour = 9, .depth = 12, .frameBytes = 16, .times = true}), makeAvi({}),
            makeAvi({.compression = "MJPG", .frameBytes = 15, .openDml = true, .fromFileStart = true, .audio = true}),
            makeAvi({.framesOfSegments = {2, 1, 2}, .openDml = true, .strangeChunks = true}),
            makeAvi({.records = true, .strangeChunks = true})};
}

/// Each seven bytes cut the file, or replace one or four bytes.
FileBytes changed(FileBytes file, std::span<const uint8_t> changes) {
    for (; changes.size() >= 7; changes = changes.subspan(7)) {
        const size_t place = (changes[1] | size_t{changes[2]} << 8) % (file.size() + 1);
        const uint32_t number =
            changes[3] | uint32_t{changes[4]} << 8 | uint32_t{changes[5]} << 16 | uint32_t{changes[6]} << 24;
        if (changes[0] % 4 == 0)
            file.resize(place);
        else if (changes[0] % 4 == 1 && place + 1 <= file.size())
            put(file, place, static_cast<uint8_t>(number));
        else if (place + 4 <= file.size())
            put(file, place, number);
    }
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<FileBytes> seeds = wholeFiles();
    if (size == 0) return 0;
    const std::span<const uint8_t> bytes(data + 1, size - 1);
    const size_t choice = data[0] % (seeds.size() + 1);
    const FileBytes file = choice == 0 ? FileBytes(bytes.begin(), bytes.end()) : changed(seeds[choice - 1], bytes);
    MemorySource source(file);
    const auto report = verifyRecording(source);
    // An unchanged file is whole; and what a file holds finds room in it.
    if (choice && bytes.size() < 7 && !(report && report->Whole())) std::abort();
    if (!report) return 0;
    if (report->bytes != file.size() || report->frames > file.size()) std::abort();
    if (report->problems.Lines().size() > Problems::mostLines) std::abort();
    return 0;
}
