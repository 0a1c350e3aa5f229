// Tests of the conversions between values and text.
//
//   public member                              cases
//   BAD_TIME, BAD_TIME_SHORT                   BadTime.*
//   to_str(std::string), to_str(const char*)   TextToStr.*
//   to_str(double)                             DoubleToStr.*
//   to_str(bool)                               BoolToStr.*
//   to_str(int ... unsigned long long, manip)  IntegerToStr.*
//   to_str(isotime), also with a manipulator   IsotimeToStr.*
//   fromStr<char>, fromStr<unsigned char>      CharFromStr.*
//   fromStr<bool>                              BoolFromStr.*
//   fromStr<unsigned short, unsigned int,
//           unsigned long long>                UnsignedFromStr*
//   fromStr<short, int, long long>             SignedFromStr*
//   fromStr of other targets                   FromStr.*
//   fromStr<isotime>                           IsotimeFromStr.*
//   to_isotime                                 ToIsotime.*, IsotimeRoundTrip.*
//   the example of the header                  UtilUsage.*

#include "support/locale.hpp"
#include "support/number_model.hpp"

#include <nuriagent/safe.hpp>
#include <nuriccl/util.hpp>

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <ios>
#include <limits>
#include <locale>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::fromStr;
using nuriccl::Manipulator;
using nuriccl::to_isotime;
using nuriccl::to_str;

// Manipulators that are none of std::dec, std::hex and std::oct.

std::ios_base& wrapped_hex(std::ios_base& stream) { return std::hex(stream); }

std::ios_base& radix_from_prefix(std::ios_base& stream) {
    stream.unsetf(std::ios_base::basefield);
    return stream;
}

int manipulator_calls = 0;

std::ios_base& counting(std::ios_base& stream) {
    ++manipulator_calls;
    return stream;
}

// Groups of three digits separated by ',' and a decimal ';'.
class Grouping : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ';'; }
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

std::locale grouping_locale() { return std::locale(std::locale::classic(), new Grouping); }

// Whether `fromStr` took the text, and what it stored.
template <class T>
using Outcome = std::pair<bool, T>;

// Reads with targets of different contents, to tell a stored value from one that was there before.
template <class T>
Outcome<T> read(const std::string& text, Manipulator manipulator = std::dec) {
    T first = 77;
    T second = 99;
    const bool taken = fromStr(first, text, manipulator);
    EXPECT_EQ(fromStr(second, text, manipulator), taken);
    EXPECT_EQ(first, second) << "target left alone for " << testing::PrintToString(text);
    return {taken, first};
}

// The same without a manipulator.
template <class T>
Outcome<T> read_plain(const std::string& text) {
    T first = 77;
    T second = 99;
    const bool taken = fromStr(first, text);
    EXPECT_EQ(fromStr(second, text), taken);
    EXPECT_EQ(first, second) << "target left alone for " << testing::PrintToString(text);
    return {taken, first};
}

