/// @file
/// Tests of when schedules are due: the calendar and the clock by themselves, for fixed times and
/// zones, and the command around them.
///
/// Zones are told by their rules, so that the tests need no time zone database but where they say
/// so.

#include "../system/due.hpp"
#include "support.hpp"

#include <ctime>
#include <iomanip>
#include <nuriccl/cron.hpp>
#include <optional>
#include <random>
#include <regex>
#include <set>

namespace minibackup_test {

namespace {

using minibackup::next_due;

constexpr char UTC[] = "UTC0";
constexpr char BERLIN[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char NEW_YORK[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char LORD_HOWE[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"; // half an hour
constexpr char KATHMANDU[] = "<+0545>-5:45";

// The time zone of this process.
class Zone {
public:
    explicit Zone(const std::string& zone) {
        const char* const earlier = std::getenv("TZ");
        if (earlier != nullptr) {
            earlier_ = earlier;
        }
        set(zone);
    }
    ~Zone() { set(earlier_); }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    static void set(const std::optional<std::string>& zone) {
        zone ? setenv("TZ", zone->c_str(), 1) : unsetenv("TZ");
        tzset();
    }

    std::optional<std::string> earlier_;
};

// Of "2026-03-29 02:30", by a clock of UTC.
std::time_t utc(const std::string& text) {
    tm parts{};
    std::istringstream stream(text);
    stream >> std::get_time(&parts, "%Y-%m-%d %H:%M");
    EXPECT_TRUE(stream) << text;
    return timegm(&parts);
}

// "2026-03-29 03:00+0200"
std::string local_text(std::time_t time) {
    tm parts{};
    localtime_r(&time, &parts);
    char text[64];
    EXPECT_LT(0U, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M%z", &parts));
    EXPECT_EQ(0, parts.tm_sec) << text;
    return text;
}

using Texts = std::vector<std::string>;

Texts due_after(const cronblk& schedule, std::time_t time, std::size_t count) {
    Texts found;
    while (found.size() < count) {
        const auto due = next_due(schedule, time);
        if (!due) {
            break;
        }
        found.push_back(local_text(*due));
        EXPECT_LT(time, *due) << found.back();
        time = *due;
    }
    return found;
}

cronblk record_of(const std::string& schedule) {
    const nuriccl::Cron cron(schedule);
    EXPECT_TRUE(cron.valid()) << schedule;
    return cron.block();
}

struct Row {
    const char* from; // UTC
    const char* schedule;
    Texts due; // local, with the distance from UTC
};

void expect_due(const std::string& zone, const std::vector<Row>& rows) {
    const Zone in(zone);
    for (const Row& row : rows) {
        EXPECT_EQ(row.due, due_after(record_of(row.schedule), utc(row.from), row.due.size()))
            << row.schedule << " from " << row.from << " in " << zone;
    }
}

} // namespace

// The calendar

TEST(Due, IsLaterThanTheTimeThatItIsAskedFor) {
    expect_due(UTC, {{"2026-05-04 10:14", "15 10 * * *", {"2026-05-04 10:15+0000"}},
                     {"2026-05-04 10:15", "15 10 * * *", {"2026-05-05 10:15+0000"}},
                     {"2026-05-04 10:15", "* * * * *", {"2026-05-04 10:16+0000"}},
                     {"2026-12-31 23:59", "* * * * *", {"2027-01-01 00:00+0000"}}});
    const Zone in(UTC);
    EXPECT_EQ(utc("2026-05-04 10:15"),
              next_due(record_of("* * * * *"), utc("2026-05-04 10:15") - 1));
    EXPECT_EQ(utc("2026-05-04 10:16"),
              next_due(record_of("* * * * *"), utc("2026-05-04 10:15") + 59));
}

TEST(Due, FollowsEachField) {
    expect_due(
        UTC,
        {{"2026-02-27 21:00",
          "0,30 22-23 * * *",
          {"2026-02-27 22:00+0000", "2026-02-27 22:30+0000", "2026-02-27 23:00+0000",
           "2026-02-27 23:30+0000", "2026-02-28 22:00+0000"}},
         {"2026-02-27 23:50",
          "59,31-32 0 * * *", // in both words of the minutes
          {"2026-02-28 00:31+0000", "2026-02-28 00:32+0000", "2026-02-28 00:59+0000",
           "2026-03-01 00:31+0000"}},
         {"2026-01-15 00:00",
          "0 12 1,31 * *",
          {"2026-01-31 12:00+0000", "2026-02-01 12:00+0000", "2026-03-01 12:00+0000",
           "2026-03-31 12:00+0000", "2026-04-01 12:00+0000"}},
         {"2026-01-15 00:00",
          "0 0 1 jan,jul *",
          {"2026-07-01 00:00+0000", "2027-01-01 00:00+0000", "2027-07-01 00:00+0000"}},
         {"2026-01-01 00:00", // a Thursday
          "0 6 * * 1-5",
          {"2026-01-01 06:00+0000", "2026-01-02 06:00+0000", "2026-01-05 06:00+0000"}},
         {"2026-01-01 00:00", "0 0 * * 7", {"2026-01-04 00:00+0000", "2026-01-11 00:00+0000"}},
         {"2026-01-01 00:00",
          "0 0 * feb sat,sun",
          {"2026-02-01 00:00+0000", "2026-02-07 00:00+0000", "2026-02-08 00:00+0000"}},
         {"1969-12-31 23:58", "*/5 * * * *", {"1970-01-01 00:00+0000", "1970-01-01 00:05+0000"}},
         {"1969-12-30 12:00", "0 0,13 31 * *", {"1969-12-31 00:00+0000", "1969-12-31 13:00+0000"}},
         {"2038-01-19 03:14", "15 3 19 1 *", {"2038-01-19 03:15+0000", "2039-01-19 03:15+0000"}}});
}

TEST(Due, OnTheLastDayOfEachMonth) {
    expect_due(
        UTC,
        {{"2027-12-31 12:00",
          "0 0 L * *",
          {"2028-01-31 00:00+0000", "2028-02-29 00:00+0000", "2028-03-31 00:00+0000",
           "2028-04-30 00:00+0000", "2028-05-31 00:00+0000", "2028-06-30 00:00+0000",
           "2028-07-31 00:00+0000", "2028-08-31 00:00+0000", "2028-09-30 00:00+0000",
           "2028-10-31 00:00+0000", "2028-11-30 00:00+0000", "2028-12-31 00:00+0000"}},
         {"2099-01-01 00:00",
          "0 0 L 2 *",
          {"2099-02-28 00:00+0000", "2100-02-28 00:00+0000", "2101-02-28 00:00+0000"}},
         {"1999-06-01 00:00", "0 0 L feb *", {"2000-02-29 00:00+0000", "2001-02-28 00:00+0000"}},
         {"2026-04-01 00:00",
          "0 0 15,L 4,5 *",
          {"2026-04-15 00:00+0000", "2026-04-30 00:00+0000", "2026-05-15 00:00+0000",
           "2026-05-31 00:00+0000", "2027-04-15 00:00+0000"}},
         {"2026-02-01 00:00", // named twice, and due once
          "0 0 28,L 2 *",
          {"2026-02-28 00:00+0000", "2027-02-28 00:00+0000", "2028-02-28 00:00+0000",
           "2028-02-29 00:00+0000"}}});
}

TEST(Due, OnEitherDayWhenBothFieldsAreRestricted) {
    expect_due(
        UTC,
        {{"2026-02-01 00:00", // 13 February and March are Fridays
          "0 0 13 * fri",
          {"2026-02-06 00:00+0000", "2026-02-13 00:00+0000", "2026-02-20 00:00+0000",
           "2026-02-27 00:00+0000", "2026-03-06 00:00+0000", "2026-03-13 00:00+0000",
           "2026-03-20 00:00+0000", "2026-03-27 00:00+0000", "2026-04-03 00:00+0000",
           "2026-04-10 00:00+0000", "2026-04-13 00:00+0000"}},
         {"2026-04-24 00:00",
          "0 0 L * mon",
          {"2026-04-27 00:00+0000", "2026-04-30 00:00+0000", "2026-05-04 00:00+0000"}},
         {"2026-02-01 00:00", // 30 February leaves the weekday
          "0 0 30 2 sun",
          {"2026-02-08 00:00+0000", "2026-02-15 00:00+0000", "2026-02-22 00:00+0000",
           "2027-02-07 00:00+0000"}},
         {"2026-02-01 12:00", // all days in other words are no star
          "0 0 1-31 * mon",
          {"2026-02-02 00:00+0000", "2026-02-03 00:00+0000"}},
         {"2026-02-01 12:00", "0 0 */1 * mon", {"2026-02-02 00:00+0000", "2026-02-03 00:00+0000"}},
         {"2026-02-01 12:00", "0 0 5 * 0-6", {"2026-02-02 00:00+0000", "2026-02-03 00:00+0000"}},
         {"2026-02-01 12:00", // but this is, in the record
          "0 0 1-31,L * mon",
          {"2026-02-02 00:00+0000", "2026-02-09 00:00+0000"}}});
}

TEST(Due, OnLeapDaysHoweverFarApart) {
    expect_due(
        UTC,
        {{"2026-01-01 00:00", "0 0 29 2 *", {"2028-02-29 00:00+0000", "2032-02-29 00:00+0000"}},
         {"2096-03-01 00:00", "0 0 29 2 *", {"2104-02-29 00:00+0000"}},
         {"1896-03-01 00:00", "0 0 29 2 *", {"1904-02-29 00:00+0000"}},
         {"1999-01-01 00:00", "0 0 29 2 *", {"2000-02-29 00:00+0000"}}});
}

TEST(Due, IsNothingWhenASchedulesDaysOrTimesDoNotExist) {
    for (const std::string& zone : {std::string(UTC), std::string(BERLIN)}) {
        const Zone in(zone);
        for (const char* schedule :
             {"0 0 30 2 *", "0 0 30,31 feb *", "0 0 31 4,6,9,11 *", "- * * * *", "* - * * *",
              "* * * - *", "* * - * *", "* * * * -", "- - - - -"}) {
            EXPECT_EQ(std::nullopt, next_due(record_of(schedule), utc("2026-01-01 00:00")))
                << schedule;
        }
    }
    EXPECT_EQ(std::nullopt, next_due(cronblk{}, utc("2026-01-01 00:00")));
}

// Hours past midnight belong to each day of the schedule, before its evening.
TEST(Due, FollowsIntervalsPastMidnight) {
    const Zone in(UTC);
    nuriccl::Cron cron("0 0 * * *");
    ASSERT_TRUE(cron.SetIntraDailyHours("0", IntervalSet{22, 2, 2}));
    EXPECT_EQ((Texts{"2026-02-27 22:00+0000", "2026-02-28 00:00+0000", "2026-02-28 02:00+0000",
                     "2026-02-28 22:00+0000", "2026-03-01 00:00+0000"}),
              due_after(cron.block(), utc("2026-02-27 12:00"), 5));
    ASSERT_TRUE(cron.SetIntraDailyHours("15,45", IntervalSet{22, 2, 2})); // not at 2
    cron.DaysOfWeek("0000010");                                           // Friday
    EXPECT_EQ((Texts{"2026-02-27 00:15+0000", "2026-02-27 00:45+0000", "2026-02-27 22:15+0000",
                     "2026-02-27 22:45+0000", "2026-03-06 00:15+0000"}),
              due_after(cron.block(), utc("2026-02-26 12:00"), 5));
    ASSERT_TRUE(cron.SetIntraDailyHours("59", IntervalSet{0, 0, 1})); // all hours, but no star
    cron.DaysOfWeek("1111111");
    EXPECT_EQ((Texts{"2026-02-26 23:59+0000", "2026-02-27 00:59+0000"}),
              due_after(cron.block(), utc("2026-02-26 23:00"), 2));
    cron.Days("0000000000000000000000000000001"); // the 31st
    EXPECT_EQ((Texts{"2026-03-31 00:59+0000"}),
              due_after(cron.block(), utc("2026-02-26 23:00"), 1));
}

// The clock

TEST(Due, GoesByTheLocalClock) {
    expect_due(BERLIN,
               {{"2026-01-31 22:59", "0 0 1 * *", {"2026-02-01 00:00+0100"}},
                {"2026-01-31 23:00", "0 0 1 * *", {"2026-03-01 00:00+0100"}},
                {"2026-03-27 00:00",
                 "0 12 * * *",
                 {"2026-03-27 12:00+0100", "2026-03-28 12:00+0100", "2026-03-29 12:00+0200"}},
                {"2026-07-01 00:00", "0 0 1 1,7 *", {"2027-01-01 00:00+0100"}}});
    expect_due(NEW_YORK, {{"2026-01-01 04:59", "0 0 * * *", {"2026-01-01 00:00-0500"}},
                          {"2026-01-01 05:00", "0 0 * * *", {"2026-01-02 00:00-0500"}},
                          {"2026-02-28 23:00", "30 23 L * *", {"2026-02-28 23:30-0500"}}});
    expect_due(KATHMANDU, {{"2026-01-01 00:00", "0 6 * * *", {"2026-01-01 06:00+0545"}}});
}

TEST(Due, OnceAtTheFirstMomentAfterAGap) {
    expect_due(
        BERLIN,
        {{"2026-03-27 12:00", // from 2:00 to 3:00 on the 29th
          "30 2 * * *",
          {"2026-03-28 02:30+0100", "2026-03-29 03:00+0200", "2026-03-30 02:30+0200"}},
         {"2026-03-29 00:00", "*/20 2 * * *", {"2026-03-29 03:00+0200", "2026-03-30 02:00+0200"}},
         {"2026-03-29 00:00",
          "*/20 2,3 * * *",
          {"2026-03-29 03:00+0200", "2026-03-29 03:20+0200", "2026-03-29 03:40+0200",
           "2026-03-30 02:00+0200"}},
         {"2026-03-29 00:58",
          "* * * * *",
          {"2026-03-29 01:59+0100", "2026-03-29 03:00+0200", "2026-03-29 03:01+0200"}},
         {"2026-03-29 01:00", // 3:00, at which the gap's runs are due
          "30 2 * * *",
          {"2026-03-30 02:30+0200"}},
         {"2025-03-30 12:00", // 29 March, only when it is the last Sunday
          "30 2 29 3 *",
          {"2026-03-29 03:00+0200", "2027-03-29 02:30+0200"}}});
    expect_due(NEW_YORK,
               {{"2026-03-07 12:00", // from 2:00 to 3:00 on the 8th
                 "15 2 * * *",
                 {"2026-03-08 03:00-0400", "2026-03-09 02:15-0400"}},
                {"2026-03-07 12:00",
                 "0 2,3 * * sun",
                 {"2026-03-08 03:00-0400", "2026-03-15 02:00-0400", "2026-03-15 03:00-0400"}}});
    expect_due(
        LORD_HOWE,
        {{"2026-10-03 12:00", // from 2:00 to 2:30 on the 4th
          "15 2 * * *",
          {"2026-10-04 02:30+1100", "2026-10-05 02:15+1100"}},
         {"2026-10-03 12:00", "45 2 * * *", {"2026-10-04 02:45+1100", "2026-10-05 02:45+1100"}}});
}

TEST(Due, OnceWhenTimesComeTwice) {
    expect_due(
        BERLIN,
        {{"2026-10-24 12:00", // from 3:00 to 2:00 on the 25th
          "30 2 * * *",
          {"2026-10-25 02:30+0200", "2026-10-26 02:30+0100"}},
         {"2026-10-24 12:00", "0 3 * * *", {"2026-10-25 03:00+0100", "2026-10-26 03:00+0100"}},
         {"2026-10-24 23:30",
          "0,30 * * * *",
          {"2026-10-25 02:00+0200", "2026-10-25 02:30+0200", "2026-10-25 03:00+0100",
           "2026-10-25 03:30+0100"}},
         {"2026-10-25 01:10", // 2:10 for the second time
          "15 2 * * *",
          {"2026-10-26 02:15+0100"}},
         {"2026-10-25 00:59", // 2:59 for the first time
          "* * * * *",
          {"2026-10-25 03:00+0100", "2026-10-25 03:01+0100"}},
         {"2026-10-25 01:00", "* * * * *", {"2026-10-25 03:00+0100"}}});
    expect_due(NEW_YORK, {{"2026-10-31 12:00", // from 2:00 to 1:00 on 1 November
                           "30 1 * * *",
                           {"2026-11-01 01:30-0400", "2026-11-02 01:30-0500"}},
                          {"2026-11-01 05:45", // 1:45 for the first time
                           "0,30 * * * *",
                           {"2026-11-01 02:00-0500", "2026-11-01 02:30-0500"}}});
    expect_due(
        LORD_HOWE,
        {{"2026-04-04 12:00", // from 2:00 to 1:30 on the 5th
          "45 1 * * *",
          {"2026-04-05 01:45+1100", "2026-04-06 01:45+1030"}},
         {"2026-04-04 12:00", "0 2 * * *", {"2026-04-05 02:00+1030", "2026-04-06 02:00+1030"}}});
}

TEST(Due, CopesWithTheChangesOfRealZones) {
    if (!fs::exists("/usr/share/zoneinfo/Pacific/Apia")) {
        GTEST_SKIP() << "no time zone database on this system";
    }
    expect_due(
        "Europe/Berlin",
        {{"2026-03-28 12:00", "30 2 * * *", {"2026-03-29 03:00+0200"}},
         {"2026-10-24 12:00", "30 2 * * *", {"2026-10-25 02:30+0200", "2026-10-26 02:30+0100"}}});
    expect_due(
        "America/New_York",
        {{"2026-03-07 12:00", "30 2 * * *", {"2026-03-08 03:00-0400"}},
         {"2026-10-31 12:00", "30 1 * * *", {"2026-11-01 01:30-0400", "2026-11-02 01:30-0500"}}});
    expect_due("Pacific/Apia",
               {{"2011-12-29 12:00", // which had no 30 December
                 "0 12 * * *",
                 {"2011-12-29 12:00-1000", "2011-12-31 00:00+1400", "2011-12-31 12:00+1400"}},
                {"2011-12-29 12:00", "0 0 30 12 *", {"2011-12-31 00:00+1400"}}});
    expect_due("Pacific/Kwajalein", // left the time of America for that of Asia, without 21 August
               {{"1993-08-20 12:00", "30 6 21 8 *", {"1993-08-22 00:00+1200"}}});
    expect_due(
        "Europe/Moscow", // from 2:00 to 1:00 on the 26th, both standard time
        {{"2014-10-25 12:00", "30 1 * * *", {"2014-10-26 01:30+0400", "2014-10-27 01:30+0300"}}});
    expect_due(
        "America/St_Johns", // from 0:01 to 23:01 of the day before
        {{"2010-11-06 12:00", "30 23 * * *", {"2010-11-06 23:30-0230", "2010-11-07 23:30-0330"}},
         {"2010-11-06 12:00", "0 0 * * *", {"2010-11-07 00:00-0230", "2010-11-08 00:00-0330"}}});
}

// A model that knows nothing of masks and jumps: it looks at the clock every minute.

namespace {

struct Values {
    std::string text;
    std::set<int> values;
    bool star = false;
};

class Model {
public:
    Model(std::time_t begin, std::time_t end) {
        std::time_t latest = reading(begin - 2 * 86400);
        for (std::time_t time = begin - 2 * 86400 + 60; time <= end; time += 60) {
            const std::time_t shown = reading(time);
            Minute minute{time, {}};
            for (; latest < shown; latest += 60) {
                minute.fresh.push_back(latest + 60);
            }
            if (time > begin && !minute.fresh.empty()) {
                minutes_.push_back(minute);
            }
        }
    }

    std::vector<std::time_t> due(const std::vector<Values>& fields) const {
        std::vector<std::time_t> found;
        for (const Minute& minute : minutes_) {
            if (std::any_of(minute.fresh.begin(), minute.fresh.end(),
                            [&](std::time_t shown) { return names(fields, shown); })) {
                found.push_back(minute.time);
            }
        }
        return found;
    }

private:
    struct Minute {
        std::time_t time;
        std::vector<std::time_t>
            fresh; // what the clock shows, or has leapt over, for the first time
    };

    static std::time_t reading(std::time_t time) {
        tm parts{};
        localtime_r(&time, &parts);
        return timegm(&parts);
    }

    static bool names(const std::vector<Values>& fields, std::time_t shown) {
        tm parts{};
        gmtime_r(&shown, &parts);
        const auto has = [&](std::size_t field, int value) {
            return fields[field].star || fields[field].values.count(value) != 0;
        };
        if (!has(0, parts.tm_min) || !has(1, parts.tm_hour) || !has(3, parts.tm_mon + 1)) {
            return false;
        }
        const int days[] = {
            31, parts.tm_year % 4 == 0 ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool last = parts.tm_mday == days[parts.tm_mon] && fields[2].values.count(0) != 0;
        const bool by_day = has(2, parts.tm_mday) || last;
        const bool by_weekday = has(4, parts.tm_wday);
        if (fields[2].star || fields[4].star) {
            return by_day && by_weekday;
        }
        return by_day || by_weekday;
    }

    std::vector<Minute> minutes_;
};

Values random_values(std::mt19937& random, int low, int high, bool last_day) {
    const auto number = [&random](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    if (number(0, 2) == 0) {
        return {"*", {}, true};
    }
    Values result;
    for (int items = number(1, 3); items > 0; --items) {
        result.text += result.text.empty() ? "" : ",";
        if (last_day && number(0, 3) == 0) {
            result.text += "L";
            result.values.insert(0);
            continue;
        }
        const int first = number(low, high);
        const int last = number(0, 1) == 0 ? first : number(first, high);
        const int step = last == first ? 1 : number(1, 4);
        result.text += std::to_string(first);
        result.text += last == first ? "" : '-' + std::to_string(last);
        result.text += step == 1 ? "" : '/' + std::to_string(step);
        for (int value = first; value <= last; value += step) {
            result.values.insert(value);
        }
    }
    result.star = last_day && result.values.size() == 32; // "1-31,L" is the same record
    return result;
}

} // namespace

TEST(Due, AgreesWithAModelThatLooksEveryMinute) {
    constexpr int SCHEDULES = SANITIZED ? 10 : 25;
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    struct Period {
        const char* zone;
        const char* begin;
        int weeks;
    };
    for (const Period& period :
         {Period{BERLIN, "2026-03-16 00:00", 4}, Period{BERLIN, "2026-10-12 00:00", 4},
          Period{NEW_YORK, "2026-02-23 00:00", 4}, Period{NEW_YORK, "2026-10-26 00:00", 4},
          Period{LORD_HOWE, "2026-03-30 00:00", 2}, Period{LORD_HOWE, "2026-09-28 00:00", 2},
          Period{KATHMANDU, "2028-02-14 00:00", 4}, Period{UTC, "2027-12-20 00:00", 3}}) {
        const Zone in(period.zone);
        const std::time_t begin = utc(period.begin) + random() % 86400 / 60 * 60;
        const std::time_t end = begin + period.weeks * 7 * 86400;
        const Model model(begin, end);
        for (int i = 0; i < SCHEDULES; ++i) {
            const std::vector<Values> fields = {
                random_values(random, 0, 59, false), random_values(random, 0, 23, false),
                random_values(random, 1, 31, true), random_values(random, 1, 12, false),
                random_values(random, 0, 6, false)};
            std::string text;
            for (const Values& field : fields) {
                text += field.text + ' ';
            }
            const cronblk schedule = record_of(text);
            std::vector<std::time_t> found;
            for (auto due = next_due(schedule, begin); due && *due <= end;
                 due = next_due(schedule, *due)) {
                found.push_back(*due);
            }
            ASSERT_EQ(model.due(fields), found)
                << text << "from " << begin << " in " << period.zone;
        }
    }
}

// The command

class NextTest : public MinibackupTest {
protected:
    Outcome next(const std::vector<std::string>& arguments, const char* zone = BERLIN) const {
        std::vector<std::string> words = {"next"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return run(words, [zone] { setenv("TZ", zone, 1); });
    }
};

TEST_F(NextTest, PrintsTimesToCome) {
    const Zone in(BERLIN);
    const std::time_t before = std::time(nullptr);
    const Outcome outcome = next({"30 22 * * *"});
    const std::time_t after = std::time(nullptr);
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_EQ("", outcome.err);
    const std::vector<std::string> lines = lines_of(outcome.out);
    ASSERT_EQ(5U, lines.size());
    const std::regex form("(\\d{4}-\\d\\d-\\d\\d)T(22:30):00\\.00(\\+0[12]):(00)");
    Texts found;
    for (const std::string& line : lines) {
        EXPECT_TRUE(std::regex_match(line, form)) << line;
        found.push_back(std::regex_replace(line, form, "$1 $2$3$4"));
    }
    const cronblk schedule = record_of("30 22 * * *");
    if (found != due_after(schedule, after, 5)) { // unless one became due meanwhile
        EXPECT_EQ(due_after(schedule, before, 5), found);
    }
}

TEST_F(NextTest, PrintsAsManyAsAreAskedFor) {
    for (const auto& [options, count] : std::map<Texts, std::size_t>{{{}, 5},
                                                                     {{"--count", "1"}, 1},
                                                                     {{"--count=12"}, 12},
                                                                     {{"-n", "1000"}, 1000},
                                                                     {{"-n007"}, 7}}) {
        Texts words = options;
        words.emplace_back("*/5 * * * *");
        const Outcome outcome = next(words, "EST5");
        ASSERT_TRUE(ended(outcome, 0));
        const std::vector<std::string> lines = lines_of(outcome.out);
        EXPECT_EQ(count, lines.size());
        EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end()));
        EXPECT_EQ("-05:00", lines[0].substr(22));
    }
}

TEST_F(NextTest, RefusesOtherCounts) {
    for (const std::string count : {"0", "1001", "-1", "+5", "", " 5", "5 ", "5x", "x", "0x5",
                                    "4294967297", "99999999999999999999"}) {
        const Outcome outcome = next({"--count", count, "* * * * *"});
        ASSERT_TRUE(ended(outcome, 2)) << count;
        EXPECT_EQ("minibackup: " + count + ": is no count from 1 to 1000\n", outcome.err);
        EXPECT_EQ("", outcome.out);
    }
}

TEST_F(NextTest, NamesTheFieldAndTheReasonOfAWrongSchedule) {
    for (const auto& [schedule, reason] : std::map<std::string, std::string>{
             {"", "has 0 fields and not five: minute, hour, day of the month, month and weekday"},
             {"* * * *",
              "has 4 fields and not five: minute, hour, day of the month, month and weekday"},
             {" * * * *\t* 7 ",
              "has 6 fields and not five: minute, hour, day of the month, month and weekday"},
             {"60 * * * *", "minute: '60' is not in 0 to 59"},
             {"0,5,61 * * * *", "minute: '61' is not in 0 to 59"},
             {"* 24 * * *", "hour: '24' is not in 0 to 23"},
             {"* 22-24 * * *", "hour: '24' is not in 0 to 23"},
             {"* * 0 * *", "day of the month: '0' is not in 1 to 31"},
             {"* * 32 99 *", "day of the month: '32' is not in 1 to 31"}, // the first one
             {"* * * 13 *", "month: '13' is not in 1 to 12 or jan to dec"},
             {"* * * june *", "month: 'june' is not in 1 to 12 or jan to dec"},
             {"* * * * 8", "weekday: '8' is not in 0 to 7 or sun to sat"},
             {"* * * * L", "weekday: 'L' is not in 0 to 7 or sun to sat"},
             {"* * * * fri-mon", "weekday: the range 'fri-mon' runs backwards"},
             {"5-3 * * * *", "minute: the range '5-3' runs backwards"},
             {"5-3/2 * * * *", "minute: the range '5-3' runs backwards"},
             {"1-2-3 * * * *", "minute: '2-3' is not in 0 to 59"},
             {"*-5 * * * *", "minute: '*' is not in 0 to 59"},
             {"* * L-5 * *", "day of the month: 'L' is not in 1 to 31"},
             {"5- * * * *", "minute: a value is missing in '5-'"},
             {"/5 * * * *", "minute: a value is missing in ''"},
             {"1,,2 * * * *", "minute: a value is missing"},
             {"* 1, * * *", "hour: a value is missing"},
             {"1,- * * * *", "minute: '-', no value at all, stands in a list"},
             {"*/0 * * * *", "minute: '/0' is no step of 1 or more"},
             {"*/ * * * *", "minute: '/' is no step of 1 or more"},
             {"* 5/x * * *", "hour: '/x' is no step of 1 or more"},
             {"*/5/2 * * * *", "minute: '/5/2' is no step of 1 or more"},
             {"* * * * mon/2", "weekday: 'mon' takes no step"},
             {"* * L/2 * *", "day of the month: 'L' takes no step"},
             {"\x1b[2J * * * *", "minute: '\\x1b[2J' is not in 0 to 59"},
             {"* * * * *\n", "weekday: '*\\x0a' is not in 0 to 7 or sun to sat"}}) {
        const Outcome outcome = next({schedule});
        ASSERT_TRUE(ended(outcome, 2)) << schedule;
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("': " + reason + '\n',
                  outcome.err.substr(std::min(outcome.err.find("': "), outcome.err.size())))
            << schedule;
        EXPECT_EQ("minibackup: schedule '", outcome.err.substr(0, 22));
    }
}

TEST_F(NextTest, TellsThatAScheduleIsNeverDue) {
    const Outcome outcome = next({"0 0 30 2 *"});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_EQ("minibackup: schedule '0 0 30 2 *': is never due\n", outcome.err);
    EXPECT_EQ("", outcome.out);
}

TEST_F(NextTest, HelpTellsTheRules) {
    const Outcome outcome = run({"next", "--help"});
    ASSERT_TRUE(ended(outcome, 0));
    for (const std::string part : {"Usage: minibackup next [OPTION]... SCHEDULE", "either of them",
                                   "after the gap", "comes twice", "--count N", "never due"}) {
        EXPECT_TRUE(contains(outcome.out, part));
    }
    ASSERT_TRUE(ended(run({"next"}), 2));
    ASSERT_TRUE(ended(run({"next", "30", "22", "*", "*", "*"}), 2));
    ASSERT_TRUE(ended(run({"next", "--no-wait", "* * * * *"}), 2));
    EXPECT_TRUE(contains(run({"save", "--help"}).out, "--no-wait"));
    EXPECT_TRUE(contains(run({"--help"}).out, "3 another save works on the store"));
}

} // namespace minibackup_test
