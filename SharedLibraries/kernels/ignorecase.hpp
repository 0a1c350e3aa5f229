#pragma once

/// @file
/// Comparing text with the 26 letters of ASCII taken for the same in both cases.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"
#include "vector.hpp"

namespace kernels {

/// The number of leading characters, `length` at most, that are the same but for the case of ASCII
/// letters.
using SameButCase = std::size_t(const char* a, const char* b, std::size_t length) noexcept;

SameButCase long_same_but_case; ///< the fastest variant at hand
SameButCase long_same_but_case_sse2;
SameButCase long_same_but_case_avx2;

namespace {

// A vector without a bit set where the characters are the same, which means that they differ in
// nothing but the bit that tells the cases of a letter apart.
Vector difference(const char* a, const char* b) {
    const Vector first = Vector::load(a);
    const Vector case_bit = Vector::all(0x20);
    // 'a' to 'z' moved to the least values with a sign
    const Vector moved = add_bytes(first | case_bit, Vector::all(static_cast<char>(-128 - 'a')));
    const Vector letters = greater_bytes(Vector::all(-128 + 26), moved);
    return and_not(first ^ Vector::load(b), letters & case_bit);
}

// A bit for each character of a vector, the first one lowest: set where they differ.
std::uint32_t differences(const char* a, const char* b) {
    return equal_bytes(difference(a, b), Vector::zero()).high_bits() ^ Vector::ALL_BITS;
}

char in_upper_case(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c ^ 0x20) : c; }

std::size_t count_same(const char* a, const char* b, std::size_t length) {
    std::size_t i = 0;
    if (length < Vector::SIZE) {
        while (i < length && in_upper_case(a[i]) == in_upper_case(b[i])) {
            ++i;
        }
        return i;
    }
    const auto first_of = [](std::uint32_t bits) {
        return static_cast<std::size_t>(__builtin_ctz(bits));
    };
    const std::size_t last = length - Vector::SIZE; // its vector overlaps the one before
    if (length <= 2 * Vector::SIZE &&
        (difference(a, b) | difference(a + last, b + last)).is_zero()) {
        return length;
    }
    for (; i < last; i += Vector::SIZE) {
        if (const std::uint32_t bits = differences(a + i, b + i)) {
            return i + first_of(bits);
        }
    }
    const std::uint32_t bits = differences(a + last, b + last);
    return bits != 0 ? last + first_of(bits) : length;
}

/// SameButCase without a call for short text.
[[maybe_unused]] std::size_t same_but_case(const char* a, const char* b, std::size_t length) {
    constexpr std::size_t WORTH_A_CALL = 64;
    return length < WORTH_A_CALL ? count_same(a, b, length) : long_same_but_case(a, b, length);
}

} // namespace

} // namespace kernels
