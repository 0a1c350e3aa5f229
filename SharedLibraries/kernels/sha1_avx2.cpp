#include "sha1.hpp"
#include "sha1_rounds.hpp"

#include <immintrin.h>

namespace kernels {

namespace {

struct Words { // of one block in the low half, of the next one in the high half
    static constexpr std::size_t BLOCKS = 2;

    __m256i value;

    static Words load(const unsigned char* first, const unsigned char* second) {
        const __m256i bytes =
            _mm256_inserti128_si256(_mm256_castsi128_si256(load(first)), load(second), 1);
        const __m256i order = _mm256_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3,
                                              12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
        return {_mm256_shuffle_epi8(bytes, order)};
    }

    static __m128i load(const unsigned char* bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    }

    // The last two words of `a` and the first two of `b`.
    static Words two_of_each(Words a, Words b) { return {_mm256_alignr_epi8(b.value, a.value, 8)}; }

    Words without_first() const { return {_mm256_srli_si256(value, 4)}; }

    Words first_as_last() const { return {_mm256_slli_si256(value, 12)}; }

    template <int COUNT>
    Words rotated() const {
        return {_mm256_or_si256(_mm256_slli_epi32(value, COUNT), _mm256_srli_epi32(value, 32 - COUNT))};
    }

    void store_sum(std::uint32_t constant, std::uint32_t* words) const {
        _mm256_store_si256(reinterpret_cast<__m256i*>(words),
                        _mm256_add_epi32(value, _mm256_set1_epi32(static_cast<int>(constant))));
    }

    friend Words operator^(Words a, Words b) { return {_mm256_xor_si256(a.value, b.value)}; }
};

} // namespace

void sha1_blocks_avx2(std::uint32_t* state, const unsigned char* blocks,
                       std::size_t count) noexcept {
    Sha1Scheduled<Words>::run(state, blocks, count);
}

} // namespace kernels
