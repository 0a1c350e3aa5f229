// Tests of vector code that is called by old 32-bit programs, whose stack is aligned to 4 bytes
// only: its registers must not go to the stack as if there were more.
//
//   what is called                        cases
//   every variant of every kernel         MisalignedKernels.*
//   functions that use them               MisalignedLibrary.*
//
// The results are those of calls with an aligned stack; what they have to be, other tests tell.

#include "support/misaligned.hpp"
#include "../base64.hpp"
#include "../codepages.hpp"
#include "../escape.hpp"
#include "../exchange.hpp"
#include "../sha1.hpp"
#include "support/noise.hpp"

#include <nuriagent/base64.hpp>
#include <nuriagent/sha1.hpp>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/CharacterEncoder.hpp>
#include <nuriccl/encoding.hpp>
#include <nuriccl/string.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// The header of this kernel needs vector instructions, which the code of this test must not have.
namespace kernels {
using SameButCase = std::size_t(const char* a, const char* b, std::size_t length) noexcept;
SameButCase long_same_but_case;
SameButCase long_same_but_case_sse2;
SameButCase long_same_but_case_avx2;
} // namespace kernels

// Where the stack is before the call, less its last parameter.
extern "C" std::uint32_t nuriccl_test_stack(std::uint32_t subtracted);
asm(R"(
    .text
nuriccl_test_stack:
    lea 4(%esp), %eax
    sub 4(%esp), %eax
    ret
)");

namespace {

using kernels::AVX2;
using kernels::SHA;
using kernels::SSE2;
using kernels::SSSE3;
using kernels::VBMI;
using misaligned::call;
using noise::Noise;

template <class Function>
struct Kernel {
    unsigned int needs;
    Function* run;
};

// Calls `check(lowered, kernel, length)` for each of the kernels that run here.
template <class Function, std::size_t COUNT, class Check>
void for_each_call(const Kernel<Function> (&kernels)[COUNT], std::size_t longest, Check check) {
    for (const Kernel<Function>& kernel : kernels) {
        if ((kernel.needs & ~kernels::instructions_at_hand()) == 0) {
            for (const std::size_t lowered : misaligned::LOWERED) {
                for (std::size_t length = 0; length <= longest; ++length) {
                    check(lowered, kernel.run, length);
                }
            }
        }
    }
}

// Calls `check(lowered, text)` for random texts.
template <class Check>
void for_each_text(Check check) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string alphabet = "abcABC&<>/%,;.xyz";
    for (const std::size_t lowered : misaligned::LOWERED) {
        for (const std::size_t length : {0, 1, 15, 16, 17, 40, 64, 100, 1000, 5000}) {
            check(lowered, noise.over(alphabet, length));
        }
    }
}

const unsigned char* to_bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned int length_of(const std::string& text) { return static_cast<unsigned int>(text.size()); }

std::uint32_t sum(unsigned char a, const std::uint32_t& b, unsigned long long c,
                  const std::uint32_t* d) {
    return a + b * 2 + static_cast<std::uint32_t>(c >> 32) * 4 + *d * 8;
}

std::string reversed(const std::string& text) { return std::string(text.rbegin(), text.rend()); }

} // namespace

TEST(Misaligned, StackIsWhereItIsMeantToBe) {
    for (const std::size_t lowered : {0, 4, 8, 12}) {
        EXPECT_EQ(call(lowered, nuriccl_test_stack, 0) % 16, (16 - lowered) % 16);
        EXPECT_EQ(call(lowered, nuriccl_test_stack, 4) % 16, (12 - lowered) % 16);
    }
}

TEST(Misaligned, ArgumentsAndResultsArePassedOn) {
    const std::uint32_t second = 10;
    const std::uint32_t fourth = 1000;
    EXPECT_EQ(call(4, sum, 1, second, 100ULL << 32, &fourth), 1U + 20 + 400 + 8000);
    EXPECT_EQ(call(8, reversed, std::string(100, 'a') + "b"), "b" + std::string(100, 'a'));
}

TEST(MisalignedKernels, Instructions) {
    for (const std::size_t lowered : misaligned::LOWERED) {
        EXPECT_EQ(call(lowered, kernels::instructions_at_hand), kernels::instructions_at_hand());
    }
}

TEST(MisalignedKernels, Base64Encode) {
    const Kernel<kernels::Base64Encode> all[] = {{SSE2, kernels::base64_encode},
                                                 {SSE2, kernels::base64_encode_portable},
                                                 {SSSE3, kernels::base64_encode_ssse3},
                                                 {AVX2, kernels::base64_encode_avx2},
                                                 {VBMI | AVX2, kernels::base64_encode_vbmi}};
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_call(all, 80, [&](std::size_t lowered, auto* run, std::size_t groups) {
        const std::string bytes = noise.bytes(groups * 3);
        std::string text(groups * 4, '\0');
        std::string expected = text;
        call(lowered, run, to_bytes(bytes), groups, text.data());
        run(to_bytes(bytes), groups, expected.data());
        ASSERT_EQ(text, expected);
    });
}

