// Tests of schedules that are edited field by field.
//
//   public member                         cases
//   the record and the flag               CronObject.*
//   Cron(text), convert, valid, block     CronConvert.*
//   to_str                                CronToStr.*
//   Minute (both)                         CronMinute.*
//   Hour (both)                           CronHour.*
//   IsSubDaily                            CronSubDaily.*
//   SetIntraDailyHours                    CronIntraDaily.*
//   Days (both)                           CronDays.*
//   DaysOfWeek (both)                     CronDaysOfWeek.*
//   Months                                CronMonths.*
//   LastDayOfMonth (both)                 CronLastDay.*
//   operations that allocate              CronOutOfMemory.*
//   every operation                       CronRandom.* (against a model)
//   the example of the header             CronUsage.*

#include "support/allocation.hpp"
#include "support/cron_model.hpp"
#include "support/texts.hpp"

#include <nuriccl/cron.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::Cron;

constexpr std::uint32_t EVERY = 0xffffffff;
constexpr std::uint32_t EVERY_MINUTE_HIGH = 0x0fffffff;

const std::string PLAIN_TEXT = "1 2 3 4 5";
const cronblk PLAIN = {1U << 1, 0, 1U << 2, 1U << 3, 1U << 4, 1U << 5};

// Minutes and hours of both halves, the last day of the month, and stars.
const std::string RICH_TEXT = "0,31,32,59 8-18/2 L,15,31 * mon-fri";
const cronblk RICH = {0x80000001, 0x08000001, 0x00055500, 0x80008001, EVERY, 0x3e};

std::uint32_t bits(std::initializer_list<unsigned int> values) {
    std::uint32_t mask = 0;
    for (const unsigned int value : values) {
        mask |= 1U << value;
    }
    return mask;
}

cronblk with_minutes(cronblk record, std::uint32_t low, std::uint32_t high) {
    record.minutes_low = low;
    record.minutes_high = high;
    return record;
}

cronblk with_hours(cronblk record, std::uint32_t hours) {
    record.hours = hours;
    return record;
}

cronblk with_days(cronblk record, std::uint32_t days) {
    record.days = days;
    return record;
}

cronblk with_weekdays(cronblk record, std::uint32_t weekdays) {
    record.weekdays = weekdays;
    return record;
}

// A schedule with these minutes and hours.
Cron running(const std::string& minutes, const std::string& hours) {
    Cron cron(minutes + ' ' + hours + " 3 4 5");
    EXPECT_TRUE(cron.valid()) << minutes << ' ' << hours;
    return cron;
}

// Whether the days or weekdays of a text were set; otherwise the exception must be the right one
// and leave the schedule as it was.
bool sets(Cron& cron, void (Cron::*set)(const std::string&), const std::string& text) {
    const cronblk earlier = cron.block();
    try {
        (cron.*set)(text);
        return true;
    } catch (const std::invalid_argument& error) {
        const std::string words = "bitset::_M_copy_from_ptr";
        EXPECT_EQ(std::string(error.what()).substr(0, words.size()), words);
    }
    EXPECT_EQ(cron.block(), earlier);
    return false;
}

bool sets_days(Cron& cron, const std::string& text) { return sets(cron, &Cron::Days, text); }

bool sets_weekdays(Cron& cron, const std::string& text) {
    return sets(cron, &Cron::DaysOfWeek, text);
}

// The mask that a text of days makes of other days.
std::uint32_t days_of(const std::string& text) {
    Cron cron(RICH_TEXT);
    EXPECT_TRUE(sets_days(cron, text)) << text;
    EXPECT_EQ(cron.block(), with_days(RICH, cron.block().days)) << text;
    return cron.block().days;
}

std::uint32_t weekdays_of(const std::string& text) {
    Cron cron(RICH_TEXT);
    EXPECT_TRUE(sets_weekdays(cron, text)) << text;
    EXPECT_EQ(cron.block(), with_weekdays(RICH, cron.block().weekdays)) << text;
    return cron.block().weekdays;
}

// The hours that an interval sets; the result must tell whether there are any.
std::uint32_t hours_of(const std::string& minutes, const IntervalSet& interval) {
    Cron cron("59 23 * * *"); // neither the minute nor the hour of any case
    const bool any = cron.SetIntraDailyHours(minutes, interval);
    EXPECT_EQ(any, cron.block().hours != 0);
    return cron.block().hours;
}

std::string repeated(std::size_t count, char c) { return std::string(count, c); }

} // namespace

// The record and the flag

TEST(CronObject, IsTheRecordFollowedByTheFlag) {
    static_assert(!std::is_polymorphic_v<Cron>);
    static_assert(std::is_same_v<decltype(std::declval<const Cron&>().block()), const cronblk&>);
    EXPECT_EQ(sizeof(Cron), sizeof(cronblk) + alignof(cronblk));
    const Cron cron(RICH_TEXT);
    EXPECT_EQ(static_cast<const void*>(&cron.block()), static_cast<const void*>(&cron));
    bool flag = false;
    std::memcpy(&flag, reinterpret_cast<const char*>(&cron) + sizeof(cronblk), sizeof flag);
    EXPECT_TRUE(flag);
}

TEST(CronObject, IsCopiedWhole) {
    const Cron cron(RICH_TEXT);
    Cron copy = cron;
    EXPECT_EQ(copy.block(), RICH);
    EXPECT_TRUE(copy.valid());
    copy.convert(PLAIN_TEXT);
    EXPECT_EQ(cron.block(), RICH);
    copy.convert("");
    EXPECT_TRUE(cron.valid());
    copy = cron;
    EXPECT_EQ(copy.block(), RICH);
    EXPECT_TRUE(copy.valid());
}

// Reading

TEST(CronConvert, MakesANewObjectFromASchedule) {
    const Cron plain(PLAIN_TEXT);
    EXPECT_TRUE(plain.valid());
    EXPECT_EQ(plain.block(), PLAIN);
    const Cron rich(RICH_TEXT);
    EXPECT_TRUE(rich.valid());
    EXPECT_EQ(rich.block(), RICH);
    const Cron always("* * * * *");
    EXPECT_TRUE(always.valid());
    EXPECT_EQ(always.block(), (cronblk{EVERY, EVERY_MINUTE_HIGH, EVERY, EVERY, EVERY, EVERY}));
}

