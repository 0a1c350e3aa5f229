#include "due.hpp"

#include "os.hpp"

#include <algorithm>
#include <cstdint>

namespace minibackup {

namespace {

constexpr std::uint32_t EVERY = 0xFFFFFFFF;

constexpr int MINUTES_OF_DAY = 24 * 60;
constexpr std::int64_t MINUTE = 60; // in seconds
constexpr std::int64_t DAY = MINUTES_OF_DAY * MINUTE;
constexpr std::int64_t CALENDAR_DAYS = 146097; // 400 years, after which the calendar repeats itself

// What the local clock shows, as the time at which a clock of UTC shows the same. It jumps.
using Reading = std::int64_t;

tm date_of(std::int64_t day) {
    const auto time = static_cast<std::time_t>(day * DAY);
    tm date;
    check(gmtime_r(&time, &date) != nullptr ? 0 : -1, "calendar", "cannot find the day");
    return date;
}

// The calendar

bool has(std::uint64_t mask, int bit) { return (mask >> bit & 1) != 0; }

bool is_day_of(const cronblk& schedule, std::int64_t day) {
    const tm date = date_of(day);
    if (!has(schedule.months, date.tm_mon + 1)) {
        return false;
    }
    const bool last_day = has(schedule.days, 0) && date_of(day + 1).tm_mday == 1;
    const bool by_day = has(schedule.days, date.tm_mday) || last_day;
    const bool by_weekday = has(schedule.weekdays, date.tm_wday);
    const bool both_restricted = schedule.days != EVERY && schedule.weekdays != EVERY;
    return both_restricted ? by_day || by_weekday : by_day && by_weekday;
}

// The first minute of a day of the schedule from `minute` on.
std::optional<int> minute_of(const cronblk& schedule, int minute) {
    const std::uint64_t minutes = std::uint64_t{schedule.minutes_high} << 32 | schedule.minutes_low;
    for (; minute < MINUTES_OF_DAY; ++minute) {
        if (has(schedule.hours, minute / 60) && has(minutes, minute % 60)) {
            return minute;
        }
    }
    return {};
}

// The first reading after `after` that the schedule names.
std::optional<Reading> next_reading(const cronblk& schedule, Reading after) {
    if (!minute_of(schedule, 0)) {
        return {};
    }
    const std::int64_t today = (after - ((after % DAY) + DAY) % DAY) / DAY;
    auto minute = static_cast<int>((after - today * DAY) / MINUTE) + 1;
    for (std::int64_t day = today; day <= today + CALENDAR_DAYS; ++day) {
        if (is_day_of(schedule, day)) {
            if (const auto found = minute_of(schedule, minute)) {
                return day * DAY + *found * MINUTE;
            }
        }
        minute = 0;
    }
    return {};
}

// The clock

Reading reading_at(std::time_t time) {
    tm parts;
    check(localtime_r(&time, &parts) != nullptr ? 0 : -1, "clock", "cannot tell the local time");
    return timegm(&parts);
}

// The first time after `from` at which the clock differs from UTC by something else than at `from`;
// `to` when it does not up to then.
std::time_t change_of_clock(std::time_t from, std::time_t to) {
    const auto difference = [](std::time_t time) { return reading_at(time) - time; };
    const Reading old = difference(from);
    if (difference(to) == old) {
        return to;
    }
    while (to - from > 1) {
        const std::time_t middle = from + (to - from) / 2;
        (difference(middle) == old ? from : to) = middle;
    }
    return to;
}

// The latest reading of the clock up to `time`: it shows earlier ones for a while after it is set
// back.
Reading latest_reading(std::time_t time) {
    const std::time_t change = change_of_clock(time - DAY, time);
    return std::max(reading_at(change - 1), reading_at(time));
}

// The first time after `after` at which the clock shows `reading` or a later one; it shows none up
// to then.
std::time_t time_of(Reading reading, std::time_t after) {
    std::time_t time =
        std::max<std::time_t>(after, reading - 2 * DAY); // no zone is as far from UTC
    for (Reading left = 0; (left = reading - reading_at(time)) > 0;) {
        time = change_of_clock(time, time + std::min(left, DAY));
    }
    return time;
}

} // namespace

std::optional<std::time_t> next_due(const cronblk& schedule, std::time_t after) {
    const auto reading = next_reading(schedule, latest_reading(after));
    return reading ? std::optional(time_of(*reading, after)) : std::nullopt;
}

} // namespace minibackup
