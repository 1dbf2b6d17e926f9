#include "platform/linux/date_text.h"

#include <wchar.h>

#include <array>
#include <chrono>
#include <ctime>
#include <optional>

namespace vexcap {
namespace {

locale_t environmentLocale() {
    const locale_t locale = ::newlocale(LC_TIME_MASK, "", nullptr);
    return locale ? locale : ::newlocale(LC_TIME_MASK, "C", nullptr);
}

/// Nothing for a date that no calendar has.
std::optional<std::tm> calendarDate(const CivilTime& date) {
    using namespace std::chrono;
    if (date.year < int(year::min()) || date.year > int(year::max()) || date.month > 12 || date.day > 31) return {};
    const year_month_day known(year(date.year), month(date.month), day(date.day));
    if (!known.ok()) return {};
    std::tm result{};
    result.tm_year = date.year - 1900;
    result.tm_mon = int(date.month) - 1;
    result.tm_mday = int(date.day);
    result.tm_wday = int(weekday(known).c_encoding());
    result.tm_yday = int((sys_days(known) - sys_days(known.year() / January / 1)).count());
    return result;
}

/// As much as fits; no half of a pair of surrogates.
size_t toUtf16(std::span<const wchar_t> text, std::span<vex_char> out) {
    size_t length = 0;
    for (const wchar_t each : text) {
        const auto code = uint32_t(each);
        const size_t units = code < 0x10000 ? 1 : 2;
        if (out.size() - length < units) break;
        if (units == 2) out[length++] = vex_char(0xD800 + ((code - 0x10000) >> 10));
        out[length++] = vex_char(units == 2 ? 0xDC00 + (code & 0x3FF) : code);
    }
    return length;
}

/// The wide names of the locale are Unicode whatever its codeset is, so nothing has to be converted.
size_t write(locale_t locale, const wchar_t* format, const CivilTime& date, std::span<vex_char> out) {
    const std::optional<std::tm> calendar = calendarDate(date);
    if (!locale || !calendar) return 0;
    std::array<wchar_t, 256> text;
    const size_t length = ::wcsftime_l(text.data(), text.size(), format, &*calendar, locale);
    return toUtf16(std::span(text).first(length), out);
}

}  // namespace

LinuxDateText::LinuxDateText() : locale(environmentLocale()) {
    // What the C library makes when a locale is first used is made now.
    std::array<vex_char, 1> unused;
    ShortDate({2000, 1, 1, 0, 0, 0}, unused);
    LongDate({2000, 1, 1, 0, 0, 0}, unused);
}

LinuxDateText::~LinuxDateText() {
    if (locale) ::freelocale(locale);
}

size_t LinuxDateText::ShortDate(const CivilTime& date, std::span<vex_char> out) {
    return write(locale, L"%x", date, out);
}

size_t LinuxDateText::LongDate(const CivilTime& date, std::span<vex_char> out) {
    return write(locale, L"%A, %-d %B %Y", date, out);
}

}  // namespace vexcap