TEST(CronConvert, MakesAnEmptyNewObjectFromAnythingElse) {
    for (const std::string text :
         {"", " ", "x", "1 2 3 4", "1 2 3 4 5 6", "60 2 3 4 5", "1 2 3 4 8"}) {
        const Cron cron(text);
        EXPECT_FALSE(cron.valid()) << text;
        EXPECT_EQ(cron.block(), cronblk{}) << text;
    }
}

TEST(CronConvert, ReplacesTheWholeRecord) {
    Cron cron(RICH_TEXT);
    EXPECT_TRUE(cron.convert(PLAIN_TEXT));
    EXPECT_TRUE(cron.valid());
    EXPECT_EQ(cron.block(), PLAIN);
    EXPECT_TRUE(cron.convert("- - - - -"));
    EXPECT_TRUE(cron.valid());
    EXPECT_EQ(cron.block(), cronblk{});
}

TEST(CronConvert, OfTheEmptyTextIsInvalidAndKeepsTheRecord) {
    Cron cron(RICH_TEXT);
    EXPECT_FALSE(cron.convert(""));
    EXPECT_FALSE(cron.valid());
    EXPECT_EQ(cron.block(), RICH);
    EXPECT_FALSE(cron.convert(""));
    EXPECT_FALSE(cron.valid());
    EXPECT_EQ(cron.block(), RICH);
}

TEST(CronConvert, OfATextThatIsNoScheduleIsInvalidAndKeepsTheRecord) {
    for (const std::string text : {" ", "x", "1 2 3 4", "1 2 3 4 5 6", "60 2 3 4 5", "1 24 3 4 5",
                                   "1 2 32 4 5", "1 2 3 13 5", "1 2 3 4 8", "1 2 3 4 5\n"}) {
        Cron cron(RICH_TEXT);
        EXPECT_FALSE(cron.convert(text)) << text;
        EXPECT_FALSE(cron.valid()) << text;
        EXPECT_EQ(cron.block(), RICH) << text;
    }
}

TEST(CronConvert, MakesAnInvalidObjectValidAgain) {
    Cron cron("");
    EXPECT_TRUE(cron.convert(PLAIN_TEXT));
    EXPECT_TRUE(cron.valid());
    EXPECT_FALSE(cron.convert("x"));
    EXPECT_TRUE(cron.convert(RICH_TEXT));
    EXPECT_TRUE(cron.valid());
    EXPECT_EQ(cron.block(), RICH);
}

TEST(CronConvert, AloneSetsTheFlag) {
    for (const std::string text : {"", "1 2 3 4 5"}) {
        Cron cron(text);
        cron.Minute("0");
        cron.Minute("x");
        cron.Hour("0");
        cron.Hour("x");
        cron.Days("1");
        cron.DaysOfWeek("1");
        EXPECT_THROW(cron.Days("x"), std::invalid_argument);
        EXPECT_THROW(cron.DaysOfWeek("x"), std::invalid_argument);
        cron.Months(2);
        cron.LastDayOfMonth(true);
        cron.SetIntraDailyHours("0", IntervalSet{1, 2, 0});
        cron.SetIntraDailyHours("x", IntervalSet{1, 2, 1});
        EXPECT_EQ(cron.valid(), !text.empty());
    }
}

// Printing

TEST(CronToStr, IsTheTextOfTheRecord) {
    EXPECT_EQ(Cron(PLAIN_TEXT).to_str(), PLAIN_TEXT);
    EXPECT_EQ(Cron(" 1\t2  3 apr\tFRI ").to_str(), PLAIN_TEXT);
    EXPECT_EQ(Cron("* * * * *").to_str(), "* * * * *");
    const Cron rich(RICH_TEXT);
    EXPECT_EQ(rich.to_str(), pln_crn2str(&rich.block()));
    EXPECT_EQ(Cron(rich.to_str()).block(), RICH);
}

TEST(CronToStr, IsTheSameOfAnInvalidSchedule) {
    EXPECT_EQ(Cron("").to_str(), "- - - - -");
    Cron cron(PLAIN_TEXT);
    cron.convert("");
    EXPECT_EQ(cron.to_str(), PLAIN_TEXT);
    cron.convert("x");
    EXPECT_EQ(cron.to_str(), PLAIN_TEXT);
}

TEST(CronToStr, ShowsWhatWasSet) {
    Cron cron("");
    cron.Minute("5");
    cron.Hour("*");
    cron.Days("01");
    cron.LastDayOfMonth(true);
    cron.Months(1U << 12);
    cron.DaysOfWeek("1000001");
    EXPECT_EQ(Cron(cron.to_str()).block(), cron.block());
    EXPECT_EQ(cron.block(), (cronblk{1U << 5, 0, EVERY, bits({0, 31}), 1U << 12, bits({0, 6})}));
}

// Minutes

TEST(CronMinute, IsTheLowestOneSet) {
    for (unsigned int first = 0; first < 60; ++first) {
        const std::string text = std::to_string(first);
        EXPECT_EQ(running(text, "1").Minute(), static_cast<int>(first));
        EXPECT_EQ(running(text + "-59", "1").Minute(), static_cast<int>(first));
        for (unsigned int second = first; second < 60; ++second) {
            EXPECT_EQ(running(text + ',' + std::to_string(second), "1").Minute(),
                      static_cast<int>(first));
        }
    }
    EXPECT_EQ(running("*", "1").Minute(), 0);
}

TEST(CronMinute, IsZeroWithoutAny) {
    EXPECT_EQ(running("-", "1").Minute(), 0);
    EXPECT_EQ(Cron("").Minute(), 0);
}

