// Tests of the escaping of bytes in every variant.
//
//   name               cases
//   ByteSet            ByteSets.*
//   write_escaped      WriteEscaped.*
//   count_members      CountMembersTest.*
//   escape_members     EscapeMembersTest.*

#include "../escape.hpp"
#include "../../nuriccl/tests/support/sanitized.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using kernels::ByteSet;
using kernels::CountMembers;
using kernels::EscapeMembers;
using kernels::SSE2;
using kernels::SSSE3;
using noise::Noise;

constexpr std::size_t MOST = 200; // characters

ByteSet set_of(const std::string& members) {
    ByteSet set{};
    for (const char c : members) {
        const auto byte = static_cast<unsigned char>(c);
        set.bits[byte / 8] = static_cast<unsigned char>(set.bits[byte / 8] | 1 << byte % 8);
    }
    return set;
}

// A set beside a text that names the same bytes.
struct Set {
    explicit Set(std::string all) : members(std::move(all)), bits(set_of(members)) {}

    bool holds(char c) const { return members.find(c) != std::string::npos; }

    std::string members;
    ByteSet bits;
};

Set random_set(Noise& noise) {
    const std::size_t part = 1 + noise.below(40);
    std::string members;
    for (const char c : texts::all_bytes()) {
        if (noise.below(part) == 0) {
            members += c;
        }
    }
    return Set(members);
}

// Sets of nothing and of everything, of halves and of what names need.
const std::vector<Set>& sets() {
    static const std::vector<Set> all = {
        Set(""),
        Set(texts::all_bytes()),
        Set(texts::all_bytes().substr(0, 0x80)),
        Set(texts::all_bytes().substr(0x80)),
        Set("\\/:*?<>|%\""),
        Set(std::string("\0\x0f\x10\x7f\x80\x8f\xf0\xff", 8)),
    };
    return all;
}

std::size_t count(const std::string& text, const Set& set) {
    std::size_t total = 0;
    for (const char c : text) {
        total += set.holds(c) ? 1 : 0;
    }
    return total;
}

std::string escaped(const std::string& text, const Set& set, char escape) {
    std::string result;
    for (const char c : text) {
        if (set.holds(c)) {
            const auto byte = static_cast<unsigned char>(c);
            result += escape;
            result += "0123456789abcdef"[byte / 16];
            result += "0123456789abcdef"[byte % 16];
        } else {
            result += c;
        }
    }
    return result;
}

// Members here and there, or many of them, or any bytes.
std::string some_text(Noise& noise, const Set& set, std::size_t length) {
    const std::string plain = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    switch (noise.below(3)) {
    case 0:
        return noise.over(plain + set.members.substr(0, 5), length);
    case 1:
        return noise.over(set.members + "x", length);
    default:
        return noise.bytes(length);
    }
}

class CountMembersTest : public variants::Test<CountMembers> {
protected:
    static testing::AssertionResult holds(const std::string& text, const Set& set) {
        const std::size_t expected = count(text, set);
        auto texts = places::reading(text);
        texts.around = set.members.empty() ? '#' : set.members[0];
        return places::holds_everywhere(texts, [&](const char* place, const char*) {
            return run()(place, text.size(), set.bits) == expected;
        });
    }
};

class EscapeMembersTest : public variants::Test<EscapeMembers> {
protected:
    static testing::AssertionResult holds(const std::string& text, const Set& set, char escape) {
        return places::holds_everywhere(places::writing(text, escaped(text, set, escape)),
                                        [&](const char* from, char* to) {
                                            run()(from, text.size(), set.bits, escape, to);
                                            return true;
                                        });
    }
};

const variants::Named<CountMembers> COUNTERS[] = {
    {"best", SSE2, kernels::count_members},
    {"portable", SSE2, kernels::count_members_portable},
    {"ssse3", SSSE3, kernels::count_members_ssse3}};

const variants::Named<EscapeMembers> WRITERS[] = {
    {"best", SSE2, kernels::escape_members},
    {"portable", SSE2, kernels::escape_members_portable},
    {"ssse3", SSSE3, kernels::escape_members_ssse3}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, CountMembersTest, testing::ValuesIn(COUNTERS), variants::Name());
INSTANTIATE_TEST_SUITE_P(Variants, EscapeMembersTest, testing::ValuesIn(WRITERS), variants::Name());

TEST(ByteSets, HoldTheirMembersAndNothingElse) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (int i = 0; i < 100; ++i) {
        const Set set = random_set(noise);
        for (const char c : texts::all_bytes()) {
            ASSERT_EQ(set.bits.holds(c), set.holds(c)) << int{c};
        }
    }
}

