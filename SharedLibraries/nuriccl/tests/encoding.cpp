// Tests of code pages and of the conversions between wide and multibyte text.
//
//   public member                              cases
//   CodePages_e                                CodePages.*
//   CodePage, init (four forms)                CodePageInit.*, CodePageOutOfMemory.*
//   isDefault                                  IsDefault.*
//   operator==, operator!=                     CodePageEquality.*
//   getDefaultCodePage                         CodePages.*
//   codePageToString                           CodePageToString.*
//   operator<<                                 CodePageOutput.*
//   s_toCodePage ... s_ignoreBadChars          Settings.*
//   toMultibyte                                ToMultibyte.*, ToMultibyteDefault.*
//   toWideChar                                 ToWideChar.*, ToWideCharDefault.*
//   both                                       Unicode.*, SingleByte.*, Stateful.*, Edges.*,
//                                              Conversions.*, ConversionCalls.*,
//                                              ConversionOutOfMemory.*
//   ToUpperCase, ToLowerCase                   CaseFunctors.*
//   transformString (narrow, wide)             TransformNarrow.*, TransformWide.*
//   toUpperCase, toLowerCase                   CaseConversion.*
//   the example of the header                  EncodingUsage.*

#include "support/allocation.hpp"
#include "support/environment.hpp"
#include "support/guarded.hpp"
#include "support/locale.hpp"
#include "support/texts.hpp"

#include <nuriccl/encoding.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <iconv.h>
#include <initializer_list>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// iconv_open, iconv and iconv_close stand in front of the C library's own, which they pass the
// calls on to, so that descriptors can be counted and calls can be made to fail.

namespace {

// What goes on between the library and iconv. Never allocates: memory may have run out.
struct Iconv {
    int opened = 0;
    int closed = 0;
    int strays = 0; // closed without being open
    char to[64] = "";
    char from[64] = "";
    std::size_t most_room = 0; // bytes for output in one call
    iconv_t open[8] = {};

    bool open_fails = false;
    bool close_fails = false;  // after closing
    bool gets_nowhere = false; // lacks room, whatever there is
    bool end_fails = false;    // of what it holds back

    void add(iconv_t descriptor, const char* target, const char* source) {
        ++opened;
        std::strncpy(to, target, sizeof to - 1);
        std::strncpy(from, source, sizeof from - 1);
        *std::find(std::begin(open), std::end(open) - 1, nullptr) = descriptor;
    }

    void remove(iconv_t descriptor) {
        ++closed;
        iconv_t* const place = std::find(std::begin(open), std::end(open), descriptor);
        if (place != std::end(open)) {
            *place = nullptr;
        } else {
            ++strays;
        }
    }
};

Iconv iconv_calls;

const auto FAILED = static_cast<std::size_t>(-1);
const auto NO_DESCRIPTOR = reinterpret_cast<iconv_t>(FAILED);

template <class Function>
Function* next_in_process(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" iconv_t iconv_open(const char* to, const char* from) {
    static const auto next = next_in_process<decltype(iconv_open)>("iconv_open");
    if (iconv_calls.open_fails) {
        errno = EMFILE;
        return NO_DESCRIPTOR;
    }
    const iconv_t descriptor = next(to, from);
    if (descriptor != NO_DESCRIPTOR) {
        iconv_calls.add(descriptor, to, from);
    }
    return descriptor;
}

extern "C" std::size_t iconv(iconv_t descriptor, char** in, std::size_t* left, char** out,
                             std::size_t* room) {
    static const auto next = next_in_process<decltype(iconv)>("iconv");
    if (iconv_calls.gets_nowhere) {
        errno = E2BIG;
        return FAILED;
    }
    if (iconv_calls.end_fails && in == nullptr) {
        errno = EILSEQ;
        return FAILED;
    }
    iconv_calls.most_room = std::max(iconv_calls.most_room, *room);
    return next(descriptor, in, left, out, room);
}

extern "C" int iconv_close(iconv_t descriptor) {
    static const auto next = next_in_process<decltype(iconv_close)>("iconv_close");
    iconv_calls.remove(descriptor);
    const int result = next(descriptor);
    return iconv_calls.close_fails ? -1 : result;
}

namespace {

namespace Encoding = nuriccl::Encoding;
using Encoding::CodePage;
using Encoding::CodePages_e;

// Holds every test to closing each descriptor once.
class DescriptorCheck : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(iconv_calls.opened, iconv_calls.closed) << "descriptors left open";
        EXPECT_EQ(iconv_calls.strays, 0) << "closed what was not open";
    }
};

const bool descriptors_are_checked = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new DescriptorCheck);
    return true;
}();

// Taken while this program's own statics are built.
const std::string name_at_start = Encoding::s_toCodePage.m_name;
const std::string upper_case_at_start = [] {
    std::string out;
    nuriccl::transformString(std::string("a\xc3\xa9"), out,
                             Encoding::ToUpperCase(std::locale::classic()));
    return out;
}();

constexpr auto ABOVE = static_cast<CodePages_e>(9); // no enumerator

CodePage custom(const char* name, unsigned int number = 0) {
    CodePage codePage(Encoding::CP_DEFAULT);
    codePage.init(number, name);
    return codePage;
}

// UTF-8 under a name for which the library has iconv do everything.
CodePage by_iconv() { return custom("UTF8"); }

// UTF-8 with and without the library's own conversion.
std::vector<CodePage> both_ways() { return {CodePage(Encoding::CP_UTF8), by_iconv()}; }

// Conversions, with the text right before memory that must not be read

using Multibyte = std::pair<bool, std::string>;
using Wide = std::pair<bool, std::wstring>;

template <class String>
unsigned int length(const String& text) {
    return static_cast<unsigned int>(text.size());
}

Multibyte multibyte(const std::wstring& text, const CodePage& codePage,
                    const char* replacement = nullptr) {
    const guarded::Text<wchar_t> source(text);
    Multibyte result{false, "what stood there before"};
    result.first = Encoding::toMultibyte(source.data(), length(text), result.second, codePage,
                                         replacement, false);
    std::string best_fit;
    EXPECT_EQ(
        Encoding::toMultibyte(source.data(), length(text), best_fit, codePage, replacement, true),
        result.first);
    EXPECT_TRUE(best_fit == result.second);
    return result;
}

Wide wide(const std::string& text, const CodePage& codePage, bool ignore = false) {
    const guarded::Text<char> source(text);
    Wide result{false, L"what stood there before"};
    result.first =
        Encoding::toWideChar(source.data(), length(text), result.second, codePage, ignore);
    return result;
}

// The representations of Unicode, written by hand

// Bytes or units, as numbers.
using Units = std::vector<unsigned int>;

template <class Numbers>
void append(std::string& bytes, const Numbers& units, int size) {
    for (unsigned int unit : units) {
        for (int i = 0; i < size; ++i, unit >>= 8) {
            bytes.push_back(static_cast<char>(unit & 0xff));
        }
    }
}

std::string packed(const Units& units, int size) {
    std::string bytes;
    append(bytes, units, size);
    return bytes;
}

using Numbers = std::initializer_list<unsigned int>; // takes no memory: texts are long

void utf8(std::string& bytes, wchar_t character) {
    const auto code = static_cast<unsigned int>(character);
    const unsigned int last = 0x80 | (code & 0x3f);
    const unsigned int third = 0x80 | (code >> 6 & 0x3f);
    if (code < 0x80) {
        append(bytes, Numbers{code}, 1);
    } else if (code < 0x800) {
        append(bytes, Numbers{0xc0 | code >> 6, last}, 1);
    } else if (code < 0x10000) {
        append(bytes, Numbers{0xe0 | code >> 12, third, last}, 1);
    } else {
        append(bytes, Numbers{0xf0 | code >> 18, 0x80 | (code >> 12 & 0x3f), third, last}, 1);
    }
}

void utf16(std::string& bytes, wchar_t character) {
    const auto code = static_cast<unsigned int>(character);
    if (code < 0x10000) {
        append(bytes, Numbers{code}, 2);
    } else {
        append(bytes, Numbers{0xd7c0 + (code >> 10), 0xdc00 + (code & 0x3ff)}, 2);
    }
}

void utf32(std::string& bytes, wchar_t character) {
    append(bytes, Numbers{static_cast<unsigned int>(character)}, 4);
}

using Form = void (*)(std::string&, wchar_t);

std::string in_form(Form form, const std::wstring& text) {
    std::string bytes;
    for (const wchar_t character : text) {
        form(bytes, character);
    }
    return bytes;
}

std::string utf8(wchar_t character) { return in_form(utf8, {character}); }

const std::string UTF16_MARK = "\xff\xfe";
const std::string UTF32_MARK("\xff\xfe\0\0", 4);

bool is_surrogate(unsigned int code) { return code >= 0xd800 && code <= 0xdfff; }

// The Unicode scalar values from `first` to `last`, in order.
std::wstring characters_between(unsigned int first, unsigned int last) {
    std::wstring text;
    for (unsigned int code = first; code <= last; ++code) {
        if (!is_surrogate(code)) {
            text += static_cast<wchar_t>(code);
        }
    }
    return text;
}

// Every Unicode scalar value but 0, in one text for each plane: with every call of iconv,
// sanitizers look at all that is left of a text.
std::vector<std::wstring> planes() {
    std::vector<std::wstring> texts;
    for (unsigned int first = 0; first <= 0x100000; first += 0x10000) {
        texts.push_back(characters_between(std::max(first, 1U), first + 0xffff));
    }
    return texts;
}

// What is no Unicode scalar value: every surrogate, and values from 0x110000 up with the negative
// ones.
std::vector<wchar_t> no_characters() {
    std::vector<wchar_t> values;
    for (unsigned int code = 0xd800; code <= 0xdfff; ++code) {
        values.push_back(static_cast<wchar_t>(code));
    }
    for (unsigned int shift = 0x110000; shift != 0; shift <<= 1) {
        for (const unsigned int step : {0U, 1U, 0x41U, 0x20acU}) {
            values.push_back(static_cast<wchar_t>(shift + step));
        }
    }
    for (const unsigned int code : {0x110000U, 0x7fffffffU, 0x80000000U, 0x80000041U, 0xffff0041U,
                                    0xfffffffeU, 0xffffffffU, 0x01000041U, 0x00200041U}) {
        values.push_back(static_cast<wchar_t>(code));
    }
    return values;
}

// The size of the valid UTF-8 character at `at`; 0 where there is none.
std::size_t utf8_at(const std::string& text, std::size_t at, wchar_t& character) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    unsigned int code = size == 1 ? lead : lead & (0xffU >> (size + 1));
    for (std::size_t i = 1; i < size && at + i < text.size(); ++i) {
        code = code << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3fU);
    }
    character = static_cast<wchar_t>(code);
    const bool valid =
        code <= 0x10ffff && !is_surrogate(code) && text.compare(at, size, utf8(character)) == 0;
    return valid ? size : 0;
}

// Characters where there are some; bytes that start none are skipped, or end it.
Wide model_from_utf8(const std::string& text, bool ignore) {
    Wide result{true, L""};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t size = utf8_at(text, at, character);
        if (size != 0) {
            result.second += character;
        } else {
            result.first = false;
            if (!ignore) {
                break;
            }
        }
        at += std::max<std::size_t>(size, 1);
    }
    return result;
}

// iconv's own conversions, with room for all output at once and what it holds back at the end. A
// bad character is replaced, and its `bad_size` bytes skipped; null ends the conversion.
Multibyte by_iconv(const char* to, const char* from, std::string text, std::size_t bad_size,
                   const char* replacement) {
    const iconv_t descriptor = iconv_open(to, from);
    EXPECT_NE(descriptor, NO_DESCRIPTOR) << to << ' ' << from;
    std::vector<char> buffer(16 * text.size() + 64);
    char* in = text.data();
    std::size_t left = text.size();
    Multibyte result{true, ""};
    const auto convert = [&](char** source, std::size_t* size) {
        char* end = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t count = iconv(descriptor, source, size, &end, &room);
        result.second.append(buffer.data(), end);
        return count != FAILED;
    };
    while (left != 0 && !convert(&in, &left)) {
        result.first = false;
        if (replacement == nullptr) {
            break;
        }
        const std::size_t skipped = std::min(bad_size, left);
        in += skipped;
        left -= skipped;
        result.second += replacement;
    }
    EXPECT_TRUE(convert(nullptr, nullptr));
    iconv_close(descriptor);
    return result;
}

Multibyte multibyte_by_iconv(const std::wstring& text, const char* name, const char* replacement) {
    return text.empty() || text[0] == 0
               ? Multibyte{true, ""}
               : by_iconv(name, "UTF32LE", in_form(utf32, text), 4, replacement);
}

Wide wide_by_iconv(const std::string& text, const char* name, bool ignore) {
    if (text.empty() || text[0] == 0) {
        return {true, L""};
    }
    const Multibyte result = by_iconv("UTF32LE", name, text, 1, ignore ? "" : nullptr);
    std::wstring characters(result.second.size() / 4, L'\0');
    std::memcpy(characters.data(), result.second.data(), result.second.size());
    return {result.first, characters};
}

} // namespace

// Code pages

TEST(CodePages, HaveTheirValues) {
    EXPECT_EQ(Encoding::CP_DEFAULT, 0);
    EXPECT_EQ(Encoding::CP_ANSI, 1);
    EXPECT_EQ(Encoding::CP_LOCALE, 2);
    EXPECT_EQ(Encoding::CP_UTF8, 3);
    EXPECT_EQ(Encoding::CP_UTF16, 4);
    EXPECT_EQ(Encoding::CP_UTF32, 5);
    EXPECT_EQ(Encoding::CP_WIN1252, 6);
    EXPECT_EQ(Encoding::CP_USASCII, 7);
    EXPECT_EQ(Encoding::CP_CUSTOM, 8);
}

TEST(CodePages, AreStoredInFourSignedBytes) {
    using Stored = std::underlying_type_t<CodePages_e>;
    EXPECT_EQ(sizeof(CodePage::m_codePage), 4U);
    EXPECT_TRUE(std::is_signed_v<Stored>);
    EXPECT_EQ(sizeof(CodePage::m_number), 4U);
    EXPECT_TRUE(std::is_unsigned_v<decltype(CodePage::m_number)>);
}

TEST(CodePages, KeepTheirFieldsInOrderAndNothingElse) {
    const CodePage codePage(Encoding::CP_UTF8);
    const auto* const start = reinterpret_cast<const char*>(&codePage);
    EXPECT_EQ(reinterpret_cast<const char*>(&codePage.m_codePage), start);
    EXPECT_EQ(reinterpret_cast<const char*>(&codePage.m_number), start + 4);
    EXPECT_EQ(reinterpret_cast<const char*>(&codePage.m_locale), start + 8);
    EXPECT_EQ(reinterpret_cast<const char*>(&codePage.m_name), start + 8 + sizeof(std::string));
    EXPECT_EQ(sizeof codePage, 8 + 2 * sizeof(std::string));
    EXPECT_FALSE(std::is_polymorphic_v<CodePage>);
}

TEST(CodePages, DefaultOfTheProcessIsUtf8) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        const CodePage codePage = Encoding::getDefaultCodePage();
        EXPECT_EQ(codePage.m_codePage, Encoding::CP_UTF8);
        EXPECT_EQ(codePage.m_name, "UTF-8");
        EXPECT_EQ(codePage.m_number, 0U);
        EXPECT_EQ(codePage.m_locale, name);
    }
}

// Initialisation

namespace {

std::string locale_name(int category) { return std::setlocale(category, nullptr); }

// The fields as the rules of the four forms have them.
struct CodePageModel {
    int codePage = 0;
    unsigned int number = 0;
    std::string locale;
    std::string name;

    void init(int value) {
        static const char* const names[] = {"UTF-8",  "MS-ANSI",      nullptr,    "UTF-8", "UTF-16",
                                            "UTF-32", "WINDOWS-1252", "US-ASCII", ""};
        codePage = value;
        number = 0;
        locale = locale_name(LC_ALL);
        name = value == 2 || value > 8 ? locale_name(LC_CTYPE) : names[value];
    }

