// Tests of the function objects over texts.
//
//   public member                         cases
//   ToString                              ToString.*
//   ToLower                               ToLower.*
//   StringMatcher                         StringMatcher.*
//   the example of the header             StringFunctorsUsage.*

#include "support/allocation.hpp"
#include "support/locale.hpp"
#include "support/texts.hpp"

#include <nuriccl/StringFunctors.hpp>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <locale>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using nuriccl::StringMatcher;
using nuriccl::ToLower;
using nuriccl::ToString;

int to_int(char c) { return static_cast<unsigned char>(c); }

// ASCII only, as in the classic locale.
char model_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string model_lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return model_lower(c); });
    return text;
}

// Lowers '1' to '2' and '2' to '3', byte 0xc9 to byte 0xe9, and nothing else: letters stay, and
// twice is not the same as once.
class StrangeCtype : public std::ctype<char> {
protected:
    char do_tolower(char c) const override {
        switch (c) {
        case '1':
            return '2';
        case '2':
            return '3';
        case '\xc9':
            return '\xe9';
        default:
            return c;
        }
    }
    const char* do_tolower(char* first, const char* last) const override {
        for (; first != last; ++first) {
            *first = do_tolower(*first);
        }
        return last;
    }
};

std::locale strange_locale() { return std::locale(std::locale::classic(), new StrangeCtype); }

// Groups of three digits, and other names of the truth values.
class StrangeNumpunct : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
    std::string do_truename() const override { return "yes"; }
    std::string do_falsename() const override { return "no"; }
};

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    char text[32];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

// The numbers around each power of 2 and of 10, as 32 bits.
std::set<std::uint32_t> numbers() {
    std::set<std::uint32_t> numbers;
    const auto add_around = [&numbers](std::uint64_t number) {
        for (const std::uint64_t near : {number - 1, number, number + 1}) {
            numbers.insert(static_cast<std::uint32_t>(near));
            numbers.insert(static_cast<std::uint32_t>(0 - near));
        }
    };
    for (std::uint64_t power = 1; power <= UINT_MAX; power *= 2) {
        add_around(power);
    }
    for (std::uint64_t power = 1; power <= UINT_MAX; power *= 10) {
        add_around(power);
    }
    return numbers;
}

} // namespace

// ToString

TEST(ToString, CopiesATextWhole) {
    const ToString to_string{};
    for (const std::string& text :
         {std::string(), std::string("abc"), std::string("a\0b\xff", 4), std::string(1000, 'x')}) {
        EXPECT_EQ(to_string(text), text);
    }
}

TEST(ToString, ReturnsAnObjectOfItsOwn) {
    const std::string text = "abc";
    std::string copy = ToString()(text);
    copy[0] = 'x';
    EXPECT_EQ(text, "abc");
}

// Not a truth value, which a pointer would be without a form for C strings.
TEST(ToString, CopiesACString) {
    EXPECT_EQ(ToString()("abc"), "abc");
    EXPECT_EQ(ToString()(""), "");
    EXPECT_EQ(ToString()("a\0b"), "a");
    char array[] = "array";
    EXPECT_EQ(ToString()(array), "array");
}

TEST(ToString, TakesANullCStringForTheEmptyText) {
    const char* const null = nullptr;
    EXPECT_EQ(ToString()(null), "");
}

TEST(ToString, NamesTruthValues) {
    EXPECT_EQ(ToString()(true), "true");
    EXPECT_EQ(ToString()(false), "false");
}

TEST(ToString, WritesSignedNumbersInDecimal) {
    EXPECT_EQ(ToString()(0), "0");
    EXPECT_EQ(ToString()(-5), "-5");
    EXPECT_EQ(ToString()(1), "1");
    EXPECT_EQ(ToString()(INT_MAX), "2147483647");
    EXPECT_EQ(ToString()(INT_MIN), "-2147483648");
}

