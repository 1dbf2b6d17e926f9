#include "hosts/common/formats.h"

#include <algorithm>
#include <cstdio>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr double unitsPerSecond = 1e7;

std::string layoutText(uint32_t fourcc) {
    if (!fourcc) return "RGB24";
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) text.push_back(static_cast<char>(fourcc >> shift));
    const bool readable = std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    if (readable && text.front() != ' ') return text.substr(0, text.find_last_not_of(' ') + 1);
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(fourcc));
    return number;
}

Size sizeOf(const int32_t (&sides)[2]) {
    return {static_cast<uint32_t>(std::max(sides[0], 0)), static_cast<uint32_t>(std::max(sides[1], 0))};
}

double rateOf(int64_t interval) { return interval > 0 ? unitsPerSecond / double(interval) : 0; }

std::string ratesText(const Format& format) {
    if (format.fastest <= 0) return {};
    const std::string fastest = formatReal(format.fastest) + " fps";
    return format.slowest > 0 && format.slowest < format.fastest ? formatReal(format.slowest) + " to " + fastest
                                                                 : fastest;
}

}  // namespace

Format formatOf(const vex_capability& capability, bool camera) {
    const int32_t sides[2] = {capability.header.biWidth, capability.header.biHeight};
    Format format;
    format.size = sizeOf(sides);
    if (camera) return format;
    format.layout = layoutText(capability.header.biCompression);
    format.least = sizeOf(capability.minOutputSize);
    format.most = sizeOf(capability.maxOutputSize);
    format.slowest = rateOf(capability.maxFrameInterval);
    format.fastest = rateOf(capability.minFrameInterval);
    return format;
}

std::string formatLine(size_t index, const Format& format) {
    char columns[80];
    std::snprintf(columns, sizeof columns, "%2zu  %-6s %-11s  ", index, format.layout.c_str(),
                  sizeText(format.size).c_str());
    std::string line = columns + ratesText(format);
    if (format.HasSizeRange()) line += "  (" + sizeText(format.least) + " to " + sizeText(format.most) + ")";
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

std::optional<FormatChoice> parseFormatChoice(const std::string& text) {
    if (const auto index = parseNumber(text)) return FormatChoice{.index = index, .layout = {}, .size = {}};
    const size_t colon = text.find(':');
    const auto size = parseSize(colon == text.npos ? text : std::string_view(text).substr(colon + 1));
    if (!size || colon == 0) return {};
    return FormatChoice{.index = {}, .layout = colon == text.npos ? "" : text.substr(0, colon), .size = *size};
}

uint32_t matchFormat(const std::vector<Format>& formats, const FormatChoice& choice) {
    for (uint32_t i = 0; i < formats.size(); ++i) {
        const bool sameLayout = choice.layout.empty() || lowerCase(formats[i].layout) == lowerCase(choice.layout);
        if (choice.index ? *choice.index == i : sameLayout && formats[i].size == choice.size) return i;
    }
    std::string text = "the device does not offer this format; it offers:";
    for (size_t i = 0; i < formats.size(); ++i) text += "\n" + formatLine(i, formats[i]);
    throw Failure(exitUsage, text);
}

}  // namespace vexcap::host
