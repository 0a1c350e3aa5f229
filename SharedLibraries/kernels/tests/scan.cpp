// Tests of looking for characters.
//
//   public member       cases
//   Scan::matches       ScanMatches.*
//   Scan::count         ScanCount.*
//   Scan::for_each      ScanForEach.*
//   copy_16             Copy16.*

#include "../scan.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"

#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using kernels::Scan;
using kernels::SCAN_WIDTH;
using noise::Noise;

const Scan ONE({'%'});
const Scan TWO({'\0', '\xff'});
const Scan THREE({'&', '<', '>'});

const std::string SET_OF_ONE("%");
const std::string SET_OF_TWO("\0\xff", 2);
const std::string SET_OF_THREE("&<>");

bool is_one_of(const std::string& set, char c) { return set.find(c) != std::string::npos; }

std::vector<std::size_t> positions(const std::string& set, const std::string& text) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (is_one_of(set, text[i])) {
            found.push_back(i);
        }
    }
    return found;
}

// Calls `check(scan, set)` for sets of each size.
template <class Check>
void for_each_scan(Check check) {
    check(ONE, SET_OF_ONE);
    check(TWO, SET_OF_TWO);
    check(THREE, SET_OF_THREE);
}

// Texts with few, some and many characters of the set.
std::vector<std::string> texts_for(Noise& noise, const std::string& set, std::size_t length) {
    const std::string others = set + "abcdefg hijkl";
    return {noise.bytes(length), noise.over(others, length), noise.over(set, length)};
}

} // namespace

TEST(ScanMatches, TellsEveryByteAtEveryPlace) {
    for_each_scan([](const auto& scan, const std::string& set) {
        std::string text(SCAN_WIDTH, 'x');
        for (std::size_t place = 0; place < SCAN_WIDTH; ++place) {
            for (const char c : texts::all_bytes()) {
                text[place] = c;
                ASSERT_EQ(scan.matches(text.data()), is_one_of(set, c) ? 1U << place : 0U)
                    << int{c} << " at " << place;
            }
            text[place] = 'x';
        }
    });
}

TEST(ScanMatches, TellsEverySetOfPlaces) {
    for_each_scan([](const auto& scan, const std::string& set) {
        for (unsigned int bits = 0; bits <= 0xffff; ++bits) {
            char text[SCAN_WIDTH];
            for (std::size_t i = 0; i < SCAN_WIDTH; ++i) {
                text[i] = (bits >> i & 1) != 0 ? set[i % set.size()] : '=';
            }
            ASSERT_EQ(scan.matches(text), bits);
        }
    });
}

TEST(ScanMatches, ReadsItsCharactersOnlyWhereverTheyAre) {
    for_each_scan([](const auto& scan, const std::string& set) {
        const std::string text = "0123456789abcde" + set.substr(set.size() - 1);
        EXPECT_TRUE(places::holds_everywhere(
            places::reading(text, set[0]),
            [&](const char* place, const char*) { return scan.matches(place) == 0x8000; }));
    });
}

TEST(ScanCount, CountsTheCharactersOfEveryTextWhereverItIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_scan([&](const auto& scan, const std::string& set) {
        for (std::size_t length = 0; length <= 200; ++length) {
            for (const std::string& text : texts_for(noise, set, length)) {
                const std::size_t expected = positions(set, text).size();
                ASSERT_TRUE(places::holds_everywhere(places::reading(text, set[0]),
                                                     [&](const char* place, const char*) {
                                                         return scan.count(place, text.size()) ==
                                                                expected;
                                                     }))
                    << length;
            }
        }
    });
}

// 255 matches are the most that a byte counts.
TEST(ScanCount, CountsMoreThanAByteHolds) {
    for_each_scan([](const auto& scan, const std::string& set) {
        for (const std::size_t rounds : {254U, 255U, 256U, 257U, 509U, 510U, 511U, 2550U}) {
            for (std::size_t rest = 0; rest < SCAN_WIDTH; ++rest) {
                const std::size_t length = rounds * SCAN_WIDTH + rest;
                ASSERT_EQ(scan.count(std::string(length, set[0]).data(), length), length);
                ASSERT_EQ(scan.count(std::string(length, '=').data(), length), 0U);
            }
        }
    });
}

TEST(ScanCount, TakesLongTexts) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_scan([&](const auto& scan, const std::string& set) {
        for (const std::string& text : texts_for(noise, set, 100000 + noise.below(100))) {
            ASSERT_EQ(scan.count(text.data(), text.size()), positions(set, text).size());
        }
    });
}

TEST(ScanForEach, FindsTheCharactersOfEveryTextInOrderWhereverItIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_scan([&](const auto& scan, const std::string& set) {
        for (std::size_t length = 0; length <= 100; ++length) {
            for (const std::string& text : texts_for(noise, set, length)) {
                const std::vector<std::size_t> expected = positions(set, text);
                ASSERT_TRUE(places::holds_everywhere(places::reading(text, set[0]),
                                                     [&](const char* place, const char*) {
                                                         std::vector<std::size_t> found;
                                                         scan.for_each(place, text.size(),
                                                                       [&found](std::size_t i) {
                                                                           found.push_back(i);
                                                                       });
                                                         return found == expected;
                                                     }))
                    << length;
            }
        }
    });
}

TEST(ScanForEach, TakesLongTexts) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_scan([&](const auto& scan, const std::string& set) {
        for (const std::string& text : texts_for(noise, set, 20000 + noise.below(100))) {
            std::vector<std::size_t> found;
            scan.for_each(text.data(), text.size(),
                          [&found](std::size_t i) { found.push_back(i); });
            ASSERT_TRUE(found == positions(set, text));
        }
    });
}

TEST(Copy16, CopiesSixteenCharactersWhereverTheyAre) {
    const std::string text("0123456789abcde\xff", 16);
    EXPECT_TRUE(
        places::holds_at_all_pairs(places::writing(text, text), [](const char* from, char* to) {
            kernels::copy_16(to, from);
            return true;
        }));
    EXPECT_TRUE(
        places::holds_at_borders(places::writing(text, text), [](const char* from, char* to) {
            kernels::copy_16(to, from);
            return true;
        }));
}

TEST(Copy16, CopiesToAPlaceThatOverlaps) {
    const std::string text = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKL";
    for (std::size_t to = 0; to <= 32; ++to) {
        std::string copy = text;
        kernels::copy_16(&copy[to], &copy[16]);
        ASSERT_EQ(copy, std::string(text).replace(to, 16, text.substr(16, 16))) << to;
    }
}
