// Tests of the text utilities.
//
//   public member                              cases
//   END_OF_STRING_CHAR ... WHITE_SPACE         Constants.*
//   WHITESPACE                                 Constants.*
//   crop_left, crop_right, crop_both           CropLeft.*, CropRight.*, CropBoth.*, Crop.*
//   trim_left, trim_right, trim_both           Trim.*
//   replace                                    Replace.*
//   SpanIncluding                              SpanIncluding.*
//   ifind                                      Ifind.*
//   icompare (four forms)                      Icompare.*
//   CaseInsensitiveCompare                     CaseInsensitiveCompare.*
//   NormalizeNameCaseInsensitive (two forms)   Normalize.*
//   strlcat, strlcpy                           Strlcat.*, Strlcpy.*
//   unixshellstring_get_word                   ShellWord.*
//   unixshellstring_get_keyed_values           KeyedValues.*
//   tokenize                                   Tokenize.*, Fields.*
//   tokenizeQuoted                             TokenizeQuoted.*, Fields.*
//   tokenizeQuotedString                       TokenizeQuotedString.*, Fields.*
//   split                                      Split.*, Fields.*
//   sprintfSafe (two forms)                    SprintfSafe.*
//   format_string                              FormatString.*
//   xml_escape, xml_unescape (narrow, wide)    XmlEscape.*, XmlUnescape.*, Xml.*
//   utf8_to_xml (two forms)                    Utf8ToXml.*
//   hex_dump                                   HexDump.*
//   what the header says of allocations        Allocations.*
//   the example of the header                  StringUsage.*

#include "support/allocation.hpp"
#include "support/ctype.hpp"
#include "support/guarded.hpp"
#include "support/locale.hpp"
#include "support/small_stack.hpp"
#include "support/text_model.hpp"
#include "support/texts.hpp"
#include "support/words_model.hpp"

#include <nuriccl/string.hpp>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <locale>
#include <map>
#include <numeric>
#include <printf.h>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

namespace ns = nuriccl::string;

// Taken while this program's own statics are built.
const std::string whitespace_at_start = ns::WHITESPACE;
const std::string trimmed_at_start = ns::trim_both("\r\n\tx y \t", ns::WHITESPACE);

const std::string DIGITS = "0123456789";

bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

int sign(int value) { return (value > 0) - (value < 0); }

std::wstring widened(const std::string& text) { return {text.begin(), text.end()}; }

// Knows no letters, no digits and no punctuation; the upper case of '#' and of byte 0xe9 is '@',
// every other character is its own.
class StrangeCtype : public std::ctype<char> {
public:
    StrangeCtype() : std::ctype<char>(nothing()) {}

protected:
    char do_toupper(char c) const override { return c == '#' || c == '\xe9' ? '@' : c; }
    const char* do_toupper(char* first, const char* last) const override {
        for (; first != last; ++first) {
            *first = do_toupper(*first);
        }
        return last;
    }

private:
    static const mask* nothing() {
        static const mask table[table_size] = {};
        return table;
    }
};

std::locale strange_locale() { return std::locale(std::locale::classic(), new StrangeCtype); }

} // namespace

// Constants

TEST(Constants, HaveTheirValues) {
    EXPECT_EQ(ns::END_OF_STRING_CHAR, 0);
    EXPECT_EQ(ns::FORWARD_SLASH, 47);
    EXPECT_EQ(ns::NEW_LINE, 10);
    EXPECT_EQ(ns::OPTION_END, 34);
    EXPECT_EQ(ns::OPTION_BEGIN, 34);
    EXPECT_EQ(ns::QUOTE_MARK, 34);
    EXPECT_EQ(ns::KEY_VALUE_SEPARATOR, 61);
    EXPECT_EQ(ns::LIST_SEPARATOR, 44);
    EXPECT_EQ(ns::WHITE_SPACE, 32);
}

TEST(Constants, AreObjectsOfTheLibraryWithAddressesOfTheirOwn) {
    const std::set<const char*> addresses{
        &ns::END_OF_STRING_CHAR,  &ns::FORWARD_SLASH,  &ns::NEW_LINE,
        &ns::OPTION_END,          &ns::OPTION_BEGIN,   &ns::QUOTE_MARK,
        &ns::KEY_VALUE_SEPARATOR, &ns::LIST_SEPARATOR, &ns::WHITE_SPACE};
    EXPECT_EQ(addresses.size(), 9U);
}

TEST(Constants, WhitespaceIsBlankTabReturnLineFeed) {
    EXPECT_EQ(ns::WHITESPACE, "\x20\x09\x0d\x0a");
}

TEST(Constants, WhitespaceServesStaticInitialisersOfTheProgram) {
    EXPECT_EQ(whitespace_at_start, " \t\r\n");
    EXPECT_EQ(trimmed_at_start, "x y");
}

// Cropping and trimming

namespace {

using Crop = void (*)(std::string&, const std::string&);
using Trim = std::string (*)(const std::string&, const std::string&);

std::string cropped(Crop crop, std::string text, const std::string& set) {
    crop(text, set);
    return text;
}

// Crop and trim against a model: every text of up to 5 of three characters with every set of up to
// 3.
void expect_like_model(Crop crop, Trim trim,
                       std::string (*model)(std::string text, const std::string& set)) {
    const std::string alphabet("a \0", 3);
    const std::vector<std::string> sets = texts::over<std::string>(alphabet, 3);
    for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
        for (const std::string& set : sets) {
            const std::string expected = model(text, set);
            ASSERT_EQ(cropped(crop, text, set), expected) << text << '/' << set;
            ASSERT_EQ(trim(text, set), expected) << text << '/' << set;
        }
    }
}

} // namespace

TEST(CropLeft, RemovesTheLeadingRun) {
    EXPECT_EQ(cropped(ns::crop_left, "  ab  ", " "), "ab  ");
    EXPECT_EQ(cropped(ns::crop_left, "xyxab", "yx"), "ab");
    EXPECT_EQ(cropped(ns::crop_left, "ab", " "), "ab");
}

TEST(CropLeft, EmptiesATextOfSetCharacters) {
    EXPECT_EQ(cropped(ns::crop_left, "   ", ns::WHITESPACE), "");
    EXPECT_EQ(cropped(ns::crop_left, "", ns::WHITESPACE), "");
}

TEST(CropLeft, RemovesNothingForAnEmptySet) { EXPECT_EQ(cropped(ns::crop_left, "  a", ""), "  a"); }

TEST(CropLeft, AgreesWithTheModel) {
    expect_like_model(ns::crop_left, ns::trim_left, text_model::crop_left);
}

TEST(CropRight, RemovesTheTrailingRun) {
    EXPECT_EQ(cropped(ns::crop_right, "ab  \r\n", ns::WHITESPACE), "ab");
    EXPECT_EQ(cropped(ns::crop_right, "  ab  ", " "), "  ab");
    EXPECT_EQ(cropped(ns::crop_right, "abxyx", "yx"), "ab");
    EXPECT_EQ(cropped(ns::crop_right, "ab", " "), "ab");
}

TEST(CropRight, EmptiesATextOfSetCharacters) {
    EXPECT_EQ(cropped(ns::crop_right, " \t\r\n", ns::WHITESPACE), "");
    EXPECT_EQ(cropped(ns::crop_right, "", ns::WHITESPACE), "");
}

TEST(CropRight, RemovesNothingForAnEmptySet) {
    EXPECT_EQ(cropped(ns::crop_right, "a  ", ""), "a  ");
}

TEST(CropRight, AgreesWithTheModel) {
    expect_like_model(ns::crop_right, ns::trim_right, text_model::crop_right);
}

TEST(CropBoth, RemovesBothRunsAndKeepsWhatIsInside) {
    EXPECT_EQ(cropped(ns::crop_both, "\tx y ", ns::WHITESPACE), "x y");
    EXPECT_EQ(cropped(ns::crop_both, "   ", ns::WHITESPACE), "");
    EXPECT_EQ(cropped(ns::crop_both, "", ns::WHITESPACE), "");
    EXPECT_EQ(cropped(ns::crop_both, " a ", ""), " a ");
}

TEST(CropBoth, AgreesWithTheModel) {
    expect_like_model(ns::crop_both, ns::trim_both, [](std::string text, const std::string& set) {
        return text_model::crop_both(text, set);
    });
}

TEST(Crop, KnowsEveryByte) {
    for (const char c : texts::all_bytes()) {
        const std::string set(1, c);
        const char other = c == 'x' ? 'y' : 'x';
        const std::string inner = std::string(1, other) + c + other;
        EXPECT_EQ(cropped(ns::crop_both, c + inner + c, set), inner) << int{to_byte(c)};
    }
}

TEST(Crop, TakesTheTextAsItsOwnSet) {
    for (const Crop crop : {Crop{ns::crop_left}, Crop{ns::crop_right}, Crop{ns::crop_both}}) {
        std::string text = "a longer text than fits into the object";
        crop(text, text);
        EXPECT_EQ(text, "");
    }
}

TEST(Trim, LeavesItsArgumentUnchanged) {
    for (const Trim trim : {Trim{ns::trim_left}, Trim{ns::trim_right}, Trim{ns::trim_both}}) {
        const std::string text = "  a  ";
        const std::string set = " ";
        trim(text, set);
        EXPECT_EQ(text, "  a  ");
        EXPECT_EQ(set, " ");
    }
}

TEST(Trim, ReturnsTheCroppedCopy) {
    EXPECT_EQ(ns::trim_left("\t x y \n", ns::WHITESPACE), "x y \n");
    EXPECT_EQ(ns::trim_right("\t x y \n", ns::WHITESPACE), "\t x y");
    EXPECT_EQ(ns::trim_both("\t x y \n", ns::WHITESPACE), "x y");
}

TEST(Trim, TakesTheTextAsItsOwnSet) {
    const std::string text = "abc";
    EXPECT_EQ(ns::trim_left(text, text), "");
    EXPECT_EQ(ns::trim_right(text, text), "");
    EXPECT_EQ(ns::trim_both(text, text), "");
}

// Search, replace and span

namespace {

std::pair<bool, std::string> replaced(std::string text, const std::string& from,
                                      const std::string& to) {
    const bool found = ns::replace(text, from, to);
    return {found, text};
}

using Replaced = std::pair<bool, std::string>;

} // namespace

TEST(Replace, ReplacesEveryOccurrence) {
    EXPECT_EQ(replaced("a.b.c", ".", "-"), Replaced(true, "a-b-c"));
    EXPECT_EQ(replaced("abcabc", "bc", ""), Replaced(true, "aa"));
    EXPECT_EQ(replaced("abc", "abc", "x"), Replaced(true, "x"));
    EXPECT_EQ(replaced(".", ".", ""), Replaced(true, ""));
}

TEST(Replace, ReturnsFalseAndLeavesTheTextWhenNothingIsFound) {
    EXPECT_EQ(replaced("abc", "x", "y"), Replaced(false, "abc"));
    EXPECT_EQ(replaced("", "x", "y"), Replaced(false, ""));
    EXPECT_EQ(replaced("abc", "abcd", "y"), Replaced(false, "abc"));
    EXPECT_EQ(replaced("abc", "B", "y"), Replaced(false, "abc"));
}

TEST(Replace, DoesNotSearchInsertedText) {
    EXPECT_EQ(replaced("a.b.c", ".", ".."), Replaced(true, "a..b..c"));
    EXPECT_EQ(replaced("aab", "ab", "aab"), Replaced(true, "aaab"));
    EXPECT_EQ(replaced("aabb", "ab", ""), Replaced(true, "ab"));
}

TEST(Replace, TakesOccurrencesFromTheLeftWithoutOverlaps) {
    EXPECT_EQ(replaced("aaa", "aa", "b"), Replaced(true, "ba"));
    EXPECT_EQ(replaced("aaaa", "aa", "b"), Replaced(true, "bb"));
    EXPECT_EQ(replaced("ababa", "aba", "x"), Replaced(true, "xba"));
}

TEST(Replace, ReturnsTrueForAReplacementByTheSameText) {
    EXPECT_EQ(replaced("abc", "b", "b"), Replaced(true, "abc"));
}

TEST(Replace, TakesNulLikeAnyCharacter) {
    EXPECT_EQ(replaced(std::string("a\0b", 3), std::string(1, '\0'), "-"), Replaced(true, "a-b"));
    EXPECT_EQ(replaced("a-b", "-", std::string(2, '\0')), Replaced(true, std::string("a\0\0b", 4)));
}

TEST(Replace, TakesTheTextAsAnyArgument) {
    std::string text = "aba";
    EXPECT_TRUE(ns::replace(text, text, "x"));
    EXPECT_EQ(text, "x");

    text = "aba";
    EXPECT_TRUE(ns::replace(text, "a", text));
    EXPECT_EQ(text, "abababa");

    text = "aba";
    EXPECT_TRUE(ns::replace(text, text, text));
    EXPECT_EQ(text, "aba");

    const std::string both = "b";
    text = "aba";
    EXPECT_TRUE(ns::replace(text, both, both));
    EXPECT_EQ(text, "aba");
}

