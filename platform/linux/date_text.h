// Dates in the words of the environment's locale.
#pragma once

#include <locale.h>

#include "platform/date_text.h"

namespace vexcap {

/// The short date is the locale's own; the long one is day of the week, day, month and year, in this order, with its
/// names. A date that no calendar has cannot be told.
class LinuxDateText final : public IDateText {
public:
    /// The locale is that of LC_ALL, LC_TIME or LANG at this moment, and "C" where the system does not have it.
    LinuxDateText();
    ~LinuxDateText() override;
    LinuxDateText(const LinuxDateText&) = delete;
    LinuxDateText& operator=(const LinuxDateText&) = delete;
    size_t ShortDate(const CivilTime& date, std::span<vex_char> out) override;
    size_t LongDate(const CivilTime& date, std::span<vex_char> out) override;

private:
    const locale_t locale;  ///< Null if not even "C" could be had.
};

}  // namespace vexcap
