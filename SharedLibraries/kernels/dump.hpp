#pragma once

/// @file
/// The two columns of a hex dump, 16 bytes at a time, with the instructions that every CPU has.
///
/// Thread safety: thread-safe.

#include "vector.hpp"

namespace kernels {

namespace {

constexpr std::size_t DUMP_WIDTH = 16;

/// Writes the 32 lower-case hexadecimal digits of 16 bytes.
[[maybe_unused]] void dump_digits(const char* bytes, char* digits) {
    const auto to_digits = [](__m128i nibbles) {
        const __m128i letter = _mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9));
        return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')),
                            _mm_and_si128(letter, _mm_set1_epi8('a' - '0' - 10)));
    };
    const __m128i low_nibble = _mm_set1_epi8(15);
    const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i high = to_digits(_mm_and_si128(_mm_srli_epi16(both, 4), low_nibble));
    const __m128i low = to_digits(_mm_and_si128(both, low_nibble));
    auto* const place = reinterpret_cast<__m128i*>(digits);
    _mm_storeu_si128(place, _mm_unpacklo_epi8(high, low));
    _mm_storeu_si128(place + 1, _mm_unpackhi_epi8(high, low));
}

/// Writes 16 bytes with a dot in the place of all that are not in the range from ' ' to '~'.
/// @return a bit for each byte, the first one lowest: set where it is not ASCII
[[maybe_unused]] unsigned int dump_characters(const char* bytes, char* characters) {
    const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i shown = _mm_andnot_si128(_mm_cmpeq_epi8(all, _mm_set1_epi8(0x7f)),
                                           _mm_cmpgt_epi8(all, _mm_set1_epi8(' ' - 1)));
    const __m128i dots = _mm_andnot_si128(shown, _mm_set1_epi8('.'));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(characters),
                     _mm_or_si128(_mm_and_si128(shown, all), dots));
    return static_cast<unsigned int>(_mm_movemask_epi8(all));
}

} // namespace

} // namespace kernels
