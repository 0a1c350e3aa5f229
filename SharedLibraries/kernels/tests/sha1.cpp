// Tests of the compression function of SHA-1 in every variant.
//
//   kernel           cases
//   sha1_blocks      Sha1Model.*, Sha1BlocksTest.*

#include "../sha1.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace {

using kernels::AVX2;
using kernels::SHA;
using kernels::Sha1Blocks;
using kernels::SSE2;
using kernels::SSSE3;
using noise::Noise;

using Words =
    std::basic_string<char32_t>; // the chaining value, where a std::string would take bytes

constexpr std::size_t BLOCK = 64; // bytes
constexpr std::size_t MOST_BLOCKS = 20;

static_assert(sizeof(char32_t) == sizeof(std::uint32_t));

const Words START = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

// What FIPS 180-4 writes about one block, word for word.
void take_block(std::array<std::uint32_t, 5>& hash, const char* block) {
    const auto rotate = [](std::uint32_t word, int count) {
        return word << count | word >> (32 - count);
    };
    std::uint32_t w[80];
    for (std::size_t t = 0; t < 80; ++t) {
        if (t < 16) {
            w[t] = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                w[t] = w[t] << 8 | static_cast<unsigned char>(block[t * 4 + i]);
            }
        } else {
            w[t] = rotate(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);
        }
    }
    auto [a, b, c, d, e] = hash;
    for (std::size_t t = 0; t < 80; ++t) {
        const std::uint32_t f = t < 20              ? (b & c) ^ (~b & d)
                                : t < 40 || t >= 60 ? b ^ c ^ d
                                                    : (b & c) ^ (b & d) ^ (c & d);
        constexpr std::uint32_t K[] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};
        const std::uint32_t next = rotate(a, 5) + f + e + K[t / 20] + w[t];
        e = d;
        d = c;
        c = rotate(b, 30);
        b = a;
        a = next;
    }
    const std::uint32_t add[] = {a, b, c, d, e};
    for (std::size_t i = 0; i < 5; ++i) {
        hash[i] += add[i];
    }
}

Words model(const Words& state, const std::string& blocks) {
    std::array<std::uint32_t, 5> hash;
    std::copy(state.begin(), state.end(), hash.begin());
    for (std::size_t i = 0; i < blocks.size(); i += BLOCK) {
        take_block(hash, blocks.data() + i);
    }
    return Words(hash.begin(), hash.end());
}

// A message in whole blocks: with a bit after it, and its length in bits at the end.
std::string padded(const std::string& message) {
    std::string blocks = message + '\x80';
    while (blocks.size() % BLOCK != BLOCK - 8) {
        blocks += '\0';
    }
    for (int shift = 56; shift >= 0; shift -= 8) {
        blocks += static_cast<char>(std::uint64_t{message.size()} * 8 >> shift & 0xff);
    }
    return blocks;
}

struct Vector {
    std::string message;
    Words digest;
};

const Vector VECTORS[] = {
    {"", {0xda39a3ee, 0x5e6b4b0d, 0x3255bfef, 0x95601890, 0xafd80709}},
    {"abc", {0xa9993e36, 0x4706816a, 0xba3e2571, 0x7850c26c, 0x9cd0d89d}},
    {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     {0x84983e44, 0x1c3bd26e, 0xbaae4aa1, 0xf95129e5, 0xe54670f1}},
    {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqr"
     "lmnopqrsmnopqrstnopqrstu",
     {0xa49b2446, 0xa02c645b, 0xf419f995, 0xb6709125, 0x3a04a259}},
    {std::string(1000000, 'a'), {0x34aa973c, 0xd4c4daa4, 0xf61eeb2b, 0xdbad2731, 0x6534016f}},
};

Words random_state(Noise& noise) {
    Words state;
    while (state.size() < 5) {
        state += static_cast<char32_t>(noise.word());
    }
    return state;
}

class Sha1BlocksTest : public variants::Test<Sha1Blocks> {
protected:
    static Words hash(const Words& state, const std::string& blocks) {
        std::uint32_t words[5];
        std::copy(state.begin(), state.end(), words);
        run()(words, to_bytes(blocks.data()), blocks.size() / BLOCK);
        return Words(words, words + 5);
    }

    static auto kernel(std::size_t count) {
        return [count](const char* blocks, char32_t* state) {
            run()(reinterpret_cast<std::uint32_t*>(state), to_bytes(blocks), count);
            return true;
        };
    }

