// Tests of the grammar of schedules.
//
//   public member                        cases
//   cronblk, IntervalSet                 ScheduleRecord.*
//   pln_str2crn: five fields             ScheduleText.*
//   pln_str2crn: items of one field      ScheduleNumber.*, ScheduleRange.*, ScheduleStep.*,
//                                        ScheduleList.*, ScheduleStar.*, ScheduleEmptySet.*,
//                                        ScheduleName.*, ScheduleLastDay.*, ScheduleSunday.*
//   pln_str2crn: all short fields        Places/ScheduleField.*
//   pln_str2crn: random and spoilt texts ScheduleRandom.*
//   pln_ent2msk                          FieldMask.*
//   pln_ent2msk64                        LongFieldMask.*
//   pln_crn2str                          SchedulePrint.*
//   operations that allocate             ScheduleOutOfMemory.*
//   the example of the header            ScheduleUsage.*

#include "../../nuriccl/tests/support/allocation.hpp"
#include "../../nuriccl/tests/support/locale.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/schedule_model.hpp"

#include <nuriagent/schedule.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <locale>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using schedule_model::bit;
using schedule_model::bits_between;
using schedule_model::EVERY;
using schedule_model::Mask;
using schedule_model::Masks;
using schedule_model::masks_of;
using schedule_model::record_of;

enum Place : std::size_t { MINUTES, HOURS, DAYS, MONTHS, WEEKDAYS };

const std::array<Place, 5> PLACES = {MINUTES, HOURS, DAYS, MONTHS, WEEKDAYS};

// The ends of the fields and what a lone star sets there.
const std::array<unsigned int, 5> LOW = {0, 0, 1, 1, 0};
const std::array<unsigned int, 5> HIGH = {59, 23, 31, 12, 6};
const Masks STAR = {0x0fffffffffffffff, 0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff};

// Bits both where fields have a meaning and where they have none.
const cronblk UNTOUCHED = {0x12345678, 0x9abcdef0, 0x0f1e2d3c, 0x4b5a6978, 0x13579bdf, 0x02468ace};

const std::vector<std::string> HUGE_NUMBERS = {
    "100",
    "256",
    "261",   // 5 in 8 bits
    "65541", // 5 in 16 bits
    "1000000",
    "1000001",
    "2147483647",
    "2147483648",
    "4294967295",
    "4294967296",
    "4294967301", // 5 in 32 bits
    "9223372036854775808",
    "18446744073709551615",
    "18446744073709551616",
    "18446744073709551621", // 5 in 64 bits
    "1" + std::string(1000, '0'),
    std::string(1000, '9'),
};

Mask bits(std::initializer_list<unsigned int> values) {
    Mask mask = 0;
    for (const unsigned int value : values) {
        mask |= bit(value);
    }
    return mask;
}

std::string schedule_with(Place place, const std::string& field) {
    std::array<std::string, 5> words = {"7", "6", "5", "4", "3"};
    words[place] = field;
    return words[0] + ' ' + words[1] + ' ' + words[2] + ' ' + words[3] + ' ' + words[4];
}

// What a field at one place of a schedule is read as; nothing when it is rejected, and the record
// must be as it was then. The other fields must be read as what they are.
std::optional<Mask> read(Place place, const std::string& field) {
    cronblk record = UNTOUCHED;
    if (pln_str2crn(&record, schedule_with(place, field)) == 0) {
        EXPECT_EQ(record, UNTOUCHED) << testing::PrintToString(field);
        return {};
    }
    Masks expected = {bit(7), bit(6), bit(5), bit(4), bit(3)};
    expected[place] = masks_of(record)[place];
    EXPECT_EQ(record, record_of(expected)) << testing::PrintToString(field);
    return expected[place];
}

bool rejects(Place place, const std::string& field) { return !read(place, field).has_value(); }

// The same for a whole schedule.
std::optional<cronblk> read_text(const std::string& text) {
    cronblk record = UNTOUCHED;
    if (pln_str2crn(&record, text) == 0) {
        EXPECT_EQ(record, UNTOUCHED) << testing::PrintToString(text);
        return {};
    }
    // A record of other contents, to tell a field that was set from one that was left alone.
    cronblk second{};
    EXPECT_NE(pln_str2crn(&second, text), 0);
    EXPECT_EQ(second, record) << testing::PrintToString(text);
    return record;
}

bool rejects(const std::string& text) { return !read_text(text).has_value(); }

const cronblk PLAIN = {1U << 1, 0, 1U << 2, 1U << 3, 1U << 4, 1U << 5}; // "1 2 3 4 5"

// Every spelling of a word with letters in either case.
std::vector<std::string> in_any_case(const std::string& word) {
    std::vector<std::string> spellings{std::string()};
    for (const char c : word) {
        std::vector<std::string> longer;
        for (const std::string& spelling : spellings) {
            longer.push_back(spelling + c);
            longer.push_back(spelling + static_cast<char>(c - 'a' + 'A'));
        }
        spellings = longer;
    }
    return spellings;
}

// The names of the values of a field from its lowest on; none where it has none.
const std::vector<std::string>& names_of(Place place) {
    static const std::array<std::vector<std::string>, 5> NAMES = {
        {{},
         {},
         {},
         {"jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"},
         {"sun", "mon", "tue", "wed", "thu", "fri", "sat"}}};
    return NAMES[place];
}

unsigned int seed_of_round(unsigned int round) {
    return static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)) * 1000 + round;
}

} // namespace

// The record

TEST(ScheduleRecord, IsSixWordsInOrder) {
    static_assert(std::is_aggregate_v<cronblk> && std::is_trivially_copyable_v<cronblk>);
    static_assert(std::is_same_v<decltype(cronblk::minutes_low), std::uint32_t>);
    EXPECT_EQ(sizeof(cronblk), 24U);
    EXPECT_EQ(offsetof(cronblk, minutes_low), 0U);
    EXPECT_EQ(offsetof(cronblk, minutes_high), 4U);
    EXPECT_EQ(offsetof(cronblk, hours), 8U);
    EXPECT_EQ(offsetof(cronblk, days), 12U);
    EXPECT_EQ(offsetof(cronblk, months), 16U);
    EXPECT_EQ(offsetof(cronblk, weekdays), 20U);
}

TEST(ScheduleRecord, IntervalIsThreeBytesInOrder) {
    const IntervalSet interval{22, 2, 255};
    EXPECT_EQ(interval.start_hour, 22);
    EXPECT_EQ(interval.end_hour, 2);
    EXPECT_EQ(interval.step_hours, 255);
    EXPECT_EQ(offsetof(IntervalSet, start_hour), 0U);
    EXPECT_EQ(offsetof(IntervalSet, end_hour), 1U);
    EXPECT_EQ(offsetof(IntervalSet, step_hours), 2U);
}

// Five fields

TEST(ScheduleText, HasMinuteHourDayMonthAndWeekday) {
    EXPECT_EQ(read_text("1 2 3 4 5"), PLAIN);
    EXPECT_EQ(read_text("32 0 31 12 0"), (cronblk{0, 1, 1, 1U << 31, 1U << 12, 1}));
    EXPECT_EQ(read_text("30-33,59 8-18/2 L,15 jan,jul mon-fri"),
              (cronblk{0xc0000000, 0x08000003, 0x00055500, 0x00008001, 0x00000082, 0x0000003e}));
}

TEST(ScheduleText, MayHaveBlanksAndTabsAroundEachField) {
    for (const std::string between : {" ", "\t", "  ", "\t\t", " \t", "\t ", " \t \t  "}) {
        for (const std::string around : {"", " ", "\t", "  \t "}) {
            const std::string inner =
                "1" + between + "2" + between + "3" + between + "4" + between + "5";
            EXPECT_EQ(read_text(around + inner), PLAIN);
            EXPECT_EQ(read_text(inner + around), PLAIN);
            EXPECT_EQ(read_text(around + inner + around), PLAIN);
        }
    }
    EXPECT_EQ(read_text("1 2\t3  4 \t5"), PLAIN);
}

