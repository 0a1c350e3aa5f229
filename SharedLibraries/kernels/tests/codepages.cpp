// Tests of the conversions that need no iconv: of the kernels against iconv, and of the library,
// which has iconv take over where they stop, against a loop that has iconv do everything.
//
//   kernel                                         cases
//   decode_ascii, decode_utf8 ...                  DecodeTest.*, DecodeUtf8.*
//   encode_ascii, encode_utf8 ...                  EncodeTest.*, EncodeUtf8.*
//   toWideChar, toMultibyte of the library         ShortcutsTest.*

#include "../codepages.hpp"
#include "../../nuriccl/tests/support/sanitized.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"

#include <nuriccl/encoding.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <iconv.h>
#include <initializer_list>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using noise::Noise;

// iconv

const char WIDE[] = "UTF32LE";

// How far iconv comes with a text in one call, and what it makes of that.
template <class To>
struct Conversion {
    std::size_t consumed; // units
    std::basic_string<To> output;
    bool is_whole;
};

template <class From, class To>
class Iconv {
public:
    Iconv(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {
        if (reinterpret_cast<std::uintptr_t>(descriptor_) == UINTPTR_MAX) {
            throw std::runtime_error(std::string("iconv lacks ") + to + " or " + from);
        }
    }
    ~Iconv() { iconv_close(descriptor_); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    Conversion<To> convert(const std::basic_string<From>& text) {
        start(text);
        std::basic_string<To> output;
        const bool is_whole = step(output);
        return {text.size() - left_ / sizeof(From), output, is_whole};
    }

    // Converts a text as the library would by iconv alone: a bad unit is replaced, or ends it when
    // the replacement is null. A text that starts with NUL counts as empty.
    bool convert_all(const std::basic_string<From>& text, const To* replacement,
                     std::basic_string<To>& output) {
        output.clear();
        if (text.empty() || text[0] == From{}) {
            return true;
        }
        start(text);
        bool is_clean = true;
        while (left_ != 0 && !step(output)) {
            is_clean = false;
            if (replacement == nullptr) {
                break;
            }
            output += replacement;
            in_ += sizeof(From);
            left_ -= sizeof(From);
        }
        return is_clean;
    }

    // What a character by itself becomes; nothing when it has no counterpart. iconv drops tag
    // characters without complaint, which is no counterpart either.
    std::optional<std::basic_string<To>> counterpart(const std::basic_string<From>& text) {
        const auto known = counterparts_.find(text);
        if (known != counterparts_.end()) {
            return known->second;
        }
        const Conversion<To> conversion = convert(text);
        std::optional<std::basic_string<To>> result;
        if (conversion.is_whole && !conversion.output.empty()) {
            result = conversion.output;
        }
        counterparts_.emplace(text, result);
        return result;
    }

private:
    void start(const std::basic_string<From>& text) {
        iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
        in_ = reinterpret_cast<char*>(const_cast<From*>(text.data())); // iconv only reads it
        left_ = text.size() * sizeof(From);
        buffer_.resize(std::max(buffer_.size(), text.size() * 4 + 4)); // of each unit 4 at most
    }

    // Appends what there is in front of the next bad unit.
    // @return whether there is none
    bool step(std::basic_string<To>& output) {
        char* out = reinterpret_cast<char*>(buffer_.data());
        std::size_t room = buffer_.size() * sizeof(To);
        const bool is_whole =
            iconv(descriptor_, &in_, &left_, &out, &room) != static_cast<std::size_t>(-1);
        output.append(buffer_.data(), buffer_.size() - room / sizeof(To));
        return is_whole;
    }

    iconv_t descriptor_;
    char* in_ = nullptr;
    std::size_t left_ = 0; // bytes
    std::basic_string<To> buffer_;
    std::map<std::basic_string<From>, std::optional<std::basic_string<To>>> counterparts_;
};

std::wstring wide(std::initializer_list<std::uint32_t> values) {
    std::wstring text;
    for (const std::uint32_t value : values) {
        text += static_cast<wchar_t>(value);
    }
    return text;
}

std::wstring wide(std::uint32_t value) { return wide({value}); }

char to_char(unsigned int byte) { return static_cast<char>(byte); }

// Code pages

struct Page {
    const char* name;
    const char* iconv_name;
    kernels::Decode* decode;
    kernels::Encode* encode;
};

void PrintTo(const Page& page, std::ostream* stream) { *stream << page.name; }

const Page PAGES[] = {
    {"ascii", "US-ASCII", kernels::decode_ascii, kernels::encode_ascii},
    {"utf8", "UTF-8", kernels::decode_utf8, kernels::encode_utf8},
    {"windows_1252", "WINDOWS-1252", kernels::decode_windows_1252, kernels::encode_windows_1252},
};

const Page& UTF8 = PAGES[1];

// What stands among ASCII: characters of each length, bytes that are none in one code page or
// another, and sequences that are cut off, too long, or of what is no character.
const std::vector<std::string> BYTES = {
    std::string(1, '\0'),
    "\x7f",
    "\xc3\xa9",
    "\xdf\xbf",
    "\xe2\x82\xac",
    "\xef\xbf\xbf",
    "\xf0\x9f\x98\x80",
    "\xf4\x8f\xbf\xbf",
    "\x80",
    "\x81",
    "\xff",
    "\xc3",
    "\xe2\x82",
    "\xf0\x9f\x98",
    "\xc1\x81",
    "\xe0\x9f\xbf",
    "\xed\xa0\x80",
    "\xf0\x8f\xbf\xbf",
    "\xf4\x90\x80\x80",
};

const std::vector<std::uint32_t> WIDE_VALUES = {
    0,       0x7f,    0x80,     0x81,     0xa0,       0xe9,       0xff,
    0x100,   0x192,   0x7ff,    0x800,    0x2122,     0x20ac,     0x8041,
    0xd7ff,  0xd800,  0xdfff,   0xe000,   0xffff,     0x10000,    0x10041,
    0x1f600, 0xe0041, 0x10ffff, 0x110000, 0x7fffff41, 0x80000041, 0xffffffff,
};

std::vector<std::wstring> wide_texts() {
    std::vector<std::wstring> all;
    for (const std::uint32_t value : WIDE_VALUES) {
        all.push_back(wide(value));
    }
    return all;
}

// What a kernel has to do with a text when there is `room`: one character after the other that has
// a counterpart, as long as there is room for it.
template <class From, class To>
Conversion<To> model(Iconv<From, To>& iconv, const std::basic_string<From>& text,
                     std::size_t room) {
    constexpr std::size_t LONGEST = sizeof(From) == 1 ? 4 : 1;
    Conversion<To> result{0, {}, false};
    while (result.consumed != text.size()) {
        std::optional<std::basic_string<To>> found;
        std::size_t length = 0;
        while (!found && length < std::min(LONGEST, text.size() - result.consumed)) {
            found = iconv.counterpart(text.substr(result.consumed, ++length));
        }
        if (!found || found->size() > room - result.output.size()) {
            return result;
        }
        result.output += *found;
        result.consumed += length;
    }
    result.is_whole = true;
    return result;
}

// The fixture of one direction.
template <class From, class To>
class KernelTest : public testing::Test {
protected:
    using Kernel = kernels::Progress<From, To>(const From*, const From*, To*, To*) noexcept;

    KernelTest(Kernel* run, const char* to, const char* from) : iconv(to, from), run_(run) {}

    // Whether the kernel does with `room` what the model does.
    template <class Holds>
    testing::AssertionResult holds(const std::basic_string<From>& text, std::size_t room,
                                   Holds holds_at) {
        const Conversion<To> expected = model(iconv, text, room);
        const places::Texts<From, To> texts{text, std::basic_string<To>(room, To{'~'}),
                                            expected.output};
        return holds_at(texts, [&](const From* from, To* to) {
            const auto stop = run_(from, from + text.size(), to, to + room);
            return stop.from == from + expected.consumed && stop.to == to + expected.output.size();
        });
    }

    testing::AssertionResult holds_at_borders(const std::basic_string<From>& text,
                                              std::size_t room) {
        return holds(text, room, [](const auto& texts, auto kernel) {
            return places::holds_at_borders(texts, kernel);
        });
    }

    testing::AssertionResult holds_everywhere(const std::basic_string<From>& text,
                                              std::size_t room) {
        return holds(text, room, [](const auto& texts, auto kernel) {
            return places::holds_everywhere(texts, kernel);
        });
    }

    // What the kernel makes of a text with room for all of it.
    Conversion<To> convert(const std::basic_string<From>& text) {
        buffer_.resize(text.size() * 4);
        const From* const end = text.data() + text.size();
        const auto stop = run_(text.data(), end, buffer_.data(), buffer_.data() + buffer_.size());
        return {static_cast<std::size_t>(stop.from - text.data()),
                std::basic_string<To>(buffer_.data(), stop.to), stop.from == end};
    }

    bool agrees(const std::basic_string<From>& text) {
        const Conversion<To> by_iconv = iconv.convert(text);
        const Conversion<To> by_kernel = convert(text);
        return by_kernel.consumed == by_iconv.consumed && by_kernel.output == by_iconv.output;
    }

    // Room for every character of it and some more.
    static std::size_t ample(const std::basic_string<From>& text) { return text.size() * 4 + 20; }

    void holds_with_every_character_at_every_place(
        const std::vector<std::basic_string<From>>& characters) {
        // A few lengths have all of them, which is enough of neighbours.
        constexpr std::size_t STRIDE = SANITIZED ? 15 : 3;
        for (std::size_t length = 0; length <= 70; ++length) {
            for (std::size_t place = 0; place <= length; ++place) {
                for (std::size_t i = length % STRIDE; i < characters.size(); i += STRIDE) {
                    auto text = ascii(length);
                    text.insert(place, characters[i]);
                    ASSERT_TRUE(holds_at_borders(text, ample(text)))
                        << testing::PrintToString(characters[i]) << " at " << place << " of "
                        << length;
                }
            }
        }
    }

    void holds_where_the_room_ends_at_every_place(
        const std::vector<std::basic_string<From>>& characters) {
        constexpr std::size_t STRIDE = SANITIZED ? 5 : 1;
        for (std::size_t place = 0; place <= 40; ++place) {
            for (std::size_t i = place % STRIDE; i < characters.size(); i += STRIDE) {
                auto text = ascii(40);
                text.insert(place, characters[i]);
                for (std::size_t room = 0; room <= 46; ++room) {
                    ASSERT_TRUE(holds_at_borders(text, room))
                        << testing::PrintToString(characters[i]) << " at " << place << ", room "
                        << room;
                }
            }
        }
    }

    void holds_for_mixtures(const std::vector<std::basic_string<From>>& characters) {
        Noise noise;
        SCOPED_TRACE(noise);
        for (int i = 0; i < 1000; ++i) {
            std::basic_string<From> text;
            for (std::size_t parts = noise.below(20); parts != 0; --parts) {
                text += noise.below(2) != 0 ? noise.one_of(characters) : ascii(noise.below(40));
            }
            ASSERT_TRUE(holds_everywhere(text, noise.below(ample(text)))) << i;
        }
    }

    void holds_wherever_ascii_is() {
        for (std::size_t length = 0; length <= 200; ++length) {
            ASSERT_TRUE(holds_everywhere(ascii(length), length)) << length;
        }
    }

    static std::basic_string<From> ascii(std::size_t length) {
        std::basic_string<From> text;
        for (std::size_t i = 0; i < length; ++i) {
            text += static_cast<From>(1 + i * 11 % 0x7f);
        }
        return text;
    }

    Iconv<From, To> iconv;

private:
    Kernel* run_;
    std::basic_string<To> buffer_;
};

class DecodeKernel : public KernelTest<char, wchar_t> {
protected:
    explicit DecodeKernel(const Page& page) : KernelTest(page.decode, WIDE, page.iconv_name) {}
};

class EncodeKernel : public KernelTest<wchar_t, char> {
protected:
    explicit EncodeKernel(const Page& page) : KernelTest(page.encode, page.iconv_name, WIDE) {}
};

class DecodeTest : public DecodeKernel, public testing::WithParamInterface<Page> {
protected:
    DecodeTest() : DecodeKernel(GetParam()) {}
};

class EncodeTest : public EncodeKernel, public testing::WithParamInterface<Page> {
protected:
    EncodeTest() : EncodeKernel(GetParam()) {}
};

class DecodeUtf8 : public DecodeKernel {
protected:
    DecodeUtf8() : DecodeKernel(UTF8) {}

    void agrees_on_every_third_and_fourth(unsigned int first_lead, unsigned int last_lead,
                                          bool has_fourth) {
        // Both ends of the continuation bytes, what is next to them, and the others' ends.
        const std::string ends = {to_char(0x00), 'A',           to_char(0x7f), to_char(0x80),
                                  to_char(0x81), to_char(0x9f), to_char(0xa0), to_char(0xbe),
                                  to_char(0xbf), to_char(0xc0), to_char(0xe1), to_char(0xff)};
        for (unsigned int lead = first_lead; lead <= last_lead; ++lead) {
            for (unsigned int second = 0; second <= 0xff; ++second) {
                std::string text = {to_char(lead), to_char(second)};
                for (const char third : ends) {
                    text.resize(2);
                    text += third;
                    ASSERT_TRUE(agrees(text)) << testing::PrintToString(text);
                    for (const char fourth : has_fourth ? ends : "") {
                        text.resize(3);
                        text += fourth;
                        ASSERT_TRUE(agrees(text)) << testing::PrintToString(text);
                    }
                }
            }
        }
    }
};

class EncodeUtf8 : public EncodeKernel {
protected:
    EncodeUtf8() : EncodeKernel(UTF8) {}
};

// The library

struct Shortcut {
    const char* name;
    nuriccl::Encoding::CodePages_e code_page;
    const char* iconv_name;
};

void PrintTo(const Shortcut& shortcut, std::ostream* stream) { *stream << shortcut.name; }

const Shortcut SHORTCUTS[] = {
    {"utf8", nuriccl::Encoding::CP_UTF8, "UTF-8"},
    {"windows_1252", nuriccl::Encoding::CP_WIN1252, "WINDOWS-1252"},
    {"ansi", nuriccl::Encoding::CP_ANSI, "MS-ANSI"},
    {"us_ascii", nuriccl::Encoding::CP_USASCII, "US-ASCII"},
};

class ShortcutsTest : public testing::TestWithParam<Shortcut> {
protected:
    using CodePage = nuriccl::Encoding::CodePage;

    // The description by its enumerator, and the one by its name.
    static std::vector<CodePage> descriptions() {
        CodePage custom(nuriccl::Encoding::CP_CUSTOM);
        custom.init(GetParam().iconv_name);
        return {CodePage(GetParam().code_page), custom};
    }

    void decodes_like_iconv(const std::string& text, const std::wstring& before = L"before") {
        for (const bool ignores_bad : {false, true}) {
            std::wstring expected;
            const bool is_clean = decode_.convert_all(text, ignores_bad ? L"" : nullptr, expected);
            for (const CodePage& code_page : descriptions()) {
                std::wstring out = before;
                ASSERT_EQ(nuriccl::Encoding::toWideChar(text.data(),
                                                        static_cast<unsigned int>(text.size()), out,
                                                        code_page, ignores_bad),
                          is_clean)
                    << testing::PrintToString(text);
                ASSERT_TRUE(out == expected)
                    << testing::PrintToString(text) << (ignores_bad ? ", bad bytes ignored" : "");
            }
        }
    }

    void encodes_like_iconv(const std::wstring& text, const std::string& before = "before") {
        for (const char* const replacement :
             {static_cast<const char*>(nullptr), "", "?", "<\xff>"}) {
            std::string expected;
            const bool is_clean = encode_.convert_all(text, replacement, expected);
            for (const CodePage& code_page : descriptions()) {
                std::string out = before;
                ASSERT_EQ(nuriccl::Encoding::toMultibyte(text.data(),
                                                         static_cast<unsigned int>(text.size()),
                                                         out, code_page, replacement),
                          is_clean)
                    << testing::PrintToString(text);
                ASSERT_TRUE(out == expected) << testing::PrintToString(text) << ", replacement "
                                             << testing::PrintToString(replacement);
            }
        }
    }

private:
    Iconv<char, wchar_t> decode_{WIDE, GetParam().iconv_name};
    Iconv<wchar_t, char> encode_{GetParam().iconv_name, WIDE};
};

// Lengths around the sizes of what the library converts in one piece, in characters and in bytes.
std::vector<std::size_t> lengths_at_borders() {
    std::vector<std::size_t> lengths;
    for (const std::size_t size : {1024, 2048, 4096}) {
        for (std::size_t length = size - 20; length <= size + 4; ++length) {
            lengths.push_back(length);
        }
    }
    return lengths;
}

template <class Info>
std::string name_of(const Info& info) {
    return info.param.name;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(CodePages, DecodeTest, testing::ValuesIn(PAGES),
                         name_of<testing::TestParamInfo<Page>>);
INSTANTIATE_TEST_SUITE_P(CodePages, EncodeTest, testing::ValuesIn(PAGES),
                         name_of<testing::TestParamInfo<Page>>);
INSTANTIATE_TEST_SUITE_P(CodePages, ShortcutsTest, testing::ValuesIn(SHORTCUTS),
                         name_of<testing::TestParamInfo<Shortcut>>);

// Decoding

TEST_P(DecodeTest, AgreesWithIconvOnEveryByteAndEveryTwo) {
    for (unsigned int first = 0; first <= 0xff; ++first) {
        ASSERT_TRUE(agrees({to_char(first)})) << first;
        for (unsigned int second = 0; second <= 0xff; ++second) {
            ASSERT_TRUE(agrees({to_char(first), to_char(second)})) << first << ' ' << second;
        }
    }
}

TEST_P(DecodeTest, StopsAtOnceWithoutTextOrRoom) {
    EXPECT_TRUE(holds_everywhere("", 0));
    EXPECT_TRUE(holds_everywhere("", 20));
    EXPECT_TRUE(holds_everywhere(ascii(40), 0));
    EXPECT_TRUE(holds_everywhere("\xc3\xa9", 0));
}

TEST_P(DecodeTest, TakesAsciiWhereverItIs) { holds_wherever_ascii_is(); }

TEST_P(DecodeTest, TakesEveryKindOfSequenceAtEveryPlaceOfAscii) {
    holds_with_every_character_at_every_place(BYTES);
}

TEST_P(DecodeTest, StopsWhereTheRoomEnds) { holds_where_the_room_ends_at_every_place(BYTES); }

TEST_P(DecodeTest, TakesMixtures) { holds_for_mixtures(BYTES); }

TEST_P(DecodeTest, KnowsEveryByteAtEveryPlaceOfAVector) {
    for (std::size_t place = 0; place < 40; ++place) {
        for (unsigned int byte = 0; byte <= 0xff; ++byte) {
            std::string text(40, 'x');
            text[place] = to_char(byte);
            ASSERT_TRUE(agrees(text)) << byte << " at " << place;
        }
    }
}

TEST_F(DecodeUtf8, AgreesWithIconvOnSequencesOfThree) {
    agrees_on_every_third_and_fourth(0xe0, 0xef, false);
}

TEST_F(DecodeUtf8, AgreesWithIconvOnSequencesOfFour) {
    agrees_on_every_third_and_fourth(0xf0, 0xf8, true);
    agrees_on_every_third_and_fourth(0xfc, 0xfc, true);
    agrees_on_every_third_and_fourth(0xff, 0xff, true);
}

TEST_F(DecodeUtf8, ReadsNothingBehindASequenceThatIsCutOff) {
    for (const std::string& whole : BYTES) {
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            const std::string cut = whole.substr(0, length);
            ASSERT_TRUE(holds_everywhere(cut, 5)) << testing::PrintToString(cut);
        }
    }
}

// Encoding

TEST_P(EncodeTest, AgreesWithIconvOnEveryCodePointOfThreePlanes) {
    for (std::uint32_t value = 0; value <= 0x2ffff; ++value) {
        ASSERT_TRUE(agrees(wide(value))) << value;
    }
}

TEST_P(EncodeTest, AgreesWithIconvOnValuesNearTheBorders) {
    for (const std::uint32_t border : {0x80U, 0x100U, 0x800U, 0xd800U, 0xdc00U, 0xe000U, 0x10000U,
                                       0x110000U, 0x200000U, 0x4000000U, 0x7fffffffU, 0x80000000U,
                                       0x80000080U, 0xffff0000U, 0xffffff80U, 0xfffffff0U}) {
        for (std::uint32_t value = border - 300; value != border + 300; ++value) {
            ASSERT_TRUE(agrees(wide(value))) << value;
        }
    }
}

TEST_P(EncodeTest, StopsAtOnceWithoutTextOrRoom) {
    EXPECT_TRUE(holds_everywhere(L"", 0));
    EXPECT_TRUE(holds_everywhere(L"", 20));
    EXPECT_TRUE(holds_everywhere(ascii(40), 0));
    EXPECT_TRUE(holds_everywhere(wide(0xe9), 0));
}

TEST_P(EncodeTest, TakesAsciiWhereverItIs) { holds_wherever_ascii_is(); }

TEST_P(EncodeTest, TakesEveryKindOfCharacterAtEveryPlaceOfAscii) {
    holds_with_every_character_at_every_place(wide_texts());
}

TEST_P(EncodeTest, StopsWhereTheRoomEnds) {
    holds_where_the_room_ends_at_every_place(wide_texts());
}

TEST_P(EncodeTest, TakesMixtures) { holds_for_mixtures(wide_texts()); }

// Bits that narrower integers would drop.
TEST_P(EncodeTest, TakesNothingForAsciiThatHasAHigherBit) {
    for (std::size_t place = 0; place < 40; ++place) {
        for (int bit = 7; bit < 32; ++bit) {
            for (const std::uint32_t low : {0U, 0x41U, 0x7fU}) {
                std::wstring text = ascii(40);
                text[place] = static_cast<wchar_t>(low | 1U << bit);
                ASSERT_TRUE(holds_at_borders(text, ample(text))) << low << ", " << bit;
            }
        }
    }
}

// Tag characters, which UTF-8 has, are no exception here.
TEST_F(EncodeUtf8, AgreesWithIconvOnEveryCodePointAndBackAgain) {
    Iconv<char, wchar_t> back(WIDE, UTF8.iconv_name);
    for (std::uint32_t value = 0; value <= 0x110100; ++value) {
        const std::wstring text = wide(value);
        const Conversion<char> by_iconv = iconv.convert(text);
        const Conversion<char> by_kernel = convert(text);
        if (by_kernel.consumed != by_iconv.consumed || by_kernel.output != by_iconv.output) {
            FAIL() << value;
        }
        wchar_t decoded[4];
        const std::string& bytes = by_iconv.output;
        const char* const end = bytes.data() + bytes.size();
        const auto stop = kernels::decode_utf8(bytes.data(), end, decoded, decoded + 4);
        if (stop.from != end ||
            std::wstring(decoded, stop.to) != text.substr(0, by_iconv.consumed)) {
            FAIL() << value << " back again";
        }
    }
}

// The library

TEST_P(ShortcutsTest, ChangeNothingForEveryByteAndEveryTwo) {
    constexpr unsigned int STRIDE = 5 * AFFORDABLE_STRIDE;
    for (unsigned int first = 0; first <= 0xff; ++first) {
        decodes_like_iconv({to_char(first)});
        for (unsigned int second = first % STRIDE; second <= 0xff; second += STRIDE) {
            decodes_like_iconv({to_char(first), to_char(second)});
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_P(ShortcutsTest, ChangeNothingForSingleCharacters) {
    for (std::uint32_t value = 0; value <= 0x3000 && !HasFatalFailure();
         value += AFFORDABLE_STRIDE) {
        encodes_like_iconv(wide(value));
    }
    for (const std::uint32_t value : WIDE_VALUES) {
        encodes_like_iconv(wide(value));
    }
}

TEST_P(ShortcutsTest, ChangeNothingForMixturesOfGoodAndBad) {
    Noise noise;
    SCOPED_TRACE(noise);
    std::vector<std::wstring> characters = wide_texts();
    characters.push_back(wide({0xe0001, 0xe0041})); // tags, which iconv drops
    for (int i = 0; i < 2000 && !HasFatalFailure(); i += AFFORDABLE_STRIDE) {
        std::string bytes;
        std::wstring text;
        for (std::size_t parts = noise.below(12); parts != 0; --parts) {
            const std::string ascii(noise.below(3) == 0 ? noise.below(40) : 0, 'a');
            bytes += ascii + (noise.below(3) == 0 ? noise.bytes(1) : noise.one_of(BYTES));
            text += std::wstring(ascii.begin(), ascii.end()) + noise.one_of(characters);
        }
        decodes_like_iconv(bytes);
        encodes_like_iconv(text);
    }
}

// A short text is converted in the room that the output has, if that is enough.
TEST_P(ShortcutsTest, ChangeNothingWhateverRoomThereIs) {
    for (const std::size_t length : {1, 2, 7, 20, 33}) {
        for (std::size_t i = 0; i < std::max(BYTES.size(), WIDE_VALUES.size());
             i += AFFORDABLE_STRIDE) {
            const std::string ascii(length / 2, 'a');
            std::string bytes = ascii;
            std::wstring text(ascii.begin(), ascii.end());
            while (text.size() < length) {
                bytes += BYTES[i % BYTES.size()];
                text += wide(WIDE_VALUES[i % WIDE_VALUES.size()]);
            }
            for (std::size_t room = 0; room <= 4 * length + 4 && !HasFatalFailure(); ++room) {
                decodes_like_iconv(bytes, std::wstring(room, L'#'));
                encodes_like_iconv(text, std::string(room, '#'));
            }
        }
    }
}

TEST_P(ShortcutsTest, ChangeNothingForRoomThatHoldsNothing) {
    const CodePage page(GetParam().code_page);
    for (unsigned int length = 1; length <= 40; ++length) {
        const std::string bytes(length, 'a');
        const std::wstring text(length, L'a');
        for (std::size_t room = 0; room <= 2 * length; ++room) {
            std::wstring decoded;
            std::string encoded;
            decoded.reserve(room);
            encoded.reserve(room);
            ASSERT_TRUE(nuriccl::Encoding::toWideChar(bytes.data(), length, decoded, page));
            ASSERT_TRUE(decoded == text) << length << ", room " << room;
            ASSERT_TRUE(nuriccl::Encoding::toMultibyte(text.data(), length, encoded, page));
            ASSERT_EQ(encoded, bytes) << "room " << room;
        }
    }
}

TEST_P(ShortcutsTest, ChangeNothingForOneSequenceAtTheBordersOfLongText) {
    for (const std::size_t length : lengths_at_borders()) {
        for (const std::string& sequence : texts::affordable(BYTES)) {
            decodes_like_iconv(std::string(length, 'a') + sequence);
            decodes_like_iconv(std::string(length, 'a') + sequence + "tail");
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_P(ShortcutsTest, ChangeNothingForOneCharacterAtTheBordersOfLongText) {
    for (const std::size_t length : lengths_at_borders()) {
        for (const std::uint32_t value : texts::affordable(WIDE_VALUES)) {
            encodes_like_iconv(std::wstring(length, L'a') + wide(value));
            encodes_like_iconv(std::wstring(length, L'a') + wide(value) + L"tail");
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_P(ShortcutsTest, ChangeNothingForLongTextOfOneSequenceAgainAndAgain) {
    for (const std::string& sequence : texts::affordable(BYTES)) {
        for (const std::size_t start : {1, 2}) {
            std::string text(start, 'a');
            while (text.size() < 2100) {
                text += sequence;
            }
            decodes_like_iconv(text);
        }
    }
    for (const std::uint32_t value : texts::affordable(WIDE_VALUES)) {
        for (const std::size_t start : {1, 2}) {
            encodes_like_iconv(std::wstring(start, L'a') +
                               std::wstring(1100, static_cast<wchar_t>(value)));
        }
    }
}
