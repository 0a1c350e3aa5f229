// Tests of the streaming SHA-1 against published digests and against a plain model.
//
//   public member                        cases
//   sha1_begin                           Sha1Begin.*
//   sha1_hash                            Sha1Hash.*, Sha1Length.*
//   sha1_end                             Sha1End.*, Sha1Vectors.*
//   sha1_context                         Sha1Context.*, Sha1Length.*

#include <nuriagent/sha1.hpp>

#include "../../nuriccl/tests/support/sanitized.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t DIGEST_SIZE = 20;

void hash(sha1_context& context, const std::string& data) {
    sha1_hash(reinterpret_cast<const unsigned char*>(data.data()),
              static_cast<unsigned int>(data.size()), &context);
}

std::string to_hex(const unsigned char* digest) {
    std::string text;
    for (std::size_t i = 0; i < DIGEST_SIZE; ++i) {
        text += "0123456789abcdef"[digest[i] / 16];
        text += "0123456789abcdef"[digest[i] % 16];
    }
    return text;
}

std::string end(sha1_context& context) {
    unsigned char digest[DIGEST_SIZE];
    sha1_end(digest, &context);
    return to_hex(digest);
}

std::string sha1(const std::string& data) {
    sha1_context context;
    sha1_begin(&context);
    hash(context, data);
    return end(context);
}

// The digest as FIPS 180-4 describes it: the whole message is padded first, then hashed with a full
// message schedule of 80 words. `hashed_before` counts bytes in front of `data` that the initial
// state leaves out.
std::string model_sha1(const std::string& data, std::uint64_t hashed_before = 0) {
    std::vector<std::uint8_t> message(data.begin(), data.end());
    message.push_back(0x80);
    while (message.size() % 64 != 56) {
        message.push_back(0);
    }
    const std::uint64_t bits = (hashed_before + data.size()) * 8;
    for (int shift = 56; shift >= 0; shift -= 8) {
        message.push_back(static_cast<std::uint8_t>(bits >> shift));
    }

    const auto rotate = [](std::uint32_t word, int count) {
        return (word << count) | (word >> (32 - count));
    };
    std::uint32_t h[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    for (std::size_t block = 0; block < message.size(); block += 64) {
        std::uint32_t w[80];
        for (std::size_t t = 0; t < 16; ++t) {
            w[t] = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                w[t] = w[t] * 256 + message[block + t * 4 + i];
            }
        }
        for (std::size_t t = 16; t < 80; ++t) {
            w[t] = rotate(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);
        }
        std::uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
        for (std::size_t t = 0; t < 80; ++t) {
            std::uint32_t f = 0;
            std::uint32_t k = 0;
            if (t < 20) {
                f = (b & c) ^ (~b & d);
                k = 0x5a827999;
            } else if (t < 40) {
                f = b ^ c ^ d;
                k = 0x6ed9eba1;
            } else if (t < 60) {
                f = (b & c) ^ (b & d) ^ (c & d);
                k = 0x8f1bbcdc;
            } else {
                f = b ^ c ^ d;
                k = 0xca62c1d6;
            }
            const std::uint32_t next = rotate(a, 5) + f + e + k + w[t];
            e = d;
            d = c;
            c = rotate(b, 30);
            b = a;
            a = next;
        }
        h[0] += a;
        h[1] += b;
        h[2] += c;
        h[3] += d;
        h[4] += e;
    }
    unsigned char digest[DIGEST_SIZE];
    for (std::size_t i = 0; i < DIGEST_SIZE; ++i) {
        digest[i] = static_cast<unsigned char>(h[i / 4] >> (24 - 8 * (i % 4)));
    }
    return to_hex(digest);
}

std::string random_bytes(std::mt19937& engine, std::size_t length) {
    std::uniform_int_distribution<int> byte(0, 255);
    std::string data(length, '\0');
    std::generate(data.begin(), data.end(), [&] { return static_cast<char>(byte(engine)); });
    return data;
}

const char MESSAGE_448[] = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const char MESSAGE_896[] = "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                           "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";

} // namespace

