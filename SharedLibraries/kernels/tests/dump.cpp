// Tests of the columns of a hex dump.
//
//   kernel               cases
//   dump_digits          DumpDigits.*
//   dump_characters      DumpCharacters.*

#include "../dump.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

namespace {

using kernels::DUMP_WIDTH;
using noise::Noise;

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

std::string digits_of(const std::string& bytes) {
    std::string digits;
    for (const char c : bytes) {
        digits += "0123456789abcdef"[to_byte(c) / 16];
        digits += "0123456789abcdef"[to_byte(c) % 16];
    }
    return digits;
}

std::string characters_of(const std::string& bytes) {
    std::string characters;
    for (const char c : bytes) {
        characters += c >= ' ' && to_byte(c) <= '~' ? c : '.';
    }
    return characters;
}

unsigned int others_of(const std::string& bytes) {
    unsigned int others = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        others |= to_byte(bytes[i]) >= 0x80 ? 1U << i : 0U;
    }
    return others;
}

// Calls `check` with texts that have every byte at every place, among others and among random
// bytes.
template <class Check>
void for_each_text(Noise& noise, Check check) {
    for (std::size_t place = 0; place < DUMP_WIDTH; ++place) {
        for (const char c : texts::all_bytes()) {
            for (std::string bytes : {std::string(DUMP_WIDTH, '\0'), std::string(DUMP_WIDTH, 'x'),
                                      std::string(DUMP_WIDTH, '\xff'), noise.bytes(DUMP_WIDTH)}) {
                bytes[place] = c;
                check(bytes);
            }
        }
    }
}

} // namespace

TEST(DumpDigits, KnowsEveryByteAtEveryPlace) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_text(noise, [](const std::string& bytes) {
        char digits[2 * DUMP_WIDTH];
        kernels::dump_digits(bytes.data(), digits);
        ASSERT_EQ(std::string(digits, sizeof digits), digits_of(bytes));
    });
}

TEST(DumpDigits, StaysWithinItsPlaces) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string bytes = noise.bytes(DUMP_WIDTH);
    const auto texts = places::writing(bytes, digits_of(bytes));
    const auto kernel = [](const char* from, char* to) {
        kernels::dump_digits(from, to);
        return true;
    };
    EXPECT_TRUE(places::holds_at_borders(texts, kernel));
    EXPECT_TRUE(places::holds_at_all_pairs(texts, kernel));
}

TEST(DumpCharacters, KnowsEveryByteAtEveryPlace) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_text(noise, [](const std::string& bytes) {
        char characters[DUMP_WIDTH];
        ASSERT_EQ(kernels::dump_characters(bytes.data(), characters), others_of(bytes));
        ASSERT_EQ(std::string(characters, sizeof characters), characters_of(bytes));
    });
}

TEST(DumpCharacters, StaysWithinItsPlaces) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string bytes = noise.bytes(DUMP_WIDTH);
    const auto texts = places::writing(bytes, characters_of(bytes));
    const auto kernel = [&bytes](const char* from, char* to) {
        return kernels::dump_characters(from, to) == others_of(bytes);
    };
    EXPECT_TRUE(places::holds_at_borders(texts, kernel));
    EXPECT_TRUE(places::holds_at_all_pairs(texts, kernel));
}
