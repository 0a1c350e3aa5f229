#pragma once

/// @file
/// The grammar of schedules: five fields in the manner of cron (POSIX `crontab`), as bit masks and
/// as text.
///
/// Use it to read and print schedules; `nuriccl::Cron` holds one and edits its fields. It knows no
/// calendar: when a schedule is due, the caller finds out.
///
/// A schedule has five fields with blanks or tabs between them, and may have some around them:
///
/// | field | values | also |
/// |---|---|---|
/// | minute | 0 to 59 | |
/// | hour | 0 to 23 | |
/// | day of the month | 1 to 31 | `L`: the last day |
/// | month | 1 to 12 | `jan` to `dec` |
/// | weekday | 0 to 6, from Sunday on | 7: Sunday; `sun` to `sat` |
///
/// A field is `-`, the empty set, or a list of items with `,` between them:
///
/// | item | means |
/// |---|---|
/// | `5`, `05`, `mon` | 5, Monday |
/// | `5-9`, `mon-fri` | 5 to 9, Monday to Friday |
/// | `*` | all values of the field |
/// | a range or a star with `/2` behind it | every second one of them |
/// | `5/15` | every fifteenth value from 5 on |
///
/// Letters may be in either case; a single name and `L` take no step. Steps of weekdays end at 6,
/// so that `7/2` is Sunday alone. A field that is a lone `*` sets all 32 bits of its mask, so that
/// it can be told from a list of all values; minutes have one bit for each value.
///
/// Thread safety: every function is re-entrant and keeps no state.
///
/// @code{.cpp}
/// cronblk record{};
/// assert(pln_str2crn(&record, "0,30 8-18/2 * * mon-fri") != 0);
/// assert(record.minutes_low == (1u | 1u << 30) && record.weekdays == 0x3e);
/// assert(pln_crn2str(&record) == "0,30 8-18/2 * * 1-5");
/// assert(pln_str2crn(&record, "60 * * * *") == 0); // the record stays as it is
/// @endcode

#include <nuriagent/export.hpp>

#include <cstdint>
#include <string>

/// A schedule. A mask with all 32 bits set means every value.
struct cronblk {
    std::uint32_t minutes_low;  ///< bit m: minute m, 0 to 31
    std::uint32_t minutes_high; ///< bit m - 32: minute m, 32 to 59
    std::uint32_t hours;        ///< bit h: hour h
    std::uint32_t days;         ///< bit d: day d of the month; bit 0: its last day
    std::uint32_t months;       ///< bit m: month m
    std::uint32_t weekdays;     ///< bit w: weekday w, Sunday is 0
};

/// Every `step_hours` hours from one hour of the day to another, past midnight if that is earlier.
struct IntervalSet {
    std::uint8_t start_hour; ///< 0 to 23
    std::uint8_t end_hour;   ///< 0 to 23
    std::uint8_t step_hours; ///< 1 or more
};

/// Reads a schedule.
///
/// @return 0 when the text is none or the record null, with the record as it was; otherwise another
///         number
NURIAGENT_API int pln_str2crn(cronblk* record, const std::string& text);

/// The schedule as text that reads back to the same record, with one blank between fields and
/// numbers only. Bits that stand for no value are not shown. Null gives an empty text.
NURIAGENT_API std::string pln_crn2str(const cronblk* record);

/// Reads a field of numbers from `low` to `high`, 31 at most, without blanks. Value v is bit v of
/// the mask; a lone `*` sets all 32 bits. The last argument is ignored.
///
/// @return 0 when the text is no such field, the range none or the mask null, with the mask as it
///         was; otherwise another number
NURIAGENT_API int pln_ent2msk(unsigned int* mask, const std::string& field, unsigned int low,
                              unsigned int high, bool = false);

/// Reads a field of numbers from 0 to `count` - 1, 63 at most, without blanks. Value v is bit v of
/// the low word, from 32 on bit v - 32 of the high word.
///
/// @return 0 when the text is no such field, the count 0 or above 64, or a word null, with the
///         words as they were; otherwise another number
NURIAGENT_API int pln_ent2msk64(unsigned int* low_word, unsigned int* high_word,
                                const std::string& field, unsigned int count);
