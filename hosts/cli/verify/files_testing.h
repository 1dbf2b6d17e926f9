/// SER and AVI files for tests, made byte by byte as the descriptions of the formats have them.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace vexcap::cli::test {

using FileBytes = std::vector<uint8_t>;

/// Overwrites a little-endian number.
template <typename Number>
void put(FileBytes& bytes, size_t position, Number number) {
    for (size_t i = 0; i < sizeof number; ++i) bytes.at(position + i) = static_cast<uint8_t>(uint64_t{number} >> 8 * i);
}

/// What a file is made from, and where its fields lie.
struct SerLayout {
    uint32_t colour = 0;
    uint32_t width = 4;
    uint32_t height = 2;
    uint32_t depth = 8;
    uint32_t frames = 3;
    uint32_t frameBytes = 8;
    bool times = false;  ///< A list of times behind the frames, a tenth of a second apart.
};
constexpr size_t serHeaderBytes = 178, serColourAt = 18, serWidthAt = 26, serDepthAt = 34, serFramesAt = 38;

/// 2026-11-21 12:34:56.789 UTC in 100-nanosecond units since the year 1.
constexpr uint64_t serStart = 639'308'612'967'890'000;

inline FileBytes makeSer(const SerLayout& layout) {
    FileBytes bytes(serHeaderBytes);
    const std::string magic = "LUCAM-RECORDER";
    std::copy(magic.begin(), magic.end(), bytes.begin());
    put(bytes, serColourAt, layout.colour);
    put(bytes, serWidthAt, layout.width);
    put(bytes, serWidthAt + 4, layout.height);
    put(bytes, serDepthAt, layout.depth);
    put(bytes, serFramesAt, layout.frames);
    put(bytes, 170, serStart);
    bytes.resize(bytes.size() + layout.frames * layout.frameBytes, 0x55);
    for (uint32_t i = 0; layout.times && i < layout.frames; ++i) {
        bytes.resize(bytes.size() + 8);
        put(bytes, bytes.size() - 8, serStart + i * uint64_t{1'000'000});
    }
    return bytes;
}

struct AviLayout {
    std::vector<unsigned> framesOfSegments = {3};
    uint32_t width = 4;
    int32_t height = 2;
    uint16_t bits = 24;
    std::string compression = std::string(4, '\0');
    uint32_t frameBytes = 24;
    bool openDml = false;        ///< ix00 and indx; there is no other index behind the first segment.
    bool firstIndex = true;      ///< idx1
    bool fromFileStart = false;  ///< Offsets of idx1 count from the beginning of the file.
    bool records = false;        ///< Each frame lies in a list with a chunk of audio.
    bool audio = false;          ///< A second stream, and its chunk behind each frame.
    bool strangeChunks = false;  ///< Chunks that a reader must skip, in each place where they can be.
};

class AviMaker final {
public:
    explicit AviMaker(const AviLayout& wanted) : layout(wanted) {}

    FileBytes bytes;
    /// Positions: "avih", "strh", "strf", "dmlh", "indx", "idx1", "movi0", "frame0", "ix0", "riff0" and so on, of the
    /// chunk or list; further ones count up.
    std::map<std::string, size_t> at;

    const FileBytes& Make() {
        bytes.clear();
        for (size_t i = 0; i < layout.framesOfSegments.size(); ++i) Segment(i);
        return bytes;
    }

private:
    struct Entry {
        std::string name;
        size_t position;
        uint32_t size;
    };

    void Text(const std::string& text) { bytes.insert(bytes.end(), text.begin(), text.end()); }
    template <typename Number>
    void Add(Number number) {
        bytes.resize(bytes.size() + sizeof number);
        put(bytes, bytes.size() - sizeof number, number);
    }
    size_t Begin(const std::string& name, const std::string& kind = {}) {
        Text(name);
        Add(uint32_t{0});
        Text(kind);
        return bytes.size() - kind.size() - 8;
    }
    void End(size_t position) {
        put(bytes, position + 4, static_cast<uint32_t>(bytes.size() - position - 8));
        if (bytes.size() % 2) bytes.push_back(0);
    }
    void Skipped(const std::string& name, size_t size) {
        if (!layout.strangeChunks) return;
        const size_t chunk = Begin(name);
        bytes.resize(bytes.size() + size, 0xEE);
        End(chunk);
    }

    uint32_t Frames() const {
        uint32_t count = 0;
        for (const unsigned frames : layout.framesOfSegments) count += frames;
        return count;
    }
    bool HasAudio() const { return layout.audio || layout.records; }

