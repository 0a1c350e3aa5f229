#pragma once

/// @file
/// Looking for characters 16 at a time, with the instructions that every CPU has.
///
/// Thread safety: thread-safe.

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

namespace kernels {

namespace {

constexpr std::size_t SCAN_WIDTH = 16;

/// A set of a few characters to look for.
template <std::size_t COUNT>
class Scan {
public:
    explicit Scan(const char (&wanted)[COUNT]) {
        for (std::size_t i = 0; i < COUNT; ++i) {
            wanted_[i] = _mm_set1_epi8(wanted[i]);
        }
    }

    /// A bit for each of the SCAN_WIDTH characters at `text`, the first one lowest: set where it is
    /// one of the set.
    unsigned int matches(const char* text) const {
        return static_cast<unsigned int>(_mm_movemask_epi8(compare(text)));
    }

    /// How many of the characters are of the set.
    std::size_t count(const char* text, std::size_t length) const {
        std::size_t total = 0;
        while (length >= SCAN_WIDTH) {
            // Each byte of the sums counts to 255.
            __m128i sums = _mm_setzero_si128();
            for (int i = 0; i < 255 && length >= SCAN_WIDTH; ++i) {
                sums = _mm_sub_epi8(sums, compare(text));
                text += SCAN_WIDTH;
                length -= SCAN_WIDTH;
            }
            const __m128i halves = _mm_sad_epu8(sums, _mm_setzero_si128());
            total += static_cast<std::size_t>(_mm_cvtsi128_si32(halves)) +
                     static_cast<std::size_t>(_mm_extract_epi16(halves, 4));
        }
        for (; length != 0; ++text, --length) {
            total += matches_one(*text) ? 1 : 0;
        }
        return total;
    }

    /// Calls `found` with the position of each character of the set, in order.
    template <class Found>
    void for_each(const char* text, std::size_t length, Found found) const {
        std::size_t i = 0;
        for (; length - i >= SCAN_WIDTH; i += SCAN_WIDTH) {
            for (unsigned int bits = matches(text + i); bits != 0; bits &= bits - 1) {
                found(i + static_cast<std::size_t>(__builtin_ctz(bits)));
            }
        }
        for (; i < length; ++i) {
            if (matches_one(text[i])) {
                found(i);
            }
        }
    }

private:
    __m128i compare(const char* text) const {
        const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
        __m128i found = _mm_cmpeq_epi8(part, wanted_[0]);
        for (std::size_t i = 1; i < COUNT; ++i) {
            found = _mm_or_si128(found, _mm_cmpeq_epi8(part, wanted_[i]));
        }
        return found;
    }

    bool matches_one(char c) const {
        bool found = false;
        for (const __m128i& wanted : wanted_) {
            found = found || static_cast<char>(_mm_cvtsi128_si32(wanted)) == c;
        }
        return found;
    }

    __m128i wanted_[COUNT];
};

/// Copies 16 characters, which may overlap.
inline void copy_16(char* to, const char* from) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

} // namespace

} // namespace kernels
