#include "base/text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace vexcap {
namespace {

constexpr char32_t replacement = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// Takes one code point from the front of `text`, which is not empty.
char32_t takeUtf16(std::u16string_view& text) {
    const char32_t first = text.front();
    text.remove_prefix(1);
    if (isLowSurrogate(first)) return replacement;
    if (!isHighSurrogate(first)) return first;
    if (text.empty() || !isLowSurrogate(text.front())) return replacement;
    const char32_t second = text.front();
    text.remove_prefix(1);
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

/// What a first byte of UTF-8 asks for: how many bytes follow, and the limits of the next one, which keep overlong
/// forms, surrogates and everything above U+10FFFF out.
struct Utf8Lead {
    unsigned following;
    uint8_t lowest;
    uint8_t highest;
};

/// `following` is 0 for a byte that begins nothing.
constexpr Utf8Lead leadOf(uint8_t byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
    if (byte == 0xE0) return {2, 0xA0, 0xBF};
    if (byte == 0xED) return {2, 0x80, 0x9F};
    if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
    if (byte == 0xF0) return {3, 0x90, 0xBF};
    if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
    if (byte == 0xF4) return {3, 0x80, 0x8F};
    return {0, 0, 0};
}

/// Takes one code point from the front of `text`, which is not empty. Of a broken sequence it takes the part that
/// could have begun a whole one, so that the byte which broke it is looked at again.
char32_t takeUtf8(std::string_view& text) {
    const uint8_t first = uint8_t(text.front());
    text.remove_prefix(1);
    if (first < 0x80) return first;
    Utf8Lead lead = leadOf(first);
    if (!lead.following) return replacement;
    char32_t point = first & (0x3Fu >> lead.following);
    for (; lead.following; --lead.following) {
        if (text.empty()) return replacement;
        const uint8_t next = uint8_t(text.front());
        if (next < lead.lowest || next > lead.highest) return replacement;
        text.remove_prefix(1);
        point = point << 6 | (next & 0x3Fu);
        lead.lowest = 0x80;
        lead.highest = 0xBF;
    }
    return point;
}

constexpr char16_t lowered(char16_t unit) { return unit >= u'A' && unit <= u'Z' ? char16_t(unit + 32) : unit; }

/// Larger widths and precisions are taken as this one: a format from outside must not decide how much is allocated.
constexpr unsigned widest = 512;

enum class Length { plain, half, wide, longest };

struct Conversion {
    bool leftAligned = false;
    bool zeroFilled = false;
    unsigned width = 0;
    bool hasPrecision = false;
    unsigned precision = 0;
    Length length = Length::plain;
    char16_t letter = 0;
};

bool takeIf(std::u16string_view& text, char16_t unit) {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

unsigned takeNumber(std::u16string_view& text) {
    unsigned value = 0;
    for (; !text.empty() && text.front() >= u'0' && text.front() <= u'9'; text.remove_prefix(1))
        value = std::min(value * 10 + unsigned(text.front() - u'0'), widest);
    return value;
}

/// Reads what follows a percent sign; false when it is no conversion, and `text` is then of no more use.
bool takeConversion(std::u16string_view& text, Conversion& out) {
    for (;;) {
        if (takeIf(text, u'-'))
            out.leftAligned = true;
        else if (takeIf(text, u'0'))
            out.zeroFilled = true;
        else
            break;
    }
    out.width = takeNumber(text);
    out.hasPrecision = takeIf(text, u'.');
    if (out.hasPrecision) out.precision = takeNumber(text);
    if (takeIf(text, u'h'))
        out.length = Length::half;
    else if (takeIf(text, u'l'))
        out.length = takeIf(text, u'l') ? Length::longest : Length::wide;
    if (text.empty() || std::u16string_view(u"scdiuxXf").find(text.front()) == text.npos) return false;
    out.letter = text.front();
    text.remove_prefix(1);
    return true;
}

/// `sign` and `body` in the width that is asked for; zeros go between the two, blanks around both.
void appendPadded(std::u16string& out, const Conversion& how, std::u16string_view sign, std::u16string_view body,
                  bool zeros) {
    const size_t length = sign.size() + body.size();
    const size_t padding = how.width > length ? how.width - length : 0;
    if (!how.leftAligned && !zeros) out.append(padding, u' ');
    out += sign;
    if (!how.leftAligned && zeros) out.append(padding, u'0');
    out += body;
    if (how.leftAligned) out.append(padding, u' ');
}

void appendInteger(std::u16string& out, const Conversion& how, bool negative, uint64_t magnitude) {
    const bool hexadecimal = how.letter == u'x' || how.letter == u'X';
    const unsigned base = hexadecimal ? 16 : 10;
    const char16_t* const digits = how.letter == u'X' ? u"0123456789ABCDEF" : u"0123456789abcdef";
    std::u16string body;
    for (; magnitude; magnitude /= base) body += digits[magnitude % base];
    const size_t least = how.hasPrecision ? how.precision : 1;
    if (body.size() < least) body.append(least - body.size(), u'0');
    std::reverse(body.begin(), body.end());
    appendPadded(out, how, negative ? u"-" : u"", body, how.zeroFilled && !how.hasPrecision);
}

/// Bits of a negative number for a conversion without sign: as many as the format speaks of, and never fewer than
/// the number needs.
uint64_t unsignedForm(const Conversion& how, int64_t value) {
    if (how.length == Length::half && value >= INT16_MIN) return uint16_t(value);
    if (how.length != Length::longest && value >= INT32_MIN) return uint32_t(value);
    return uint64_t(value);
}

void appendCharacter(std::u16string& out, const Conversion& how, uint64_t unit) {
    const char16_t shown = unit <= 0xFFFF ? char16_t(unit) : char16_t(replacement);
    appendPadded(out, how, u"", {&shown, 1}, false);
}

void appendArgument(std::u16string& out, const Conversion& how, int64_t value) {
    const bool withoutSign = how.letter == u'u' || how.letter == u'x' || how.letter == u'X';
    if (how.letter == u'c')
        appendCharacter(out, how, uint64_t(value));
    else if (value >= 0)
        appendInteger(out, how, false, uint64_t(value));
    else if (withoutSign)
        appendInteger(out, how, false, unsignedForm(how, value));
    else
        appendInteger(out, how, true, uint64_t(0) - uint64_t(value));
}

void appendArgument(std::u16string& out, const Conversion& how, uint64_t value) {
    if (how.letter == u'c')
        appendCharacter(out, how, value);
    else
        appendInteger(out, how, false, value);
}

void appendArgument(std::u16string& out, const Conversion& how, double value) {
    // 309 digits, a sign, a decimal point of a few bytes, and the widest precision.
    char text[widest + 330];
    const int precision = how.hasPrecision ? int(how.precision) : 6;
    const int written = std::snprintf(text, sizeof text, "%.*f", precision, value);
    if (written < 0) return;
    const std::u16string shown = toUtf16({text, std::min(size_t(written), sizeof text - 1)});
    const bool negative = !shown.empty() && shown.front() == u'-';
    const std::u16string_view body = std::u16string_view(shown).substr(negative);
    const bool number = !body.empty() && body.front() >= u'0' && body.front() <= u'9';  // not "inf", not "nan"
    appendPadded(out, how, negative ? u"-" : u"", body, how.zeroFilled && number);
}

void appendArgument(std::u16string& out, const Conversion& how, const std::u16string& value) {
    std::u16string_view shown = value;
    if (how.letter == u's' && how.hasPrecision) shown = shown.substr(0, how.precision);
    appendPadded(out, how, u"", shown, false);
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const char32_t point = takeUtf16(text);
        if (point < 0x80) {
            out += char(point);
        } else if (point < 0x800) {
            out += char(0xC0 | point >> 6);
            out += char(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            out += char(0xE0 | point >> 12);
            out += char(0x80 | (point >> 6 & 0x3F));
            out += char(0x80 | (point & 0x3F));
        } else {
            out += char(0xF0 | point >> 18);
            out += char(0x80 | (point >> 12 & 0x3F));
            out += char(0x80 | (point >> 6 & 0x3F));
            out += char(0x80 | (point & 0x3F));
        }
    }
    return out;
}

std::u16string toUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const char32_t point = takeUtf8(text);
        if (point < 0x10000) {
            out += char16_t(point);
        } else {
            out += char16_t(0xD800 + ((point - 0x10000) >> 10));
            out += char16_t(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::u16string_view textOf(const vex_char* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

std::u16string_view textOfField(const vex_char* field, size_t room) {
    if (!field) return {};
    return {field, size_t(std::find(field, field + room, u'\0') - field)};
}

void copyToField(vex_char* field, size_t room, std::u16string_view text) {
    if (!room) return;
    std::u16string_view kept = text.substr(0, room - 1);
    // The cut must not leave half of a pair behind.
    if (kept.size() < text.size() && !kept.empty() && isHighSurrogate(kept.back())) kept.remove_suffix(1);
    *std::copy(kept.begin(), kept.end(), field) = 0;
}

bool endsWithExtension(std::u16string_view path, std::string_view extension) {
    if (path.size() < extension.size()) return false;
    const std::u16string_view end = path.substr(path.size() - extension.size());
    return std::equal(end.begin(), end.end(), extension.begin(),
                      [](char16_t a, char b) { return lowered(a) == lowered(char16_t(uint8_t(b))); });
}

std::u16string formatText(std::u16string_view format, const std::vector<FormatArgument>& arguments) {
    std::u16string out;
    size_t used = 0;
    while (!format.empty()) {
        const size_t plain = std::min(format.find(u'%'), format.size());
        out += format.substr(0, plain);
        format.remove_prefix(plain);
        if (format.empty()) break;

        format.remove_prefix(1);
        std::u16string_view rest = format;
        Conversion how;
        if (takeIf(rest, u'%')) {
            out += u'%';
            format = rest;
        } else if (used < arguments.size() && takeConversion(rest, how)) {
            std::visit([&](const auto& value) { appendArgument(out, how, value); }, arguments[used++]);
            format = rest;
        } else {
            out += u'%';  // and the rest of it follows as plain text
        }
    }
    return out;
}

}  // namespace vexcap
