#pragma once

/// @file
/// What the operations of `Cron` do to a record and tell about it, one step after the other.
///
/// Thread safety: every function is re-entrant.

#include "../../../nuriagent/tests/support/schedule_model.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace cron_model {

using schedule_model::bit;
using schedule_model::count_of;
using schedule_model::EVERY;
using schedule_model::Mask;
using schedule_model::Masks;
using schedule_model::masks_of;
using schedule_model::record_of;

// Asking

inline int lowest(Mask mask, int count) {
    int lowest = 0;
    for (int value = count - 1; value >= 0; --value) {
        lowest = (mask & Mask{1} << value) != 0 ? value : lowest;
    }
    return lowest;
}

inline int minute(const cronblk& record) { return lowest(masks_of(record)[0], 60); }

inline int hour(const cronblk& record) {
    return record.hours == EVERY ? 24 : lowest(record.hours, 24);
}

inline bool is_sub_daily(const cronblk& record) {
    return count_of(record.hours) > 1 || count_of(masks_of(record)[0]) > 1;
}

inline std::string days(const cronblk& record) {
    std::string text;
    for (unsigned int day = 1; day <= 31; ++day) {
        text += (record.days & bit(day)) != 0 ? '1' : '0';
    }
    return text;
}

inline std::string days_of_week(const cronblk& record) {
    std::string text;
    for (unsigned int weekday = 0; weekday <= 6; ++weekday) {
        text += (record.weekdays & bit(weekday)) != 0 ? '1' : '0';
    }
    return text;
}

// Setting

/// @return whether the field was one; the minutes stay when not
inline bool set_minutes(cronblk& record, const std::string& field) {
    Masks masks = masks_of(record);
    const std::optional<Mask> mask = schedule_model::read_field(schedule_model::fields()[0], field);
    masks[0] = mask.value_or(masks[0]);
    record = record_of(masks);
    return mask.has_value();
}

/// @return whether the field was one; the hours stay when not
inline bool set_hours(cronblk& record, const std::string& field) {
    const std::optional<Mask> mask = schedule_model::read_field(schedule_model::fields()[1], field);
    record.hours = static_cast<std::uint32_t>(mask.value_or(record.hours));
    return mask.has_value();
}

inline bool is_binary(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '0' || c == '1'; });
}

/// The bits of a text of which the last character is for bit `last`.
inline std::uint32_t aligned(const std::string& text, std::size_t last) {
    Mask mask = 0;
    for (std::size_t k = 0; k < text.size(); ++k) {
        mask |= text[k] == '1' ? Mask{1} << (last + 1 - text.size() + k) : 0;
    }
    return static_cast<std::uint32_t>(mask);
}

/// @return false, with the days as they were, when the text has other characters
inline bool set_days(cronblk& record, const std::string& text) {
    const std::string cut = text.substr(0, 31);
    if (!is_binary(cut)) {
        return false;
    }
    const auto ones = static_cast<std::size_t>(std::count(text.begin(), text.end(), '1'));
    record.days = ones == text.size() ? static_cast<std::uint32_t>(EVERY) : aligned(cut, 31);
    return true;
}

/// @return false, with the weekdays as they were, when the text has other characters
inline bool set_days_of_week(cronblk& record, const std::string& text) {
    const std::string cut = text.substr(0, 7);
    if (!is_binary(cut)) {
        return false;
    }
    record.weekdays = cut == "1111111" ? static_cast<std::uint32_t>(EVERY) : aligned(cut, 6);
    return true;
}

inline bool set_intra_daily_hours(cronblk& record, const std::string& minutes,
                                  const IntervalSet& interval) {
    set_minutes(record, minutes);
    record.hours = 0;
    if (interval.step_hours == 0) {
        return false;
    }
    const int start = std::min<int>(interval.start_hour, 23);
    const int end = std::min<int>(interval.end_hour, 23);
    const int unwrapped = end < start ? end + 24 : end;
    const bool full_hour = (record.minutes_low & 1) != 0;
    const int last = start == 0 && unwrapped == 0 ? 23 : unwrapped - (full_hour ? 0 : 1);
    for (int hour = start; hour <= last; hour += interval.step_hours) {
        record.hours |= static_cast<std::uint32_t>(bit(static_cast<unsigned int>(hour % 24)));
    }
    return record.hours != 0;
}

} // namespace cron_model
