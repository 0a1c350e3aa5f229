// Text in code pages: the conversions agree with those of the C library and of iconv, all in one
// go; a text that was converted comes back the same where a code page has one form for each
// character; and case conversion is a round trip with a change of case on the way.

#include "fuzz.hpp"

#include <nuriccl/encoding.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cwchar>
#include <iconv.h>
#include <iterator>
#include <locale>
#include <memory>

namespace {

namespace Encoding = nuriccl::Encoding;
using Encoding::CodePage;

// A code page by name, and whether what it makes of a text is the only form of that text.
struct Page {
    const char* name;
    bool is_exact;
};

const Page PAGES[] = {{"UTF-8", true},
                      {"UTF-16", true},
                      {"UTF-16LE", true},
                      {"UTF-16BE", true},
                      {"UTF-32", true},
                      {"UTF-32BE", true},
                      {"UTF-7", true},
                      {"UCS-2LE", true},
                      {"US-ASCII", true},
                      {"ISO-8859-1", true},
                      {"ISO-8859-15", true},
                      {"WINDOWS-1252", true},
                      {"KOI8-R", true},
                      {"IBM437", true},
                      {"IBM037", true},
                      {"GB18030", true},
                      {"GBK", false},
                      {"BIG5", false},
                      {"BIG5-HKSCS", false},
                      {"SHIFT_JIS", false},
                      {"EUC-JP", false},
                      {"EUC-KR", false},
                      {"ISO-2022-JP", false},
                      {"ISO-2022-KR", false},
                      {"ISO-2022-CN", false},
                      {"IBM939", false},
                      {"WINDOWS-1255", false},
                      {"WINDOWS-1258", false},
                      {"TCVN", false},
                      {"JOHAB", false},
                      {"EUC-JISX0213", false},
                      {"T.61", false},
                      {"MS-ANSI", true},
                      {"no such page", true},
                      {"", false}};

// What a conversion is to give.
template <class Text>
struct Expected {
    bool good;
    Text text;
};

// What iconv makes of the text in a buffer that holds all of it. A bad unit is replaced, or ends
// the text when the replacement is null.
template <class To, class From>
Expected<std::basic_string<To>> by_iconv(const char* to, const char* from,
                                         const std::basic_string<From>& text,
                                         const To* replacement) {
    const iconv_t converter = iconv_open(to, from);
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return {false, {}};
    }
    std::size_t left = text.size() * sizeof(From);
    const std::size_t room = 64 + 16 * text.size() * sizeof(From);
    const std::unique_ptr<char[]> buffer(new char[room]);
    char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
    char* out = buffer.get();
    std::size_t free = room;
    std::basic_string<To> converted;
    const auto take = [&] {
        converted.append(reinterpret_cast<const To*>(buffer.get()),
                         static_cast<std::size_t>(out - buffer.get()) / sizeof(To));
        out = buffer.get();
        free = room;
    };
    bool good = true;
    while (left != 0 && iconv(converter, &in, &left, &out, &free) == static_cast<std::size_t>(-1)) {
        FUZZ_REQUIRE(errno == EILSEQ || errno == EINVAL);
        good = false;
        if (replacement == nullptr) {
            break;
        }
        const std::size_t skipped = std::min(left, sizeof(From));
        in += skipped;
        left -= skipped;
        take();
        converted += replacement;
    }
    iconv(converter, nullptr, nullptr, &out, &free); // what it holds back
    take();
    iconv_close(converter);
    return {good, converted};
}

// The same by the C library, one character at a time.
Expected<std::string> by_wcrtomb(const std::wstring& text, const char* replacement) {
    std::mbstate_t state{};
    Expected<std::string> expected{true, {}};
    for (const wchar_t c : text) {
        char bytes[MB_LEN_MAX];
        const std::size_t count = std::wcrtomb(bytes, c, &state);
        if (count != static_cast<std::size_t>(-1)) {
            expected.text.append(bytes, count);
            continue;
        }
        expected.good = false;
        if (replacement == nullptr) {
            break;
        }
        expected.text += replacement;
    }
    return expected;
}

// In the default code pages a text is bad bytes, which are skipped, and a character that stands for
// all that follows.
Expected<std::wstring> by_mbrtowc(const std::string& text, bool ignore) {
    for (std::size_t skipped = 0; skipped < text.size(); ++skipped) {
        std::mbstate_t state{};
        wchar_t c = 0;
        const std::size_t rest = text.size() - skipped;
        const std::size_t taken = std::mbrtowc(&c, text.data() + skipped, rest, &state);
        if (taken <= rest) {
            const std::size_t width = std::max<std::size_t>(taken, 1);
            return {skipped == 0, std::wstring((rest + width - 1) / width, c)};
        }
        if (!ignore) {
            break;
        }
    }
    return {text.empty(), {}};
}

template <class Text>
bool is_empty(const Text& text) {
    return text.empty() || text[0] == 0;
}