TEST(CronMinute, SetsTheMinutesAlone) {
    Cron cron(RICH_TEXT);
    EXPECT_NE(cron.Minute("31"), 0);
    EXPECT_EQ(cron.block(), with_minutes(RICH, 1U << 31, 0));
    EXPECT_NE(cron.Minute("32"), 0);
    EXPECT_EQ(cron.block(), with_minutes(RICH, 0, 1));
    EXPECT_NE(cron.Minute("59,0,30-33"), 0);
    EXPECT_EQ(cron.block(), with_minutes(RICH, 0xc0000001, 0x08000003));
    EXPECT_NE(cron.Minute("*"), 0);
    EXPECT_EQ(cron.block(), with_minutes(RICH, EVERY, EVERY_MINUTE_HIGH));
    EXPECT_NE(cron.Minute("-"), 0);
    EXPECT_EQ(cron.block(), with_minutes(RICH, 0, 0));
}

TEST(CronMinute, KeepsTheMinutesWhenTheFieldIsNone) {
    for (const std::string field :
         {"", " ", "60", "x", "5-4", "1,", "*/0", "5 6", " 5", "L", "mon"}) {
        Cron cron(RICH_TEXT);
        EXPECT_EQ(cron.Minute(field), 0) << field;
        EXPECT_EQ(cron.block(), RICH) << field;
    }
}

TEST(CronMinute, IsReadAsALongField) {
    for (const std::string& field : texts::over(std::string("0159-,*/"), 4)) {
        Cron cron(RICH_TEXT);
        cronblk expected = RICH;
        const int result = pln_ent2msk64(&expected.minutes_low, &expected.minutes_high, field, 60);
        ASSERT_EQ(cron.Minute(field), result) << field;
        ASSERT_EQ(cron.block(), expected) << field;
    }
}

// Hours

TEST(CronHour, IsTheLowestOneSet) {
    for (unsigned int first = 0; first < 24; ++first) {
        const std::string text = std::to_string(first);
        EXPECT_EQ(running("1", text).Hour(), static_cast<int>(first));
        EXPECT_EQ(running("1", text + "-23").Hour(), static_cast<int>(first));
        for (unsigned int second = first; second < 24; ++second) {
            EXPECT_EQ(running("1", text + ',' + std::to_string(second)).Hour(),
                      static_cast<int>(first));
        }
    }
}

TEST(CronHour, Is24WhenAllBitsAreSet) {
    EXPECT_EQ(running("1", "*").Hour(), 24);
    Cron cron(PLAIN_TEXT);
    cron.Hour("*");
    EXPECT_EQ(cron.Hour(), 24);
}

TEST(CronHour, IsZeroWhenEveryHourIsSetButNotAllBits) {
    EXPECT_EQ(running("1", "0-23").Hour(), 0);
    EXPECT_EQ(running("1", "*/1").Hour(), 0);
    EXPECT_EQ(running("1", "*,*").Hour(), 0);
}

TEST(CronHour, IsZeroWithoutAny) {
    EXPECT_EQ(running("1", "-").Hour(), 0);
    EXPECT_EQ(Cron("").Hour(), 0);
}

TEST(CronHour, SetsTheHoursAlone) {
    Cron cron(RICH_TEXT);
    EXPECT_NE(cron.Hour("0,23"), 0);
    EXPECT_EQ(cron.block(), with_hours(RICH, bits({0, 23})));
    EXPECT_NE(cron.Hour("*"), 0);
    EXPECT_EQ(cron.block(), with_hours(RICH, EVERY));
    EXPECT_NE(cron.Hour("*/1"), 0);
    EXPECT_EQ(cron.block(), with_hours(RICH, 0x00ffffff));
    EXPECT_NE(cron.Hour("8-18/2"), 0);
    EXPECT_EQ(cron.block(), with_hours(RICH, bits({8, 10, 12, 14, 16, 18})));
    EXPECT_NE(cron.Hour("-"), 0);
    EXPECT_EQ(cron.block(), with_hours(RICH, 0));
}

TEST(CronHour, KeepsTheHoursWhenTheFieldIsNone) {
    for (const std::string field :
         {"", " ", "24", "x", "5-4", "1,", "*/0", "5 6", " 5", "L", "mon"}) {
        Cron cron(RICH_TEXT);
        EXPECT_EQ(cron.Hour(field), 0) << field;
        EXPECT_EQ(cron.block(), RICH) << field;
    }
}

TEST(CronHour, IsReadAsAShortField) {
    for (const std::string& field : texts::over(std::string("0234-,*/"), 4)) {
        Cron cron(RICH_TEXT);
        cronblk expected = RICH;
        const int result = pln_ent2msk(&expected.hours, field, 0, 23);
        ASSERT_EQ(cron.Hour(field), result) << field;
        ASSERT_EQ(cron.block(), expected) << field;
    }
}

// More than once a day

TEST(CronSubDaily, IsNotOneHourAndOneMinute) {
    for (unsigned int minute = 0; minute < 60; ++minute) {
        for (unsigned int hour = 0; hour < 24; ++hour) {
            EXPECT_FALSE(running(std::to_string(minute), std::to_string(hour)).IsSubDaily());
        }
    }
}

TEST(CronSubDaily, IsTwoHours) {
    for (unsigned int first = 0; first < 24; ++first) {
        for (unsigned int second = first + 1; second < 24; ++second) {
            const std::string hours = std::to_string(first) + ',' + std::to_string(second);
            EXPECT_TRUE(running("5", hours).IsSubDaily()) << hours;
            EXPECT_TRUE(running("-", hours).IsSubDaily()) << hours;
        }
    }
    EXPECT_TRUE(running("5", "*").IsSubDaily());
    EXPECT_TRUE(running("5", "0-23").IsSubDaily());
}

TEST(CronSubDaily, IsTwoMinutesOfEitherWord) {
    for (unsigned int first = 0; first < 60; ++first) {
        for (unsigned int second = first + 1; second < 60; ++second) {
            const std::string minutes = std::to_string(first) + ',' + std::to_string(second);
            EXPECT_TRUE(running(minutes, "5").IsSubDaily()) << minutes;
            EXPECT_TRUE(running(minutes, "-").IsSubDaily()) << minutes;
        }
    }
    EXPECT_TRUE(running("*", "5").IsSubDaily());
}

