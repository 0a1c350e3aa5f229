// Tests of bounded memory copies and of number parsing that cannot fail.
//
//   public member                        cases
//   safe::MemoryCopy                     MemoryCopy.*
//   safe::StringToInt32                  StringToInt32.*

#include <nuriagent/safe.hpp>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

} // namespace

TEST(MemoryCopy, CopiesLessThanTheSpace) {
    char destination[] = "......";
    safe::MemoryCopy(destination, 6, "abcdef", 3);
    EXPECT_STREQ(destination, "abc...");
}

TEST(MemoryCopy, CopiesExactlyTheSpace) {
    char destination[] = "....|";
    safe::MemoryCopy(destination, 4, "abcdef", 4);
    EXPECT_STREQ(destination, "abcd|");
}

TEST(MemoryCopy, CopiesNulsLikeAnyByte) {
    char destination[] = "....";
    safe::MemoryCopy(destination, 4, "a\0b", 3);
    EXPECT_EQ(std::string(destination, 4), std::string("a\0b.", 4));
}

TEST(MemoryCopy, ThrowsRangeErrorWhenTheCountExceedsTheSpace) {
    char destination[] = "....";
    EXPECT_THROW(safe::MemoryCopy(destination, 3, "abcd", 4), std::range_error);
    EXPECT_THROW(safe::MemoryCopy(destination, 0, "abcd", 1), std::range_error);
    const unsigned int largest = std::numeric_limits<unsigned int>::max();
    EXPECT_THROW(safe::MemoryCopy(destination, 4, "abcd", largest), std::range_error);
    EXPECT_THROW(safe::MemoryCopy(destination, largest - 1, "abcd", largest), std::range_error);
}

TEST(MemoryCopy, LeavesTheDestinationUntouchedWhenItThrows) {
    char destination[] = "....";
    EXPECT_THROW(safe::MemoryCopy(destination, 3, "abcd", 4), std::range_error);
    EXPECT_STREQ(destination, "....");
}

TEST(MemoryCopy, LooksAtNeitherPointerWhenTheCountIsTooLarge) {
    EXPECT_THROW(safe::MemoryCopy(nullptr, 0, nullptr, 1), std::range_error);
    EXPECT_THROW(safe::MemoryCopy(nullptr, 7, nullptr, 8), std::range_error);
}

TEST(MemoryCopy, CountOfZeroLooksAtNeitherPointer) {
    EXPECT_NO_THROW(safe::MemoryCopy(nullptr, 0, nullptr, 0));
    EXPECT_NO_THROW(safe::MemoryCopy(nullptr, 5, nullptr, 0));
    char destination[] = "....";
    EXPECT_NO_THROW(safe::MemoryCopy(destination, 0, nullptr, 0));
    EXPECT_NO_THROW(safe::MemoryCopy(destination, 4, "abcd", 0));
    EXPECT_STREQ(destination, "....");
}

// Every size and count around each other, with bytes on both sides that must stay.
TEST(MemoryCopy, WritesTheCountedBytesAndNoOther) {
    const std::string source = "0123456789";
    for (unsigned int size = 0; size <= 8; ++size) {
        for (unsigned int count = 0; count <= 9; ++count) {
            std::string space(10, '.');
            std::string expected = space;
            if (count <= size) {
                safe::MemoryCopy(&space[1], size, source.data(), count);
                expected.replace(1, count, source, 0, count);
            } else {
                ASSERT_THROW(safe::MemoryCopy(&space[1], size, source.data(), count),
                             std::range_error);
            }
            ASSERT_EQ(space, expected) << "size " << size << " count " << count;
        }
    }
}

TEST(StringToInt32, ReadsDigits) {
    EXPECT_EQ(safe::StringToInt32("0"), 0);
    EXPECT_EQ(safe::StringToInt32("7"), 7);
    EXPECT_EQ(safe::StringToInt32("0123456789"), 123456789);
    EXPECT_EQ(safe::StringToInt32("2021"), 2021);
    EXPECT_EQ(safe::StringToInt32("08"), 8);
}

TEST(StringToInt32, ReadsEveryNumberOfTwoDigits) {
    for (int tens = 0; tens <= 9; ++tens) {
        for (int ones = 0; ones <= 9; ++ones) {
            const std::string text{static_cast<char>('0' + tens), static_cast<char>('0' + ones)};
            EXPECT_EQ(safe::StringToInt32(text), tens * 10 + ones);
        }
    }
}

TEST(StringToInt32, TakesOneSign) {
    EXPECT_EQ(safe::StringToInt32("+5"), 5);
    EXPECT_EQ(safe::StringToInt32("-5"), -5);
    EXPECT_EQ(safe::StringToInt32("-0"), 0);
    EXPECT_EQ(safe::StringToInt32("+0"), 0);
}

TEST(StringToInt32, IsZeroForTwoSigns) {
    EXPECT_EQ(safe::StringToInt32("+-5"), 0);
    EXPECT_EQ(safe::StringToInt32("-+5"), 0);
    EXPECT_EQ(safe::StringToInt32("++5"), 0);
    EXPECT_EQ(safe::StringToInt32("--5"), 0);
}

