// Tests of field-separated lists.
//
//   public or protected member              cases
//   QuoteStringCSV                          QuoteString.*, QuoteStringModel.*
//   DequoteStringCSV                        DequoteString.*, DequoteStringModel.*
//   QuoteStringCSV and DequoteStringCSV     FieldRoundTrip.*
//   CSV_QuoteChar, CSV_SpecialChars         FsvListStatics.*
//   FSVList, field_separator                FsvListSeparator.*
//   parse                                   FsvListParse.*
//   to_str, to_list                         FsvListToStr.*, FsvListToList.*
//   fields_ ... quote_blank_ends_           FsvListDerived.*
//   parse and to_str                        FsvListRoundTrip.*
//   what the header says of allocations     FsvListAllocations.*
//   the example of the header               FsvListUsage.*

#include "support/allocation.hpp"
#include "support/fsv_model.hpp"
#include "support/texts.hpp"

#include <nuriccl/fsvlist.hpp>

#include <cctype>
#include <cstddef>
#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

// What gtest shows when they differ.

namespace fsv_model {

inline void PrintTo(const Written& written, std::ostream* stream) {
    *stream << ::testing::PrintToString(written.line)
            << (written.misused   ? " misused"
                : written.changed ? " changed"
                                  : " unchanged");
}

inline void PrintTo(const Read& read, std::ostream* stream) {
    *stream << ::testing::PrintToString(read.field) << (read.changed ? " changed" : " unchanged")
            << ", next at " << read.next;
}

} // namespace fsv_model

namespace {

using fsv_model::Read;
using fsv_model::Reading;
using fsv_model::Writing;
using fsv_model::Written;
using nuriccl::FSVList;

using Fields = std::vector<std::string>;

constexpr unsigned int NOWHERE = static_cast<unsigned int>(std::string::npos);

// Taken while this program's own statics are built.
const std::string special_characters_at_start = FSVList::CSV_SpecialChars;
const Fields parsed_at_start = FSVList().parse("a,'b',\"c,d\"").to_list();

// A text that holds NULs.
template <std::size_t SIZE>
std::string with_nuls(const char (&literal)[SIZE]) {
    return std::string(literal, SIZE - 1);
}

// A C string that lives on; null for "null".
const char* kept(const std::string& text) {
    static std::set<std::string> all;
    return text == "null" ? nullptr : all.insert(text).first->c_str();
}

unsigned int random_seed() { return static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)); }

std::string shown(const char* text) {
    return text != nullptr ? ::testing::PrintToString(std::string(text)) : "null";
}

std::string shown(const Writing& writing) {
    return "quote " + ::testing::PrintToString(writing.quote) + " separator " +
           shown(writing.separator) + " specials " + shown(writing.specials) + " escape " +
           ::testing::PrintToString(writing.escape) + " escape set " + shown(writing.escape_set) +
           (writing.quote_blank_ends ? " blank ends" : "") +
           (writing.quote_always ? " always" : "");
}

std::string shown(const Reading& reading) {
    return "quote " + ::testing::PrintToString(reading.quote) + " separator " +
           shown(reading.separator) + " escape " + ::testing::PrintToString(reading.escape) +
           " terminators " + shown(reading.terminators) + (reading.drop_plain ? " drop plain" : "");
}

bool quote(const std::string& field, std::string& line, const Writing& writing) {
    return FSVList::QuoteStringCSV(field, line, writing.quote, writing.separator, writing.specials,
                                   writing.escape, writing.escape_set, writing.quote_blank_ends,
                                   writing.quote_always);
}

// `field` may be `line`.
Written outcome(const std::string& field, std::string& line, const Writing& writing) {
    try {
        const bool changed = quote(field, line, writing);
        return {false, changed, line};
    } catch (const std::out_of_range&) {
        return {true, false, line};
    }
}

Written written(const std::string& field, const Writing& writing, std::string line = "") {
    return outcome(field, line, writing);
}

Written written_in_place(std::string field, const Writing& writing) {
    return outcome(field, field, writing);
}

const bool CHANGED = true;
const bool UNCHANGED = false;

Written gives(const std::string& line, bool changed) { return {false, changed, line}; }

Written misuse(const std::string& before) { return {true, false, before}; }

bool dequote(unsigned int& position, const std::string& text, std::string& out, unsigned int* start,
             unsigned int* length, const Reading& reading) {
    return FSVList::DequoteStringCSV(position, text, out, start, length, reading.quote,
                                     reading.separator, reading.escape, reading.terminators,
                                     reading.drop_plain);
}

// Reads a field and checks what does not depend on it.
Read read(const std::string& text, const Reading& reading, unsigned int position = 0) {
    const unsigned int at = position;
    unsigned int start = 77;
    unsigned int length = 77;
    std::string out = "what stood there before";
    const bool changed = dequote(position, text, out, &start, &length, reading);
    EXPECT_EQ(start, at);
    EXPECT_EQ(length, 0U);
    return {out, position, changed};
}

// The same, in place. Around the field the text stays.
Read read_in_place(std::string text, const Reading& reading, unsigned int position = 0) {
    const std::string before = text;
    const unsigned int at = position;
    unsigned int start = 77;
    unsigned int length = 77;
    const bool changed = dequote(position, text, text, &start, &length, reading);
    EXPECT_EQ(start, at);
    if (at >= before.size()) {
        EXPECT_EQ(length, 0U);
        EXPECT_EQ(text, before);
        return {"", position, changed};
    }
    EXPECT_LE(start + length, text.size());
    const std::string field = text.substr(start, length);
    EXPECT_EQ(text, std::string(before).replace(start, length, field));
    return {field, position, changed};
}

Read found(const std::string& field, unsigned int next, bool changed) {
    return {field, next, changed};
}

// All settings, made of the choices for each.
std::vector<Writing> writings(const std::string& quotes, const Fields& separators,
                              const Fields& specials, const std::string& escapes,
                              const Fields& escape_sets,
                              const std::vector<bool>& blank_ends = {false, true}) {
    std::vector<Writing> all;
    for (const char quote : quotes) {
        for (const std::string& separator : separators) {
            for (const std::string& special : specials) {
                for (const char escape : escapes) {
                    for (const std::string& escape_set : escape_sets) {
                        for (const bool ends : blank_ends) {
                            for (const bool always : {false, true}) {
                                all.push_back({quote, kept(separator), kept(special), escape,
                                               kept(escape_set), ends, always});
                            }
                        }
                    }
                }
            }
        }
    }
    return all;
}

std::vector<Reading> readings(const std::string& quotes, const Fields& separators,
                              const std::string& escapes, const Fields& terminators) {
    std::vector<Reading> all;
    for (const char quote : quotes) {
        for (const std::string& separator : separators) {
            for (const char escape : escapes) {
                for (const std::string& terminating : terminators) {
                    for (const bool drop : {false, true}) {
                        all.push_back({quote, kept(separator), escape, kept(terminating), drop});
                    }
                }
            }
        }
    }
    return all;
}

// One field in every way that there is to write it.
void expect_writing_like_model(const std::string& field, const Writing& writing) {
    for (const char* const before : {"", "x"}) {
        const Written expected = fsv_model::write(field, before, false, writing);
        const Written is = written(field, writing, before);
        if (!(is == expected)) {
            FAIL() << ::testing::PrintToString(field) << " behind \"" << before << "\", "
                   << shown(writing) << "\n  is " << ::testing::PrintToString(is) << "\n  not "
                   << ::testing::PrintToString(expected);
        }
    }
    const Written expected = fsv_model::write(field, "", true, writing);
    const Written is = written_in_place(field, writing);
    if (!(is == expected)) {
        FAIL() << ::testing::PrintToString(field) << " in place, " << shown(writing) << "\n  is "
               << ::testing::PrintToString(is) << "\n  not " << ::testing::PrintToString(expected);
    }
}

void expect_writing_like_model(const Fields& fields, const std::vector<Writing>& settings) {
    for (const Writing& writing : settings) {
        for (const std::string& field : fields) {
            expect_writing_like_model(field, writing);
            if (::testing::Test::HasFailure()) {
                return;
            }
        }
    }
}

void expect_reading_like_model(const std::string& text, unsigned int position,
                               const Reading& reading) {
    const Read expected = fsv_model::read(position, text, reading);
    const Read is = read(text, reading, position);
    const Read in_place = read_in_place(text, reading, position);
    if (!(is == expected) || !(in_place == expected)) {
        FAIL() << ::testing::PrintToString(text) << " at " << position << ", " << shown(reading)
               << "\n  is " << ::testing::PrintToString(is) << "\n  in place "
               << ::testing::PrintToString(in_place) << "\n  not "
               << ::testing::PrintToString(expected);
    }
}

void expect_reading_like_model(const Fields& texts, const std::vector<Reading>& settings,
                               bool everywhere) {
    for (const Reading& reading : settings) {
        for (const std::string& text : texts) {
            const unsigned int last = everywhere ? static_cast<unsigned int>(text.size()) + 2 : 0;
            for (unsigned int position = 0; position <= last; ++position) {
                expect_reading_like_model(text, position, reading);
            }
            if (::testing::Test::HasFailure()) {
                return;
            }
        }
    }
}

// Settings and texts at random, out of few characters, so that they meet each other.
class Random {
public:
    explicit Random(unsigned int seed) : engine_(seed) {}

    std::size_t below(std::size_t count) { return engine_() % count; }
    bool coin() { return below(2) == 0; }

    char character() { return ALPHABET[below(ALPHABET.size())]; }

    // NUL, one of the characters that texts are made of, or any.
    char setting() {
        const std::size_t kind = below(4);
        return kind == 0 ? '\0' : kind == 1 ? static_cast<char>(engine_()) : character();
    }

    std::string text(std::size_t longest) {
        std::string text(below(longest + 1), '\0');
        for (char& c : text) {
            c = character();
        }
        return text;
    }

private:
    inline static const std::string ALPHABET = with_nuls("aab ,,;\"\"\\\\\n\r\tn0\0\xe9");

    std::mt19937 engine_;
};

} // namespace

// Writing a field