TEST(CronSubDaily, DoesNotAddHoursToMinutes) {
    EXPECT_FALSE(running("-", "-").IsSubDaily());
    EXPECT_FALSE(running("-", "5").IsSubDaily());
    EXPECT_FALSE(running("5", "-").IsSubDaily());
    EXPECT_FALSE(Cron("0 0 * * *").IsSubDaily()); // days do not matter
    EXPECT_FALSE(Cron("").IsSubDaily());
}

// Intervals

TEST(CronIntraDaily, IsEveryStepFromTheStartToTheEnd) {
    EXPECT_EQ(hours_of("0", {8, 18, 2}), bits({8, 10, 12, 14, 16, 18}));
    EXPECT_EQ(hours_of("0", {8, 17, 2}), bits({8, 10, 12, 14, 16}));
    EXPECT_EQ(hours_of("0", {9, 17, 1}), bits({9, 10, 11, 12, 13, 14, 15, 16, 17}));
    EXPECT_EQ(hours_of("0", {0, 23, 1}), 0x00ffffffU);
    EXPECT_EQ(hours_of("0", {0, 23, 23}), bits({0, 23}));
    EXPECT_EQ(hours_of("0", {0, 1, 1}), bits({0, 1}));
}

TEST(CronIntraDaily, RunsPastMidnight) {
    EXPECT_EQ(hours_of("0", {22, 2, 2}), bits({22, 0, 2}));
    EXPECT_EQ(hours_of("30", {22, 2, 2}), bits({22, 0}));
    EXPECT_EQ(hours_of("0", {23, 0, 1}), bits({23, 0}));
    EXPECT_EQ(hours_of("30", {23, 0, 1}), bits({23}));
    EXPECT_EQ(hours_of("0", {21, 4, 3}), bits({21, 0, 3}));
    EXPECT_EQ(hours_of("0", {1, 0, 1}), 0x00ffffffU);
    EXPECT_EQ(hours_of("30", {1, 0, 1}), 0x00fffffeU);
    EXPECT_EQ(hours_of("0", {5, 4, 23}), bits({5, 4}));
    EXPECT_EQ(hours_of("0", {5, 4, 24}), bits({5}));
    EXPECT_EQ(hours_of("0", {18, 17, 12}), bits({18, 6}));
}

TEST(CronIntraDaily, FromMidnightToMidnightIsTheWholeDay) {
    for (const std::string minutes : {"0", "30", "0,30", "-", "*"}) {
        EXPECT_EQ(hours_of(minutes, {0, 0, 6}), bits({0, 6, 12, 18})) << minutes;
        EXPECT_EQ(hours_of(minutes, {0, 0, 1}), 0x00ffffffU) << minutes;
        EXPECT_EQ(hours_of(minutes, {0, 0, 23}), bits({0, 23})) << minutes;
        EXPECT_EQ(hours_of(minutes, {0, 0, 24}), bits({0})) << minutes;
    }
}

TEST(CronIntraDaily, HasTheEndHourOnlyWithMinuteZero) {
    for (const std::string minutes : {"0", "0,30", "*", "0-59/7", "0,59"}) {
        EXPECT_EQ(hours_of(minutes, {8, 10, 1}), bits({8, 9, 10})) << minutes;
        EXPECT_EQ(hours_of(minutes, {8, 8, 1}), bits({8})) << minutes;
    }
    for (const std::string minutes : {"30", "1", "32", "1-59", "59", "-"}) {
        EXPECT_EQ(hours_of(minutes, {8, 10, 1}), bits({8, 9})) << minutes;
        EXPECT_EQ(hours_of(minutes, {8, 8, 1}), 0U) << minutes;
        EXPECT_EQ(hours_of(minutes, {0, 1, 1}), bits({0})) << minutes;
    }
}

TEST(CronIntraDaily, TakesHoursAbove23As23) {
    for (const int hour : {24, 25, 47, 48, 100, 127, 128, 255}) {
        const auto high = static_cast<std::uint8_t>(hour);
        EXPECT_EQ(hours_of("0", {high, high, 1}), bits({23})) << hour;
        EXPECT_EQ(hours_of("30", {high, high, 1}), 0U) << hour;
        EXPECT_EQ(hours_of("0", {20, high, 1}), bits({20, 21, 22, 23})) << hour;
        EXPECT_EQ(hours_of("30", {20, high, 1}), bits({20, 21, 22})) << hour;
        EXPECT_EQ(hours_of("0", {high, 1, 1}), bits({23, 0, 1})) << hour;
        EXPECT_EQ(hours_of("0", {high, 0, 1}), bits({23, 0})) << hour;
        EXPECT_EQ(hours_of("0", {0, high, 8}), bits({0, 8, 16})) << hour;
    }
}

TEST(CronIntraDaily, MayHaveASingleRun) {
    for (const int step : {24, 25, 100, 127, 128, 232, 254, 255}) {
        EXPECT_EQ(hours_of("0", {7, 6, static_cast<std::uint8_t>(step)}), bits({7})) << step;
        EXPECT_EQ(hours_of("0", {0, 0, static_cast<std::uint8_t>(step)}), bits({0})) << step;
    }
}

TEST(CronIntraDaily, WithoutAStepHasNoHour) {
    for (const std::string minutes : {"0", "30", "x"}) {
        Cron cron(RICH_TEXT);
        EXPECT_FALSE(cron.SetIntraDailyHours(minutes, IntervalSet{0, 0, 0}));
        EXPECT_EQ(cron.block().hours, 0U);
    }
    Cron cron(RICH_TEXT);
    EXPECT_FALSE(cron.SetIntraDailyHours("7", IntervalSet{8, 18, 0}));
    EXPECT_EQ(cron.block(), with_hours(with_minutes(RICH, 1U << 7, 0), 0));
}

TEST(CronIntraDaily, SetsTheMinutesAndReplacesTheHours) {
    Cron cron(RICH_TEXT);
    EXPECT_TRUE(cron.SetIntraDailyHours("0,40", IntervalSet{22, 2, 2}));
    EXPECT_EQ(cron.block(), with_hours(with_minutes(RICH, 1, 1U << 8), bits({22, 0, 2})));
    EXPECT_FALSE(cron.SetIntraDailyHours("40", IntervalSet{7, 7, 1}));
    EXPECT_EQ(cron.block(), with_hours(with_minutes(RICH, 0, 1U << 8), 0));
}

