#pragma once

/// @file
/// SHA-1 with scalar rounds over a message schedule that vector instructions make beforehand.

#include "sha1_rounds.hpp"
#include "vector.hpp"

#include <utility>

namespace kernels {

namespace {

// A vector holds four words of each of one or two blocks, a lane for each. The schedule of the next
// blocks is made between the rounds of the current ones: the rounds wait for each other, the
// schedule fills the gaps.
class Sha1Scheduled {
    static constexpr std::size_t BLOCKS = Vector::LANES;

    // The words of each group with their constants: of the first block, of the second.
    struct alignas(Vector) Schedule {
        std::uint32_t words[SHA1_GROUPS][BLOCKS][4];
    };

    // Makes one group of a schedule; the ring holds the latest eight.
    template <std::size_t GROUP>
    [[gnu::always_inline]] static void extend(Vector (&ring)[8], const unsigned char* first,
                                              const unsigned char* second, Schedule& schedule) {
        Vector& word = ring[GROUP % 8];
        if constexpr (GROUP < 4) {
            constexpr signed char REVERSED[] = {3,  2,  1, 0, 7,  6,  5,  4,
                                                11, 10, 9, 8, 15, 14, 13, 12};
            word = Vector::load_lanes(first + GROUP * 16, second + GROUP * 16)
                       .taken(Vector::lanes_of(REVERSED));
        } else {
            const Vector& before_1 = ring[(GROUP - 1) % 8];
            const Vector& before_2 = ring[(GROUP - 2) % 8];
            const Vector& before_4 = ring[(GROUP - 4) % 8];
            if constexpr (GROUP < 8) {
                // The word of three rounds ago is not there yet for the last of the four: it
                // follows from the first of them.
                const Vector& before_3 = ring[(GROUP - 3) % 8];
                const Vector known =
                    before_4 ^ middle<8>(before_4, before_3) ^ before_2 ^ before_1.moved_down<4>();
                word = known.words_rotated_left<1>() ^ known.moved_up<12>().words_rotated_left<2>();
            } else {
                // The same recurrence twice, FIPS 180-4 rewritten for words at least four apart.
                word = (word ^ ring[(GROUP - 7) % 8] ^ before_4 ^ middle<8>(before_2, before_1))
                           .words_rotated_left<2>();
            }
        }
        add_words(word, Vector::all_words(SHA1_CONSTANTS[GROUP / 5])).store(schedule.words[GROUP]);
    }

    template <std::size_t... GROUPS>
    static void make(std::index_sequence<GROUPS...>, const unsigned char* first,
                     const unsigned char* second, Schedule& schedule) {
        Vector ring[8];
        (extend<GROUPS>(ring, first, second, schedule), ...);
    }

    template <std::size_t GROUP>
    [[gnu::always_inline]] static void do_rounds(Sha1Rounds& rounds,
                                                 const std::uint32_t (&words)[4]) {
        rounds.round<GROUP / 5>(words[0]);
        rounds.round<GROUP / 5>(words[1]);
        rounds.round<GROUP / 5>(words[2]);
        rounds.round<GROUP / 5>(words[3]);
    }

    // Modulo 2^32.
    static void add(std::uint32_t* state, const Sha1Rounds& rounds) {
        state[0] += rounds.a;
        state[1] += rounds.b;
        state[2] += rounds.c;
        state[3] += rounds.d;
        state[4] += rounds.e;
    }

    template <std::size_t... GROUPS>
    [[gnu::always_inline]] static void hash(std::index_sequence<GROUPS...>, std::uint32_t* state,
                                            const Schedule& schedule, std::size_t block) {
        Sha1Rounds rounds{state[0], state[1], state[2], state[3], state[4]};
        (do_rounds<GROUPS>(rounds, schedule.words[GROUPS][block]), ...);
        add(state, rounds);
    }

