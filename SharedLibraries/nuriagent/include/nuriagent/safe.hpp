#pragma once

/// @file
/// Memory copies that know the size of their destination, and number parsing that cannot fail.
///
/// Use these where a length or a text comes from outside. Inner loops over memory whose bounds are
/// already proved need only `std::memcpy`.
///
/// Thread safety: every function is re-entrant and keeps no state.
///
/// @code{.cpp}
/// char name[4];
/// safe::MemoryCopy(name, sizeof name, "tape", 4);
/// assert(std::string(name, 4) == "tape");
/// assert(safe::StringToInt32("  -12 files") == -12);
/// @endcode

#include <nuriagent/export.hpp>

#include <cstdint>
#include <string>

/// Copies and numbers that bad input cannot break. See the top of safe.hpp.
namespace safe {

/// Copies `count` bytes from `source` to `destination`, which has room for `destination_size`
/// bytes.
///
/// The two ranges must not overlap. With a count of 0 neither pointer is looked at, so both may be
/// null.
///
/// @throws std::range_error when `count` exceeds `destination_size`; nothing is copied then.
NURIAGENT_API void MemoryCopy(void* destination, unsigned int destination_size, const void* source,
                              unsigned int count);

/// Reads the decimal number at the start of `text`: any number of blanks (' ' only), one optional
/// sign, then digits up to the first character that is none.
///
/// @return the number; 0 when there are no digits; the nearest limit of the type when it is out of
///         range.
NURIAGENT_API std::int32_t StringToInt32(const std::string& text) noexcept;

} // namespace safe
