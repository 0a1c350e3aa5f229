#include "sha1.hpp"
#include "sha1_rounds.hpp"

namespace kernels {

namespace {

std::uint32_t load_big_endian(const unsigned char* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

// Rounds of one of the four phases. The schedule is a ring of the 16 latest words.
template <std::size_t PHASE>
void do_phase(Sha1Rounds& rounds, std::uint32_t (&schedule)[16]) {
#pragma GCC unroll 20
    for (std::size_t t = PHASE * 20; t < PHASE * 20 + 20; ++t) {
        std::uint32_t& word = schedule[t % 16];
        if (t >= 16) {
            word = Sha1Rounds::rotate_left(schedule[(t + 13) % 16] ^ schedule[(t + 8) % 16] ^
                                               schedule[(t + 2) % 16] ^ word,
                                           1);
        }
        rounds.round<PHASE>(word + SHA1_CONSTANTS[PHASE]);
    }
}

} // namespace

void sha1_blocks_portable(std::uint32_t* state, const unsigned char* blocks,
                          std::size_t count) noexcept {
    for (; count != 0; --count, blocks += SHA1_BLOCK) {
        std::uint32_t schedule[16];
        for (std::size_t t = 0; t < 16; ++t) {
            schedule[t] = load_big_endian(blocks + t * 4);
        }
        Sha1Rounds rounds{state[0], state[1], state[2], state[3], state[4]};
        do_phase<0>(rounds, schedule);
        do_phase<1>(rounds, schedule);
        do_phase<2>(rounds, schedule);
        do_phase<3>(rounds, schedule);
        state[0] += rounds.a; // modulo 2^32, as all sums here
        state[1] += rounds.b;
        state[2] += rounds.c;
        state[3] += rounds.d;
        state[4] += rounds.e;
    }
}

void sha1_blocks(std::uint32_t* state, const unsigned char* blocks, std::size_t count) noexcept {
    static constexpr Variant<Sha1Blocks> VARIANTS[] = {{SHA, sha1_blocks_sha},
                                                       {AVX2, sha1_blocks_avx2},
                                                       {SSSE3, sha1_blocks_ssse3},
                                                       {SSE2, sha1_blocks_portable}};
    static Sha1Blocks* const best = best_of(VARIANTS);
    best(state, blocks, count);
}

} // namespace kernels