TEST(Replace, AgreesWithTheModel) {
    const std::vector<std::string> froms = texts::over<std::string>("ab", 3);
    const std::vector<std::string> tos = texts::over<std::string>("ab", 3);
    for (const std::string& text : texts::over<std::string>("ab", 7)) {
        for (const std::string& from : froms) {
            for (const std::string& to : tos) {
                if (!from.empty()) {
                    ASSERT_EQ(replaced(text, from, to), text_model::replace(text, from, to))
                        << text << '/' << from << '/' << to;
                }
            }
        }
    }
}

TEST(Replace, IsLinearInALongText) {
    std::string text(2000000, '.');
    EXPECT_TRUE(ns::replace(text, ".", "ab"));
    ASSERT_EQ(text.size(), 4000000U);
    EXPECT_TRUE(ns::replace(text, "ab", ""));
    EXPECT_EQ(text, "");
}

// A precondition; builds without assertions replace nothing.
TEST(Replace, RequiresANonEmptySearchText) {
    std::string text = "abc";
    bool found = false;
    EXPECT_DEBUG_DEATH(found = ns::replace(text, "", "x"), "from");
    EXPECT_FALSE(found);
    EXPECT_EQ(text, "abc");
}

namespace {

std::string spanned(std::string text, const std::string& set) {
    ns::SpanIncluding(text, set);
    return text;
}

} // namespace

TEST(SpanIncluding, KeepsTheLeadingRunOfTheSet) {
    EXPECT_EQ(spanned("123abc", DIGITS), "123");
    EXPECT_EQ(spanned("1a2b3", DIGITS), "1");
}

TEST(SpanIncluding, KeepsATextOfSetCharactersWhole) {
    EXPECT_EQ(spanned("123", DIGITS), "123");
    EXPECT_EQ(spanned("", DIGITS), "");
}

TEST(SpanIncluding, EmptiesATextThatStartsOutsideTheSet) { EXPECT_EQ(spanned("abc", DIGITS), ""); }

TEST(SpanIncluding, EmptiesTheTextForAnEmptySet) {
    EXPECT_EQ(spanned("123", ""), "");
    EXPECT_EQ(spanned("", ""), "");
}

TEST(SpanIncluding, TakesTheTextAsItsOwnSet) {
    std::string text = "abcabc";
    ns::SpanIncluding(text, text);
    EXPECT_EQ(text, "abcabc");
}

TEST(SpanIncluding, AgreesWithTheModel) {
    const std::string alphabet("ab\0", 3);
    const std::vector<std::string> sets = texts::over<std::string>(alphabet, 3);
    for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
        for (const std::string& set : sets) {
            std::string expected;
            for (std::size_t i = 0; i < text.size() && contains(set, text[i]); ++i) {
                expected += text[i];
            }
            ASSERT_EQ(spanned(text, set), expected) << text << '/' << set;
        }
    }
}

TEST(Ifind, FindsTheFirstOccurrenceRegardlessOfCase) {
    EXPECT_EQ(ns::ifind("Hello World", "WORLD"), 6);
    EXPECT_EQ(ns::ifind("Hello World", "hello"), 0);
    EXPECT_EQ(ns::ifind("abcABC", "AbC"), 0);
    EXPECT_EQ(ns::ifind("xaXa", "XA"), 0);
    EXPECT_EQ(ns::ifind("Hello World", "o"), 4);
}

TEST(Ifind, IsMinusOneWhenThereIsNone) {
    EXPECT_EQ(ns::ifind("Hello World", "worlds"), -1);
    EXPECT_EQ(ns::ifind("ab", "abc"), -1);
    EXPECT_EQ(ns::ifind("abc", "d"), -1);
}

TEST(Ifind, IsMinusOneForAnEmptyText) {
    EXPECT_EQ(ns::ifind("abc", ""), -1);
    EXPECT_EQ(ns::ifind("", "abc"), -1);
    EXPECT_EQ(ns::ifind("", ""), -1);
}

// A start that fails late is followed by one that overlaps it.
TEST(Ifind, MovesOnByOnePosition) {
    EXPECT_EQ(ns::ifind("aaab", "AAB"), 1);
    EXPECT_EQ(ns::ifind("ababac", "abac"), 2);
    EXPECT_EQ(ns::ifind("xab", "ab"), 1);
}

TEST(Ifind, TakesNulLikeAnyCharacter) {
    EXPECT_EQ(ns::ifind(std::string("a\0B", 3), "b"), 2);
    EXPECT_EQ(ns::ifind(std::string("a\0B", 3), std::string("\0b", 2)), 1);
}

TEST(Ifind, TakesTheSameTextTwice) {
    const std::string text = "abc";
    EXPECT_EQ(ns::ifind(text, text), 0);
}

TEST(Ifind, AgreesWithTheModel) {
    const std::vector<std::string> needles = texts::over<std::string>("aAb", 3);
    for (const std::string& haystack : texts::over<std::string>("aAb", 6)) {
        for (const std::string& needle : needles) {
            ASSERT_EQ(ns::ifind(haystack, needle), text_model::ifind(haystack, needle))
                << haystack << '/' << needle;
        }
    }
}

TEST(Ifind, FoldsOnlyAsciiLettersInTheClassicLocale) {
    for (const char a : texts::all_bytes()) {
        for (const char b : texts::all_bytes()) {
            ASSERT_EQ(ns::ifind(std::string(1, a), std::string(1, b)),
                      text_model::upper(a) == text_model::upper(b) ? 0 : -1)
                << int{to_byte(a)} << '/' << int{to_byte(b)};
        }
    }
}

TEST(Ifind, FoldsByTheGlobalLocaleAtTheCall) {
    EXPECT_EQ(ns::ifind("a#b", "@"), -1);
    {
        const scoped::GlobalLocale locale(strange_locale());
        EXPECT_EQ(ns::ifind("a#b", "@"), 1);
        EXPECT_EQ(ns::ifind("a@b", "#"), 1);
        EXPECT_EQ(ns::ifind("ab\xe9", "b@"), 1);
        EXPECT_EQ(ns::ifind("ABC", "b"), -1);
        EXPECT_EQ(ns::ifind("ABC", "B"), 1);
    }
    EXPECT_EQ(ns::ifind("a#b", "@"), -1);
    EXPECT_EQ(ns::ifind("ABC", "b"), 1);
}

// Comparison and normalisation

TEST(Icompare, IgnoresCase) {
    EXPECT_EQ(ns::icompare(std::string("abc"), std::string("ABC")), 0);
    EXPECT_EQ(ns::icompare(std::string(""), std::string("")), 0);
    EXPECT_LT(ns::icompare(std::string("a"), std::string("B")), 0);
    EXPECT_GT(ns::icompare(std::string("b"), std::string("A")), 0);
}

TEST(Icompare, PutsAPrefixFirst) {
    EXPECT_LT(ns::icompare(std::string("ab"), std::string("ABC")), 0);
    EXPECT_GT(ns::icompare(std::string("abc"), std::string("AB")), 0);
    EXPECT_LT(ns::icompare(std::string(""), std::string("a")), 0);
    EXPECT_GT(ns::icompare(std::string("a"), std::string("")), 0);
    EXPECT_LT(ns::icompare(std::string("ab"), std::string("ab\0", 3)), 0);
}

TEST(Icompare, TakesTheFirstDifferenceBeforeTheLength) {
    EXPECT_LT(ns::icompare(std::string("abz"), std::string("b")), 0);
    EXPECT_GT(ns::icompare(std::string("b"), std::string("abz")), 0);
}

TEST(Icompare, LooksBehindNul) {
    EXPECT_LT(ns::icompare(std::string("a\0b", 3), std::string("a\0c", 3)), 0);
    EXPECT_EQ(ns::icompare(std::string("a\0b", 3), std::string("A\0B", 3)), 0);
}

// '_' stands between the upper-case and the lower-case letters.
TEST(Icompare, ComparesInUpperCase) {
    EXPECT_LT(ns::icompare(std::string("a"), std::string("_")), 0);
    EXPECT_LT(ns::icompare(std::string("Z"), std::string("_")), 0);
    EXPECT_GT(ns::icompare(std::string("_"), std::string("z")), 0);
}

TEST(Icompare, OrdersEveryPairOfBytesAsUnsignedUpperCase) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const char a : texts::all_bytes()) {
            for (const char b : texts::all_bytes()) {
                const int expected = to_byte(text_model::upper(a)) - to_byte(text_model::upper(b));
                ASSERT_EQ(sign(ns::icompare(std::string(1, a), std::string(1, b))), sign(expected))
                    << int{to_byte(a)} << '/' << int{to_byte(b)} << " in " << name;
            }
        }
    }
}

TEST(Icompare, AgreesWithTheModel) {
    const std::vector<std::string> texts = texts::over<std::string>("aAb_", 4);
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            ASSERT_EQ(sign(ns::icompare(a, b)),
                      sign(text_model::upper(a).compare(text_model::upper(b))))
                << a << '/' << b;
        }
    }
}

// The pairs differ at one place of texts that differ in case everywhere else.
TEST(Icompare, OrdersLongTextsByTheUpperCaseOfTheLocaleAtEveryPlace) {
    const strange_ctype::Locale locale;
    const std::pair<char, char> pairs[] = {{'i', 'I'}, {'I', 'i'}, {'\xe9', '\xc9'}, {'a', 'A'},
                                           {'a', 'b'}, {'@', '`'}, {'[', '{'},       {'z', 'Z'}};
    for (std::size_t size = 1; size <= 80; ++size) {
        for (std::size_t place = 0; place < size; ++place) {
            for (const auto& [one, other] : pairs) {
                std::string a(size, 'x');
                std::string b(size, 'X');
                a[place] = one;
                b[place] = other;
                const int expected = locale.upper(one) - locale.upper(other);
                ASSERT_EQ(sign(ns::icompare(a, b)), sign(expected)) << a << '/' << b;
                a += '\xe9';
                b += 'A'; // behind what is the same
                ASSERT_EQ(sign(ns::icompare(a, b)), expected != 0 ? sign(expected) : 1)
                    << a << '/' << b;
            }
        }
    }
}

TEST(Icompare, TakesCStringsOnEitherSide) {
    const std::string text = "Key";
    for (const auto& [other, expected] : std::vector<std::pair<const char*, int>>{
             {"kEY", 0}, {"KEZ", -1}, {"kex", 1}, {"ke", 1}, {"keys", -1}, {"", 1}}) {
        EXPECT_EQ(sign(ns::icompare(text, other)), expected) << other;
        EXPECT_EQ(sign(ns::icompare(other, text)), -expected) << other;
        EXPECT_EQ(sign(ns::icompare(text.c_str(), other)), expected) << other;
        EXPECT_EQ(sign(ns::icompare(text, std::string(other))), expected) << other;
    }
}

TEST(Icompare, ReadsCStringsUpToTheirNul) {
    EXPECT_EQ(ns::icompare("ab\0c", std::string("AB")), 0);
    EXPECT_EQ(ns::icompare("ab\0c", "AB\0D"), 0);
    EXPECT_GT(ns::icompare(std::string("ab\0c", 4), "ab"), 0);
}

TEST(Icompare, TakesNullForTheEmptyText) {
    const char* const null = nullptr;
    EXPECT_EQ(ns::icompare(null, null), 0);
    EXPECT_EQ(ns::icompare(null, ""), 0);
    EXPECT_EQ(ns::icompare("", null), 0);
    EXPECT_EQ(ns::icompare(null, std::string()), 0);
    EXPECT_EQ(ns::icompare(std::string(), null), 0);
    EXPECT_LT(ns::icompare(null, "a"), 0);
    EXPECT_GT(ns::icompare("a", null), 0);
    EXPECT_LT(ns::icompare(null, std::string("a")), 0);
    EXPECT_GT(ns::icompare(std::string("a"), null), 0);
    EXPECT_LT(ns::icompare(null, std::string(1, '\0')), 0);
}

TEST(Icompare, TakesTheSameTextTwice) {
    const std::string text = "abc";
    EXPECT_EQ(ns::icompare(text, text), 0);
    EXPECT_EQ(ns::icompare(text.c_str(), text), 0);
}

TEST(Icompare, DoesNotLookAtTheStdLocale) {
    const scoped::GlobalLocale locale(strange_locale());
    EXPECT_EQ(ns::icompare("abc", "ABC"), 0);
    EXPECT_LT(ns::icompare("#", "@"), 0);
}

TEST(CaseInsensitiveCompare, IsTrueWhenTheComparisonIsNegative) {
    const ns::CaseInsensitiveCompare less{};
    EXPECT_TRUE(less("ab", "ABC"));
    EXPECT_FALSE(less("ABC", "ab"));
    EXPECT_FALSE(less("abc", "ABC"));
    EXPECT_TRUE(less("a", "_"));
    EXPECT_FALSE(less("", ""));
}

TEST(CaseInsensitiveCompare, OrdersLikeIcompare) {
    const ns::CaseInsensitiveCompare less{};
    const std::vector<std::string> texts = texts::over<std::string>("aB\xff", 3);
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            ASSERT_EQ(less(a, b), ns::icompare(a, b) < 0) << a << '/' << b;
        }
    }
}

TEST(CaseInsensitiveCompare, HasNoData) {
    EXPECT_TRUE(std::is_empty_v<ns::CaseInsensitiveCompare>);
    EXPECT_TRUE((std::is_same_v<decltype(&ns::CaseInsensitiveCompare::operator()),
                                bool (ns::CaseInsensitiveCompare::*)(const std::string&,
                                                                     const std::string&) const>));
}