    void init_number(unsigned int value) {
        if (codePage == 0) {
            codePage = 8;
            locale = locale_name(LC_ALL);
            name = "";
        }
        number = value;
    }

    void init_name(const char* value) {
        if (codePage == 0) {
            codePage = 8;
            number = 0;
            locale = locale_name(LC_ALL);
        }
        name = value;
    }

    void init_number_and_name(unsigned int value, const char* text) {
        init_name(text);
        number = value;
    }
};

void expect_fields(const CodePage& codePage, int value, unsigned int number,
                   const std::string& locale, const std::string& name) {
    EXPECT_EQ(codePage.m_codePage, value);
    EXPECT_EQ(codePage.m_number, number);
    EXPECT_EQ(codePage.m_locale, locale);
    EXPECT_EQ(codePage.m_name, name);
}

bool agrees(const CodePage& codePage, const CodePageModel& model) {
    return codePage.m_codePage == model.codePage && codePage.m_number == model.number &&
           codePage.m_locale == model.locale && codePage.m_name == model.name;
}

struct InitStep {
    const char* name;
    std::function<void(CodePage&, CodePageModel&)> run;
};

InitStep init_value(const char* name, int value) {
    return {name, [value](CodePage& codePage, CodePageModel& model) {
                codePage.init(static_cast<CodePages_e>(value));
                model.init(value);
            }};
}

InitStep init_number(const char* name, unsigned int number) {
    return {name, [number](CodePage& codePage, CodePageModel& model) {
                codePage.init(number);
                model.init_number(number);
            }};
}

InitStep init_name(const char* name, const char* text) {
    return {name, [text](CodePage& codePage, CodePageModel& model) {
                codePage.init(text);
                model.init_name(text);
            }};
}

InitStep init_both(const char* name, unsigned int number, const char* text) {
    return {name, [number, text](CodePage& codePage, CodePageModel& model) {
                codePage.init(number, text);
                model.init_number_and_name(number, text);
            }};
}

InitStep set_locale(const char* name, int category, const char* locale) {
    return {name,
            [category, locale](CodePage&, CodePageModel&) { std::setlocale(category, locale); }};
}

const InitStep INIT_STEPS[] = {
    init_value("CP_DEFAULT", 0),
    init_value("CP_ANSI", 1),
    init_value("CP_LOCALE", 2),
    init_value("CP_UTF8", 3),
    init_value("CP_CUSTOM", 8),
    init_value("9", 9),
    init_number("0", 0),
    init_number("1252", 1252),
    init_number("UINT_MAX", UINT_MAX),
    init_name("\"\"", ""),
    init_name("\"KOI8-R\"", "KOI8-R"),
    init_both("866, \"IBM866\"", 866, "IBM866"),
    init_both("0, \"\"", 0, ""),
    set_locale("all C", LC_ALL, "C"),
    set_locale("all C.UTF-8", LC_ALL, "C.UTF-8"),
    set_locale("ctype C.UTF-8", LC_CTYPE, "C.UTF-8"),
};

} // namespace

TEST(CodePageInit, GivesEachValueItsName) {
    const scoped::CLocale locale("C");
    const scoped::CLocale characters("C.UTF-8", LC_CTYPE);
    const std::string all = locale_name(LC_ALL);
    ASSERT_NE(all, "C");
    ASSERT_NE(all, "C.UTF-8");
    expect_fields(CodePage(Encoding::CP_DEFAULT), 0, 0, all, "UTF-8");
    expect_fields(CodePage(Encoding::CP_ANSI), 1, 0, all, "MS-ANSI");
    expect_fields(CodePage(Encoding::CP_LOCALE), 2, 0, all, "C.UTF-8");
    expect_fields(CodePage(Encoding::CP_UTF8), 3, 0, all, "UTF-8");
    expect_fields(CodePage(Encoding::CP_UTF16), 4, 0, all, "UTF-16");
    expect_fields(CodePage(Encoding::CP_UTF32), 5, 0, all, "UTF-32");
    expect_fields(CodePage(Encoding::CP_WIN1252), 6, 0, all, "WINDOWS-1252");
    expect_fields(CodePage(Encoding::CP_USASCII), 7, 0, all, "US-ASCII");
    expect_fields(CodePage(Encoding::CP_CUSTOM), 8, 0, all, "");
}

TEST(CodePageInit, TreatsValuesAboveTheLastLikeTheLocale) {
    const scoped::CLocale characters("C.UTF-8", LC_CTYPE);
    for (const int value : {9, 10, 255, 1252, INT_MAX}) {
        expect_fields(CodePage(static_cast<CodePages_e>(value)), value, 0, locale_name(LC_ALL),
                      "C.UTF-8");
    }
}

TEST(CodePageInit, WithAValueForgetsEverythingBefore) {
    CodePage codePage = custom("KOI8-R", 20866);
    const scoped::CLocale locale("C.UTF-8");
    codePage.init(Encoding::CP_UTF16);
    expect_fields(codePage, 4, 0, "C.UTF-8", "UTF-16");
    codePage.init(1200U);
    codePage.init(Encoding::CP_CUSTOM);
    expect_fields(codePage, 8, 0, "C.UTF-8", "");
    codePage.init(7U, "seven");
    codePage.init(Encoding::CP_DEFAULT);
    expect_fields(codePage, 0, 0, "C.UTF-8", "UTF-8");
}

TEST(CodePageInit, WithANumberMakesADefaultCodePageACustomOneWithoutName) {
    CodePage codePage(Encoding::CP_DEFAULT);
    const scoped::CLocale locale("C.UTF-8");
    codePage.init(1252U);
    expect_fields(codePage, 8, 1252, "C.UTF-8", "");
}

TEST(CodePageInit, WithANumberOnlySetsItOnEveryOtherCodePage) {
    for (int value = 1; value <= 10; ++value) {
        CodePage codePage(static_cast<CodePages_e>(value));
        const std::string locale = codePage.m_locale;
        const std::string name = codePage.m_name;
        const scoped::CLocale other("C.UTF-8");
        codePage.init(1252U);
        expect_fields(codePage, value, 1252, locale, name);
        codePage.init(0U);
        expect_fields(codePage, value, 0, locale, name);
    }
}

TEST(CodePageInit, OfUtf8WithANumberStaysUtf8) {
    CodePage first(Encoding::CP_UTF8);
    CodePage second(Encoding::CP_UTF8);
    first.init(1252);
    second.init(65001);
    EXPECT_EQ(first.m_codePage, Encoding::CP_UTF8);
    EXPECT_EQ(first.m_name, "UTF-8");
    EXPECT_EQ(first.m_number, 1252U);
    EXPECT_TRUE(first == second);
}

TEST(CodePageInit, WithANameMakesADefaultCodePageACustomOneWithoutNumber) {
    CodePage codePage(Encoding::CP_DEFAULT);
    codePage.m_number = 5;
    const scoped::CLocale locale("C.UTF-8");
    codePage.init("KOI8-R");
    expect_fields(codePage, 8, 0, "C.UTF-8", "KOI8-R");
}

TEST(CodePageInit, WithANameOnlySetsItOnEveryOtherCodePage) {
    for (int value = 1; value <= 10; ++value) {
        CodePage codePage(static_cast<CodePages_e>(value));
        codePage.m_number = 77;
        const std::string locale = codePage.m_locale;
        const scoped::CLocale other("C.UTF-8");
        codePage.init("KOI8-R");
        expect_fields(codePage, value, 77, locale, "KOI8-R");
    }
}

TEST(CodePageInit, WithBothSetsBoth) {
    CodePage fresh(Encoding::CP_DEFAULT);
    fresh.init(866, "IBM866");
    expect_fields(fresh, 8, 866, locale_name(LC_ALL), "IBM866");
    CodePage used(Encoding::CP_WIN1252);
    used.init(866, "IBM866");
    expect_fields(used, 6, 866, locale_name(LC_ALL), "IBM866");
}

TEST(CodePageInit, TakesANullNameForTheEmptyOne) {
    const char* const null = nullptr;
    CodePage codePage = custom("KOI8-R", 5);
    codePage.init(null);
    expect_fields(codePage, 8, 5, locale_name(LC_ALL), "");
    codePage = CodePage(Encoding::CP_DEFAULT);
    codePage.init(3, null);
    expect_fields(codePage, 8, 3, locale_name(LC_ALL), "");
}

TEST(CodePageInit, ReadsANameInsideTheObjectAsItWasAtTheCall) {
    for (const int value : {0, 3, 8}) {
        CodePage codePage(static_cast<CodePages_e>(value));
        codePage.m_name = "a name that is too long to be stored in place";
        codePage.init(codePage.m_name.c_str() + 7);
        EXPECT_EQ(codePage.m_name, "that is too long to be stored in place");
        codePage.m_locale = "another text that is too long for that";
        codePage.init(9, codePage.m_locale.c_str() + 8);
        EXPECT_EQ(codePage.m_name, "text that is too long for that");
    }
}

TEST(CodePageInit, AgreesWithTheModelOverEverySequenceOfThree) {
    const scoped::CLocale locale("C");
    const InitStep none{"", [](CodePage&, CodePageModel&) {}};
    for (const int start : {0, 2, 3, 8, 9}) {
        for (const InitStep& first : INIT_STEPS) {
            for (const InitStep& second : INIT_STEPS) {
                for (const InitStep& third : INIT_STEPS) {
                    std::setlocale(LC_ALL, "C");
                    CodePage codePage(static_cast<CodePages_e>(start));
                    CodePageModel model;
                    model.init(start);
                    for (const InitStep* const step : {&none, &first, &second, &third}) {
                        step->run(codePage, model);
                        ASSERT_TRUE(agrees(codePage, model)) << start << ": " << first.name << ", "
                                                             << second.name << ", " << third.name;
                    }
                }
            }
        }
    }
}

TEST(CodePageInit, AgreesWithTheModelOverLongRandomSequences) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    const scoped::CLocale locale("C");
    std::mt19937 random(seed);
    CodePage codePage(Encoding::CP_DEFAULT);
    CodePageModel model;
    model.init(0);
    std::string trail;
    for (int turn = 0; turn < 5000; ++turn) {
        const InitStep& step = INIT_STEPS[random() % std::size(INIT_STEPS)];
        trail += std::string(step.name) + "; ";
        step.run(codePage, model);
        ASSERT_TRUE(agrees(codePage, model)) << trail;
    }
}

TEST(CodePageInit, IsWhatCopiesAndAssignmentsTakeOver) {
    const CodePage original = custom("a name that is too long to be stored in place", 9);
    const CodePage copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    expect_fields(copy, 8, 9, original.m_locale, original.m_name);
    EXPECT_TRUE(copy == original);
    CodePage assigned(Encoding::CP_UTF8);
    assigned = original;
    expect_fields(assigned, 8, 9, original.m_locale, original.m_name);
}

// Default code pages

TEST(IsDefault, IsTrueForTheDefaultAndTheLocaleWhateverTheyAreCalled) {
    for (const char* const name : {"C", "POSIX", "C.UTF-8", "C.utf8"}) {
        const scoped::CLocale locale(name);
        CodePage codePage(Encoding::CP_DEFAULT);
        EXPECT_TRUE(codePage.isDefault()) << name;
        codePage.m_name = "no such name";
        EXPECT_TRUE(codePage.isDefault()) << name;
        codePage = CodePage(Encoding::CP_LOCALE);
        EXPECT_TRUE(codePage.isDefault()) << name;
        codePage.init("no such name");
        EXPECT_TRUE(codePage.isDefault()) << name;
    }
}

TEST(IsDefault, StaysTrueForALocaleCodePageWhenTheLocaleChanges) {
    const scoped::CLocale locale("C");
    const CodePage codePage(Encoding::CP_LOCALE);
    const scoped::CLocale other("C.UTF-8");
    EXPECT_TRUE(codePage.isDefault());
}

TEST(IsDefault, HoldsTheNameOfAValueAboveTheLastAgainstTheLocale) {
    const scoped::CLocale locale("C");
    const CodePage codePage(ABOVE);
    EXPECT_TRUE(codePage.isDefault());
    const scoped::CLocale other("C.UTF-8");
    EXPECT_FALSE(codePage.isDefault());
    EXPECT_TRUE(CodePage(ABOVE).isDefault());
}

TEST(IsDefault, IsFalseForTheOthersInTheLocalesThatEverySystemHas) {
    for (const char* const name : {"C", "POSIX", "C.UTF-8", "C.utf8"}) {
        const scoped::CLocale locale(name);
        for (const int value : {1, 3, 4, 5, 6, 7, 8}) {
            EXPECT_FALSE(CodePage(static_cast<CodePages_e>(value)).isDefault()) << name << value;
        }
    }
}

TEST(IsDefault, ComparesTheNameByteForByteWithTheLocaleOfCharacters) {
    for (const char* const name : {"C", "C.UTF-8", "C.utf8"}) {
        const scoped::CLocale locale(name);
        for (const char* const other : {"C", "c", "", "C.UTF-8", "C.utf8", "C.utf-8", "C.UTF-8 ",
                                        "UTF-8", "C.UTF-80", "C.UTF-"}) {
            EXPECT_EQ(custom(other).isDefault(), std::string(name) == other) << name << other;
        }
    }
}

TEST(IsDefault, LooksAtNoOtherCategory) {
    const scoped::CLocale all("C");
    for (const int category : {LC_COLLATE, LC_MESSAGES, LC_NUMERIC, LC_TIME, LC_MONETARY}) {
        const scoped::CLocale locale("C.UTF-8", category);
        EXPECT_TRUE(custom("C").isDefault());
        EXPECT_FALSE(custom("C.UTF-8").isDefault());
    }
    const scoped::CLocale characters("C.UTF-8", LC_CTYPE);
    EXPECT_FALSE(custom("C").isDefault());
    EXPECT_TRUE(custom("C.UTF-8").isDefault());
    EXPECT_FALSE(custom(locale_name(LC_ALL).c_str()).isDefault());
}

TEST(IsDefault, HoldsForAnyEnumeratorWithThatName) {
    const scoped::CLocale locale("C.UTF-8");
    for (const int value : {-1, 1, 3, 4, 5, 6, 7, 8, 9}) {
        CodePage codePage(Encoding::CP_UTF8);
        codePage.m_codePage = static_cast<CodePages_e>(value);
        EXPECT_FALSE(codePage.isDefault()) << value;
        codePage.m_name = "C.UTF-8";
        EXPECT_TRUE(codePage.isDefault()) << value;
    }
}

namespace {

// Tests with locales of names that no system has.
class NamedLocales : public testing::Test {
protected:
    void SetUp() override {
        if (!scoped::LocaleNames::possible()) {
            GTEST_SKIP() << "there is no " << scoped::LocaleNames::ORIGINAL << " to link to";
        }
    }
};

} // namespace

TEST_F(NamedLocales, Windows1252IsDefaultOnlyInALocaleOfThatVeryName) {
    const scoped::LocaleNames names{"WINDOWS-1252", "windows-1252", "WINDOWS-1252.UTF-8"};
    const CodePage codePage(Encoding::CP_WIN1252);
    EXPECT_FALSE(codePage.isDefault());
    {
        const scoped::CLocale locale("WINDOWS-1252", LC_CTYPE);
        EXPECT_TRUE(codePage.isDefault());
        EXPECT_FALSE(CodePage(Encoding::CP_UTF8).isDefault());
        EXPECT_FALSE(CodePage(Encoding::CP_ANSI).isDefault());
    }
    for (const char* const name : {"windows-1252", "WINDOWS-1252.UTF-8"}) {
        const scoped::CLocale locale(name, LC_CTYPE);
        EXPECT_FALSE(codePage.isDefault()) << name;
    }
    const scoped::CLocale locale("WINDOWS-1252", LC_COLLATE);
    EXPECT_FALSE(codePage.isDefault());
}

