#pragma once

/// @file
/// When a schedule is due by the local clock.
///
/// A day is one of the schedule when its month is, and
///  - its day of the month and its weekday are, when one of these fields is a lone star;
///  - its day of the month or its weekday is, when both fields are restricted, as cron has it.
/// Days written as "1-31,L" are a lone star, too: their record is the same.
///
/// A run is due at the first moment at which the clock shows its time of day or a later one. When
/// the clock is set forward, the times that are left out are due together at the first moment after
/// the gap; when it is set back, the times that come again are not due again.

#include <ctime>
#include <nuriagent/schedule.hpp>
#include <optional>

namespace minibackup {

/// The first time after `after` at which the schedule is due; none when it never is. The clock is
/// that of the time zone that the C library has (`tzset`), which is taken to change once a day at
/// most.
///
/// The cost is some dozens of conversions to local time and a look at each day up to the result,
/// 400 years of them when there is none (some milliseconds).
/// @throws Error when the year does not fit in the C library's records
std::optional<std::time_t> next_due(const cronblk& schedule, std::time_t after);

} // namespace minibackup
