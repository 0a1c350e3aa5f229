#pragma once

/// @file
/// The operations of a vector register, one by one, for tests that are not compiled for its
/// instructions.

#include <cstddef>
#include <cstdint>

namespace vector_operations {

inline constexpr std::size_t WIDEST = 32; // bytes

enum class Operation {
    COPY,
    COPY_LANES,
    STORE_LOW_OF_LANES,
    ZERO,
    ALL,       ///< the first byte
    ALL_WORDS, ///< the first word
    LANES_OF,
    AND,
    OR,
    EXCLUSIVE_OR,
    HIGH_BITS, ///< as a word
    IS_ZERO,   ///< as a byte of 0 or 1
    ADD_BYTES,
    SUBTRACT_BYTES,
    SUBTRACT_TO_ZERO,
    EQUAL_BYTES,
    GREATER_BYTES,
    ADD_WORDS,
    WORDS_SHIFTED_RIGHT, ///< by 5 bits
    WORDS_ROTATED_LEFT,  ///< by 5 bits
    MOVED_DOWN,          ///< by 5 bytes
    MOVED_UP,            ///< by 5 bytes
    MULTIPLY_ADD_HALVES,
    MULTIPLY_LOW,
    MULTIPLY_HIGH,
    TAKEN,  ///< with SSSE3, as the ones that follow
    MIDDLE, ///< from byte 5 on
    MULTIPLY_ADD_BYTES,
};

inline constexpr Operation LAST_WITH_SSE2 = Operation::MULTIPLY_HIGH;
inline constexpr Operation LAST = Operation::MULTIPLY_ADD_BYTES;

/// Reads as many bytes of `a` and of `b` as a register has, and writes what the operation makes of
/// them.
/// @return the size of a register
using Apply = std::size_t(Operation operation, const unsigned char* a, const unsigned char* b,
                          unsigned char* result) noexcept;

Apply apply_sse2;
Apply apply_ssse3;
Apply apply_avx2;

} // namespace vector_operations