TEST(WriteEscaped, WritesTheEscapeCharacterAndTwoDigits) {
    const Set all(texts::all_bytes());
    for (const char c : texts::all_bytes()) {
        std::string place = "12345";
        EXPECT_EQ(kernels::write_escaped(&place[1], '%', c), &place[4]);
        EXPECT_EQ(place, "1" + escaped(std::string(1, c), all, '%') + "5");
    }
}

TEST_P(CountMembersTest, CountsWhatAPlainLoopCountsWhereverTheTextIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (const Set& set : sets()) {
        for (std::size_t length = 0; length <= MOST; ++length) {
            ASSERT_TRUE(holds(some_text(noise, set, length), set)) << length;
        }
    }
}

TEST_P(CountMembersTest, KnowsEveryByteOfEverySetOfOne) {
    const std::string text = texts::all_bytes();
    for (const char member : text) {
        const Set set(std::string(1, member));
        ASSERT_EQ(run()(text.data(), text.size(), set.bits), 1U) << int{member};
        for (const char c : text) {
            const std::string same(32, c);
            ASSERT_EQ(run()(same.data(), same.size(), set.bits), c == member ? 32U : 0U)
                << int{c} << " with " << int{member};
        }
    }
}

TEST_P(CountMembersTest, KnowsEveryByteOfEverySetOfAllButOne) {
    for (const char other : texts::all_bytes()) {
        std::string members = texts::all_bytes();
        members.erase(members.find(other), 1);
        const Set set(members);
        const std::string same(32, other);
        ASSERT_EQ(run()(same.data(), same.size(), set.bits), 0U) << int{other};
        const std::string text = texts::all_bytes();
        ASSERT_EQ(run()(text.data(), text.size(), set.bits), 255U) << int{other};
    }
}

TEST_P(CountMembersTest, TakesRandomSetsAndLongText) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (int i = 0; i < 100; ++i) {
        const Set set = random_set(noise);
        const std::string text = some_text(noise, set, 10000 + noise.below(100));
        ASSERT_EQ(run()(text.data(), text.size(), set.bits), count(text, set));
    }
}

TEST_P(EscapeMembersTest, WritesWhatAPlainLoopWritesWhereverThePlacesAre) {
    Noise noise;
    SCOPED_TRACE(noise);
    std::size_t first = 0; // with a sanitizer, other lengths for each set
    for (const Set& set : sets()) {
        for (std::size_t length = first++ % AFFORDABLE_STRIDE; length <= MOST;
             length += AFFORDABLE_STRIDE) {
            const char escape = noise.one_of(texts::all_bytes());
            ASSERT_TRUE(holds(some_text(noise, set, length), set, escape))
                << length << " with " << int{escape};
        }
    }
}

TEST_P(EscapeMembersTest, DoesNotCareHowThePlacesAreAligned) {
    Noise noise;
    SCOPED_TRACE(noise);
    const Set& set = sets()[4];
    const std::string text = noise.over("abcdefghijklmnop/%:", 70);
    ASSERT_TRUE(places::holds_at_all_pairs(places::writing(text, escaped(text, set, '%')),
                                           [&](const char* from, char* to) {
                                               run()(from, text.size(), set.bits, '%', to);
                                               return true;
                                           }));
}

TEST_P(EscapeMembersTest, FindsOneMemberAtEveryPlaceOfATextOfEveryLength) {
    const Set set("/");
    for (std::size_t length = 1; length <= 100; ++length) {
        for (std::size_t place = 0; place < length; ++place) {
            std::string text(length, 'x');
            text[place] = '/';
            ASSERT_TRUE(places::holds_at_borders(places::writing(text, escaped(text, set, '%')),
                                                 [&](const char* from, char* to) {
                                                     run()(from, text.size(), set.bits, '%', to);
                                                     return true;
                                                 }))
                << place << " of " << length;
        }
    }
}

TEST_P(EscapeMembersTest, KnowsEveryByteAtEveryPlace) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (std::size_t place = 0; place < 48; ++place) {
        const Set set = random_set(noise);
        for (const char c : texts::all_bytes()) {
            std::string text(48, 'x');
            text[place] = c;
            const std::string expected = escaped(text, set, '%');
            std::string result(expected.size(), '\0');
            run()(text.data(), text.size(), set.bits, '%', result.data());
            ASSERT_EQ(result, expected) << int{c} << " at " << place;
        }
    }
}

TEST_P(EscapeMembersTest, TakesRandomSetsAndLongText) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (int i = 0; i < 100; ++i) {
        const Set set = random_set(noise);
        const std::string text = some_text(noise, set, 10000 + noise.below(100));
        const std::string expected = escaped(text, set, '=');
        std::string result(expected.size(), '\0');
        run()(text.data(), text.size(), set.bits, '=', result.data());
        ASSERT_TRUE(result == expected);
    }
}