TEST(CaseInsensitiveCompare, MakesOneMapKeyOfNamesThatDifferInCase) {
    std::map<std::string, int, ns::CaseInsensitiveCompare> map;
    map["Key"] = 1;
    map["KEY"] = 2;
    map["other"] = 3;
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.at("kEy"), 2);
    EXPECT_EQ(map.begin()->first, "Key");
}

namespace {

std::string normalised(const std::string& source) {
    std::string destination = "what stood there before";
    ns::NormalizeNameCaseInsensitive(source, destination);
    std::string text = source;
    ns::NormalizeNameCaseInsensitive(text);
    EXPECT_EQ(text, destination) << "the two forms differ";
    return destination;
}

} // namespace

TEST(Normalize, GivesUpperCase) {
    EXPECT_EQ(normalised("Backup-7.vmdk"), "BACKUP-7.VMDK");
    EXPECT_EQ(normalised(""), "");
    EXPECT_EQ(normalised("ABC"), "ABC");
    EXPECT_EQ(normalised(std::string("a\0b", 3)), std::string("A\0B", 3));
}

TEST(Normalize, ResizesTheDestination) {
    std::string destination;
    ns::NormalizeNameCaseInsensitive(std::string(100, 'x'), destination);
    EXPECT_EQ(destination, std::string(100, 'X'));
    ns::NormalizeNameCaseInsensitive("a", destination);
    EXPECT_EQ(destination, "A");
}

TEST(Normalize, LeavesTheSourceUnchanged) {
    const std::string source = "abc";
    std::string destination;
    ns::NormalizeNameCaseInsensitive(source, destination);
    EXPECT_EQ(source, "abc");
    EXPECT_EQ(destination, "ABC");
}

TEST(Normalize, ChangesOnlyAsciiLetters) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        EXPECT_EQ(normalised(texts::all_bytes()), text_model::upper(texts::all_bytes())) << name;
    }
}

TEST(Normalize, DoesNotLookAtTheStdLocale) {
    const scoped::GlobalLocale locale(strange_locale());
    EXPECT_EQ(normalised("a#\xe9"), "A#\xe9");
}

TEST(Normalize, TakesTheSourceAsDestination) {
    std::string text = "abc";
    ns::NormalizeNameCaseInsensitive(text, text);
    EXPECT_EQ(text, "ABC");
}

TEST(Normalize, GivesOneTextForEqualNames) {
    const std::vector<std::string> texts = texts::over<std::string>("aAb_", 3);
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            ASSERT_EQ(normalised(a) == normalised(b), ns::icompare(a, b) == 0) << a << '/' << b;
        }
    }
}

TEST(Normalize, NeverThrowsInPlace) {
    EXPECT_TRUE(noexcept(ns::NormalizeNameCaseInsensitive(std::declval<std::string&>())));
}

// Bounded C strings

TEST(Strlcat, AppendsWhatFits) {
    char buffer[16] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, "defghij", 8), buffer);
    EXPECT_STREQ(buffer, "abcdefg");
}

TEST(Strlcat, AppendsAllThatFits) {
    char buffer[16] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, "de", 16), buffer);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(ns::strlcat(buffer, "", 16), buffer);
    EXPECT_STREQ(buffer, "abcde");
}

TEST(Strlcat, AppendsNothingToAFullSpace) {
    char buffer[16] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, "d", 4), buffer);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Strlcat, TouchesNothingWithoutANulInsideTheSize) {
    for (unsigned int size = 0; size <= 3; ++size) {
        char buffer[] = "abc";
        EXPECT_EQ(ns::strlcat(buffer, "xyz", size), buffer);
        EXPECT_STREQ(buffer, "abc") << size;
    }
}

TEST(Strlcat, TakesANullSourceForTheEmptyText) {
    char buffer[8] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, nullptr, 8), buffer);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Strlcat, ReadsNoMoreOfTheSourceThanItTakes) {
    const std::vector<char> source{'d', 'e', 'f'}; // without a NUL
    char buffer[16] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, source.data(), 7), buffer);
    EXPECT_STREQ(buffer, "abcdef");
}

TEST(Strlcat, ReadsNoMoreOfTheDestinationThanItsSize) {
    std::vector<char> destination{'a', 'b', 'c'}; // without a NUL
    EXPECT_EQ(ns::strlcat(destination.data(), "xyz", 3), destination.data());
    EXPECT_EQ(std::string(destination.begin(), destination.end()), "abc");
}

TEST(Strlcat, TakesASourceInsideTheDestination) {
    char buffer[16] = "abcd";
    ns::strlcat(buffer, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "abcdabcd");
    ns::strlcat(buffer, buffer + 6, sizeof buffer);
    EXPECT_STREQ(buffer, "abcdabcdcd");
    ns::strlcat(buffer, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "abcdabcdcdabcda");
}

TEST(Strlcat, TakesASourceBehindTheEndOfTheDestination) {
    char buffer[16] = "ab\0cdefgh";
    EXPECT_EQ(ns::strlcat(buffer, buffer + 3, sizeof buffer), buffer);
    EXPECT_STREQ(buffer, "abcdefgh");
}

TEST(Strlcat, TakesADestinationInsideTheSource) {
    char buffer[16] = "abcdef";
    EXPECT_EQ(ns::strlcat(buffer + 2, buffer, 14), buffer + 2);
    EXPECT_STREQ(buffer, "abcdefabcdef");
}

TEST(Strlcat, TakesTheLargestSize) {
    char buffer[16] = "abc";
    EXPECT_EQ(ns::strlcat(buffer, "def", UINT_MAX), buffer);
    EXPECT_STREQ(buffer, "abcdef");
}

// Every length of both texts and every size, with every byte of the space looked at.
TEST(Strlcat, AgreesWithTheModel) {
    for (std::size_t length = 0; length <= 5; ++length) {
        for (std::size_t added = 0; added <= 6; ++added) {
            for (unsigned int size = 0; size <= 12; ++size) {
                const std::string source = std::string("uvwxyz").substr(0, added);
                std::string space = std::string("abcde").substr(0, length) + '\0';
                space.resize(14, '~');
                std::string expected = space;
                if (length < size) {
                    const std::string taken = source.substr(0, size - 1 - length) + '\0';
                    expected.replace(length, taken.size(), taken);
                }
                ASSERT_EQ(ns::strlcat(space.data(), source.c_str(), size), space.data());
                ASSERT_EQ(space, expected) << length << '/' << added << '/' << size;
            }
        }
    }
}

TEST(Strlcpy, CopiesWhatFits) {
    char buffer[16] = "~~~~~~~~~~~~~~~";
    EXPECT_EQ(ns::strlcpy(buffer, "abcdef", 4), buffer);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Strlcpy, DropsWhatTheDestinationHeld) {
    char buffer[16] = "something";
    EXPECT_EQ(ns::strlcpy(buffer, "ab", 16), buffer);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(ns::strlcpy(buffer, "", 16), buffer);
    EXPECT_STREQ(buffer, "");
}

TEST(Strlcpy, OnlyTerminatesASpaceOfOne) {
    char buffer[] = "~~";
    EXPECT_EQ(ns::strlcpy(buffer, "abc", 1), buffer);
    EXPECT_EQ(std::string(buffer, 3), std::string("\0~\0", 3));
}

TEST(Strlcpy, DoesNothingAndReturnsNullForASizeOfZero) {
    char buffer[] = "~~";
    EXPECT_EQ(ns::strlcpy(buffer, "abc", 0), nullptr);
    EXPECT_STREQ(buffer, "~~");
    EXPECT_EQ(ns::strlcpy(nullptr, "abc", 0), nullptr);
    EXPECT_EQ(ns::strlcpy(nullptr, nullptr, 0), nullptr);
}

TEST(Strlcpy, TakesANullSourceForTheEmptyText) {
    char buffer[] = "~~";
    EXPECT_EQ(ns::strlcpy(buffer, nullptr, 3), buffer);
    EXPECT_STREQ(buffer, "");
}

TEST(Strlcpy, ReadsNoMoreOfTheSourceThanItTakes) {
    const std::vector<char> source{'a', 'b', 'c'}; // without a NUL
    char buffer[8];
    EXPECT_EQ(ns::strlcpy(buffer, source.data(), 4), buffer);
    EXPECT_STREQ(buffer, "abc");
}

TEST(Strlcpy, TakesASourceBehindTheStartOfTheDestination) {
    char buffer[16] = "abcdef";
    EXPECT_EQ(ns::strlcpy(buffer, buffer + 2, sizeof buffer), buffer);
    EXPECT_STREQ(buffer, "cdef");
}

TEST(Strlcpy, AgreesWithTheModel) {
    for (std::size_t length = 0; length <= 6; ++length) {
        for (unsigned int size = 1; size <= 9; ++size) {
            const std::string source = std::string("uvwxyz").substr(0, length);
            std::string space(10, '~');
            const std::string taken = source.substr(0, size - 1) + '\0';
            std::string expected = space;
            expected.replace(0, taken.size(), taken);
            ASSERT_EQ(ns::strlcpy(space.data(), source.c_str(), size), space.data());
            ASSERT_EQ(space, expected) << length << '/' << size;
        }
    }
}

// Taking text apart

namespace {

using words_model::Closed;
using words_model::Count;
using words_model::Fields;
using words_model::Pairs;
using words_model::ShellWord;

constexpr std::size_t MANY = 1000000;

std::string shown(const std::string& text) { return testing::PrintToString(text); }

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (; count != 0; --count) {
        all += text;
    }
    return all;
}

// Every byte between two letters, and every pair of bytes.
std::vector<std::string> texts_of_every_byte() {
    std::vector<std::string> texts;
    for (const char a : texts::all_bytes()) {
        texts.push_back(std::string{'x', a, 'y'});
        for (const char b : texts::all_bytes()) {
            texts.push_back(std::string{a, b});
        }
    }
    return texts;
}

// Some fit inside of a string object, some do not. A test that fails shows its text.
std::vector<std::string> random_texts() {
    std::mt19937 engine(static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)));
    const std::string alphabet = std::string(" \t,\"'\\=aaabbc\x80\xff") + '\0';
    std::vector<std::string> texts(1000);
    for (std::string& text : texts) {
        text.resize(engine() % 100);
        for (char& c : text) {
            c = alphabet[engine() % alphabet.size()];
        }
    }
    return texts;
}

ShellWord read_word(const std::string& text, std::size_t position = 0) {
    const char* cursor = text.c_str() + position;
    std::string word = "what stood there before";
    const bool found = ns::unixshellstring_get_word(&cursor, word);
    return {found, word, cursor - text.c_str()};
}

// Word by word to the end, and once more there. Empty words are passed over; each takes a character
// at least.
template <class Read>
std::vector<ShellWord> words_by(Read read, const std::string& text) {
    std::vector<ShellWord> words;
    std::size_t position = 0;
    for (bool at_end = false; !at_end && words.size() <= text.size();) {
        at_end = position == text.size();
        words.push_back(read(text, position));
        position = std::get<std::size_t>(words.back());
    }
    return words;
}

std::string without_nuls(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    return text;
}

} // namespace

TEST(ShellWord, ReadsWordByWord) {
    const char* const text = "  foo bar";
    const char* cursor = text;
    std::string word;
    EXPECT_TRUE(ns::unixshellstring_get_word(&cursor, word));
    EXPECT_EQ(word, "foo");
    EXPECT_EQ(cursor, text + 5);
    EXPECT_TRUE(ns::unixshellstring_get_word(&cursor, word));
    EXPECT_EQ(word, "bar");
    EXPECT_EQ(cursor, text + 9);
    EXPECT_FALSE(ns::unixshellstring_get_word(&cursor, word));
    EXPECT_EQ(word, "");
    EXPECT_EQ(cursor, text + 9);
}

TEST(ShellWord, KeepsWhatIsQuotedTogether) {
    EXPECT_EQ(read_word("\"a b\"c"), ShellWord(true, "a bc", 6));
    EXPECT_EQ(read_word("'a \t\n b' c"), ShellWord(true, "a \t\n b", 8));
    EXPECT_EQ(read_word("a\"b\"'c'd e"), ShellWord(true, "abcd", 8));
    EXPECT_EQ(read_word("'a=b'=c"), ShellWord(true, "a=b", 5));
}

TEST(ShellWord, KeepsTheOtherQuoteInsideQuotes) {
    EXPECT_EQ(read_word("'say \"hi\"'"), ShellWord(true, "say \"hi\"", 10));
    EXPECT_EQ(read_word("\"it's\""), ShellWord(true, "it's", 6));
}

TEST(ShellWord, TakesWhatABackslashStandsInFrontOf) {
    EXPECT_EQ(read_word("a\\ b"), ShellWord(true, "a b", 4));
    EXPECT_EQ(read_word("\\\\"), ShellWord(true, "\\", 2));
    EXPECT_EQ(read_word("\\\"\\'"), ShellWord(true, "\"'", 4));
    EXPECT_EQ(read_word("a\\=b"), ShellWord(true, "a=b", 4));
    EXPECT_EQ(read_word("\\n\\t"), ShellWord(true, "nt", 4));
    EXPECT_EQ(read_word(" \\ "), ShellWord(true, " ", 3));
}