TEST(ScheduleText, HasNoOtherWhiteSpaceThanBlanksAndTabs) {
    for (const char c : std::string("\n\v\f\r\0\x1c\x85\xa0", 8)) {
        SCOPED_TRACE(static_cast<int>(c));
        EXPECT_TRUE(rejects(std::string("1 2 3 4 5") + c));
        EXPECT_TRUE(rejects(c + std::string("1 2 3 4 5")));
        EXPECT_TRUE(rejects(std::string("1 2 3") + c + "4 5"));
        EXPECT_TRUE(rejects(std::string("1 2 3 ") + c + " 4 5"));
        EXPECT_TRUE(rejects(std::string("1 2 3 ") + c + "4 5"));
    }
}

TEST(ScheduleText, HasNeitherFewerNorMoreThanFiveFields) {
    std::string text;
    for (int count = 0; count <= 12; ++count) {
        EXPECT_EQ(rejects(text), count != 5) << text;
        EXPECT_EQ(rejects(text + " \t"), count != 5) << text;
        text += text.empty() ? "1" : " 1";
    }
    EXPECT_TRUE(rejects("* * * *"));
    EXPECT_TRUE(rejects("* * * * * *"));
    EXPECT_TRUE(rejects(" "));
    EXPECT_TRUE(rejects("\t\t\t\t\t"));
    EXPECT_TRUE(rejects("12345"));
    EXPECT_TRUE(rejects("1,2,3,4,5"));
    EXPECT_TRUE(rejects("1 2 3 4 5 #"));
}

TEST(ScheduleText, IsNotCutAtANul) {
    EXPECT_TRUE(rejects(std::string("1 2 3 4 5\0", 10)));
    EXPECT_TRUE(rejects(std::string("1 2 3 4 5\0 6", 12)));
    EXPECT_TRUE(rejects(std::string("1 2 3 4 \0005", 9)));
}

TEST(ScheduleText, LeavesTheRecordAloneWhicheverFieldIsWrong) {
    for (const Place place : PLACES) {
        for (const std::string field : {"x", "", "99", "5-4", "*/0", "1,", "1,,2", "--"}) {
            EXPECT_TRUE(rejects(schedule_with(place, field))) << place << ' ' << field;
        }
    }
    EXPECT_TRUE(rejects("1 2 3 4 8"));
    EXPECT_TRUE(rejects("60 2 3 4 5"));
}

TEST(ScheduleText, SetsEveryFieldOfTheRecord) {
    EXPECT_EQ(read_text("- - - - -"), cronblk{});
    EXPECT_EQ(read_text("* * * * *"), record_of(STAR));
    EXPECT_EQ(read_text("0-31 - - - -"), (cronblk{0xffffffff, 0, 0, 0, 0, 0}));
    EXPECT_EQ(read_text("32-59 - - - -"), (cronblk{0, 0x0fffffff, 0, 0, 0, 0}));
}

TEST(ScheduleText, NeedsARecord) {
    EXPECT_EQ(pln_str2crn(nullptr, "1 2 3 4 5"), 0);
    EXPECT_EQ(pln_str2crn(nullptr, ""), 0);
    EXPECT_EQ(pln_str2crn(nullptr, "x"), 0);
}

TEST(ScheduleText, MayBeLong) {
    const std::string blanks(100000, ' ');
    std::string list = "0";
    for (int i = 0; i < 100000; ++i) {
        list += ",3-5";
    }
    const std::uint32_t mask = 0x39;
    const std::string wide = list + blanks + list + blanks + "3,4" + blanks + "3-5" + blanks + list;
    EXPECT_EQ(read_text(wide), (cronblk{mask, 0, mask, 0x18, 0x38, mask}));
    EXPECT_TRUE(rejects(wide + ','));
    EXPECT_TRUE(rejects(blanks));
    EXPECT_TRUE(rejects(std::string(100000, ',')));
    EXPECT_TRUE(rejects(std::string(100000, '-') + " 1 1 1 1"));
}

// Numbers

TEST(ScheduleNumber, IsOfTheFieldsRange) {
    for (const Place place : PLACES) {
        for (unsigned int value = 0; value <= 1000; ++value) {
            if (place == WEEKDAYS && value == 7) {
                continue; // Sunday
            }
            const std::string text = std::to_string(value);
            SCOPED_TRACE(std::to_string(place) + ": " + text);
            if (value < LOW[place] || value > HIGH[place]) {
                EXPECT_TRUE(rejects(place, text));
            } else {
                EXPECT_EQ(read(place, text), bit(value));
            }
        }
    }
}

TEST(ScheduleNumber, MayHaveLeadingZeros) {
    for (const Place place : PLACES) {
        for (const std::size_t zeros : {1, 2, 3, 9, 10, 20, 1000}) {
            EXPECT_EQ(read(place, std::string(zeros, '0') + '6'), bit(6));
            EXPECT_EQ(
                read(place, std::string(zeros, '0') + "3-" + std::string(zeros, '0') + "6/02"),
                bits({3, 5}));
            EXPECT_EQ(rejects(place, std::string(zeros, '0')), LOW[place] != 0);
            EXPECT_TRUE(rejects(place, std::string(zeros, '0') + "60"));
        }
    }
}

TEST(ScheduleNumber, IsRejectedWhenItIsHuge) {
    for (const Place place : PLACES) {
        for (const std::string& number : HUGE_NUMBERS) {
            EXPECT_TRUE(rejects(place, number)) << number;
            EXPECT_TRUE(rejects(place, "1-" + number)) << number;
            EXPECT_TRUE(rejects(place, number + "-5")) << number;
            EXPECT_TRUE(rejects(place, number + "-" + number)) << number;
            EXPECT_TRUE(rejects(place, "1," + number)) << number;
            EXPECT_TRUE(rejects(place, number + "/1")) << number;
        }
    }
}

TEST(ScheduleNumber, HasNoSignNoPointAndNoPrefix) {
    for (const Place place : PLACES) {
        for (const std::string text :
             {"+5", "-5", "5+", "5-",  "5.",    "5.0", "0x5", "5e0", "1e1",  "05h",     "5L",
              "5l", "#5", "5#", "'5'", "\"5\"", "(5)", "5;",  "5:",  "\xb2", "\xd9\xa5"}) {
            EXPECT_TRUE(rejects(place, text)) << place << ' ' << text;
        }
    }
}

// Ranges

TEST(ScheduleRange, HoldsBothEndsAndWhatIsBetween) {
    for (const Place place : PLACES) {
        for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
            Mask expected = 0;
            for (unsigned int last = first; last <= HIGH[place]; ++last) {
                expected |= bit(last);
                const std::string text = std::to_string(first) + '-' + std::to_string(last);
                ASSERT_EQ(read(place, text), expected) << place << ' ' << text;
            }
        }
    }
}

TEST(ScheduleRange, IsNotReversed) {
    for (const Place place : PLACES) {
        for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
            for (unsigned int last = LOW[place]; last < first; ++last) {
                const std::string text = std::to_string(first) + '-' + std::to_string(last);
                ASSERT_TRUE(rejects(place, text)) << place << ' ' << text;
            }
        }
    }
    EXPECT_TRUE(rejects(HOURS, "22-2/2"));
    EXPECT_TRUE(rejects(MONTHS, "nov-feb"));
    EXPECT_TRUE(rejects(WEEKDAYS, "fri-mon"));
    EXPECT_TRUE(rejects(WEEKDAYS, "sat-sun"));
}

TEST(ScheduleRange, EndsWithinTheField) {
    EXPECT_TRUE(rejects(MINUTES, "0-60"));
    EXPECT_TRUE(rejects(HOURS, "0-24"));
    EXPECT_TRUE(rejects(DAYS, "0-31"));
    EXPECT_TRUE(rejects(DAYS, "1-32"));
    EXPECT_TRUE(rejects(MONTHS, "0-12"));
    EXPECT_TRUE(rejects(MONTHS, "1-13"));
    EXPECT_TRUE(rejects(WEEKDAYS, "0-8"));
    EXPECT_TRUE(rejects(WEEKDAYS, "8-9"));
}

TEST(ScheduleRange, HasTwoEnds) {
    for (const Place place : PLACES) {
        for (const std::string text :
             {"1-", "-1", "1--3", "1-2-3", "1-*",  "*-1",  "*-*", "1-2-", "-1-2",  "1-/2", "-/2",
              "*-", "-*", "--",   "---",   "1-+2", "1-,2", "1,-", "-,1",  "1,-,2", "-,-"}) {
            EXPECT_TRUE(rejects(place, text)) << place << ' ' << text;
        }
    }
}

// Steps

