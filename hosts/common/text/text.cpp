#include "hosts/common/text/text.h"

#include <vexcap/text.h>

#include <algorithm>
#include <vector>

namespace vexcap::host {

namespace {

constexpr char32_t replacement = 0xFFFD;

/// Reads a sequence; false leaves `position` alone.
bool readSequence(std::string_view text, size_t& position, char32_t& point) {
    const auto byteAt = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byteAt(position);
    size_t length = 1;
    char32_t least = 0;
    if (first < 0x80) {
        point = first;
    } else if ((first & 0xE0) == 0xC0) {
        length = 2, least = 0x80, point = first & 0x1Fu;
    } else if ((first & 0xF0) == 0xE0) {
        length = 3, least = 0x800, point = first & 0x0Fu;
    } else if ((first & 0xF8) == 0xF0) {
        length = 4, least = 0x10000, point = first & 0x07u;
    } else {
        return false;
    }
    if (text.size() - position < length) return false;
    for (size_t i = 1; i < length; ++i) {
        if ((byteAt(position + i) & 0xC0) != 0x80) return false;
        point = (point << 6) | (byteAt(position + i) & 0x3Fu);
    }
    if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
    position += length;
    return true;
}

/// Letters to change, add, leave out or swap with their neighbour to make one word of the other.
size_t distanceBetween(std::string_view a, std::string_view b) {
    std::vector<std::vector<size_t>> cost(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) cost[i][0] = i;
    for (size_t j = 0; j <= b.size(); ++j) cost[0][j] = j;
    for (size_t i = 1; i <= a.size(); ++i)
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t change = cost[i - 1][j - 1] + (a[i - 1] != b[j - 1]);
            cost[i][j] = std::min({change, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
        }
    return cost[a.size()][b.size()];
}

}  // namespace

char32_t nextCodePoint(std::string_view text, size_t& position) {
    char32_t point = 0;
    if (readSequence(text, position, point)) return point;
    ++position;
    return replacement;
}

bool isUtf8(std::string_view text) {
    char32_t point = 0;
    for (size_t position = 0; position < text.size();)
        if (!readSequence(text, position, point)) return false;
    return true;
}

std::u16string toUtf16(std::string_view text) {
    const std::string whole(text);
    std::u16string out(vexcap_utf16_from_utf8(whole.c_str(), nullptr, 0), u'\0');
    vexcap_utf16_from_utf8(whole.c_str(), out.data(), out.size() + 1);
    return out;
}

std::string toUtf8(const vex_char* text) {
    std::string out(vexcap_utf8_from_utf16(text, nullptr, 0), '\0');
    vexcap_utf8_from_utf16(text, out.data(), out.size() + 1);
    return out;
}

bool isPartOfFileName(std::string_view text) { return text.find_first_of("<>:\"/\\|?*") == text.npos; }

std::string padded(std::string text, size_t width) {
    if (text.size() < width) text.resize(width, ' ');
    return text;
}

std::string printable(std::string_view text) {
    std::string out;
    for (size_t position = 0; position < text.size();) {
        const size_t start = position;
        const char32_t point = nextCodePoint(text, position);
        const bool control = point < 0x20 || (point >= 0x7F && point < 0xA0);
        out += control || point == replacement ? std::string_view("\uFFFD") : text.substr(start, position - start);
    }
    return out;
}

std::string closest(std::span<const std::string> known, std::string_view typed) {
    constexpr size_t farthest = 2;
    std::string best;
    size_t least = farthest + 1;
    for (const std::string& name : known) {
        const size_t distance = distanceBetween(lowerCase(name), lowerCase(typed));
        // Of a short word everything is near.
        if (distance >= least || distance * 2 >= name.size()) continue;
        least = distance;
        best = name;
    }
    return best;
}

std::string lowerCase(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

}  // namespace vexcap::host