TEST_F(NamedLocales, CodePageOfALocaleOfItsNameIsConvertedByTheCLibrary) {
    const scoped::LocaleNames names{"WINDOWS-1252", "UTF-8"};
    const CodePage windows(Encoding::CP_WIN1252);
    const CodePage unicode(Encoding::CP_UTF8);
    EXPECT_EQ(multibyte(L"\u00e9", windows), Multibyte(true, "\xe9"));
    EXPECT_EQ(wide("ab", unicode), Wide(true, L"ab"));
    {
        const scoped::CLocale locale("WINDOWS-1252", LC_CTYPE); // a locale of UTF-8
        EXPECT_EQ(multibyte(L"\u00e9", windows), Multibyte(true, "\xc3\xa9"));
        EXPECT_EQ(wide("ab", unicode), Wide(true, L"ab"));
        EXPECT_EQ(wide("ab", windows), Wide(true, L"aa"));
    }
    const scoped::CLocale locale("UTF-8", LC_CTYPE);
    EXPECT_EQ(multibyte(L"\u00e9", windows), Multibyte(true, "\xe9"));
    EXPECT_EQ(wide("ab", unicode), Wide(true, L"aa"));
}

TEST_F(NamedLocales, NameOfTheLocaleIsTakenInFull) {
    const std::string name(200, 'N');
    const scoped::LocaleNames names{name};
    const scoped::CLocale locale(name.c_str(), LC_CTYPE);
    expect_fields(CodePage(Encoding::CP_LOCALE), 2, 0, locale_name(LC_ALL), name);
    expect_fields(CodePage(ABOVE), 9, 0, locale_name(LC_ALL), name);
    EXPECT_TRUE(custom(name.c_str()).isDefault());
}

// Equality

namespace {

// Whether two different objects are to be equal.
bool model_equal(const CodePage& a, const CodePage& b) {
    const int value = a.m_codePage;
    if (value >= 0 && value <= 7) {
        return value == b.m_codePage;
    }
    return value == 8 && b.m_codePage == 8 && a.m_number == b.m_number && a.m_name == b.m_name;
}

std::vector<CodePage> every_kind() {
    std::vector<CodePage> kinds;
    for (const int value :
         {INT_MIN, -9, -8, -3, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 16, INT_MAX}) {
        for (const unsigned int number : {0U, 1252U}) {
            for (const std::string& name : {std::string(), std::string("A"), std::string("AB"),
                                            std::string("B"), std::string("A\0", 2)}) {
                CodePage codePage(Encoding::CP_UTF8);
                codePage.m_codePage = static_cast<CodePages_e>(value);
                codePage.m_number = number;
                codePage.m_name = name;
                kinds.push_back(codePage);
            }
        }
    }
    return kinds;
}

} // namespace

TEST(CodePageEquality, AgreesWithTheRulesForEveryPair) {
    const std::vector<CodePage> first = every_kind();
    const std::vector<CodePage> second = every_kind();
    for (const CodePage& a : first) {
        for (const CodePage& b : second) {
            ASSERT_EQ(a == b, model_equal(a, b))
                << a.m_codePage << '/' << a.m_number << '/' << a << " and " << b.m_codePage << '/'
                << b.m_number << '/' << b;
            ASSERT_NE(a == b, a != b);
        }
    }
}

TEST(CodePageEquality, HoldsForTheSameObjectWhateverItIs) {
    for (const CodePage& codePage : every_kind()) {
        const CodePage& same = codePage;
        EXPECT_TRUE(codePage == same) << codePage.m_codePage;
        EXPECT_FALSE(codePage != same) << codePage.m_codePage;
    }
}

TEST(CodePageEquality, LooksAtNumberAndNameOfCustomCodePagesOnly) {
    EXPECT_TRUE(custom("KOI8-R", 7) == custom("KOI8-R", 7));
    EXPECT_FALSE(custom("CP1252", 0) == custom("CP1252", 1252));
    EXPECT_FALSE(custom("CP1252", 1252) == custom("cp1252", 1252));
    EXPECT_FALSE(custom("UTF-8") == CodePage(Encoding::CP_UTF8));
    EXPECT_FALSE(CodePage(Encoding::CP_DEFAULT) == CodePage(Encoding::CP_UTF8));
    EXPECT_FALSE(CodePage(Encoding::CP_DEFAULT) == CodePage(Encoding::CP_LOCALE));
}

TEST(CodePageEquality, DoesNotLookAtTheLocale) {
    const CodePage first(Encoding::CP_LOCALE);
    const CodePage first_custom = custom("X");
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_TRUE(first == CodePage(Encoding::CP_LOCALE));
    EXPECT_TRUE(first_custom == custom("X"));
}

// Names

TEST(CodePageToString, HasAShortNameForEach) {
    const char* const names[] = {"ANSI",  "ANSI",    "ANSI",    "UTF8", "UTF16",
                                 "UTF32", "WIN1252", "USASCII", "ANSI"};
    for (int value = 0; value <= 8; ++value) {
        EXPECT_STREQ(Encoding::codePageToString(static_cast<CodePages_e>(value)), names[value]);
    }
}

TEST(CodePageToString, IsAnsiForValuesWithoutEnumerator) {
    for (const int value : {9, 10, 11, 15, 16, 19, 100, INT_MAX, -1, -3, INT_MIN}) {
        CodePage codePage(Encoding::CP_UTF8);
        codePage.m_codePage = static_cast<CodePages_e>(value);
        EXPECT_STREQ(Encoding::codePageToString(codePage), "ANSI") << value;
    }
}

TEST(CodePageToString, DoesNotLookAtTheName) {
    EXPECT_STREQ(Encoding::codePageToString(custom("UTF-8")), "ANSI");
    CodePage codePage(Encoding::CP_UTF16);
    codePage.init(3, "KOI8-R");
    EXPECT_STREQ(Encoding::codePageToString(codePage), "UTF16");
}

namespace elsewhere {

// An operator that hides those of enclosing namespaces.
struct Other {};
std::ostream& operator<<(std::ostream& stream, const Other&) { return stream << "other"; }

std::string printed(const CodePage& codePage) {
    std::ostringstream stream;
    stream << codePage << ' ' << Other();
    return stream.str();
}

} // namespace elsewhere

TEST(CodePageOutput, IsFoundByTheTypeOfItsOperand) {
    EXPECT_EQ(elsewhere::printed(CodePage(Encoding::CP_WIN1252)), "WINDOWS-1252 other");
}

TEST(CodePageOutput, IsFoundInItsNamespace) {
    std::ostringstream stream;
    EXPECT_EQ(&nuriccl::operator<<(stream, CodePage(Encoding::CP_USASCII)), &stream);
    EXPECT_EQ(stream.str(), "US-ASCII");
}

TEST(CodePageOutput, IsTheNameForIconv) {
    std::ostringstream stream;
    std::ostream& returned = stream << CodePage(Encoding::CP_DEFAULT);
    EXPECT_EQ(&returned, &stream);
    stream << '|' << CodePage(Encoding::CP_CUSTOM) << '|' << custom("KOI8-R", 5) << '|'
           << CodePage(Encoding::CP_ANSI);
    EXPECT_EQ(stream.str(), "UTF-8||KOI8-R|MS-ANSI");
}

// Settings

namespace {

// Settings for the length of a scope.
class Settings {
public:
    explicit Settings(const CodePage& codePage, const char* replacement = nullptr)
        : codePage_(Encoding::s_toCodePage), replacement_(Encoding::s_defaultChars),
          best_fit_(Encoding::s_bestFitChars), ignore_(Encoding::s_ignoreBadChars) {
        Encoding::s_toCodePage = codePage;
        Encoding::s_defaultChars = replacement;
    }
    ~Settings() {
        Encoding::s_toCodePage = codePage_;
        Encoding::s_defaultChars = replacement_;
        Encoding::s_bestFitChars = best_fit_;
        Encoding::s_ignoreBadChars = ignore_;
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

private:
    CodePage codePage_;
    const char* replacement_;
    bool best_fit_;
    bool ignore_;
};

} // namespace

TEST(Settings, AreUtf8WithoutReplacementAtStart) {
    EXPECT_EQ(Encoding::s_toCodePage.m_codePage, Encoding::CP_UTF8);
    EXPECT_EQ(Encoding::s_toCodePage.m_name, "UTF-8");
    EXPECT_EQ(Encoding::s_toCodePage.m_number, 0U);
    EXPECT_EQ(Encoding::s_defaultChars, nullptr);
    EXPECT_FALSE(Encoding::s_bestFitChars);
    EXPECT_FALSE(Encoding::s_ignoreBadChars);
}

TEST(Settings, ServeStaticInitialisersOfTheProgram) {
    EXPECT_EQ(name_at_start, "UTF-8");
    EXPECT_EQ(upper_case_at_start, "A\xc3\xa9");
}

// What holds for both directions and on both paths

namespace {

// Converted by the C library, by iconv, and by nobody.
std::vector<CodePage> each_path() {
    return {CodePage(Encoding::CP_DEFAULT), CodePage(Encoding::CP_LOCALE),
            CodePage(Encoding::CP_UTF8), CodePage(Encoding::CP_USASCII),
            custom("no-such-code-page")};
}

} // namespace

TEST(Conversions, OfNothingAreEmptyAndTrueOnEveryPath) {
    for (const CodePage& codePage : each_path()) {
        SCOPED_TRACE(codePage.m_name);
        EXPECT_EQ(multibyte(L"", codePage), Multibyte(true, ""));
        EXPECT_EQ(wide("", codePage), Wide(true, L""));
        std::string bytes = "what stood there before";
        EXPECT_TRUE(Encoding::toMultibyte(L"text", 0, bytes, codePage, "?"));
        EXPECT_EQ(bytes, "");
        std::wstring characters = L"what stood there before";
        EXPECT_TRUE(Encoding::toWideChar("text", 0, characters, codePage, true));
        EXPECT_EQ(characters, L"");
    }
}

TEST(Conversions, OfTextsThatStartWithNulAreEmptyAndTrueOnEveryPath) {
    const std::wstring characters = {L'\0', L'a', L'\xd800'};
    for (const CodePage& codePage : each_path()) {
        SCOPED_TRACE(codePage.m_name);
        EXPECT_EQ(multibyte(characters, codePage), Multibyte(true, ""));
        EXPECT_EQ(multibyte(characters.substr(0, 1), codePage), Multibyte(true, ""));
        EXPECT_EQ(wide(std::string("\0a\xff", 3), codePage), Wide(true, L""));
        EXPECT_EQ(wide(std::string("\0", 1), codePage), Wide(true, L""));
    }
}

TEST(Conversions, TakeANullSourceForTheEmptyText) {
    for (const CodePage& codePage : each_path()) {
        for (const unsigned int size : {0U, 5U, UINT_MAX}) {
            std::string bytes = "what stood there before";
            EXPECT_TRUE(Encoding::toMultibyte(nullptr, size, bytes, codePage));
            EXPECT_EQ(bytes, "");
            std::wstring characters = L"what stood there before";
            EXPECT_TRUE(Encoding::toWideChar(nullptr, size, characters, codePage));
            EXPECT_EQ(characters, L"");
        }
    }
}

TEST(Conversions, ToAndFromAnUnknownCodePageAreEmptyAndFalse) {
    for (const char* const name : {"no-such-code-page", "UTF-9", "C.UTF-8x", "1252"}) {
        EXPECT_EQ(multibyte(L"a", custom(name)), Multibyte(false, "")) << name;
        EXPECT_EQ(multibyte(L"a", custom(name), "?"), Multibyte(false, "")) << name;
        EXPECT_EQ(wide("a", custom(name)), Wide(false, L"")) << name;
        EXPECT_EQ(wide("a", custom(name), true), Wide(false, L"")) << name;
    }
}

// The number tells nothing to iconv, and its name stays empty, which is the character set of the
// locale.
TEST(Conversions, ByNumberAloneAreThoseOfTheEmptyName) {
    CodePage codePage(Encoding::CP_DEFAULT);
    codePage.init(1252);
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        EXPECT_EQ(multibyte(L"a\u00e9b", codePage, "?"), multibyte_by_iconv(L"a\u00e9b", "", "?"));
    }
}

// A locale's name is no name of a code page.
TEST(Conversions, OfAValueAboveTheLastFailWhenTheLocaleIsAnotherOne) {
    const scoped::CLocale locale("C");
    const CodePage codePage(ABOVE);
    EXPECT_EQ(multibyte(L"ab", codePage), Multibyte(true, "ab"));
    EXPECT_EQ(wide("ab", codePage), Wide(true, L"aa"));
    const scoped::CLocale other("C.UTF-8");
    EXPECT_EQ(multibyte(L"ab", codePage), Multibyte(false, ""));
    EXPECT_EQ(wide("ab", codePage), Wide(false, L""));
}

TEST(Conversions, TakeAnEnumeratorForItsCodePage) {
    std::string bytes;
    EXPECT_TRUE(Encoding::toMultibyte(L"\u20ac", 1, bytes, Encoding::CP_WIN1252));
    EXPECT_EQ(bytes, "\x80");
    std::wstring characters;
    EXPECT_TRUE(Encoding::toWideChar("\x80", 1, characters, Encoding::CP_ANSI));
    EXPECT_EQ(characters, L"\u20ac");
}

TEST(Conversions, ReadNoMoreThanTheLength) {
    std::string bytes;
    EXPECT_TRUE(Encoding::toMultibyte(L"abc\xd800", 2, bytes, Encoding::CP_UTF8));
    EXPECT_EQ(bytes, "ab");
    EXPECT_TRUE(Encoding::toMultibyte(L"abc\xd800", 2, bytes, Encoding::CP_DEFAULT));
    EXPECT_EQ(bytes, "ab");
    std::wstring characters;
    EXPECT_TRUE(Encoding::toWideChar("abc\xff", 2, characters, Encoding::CP_UTF8));
    EXPECT_EQ(characters, L"ab");
    EXPECT_TRUE(Encoding::toWideChar("abc\xff", 2, characters, Encoding::CP_DEFAULT));
    EXPECT_EQ(characters, L"aa");
}

TEST(Conversions, ReadTheNameOfTheCodePageInOutAsItWasAtTheCall) {
    CodePage western(Encoding::CP_WIN1252);
    EXPECT_TRUE(Encoding::toMultibyte(L"\u20ac", 1, western.m_name, western));
    EXPECT_EQ(western.m_name, "\x80");
}

// The output is cleared before anything is read.
TEST(Conversions, TakeASourceInOutForATextThatStartsWithNul) {
    for (const CodePage& codePage : both_ways()) {
        std::wstring characters(50, L'a');
        const auto* const bytes = reinterpret_cast<const char*>(characters.data());
        EXPECT_TRUE(Encoding::toWideChar(bytes, 20, characters, codePage));
        EXPECT_TRUE(characters.empty());
    }
}

// Wide to multibyte by iconv

TEST(ToMultibyte, KeepsNulsInsideTheText) {
    const std::wstring text = {L'a', L'\0', L'b', L'\0'};
    EXPECT_EQ(multibyte(text, Encoding::CP_UTF8), Multibyte(true, std::string("a\0b\0", 4)));
    EXPECT_EQ(multibyte(text, Encoding::CP_WIN1252), Multibyte(true, std::string("a\0b\0", 4)));
}

TEST(ToMultibyte, EndsAtABadCharacterWithoutReplacement) {
    const CodePage ascii(Encoding::CP_USASCII);
    EXPECT_EQ(multibyte(L"ab\u00e9cd", ascii), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"\u00e9cd", ascii), Multibyte(false, ""));
    EXPECT_EQ(multibyte(L"ab\u00e9", ascii), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"x\u20acy", Encoding::CP_WIN1252), Multibyte(true, "x\x80y"));
    EXPECT_EQ(multibyte(L"x\u20ac\u0e01y", Encoding::CP_WIN1252), Multibyte(false, "x\x80"));
}