namespace {

// Steps around what can make a difference to a field, and its double for good measure.
std::vector<unsigned int> steps_of(Place place) {
    const unsigned int high = HIGH[place];
    std::set<unsigned int> steps = {high / 2, high / 2 + 1, high - 1,     high,
                                    high + 1, high + 2,     2 * high + 1, 1000};
    for (unsigned int step = 1; step <= 13; ++step) {
        steps.insert(step);
    }
    return {steps.begin(), steps.end()};
}

Mask every(unsigned int step, unsigned int first, unsigned int last) {
    Mask mask = 0;
    for (unsigned int value = first; value <= last; value += step) {
        mask |= bit(value);
    }
    return mask;
}

} // namespace

TEST(ScheduleStep, OfARangeCountsFromItsFirstValue) {
    for (const Place place : PLACES) {
        for (const unsigned int step : steps_of(place)) {
            for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
                for (unsigned int last = first; last <= HIGH[place]; ++last) {
                    const std::string text = std::to_string(first) + '-' + std::to_string(last) +
                                             '/' + std::to_string(step);
                    ASSERT_EQ(read(place, text), every(step, first, last)) << place << ' ' << text;
                }
            }
        }
    }
}

TEST(ScheduleStep, OfANumberCountsFromItToTheEndOfTheField) {
    EXPECT_EQ(read(MINUTES, "5/15"), bits({5, 20, 35, 50}));
    EXPECT_EQ(read(HOURS, "22/1"), bits({22, 23}));
    EXPECT_EQ(read(DAYS, "1/10"), bits({1, 11, 21, 31}));
    EXPECT_EQ(read(MONTHS, "2/5"), bits({2, 7, 12}));
    EXPECT_EQ(read(WEEKDAYS, "1/2"), bits({1, 3, 5}));
    EXPECT_EQ(read(WEEKDAYS, "0/6"), bits({0, 6}));
    for (const Place place : PLACES) {
        for (const unsigned int step : steps_of(place)) {
            for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
                const std::string text = std::to_string(first) + '/' + std::to_string(step);
                ASSERT_EQ(read(place, text), every(step, first, HIGH[place]))
                    << place << ' ' << text;
            }
        }
    }
}

TEST(ScheduleStep, OfAStarCountsFromTheFirstValueOfTheField) {
    EXPECT_EQ(read(MINUTES, "*/15"), bits({0, 15, 30, 45}));
    EXPECT_EQ(read(HOURS, "*/6"), bits({0, 6, 12, 18}));
    EXPECT_EQ(read(DAYS, "*/10"), bits({1, 11, 21, 31}));
    EXPECT_EQ(read(MONTHS, "*/3"), bits({1, 4, 7, 10}));
    EXPECT_EQ(read(WEEKDAYS, "*/2"), bits({0, 2, 4, 6}));
    for (const Place place : PLACES) {
        for (const unsigned int step : steps_of(place)) {
            const std::string text = "*/" + std::to_string(step);
            EXPECT_EQ(read(place, text), every(step, LOW[place], HIGH[place]))
                << place << ' ' << text;
        }
    }
}

TEST(ScheduleStep, BeyondTheRangeLeavesTheFirstValue) {
    for (const Place place : PLACES) {
        for (const std::string& step : HUGE_NUMBERS) {
            EXPECT_EQ(read(place, "*/" + step), bit(LOW[place])) << place << ' ' << step;
            EXPECT_EQ(read(place, "5/" + step), bit(5)) << place << ' ' << step;
            EXPECT_EQ(read(place, "3-6/" + step), bit(3)) << place << ' ' << step;
            EXPECT_EQ(read(place, "3-6/" + step + ",5"), bits({3, 5})) << place << ' ' << step;
        }
    }
}

TEST(ScheduleStep, IsAtLeastOne) {
    for (const Place place : PLACES) {
        for (const std::string range : {"*", "5", "3-6"}) {
            EXPECT_TRUE(rejects(place, range + "/0"));
            EXPECT_TRUE(rejects(place, range + "/00"));
            EXPECT_TRUE(rejects(place, range + "/" + std::string(100, '0')));
            EXPECT_TRUE(rejects(place, range + "/-1"));
            EXPECT_FALSE(rejects(place, range + "/01"));
        }
    }
}

TEST(ScheduleStep, IsOneNumber) {
    for (const Place place : PLACES) {
        for (const std::string text :
             {"*/",   "5/",    "3-6/", "/",   "/2",    "*//2",  "*/2/2", "5/1/1", "*/*",
              "5/*",  "*/2-3", "*/1-", "5/x", "*/mon", "*/jan", "*/L",   "*/+2",  "*/2,",
              ",*/2", "3/2-6", "2*",   "*2",  "**",    "**/2",  "*/2*",  "3-6*"}) {
            EXPECT_TRUE(rejects(place, text)) << place << ' ' << text;
        }
    }
}

// Lists

TEST(ScheduleList, IsTheUnionOfItsItems) {
    for (const Place place : PLACES) {
        EXPECT_EQ(read(place, "1,3,5"), bits({1, 3, 5}));
        EXPECT_EQ(read(place, "5,3,1"), bits({1, 3, 5}));
        EXPECT_EQ(read(place, "3,3,3"), bit(3));
        EXPECT_EQ(read(place, "1-3,2-5"), bits_between(1, 5));
        EXPECT_EQ(read(place, "1-5/2,2"), bits({1, 2, 3, 5}));
        EXPECT_EQ(read(place, "6,1-5/4,3-4"), bits({1, 3, 4, 5, 6}));
    }
    EXPECT_EQ(read(MINUTES, "0,31,32,59"), bits({0, 31, 32, 59}));
}

TEST(ScheduleList, HasNoEmptyItem) {
    for (const Place place : PLACES) {
        for (const std::string text :
             {",", "1,", ",1", "1,,2", ",,", "1-2,", ",*", "*,", "1,2,,"}) {
            EXPECT_TRUE(rejects(place, text)) << place << ' ' << text;
        }
    }
}

TEST(ScheduleList, IsRejectedAsAWholeForOneWrongItem) {
    for (const Place place : PLACES) {
        for (const std::string wrong : {"60", "x", "6-3", "*/0", "3/0", "-", "3-", "3 ", "+3"}) {
            EXPECT_TRUE(rejects(place, wrong + ",2,3")) << place << ' ' << wrong;
            EXPECT_TRUE(rejects(place, "2," + wrong + ",3")) << place << ' ' << wrong;
            EXPECT_TRUE(rejects(place, "2,3," + wrong + "x")) << place << ' ' << wrong;
        }
        EXPECT_TRUE(rejects(place, "2;3"));
        EXPECT_TRUE(rejects(place, "2, 3"));
    }
}

// Stars

TEST(ScheduleStar, AloneSetsAllBits) {
    for (const Place place : PLACES) {
        EXPECT_EQ(read(place, "*"), STAR[place]) << place;
    }
    EXPECT_EQ(read_text("* 6 5 4 3"),
              (cronblk{0xffffffff, 0x0fffffff, 1U << 6, 1U << 5, 1U << 4, 8}));
}

TEST(ScheduleStar, InAListOrWithAStepIsTheRangeOfTheField) {
    for (const Place place : PLACES) {
        const Mask range = bits_between(LOW[place], HIGH[place]);
        const std::string spelled = std::to_string(LOW[place]) + '-' + std::to_string(HIGH[place]);
        for (const std::string& text :
             {std::string("*/1"), std::string("*,*"), std::string("*,5"), std::string("5,*"),
              std::string("*,*/2"), spelled, spelled + "/1", std::to_string(LOW[place]) + "/1"}) {
            EXPECT_EQ(read(place, text), range) << place << ' ' << text;
        }
    }
}

// The empty set

TEST(ScheduleEmptySet, IsALoneMinus) {
    for (const Place place : PLACES) {
        EXPECT_EQ(read(place, "-"), Mask{0}) << place;
    }
}

// Names

TEST(ScheduleName, StandsForANumberInAnyCase) {
    for (const Place place : {MONTHS, WEEKDAYS}) {
        unsigned int value = LOW[place];
        for (const std::string& name : names_of(place)) {
            for (const std::string& spelling : in_any_case(name)) {
                EXPECT_EQ(read(place, spelling), bit(value)) << spelling;
                EXPECT_EQ(read(place, "2," + spelling + ",3"), bits({2, 3, value})) << spelling;
            }
            ++value;
        }
        EXPECT_EQ(value, HIGH[place] + 1);
    }
}