bool same(const isotime& a, const isotime& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

isotime time_of(int year, int month, int day, int hour, int minute, int second, int hundredths) {
    isotime time{};
    time.year = static_cast<std::uint16_t>(year);
    time.month = static_cast<std::uint8_t>(month);
    time.day = static_cast<std::uint8_t>(day);
    time.hour = static_cast<std::uint8_t>(hour);
    time.minute = static_cast<std::uint8_t>(minute);
    time.second = static_cast<std::uint8_t>(second);
    time.hundredths = static_cast<std::uint8_t>(hundredths);
    return time;
}

// The same time with the low 12 bits of `offset` and with `flag` in the word that both share.
isotime with_zone(isotime time, int offset, unsigned int flag) {
    const auto word =
        static_cast<std::uint16_t>((static_cast<unsigned int>(offset) & 0xfff) | (flag << 12));
    std::memcpy(&time, &word, sizeof word);
    return time;
}

const isotime SOME_TIME = time_of(2021, 3, 4, 5, 6, 7, 8);

std::string padded(int value, std::size_t width) {
    const std::string digits = std::to_string(value);
    return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

// "+hh:mm" of an offset in minutes.
std::string zone_text(int offset) {
    const int distance = offset < 0 ? -offset : offset;
    return (offset < 0 ? "-" : "+") + padded(distance / 60, 2) + ":" + padded(distance % 60, 2);
}

const std::string LONG_TEXT = "2021-03-04T05:06:07.08+09:10";
const std::string SHORT_TEXT = "2021-03-04T05:06:07+09:10";

} // namespace

// Missing times

TEST(BadTime, HasTwentyEightCharacters) {
    EXPECT_STREQ(nuriccl::BAD_TIME, "0000-00-00T00:00:00.00+00:00");
    EXPECT_EQ(std::string(nuriccl::BAD_TIME).size(), 28U);
}

TEST(BadTime, HasTwentyFiveCharactersInItsShortForm) {
    EXPECT_STREQ(nuriccl::BAD_TIME_SHORT, "0000-00-00T00:00:00+00:00");
    EXPECT_EQ(std::string(nuriccl::BAD_TIME_SHORT).size(), 25U);
}

// Text, double and bool to text

TEST(TextToStr, CopiesAString) {
    EXPECT_EQ(to_str(std::string()), "");
    EXPECT_EQ(to_str(std::string("text")), "text");
    EXPECT_EQ(to_str(std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(TextToStr, CopiesACString) {
    EXPECT_EQ(to_str(""), "");
    EXPECT_EQ(to_str("text"), "text");
    char writable[] = "writable";
    EXPECT_EQ(to_str(writable), "writable");
    EXPECT_EQ(to_str(static_cast<char*>(writable)), "writable");
}

TEST(TextToStr, GivesNullInBracketsForANullPointer) {
    EXPECT_EQ(to_str(static_cast<const char*>(nullptr)), "[null]");
}

TEST(DoubleToStr, AlwaysHasTwoDecimals) {
    EXPECT_EQ(to_str(1.5), "1.50");
    EXPECT_EQ(to_str(0.0), "0.00");
    EXPECT_EQ(to_str(-7.0), "-7.00");
    EXPECT_EQ(to_str(123456.78), "123456.78");
    EXPECT_EQ(to_str(2.5F), "2.50");
}

// Ties go to the even digit; other values to the nearer one, judged by the exact binary value.
TEST(DoubleToStr, RoundsToTheNearest) {
    EXPECT_EQ(to_str(0.125), "0.12");
    EXPECT_EQ(to_str(0.375), "0.38");
    EXPECT_EQ(to_str(-0.125), "-0.12");
    EXPECT_EQ(to_str(1.005), "1.00");
    EXPECT_EQ(to_str(0.005), "0.01");
    EXPECT_EQ(to_str(0.004), "0.00");
    EXPECT_EQ(to_str(0.999), "1.00");
    EXPECT_EQ(to_str(99.996), "100.00");
}

TEST(DoubleToStr, KeepsTheSignOfZero) {
    EXPECT_EQ(to_str(-0.0), "-0.00");
    EXPECT_EQ(to_str(-0.001), "-0.00");
}

TEST(DoubleToStr, WritesHugeValuesInFull) {
    EXPECT_EQ(to_str(1e22), "10000000000000000000000.00");
    EXPECT_EQ(to_str(1267650600228229401496703205376.0), "1267650600228229401496703205376.00");
    EXPECT_EQ(to_str(-std::numeric_limits<double>::max()),
              "-1797693134862315708145274237317043567980705675258449965989174768031572607800285387"
              "60589558632766878171540458953514382464234321326889464182768467546703537516986049910"
              "57655128207624549009038932894407586850845513394230458323690322294816580855933212334"
              "8274797826204144723168738177180919299881250404026184124858368.00");
}

TEST(DoubleToStr, WritesTinyValuesAsZero) {
    EXPECT_EQ(to_str(std::numeric_limits<double>::denorm_min()), "0.00");
    EXPECT_EQ(to_str(std::numeric_limits<double>::min()), "0.00");
}

TEST(DoubleToStr, WritesWhatIsNoNumber) {
    EXPECT_EQ(to_str(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(to_str(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(to_str(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(DoubleToStr, DoesNotLookAtTheStdLocale) {
    const scoped::GlobalLocale locale(grouping_locale());
    EXPECT_EQ(to_str(1234567.5), "1234567.50");
}

TEST(BoolToStr, IsAWord) {
    EXPECT_EQ(to_str(true), "true");
    EXPECT_EQ(to_str(false), "false");
}

// Integers to text

namespace {

template <class Integer>
struct IntegerRow {
    Integer value;
    const char* decimal;
    const char* octal;
    const char* hexadecimal;
};

// Every form of each value; whatever is not std::oct or std::hex means decimal.
template <class Integer>
void expect_rows(const std::vector<IntegerRow<Integer>>& rows) {
    for (const IntegerRow<Integer>& row : rows) {
        SCOPED_TRACE(row.decimal);
        EXPECT_EQ(to_str(row.value), row.decimal);
        EXPECT_EQ(to_str(row.value, std::oct), row.octal);
        EXPECT_EQ(to_str(row.value, std::hex), row.hexadecimal);
        const Manipulator others[] = {std::dec,          std::uppercase, std::showbase,
                                      std::showpos,      std::boolalpha, wrapped_hex,
                                      radix_from_prefix, counting,       nullptr};
        for (const Manipulator other : others) {
            EXPECT_EQ(to_str(row.value, other), row.decimal);
        }
    }
}

template <class Integer>
std::vector<IntegerRow<Integer>> signed_rows_of_32_bits() {
    return {
        {std::numeric_limits<Integer>::min(), "-2147483648", "20000000000", "80000000"},
        {-255, "-255", "37777777401", "ffffff01"},
        {-3, "-3", "37777777775", "fffffffd"},
        {-1, "-1", "37777777777", "ffffffff"},
        {0, "0", "0", "0"},
        {1, "1", "1", "1"},
        {7, "7", "7", "7"},
        {8, "8", "10", "8"},
        {10, "10", "12", "a"},
        {255, "255", "377", "ff"},
        {1000000, "1000000", "3641100", "f4240"},
        {std::numeric_limits<Integer>::max(), "2147483647", "17777777777", "7fffffff"},
    };
}

template <class Integer>
std::vector<IntegerRow<Integer>> signed_rows_of_64_bits() {
    return {
        {std::numeric_limits<Integer>::min(), "-9223372036854775808", "1000000000000000000000",
         "8000000000000000"},
        {-3, "-3", "1777777777777777777775", "fffffffffffffffd"},
        {-1, "-1", "1777777777777777777777", "ffffffffffffffff"},
        {0, "0", "0", "0"},
        {1, "1", "1", "1"},
        {8, "8", "10", "8"},
        {255, "255", "377", "ff"},
        {static_cast<Integer>(4294967296LL), "4294967296", "40000000000", "100000000"},
        {std::numeric_limits<Integer>::max(), "9223372036854775807", "777777777777777777777",
         "7fffffffffffffff"},
    };
}

template <class Integer>
std::vector<IntegerRow<Integer>> unsigned_rows_of_32_bits() {
    return {
        {0, "0", "0", "0"},
        {1, "1", "1", "1"},
        {8, "8", "10", "8"},
        {255, "255", "377", "ff"},
        {2147483648U, "2147483648", "20000000000", "80000000"},
        {std::numeric_limits<Integer>::max(), "4294967295", "37777777777", "ffffffff"},
    };
}

template <class Integer>
std::vector<IntegerRow<Integer>> unsigned_rows_of_64_bits() {
    return {
        {0, "0", "0", "0"},
        {1, "1", "1", "1"},
        {8, "8", "10", "8"},
        {255, "255", "377", "ff"},
        {4294967295U, "4294967295", "37777777777", "ffffffff"},
        {static_cast<Integer>(9223372036854775808ULL), "9223372036854775808",
         "1000000000000000000000", "8000000000000000"},
        {std::numeric_limits<Integer>::max(), "18446744073709551615", "1777777777777777777777",
         "ffffffffffffffff"},
    };
}

// Every power of two of the type with its neighbours, against `digits_of`.
template <class Integer>
void expect_powers_of_two() {
    using Unsigned = std::make_unsigned_t<Integer>;
    for (int shift = 0; shift < std::numeric_limits<Unsigned>::digits; ++shift) {
        for (const int step : {-1, 0, 1}) {
            const auto bits =
                static_cast<Unsigned>((Unsigned{1} << shift) + static_cast<Unsigned>(step));
            const auto value = static_cast<Integer>(bits);
            EXPECT_EQ(to_str(value, std::oct), number_model::digits_of(bits, 8));
            EXPECT_EQ(to_str(value, std::hex), number_model::digits_of(bits, 16));
            const std::string decimal = value < 0
                                            ? '-' + number_model::digits_of(Unsigned{0} - bits, 10)
                                            : number_model::digits_of(bits, 10);
            EXPECT_EQ(to_str(value, std::dec), decimal);
        }
    }
}

} // namespace

TEST(IntegerToStr, WritesIntInEveryRadix) { expect_rows(signed_rows_of_32_bits<int>()); }

TEST(IntegerToStr, WritesUnsignedIntInEveryRadix) {
    expect_rows(unsigned_rows_of_32_bits<unsigned int>());
}

TEST(IntegerToStr, WritesLongInEveryRadixByItsWidth) {
    if constexpr (sizeof(long) == 4) {
        expect_rows(signed_rows_of_32_bits<long>());
    } else {
        expect_rows(signed_rows_of_64_bits<long>());
    }
}

TEST(IntegerToStr, WritesUnsignedLongInEveryRadixByItsWidth) {
    if constexpr (sizeof(long) == 4) {
        expect_rows(unsigned_rows_of_32_bits<unsigned long>());
    } else {
        expect_rows(unsigned_rows_of_64_bits<unsigned long>());
    }
}

TEST(IntegerToStr, WritesLongLongInEveryRadix) { expect_rows(signed_rows_of_64_bits<long long>()); }

TEST(IntegerToStr, WritesUnsignedLongLongInEveryRadix) {
    expect_rows(unsigned_rows_of_64_bits<unsigned long long>());
}

TEST(IntegerToStr, WritesEveryPowerOfTwoAndItsNeighbours) {
    expect_powers_of_two<int>();
    expect_powers_of_two<unsigned int>();
    expect_powers_of_two<long>();
    expect_powers_of_two<unsigned long>();
    expect_powers_of_two<long long>();
    expect_powers_of_two<unsigned long long>();
}

TEST(IntegerToStr, WritesSmallerTypesAsInt) {
    EXPECT_EQ(to_str(static_cast<short>(-1), std::hex), "ffffffff");
    EXPECT_EQ(to_str(static_cast<unsigned char>(200)), "200");
    EXPECT_EQ(to_str('A'), "65");
}

TEST(IntegerToStr, DoesNotLookAtTheStdLocale) {
    const scoped::GlobalLocale locale(grouping_locale());
    EXPECT_EQ(to_str(1234567), "1234567");
    EXPECT_EQ(to_str(1234567890123LL), "1234567890123");
    EXPECT_EQ(to_str(0xabcdef, std::hex), "abcdef");
}

// Time stamps to text

TEST(IsotimeToStr, IsTheCanonicalForm) {
    EXPECT_EQ(to_str(SOME_TIME), "2021-03-04T05:06:07.08+00:00");
    EXPECT_EQ(to_str(time_of(1, 1, 1, 0, 0, 0, 0)), "0001-01-01T00:00:00.00+00:00");
    EXPECT_EQ(to_str(with_zone(time_of(9999, 12, 31, 23, 59, 59, 99), 60, 1)),
              "9999-12-31T23:59:59.99+01:00");
}

TEST(IsotimeToStr, IsBadTimeForAZeroRecord) {
    EXPECT_EQ(to_str(isotime{}), "0000-00-00T00:00:00.00+00:00");
}

TEST(IsotimeToStr, DoesNotHoldTheDayAgainstTheMonth) {
    EXPECT_EQ(to_str(time_of(2021, 2, 31, 0, 0, 0, 0)), "2021-02-31T00:00:00.00+00:00");
    EXPECT_EQ(to_str(time_of(2021, 4, 31, 0, 0, 0, 0)), "2021-04-31T00:00:00.00+00:00");
}

TEST(IsotimeToStr, NeedsAYearFrom1To9999) {
    for (int year = 0; year <= 65535; ++year) {
        isotime time = SOME_TIME;
        time.year = static_cast<std::uint16_t>(year);
        const bool valid = year >= 1 && year <= 9999;
        ASSERT_EQ(to_str(time),
                  valid ? padded(year, 4) + "-03-04T05:06:07.08+00:00" : nuriccl::BAD_TIME);
    }
}

namespace {

// Every value of an 8-bit field: the text where it is inside its range, which `before` and `after`
// surround, and BAD_TIME elsewhere.
void expect_range(std::uint8_t isotime::*field, int low, int high, const std::string& before,
                  const std::string& after) {
    for (int value = 0; value <= 255; ++value) {
        isotime time = SOME_TIME;
        time.*field = static_cast<std::uint8_t>(value);
        const bool valid = value >= low && value <= high;
        EXPECT_EQ(to_str(time), valid ? before + padded(value, 2) + after : nuriccl::BAD_TIME)
            << value;
    }
}

// The same for a field that is not written.
void expect_hidden_range(std::uint8_t isotime::*field, int high) {
    for (int value = 0; value <= 255; ++value) {
        isotime time = SOME_TIME;
        time.*field = static_cast<std::uint8_t>(value);
        EXPECT_EQ(to_str(time), value <= high ? "2021-03-04T05:06:07.08+00:00" : nuriccl::BAD_TIME)
            << value;
    }
}

} // namespace

TEST(IsotimeToStr, NeedsAMonthFrom1To12) {
    expect_range(&isotime::month, 1, 12, "2021-", "-04T05:06:07.08+00:00");
}

TEST(IsotimeToStr, NeedsADayFrom1To31) {
    expect_range(&isotime::day, 1, 31, "2021-03-", "T05:06:07.08+00:00");
}

TEST(IsotimeToStr, NeedsAnHourUpTo23) {
    expect_range(&isotime::hour, 0, 23, "2021-03-04T", ":06:07.08+00:00");
}

TEST(IsotimeToStr, NeedsAMinuteUpTo59) {
    expect_range(&isotime::minute, 0, 59, "2021-03-04T05:", ":07.08+00:00");
}

TEST(IsotimeToStr, NeedsASecondUpTo59) {
    expect_range(&isotime::second, 0, 59, "2021-03-04T05:06:", ".08+00:00");
}

TEST(IsotimeToStr, NeedsHundredthsUpTo99) {
    expect_range(&isotime::hundredths, 0, 99, "2021-03-04T05:06:07.", "+00:00");
}

TEST(IsotimeToStr, ChecksTheFurtherSubSecondFieldsWithoutWritingThem) {
    expect_hidden_range(&isotime::ten_thousandths, 99);
    expect_hidden_range(&isotime::millionths, 99);
}

TEST(IsotimeToStr, DoesNotLookAtTheReservedWord) {
    isotime time = SOME_TIME;
    time.reserved = 0xffffffffU;
    EXPECT_EQ(to_str(time), "2021-03-04T05:06:07.08+00:00");
}

TEST(IsotimeToStr, WritesTheZoneInHoursAndMinutes) {
    const auto zone = [](int offset, unsigned int flag) {
        return to_str(with_zone(SOME_TIME, offset, flag)).substr(22);
    };
    EXPECT_EQ(zone(0, 0), "+00:00");
    EXPECT_EQ(zone(0, 1), "+00:00");
    EXPECT_EQ(zone(1, 1), "+00:01");
    EXPECT_EQ(zone(-1, 1), "-00:01");
    EXPECT_EQ(zone(59, 1), "+00:59");
    EXPECT_EQ(zone(60, 1), "+01:00");
    EXPECT_EQ(zone(-60, 1), "-01:00");
    EXPECT_EQ(zone(-330, 1), "-05:30");
    EXPECT_EQ(zone(345, 1), "+05:45");
    EXPECT_EQ(zone(2047, 1), "+34:07");
    EXPECT_EQ(zone(-2048, 1), "-34:08");
}

TEST(IsotimeToStr, NeedsAFlagBesideAnOffset) {
    EXPECT_EQ(to_str(with_zone(SOME_TIME, 60, 0)), nuriccl::BAD_TIME);
    EXPECT_EQ(to_str(with_zone(SOME_TIME, -1, 0)), nuriccl::BAD_TIME);
}

TEST(IsotimeToStr, KnowsNoFlagButZeroAndOne) {
    for (unsigned int flag = 2; flag <= 15; ++flag) {
        EXPECT_EQ(to_str(with_zone(SOME_TIME, 0, flag)), nuriccl::BAD_TIME) << flag;
        EXPECT_EQ(to_str(with_zone(SOME_TIME, 60, flag)), nuriccl::BAD_TIME) << flag;
    }
}

// Every offset with every flag.
TEST(IsotimeToStr, FollowsTheZoneRuleForEveryZoneWord) {
    for (unsigned int flag = 0; flag <= 15; ++flag) {
        for (int offset = -2048; offset <= 2047; ++offset) {
            const bool valid = flag == 1 || (flag == 0 && offset == 0);
            ASSERT_EQ(to_str(with_zone(SOME_TIME, offset, flag)),
                      valid ? "2021-03-04T05:06:07.08" + zone_text(offset) : nuriccl::BAD_TIME)
                << "offset " << offset << " flag " << flag;
        }
    }
}

TEST(IsotimeToStr, IgnoresItsManipulator) {
    manipulator_calls = 0;
    for (const Manipulator manipulator :
         {Manipulator{std::dec}, Manipulator{std::hex}, Manipulator{std::oct},
          Manipulator{counting}, Manipulator{}}) {
        EXPECT_EQ(to_str(with_zone(SOME_TIME, -330, 1), manipulator),
                  "2021-03-04T05:06:07.08-05:30");
        EXPECT_EQ(to_str(isotime{}, manipulator), nuriccl::BAD_TIME);
    }
    EXPECT_EQ(manipulator_calls, 0);
}

TEST(IsotimeToStr, HasTwoFormsOfItsOwn) {
    std::string (*const plain)(const isotime&) = to_str;
    std::string (*const with_manipulator)(const isotime&, std::ios_base& (*)(std::ios_base&)) =
        to_str;
    EXPECT_EQ(plain(SOME_TIME), "2021-03-04T05:06:07.08+00:00");
    EXPECT_EQ(with_manipulator(SOME_TIME, std::hex), "2021-03-04T05:06:07.08+00:00");
}

TEST(IsotimeToStr, DoesNotChangeTheRecord) {
    const isotime time = with_zone(SOME_TIME, -330, 1);
    const isotime copy = time;
    to_str(time);
    EXPECT_TRUE(same(time, copy));
}

// Text to characters

TEST(CharFromStr, TakesTheFirstCharacterWithoutAManipulator) {
    for (int byte = 0; byte <= 255; ++byte) {
        const std::string text = std::string(1, static_cast<char>(byte)) + "rest";
        EXPECT_EQ(read_plain<char>(text), Outcome<char>(true, static_cast<char>(byte)));
        EXPECT_EQ(read_plain<unsigned char>(text),
                  Outcome<unsigned char>(true, static_cast<unsigned char>(byte)));
    }
}

TEST(CharFromStr, ParsesNoNumberWithoutAManipulator) {
    EXPECT_EQ(read_plain<char>("7"), Outcome<char>(true, '7'));
    EXPECT_EQ(read_plain<char>("65"), Outcome<char>(true, '6'));
    EXPECT_EQ(read_plain<unsigned char>("65"), Outcome<unsigned char>(true, 54));
    EXPECT_EQ(read_plain<char>(" 7"), Outcome<char>(true, ' '));
}

TEST(CharFromStr, IsZeroForTheEmptyText) {
    EXPECT_EQ(read_plain<char>(""), Outcome<char>(true, 0));
    EXPECT_EQ(read_plain<unsigned char>(""), Outcome<unsigned char>(true, 0));
    EXPECT_EQ(read<char>(""), Outcome<char>(true, 0));
    EXPECT_EQ(read<unsigned char>(""), Outcome<unsigned char>(true, 0));
}

TEST(CharFromStr, ParsesANumberWithAManipulator) {
    EXPECT_EQ(read<char>("65"), Outcome<char>(true, 'A'));
    EXPECT_EQ(read<unsigned char>("65"), Outcome<unsigned char>(true, 65));
    EXPECT_EQ(read<char>("7"), Outcome<char>(true, 7));
    EXPECT_EQ(read<char>("7f", std::hex), Outcome<char>(true, 127));
    EXPECT_EQ(read<unsigned char>("ff", std::hex), Outcome<unsigned char>(true, 255));
    EXPECT_EQ(read<unsigned char>("377", std::oct), Outcome<unsigned char>(true, 255));
}

TEST(CharFromStr, KeepsTheLowEightBits) {
    const std::pair<const char*, int> rows[] = {
        {"127", 127}, {"128", 128}, {"255", 255}, {"256", 0},          {"257", 1},
        {"321", 65},  {"-1", 255},  {"-2", 254},  {"4294967295", 255}, {"3000000000", 0},
    };
    for (const auto& [text, low] : rows) {
        EXPECT_EQ(read<char>(text), Outcome<char>(true, static_cast<char>(low))) << text;
        EXPECT_EQ(read<unsigned char>(text),
                  Outcome<unsigned char>(true, static_cast<unsigned char>(low)))
            << text;
    }
}

TEST(CharFromStr, KeepsTheLowEightBitsOfEveryNumberUpTo1023) {
    for (int number = 0; number <= 1023; ++number) {
        ASSERT_EQ(read<unsigned char>(std::to_string(number)),
                  Outcome<unsigned char>(true, static_cast<unsigned char>(number % 256)));
    }
}

TEST(CharFromStr, FailsWhereTheNumberFails) {
    EXPECT_EQ(read<char>("x"), Outcome<char>(false, 0));
    EXPECT_EQ(read<unsigned char>("x"), Outcome<unsigned char>(false, 0));
    EXPECT_EQ(read<char>("  "), Outcome<char>(false, 0));
    EXPECT_EQ(read<char>("4294967296"), Outcome<char>(false, static_cast<char>(255)));
    EXPECT_EQ(read<unsigned char>("4294967296"), Outcome<unsigned char>(false, 255));
}

// Text to bool

TEST(BoolFromStr, TakesTheTwoWords) {
    bool out = false;
    EXPECT_TRUE(fromStr(out, "true"));
    EXPECT_TRUE(out);
    EXPECT_TRUE(fromStr(out, "false"));
    EXPECT_FALSE(out);
    EXPECT_TRUE(fromStr(out, "true", std::dec));
    EXPECT_TRUE(out);
    EXPECT_TRUE(fromStr(out, "false", std::dec));
    EXPECT_FALSE(out);
}

TEST(BoolFromStr, LeavesTheTargetAloneForAnyOtherText) {
    const std::string texts[] = {"",      "True",   "TRUE",  "tRUE",   "False",
                                 "FALSE", "1",      "0",     "t",      "f",
                                 "tru",   "truee",  " true", "true ",  "yes",
                                 "no",    "falsee", "fals",  "false ", std::string("true\0", 5)};
    for (const std::string& text : texts) {
        for (const bool start : {false, true}) {
            bool out = start;
            EXPECT_FALSE(fromStr(out, text)) << text;
            EXPECT_EQ(out, start) << text;
            EXPECT_FALSE(fromStr(out, text, std::hex)) << text;
            EXPECT_EQ(out, start) << text;
        }
    }
}

TEST(BoolFromStr, IgnoresItsManipulator) {
    manipulator_calls = 0;
    bool out = false;
    for (const Manipulator manipulator :
         {Manipulator{std::noboolalpha}, Manipulator{std::boolalpha}, Manipulator{counting},
          Manipulator{}}) {
        EXPECT_TRUE(fromStr(out, "true", manipulator));
        EXPECT_TRUE(out);
        EXPECT_FALSE(fromStr(out, "0", manipulator));
        EXPECT_TRUE(out);
        EXPECT_TRUE(fromStr(out, "false", manipulator));
        EXPECT_FALSE(out);
    }
    EXPECT_EQ(manipulator_calls, 0);
}

// Text to numbers

namespace {

template <class T>
class UnsignedFromStr : public testing::Test {};
using UnsignedTargets = testing::Types<unsigned short, unsigned int, unsigned long long>;
TYPED_TEST_SUITE(UnsignedFromStr, UnsignedTargets);

template <class T>
class SignedFromStr : public testing::Test {};
using SignedTargets = testing::Types<short, int, long long>;
TYPED_TEST_SUITE(SignedFromStr, SignedTargets);

template <class T>
constexpr T HIGHEST = std::numeric_limits<T>::max();

// The text of the largest unsigned value of `width` bytes, and of the value behind it.
std::pair<std::string, std::string> limit_and_next(std::size_t width) {
    switch (width) {
    case 2:
        return {"65535", "65536"};
    case 4:
        return {"4294967295", "4294967296"};
    default:
        return {"18446744073709551615", "18446744073709551616"};
    }
}

} // namespace

TYPED_TEST(UnsignedFromStr, StoresZeroForTheEmptyText) {
    for (const Manipulator manipulator : {Manipulator{std::dec}, Manipulator{std::hex},
                                          Manipulator{std::oct}, Manipulator{radix_from_prefix}}) {
        EXPECT_EQ(read<TypeParam>("", manipulator), Outcome<TypeParam>(true, 0));
    }
}

TYPED_TEST(UnsignedFromStr, StoresZeroAndFailsForBlanksOnly) {
    for (const char* const text : {" ", "   ", "\t", "\n", " \t\r\n\v\f"}) {
        EXPECT_EQ(read<TypeParam>(text), Outcome<TypeParam>(false, 0));
    }
}

TYPED_TEST(UnsignedFromStr, ReadsDecimal) {
    EXPECT_EQ(read<TypeParam>("0"), Outcome<TypeParam>(true, 0));
    EXPECT_EQ(read<TypeParam>("1"), Outcome<TypeParam>(true, 1));
    EXPECT_EQ(read<TypeParam>("40000"), Outcome<TypeParam>(true, 40000));
    EXPECT_EQ(read<TypeParam>("+12"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("0010"), Outcome<TypeParam>(true, 10));
    EXPECT_EQ(read<TypeParam>("0x10"), Outcome<TypeParam>(true, 0));
}

TYPED_TEST(UnsignedFromStr, ReadsHexadecimalWithAndWithoutPrefix) {
    EXPECT_EQ(read<TypeParam>("ff", std::hex), Outcome<TypeParam>(true, 255));
    EXPECT_EQ(read<TypeParam>("0xff", std::hex), Outcome<TypeParam>(true, 255));
    EXPECT_EQ(read<TypeParam>("0XfF", std::hex), Outcome<TypeParam>(true, 255));
    EXPECT_EQ(read<TypeParam>("FF", std::hex), Outcome<TypeParam>(true, 255));
    EXPECT_EQ(read<TypeParam>("10", std::hex), Outcome<TypeParam>(true, 16));
    EXPECT_EQ(read<TypeParam>("ag", std::hex), Outcome<TypeParam>(true, 10));
    EXPECT_EQ(read<TypeParam>("g", std::hex), Outcome<TypeParam>(false, 0));
}

TYPED_TEST(UnsignedFromStr, ReadsOctal) {
    EXPECT_EQ(read<TypeParam>("17", std::oct), Outcome<TypeParam>(true, 15));
    EXPECT_EQ(read<TypeParam>("017", std::oct), Outcome<TypeParam>(true, 15));
    EXPECT_EQ(read<TypeParam>("177777", std::oct), Outcome<TypeParam>(true, 65535));
    EXPECT_EQ(read<TypeParam>("18", std::oct), Outcome<TypeParam>(true, 1));
    EXPECT_EQ(read<TypeParam>("8", std::oct), Outcome<TypeParam>(false, 0));
}

TYPED_TEST(UnsignedFromStr, AppliesAnyManipulatorToTheStream) {
    EXPECT_EQ(read<TypeParam>("ff", wrapped_hex), Outcome<TypeParam>(true, 255));
    EXPECT_EQ(read<TypeParam>("0x10", radix_from_prefix), Outcome<TypeParam>(true, 16));
    EXPECT_EQ(read<TypeParam>("010", radix_from_prefix), Outcome<TypeParam>(true, 8));
    EXPECT_EQ(read<TypeParam>("10", radix_from_prefix), Outcome<TypeParam>(true, 10));
    EXPECT_EQ(read<TypeParam>("7", std::noskipws), Outcome<TypeParam>(true, 7));
    EXPECT_EQ(read<TypeParam>(" 7", std::noskipws), Outcome<TypeParam>(false, 0));
    EXPECT_EQ(read<TypeParam>("12", std::boolalpha), Outcome<TypeParam>(true, 12));
}

TYPED_TEST(UnsignedFromStr, SkipsLeadingWhiteSpace) {
    EXPECT_EQ(read<TypeParam>("  12"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>(" \t\r\n\v\f12"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("\nff", std::hex), Outcome<TypeParam>(true, 255));
}

TYPED_TEST(UnsignedFromStr, DoesNotExamineTrailingCharacters) {
    EXPECT_EQ(read<TypeParam>("12abc"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("12 34"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("12-3"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("12.5"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read<TypeParam>("1,234"), Outcome<TypeParam>(true, 1));
    EXPECT_EQ(read<TypeParam>(std::string("12\0"
                                          "34",
                                          5)),
              Outcome<TypeParam>(true, 12));
}

TYPED_TEST(UnsignedFromStr, FailsWithoutDigits) {
    const std::string texts[] = {"abc",
                                 "-",
                                 "+",
                                 "--5",
                                 "+-5",
                                 "-+5",
                                 "- 5",
                                 ".",
                                 "x5",
                                 "-x",
                                 ",1",
                                 std::string(1, '\0'),
                                 "\xa0"
                                 "5",
                                 " x"};
    for (const std::string& text : texts) {
        EXPECT_EQ(read<TypeParam>(text), Outcome<TypeParam>(false, 0))
            << testing::PrintToString(text);
    }
}

TYPED_TEST(UnsignedFromStr, NegatesModuloTheType) {
    EXPECT_EQ(read<TypeParam>("-1"), Outcome<TypeParam>(true, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>("-2"), Outcome<TypeParam>(true, HIGHEST<TypeParam> - 1));
    EXPECT_EQ(read<TypeParam>("-0"), Outcome<TypeParam>(true, 0));
    EXPECT_EQ(read<TypeParam>(" -1 "), Outcome<TypeParam>(true, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>("-ff", std::hex), Outcome<TypeParam>(true, HIGHEST<TypeParam> - 254));
    EXPECT_EQ(read<TypeParam>("-10", std::oct), Outcome<TypeParam>(true, HIGHEST<TypeParam> - 7));
    const auto [limit, next] = limit_and_next(sizeof(TypeParam));
    EXPECT_EQ(read<TypeParam>("-" + limit), Outcome<TypeParam>(true, 1));
    EXPECT_EQ(read<TypeParam>("-" + next).first, false);
}

TYPED_TEST(UnsignedFromStr, ReadsTheLargestValue) {
    const std::string limit = limit_and_next(sizeof(TypeParam)).first;
    EXPECT_EQ(read<TypeParam>(limit), Outcome<TypeParam>(true, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>("000" + limit), Outcome<TypeParam>(true, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>(std::string(2 * sizeof(TypeParam), 'f'), std::hex),
              Outcome<TypeParam>(true, HIGHEST<TypeParam>));
}

TYPED_TEST(UnsignedFromStr, FailsAndStoresTheMaximumBeyondTheType) {
    const std::string next = limit_and_next(sizeof(TypeParam)).second;
    EXPECT_EQ(read<TypeParam>(next), Outcome<TypeParam>(false, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>(next + "0"), Outcome<TypeParam>(false, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>("99999999999999999999999999"),
              Outcome<TypeParam>(false, HIGHEST<TypeParam>));
    EXPECT_EQ(read<TypeParam>("1" + std::string(2 * sizeof(TypeParam), '0'), std::hex),
              Outcome<TypeParam>(false, HIGHEST<TypeParam>));
}

TYPED_TEST(UnsignedFromStr, ReadsVeryLongTexts) {
    EXPECT_EQ(read<TypeParam>(std::string(100000, '0') + "7"), Outcome<TypeParam>(true, 7));
    EXPECT_EQ(read<TypeParam>(std::string(100000, ' ') + "7"), Outcome<TypeParam>(true, 7));
    EXPECT_EQ(read<TypeParam>(std::string(100000, '7')),
              Outcome<TypeParam>(false, HIGHEST<TypeParam>));
}

TYPED_TEST(UnsignedFromStr, MeansDecimalWithoutAManipulator) {
    EXPECT_EQ(read_plain<TypeParam>("12abc"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read_plain<TypeParam>("010"), Outcome<TypeParam>(true, 10));
    EXPECT_EQ(read_plain<TypeParam>(""), Outcome<TypeParam>(true, 0));
    EXPECT_EQ(read_plain<TypeParam>("ff"), Outcome<TypeParam>(false, 0));
}

// Streams take the global std::locale, and with it separators between groups of digits.
TYPED_TEST(UnsignedFromStr, ReadsUnderTheGlobalLocale) {
    const scoped::GlobalLocale locale(grouping_locale());
    EXPECT_EQ(read<TypeParam>("12,345"), Outcome<TypeParam>(true, 12345));
    EXPECT_EQ(read<TypeParam>("12345"), Outcome<TypeParam>(true, 12345));
}

TYPED_TEST(UnsignedFromStr, DoesNotChangeTheText) {
    const std::string text = " 12 34";
    TypeParam out = 0;
    EXPECT_TRUE(fromStr(out, text, std::dec));
    EXPECT_EQ(text, " 12 34");
}

TEST(UnsignedFromStrLimits, AreThoseOfEachType) {
    EXPECT_EQ(read<unsigned int>("-1"), Outcome<unsigned int>(true, 4294967295U));
    EXPECT_EQ(read<unsigned int>("4294967296"), Outcome<unsigned int>(false, 4294967295U));
    EXPECT_EQ(read<unsigned short>("-1"), Outcome<unsigned short>(true, 65535));
    EXPECT_EQ(read<unsigned short>("65536"), Outcome<unsigned short>(false, 65535));
    EXPECT_EQ(read<unsigned short>("-65537"), Outcome<unsigned short>(false, 65535));
    EXPECT_EQ(read<unsigned long long>("-1"),
              Outcome<unsigned long long>(true, 18446744073709551615ULL));
    EXPECT_EQ(read<unsigned long long>("18446744073709551616"),
              Outcome<unsigned long long>(false, 18446744073709551615ULL));
}

TEST(UnsignedFromStr, ReadsDecimalWithANullManipulator) {
    const Manipulator null = nullptr;
    EXPECT_EQ(read<unsigned int>("0129x", null), Outcome<unsigned int>(true, 129));
    EXPECT_EQ(read<unsigned int>("-1", null), Outcome<unsigned int>(true, 4294967295U));
    EXPECT_EQ(read<unsigned int>("x", null), Outcome<unsigned int>(false, 0));
}

// Every number that a text of up to six digits may mean to the narrowest type, with either sign.
TEST(UnsignedFromStr, TakesEveryShortNumberAndNoneBeyond) {
    for (unsigned int number = 0; number <= 70000; ++number) {
        const bool fits = number <= 65535;
        const auto value = static_cast<unsigned short>(number);
        const auto negative = static_cast<unsigned short>(-static_cast<int>(number));
        const std::string digits = std::to_string(number);
        ASSERT_EQ(read<unsigned short>(digits),
                  Outcome<unsigned short>(fits, fits ? value : 65535));
        ASSERT_EQ(read<unsigned short>('-' + digits),
                  Outcome<unsigned short>(fits, fits ? negative : 65535));
        ASSERT_EQ(read<unsigned short>("00" + digits),
                  Outcome<unsigned short>(fits, fits ? value : 65535));
    }
}

// Every text of two bytes, in the three radices.
TEST(UnsignedFromStrPairs, AgreeWithTheModel) {
    for (int first = 0; first <= 255; ++first) {
        for (int second = 0; second <= 255; ++second) {
            const std::string text{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(read<unsigned int>(text, std::dec),
                      number_model::number<unsigned int>(text, 10))
                << testing::PrintToString(text);
            ASSERT_EQ(read<unsigned int>(text, std::hex),
                      number_model::number<unsigned int>(text, 16))
                << testing::PrintToString(text);
            ASSERT_EQ(read<unsigned int>(text, std::oct),
                      number_model::number<unsigned int>(text, 8))
                << testing::PrintToString(text);
        }
    }
}

TYPED_TEST(SignedFromStr, ReadsNumbersOfBothSigns) {
    EXPECT_EQ(read<TypeParam>("0"), Outcome<TypeParam>(true, 0));
    EXPECT_EQ(read<TypeParam>("5"), Outcome<TypeParam>(true, 5));
    EXPECT_EQ(read<TypeParam>("-5"), Outcome<TypeParam>(true, -5));
    EXPECT_EQ(read<TypeParam>("+5"), Outcome<TypeParam>(true, 5));
    EXPECT_EQ(read<TypeParam>("7f", std::hex), Outcome<TypeParam>(true, 127));
    EXPECT_EQ(read<TypeParam>("-17", std::oct), Outcome<TypeParam>(true, -15));
    EXPECT_EQ(read<TypeParam>("0x10", radix_from_prefix), Outcome<TypeParam>(true, 16));
}

TYPED_TEST(SignedFromStr, ReadsItsLimits) {
    using limits = std::numeric_limits<TypeParam>;
    EXPECT_EQ(read<TypeParam>(std::to_string(limits::max())),
              Outcome<TypeParam>(true, limits::max()));
    EXPECT_EQ(read<TypeParam>(std::to_string(limits::min())),
              Outcome<TypeParam>(true, limits::min()));
}

TYPED_TEST(SignedFromStr, TakesTheBitsOfTheUnsignedNumber) {
    const std::string limit = limit_and_next(sizeof(TypeParam)).first;
    EXPECT_EQ(read<TypeParam>(limit), Outcome<TypeParam>(true, -1));
    EXPECT_EQ(read<TypeParam>("-" + limit), Outcome<TypeParam>(true, 1));
    EXPECT_EQ(read<TypeParam>(std::string(2 * sizeof(TypeParam), 'f'), std::hex),
              Outcome<TypeParam>(true, -1));
    EXPECT_EQ(read<TypeParam>("8" + std::string(2 * sizeof(TypeParam) - 1, '0'), std::hex),
              Outcome<TypeParam>(true, std::numeric_limits<TypeParam>::min()));
}

// The bits of the unsigned maximum are -1.
TYPED_TEST(SignedFromStr, FailsBeyondTheUnsignedRangeOnly) {
    const std::string next = limit_and_next(sizeof(TypeParam)).second;
    EXPECT_EQ(read<TypeParam>(next), Outcome<TypeParam>(false, -1));
    EXPECT_EQ(read<TypeParam>("-" + next).first, false);
}

TYPED_TEST(SignedFromStr, InheritsTheOtherRules) {
    EXPECT_EQ(read<TypeParam>(""), Outcome<TypeParam>(true, 0));
    EXPECT_EQ(read<TypeParam>("  "), Outcome<TypeParam>(false, 0));
    EXPECT_EQ(read<TypeParam>("abc"), Outcome<TypeParam>(false, 0));
    EXPECT_EQ(read<TypeParam>("-"), Outcome<TypeParam>(false, 0));
    EXPECT_EQ(read<TypeParam>(" \t-12abc"), Outcome<TypeParam>(true, -12));
    EXPECT_EQ(read<TypeParam>("12 34"), Outcome<TypeParam>(true, 12));
    EXPECT_EQ(read_plain<TypeParam>("-12"), Outcome<TypeParam>(true, -12));
}

TEST(SignedFromStrBits, AreThoseOfEachType) {
    EXPECT_EQ(read<int>("3000000000"), Outcome<int>(true, -1294967296));
    EXPECT_EQ(read<int>("2147483648"), Outcome<int>(true, std::numeric_limits<int>::min()));
    EXPECT_EQ(read<int>("4294967296"), Outcome<int>(false, -1));
    EXPECT_EQ(read<short>("40000"), Outcome<short>(true, -25536));
    EXPECT_EQ(read<short>("-40000"), Outcome<short>(true, 25536));
    EXPECT_EQ(read<short>("65535"), Outcome<short>(true, -1));
    EXPECT_EQ(read<short>("65536"), Outcome<short>(false, -1));
    EXPECT_EQ(read<long long>("9223372036854775808"),
              Outcome<long long>(true, std::numeric_limits<long long>::min()));
    EXPECT_EQ(read<long long>("18446744073709551615"), Outcome<long long>(true, -1));
}

// Every number of 16 bits read as short.
TEST(SignedFromStrBits, WrapForEveryShort) {
    for (int number = 0; number <= 65535; ++number) {
        const int expected = number < 32768 ? number : number - 65536;
        ASSERT_EQ(read<short>(std::to_string(number)),
                  Outcome<short>(true, static_cast<short>(expected)));
    }
}

namespace {

template <class T, class = void>
struct IsTarget : std::false_type {};

template <class T>
struct IsTarget<T, std::void_t<decltype(fromStr<T>(std::declval<T&>(), std::declval<std::string&>(),
                                                   std::declval<Manipulator>()))>>
    : std::true_type {};

} // namespace

TEST(FromStr, HasTheTargetsOfItsTableAndNoOther) {
    EXPECT_TRUE(IsTarget<char>::value);
    EXPECT_TRUE(IsTarget<unsigned char>::value);
    EXPECT_TRUE(IsTarget<bool>::value);
    EXPECT_TRUE(IsTarget<isotime>::value);
    EXPECT_TRUE(IsTarget<unsigned short>::value);
    EXPECT_TRUE(IsTarget<unsigned int>::value);
    EXPECT_TRUE(IsTarget<unsigned long long>::value);
    EXPECT_TRUE(IsTarget<short>::value);
    EXPECT_TRUE(IsTarget<int>::value);
    EXPECT_TRUE(IsTarget<long long>::value);
    EXPECT_FALSE(IsTarget<signed char>::value);
    EXPECT_FALSE(IsTarget<long>::value);
    EXPECT_FALSE(IsTarget<unsigned long>::value);
    EXPECT_FALSE(IsTarget<float>::value);
    EXPECT_FALSE(IsTarget<double>::value);
    EXPECT_FALSE(IsTarget<std::string>::value);
}

// Text to time stamps

TEST(ToIsotime, ReadsTheLongForm) {
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+09:10"), with_zone(SOME_TIME, 550, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08-09:10"), with_zone(SOME_TIME, -550, 1)));
}

TEST(ToIsotime, ReadsTheShortFormWithoutHundredths) {
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07+01:00"),
                     with_zone(time_of(2021, 3, 4, 5, 6, 7, 0), 60, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07-05:30"),
                     with_zone(time_of(2021, 3, 4, 5, 6, 7, 0), -330, 1)));
}

TEST(ToIsotime, LeavesTheFlagZeroForAZoneOfZero) {
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+00:00"), SOME_TIME));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08-00:00"), SOME_TIME));
}

TEST(ToIsotime, IsAZeroRecordForEveryOtherLength) {
    const std::string text = LONG_TEXT + "123456789012";
    for (std::size_t length = 0; length <= 40; ++length) {
        const bool read = length == 25 || length == 28;
        EXPECT_EQ(same(to_isotime(text.substr(0, length)), isotime{}), !read) << length;
    }
}

TEST(ToIsotime, IsAZeroRecordForAMissingTime) {
    EXPECT_TRUE(same(to_isotime(nuriccl::BAD_TIME), isotime{}));
    EXPECT_TRUE(same(to_isotime(nuriccl::BAD_TIME_SHORT), isotime{}));
}

TEST(ToIsotime, SetsWhatItDoesNotReadToZero) {
    for (const std::string& text : {LONG_TEXT, SHORT_TEXT}) {
        const isotime time = to_isotime(text);
        EXPECT_EQ(time.ten_thousandths, 0);
        EXPECT_EQ(time.millionths, 0);
        EXPECT_EQ(time.reserved, 0U);
    }
}

TEST(ToIsotime, AcceptsAnySeparators) {
    EXPECT_TRUE(same(to_isotime("2020/01/02 03:04:05,06+07:00"),
                     with_zone(time_of(2020, 1, 2, 3, 4, 5, 6), 420, 1)));
}

// Every byte at every position that is neither a digit nor the sign.
TEST(ToIsotime, DoesNotLookAtSeparators) {
    const auto try_all = [](const std::string& text, std::initializer_list<std::size_t> positions) {
        const isotime expected = to_isotime(text);
        for (const std::size_t position : positions) {
            for (int byte = 0; byte <= 255; ++byte) {
                std::string changed = text;
                changed[position] = static_cast<char>(byte);
                ASSERT_TRUE(same(to_isotime(changed), expected))
                    << "byte " << byte << " at " << position;
            }
        }
    };
    try_all(LONG_TEXT, {4, 7, 10, 13, 16, 19, 25});
    try_all(SHORT_TEXT, {4, 7, 10, 13, 16, 22});
}

TEST(ToIsotime, CountsEverySignButMinusAsPlus) {
    for (int byte = 0; byte <= 255; ++byte) {
        const int offset = static_cast<char>(byte) == '-' ? -550 : 550;
        std::string text = LONG_TEXT;
        text[22] = static_cast<char>(byte);
        EXPECT_TRUE(same(to_isotime(text), with_zone(SOME_TIME, offset, 1))) << byte;
        text = SHORT_TEXT;
        text[19] = static_cast<char>(byte);
        EXPECT_TRUE(same(to_isotime(text), with_zone(time_of(2021, 3, 4, 5, 6, 7, 0), offset, 1)))
            << byte;
    }
}

// Every two digits in every field; no range is checked.
TEST(ToIsotime, StoresAllDigitsAsTheyAre) {
    const std::pair<std::size_t, std::uint8_t isotime::*> fields[] = {
        {5, &isotime::month},   {8, &isotime::day},     {11, &isotime::hour},
        {14, &isotime::minute}, {17, &isotime::second}, {20, &isotime::hundredths}};
    for (const auto& [position, field] : fields) {
        for (int value = 0; value <= 99; ++value) {
            std::string text = LONG_TEXT;
            text.replace(position, 2, padded(value, 2));
            isotime expected = with_zone(SOME_TIME, 550, 1);
            expected.*field = static_cast<std::uint8_t>(value);
            EXPECT_TRUE(same(to_isotime(text), expected)) << text;
        }
    }
    for (int year = 0; year <= 9999; ++year) {
        ASSERT_EQ(to_isotime(padded(year, 4) + LONG_TEXT.substr(4)).year, year);
    }
}

TEST(ToIsotime, CutsNegativePiecesToTheWidthOfTheirField) {
    const auto with_piece = [](std::size_t position, const char* piece) {
        std::string text = LONG_TEXT;
        return to_isotime(text.replace(position, std::strlen(piece), piece));
    };
    EXPECT_EQ(with_piece(0, "-001").year, 65535);
    EXPECT_EQ(with_piece(0, "-999").year, 64537);
    EXPECT_EQ(with_piece(5, "-1").month, 255);
    EXPECT_EQ(with_piece(8, "-2").day, 254);
    EXPECT_EQ(with_piece(11, "-3").hour, 253);
    EXPECT_EQ(with_piece(14, "-4").minute, 252);
    EXPECT_EQ(with_piece(17, "-5").second, 251);
    EXPECT_EQ(with_piece(20, "-9").hundredths, 247);
    EXPECT_EQ(to_str(with_piece(5, "-1")), nuriccl::BAD_TIME);
}

TEST(ToIsotime, ReadsEachPieceAsSafeNumber) {
    const isotime time = to_isotime(" 021-+3- 4Tx5:6x: 7. 8+ 9:1x");
    EXPECT_TRUE(same(time, with_zone(time_of(21, 3, 4, 0, 6, 7, 8), 541, 1)));
    EXPECT_TRUE(same(to_isotime(std::string(28, 'x')), isotime{}));
    EXPECT_TRUE(same(to_isotime(std::string(25, '\0')), isotime{}));
}

// Nothing but the ten digits counts as one.
TEST(ToIsotime, TakesEveryByteOfAPieceAsSafeNumberDoes) {
    for (int byte = 0; byte <= 255; ++byte) {
        std::string piece = "10";
        piece[1] = static_cast<char>(byte);
        std::string text = LONG_TEXT;
        text.replace(5, 2, piece);
        const auto number = static_cast<std::uint8_t>(safe::StringToInt32(piece));
        EXPECT_EQ(to_isotime(text).month, number) << byte;
        std::swap(piece[0], piece[1]);
        const auto swapped = static_cast<std::uint8_t>(safe::StringToInt32(piece));
        EXPECT_EQ(to_isotime(text.replace(5, 2, piece)).month, swapped) << byte;
    }
}

TEST(ToIsotime, AddsSignedPiecesOfTheZone) {
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+-1:30"), with_zone(SOME_TIME, -30, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08--1:30"), with_zone(SOME_TIME, 30, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+01:-5"), with_zone(SOME_TIME, 55, 1)));
}

TEST(ToIsotime, CutsTheZoneToTwelveBits) {
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+68:16"), SOME_TIME));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08-68:16"), SOME_TIME));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+68:17"), with_zone(SOME_TIME, 1, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+34:07"), with_zone(SOME_TIME, 2047, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08+34:08"), with_zone(SOME_TIME, -2048, 1)));
    EXPECT_TRUE(same(to_isotime("2021-03-04T05:06:07.08-34:09"), with_zone(SOME_TIME, 2047, 1)));
}

// Every zone from 00:00 to 99:99, of both signs and in both forms.
TEST(ToIsotime, FollowsTheZoneRuleForEveryZoneText) {
    for (int hours = 0; hours <= 99; ++hours) {
        for (int minutes = 0; minutes <= 99; ++minutes) {
            for (const char sign : {'+', '-'}) {
                const int total = (hours * 60 + minutes) * (sign == '-' ? -1 : 1);
                const unsigned int low = (static_cast<unsigned int>(total) + 8192) % 4096;
                const std::string zone = sign + padded(hours, 2) + ":" + padded(minutes, 2);
                const unsigned int flag = low != 0 ? 1 : 0;
                ASSERT_TRUE(same(to_isotime("2021-03-04T05:06:07.08" + zone),
                                 with_zone(SOME_TIME, static_cast<int>(low), flag)))
                    << zone;
                ASSERT_TRUE(
                    same(to_isotime("2021-03-04T05:06:07" + zone),
                         with_zone(time_of(2021, 3, 4, 5, 6, 7, 0), static_cast<int>(low), flag)))
                    << zone;
            }
        }
    }
}

TEST(IsotimeFromStr, TakesValidTimes) {
    isotime out{};
    EXPECT_TRUE(fromStr(out, LONG_TEXT));
    EXPECT_TRUE(same(out, with_zone(SOME_TIME, 550, 1)));
    EXPECT_TRUE(fromStr(out, SHORT_TEXT));
    EXPECT_TRUE(same(out, with_zone(time_of(2021, 3, 4, 5, 6, 7, 0), 550, 1)));
}

TEST(IsotimeFromStr, StoresAZeroRecordForAnUnusableText) {
    const std::string texts[] = {"",
                                 "x",
                                 "2021-03-04T05:06:07.8+01:00",
                                 LONG_TEXT + " ",
                                 nuriccl::BAD_TIME,
                                 nuriccl::BAD_TIME_SHORT};
    for (const std::string& text : texts) {
        isotime out = SOME_TIME;
        EXPECT_FALSE(fromStr(out, text)) << text;
        EXPECT_TRUE(same(out, isotime{})) << text;
    }
}

TEST(IsotimeFromStr, RefusesATextOf26Characters) {
    isotime out = SOME_TIME;
    EXPECT_FALSE(fromStr(out, SHORT_TEXT + "0"));
    EXPECT_TRUE(same(out, isotime{}));
}

TEST(IsotimeFromStr, StoresWhatItRefuses) {
    isotime out{};
    EXPECT_FALSE(fromStr(out, "2021-13-04T05:06:07.08+00:00"));
    EXPECT_TRUE(same(out, time_of(2021, 13, 4, 5, 6, 7, 8)));
    EXPECT_FALSE(fromStr(out, "0000-03-04T05:06:07.08+00:00"));
    EXPECT_TRUE(same(out, time_of(0, 3, 4, 5, 6, 7, 8)));
    EXPECT_FALSE(fromStr(out, "2021-03-04T24:06:07.08+00:00"));
    EXPECT_TRUE(same(out, time_of(2021, 3, 4, 24, 6, 7, 8)));
}

TEST(IsotimeFromStr, IgnoresItsManipulator) {
    manipulator_calls = 0;
    for (const Manipulator manipulator :
         {Manipulator{std::dec}, Manipulator{std::hex}, Manipulator{std::oct},
          Manipulator{counting}, Manipulator{}}) {
        isotime out{};
        EXPECT_TRUE(fromStr(out, "2021-11-12T13:14:15.16+00:00", manipulator));
        EXPECT_TRUE(same(out, time_of(2021, 11, 12, 13, 14, 15, 16)));
        EXPECT_FALSE(fromStr(out, "", manipulator));
        EXPECT_TRUE(same(out, isotime{}));
    }
    EXPECT_EQ(manipulator_calls, 0);
}

TEST(IsotimeRoundTrip, PrintsTheShortFormWithHundredths) {
    EXPECT_EQ(to_str(to_isotime("2021-03-04T05:06:07+01:00")), "2021-03-04T05:06:07.00+01:00");
}

TEST(IsotimeRoundTrip, KeepsEveryOffset) {
    for (int offset = -2048; offset <= 2047; ++offset) {
        const isotime time = with_zone(SOME_TIME, offset, offset != 0 ? 1 : 0);
        ASSERT_TRUE(same(to_isotime(to_str(time)), time)) << offset;
    }
}

TEST(IsotimeRoundTrip, KeepsValidRecords) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 engine(seed);
    const auto between = [&engine](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(engine);
    };
    for (int i = 0; i < 20000; ++i) {
        const int offset = between(-2048, 2047);
        const isotime time =
            with_zone(time_of(between(1, 9999), between(1, 12), between(1, 31), between(0, 23),
                              between(0, 59), between(0, 59), between(0, 99)),
                      offset, offset != 0 ? 1 : 0);
        const std::string text = to_str(time);
        ASSERT_EQ(text.size(), 28U) << text;
        isotime out{};
        ASSERT_TRUE(fromStr(out, text)) << text;
        ASSERT_TRUE(same(out, time)) << text;
    }
}

TEST(UtilUsage, WorksAsTheHeaderShows) {
    EXPECT_EQ(nuriccl::to_str(255, std::hex), "ff");
    unsigned int port = 0;
    EXPECT_TRUE(nuriccl::fromStr(port, "8080", std::dec));
    EXPECT_EQ(port, 8080U);
    const isotime time = nuriccl::to_isotime("2021-03-04T05:06:07+01:00");
    EXPECT_EQ(nuriccl::to_str(time), "2021-03-04T05:06:07.00+01:00");
}