TEST(ToString, WritesUnsignedNumbersInDecimal) {
    EXPECT_EQ(ToString()(0U), "0");
    EXPECT_EQ(ToString()(1U), "1");
    EXPECT_EQ(ToString()(2147483648U), "2147483648");
    EXPECT_EQ(ToString()(4294967295U), "4294967295");
}

TEST(ToString, FormatsLikePrintf) {
    for (const std::uint32_t number : numbers()) {
        const auto as_signed = static_cast<std::int32_t>(number);
        EXPECT_EQ(ToString()(as_signed), formatted("%d", as_signed));
        EXPECT_EQ(ToString()(number), formatted("%u", number));
    }
}

TEST(ToString, DoesNotLookAtLocales) {
    const scoped::CLocale c_locale("C.UTF-8");
    const scoped::GlobalLocale locale(std::locale(std::locale::classic(), new StrangeNumpunct));
    EXPECT_EQ(ToString()(1234567), "1234567");
    EXPECT_EQ(ToString()(-1234567), "-1234567");
    EXPECT_EQ(ToString()(4294967295U), "4294967295");
    EXPECT_EQ(ToString()(true), "true");
    EXPECT_EQ(ToString()(false), "false");
}

TEST(ToString, HasNoData) { EXPECT_TRUE(std::is_empty_v<ToString>); }

TEST(ToString, ServesAlgorithms) {
    const std::vector<int> numbers = {-1, 0, 12};
    std::vector<std::string> texts(3);
    std::transform(numbers.begin(), numbers.end(), texts.begin(), ToString());
    EXPECT_EQ(texts, (std::vector<std::string>{"-1", "0", "12"}));
}

// ToLower

TEST(ToLower, LowersAsciiLettersInTheClassicLocale) {
    const ToLower lower(std::locale::classic());
    for (const char c : texts::all_bytes()) {
        EXPECT_EQ(lower(c), model_lower(c)) << to_int(c);
    }
}

TEST(ToLower, LowersAsTheFacetOfItsLocaleDoes) {
    const std::locale locale = strange_locale();
    const ToLower lower(locale);
    for (const char c : texts::all_bytes()) {
        EXPECT_EQ(lower(c), std::use_facet<std::ctype<char>>(locale).tolower(c)) << to_int(c);
    }
    EXPECT_EQ(lower('1'), '2');
    EXPECT_EQ(lower('\xc9'), '\xe9');
    EXPECT_EQ(lower('A'), 'A');
}

TEST(ToLower, TakesTheGlobalLocaleWhenItIsMade) {
    const ToLower earlier;
    {
        const scoped::GlobalLocale locale(strange_locale());
        const ToLower lower;
        EXPECT_EQ(lower('1'), '2');
        EXPECT_EQ(lower('A'), 'A');
        EXPECT_EQ(earlier('A'), 'a');
        EXPECT_EQ(earlier('1'), '1');
    }
    EXPECT_EQ(ToLower()('A'), 'a');
    EXPECT_EQ(ToLower()('1'), '1');
}

TEST(ToLower, KeepsTheFacetOfALocaleThatIsGone) {
    const ToLower lower(strange_locale());
    const ToLower copy = lower;
    ToLower assigned;
    assigned = ToLower(strange_locale());
    for (const ToLower& each : {lower, copy, assigned}) {
        EXPECT_EQ(each('1'), '2');
        EXPECT_EQ(each('A'), 'A');
    }
    assigned = ToLower(std::locale::classic());
    EXPECT_EQ(assigned('1'), '1');
    EXPECT_EQ(assigned('A'), 'a');
}

TEST(ToLower, ServesAlgorithms) {
    std::string text = "ReadMe";
    std::transform(text.begin(), text.end(), text.begin(), ToLower());
    EXPECT_EQ(text, "readme");
}

// StringMatcher

TEST(StringMatcher, MatchesEveryTextWithAnEmptyPattern) {
    for (const bool ignore_case : {false, true}) {
        const StringMatcher matches("", ignore_case);
        EXPECT_TRUE(matches(""));
        EXPECT_TRUE(matches("a"));
        EXPECT_TRUE(matches(std::string(1, '\0')));
        EXPECT_TRUE(matches(std::string(1000, 'x')));
    }
}

