#include "tests/support/ser_reader.h"

#include <cassert>
#include <fstream>
#include <iterator>

namespace vexcap::test {

namespace {

uint64_t little(const std::vector<uint8_t>& bytes, size_t offset, size_t count) {
    uint64_t value = 0;
    for (size_t i = count; i-- > 0;) value = value << 8 | bytes[offset + i];
    return value;
}

uint32_t little32(const std::vector<uint8_t>& bytes, size_t offset) { return uint32_t(little(bytes, offset, 4)); }

std::string text(const std::vector<uint8_t>& bytes, size_t offset, size_t room) {
    std::string out;
    for (size_t i = 0; i < room && bytes[offset + i] != 0; ++i) out += char(bytes[offset + i]);
    return out;
}

}  // namespace

std::optional<SerFile> SerFile::read(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return std::nullopt;
    SerFile file;
    file.bytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    const std::vector<uint8_t>& all = file.bytes;
    if (all.size() < serHeaderSize) return std::nullopt;
    SerHeader& head = file.head;
    head.fileId = text(all, 0, 14);
    head.luId = little32(all, 14);
    head.colorId = little32(all, 18);
    head.littleEndian = little32(all, 22);
    head.width = little32(all, 26);
    head.height = little32(all, 30);
    head.depth = little32(all, 34);
    head.frameCount = little32(all, 38);
    head.observer = text(all, 42, 40);
    head.instrument = text(all, 82, 40);
    head.telescope = text(all, 122, 40);
    head.dateTime = little(all, 162, 8);
    head.dateTimeUtc = little(all, 170, 8);
    return file;
}

std::span<const uint8_t> SerFile::frame(uint32_t index) const {
    const uint64_t start = serHeaderSize + index * head.frameBytes();
    assert(start + head.frameBytes() <= bytes.size());
    return {bytes.data() + start, size_t(head.frameBytes())};
}

uint32_t SerFile::sample(uint32_t index, uint32_t x, uint32_t y) const {
    const uint8_t* at = frame(index).data() + y * head.rowBytes() + uint64_t(x) * head.bytesPerSample();
    return head.bytesPerSample() == 1 ? at[0] : uint32_t(at[0] | at[1] << 8);
}

uint64_t hashOf(std::span<const uint8_t> bytes) {
    uint64_t hash = 0xCBF29CE484222325u;
    for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3u;
    return hash;
}

}  // namespace vexcap::test