TEST(ToMultibyte, ConvertsTheWholeTextWithReplacementsAndIsFalse) {
    const CodePage ascii(Encoding::CP_USASCII);
    EXPECT_EQ(multibyte(L"ab\u00e9cd", ascii, "?"), Multibyte(false, "ab?cd"));
    EXPECT_EQ(multibyte(L"\u00e9", ascii, "?"), Multibyte(false, "?"));
    EXPECT_EQ(multibyte(L"\u00e9\u20ac\u00e9", ascii, "?"), Multibyte(false, "???"));
    EXPECT_EQ(multibyte(L"\u00e9a\u20ac", ascii, "?"), Multibyte(false, "?a?"));
    EXPECT_EQ(multibyte(L"a\U0001f600b", ascii, "?"), Multibyte(false, "a?b"));
    EXPECT_EQ(multibyte(L"abc", ascii, "?"), Multibyte(true, "abc"));
}

TEST(ToMultibyte, DropsBadCharactersForAnEmptyReplacementAndIsFalse) {
    EXPECT_EQ(multibyte(L"a\u00e9b\u00e9", Encoding::CP_USASCII, ""), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"\u00e9", Encoding::CP_USASCII, ""), Multibyte(false, ""));
}

TEST(ToMultibyte, CopiesTheReplacementByteForByte) {
    const std::string replacement = std::string(3000, '<') + "\xff\xe9>";
    EXPECT_EQ(multibyte(L"a\u00e9b\u00e9", Encoding::CP_USASCII, replacement.c_str()),
              Multibyte(false, "a" + replacement + "b" + replacement));
    EXPECT_EQ(multibyte(L"x\xd800y", Encoding::CP_UTF16, "?"),
              Multibyte(false, UTF16_MARK + std::string("x\0?y\0", 5)));
}

TEST(ToMultibyte, ReadsAReplacementInsideOutAsItWasAtTheCall) {
    for (const CodePage& codePage :
         {CodePage(Encoding::CP_USASCII), CodePage(Encoding::CP_LOCALE)}) {
        const scoped::CLocale locale("C");
        for (const std::size_t size : {1U, 3U, 100U, 5000U}) {
            std::string out = "##" + std::string(size, 'r');
            EXPECT_FALSE(Encoding::toMultibyte(L"a\u00e9b\u00e9", 4, out, codePage, &out[2]));
            const std::string replacement(size, 'r');
            EXPECT_EQ(out, "a" + replacement + "b" + replacement);
        }
    }
}

TEST(ToMultibyte, GoesOnAfterEverySingleBadCharacterOfALongRow) {
    const std::wstring text = L"a" + std::wstring(3000, L'\u20ac') + L"b";
    EXPECT_EQ(multibyte(text, Encoding::CP_USASCII, "?"),
              Multibyte(false, "a" + std::string(3000, '?') + "b"));
    EXPECT_EQ(multibyte(text, Encoding::CP_USASCII, ""), Multibyte(false, "ab"));
}

TEST(ToMultibyte, WritesTheMarkOfTheByteOrderThatTheCodePageAsksFor) {
    EXPECT_EQ(multibyte(L"a\u20ac", Encoding::CP_UTF16),
              Multibyte(true, UTF16_MARK + std::string("a\0\xac\x20", 4)));
    EXPECT_EQ(multibyte(L"a\u20ac", Encoding::CP_UTF32),
              Multibyte(true, UTF32_MARK + std::string("a\0\0\0\xac\x20\0\0", 8)));
    EXPECT_EQ(multibyte(L"a\u20ac", custom("UTF-16BE")),
              Multibyte(true, std::string("\0a\x20\xac", 4)));
}

// It is a character of the text like any other, at the start and elsewhere.
TEST(ToMultibyte, KeepsEveryByteOrderMarkOfTheText) {
    const std::wstring text = L"\ufeffx\ufeff";
    EXPECT_EQ(multibyte(text, Encoding::CP_UTF8), Multibyte(true, "\xef\xbb\xbfx\xef\xbb\xbf"));
    EXPECT_EQ(multibyte(text, Encoding::CP_UTF16),
              Multibyte(true, UTF16_MARK + in_form(utf16, text)));
    EXPECT_EQ(multibyte(text, Encoding::CP_UTF32),
              Multibyte(true, UTF32_MARK + in_form(utf32, text)));
    EXPECT_EQ(multibyte(text, Encoding::CP_USASCII, "?"), Multibyte(false, "?x?"));
    EXPECT_EQ(multibyte(L"\ufeff", Encoding::CP_UTF8), Multibyte(true, "\xef\xbb\xbf"));
    // The mark of the other order does not turn the text round.
    EXPECT_EQ(multibyte(L"\ufffex", Encoding::CP_UTF8), Multibyte(true, "\xef\xbf\xbex"));
}

TEST(ToMultibyte, CountsAnApproximationByIconvAsASuccess) {
    const char* const name = "US-ASCII//TRANSLIT";
    const Multibyte expected = multibyte_by_iconv(L"a\u20acb", name, nullptr);
    ASSERT_TRUE(expected.first);
    EXPECT_EQ(multibyte(L"a\u20acb", custom(name)), expected);
}

// Tag characters, which some C libraries drop without complaint.
TEST(ToMultibyte, TakesIconvsWordForTagCharacters) {
    const std::wstring text = L"x\U000e0041\U000e007fy";
    for (const char* const name : {"US-ASCII", "WINDOWS-1252", "ISO-2022-JP", "UTF-16LE"}) {
        EXPECT_EQ(multibyte(text, custom(name)), multibyte_by_iconv(text, name, nullptr)) << name;
        EXPECT_EQ(multibyte(text, custom(name), "?"), multibyte_by_iconv(text, name, "?")) << name;
    }
}

// iconv drops the character itself, converts to the end, and reports it there.
TEST(ToMultibyte, IsFalseWhenIconvDropsACharacter) {
    const CodePage codePage = custom("US-ASCII//IGNORE");
    EXPECT_EQ(multibyte(L"a\u00e9b", codePage), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"ab", codePage), Multibyte(true, "ab"));
    EXPECT_FALSE(multibyte(L"ab\u00e9", codePage, "?").first);
    EXPECT_FALSE(multibyte(std::wstring(5000, L'\u00e9'), codePage, "?").first);
}

// Wide to multibyte by the C library

TEST(ToMultibyteDefault, WritesTheCharacterSetOfTheLocale) {
    for (const CodePages_e value : {Encoding::CP_DEFAULT, Encoding::CP_LOCALE, ABOVE}) {
        {
            const scoped::CLocale locale("C.UTF-8");
            EXPECT_EQ(multibyte(L"a\u00e9\u20ac\U0001f600", value),
                      Multibyte(true, "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"));
        }
        const scoped::CLocale locale("C");
        EXPECT_EQ(multibyte(L"ab", value), Multibyte(true, "ab"));
        EXPECT_EQ(multibyte(L"ab\u00e9", value), Multibyte(false, "ab"));
    }
}

TEST(ToMultibyteDefault, FollowsTheLocaleOfCharactersAlone) {
    const scoped::CLocale locale("C");
    const CodePage codePage(Encoding::CP_LOCALE);
    EXPECT_EQ(multibyte(L"\u00e9", codePage), Multibyte(false, ""));
    const scoped::CLocale characters("C.UTF-8", LC_CTYPE);
    EXPECT_EQ(multibyte(L"\u00e9", codePage), Multibyte(true, "\xc3\xa9"));
}

TEST(ToMultibyteDefault, KeepsNulsInsideTheText) {
    const std::wstring text = {L'a', L'\0', L'b', L'\0'};
    EXPECT_EQ(multibyte(text, Encoding::CP_DEFAULT), Multibyte(true, std::string("a\0b\0", 4)));
}

TEST(ToMultibyteDefault, EndsAtABadCharacterWithoutReplacement) {
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(multibyte(L"ab\xd800xy", Encoding::CP_DEFAULT), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"\xd800", Encoding::CP_DEFAULT), Multibyte(false, ""));
}

TEST(ToMultibyteDefault, ConvertsTheWholeTextWithReplacementsAndIsFalse) {
    const scoped::CLocale locale("C.UTF-8");
    const CodePage codePage(Encoding::CP_DEFAULT);
    EXPECT_EQ(multibyte(L"ab\xd800\u20ac\xdfff", codePage, "?"),
              Multibyte(false, "ab?\xe2\x82\xac?"));
    EXPECT_EQ(multibyte(L"\xd800", codePage, "<none>"), Multibyte(false, "<none>"));
    EXPECT_EQ(multibyte(L"\xd800", codePage, ""), Multibyte(false, ""));
    EXPECT_EQ(multibyte(L"abc", codePage, "?"), Multibyte(true, "abc"));
    const std::string replacement(3000, 'r');
    EXPECT_EQ(multibyte(L"a\xd800", codePage, replacement.c_str()),
              Multibyte(false, "a" + replacement));
}

TEST(ToMultibyteDefault, TakesLongTexts) {
    const scoped::CLocale locale("C.UTF-8");
    const std::wstring text(100000, L'\u20ac');
    EXPECT_EQ(multibyte(text, Encoding::CP_DEFAULT), Multibyte(true, in_form(utf8, text)));
}

// Multibyte to wide by iconv

TEST(ToWideChar, KeepsNulsInsideTheText) {
    const std::string text("a\0b\0", 4);
    const std::wstring expected = {L'a', L'\0', L'b', L'\0'};
    EXPECT_EQ(wide(text, Encoding::CP_UTF8), Wide(true, expected));
    EXPECT_EQ(wide(text, Encoding::CP_WIN1252), Wide(true, expected));
}

TEST(ToWideChar, EndsAtABadByte) {
    EXPECT_EQ(wide("ab\xffxy", Encoding::CP_UTF8), Wide(false, L"ab"));
    EXPECT_EQ(wide("\xff", Encoding::CP_UTF8), Wide(false, L""));
    EXPECT_EQ(wide("ab\x80", Encoding::CP_USASCII), Wide(false, L"ab"));
    EXPECT_EQ(wide("\xe9\x81\xe9", Encoding::CP_WIN1252), Wide(false, L"\u00e9"));
}

TEST(ToWideChar, SkipsBadBytesOnDemandAndIsFalse) {
    EXPECT_EQ(wide("ab\xffxy", Encoding::CP_UTF8, true), Wide(false, L"abxy"));
    EXPECT_EQ(wide("\xff", Encoding::CP_UTF8, true), Wide(false, L""));
    EXPECT_EQ(wide("\xff\xfex\xff", Encoding::CP_UTF8, true), Wide(false, L"x"));
    EXPECT_EQ(wide("\xe9\x81\xe9", Encoding::CP_WIN1252, true), Wide(false, L"\u00e9\u00e9"));
    EXPECT_EQ(wide("abc", Encoding::CP_UTF8, true), Wide(true, L"abc"));
}

// One byte is skipped, though two were looked at.
TEST(ToWideChar, LooksForTheNextCharacterRightAfterTheByteItSkipped) {
    EXPECT_EQ(wide("\xe2x", Encoding::CP_UTF8, true), Wide(false, L"x"));
    EXPECT_EQ(wide("\xe2\x82x", Encoding::CP_UTF8, true), Wide(false, L"x"));
    EXPECT_EQ(wide("\xe2\xc3\xa9", Encoding::CP_UTF8, true), Wide(false, L"\u00e9"));
    // 01 DC is a low surrogate; from the second byte on it is DC 41 and 00 42.
    EXPECT_EQ(wide(std::string("\x01\xdc\x41\0\x42", 5), custom("UTF-16LE"), true),
              Wide(false, L"\x41dc\x4200"));
}

TEST(ToWideChar, TakesACharacterCutByTheEndForBadBytes) {
    for (const std::string cut : {"\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xf0"}) {
        EXPECT_EQ(wide("a" + cut, Encoding::CP_UTF8), Wide(false, L"a"));
        EXPECT_EQ(wide("a" + cut, Encoding::CP_UTF8, true), Wide(false, L"a"));
        EXPECT_EQ(wide(cut, Encoding::CP_UTF8, true), Wide(false, L""));
    }
    EXPECT_EQ(wide(std::string("a\0b", 3), custom("UTF-16LE")), Wide(false, L"a"));
    EXPECT_EQ(wide(std::string("a\0b", 3), custom("UTF-16LE"), true), Wide(false, L"a"));
}

TEST(ToWideChar, FollowsTheMarkOfTheByteOrder) {
    EXPECT_EQ(wide(std::string("\xff\xfex\0\xac\x20", 6), Encoding::CP_UTF16),
              Wide(true, L"x\u20ac"));
    EXPECT_EQ(wide(std::string("\xfe\xff\0x\x20\xac", 6), Encoding::CP_UTF16),
              Wide(true, L"x\u20ac"));
    EXPECT_EQ(wide(UTF32_MARK + in_form(utf32, L"x\u20ac"), Encoding::CP_UTF32),
              Wide(true, L"x\u20ac"));
    EXPECT_EQ(wide(std::string("x\0\xac\x20", 4), Encoding::CP_UTF16), Wide(true, L"x\u20ac"));
}

TEST(ToWideChar, KeepsTheByteOrderMarkOfACodePageWithoutOrder) {
    EXPECT_EQ(wide("\xef\xbb\xbfx", Encoding::CP_UTF8), Wide(true, L"\ufeffx"));
    EXPECT_EQ(wide("\xef\xbf\xbex", Encoding::CP_UTF8), Wide(true, L"\ufffex"));
    EXPECT_EQ(wide(std::string("\xff\xfex\0", 4), custom("UTF-16LE")), Wide(true, L"\ufeffx"));
}

TEST(ToWideChar, IsEmptyForUnmarkedBigEndianTextOfLatinLetters) {
    EXPECT_EQ(wide(std::string("\0a\0b", 4), custom("UTF-16BE")), Wide(true, L""));
}

// Multibyte to wide by the C library

namespace {

// The bytes that start no character are passed one by one. The first character after them stands
// for the whole rest: once for each time that it, with its `size` bytes, goes into the rest,
// rounded up.
Wide model_repeating(const std::string& text, bool ignore) {
    if (text.empty() || text[0] == '\0') {
        return {true, L""};
    }
    std::size_t bad = 0;
    wchar_t character = 0;
    while (bad < text.size() && utf8_at(text, bad, character) == 0) {
        ++bad;
    }
    if (bad == text.size() || (bad != 0 && !ignore)) {
        return {false, L""};
    }
    const std::size_t size = utf8(character).size();
    const std::size_t count = (text.size() - bad + size - 1) / size;
    return {bad == 0, std::wstring(count, character)};
}

} // namespace

TEST(ToWideCharDefault, RepeatsTheFirstCharacter) {
    const scoped::CLocale locale("C.UTF-8");
    for (const CodePages_e value : {Encoding::CP_DEFAULT, Encoding::CP_LOCALE, ABOVE}) {
        EXPECT_EQ(wide("a", value), Wide(true, L"a"));
        EXPECT_EQ(wide("abc", value), Wide(true, L"aaa"));
        EXPECT_EQ(wide("\xc3\xa9\xc3\xa8\xc3\xa7", value), Wide(true, L"\u00e9\u00e9\u00e9"));
        EXPECT_EQ(wide("\xe2\x82\xac", value), Wide(true, L"\u20ac"));
        EXPECT_EQ(wide("\xf0\x9f\x98\x80\xf0\x9f\x98\x81", value),
                  Wide(true, L"\U0001f600\U0001f600"));
    }
}

TEST(ToWideCharDefault, RoundsTheNumberOfRepetitionsUp) {
    const scoped::CLocale locale("C.UTF-8");
    const CodePage codePage(Encoding::CP_DEFAULT);
    EXPECT_EQ(wide("\xe2\x82\xacx", codePage), Wide(true, L"\u20ac\u20ac"));
    EXPECT_EQ(wide("\xe2\x82\xacxyz", codePage), Wide(true, L"\u20ac\u20ac"));
    EXPECT_EQ(wide("\xe2\x82\xacxyza", codePage), Wide(true, L"\u20ac\u20ac\u20ac"));
}

TEST(ToWideCharDefault, NeverSeesWhatFollowsTheFirstCharacter) {
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(wide("a\xff\xff", Encoding::CP_DEFAULT), Wide(true, L"aaa"));
    EXPECT_EQ(wide(std::string("a\0\xff", 3), Encoding::CP_DEFAULT), Wide(true, L"aaa"));
}