TEST(QuoteString, AppendsAFieldThatNeedsNothing) {
    EXPECT_EQ(written("abc", {}), gives("abc", UNCHANGED));
    EXPECT_EQ(written("a b\tc", {}), gives("a b\tc", UNCHANGED));
    EXPECT_EQ(written("", {}), gives("", UNCHANGED));
    EXPECT_EQ(written("caf\xc3\xa9;'\\", {}), gives("caf\xc3\xa9;'\\", UNCHANGED));
    EXPECT_EQ(written(with_nuls("a\0b"), {}), gives(with_nuls("a\0b"), UNCHANGED));
}

TEST(QuoteString, PutsTheSeparatorBetweenTheLineAndTheField) {
    EXPECT_EQ(written("b", {}, "a"), gives("a,b", UNCHANGED));
    EXPECT_EQ(written("b\"", {}, "a"), gives("a,\"b\"\"\"", CHANGED));
    EXPECT_EQ(written("", {}, "a"), gives("a,", UNCHANGED));
    EXPECT_EQ(written("b", {'"', " -> "}, "a"), gives("a -> b", UNCHANGED));
    EXPECT_EQ(written("b,c", {}, "\""), gives("\",\"b,c\"", CHANGED));
}

TEST(QuoteString, PutsNoSeparatorAtTheStartOfTheLine) {
    EXPECT_EQ(written("b", {}), gives("b", UNCHANGED));
    EXPECT_EQ(written("b\n", {}), gives("\"b\n\"", CHANGED));
}

TEST(QuoteString, AppendsWithoutASeparator) {
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(written("b,", {'"', none}, "a"), gives("ab,", UNCHANGED));
        EXPECT_EQ(written("\"", {'"', none}, "a"), gives("a\"\"\"\"", CHANGED));
        EXPECT_EQ(written("", {'"', none}, "a"), gives("a", UNCHANGED));
    }
}

TEST(QuoteString, DoublesTheQuoteCharacterInQuotes) {
    EXPECT_EQ(written("\"hi\"", {}), gives("\"\"\"hi\"\"\"", CHANGED));
    EXPECT_EQ(written("\"", {}), gives("\"\"\"\"", CHANGED));
    EXPECT_EQ(written("a'b", {'\'', ","}), gives("'a''b'", CHANGED));
    EXPECT_EQ(written("a\"b", {'\'', ","}), gives("a\"b", UNCHANGED));
}

TEST(QuoteString, QuotesASpecialCharacter) {
    EXPECT_EQ(written("a;b", {'"', ",", ";:"}), gives("\"a;b\"", CHANGED));
    EXPECT_EQ(written(":", {'"', ",", ";:"}), gives("\":\"", CHANGED));
    EXPECT_EQ(written("a.b", {'"', ",", ";:"}), gives("a.b", UNCHANGED));
}

TEST(QuoteString, QuotesALineBreak) {
    EXPECT_EQ(written("a\nb", {}), gives("\"a\nb\"", CHANGED));
    EXPECT_EQ(written("a\r", {}), gives("\"a\r\"", CHANGED));
    EXPECT_EQ(written("\r\n", {}), gives("\"\r\n\"", CHANGED));
    EXPECT_EQ(written("\v\f", {}), gives("\v\f", UNCHANGED));
}

TEST(QuoteString, QuotesTheSeparator) {
    EXPECT_EQ(written("b,c", {}), gives("\"b,c\"", CHANGED));
    EXPECT_EQ(written(",", {}), gives("\",\"", CHANGED));
    EXPECT_EQ(written("b;c", {'"', ";"}), gives("\"b;c\"", CHANGED));
    EXPECT_EQ(written("b,c", {'"', ";"}), gives("b,c", UNCHANGED));
}

TEST(QuoteString, TakesALongSeparatorAsAWhole) {
    const Writing writing{'"', "; "};
    EXPECT_EQ(written("a; b", writing), gives("\"a; b\"", CHANGED));
    EXPECT_EQ(written("; ", writing), gives("\"; \"", CHANGED));
    EXPECT_EQ(written("a;b", writing), gives("a;b", UNCHANGED));
    EXPECT_EQ(written("a;", writing), gives("a;", UNCHANGED));
    EXPECT_EQ(written(";; ", writing), gives("\";; \"", CHANGED));
    EXPECT_EQ(written(" ;", writing), gives(" ;", UNCHANGED));
}

TEST(QuoteString, FindsALongSeparatorThatOverlapsItself) {
    EXPECT_EQ(written("a", {'"', "aa"}), gives("a", UNCHANGED));
    EXPECT_EQ(written("aba", {'"', "aa"}), gives("aba", UNCHANGED));
    EXPECT_EQ(written("baa", {'"', "aa"}), gives("\"baa\"", CHANGED));
    EXPECT_EQ(written("abba", {'"', "aba"}), gives("abba", UNCHANGED));
    EXPECT_EQ(written("ababb", {'"', "abb"}), gives("\"ababb\"", CHANGED));
}

// The start of a long separator that is not all there is a character like others.
TEST(QuoteString, EscapesTheStartOfASeparator) {
    EXPECT_EQ(written("a;b", {'"', ";;", "", '\\', ";"}), gives("a\\;b", CHANGED));
    EXPECT_EQ(written(" a", {'"', " a b", "", 0, "", true}), gives("\" a\"", CHANGED));
    EXPECT_EQ(written("a ", {'"', " b", "", 0, "", true}), gives("\"a \"", CHANGED));
}

TEST(QuoteString, QuotesBlankEndsOnlyWhenAsked) {
    const Writing kept;
    const Writing quoted{'"', ",", "", 0, "", true};
    for (const char* const field : {" a", "a ", " a ", " ", "   "}) {
        EXPECT_EQ(written(field, kept), gives(field, UNCHANGED));
        EXPECT_EQ(written(field, quoted), gives('"' + std::string(field) + '"', CHANGED));
    }
    EXPECT_EQ(written("a b", quoted), gives("a b", UNCHANGED));
    EXPECT_EQ(written("", quoted), gives("", UNCHANGED));
}

TEST(QuoteString, KnowsTheBlanksOfTheCLibrary) {
    const Writing writing{'"', ",", "", 0, "", true};
    for (const char c : texts::all_bytes()) {
        const bool quoted = std::string(" \t\n\v\f\r,\"").find(c) != std::string::npos;
        EXPECT_EQ(written(std::string(1, c) + "a", writing).changed, quoted) << int{c};
        EXPECT_EQ(written("a" + std::string(1, c), writing).changed, quoted) << int{c};
    }
}

TEST(QuoteString, QuotesNoEscapedBlankEnd) {
    const Writing writing{'"', ",", "", '\\', " ", true};
    EXPECT_EQ(written(" a", writing), gives("\\ a", CHANGED));
    EXPECT_EQ(written("a ", writing), gives("a\\ ", CHANGED));
    EXPECT_EQ(written("  ", writing), gives("\\ \\ ", CHANGED));
    EXPECT_EQ(written("a\t ", writing), gives("a\t\\ ", CHANGED));
    EXPECT_EQ(written("a b", writing), gives("a\\ b", CHANGED));
}

// Blanks count until the first character that is none, whether they are escaped or not.
TEST(QuoteString, QuotesABlankEndBesideAnEscapedBlank) {
    const Writing writing{'"', ",", "", '\\', " ", true};
    EXPECT_EQ(written(" \ta", writing), gives("\"\\ \ta\"", CHANGED));
    EXPECT_EQ(written("\t a", writing), gives("\"\t\\ a\"", CHANGED));
    EXPECT_EQ(written("a \t", writing), gives("\"a\\ \t\"", CHANGED));
}

TEST(QuoteString, EscapesLineBreakEndsInsteadOfQuoting) {
    const Writing writing{'"', ",", "", '\\', "\r\n", true};
    EXPECT_EQ(written("\na\r", writing), gives("\\na\\r", CHANGED));
    EXPECT_EQ(written("\n", writing), gives("\\n", CHANGED));
}

TEST(QuoteString, QuotesEveryFieldWhenAsked) {
    const Writing writing{'"', ",", "", 0, "", false, true};
    EXPECT_EQ(written("", writing), gives("\"\"", CHANGED));
    EXPECT_EQ(written("a", writing), gives("\"a\"", CHANGED));
    EXPECT_EQ(written("", writing, "a"), gives("a,\"\"", CHANGED));
    EXPECT_EQ(written("a,\"", writing), gives("\"a,\"\"\"", CHANGED));
}

TEST(QuoteString, EscapesTheSetNulAndTheEscapeCharacter) {
    const Writing writing{'"', ",", "", '\\', "\n\r\tx"};
    EXPECT_EQ(written("a\nb", writing), gives("a\\nb", CHANGED));
    EXPECT_EQ(written("a\rb", writing), gives("a\\rb", CHANGED));
    EXPECT_EQ(written("a\tb", writing), gives("a\\\tb", CHANGED));
    EXPECT_EQ(written("axb", writing), gives("a\\xb", CHANGED));
    EXPECT_EQ(written("a\\b", writing), gives("a\\\\b", CHANGED));
    EXPECT_EQ(written(with_nuls("a\0b"), writing), gives("a\\0b", CHANGED));
    EXPECT_EQ(written(with_nuls("\0\n\\\r"), writing), gives("\\0\\n\\\\\\r", CHANGED));
    EXPECT_EQ(written("\v", writing), gives("\v", UNCHANGED));
}

TEST(QuoteString, EscapesNulAndTheEscapeCharacterWithoutASet) {
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        const Writing writing{'"', ",", "", '%', none};
        EXPECT_EQ(written(with_nuls("\0%\n"), writing), gives("\"%0%%\n\"", CHANGED));
        EXPECT_EQ(written("a\tb", writing), gives("a\tb", UNCHANGED));
    }
}

TEST(QuoteString, EscapesNothingWithoutAnEscapeCharacter) {
    const Writing writing{'"', ",", "", 0, "a\n"};
    EXPECT_EQ(written(with_nuls("a\\\0"), writing), gives(with_nuls("a\\\0"), UNCHANGED));
    EXPECT_EQ(written("a\n", writing), gives("\"a\n\"", CHANGED));
}

TEST(QuoteString, EscapesInsideQuotes) {
    const Writing writing{'"', ",", "", '\\', "\n"};
    EXPECT_EQ(written("a,\n\\", writing), gives("\"a,\\n\\\\\"", CHANGED));
    EXPECT_EQ(written("\n\"", writing, "x"), gives("x,\"\\n\"\"\"", CHANGED));
}