TEST(ShellWord, KnowsTheBackslashInBothKindsOfQuotes) {
    EXPECT_EQ(read_word("\"a\\\"b\""), ShellWord(true, "a\"b", 6));
    EXPECT_EQ(read_word("'a\\'b'"), ShellWord(true, "a'b", 6));
    EXPECT_EQ(read_word("'a\\b\\\\c'"), ShellWord(true, "ab\\c", 8));
    EXPECT_EQ(read_word("\"\\=\\ \""), ShellWord(true, "= ", 6));
}

TEST(ShellWord, IsAnEqualsSignOfItsOwn) {
    const std::string text = "key=val";
    EXPECT_EQ(read_word(text, 0), ShellWord(true, "key", 3));
    EXPECT_EQ(read_word(text, 3), ShellWord(true, "=", 4));
    EXPECT_EQ(read_word(text, 4), ShellWord(true, "val", 7));
    EXPECT_EQ(read_word("=="), ShellWord(true, "=", 1));
    EXPECT_EQ(read_word(" =x"), ShellWord(true, "=", 2));
    EXPECT_EQ(read_word("''=x"), ShellWord(true, "=", 3));
}

TEST(ShellWord, RunsToTheEndWhenAQuoteIsLeftOpen) {
    EXPECT_EQ(read_word("'a b"), ShellWord(true, "a b", 4));
    EXPECT_EQ(read_word("a\"b = '"), ShellWord(true, "ab = '", 7));
    EXPECT_EQ(read_word("\""), ShellWord(false, "", 1));
}

TEST(ShellWord, DropsABackslashAtTheEnd) {
    EXPECT_EQ(read_word("a\\"), ShellWord(true, "a", 2));
    EXPECT_EQ(read_word("\\"), ShellWord(false, "", 1));
    EXPECT_EQ(read_word("'a\\"), ShellWord(true, "a", 3));
}

TEST(ShellWord, IsFalseForAnEmptyPairOfQuotesAndMovesPastIt) {
    EXPECT_EQ(read_word("'' b"), ShellWord(false, "", 2));
    EXPECT_EQ(read_word(" \"\""), ShellWord(false, "", 3));
    EXPECT_EQ(read_word("''\"\"''"), ShellWord(false, "", 6));
    EXPECT_EQ(read_word("''a"), ShellWord(true, "a", 3));
}

TEST(ShellWord, IsFalseAtTheEnd) {
    EXPECT_EQ(read_word(""), ShellWord(false, "", 0));
    EXPECT_EQ(read_word("abc", 3), ShellWord(false, "", 3));
    EXPECT_EQ(read_word(" \t\r\n\v\f"), ShellWord(false, "", 6));
}

TEST(ShellWord, TakesNullForTheEmptyText) {
    std::string word = "what stood there before";
    EXPECT_FALSE(ns::unixshellstring_get_word(nullptr, word));
    EXPECT_EQ(word, "");

    word = "what stood there before";
    const char* cursor = nullptr;
    EXPECT_FALSE(ns::unixshellstring_get_word(&cursor, word));
    EXPECT_EQ(word, "");
    EXPECT_EQ(cursor, nullptr);
}

TEST(ShellWord, AgreesWithTheModel) {
    for (const std::string& text : texts::over<std::string>("a \t\\\"'=", 6)) {
        ASSERT_EQ(words_by(read_word, text), words_by(words_model::word, text)) << shown(text);
    }
}

TEST(ShellWord, AgreesWithTheModelOnLongTexts) {
    for (const std::string& text : random_texts()) {
        const std::string c_string = without_nuls(text);
        ASSERT_EQ(words_by(read_word, c_string), words_by(words_model::word, c_string))
            << shown(c_string);
    }
}

TEST(ShellWord, KnowsEveryByte) {
    const scoped::GlobalLocale without_white_space(strange_locale());
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const std::string& text : texts_of_every_byte()) {
            if (!contains(text, '\0')) {
                ASSERT_EQ(words_by(read_word, text), words_by(words_model::word, text))
                    << shown(text) << " in " << name;
            }
        }
    }
}

TEST(ShellWord, ReadsNothingBehindTheEnd) {
    for (const std::string& text : texts::over<std::string>("a \\'=", 4)) {
        const guarded::Text<char> copy(text + '\0');
        const char* cursor = copy.data();
        std::string word;
        for (std::size_t call = 0; call <= text.size(); ++call) {
            ns::unixshellstring_get_word(&cursor, word);
        }
        ASSERT_EQ(cursor, copy.data() + text.size()) << shown(text);
    }
}

TEST(ShellWord, TakesTextsOfAMillionCharactersAndWords) {
    const std::string quoted = '"' + repeated("\\a ", MANY) + '"';
    EXPECT_EQ(read_word(quoted), ShellWord(true, repeated("a ", MANY), 3 * MANY + 2));
    EXPECT_EQ(read_word(std::string(MANY, '"')), ShellWord(false, "", MANY));
    EXPECT_EQ(read_word(std::string(MANY, ' ')), ShellWord(false, "", MANY));

    const std::string words = repeated("'ab' ", MANY);
    const char* cursor = words.c_str();
    std::size_t count = 0;
    for (std::string word; ns::unixshellstring_get_word(&cursor, word); ++count) {
        ASSERT_EQ(word, "ab");
    }
    EXPECT_EQ(count, MANY);
}

namespace {

Count keyed_values(const std::string& text, Pairs pairs = {}) {
    const int count = ns::unixshellstring_get_keyed_values(text.c_str(), pairs);
    return {count, pairs};
}

} // namespace

TEST(KeyedValues, ReadsPairs) {
    EXPECT_EQ(keyed_values("a=b c = d"), Count(2, {{"a", "b"}, {"c", "d"}}));
    EXPECT_EQ(keyed_values("'a key'=\"a value\""), Count(1, {{"a key", "a value"}}));
    EXPECT_EQ(keyed_values("\ta\n=\r b"), Count(1, {{"a", "b"}}));
}

TEST(KeyedValues, KeepsTheFirstValueOfAKeyAndCountsEach) {
    EXPECT_EQ(keyed_values("x = 1 y=2 x=3"), Count(3, {{"x", "1"}, {"y", "2"}}));
}

TEST(KeyedValues, AddsToTheMap) {
    const Pairs before{{"a", "old"}, {"b", "old"}};
    EXPECT_EQ(keyed_values("a=new c=new", before),
              Count(2, {{"a", "old"}, {"b", "old"}, {"c", "new"}}));
    EXPECT_EQ(keyed_values("", before), Count(0, before));
}

TEST(KeyedValues, TakesAValueForTheNextKey) {
    EXPECT_EQ(keyed_values("a = b = c"), Count(2, {{"a", "b"}, {"b", "c"}}));
    EXPECT_EQ(keyed_values("a=a=a=b"), Count(3, {{"a", "a"}}));
}

TEST(KeyedValues, PassesOverWordsWithoutASeparator) {
    EXPECT_EQ(keyed_values("a b c=d e f"), Count(1, {{"c", "d"}}));
    EXPECT_EQ(keyed_values("a b c"), Count(0, {}));
    EXPECT_EQ(keyed_values("a=b c"), Count(1, {{"a", "b"}}));
}

TEST(KeyedValues, DoesNotTakeTheFirstWordForASeparator) {
    EXPECT_EQ(keyed_values("= a"), Count(0, {}));
    EXPECT_EQ(keyed_values("= = a"), Count(1, {{"=", "a"}}));
}

TEST(KeyedValues, TakesASeparatorForAValue) {
    EXPECT_EQ(keyed_values("a = = b"), Count(1, {{"a", "="}}));
    EXPECT_EQ(keyed_values("a===b"), Count(2, {{"a", "="}, {"=", "b"}}));
}

TEST(KeyedValues, TakesAQuotedOrEscapedEqualsSignForASeparator) {
    EXPECT_EQ(keyed_values("a '=' b"), Count(1, {{"a", "b"}}));
    EXPECT_EQ(keyed_values("a \"=\" b"), Count(1, {{"a", "b"}}));
    EXPECT_EQ(keyed_values("a \\= b"), Count(1, {{"a", "b"}}));
    EXPECT_EQ(keyed_values("a '==' b"), Count(0, {}));
    EXPECT_EQ(keyed_values("a ' =' b"), Count(0, {}));
}

TEST(KeyedValues, StopsAtTheFirstEmptyWord) {
    EXPECT_EQ(keyed_values("a=b c='' d=e"), Count(1, {{"a", "b"}}));
    EXPECT_EQ(keyed_values("'' a=b"), Count(0, {}));
}

TEST(KeyedValues, NeedsAValue) {
    EXPECT_EQ(keyed_values("a="), Count(0, {}));
    EXPECT_EQ(keyed_values("a = "), Count(0, {}));
    EXPECT_EQ(keyed_values("a=b="), Count(1, {{"a", "b"}}));
}

TEST(KeyedValues, TakesNullForTheEmptyText) {
    Pairs pairs{{"a", "b"}};
    EXPECT_EQ(ns::unixshellstring_get_keyed_values(nullptr, pairs), 0);
    EXPECT_EQ(pairs, (Pairs{{"a", "b"}}));
}

TEST(KeyedValues, TakesAKeyOrAValueOfTheMapAsText) {
    Pairs pairs{{"a=1 b=2", "b=3 c=4"}};
    EXPECT_EQ(ns::unixshellstring_get_keyed_values(pairs.begin()->first.c_str(), pairs), 2);
    EXPECT_EQ(ns::unixshellstring_get_keyed_values(pairs.at("a=1 b=2").c_str(), pairs), 2);
    EXPECT_EQ(pairs, (Pairs{{"a=1 b=2", "b=3 c=4"}, {"a", "1"}, {"b", "2"}, {"c", "4"}}));
}

TEST(KeyedValues, AgreesWithTheModel) {
    const Pairs before{{"a", "old"}};
    for (const std::string& text : texts::over<std::string>("ab='", 8)) {
        ASSERT_EQ(keyed_values(text, before), words_model::keyed_values(text, before))
            << shown(text);
    }
    for (const std::string& text : texts::over<std::string>("a \t\\\"'=", 5)) {
        ASSERT_EQ(keyed_values(text), words_model::keyed_values(text)) << shown(text);
    }
    for (const std::string& text : random_texts()) {
        const std::string c_string = without_nuls(text);
        ASSERT_EQ(keyed_values(c_string), words_model::keyed_values(c_string)) << shown(c_string);
    }
}

TEST(KeyedValues, TakesAMillionPairs) {
    const std::string text = repeated("key = 'a value' ", MANY);
    Pairs pairs;
    int count = 0;
    small_stack::run([&] { count = ns::unixshellstring_get_keyed_values(text.c_str(), pairs); });
    EXPECT_EQ(count, static_cast<int>(MANY));
    EXPECT_EQ(pairs, (Pairs{{"key", "a value"}}));
}

namespace {

Fields tokenized(const std::string& text, const std::string& delimiters) {
    Fields tokens{"what stood there before", ""};
    ns::tokenize(text, tokens, delimiters);
    return tokens;
}

} // namespace

TEST(Tokenize, StoresTheRunsBetweenDelimiters) {
    EXPECT_EQ(tokenized(" ,a,,b, ", " ,"), (Fields{"a", "b"}));
    EXPECT_EQ(tokenized("a,b", ","), (Fields{"a", "b"}));
    EXPECT_EQ(tokenized("ab cd", ","), (Fields{"ab cd"}));
}

TEST(Tokenize, StoresNothingWithoutATokenAndDropsWhatStoodThere) {
    EXPECT_EQ(tokenized("", " ,"), Fields());
    EXPECT_EQ(tokenized("", ""), Fields());
    EXPECT_EQ(tokenized(",, ,", " ,"), Fields());
}

TEST(Tokenize, StoresTheWholeTextWithoutDelimiters) {
    EXPECT_EQ(tokenized(" a,b ", ""), (Fields{" a,b "}));
}

TEST(Tokenize, KnowsNoQuotesAndNoEscapes) {
    EXPECT_EQ(tokenized("\"a b\" c\\ d", " "), (Fields{"\"a", "b\"", "c\\", "d"}));
}

TEST(Tokenize, TakesNulLikeAnyCharacter) {
    const std::string text("a\0b,\0", 5);
    EXPECT_EQ(tokenized(text, ","), (Fields{std::string("a\0b", 3), std::string(1, '\0')}));
    EXPECT_EQ(tokenized(text, std::string(1, '\0')), (Fields{"a", "b,"}));
    EXPECT_EQ(tokenized(text, std::string("\0,", 2)), (Fields{"a", "b"}));
}

TEST(Tokenize, AgreesWithTheModel) {
    const std::vector<std::string> sets = texts::over<std::string>(std::string(" ,b\0", 4), 2);
    for (const std::string& text : texts::over<std::string>(std::string("a ,b\0", 5), 5)) {
        for (const std::string& set : sets) {
            ASSERT_EQ(tokenized(text, set), words_model::tokenize(text, set))
                << shown(text) << '/' << shown(set);
        }
    }
    for (const std::string& text : random_texts()) {
        ASSERT_EQ(tokenized(text, " ,\xff"), words_model::tokenize(text, " ,\xff")) << shown(text);
    }
}