TEST(ToWideCharDefault, IsEmptyAndFalseForABadFirstByte) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const char* const text :
             {"\xff", "\xffxyz", "\xc3", "\xe2\x82", "\x80", "\xed\xa0\x80"}) {
            EXPECT_EQ(wide(text, Encoding::CP_DEFAULT), Wide(false, L""));
        }
    }
}

TEST(ToWideCharDefault, PassesBadBytesOnDemandAndIsFalse) {
    const scoped::CLocale locale("C.UTF-8");
    const CodePage codePage(Encoding::CP_DEFAULT);
    EXPECT_EQ(wide("\xffx", codePage, true), Wide(false, L"x"));
    EXPECT_EQ(wide("\xffxy", codePage, true), Wide(false, L"xx"));
    EXPECT_EQ(wide("\xff\xff\xc3\xa9x", codePage, true), Wide(false, L"\u00e9\u00e9"));
    EXPECT_EQ(wide("\xff\xff\xff", codePage, true), Wide(false, L""));
    EXPECT_EQ(wide("\xe2xy", codePage, true), Wide(false, L"xx"));
    EXPECT_EQ(wide("\xe2\x82xy", codePage, true), Wide(false, L"xx"));
    EXPECT_EQ(wide("abc", codePage, true), Wide(true, L"aaa"));
}

TEST(ToWideCharDefault, CountsANulAfterBadBytesAsOneByte) {
    const CodePage codePage(Encoding::CP_DEFAULT);
    EXPECT_EQ(wide(std::string("\xff\0", 2), codePage, true), Wide(false, std::wstring(1, L'\0')));
    EXPECT_EQ(wide(std::string("\xff\0ab", 4), codePage, true),
              Wide(false, std::wstring(3, L'\0')));
}

// The readable memory behind the text would complete the character.
TEST(ToWideCharDefault, TakesACharacterCutByTheEndForBadBytes) {
    const scoped::CLocale locale("C.UTF-8");
    const std::string text = "\xff\xe2\x82\xac\xac\xac";
    for (const unsigned int size : {2U, 3U}) {
        std::wstring out = L"what stood there before";
        EXPECT_FALSE(Encoding::toWideChar(text.c_str(), size, out, Encoding::CP_DEFAULT, true));
        EXPECT_EQ(out, L"") << size;
    }
    std::wstring out;
    EXPECT_FALSE(Encoding::toWideChar(text.c_str(), 4, out, Encoding::CP_DEFAULT, true));
    EXPECT_EQ(out, L"\u20ac");
}

// Among them every character that is cut by the end, right before memory that must not be read.
TEST(ToWideCharDefault, AgreesWithTheModelOverEveryShortText) {
    const scoped::CLocale locale("C.UTF-8");
    const std::string alphabet("a\0\xff\xe2\x82\xac\xc3\xf0", 8);
    for (const std::string& text : texts::over(alphabet, 5)) {
        ASSERT_EQ(wide(text, Encoding::CP_DEFAULT), model_repeating(text, false))
            << testing::PrintToString(text);
        ASSERT_EQ(wide(text, Encoding::CP_DEFAULT, true), model_repeating(text, true))
            << testing::PrintToString(text);
    }
}

TEST(ToWideCharDefault, TakesLongTexts) {
    const scoped::CLocale locale("C.UTF-8");
    const std::string text = "\xff" + std::string(100000, 'x');
    EXPECT_EQ(wide(text, Encoding::CP_DEFAULT, true), Wide(false, std::wstring(100000, L'x')));
}

// Unicode

TEST(Unicode, EveryCharacterReachesEachRepresentation) {
    const scoped::CLocale locale("C.UTF-8");
    std::size_t count = 0;
    for (const std::wstring& text : planes()) {
        count += text.size();
        EXPECT_TRUE(multibyte(text, Encoding::CP_UTF8) == Multibyte(true, in_form(utf8, text)));
        EXPECT_TRUE(multibyte(text, Encoding::CP_UTF16) ==
                    Multibyte(true, UTF16_MARK + in_form(utf16, text)));
        EXPECT_TRUE(multibyte(text, Encoding::CP_UTF32) ==
                    Multibyte(true, UTF32_MARK + in_form(utf32, text)));
        EXPECT_TRUE(multibyte(text, Encoding::CP_DEFAULT) == Multibyte(true, in_form(utf8, text)));
    }
    EXPECT_EQ(count, 0x10ffffU - 0x800); // without 0 and the surrogates
}

TEST(Unicode, EveryCharacterComesBackFromEachRepresentation) {
    for (const std::wstring& text : planes()) {
        EXPECT_TRUE(wide(in_form(utf8, text), Encoding::CP_UTF8) == Wide(true, text));
        EXPECT_TRUE(wide(UTF16_MARK + in_form(utf16, text), Encoding::CP_UTF16) ==
                    Wide(true, text));
        EXPECT_TRUE(wide(UTF32_MARK + in_form(utf32, text), Encoding::CP_UTF32) ==
                    Wide(true, text));
    }
}

TEST(Unicode, EveryCharacterOfTheBasicPlaneIsConvertedAlone) {
    for (const wchar_t character : characters_between(1, 0xffff)) {
        std::string bytes;
        ASSERT_TRUE(Encoding::toMultibyte(&character, 1, bytes, Encoding::CP_UTF8));
        ASSERT_EQ(bytes, utf8(character));
        std::wstring back;
        ASSERT_TRUE(Encoding::toWideChar(bytes.data(), length(bytes), back, Encoding::CP_UTF8));
        ASSERT_EQ(back, std::wstring(1, character));
    }
}

TEST(Unicode, EveryCharacterComesAloneFromTheLocale) {
    const scoped::CLocale locale("C.UTF-8");
    const CodePage codePage(Encoding::CP_LOCALE);
    for (const wchar_t character : characters_between(1, 0x10ffff)) {
        const std::string bytes = utf8(character);
        std::wstring out;
        ASSERT_TRUE(Encoding::toWideChar(bytes.data(), length(bytes), out, codePage));
        ASSERT_EQ(out, std::wstring(1, character)) << static_cast<unsigned int>(character);
    }
}

TEST(Unicode, WhatIsNoCharacterIsBadInEachRepresentation) {
    const struct {
        CodePages_e codePage;
        std::string a;
        std::string b;
    } forms[] = {{Encoding::CP_UTF8, "a", "b"},
                 {Encoding::CP_UTF16, UTF16_MARK + in_form(utf16, L"a"), in_form(utf16, L"b")},
                 {Encoding::CP_UTF32, UTF32_MARK + in_form(utf32, L"a"), in_form(utf32, L"b")},
                 {Encoding::CP_WIN1252, "a", "b"}};
    for (const auto& form : forms) {
        const CodePage codePage(form.codePage);
        for (const wchar_t value : no_characters()) {
            const std::wstring text = {L'a', value, L'b'};
            ASSERT_EQ(multibyte(text, codePage), Multibyte(false, form.a))
                << codePage << ' ' << static_cast<unsigned int>(value);
            ASSERT_EQ(multibyte(text, codePage, "?"), Multibyte(false, form.a + '?' + form.b))
                << codePage << ' ' << static_cast<unsigned int>(value);
        }
    }
}

TEST(Unicode, WhatIsNoCharacterIsBadAlone) {
    for (const CodePages_e value : {Encoding::CP_UTF8, Encoding::CP_UTF16, Encoding::CP_UTF32}) {
        for (const wchar_t character : no_characters()) {
            ASSERT_EQ(multibyte({character}, value), Multibyte(false, ""));
            ASSERT_EQ(multibyte({character}, value, "?"), Multibyte(false, "?"));
        }
    }
}

TEST(Unicode, WhatTheCLibraryDoesNotWriteIsBadInALocale) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const wchar_t value : no_characters()) {
            char bytes[MB_LEN_MAX];
            std::mbstate_t state{};
            const std::size_t count = std::wcrtomb(bytes, value, &state);
            const bool good = count != FAILED;
            const std::string written = good ? std::string(bytes, count) : "?";
            ASSERT_EQ(multibyte({L'a', value, L'b'}, Encoding::CP_LOCALE, "?"),
                      Multibyte(good, "a" + written + "b"))
                << static_cast<unsigned int>(value);
        }
    }
}

TEST(Unicode, EverySurrogateIsBadInUtf8Text) {
    for (unsigned int code = 0xd800; code <= 0xdfff; ++code) {
        const std::string text = "a" + utf8(static_cast<wchar_t>(code)) + "b";
        ASSERT_EQ(wide(text, Encoding::CP_UTF8), Wide(false, L"a")) << code;
        ASSERT_EQ(wide(text, Encoding::CP_UTF8, true), Wide(false, L"ab")) << code;
    }
}

TEST(Unicode, SurrogatesInUtf32TextAndValuesAboveTheLastAreBad) {
    for (const unsigned int code : {0xd800U, 0xdfffU, 0x110000U, 0x7fffff41U, 0xffffff41U}) {
        const std::string text = UTF32_MARK + packed({0x61, code, 0x62}, 4);
        EXPECT_EQ(wide(text, Encoding::CP_UTF32), Wide(false, L"a")) << code;
        EXPECT_EQ(wide(text, Encoding::CP_UTF32, true), wide_by_iconv(text, "UTF-32", true))
            << code;
    }
}

TEST(Unicode, UnpairedSurrogatesInUtf16TextAreBad) {
    for (const Units& units : {Units{0xfeff, 0x61, 0xdc01, 0x62}, Units{0xfeff, 0x61, 0xd801, 0x62},
                               Units{0xfeff, 0x61, 0xd801}, Units{0xfeff, 0x61, 0xd801, 0xd802}}) {
        const std::string text = packed(units, 2);
        EXPECT_EQ(wide(text, Encoding::CP_UTF16), Wide(false, L"a"));
        EXPECT_EQ(wide(text, Encoding::CP_UTF16, true), wide_by_iconv(text, "UTF-16", true));
    }
}

TEST(Unicode, EveryPairOfBytesIsReadAsUtf8) {
    const std::string bytes = texts::all_bytes();
    for (const std::string& text : texts::over(bytes.substr(1), 2)) {
        std::wstring out;
        const bool converted =
            Encoding::toWideChar(text.data(), length(text), out, Encoding::CP_UTF8);
        ASSERT_EQ(Wide(converted, out), model_from_utf8(text, false));
    }
}

// Every boundary of the representation, with bytes that fit and that do not.
TEST(Unicode, DamagedUtf8LosesOnlyWhatIsDamaged) {
    const std::string alphabet = "a\x7f\x80\x8f\x90\x9f\xa0\xbf\xc0\xc1\xc2\xdf\xe0\xe1\xed\xef\xf0"
                                 "\xf1\xf4\xf5\xf8\xff";
    const std::vector<std::string> tails = texts::over(alphabet, 3);
    for (const char* const lead : {"", "\xf0", "\xf1", "\xf4", "\xf5"}) {
        std::string all;
        for (const std::string& tail : tails) {
            all += lead + tail + '\n';
        }
        const Wide expected = model_from_utf8(all, true);
        EXPECT_FALSE(expected.first);
        EXPECT_TRUE(wide(all, Encoding::CP_UTF8, true) == expected);
    }
}

// Single bytes

namespace {

// Code pages in which each byte stands for itself, whatever is around it.
const char* const SINGLE_BYTE[] = {
    "US-ASCII",    "ISO-8859-1",  "ISO-8859-2",  "ISO-8859-3",  "ISO-8859-4",  "ISO-8859-5",
    "ISO-8859-6",  "ISO-8859-7",  "ISO-8859-8",  "ISO-8859-9",  "ISO-8859-10", "ISO-8859-11",
    "ISO-8859-13", "ISO-8859-14", "ISO-8859-15", "ISO-8859-16", "CP1250",      "CP1251",
    "CP1252",      "CP1253",      "CP1254",      "CP1256",      "CP1257",      "WINDOWS-1252",
    "MS-ANSI",     "KOI8-R",      "KOI8-U",      "KOI8-T",      "IBM437",      "IBM850",
    "IBM852",      "IBM855",      "IBM857",      "IBM860",      "IBM861",      "IBM862",
    "IBM863",      "IBM865",      "IBM866",      "IBM869",      "CP737",       "CP775",
    "MACINTOSH",   "MAC-UK",      "CP10007",     "HP-ROMAN8",   "TIS-620",     "GEORGIAN-PS",
    "PT154",       "RK1048",      "MIK",         "IBM037",      "IBM500",      "IBM1047",
    "IBM1140",     "IBM273",      "VISCII",
};

// Characters by byte, 0 for none. The upper half of Windows's western code page.
const wchar_t WINDOWS_1252[32] = {0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021,
                                  0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017d, 0,
                                  0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014,
                                  0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178};

wchar_t windows_1252(unsigned int byte) {
    return byte >= 0x80 && byte <= 0x9f ? WINDOWS_1252[byte - 0x80] : static_cast<wchar_t>(byte);
}

wchar_t latin_9(unsigned int byte) {
    switch (byte) {
    case 0xa4:
        return 0x20ac;
    case 0xa6:
        return 0x0160;
    case 0xa8:
        return 0x0161;
    case 0xb4:
        return 0x017d;
    case 0xb8:
        return 0x017e;
    case 0xbc:
        return 0x0152;
    case 0xbd:
        return 0x0153;
    case 0xbe:
        return 0x0178;
    default:
        return static_cast<wchar_t>(byte);
    }
}

wchar_t ascii(unsigned int byte) { return byte < 0x80 ? static_cast<wchar_t>(byte) : 0; }

void expect_table(const CodePage& codePage, wchar_t (*table)(unsigned int)) {
    SCOPED_TRACE(codePage.m_name);
    for (unsigned int byte = 1; byte <= 255; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const wchar_t character = table(byte);
        if (character == 0) {
            EXPECT_EQ(wide(text, codePage), Wide(false, L"")) << byte;
            continue;
        }
        EXPECT_EQ(wide(text, codePage), Wide(true, {character})) << byte;
        EXPECT_EQ(multibyte({character}, codePage), Multibyte(true, text)) << byte;
    }
}

} // namespace

TEST(SingleByte, CodePagesHaveTheirTables) {
    expect_table(Encoding::CP_WIN1252, windows_1252);
    expect_table(Encoding::CP_ANSI, windows_1252);
    expect_table(custom("CP1252"), windows_1252);
    expect_table(Encoding::CP_USASCII, ascii);
    expect_table(custom("ISO-8859-1"),
                 [](unsigned int byte) { return static_cast<wchar_t>(byte); });
    expect_table(custom("ISO-8859-15"), latin_9);
}

TEST(SingleByte, EveryByteIsReadAsIconvReadsIt) {
    const std::string bytes = texts::all_bytes();
    for (const char* const name : SINGLE_BYTE) {
        const CodePage codePage = custom(name);
        for (std::size_t i = 0; i < bytes.size(); i += AFFORDABLE_STRIDE) {
            const std::string text(1, bytes[i]);
            ASSERT_EQ(wide(text, codePage), wide_by_iconv(text, name, false)) << name;
            ASSERT_EQ(wide(text, codePage, true), wide_by_iconv(text, name, true)) << name;
        }
        const std::string all = bytes.substr(1);
        ASSERT_EQ(wide(all, codePage), wide_by_iconv(all, name, false)) << name;
        ASSERT_EQ(wide(all, codePage, true), wide_by_iconv(all, name, true)) << name;
    }
}

TEST(SingleByte, EveryByteWithACharacterComesBack) {
    for (const char* const name : SINGLE_BYTE) {
        const CodePage codePage = custom(name);
        for (const char byte : texts::all_bytes().substr(1)) {
            const Wide there = wide(std::string(1, byte), codePage);
            if (there.first) {
                ASSERT_EQ(there.second.size(), 1U) << name;
                ASSERT_EQ(multibyte(there.second, codePage), Multibyte(true, {byte})) << name;
            }
        }
    }
}