TEST(QuoteString, DoublesAQuoteCharacterThatCouldBeEscaped) {
    EXPECT_EQ(written("a\"b", {'"', ",", "", '\\', "\""}), gives("\"a\"\"b\"", CHANGED));
    EXPECT_EQ(written("\"", {'"', ",", "\"", '\\', "\""}), gives("\"\"\"\"", CHANGED));
    EXPECT_EQ(written("\n\"", {'"', ",", "", '"', "\n"}), gives("\"\"n\"\"\"", CHANGED));
    EXPECT_EQ(written("a\n", {'"', ",", "", '"', "\n"}), gives("a\"n", CHANGED));
    EXPECT_EQ(written("a\nb", {'\n', ",", "", '\\', "\n"}), gives("\na\n\nb\n", CHANGED));
}

// What would be quoted counts as changed even if nothing changes.
TEST(QuoteString, QuotesNothingWithoutAQuoteCharacter) {
    const Writing writing{0, ",", ";", '\\', "x", true};
    EXPECT_EQ(written("a,b", writing), gives("a,b", CHANGED));
    EXPECT_EQ(written("a;", writing), gives("a;", CHANGED));
    EXPECT_EQ(written("\n", writing), gives("\n", CHANGED));
    EXPECT_EQ(written(" a", writing), gives(" a", CHANGED));
    EXPECT_EQ(written("a,x", writing, "z"), gives("z,a,\\x", CHANGED));
    EXPECT_EQ(written("a\"", writing), gives("a\"", UNCHANGED));
    EXPECT_EQ(written(with_nuls("a\0"), {0, ","}), gives(with_nuls("a\0"), UNCHANGED));
    EXPECT_EQ(written("", {0, ",", "", 0, "", false, true}), gives("", CHANGED));
    EXPECT_EQ(written("", {0, ",", "", 0, "", false, true}, "a"), gives("a,", CHANGED));
}

TEST(QuoteString, TakesNullForEmptyTexts) {
    for (const Writing& given :
         writings(with_nuls("\"\0"), {",", ""}, {";", ""}, with_nuls("\\\0"), {"n", ""})) {
        Writing writing = given;
        const auto null_if_empty = [](const char*& text) { text = *text != '\0' ? text : nullptr; };
        null_if_empty(writing.separator);
        null_if_empty(writing.specials);
        null_if_empty(writing.escape_set);
        for (const char* const field : {"", "a", ",;n\"\\ \n", " n"}) {
            EXPECT_EQ(written(field, writing, "x"), written(field, given, "x")) << shown(given);
            EXPECT_EQ(written_in_place(field, writing), written_in_place(field, given));
        }
    }
}

TEST(QuoteString, EndsTheSettingsAtTheirFirstNul) {
    const Writing writing{'"', ",\0x", ";\0y", '\\', "z\0a"};
    EXPECT_EQ(written("xya", writing, "a"), gives("a,xya", UNCHANGED));
    EXPECT_EQ(written("z,", writing), gives("\"\\z,\"", CHANGED));
}

TEST(QuoteString, TakesNoNulForASpecialCharacterOrASeparator) {
    EXPECT_EQ(written(with_nuls("\0"), {'"', "", "", 0, ""}), gives(with_nuls("\0"), UNCHANGED));
    EXPECT_EQ(written(with_nuls("\0"), {'"', ",", ";", 0, "x"}), gives(with_nuls("\0"), UNCHANGED));
}

TEST(QuoteString, WritesInPlace) {
    const Writing writing{'"', ",", "", '\\', "\n"};
    EXPECT_EQ(written_in_place("a\"b", writing), gives("\"a\"\"b\"", CHANGED));
    EXPECT_EQ(written_in_place("a,b", writing), gives("\"a,b\"", CHANGED));
    EXPECT_EQ(written_in_place("a\nb", writing), gives("a\\nb", CHANGED));
    EXPECT_EQ(written_in_place(with_nuls("\0\0\0"), writing), gives("\\0\\0\\0", CHANGED));
    EXPECT_EQ(written_in_place("ab", writing), gives("ab", UNCHANGED));
    EXPECT_EQ(written_in_place("", writing), gives("", UNCHANGED));
    EXPECT_EQ(written_in_place("", {'"', ",", "", 0, "", false, true}), gives("\"\"", CHANGED));
    EXPECT_EQ(written_in_place("a;", {0, ";"}), gives("a;", CHANGED));
}

TEST(QuoteString, WritesALongFieldInPlace) {
    std::string field;
    std::string expected = "\"";
    for (int i = 0; i < 10000; ++i) {
        field += "\"\n,";
        expected += "\"\"\\n,";
    }
    EXPECT_EQ(written_in_place(field, {'"', ",", "", '\\', "\n"}), gives(expected + '"', CHANGED));
}

TEST(QuoteString, IsMisusedWithAnEscapedSpecialCharacter) {
    for (const char* const field : {";", "a;", ";;;", "a;b", "\";", ";\"", ";,", "\n;", " ; "}) {
        for (const char quote : {'"', '\0'}) {
            for (const bool always : {false, true}) {
                const Writing writing{quote, ",", ":;", '\\', ";", false, always};
                EXPECT_EQ(written(field, writing), misuse("")) << field;
                EXPECT_EQ(written(field, writing, "line"), misuse("line")) << field;
                EXPECT_EQ(written_in_place(field, writing), misuse(field)) << field;
            }
        }
    }
}

TEST(QuoteString, IsMisusedWithAnEscapedSeparator) {
    const Writing writing{'"', ",", ";", '\\', ","};
    EXPECT_EQ(written("a,b", writing, "line"), misuse("line"));
    EXPECT_EQ(written(",", writing), misuse(""));
    EXPECT_EQ(written(",,", writing), misuse(""));
    EXPECT_EQ(written_in_place("a,b", writing), misuse("a,b"));
    EXPECT_EQ(written("a\nb", {'"', "\n", "", '\\', "\n"}, "x"), misuse("x"));
    const Writing longer{'"', ",;", "", '\\', ","};
    EXPECT_EQ(written("a,;b", longer, "line"), misuse("line"));
    EXPECT_EQ(written_in_place(",;", longer), misuse(",;"));
}

// The escape character itself is always escaped.
TEST(QuoteString, IsMisusedWithTheEscapeCharacterAsSpecialCharacterOrSeparator) {
    EXPECT_EQ(written("a\\", {'"', ",", "\\", '\\'}, "x"), misuse("x"));
    EXPECT_EQ(written("a\\", {'"', "\\", "", '\\'}, "x"), misuse("x"));
    EXPECT_EQ(written_in_place("a\\", {'"', "\\", "", '\\'}), misuse("a\\"));
}

TEST(QuoteString, IsNotMisusedByAFieldWithoutTheCharacter) {
    EXPECT_EQ(written("ab\n", {'"', ",", ";", '\\', ";,"}, "x"), gives("x,\"ab\n\"", CHANGED));
    EXPECT_EQ(written("a", {'"', ",", ";", '\\', ";,a"}), gives("\\a", CHANGED));
}

// A separator is only looked for as long as quoting is not required, and only a whole one counts.
TEST(QuoteString, EscapesASeparatorThatRequiresNoQuoting) {
    EXPECT_EQ(written("\",", {'"', ",", "", '\\', ","}), gives("\"\"\"\\,\"", CHANGED));
    EXPECT_EQ(written("\n,", {'"', ",", "", '\\', ","}), gives("\"\n\\,\"", CHANGED));
    EXPECT_EQ(written(",", {'"', ",;", "", '\\', ","}), gives("\\,", CHANGED));
    EXPECT_EQ(written(";,", {'"', ",", ";", '\\', ","}), gives("\";\\,\"", CHANGED));
}

// A failed call must not write in front of the line either, wherever its memory is.
TEST(QuoteString, MisuseTouchesNothingWhateverTheLength) {
    const Writing writing{'"', ",", ";", '\\', ";"};
    for (std::size_t length = 0; length <= 70; ++length) {
        for (const std::size_t room : {0, 200}) {
            const std::string before(length, 'x');
            std::string line;
            line.reserve(room);
            line = before;
            EXPECT_EQ(outcome(std::string(length + 1, ';'), line, writing), misuse(before));
            line = before + ';';
            EXPECT_EQ(outcome(line, line, writing), misuse(before + ';'));
            line = ';' + before;
            EXPECT_EQ(outcome(line, line, writing), misuse(';' + before));
        }
    }
}

// Texts that lie in the line are read as they were at the call, whether or not the line moves.
TEST(QuoteString, TakesSettingsOutOfTheLine) {
    for (const std::string& start : texts::over<std::string>("a;\"", 3)) {
        for (const std::string& field : texts::over<std::string>("a;\"", 3)) {
            for (const std::size_t length : {0, 40}) {
                for (const std::size_t room : {0, 200}) {
                    const std::string before = start + std::string(length, 'x');
                    std::string line;
                    line.reserve(room);
                    line = before;
                    ASSERT_EQ(outcome(field, line, {'"', line.c_str()}),
                              written(field, {'"', before.c_str()}, before));
                    line = before;
                    ASSERT_EQ(outcome(field, line, {'"', ",", line.c_str(), '\\', "a"}),
                              written(field, {'"', ",", before.c_str(), '\\', "a"}, before));
                    line = before;
                    ASSERT_EQ(outcome(field, line, {'"', ",", "", '\\', line.c_str()}),
                              written(field, {'"', ",", "", '\\', before.c_str()}, before));
                }
            }
        }
    }
}

TEST(QuoteString, TakesSettingsOutOfTheFieldInPlace) {
    for (const std::string& start : texts::over<std::string>("a;\"\n", 4)) {
        for (const std::size_t length : {0, 40}) {
            for (const std::size_t room : {0, 200}) {
                for (std::size_t at = 0; at <= start.size(); ++at) {
                    const std::string before = start + std::string(length, 'x');
                    const char* const inside = before.c_str() + at;
                    std::string field;
                    field.reserve(room);
                    field = before;
                    ASSERT_EQ(outcome(field, field, {'"', field.c_str() + at}),
                              written_in_place(before, {'"', inside}));
                    field = before;
                    ASSERT_EQ(outcome(field, field, {'"', ",", field.c_str() + at}),
                              written_in_place(before, {'"', ",", inside}));
                    field = before;
                    ASSERT_EQ(outcome(field, field, {'"', ",", "", '\\', field.c_str() + at}),
                              written_in_place(before, {'"', ",", "", '\\', inside}));
                }
            }
        }
    }
}