    // A block alone: its schedule is made four groups ahead of its rounds.
    template <std::size_t GROUP>
    [[gnu::always_inline]] static void extend_and_do_rounds(Sha1Rounds& rounds, Vector (&ring)[8],
                                                            const unsigned char* block,
                                                            Schedule& schedule) {
        constexpr std::size_t AHEAD = 4;
        if constexpr (GROUP + AHEAD < SHA1_GROUPS) {
            extend<GROUP + AHEAD>(ring, block, block, schedule);
        }
        do_rounds<GROUP>(rounds, schedule.words[GROUP][0]);
    }

    template <std::size_t... GROUPS>
    static void hash_alone(std::index_sequence<GROUPS...>, std::uint32_t* state,
                           const unsigned char* block) {
        Schedule schedule;
        Vector ring[8];
        extend<0>(ring, block, block, schedule);
        extend<1>(ring, block, block, schedule);
        extend<2>(ring, block, block, schedule);
        extend<3>(ring, block, block, schedule);
        Sha1Rounds rounds{state[0], state[1], state[2], state[3], state[4]};
        (extend_and_do_rounds<GROUPS>(rounds, ring, block, schedule), ...);
        add(state, rounds);
    }

    // Rounds of one group, and of every BLOCKS-th one the schedule of the blocks to come.
    template <std::size_t BLOCK, std::size_t GROUP>
    [[gnu::always_inline]] static void
    do_rounds_and_extend(Sha1Rounds& rounds, const Schedule& schedule, Vector (&ring)[8],
                         const unsigned char* first, const unsigned char* second, Schedule& next) {
        constexpr std::size_t STEP = BLOCK * SHA1_GROUPS + GROUP;
        if constexpr (STEP % BLOCKS == 0) {
            extend<STEP / BLOCKS>(ring, first, second, next);
        }
        do_rounds<GROUP>(rounds, schedule.words[GROUP][BLOCK]);
    }

    template <std::size_t BLOCK, std::size_t... GROUPS>
    [[gnu::always_inline]] static void
    hash_and_extend(std::index_sequence<GROUPS...>, std::uint32_t* state, const Schedule& schedule,
                    Vector (&ring)[8], const unsigned char* first, const unsigned char* second,
                    Schedule& next) {
        Sha1Rounds rounds{state[0], state[1], state[2], state[3], state[4]};
        (do_rounds_and_extend<BLOCK, GROUPS>(rounds, schedule, ring, first, second, next), ...);
        add(state, rounds);
    }

    template <std::size_t... BLOCK>
    static void hash_all_and_make(std::index_sequence<BLOCK...>, std::uint32_t* state,
                                  const Schedule& schedule, const unsigned char* first,
                                  const unsigned char* second, Schedule& next) {
        Vector ring[8];
        (hash_and_extend<BLOCK>(std::make_index_sequence<SHA1_GROUPS>(), state, schedule, ring,
                                first, second, next),
         ...);
    }

public:
    static void run(std::uint32_t* state, const unsigned char* blocks, std::size_t count) {
        if (count == 0) {
            return;
        }
        constexpr auto GROUPS = std::make_index_sequence<SHA1_GROUPS>();
        if (count == 1) {
            return hash_alone(GROUPS, state, blocks);
        }
        // The second of the blocks at a place, or the first again when there is no second one.
        const auto second = [](const unsigned char* place, std::size_t left) {
            return left < BLOCKS ? place : place + (BLOCKS - 1) * SHA1_BLOCK;
        };
        Schedule schedules[2];
        std::size_t current = 0;
        make(GROUPS, blocks, second(blocks, count), schedules[current]);
        for (; count > BLOCKS; count -= BLOCKS) {
            blocks += BLOCKS * SHA1_BLOCK;
            hash_all_and_make(std::make_index_sequence<BLOCKS>(), state, schedules[current], blocks,
                              second(blocks, count - BLOCKS), schedules[current ^ 1]);
            current ^= 1;
        }
        for (std::size_t block = 0; block < count; ++block) {
            hash(GROUPS, state, schedules[current], block);
        }
    }
};

} // namespace

} // namespace kernels