TEST(SingleByte, EveryCharacterIsWrittenOrReplacedAsIconvHasIt) {
    const std::wstring text = characters_between(1, 0x24f) +
                              L"\u2013\u2014\u2018\u201c\u2026\u20ac\u2122\u2500\u0e01\u0410\u05d0";
    for (const char* const name : SINGLE_BYTE) {
        ASSERT_TRUE(multibyte(text, custom(name), "<none>") ==
                    multibyte_by_iconv(text, name, "<none>"))
            << name;
    }
}

// Code pages with a memory: a shift state, or characters held back for what may follow

TEST(Stateful, TextsEndInTheInitialState) {
    EXPECT_EQ(multibyte(L"\u3042", custom("ISO-2022-JP")), Multibyte(true, "\x1b$B$\"\x1b(B"));
    EXPECT_EQ(multibyte(L"a\u3042b", custom("ISO-2022-JP")), Multibyte(true, "a\x1b$B$\"\x1b(Bb"));
    EXPECT_EQ(multibyte(L"a\u00e9", custom("UTF-7")), Multibyte(true, "a+AOk-"));
    EXPECT_EQ(multibyte(L"\u00e9 ", custom("UTF-7")), Multibyte(true, "+AOk "));
}

TEST(Stateful, TextsEndInTheInitialStateAfterABadCharacter) {
    const CodePage codePage = custom("ISO-2022-JP");
    EXPECT_EQ(multibyte(L"\u3042\u0e01\u3044", codePage), Multibyte(false, "\x1b$B$\"\x1b(B"));
    EXPECT_EQ(multibyte(L"\u3042\u0e01", codePage, "?"), Multibyte(false, "\x1b$B$\"?\x1b(B"));
}

TEST(Stateful, StateLastsOverTheEndOfABuffer) {
    const std::wstring text(3000, L'\u3042');
    std::string expected = "\x1b$B";
    for (std::size_t i = 0; i < text.size(); ++i) {
        expected += "$\"";
    }
    expected += "\x1b(B";
    EXPECT_EQ(multibyte(text, custom("ISO-2022-JP")), Multibyte(true, expected));
    EXPECT_EQ(wide(expected, custom("ISO-2022-JP")), Wide(true, text));
}

TEST(Stateful, TextsNeedNotEndInTheInitialStateToBeRead) {
    EXPECT_EQ(wide("\x1b$B$\"", custom("ISO-2022-JP")), Wide(true, L"\u3042"));
    EXPECT_EQ(wide("\x1b$B$\"\x1b(B", custom("ISO-2022-JP")), Wide(true, L"\u3042"));
    EXPECT_EQ(wide("a+AOk-b", custom("UTF-7")), Wide(true, L"a\u00e9b"));
}

// A letter waits for an accent that may follow it.
TEST(Stateful, ALetterHeldBackAtTheEndIsNotLost) {
    EXPECT_EQ(wide("\xe0", custom("CP1255")), Wide(true, L"\u05d0"));
    EXPECT_EQ(wide("a\xe0", custom("CP1255")), Wide(true, L"a\u05d0"));
    EXPECT_EQ(wide("\xe0\xc7", custom("CP1255")), Wide(true, L"\ufb2e"));
    EXPECT_EQ(wide("xA", custom("CP1258")), Wide(true, L"xA"));
    EXPECT_EQ(wide("A\xcc", custom("CP1258")), Wide(true, L"\u00c0"));
    EXPECT_EQ(wide("xA", custom("TCVN")), Wide(true, L"xA"));
    EXPECT_EQ(wide("A\xb0", custom("TCVN")), Wide(true, L"\u00c0"));
    EXPECT_EQ(wide("\x88\x66", custom("BIG5-HKSCS")), Wide(true, L"\u00ca"));
    EXPECT_EQ(wide("\x88\x62", custom("BIG5-HKSCS")), Wide(true, L"\u00ca\u0304"));
    EXPECT_EQ(multibyte(L"\u00ca", custom("BIG5-HKSCS")), Multibyte(true, "\x88\x66"));
    EXPECT_EQ(multibyte(L"a\u00ca", custom("BIG5-HKSCS")), Multibyte(true, "a\x88\x66"));
    EXPECT_EQ(multibyte(L"\u00ca\u0304", custom("BIG5-HKSCS")), Multibyte(true, "\x88\x62"));
}

TEST(Stateful, ALetterHeldBackBeforeABadByteIsNotLost) {
    EXPECT_EQ(wide("a\xe0\xd9", custom("CP1255")), Wide(false, L"a\u05d0"));
    EXPECT_EQ(wide("a\xe0\xd9", custom("CP1255"), true), Wide(false, L"a\u05d0"));
    EXPECT_EQ(wide("a\xe0\xd9x", custom("CP1255"), true), Wide(false, L"a\u05d0x"));
    EXPECT_EQ(multibyte(L"a\u00ca\u0e01", custom("BIG5-HKSCS")), Multibyte(false, "a\x88\x66"));
    EXPECT_EQ(multibyte(L"a\u00ca\u0e01b", custom("BIG5-HKSCS"), "?"),
              Multibyte(false, "a\x88\x66?b"));
}

namespace {

// ISO-2022-CN is not among them: what is written depends on the room, as the C library repeats a
// shift that ends it.
const char* const WITH_MEMORY[] = {
    "ISO-2022-JP",  "ISO-2022-JP-3",  "ISO-2022-KR", "UTF-7",  "CP1255",   "CP1258",
    "TCVN",         "BIG5-HKSCS",     "TSCII",       "IBM930", "IBM1371",  "EUC-JP",
    "EUC-JISX0213", "SHIFT_JISX0213", "SJIS",        "EUC-KR", "GB18030",  "BIG5",
    "UTF-16",       "UTF-32",         "UNICODE",     "JOHAB",  "ISO_6937",
};

// Characters that one of those code pages holds back, takes together or does not have.
const std::wstring MIXED = {L'a',   L'A',   0xe9,   0xca,   0x304,  0x30c,   0x301,  0x5d0, 0x5b7,
                            0x3042, 0x304b, 0x309a, 0x30ab, 0x4e00, 0xac00,  0x1ea4, 0xb95, 0xbcd,
                            0xbbe,  0x2b65, 0xe001, 0xd800, 0xfeff, 0x20ac,  L'\n',  L'+',  L'~',
                            0x2e9,  0x2e5,  0x254,  0x300,  0x31f7, 0x20089, L'\0',  0xff71};

std::wstring random_text(std::mt19937& random, std::size_t size) {
    std::wstring text;
    for (std::size_t i = 0; i < size; ++i) {
        text += MIXED[random() % MIXED.size()];
    }
    return text;
}

} // namespace

TEST(Stateful, PairsOfCharactersAreWrittenAsIconvWritesThem) {
    const std::vector<std::wstring> pairs = texts::over(MIXED, 2);
    for (const char* const name : WITH_MEMORY) {
        const CodePage codePage = custom(name);
        for (std::size_t i = 0; i < pairs.size(); i += AFFORDABLE_STRIDE) {
            const std::wstring& text = pairs[i];
            const bool replace = text.size() % 2 == 0;
            const char* const replacement = replace ? "?" : nullptr;
            ASSERT_EQ(multibyte(text, codePage, replacement),
                      multibyte_by_iconv(text, name, replacement))
                << name;
        }
    }
}

TEST(Stateful, WhatIsWrittenIsReadAsIconvReadsIt) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (const char* const name : WITH_MEMORY) {
        const CodePage codePage = custom(name);
        for (int i = 0; i < 100; ++i) {
            std::string text = multibyte(random_text(random, random() % 20), codePage, "").second;
            for (const bool ignore : {false, true}) {
                ASSERT_EQ(wide(text, codePage, ignore), wide_by_iconv(text, name, ignore)) << name;
            }
            if (!text.empty()) { // and damaged
                text[random() % text.size()] = static_cast<char>(random());
                text.resize(1 + random() % text.size());
                ASSERT_EQ(wide(text, codePage, true), wide_by_iconv(text, name, true)) << name;
            }
        }
    }
}

TEST(Stateful, LongTextsAreConvertedAsIconvConvertsThem) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (const char* const name : WITH_MEMORY) {
        const CodePage codePage = custom(name);
        for (int i = 0; i < 10; i += AFFORDABLE_STRIDE) {
            const std::wstring text = L"x" + random_text(random, random() % 6000);
            const Multibyte bytes = multibyte_by_iconv(text, name, "");
            ASSERT_TRUE(multibyte(text, codePage, "") == bytes) << name;
            ASSERT_TRUE(wide(bytes.second, codePage) == wide_by_iconv(bytes.second, name, false))
                << name;
        }
    }
}

// Ends of the buffers between iconv and the text: 1024 bytes, and 4096 bytes for wide characters

namespace {

// Around the end of the first, second and fourth buffer of 1024 units.
std::vector<std::size_t> sizes_around_edges() {
    std::vector<std::size_t> sizes;
    for (const std::size_t edge : {1024U, 2048U, 4096U}) {
        for (std::size_t size = edge - 9; size <= edge + 9; ++size) {
            sizes.push_back(size);
        }
    }
    return sizes;
}

// Characters of one to four bytes, and what is none.
const std::wstring ONE_OF_EACH = L"b\u00e9\u20ac\U0001f600\xd800";

void utf8_or_mark(std::string& bytes, wchar_t character) {
    utf8(bytes, character == L'\xd800' ? L'?' : character);
}

std::wstring numbered(std::size_t size) {
    std::wstring text;
    for (std::size_t i = 0; i < size; ++i) {
        text += static_cast<wchar_t>(L'!' + i % 89);
    }
    return text;
}

} // namespace

TEST(Edges, TextsOfEveryLengthAreWhole) {
    for (std::size_t size = 1; size <= 2100; ++size) {
        const std::wstring text = numbered(size);
        const std::string bytes(text.begin(), text.end());
        ASSERT_EQ(multibyte(text, Encoding::CP_USASCII), Multibyte(true, bytes));
        ASSERT_EQ(wide(bytes, Encoding::CP_USASCII), Wide(true, text));
    }
    for (const std::size_t size : sizes_around_edges()) {
        const std::wstring text = numbered(size);
        const std::string bytes(text.begin(), text.end());
        ASSERT_EQ(multibyte(text, Encoding::CP_UTF8), Multibyte(true, bytes));
        ASSERT_EQ(wide(bytes, Encoding::CP_UTF8), Wide(true, text));
    }
}

TEST(Edges, CharactersOfSeveralBytesMayLieAcross) {
    for (const std::size_t size : sizes_around_edges()) {
        for (const wchar_t character : ONE_OF_EACH.substr(0, 4)) {
            const std::wstring text = numbered(size) + character + L"end";
            for (const CodePage& codePage : both_ways()) {
                ASSERT_EQ(multibyte(text, codePage), Multibyte(true, in_form(utf8, text)));
                ASSERT_EQ(wide(in_form(utf8, text), codePage), Wide(true, text));
            }
            ASSERT_EQ(multibyte(text, Encoding::CP_UTF16),
                      Multibyte(true, UTF16_MARK + in_form(utf16, text)));
            ASSERT_EQ(wide(UTF16_MARK + in_form(utf16, text), Encoding::CP_UTF16),
                      Wide(true, text));
        }
    }
}

TEST(Edges, BadCharactersMayLieThere) {
    for (const std::size_t size : sizes_around_edges()) {
        const std::wstring before = numbered(size);
        const std::string bytes(before.begin(), before.end());
        for (const std::wstring behind : {L"", L"x", L"\xd800x", L"\u00e9\xd800"}) {
            const std::wstring text = before + L'\xd800' + behind;
            const std::string rest = in_form(utf8_or_mark, behind);
            for (const CodePage& codePage : both_ways()) {
                ASSERT_EQ(multibyte(text, codePage), Multibyte(false, bytes));
                ASSERT_EQ(multibyte(text, codePage, "?"), Multibyte(false, bytes + "?" + rest));
            }
        }
        for (const std::string behind : {"", "x", "\xff", "x\xff", "\xffx"}) {
            const std::string text = bytes + '\xff' + behind;
            const std::wstring rest = behind.find('x') != std::string::npos ? L"x" : L"";
            for (const CodePage& codePage : both_ways()) {
                ASSERT_EQ(wide(text, codePage), Wide(false, before));
                ASSERT_EQ(wide(text, codePage, true), Wide(false, before + rest));
            }
        }
    }
}

TEST(Edges, CharactersCutByTheEndOfTheTextMayLieThere) {
    for (const std::size_t size : sizes_around_edges()) {
        const std::wstring before = numbered(size);
        const std::string bytes(before.begin(), before.end());
        for (const std::string cut : {"\xc3", "\xe2\x82", "\xf0\x9f\x98"}) {
            for (const CodePage& codePage : both_ways()) {
                ASSERT_EQ(wide(bytes + cut, codePage), Wide(false, before));
                ASSERT_EQ(wide(bytes + cut, codePage, true), Wide(false, before));
            }
        }
    }
}

TEST(Edges, ReplacementsOfEveryLengthMayLieAcross) {
    for (const std::size_t before : {1000U, 1022U, 1023U, 1024U, 1025U}) {
        for (const std::size_t size : {0U, 1U, 2U, 3U, 1023U, 1024U, 1025U, 5000U}) {
            const std::string replacement(size, 'r');
            const std::wstring text =
                numbered(before) + L"\u00e9\u00e9" + numbered(1024) + L"\u00e9";
            const std::wstring first = numbered(before);
            const std::wstring second = numbered(1024);
            const std::string expected = std::string(first.begin(), first.end()) + replacement +
                                         replacement + std::string(second.begin(), second.end()) +
                                         replacement;
            ASSERT_EQ(multibyte(text, Encoding::CP_USASCII, replacement.c_str()),
                      Multibyte(false, expected));
        }
    }
}

TEST(Edges, ShiftsAndHeldBackCharactersMayLieThere) {
    for (const char* const name : WITH_MEMORY) {
        const CodePage codePage = custom(name);
        for (std::size_t size = 1015; size <= 1026; ++size) {
            for (const std::wstring end : {L"\u3042", L"\u00ca", L"\u00ca\u0304", L"\u05d0", L"A",
                                           L"\u304b\u309a", L"\u1ea4", L"\u0e01x"}) {
                const std::wstring text = numbered(size) + end;
                const Multibyte bytes = multibyte_by_iconv(text, name, "?");
                ASSERT_TRUE(multibyte(text, codePage, "?") == bytes) << name << size;
                ASSERT_TRUE(wide(bytes.second, codePage) ==
                            wide_by_iconv(bytes.second, name, false))
                    << name << size;
            }
        }
    }
}

// Random texts

TEST(Conversions, OfRandomTextsAgreeWithTheModels) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string pieces[] = {"a",    "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80",  "\xff",
                                  "\xe2", "\x82",     "\xed\xa0\x80", std::string(1, '\0')};
    for (int i = 0; i < 300; ++i) {
        std::string text = "x";
        for (std::size_t left = random() % 3000; left != 0; --left) {
            text += pieces[random() % (i % 2 == 0 ? 4 : std::size(pieces))];
        }
        for (const bool ignore : {false, true}) {
            for (const CodePage& codePage : both_ways()) {
                ASSERT_TRUE(wide(text, codePage, ignore) == model_from_utf8(text, ignore));
            }
        }
        const std::wstring characters = model_from_utf8(text, true).second;
        for (const CodePage& codePage : both_ways()) {
            ASSERT_TRUE(multibyte(characters, codePage) ==
                        Multibyte(true, in_form(utf8, characters)));
        }
    }
}

// What reaches iconv, and what comes back from it

namespace {

class ConversionCalls : public testing::Test {
protected:
    void SetUp() override {
        const int opened = iconv_calls.opened;
        multibyte(L"a", by_iconv());
        if (iconv_calls.opened == opened) {
            GTEST_SKIP() << "iconv is linked in such a way that nothing can stand in front of it";
        }
        iconv_calls.most_room = 0;
    }
    void TearDown() override {
        iconv_calls.open_fails = false;
        iconv_calls.close_fails = false;
        iconv_calls.gets_nowhere = false;
        iconv_calls.end_fails = false;
    }
};

} // namespace