// Every combination of settings, each character in every role, with every field of up to three of
// them.
TEST(QuoteStringModel, AgreesOnShortFields) {
    expect_writing_like_model(texts::over<std::string>(with_nuls("a \"\\\n\0;,"), 3),
                              writings(with_nuls("\0\""), {"null", ",", ",;", " ", "\n"},
                                       {"null", ";", "\" \n"}, with_nuls("\0\\"),
                                       {"null", "a\"", " \n", ",;"}));
}

TEST(QuoteStringModel, AgreesWhereCharactersHaveTwoRoles) {
    expect_writing_like_model(
        texts::over<std::string>(with_nuls("a \\;,"), 3),
        writings("\\;, ", {"null", ",", ";,", "\\"}, {"", ";", "\\,"}, "\\; a", {"", ";", "a "}));
}

TEST(QuoteStringModel, AgreesOnBlankEnds) {
    expect_writing_like_model(texts::over<std::string>("a \t\n\\", 5),
                              writings(with_nuls("\0\""), {",", " "}, {""}, with_nuls("\0\\"),
                                       {"", " ", "\t\n"}, {true}));
}

// Separators that overlap themselves, quotes, escapes and special characters that stand in them.
TEST(QuoteStringModel, AgreesOnLongSeparators) {
    expect_writing_like_model(texts::over<std::string>("ab", 6),
                              writings(with_nuls("\0\"b"), texts::over<std::string>("ab", 3),
                                       {"", "b"}, with_nuls("\0b\\"), {"", "a", "b"}, {false}));
}