TEST(ScheduleName, MayEndARange) {
    for (const Place place : {MONTHS, WEEKDAYS}) {
        const std::vector<std::string>& names = names_of(place);
        for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
            for (unsigned int last = first; last <= HIGH[place]; ++last) {
                const std::string from = names[first - LOW[place]];
                const std::string to = names[last - LOW[place]];
                const Mask range = bits_between(first, last);
                EXPECT_EQ(read(place, from + '-' + to), range) << from << ' ' << to;
                EXPECT_EQ(read(place, from + '-' + std::to_string(last)), range)
                    << from << ' ' << to;
                EXPECT_EQ(read(place, std::to_string(first) + '-' + to), range)
                    << from << ' ' << to;
                EXPECT_EQ(read(place, from + '-' + to + "/2"), every(2, first, last))
                    << from << ' ' << to;
                EXPECT_EQ(rejects(place, to + '-' + from), first != last) << from << ' ' << to;
            }
        }
    }
    EXPECT_EQ(read(WEEKDAYS, "Mon-FRI/2"), bits({1, 3, 5}));
    EXPECT_EQ(read(MONTHS, "Jan-DEC/5"), bits({1, 6, 11}));
    EXPECT_EQ(read(MONTHS, "jan-feb,OCT-nov,6"), bits({1, 2, 6, 10, 11}));
}

TEST(ScheduleName, AloneTakesNoStep) {
    for (const Place place : {MONTHS, WEEKDAYS}) {
        for (const std::string& name : names_of(place)) {
            EXPECT_TRUE(rejects(place, name + "/2")) << name;
            EXPECT_TRUE(rejects(place, name + "/1")) << name;
            EXPECT_TRUE(rejects(place, "1," + name + "/1")) << name;
            EXPECT_FALSE(rejects(place, name + '-' + name + "/1")) << name;
        }
    }
}

TEST(ScheduleName, IsOneOfItsField) {
    for (const Place place : PLACES) {
        for (const Place other : {MONTHS, WEEKDAYS}) {
            for (const std::string& name : names_of(other)) {
                EXPECT_EQ(rejects(place, name), place != other) << place << ' ' << name;
                EXPECT_EQ(rejects(place, name + '-' + name), place != other)
                    << place << ' ' << name;
            }
        }
    }
}

TEST(ScheduleName, IsNoOtherWordOfThreeLetters) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyz";
    for (const Place place : {MONTHS, WEEKDAYS}) {
        const std::vector<std::string>& names = names_of(place);
        for (const std::string& word : texts::over(letters, 3)) {
            const bool is_name = std::find(names.begin(), names.end(), word) != names.end();
            EXPECT_EQ(rejects(place, word), !is_name) << word;
        }
    }
}

TEST(ScheduleName, HasExactlyThreeLetters) {
    for (const Place place : {MONTHS, WEEKDAYS}) {
        for (const std::string& name : names_of(place)) {
            for (const std::string& text :
                 {name.substr(0, 1), name.substr(0, 2), name.substr(1), name + "s", name + name,
                  name + "day", name + "1", "1" + name, "0" + name, name + ".", name + '-',
                  '-' + name, name + "-m", name.substr(0, 2) + '1', name.substr(0, 2) + '-'}) {
                EXPECT_TRUE(rejects(place, text)) << text;
            }
        }
    }
    EXPECT_TRUE(rejects(WEEKDAYS, "monday"));
    EXPECT_TRUE(rejects(WEEKDAYS, "tues"));
    EXPECT_TRUE(rejects(MONTHS, "january"));
    EXPECT_TRUE(rejects(MONTHS, "sept"));
}

// Bytes that differ from a letter's in the bit that tells the cases apart, or have the high bit
// set.
TEST(ScheduleName, HasNothingThatOnlyResemblesALetter) {
    for (const Place place : {MONTHS, WEEKDAYS}) {
        for (const std::string& name : names_of(place)) {
            for (std::size_t i = 0; i < name.size(); ++i) {
                for (const int change : {0x40, 0x60, 0x80, 0xa0}) {
                    std::string text = name;
                    text[i] = static_cast<char>(text[i] ^ change);
                    EXPECT_TRUE(rejects(place, text)) << testing::PrintToString(text);
                }
            }
        }
    }
}

// The last day of the month

TEST(ScheduleLastDay, IsBitZero) {
    EXPECT_EQ(read(DAYS, "L"), bit(0));
    EXPECT_EQ(read(DAYS, "l"), bit(0));
    EXPECT_EQ(read(DAYS, "L,l"), bit(0));
}

TEST(ScheduleLastDay, MayStandAnywhereInTheList) {
    for (const std::string last : {"L", "l"}) {
        EXPECT_EQ(read(DAYS, last + ",5,15"), bits({0, 5, 15}));
        EXPECT_EQ(read(DAYS, "5," + last + ",15"), bits({0, 5, 15}));
        EXPECT_EQ(read(DAYS, "5,15," + last), bits({0, 5, 15}));
        EXPECT_EQ(read(DAYS, last + ",5," + last), bits({0, 5}));
        EXPECT_EQ(read(DAYS, "1-3/2," + last), bits({0, 1, 3}));
        EXPECT_EQ(read(DAYS, "*," + last), EVERY);
        EXPECT_EQ(read(DAYS, last + ",1-31"), EVERY);
    }
}

TEST(ScheduleLastDay, IsNoNumber) {
    for (const std::string text : {"L/2", "L/1", "L-5", "5-L", "L-L", "1-L/2", "LL", "L5", "5L",
                                   "L-", "-L", "L*", "*L", "*/L", "L,", ",L", "last", "0"}) {
        EXPECT_TRUE(rejects(DAYS, text)) << text;
    }
}

TEST(ScheduleLastDay, IsOfTheDaysOnly) {
    for (const Place place : {MINUTES, HOURS, MONTHS, WEEKDAYS}) {
        for (const std::string text : {"L", "l", "5,L", "L,5"}) {
            EXPECT_TRUE(rejects(place, text)) << place << ' ' << text;
        }
    }
}

// Sunday as the seventh day

TEST(ScheduleSunday, MayBeSeven) {
    EXPECT_EQ(read(WEEKDAYS, "7"), bit(0));
    EXPECT_EQ(read(WEEKDAYS, "007"), bit(0));
    EXPECT_EQ(read(WEEKDAYS, "7,7,0"), bit(0));
    EXPECT_EQ(read(WEEKDAYS, "1,7"), bits({0, 1}));
    EXPECT_TRUE(rejects(WEEKDAYS, "8"));
    EXPECT_TRUE(rejects(WEEKDAYS, "70"));
    EXPECT_TRUE(rejects(WEEKDAYS, "14"));
}

TEST(ScheduleSunday, MayEndARangeAsSeven) {
    EXPECT_EQ(read(WEEKDAYS, "5-7"), bits({5, 6, 0}));
    EXPECT_EQ(read(WEEKDAYS, "fri-7"), bits({5, 6, 0}));
    EXPECT_EQ(read(WEEKDAYS, "7-7"), bit(0));
    EXPECT_EQ(read(WEEKDAYS, "0-7"), bits_between(0, 6));
    EXPECT_EQ(read(WEEKDAYS, "sun-7"), bits_between(0, 6));
    EXPECT_EQ(read(WEEKDAYS, "1-7"), bits_between(0, 6));
    EXPECT_EQ(read(WEEKDAYS, "5-7/2"), bits({5, 0}));
    EXPECT_EQ(read(WEEKDAYS, "1-7/3"), bits({1, 4, 0}));
    EXPECT_EQ(read(WEEKDAYS, "1-7/4"), bits({1, 5}));
    EXPECT_EQ(read(WEEKDAYS, "0-7/7"), bit(0));
}

TEST(ScheduleSunday, AsSevenComesAfterSaturday) {
    for (const std::string text : {"7-0", "7-1", "7-6", "7-sun", "7-sat", "7-8", "0-8"}) {
        EXPECT_TRUE(rejects(WEEKDAYS, text)) << text;
    }
}

