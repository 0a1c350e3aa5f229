#include "sha1.hpp"

#include <immintrin.h>
#include <utility>

namespace kernels {

namespace {

// The message words are kept with the first of four in the highest place, as the instructions want.
__m128i load(const unsigned char* bytes) {
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)),
                            _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

struct State {
    __m128i abcd;
    __m128i e; // in the highest word, or abcd of four rounds ago, from which e follows
};

// Four rounds with the words of this group, which is made from the four groups before.
template <std::size_t GROUP>
[[gnu::always_inline]] inline void do_rounds(State& state, __m128i (&words)[4],
                                             const unsigned char* block) {
    __m128i& word = words[GROUP % 4];
    if constexpr (GROUP < 4) {
        word = load(block + GROUP * 16);
    } else {
        const __m128i before_1 = words[(GROUP + 3) % 4];
        const __m128i before_2 = words[(GROUP + 2) % 4];
        const __m128i before_3 = words[(GROUP + 1) % 4];
        word = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(word, before_3), before_2),
                                  before_1);
    }
    const __m128i sum =
        GROUP == 0 ? _mm_add_epi32(state.e, word) : _mm_sha1nexte_epu32(state.e, word);
    state.e = state.abcd;
    state.abcd = _mm_sha1rnds4_epu32(state.abcd, sum, GROUP / 5);
}

template <std::size_t... GROUPS>
[[gnu::always_inline]] inline void hash(std::index_sequence<GROUPS...>, State& state,
                                        const unsigned char* block) {
    __m128i words[4];
    (do_rounds<GROUPS>(state, words, block), ...);
}

} // namespace

void sha1_blocks_sha(std::uint32_t* state, const unsigned char* blocks,
                     std::size_t count) noexcept {
    constexpr int REVERSE = 0x1b;
    auto* const place = reinterpret_cast<__m128i*>(state);
    State now{_mm_shuffle_epi32(_mm_loadu_si128(place), REVERSE),
              _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0)};
    for (; count != 0; --count, blocks += 64) {
        const State before = now;
        hash(std::make_index_sequence<20>(), now, blocks);
        now.e = _mm_sha1nexte_epu32(now.e, before.e);
        now.abcd = _mm_add_epi32(now.abcd, before.abcd);
    }
    _mm_storeu_si128(place, _mm_shuffle_epi32(now.abcd, REVERSE));
    state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(now.e, 3));
}

} // namespace kernels