TEST(CronIntraDaily, KeepsTheMinutesWhenTheirTextIsNone) {
    for (const std::string minutes : {"", "60", "x", "0,", " 0", "5-4"}) {
        Cron at_zero("0,30 5 3 4 5");
        EXPECT_TRUE(at_zero.SetIntraDailyHours(minutes, IntervalSet{22, 2, 2}));
        EXPECT_EQ(at_zero.block().minutes_low, bits({0, 30})) << minutes;
        EXPECT_EQ(at_zero.block().minutes_high, 0U) << minutes;
        EXPECT_EQ(at_zero.block().hours, bits({22, 0, 2})) << minutes;

        Cron later("30,45 5 3 4 5");
        EXPECT_TRUE(later.SetIntraDailyHours(minutes, IntervalSet{22, 2, 2}));
        EXPECT_EQ(later.block().minutes_low, bits({30})) << minutes;
        EXPECT_EQ(later.block().minutes_high, 1U << 13) << minutes;
        EXPECT_EQ(later.block().hours, bits({22, 0})) << minutes;
    }
}

// Every hour is not the same as all bits.
TEST(CronIntraDaily, NeverSetsAllBits) {
    Cron cron(PLAIN_TEXT);
    EXPECT_TRUE(cron.SetIntraDailyHours("0", IntervalSet{0, 0, 1}));
    EXPECT_EQ(cron.Hour(), 0);
    EXPECT_TRUE(cron.IsSubDaily());
    EXPECT_EQ(cron.to_str(), "0 0-23 3 4 5");
}

namespace {

void expect_model_of_intervals(const std::vector<int>& hours, const std::vector<int>& steps) {
    for (const std::string minutes : {"0", "30", "0,30", "-", "x"}) {
        Cron cron(RICH_TEXT);
        cronblk expected = RICH;
        for (const int start : hours) {
            for (const int end : hours) {
                for (const int step : steps) {
                    const IntervalSet interval{static_cast<std::uint8_t>(start),
                                               static_cast<std::uint8_t>(end),
                                               static_cast<std::uint8_t>(step)};
                    const bool any = cron_model::set_intra_daily_hours(expected, minutes, interval);
                    ASSERT_EQ(cron.SetIntraDailyHours(minutes, interval), any)
                        << minutes << ' ' << start << ' ' << end << ' ' << step;
                    ASSERT_EQ(cron.block(), expected)
                        << minutes << ' ' << start << ' ' << end << ' ' << step;
                }
            }
        }
    }
}

} // namespace

TEST(CronIntraDaily, OfEverySmallIntervalIsThatOfTheModel) {
    std::vector<int> values;
    for (int value = 0; value <= 30; ++value) {
        values.push_back(value);
    }
    expect_model_of_intervals(values, values);
}

TEST(CronIntraDaily, OfLargeNumbersIsThatOfTheModel) {
    std::vector<int> values = {0, 1, 2, 12, 22, 23, 24, 254, 255};
    for (int value = 31; value < 254; value += 9) {
        values.push_back(value);
    }
    std::vector<int> steps;
    for (int step = 0; step <= 255; step += step < 50 || step > 230 ? 1 : 10) {
        steps.push_back(step);
    }
    expect_model_of_intervals({0, 1, 2, 12, 22, 23, 24, 31, 47, 48, 127, 128, 232, 254, 255},
                              steps);
    expect_model_of_intervals(values, {0, 1, 2, 5, 23, 24, 255});
}

// Days of the month

TEST(CronDays, AreThirtyOneCharacters) {
    EXPECT_EQ(Cron("1 2 1 4 5").Days(), '1' + repeated(30, '0'));
    EXPECT_EQ(Cron("1 2 31 4 5").Days(), repeated(30, '0') + '1');
    EXPECT_EQ(Cron("1 2 2-4,30 4 5").Days(), "0111000000000000000000000000010");
    EXPECT_EQ(Cron("1 2 - 4 5").Days(), repeated(31, '0'));
    EXPECT_EQ(Cron("").Days(), repeated(31, '0'));
    for (unsigned int day = 1; day <= 31; ++day) {
        std::string expected = repeated(31, '0');
        expected[day - 1] = '1';
        EXPECT_EQ(Cron("1 2 " + std::to_string(day) + " 4 5").Days(), expected);
    }
}

TEST(CronDays, AreAllOnesWhenAllBitsAreSet) {
    EXPECT_EQ(Cron("1 2 * 4 5").Days(), repeated(31, '1'));
    EXPECT_EQ(Cron("1 2 1-31 4 5").Days(), repeated(31, '1'));
}

TEST(CronDays, DoNotShowTheLastDay) {
    EXPECT_EQ(Cron("1 2 L 4 5").Days(), repeated(31, '0'));
    EXPECT_EQ(Cron("1 2 L,31 4 5").Days(), repeated(30, '0') + '1');
    EXPECT_EQ(Cron("1 2 L,1-30 4 5").Days(), repeated(30, '1') + '0');
}

TEST(CronDays, OfThirtyOneCharactersAreThoseFromTheFirst) {
    for (unsigned int day = 1; day <= 31; ++day) {
        std::string text = repeated(31, '0');
        text[day - 1] = '1';
        EXPECT_EQ(days_of(text), 1U << day) << text;
        text = repeated(31, '1');
        text[day - 1] = '0';
        EXPECT_EQ(days_of(text), EVERY & ~1U & ~(1U << day)) << text;
    }
}

TEST(CronDays, OfAShorterTextAreTheLastOnes) {
    EXPECT_EQ(days_of("01"), 1U << 31);
    EXPECT_EQ(days_of("10"), 1U << 30);
    EXPECT_EQ(days_of("100"), 1U << 29);
    EXPECT_EQ(days_of("1011"), bits({28, 30, 31}));
    EXPECT_EQ(days_of('1' + repeated(29, '0')), 1U << 2);
    EXPECT_EQ(days_of('1' + repeated(30, '0')), 1U << 1);
}

