#include "overlay/text/date_line.h"

#include <vexcap/overlay.h>

#include <algorithm>

namespace vexcap {
namespace {

constexpr size_t longestDate = 127;  // without its time of day

/// Two digits at least.
size_t writeNumber(uint32_t number, vex_char* out) {
    vex_char digits[10];
    size_t count = 0;
    for (; number != 0 || count < 2; number /= 10) digits[count++] = vex_char(u'0' + number % 10);
    std::reverse_copy(digits, digits + count, out);
    return count;
}

/// Three numbers with a sign between them.
size_t writeTriple(uint32_t first, uint32_t second, uint32_t third, vex_char between, vex_char* out) {
    size_t length = writeNumber(first, out);
    for (const uint32_t number : {second, third}) {
        out[length++] = between;
        length += writeNumber(number, out + length);
    }
    return length;
}

size_t writeDate(IDateText& dates, const CivilTime& moment, int32_t format, std::span<vex_char> out) {
    switch (format) {
        case VEX_DATE_SHORT:
            return dates.ShortDate(moment, out);
        case VEX_DATE_LONG:
            return dates.LongDate(moment, out);
        case VEX_DATE_NUMERIC:
            return writeTriple(uint16_t(moment.year), moment.month, moment.day, u'-', out.data());
        default:
            return 0;
    }
}

}  // namespace

size_t writeDateLine(IDateText& dates, const CivilTime& moment, int32_t format,
                     std::span<vex_char, dateLineCapacity> out) {
    size_t length = std::min(writeDate(dates, moment, format, out.first(longestDate)), longestDate);
    if (length == 0) return 0;
    out[length++] = u' ';
    return length + writeTriple(moment.hour, moment.minute, moment.second, u':', out.data() + length);
}

}  // namespace vexcap
