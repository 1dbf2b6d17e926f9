#include "platform/linux/date_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>

#include "base/text.h"
#include "platform/fake/allocations.h"
#include "platform/linux/system_testing.h"

// The C library loses the path that LOCPATH gives, with each locale that it opens.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:argz_\n"; }

namespace vexcap {
namespace date_text_test {

constexpr CivilTime monday = {2006, 11, 27, 12, 45, 56};
constexpr CivilTime inMarch = {2007, 3, 5, 0, 0, 0};

/// Locales compiled for the tests, as a machine has only those that its owner wanted.
class DateTextTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder.emplace();
        for (const char* const name : {"de_DE.UTF-8", "de_DE.ISO-8859-1", "ja_JP.EUC-JP", "th_TH.UTF-8"}) {
            const std::string all = name, language = all.substr(0, all.find('.'));
            const std::string command = "localedef --no-archive -i " + language + " -f " +
                                        all.substr(language.size() + 1) + " " + (folder->root / all).string();
            ASSERT_EQ(std::system(command.c_str()), 0) << command;
        }
    }
    static void TearDownTestSuite() { folder.reset(); }

    void SetUp() override {
        environment.set("LOCPATH", folder->root.c_str());
        for (const char* const name : {"LC_ALL", "LC_TIME", "LC_CTYPE", "LANG"}) environment.set(name, nullptr);
    }

    static std::u16string shortDate(IDateText& dates, const CivilTime& date, size_t room = 128) {
        std::u16string text(room, u'~');
        text.resize(dates.ShortDate(date, text));
        return text;
    }
    static std::u16string longDate(IDateText& dates, const CivilTime& date, size_t room = 128) {
        std::u16string text(room, u'~');
        text.resize(dates.LongDate(date, text));
        return text;
    }

    static inline std::optional<test::TestDirectory> folder;
    test::TestEnvironment environment;
};

TEST_F(DateTextTest, WithoutALocaleDatesAreThoseOfC) {
    LinuxDateText dates;
    EXPECT_EQ(shortDate(dates, monday), u"11/27/06");
    EXPECT_EQ(longDate(dates, monday), u"Monday, 27 November 2006");
    EXPECT_EQ(longDate(dates, inMarch), u"Monday, 5 March 2007");
}

TEST_F(DateTextTest, ALocaleThatTheSystemDoesNotHaveIsC) {
    environment.set("LC_ALL", "xx_YY.UTF-8");
    LinuxDateText dates;
    EXPECT_EQ(longDate(dates, monday), u"Monday, 27 November 2006");
}

TEST_F(DateTextTest, DatesAreInTheWordsOfTheLocale) {
    environment.set("LC_ALL", "de_DE.UTF-8");
    LinuxDateText german;
    EXPECT_EQ(shortDate(german, monday), u"27.11.2006");
    EXPECT_EQ(longDate(german, monday), u"Montag, 27 November 2006");
    EXPECT_EQ(longDate(german, inMarch), u"Montag, 5 M\u00E4rz 2007");
    environment.set("LC_ALL", "th_TH.UTF-8");
    LinuxDateText thai;
    EXPECT_EQ(shortDate(thai, monday), u"27/11/2549");
}

TEST_F(DateTextTest, TheCodesetOfTheLocaleDoesNotMatter) {
    environment.set("LC_ALL", "de_DE.ISO-8859-1");
    LinuxDateText german;
    EXPECT_EQ(longDate(german, inMarch), u"Montag, 5 M\u00E4rz 2007");
    environment.set("LC_ALL", "ja_JP.EUC-JP");
    LinuxDateText japanese;
    EXPECT_EQ(shortDate(japanese, monday), u"2006\u5E7411\u670827\u65E5");
    EXPECT_EQ(longDate(japanese, monday), u"\u6708\u66DC\u65E5, 27 11\u6708 2006");
}

TEST_F(DateTextTest, TheLocaleOfTimesCountsAndNotThatOfLetters) {
    environment.set("LANG", "C");
    environment.set("LC_CTYPE", "C");
    environment.set("LC_TIME", "de_DE.ISO-8859-1");
    LinuxDateText dates;
    EXPECT_EQ(longDate(dates, inMarch), u"Montag, 5 M\u00E4rz 2007");
}

TEST_F(DateTextTest, TheLocaleOfTheProcessStays) {
    environment.set("LC_ALL", "de_DE.UTF-8");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    LinuxDateText dates;
    longDate(dates, monday);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(::uselocale(nullptr), LC_GLOBAL_LOCALE);
}

