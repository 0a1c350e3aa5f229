#pragma once

/// @file
/// A vector register as wide as the instructions that the including source is compiled for: 32
/// bytes with AVX2, otherwise 16.
///
/// A kernel is written once for both. What moves bytes does so within each lane of 16. All of it
/// has internal linkage, as the same names mean something else in every source.

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace kernels {

namespace {

#ifdef __AVX2__
using Register = __m256i;
#define KERNELS_VECTOR(name128, name256) name256
#else
using Register = __m128i;
#define KERNELS_VECTOR(name128, name256) name128
#endif

struct Vector {
    static constexpr std::size_t SIZE = sizeof(Register);
    static constexpr std::size_t LANES = SIZE / 16;
    static constexpr std::uint32_t ALL_BITS = LANES == 1 ? 0xffffU : 0xffffffffU;

    Register value;

    static Vector load(const void* place) {
        return {KERNELS_VECTOR(_mm_loadu_si128,
                               _mm256_loadu_si256)(static_cast<const Register*>(place))};
    }

    /// One lane from each place; the second one is for the second lane, if there is one.
    static Vector load_lanes(const void* first, [[maybe_unused]] const void* second) {
#ifdef __AVX2__
        return {_mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(first))),
            _mm_loadu_si128(static_cast<const __m128i*>(second)), 1)};
#else
        return load(first);
#endif
    }

    void store(void* place) const {
        KERNELS_VECTOR(_mm_storeu_si128, _mm256_storeu_si256)(static_cast<Register*>(place), value);
    }

    void store_lanes(void* first, [[maybe_unused]] void* second) const {
#ifdef __AVX2__
        _mm_storeu_si128(static_cast<__m128i*>(first), _mm256_castsi256_si128(value));
        _mm_storeu_si128(static_cast<__m128i*>(second), _mm256_extracti128_si256(value, 1));
#else
        store(first);
#endif
    }

    /// The low 12 bytes of each lane.
    void store_low_of_lanes(void* first, [[maybe_unused]] void* second) const {
#ifdef __AVX2__
        store_12(first, _mm256_castsi256_si128(value));
        store_12(second, _mm256_extracti128_si256(value, 1));
#else
        store_12(first, value);
#endif
    }

    static Vector zero() { return {KERNELS_VECTOR(_mm_setzero_si128, _mm256_setzero_si256)()}; }

    static Vector all(char byte) { return {KERNELS_VECTOR(_mm_set1_epi8, _mm256_set1_epi8)(byte)}; }

    static Vector all_words(std::uint32_t word) {
        return {KERNELS_VECTOR(_mm_set1_epi32, _mm256_set1_epi32)(static_cast<int>(word))};
    }

    /// The 16 bytes in every lane.
    static Vector lanes_of(const signed char (&bytes)[16]) {
        const __m128i lane = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
#ifdef __AVX2__
        return {_mm256_broadcastsi128_si256(lane)};
#else
        return {lane};
#endif
    }

    friend Vector operator&(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_and_si128, _mm256_and_si256)(a.value, b.value)};
    }
    friend Vector operator|(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_or_si128, _mm256_or_si256)(a.value, b.value)};
    }
    friend Vector operator^(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_xor_si128, _mm256_xor_si256)(a.value, b.value)};
    }

    /// The bits of `a` that `b` does not have.
    friend Vector and_not(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_andnot_si128, _mm256_andnot_si256)(b.value, a.value)};
    }

    /// The highest bit of each byte, the first one lowest.
    std::uint32_t high_bits() const {
        return static_cast<std::uint32_t>(
            KERNELS_VECTOR(_mm_movemask_epi8, _mm256_movemask_epi8)(value));
    }

    bool is_zero() const { return equal_bytes(*this, zero()).high_bits() == ALL_BITS; }

    // Bytes

    friend Vector add_bytes(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_add_epi8, _mm256_add_epi8)(a.value, b.value)};
    }

    friend Vector subtract_bytes(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_sub_epi8, _mm256_sub_epi8)(a.value, b.value)};
    }

    /// a - b, at least 0; without signs.
    friend Vector subtract_to_zero(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_subs_epu8, _mm256_subs_epu8)(a.value, b.value)};
    }

    /// -1 where it holds, 0 elsewhere.
    friend Vector equal_bytes(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_cmpeq_epi8, _mm256_cmpeq_epi8)(a.value, b.value)};
    }

    /// The same for a > b; with signs.
    friend Vector greater_bytes(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_cmpgt_epi8, _mm256_cmpgt_epi8)(a.value, b.value)};
    }

    // Words of 32 bits

    friend Vector add_words(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_add_epi32, _mm256_add_epi32)(a.value, b.value)};
    }

    template <int COUNT>
    Vector words_shifted_right() const {
        return {KERNELS_VECTOR(_mm_srli_epi32, _mm256_srli_epi32)(value, COUNT)};
    }

    template <int COUNT>
    Vector words_rotated_left() const {
        return Vector{KERNELS_VECTOR(_mm_slli_epi32, _mm256_slli_epi32)(value, COUNT)} |
               words_shifted_right<32 - COUNT>();
    }

    // Bytes within their lane

    /// Moved towards the lowest byte; zeros follow.
    template <int COUNT>
    Vector moved_down() const {
        return {KERNELS_VECTOR(_mm_srli_si128, _mm256_srli_si256)(value, COUNT)};
    }

    /// Moved towards the highest byte; zeros follow.
    template <int COUNT>
    Vector moved_up() const {
        return {KERNELS_VECTOR(_mm_slli_si128, _mm256_slli_si256)(value, COUNT)};
    }

#ifdef __SSSE3__
    /// For each byte of `places`, the byte of this vector that it names, or 0 where it is negative.
    Vector taken(Vector places) const {
        return {KERNELS_VECTOR(_mm_shuffle_epi8, _mm256_shuffle_epi8)(value, places.value)};
    }

    /// The 16 bytes from place COUNT on of `low` and then `high`.
    template <int COUNT>
    friend Vector middle(Vector low, Vector high);

    /// Sums of two neighbours: a (no signs) x b (signs), in 16 bits.
    friend Vector multiply_add_bytes(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_maddubs_epi16, _mm256_maddubs_epi16)(a.value, b.value)};
    }
#endif

    // Halves of words

    /// Sums of two neighbours: a x b, in 32 bits.
    friend Vector multiply_add_halves(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_madd_epi16, _mm256_madd_epi16)(a.value, b.value)};
    }

    friend Vector multiply_low(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_mullo_epi16, _mm256_mullo_epi16)(a.value, b.value)};
    }

    friend Vector multiply_high(Vector a, Vector b) {
        return {KERNELS_VECTOR(_mm_mulhi_epu16, _mm256_mulhi_epu16)(a.value, b.value)};
    }

private:
    static void store_12(void* place, __m128i lane) {
        auto* const bytes = static_cast<unsigned char*>(place);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), lane);
        _mm_storeu_si32(bytes + 8, _mm_srli_si128(lane, 8));
    }
};

#ifdef __SSSE3__
template <int COUNT>
Vector middle(Vector low, Vector high) {
    return {KERNELS_VECTOR(_mm_alignr_epi8, _mm256_alignr_epi8)(high.value, low.value, COUNT)};
}
#endif

#undef KERNELS_VECTOR

} // namespace

} // namespace kernels