TEST(StringMatcher, MatchesTheSameTextOnly) {
    const StringMatcher matches("a");
    EXPECT_TRUE(matches("a"));
    EXPECT_FALSE(matches("A"));
    EXPECT_FALSE(matches("aa"));
    EXPECT_FALSE(matches(""));
    EXPECT_FALSE(matches("b"));
}

TEST(StringMatcher, RespectsCaseUnlessAskedNotTo) {
    EXPECT_FALSE(StringMatcher("readme")("README"));
    EXPECT_FALSE(StringMatcher("readme", false)("README"));
    EXPECT_TRUE(StringMatcher("README", false)("README"));
}

TEST(StringMatcher, IgnoresCase) {
    const StringMatcher matches("readme", true);
    EXPECT_TRUE(matches("readme"));
    EXPECT_TRUE(matches("ReadMe"));
    EXPECT_TRUE(matches("README"));
    EXPECT_FALSE(matches("README."));
    EXPECT_FALSE(matches("READM"));
    EXPECT_FALSE(matches("READMEREADME"));
    EXPECT_FALSE(matches(""));
}

TEST(StringMatcher, LowersItsPatternToo) {
    for (const char* const pattern : {"readme", "ReadMe", "README"}) {
        const StringMatcher matches(pattern, true);
        EXPECT_TRUE(matches("readme")) << pattern;
        EXPECT_TRUE(matches("ReadMe")) << pattern;
        EXPECT_TRUE(matches("README")) << pattern;
    }
}

TEST(StringMatcher, KnowsNoWildcards) {
    EXPECT_FALSE(StringMatcher("*")("a"));
    EXPECT_FALSE(StringMatcher("a?")("ab"));
    EXPECT_FALSE(StringMatcher(".*", true)("ab"));
    EXPECT_TRUE(StringMatcher("a*?")("a*?"));
}

TEST(StringMatcher, LooksBehindNul) {
    const std::string pattern("a\0b", 3);
    for (const bool ignore_case : {false, true}) {
        const StringMatcher matches(pattern, ignore_case);
        EXPECT_TRUE(matches(pattern));
        EXPECT_FALSE(matches("a"));
        EXPECT_FALSE(matches(std::string("a\0c", 3)));
        EXPECT_FALSE(matches(std::string("a\0b\0", 4)));
    }
    EXPECT_FALSE(StringMatcher(std::string(1, '\0'))(""));
}

TEST(StringMatcher, LowersOnlyAsciiLettersInTheClassicLocale) {
    for (const char a : texts::all_bytes()) {
        const StringMatcher exactly(std::string(1, a), false, std::locale::classic());
        const StringMatcher lowered(std::string(1, a), true, std::locale::classic());
        for (const char b : texts::all_bytes()) {
            ASSERT_EQ(exactly(std::string(1, b)), a == b) << to_int(a) << '/' << to_int(b);
            ASSERT_EQ(lowered(std::string(1, b)), model_lower(a) == model_lower(b))
                << to_int(a) << '/' << to_int(b);
        }
    }
}

TEST(StringMatcher, AgreesWithTheModel) {
    const std::vector<std::string> texts = texts::over<std::string>("aAbB", 4);
    for (const std::string& pattern : texts) {
        const StringMatcher exactly(pattern);
        const StringMatcher lowered(pattern, true);
        for (const std::string& text : texts) {
            ASSERT_EQ(exactly(text), pattern.empty() || text == pattern) << pattern << '/' << text;
            ASSERT_EQ(lowered(text), pattern.empty() || model_lower(text) == model_lower(pattern))
                << pattern << '/' << text;
        }
    }
}