TEST_F(ConversionCalls, NameTheCodePageAndUtf32OfThisMachine) {
    multibyte(L"a", custom("KOI8-R", 5));
    EXPECT_STREQ(iconv_calls.to, "KOI8-R");
    EXPECT_STREQ(iconv_calls.from, "UTF32LE");
    wide("a", custom("KOI8-U", 5));
    EXPECT_STREQ(iconv_calls.to, "UTF32LE");
    EXPECT_STREQ(iconv_calls.from, "KOI8-U");
}

TEST_F(ConversionCalls, AreNotMadeForDefaultCodePages) {
    const scoped::CLocale locale("C.UTF-8");
    const int opened = iconv_calls.opened;
    for (const CodePage& codePage : {CodePage(Encoding::CP_DEFAULT), CodePage(Encoding::CP_LOCALE),
                                     CodePage(ABOVE), custom("C.UTF-8")}) {
        EXPECT_TRUE(multibyte(L"a\u00e9", codePage).first);
        EXPECT_FALSE(multibyte(L"a\xd800", codePage, "?").first);
        EXPECT_TRUE(wide("a\xc3\xa9", codePage).first);
        EXPECT_FALSE(wide("\xffx", codePage, true).first);
    }
    EXPECT_EQ(iconv_calls.opened, opened);
}

TEST_F(ConversionCalls, GiveRoomForOneBuffer) {
    multibyte(numbered(5000), by_iconv());
    EXPECT_EQ(iconv_calls.most_room, 1024U);
    wide(std::string(5000, 'x'), by_iconv());
    EXPECT_EQ(iconv_calls.most_room, 4096U);
}

TEST_F(ConversionCalls, ThatCannotBeOpenedAreEmptyAndFalse) {
    iconv_calls.open_fails = true;
    EXPECT_EQ(multibyte(L"ab", by_iconv()), Multibyte(false, ""));
    EXPECT_EQ(multibyte(L"ab", by_iconv(), "?"), Multibyte(false, ""));
    EXPECT_EQ(wide("ab", by_iconv()), Wide(false, L""));
    EXPECT_EQ(wide("ab", by_iconv(), true), Wide(false, L""));
}

TEST_F(ConversionCalls, ThatCannotBeClosedAreFalseWithTheWholeText) {
    iconv_calls.close_fails = true;
    EXPECT_EQ(multibyte(L"ab", by_iconv()), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"ab", by_iconv(), "?"), Multibyte(false, "ab"));
    EXPECT_EQ(wide("ab", by_iconv()), Wide(false, L"ab"));
    EXPECT_EQ(wide("ab", by_iconv(), true), Wide(false, L"ab"));
}

// What was held back is lost.
TEST_F(ConversionCalls, ThatCannotBeEndedAreFalse) {
    iconv_calls.end_fails = true;
    EXPECT_EQ(multibyte(L"ab", by_iconv()), Multibyte(false, "ab"));
    EXPECT_EQ(multibyte(L"ab", by_iconv(), "?"), Multibyte(false, "ab"));
    EXPECT_EQ(wide("ab", by_iconv()), Wide(false, L"ab"));
    EXPECT_EQ(wide("ab", by_iconv(), true), Wide(false, L"ab"));
}

TEST_F(ConversionCalls, ThatLackRoomForEverEndNevertheless) {
    iconv_calls.gets_nowhere = true;
    EXPECT_FALSE(multibyte(L"ab", by_iconv()).first);
    EXPECT_FALSE(multibyte(L"ab", by_iconv(), "?").first);
    EXPECT_FALSE(wide("ab", by_iconv()).first);
    EXPECT_FALSE(wide("ab", by_iconv(), true).first);
}

TEST_F(ConversionCalls, AreNotMadeForWellFormedTextInTheUsualCodePages) {
    const int opened = iconv_calls.opened;
    for (const auto codePage : {Encoding::CP_UTF8, Encoding::CP_WIN1252, Encoding::CP_ANSI}) {
        EXPECT_TRUE(multibyte(L"a\u00e9", codePage).first);
        EXPECT_TRUE(wide(multibyte(L"a\u00e9", codePage).second, codePage).first);
    }
    EXPECT_TRUE(multibyte(L"a", Encoding::CP_USASCII).first);
    EXPECT_TRUE(wide("a", Encoding::CP_USASCII).first);
    EXPECT_EQ(iconv_calls.opened, opened);
}

TEST_F(ConversionCalls, BeginAtTheFirstFaultOfTheUsualCodePages) {
    iconv_calls.open_fails = true;
    EXPECT_EQ(multibyte(L"ab\u20acc", Encoding::CP_USASCII, "?"), Multibyte(false, "ab"));
    EXPECT_EQ(wide("ab\xff"
                   "c",
                   Encoding::CP_UTF8, true),
              Wide(false, L"ab"));
}

TEST_F(ConversionCalls, CloseTheDescriptorBeforeTheyReturn) {
    const auto expect_closed = [](const char* what) {
        EXPECT_EQ(iconv_calls.opened, iconv_calls.closed) << what;
    };
    multibyte(L"ab", by_iconv());
    expect_closed("written");
    multibyte(L"a\u00e9b", Encoding::CP_USASCII);
    expect_closed("ended");
    multibyte(L"a\u00e9b", Encoding::CP_USASCII, "?");
    expect_closed("replaced");
    multibyte(L"a", custom("no-such-code-page"));
    expect_closed("unknown");
    wide("ab", by_iconv());
    expect_closed("read");
    for (const CodePage& codePage : {CodePage(Encoding::CP_UTF8), by_iconv()}) {
        wide("a\xff", codePage);
        expect_closed("ended");
        wide("a\xff", codePage, true);
        expect_closed("skipped");
    }
}

// Failing allocations

namespace {

// Runs `conversion` with each of its allocations failing; nothing stays behind.
template <class Conversion>
void fail_each_allocation(Conversion conversion) {
    conversion(); // what the C library sets up once
    const auto nothing_is_left = [] {
        EXPECT_EQ(iconv_calls.opened, iconv_calls.closed);
        EXPECT_EQ(iconv_calls.strays, 0);
    };
    const allocation::Watch watch;
    const std::size_t failures = allocation::fail_each(conversion, nothing_is_left);
    EXPECT_GT(failures, 1U);
    EXPECT_EQ(watch.live(), 0);
}

} // namespace

TEST(ConversionOutOfMemory, ClosesTheDescriptorAndPassesTheErrorOn) {
    const std::wstring text = numbered(3000) + L"\u00e9" + numbered(3000);
    const std::string bytes = std::string(3000, 'x') + '\xff' + std::string(3000, 'y');
    const std::string replacement(3000, 'r');
    const CodePage ascii(Encoding::CP_USASCII);
    const scoped::CLocale locale("C");
    for (const CodePage& codePage : {ascii, CodePage(Encoding::CP_LOCALE)}) {
        SCOPED_TRACE(codePage.m_name);
        fail_each_allocation([&] {
            std::string out;
            EXPECT_FALSE(Encoding::toMultibyte(text.data(), length(text), out, codePage,
                                               replacement.c_str()));
        });
        fail_each_allocation([&] {
            std::wstring out;
            Encoding::toWideChar(bytes.data(), length(bytes), out, codePage, true);
        });
    }
}

// The room that there is is not enough, and there is no more.
TEST(ConversionOutOfMemory, LeavesOutEmptyForAShortText) {
    const std::wstring text(100, L'\u20ac');
    const std::string bytes = in_form(utf8, text);
    for (const CodePage& codePage : {CodePage(Encoding::CP_UTF8), CodePage(Encoding::CP_WIN1252)}) {
        for (const std::size_t size : {0U, 3U, 40U, 99U}) {
            std::string out(size, '#');
            EXPECT_TRUE(allocation::fails_at(
                0, [&] { Encoding::toMultibyte(text.data(), length(text), out, codePage, "?"); }));
            EXPECT_EQ(out, "");
            std::wstring wide_out(size, L'#');
            EXPECT_TRUE(allocation::fails_at(
                0, [&] { Encoding::toWideChar(bytes.data(), length(bytes), wide_out, codePage); }));
            EXPECT_TRUE(wide_out.empty());
        }
    }
}

TEST(ConversionOutOfMemory, ClosesTheDescriptorsOfCaseConversions) {
    const std::string text(3000, 'x');
    const Encoding::ToUpperCase upper(std::locale::classic());
    fail_each_allocation([&] {
        std::string out;
        nuriccl::transformString(text, out, upper);
    });
}

TEST_F(NamedLocales, CodePageOutOfMemoryIsAsItWas) {
    const std::string name(200, 'N');
    const scoped::LocaleNames names{name};
    const std::string other(300, 'o');
    const std::function<void(CodePage&)> forms[] = {
        [](CodePage& codePage) { codePage.init(Encoding::CP_LOCALE); },
        [](CodePage& codePage) { codePage.init(ABOVE); },
        [](CodePage& codePage) { codePage.init(Encoding::CP_UTF8); },
        [](CodePage& codePage) { codePage.init(7U); },
        [&](CodePage& codePage) { codePage.init(other.c_str()); },
        [&](CodePage& codePage) { codePage.init(7U, other.c_str()); }};
    for (const auto& form : forms) {
        for (const int value : {0, 3, 8}) {
            const CodePage before(static_cast<CodePages_e>(value));
            const scoped::CLocale locale(name.c_str(), LC_CTYPE);
            allocation::fail_each(
                [&] {
                    CodePage codePage = before;
                    try {
                        form(codePage);
                    } catch (const std::bad_alloc&) {
                        expect_fields(codePage, before.m_codePage, before.m_number, before.m_locale,
                                      before.m_name);
                        throw;
                    }
                },
                [] {});
        }
    }
}

TEST_F(NamedLocales, CodePageOutOfMemoryIsNotBuilt) {
    const std::string name(200, 'N');
    const scoped::LocaleNames names{name};
    const scoped::CLocale locale(name.c_str(), LC_CTYPE);
    const allocation::Watch watch;
    const std::size_t failures =
        allocation::fail_each([] { const CodePage codePage(Encoding::CP_LOCALE); }, [] {});
    EXPECT_EQ(failures, 2U); // the name, and that of all categories
    EXPECT_EQ(watch.live(), 0);
}

// Case

namespace {

int facets_destroyed = 0;

// 'k' and U+20AC are each other's case, that of 'z' is NUL and that of 's' a surrogate; every other
// character is its own.
class StrangeCtype : public std::ctype<wchar_t> {
public:
    ~StrangeCtype() override { ++facets_destroyed; }

protected:
    wchar_t do_toupper(wchar_t c) const override {
        return c == L'k' ? L'\u20ac' : c == L'z' ? L'\0' : c == L's' ? L'\xd800' : c;
    }
    const wchar_t* do_toupper(wchar_t* first, const wchar_t* last) const override {
        for (; first != last; ++first) {
            *first = do_toupper(*first);
        }
        return last;
    }
    wchar_t do_tolower(wchar_t c) const override {
        return c == L'\u20ac' ? L'k' : c == L'Z' ? L'\0' : c == L'S' ? L'\xd800' : c;
    }
    const wchar_t* do_tolower(wchar_t* first, const wchar_t* last) const override {
        for (; first != last; ++first) {
            *first = do_tolower(*first);
        }
        return last;
    }
};

std::locale strange_locale() { return std::locale(std::locale::classic(), new StrangeCtype); }

// What a function of case returns and leaves in `out`.
template <class String, class Function>
std::pair<bool, String> cased(Function function, const String& text, String out) {
    const bool done = function(text, out);
    return {done, out};
}

Multibyte upper(const std::string& text, const std::string& out = "before") {
    return cased<std::string>(
        [](const auto& in, auto& to) { return Encoding::toUpperCase(in, to); }, text, out);
}

Multibyte lower(const std::string& text, const std::string& out = "before") {
    return cased<std::string>(
        [](const auto& in, auto& to) { return Encoding::toLowerCase(in, to); }, text, out);
}

Wide upper(const std::wstring& text, const std::wstring& out = L"before ") {
    return cased<std::wstring>(
        [](const auto& in, auto& to) { return Encoding::toUpperCase(in, to); }, text, out);
}

Wide lower(const std::wstring& text, const std::wstring& out = L"before ") {
    return cased<std::wstring>(
        [](const auto& in, auto& to) { return Encoding::toLowerCase(in, to); }, text, out);
}

} // namespace

TEST(CaseFunctors, MapByTheFacetOfTheirLocale) {
    const Encoding::ToUpperCase up(strange_locale());
    EXPECT_EQ(up(L'k'), L'\u20ac');
    EXPECT_EQ(up(L'a'), L'a');
    EXPECT_EQ(up(L'\u20ac'), L'\u20ac');
    const Encoding::ToLowerCase down(strange_locale());
    EXPECT_EQ(down(L'\u20ac'), L'k');
    EXPECT_EQ(down(L'A'), L'A');
    EXPECT_EQ(down(L'k'), L'k');
    const Encoding::ToUpperCase classic(std::locale::classic());
    EXPECT_EQ(classic(L'a'), L'A');
    EXPECT_EQ(classic(L'\u00e9'), L'\u00e9');
}

TEST(CaseFunctors, KeepTheirLocaleAlive) {
    facets_destroyed = 0;
    {
        const Encoding::ToUpperCase up(strange_locale());
        const Encoding::ToLowerCase down(strange_locale());
        EXPECT_EQ(facets_destroyed, 0);
        EXPECT_EQ(up(L'k'), L'\u20ac');
        EXPECT_EQ(down(L'\u20ac'), L'k');
    }
    EXPECT_EQ(facets_destroyed, 2);
}

TEST(CaseFunctors, ShareTheirLocaleWithCopies) {
    facets_destroyed = 0;
    {
        Encoding::ToUpperCase copy(std::locale::classic());
        Encoding::ToLowerCase lower_copy(std::locale::classic());
        {
            const Encoding::ToUpperCase up(strange_locale());
            const Encoding::ToLowerCase down(strange_locale());
            copy = up;
            lower_copy = down;
        }
        EXPECT_EQ(facets_destroyed, 0);
        EXPECT_EQ(copy(L'k'), L'\u20ac');
        EXPECT_EQ(lower_copy(L'\u20ac'), L'k');
    }
    EXPECT_EQ(facets_destroyed, 2);
}

TEST(CaseFunctors, DoNotLookAtTheGlobalLocale) {
    const scoped::GlobalLocale locale(strange_locale());
    const Encoding::ToUpperCase up(std::locale::classic());
    EXPECT_EQ(up(L'k'), L'K');
}

TEST(TransformNarrow, MapsThroughTheFacet) {
    const Encoding::ToUpperCase up(strange_locale());
    const Encoding::ToLowerCase down(strange_locale());
    std::string out = "before";
    EXPECT_TRUE(nuriccl::transformString(std::string("akxk"), out, up));
    EXPECT_EQ(out, "a\xe2\x82\xacx\xe2\x82\xac");
    EXPECT_TRUE(nuriccl::transformString(std::string("A\xe2\x82\xacX"), out, down));
    EXPECT_EQ(out, "AkX");
    EXPECT_TRUE(nuriccl::transformString(std::string(), out, up));
    EXPECT_EQ(out, "");
}

TEST(TransformNarrow, TakesTheWholeTextWithItsNuls) {
    const Encoding::ToUpperCase up(std::locale::classic());
    std::string out;
    EXPECT_TRUE(nuriccl::transformString(std::string("a\0b\0", 4), out, up));
    EXPECT_EQ(out, std::string("A\0B\0", 4));
}

TEST(TransformNarrow, IsEmptyForATextThatStartsWithNul) {
    const Encoding::ToUpperCase up(std::locale::classic());
    std::string out = "before";
    EXPECT_TRUE(nuriccl::transformString(std::string("\0ab", 3), out, up));
    EXPECT_EQ(out, "");
}