    void Stream(const std::string& type, uint32_t length) {
        const bool video = type == "vids";
        const size_t list = Begin("LIST", "strl");
        const size_t strh = at[video ? "strh" : "strh1"] = Begin("strh");
        Text(type + (video ? layout.compression : std::string(4, '\0')));
        for (int i = 0; i < 3; ++i) Add(uint32_t{0});
        Add(uint32_t{1000});   // scale
        Add(uint32_t{25000});  // rate
        Add(uint32_t{0});
        Add(length);
        bytes.resize(bytes.size() + 20);
        End(strh);
        const size_t strf = at[video ? "strf" : "strf1"] = Begin("strf");
        if (video) {
            Add(uint32_t{40});
            Add(layout.width);
            Add(static_cast<uint32_t>(layout.height));
            Add(uint16_t{1});
            Add(layout.bits);
            Text(layout.compression);
            bytes.resize(bytes.size() + 20);
        } else {
            bytes.resize(bytes.size() + 16, 1);
        }
        End(strf);
        Skipped("strn", 5);
        if (video && layout.openDml) {
            const size_t indx = at["indx"] = Begin("indx");
            Add(uint16_t{4});
            Add(uint16_t{0});
            Add(static_cast<uint32_t>(layout.framesOfSegments.size()));
            Text("00dc");
            bytes.resize(bytes.size() + 12 + 16 * layout.framesOfSegments.size());
            End(indx);
        }
        End(list);
    }

    void Header() {
        const size_t list = Begin("LIST", "hdrl");
        const size_t avih = at["avih"] = Begin("avih");
        Add(uint32_t{40000});
        for (int i = 0; i < 2; ++i) Add(uint32_t{0});
        Add(uint32_t{layout.firstIndex ? 0x110u : 0x100u});
        Add(Frames());
        Add(uint32_t{0});
        Add(uint32_t{HasAudio() ? 2u : 1u});
        bytes.resize(bytes.size() + 28);
        End(avih);
        Stream("vids", Frames());
        if (HasAudio()) Stream("auds", 0);
        if (layout.openDml) {
            const size_t odml = Begin("LIST", "odml"), dmlh = at["dmlh"] = Begin("dmlh");
            Add(Frames());
            End(dmlh);
            End(odml);
        }
        End(list);
    }

    void Segment(size_t number) {
        const std::string count = std::to_string(number);
        const size_t riff = at["riff" + count] = Begin("RIFF", number ? "AVIX" : "AVI ");
        if (number == 0) Header();
        Skipped("JUNK", 7);
        const size_t movi = at["movi" + count] = Begin("LIST", "movi");
        std::vector<Entry> frames, all;
        for (unsigned i = 0; i < layout.framesOfSegments[number]; ++i) {
            const size_t record = layout.records ? Begin("LIST", "rec ") : 0;
            const size_t frame = at["frame" + std::to_string(shown++)] = Begin("00dc");
            bytes.resize(bytes.size() + layout.frameBytes, static_cast<uint8_t>(i));
            End(frame);
            frames.push_back({"00dc", frame, layout.frameBytes});
            all.push_back(frames.back());
            Skipped("JUNK", 3);
            if (HasAudio()) {
                const size_t audio = Begin("01wb");
                bytes.resize(bytes.size() + 5, 0xAA);
                End(audio);
                all.push_back({"01wb", audio, 5});
            }
            if (layout.records) {
                End(record);
                all.push_back({"rec ", record, static_cast<uint32_t>(bytes.size() - record - 8)});
            }
        }
        if (layout.openDml) OpenDmlIndex(number, frames, riff);
        End(movi);
        if (number == 0 && layout.firstIndex) FirstIndex(all, movi);
        End(riff);
    }

    void OpenDmlIndex(size_t number, const std::vector<Entry>& frames, size_t base) {
        const size_t index = at["ix" + std::to_string(number)] = Begin("ix00");
        Add(uint16_t{2});
        Add(uint16_t{0x100});
        Add(static_cast<uint32_t>(frames.size()));
        Text("00dc");
        Add(uint64_t{base});
        Add(uint32_t{0});
        for (const Entry& frame : frames) {
            Add(static_cast<uint32_t>(frame.position + 8 - base));
            Add(frame.size);
        }
        End(index);
        const size_t entry = at["indx"] + 32 + 16 * number;
        put(bytes, entry, uint64_t{index});
        put(bytes, entry + 8, static_cast<uint32_t>(bytes.size() - index));
        put(bytes, entry + 12, static_cast<uint32_t>(frames.size()));
    }

    void FirstIndex(const std::vector<Entry>& entries, size_t movi) {
        const size_t index = at["idx1"] = Begin("idx1");
        for (const Entry& entry : entries) {
            Text(entry.name);
            Add(uint32_t{entry.name == "rec " ? 1u : 0x10u});
            Add(static_cast<uint32_t>(entry.position - (layout.fromFileStart ? 0 : movi + 8)));
            Add(entry.size);
        }
        End(index);
    }

    const AviLayout layout;
    size_t shown = 0;
};

inline FileBytes makeAvi(const AviLayout& layout) { return AviMaker(layout).Make(); }

}  // namespace vexcap::cli::test
