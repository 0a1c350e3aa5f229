// Tests of the kernels of Base64 in every variant.
//
//   kernel            cases
//   base64_encode     Base64Portable.*, Base64EncodeTest.*
//   base64_check      Base64Portable.*, Base64CheckTest.*
//   base64_decode     Base64Portable.*, Base64DecodeTest.*, Base64InPlaceTest.*

#include "../base64.hpp"
#include "../../nuriccl/tests/support/base64_model.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

namespace {

using base64_model::DIGITS;
using kernels::AVX2;
using kernels::Base64Check;
using kernels::Base64Decode;
using kernels::Base64Encode;
using kernels::SSE2;
using kernels::SSSE3;
using kernels::VBMI;
using noise::Noise;

constexpr std::size_t MOST_GROUPS = 200;

// Groups that fill the widest vector more than twice, with a rest for each narrower one.
constexpr std::size_t GROUPS = 45;

const unsigned char* to_bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

unsigned char* to_bytes(char* text) { return reinterpret_cast<unsigned char*>(text); }

std::string encoded(const std::string& bytes) {
    std::string text(bytes.size() / 3 * 4, '\0');
    kernels::base64_encode_portable(to_bytes(bytes.data()), bytes.size() / 3, text.data());
    return text;
}

std::string decoded(const std::string& text) {
    std::string bytes(text.size() / 4 * 3, '\0');
    kernels::base64_decode_portable(text.data(), text.size() / 4, to_bytes(bytes.data()));
    return bytes;
}

bool is_digit(char c) { return DIGITS.find(c) != std::string::npos; }

std::string other_characters() {
    std::string others;
    for (const char c : texts::all_bytes()) {
        if (!is_digit(c)) {
            others += c;
        }
    }
    return others;
}

class Base64EncodeTest : public variants::Test<Base64Encode> {
protected:
    static auto kernel(std::size_t groups) {
        return [groups](const char* bytes, char* text) {
            run()(to_bytes(bytes), groups, text);
            return true;
        };
    }
};

class Base64CheckTest : public variants::Test<Base64Check> {
protected:
    static auto kernel(std::size_t length, bool expected) {
        return [length, expected](const char* text, const char*) {
            return run()(text, length) == expected;
        };
    }
};

class Base64DecodeTest : public variants::Test<Base64Decode> {
protected:
    static auto kernel(std::size_t groups) {
        return [groups](const char* text, char* bytes) {
            run()(text, groups, to_bytes(bytes));
            return true;
        };
    }
};

class Base64InPlaceTest : public variants::Test<Base64Decode> {
protected:
    static auto kernel(std::size_t groups) {
        return [groups](const char*, char* place) {
            run()(place, groups, to_bytes(place));
            return true;
        };
    }