TEST(Tokenize, KnowsEveryByteAsDelimiterAndAsText) {
    for (const char delimiter : texts::all_bytes()) {
        const std::string set(1, delimiter);
        ASSERT_EQ(tokenized(texts::all_bytes(), set),
                  words_model::tokenize(texts::all_bytes(), set));
        std::string others = texts::all_bytes();
        others.erase(to_byte(delimiter), 1);
        ASSERT_EQ(tokenized(texts::all_bytes(), others), Fields{set});
    }
}

TEST(Tokenize, TakesAMillionTokens) {
    const std::string text = repeated(", a ", MANY);
    Fields tokens;
    small_stack::run([&] { ns::tokenize(text, tokens, ", "); });
    EXPECT_EQ(tokens, Fields(MANY, "a"));
    small_stack::run([&] { ns::tokenize(text, tokens, ", a"); });
    EXPECT_EQ(tokens, Fields());
}

namespace {

// The fields that a function adds to those that are there.
template <class Add>
Fields added_by(Add add) {
    Fields fields{"kept", ""};
    add(fields);
    EXPECT_GE(fields.size(), 2U);
    EXPECT_EQ(Fields(fields.begin(), fields.begin() + 2), (Fields{"kept", ""}));
    return {fields.begin() + 2, fields.end()};
}

Closed quoted_tokens(const std::string& text, char separator) {
    bool closed = false;
    const Fields tokens =
        added_by([&](Fields& fields) { closed = ns::tokenizeQuoted(text, fields, separator); });
    return {closed, tokens};
}

} // namespace

TEST(TokenizeQuoted, KeepsQuotedTokensTogether) {
    EXPECT_EQ(quoted_tokens("one \"two three\" four", ' '),
              Closed(true, {"one", "two three", "four"}));
    EXPECT_EQ(quoted_tokens("a,\"b, c\",d", ','), Closed(true, {"a", "b, c", "d"}));
}

TEST(TokenizeQuoted, SeparatesAtBlanksToo) {
    EXPECT_EQ(quoted_tokens("a b,c , d", ','), Closed(true, {"a", "b", "c", "d"}));
}

TEST(TokenizeQuoted, TakesATabForAnOrdinaryCharacter) {
    EXPECT_EQ(quoted_tokens("a\tb,\tc", ','), Closed(true, {"a\tb", "\tc"}));
    EXPECT_EQ(quoted_tokens("\"a\"\t\"b\"", ','), Closed(true, {"a", "\t", "b"}));
    EXPECT_EQ(quoted_tokens("a\t b", '\t'), Closed(true, {"a", "b"}));
    EXPECT_EQ(quoted_tokens("\t\t", '\t'), Closed(true, {}));
}

TEST(TokenizeQuoted, DropsEmptyFields) {
    EXPECT_EQ(quoted_tokens(",,a,,b,", ','), Closed(true, {"a", "b"}));
    EXPECT_EQ(quoted_tokens("  ", ','), Closed(true, {}));
    EXPECT_EQ(quoted_tokens("", ','), Closed(true, {}));
}

TEST(TokenizeQuoted, KeepsQuotedEmptyFields) {
    EXPECT_EQ(quoted_tokens("\"\"", ','), Closed(true, {""}));
    EXPECT_EQ(quoted_tokens("a,\"\",b", ','), Closed(true, {"a", "", "b"}));
    EXPECT_EQ(quoted_tokens("\"\"\"\"", ','), Closed(true, {"", ""}));
}

TEST(TokenizeQuoted, SplitsAWordAtItsQuotes) {
    EXPECT_EQ(quoted_tokens("ab\"cd\"", ','), Closed(true, {"ab", "cd"}));
    EXPECT_EQ(quoted_tokens("\"ab\"cd\"ef\"", ','), Closed(true, {"ab", "cd", "ef"}));
}

TEST(TokenizeQuoted, IsFalseForAnOpenQuoteAndAddsWhatStandsInFront) {
    EXPECT_EQ(quoted_tokens("a \"b", ' '), Closed(false, {"a"}));
    EXPECT_EQ(quoted_tokens("a\"b c,d", ','), Closed(false, {"a"}));
    EXPECT_EQ(quoted_tokens("\"", ','), Closed(false, {}));
    EXPECT_EQ(quoted_tokens("\"a\" \"b\" \"", ','), Closed(false, {"a", "b"}));
}

TEST(TokenizeQuoted, TakesNulLikeAnyCharacter) {
    const std::string text("a\0b,\"\0\"", 7);
    EXPECT_EQ(quoted_tokens(text, ','),
              Closed(true, {std::string("a\0b", 3), std::string(1, '\0')}));
    EXPECT_EQ(quoted_tokens(text, '\0'), Closed(true, {"a", "b,", std::string(1, '\0')}));
}

TEST(TokenizeQuoted, AgreesWithTheModel) {
    for (const char separator : {',', ' ', 'a', '"'}) {
        for (const std::string& text : texts::over<std::string>("a ,\"", 7)) {
            ASSERT_EQ(quoted_tokens(text, separator), words_model::quoted_tokens(text, separator))
                << shown(text) << '/' << separator;
        }
        for (const std::string& text : random_texts()) {
            ASSERT_EQ(quoted_tokens(text, separator), words_model::quoted_tokens(text, separator))
                << shown(text) << '/' << separator;
        }
    }
}

TEST(TokenizeQuoted, KnowsEveryByteAsSeparatorAndAsText) {
    for (const char separator : texts::all_bytes()) {
        ASSERT_EQ(quoted_tokens(texts::all_bytes() + '"', separator),
                  words_model::quoted_tokens(texts::all_bytes() + '"', separator));
        const std::string text{'a', separator, 'b'};
        ASSERT_EQ(quoted_tokens(text, separator), words_model::quoted_tokens(text, separator));
    }
    for (const std::string& text : texts_of_every_byte()) {
        ASSERT_EQ(quoted_tokens(text, ','), words_model::quoted_tokens(text, ',')) << shown(text);
    }
}

TEST(TokenizeQuoted, TakesAMillionTokens) {
    const std::string text = repeated("\"a b\", ", MANY);
    Fields tokens;
    bool closed = false;
    small_stack::run([&] { closed = ns::tokenizeQuoted(text, tokens, ','); });
    EXPECT_TRUE(closed);
    EXPECT_EQ(tokens, Fields(MANY, "a b"));

    tokens.clear();
    const std::string blanks(MANY, ' ');
    const std::string separators(MANY, ',');
    small_stack::run([&] {
        closed =
            ns::tokenizeQuoted(blanks, tokens, ',') && ns::tokenizeQuoted(separators, tokens, ',');
    });
    EXPECT_TRUE(closed);
    EXPECT_EQ(tokens, Fields());
}

namespace {

Fields list_fields(const std::string& text) {
    Fields fields{"what stood there before", ""};
    ns::tokenizeQuotedString(text, fields);
    return fields;
}

} // namespace

TEST(TokenizeQuotedString, StoresTheFieldsBetweenCommas) {
    EXPECT_EQ(list_fields("a,b c,d"), (Fields{"a", "b c", "d"}));
}

TEST(TokenizeQuotedString, DropsOnePairOfQuotesAndWhatStandsAround) {
    EXPECT_EQ(list_fields("\"a\", x\"b\"y ,\"\""), (Fields{"a", "b", ""}));
    EXPECT_EQ(list_fields("\"a\"b\"c\""), (Fields{"a\"b\"c"}));
    EXPECT_EQ(list_fields("\"\"\""), (Fields{"\""}));
    EXPECT_EQ(list_fields("\" a \""), (Fields{" a "}));
}

TEST(TokenizeQuotedString, KeepsASingleQuoteMark) {
    EXPECT_EQ(list_fields("\"a,b\",\""), (Fields{"\"a", "b\"", "\""}));
}

TEST(TokenizeQuotedString, EndsAFieldAtAQuotedComma) {
    EXPECT_EQ(list_fields(" \"x,y\", z"), (Fields{"\"x", "y\"", "z"}));
}

TEST(TokenizeQuotedString, DropsBlanksInFrontOfAFieldOnly) {
    EXPECT_EQ(list_fields("  a  ,  b  "), (Fields{"a  ", "b  "}));
    EXPECT_EQ(list_fields("\ta,\tb"), (Fields{"\ta", "\tb"}));
}

TEST(TokenizeQuotedString, HasNoEmptyFieldsButQuotedOnes) {
    EXPECT_EQ(list_fields(""), Fields());
    EXPECT_EQ(list_fields(" , ,, "), Fields());
    EXPECT_EQ(list_fields(",a,,,b, ,"), (Fields{"a", "b"}));
    EXPECT_EQ(list_fields("a,\"\",b"), (Fields{"a", "", "b"}));
}

TEST(TokenizeQuotedString, TakesNulLikeAnyCharacter) {
    EXPECT_EQ(list_fields(std::string("\0,a\0\"b\0\"", 8)),
              (Fields{std::string(1, '\0'), std::string("b\0", 2)}));
}

TEST(TokenizeQuotedString, AgreesWithTheModel) {
    for (const std::string& text : texts::over<std::string>("a ,\"", 8)) {
        ASSERT_EQ(list_fields(text), words_model::list_fields(text)) << shown(text);
    }
    for (const std::string& text : random_texts()) {
        ASSERT_EQ(list_fields(text), words_model::list_fields(text)) << shown(text);
    }
}

TEST(TokenizeQuotedString, KnowsEveryByte) {
    for (const std::string& text : texts_of_every_byte()) {
        ASSERT_EQ(list_fields(text), words_model::list_fields(text)) << shown(text);
    }
}

TEST(TokenizeQuotedString, TakesAMillionFields) {
    const std::string text = repeated(" \"a\" ,,", MANY);
    Fields fields;
    small_stack::run([&] { ns::tokenizeQuotedString(text, fields); });
    EXPECT_EQ(fields, Fields(MANY, "a"));

    const std::string quotes(MANY, '"');
    small_stack::run([&] { ns::tokenizeQuotedString(quotes, fields); });
    EXPECT_EQ(fields, Fields{std::string(MANY - 2, '"')});
}

namespace {

Fields split_fields(const std::string& text, char separator) {
    return added_by([&](Fields& fields) { ns::split(text, separator, fields); });
}

} // namespace

TEST(Split, AddsEveryField) {
    EXPECT_EQ(split_fields("a,b,c", ','), (Fields{"a", "b", "c"}));
    EXPECT_EQ(split_fields("abc", ','), (Fields{"abc"}));
    EXPECT_EQ(split_fields("a b", ' '), (Fields{"a", "b"}));
}

TEST(Split, AddsEmptyFieldsToo) {
    EXPECT_EQ(split_fields("", ','), (Fields{""}));
    EXPECT_EQ(split_fields(",", ','), (Fields{"", ""}));
    EXPECT_EQ(split_fields("a,,b", ','), (Fields{"a", "", "b"}));
    EXPECT_EQ(split_fields("a,b,", ','), (Fields{"a", "b", ""}));
    EXPECT_EQ(split_fields(",a", ','), (Fields{"", "a"}));
}

TEST(Split, KnowsNoBlanksQuotesOrEscapes) {
    EXPECT_EQ(split_fields(" \"a,b\" ,\\,", ','), (Fields{" \"a", "b\" ", "\\", ""}));
}

TEST(Split, TakesNulLikeAnyCharacter) {
    EXPECT_EQ(split_fields(std::string("a\0,b", 4), ','), (Fields{std::string("a\0", 2), "b"}));
    EXPECT_EQ(split_fields(std::string("a\0,b", 4), '\0'), (Fields{"a", ",b"}));
    EXPECT_EQ(split_fields("a", '\0'), (Fields{"a"}));
}

TEST(Split, AgreesWithTheModel) {
    for (const char separator : {',', 'a', '\0'}) {
        for (const std::string& text : texts::over<std::string>(std::string("a ,\0", 4), 6)) {
            ASSERT_EQ(split_fields(text, separator), words_model::split(text, separator))
                << shown(text);
        }
        for (const std::string& text : random_texts()) {
            ASSERT_EQ(split_fields(text, separator), words_model::split(text, separator))
                << shown(text);
        }
    }
}

TEST(Split, KnowsEveryByteAsSeparatorAndAsText) {
    for (const char separator : texts::all_bytes()) {
        const std::string text = separator + texts::all_bytes() + separator;
        ASSERT_EQ(split_fields(text, separator), words_model::split(text, separator));
    }
}

TEST(Split, TakesAMillionFields) {
    const std::string text(MANY, ',');
    Fields fields;
    small_stack::run([&] { ns::split(text, ',', fields); });
    EXPECT_EQ(fields, Fields(MANY + 1));
    EXPECT_EQ(split_fields(repeated("ab|", MANY), '|').size(), MANY + 1);
}

// What the functions that make lists have in common

namespace {

// Takes each element of lists of every size as the text; the lists have room to grow, or none.
template <class Tokenize>
void expect_elements_to_serve_as_text(Tokenize tokenize) {
    for (const std::string& text : {std::string("a, \"b c\",,d"), repeated("a, \"b c\",d ", 50)}) {
        for (std::size_t size = 1; size <= 5; ++size) {
            for (std::size_t index = 0; index < size; ++index) {
                for (const std::size_t room : {size, 10 * size, 1000 * size}) {
                    Fields fields;
                    fields.reserve(room);
                    fields.resize(size, "another element, outside of the object");
                    fields[index] = text;
                    Fields expected = fields;
                    tokenize(text, expected);
                    tokenize(fields[index], fields);
                    ASSERT_EQ(fields, expected) << index << " of " << size << ", room " << room;
                }
            }
        }
    }
}

} // namespace