TEST(CronDays, OfOnesOnlyAreAllBits) {
    for (std::size_t length = 1; length <= 100; ++length) {
        EXPECT_EQ(days_of(repeated(length, '1')), EVERY) << length;
    }
    EXPECT_EQ(days_of(repeated(100000, '1')), EVERY);
}

TEST(CronDays, OfZerosOnlyAreNone) {
    for (std::size_t length = 1; length <= 100; ++length) {
        EXPECT_EQ(days_of(repeated(length, '0')), 0U) << length;
    }
}

TEST(CronDays, OfTheEmptyTextAreAllBits) {
    EXPECT_EQ(days_of(""), EVERY);
    Cron none("1 2 - 4 5");
    none.Days("");
    EXPECT_EQ(none.block().days, EVERY);
}

TEST(CronDays, ClearTheLastDayUnlessAllBitsAreSet) {
    Cron cron("1 2 L 4 5");
    cron.Days(repeated(30, '1') + '0');
    EXPECT_FALSE(cron.LastDayOfMonth());
    cron.LastDayOfMonth(true);
    cron.Days("0");
    EXPECT_FALSE(cron.LastDayOfMonth());
    cron.Days("1");
    EXPECT_TRUE(cron.LastDayOfMonth());
}

TEST(CronDays, DoNotLookBehindThirtyOneCharacters) {
    const std::string days = "0100000000000000000000000000010";
    ASSERT_EQ(days.size(), 31U);
    for (const std::string tail : {"0", "1", "1111", "x", "xyz", " ", "2", "0000000000000000001"}) {
        EXPECT_EQ(days_of(days + tail), bits({2, 30})) << tail;
        EXPECT_EQ(days_of(repeated(31, '0') + tail), 0U) << tail;
    }
    EXPECT_EQ(days_of(days + std::string(1, '\0')), bits({2, 30}));
}

// The last-day flag needs a text that is "1" all the way.
TEST(CronDays, OfThirtyOneOnesAndMoreAreWithoutTheLastDay) {
    for (const std::string tail : {"0", "x", "10", "1x", "0111111111", "11111111110"}) {
        EXPECT_EQ(days_of(repeated(31, '1') + tail), EVERY & ~1U) << tail;
    }
}

TEST(CronDays, RefuseOtherCharacters) {
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            for (const char filler : {'0', '1'}) {
                std::string text = repeated(length, filler);
                text[position] = 'x';
                Cron cron(RICH_TEXT);
                EXPECT_EQ(sets_days(cron, text), position >= 31) << text;
            }
        }
    }
    for (const char c : texts::all_bytes()) {
        Cron cron(RICH_TEXT);
        EXPECT_EQ(sets_days(cron, "01" + std::string(1, c)), c == '0' || c == '1');
    }
}

TEST(CronDays, OfShortTextsAreThoseOfTheModel) {
    for (const std::string& text : texts::over(std::string("01x"), 8)) {
        Cron cron(RICH_TEXT);
        cronblk expected = RICH;
        ASSERT_EQ(sets_days(cron, text), cron_model::set_days(expected, text)) << text;
        ASSERT_EQ(cron.block(), expected) << text;
        ASSERT_EQ(cron.Days(), cron_model::days(expected)) << text;
    }
}

TEST(CronDays, OfEveryLengthAreThoseOfTheModel) {
    std::mt19937 random(static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)));
    SCOPED_TRACE("seed " + std::to_string(GTEST_FLAG_GET(random_seed)));
    for (std::size_t length = 0; length <= 40; ++length) {
        std::vector<std::string> patterns = {repeated(length, '0'), repeated(length, '1')};
        for (std::size_t i = 0; i < length; ++i) {
            patterns.push_back(repeated(length, '0'));
            patterns.back()[i] = '1';
            patterns.push_back(repeated(length, '1'));
            patterns.back()[i] = '0';
            patterns.push_back(repeated(i, '0') + repeated(length - i, '1'));
            patterns.push_back(repeated(i, '1') + repeated(length - i, '0'));
        }
        for (int i = 0; i < 50; ++i) {
            patterns.push_back(repeated(length, '0'));
            for (char& c : patterns.back()) {
                c = random() % 2 == 0 ? '0' : '1';
            }
        }
        for (const std::string& text : patterns) {
            Cron cron(RICH_TEXT);
            cronblk expected = RICH;
            ASSERT_EQ(sets_days(cron, text), cron_model::set_days(expected, text)) << text;
            ASSERT_EQ(cron.block(), expected) << text;
            ASSERT_EQ(cron.Days(), cron_model::days(expected)) << text;
            if (length == 31) {
                ASSERT_EQ(cron.Days(), text);
            }
        }
    }
}

// Weekdays

TEST(CronDaysOfWeek, AreSevenCharactersFromSundayOn) {
    EXPECT_EQ(Cron("1 2 3 4 0").DaysOfWeek(), "1000000");
    EXPECT_EQ(Cron("1 2 3 4 6").DaysOfWeek(), "0000001");
    EXPECT_EQ(Cron("1 2 3 4 mon-fri").DaysOfWeek(), "0111110");
    EXPECT_EQ(Cron("1 2 3 4 -").DaysOfWeek(), "0000000");
    EXPECT_EQ(Cron("").DaysOfWeek(), "0000000");
    for (unsigned int weekday = 0; weekday <= 6; ++weekday) {
        std::string expected = repeated(7, '0');
        expected[weekday] = '1';
        EXPECT_EQ(Cron("1 2 3 4 " + std::to_string(weekday)).DaysOfWeek(), expected);
    }
}

TEST(CronDaysOfWeek, AreSevenOnesWhenAllBitsAreSet) {
    EXPECT_EQ(Cron("1 2 3 4 *").DaysOfWeek(), "1111111");
    EXPECT_EQ(Cron("1 2 3 4 0-6").DaysOfWeek(), "1111111");
}