// Where the room for a text ends behind a shift, the C library writes the shift once more when it
// goes on. That is without a meaning, and depends on the size of the buffers.
std::string with_shifts_once(std::string text, const CodePage& cp) {
    if (cp.m_name == "ISO-2022-CN") {
        for (const std::string shift : {"\x0e", "\x0f", "\x1bN"}) {
            for (std::size_t i = 0; (i = text.find(shift + shift, i)) != std::string::npos;) {
                text.erase(i, shift.size());
            }
        }
    }
    return text;
}

void check_to_multibyte(const std::wstring& text, const CodePage& cp, const char* replacement) {
    Expected<std::string> expected{true, {}};
    if (!is_empty(text)) {
        expected = cp.isDefault() ? by_wcrtomb(text, replacement)
                                  : by_iconv(cp.m_name.c_str(), "UTF-32LE", text, replacement);
    }
    std::string converted = "before";
    const auto size = static_cast<unsigned int>(text.size());
    FUZZ_REQUIRE(Encoding::toMultibyte(text.data(), size, converted, cp, replacement) ==
                 expected.good);
    FUZZ_REQUIRE(with_shifts_once(converted, cp) == with_shifts_once(expected.text, cp));
}

void check_to_wide(const std::string& text, const CodePage& cp, bool ignore) {
    Expected<std::wstring> expected{true, {}};
    if (!is_empty(text)) {
        expected = cp.isDefault()
                       ? by_mbrtowc(text, ignore)
                       : by_iconv("UTF-32LE", cp.m_name.c_str(), text, ignore ? L"" : nullptr);
    }
    std::wstring converted = L"before";
    const auto size = static_cast<unsigned int>(text.size());
    FUZZ_REQUIRE(Encoding::toWideChar(text.data(), size, converted, cp, ignore) == expected.good);
    FUZZ_REQUIRE(converted == expected.text);
}

void check_round_trip(std::wstring text, const CodePage& cp) {
    // iconv drops tags, with success, where a code page does not have them.
    const auto is_tag = [](wchar_t c) { return c >= 0xe0000 && c < 0xe0080; };
    text.erase(std::remove_if(text.begin(), text.end(), is_tag), text.end());
    std::string multibyte;
    std::wstring wide;
    if (Encoding::toMultibyte(text.data(), static_cast<unsigned int>(text.size()), multibyte, cp) &&
        !is_empty(multibyte)) {
        FUZZ_REQUIRE(Encoding::toWideChar(multibyte.data(),
                                          static_cast<unsigned int>(multibyte.size()), wide, cp));
        FUZZ_REQUIRE(wide == text);
    }
}

template <class Functor>
void check_case(const std::string& text, const Functor& functor) {
    const CodePage& cp = Encoding::s_toCodePage;
    std::wstring wide;
    std::string converted = "before";
    const bool good = nuriccl::transformString(text, converted, functor);
    if (!Encoding::toWideChar(text.data(), static_cast<unsigned int>(text.size()), wide, cp)) {
        FUZZ_REQUIRE(!good && converted == "before");
        return;
    }
    std::wstring appended = L"before";
    FUZZ_REQUIRE(nuriccl::transformString(wide, appended, functor));
    std::transform(wide.begin(), wide.end(), wide.begin(), functor);
    FUZZ_REQUIRE(appended == L"before" + wide);

    std::string expected;
    FUZZ_REQUIRE(good == Encoding::toMultibyte(wide.data(), static_cast<unsigned int>(wide.size()),
                                               expected, cp, Encoding::s_defaultChars));
    FUZZ_REQUIRE(converted == expected);
}

// Long enough, at times, for more than one of the buffers of a conversion.
template <class Text>
Text repeated(const Text& text, std::size_t times) {
    Text all;
    for (std::size_t i = 0; i < times && all.size() < 6000; ++i) {
        all += text;
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned int choice = input.byte();
    std::setlocale(LC_ALL, choice % 2 == 0 ? "C" : "C.UTF-8");
    const char* const replacements[] = {nullptr, "?", "", "<bad>"};
    const char* const replacement = replacements[choice / 2 % 4];
    const bool ignore = choice / 8 % 2 != 0;
    const std::size_t times = choice / 16 % 2 == 0 ? 1 : input.byte();

    CodePage cp(Encoding::CP_DEFAULT);
    const unsigned int page = input.byte() % (std::size(PAGES) + 1);
    if (page < std::size(PAGES)) {
        cp.init(PAGES[page].name);
    }
    FuzzInput characters = input;
    const std::string text = repeated(input.rest(), times);
    const std::wstring wide = repeated(characters.wide_rest(), times);

    check_to_multibyte(wide, cp, replacement);
    check_to_wide(text, cp, ignore);
    if (page < std::size(PAGES) && PAGES[page].is_exact && !cp.isDefault()) {
        check_round_trip(wide, cp);
    }

    Encoding::s_toCodePage = cp;
    Encoding::s_defaultChars = replacement;
    check_case(text, Encoding::ToUpperCase(std::locale::classic()));
    check_case(text, Encoding::ToLowerCase(std::locale::classic()));
    return 0;
}