// Each byte as a character of the field and in each role, alone and with others around it.
TEST(QuoteStringModel, AgreesOnEveryByte) {
    for (const char c : texts::affordable(texts::all_bytes())) {
        const std::string one(1, c);
        const std::vector<Writing> settings = writings(with_nuls("\"\0") + c, {",", one, "x" + one},
                                                       {"", one}, with_nuls("\\\0") + c, {"", one});
        expect_writing_like_model({one, "a" + one, one + "a", "x" + one + "\"" + one}, settings);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(QuoteStringModel, AgreesOnRandomFields) {
    const unsigned int seed = random_seed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        const std::string separator = random.text(3);
        const std::string specials = random.text(2);
        const std::string escape_set = random.text(4);
        const Writing writing{random.setting(), separator.c_str(),  specials.c_str(),
                              random.setting(), escape_set.c_str(), random.coin(),
                              random.coin()};
        expect_writing_like_model(random.text(random.coin() ? 10 : 100), writing);
    }
}

// Reading a field

TEST(DequoteString, ReadsUpToTheSeparator) {
    EXPECT_EQ(read("ab,cd", {}), found("ab", 3, UNCHANGED));
    EXPECT_EQ(read("ab,cd", {}, 3), found("cd", NOWHERE, UNCHANGED));
    EXPECT_EQ(read(",ab", {}), found("", 1, UNCHANGED));
    EXPECT_EQ(read("a,,b", {}, 2), found("", 3, UNCHANGED));
    EXPECT_EQ(read("ab", {}), found("ab", NOWHERE, UNCHANGED));
}

TEST(DequoteString, FindsNoFieldBehindASeparatorAtTheEnd) {
    EXPECT_EQ(read("ab,", {}), found("ab", NOWHERE, UNCHANGED));
    EXPECT_EQ(read(",", {}), found("", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("a; ", {'"', "; "}), found("a", NOWHERE, UNCHANGED));
}

TEST(DequoteString, ReadsFromAnyPosition) {
    EXPECT_EQ(read("ab,cd", {}, 1), found("b", 3, UNCHANGED));
    EXPECT_EQ(read("ab,cd", {}, 2), found("", 3, UNCHANGED));
    EXPECT_EQ(read("\"a\",b", {}, 1), found("a,b", NOWHERE, CHANGED));
}

TEST(DequoteString, ReadsNothingAtAndBehindTheEnd) {
    for (const unsigned int position : {2U, 3U, 1000U, 0x80000000U, NOWHERE - 1, NOWHERE}) {
        EXPECT_EQ(read("ab", {}, position), found("", NOWHERE, UNCHANGED)) << position;
        EXPECT_EQ(read_in_place("ab", {}, position), found("", NOWHERE, UNCHANGED)) << position;
    }
    EXPECT_EQ(read("", {}), found("", NOWHERE, UNCHANGED));
}

TEST(DequoteString, TakesALongSeparatorAsAWhole) {
    const Reading reading{'"', "; "};
    EXPECT_EQ(read("a;b; c", reading), found("a;b", 5, UNCHANGED));
    EXPECT_EQ(read("a;; b", reading), found("a;", 4, UNCHANGED));
    EXPECT_EQ(read("a;", reading), found("a;", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("a; ", reading), found("a", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("aaab", {'"', "aab"}), found("a", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("aaa", {'"', "aa"}), found("", 2, UNCHANGED));
    EXPECT_EQ(read("xababay", {'"', "aba"}), found("x", 4, UNCHANGED));
}

TEST(DequoteString, ReadsToTheEndWithoutASeparator) {
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(read(with_nuls("a,\0b"), {'"', none}),
                  found(with_nuls("a,\0b"), NOWHERE, UNCHANGED));
        EXPECT_EQ(read("\"a\"b", {'"', none}), found("ab", NOWHERE, CHANGED));
    }
}

TEST(DequoteString, DropsQuotesAndHalvesDoubledOnes) {
    EXPECT_EQ(read("\"b,c\",d", {}), found("b,c", 6, CHANGED));
    EXPECT_EQ(read("\"\"\"hi\"\"\"", {}), found("\"hi\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"\"", {}), found("", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"\",a", {}), found("", 3, CHANGED));
    EXPECT_EQ(read("\"\"\"\"", {}), found("\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\nb\"", {}), found("a\nb", NOWHERE, CHANGED));
    EXPECT_EQ(read("'a''b'", {'\'', ","}), found("a'b", NOWHERE, CHANGED));
}

TEST(DequoteString, KeepsWhatStandsAroundAQuotedSection) {
    EXPECT_EQ(read("a\"b\"c", {}), found("abc", NOWHERE, CHANGED));
    EXPECT_EQ(read("a\",\"c,d", {}), found("a,c", 6, CHANGED));
    EXPECT_EQ(read(" \"a\" ,b", {}), found(" a ", 6, CHANGED));
    EXPECT_EQ(read("\"a\"b\"c\"", {}), found("abc", NOWHERE, CHANGED));
}

TEST(DequoteString, ReadsAnOpenQuoteToTheEnd) {
    EXPECT_EQ(read("\"a,b", {}), found("a,b", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"", {}), found("", NOWHERE, CHANGED));
    EXPECT_EQ(read("a\"", {}), found("a", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\"\"", {}), found("a\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\"b\",c", {}), found("ab,c", NOWHERE, CHANGED));
}

TEST(DequoteString, KnowsNoQuotesWithoutAQuoteCharacter) {
    EXPECT_EQ(read("\"a,b\"", {0, ","}), found("\"a", 3, UNCHANGED));
    EXPECT_EQ(read(with_nuls("\0a,b"), {0, ","}), found(with_nuls("\0a"), 3, UNCHANGED));
}

TEST(DequoteString, ReadsEscapes) {
    const Reading reading{'"', ",", '\\'};
    EXPECT_EQ(read("\\n\\r\\t\\0\\x\\\\", reading),
              found(with_nuls("\n\r\t\0x\\"), NOWHERE, CHANGED));
    EXPECT_EQ(read("a\\,b,c", reading), found("a,b", 5, CHANGED));
    EXPECT_EQ(read("\\\"a\\\"", reading), found("\"a\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\\\",b\"", reading), found("a\",b", NOWHERE, CHANGED));
    EXPECT_EQ(read("\\N\\\t", reading), found("N\t", NOWHERE, CHANGED));
}

TEST(DequoteString, ReadsAnyEscapedByte) {
    for (const char c : texts::all_bytes()) {
        const char expected = c == 'n'   ? '\n'
                              : c == 'r' ? '\r'
                              : c == 't' ? '\t'
                              : c == '0' ? '\0'
                                         : c;
        const Reading reading{'"', ",", '\\'};
        EXPECT_EQ(read(std::string("\\") + c, reading),
                  found(std::string(1, expected), NOWHERE, CHANGED))
            << int{c};
    }
}

TEST(DequoteString, DropsAnEscapeCharacterAtTheEnd) {
    const Reading reading{'"', ",", '\\'};
    EXPECT_EQ(read("a\\", reading), found("a", NOWHERE, CHANGED));
    EXPECT_EQ(read("\\", reading), found("", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\\", reading), found("a", NOWHERE, CHANGED));
    EXPECT_EQ(read("a\\\\\\", reading), found("a\\", NOWHERE, CHANGED));
}

TEST(DequoteString, KnowsNoEscapesWithoutAnEscapeCharacter) {
    EXPECT_EQ(read("a\\n,b", {}), found("a\\n", 4, UNCHANGED));
    EXPECT_EQ(read(with_nuls("\0n"), {}), found(with_nuls("\0n"), NOWHERE, UNCHANGED));
}

// An escape takes no part in what quotes mean: behind it a second quote still makes a doubled one.
TEST(DequoteString, StaysBehindTheQuoteAcrossAnEscape) {
    const Reading reading{'"', ",", '\\'};
    EXPECT_EQ(read("\"a\"\\b\"c,d", reading), found("ab\"c,d", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\"\\b,d", reading), found("ab", 6, CHANGED));
    EXPECT_EQ(read("\"a\"\\b\\c\",d\"", reading), found("abc\",d", NOWHERE, CHANGED));
}

TEST(DequoteString, TakesAQuoteCharacterForNoEscape) {
    EXPECT_EQ(read("\"n\"\"\"", {'"', ",", '"'}), found("n\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"n,", {'"', ",", '"'}), found("n,", NOWHERE, CHANGED));
}

TEST(DequoteString, TakesAQuoteOrEscapeCharacterForNoSeparator) {
    EXPECT_EQ(read("a,b,c", {',', ","}), found("abc", NOWHERE, CHANGED));
    EXPECT_EQ(read("a,b,,", {',', ","}), found("ab,", NOWHERE, CHANGED));
    EXPECT_EQ(read("a,bc", {'"', ",", ','}), found("abc", NOWHERE, CHANGED));
}

TEST(DequoteString, EndsInFrontOfATerminator) {
    const Reading reading{'"', ",", '\\', ";|"};
    EXPECT_EQ(read("ab;c", reading), found("ab", 2, UNCHANGED));
    EXPECT_EQ(read("ab|", reading), found("ab", 2, UNCHANGED));
    EXPECT_EQ(read("a,b;", reading), found("a", 2, UNCHANGED));
    EXPECT_EQ(read("\"a\",;", reading), found("a", 4, CHANGED));
}

TEST(DequoteString, TakesATerminatorAtTheStartForTheField) {
    const Reading reading{'"', ",", '\\', ";|"};
    EXPECT_EQ(read(";ab", reading), found(";", 1, UNCHANGED));
    EXPECT_EQ(read(";", reading), found(";", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("ab;|c", reading, 2), found(";", 3, UNCHANGED));
    EXPECT_EQ(read(";,a", reading), found(";", 1, UNCHANGED));
}

// The first character that is read counts, taken or not.
TEST(DequoteString, EndsInFrontOfATerminatorBehindADroppedCharacter) {
    EXPECT_EQ(read("\"\"a;", {'"', ",", 0, ";", true}), found("", 3, CHANGED));
    EXPECT_EQ(read("a;", {'"', ",", 0, ";", true}), found("", 1, CHANGED));
    EXPECT_EQ(read("\\;a", {'"', ",", '\\', ";"}), found("", 1, CHANGED));
    EXPECT_EQ(read("a\\;a", {'"', ",", '\\', ";"}), found("a", 2, CHANGED));
    EXPECT_EQ(read("\\n", {'"', ",", '\\', "n"}), found("", 1, CHANGED));
}

TEST(DequoteString, KnowsNoTerminatorInQuotesOrRightBehindThem) {
    const Reading reading{'"', ",", '\\', ";"};
    EXPECT_EQ(read("\"a;b\"", reading), found("a;b", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\";;b", reading), found("a;", 4, CHANGED));
    EXPECT_EQ(read("\"\\;\"", reading), found(";", NOWHERE, CHANGED));
}

TEST(DequoteString, TakesATerminatorForNothingElse) {
    EXPECT_EQ(read("\"a\"", {'"', ",", 0, "\""}), found("\"", 1, UNCHANGED));
    EXPECT_EQ(read("a\"b", {'"', ",", 0, "\""}), found("a", 1, UNCHANGED));
    EXPECT_EQ(read("a,b", {'"', ",", 0, ","}), found("a", 1, UNCHANGED));
    EXPECT_EQ(read(",b", {'"', ",", 0, ","}), found(",", 1, UNCHANGED));
    EXPECT_EQ(read("\\n", {'"', ",", '\\', "\\"}), found("\\", 1, UNCHANGED));
}

TEST(DequoteString, TakesNoNulForATerminator) {
    EXPECT_EQ(read(with_nuls("a\0;b"), {'"', ",", 0, ";"}), found(with_nuls("a\0"), 2, UNCHANGED));
    EXPECT_EQ(read(with_nuls("a\0b"), {'"', ",", 0, ""}),
              found(with_nuls("a\0b"), NOWHERE, UNCHANGED));
    EXPECT_EQ(read(with_nuls("a\0b"), {'"', "", 0, nullptr}),
              found(with_nuls("a\0b"), NOWHERE, UNCHANGED));
}

TEST(DequoteString, EndsTheSettingsAtTheirFirstNul) {
    const Reading reading{'"', ",\0x", 0, ";\0y"};
    EXPECT_EQ(read("y,y", reading), found("y", 2, UNCHANGED));
    EXPECT_EQ(read("y;", reading), found("y", 1, UNCHANGED));
}

TEST(DequoteString, DropsPlainCharactersWhenAsked) {
    const Reading reading{'"', ",", '\\', ";", true};
    EXPECT_EQ(read("abc,d", reading), found("", 4, CHANGED));
    EXPECT_EQ(read("a\"b\"\"c\"d", reading), found("\"", NOWHERE, CHANGED));
    EXPECT_EQ(read("a\\nb\\c", reading), found("\nc", NOWHERE, CHANGED));
    EXPECT_EQ(read("\"a\\\"b\"", reading), found("\"", NOWHERE, CHANGED));
    EXPECT_EQ(read(";", reading), found(";", NOWHERE, UNCHANGED));
    EXPECT_EQ(read("", reading), found("", NOWHERE, UNCHANGED));
    EXPECT_EQ(read(",a", reading), found("", 1, UNCHANGED));
}

TEST(DequoteString, TakesNullForTheStartAndTheLength) {
    for (const bool with_start : {false, true}) {
        for (const bool with_length : {false, true}) {
            unsigned int position = 2;
            unsigned int start = 77;
            unsigned int length = 77;
            std::string text = "a,\"b\",c";
            EXPECT_TRUE(dequote(position, text, text, with_start ? &start : nullptr,
                                with_length ? &length : nullptr, {}));
            EXPECT_EQ(position, 6U);
            EXPECT_EQ(start, with_start ? 2U : 77U);
            EXPECT_EQ(length, with_length ? 1U : 77U);
            EXPECT_EQ(text[2], 'b');
        }
    }
}

TEST(DequoteString, TellsTheLengthOfAFieldInPlaceOnly) {
    unsigned int position = 2;
    unsigned int start = 77;
    unsigned int length = 77;
    const std::string text = "a,\"bc\",d";
    std::string out;
    EXPECT_TRUE(dequote(position, text, out, &start, &length, {}));
    EXPECT_EQ(start, 2U);
    EXPECT_EQ(length, 0U);

    position = 2;
    std::string same = text;
    EXPECT_TRUE(dequote(position, same, same, &start, &length, {}));
    EXPECT_EQ(start, 2U);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(same, "a,bcc\",d");
    EXPECT_EQ(position, 7U);
}

// Reading field after field where they stand.
TEST(DequoteString, ReadsALineInPlace) {
    std::string text = "a,\"b,\"\"c\",,\"d\"e";
    Fields fields;
    for (unsigned int position = 0; position != NOWHERE;) {
        unsigned int start = 0;
        unsigned int length = 0;
        dequote(position, text, text, &start, &length, {});
        fields.push_back(text.substr(start, length));
    }
    EXPECT_EQ(fields, (Fields{"a", "b,\"c", "", "de"}));
    EXPECT_EQ(text.size(), 15U);
}

TEST(DequoteString, DropsWhatStoodInTheOutput) {
    std::string out(100, 'x');
    unsigned int position = 0;
    EXPECT_FALSE(dequote(position, "a,b", out, nullptr, nullptr, {}));
    EXPECT_EQ(out, "a");
    position = 9;
    EXPECT_FALSE(dequote(position, "a,b", out, nullptr, nullptr, {}));
    EXPECT_EQ(out, "");
}

// Texts that lie in the output are read as they were at the call.
TEST(DequoteString, TakesSettingsOutOfTheOutput) {
    for (const std::string& before : texts::over<std::string>("a;,", 2)) {
        for (const std::string& text : texts::over<std::string>("a;,", 4)) {
            std::string out = before;
            unsigned int position = 0;
            const bool separated =
                dequote(position, text, out, nullptr, nullptr, {'"', out.c_str()});
            ASSERT_EQ(found(out, position, separated), read(text, {'"', before.c_str()}));

            out = before;
            position = 0;
            const bool terminated =
                dequote(position, text, out, nullptr, nullptr, {'"', ",", 0, out.c_str()});
            ASSERT_EQ(found(out, position, terminated), read(text, {'"', ",", 0, before.c_str()}));
        }
    }
}

TEST(DequoteString, TakesSettingsOutOfTheTextInPlace) {
    for (const std::string& before : texts::over<std::string>("a,\"", 5)) {
        for (std::size_t at = 0; at <= before.size(); ++at) {
            unsigned int length = 0;
            unsigned int position = 0;
            std::string text = before;
            const bool separated =
                dequote(position, text, text, nullptr, &length, {'"', text.c_str() + at});
            ASSERT_EQ(found(text.substr(0, length), position, separated),
                      read(before, {'"', before.c_str() + at}))
                << before << " at " << at;

            position = 0;
            text = before;
            const bool terminated =
                dequote(position, text, text, nullptr, &length, {'"', ",", 0, text.c_str() + at});
            ASSERT_EQ(found(text.substr(0, length), position, terminated),
                      read(before, {'"', ",", 0, before.c_str() + at}))
                << before << " at " << at;
        }
    }
}

TEST(DequoteString, ReadsALongField) {
    std::string text;
    std::string field;
    for (int i = 0; i < 100000; ++i) {
        text += "\"a\"\",\"b\\n";
        field += "a\",b\n";
    }
    const Reading reading{'"', ",", '\\'};
    const auto end = static_cast<unsigned int>(text.size()) + 1;
    EXPECT_EQ(read(text + ",c", reading), found(field, end, CHANGED));
    EXPECT_EQ(read_in_place(text + ",c", reading), found(field, end, CHANGED));
}

TEST(DequoteStringModel, AgreesOnShortTexts) {
    expect_reading_like_model(texts::over<std::string>(with_nuls("a\"\\,;n\0"), 4),
                              readings(with_nuls("\0\""), {"null", ",", ",;", "a"},
                                       with_nuls("\0\\"), {"null", ";", "\",", "\\n"}),
                              false);
}

TEST(DequoteStringModel, AgreesAtEveryPosition) {
    expect_reading_like_model(
        texts::over<std::string>(with_nuls("a\"\\,;\0"), 3),
        readings(with_nuls("\0\""), {"", ",", ",;"}, with_nuls("\0\\"), {"", ";", "\"\\"}), true);
}

TEST(DequoteStringModel, AgreesInEveryState) {
    expect_reading_like_model(texts::over<std::string>("a\"\\,", 7),
                              readings("\"", {","}, "\\", {"", "a", "\\"}), false);
}

TEST(DequoteStringModel, AgreesWhereCharactersHaveTwoRoles) {
    expect_reading_like_model(texts::over<std::string>("a,;\\", 4),
                              readings(",;\\a", {",", ";,", "\\", ""}, ",;a", {"", ";", ",a"}),
                              false);
}

TEST(DequoteStringModel, AgreesOnLongSeparators) {
    expect_reading_like_model(texts::over<std::string>("ab", 7),
                              readings(with_nuls("\0\"b"), texts::over<std::string>("ab", 3),
                                       with_nuls("\0a"), {"", "b"}),
                              false);
}

TEST(DequoteStringModel, AgreesOnEveryByte) {
    for (const char c : texts::all_bytes()) {
        const std::string one(1, c);
        expect_reading_like_model(
            {one, one + one + "n", "x" + one, "\"x" + one + "y\"" + one + "z"},
            readings(with_nuls("\"\0") + c, {",", one, "x" + one}, with_nuls("\\\0") + c,
                     {"", one}),
            false);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(DequoteStringModel, AgreesOnRandomTexts) {
    const unsigned int seed = random_seed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        const std::string separator = random.text(3);
        const std::string terminators = random.text(1);
        const Reading reading{random.setting(), separator.c_str(), random.setting(),
                              terminators.c_str(), random.below(4) == 0};
        const std::string text = random.text(random.coin() ? 10 : 100);
        const auto position = static_cast<unsigned int>(random.coin() ? 0 : random.below(20));
        expect_reading_like_model(text, position, reading);
    }
}

// Long runs of plain characters are passed over in bulk, wherever what ends them stands.

TEST(DequoteString, FindsASeparatorAtAnyPlace) {
    for (std::size_t before = 0; before < 70; ++before) {
        for (std::size_t behind = 1; behind < 40; ++behind) {
            const std::string field(before, 'a');
            const std::string text = field + ',' + std::string(behind, 'b');
            const Read first = read(text, {});
            ASSERT_EQ(first.field, field);
            ASSERT_EQ(first.next, before + 1);
            ASSERT_EQ(FSVList().parse(text).to_list(), (Fields{field, std::string(behind, 'b')}));
        }
    }
}

TEST(DequoteString, FindsAQuoteAtAnyPlace) {
    for (std::size_t before = 0; before < 70; ++before) {
        for (std::size_t behind = 0; behind < 40; ++behind) {
            const std::string start(before, 'a');
            const std::string end(behind, 'b');
            ASSERT_EQ(FSVList().parse(start + "\"" + end + ",\"\"\"" + start).to_list(),
                      (Fields{start + end + ",\"" + start}));
        }
    }
}

TEST(QuoteString, FindsWhatNeedsQuotesAtAnyPlace) {
    for (const std::string special : {",", "\n", "\r", "\""}) {
        const std::string doubled = special == "\"" ? "\"\"" : special;
        for (std::size_t before = 0; before < 70; ++before) {
            for (std::size_t behind = 0; behind < 40; ++behind) {
                const std::string start(before, 'a');
                const std::string end(behind, 'b');
                ASSERT_EQ(written(start + special + end, {}),
                          gives("\"" + start + doubled + end + "\"", CHANGED));
            }
        }
    }
}

namespace {

// A character of each kind at every place of a text that is long enough.
Fields long_fields() {
    Fields fields;
    for (const char c : with_nuls("\"\\,;: \n\0x")) {
        for (std::size_t place = 0; place < 40; ++place) {
            fields.emplace_back(40, 'a');
            fields.back()[place] = c;
        }
    }
    return fields;
}

} // namespace

// Only some settings allow to pass over characters in bulk.
TEST(QuoteStringModel, AgreesOnLongFieldsWithEverySetting) {
    expect_writing_like_model(
        long_fields(),
        texts::affordable(writings(with_nuls("\0\""), {"null", ",", ",;"}, {"null", ";", ":"},
                                   with_nuls("\0\\"), {"null", "x"})));
}

TEST(DequoteStringModel, AgreesOnLongTextsWithEverySetting) {
    expect_reading_like_model(
        long_fields(),
        readings(with_nuls("\0\""), {"null", ",", ",;"}, with_nuls("\0\\"), {"null", ";", ":x"}),
        false);
}

TEST(FSVList, ReadsMoreFieldsThanItExpects) {
    const Fields fields(1000, "a"); // the room that is set aside goes by the length of the text
    std::string line = "a";
    for (std::size_t i = 1; i < fields.size(); ++i) {
        line += ",a";
    }
    EXPECT_EQ(FSVList().parse(line).to_list(), fields);
}

// What is written is read back, also with another field behind it.

namespace {

void expect_round_trip(const Fields& fields, const std::vector<Writing>& settings) {
    for (const Writing& writing : settings) {
        const Reading reading{writing.quote, writing.separator, writing.escape, writing.specials};
        const std::string separator = writing.separator;
        for (const std::string& field : fields) {
            const std::string text = written(field, writing).line;
            ASSERT_EQ(read(text, reading).field, field) << text << ' ' << shown(writing);
            const Read first = read(text + separator + "z", reading);
            ASSERT_EQ(first.field, field) << text << ' ' << shown(writing);
            ASSERT_EQ(first.next, text.size() + separator.size()) << text << ' ' << shown(writing);
        }
    }
}

} // namespace

TEST(FieldRoundTrip, HoldsForASeparatorOfOneCharacter) {
    expect_round_trip(
        texts::over<std::string>(with_nuls("n,\"\\;\n\0 "), 4),
        writings("\"", {",", " "}, {"", ";"}, with_nuls("\0\\"), {"", "\n", "\r\n\t\v"}));
}

TEST(FieldRoundTrip, HoldsForALongSeparatorWhenEveryFieldIsQuoted) {
    std::vector<Writing> settings;
    for (Writing writing : writings("\"", {"; ", "aa", "aba", "-\"-"}, {"", ";"}, with_nuls("\0\\"),
                                    {"", "\n"}, {false})) {
        writing.quote_always = true;
        settings.push_back(writing);
    }
    expect_round_trip(texts::over<std::string>("ab;\" \\", 4), settings);
}

// Without quotes the start of the separator may look like the end of the field.
TEST(FieldRoundTrip, IsLostWhenTheFieldEndsAsALongSeparatorStarts) {
    const Writing writing{'"', "aa"};
    EXPECT_EQ(written("c", writing, written("ba", writing).line), gives("baaac", UNCHANGED));
    EXPECT_EQ(read("baaac", {'"', "aa"}), found("b", 3, UNCHANGED));
}

// Letters of an escape are no letters any more.
TEST(FieldRoundTrip, IsLostWhenTheLettersOfEscapesAreEscaped) {
    EXPECT_EQ(written("nrt0", {'"', ",", "", '\\', "nrt0"}), gives("\\n\\r\\t\\0", CHANGED));
    EXPECT_EQ(read("\\n\\r\\t\\0", {'"', ",", '\\'}),
              found(with_nuls("\n\r\t\0"), NOWHERE, CHANGED));
}

// The list

namespace {

// A list whose settings can be reached.
class Settable : public FSVList {
public:
    using FSVList::FSVList;

    using FSVList::drop_plain_;
    using FSVList::escape_;
    using FSVList::escape_set_;
    using FSVList::fields_;
    using FSVList::quote_;
    using FSVList::quote_blank_ends_;
    using FSVList::separator_;
    using FSVList::specials_;

    Writing writing(bool quote_all) const {
        return {quote_,   separator_.c_str(),  specials_.c_str(),
                escape_,  escape_set_.c_str(), quote_blank_ends_,
                quote_all};
    }

    Reading reading(bool literal_quotes) const {
        return {literal_quotes ? '\0' : quote_, separator_.c_str(), escape_, specials_.c_str(),
                drop_plain_};
    }
};

Settable list_of(const Fields& fields, const std::string& separator = "") {
    Settable list(separator);
    list.fields_ = fields;
    return list;
}

Fields parsed(const std::string& text, bool literal_quotes = false) {
    return FSVList().parse(text, literal_quotes).to_list();
}

// Sets what new lists quote with, for the length of a scope.
class QuoteChar {
public:
    explicit QuoteChar(char c) : earlier_(FSVList::CSV_QuoteChar) { FSVList::CSV_QuoteChar = c; }
    ~QuoteChar() { FSVList::CSV_QuoteChar = earlier_; }
    QuoteChar(const QuoteChar&) = delete;
    QuoteChar& operator=(const QuoteChar&) = delete;

private:
    char earlier_;
};

} // namespace

TEST(FsvListStatics, HaveTheirTypesAndValues) {
    static_assert(std::is_same_v<decltype(FSVList::CSV_QuoteChar), char>);
    static_assert(std::is_same_v<decltype(FSVList::CSV_SpecialChars), std::string>);
    EXPECT_EQ(FSVList::CSV_QuoteChar, '"');
    EXPECT_EQ(FSVList::CSV_SpecialChars, ",");
}

TEST(FsvListStatics, ServeStaticInitialisersOfTheProgram) {
    EXPECT_EQ(special_characters_at_start, ",");
    EXPECT_EQ(parsed_at_start, (Fields{"a", "'b'", "c,d"}));
}

TEST(FsvListStatics, TheQuoteCharIsCopiedWhenAListIsMade) {
    Settable before = list_of({"a,b", "c'd"});
    const QuoteChar changed('\'');
    Settable after = list_of({"a,b", "c'd"});
    EXPECT_EQ(before.to_str(), "\"a,b\",c'd");
    EXPECT_EQ(after.to_str(), "'a,b','c''d'");
    EXPECT_EQ(before.parse("'a,\"b\"").to_list(), (Fields{"'a", "b"}));
    EXPECT_EQ(after.parse("'a,\"b\"").to_list(), (Fields{"a,\"b\""}));
    EXPECT_EQ(FSVList(before).parse("\"a,b\"").to_list(), Fields{"a,b"});
    before = after;
    EXPECT_EQ(before.quote_, '\'');
}

TEST(FsvListStatics, AListMadeWithoutAQuoteCharQuotesNothing) {
    const QuoteChar none('\0');
    Settable list = list_of({"a,b", "\"", ""});
    EXPECT_EQ(list.to_str(), "a,b,\",");
    EXPECT_EQ(list.to_str(true), "a,b,\",");
    EXPECT_EQ(list.parse(with_nuls("\"a,\0b")).to_list(), (Fields{"\"a", with_nuls("\0b")}));
}

TEST(FsvListStatics, NoListUsesTheSpecialChars) {
    FSVList::CSV_SpecialChars = "ab";
    Settable list = list_of({"ab", "c"});
    EXPECT_EQ(list.specials_, "");
    EXPECT_EQ(list.to_str(), "ab,c");
    EXPECT_EQ(list.parse("ab,c").to_list(), (Fields{"ab", "c"}));
    FSVList::CSV_SpecialChars = ",";
}

TEST(FsvListSeparator, IsACommaUnlessGiven) {
    EXPECT_EQ(FSVList().parse("a,b").to_list(), (Fields{"a", "b"}));
    EXPECT_EQ(FSVList("").parse("a,b").to_list(), (Fields{"a", "b"}));
    EXPECT_EQ(FSVList(";").field_separator("").parse("a,b;c").to_list(), (Fields{"a", "b;c"}));
    EXPECT_EQ(Settable("").separator_, ",");
}

TEST(FsvListSeparator, IsAnyText) {
    FSVList list("; ");
    EXPECT_EQ(list.parse("a;b; c; ").to_list(), (Fields{"a;b", "c"}));
    EXPECT_EQ(list.to_str(), "a;b; c");
    EXPECT_EQ(list.field_separator("aa").parse("aaab").to_list(), (Fields{"", "ab"}));
    EXPECT_EQ(list.field_separator("\xe9").parse("a\xe9").to_list(), (Fields{"a"}));
    EXPECT_EQ(list.field_separator("\n").parse("a,b\nc").to_list(), (Fields{"a,b", "c"}));
}

TEST(FsvListSeparator, IsSetInTheListThatIsReturned) {
    FSVList list;
    EXPECT_EQ(&list.field_separator(";"), &list);
    EXPECT_EQ(list.parse("a;b").to_list(), (Fields{"a", "b"}));
}

TEST(FsvListSeparator, LeavesTheFields) {
    FSVList list;
    list.parse("a,\"b;c\",d");
    EXPECT_EQ(list.field_separator(";").to_list(), (Fields{"a", "b;c", "d"}));
    EXPECT_EQ(list.to_str(), "a;\"b;c\";d");
}

TEST(FsvListSeparator, IsTakenOutOfTheList) {
    Settable list = list_of({"a", ";"}, "; ");
    EXPECT_EQ(list.field_separator(list.separator_).to_str(), "a; ;");
    EXPECT_EQ(list.field_separator(list.fields_[1]).to_str(), "a;\";\"");
}

TEST(FsvListSeparator, EndsAtItsFirstNul) {
    FSVList list(with_nuls(";\0x"));
    EXPECT_EQ(list.parse("a;b,x").to_list(), (Fields{"a", "b,x"}));
    EXPECT_EQ(list.to_str(), "a;b,x");
    EXPECT_EQ(list.field_separator(with_nuls("\0;")).parse("a;b,c").to_list(), Fields{"a;b,c"});
}

TEST(FsvListSeparator, ConstructorIsExplicit) {
    EXPECT_FALSE((std::is_convertible_v<std::string, FSVList>));
}

TEST(FsvListParse, ReadsTheFieldsBetweenSeparators) {
    EXPECT_EQ(parsed("a,b"), (Fields{"a", "b"}));
    EXPECT_EQ(parsed("a"), (Fields{"a"}));
    EXPECT_EQ(parsed("a,,b"), (Fields{"a", "", "b"}));
    EXPECT_EQ(parsed(",a"), (Fields{"", "a"}));
    EXPECT_EQ(parsed(",,"), (Fields{"", ""}));
    EXPECT_EQ(parsed(" a , b "), (Fields{" a ", " b "}));
    EXPECT_EQ(parsed(with_nuls("\0,a\0")), (Fields{with_nuls("\0"), with_nuls("a\0")}));
    EXPECT_EQ(parsed("a\nb,\\n"), (Fields{"a\nb", "\\n"}));
}

TEST(FsvListParse, FindsNoFieldsInAnEmptyText) { EXPECT_EQ(parsed(""), Fields{}); }

TEST(FsvListParse, FindsNoFieldBehindASeparatorAtTheEnd) {
    EXPECT_EQ(parsed("a,b,"), (Fields{"a", "b"}));
    EXPECT_EQ(parsed(","), (Fields{""}));
}

TEST(FsvListParse, ReadsQuotes) {
    EXPECT_EQ(parsed("a,\"b,c\""), (Fields{"a", "b,c"}));
    EXPECT_EQ(parsed("\"\"\"hi\"\"\""), (Fields{"\"hi\""}));
    EXPECT_EQ(parsed("\"\",\"\""), (Fields{"", ""}));
    EXPECT_EQ(parsed("\"a\nb\",c"), (Fields{"a\nb", "c"}));
    EXPECT_EQ(parsed("a\"b,\"c"), (Fields{"ab,c"}));
    EXPECT_EQ(parsed("a,\"b,c"), (Fields{"a", "b,c"}));
    EXPECT_EQ(parsed("a,\""), (Fields{"a", ""}));
}

TEST(FsvListParse, TakesQuotesLiterallyWhenAsked) {
    EXPECT_EQ(parsed("\"a,b\",\"\"", true), (Fields{"\"a", "b\"", "\"\""}));
    EXPECT_EQ(parsed(with_nuls("\0a,\0"), true), (Fields{with_nuls("\0a"), with_nuls("\0")}));
}

TEST(FsvListParse, ReplacesTheFieldsAndReturnsTheList) {
    FSVList list;
    EXPECT_EQ(&list.parse("a,b,c"), &list);
    EXPECT_EQ(list.parse("d").to_list(), (Fields{"d"}));
    EXPECT_EQ(list.parse("").to_list(), Fields{});
}

// The list that is parsed may hold the text.
TEST(FsvListParse, TakesAFieldOfTheListItself) {
    for (const std::string& text : {std::string("a,\"b,c\""), std::string(100, 'x') + ",y"}) {
        Settable list = list_of({"z", text, "z"});
        EXPECT_EQ(list.parse(list.fields_[1]).to_list(), parsed(text));
        list = list_of({text});
        EXPECT_EQ(list.parse(list.fields_[0]).to_list(), parsed(text));
    }
    Settable list(";");
    EXPECT_EQ(list.parse(list.separator_).to_list(), Fields{""});
}

TEST(FsvListParse, ReadsAMillionFields) {
    constexpr std::size_t COUNT = 1000000;
    std::string text;
    for (std::size_t i = 0; i < COUNT; ++i) {
        text += i % 2 == 0 ? "a," : "\"b,\"\"\",";
    }
    text += "c";
    FSVList list;
    const Fields fields = list.parse(text).to_list();
    ASSERT_EQ(fields.size(), COUNT + 1);
    EXPECT_EQ(fields[0], "a");
    EXPECT_EQ(fields[COUNT - 1], "b,\"");
    EXPECT_EQ(fields[COUNT], "c");
    EXPECT_EQ(list.to_str(), text);
}

TEST(FsvListParse, ReadsAMillionSeparators) {
    const std::string text(1000000, ',');
    EXPECT_EQ(parsed(text), Fields(1000000));
}

TEST(FsvListToStr, JoinsTheFields) {
    EXPECT_EQ(list_of({"a", "b"}).to_str(), "a,b");
    EXPECT_EQ(list_of({"a"}).to_str(), "a");
    EXPECT_EQ(list_of({"a", "", "b"}).to_str(), "a,,b");
    EXPECT_EQ(list_of({"a", "b"}, " - ").to_str(), "a - b");
    EXPECT_EQ(list_of({" a", "b "}).to_str(), " a,b ");
    EXPECT_EQ(FSVList().to_str(), "");
    EXPECT_EQ(FSVList().to_str(true), "");
}

TEST(FsvListToStr, QuotesWhatNeedsIt) {
    EXPECT_EQ(list_of({"a", "b,c"}).to_str(), "a,\"b,c\"");
    EXPECT_EQ(list_of({"\"hi\""}).to_str(), "\"\"\"hi\"\"\"");
    EXPECT_EQ(list_of({"a\nb", "\r"}).to_str(), "\"a\nb\",\"\r\"");
    EXPECT_EQ(list_of({"a\\", with_nuls("\0")}).to_str(), with_nuls("a\\,\0"));
}

TEST(FsvListToStr, QuotesEveryFieldWhenAsked) {
    EXPECT_EQ(list_of({"x", ""}).to_str(true), "\"x\",\"\"");
    EXPECT_EQ(list_of({"", "\""}).to_str(true), "\"\",\"\"\"\"");
}

TEST(FsvListToStr, LosesEmptyFieldsAtTheStart) {
    EXPECT_EQ(list_of({"", "b"}).to_str(), "b");
    EXPECT_EQ(list_of({"", "", "b", ""}).to_str(), "b,");
    EXPECT_EQ(list_of({"", ""}).to_str(), "");
    EXPECT_EQ(list_of({"a", ""}).to_str(), "a,");
}

TEST(FsvListToStr, LeavesTheList) {
    const Settable list = list_of({"a", "b,c"});
    list.to_str(true);
    EXPECT_EQ(list.to_list(), (Fields{"a", "b,c"}));
}

TEST(FsvListToList, ReturnsACopy) {
    FSVList list;
    Fields fields = list.parse("a,b").to_list();
    fields[0] = "changed";
    EXPECT_EQ(list.to_list(), (Fields{"a", "b"}));
}

TEST(FsvListDerived, FindsTheSettingsOfANewList) {
    const Settable list;
    EXPECT_EQ(list.fields_, Fields{});
    EXPECT_EQ(list.separator_, ",");
    EXPECT_EQ(list.specials_, "");
    EXPECT_EQ(list.escape_set_, "");
    EXPECT_EQ(list.quote_, '"');
    EXPECT_EQ(list.escape_, 0);
    EXPECT_FALSE(list.drop_plain_);
    EXPECT_FALSE(list.quote_blank_ends_);
}

TEST(FsvListDerived, HasFieldsQuotedForSpecialCharactersAndEndedByThem) {
    Settable list = list_of({"a;", "b"});
    list.specials_ = ";|";
    EXPECT_EQ(list.to_str(), "\"a;\",b");
    EXPECT_EQ(list.parse("a;b|,c;").to_list(), (Fields{"a", ";", "b", "|", "", "c", ";"}));
    EXPECT_EQ(list.parse("\"a;\",b").to_list(), (Fields{"a;", "b"}));
}

TEST(FsvListDerived, EscapesAndReadsEscapes) {
    Settable list = list_of({"a\nb", with_nuls("\0\\"), "c,\n"});
    list.escape_ = '\\';
    list.escape_set_ = "\n";
    EXPECT_EQ(list.to_str(), "a\\nb,\\0\\\\,\"c,\\n\"");
    const Fields before = list.fields_;
    EXPECT_EQ(list.parse(list.to_str()).to_list(), before);
    EXPECT_EQ(list.parse("\\\"a\\,b\\\"", true).to_list(), (Fields{"\"a,b\""}));
    EXPECT_EQ(list.parse("\"\\n\"", true).to_list(), (Fields{"\"\n\""}));
}

TEST(FsvListDerived, QuotesBlankEnds) {
    Settable list = list_of({" a", "b", "c "});
    list.quote_blank_ends_ = true;
    EXPECT_EQ(list.to_str(), "\" a\",b,\"c \"");
}

TEST(FsvListDerived, DropsPlainCharacters) {
    Settable list;
    list.drop_plain_ = true;
    EXPECT_EQ(list.parse("a,\"b\"\"\",c").to_list(), (Fields{"", "\"", ""}));
}

TEST(FsvListDerived, QuotesWithAnotherCharacterOrNone) {
    Settable list = list_of({"a,b", "c'"});
    list.quote_ = '\'';
    EXPECT_EQ(list.to_str(), "'a,b','c'''");
    EXPECT_EQ(list.parse("'a,b','c'''").to_list(), (Fields{"a,b", "c'"}));
    list.quote_ = 0;
    EXPECT_EQ(list.to_str(), "a,b,c'");
}

TEST(FsvListDerived, HasNoSeparator) {
    Settable list = list_of({"a", "b,"});
    list.separator_.clear();
    EXPECT_EQ(list.to_str(), "ab,");
    EXPECT_EQ(list.parse("a,b").to_list(), Fields{"a,b"});
}

TEST(FsvListDerived, MisusesTheEscapeSet) {
    Settable list = list_of({"a", "b;"});
    list.specials_ = ";";
    list.escape_ = '\\';
    list.escape_set_ = ";";
    EXPECT_THROW(list.to_str(), std::out_of_range);
    EXPECT_EQ(list.to_list(), (Fields{"a", "b;"}));
    list.specials_.clear();
    EXPECT_EQ(list.to_str(), "a,b\\;");
    list.escape_set_ = ",";
    list.fields_ = {"a", "b,"};
    EXPECT_THROW(list.to_str(), std::out_of_range);
}

TEST(FsvListDerived, AgreesWithTheModelWhateverTheSettings) {
    const unsigned int seed = random_seed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    for (int round = 0; round < 5000; ++round) {
        Settable list(random.text(3));
        list.specials_ = random.text(2);
        list.escape_set_ = random.text(3);
        list.quote_ = random.setting();
        list.escape_ = random.setting();
        list.drop_plain_ = random.below(4) == 0;
        list.quote_blank_ends_ = random.coin();
        for (std::size_t count = random.below(6); count > 0; --count) {
            list.fields_.push_back(random.text(12));
        }
        for (const bool flag : {false, true}) {
            const Written expected = fsv_model::write_all(list.fields_, list.writing(flag));
            if (expected.misused) {
                ASSERT_THROW(list.to_str(flag), std::out_of_range) << shown(list.writing(flag));
            } else {
                ASSERT_EQ(list.to_str(flag), expected.line) << shown(list.writing(flag));
            }
            Settable other = list;
            const std::string text = random.text(60);
            ASSERT_EQ(other.parse(text, flag).to_list(),
                      fsv_model::read_all(text, list.reading(flag)))
                << text << ' ' << shown(list.reading(flag));
        }
    }
}

namespace {

// What comes back of fields that are not quoted for being empty.
Fields without_lost(Fields fields) {
    while (!fields.empty() && fields.front().empty()) {
        fields.erase(fields.begin());
    }
    if (!fields.empty() && fields.back().empty()) {
        fields.pop_back();
    }
    return fields;
}

void expect_list_round_trip(const Fields& fields) {
    const Settable list = list_of(fields);
    ASSERT_EQ(parsed(list.to_str(true)), fields);
    ASSERT_EQ(parsed(list.to_str()), without_lost(fields)) << list.to_str();
}

} // namespace

// All lists of up to three fields of up to two characters.
TEST(FsvListRoundTrip, LosesEmptyFieldsAtTheEndsAndNothingElse) {
    const Fields fields = texts::over<std::string>("a,\"\n", 2);
    for (const std::string& a : fields) {
        expect_list_round_trip({a});
        for (const std::string& b : fields) {
            expect_list_round_trip({a, b});
            for (const std::string& c : fields) {
                expect_list_round_trip({a, b, c});
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

TEST(FsvListRoundTrip, KeepsEveryByte) {
    Fields fields{texts::all_bytes()};
    for (const char c : texts::all_bytes()) {
        fields.push_back(std::string(1, c));
    }
    expect_list_round_trip(fields);
}

TEST(FsvListRoundTrip, KeepsRandomLists) {
    const unsigned int seed = random_seed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    for (int round = 0; round < 5000 && !HasFailure(); ++round) {
        Fields fields(random.below(8));
        for (std::string& field : fields) {
            field = random.text(random.coin() ? 2 : 30);
        }
        expect_list_round_trip(fields);
    }
}

// What a failed allocation leaves behind

TEST(FsvListAllocations, AFailedOneLeavesTheLineAndTheFieldAsTheyWere) {
    const std::string separator(50, ';');
    const std::string before(30, 'x');
    const std::string field = std::string(40, '\n') + '"';
    const Writing writing{'"', separator.c_str(), ",", '\\', "\n"};
    std::string line = before;
    EXPECT_GT(allocation::fail_each([&] { quote(field, line, writing); },
                                    [&] { ASSERT_EQ(line, before); }),
              0U);
    EXPECT_EQ(line, fsv_model::write(field, before, false, writing).line);

    line = field;
    EXPECT_GT(
        allocation::fail_each([&] { quote(line, line, writing); }, [&] { ASSERT_EQ(line, field); }),
        0U);
    EXPECT_EQ(line, fsv_model::write(field, "", true, writing).line);

    line = before;
    const std::string plain(100, 'a');
    EXPECT_GT(allocation::fail_each([&] { quote(plain, line, writing); },
                                    [&] { ASSERT_EQ(line, before); }),
              0U);
    EXPECT_EQ(line, before + separator + plain);
}

TEST(FsvListAllocations, AFailedOneLeavesTheFieldReadSoFar) {
    const std::string field(200, 'a');
    const std::string text = "x,\"" + field + "\"," + field;
    std::string out = "what stood there before";
    unsigned int position = 2;
    EXPECT_GT(allocation::fail_each([&] { dequote(position, text, out, nullptr, nullptr, {}); },
                                    [&] {
                                        ASSERT_EQ(position, 2U);
                                        ASSERT_EQ(out, field.substr(0, out.size()));
                                    }),
              0U);
    EXPECT_EQ(out, field);
    EXPECT_EQ(position, 205U);
}

TEST(FsvListAllocations, AFailedOneLeavesTheFields) {
    FSVList list;
    list.parse("a,b");
    const std::string long_field(100, 'c');
    const std::string text = long_field + ",\"" + long_field + "\",d,e,f";
    EXPECT_GT(allocation::fail_each([&] { list.parse(text); },
                                    [&] {
                                        ASSERT_EQ(list.to_list(), (Fields{"a", "b"}));
                                    }),
              0U);
    EXPECT_EQ(list.to_list(), (Fields{long_field, long_field, "d", "e", "f"}));
}

TEST(FsvListAllocations, AFailedOneLeavesTheSeparator) {
    Settable list(";");
    const std::string separator(100, '-');
    EXPECT_GT(allocation::fail_each([&] { list.field_separator(separator); },
                                    [&] { ASSERT_EQ(list.separator_, ";"); }),
              0U);
    EXPECT_EQ(list.separator_, separator);
}

TEST(FsvListAllocations, AFailedOneComesOutOfToStrAndTheConstructor) {
    const Settable list = list_of({std::string(100, 'a'), std::string(100, '"')});
    std::string line;
    EXPECT_GT(allocation::fail_each([&] { line = list.to_str(); }, [] {}), 0U);
    EXPECT_EQ(line, std::string(100, 'a') + ",\"" + std::string(200, '"') + "\"");
    const std::string separator(100, '-');
    EXPECT_GT(allocation::fail_each([&] { FSVList made(separator); }, [] {}), 0U);
}

TEST(FsvListAllocations, LeakNothing) {
    const allocation::Watch watch;
    {
        Settable list = list_of({"a", std::string(100, 'b')});
        list.parse(list.to_str(true) + ",c");
        list.specials_ = list.escape_set_ = "b";
        list.escape_ = '\\';
        EXPECT_THROW(list.to_str(), std::out_of_range);
        allocation::fail_each([&] { list.parse(std::string(100, 'd') + ",e"); }, [] {});
    }
    EXPECT_EQ(watch.live(), 0);
}

TEST(FsvListUsage, WorksAsTheHeaderShows) {
    FSVList list;
    EXPECT_EQ(list.parse("a,\"b,c\"").to_list(), (Fields{"a", "b,c"}));
    EXPECT_EQ(list.to_str(), "a,\"b,c\"");
    EXPECT_EQ(list.to_str(true), "\"a\",\"b,c\"");
    EXPECT_EQ(list_of({"a", "b,c", "say \"hi\""}).to_str(), "a,\"b,c\",\"say \"\"hi\"\"\"");
}