TEST(Fields, ComeAlsoFromAnElementOfTheirList) {
    expect_elements_to_serve_as_text(
        [](const std::string& text, Fields& fields) { ns::tokenize(text, fields, " ,"); });
    expect_elements_to_serve_as_text(
        [](const std::string& text, Fields& fields) { ns::tokenizeQuoted(text, fields, ','); });
    expect_elements_to_serve_as_text(
        [](const std::string& text, Fields& fields) { ns::tokenizeQuotedString(text, fields); });
    expect_elements_to_serve_as_text(
        [](const std::string& text, Fields& fields) { ns::split(text, ',', fields); });
}

TEST(Fields, OfTokenizeTakeAnElementOfTheirListForDelimitersToo) {
    const std::string text = repeated("a, b", 50);
    const Fields expected = words_model::tokenize(text, " ,");
    // The second one is kept outside of the string object, and gone with it.
    for (const std::string& delimiters : {std::string(" ,"), " ," + std::string(100, '#')}) {
        for (const std::size_t room : {2U, 1000U}) {
            Fields fields;
            fields.reserve(room);
            fields = {"x", delimiters};
            ns::tokenize(text, fields, fields[1]);
            EXPECT_EQ(fields, expected);

            fields = {text, delimiters};
            ns::tokenize(fields[0], fields, fields[1]);
            EXPECT_EQ(fields, expected);

            fields = {delimiters, text};
            ns::tokenize(fields[1], fields, fields[0]);
            EXPECT_EQ(fields, expected);

            fields = {text};
            ns::tokenize(fields[0], fields, fields[0]);
            EXPECT_EQ(fields, Fields());
        }
    }
    EXPECT_EQ(tokenized(text, text), Fields());
}

TEST(Fields, LeaveTheTextAsItWas) {
    const std::string text = "a, \"b c\" = 'd'";
    const std::string before = text;
    split_fields(text, ',');
    tokenized(text, text);
    quoted_tokens(text, ',');
    list_fields(text);
    keyed_values(text);
    EXPECT_EQ(text, before);
}

TEST(Fields, AreMadeByFunctionsOfTheseTypes) {
    using Text = const std::string&;
    EXPECT_TRUE((std::is_same_v<decltype(&ns::unixshellstring_get_word),
                                bool (*)(const char**, std::string&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ns::unixshellstring_get_keyed_values),
                                int (*)(const char*, Pairs&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ns::tokenize), void (*)(Text, Fields&, Text)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ns::tokenizeQuoted), bool (*)(Text, Fields&, char)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ns::tokenizeQuotedString), void (*)(Text, Fields&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&ns::split), void (*)(Text, char, Fields&)>));
}

// Formatting

namespace {

// What a format gives through the form for argument lists, used twice, and the list's first
// argument when it is read afterwards.
struct ListRun {
    int count = 0;
    std::string text;
    int second_count = 0;
    std::string second_text;
    int first_argument = 0;
};

__attribute__((format(printf, 1, 2))) ListRun run_list(const char* format, ...) {
    ListRun run;
    va_list arguments;
    va_start(arguments, format);
    run.count = ns::sprintfSafe(run.text, format, arguments);
    run.second_count = ns::sprintfSafe(run.second_text, format, arguments);
    run.first_argument = va_arg(arguments, int);
    va_end(arguments);
    return run;
}

// A wide character that the C locale cannot write.
const wchar_t UNWRITABLE[] = L"a\x20ac";

} // namespace

TEST(SprintfSafe, FormatsAsTheCLibraryDoes) {
    std::string out;
    EXPECT_EQ(ns::sprintfSafe(out, "%s: %d of %5.1f%% [%-4s|%04x]", "done", -3, 12.25, "ab", 255),
              30);
    EXPECT_EQ(out, "done: -3 of  12.2% [ab  |00ff]");
}

TEST(SprintfSafe, DropsWhatOutHeld) {
    std::string out = "what stood there before";
    EXPECT_EQ(ns::sprintfSafe(out, "%d", 7), 1);
    EXPECT_EQ(out, "7");
}

TEST(SprintfSafe, ReturnsZeroForAnEmptyText) {
    std::string out = "what stood there before";
    EXPECT_EQ(ns::sprintfSafe(out, "%s", ""), 0);
    EXPECT_EQ(out, "");
    out = "what stood there before";
    const std::string empty;
    EXPECT_EQ(ns::sprintfSafe(out, empty.c_str(), 1), 0);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, TakesANullFormatForTheEmptyText) {
    std::string out = "what stood there before";
    const char* volatile null = nullptr;
    EXPECT_EQ(ns::sprintfSafe(out, null, 1), 0);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, ReturnsTextsOfEveryLengthAroundTheFirstBufferWhole) {
    for (std::size_t length = 1000; length <= 1050; ++length) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) {
            text += static_cast<char>('a' + i % 26);
        }
        std::string out;
        ASSERT_EQ(ns::sprintfSafe(out, "%s", text.c_str()), static_cast<int>(length));
        ASSERT_EQ(out, text);
        ASSERT_EQ(ns::format_string("%s", text.c_str()), text);
    }
}

TEST(SprintfSafe, ReturnsVeryLongTextsWhole) {
    const std::string text(5000000, 'x');
    std::string out;
    EXPECT_EQ(ns::sprintfSafe(out, "<%s>", text.c_str()), 5000002);
    EXPECT_EQ(out, '<' + text + '>');
    EXPECT_EQ(ns::sprintfSafe(out, "%*d", 3000000, 7), 3000000);
    EXPECT_EQ(out, std::string(2999999, ' ') + '7');
}

TEST(SprintfSafe, CutsTheTextAtItsFirstNul) {
    std::string out;
    EXPECT_EQ(ns::sprintfSafe(out, "ab%ccd%c", 0, 0), 6);
    EXPECT_EQ(out, "ab");
}

TEST(SprintfSafe, IsEmptyWhenNulComesFirst) {
    std::string out = "what stood there before";
    EXPECT_EQ(ns::sprintfSafe(out, "%cabc", 0), 4);
    EXPECT_EQ(out, "");
    EXPECT_EQ(ns::sprintfSafe(out, "%c", 0), 1);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, CutsALongTextAtItsFirstNul) {
    std::string out;
    EXPECT_EQ(ns::sprintfSafe(out, "ab%c%2000d", 0, 1), 2003);
    EXPECT_EQ(out, "ab");
    EXPECT_EQ(ns::sprintfSafe(out, "%2000d%c%2000d", 1, 0, 2), 4001);
    EXPECT_EQ(out, std::string(1999, ' ') + '1');
    EXPECT_EQ(ns::sprintfSafe(out, "%c%2000d", 0, 1), 2001);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, IsNegativeAndEmptyWhenACharacterCannotBeWritten) {
    const scoped::CLocale locale("C");
    std::string out = "what stood there before";
    EXPECT_LT(ns::sprintfSafe(out, "%ls", UNWRITABLE), 0);
    EXPECT_EQ(out, "");
    out = "what stood there before";
    EXPECT_LT(ns::sprintfSafe(out, "%2000d%ls", 1, UNWRITABLE), 0);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, IsNegativeAndEmptyWhenTheTextIsTooLongToCount) {
    std::string out = "what stood there before";
    const std::string format = "%99999999999d";
    EXPECT_LT(ns::sprintfSafe(out, format.c_str(), 1), 0);
    EXPECT_EQ(out, "");
}

TEST(SprintfSafe, WritesInTheCurrentCLocale) {
    const scoped::CLocale locale("C.UTF-8");
    std::string out;
    EXPECT_EQ(ns::sprintfSafe(out, "%ls", UNWRITABLE), 4);
    EXPECT_EQ(out, "a\xe2\x82\xac");
}

TEST(SprintfSafe, DoesNotConsumeTheArgumentList) {
    const ListRun run = run_list("%d %s %.1f %lld", 42, "text", 0.5, 123456789012LL);
    EXPECT_EQ(run.count, 24);
    EXPECT_EQ(run.text, "42 text 0.5 123456789012");
    EXPECT_EQ(run.second_count, run.count);
    EXPECT_EQ(run.second_text, run.text);
    EXPECT_EQ(run.first_argument, 42);
}

TEST(SprintfSafe, DoesNotConsumeTheArgumentListOfALongText) {
    const ListRun run = run_list("%d %2000d %s", 42, 7, "end");
    EXPECT_EQ(run.count, 2007);
    EXPECT_EQ(run.text, "42 " + std::string(1999, ' ') + "7 end");
    EXPECT_EQ(run.second_count, run.count);
    EXPECT_EQ(run.second_text, run.text);
    EXPECT_EQ(run.first_argument, 42);
}

TEST(SprintfSafe, DoesNotConsumeTheArgumentListOfAFailure) {
    const scoped::CLocale locale("C");
    const ListRun run = run_list("%d %ls", 42, UNWRITABLE);
    EXPECT_LT(run.count, 0);
    EXPECT_EQ(run.text, "");
    EXPECT_LT(run.second_count, 0);
    EXPECT_EQ(run.first_argument, 42);
}

// More arguments than registers hold.
TEST(SprintfSafe, PassesEveryArgumentOfAList) {
    const ListRun run = run_list("%d %d %d %d %d %d %d %d %g %g %g %g %g %g %g %g %g %g", 1, 2, 3,
                                 4, 5, 6, 7, 8, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 10.5);
    EXPECT_EQ(run.text, "1 2 3 4 5 6 7 8 1.5 2.5 3.5 4.5 5.5 6.5 7.5 8.5 9.5 10.5");
    EXPECT_EQ(run.second_text, run.text);
}

// `out` is emptied before anything is formatted.
TEST(SprintfSafe, ReadsAnArgumentInsideOutAsEmpty) {
    for (const std::size_t length : {3U, 100U, 1023U, 1024U, 5000U}) {
        std::string out(length, 'o');
        EXPECT_EQ(ns::sprintfSafe(out, "[%s]", out.c_str()), 2) << length;
        EXPECT_EQ(out, "[]") << length;
    }
}

TEST(SprintfSafe, ReadsAFormatInsideOutAsEmpty) {
    std::string out = "a format of %d arguments";
    EXPECT_EQ(ns::sprintfSafe(out, out.c_str(), 1), 0);
    EXPECT_EQ(out, "");
}

namespace {

// A conversion of this test, %Y: writes `probe_length` characters, after which it fails from
// its `probe_failure`th call on.
int probe_calls = 0;
int probe_failure = INT_MAX;
int probe_length = 0;

int write_probe(std::FILE* stream, const printf_info*, const void* const*) {
    for (int i = 0; i < probe_length; ++i) {
        std::putc('y', stream);
    }
    return ++probe_calls < probe_failure ? probe_length : -1;
}

int describe_probe(const printf_info*, std::size_t, int*, int*) { return 0; }

// Formats "%Y" and exits with 0 when `out` holds `length` characters, or nothing when a failure is
// asked for, after `calls` calls. For a process of its own: the C library has no way back from the
// registration, which changes how it reads other formats.
[[noreturn]] void format_probe(int length, int failure, int calls) {
    probe_length = length;
    probe_failure = failure;
    register_printf_specifier('Y', write_probe, describe_probe);
    std::string out = "what stood there before";
    const std::string format = "%Y";
    const int count = ns::sprintfSafe(out, format.c_str(), 0);
    std::fprintf(stderr, "%d returned, %zu characters, %d calls\n", count, out.size(), probe_calls);
    const bool result_is_right = failure <= calls
                                     ? count < 0 && out.empty()
                                     : count == length && out == std::string(out.size(), 'y') &&
                                           out.size() == static_cast<std::size_t>(length);
    std::_Exit(result_is_right && probe_calls == calls ? EXIT_SUCCESS : EXIT_FAILURE);
}

const testing::ExitedWithCode SUCCEEDED(EXIT_SUCCESS);

} // namespace

TEST(SprintfSafe, FormatsOnceWhenTheFirstBufferIsLargeEnough) {
    EXPECT_EXIT(format_probe(1, INT_MAX, 1), SUCCEEDED, "");
    EXPECT_EXIT(format_probe(1023, INT_MAX, 1), SUCCEEDED, "");
}

TEST(SprintfSafe, FormatsTwiceAtMost) {
    EXPECT_EXIT(format_probe(1024, INT_MAX, 2), SUCCEEDED, "");
    EXPECT_EXIT(format_probe(300000, INT_MAX, 2), SUCCEEDED, "");
}

TEST(SprintfSafe, StopsAfterAFailure) {
    EXPECT_EXIT(format_probe(5000, 1, 1), SUCCEEDED, "");
    EXPECT_EXIT(format_probe(5000, 2, 2), SUCCEEDED, "");
}

TEST(FormatString, ReturnsTheText) {
    EXPECT_EQ(ns::format_string("%s: %d files", "done", 3), "done: 3 files");
    EXPECT_EQ(ns::format_string("%s", ""), "");
    EXPECT_EQ(ns::format_string("%%"), "%");
    EXPECT_EQ(ns::format_string("%2000d", 1), std::string(1999, ' ') + '1');
}

