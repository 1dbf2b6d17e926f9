#include "hosts/cli/verify/riff.h"

namespace vexcap::cli {

std::optional<Chunk> chunkAt(ByteReader& reader, uint64_t position) {
    const auto header = reader.Record<chunkHeaderBytes>(position);
    if (!header) return {};
    return Chunk{le32(*header, 0), le32(*header, 4), position};
}

uint32_t listKind(ByteReader& reader, const Chunk& chunk) {
    if (chunk.name != fourcc("LIST") && chunk.name != fourcc("RIFF")) return 0;
    const auto kind = reader.Record<4>(chunk.Data());
    return kind ? le32(*kind, 0) : 0;
}

bool isName(uint32_t name) {
    for (int i = 0; i < 4; ++i, name >>= 8)
        if ((name & 0xFF) < 0x20 || (name & 0xFF) > 0x7E) return false;
    return true;
}

std::string nameText(uint32_t name) {
    if (!isName(name)) return hexText(name);
    std::string text;
    for (int i = 0; i < 4; ++i, name >>= 8) text += static_cast<char>(name & 0xFF);
    return text;
}

}  // namespace vexcap::cli
