#pragma once

/// @file
/// A schedule in the manner of cron, edited field by field.
///
/// Use it to read, change, ask and print a schedule. It knows no calendar: when it is due, the
/// caller finds out from `block()`. The grammar of its texts is that of `nuriagent/schedule.hpp`,
/// with its masks: one with all 32 bits set means every value.
///
/// Rules that existing agents rely on and that surprise: an empty text means every day to `Days`
/// and no weekday to `DaysOfWeek`; `LastDayOfMonth(false)` changes nothing; `Days` of only "1"s
/// sets the last-day flag, too, and so does the empty text; every other one clears it.
///
/// Thread safety: thread-compatible.
///
/// @code{.cpp}
/// nuriccl::Cron cron("30 22 * * 1-5");
/// assert(cron.valid() && cron.Hour() == 22 && cron.DaysOfWeek() == "0111110");
/// assert(cron.SetIntraDailyHours("30", IntervalSet{22, 4, 2}) && cron.IsSubDaily());
/// assert(cron.to_str() == "30 0,2,22 * * 1-5");
/// @endcode

#include <nuriagent/schedule.hpp>
#include <nuriccl/export.hpp>

#include <string>

namespace nuriccl {

/// A schedule. See the top of cron.hpp.
class NURICCL_API Cron {
public:
    /// A schedule as `convert` reads it.
    explicit Cron(const std::string& text);

    /// Reads a schedule. An empty text makes this one invalid; one that is no schedule does, too.
    /// The masks stay as they were then; those of a new object are empty.
    /// @return `valid()`
    bool convert(const std::string& text);

    /// The schedule as text that reads back to the same masks, also of an invalid one.
    std::string to_str() const;

    /// Whether the last text that was read whole was a schedule; the setters below do not change
    /// it.
    bool valid() const noexcept { return valid_; }

    /// The masks.
    const cronblk& block() const noexcept { return block_; }

    /// @name Minutes and hours
    /// @{

    /// The first minute, 0 to 59; 0 when there is none.
    int Minute() const noexcept;

    /// Sets the minutes to those of a field such as "0,30" (`pln_ent2msk64`).
    /// @return 0 when the text is no such field, and the minutes stay; otherwise another number
    int Minute(const std::string& field);

    /// The first hour, 0 to 23; 24 when the field is a star, 0 when there is no hour.
    int Hour() const noexcept;

    /// Sets the hours to those of a field such as "8-18/2" (`pln_ent2msk`).
    /// @return 0 when the text is no such field, and the hours stay; otherwise another number
    int Hour(const std::string& field);

    /// Whether there is more than one hour, or more than one minute.
    bool IsSubDaily() const noexcept;

    /// Sets the minutes, and the hours to every `step_hours`-th one from `start_hour` to
    /// `end_hour`, past midnight when that is earlier; hours above 23 count as 23. From 0 to 0 is
    /// the whole day. The end hour itself belongs to it only if the schedule runs at its minute 0:
    /// from 5 to 5 is hour 5 then, otherwise no hour. All 24 hours set in this way are no star, so
    /// that `Hour()` is 0.
    ///
    /// @param minutes   a field as for `Minute`; the minutes stay when it is none
    /// @param interval  from when to when, and in which steps
    /// @return whether there is any hour; false with no hour when the step is 0
    bool SetIntraDailyHours(std::string minutes, const IntervalSet& interval);
    /// @}

    /// @name Days and months
    /// @{

    /// 31 characters, the first for day 1: '1' when the day is set, otherwise '0'.
    std::string Days() const;

    /// Sets the days by such a text, of which the first 31 characters count. A shorter one is for
    /// the last days up to the 31st: "01" sets day 31. A text of only '1', of any length, or an
    /// empty one sets all 32 bits.
    /// @throws std::invalid_argument "bitset::_M_copy_from_ptr" for another character than '0' and
    ///         '1'; the days are as they were
    void Days(const std::string& days);

    /// Seven characters, the first for Sunday: '1' when the weekday is set, otherwise '0'.
    std::string DaysOfWeek() const;

    /// Sets the weekdays by such a text, of which the first 7 characters count. A shorter one is
    /// for the last weekdays up to Saturday; an empty one sets none, seven times '1' sets all 32
    /// bits.
    /// @throws std::invalid_argument as `Days`
    void DaysOfWeek(const std::string& days);

    /// Sets the mask of the months, bit m for month m.
    void Months(const unsigned int& mask) noexcept;

    /// Whether the last day of the month is set, whatever its number.
    bool LastDayOfMonth() const noexcept;

    /// Sets the last day of the month; false changes nothing.
    void LastDayOfMonth(bool last_day) noexcept;
    /// @}

private:
    cronblk block_{};
    bool valid_ = false;
};

} // namespace nuriccl
