#include "sha1.hpp"
#include "sha1_rounds.hpp"

#include <tmmintrin.h>

namespace kernels {

namespace {

struct Words {
    static constexpr std::size_t BLOCKS = 1;

    __m128i value;

    static Words load(const unsigned char* block, const unsigned char*) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
        return {_mm_shuffle_epi8(bytes, _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1,
                                                     2, 3))};
    }

    // The last two words of `a` and the first two of `b`.
    static Words two_of_each(Words a, Words b) { return {_mm_alignr_epi8(b.value, a.value, 8)}; }

    Words without_first() const { return {_mm_srli_si128(value, 4)}; }

    Words first_as_last() const { return {_mm_slli_si128(value, 12)}; }

    template <int COUNT>
    Words rotated() const {
        return {_mm_or_si128(_mm_slli_epi32(value, COUNT), _mm_srli_epi32(value, 32 - COUNT))};
    }

    void store_sum(std::uint32_t constant, std::uint32_t* words) const {
        _mm_store_si128(reinterpret_cast<__m128i*>(words),
                        _mm_add_epi32(value, _mm_set1_epi32(static_cast<int>(constant))));
    }

    friend Words operator^(Words a, Words b) { return {_mm_xor_si128(a.value, b.value)}; }
};

} // namespace

void sha1_blocks_ssse3(std::uint32_t* state, const unsigned char* blocks,
                       std::size_t count) noexcept {
    Sha1Scheduled<Words>::run(state, blocks, count);
}

} // namespace kernels