TEST(FormatString, TakesCharacterPointers) {
    char text[] = "abc";
    char* const writable = text;
    EXPECT_EQ(ns::format_string("%s", writable), "abc");
}

TEST(FormatString, IsEmptyWhenTheFormatCannotBeRendered) {
    const scoped::CLocale locale("C");
    EXPECT_EQ(ns::format_string("text %ls", UNWRITABLE), "");
}

TEST(FormatString, CutsTheTextAtItsFirstNul) { EXPECT_EQ(ns::format_string("ab%ccd", 0), "ab"); }

TEST(FormatString, TakesANullFormatForTheEmptyText) {
    const char* volatile null = nullptr;
    EXPECT_EQ(ns::format_string(null, 1), "");
}

// XML escaping

namespace {

// The narrow and the wide form side by side.
std::string escaped(std::string text) {
    std::wstring wide = widened(text);
    ns::xml_escape(text);
    ns::xml_escape(wide);
    EXPECT_EQ(wide, widened(text)) << "the two forms differ";
    return text;
}

std::string unescaped(std::string text) {
    std::wstring wide = widened(text);
    ns::xml_unescape(text);
    ns::xml_unescape(wide);
    EXPECT_EQ(wide, widened(text)) << "the two forms differ";
    return text;
}

} // namespace

TEST(XmlEscape, ReplacesTheThreeMarkupCharacters) {
    EXPECT_EQ(escaped("&"), "&amp;");
    EXPECT_EQ(escaped("<"), "&lt;");
    EXPECT_EQ(escaped(">"), "&gt;");
    EXPECT_EQ(escaped("a<b>&c"), "a&lt;b&gt;&amp;c");
    EXPECT_EQ(escaped("<<&&>>"), "&lt;&lt;&amp;&amp;&gt;&gt;");
}

TEST(XmlEscape, DoesNotEscapeWhatItInserted) {
    EXPECT_EQ(escaped("&lt;"), "&amp;lt;");
    EXPECT_EQ(escaped("&amp;"), "&amp;amp;");
}

TEST(XmlEscape, LeavesEveryOtherByte) {
    for (const char c : texts::all_bytes()) {
        if (c != '&' && c != '<' && c != '>') {
            EXPECT_EQ(escaped(std::string(2, c)), std::string(2, c)) << int{to_byte(c)};
        }
    }
    EXPECT_EQ(escaped("\"it's\""), "\"it's\"");
    EXPECT_EQ(escaped(""), "");
}

TEST(XmlEscape, AgreesWithTheModel) {
    for (const std::string& text : texts::over<std::string>("&<>a;", 6)) {
        ASSERT_EQ(escaped(text), text_model::xml_escape(text));
    }
}

// The text moves in bulk as long as that overwrites nothing that is still to be read: every
// distance that it may have to go, with a run of each length to move and markup next to it.
TEST(XmlEscape, AgreesWithTheModelAtEveryDistance) {
    for (std::size_t run = 0; run < 40; ++run) {
        for (std::size_t small = 0; small < 8; ++small) {
            for (std::size_t large = 0; large < 8; ++large) {
                const std::string markup = std::string(small, '<') + std::string(large, '&');
                std::string plain(run, '\0');
                std::iota(plain.begin(), plain.end(), 'A');
                for (const char* const end : {"", "<", "&"}) {
                    const std::string text = "0123" + markup + plain + end;
                    ASSERT_EQ(escaped(text), text_model::xml_escape(text));
                }
            }
        }
    }
}

TEST(XmlEscape, LeavesWideCharactersBeyondOneByte) {
    std::wstring text = L"\x126<\x13c&\x20ac>\x1f600";
    ns::xml_escape(text);
    EXPECT_EQ(text, L"\x126&lt;\x13c&amp;\x20ac&gt;\x1f600");
}

TEST(XmlUnescape, UndoesTheThreeEntities) {
    EXPECT_EQ(unescaped("&amp;"), "&");
    EXPECT_EQ(unescaped("&lt;"), "<");
    EXPECT_EQ(unescaped("&gt;"), ">");
    EXPECT_EQ(unescaped("a&lt;b&gt;&amp;c"), "a<b>&c");
}

TEST(XmlUnescape, UndoesOneLevel) {
    EXPECT_EQ(unescaped("&amp;lt;"), "&lt;");
    EXPECT_EQ(unescaped("&amp;gt;"), "&gt;");
    EXPECT_EQ(unescaped("&amp;amp;"), "&amp;");
    EXPECT_EQ(unescaped("&amp;amp;lt;"), "&amp;lt;");
}

TEST(XmlUnescape, DoesNotJoinWhatItUndid) {
    EXPECT_EQ(unescaped("&&gt;lt;"), "&>lt;");
    EXPECT_EQ(unescaped("&&amp;amp;"), "&&amp;");
    EXPECT_EQ(unescaped("&amp;&lt;amp;"), "&<amp;");
}

TEST(XmlUnescape, KnowsNoOtherEntity) {
    for (const char* const text :
         {"&quot;", "&apos;", "&nbsp;", "&#38;", "&#x26;", "&AMP;", "&Lt;", "&amp", "&lt", "amp;",
          "&;", "&", "& lt;", "&lt ;", "&am", "&g", ""}) {
        EXPECT_EQ(unescaped(text), text);
    }
}

TEST(XmlUnescape, AgreesWithTheModelOnCharacters) {
    for (const std::string& text : texts::over<std::string>("&lgt;", 7)) {
        ASSERT_EQ(unescaped(text), text_model::xml_unescape(text));
    }
    for (const std::string& text : texts::over<std::string>("&amp;", 7)) {
        ASSERT_EQ(unescaped(text), text_model::xml_unescape(text));
    }
}

// Every sequence of up to six of the pieces that entities are made of.
TEST(XmlUnescape, AgreesWithTheModelOnPieces) {
    const std::string pieces[] = {"&", "amp;", "lt;", "gt;", "&amp;", "a", ";"};
    for (const std::string& choice : texts::over<std::string>("0123456", 6)) {
        std::string text;
        for (const char c : choice) {
            text += pieces[c - '0'];
        }
        ASSERT_EQ(unescaped(text), text_model::xml_unescape(text));
    }
}

TEST(XmlUnescape, LeavesWideCharactersBeyondOneByte) {
    std::wstring text = L"\x126&lt;\x13c&amp;\x20ac&gt;\x1f600&\x16cmp;";
    ns::xml_unescape(text);
    EXPECT_EQ(text, L"\x126<\x13c&\x20ac>\x1f600&\x16cmp;");
}

TEST(Xml, UnescapeGivesBackWhatWasEscaped) {
    EXPECT_EQ(unescaped(escaped(texts::all_bytes())), texts::all_bytes());
    for (const std::string& text : texts::over<std::string>("&<;lta", 5)) {
        ASSERT_EQ(unescaped(escaped(text)), text);
    }
}

TEST(Xml, IsLinearInALongText) {
    const std::string text(1000000, '&');
    std::string changed = text;
    ns::xml_escape(changed);
    ASSERT_EQ(changed.size(), 5000000U);
    ns::xml_unescape(changed);
    EXPECT_EQ(changed, text);
}

namespace {

std::string referenced(std::string text) {
    const std::string copy = ns::utf8_to_xml(std::as_const(text));
    ns::utf8_to_xml(text);
    EXPECT_EQ(copy, text) << "the two forms differ";
    return text;
}

} // namespace

TEST(Utf8ToXml, ReplacesControlBytesByReferences) {
    EXPECT_EQ(referenced("a\tb\nc"), "a&#x09;b&#x0A;c");
    EXPECT_EQ(referenced("\x01\x1f\x7f\x80\x9f"), "&#x01;&#x1F;&#x7F;&#x80;&#x9F;");
}

TEST(Utf8ToXml, LeavesOtherBytes) {
    EXPECT_EQ(referenced(""), "");
    EXPECT_EQ(referenced(" ~\xa0\xff"), " ~\xa0\xff");
    EXPECT_EQ(referenced(std::string(1, '\0')), std::string(1, '\0'));
    EXPECT_EQ(referenced("&<>\"'"), "&<>\"'");
}

TEST(Utf8ToXml, LeavesASequenceWithoutC1BytesWhole) {
    EXPECT_EQ(referenced("\xc3\xa9\t\n"), "\xc3\xa9&#x09;&#x0A;");
}

TEST(Utf8ToXml, ReplacesC1BytesInsideASequence) {
    EXPECT_EQ(referenced("\xc3\x89"), "\xc3&#x89;");
    EXPECT_EQ(referenced("\xe2\x82\xac"), "\xe2&#x82;\xac");
}

TEST(Utf8ToXml, ReplacesEveryByteAndPairByItsRule) {
    for (const char a : texts::all_bytes()) {
        ASSERT_EQ(referenced(std::string(1, a)), text_model::reference(a)) << int{to_byte(a)};
        for (const char b : texts::all_bytes()) {
            ASSERT_EQ(referenced(std::string{a, b}),
                      text_model::reference(a) + text_model::reference(b))
                << int{to_byte(a)} << '/' << int{to_byte(b)};
        }
    }
}

TEST(Utf8ToXml, LeavesTheArgumentOfTheCopyUnchanged) {
    const std::string text = "a\tb";
    EXPECT_EQ(ns::utf8_to_xml(text), "a&#x09;b");
    EXPECT_EQ(text, "a\tb");
}

TEST(Utf8ToXml, IsLinearInALongText) {
    std::string text(1000000, '\n');
    ns::utf8_to_xml(text);
    EXPECT_EQ(text.size(), 6000000U);
    EXPECT_EQ(text.substr(5999994), "&#x0A;");
}

// Hex dump

namespace {

int to_length(const std::string& data) { return static_cast<int>(data.size()); }

std::string dumped(const std::string& data, const char* title = nullptr,
                   const char* prefix = nullptr) {
    std::string out = "what stood there before";
    EXPECT_TRUE(ns::hex_dump(out, data.data(), to_length(data), title, prefix));
    return out;
}

// Bytes of every kind in no simple order.
std::string some_bytes(std::size_t count) {
    std::string data;
    for (std::size_t i = 0; i < count; ++i) {
        data += static_cast<char>(i * 37 + i / 7);
    }
    return data;
}

} // namespace

TEST(HexDump, ShowsOffsetDigitsAndCharacters) {
    EXPECT_EQ(dumped(std::string("A\0z", 3)),
              "0000  41007a" + std::string(26, ' ') + " ** A.z" + std::string(13, ' ') + " **\n");
}

TEST(HexDump, ShowsSixteenBytesALine) {
    EXPECT_EQ(dumped("0123456789abcdef"),
              "0000  30313233343536373839616263646566 ** 0123456789abcdef **\n");
    EXPECT_EQ(dumped("0123456789abcdefg"),
              "0000  30313233343536373839616263646566 ** 0123456789abcdef **\n"
              "0010  67                               ** g                **\n");
}

TEST(HexDump, PutsTheTitleInFront) {
    EXPECT_EQ(dumped("z", "title"),
              "title\n0000  7a                               ** z                **\n");
    EXPECT_EQ(dumped("z", ""), "\n0000  7a                               ** z                **\n");
}

TEST(HexDump, PutsThePrefixAndABlankInFrontOfEveryLine) {
    EXPECT_EQ(dumped("0123456789abcdefg", "title", "##"),
              "title\n"
              "## 0000  30313233343536373839616263646566 ** 0123456789abcdef **\n"
              "## 0010  67                               ** g                **\n");
    EXPECT_EQ(dumped("z", nullptr, ""),
              " 0000  7a                               ** z                **\n");
}

TEST(HexDump, ShowsOnlyTheTitleWithoutData) {
    for (const int length : {INT_MIN, -1, 0, 1, 100, INT_MAX}) {
        std::string out = "what stood there before";
        EXPECT_TRUE(ns::hex_dump(out, nullptr, length, "title", "##"));
        EXPECT_EQ(out, "title\n") << length;
        EXPECT_TRUE(ns::hex_dump(out, nullptr, length, nullptr, nullptr));
        EXPECT_EQ(out, "") << length;
    }
}

TEST(HexDump, ShowsOnlyTheTitleForALengthBelowOne) {
    for (const int length : {INT_MIN, -16, -1, 0}) {
        std::string out = "what stood there before";
        EXPECT_TRUE(ns::hex_dump(out, "data", length, "title", "##"));
        EXPECT_EQ(out, "title\n") << length;
        EXPECT_TRUE(ns::hex_dump(out, "data", length, nullptr, "##"));
        EXPECT_EQ(out, "") << length;
    }
}

TEST(HexDump, AgreesWithTheModelForEveryLength) {
    for (std::size_t length = 0; length <= 49; ++length) {
        const std::string data = some_bytes(length);
        EXPECT_EQ(dumped(data), text_model::hex_dump(data, nullptr, nullptr)) << length;
        EXPECT_EQ(dumped(data, "t"), text_model::hex_dump(data, "t", nullptr)) << length;
        EXPECT_EQ(dumped(data, nullptr, "p"), text_model::hex_dump(data, nullptr, "p")) << length;
        EXPECT_EQ(dumped(data, "t", "p"), text_model::hex_dump(data, "t", "p")) << length;
    }
}