    // The rest of the text stays as it is.
    static auto with_rest(const std::string& text) {
        const std::string bytes = decoded(text);
        return places::changing(text, bytes + text.substr(bytes.size()));
    }
};

const variants::Named<Base64Encode> ENCODERS[] = {
    {"best", SSE2, kernels::base64_encode},
    {"portable", SSE2, kernels::base64_encode_portable},
    {"ssse3", SSSE3, kernels::base64_encode_ssse3},
    {"avx2", AVX2, kernels::base64_encode_avx2},
    {"vbmi", VBMI | AVX2, kernels::base64_encode_vbmi}};

const variants::Named<Base64Check> CHECKS[] = {{"best", SSE2, kernels::base64_check},
                                               {"portable", SSE2, kernels::base64_check_portable},
                                               {"ssse3", SSSE3, kernels::base64_check_ssse3},
                                               {"avx2", AVX2, kernels::base64_check_avx2},
                                               {"vbmi", VBMI | AVX2, kernels::base64_check_vbmi}};

const variants::Named<Base64Decode> DECODERS[] = {
    {"best", SSE2, kernels::base64_decode},
    {"portable", SSE2, kernels::base64_decode_portable},
    {"ssse3", SSSE3, kernels::base64_decode_ssse3},
    {"avx2", AVX2, kernels::base64_decode_avx2},
    {"vbmi", VBMI | AVX2, kernels::base64_decode_vbmi}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, Base64EncodeTest, testing::ValuesIn(ENCODERS), variants::Name());
INSTANTIATE_TEST_SUITE_P(Variants, Base64CheckTest, testing::ValuesIn(CHECKS), variants::Name());
INSTANTIATE_TEST_SUITE_P(Variants, Base64DecodeTest, testing::ValuesIn(DECODERS), variants::Name());
INSTANTIATE_TEST_SUITE_P(Variants, Base64InPlaceTest, testing::ValuesIn(DECODERS),
                         variants::Name());

// The portable variants against the model

TEST(Base64Portable, EncodesEveryByteAtEveryPlaceOfAGroupLikeTheModel) {
    for (const char other : {'\0', '\xff', '\x5a'}) {
        for (std::size_t place = 0; place < 3; ++place) {
            for (const char byte : texts::all_bytes()) {
                std::string group(3, other);
                group[place] = byte;
                ASSERT_EQ(encoded(group), base64_model::encode(group));
            }
        }
    }
}

TEST(Base64Portable, EncodesAndDecodesGroupsLikeTheModel) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 0; groups <= 40; ++groups) {
        const std::string bytes = noise.bytes(groups * 3);
        const std::string text = base64_model::encode(bytes);
        ASSERT_EQ(encoded(bytes), text);
        ASSERT_EQ(decoded(text), bytes);
    }
}

TEST(Base64Portable, DecodesEveryDigitAtEveryPlaceOfAGroupLikeTheModel) {
    for (const char other : {'A', '/', 'Z'}) {
        for (std::size_t place = 0; place < 4; ++place) {
            for (const char digit : DIGITS) {
                std::string group(4, other);
                group[place] = digit;
                ASSERT_EQ(decoded(group), base64_model::decode(group));
            }
        }
    }
}

TEST(Base64Portable, KnowsTheDigits) {
    EXPECT_TRUE(kernels::base64_check_portable(nullptr, 0));
    for (const char c : texts::all_bytes()) {
        EXPECT_EQ(kernels::base64_check_portable(&c, 1), is_digit(c)) << int{c};
    }
}

// Encoding

TEST_P(Base64EncodeTest, WritesWhatThePortableOneWritesWhereverThePlacesAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 0; groups <= MOST_GROUPS; ++groups) {
        const std::string bytes = noise.bytes(groups * 3);
        ASSERT_TRUE(
            places::holds_everywhere(places::writing(bytes, encoded(bytes)), kernel(groups)))
            << groups;
    }
}

TEST_P(Base64EncodeTest, DoesNotCareHowThePlacesAreAligned) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string bytes = noise.bytes(GROUPS * 3);
    ASSERT_TRUE(places::holds_at_all_pairs(places::writing(bytes, encoded(bytes)), kernel(GROUPS)));
}

TEST_P(Base64EncodeTest, KnowsEveryByteAtEveryPlace) {
    for (const char other : {'\0', '\xff'}) {
        std::string bytes(GROUPS * 3, other);
        std::string text(GROUPS * 4, '\0');
        for (char& place : bytes) {
            for (const char byte : texts::all_bytes()) {
                place = byte;
                run()(to_bytes(bytes.data()), GROUPS, text.data());
                ASSERT_EQ(text, encoded(bytes)) << int{byte} << " at " << &place - bytes.data();
            }
            place = other;
        }
    }
}

TEST_P(Base64EncodeTest, TakesLongInput) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 20000; groups < 20020; ++groups) {
        const std::string bytes = noise.bytes(groups * 3);
        std::string text(groups * 4, '\0');
        run()(to_bytes(bytes.data()), groups, text.data());
        ASSERT_TRUE(text == encoded(bytes)) << groups;
    }
}

// Checking

TEST_P(Base64CheckTest, AcceptsDigitsWhereverTheyAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string text = noise.over(DIGITS, length);
        ASSERT_TRUE(places::holds_everywhere(places::reading(text), kernel(length, true)))
            << length;
    }
}