TEST(ScheduleSunday, AsSevenIsItselfWithAStep) {
    for (const std::string step : {"1", "2", "3", "7", "8", "1000"}) {
        EXPECT_EQ(read(WEEKDAYS, "7/" + step), bit(0)) << step;
        EXPECT_EQ(read(WEEKDAYS, "7-7/" + step), bit(0)) << step;
    }
    EXPECT_TRUE(rejects(WEEKDAYS, "7/0"));
}

// The other numbers with a step do not reach a Sunday that would be written as 7.
TEST(ScheduleSunday, IsNotBehindTheEndOfTheField) {
    EXPECT_EQ(read(WEEKDAYS, "1/1"), bits_between(1, 6));
    EXPECT_EQ(read(WEEKDAYS, "1/3"), bits({1, 4}));
    EXPECT_EQ(read(WEEKDAYS, "5/2"), bit(5));
    EXPECT_EQ(read(WEEKDAYS, "6/1"), bit(6));
}

// All short fields

namespace {

class ScheduleField : public testing::TestWithParam<Place> {
protected:
    static void expect_agreement(const std::vector<std::string>& fields) {
        const schedule_model::Field& model = schedule_model::fields()[GetParam()];
        for (const std::string& field : fields) {
            ASSERT_EQ(read(GetParam(), field), schedule_model::read_field(model, field))
                << testing::PrintToString(field);
        }
    }
};

std::string name_of(const testing::TestParamInfo<Place>& info) {
    static const std::array<const char*, 5> NAMES = {"Minutes", "Hours", "Days", "Months",
                                                     "Weekdays"};
    return NAMES[info.param];
}

INSTANTIATE_TEST_SUITE_P(Places, ScheduleField, testing::ValuesIn(PLACES), name_of);

} // namespace

TEST_P(ScheduleField, OfFourCharactersIsReadAsTheGrammarSays) {
    expect_agreement(texts::over(std::string("0159-,*/Lmon"), 4));
}

TEST_P(ScheduleField, OfSixCharactersIsReadAsTheGrammarSays) {
    expect_agreement(texts::over(std::string("13-,*/"), 6));
}

TEST_P(ScheduleField, OfFiveWordsIsReadAsTheGrammarSays) {
    using Words = std::vector<std::string>;
    const Words weekdays = {"SUN", "tue", "Sat", "7", "2", "-", "/", ","};
    const Words months = {"JAN", "may", "Dec", "12", "2", "-", "/", ","};
    expect_agreement(texts::joined<std::string>(GetParam() == WEEKDAYS ? weekdays : months, 5));
}

TEST_P(ScheduleField, HasNoByteButThoseOfTheGrammar) {
    const std::vector<std::string> frames = {"#",   "#2", "1#",  "1#2", "1-2#",
                                             "1,#", "*#", "*/#", "*/2#"};
    std::vector<std::string> fields;
    for (const char byte : texts::all_bytes()) {
        for (std::string frame : frames) {
            frame[frame.find('#')] = byte;
            if (byte != ' ' && byte != '\t') { // they end the field
                fields.push_back(frame);
            }
        }
    }
    expect_agreement(fields);
}

// Random and spoilt texts

namespace {

// Makes schedules together with what they mean.
class Generator {
public:
    explicit Generator(unsigned int seed) : random_(seed) {}

    unsigned int below(unsigned int end) { return static_cast<unsigned int>(random_() % end); }

    std::pair<std::string, cronblk> schedule() {
        Masks masks{};
        std::string text = blanks(0);
        for (const Place place : PLACES) {
            auto [field, mask] = this->field(place);
            text += field + blanks(place == WEEKDAYS ? 0 : 1);
            masks[place] = mask;
        }
        return {text, record_of(masks)};
    }

    // Takes away, replaces or adds a few characters.
    std::string spoilt(std::string text) {
        const std::string alphabet = "0123456789--,,**//LlmonMON  \t\n";
        for (unsigned int i = below(3) + 1; i > 0; --i) {
            const std::size_t position = below(static_cast<unsigned int>(text.size()) + 1);
            text.erase(position, below(2));
            text.insert(position, below(2),
                        alphabet[below(static_cast<unsigned int>(alphabet.size()))]);
        }
        return text;
    }

private:
    using Part = std::pair<std::string, Mask>;

    std::string blanks(unsigned int least) {
        std::string text;
        for (unsigned int count = least + below(3); count > 0; --count) {
            text += below(2) == 0 ? ' ' : '\t';
        }
        return text;
    }

    Part field(Place place) {
        switch (below(12)) {
        case 0:
            return {"-", 0};
        case 1:
            return {"*", STAR[place]};
        default:
            break;
        }
        const unsigned int count = 1 + below(4);
        Part field = item(place, count == 1);
        for (unsigned int i = 1; i < count; ++i) {
            const Part next = item(place, false);
            field.first += ',' + next.first;
            field.second |= next.second;
        }
        return field;
    }

    Part item(Place place, bool alone) {
        const unsigned int top = HIGH[place] + (place == WEEKDAYS ? 1 : 0);
        const unsigned int first = LOW[place] + below(top - LOW[place] + 1);
        const unsigned int last = first + below(top - first + 1);
        const unsigned int step = 1 + below(below(2) == 0 ? 4 : 70);
        const std::string slash = '/' + zeros() + std::to_string(step);
        const std::string range = spelled(place, first) + '-' + spelled(place, last);
        switch (below(7)) {
        case 0:
            return {range, mask(place, first, last, 1)};
        case 1:
            return {range + slash, mask(place, first, last, step)};
        case 2:
            return {'*' + slash, mask(place, LOW[place], HIGH[place], step)};
        case 3:
            return {zeros() + std::to_string(first) + slash,
                    mask(place, first, first == 7 ? std::max(7U, HIGH[place]) : HIGH[place], step)};
        case 4:
            if (!alone) {
                return {"*", mask(place, LOW[place], HIGH[place], 1)};
            }
            break;
        case 5:
            if (place == DAYS) {
                return {below(2) == 0 ? "L" : "l", 1};
            }
            break;
        default:
            break;
        }
        return {spelled(place, first), mask(place, first, first, 1)};
    }

    static Mask mask(Place place, unsigned int first, unsigned int last, unsigned int step) {
        Mask mask = 0;
        for (unsigned int value = first; value <= last; value += step) {
            mask |= Mask{1} << (place == WEEKDAYS && value == 7 ? 0 : value);
        }
        return mask;
    }

    std::string zeros() { return std::string(below(6) == 0 ? below(4) : 0, '0'); }

    std::string spelled(Place place, unsigned int value) {
        const std::vector<std::string>& names = names_of(place);
        if (value - LOW[place] >= names.size() || below(2) == 0) {
            return zeros() + std::to_string(value);
        }
        const std::vector<std::string> spellings = in_any_case(names[value - LOW[place]]);
        return spellings[below(static_cast<unsigned int>(spellings.size()))];
    }

    std::mt19937 random_;
};

} // namespace

TEST(ScheduleRandom, TextsMeanWhatTheyWereMadeFor) {
    for (unsigned int round = 0; round < 5; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed_of_round(round)));
        Generator generator(seed_of_round(round));
        for (int i = 0; i < 500; ++i) {
            const auto [text, record] = generator.schedule();
            ASSERT_EQ(read_text(text), record) << testing::PrintToString(text);
            ASSERT_EQ(schedule_model::read_schedule(text), record) << testing::PrintToString(text);
        }
    }
}

TEST(ScheduleRandom, SpoiltTextsAreReadAsTheGrammarSays) {
    int accepted = 0;
    int rejected = 0;
    for (unsigned int round = 0; round < 5; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed_of_round(round)));
        Generator generator(seed_of_round(round));
        for (int i = 0; i < 500; ++i) {
            const std::string text = generator.spoilt(generator.schedule().first);
            const std::optional<cronblk> record = read_text(text);
            ASSERT_EQ(record, schedule_model::read_schedule(text)) << testing::PrintToString(text);
            ++(record ? accepted : rejected);
        }
    }
    EXPECT_GT(accepted, 200);
    EXPECT_GT(rejected, 200);
}

TEST(ScheduleRandom, TextsReadBackFromTheirPrintedForm) {
    for (unsigned int round = 0; round < 5; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed_of_round(round)));
        Generator generator(seed_of_round(round));
        for (int i = 0; i < 500; ++i) {
            const cronblk record = generator.schedule().second;
            const std::string text = pln_crn2str(&record);
            ASSERT_EQ(read_text(text), record) << text;
            ASSERT_EQ(schedule_model::fault_in_text(record, text), "");
        }
    }
}

