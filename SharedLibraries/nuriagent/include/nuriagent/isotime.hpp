#pragma once

/// @file
/// The date-time record that agent components exchange: ISO 8601 calendar fields and a zone offset.
///
/// Use it for points in time that are stored or shown. It is not a clock and does no arithmetic;
/// `nuriccl::to_str` and `nuriccl::to_isotime` convert it to and from text.
///
/// Thread safety: a plain aggregate; distinct records may be used on different threads.
///
/// @code{.cpp}
/// isotime noon{}; // 2026-03-01T12:00+01:00
/// noon.zone_flag = 1;
/// noon.zone_offset = 60;
/// noon.year = 2026;
/// noon.month = 3;
/// noon.day = 1;
/// noon.hour = 12;
/// assert(noon.minute == 0 && noon.hundredths == 0);
/// @endcode

#include <cstdint>

/// Date, time of day and zone offset in 16 bytes, the same layout in both pointer sizes.
///
/// A record is valid when every field is inside the range given beside it and the zone rule holds:
/// `zone_flag` is 1, or both `zone_flag` and `zone_offset` are 0. The day is not held against the
/// length of the month. A value-initialised record (`isotime{}`) is invalid and stands for "no
/// time".
struct isotime {
    std::int16_t zone_offset : 12; ///< minutes from UTC, positive to the east
    std::uint16_t zone_flag : 4;   ///< 1: `zone_offset` is known; 0: it is not, and must be 0
    std::uint16_t year;            ///< 1 to 9999
    std::uint8_t month;            ///< 1 to 12
    std::uint8_t day;              ///< 1 to 31
    std::uint8_t hour;             ///< 0 to 23
    std::uint8_t minute;           ///< 0 to 59
    std::uint8_t second;           ///< 0 to 59
    std::uint8_t hundredths;       ///< 1/100 s, 0 to 99
    std::uint8_t ten_thousandths;  ///< 1/10,000 s within the hundredth, 0 to 99
    std::uint8_t millionths;       ///< 1/1,000,000 s within the ten-thousandth, 0 to 99
    std::uint32_t reserved;        ///< 0
};

static_assert(sizeof(isotime) == 16, "isotime is exchanged between components as 16 bytes");
