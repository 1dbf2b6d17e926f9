/// What a recording holds, and what is wrong with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexcap::cli {

/// "0x1F00".
std::string hexText(uint64_t number);

/// Sentences without their point. However broken a file is, they take little room.
class Problems final {
public:
    static constexpr size_t mostLines = 50;
    /// Further ones are counted.
    void Add(std::string text);
    bool Empty() const { return told.empty(); }
    const std::vector<std::string>& Lines() const { return told; }
    /// Those that found no room.
    uint64_t Untold() const { return untold; }

private:
    std::vector<std::string> told;
    uint64_t untold = 0;
};

/// Problems of one kind, of which a broken file has thousands: the first one is told, the others are counted.
class Repeated final {
public:
    /// `text` makes the sentence; it is called for the first one only.
    template <typename Text>
    void Note(Text text) {
        if (count++ == 0) first = text();
    }
    void TellTo(Problems& problems) const;

private:
    std::string first;
    uint64_t count = 0;
};

struct FileReport {
    enum class Container { Ser, Avi };
    Container container = Container::Ser;
    uint64_t bytes = 0;  ///< Size of the file.
    uint32_t width = 0;  ///< Pixels; 0 where nothing is known of the pictures.
    uint32_t height = 0;
    uint32_t bits = 0;    ///< Of a sample in a SER file, of a pixel in an AVI file.
    std::string pixels;   ///< "mono", "Bayer RGGB", "BGR24", a four-character code; empty where it is not known.
    uint64_t frames = 0;  ///< Whole frames that are in the file, whatever its header promises.
    std::optional<double> framesPerSecond;
    std::optional<double> seconds;          ///< Duration.
    std::optional<int64_t> start;           ///< Milliseconds since 1970, UTC.
    uint32_t segments = 0;                  ///< RIFF segments of an AVI file.
    std::vector<std::string> otherStreams;  ///< Kinds of an AVI file's streams beside the one that is told.
    Problems problems;
    bool Whole() const { return problems.Empty(); }
};

}  // namespace vexcap::cli
