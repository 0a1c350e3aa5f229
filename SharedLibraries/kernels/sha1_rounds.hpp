#pragma once

/// @file
/// The rounds of SHA-1, with internal linkage, as every source that includes them is compiled for
/// instructions of its own.

#include <cstddef>
#include <cstdint>

namespace kernels {

namespace {

constexpr std::size_t SHA1_BLOCK = 64;
constexpr std::size_t SHA1_GROUPS = 20; // of four rounds
constexpr std::uint32_t SHA1_CONSTANTS[] = {0x5a827999U, 0x6ed9eba1U, 0x8f1bbcdcU, 0xca62c1d6U};

// The working variables a to e of FIPS 180-4, section 6.1.2, in a form whose rounds rotate the
// names of the variables instead of their values.
struct Sha1Rounds {
    std::uint32_t a, b, c, d, e;

    [[gnu::always_inline]] static std::uint32_t rotate_left(std::uint32_t value, int count) {
        return (value << count) | (value >> (32 - count));
    }

    template <std::size_t PHASE>
    [[gnu::always_inline]] std::uint32_t mix() const {
        if constexpr (PHASE == 0) {
            return d ^ (b & (c ^ d));
        } else if constexpr (PHASE == 2) {
            return (b & c) + (d & (b ^ c)); // no bit is set in both
        } else {
            return b ^ c ^ d;
        }
    }

    // One round. The word comes with its constant added. All sums are modulo 2^32.
    template <std::size_t PHASE>
    [[gnu::always_inline]] void round(std::uint32_t word) {
        const std::uint32_t next = rotate_left(a, 5) + (mix<PHASE>() + (e + word));
        e = d;
        d = c;
        c = rotate_left(b, 30);
        b = a;
        a = next;
    }
};

} // namespace

} // namespace kernels