TEST(MisalignedKernels, Base64Check) {
    const Kernel<kernels::Base64Check> all[] = {{SSE2, kernels::base64_check},
                                                {SSE2, kernels::base64_check_portable},
                                                {SSSE3, kernels::base64_check_ssse3},
                                                {AVX2, kernels::base64_check_avx2},
                                                {VBMI | AVX2, kernels::base64_check_vbmi}};
    for_each_call(all, 200, [](std::size_t lowered, auto* run, std::size_t length) {
        ASSERT_TRUE(call(lowered, run, std::string(length, 'A').data(), length));
        ASSERT_FALSE(call(lowered, run, (std::string(length, 'A') + '-').data(), length + 1));
    });
}

TEST(MisalignedKernels, Base64Decode) {
    const Kernel<kernels::Base64Decode> all[] = {{SSE2, kernels::base64_decode},
                                                 {SSE2, kernels::base64_decode_portable},
                                                 {SSSE3, kernels::base64_decode_ssse3},
                                                 {AVX2, kernels::base64_decode_avx2},
                                                 {VBMI | AVX2, kernels::base64_decode_vbmi}};
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_call(all, 80, [&](std::size_t lowered, auto* run, std::size_t groups) {
        const std::string text = noise.over("ABCXYZabcxyz0189+/", groups * 4);
        std::vector<unsigned char> bytes(groups * 3);
        std::vector<unsigned char> expected = bytes;
        call(lowered, run, text.data(), groups, bytes.data());
        run(text.data(), groups, expected.data());
        ASSERT_EQ(bytes, expected);
    });
}

TEST(MisalignedKernels, Decode) {
    const Kernel<kernels::Decode> all[] = {{SSE2, kernels::decode_ascii},
                                           {SSE2, kernels::decode_utf8},
                                           {SSE2, kernels::decode_windows_1252}};
    for_each_call(all, 80, [](std::size_t lowered, auto* run, std::size_t length) {
        const std::string text =
            std::string(length, 'a') + "\xe2\x82\xac" + "0123456789abcdefghij\xff";
        const char* const end = text.data() + text.size();
        std::wstring out(text.size(), L'~');
        std::wstring expected = out;
        const auto stop = call(lowered, run, text.data(), end, out.data(), out.data() + out.size());
        const auto expected_stop =
            run(text.data(), end, expected.data(), expected.data() + expected.size());
        ASSERT_TRUE(stop.from == expected_stop.from);
        ASSERT_TRUE(stop.to - out.data() == expected_stop.to - expected.data());
        ASSERT_TRUE(out == expected);
    });
}

TEST(MisalignedKernels, Encode) {
    const Kernel<kernels::Encode> all[] = {{SSE2, kernels::encode_ascii},
                                           {SSE2, kernels::encode_utf8},
                                           {SSE2, kernels::encode_windows_1252}};
    for_each_call(all, 80, [](std::size_t lowered, auto* run, std::size_t length) {
        const std::wstring text =
            std::wstring(length, L'a') + L"\u20ac" + L"0123456789abcdefghij" + wchar_t{0xd800};
        const wchar_t* const end = text.data() + text.size();
        std::string out(text.size() + 2, '~');
        std::string expected = out;
        const auto stop = call(lowered, run, text.data(), end, out.data(), out.data() + out.size());
        const auto expected_stop =
            run(text.data(), end, expected.data(), expected.data() + expected.size());
        ASSERT_TRUE(stop.from == expected_stop.from);
        ASSERT_TRUE(stop.to - out.data() == expected_stop.to - expected.data());
        ASSERT_EQ(out, expected);
    });
}

TEST(MisalignedKernels, CountMembersAndEscapeMembers) {
    const Kernel<kernels::CountMembers> counters[] = {{SSE2, kernels::count_members},
                                                      {SSE2, kernels::count_members_portable},
                                                      {SSSE3, kernels::count_members_ssse3}};
    const Kernel<kernels::EscapeMembers> writers[] = {{SSE2, kernels::escape_members},
                                                      {SSE2, kernels::escape_members_portable},
                                                      {SSSE3, kernels::escape_members_ssse3}};
    Noise noise;
    SCOPED_TRACE(noise);
    kernels::ByteSet set{};
    std::generate(std::begin(set.bits), std::end(set.bits),
                  [&noise] { return static_cast<unsigned char>(noise.below(256)); });
    for_each_call(counters, 100, [&](std::size_t lowered, auto* run, std::size_t length) {
        const std::string text = noise.bytes(length);
        ASSERT_EQ(call(lowered, run, text.data(), length, set), run(text.data(), length, set));
    });
    for_each_call(writers, 100, [&](std::size_t lowered, auto* run, std::size_t length) {
        const std::string text = noise.bytes(length);
        std::string out(length * 3, '~');
        std::string expected = out;
        call(lowered, run, text.data(), length, set, '%', out.data());
        run(text.data(), length, set, '%', expected.data());
        ASSERT_EQ(out, expected);
    });
}