TEST(CronDaysOfWeek, OfSevenCharactersAreThoseFromSundayOn) {
    EXPECT_EQ(weekdays_of("1000001"), bits({0, 6}));
    EXPECT_EQ(weekdays_of("0111110"), bits({1, 2, 3, 4, 5}));
    EXPECT_EQ(weekdays_of("1000000"), bits({0}));
    EXPECT_EQ(weekdays_of("0000001"), bits({6}));
    EXPECT_EQ(weekdays_of("0000000"), 0U);
    EXPECT_EQ(weekdays_of("1111110"), 0x3fU);
    EXPECT_EQ(weekdays_of("0111111"), 0x7eU);
}

TEST(CronDaysOfWeek, OfAShorterTextAreTheLastOnes) {
    EXPECT_EQ(weekdays_of("1"), bits({6}));
    EXPECT_EQ(weekdays_of("01"), bits({6}));
    EXPECT_EQ(weekdays_of("10"), bits({5}));
    EXPECT_EQ(weekdays_of("100000"), bits({1}));
    EXPECT_EQ(weekdays_of("111111"), 0x7eU); // six of six are not seven of seven
}

TEST(CronDaysOfWeek, OfSevenOnesAreAllBits) {
    EXPECT_EQ(weekdays_of("1111111"), EVERY);
    for (const std::string tail : {"0", "1", "x", "0000000", " "}) {
        EXPECT_EQ(weekdays_of("1111111" + tail), EVERY) << tail;
    }
}

TEST(CronDaysOfWeek, OfTheEmptyTextAreNone) { EXPECT_EQ(weekdays_of(""), 0U); }

TEST(CronDaysOfWeek, DoNotLookBehindSevenCharacters) {
    for (const std::string tail : {"0", "1", "x", "1111111"}) {
        EXPECT_EQ(weekdays_of("1000001" + tail), bits({0, 6})) << tail;
    }
    EXPECT_EQ(weekdays_of("1000001" + repeated(100000, 'x')), bits({0, 6}));
}

TEST(CronDaysOfWeek, RefuseOtherCharacters) {
    for (const char c : texts::all_bytes()) {
        Cron cron(RICH_TEXT);
        EXPECT_EQ(sets_weekdays(cron, std::string(1, c)), c == '0' || c == '1');
        EXPECT_EQ(sets_weekdays(cron, "010101" + std::string(1, c)), c == '0' || c == '1');
        EXPECT_TRUE(sets_weekdays(cron, "0101010" + std::string(1, c)));
    }
}

TEST(CronDaysOfWeek, OfShortTextsAreThoseOfTheModel) {
    for (const std::string& text : texts::over(std::string("01x"), 8)) {
        Cron cron(RICH_TEXT);
        cronblk expected = RICH;
        ASSERT_EQ(sets_weekdays(cron, text), cron_model::set_days_of_week(expected, text)) << text;
        ASSERT_EQ(cron.block(), expected) << text;
        ASSERT_EQ(cron.DaysOfWeek(), cron_model::days_of_week(expected)) << text;
    }
}

// Months

TEST(CronMonths, AreTheMaskAsItIs) {
    for (const unsigned int mask : {0U, 1U, 2U, 1U << 12, 0x1ffeU, 0x2000U, 1U << 31, EVERY}) {
        Cron cron(RICH_TEXT);
        cron.Months(mask);
        cronblk expected = RICH;
        expected.months = mask;
        EXPECT_EQ(cron.block(), expected) << mask;
    }
}

// The last day of the month

TEST(CronLastDay, IsBitZeroOfTheDays) {
    EXPECT_TRUE(Cron("1 2 L 4 5").LastDayOfMonth());
    EXPECT_TRUE(Cron("1 2 3,l 4 5").LastDayOfMonth());
    EXPECT_TRUE(Cron("1 2 * 4 5").LastDayOfMonth());
    EXPECT_FALSE(Cron("1 2 31 4 5").LastDayOfMonth());
    EXPECT_FALSE(Cron("1 2 1-31 4 5").LastDayOfMonth());
    EXPECT_FALSE(Cron("1 2 - 4 5").LastDayOfMonth());
    EXPECT_FALSE(Cron("").LastDayOfMonth());
}

TEST(CronLastDay, IsAddedToTheDays) {
    Cron cron("0,31,32,59 8-18/2 15,31 * mon-fri");
    cron.LastDayOfMonth(true);
    EXPECT_EQ(cron.block(), RICH);
    cron.LastDayOfMonth(true);
    EXPECT_EQ(cron.block(), RICH);
    EXPECT_TRUE(cron.LastDayOfMonth());
}

TEST(CronLastDay, IsNotTakenAway) {
    Cron cron(RICH_TEXT);
    cron.LastDayOfMonth(false);
    EXPECT_EQ(cron.block(), RICH);
    EXPECT_TRUE(cron.LastDayOfMonth());
    Cron without(PLAIN_TEXT);
    without.LastDayOfMonth(false);
    EXPECT_EQ(without.block(), PLAIN);
    Cron always("* * * * *");
    always.LastDayOfMonth(false);
    EXPECT_EQ(always.block().days, EVERY);
}

TEST(CronLastDay, CompletesAllOtherDays) {
    Cron cron("1 2 1-31 4 5");
    cron.LastDayOfMonth(true);
    EXPECT_EQ(cron.block().days, EVERY);
    EXPECT_EQ(cron.to_str(), "1 2 * 4 5");
}

// Out of memory

