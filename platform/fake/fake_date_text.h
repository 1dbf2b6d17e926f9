// Dates in a locale of its own.
#pragma once

#include <algorithm>
#include <atomic>

#include "base/text.h"
#include "platform/date_text.h"

namespace vexcap {

/// Short: "27.11.2006"; long: "day 27 of month 11 in 2006".
class FakeDateText final : public IDateText {
public:
    size_t ShortDate(const CivilTime& date, std::span<vex_char> out) override {
        return write(formatText(u"%u.%u.%d", arguments(date)), out);
    }
    size_t LongDate(const CivilTime& date, std::span<vex_char> out) override {
        return write(formatText(u"day %u of month %u in %d", arguments(date)), out);
    }

    std::atomic<bool> missing = false;  ///< The locale cannot tell.

private:
    static std::vector<FormatArgument> arguments(const CivilTime& date) {
        return {uint64_t(date.day), uint64_t(date.month), int64_t(date.year)};
    }
    size_t write(const std::u16string& text, std::span<vex_char> out) const {
        if (missing) return 0;
        return size_t(std::copy_n(text.begin(), std::min(text.size(), out.size()), out.begin()) - out.begin());
    }
};

}  // namespace vexcap