TEST(MisalignedKernels, HoldsExchangedAndDoExchange) {
    const Kernel<kernels::HoldsExchanged> searches[] = {{SSE2, kernels::holds_exchanged},
                                                        {SSE2, kernels::holds_exchanged_sse2},
                                                        {AVX2, kernels::holds_exchanged_avx2}};
    const Kernel<kernels::DoExchange> writers[] = {{SSE2, kernels::do_exchange},
                                                   {SSE2, kernels::do_exchange_sse2},
                                                   {AVX2, kernels::do_exchange_avx2}};
    const kernels::Exchange exchange = {{'+', '/'}, {'-', '_'}};
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_call(searches, 100, [&](std::size_t lowered, auto* run, std::size_t length) {
        ASSERT_FALSE(call(lowered, run, std::string(length, 'x').data(), length, exchange));
        ASSERT_TRUE(
            call(lowered, run, (std::string(length, 'x') + '/').data(), length + 1, exchange));
    });
    for_each_call(writers, 100, [&](std::size_t lowered, auto* run, std::size_t length) {
        std::string text = noise.over("+/-_abc", length);
        std::string expected = text;
        call(lowered, run, text.data(), length, exchange);
        run(expected.data(), length, exchange);
        ASSERT_EQ(text, expected);
    });
}

TEST(MisalignedKernels, SameButCase) {
    const Kernel<kernels::SameButCase> all[] = {{SSE2, kernels::long_same_but_case},
                                                {SSE2, kernels::long_same_but_case_sse2},
                                                {AVX2, kernels::long_same_but_case_avx2}};
    for_each_call(all, 200, [](std::size_t lowered, auto* run, std::size_t length) {
        const std::string a(length + 10, 'a');
        const std::string b = std::string(length, 'A') + "/";
        ASSERT_EQ(call(lowered, run, a.data(), b.data(), length), length);
        ASSERT_EQ(call(lowered, run, a.data(), b.data(), length + 1), length);
    });
}

TEST(MisalignedKernels, Sha1Blocks) {
    const Kernel<kernels::Sha1Blocks> all[] = {{SSE2, kernels::sha1_blocks},
                                               {SSE2, kernels::sha1_blocks_portable},
                                               {SSSE3, kernels::sha1_blocks_ssse3},
                                               {AVX2, kernels::sha1_blocks_avx2},
                                               {SHA, kernels::sha1_blocks_sha}};
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_call(all, 20, [&](std::size_t lowered, auto* run, std::size_t count) {
        const std::string blocks = noise.bytes(count * 64);
        std::array<std::uint32_t, 5> state = {1, 2, 3, 4, 5};
        std::array<std::uint32_t, 5> expected = state;
        call(lowered, run, state.data(), to_bytes(blocks), count);
        run(expected.data(), to_bytes(blocks), count);
        ASSERT_EQ(state, expected);
    });
}

TEST(MisalignedLibrary, Sha1) {
    for_each_text([](std::size_t lowered, const std::string& text) {
        sha1_context context;
        sha1_context expected_context;
        std::array<unsigned char, 20> digest{};
        std::array<unsigned char, 20> expected{};
        call(lowered, sha1_begin, &context);
        call(lowered, sha1_hash, to_bytes(text), length_of(text), &context);
        call(lowered, sha1_hash, to_bytes(text), length_of(text), &context);
        call(lowered, sha1_end, digest.data(), &context);
        sha1_begin(&expected_context);
        sha1_hash(to_bytes(text), length_of(text), &expected_context);
        sha1_hash(to_bytes(text), length_of(text), &expected_context);
        sha1_end(expected.data(), &expected_context);
        ASSERT_EQ(digest, expected);
    });
}