    static const unsigned char* to_bytes(const char* text) {
        return reinterpret_cast<const unsigned char*>(text);
    }
};

const variants::Named<Sha1Blocks> FUNCTIONS[] = {{"best", SSE2, kernels::sha1_blocks},
                                                 {"portable", SSE2, kernels::sha1_blocks_portable},
                                                 {"ssse3", SSSE3, kernels::sha1_blocks_ssse3},
                                                 {"avx2", AVX2, kernels::sha1_blocks_avx2},
                                                 {"sha", SHA, kernels::sha1_blocks_sha}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, Sha1BlocksTest, testing::ValuesIn(FUNCTIONS), variants::Name());

// The model is only worth something if it is right itself.
TEST(Sha1Model, GivesThePublishedDigests) {
    for (const Vector& vector : VECTORS) {
        EXPECT_TRUE(model(START, padded(vector.message)) == vector.digest);
    }
}

TEST_P(Sha1BlocksTest, GivesThePublishedDigests) {
    for (const Vector& vector : VECTORS) {
        EXPECT_TRUE(hash(START, padded(vector.message)) == vector.digest);
    }
}

TEST_P(Sha1BlocksTest, LeavesTheStateAloneWithoutBlocks) {
    Noise noise;
    SCOPED_TRACE(noise);
    const Words state = random_state(noise);
    EXPECT_TRUE(
        places::holds_everywhere(places::Texts<char, char32_t>{"", state, state}, kernel(0)));
    EXPECT_TRUE(hash(state, "") == state);
}

TEST_P(Sha1BlocksTest, AgreesWithTheModelWhereverTheBlocksAndTheStateAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t count = 0; count <= MOST_BLOCKS; ++count) {
        const std::string blocks = noise.bytes(count * BLOCK);
        for (const Words& state : {START, random_state(noise)}) {
            ASSERT_TRUE(places::holds_everywhere(
                places::Texts<char, char32_t>{blocks, state, model(state, blocks)}, kernel(count)))
                << count;
        }
    }
}

TEST_P(Sha1BlocksTest, DoesNotCareHowTheBlocksAreAligned) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string blocks = noise.bytes(5 * BLOCK);
    ASSERT_TRUE(places::holds_at_all_pairs(
        places::Texts<char, char32_t>{blocks, START, model(START, blocks)}, kernel(5)));
}

// Every bit of a block matters, and so does every bit of the state.
TEST_P(Sha1BlocksTest, AgreesWithTheModelForEverySingleBit) {
    for (const char other : {'\0', '\xff'}) {
        for (std::size_t bit = 0; bit < 3 * BLOCK * 8; ++bit) {
            std::string blocks(3 * BLOCK, other);
            blocks[bit / 8] = static_cast<char>(blocks[bit / 8] ^ 1 << bit % 8);
            ASSERT_TRUE(hash(START, blocks) == model(START, blocks)) << bit;
        }
    }
    const std::string blocks(BLOCK, '\0');
    for (std::size_t bit = 0; bit < 5 * 32; ++bit) {
        Words state(5, 0);
        state[bit / 32] = char32_t{1} << bit % 32;
        ASSERT_TRUE(hash(state, blocks) == model(state, blocks)) << bit;
    }
}

TEST_P(Sha1BlocksTest, GivesTheSameInSeveralCallsAsInOne) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t count = 0; count <= MOST_BLOCKS; ++count) {
        const std::string blocks = noise.bytes(count * BLOCK);
        const Words at_once = hash(START, blocks);
        for (std::size_t first = 0; first <= count; ++first) {
            for (std::size_t second = first; second <= count; ++second) {
                Words state = hash(START, blocks.substr(0, first * BLOCK));
                state = hash(state, blocks.substr(first * BLOCK, (second - first) * BLOCK));
                state = hash(state, blocks.substr(second * BLOCK));
                ASSERT_TRUE(state == at_once) << first << ", " << second << " of " << count;
            }
        }
    }
}

TEST_P(Sha1BlocksTest, AgreesWithTheModelOnRandomMessagesOfAnyLength) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (int i = 0; i < 300; ++i) {
        const std::string blocks = padded(noise.bytes(noise.below(3000)));
        const Words state = random_state(noise);
        ASSERT_TRUE(hash(state, blocks) == model(state, blocks));
    }
}