TEST(TransformNarrow, IsEmptyWhenTheFirstCharacterBecomesNul) {
    const Encoding::ToUpperCase up(strange_locale());
    std::string out = "before";
    EXPECT_TRUE(nuriccl::transformString(std::string("zab"), out, up));
    EXPECT_EQ(out, "");
    EXPECT_TRUE(nuriccl::transformString(std::string("azb"), out, up));
    EXPECT_EQ(out, std::string("a\0b", 3));
}

TEST(TransformNarrow, LeavesOutUntouchedForATextThatIsNotValid) {
    const Encoding::ToUpperCase up(std::locale::classic());
    for (const std::string text : {"ab\xff", "\xff", "\xe2\x82", "ab\xed\xa0\x80"}) {
        std::string out = "before";
        EXPECT_FALSE(nuriccl::transformString(text, out, up));
        EXPECT_EQ(out, "before");
        std::string same = text;
        EXPECT_FALSE(nuriccl::transformString(same, same, up));
        EXPECT_EQ(same, text);
    }
}

TEST(TransformNarrow, LeavesOutUntouchedForAnUnknownCodePage) {
    const Settings settings(custom("no-such-code-page"), "?");
    const Encoding::ToUpperCase up(std::locale::classic());
    std::string out = "before";
    EXPECT_FALSE(nuriccl::transformString(std::string("ab"), out, up));
    EXPECT_EQ(out, "before");
}

TEST(TransformNarrow, EndsAtACharacterThatCannotBeWrittenBack) {
    const Encoding::ToUpperCase up(strange_locale());
    std::string out = "before";
    EXPECT_FALSE(nuriccl::transformString(std::string("asb"), out, up));
    EXPECT_EQ(out, "a");
    const Settings settings(custom("ISO-8859-1"));
    EXPECT_FALSE(nuriccl::transformString(std::string("\xe9k"), out, up));
    EXPECT_EQ(out, "\xe9");
}

TEST(TransformNarrow, ReplacesWhatCannotBeWrittenBackAndIsFalse) {
    const Settings settings(custom("ISO-8859-1"), "<none>");
    const Encoding::ToUpperCase up(strange_locale());
    std::string out = "before";
    EXPECT_FALSE(nuriccl::transformString(std::string("\xe9kx"), out, up));
    EXPECT_EQ(out, "\xe9<none>x");
    EXPECT_TRUE(nuriccl::transformString(std::string("\xe9x"), out, up));
    EXPECT_EQ(out, "\xe9x");
}

// The replacement is for what is written, not for what is read.
TEST(TransformNarrow, ReplacesNothingOfATextThatIsNotValid) {
    const Settings settings(Encoding::CP_UTF8, "?");
    const Encoding::ToUpperCase up(std::locale::classic());
    for (const bool ignore : {false, true}) {
        Encoding::s_ignoreBadChars = ignore;
        Encoding::s_bestFitChars = ignore;
        std::string out = "before";
        EXPECT_FALSE(nuriccl::transformString(std::string("ab\xff"), out, up));
        EXPECT_EQ(out, "before");
    }
}

TEST(TransformNarrow, ReadsAndWritesTheCodePageOfTheSettings) {
    const Encoding::ToUpperCase up(std::locale("C.UTF-8"));
    std::string out;
    {
        const Settings settings(Encoding::CP_WIN1252);
        EXPECT_TRUE(nuriccl::transformString(std::string("a\xe9\xff\x9c"), out, up));
        EXPECT_EQ(out, "A\xc9\x9f\x8c");
    }
    EXPECT_TRUE(nuriccl::transformString(std::string("\xc3\xa9"), out, up));
    EXPECT_EQ(out, "\xc3\x89");
}

TEST(TransformNarrow, RepeatsTheFirstCharacterInADefaultCodePage) {
    const scoped::CLocale locale("C.UTF-8");
    const Settings settings(Encoding::CP_LOCALE);
    const Encoding::ToUpperCase up(std::locale::classic());
    std::string out;
    EXPECT_TRUE(nuriccl::transformString(std::string("abc"), out, up));
    EXPECT_EQ(out, "AAA");
}

TEST(TransformNarrow, TakesTheSameStringForBoth) {
    const Encoding::ToUpperCase up(std::locale::classic());
    const Encoding::ToLowerCase down(std::locale::classic());
    for (const std::size_t size : {1U, 15U, 5000U}) {
        std::string text(size, 'a');
        EXPECT_TRUE(nuriccl::transformString(text, text, up));
        EXPECT_EQ(text, std::string(size, 'A'));
        EXPECT_TRUE(nuriccl::transformString(text, text, down));
        EXPECT_EQ(text, std::string(size, 'a'));
    }
}

TEST(TransformNarrow, ReadsAReplacementInsideOutAsItWasAtTheCall) {
    std::string out = "<none>";
    const Settings settings(custom("ISO-8859-1"), out.c_str());
    EXPECT_FALSE(
        nuriccl::transformString(std::string("akb"), out, Encoding::ToUpperCase(strange_locale())));
    EXPECT_EQ(out, "a<none>b");
}

TEST(TransformNarrow, ReadsTheNameOfTheCodePageInOutAsItWasAtTheCall) {
    const Settings settings(Encoding::CP_WIN1252);
    EXPECT_TRUE(nuriccl::transformString(std::string("k\xe9"), Encoding::s_toCodePage.m_name,
                                         Encoding::ToUpperCase(strange_locale())));
    EXPECT_EQ(Encoding::s_toCodePage.m_name, "\x80\xe9");
}

TEST(TransformWide, AppendsEachMappedCharacter) {
    const Encoding::ToUpperCase up(strange_locale());
    const Encoding::ToLowerCase down(strange_locale());
    std::wstring out = L"before ";
    EXPECT_TRUE(nuriccl::transformString(std::wstring(L"ak"), out, up));
    EXPECT_EQ(out, L"before a\u20ac");
    EXPECT_TRUE(nuriccl::transformString(std::wstring(L"A\u20ac"), out, down));
    EXPECT_EQ(out, L"before a\u20acAk");
    EXPECT_TRUE(nuriccl::transformString(std::wstring(), out, up));
    EXPECT_EQ(out, L"before a\u20acAk");
}

TEST(TransformWide, TakesAnyValueForACharacter) {
    const Encoding::ToUpperCase up(std::locale("C.UTF-8"));
    const std::wstring text = {
        L'\0', L'a', L'\xd800', static_cast<wchar_t>(0x110000), static_cast<wchar_t>(0xffffffffU),
        L'\0', L'b'};
    std::wstring expected = text;
    expected[1] = L'A';
    expected[6] = L'B';
    std::wstring out;
    EXPECT_TRUE(nuriccl::transformString(text, out, up));
    EXPECT_EQ(out, expected);
}

TEST(TransformWide, DoublesTheSameStringForBoth) {
    const Encoding::ToUpperCase up(std::locale::classic());
    for (const std::size_t size : {1U, 3U, 4U, 5000U}) {
        std::wstring text(size, L'a');
        EXPECT_TRUE(nuriccl::transformString(text, text, up));
        EXPECT_EQ(text, std::wstring(size, L'a') + std::wstring(size, L'A'));
    }
}

TEST(TransformWide, LooksAtNoSetting) {
    const Settings settings(custom("no-such-code-page"));
    std::wstring out;
    EXPECT_TRUE(nuriccl::transformString(std::wstring(L"\u20aca"), out,
                                         Encoding::ToUpperCase(std::locale::classic())));
    EXPECT_EQ(out, L"\u20acA");
}

namespace {

// Tests in the locale that the environment names, C.UTF-8 at first.
class CaseConversion : public testing::Test {
    scoped::Variable all_{"LC_ALL", "C.UTF-8"};
};

} // namespace

TEST_F(CaseConversion, OfNarrowTextReplacesWhatOutHeld) {
    EXPECT_EQ(upper("a\xc3\xa9Z\xc3\xbf"), Multibyte(true, "A\xc3\x89Z\xc5\xb8"));
    EXPECT_EQ(lower("A\xc3\x89z\xc5\xb8"), Multibyte(true, "a\xc3\xa9z\xc3\xbf"));
    EXPECT_EQ(upper(std::string()), Multibyte(true, ""));
    EXPECT_EQ(lower(std::string()), Multibyte(true, ""));
}

TEST_F(CaseConversion, OfWideTextAppends) {
    EXPECT_EQ(upper(L"a\u00e9Z\u00ff\U00010428"), Wide(true, L"before A\u00c9Z\u0178\U00010400"));
    EXPECT_EQ(lower(L"A\u00c9z\u0178\U00010400"), Wide(true, L"before a\u00e9z\u00ff\U00010428"));
    EXPECT_EQ(upper(std::wstring()), Wide(true, L"before "));
    std::wstring out;
    EXPECT_TRUE(Encoding::toUpperCase(L"ab", out));
    EXPECT_TRUE(Encoding::toUpperCase(L"cd", out));
    EXPECT_TRUE(Encoding::toLowerCase(L"EF", out));
    EXPECT_EQ(out, L"ABCDef");
}

TEST_F(CaseConversion, TakesTheSameStringForBoth) {
    std::string text = "a\xc3\xa9";
    EXPECT_TRUE(Encoding::toUpperCase(text, text));
    EXPECT_EQ(text, "A\xc3\x89");
    EXPECT_TRUE(Encoding::toLowerCase(text, text));
    EXPECT_EQ(text, "a\xc3\xa9");
    std::wstring characters = L"ab";
    EXPECT_TRUE(Encoding::toUpperCase(characters, characters));
    EXPECT_EQ(characters, L"abAB");
    EXPECT_TRUE(Encoding::toLowerCase(characters, characters));
    EXPECT_EQ(characters, L"abABabab");
}

TEST_F(CaseConversion, OfEveryCharacterIsThatOfTheLocale) {
    const std::locale locale("C.UTF-8");
    const auto& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    for (const std::wstring& text : planes()) {
        std::wstring expected = text;
        facet.toupper(expected.data(), expected.data() + expected.size());
        EXPECT_TRUE(upper(text, L"") == Wide(true, expected));
        EXPECT_TRUE(upper(in_form(utf8, text)) == Multibyte(true, in_form(utf8, expected)));
        expected = text;
        facet.tolower(expected.data(), expected.data() + expected.size());
        EXPECT_TRUE(lower(text, L"") == Wide(true, expected));
        EXPECT_TRUE(lower(in_form(utf8, text)) == Multibyte(true, in_form(utf8, expected)));
    }
}

TEST_F(CaseConversion, IsInTheLocaleOfTheEnvironmentAndNoOther) {
    const scoped::GlobalLocale global(strange_locale());
    {
        const scoped::CLocale c_locale("C");
        EXPECT_EQ(upper("e\xc3\xa9"), Multibyte(true, "E\xc3\x89"));
        EXPECT_EQ(upper(L"e\u00e9", L""), Wide(true, L"E\u00c9"));
    }
    const scoped::CLocale c_locale("C.UTF-8");
    const scoped::Variable all("LC_ALL", "C");
    EXPECT_EQ(upper("e\xc3\xa9"), Multibyte(true, "E\xc3\xa9"));
    EXPECT_EQ(upper(L"e\u00e9", L""), Wide(true, L"E\u00e9"));
    EXPECT_EQ(lower("E\xc3\x89"), Multibyte(true, "e\xc3\x89"));
    EXPECT_EQ(lower(L"E\u00c9", L""), Wide(true, L"e\u00c9"));
}

TEST_F(CaseConversion, ReadsTheEnvironmentAsTheCLibraryDoes) {
    const scoped::Variable all("LC_ALL", nullptr);
    const scoped::Variable characters("LC_CTYPE", "C.UTF-8");
    const scoped::Variable language("LANG", "C");
    EXPECT_EQ(upper("\xc3\xa9"), Multibyte(true, "\xc3\x89"));
    {
        const scoped::Variable none("LC_CTYPE", nullptr);
        EXPECT_EQ(upper("\xc3\xa9"), Multibyte(true, "\xc3\xa9"));
        const scoped::Variable unicode("LANG", "C.UTF-8");
        EXPECT_EQ(upper("\xc3\xa9"), Multibyte(true, "\xc3\x89"));
    }
    const scoped::Variable empty("LC_ALL", "");
    EXPECT_EQ(upper("\xc3\xa9"), Multibyte(true, "\xc3\x89"));
}

TEST_F(CaseConversion, LeavesTheLocalesOfTheProcessAlone) {
    const scoped::CLocale c_locale("C");
    upper("a");
    lower(L"a");
    EXPECT_EQ(locale_name(LC_ALL), "C");
    EXPECT_EQ(std::locale(), std::locale::classic());
}

TEST_F(CaseConversion, IsFalseAndLeavesOutUntouchedInALocaleThatIsNotInstalled) {
    for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LC_NUMERIC", "LANG"}) {
        const scoped::Variable none("LC_ALL", nullptr);
        const scoped::Variable missing(variable, "no_SUCH.locale");
        for (const std::string text : {"ab", "", "\xff"}) {
            EXPECT_EQ(upper(text), Multibyte(false, "before")) << variable;
            EXPECT_EQ(lower(text), Multibyte(false, "before")) << variable;
        }
        for (const std::wstring text : {L"ab", L""}) {
            EXPECT_EQ(upper(text), Wide(false, L"before ")) << variable;
            EXPECT_EQ(lower(text), Wide(false, L"before ")) << variable;
        }
    }
}

TEST_F(CaseConversion, IsFalseAndLeavesOutUntouchedForATextThatIsNotValid) {
    EXPECT_EQ(upper("ab\xff"), Multibyte(false, "before"));
    EXPECT_EQ(lower("AB\xc3"), Multibyte(false, "before"));
    EXPECT_EQ(upper(std::string("a\xff\0", 3)), Multibyte(false, "before"));
}

TEST_F(CaseConversion, FollowsTheSettings) {
    {
        const Settings settings(custom("ISO-8859-1"));
        EXPECT_EQ(upper("a\xe9\xffx"), Multibyte(false, "A\xc9")); // U+0178 is not in Latin-1
        EXPECT_EQ(lower("A\xc9\xff"), Multibyte(true, "a\xe9\xff"));
    }
    {
        const Settings settings(custom("ISO-8859-1"), "?");
        EXPECT_EQ(upper("a\xe9\xffx"), Multibyte(false, "A\xc9?X"));
    }
    {
        const Settings settings(Encoding::CP_WIN1252);
        EXPECT_EQ(upper("a\xe9\xffx"), Multibyte(true, "A\xc9\x9fX"));
    }
    EXPECT_EQ(upper("a\xc3\xa9"), Multibyte(true, "A\xc3\x89"));
}

TEST_F(CaseConversion, PassesOnThatMemoryRanOut) {
    const std::string text(500, 'x');
    const std::wstring characters(500, L'x');
    std::string out;
    std::wstring wide_out;
    const auto nothing_is_open = [] { EXPECT_EQ(iconv_calls.opened, iconv_calls.closed); };
    upper("x"); // what the libraries set up once
    EXPECT_GT(allocation::fail_each([&] { EXPECT_TRUE(Encoding::toUpperCase(text, out)); },
                                    nothing_is_open),
              1U);
    EXPECT_EQ(out, std::string(500, 'X'));
    EXPECT_GT(allocation::fail_each(
                  [&] {
                      wide_out = std::wstring();
                      EXPECT_TRUE(Encoding::toUpperCase(characters, wide_out));
                  },
                  nothing_is_open),
              1U);
    EXPECT_EQ(wide_out, std::wstring(500, L'X'));
}

TEST(EncodingUsage, WorksAsTheHeaderShows) {
    std::string bytes;
    EXPECT_TRUE(Encoding::toMultibyte(L"caf\u00e9", 4, bytes, Encoding::CP_WIN1252));
    EXPECT_EQ(bytes, "caf\xe9");
    EXPECT_FALSE(Encoding::toMultibyte(L"caf\u00e9", 4, bytes, Encoding::CP_USASCII, "?"));
    EXPECT_EQ(bytes, "caf?");
    std::wstring characters;
    EXPECT_TRUE(Encoding::toWideChar("caf\xc3\xa9", 5, characters, Encoding::CP_UTF8));
    EXPECT_EQ(characters, L"caf\u00e9");
}
