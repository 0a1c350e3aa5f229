// Tests of the comparison that takes both cases of a letter for the same, in every variant.
//
//   kernel                                      cases
//   same_but_case, long_same_but_case           SameButCaseTest.*

#include "../ignorecase.hpp"
#include "../../nuriccl/tests/support/sanitized.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

namespace {

using kernels::AVX2;
using kernels::SameButCase;
using kernels::SSE2;
using noise::Noise;

constexpr std::size_t MOST = 200; // characters

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

char other_case(char c) { return upper(c) != c ? upper(c) : lower(c); }

std::size_t model(const std::string& a, const std::string& b) {
    std::size_t same = 0;
    while (same < a.size() && upper(a[same]) == upper(b[same])) {
        ++same;
    }
    return same;
}

// The same text with letters in both cases.
std::string in_any_case(Noise& noise, std::string text) {
    for (char& c : text) {
        c = noise.below(2) != 0 ? other_case(c) : c;
    }
    return text;
}

std::size_t inline_same_but_case(const char* a, const char* b, std::size_t length) noexcept {
    return kernels::same_but_case(a, b, length);
}

class SameButCaseTest : public variants::Test<SameButCase> {
protected:
    static auto kernel(const std::string& a, const std::string& b) {
        return [expected = model(a, b), length = a.size()](const char* first, const char* second) {
            return run()(first, second, length) == expected;
        };
    }

    // The second text is in the other place, which is not written.
    static testing::AssertionResult holds(const std::string& a, const std::string& b) {
        return places::holds_everywhere(places::Texts<char, char>{a, b, b}, kernel(a, b));
    }
};

const variants::Named<SameButCase> COMPARISONS[] = {
    {"inline", SSE2, inline_same_but_case},
    {"best", SSE2, kernels::long_same_but_case},
    {"sse2", SSE2, kernels::long_same_but_case_sse2},
    {"avx2", AVX2, kernels::long_same_but_case_avx2}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, SameButCaseTest, testing::ValuesIn(COMPARISONS),
                         variants::Name());

TEST_P(SameButCaseTest, CountsAllOfTextsThatAreTheSameWhereverTheyAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t length = 0; length <= MOST; ++length) {
        const std::string text = noise.bytes(length);
        ASSERT_TRUE(holds(text, text)) << length;
        const std::string letters = noise.over("abcdefghijklmnopqrstuvwxyzABCXYZ.1", length);
        ASSERT_TRUE(holds(letters, in_any_case(noise, letters))) << length;
    }
}

TEST_P(SameButCaseTest, DoesNotCareHowTheTextsAreAligned) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string text = noise.over("Some.Text", 100);
    const std::string other = in_any_case(noise, text);
    ASSERT_TRUE(places::holds_at_all_pairs(places::Texts<char, char>{text, other, other},
                                           kernel(text, other)));
}

TEST_P(SameButCaseTest, StopsAtTheFirstDifferenceOfTextsOfEveryLength) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t length = 1; length <= MOST; ++length) {
        const std::string text = noise.over("abcdefghijklmnopqrstuvwxyzABCXYZ.1", length);
        std::string other = in_any_case(noise, text);
        for (std::size_t place = 0; place < length; ++place) {
            const char before = other[place];
            other[place] = noise.below(2) != 0 ? '#' : static_cast<char>(before ^ '\x80');
            ASSERT_EQ(run()(text.data(), other.data(), length), place) << length;
            ASSERT_EQ(run()(other.data(), text.data(), length), place) << length;
            // What follows the first difference does not count.
            const std::size_t later = place + noise.below(length - place);
            const char at_later = other[later];
            other[later] = '!';
            ASSERT_EQ(run()(text.data(), other.data(), length), place) << length;
            other[later] = at_later;
            other[place] = before;
        }
    }
}

TEST_P(SameButCaseTest, StopsAtADifferenceAtBothEndsWhereverTheTextsAre) {
    for (std::size_t length = 1; length <= MOST; ++length) {
        const std::string text(length, 'q');
        std::string other(length, 'Q');
        other[length - 1] = 'p';
        ASSERT_TRUE(holds(text, other)) << length;
        other[0] = '\xf1';
        ASSERT_TRUE(holds(text, other)) << length;
    }
}

// Every place of a vector, and one in the vector that overlaps the one before. With a sanitizer,
// one in seven pairs, which are others at each place.
TEST_P(SameButCaseTest, KnowsEveryPairOfBytesAtEveryPlace) {
    constexpr std::size_t LENGTH = 69;
    std::string a(LENGTH, 'm');
    std::string b(LENGTH, 'M');
    for (std::size_t place = 0; place < LENGTH; ++place) {
        for (int i = static_cast<int>(place) % AFFORDABLE_STRIDE; i < 0x10000;
             i += AFFORDABLE_STRIDE) {
            a[place] = static_cast<char>(i & 0xff);
            b[place] = static_cast<char>(i >> 8);
            const std::size_t expected = upper(a[place]) == upper(b[place]) ? LENGTH : place;
            const std::size_t same = run()(a.data(), b.data(), LENGTH);
            if (same != expected) {
                FAIL() << same << " for " << (i & 0xff) << " and " << (i >> 8) << " at " << place;
            }
        }
        a[place] = 'm';
        b[place] = 'M';
    }
}

// Below the length of a vector there is a loop of its own.
TEST_P(SameButCaseTest, KnowsEveryPairOfBytesOfShortAndLongTexts) {
    for (const std::size_t length : {1, 15, 31, 64, 100}) {
        std::string a(length, 'm');
        std::string b(length, 'M');
        for (int i = 0; i < 0x10000; ++i) {
            a[length - 1] = static_cast<char>(i & 0xff);
            b[length - 1] = static_cast<char>(i >> 8);
            ASSERT_EQ(run()(a.data(), b.data(), length), model(a, b)) << i << ' ' << length;
        }
    }
}

TEST_P(SameButCaseTest, TakesLongTexts) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string text =
        noise.over("abcdefghijklmnopqrstuvwxyzABCXYZ.1", 50000 + noise.below(100));
    std::string other = in_any_case(noise, text);
    ASSERT_EQ(run()(text.data(), other.data(), text.size()), text.size());
    for (int i = 0; i < 100; ++i) {
        const std::size_t place = noise.below(text.size());
        const char before = other[place];
        other[place] = '#';
        ASSERT_EQ(run()(text.data(), other.data(), text.size()), place);
        other[place] = before;
    }
}