// Once each: a pattern that is lowered again with every text would match others.
TEST(StringMatcher, LowersPatternAndTextOnceWithItsLocale) {
    const StringMatcher matches("1\xc9", true, strange_locale());
    EXPECT_TRUE(matches("1\xc9"));
    EXPECT_TRUE(matches("1\xe9"));
    EXPECT_FALSE(matches("2\xe9"));
    EXPECT_FALSE(matches("3\xe9"));
    EXPECT_TRUE(matches("1\xc9"));
    EXPECT_TRUE(StringMatcher("2", true, strange_locale())("3"));
    EXPECT_FALSE(StringMatcher("a", true, strange_locale())("A"));
}

TEST(StringMatcher, LowersNothingWhenCaseCounts) {
    const StringMatcher matches("1A", false, strange_locale());
    EXPECT_TRUE(matches("1A"));
    EXPECT_FALSE(matches("2A"));
}

TEST(StringMatcher, TakesTheGlobalLocaleWhenItIsMade) {
    const StringMatcher earlier("a1", true);
    const scoped::GlobalLocale locale(strange_locale());
    const StringMatcher matches("a1", true);
    EXPECT_TRUE(matches("a1"));
    EXPECT_FALSE(matches("A1"));
    EXPECT_FALSE(matches("a2"));
    EXPECT_TRUE(StringMatcher("a2", true)("a3"));
    EXPECT_TRUE(earlier("A1"));
    EXPECT_FALSE(earlier("a2"));
    EXPECT_TRUE(StringMatcher("a1", true, std::locale::classic())("A1"));
}

TEST(StringMatcher, KeepsPatternAndLocaleWhenCopied) {
    StringMatcher assigned("other");
    {
        const StringMatcher matches(std::string(100, 'A') + '1', true, strange_locale());
        const StringMatcher copy = matches;
        EXPECT_TRUE(copy(std::string(100, 'A') + '1'));
        assigned = copy;
    }
    EXPECT_TRUE(assigned(std::string(100, 'A') + '1'));
    EXPECT_FALSE(assigned(std::string(100, 'a') + '1'));
    EXPECT_FALSE(assigned("other"));
}

TEST(StringMatcher, LeavesPatternAndTextAsTheyWere) {
    const std::string pattern = "ReadMe";
    const std::string text = "README";
    EXPECT_TRUE(StringMatcher(pattern, true)(text));
    EXPECT_EQ(pattern, "ReadMe");
    EXPECT_EQ(text, "README");
}

TEST(StringMatcher, NeverAllocatesToMatch) {
    const std::string pattern(1000, 'a');
    const std::vector<std::string> texts = {"", std::string(1000, 'a'), std::string(1000, 'A'),
                                            std::string(1001, 'a'), std::string(999, 'a') + 'b'};
    for (const bool ignore_case : {false, true}) {
        for (const std::locale& locale : {std::locale::classic(), strange_locale()}) {
            const StringMatcher matches(pattern, ignore_case, locale);
            int matched = 0;
            EXPECT_EQ(allocation::count([&] {
                          for (const std::string& text : texts) {
                              matched += matches(text) ? 1 : 0;
                          }
                      }),
                      0U);
            EXPECT_EQ(matched, ignore_case && locale == std::locale::classic() ? 2 : 1);
        }
    }
}

TEST(StringMatcher, LeavesNothingBehindWhenItCannotBeMade) {
    const std::string pattern(100, 'A');
    const allocation::Watch watch;
    EXPECT_GT(allocation::fail_each([&] { const StringMatcher matches(pattern, true); },
                                    [&] { EXPECT_EQ(watch.live(), 0); }),
              0U);
    EXPECT_EQ(watch.live(), 0);
}

TEST(StringFunctorsUsage, WorksAsTheHeaderShows) {
    const std::vector<std::string> names = {"Makefile", "README", "main.cpp"};
    const nuriccl::StringMatcher matcher("readme", true);
    EXPECT_EQ(std::find_if(names.begin(), names.end(), matcher), names.begin() + 1);
    EXPECT_EQ(nuriccl::ToString()(-5), "-5");
    EXPECT_EQ(nuriccl::ToLower()('A'), 'a');
}
