// Tests of the choice among the variants of a kernel, and of what it goes by.
//
//   name                    cases
//   instructions_at_hand    Instructions.*
//   best_of                 BestOf.*
//
// There is a program of this file for the CPU as it is, and one for each set of instructions that a
// build can do without.

#include "../cpu.hpp"
#include "support/left_out.hpp"
#include "support/noise.hpp"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

namespace {

using namespace kernels;
using noise::Noise;

// No CPU has it.
constexpr unsigned int NEVER = 1U << 31;

// What the system says the first CPU can do.
std::set<std::string> flags_of_system() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("flags", 0) == 0) {
            std::istringstream words(line.substr(line.find(':') + 1));
            std::set<std::string> flags;
            for (std::string word; words >> word;) {
                flags.insert(word);
            }
            return flags;
        }
    }
    return {};
}

struct Needed {
    Instructions set;
    std::set<std::string> flags;
};

const Needed NEEDED[] = {
    {SSSE3, {"ssse3"}},
    {AVX2, {"avx2", "bmi1", "bmi2"}},
    {SHA, {"sha_ni", "ssse3", "sse4_1"}},
    {VBMI, {"avx512vbmi", "avx512bw"}},
};

template <int NUMBER>
int answer() {
    return NUMBER;
}

// Which of the variants with these needs is chosen.
int choice(unsigned int first, unsigned int second, unsigned int third) {
    const Variant<int()> variants[] = {
        {first, answer<1>}, {second, answer<2>}, {third, answer<3>}, {SSE2, answer<4>}};
    return best_of(variants)();
}

} // namespace

TEST(Instructions, AreThoseThatTheSystemReportsWithoutThoseLeftOut) {
    const std::set<std::string> flags = flags_of_system();
    if (flags.empty()) {
        GTEST_SKIP() << "the system does not tell";
    }
    unsigned int expected = 0;
    for (const Needed& needed : NEEDED) {
        bool all = true;
        for (const std::string& flag : needed.flags) {
            all = all && flags.count(flag) != 0;
        }
        expected |= all ? needed.set : 0U;
    }
    EXPECT_EQ(instructions_at_hand(), expected & ~LEFT_OUT);
}

TEST(Instructions, AreTheSameAtEveryCall) {
    EXPECT_EQ(instructions_at_hand(), instructions_at_hand());
}

TEST(Instructions, HaveABitEachThatMayBeLeftOut) {
    EXPECT_EQ(SSE2, 0);
    unsigned int all = 0;
    for (const Needed& needed : NEEDED) {
        EXPECT_EQ(needed.set & (needed.set - 1), 0U);
        EXPECT_EQ(needed.set & all, 0U);
        all |= needed.set;
    }
    EXPECT_EQ(instructions_at_hand() & ~all, 0U);
    EXPECT_EQ(instructions_at_hand() & LEFT_OUT, 0U);
}

TEST(BestOf, IsTheFirstWhoseNeedsAreMet) {
    EXPECT_EQ(choice(SSE2, SSE2, SSE2), 1);
    EXPECT_EQ(choice(NEVER, SSE2, SSE2), 2);
    EXPECT_EQ(choice(NEVER, NEVER, SSE2), 3);
    EXPECT_EQ(choice(NEVER, NEVER, NEVER), 4);
    EXPECT_EQ(choice(SSE2, NEVER, SSE2), 1);
    EXPECT_EQ(choice(NEVER, SSE2, NEVER), 2);
}

TEST(BestOf, TakesAVariantOnlyWithAllThatItNeeds) {
    const unsigned int at_hand = instructions_at_hand();
    EXPECT_EQ(choice(at_hand, SSE2, SSE2), 1);
    EXPECT_EQ(choice(at_hand | NEVER, at_hand, SSE2), 2);
    for (const Needed& needed : NEEDED) {
        const bool is_there = (at_hand & needed.set) != 0;
        EXPECT_EQ(choice(needed.set, SSE2, SSE2), is_there ? 1 : 2) << needed.set;
        EXPECT_EQ(choice(needed.set | NEVER, needed.set, SSE2), is_there ? 2 : 3) << needed.set;
        EXPECT_EQ(choice(at_hand | needed.set, SSE2, SSE2), is_there ? 1 : 2) << needed.set;
    }
}

TEST(BestOf, LeavesNoInstructionsUnusedButThoseLeftOut) {
    for (const Needed& needed : NEEDED) {
        if ((LEFT_OUT & needed.set) != 0) {
            EXPECT_EQ(choice(needed.set, SSE2, SSE2), 2) << needed.set;
        }
    }
}

TEST(BestOf, MayHaveOneVariantOnly) {
    const Variant<int()> only[] = {{SSE2, answer<7>}};
    EXPECT_EQ(best_of(only)(), 7);
}

TEST(BestOf, AgreesWithTheRuleForRandomNeeds) {
    Noise noise;
    SCOPED_TRACE(noise);
    const auto some = [&noise] { return static_cast<unsigned int>(noise.below(16)); };
    const auto runs = [](unsigned int needs) { return (needs & ~instructions_at_hand()) == 0; };
    for (int i = 0; i < 1000; ++i) {
        const unsigned int first = some();
        const unsigned int second = some();
        const unsigned int third = some();
        const int expected = runs(first) ? 1 : runs(second) ? 2 : runs(third) ? 3 : 4;
        ASSERT_EQ(choice(first, second, third), expected) << first << ' ' << second << ' ' << third;
    }
}