// One field of up to 32 values

namespace {

constexpr unsigned int SOME_WORD = 0xa5c396f0;

std::optional<Mask> read_short(const std::string& field, unsigned int low, unsigned int high) {
    unsigned int mask = SOME_WORD;
    unsigned int second = ~SOME_WORD;
    const bool accepted = pln_ent2msk(&mask, field, low, high) != 0;
    EXPECT_EQ(pln_ent2msk(&second, field, low, high) != 0, accepted);
    if (!accepted) {
        EXPECT_EQ(mask, SOME_WORD) << testing::PrintToString(field);
        EXPECT_EQ(second, ~SOME_WORD) << testing::PrintToString(field);
        return {};
    }
    EXPECT_EQ(mask, second) << testing::PrintToString(field);
    return mask;
}

bool rejects_short(const std::string& field, unsigned int low, unsigned int high) {
    return !read_short(field, low, high).has_value();
}

} // namespace

TEST(FieldMask, HasOneBitForEachValueOfItsRange) {
    for (unsigned int low = 0; low <= 31; ++low) {
        for (unsigned int high = low; high <= 31; ++high) {
            SCOPED_TRACE(std::to_string(low) + '-' + std::to_string(high));
            const Mask range = bits_between(low, high);
            for (unsigned int value = 0; value <= 33; ++value) {
                const bool inside = value >= low && value <= high;
                const std::string text = std::to_string(value);
                ASSERT_EQ(read_short(text, low, high),
                          inside ? std::optional(bit(value)) : std::nullopt);
            }
            const std::string spelled = std::to_string(low) + '-' + std::to_string(high);
            ASSERT_EQ(read_short(spelled, low, high), range);
            ASSERT_EQ(read_short("*", low, high), EVERY);
            ASSERT_EQ(read_short("*/1", low, high), range);
            ASSERT_EQ(read_short("*,*", low, high), range);
            ASSERT_EQ(read_short("*/3", low, high), every(3, low, high));
            ASSERT_EQ(read_short(std::to_string(low) + "/2", low, high), every(2, low, high));
            ASSERT_EQ(read_short("-", low, high), Mask{0});
            ASSERT_TRUE(rejects_short(spelled + "-", low, high));
        }
    }
}

TEST(FieldMask, TakesNumbersOnly) {
    for (const std::string& name : names_of(MONTHS)) {
        EXPECT_TRUE(rejects_short(name, 1, 12)) << name;
        EXPECT_TRUE(rejects_short(name + "-12", 1, 12)) << name;
    }
    for (const std::string& name : names_of(WEEKDAYS)) {
        EXPECT_TRUE(rejects_short(name, 0, 6)) << name;
        EXPECT_TRUE(rejects_short("0-" + name, 0, 6)) << name;
    }
    EXPECT_TRUE(rejects_short("L", 1, 31));
    EXPECT_TRUE(rejects_short("l", 1, 31));
    EXPECT_TRUE(rejects_short("1,L", 1, 31));
    EXPECT_TRUE(rejects_short("7", 0, 6));
    EXPECT_TRUE(rejects_short("5-7", 0, 6));
    EXPECT_TRUE(rejects_short("7/1", 0, 6));
    EXPECT_EQ(read_short("7", 0, 7), bit(7));
    EXPECT_EQ(read_short("5-7", 0, 7), bits({5, 6, 7}));
}

TEST(FieldMask, TakesNoBlanks) {
    for (const std::string text : {"", " ", " 5", "5 ", "\t5", "5\t", "1, 2", "1 2", "* ", " -"}) {
        EXPECT_TRUE(rejects_short(text, 0, 23)) << testing::PrintToString(text);
    }
    EXPECT_TRUE(rejects_short(std::string("5\0", 2), 0, 23));
}

TEST(FieldMask, ReadsShortTextsAsTheGrammarSays) {
    const std::vector<std::string> fields = texts::over(std::string("0139-,*/L"), 4);
    const std::vector<std::pair<unsigned int, unsigned int>> ranges = {
        {0, 23}, {1, 31}, {0, 31}, {1, 12}, {0, 6}, {9, 19}, {3, 3}, {31, 31}};
    for (const auto& [low, high] : ranges) {
        const schedule_model::Field model = schedule_model::short_field(low, high);
        for (const std::string& field : fields) {
            ASSERT_EQ(read_short(field, low, high), schedule_model::read_field(model, field))
                << low << '-' << high << ": " << field;
        }
    }
}

TEST(FieldMask, HasNoValueAbove31) {
    for (const unsigned int high : {32U, 33U, 59U, 63U, 64U, 1U << 31, UINT_MAX}) {
        for (const std::string text : {"0", "5", "31", "32", "63", "*", "*/1", "-", "5-6", "0/1"}) {
            EXPECT_TRUE(rejects_short(text, 0, high)) << high << ' ' << text;
            EXPECT_TRUE(rejects_short(text, high, high)) << high << ' ' << text;
        }
    }
}

TEST(FieldMask, HasNoValueInAnEmptyRange) {
    for (const std::string text : {"0", "5", "6", "7", "31", "5-7", "7-5", "5/1"}) {
        EXPECT_TRUE(rejects_short(text, 7, 5)) << text;
        EXPECT_TRUE(rejects_short(text, 1, 0)) << text;
        EXPECT_TRUE(rejects_short(text, UINT_MAX, 5)) << text;
    }
}

TEST(FieldMask, IsTheSameWithTheFlag) {
    for (const bool flag : {false, true}) {
        for (const std::string& field : texts::over(std::string("17-,*/Lm"), 3)) {
            unsigned int mask = SOME_WORD;
            const bool accepted = pln_ent2msk(&mask, field, 0, 6, flag) != 0;
            ASSERT_EQ(accepted, !rejects_short(field, 0, 6)) << field;
            ASSERT_EQ(mask, read_short(field, 0, 6).value_or(SOME_WORD)) << field;
        }
    }
}

TEST(FieldMask, NeedsAMask) {
    EXPECT_EQ(pln_ent2msk(nullptr, "5", 0, 23), 0);
    EXPECT_EQ(pln_ent2msk(nullptr, "*", 0, 23), 0);
    EXPECT_EQ(pln_ent2msk(nullptr, "x", 0, 23), 0);
}

// One field of up to 64 values

namespace {

std::optional<Mask> read_long(const std::string& field, unsigned int count) {
    unsigned int low = SOME_WORD;
    unsigned int high = ~SOME_WORD;
    if (pln_ent2msk64(&low, &high, field, count) == 0) {
        EXPECT_EQ(low, SOME_WORD) << testing::PrintToString(field);
        EXPECT_EQ(high, ~SOME_WORD) << testing::PrintToString(field);
        return {};
    }
    return Mask{high} << 32 | low;
}

bool rejects_long(const std::string& field, unsigned int count) {
    return !read_long(field, count).has_value();
}

} // namespace

TEST(LongFieldMask, HasOneBitForEachValueBelowItsCount) {
    for (unsigned int count = 1; count <= 64; ++count) {
        SCOPED_TRACE(count);
        const Mask range = bits_between(0, count - 1);
        for (unsigned int value = 0; value <= 66; ++value) {
            ASSERT_EQ(read_long(std::to_string(value), count),
                      value < count ? std::optional(bit(value)) : std::nullopt);
        }
        ASSERT_EQ(read_long("0-" + std::to_string(count - 1), count), range);
        ASSERT_TRUE(rejects_long("0-" + std::to_string(count), count));
        ASSERT_EQ(read_long("*", count), range);
        ASSERT_EQ(read_long("*/1", count), range);
        ASSERT_EQ(read_long("*,0", count), range);
        ASSERT_EQ(read_long("*/7", count), every(7, 0, count - 1));
        ASSERT_EQ(read_long("0/31", count), every(31, 0, count - 1));
        ASSERT_EQ(read_long("-", count), Mask{0});
    }
}