TEST(HexDump, ShowsEveryByte) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        EXPECT_EQ(dumped(texts::all_bytes()),
                  text_model::hex_dump(texts::all_bytes(), nullptr, nullptr))
            << name;
        for (const char c : texts::all_bytes()) {
            const bool shown =
                std::isalnum(to_byte(c)) != 0 || std::ispunct(to_byte(c)) != 0 || c == ' ';
            EXPECT_EQ(dumped(std::string(1, c))[42], shown ? c : '.') << int{to_byte(c)};
        }
    }
}

// Short and long dumps; the letter stands in each of them.
TEST(HexDump, ShowsLettersBeyondAsciiWhereTheLocaleHasThem) {
    for (const std::size_t size : {16U, 496U, 511U, 512U, 513U, 2000U}) {
        const std::string data = std::string(size - 2, '\xe8') + "\xe9\xc9";
        const auto shown = [&data] {
            const std::string dump = dumped(data);
            return std::count(dump.begin(), dump.end(), '\xe9') * 10 +
                   std::count(dump.begin(), dump.end(), '\xc9');
        };
        EXPECT_EQ(shown(), 0) << size;
        const strange_ctype::Locale locale;
        EXPECT_EQ(shown(), 11) << size;
    }
}

TEST(HexDump, ReadsNoMoreThanTheLength) {
    const std::vector<char> data{'a', 'b', 'c'};
    std::string out;
    EXPECT_TRUE(ns::hex_dump(out, data.data(), 2, nullptr, nullptr));
    EXPECT_EQ(out, "0000  6162" + std::string(28, ' ') + " ** ab" + std::string(14, ' ') + " **\n");
    EXPECT_TRUE(ns::hex_dump(out, data.data(), 3, nullptr, nullptr));
    EXPECT_EQ(out,
              "0000  616263" + std::string(26, ' ') + " ** abc" + std::string(13, ' ') + " **\n");
}

TEST(HexDump, HasAtLeastFourDigitsInTheOffset) {
    const std::string out = dumped(some_bytes(0x10011));
    const std::size_t width = 62; // of a line with four digits
    EXPECT_EQ(out.substr(0, 6), "0000  ");
    EXPECT_EQ(out.substr(width * 0x100, 6), "1000  ");
    EXPECT_EQ(out.substr(width * 0xfff, 6), "fff0  ");
    EXPECT_EQ(out.substr(width * 0x1000, 7), "10000  ");
    EXPECT_EQ(out.substr(width * 0x1000 + width + 1, 7), "10010  ");
    EXPECT_EQ(out.size(), width * 0x1000 + 2 * (width + 1));
}

TEST(HexDump, AgreesWithTheModelForLargeData) {
    const std::string data = some_bytes(0x100013);
    EXPECT_TRUE(dumped(data, "t", "p") == text_model::hex_dump(data, "t", "p"));
}

TEST(HexDump, DoesNotLookAtTheStdLocale) {
    const scoped::GlobalLocale locale(strange_locale());
    EXPECT_EQ(dumped("a1#"),
              "0000  613123" + std::string(26, ' ') + " ** a1#" + std::string(13, ' ') + " **\n");
}

TEST(HexDump, TakesArgumentsInsideOut) {
    const std::string data = some_bytes(20);
    std::string out = "a title that stands in the output";
    EXPECT_TRUE(ns::hex_dump(out, data.data(), 20, out.c_str() + 2, nullptr));
    EXPECT_EQ(out, text_model::hex_dump(data, "title that stands in the output", nullptr));

    out = "a prefix that stands in the output";
    EXPECT_TRUE(ns::hex_dump(out, data.data(), 20, nullptr, out.c_str() + 2));
    EXPECT_EQ(out, text_model::hex_dump(data, nullptr, "prefix that stands in the output"));

    out = data;
    EXPECT_TRUE(ns::hex_dump(out, out.data(), 20, nullptr, nullptr));
    EXPECT_EQ(out, text_model::hex_dump(data, nullptr, nullptr));

    out = "all three";
    EXPECT_TRUE(ns::hex_dump(out, out.data(), 9, out.c_str(), out.c_str() + 4));
    EXPECT_EQ(out, text_model::hex_dump("all three", "all three", "three"));

    out = "x";
    EXPECT_TRUE(ns::hex_dump(out, nullptr, 0, out.c_str(), nullptr));
    EXPECT_EQ(out, "x\n");
}

// Allocations

TEST(Allocations, NoneForCropping) {
    const std::string set = "ab";
    std::string text(1000, 'a');
    text.replace(500, 1, "x");
    EXPECT_EQ(allocation::count([&] {
                  ns::crop_left(text, set);
                  ns::crop_right(text, set);
                  ns::crop_both(text, set);
              }),
              0U);
    EXPECT_EQ(text, "x");
}

TEST(Allocations, NoneForComparing) {
    const std::string a(1000, 'a');
    const std::string b(1000, 'A');
    int sum = 0;
    EXPECT_EQ(allocation::count([&] {
                  sum += ns::icompare(a, b) + ns::icompare(a.c_str(), b) +
                         ns::icompare(a, b.c_str()) + ns::icompare(a.c_str(), b.c_str());
              }),
              0U);
    EXPECT_EQ(sum, 0);
}

TEST(Allocations, OneForXmlEscapingAndNoneForUnescaping) {
    std::string text(1000, '<');
    EXPECT_LE(allocation::count([&] { ns::xml_escape(text); }), 1U);
    EXPECT_EQ(allocation::count([&] { ns::xml_unescape(text); }), 0U);
    EXPECT_EQ(text, std::string(1000, '<'));
    std::wstring wide(1000, L'<');
    EXPECT_LE(allocation::count([&] { ns::xml_escape(wide); }), 1U);
    EXPECT_EQ(allocation::count([&] { ns::xml_unescape(wide); }), 0U);
    EXPECT_EQ(wide, std::wstring(1000, L'<'));
}

TEST(Allocations, OneForReferences) {
    std::string text(1000, '\n');
    EXPECT_LE(allocation::count([&] { ns::utf8_to_xml(text); }), 1U);
    EXPECT_EQ(text.size(), 6000U);
}

// A text too long to be kept inside the object.
TEST(Allocations, AFailedOneLeavesTheTextAsItWas) {
    const std::string before = std::string(100, 'a') + "<\n>";
    std::string text;
    const auto restore = [&] { EXPECT_EQ(text, before); };

    text = before;
    EXPECT_GT(allocation::fail_each([&] { ns::replace(text, "a", "bb"); }, restore), 0U);
    EXPECT_EQ(text, std::string(200, 'b') + "<\n>");

    text = before;
    text.shrink_to_fit();
    EXPECT_GT(allocation::fail_each([&] { ns::xml_escape(text); }, restore), 0U);
    EXPECT_EQ(text, std::string(100, 'a') + "&lt;\n&gt;");

    text = before;
    text.shrink_to_fit();
    EXPECT_GT(allocation::fail_each([&] { ns::utf8_to_xml(text); }, restore), 0U);
    EXPECT_EQ(text, std::string(100, 'a') + "<&#x0A;>");

    text = before;
    EXPECT_GT(
        allocation::fail_each([&] { ns::SpanIncluding(text, std::string(50, 'a')); }, restore), 0U);
    EXPECT_EQ(text, std::string(100, 'a'));

    text = before;
    const std::string data = some_bytes(100);
    EXPECT_GT(
        allocation::fail_each([&] { ns::hex_dump(text, data.data(), 100, "t", "p"); }, restore),
        0U);
    EXPECT_EQ(text, text_model::hex_dump(data, "t", "p"));

    std::string destination = "short";
    EXPECT_GT(allocation::fail_each([&] { ns::NormalizeNameCaseInsensitive(before, destination); },
                                    [&] { EXPECT_EQ(destination, "short"); }),
              0U);
    EXPECT_EQ(destination, std::string(100, 'A') + "<\n>");

    const std::wstring wide_before = widened(before);
    std::wstring wide = wide_before;
    EXPECT_GT(
        allocation::fail_each([&] { ns::xml_escape(wide); }, [&] { EXPECT_EQ(wide, wide_before); }),
        0U);
    EXPECT_EQ(wide, std::wstring(100, L'a') + L"&lt;\n&gt;");
}

TEST(Allocations, AFailedOneLeavesTheFormattedTextEmpty) {
    for (const int width : {100, 5000}) {
        std::string out = "what stood there before";
        allocation::fail_each([&] { ns::sprintfSafe(out, "%*d", width, 1); },
                              [&] {
                                  EXPECT_EQ(out, "");
                                  out = "what stood there before";
                              });
        EXPECT_EQ(out.size(), static_cast<std::size_t>(width));
    }
    EXPECT_GT(allocation::fail_each([] { ns::format_string("%5000d", 1); }, [] {}), 0U);
}

namespace {

const std::string LONG_WORD(100, 'a'); // not kept inside of a string object

// Runs `add` with every failing allocation; the list must hold its first fields then.
template <class Add>
void expect_the_first_fields(const Fields& before, const Fields& expected, Add add) {
    Fields fields = before;
    const auto check = [&] {
        ASSERT_LE(fields.size(), expected.size());
        EXPECT_TRUE(std::equal(fields.begin(), fields.end(), expected.begin()));
        fields = before;
    };
    EXPECT_GT(allocation::fail_each([&] { add(fields); }, check), 0U);
    EXPECT_EQ(fields, expected);
}

} // namespace

TEST(Allocations, AFailedOneLeavesTheFieldsSoFar) {
    const std::string text = LONG_WORD + ',' + LONG_WORD + ",b," + LONG_WORD;
    const Fields fields{LONG_WORD, LONG_WORD, "b", LONG_WORD};
    Fields kept_and_fields = fields;
    kept_and_fields.insert(kept_and_fields.begin(), "kept");

    expect_the_first_fields({}, fields, [&](Fields& out) { ns::tokenize(text, out, ","); });
    expect_the_first_fields({}, fields, [&](Fields& out) { ns::tokenizeQuotedString(text, out); });
    expect_the_first_fields({"kept"}, kept_and_fields,
                            [&](Fields& out) { ns::tokenizeQuoted(text, out, ','); });
    expect_the_first_fields({"kept"}, kept_and_fields,
                            [&](Fields& out) { ns::split(text, ',', out); });
}

TEST(Allocations, AFailedOneLeavesTheListWhenItHoldsTheText) {
    const Fields before{"kept", LONG_WORD + ',' + LONG_WORD};
    Fields fields = before;
    const auto unchanged_or_longer = [&] {
        ASSERT_GE(fields.size(), before.size());
        EXPECT_TRUE(std::equal(before.begin(), before.end(), fields.begin()));
        fields = before;
    };
    const Fields expected{"kept", before[1], LONG_WORD, LONG_WORD};
    EXPECT_GT(
        allocation::fail_each([&] { ns::split(fields[1], ',', fields); }, unchanged_or_longer), 0U);
    EXPECT_EQ(fields, expected);
    fields = before;
    EXPECT_GT(allocation::fail_each([&] { ns::tokenizeQuoted(fields[1], fields, ','); },
                                    unchanged_or_longer),
              0U);
    EXPECT_EQ(fields, expected);
}

TEST(Allocations, AFailedOneLeavesTheCursorInFrontOfTheWord) {
    const std::string text = ' ' + LONG_WORD + " b";
    const char* cursor = text.c_str();
    std::string word;
    const auto check = [&] {
        EXPECT_EQ(cursor, text.c_str());
        EXPECT_EQ(word, LONG_WORD.substr(0, word.size()));
        word = std::string();
    };
    EXPECT_GT(allocation::fail_each([&] { ns::unixshellstring_get_word(&cursor, word); }, check),
              0U);
    EXPECT_EQ(word, LONG_WORD);
    EXPECT_EQ(cursor, text.c_str() + 101);
}

TEST(Allocations, AFailedOneLeavesThePairsSoFar) {
    const std::string text = LONG_WORD + "=b c=" + LONG_WORD + " old=new d=e";
    const Pairs before{{"old", "value"}};
    const Pairs expected{{LONG_WORD, "b"}, {"c", LONG_WORD}, {"d", "e"}, {"old", "value"}};
    Pairs pairs = before;
    const auto check = [&] {
        EXPECT_TRUE(std::includes(expected.begin(), expected.end(), pairs.begin(), pairs.end()));
        EXPECT_EQ(pairs.count("old"), 1U);
        EXPECT_LE(pairs.count("c"), pairs.count(LONG_WORD));
        EXPECT_LE(pairs.count("d"), pairs.count("c"));
        pairs = before;
    };
    int count = 0;
    EXPECT_GT(
        allocation::fail_each(
            [&] { count = ns::unixshellstring_get_keyed_values(text.c_str(), pairs); }, check),
        0U);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(pairs, expected);
}

TEST(StringUsage, WorksAsTheHeaderShows) {
    std::string line = "  Host: backup-7 \r\n";
    nuriccl::string::crop_both(line, nuriccl::string::WHITESPACE);
    EXPECT_EQ(line, "Host: backup-7");
    EXPECT_EQ(nuriccl::string::ifind(line, "HOST"), 0);
    EXPECT_EQ(nuriccl::string::format_string("%s: %d files", "done", 3), "done: 3 files");
}