TEST_F(DateTextTest, EveryDayOfTheWeekIsRight) {
    LinuxDateText dates;
    const char16_t* const names[] = {u"Monday", u"Tuesday",  u"Wednesday", u"Thursday",
                                     u"Friday", u"Saturday", u"Sunday"};
    for (uint32_t day = 0; day < 7; ++day)
        EXPECT_TRUE(longDate(dates, {2024, 2, 26 + day, 0, 0, 0}).starts_with(day < 4 ? names[day] : u"")) << day;
    for (uint32_t day = 0; day < 7; ++day)
        EXPECT_TRUE(longDate(dates, {2026, 6, 1 + day, 0, 0, 0}).starts_with(names[day])) << day;
    EXPECT_EQ(longDate(dates, {2024, 2, 29, 0, 0, 0}), u"Thursday, 29 February 2024");
    EXPECT_EQ(longDate(dates, {1970, 1, 1, 0, 0, 0}), u"Thursday, 1 January 1970");
}

TEST_F(DateTextTest, AsMuchAsFitsIsWritten) {
    environment.set("LC_ALL", "de_DE.UTF-8");
    LinuxDateText dates;
    const std::u16string whole = u"Montag, 27 November 2006";
    for (size_t room = 0; room <= whole.size() + 1; ++room) {
        EXPECT_EQ(longDate(dates, monday, room), whole.substr(0, room)) << room;
        EXPECT_EQ(shortDate(dates, monday, room), std::u16string(u"27.11.2006").substr(0, room)) << room;
    }
    EXPECT_EQ(dates.LongDate(monday, {}), 0u);
    std::u16string guarded(10, u'~');
    EXPECT_EQ(dates.LongDate(monday, std::span(guarded).first(6)), 6u);
    EXPECT_EQ(guarded, u"Montag~~~~");
}

TEST_F(DateTextTest, TheEndsOfEveryClockCanBeTold) {
    LinuxDateText dates;
    EXPECT_EQ(longDate(dates, civilTime(0)), u"Monday, 1 January 1601");
    EXPECT_EQ(longDate(dates, {30828, 9, 14, 0, 0, 0}), u"Thursday, 14 September 30828");
    EXPECT_EQ(longDate(dates, {0, 1, 1, 0, 0, 0}), u"Saturday, 1 January 0");
    EXPECT_EQ(longDate(dates, {9999, 12, 31, 0, 0, 0}), u"Friday, 31 December 9999");
    EXPECT_NE(shortDate(dates, {30828, 9, 14, 0, 0, 0}), u"");
    longDate(dates, civilTime(UINT64_MAX));
    longDate(dates, {-32767, 1, 1, 0, 0, 0});
}

TEST_F(DateTextTest, ADateThatNoCalendarHasIsNone) {
    LinuxDateText dates;
    for (const CivilTime& none :
         {CivilTime{2006, 0, 1, 0, 0, 0}, CivilTime{2006, 13, 1, 0, 0, 0}, CivilTime{2006, 1, 0, 0, 0, 0},
          CivilTime{2006, 1, 32, 0, 0, 0}, CivilTime{2006, 2, 29, 0, 0, 0}, CivilTime{INT_MIN, 1, 1, 0, 0, 0},
          CivilTime{INT_MAX, 1, 1, 0, 0, 0}, CivilTime{2006, UINT_MAX, UINT_MAX, 0, 0, 0},
          CivilTime{2006, 257, 1, 0, 0, 0}, CivilTime{2006, 1, 257, 0, 0, 0}}) {
        EXPECT_EQ(shortDate(dates, none), u"") << none.year << ' ' << none.month << ' ' << none.day;
        EXPECT_EQ(longDate(dates, none), u"") << none.year << ' ' << none.month << ' ' << none.day;
    }
}

TEST_F(DateTextTest, ATellingTakesNoMemory) {
    for (const char* const name : {"C", "de_DE.UTF-8", "de_DE.ISO-8859-1", "ja_JP.EUC-JP", "th_TH.UTF-8"}) {
        environment.set("LC_ALL", name);
        LinuxDateText dates;
        vex_char text[128];
        const size_t before = allocations();
        EXPECT_GT(dates.ShortDate(monday, text), 0u);
        EXPECT_GT(dates.LongDate(monday, text), 0u);
        EXPECT_EQ(allocations(), before) << name;
    }
}

TEST_F(DateTextTest, AnyThreadMayAsk) {
    environment.set("LC_ALL", "th_TH.UTF-8");
    LinuxDateText dates;
    const std::u16string want = longDate(dates, monday);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 200; ++turn) EXPECT_EQ(longDate(dates, monday), want);
        });
    for (std::thread& thread : threads) thread.join();
}

}  // namespace date_text_test
}  // namespace vexcap
