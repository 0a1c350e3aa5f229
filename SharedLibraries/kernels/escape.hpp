#pragma once

/// @file
/// Escaping the bytes of a set: an escape character and two lower-case hexadecimal digits for each.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"

#include <cstddef>

namespace kernels {

/// 256 bits; byte b is a member when bit b % 8 of element b / 8 is set.
struct ByteSet {
    unsigned char bits[32];

    bool holds(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return (bits[byte / 8] >> byte % 8 & 1) != 0;
    }
};

/// Writes the three characters that stand for a byte.
/// @return the end of them
inline char* write_escaped(char* to, char escape, char c) {
    constexpr char DIGITS[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    to[0] = escape;
    to[1] = DIGITS[byte >> 4];
    to[2] = DIGITS[byte & 15];
    return to + 3;
}

/// How many of the bytes are members.
using CountMembers = std::size_t(const char* text, std::size_t length, const ByteSet& set) noexcept;

/// Writes the text with its members escaped to `to`, which does not overlap it.
using EscapeMembers = void(const char* text, std::size_t length, const ByteSet& set, char escape,
                           char* to) noexcept;

CountMembers count_members; ///< the fastest variant at hand
CountMembers count_members_portable;
CountMembers count_members_ssse3;

EscapeMembers escape_members; ///< the fastest variant at hand
EscapeMembers escape_members_portable;
EscapeMembers escape_members_ssse3;

} // namespace kernels