TEST(LongFieldMask, PutsValuesFrom32OnIntoTheHighWord) {
    unsigned int low = SOME_WORD;
    unsigned int high = SOME_WORD;
    EXPECT_NE(pln_ent2msk64(&low, &high, "0,31,32,59", 60), 0);
    EXPECT_EQ(low, 0x80000001);
    EXPECT_EQ(high, 0x08000001U);
    EXPECT_NE(pln_ent2msk64(&low, &high, "*", 60), 0);
    EXPECT_EQ(low, 0xffffffff);
    EXPECT_EQ(high, 0x0fffffffU);
    EXPECT_NE(pln_ent2msk64(&low, &high, "30-33", 60), 0);
    EXPECT_EQ(low, 0xc0000000);
    EXPECT_EQ(high, 3U);
    EXPECT_NE(pln_ent2msk64(&low, &high, "63", 64), 0);
    EXPECT_EQ(low, 0U);
    EXPECT_EQ(high, 0x80000000);
    EXPECT_NE(pln_ent2msk64(&low, &high, "*", 32), 0);
    EXPECT_EQ(low, 0xffffffff);
    EXPECT_EQ(high, 0U);
}

TEST(LongFieldMask, TakesNumbersOnly) {
    for (const std::string text :
         {"", " 5", "5 ", "L", "l", "jan", "mon", "1-x", "1,", "*/0", "5-4"}) {
        EXPECT_TRUE(rejects_long(text, 60)) << text;
    }
    EXPECT_TRUE(rejects_long("7", 7));
}

TEST(LongFieldMask, ReadsShortTextsAsTheGrammarSays) {
    const std::vector<std::string> fields = texts::over(std::string("0356-,*/L"), 4);
    for (const unsigned int count : {60U, 64U, 63U, 33U, 32U, 31U, 7U, 1U}) {
        const schedule_model::Field model = schedule_model::long_field(count);
        for (const std::string& field : fields) {
            ASSERT_EQ(read_long(field, count), schedule_model::read_field(model, field))
                << count << ": " << field;
        }
    }
}

TEST(LongFieldMask, HasFromOneTo64Values) {
    for (const unsigned int count : {0U, 65U, 66U, 96U, 128U, 1U << 31, UINT_MAX}) {
        for (const std::string text : {"0", "5", "63", "64", "*", "*/1", "-", "0-63", "0/1"}) {
            EXPECT_TRUE(rejects_long(text, count)) << count << ' ' << text;
        }
    }
}

TEST(LongFieldMask, NeedsBothWords) {
    unsigned int word = SOME_WORD;
    for (const std::string text : {"5", "40", "*", "-", "x"}) {
        EXPECT_EQ(pln_ent2msk64(nullptr, &word, text, 60), 0) << text;
        EXPECT_EQ(pln_ent2msk64(&word, nullptr, text, 60), 0) << text;
        EXPECT_EQ(pln_ent2msk64(nullptr, nullptr, text, 60), 0) << text;
    }
    EXPECT_EQ(word, SOME_WORD);
}

// Printing

namespace {

// Whether the printed form of a record is one, and reads back as far as the bits mean something.
testing::AssertionResult prints(const cronblk& record) {
    const std::string text = pln_crn2str(&record);
    const std::string fault = schedule_model::fault_in_text(record, text);
    if (!fault.empty()) {
        return testing::AssertionFailure() << fault << "; " << record;
    }
    cronblk back = UNTOUCHED;
    if (pln_str2crn(&back, text) == 0 || back != schedule_model::shown(record)) {
        return testing::AssertionFailure() << record << " is " << text << ", which is " << back;
    }
    return testing::AssertionSuccess();
}

// The text of one field, which stands between those of other values.
std::string printed(Place place, Mask mask) {
    Masks masks = {bit(7), bit(6), bit(5), bit(4), bit(3)};
    masks[place] = mask;
    const cronblk record = record_of(masks);
    const std::string text = pln_crn2str(&record);
    const std::string frame = schedule_with(place, "");
    const std::size_t start = 2 * place; // each field before it is one digit and a blank
    const std::size_t size = text.size() - std::min(text.size(), frame.size());
    const std::string field = text.substr(std::min(start, text.size()), size);
    EXPECT_EQ(text, schedule_with(place, field));
    return field;
}

// The same for one field, whatever the others are.
testing::AssertionResult prints(Place place, Mask mask) {
    const schedule_model::Field& model = schedule_model::fields()[place];
    const std::string text = printed(place, mask);
    const std::string fault = schedule_model::fault_in_field(model, mask, text);
    if (!fault.empty()) {
        return testing::AssertionFailure() << fault << " of " << text;
    }
    if (read(place, text) != schedule_model::shown(model, mask)) {
        return testing::AssertionFailure() << text << " does not read back";
    }
    return testing::AssertionSuccess();
}

// Every set of up to `count` of the values from `low` to `high`.
std::vector<Mask> sets_of(unsigned int count, unsigned int low, unsigned int high) {
    std::vector<Mask> sets{0};
    for (unsigned int value = low; value <= high; ++value) {
        for (std::size_t i = sets.size(); i > 0; --i) {
            if (schedule_model::count_of(sets[i - 1]) < count) {
                sets.push_back(sets[i - 1] | bit(value));
            }
        }
    }
    return sets;
}

// Masks with many runs and gaps.
std::vector<Mask> random_masks(unsigned int seed, std::size_t count) {
    std::mt19937_64 random(seed);
    std::vector<Mask> masks;
    while (masks.size() < count) {
        const Mask dense = random() | random();
        const Mask sparse = random() & random();
        masks.insert(masks.end(), {random(), dense, sparse, dense | random(), sparse & random()});
    }
    return masks;
}

void expect_random_masks_printed(Place place) {
    const unsigned int seed = seed_of_round(place);
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (const Mask mask : random_masks(seed, 3000)) {
        ASSERT_TRUE(prints(place, mask));
    }
}

} // namespace

TEST(SchedulePrint, IsFiveFieldsWithOneBlankBetween) {
    EXPECT_EQ(pln_crn2str(&PLAIN), "1 2 3 4 5");
    const cronblk empty{};
    EXPECT_EQ(pln_crn2str(&empty), "- - - - -");
    const cronblk full = record_of(STAR);
    EXPECT_EQ(pln_crn2str(&full), "* * * * *");
    const cronblk each = {1, 0, 1, 1, 2, 1};
    EXPECT_EQ(pln_crn2str(&each), "0 0 L 1 0");
    const cronblk last = {0, 1U << 27, 1U << 23, 1U << 31, 1U << 12, 1U << 6};
    EXPECT_EQ(pln_crn2str(&last), "59 23 31 12 6");
}

TEST(SchedulePrint, HasANumberForEachValue) {
    for (const Place place : PLACES) {
        for (unsigned int value = LOW[place]; value <= HIGH[place]; ++value) {
            EXPECT_EQ(printed(place, bit(value)), std::to_string(value));
        }
    }
    EXPECT_EQ(printed(DAYS, bit(0)), "L");
}

TEST(SchedulePrint, HasAListOfTwoValues) {
    for (const Place place : PLACES) {
        EXPECT_EQ(printed(place, bits({1, 2})), "1,2");
        EXPECT_EQ(printed(place, bits({2, 5})), "2,5");
    }
    EXPECT_EQ(printed(MINUTES, bits({31, 32})), "31,32");
}

TEST(SchedulePrint, HasARangeForThreeOrMoreInARow) {
    for (const Place place : PLACES) {
        EXPECT_EQ(printed(place, bits({1, 2, 3})), "1-3");
        EXPECT_EQ(printed(place, bits({3, 4, 5, 6})), "3-6");
        EXPECT_EQ(printed(place, bits({1, 3, 4, 5})), "1,3-5");
        EXPECT_EQ(printed(place, bits({1, 2, 3, 6})), "1-3,6");
        const Mask range = bits_between(LOW[place], HIGH[place]);
        if (place != MINUTES) { // every minute is a star
            EXPECT_EQ(printed(place, range),
                      std::to_string(LOW[place]) + '-' + std::to_string(HIGH[place]));
        }
    }
    EXPECT_EQ(printed(MINUTES, bits_between(30, 33)), "30-33");
    EXPECT_EQ(printed(MINUTES, bits_between(0, 31)), "0-31");
    EXPECT_EQ(printed(MINUTES, bits_between(32, 59)), "32-59");
    EXPECT_EQ(printed(MINUTES, bits_between(1, 59)), "1-59");
    EXPECT_EQ(printed(MINUTES, bits_between(0, 58)), "0-58");
}