TEST(MisalignedLibrary, Base64) {
    using base64::Base64;
    for_each_text([](std::size_t lowered, const std::string& bytes) {
        const Base64& codec = Base64::GetInstance();
        std::string text((bytes.size() + 2) / 3 * 4, '\0');
        std::string expected = text;
        base64::Results results{};
        ASSERT_EQ(call(lowered, &Base64::Encode, codec, bytes.data(), bytes.size(), text.data(),
                       text.size(), &results),
                  text.size());
        codec.Encode(bytes.data(), bytes.size(), expected.data(), expected.size(), nullptr);
        ASSERT_EQ(text, expected);
        std::string decoded(bytes.size(), '\0');
        ASSERT_EQ(call(lowered, &Base64::Decode, codec, text.data(), text.size(), decoded.data(),
                       decoded.size(), &results),
                  bytes.size());
        ASSERT_EQ(decoded, bytes);
    });
}

TEST(MisalignedLibrary, Base64Wrapper) {
    using nuriccl::Base64Wrapper;
    using Decode = bool(const std::string&, std::string&);
    using Encode = bool(const std::string&, std::string&, Base64Wrapper::EncodingVariant);
    for_each_text([](std::size_t lowered, const std::string& bytes) {
        std::string text;
        std::string expected;
        Encode* const encode = &Base64Wrapper::encode;
        Decode* const decode = &Base64Wrapper::decode;
        ASSERT_TRUE(call(lowered, encode, bytes, text, Base64Wrapper::url_safe));
        ASSERT_TRUE(encode(bytes, expected, Base64Wrapper::url_safe));
        ASSERT_EQ(text, expected);
        std::string decoded;
        ASSERT_TRUE(call(lowered, decode, text, decoded));
        ASSERT_EQ(decoded, bytes);
    });
}

TEST(MisalignedLibrary, Encoding) {
    using namespace nuriccl::Encoding;
    for_each_text([](std::size_t lowered, const std::string& ascii) {
        for (const CodePages_e code_page : {CP_UTF8, CP_WIN1252, CP_ANSI, CP_USASCII, CP_UTF16}) {
            const std::string text = ascii + "\xc3\xa9" + ascii;
            std::wstring wide;
            std::wstring expected;
            ASSERT_EQ(
                call(lowered, toWideChar, text.data(), length_of(text), wide, code_page, true),
                toWideChar(text.data(), length_of(text), expected, code_page, true));
            ASSERT_TRUE(wide == expected);
            std::string bytes;
            std::string expected_bytes;
            const auto length = static_cast<unsigned int>(wide.size());
            ASSERT_EQ(call(lowered, toMultibyte, wide.data(), length, bytes, code_page, "?", false),
                      toMultibyte(wide.data(), length, expected_bytes, code_page, "?", false));
            ASSERT_EQ(bytes, expected_bytes);
        }
    });
}

TEST(MisalignedLibrary, CharacterEncoder) {
    using nuriccl::CharacterEncoder;
    using Encode = std::string (CharacterEncoder::*)(const std::string&) const;
    using EncodeInto = int (CharacterEncoder::*)(const char*, char*, int, char) const;
    for_each_text([](std::size_t lowered, const std::string& text) {
        const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
        const Encode encode = &CharacterEncoder::encode;
        const std::string encoded = call(lowered, encode, encoder, text);
        ASSERT_EQ(encoded, encoder.encode(text));
        const Encode decode = &CharacterEncoder::decode;
        ASSERT_EQ(call(lowered, decode, encoder, encoded), text);
        const EncodeInto encode_into = &CharacterEncoder::encode;
        std::string place(text.size() * 3 + 1, '~');
        std::string expected = place;
        const auto size = static_cast<int>(place.size());
        ASSERT_EQ(call(lowered, encode_into, encoder, text.c_str(), place.data(), size, '%'),
                  encoder.encode(text.c_str(), expected.data(), size, '%'));
        ASSERT_EQ(place, expected);
    });
}

TEST(MisalignedLibrary, String) {
    using namespace nuriccl::string;
    using Compare = int(const std::string&, const std::string&);
    using Split = void(const std::string&, char, std::vector<std::string>&);
    using Escape = void(std::string&);
    Compare* const compare = &icompare;
    Split* const split_at = &split;
    Escape* const escape = &xml_escape;
    for_each_text([=](std::size_t lowered, const std::string& text) {
        ASSERT_EQ(call(lowered, compare, text + "A1", text + "a2"),
                  compare(text + "A1", text + "a2"));
        std::vector<std::string> fields;
        std::vector<std::string> expected_fields;
        call(lowered, split_at, text, ',', fields);
        split_at(text, ',', expected_fields);
        ASSERT_EQ(fields, expected_fields);
        std::string escaped = text;
        std::string expected = text;
        call(lowered, escape, escaped);
        escape(expected);
        ASSERT_EQ(escaped, expected);
        const auto length = static_cast<int>(text.size());
        ASSERT_EQ(call(lowered, hex_dump, escaped, text.data(), length, "title", "prefix"),
                  hex_dump(expected, text.data(), length, "title", "prefix"));
        ASSERT_EQ(escaped, expected);
    });
}