TEST_P(Base64CheckTest, FindsABadCharacterAtEveryPlaceOfATextOfEveryLength) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string others = other_characters();
    for (std::size_t length = 1; length <= 200; ++length) {
        std::string text = noise.over(DIGITS, length);
        for (char& place : text) {
            const char digit = place;
            place = noise.one_of(others);
            ASSERT_FALSE(run()(text.data(), length))
                << int{place} << " at " << &place - text.data() << " of " << length;
            place = digit;
        }
    }
}

TEST_P(Base64CheckTest, FindsABadCharacterAtBothEndsWhereverTheTextIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string others = other_characters();
    for (std::size_t length = 1; length <= 200; ++length) {
        for (const std::size_t place : {std::size_t{0}, length - 1}) {
            std::string text = noise.over(DIGITS, length);
            text[place] = noise.one_of(others);
            // The characters around are digits.
            ASSERT_TRUE(places::holds_everywhere(places::reading(text, 'A'), kernel(length, false)))
                << length;
        }
    }
}

TEST_P(Base64CheckTest, KnowsEveryByteAtEveryPlace) {
    std::string text(200, 'A');
    for (char& place : text) {
        for (const char c : texts::all_bytes()) {
            place = c;
            ASSERT_EQ(run()(text.data(), text.size()), is_digit(c))
                << int{c} << " at " << &place - text.data();
        }
        place = 'A';
    }
}

TEST_P(Base64CheckTest, TakesLongText) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string others = other_characters();
    for (std::size_t length = 50000; length < 50020; ++length) {
        std::string text = noise.over(DIGITS, length);
        ASSERT_TRUE(run()(text.data(), length)) << length;
        text[noise.below(length)] = noise.one_of(others);
        ASSERT_FALSE(run()(text.data(), length)) << length;
    }
}

// Decoding

TEST_P(Base64DecodeTest, WritesWhatThePortableOneWritesWhereverThePlacesAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 0; groups <= MOST_GROUPS; ++groups) {
        const std::string text = noise.over(DIGITS, groups * 4);
        ASSERT_TRUE(places::holds_everywhere(places::writing(text, decoded(text)), kernel(groups)))
            << groups;
    }
}

TEST_P(Base64DecodeTest, DoesNotCareHowThePlacesAreAligned) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string text = noise.over(DIGITS, GROUPS * 4);
    ASSERT_TRUE(places::holds_at_all_pairs(places::writing(text, decoded(text)), kernel(GROUPS)));
}

TEST_P(Base64DecodeTest, KnowsEveryDigitAtEveryPlace) {
    for (const char other : {'A', '/'}) {
        std::string text(GROUPS * 4, other);
        std::string bytes(GROUPS * 3, '\0');
        for (char& place : text) {
            for (const char digit : DIGITS) {
                place = digit;
                run()(text.data(), GROUPS, to_bytes(bytes.data()));
                ASSERT_EQ(bytes, decoded(text)) << digit << " at " << &place - text.data();
            }
            place = other;
        }
    }
}

TEST_P(Base64DecodeTest, TakesLongText) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 20000; groups < 20020; ++groups) {
        const std::string text = noise.over(DIGITS, groups * 4);
        std::string bytes(groups * 3, '\0');
        run()(text.data(), groups, to_bytes(bytes.data()));
        ASSERT_TRUE(bytes == decoded(text)) << groups;
    }
}

TEST_P(Base64InPlaceTest, DecodesTheTextWhereItIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 0; groups <= MOST_GROUPS; ++groups) {
        const std::string text = noise.over(DIGITS, groups * 4);
        ASSERT_TRUE(places::holds_everywhere(with_rest(text), kernel(groups))) << groups;
    }
}

TEST_P(Base64InPlaceTest, DecodesLongTextWhereItIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t groups = 12000; groups < 12020; ++groups) {
        const std::string text = noise.over(DIGITS, groups * 4);
        ASSERT_TRUE(places::holds_at_borders(with_rest(text), kernel(groups))) << groups;
    }
}