TEST(SchedulePrint, HasAStarForAllBits) {
    for (const Place place : PLACES) {
        EXPECT_EQ(printed(place, STAR[place]), "*");
    }
    EXPECT_EQ(printed(MINUTES, ~Mask{0}), "*"); // bits without a minute aside
    for (const Place place : {HOURS, DAYS, MONTHS, WEEKDAYS}) {
        for (unsigned int value = 0; value < 32; ++value) {
            EXPECT_NE(printed(place, EVERY & ~bit(value)), "*") << place << ' ' << value;
        }
    }
}

TEST(SchedulePrint, HasAMinusWithoutAnyBitOfTheField) {
    for (const Place place : PLACES) {
        EXPECT_EQ(printed(place, 0), "-");
        const Mask meaning = bits_between(LOW[place], HIGH[place]) | (place == DAYS ? 1 : 0);
        EXPECT_EQ(printed(place, STAR[place] & ~meaning), "-");
    }
    EXPECT_EQ(printed(MINUTES, ~bits_between(0, 59)), "-");
    EXPECT_EQ(printed(WEEKDAYS, bit(7)), "-");
    EXPECT_EQ(printed(MONTHS, bit(0)), "-");
}

TEST(SchedulePrint, ReadsBackForHours) {
    const Mask all = bits_between(0, 23);
    const Mask beyond = EVERY & ~all;
    for (const Mask mask : texts::affordable(sets_of(4, 0, 23))) {
        ASSERT_TRUE(prints(HOURS, mask));
    }
    for (const Mask mask : texts::affordable(sets_of(3, 0, 23))) {
        ASSERT_TRUE(prints(HOURS, mask | beyond));
        ASSERT_TRUE(prints(HOURS, all & ~mask));
        ASSERT_TRUE(prints(HOURS, EVERY & ~mask));
    }
}

TEST(SchedulePrint, ReadsBackForDays) {
    for (const Mask mask : texts::affordable(sets_of(3, 0, 31))) {
        ASSERT_TRUE(prints(DAYS, mask));
        ASSERT_TRUE(prints(DAYS, EVERY & ~mask));
    }
    expect_random_masks_printed(DAYS);
}

TEST(SchedulePrint, ReadsBackForMonths) {
    for (Mask mask = 0; mask < 1 << 12; ++mask) {
        ASSERT_TRUE(prints(MONTHS, mask << 1));
        ASSERT_TRUE(prints(MONTHS, mask << 1 | 1));
        ASSERT_TRUE(prints(MONTHS, mask << 1 | 0xffffe001));
        ASSERT_TRUE(prints(MONTHS, mask << 1 | 0x80002000));
    }
}

TEST(SchedulePrint, ReadsBackForWeekdays) {
    for (Mask mask = 0; mask < 1 << 7; ++mask) {
        for (const Mask beyond :
             {0x00000000U, 0xffffff80U, 0x00000080U, 0x7fffff80U, 0xffffff00U}) {
            ASSERT_TRUE(prints(WEEKDAYS, mask | beyond));
        }
    }
}

TEST(SchedulePrint, ReadsBackForMinutes) {
    const Mask all = bits_between(0, 59);
    for (const Mask mask : texts::affordable(sets_of(2, 0, 63))) {
        ASSERT_TRUE(prints(MINUTES, mask));
        ASSERT_TRUE(prints(MINUTES, all & ~mask));
        ASSERT_TRUE(prints(MINUTES, ~mask));
    }
    expect_random_masks_printed(MINUTES);
}

TEST(SchedulePrint, ReadsBackForEverySteppedSet) {
    for (const Place place : PLACES) {
        for (unsigned int step = 1; step <= 30; ++step) {
            for (unsigned int first = LOW[place]; first <= HIGH[place]; ++first) {
                for (unsigned int last = first; last <= HIGH[place]; last += step) {
                    ASSERT_TRUE(prints(place, every(step, first, last)));
                }
                // With a value that does not belong to it, before, within or behind it
                const Mask mask = every(step, first, HIGH[place] - 1);
                for (const unsigned int other : {LOW[place], first + 1, HIGH[place]}) {
                    ASSERT_TRUE(prints(place, mask | bit(other)));
                }
                ASSERT_TRUE(prints(place, mask | bit(0))); // the last day
            }
        }
    }
}

TEST(SchedulePrint, ReadsBackForRandomRecords) {
    const unsigned int seed = seed_of_round(0);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::vector<Mask> masks = random_masks(seed, 10000);
    for (std::size_t i = 0; i + 5 <= masks.size(); i += 5) {
        const Masks fields = {masks[i], masks[i + 1], masks[i + 2], masks[i + 3], masks[i + 4]};
        ASSERT_TRUE(prints(record_of(fields)));
    }
}

TEST(SchedulePrint, DoesNotLookAtTheLocale) {
    class Grouping : public std::numpunct<char> {
    protected:
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\1"; }
    };
    const scoped::GlobalLocale locale(std::locale(std::locale::classic(), new Grouping));
    const cronblk record = {1U << 30, 0, 1U << 22, 1U << 15, 1U << 11, 1U << 3};
    EXPECT_EQ(pln_crn2str(&record), "30 22 15 11 3");
    EXPECT_EQ(read_text("30 22 15 11 3"), record);
}

TEST(SchedulePrint, OfNoRecordIsNoSchedule) { EXPECT_TRUE(rejects(pln_crn2str(nullptr))); }

// Out of memory

TEST(ScheduleOutOfMemory, LeavesTheRecordAlone) {
    const std::string text = "30-33,59 8-18/2 L,15 jan,jul mon-fri";
    cronblk record = UNTOUCHED;
    int result = 0;
    const allocation::Watch watch;
    allocation::fail_each([&] { result = pln_str2crn(&record, text); },
                          [&] { EXPECT_EQ(record, UNTOUCHED); });
    EXPECT_EQ(watch.live(), 0);
    EXPECT_NE(result, 0);
    EXPECT_EQ(record, (cronblk{0xc0000000, 0x08000003, 0x00055500, 0x00008001, 0x00000082, 0x3e}));
}

TEST(ScheduleOutOfMemory, LeavesTheMasksAlone) {
    const std::string field = "1,3,5,7,9-23/3";
    unsigned int low = SOME_WORD;
    unsigned int high = SOME_WORD;
    const allocation::Watch watch;
    allocation::fail_each([&] { pln_ent2msk64(&low, &high, field, 60); },
                          [&] { EXPECT_EQ(low == SOME_WORD && high == SOME_WORD, true); });
    EXPECT_EQ(Mask{high} << 32 | low, bits({1, 3, 5, 7, 9, 12, 15, 18, 21}));
    unsigned int mask = SOME_WORD;
    allocation::fail_each([&] { pln_ent2msk(&mask, field, 0, 23); },
                          [&] { EXPECT_EQ(mask, SOME_WORD); });
    EXPECT_EQ(mask, bits({1, 3, 5, 7, 9, 12, 15, 18, 21}));
    EXPECT_EQ(watch.live(), 0);
}

TEST(ScheduleOutOfMemory, LeaksNoPrintedText) {
    const cronblk record = {0x15a15a15, 0x0a51a5a5, 0x00a5a5a5, 0x15a5a5a5, 0x15a5, 0x2d};
    const std::string expected = pln_crn2str(&record);
    std::string text(expected.size(), ' ');
    const allocation::Watch watch;
    const std::size_t failures =
        allocation::fail_each([&] { EXPECT_EQ(pln_crn2str(&record), expected); }, [] {});
    EXPECT_GT(failures, 0U); // the text is longer than what a string holds within itself
    EXPECT_EQ(watch.live(), 0);
}

// The example of the header

TEST(ScheduleUsage, TheExampleOfTheHeader) {
    cronblk record{};
    EXPECT_NE(pln_str2crn(&record, "0,30 8-18/2 * * mon-fri"), 0);
    EXPECT_EQ(record, (cronblk{1U | 1U << 30, 0, 0x00055500, 0xffffffff, 0xffffffff, 0x3e}));
    EXPECT_EQ(pln_crn2str(&record), "0,30 8-18/2 * * 1-5");
    const cronblk earlier = record;
    EXPECT_EQ(pln_str2crn(&record, "60 * * * *"), 0);
    EXPECT_EQ(record, earlier);
}