TEST(Sha1Vectors, EmptyMessage) { EXPECT_EQ(sha1(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709"); }

TEST(Sha1Vectors, OneBlockMessage) {
    EXPECT_EQ(sha1("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1Vectors, MessageOf448Bits) {
    EXPECT_EQ(sha1(MESSAGE_448), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
}

TEST(Sha1Vectors, MessageOf896Bits) {
    EXPECT_EQ(sha1(MESSAGE_896), "a49b2446a02c645bf419f995b67091253a04a259");
}

TEST(Sha1Vectors, OneMillionTimesA) {
    EXPECT_EQ(sha1(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

// The model is only worth something if it is right itself.
TEST(Sha1Vectors, HoldForTheModel) {
    EXPECT_EQ(model_sha1(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(model_sha1("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(model_sha1(MESSAGE_448), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(model_sha1(MESSAGE_896), "a49b2446a02c645bf419f995b67091253a04a259");
}

TEST(Sha1Begin, SetsEveryMemberWhateverItHeld) {
    sha1_context zeros;
    std::memset(&zeros, 0, sizeof zeros);
    sha1_context ones;
    std::memset(&ones, 0xff, sizeof ones);
    sha1_begin(&zeros);
    sha1_begin(&ones);
    EXPECT_EQ(std::memcmp(&zeros, &ones, sizeof zeros), 0);
    hash(ones, "abc");
    EXPECT_EQ(end(ones), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1Begin, StartsAUsedContextAnew) {
    sha1_context context;
    sha1_begin(&context);
    hash(context, MESSAGE_896);
    EXPECT_EQ(end(context), "a49b2446a02c645bf419f995b67091253a04a259");
    sha1_begin(&context);
    hash(context, "abc");
    EXPECT_EQ(end(context), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1Begin, DropsAnUnfinishedDigest) {
    sha1_context context;
    sha1_begin(&context);
    hash(context, std::string(100, 'x'));
    sha1_begin(&context);
    EXPECT_EQ(end(context), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

// Lengths on both sides of every block boundary and of every place where the padding changes.
TEST(Sha1Hash, GivesOneDigestHoweverTheMessageIsSplit) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 engine(seed);
    for (std::size_t length = 0; length <= 200; ++length) {
        const std::string data = random_bytes(engine, length);
        const std::string expected = model_sha1(data);
        ASSERT_EQ(sha1(data), expected) << "at once, length " << length;

        sha1_context bytewise;
        sha1_begin(&bytewise);
        for (const char c : data) {
            hash(bytewise, std::string(1, c));
        }
        ASSERT_EQ(end(bytewise), expected) << "byte by byte, length " << length;

        sha1_context split;
        sha1_begin(&split);
        for (std::size_t fed = 0; fed < length;) {
            std::uniform_int_distribution<std::size_t> piece(0, length - fed);
            const std::size_t count = piece(engine);
            hash(split, data.substr(fed, count));
            fed += count;
        }
        ASSERT_EQ(end(split), expected) << "in random pieces, length " << length;
    }
}

// Every split in two of a message of three blocks.
TEST(Sha1Hash, GivesOneDigestForEverySplitInTwo) {
    std::string data;
    for (int i = 0; i < 192; ++i) {
        data += static_cast<char>(i * 7 + 1);
    }
    const std::string expected = model_sha1(data);
    for (std::size_t first = 0; first <= data.size(); ++first) {
        sha1_context context;
        sha1_begin(&context);
        hash(context, data.substr(0, first));
        hash(context, data.substr(first));
        ASSERT_EQ(end(context), expected) << "first piece " << first;
    }
}

TEST(Sha1Hash, AgreesWithTheModelOnRandomMessages) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 engine(seed);
    std::uniform_int_distribution<std::size_t> length(0, 5000);
    for (int i = 0; i < 300; ++i) {
        const std::string data = random_bytes(engine, length(engine));
        ASSERT_EQ(sha1(data), model_sha1(data)) << "length " << data.size();
    }
}

TEST(Sha1Hash, TakesBytesAtAnyAlignment) {
    const std::string data(300, '\x5a');
    const std::string expected = model_sha1(data);
    for (std::size_t shift = 0; shift < 16; ++shift) {
        std::vector<unsigned char> space(shift + data.size());
        std::copy(data.begin(), data.end(), space.begin() + static_cast<std::ptrdiff_t>(shift));
        sha1_context context;
        sha1_begin(&context);
        sha1_hash(space.data() + shift, 300, &context);
        ASSERT_EQ(end(context), expected) << "shift " << shift;
    }
}

TEST(Sha1Hash, TakesNullForNoBytes) {
    for (const std::size_t before : {0U, 1U, 63U, 64U, 65U}) {
        const std::string data(before, 'n');
        sha1_context context;
        sha1_begin(&context);
        sha1_hash(nullptr, 0, &context);
        hash(context, data);
        sha1_hash(nullptr, 0, &context);
        EXPECT_EQ(end(context), model_sha1(data)) << before << " bytes before";
    }
}

TEST(Sha1Hash, DoesNotChangeTheData) {
    std::string data(130, 'd');
    sha1(data);
    EXPECT_EQ(data, std::string(130, 'd'));
}

TEST(Sha1End, WritesTwentyBytesAndNoOther) {
    unsigned char space[DIGEST_SIZE + 2];
    std::fill(std::begin(space), std::end(space), static_cast<unsigned char>(0xee));
    sha1_context context;
    sha1_begin(&context);
    hash(context, "abc");
    sha1_end(space + 1, &context);
    EXPECT_EQ(space[0], 0xee);
    EXPECT_EQ(space[DIGEST_SIZE + 1], 0xee);
    EXPECT_EQ(to_hex(space + 1), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1Context, IsIndependentOfOthers) {
    sha1_context first;
    sha1_context second;
    sha1_begin(&first);
    sha1_begin(&second);
    hash(first, "a");
    hash(second, std::string(60, 'z'));
    hash(first, "bc");
    hash(second, std::string(60, 'z'));
    EXPECT_EQ(end(first), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(end(second), model_sha1(std::string(120, 'z')));
}

TEST(Sha1Context, CountsTheBytesHashed) {
    sha1_context context;
    sha1_begin(&context);
    EXPECT_EQ(context.length_low, 0U);
    EXPECT_EQ(context.length_high, 0U);
    hash(context, std::string(70, 'c'));
    hash(context, std::string(3, 'c'));
    EXPECT_EQ(context.length_low, 73U);
    EXPECT_EQ(context.length_high, 0U);
}

// The length in bits passes 2^32 here. The digest is the published one of this message of 2^30
// bytes.
TEST(Sha1Length, PassesTwoToThe32Bits) {
    if (SANITIZED) {
        GTEST_SKIP() << "a gibibyte takes too long in an instrumented build";
    }
    const std::string pattern = "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno";
    std::string block;
    for (int i = 0; i < 16384; ++i) {
        block += pattern;
    }
    sha1_context context;
    sha1_begin(&context);
    for (int i = 0; i < 1024; ++i) {
        hash(context, block);
    }
    EXPECT_EQ(end(context), "7789f0c9ef7bfc40d93311143dfbe69e2017f592");
}

// 4 GiB would take too long, so the context is told that they were hashed already.
TEST(Sha1Length, CarriesIntoTheHighHalf) {
    constexpr std::uint64_t limit = std::uint64_t{1} << 32;
    for (const std::uint32_t missing : {64U, 128U}) {
        for (const std::size_t length : {63U, 64U, 65U, 127U, 128U, 129U, 200U}) {
            const std::string data(length, 'q');
            sha1_context context;
            sha1_begin(&context);
            context.length_low = 0U - missing;
            hash(context, data);
            EXPECT_EQ(context.length_high, length < missing ? 0U : 1U) << length;
            EXPECT_EQ(end(context), model_sha1(data, limit - missing))
                << missing << " bytes to the limit, " << length << " more";
        }
    }
}

TEST(Sha1Length, KeepsTheHighHalfInTheDigest) {
    sha1_context context;
    sha1_begin(&context);
    context.length_high = 0x1234567;
    hash(context, "abc");
    EXPECT_EQ(context.length_high, 0x1234567U);
    EXPECT_EQ(end(context), model_sha1("abc", std::uint64_t{0x1234567} << 32));
}