TEST(StringToInt32, SkipsLeadingBlanks) {
    EXPECT_EQ(safe::StringToInt32(" 5"), 5);
    EXPECT_EQ(safe::StringToInt32("     -17"), -17);
    EXPECT_EQ(safe::StringToInt32("  +17"), 17);
    EXPECT_EQ(safe::StringToInt32(std::string(1000, ' ') + "3"), 3);
}

TEST(StringToInt32, SkipsNoOtherWhiteSpace) {
    for (const char c : {'\t', '\n', '\v', '\f', '\r', '\xa0'}) {
        EXPECT_EQ(safe::StringToInt32(std::string(1, c) + "5"), 0) << int{c};
        EXPECT_EQ(safe::StringToInt32(std::string(" ") + c + "5"), 0) << int{c};
    }
}

TEST(StringToInt32, TakesNoBlankBehindTheSign) {
    EXPECT_EQ(safe::StringToInt32("- 5"), 0);
    EXPECT_EQ(safe::StringToInt32("+ 5"), 0);
}

TEST(StringToInt32, IsZeroWithoutDigits) {
    for (const char* const text : {"", " ", "   ", "+", "-", " +", " -", "abc", "x5", ".5", "-x"}) {
        EXPECT_EQ(safe::StringToInt32(text), 0) << '"' << text << '"';
    }
}

TEST(StringToInt32, StopsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(safe::StringToInt32("12abc"), 12);
    EXPECT_EQ(safe::StringToInt32("12 34"), 12);
    EXPECT_EQ(safe::StringToInt32("12-3"), 12);
    EXPECT_EQ(safe::StringToInt32("12.9"), 12);
    EXPECT_EQ(safe::StringToInt32("1,234"), 1);
    EXPECT_EQ(safe::StringToInt32("0x1f"), 0);
    EXPECT_EQ(safe::StringToInt32("1e3"), 1);
    EXPECT_EQ(safe::StringToInt32("-8z"), -8);
}

// Each byte behind a digit, and each byte alone.
TEST(StringToInt32, KnowsNoDigitsButTheTen) {
    for (int byte = 0; byte <= 255; ++byte) {
        const char c = static_cast<char>(byte);
        const bool digit = c >= '0' && c <= '9';
        EXPECT_EQ(safe::StringToInt32(std::string("4") + c), digit ? 40 + (c - '0') : 4) << byte;
        EXPECT_EQ(safe::StringToInt32(std::string(1, c)), digit ? c - '0' : 0) << byte;
    }
}

TEST(StringToInt32, StopsAtAnEmbeddedNul) {
    EXPECT_EQ(safe::StringToInt32(std::string("12\0"
                                              "34",
                                              5)),
              12);
    EXPECT_EQ(safe::StringToInt32(std::string("\0"
                                              "12",
                                              3)),
              0);
    EXPECT_EQ(safe::StringToInt32(std::string("-\0"
                                              "1",
                                              3)),
              0);
}

TEST(StringToInt32, ReadsTheLimits) {
    EXPECT_EQ(safe::StringToInt32("2147483646"), HIGHEST - 1);
    EXPECT_EQ(safe::StringToInt32("2147483647"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("+2147483647"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("-2147483647"), LOWEST + 1);
    EXPECT_EQ(safe::StringToInt32("-2147483648"), LOWEST);
}

TEST(StringToInt32, SaturatesBeyondTheLimits) {
    EXPECT_EQ(safe::StringToInt32("2147483648"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("+2147483648"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("-2147483649"), LOWEST);
    EXPECT_EQ(safe::StringToInt32("4294967296"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("-4294967296"), LOWEST);
    EXPECT_EQ(safe::StringToInt32("9223372036854775808"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("-9223372036854775809"), LOWEST);
    EXPECT_EQ(safe::StringToInt32("18446744073709551617"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("  -18446744073709551617 "), LOWEST);
}

TEST(StringToInt32, SaturatesOnVeryLongNumbers) {
    const std::string digits(1000000, '9');
    EXPECT_EQ(safe::StringToInt32(digits), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("+" + digits + "x"), HIGHEST);
    EXPECT_EQ(safe::StringToInt32("-" + digits), LOWEST);
}

TEST(StringToInt32, LeadingZerosDoNotCount) {
    const std::string zeros(1000000, '0');
    EXPECT_EQ(safe::StringToInt32(zeros), 0);
    EXPECT_EQ(safe::StringToInt32(zeros + "42"), 42);
    EXPECT_EQ(safe::StringToInt32("-" + zeros + "2147483648"), LOWEST);
    EXPECT_EQ(safe::StringToInt32(zeros + "2147483648"), HIGHEST);
}

TEST(StringToInt32, NeverThrows) {
    EXPECT_TRUE(noexcept(safe::StringToInt32(std::declval<const std::string&>())));
}