TEST(CronOutOfMemory, LeavesTheRecordAlone) {
    const std::string days = "0100000000000000000000000000010";
    const std::string hours = "1,2,3,4,5,6,7,8,9,10,11";
    const std::string weekdays = "0111110";
    Cron cron(RICH_TEXT);
    cronblk expected = RICH;
    const auto check = [&] { EXPECT_EQ(cron.block(), expected); };
    const allocation::Watch watch;

    EXPECT_GT(allocation::fail_each([&] { cron.Days(days); }, check), 0U);
    expected.days = bits({2, 30});
    check();
    allocation::fail_each([&] { cron.DaysOfWeek(weekdays); }, check);
    check();
    allocation::fail_each([&] { cron.Hour(hours); }, check);
    expected.hours = bits({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    check();
    allocation::fail_each([&] { cron.convert(PLAIN_TEXT); }, check);
    expected = PLAIN;
    check();
    EXPECT_EQ(watch.live(), 0);
}

TEST(CronOutOfMemory, LeaksNoText) {
    const Cron cron("1,3,8,19,33 2,4,9 * * *");
    const allocation::Watch watch;
    EXPECT_GT(allocation::fail_each([&] { cron.to_str(); }, [] {}), 0U);
    EXPECT_GT(allocation::fail_each([&] { EXPECT_EQ(cron.Days(), repeated(31, '1')); }, [] {}), 0U);
    EXPECT_EQ(watch.live(), 0);
}

// Every operation

namespace {

// A schedule and its model, changed side by side.
class RandomCron {
public:
    explicit RandomCron(unsigned int seed) : random_(seed) {}

    void step() {
        switch (below(9)) {
        case 0:
            convert();
            break;
        case 1:
            minutes();
            break;
        case 2:
            hours();
            break;
        case 3:
            days();
            break;
        case 4:
            weekdays();
            break;
        case 5:
            months();
            break;
        case 6:
            last_day();
            break;
        default:
            interval();
            break;
        }
    }

    void check() const {
        ASSERT_EQ(cron_.valid(), valid_);
        ASSERT_EQ(cron_.block(), record_);
        ASSERT_EQ(cron_.Minute(), cron_model::minute(record_)) << record_;
        ASSERT_EQ(cron_.Hour(), cron_model::hour(record_)) << record_;
        ASSERT_EQ(cron_.IsSubDaily(), cron_model::is_sub_daily(record_)) << record_;
        ASSERT_EQ(cron_.Days(), cron_model::days(record_)) << record_;
        ASSERT_EQ(cron_.DaysOfWeek(), cron_model::days_of_week(record_)) << record_;
        ASSERT_EQ(cron_.LastDayOfMonth(), (record_.days & 1) != 0) << record_;
        ASSERT_EQ(schedule_model::fault_in_text(record_, cron_.to_str()), "");
        ASSERT_EQ(Cron(cron_.to_str()).block(), schedule_model::shown(record_));
    }

private:
    unsigned int below(unsigned int end) { return static_cast<unsigned int>(random_() % end); }

    // A field that an hour and a minute may have; one in eight is none.
    std::string field() {
        static const std::vector<std::string> OTHERS = {"*",   "-", "*/7", "5-14/3",
                                                        "0,9", "",  "60",  "x"};
        const unsigned int first = below(24);
        switch (below(4)) {
        case 0:
            return std::to_string(first);
        case 1:
            return std::to_string(first) + ',' + std::to_string(below(24));
        case 2:
            return std::to_string(first) + '-' + std::to_string(first + below(24 - first));
        default:
            return OTHERS[below(static_cast<unsigned int>(OTHERS.size()))];
        }
    }

    std::string binary(unsigned int longest) {
        std::string text = repeated(below(longest + 1), '0');
        const unsigned int ones = below(4); // in three: from none to all
        for (char& c : text) {
            c = below(3) < ones ? '1' : '0';
        }
        if (!text.empty() && below(8) == 0) {
            text[below(static_cast<unsigned int>(text.size()))] = 'x';
        }
        return text;
    }

    void convert() {
        const std::string text =
            below(6) == 0 ? "" : field() + ' ' + field() + " L,9-19/5 */5 1-7/2";
        const std::optional<cronblk> record = schedule_model::read_schedule(text);
        valid_ = record.has_value();
        record_ = record.value_or(record_);
        ASSERT_EQ(cron_.convert(text), valid_) << text;
    }

    void minutes() {
        const std::string text = field();
        const bool accepted = cron_model::set_minutes(record_, text);
        ASSERT_EQ(cron_.Minute(text) != 0, accepted) << text;
    }

    void hours() {
        const std::string text = field();
        const bool accepted = cron_model::set_hours(record_, text);
        ASSERT_EQ(cron_.Hour(text) != 0, accepted) << text;
    }

    void days() {
        const std::string text = binary(40);
        const bool accepted = cron_model::set_days(record_, text);
        ASSERT_EQ(sets_days(cron_, text), accepted) << text;
    }

    void weekdays() {
        const std::string text = binary(10);
        const bool accepted = cron_model::set_days_of_week(record_, text);
        ASSERT_EQ(sets_weekdays(cron_, text), accepted) << text;
    }

    void months() {
        const unsigned int mask = below(4) == 0 ? EVERY : below(1 << 14);
        record_.months = mask;
        cron_.Months(mask);
    }

    void last_day() {
        const bool last_day = below(2) == 0;
        record_.days |= last_day ? 1 : 0;
        cron_.LastDayOfMonth(last_day);
    }

    void interval() {
        const std::string minutes = field();
        const IntervalSet interval{static_cast<std::uint8_t>(below(26)),
                                   static_cast<std::uint8_t>(below(26)),
                                   static_cast<std::uint8_t>(below(8))};
        const bool any = cron_model::set_intra_daily_hours(record_, minutes, interval);
        ASSERT_EQ(cron_.SetIntraDailyHours(minutes, interval), any) << minutes;
    }

    std::mt19937 random_;
    Cron cron_{""};
    cronblk record_{};
    bool valid_ = false;
};

} // namespace

TEST(CronRandom, HoldsWhatTheModelHolds) {
    for (unsigned int round = 0; round < 6; ++round) {
        const unsigned int seed =
            static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)) * 1000 + round;
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomCron cron(seed);
        for (int turn = 0; turn < 500 && !HasFailure(); ++turn) {
            cron.step();
            cron.check();
        }
    }
}

// The example of the header

TEST(CronUsage, TheExampleOfTheHeader) {
    Cron cron("30 22 * * 1-5");
    EXPECT_TRUE(cron.valid() && cron.Hour() == 22 && cron.DaysOfWeek() == "0111110");
    EXPECT_TRUE(cron.SetIntraDailyHours("30", IntervalSet{22, 4, 2}) && cron.IsSubDaily());
    EXPECT_EQ(cron.to_str(), "30 0,2,22 * * 1-5");
}
