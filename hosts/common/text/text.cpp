#include "hosts/common/text/text.h"

#include <algorithm>
#include <vector>

namespace vexcap::host {

namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t point) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | (point >> 18));
        put(0x80 | ((point >> 12) & 0x3F));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

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
    std::u16string out;
    for (size_t position = 0; position < text.size();) {
        const char32_t point = nextCodePoint(text, position);
        if (point < 0x10000) {
            out.push_back(static_cast<char16_t>(point));
        } else {
            out.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        }
    }
    return out;
}

std::string toUtf8(const vex_char* text) {
    std::string out;
    for (; text && *text; ++text) {
        const char32_t unit = *text;
        const bool pair = unit >= 0xD800 && unit < 0xDC00 && text[1] >= 0xDC00 && text[1] < 0xE000;
        if (pair) {
            appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00u));
            ++text;
        } else {
            appendUtf8(out, unit >= 0xD800 && unit < 0xE000 ? replacement : unit);
        }
    }
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
        const char32_t point = nextCodePoint(text, position);
        const bool control = point < 0x20 || (point >= 0x7F && point < 0xA0);
        appendUtf8(out, control ? replacement : point);
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
