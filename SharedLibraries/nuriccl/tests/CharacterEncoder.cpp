// Tests of the character encoder.
//
//   public member                              cases
//   HEX_CHARS ... UNPRINTABLE_CHARS_TO_ENCODE  Constants.*
//   constructor, protect (two forms)           Set.*
//   encoded_size (two forms)                   EncodedSize.*
//   encode(text)                               Encode.*
//   encode(text, esc)                          EncodeInPlace.*
//   encode(src, dst, len, esc)                 SizeQuery.*, EncodeBuffer.*, EncodeToAnotherPlace.*,
//                                              LongTexts.*
//   decode(text)                               Decode.*
//   decode(text, esc), decode(buf, esc)        DecodeInPlace.*
//   encode_unprintable (two forms),
//   decode_unprintable                         Unprintable.*
//   encode_vSphereVM_name,
//   decode_vSphereVM_name                      VmNames.*
//   encoding and decoding together             RoundTrip.*, CharacterEncoderRandom.*
//   what the header says of threads            CharacterEncoderThreads.*
//   what the header says of allocations        Allocations.*
//   the example of the header                  CharacterEncoderUsage.*

#include "support/allocation.hpp"
#include "support/encoder_model.hpp"
#include "support/guarded.hpp"
#include "support/sanitized.hpp"
#include "support/texts.hpp"

#include <nuriccl/CharacterEncoder.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <climits>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using nuriccl::CharacterEncoder;
using testing::PrintToString;

// Taken while this program's own statics are built.
const std::string digits_at_start = CharacterEncoder::HEX_CHARS;
const std::string encoded_at_start =
    CharacterEncoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE).encode("a:b");

constexpr char NUL = '\0';

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

// A literal that may hold NULs.
template <std::size_t Size>
std::string bytes(const char (&literal)[Size]) {
    return {literal, Size - 1};
}

// Memory for one text at a time, whose last character is the last before memory that nobody may
// touch.
class Memory {
public:
    char* put(const std::string& text) {
        text_ = room_.data() + ROOM - text.size();
        std::fill(text_ - GUARD, text_, MARK);
        std::copy(text.begin(), text.end(), text_);
        return text_;
    }

    // What is now in the place of the text.
    std::string now() const { return {text_, room_.data() + ROOM}; }

    // Whether nothing was written in front of the text.
    bool is_intact_in_front() const {
        return std::all_of(text_ - GUARD, text_, [](char c) { return c == MARK; });
    }

private:
    static constexpr std::size_t ROOM = 4096;
    static constexpr std::size_t GUARD = 64;
    static constexpr char MARK = '#';

    guarded::Text<char> room_{std::string(ROOM, MARK)};
    char* text_ = nullptr;
};

// The in-place forms for strings, whose results tell whether they did anything.

std::string encoded_in_place(const CharacterEncoder& encoder, const std::string& text, char esc) {
    std::string encoded = text;
    const bool any = encoder.encode(encoded, esc);
    EXPECT_EQ(any, encoded != text) << PrintToString(text);
    return encoded;
}

std::string decoded_in_place(const std::string& text, char esc) {
    std::string decoded = text;
    const bool any = CharacterEncoder::decode(decoded, esc);
    EXPECT_EQ(any, contains(text, esc)) << PrintToString(text);
    return decoded;
}

} // namespace

// Constants

TEST(Constants, HaveTheirValues) {
    EXPECT_STREQ(CharacterEncoder::HEX_CHARS, "0123456789abcdef");
    EXPECT_STREQ(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE, "\x5c/:*?<>|%\x22");
    EXPECT_STREQ(CharacterEncoder::VMNAME_CHARS_TO_ENCODE, "\x5c/:;*?<>|%\x22,");
}

TEST(Constants, UnprintableBeginsWithTheControlCharacters) {
    const std::string characters = CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE;
    ASSERT_EQ(characters.size(), 37U);
    for (int c = 1; c <= 31; ++c) {
        EXPECT_EQ(characters[static_cast<std::size_t>(c - 1)], c);
    }
    EXPECT_EQ(characters.substr(31), "\x22,-/#^");
}

TEST(Constants, AreConstantPointers) {
    using Pointer = const char* const*;
    const std::vector<Pointer> pointers{
        &CharacterEncoder::HEX_CHARS, &CharacterEncoder::DEFAULT_CHARS_TO_ENCODE,
        &CharacterEncoder::VMNAME_CHARS_TO_ENCODE, &CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE};
    for (const Pointer pointer : pointers) {
        EXPECT_NE(*pointer, nullptr);
    }
}

TEST(Constants, ServeStaticInitialisersOfTheProgram) {
    EXPECT_EQ(digits_at_start, "0123456789abcdef");
    EXPECT_EQ(encoded_at_start, "a%3ab");
}

// The set

TEST(Set, HoldsTheBytesItWasMadeOf) {
    const CharacterEncoder encoder("/:");
    EXPECT_EQ(encoder.encode("a/b:c;d"), "a%2fb%3ac;d");
}

TEST(Set, MayBeEmpty) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.encode(texts::all_bytes()), texts::all_bytes());
}

TEST(Set, TakesEveryByteAsItsOnlyMember) {
    const std::string all = texts::all_bytes();
    for (const char c : all) {
        const std::string only(1, c);
        ASSERT_EQ(CharacterEncoder(only).encode(all), encoder_model::encode(all, only, '%'))
            << int{c};
        CharacterEncoder encoder("");
        encoder.protect(c);
        ASSERT_EQ(encoder.encode(all), encoder_model::encode(all, only, '%')) << int{c};
    }
}

TEST(Set, TakesAllBytes) {
    const std::string all = texts::all_bytes();
    EXPECT_EQ(CharacterEncoder(all).encode(all), encoder_model::encode(all, all, '%'));
}

TEST(Set, GrowsByProtect) {
    CharacterEncoder encoder(":");
    encoder.protect('a');
    EXPECT_EQ(encoder.encode(":abc"), "%3a%61bc");
    encoder.protect("b\xff");
    EXPECT_EQ(encoder.encode(":abc\xff"), "%3a%61%62c%ff");
    encoder.protect("");
    EXPECT_EQ(encoder.encode(":abc\xff"), "%3a%61%62c%ff");
}

TEST(Set, TakesNulFromAString) {
    CharacterEncoder encoder(bytes("\0:"));
    EXPECT_EQ(encoder.encode(bytes("a\0:b")), "a%00%3ab");
    CharacterEncoder protecting("");
    protecting.protect(bytes("x\0y"));
    EXPECT_EQ(protecting.encode(bytes("a\0xyz")), "a%00%78%79z");
}

TEST(Set, HoldsAByteOnce) {
    CharacterEncoder encoder("::");
    encoder.protect(':');
    encoder.protect(":::");
    EXPECT_EQ(encoder.encode("a:b"), "a%3ab");
    EXPECT_EQ(encoder.encoded_size("a:b"), 6);
}

TEST(Set, BelongsToItsEncoder) {
    const CharacterEncoder one("a");
    CharacterEncoder other = one;
    other.protect('b');
    EXPECT_EQ(one.encode("abc"), "%61bc");
    EXPECT_EQ(other.encode("abc"), "%61%62c");
    EXPECT_EQ(CharacterEncoder("c").encode("abc"), "ab%63");
}

TEST(Set, NeverThrows) {
    EXPECT_TRUE(noexcept(CharacterEncoder(std::declval<const std::string&>())));
    EXPECT_TRUE(
        noexcept(std::declval<CharacterEncoder&>().protect(std::declval<const std::string&>())));
    EXPECT_TRUE(noexcept(std::declval<CharacterEncoder&>().protect('a')));
}

TEST(Set, IsNotMadeOfAStringByAccident) {
    EXPECT_FALSE((std::is_convertible_v<std::string, CharacterEncoder>));
}

// Sizes

TEST(EncodedSize, OfTheEmptyTextIsOne) {
    const CharacterEncoder encoder(":");
    EXPECT_EQ(encoder.encoded_size(""), 1);
    EXPECT_EQ(encoder.encoded_size("", '%'), 1);
}

TEST(EncodedSize, IsTheLengthAndTwoForEachEscapedByteAndOne) {
    const CharacterEncoder encoder(":\xff");
    EXPECT_EQ(encoder.encoded_size("abc"), 4);
    EXPECT_EQ(encoder.encoded_size("a:c"), 6);
    EXPECT_EQ(encoder.encoded_size("::\xff"), 10);
    EXPECT_EQ(encoder.encoded_size(bytes("\0:\0")), 6);
}

TEST(EncodedSize, CountsTheEscapeCharacterWhereItIsGiven) {
    const CharacterEncoder encoder(":");
    EXPECT_EQ(encoder.encoded_size("a%:"), 6);
    EXPECT_EQ(encoder.encoded_size("a%:", '%'), 8);
    EXPECT_EQ(encoder.encoded_size("a%:", 'a'), 8);
    EXPECT_EQ(encoder.encoded_size("a%:", '\\'), 6);
    EXPECT_EQ(encoder.encoded_size(bytes("a\0:"), NUL), 8);
    EXPECT_EQ(encoder.encoded_size("\xff:", '\xff'), 7);
}

TEST(EncodedSize, CountsAnEscapeCharacterOfTheSetOnce) {
    EXPECT_EQ(CharacterEncoder("%").encoded_size("a%", '%'), 5);
}

TEST(EncodedSize, IsWhatIsWritten) {
    const std::string alphabet = bytes("a%/\0\xff");
    for (const std::string& set : texts::over<std::string>(alphabet, 2)) {
        const CharacterEncoder encoder(set);
        for (const std::string& text : texts::over<std::string>(alphabet, 4)) {
            ASSERT_EQ(encoder.encoded_size(text), static_cast<int>(encoder.encode(text).size()) + 1)
                << PrintToString(text);
            for (const char esc : alphabet) {
                ASSERT_EQ(encoder.encoded_size(text, esc),
                          static_cast<int>(encoded_in_place(encoder, text, esc).size()) + 1)
                    << PrintToString(text) << int{esc};
            }
        }
    }
}

TEST(EncodedSize, NeverThrows) {
    const CharacterEncoder encoder("");
    const std::string text;
    EXPECT_TRUE(noexcept(encoder.encoded_size(text)));
    EXPECT_TRUE(noexcept(encoder.encoded_size(text, '%')));
}

// Encoding

TEST(Encode, WritesTheEscapeCharacterAndTwoLowerCaseDigits) {
    const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    EXPECT_EQ(encoder.encode("a:b"), "a%3ab");
    EXPECT_EQ(encoder.encode("\\/:*?<>|%\""), "%5c%2f%3a%2a%3f%3c%3e%7c%25%22");
    EXPECT_EQ(encoder.encode(""), "");
    EXPECT_EQ(encoder.encode("plain; text,"), "plain; text,");
}

TEST(Encode, EscapesWhatVirtualMachineNamesMustNotHold) {
    const CharacterEncoder encoder(CharacterEncoder::VMNAME_CHARS_TO_ENCODE);
    EXPECT_EQ(encoder.encode("a\\/:;*?<>|%\",b"), "a%5c%2f%3a%3b%2a%3f%3c%3e%7c%25%22%2cb");
}

TEST(Encode, EscapesThePercentSignOnlyIfItIsInTheSet) {
    EXPECT_EQ(CharacterEncoder(":").encode("100%:"), "100%%3a");
    EXPECT_EQ(CharacterEncoder("%:").encode("100%:"), "100%25%3a");
}

TEST(Encode, TakesBytesFrom128OnByTheirEightBits) {
    const CharacterEncoder encoder("\x7f\x80\xa9\xc3\xff");
    EXPECT_EQ(encoder.encode("\x7f\x80\xa9\xc3\xff\xfe"), "%7f%80%a9%c3%ff\xfe");
}

TEST(Encode, GoesBeyondNuls) {
    EXPECT_EQ(CharacterEncoder(":").encode(bytes("a\0:\0")), bytes("a\0%3a\0"));
}

TEST(Encode, LeavesItsArgumentAlone) {
    const std::string text = "a:b";
    CharacterEncoder(":").encode(text);
    EXPECT_EQ(text, "a:b");
}

TEST(Encode, AgreesWithTheModel) {
    const std::string alphabet = bytes("a%/\0\xff");
    for (const std::string& set : texts::over<std::string>(alphabet, 2)) {
        const CharacterEncoder encoder(set);
        for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
            ASSERT_EQ(encoder.encode(text), encoder_model::encode(text, set, '%'))
                << PrintToString(text) << PrintToString(set);
        }
    }
}

namespace {

// Of a string that was told to reserve room for so many characters.
std::size_t reserved(std::size_t size) {
    std::string text;
    text.reserve(size);
    return text.capacity();
}

} // namespace

TEST(Encode, ReservesTwiceTheLength) {
    const CharacterEncoder encoder(":");
    for (const std::size_t size : {0, 1, 7, 8, 15, 16, 31, 100, 5000}) {
        std::string text(size, 'a');
        EXPECT_EQ(encoder.encode(text).capacity(), reserved(2 * size)) << size;
        std::fill(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size / 2), ':');
        EXPECT_EQ(encoder.encode(text).capacity(), reserved(2 * size)) << size;
    }
}

TEST(Encode, GrowsBeyondTwiceTheLength) {
    EXPECT_EQ(CharacterEncoder(":").encode(std::string(100, ':')).size(), 300U);
}

// Encoding a string in place

TEST(EncodeInPlace, TellsWhetherAnythingWasEscaped) {
    const CharacterEncoder encoder(":");
    std::string text = "a:b";
    EXPECT_TRUE(encoder.encode(text, '%'));
    EXPECT_EQ(text, "a%3ab");
    text = "ab";
    EXPECT_FALSE(encoder.encode(text, '%'));
    EXPECT_EQ(text, "ab");
    text.clear();
    EXPECT_FALSE(encoder.encode(text, '%'));
    EXPECT_EQ(text, "");
}

TEST(EncodeInPlace, EscapesTheEscapeCharacterThatIsNotInTheSet) {
    const CharacterEncoder encoder(":");
    EXPECT_EQ(encoded_in_place(encoder, "50%:", '%'), "50%25%3a");
    EXPECT_EQ(decoded_in_place("50%25%3a", '%'), "50%:");
    EXPECT_EQ(encoded_in_place(encoder, "50%:", '#'), "50%#3a");
    EXPECT_EQ(encoded_in_place(encoder, "%", '%'), "%25");
}

TEST(EncodeInPlace, TakesAnyEscapeCharacter) {
    const CharacterEncoder encoder("/");
    EXPECT_EQ(encoded_in_place(encoder, "2/f", '2'), "23222ff");
    EXPECT_EQ(encoded_in_place(encoder, "2/f", 'f'), "2f2ff66");
    EXPECT_EQ(encoded_in_place(encoder, "a/b", NUL), bytes("a\0"
                                                           "2fb"));
    EXPECT_EQ(encoded_in_place(encoder, bytes("a\0b"), NUL), bytes("a\0"
                                                                   "00b"));
    EXPECT_EQ(encoded_in_place(encoder, "a/\xe9", '\xe9'), "a\xe9"
                                                           "2f\xe9"
                                                           "e9");
    EXPECT_EQ(encoded_in_place(encoder, "a/b", '/'), "a/2fb");
}

TEST(EncodeInPlace, AgreesWithTheModel) {
    const std::string alphabet = bytes("a%/\0\xff");
    for (const std::string& set : texts::over<std::string>(alphabet, 2)) {
        const CharacterEncoder encoder(set);
        for (const char esc : alphabet) {
            for (const std::string& text : texts::over<std::string>(alphabet, 4)) {
                ASSERT_EQ(encoded_in_place(encoder, text, esc),
                          encoder_model::encode(text, set + esc, esc))
                    << PrintToString(text) << PrintToString(set) << int{esc};
            }
        }
    }
}

TEST(EncodeInPlace, LeavesTheSetAsItWas) {
    const CharacterEncoder encoder("/");
    EXPECT_EQ(encoded_in_place(encoder, "a/", 'a'), "a61a2f");
    EXPECT_EQ(encoder.encode("a/"), "a%2f");
}

// Encoding C strings

TEST(SizeQuery, IsANullPlace) {
    const CharacterEncoder encoder(":");
    for (const int len : {0, 1, 5, 6, 100, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ(encoder.encode("a:b", nullptr, len, '%'), -6) << len;
        EXPECT_EQ(encoder.encode("a%b", nullptr, len, '%'), -6) << len;
        EXPECT_EQ(encoder.encode("abc", nullptr, len, '%'), -4) << len;
        EXPECT_EQ(encoder.encode("", nullptr, len, '%'), -1) << len;
    }
}

TEST(SizeQuery, IsAPlaceOfLengthZero) {
    const CharacterEncoder encoder(":");
    char place[] = "###";
    EXPECT_EQ(encoder.encode("a:%", place, 0, '%'), -8);
    EXPECT_EQ(encoder.encode("abc", place, 0, '%'), -4);
    EXPECT_EQ(encoder.encode("", place, 0, '%'), -1);
    EXPECT_STREQ(place, "###");
}

TEST(SizeQuery, IsATextInPlaceWithoutRoom) {
    const CharacterEncoder encoder(":");
    char place[] = "a:b";
    EXPECT_EQ(encoder.encode(place, place, 0, '%'), -6);
    EXPECT_STREQ(place, "a:b");
}

TEST(SizeQuery, AgreesWithEncodedSize) {
    const std::string alphabet = "a%/\xff";
    const CharacterEncoder encoder("/\xff");
    for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
        for (const char esc : alphabet) {
            ASSERT_EQ(encoder.encode(text.c_str(), nullptr, 0, esc),
                      -encoder.encoded_size(text, esc))
                << PrintToString(text) << int{esc};
        }
    }
}

TEST(EncodeBuffer, EncodesWhatFitsExactly) {
    const CharacterEncoder encoder(":");
    Memory memory;
    char* const place = memory.put(bytes("a:b\0##"));
    EXPECT_EQ(encoder.encode(place, place, 6, '%'), 1);
    EXPECT_EQ(memory.now(), bytes("a%3ab\0"));
    EXPECT_TRUE(memory.is_intact_in_front());
}

TEST(EncodeBuffer, RefusesRoomThatIsOneTooSmall) {
    const CharacterEncoder encoder(":");
    Memory memory;
    char* const place = memory.put(bytes("a:b\0#"));
    EXPECT_EQ(encoder.encode(place, place, 5, '%'), -6);
    EXPECT_EQ(memory.now(), bytes("a:b\0#"));
    EXPECT_TRUE(memory.is_intact_in_front());
}

TEST(EncodeBuffer, RefusesATextThatFillsTheRoomWithoutANul) {
    const CharacterEncoder encoder(":");
    char place[] = "abc";
    EXPECT_EQ(encoder.encode(place, place, 3, '%'), -4);
    EXPECT_EQ(encoder.encode(place, place, 4, '%'), 0);
    EXPECT_STREQ(place, "abc");
}

TEST(EncodeBuffer, RefusesANegativeLength) {
    const CharacterEncoder encoder(":");
    for (const int len : {-1, -6, -100, INT_MIN}) {
        char place[] = "a:b\0#######";
        EXPECT_EQ(encoder.encode(place, place, len, '%'), -6) << len;
        EXPECT_EQ(bytes(place), bytes("a:b\0#######")) << len;
        EXPECT_EQ(encoder.encode(place + 3, place + 3, len, '%'), -1) << len;
    }
}

TEST(EncodeBuffer, SetsTheLastByteOfTheRoomToNul) {
    const CharacterEncoder encoder(":");
    char place[] = "a:b\0####|###";
    EXPECT_EQ(encoder.encode(place, place, 8, '%'), 1);
    EXPECT_STREQ(place, "a%3ab");
    EXPECT_EQ(place[7], NUL);
    EXPECT_STREQ(place + 8, "|###");
}

TEST(EncodeBuffer, ChangesNothingWhenThereIsNothingToEscape) {
    const CharacterEncoder encoder(":");
    char place[] = "abc\0####";
    EXPECT_EQ(encoder.encode(place, place, 8, '%'), 0);
    EXPECT_EQ(bytes(place), bytes("abc\0####"));
    char empty[] = "\0###";
    EXPECT_EQ(encoder.encode(empty, empty, 4, '%'), 0);
    EXPECT_EQ(encoder.encode(empty, empty, 1, '%'), 0);
    EXPECT_EQ(bytes(empty), bytes("\0###"));
}

TEST(EncodeBuffer, TakesNullForTheEmptyText) {
    const CharacterEncoder encoder(":");
    EXPECT_EQ(encoder.encode(nullptr, nullptr, 0, '%'), -1);
    EXPECT_EQ(encoder.encode(nullptr, nullptr, -5, '%'), -1);
    EXPECT_EQ(encoder.encode(nullptr, nullptr, 1, '%'), 0);
    char place[] = "###";
    EXPECT_EQ(encoder.encode(nullptr, place, 0, '%'), -1);
    EXPECT_EQ(encoder.encode(nullptr, place, 3, '%'), 0);
    EXPECT_STREQ(place, "###");
}

// A NUL in the place of the escape character ends the text for whoever reads it as a C string.
TEST(EncodeBuffer, TakesANulAsEscapeCharacter) {
    const CharacterEncoder encoder("/");
    char place[] = "a/b\0####";
    EXPECT_EQ(encoder.encode(place, place, 5, NUL), -6);
    EXPECT_EQ(bytes(place), bytes("a/b\0####"));
    EXPECT_EQ(encoder.encode(place, place, 6, NUL), 1);
    EXPECT_STREQ(place, "a");
    EXPECT_EQ(place[5], NUL);
    EXPECT_STREQ(place + 6, "##");
}

namespace {

// Encodes `text` in place in a room of `len` bytes, with a mark behind the room, in memory that
// ends there.
void expect_encoded_in_buffer(const CharacterEncoder& encoder, const std::string& text,
                              const std::string& expected, int len, char esc) {
    const std::size_t room = static_cast<std::size_t>(std::max(len, 0));
    std::string before = text + NUL;
    before.resize(std::max(before.size(), room), '#');
    before += '|';

    static Memory memory;
    char* const place = memory.put(before);
    const int result = encoder.encode(place, place, len, esc);

    const std::string now = memory.now();
    ASSERT_TRUE(memory.is_intact_in_front());
    if (len <= static_cast<int>(expected.size())) {
        ASSERT_EQ(result, -static_cast<int>(expected.size()) - 1);
        ASSERT_EQ(now, before);
    } else if (expected == text) {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(now, before);
    } else {
        ASSERT_EQ(result, 1);
        ASSERT_STREQ(now.c_str(), expected.c_str());
        ASSERT_EQ(now[room - 1], NUL);
        ASSERT_EQ(now.substr(room), before.substr(room));
    }
}

} // namespace

TEST(EncodeBuffer, AgreesWithTheModelForEveryLength) {
    const std::string alphabet = "a%/\xff";
    for (const std::string set : {"", "/", "/\xff"}) {
        const CharacterEncoder encoder(set);
        for (const char esc : alphabet + NUL) {
            for (const std::string& text : texts::over<std::string>(alphabet, 4)) {
                const std::string expected = encoder_model::encode(text, set + esc, esc);
                for (int len = -1; len <= static_cast<int>(expected.size()) + 3; ++len) {
                    expect_encoded_in_buffer(encoder, text, expected, len, esc);
                    ASSERT_FALSE(HasFatalFailure())
                        << PrintToString(text) << PrintToString(set) << int{esc} << ' ' << len;
                }
            }
        }
    }
}

TEST(EncodeBuffer, EncodesEveryByteFromOneOn) {
    const std::string text = texts::all_bytes().substr(1);
    for (const std::string& set : {std::string(1, '\xff'), text}) {
        const CharacterEncoder encoder(set);
        for (const char esc : text) {
            const std::string expected = encoder_model::encode(text, set + esc, esc);
            expect_encoded_in_buffer(encoder, text, expected, static_cast<int>(expected.size()) + 1,
                                     esc);
            ASSERT_FALSE(HasFatalFailure()) << int{esc};
        }
    }
}

TEST(EncodeBuffer, NeverThrows) {
    EXPECT_TRUE(noexcept(std::declval<const CharacterEncoder&>().encode("", nullptr, 0, '%')));
}

namespace {

// Encodes to another place that is told to have `len` bytes and has just those that are needed.
// Both places end where memory does.
void expect_encoded_to_another_place(const CharacterEncoder& encoder, const std::string& text,
                                     const std::string& expected, int len, char esc) {
    static Memory from;
    static Memory to;
    const char* const src = from.put(text + NUL);
    char* const dst = to.put(std::string(expected.size() + 1, '|'));
    const bool any = expected != text;
    ASSERT_EQ(encoder.encode(src, dst, len, esc), any ? 1 : 0);
    ASSERT_EQ(to.now(), expected + (any ? NUL : '|'));
    ASSERT_EQ(from.now(), text + NUL);
    ASSERT_TRUE(to.is_intact_in_front());
    ASSERT_TRUE(from.is_intact_in_front());
}

} // namespace

TEST(EncodeToAnotherPlace, TerminatesWhatWasEncoded) {
    const CharacterEncoder encoder(":");
    char place[] = "#########";
    EXPECT_EQ(encoder.encode("a:b", place, 9, '%'), 1);
    EXPECT_EQ(bytes(place), bytes("a%3ab\0###"));
}

TEST(EncodeToAnotherPlace, DoesNotTerminateWhatWasCopied) {
    const CharacterEncoder encoder(":");
    char place[] = "#########";
    EXPECT_EQ(encoder.encode("abc", place, 9, '%'), 0);
    EXPECT_STREQ(place, "abc######");
    EXPECT_EQ(encoder.encode("", place, 9, '%'), 0);
    EXPECT_STREQ(place, "abc######");
}

TEST(EncodeToAnotherPlace, TakesAnyLengthButZero) {
    const CharacterEncoder encoder(":");
    for (const int len : {1, 2, 5, 6, 7, INT_MAX, -1, INT_MIN}) {
        expect_encoded_to_another_place(encoder, "a:b", "a%3ab", len, '%');
        expect_encoded_to_another_place(encoder, "abc", "abc", len, '%');
    }
}

TEST(EncodeToAnotherPlace, TakesANulAsEscapeCharacter) {
    expect_encoded_to_another_place(CharacterEncoder("/"), "a/b",
                                    bytes("a\0"
                                          "2fb"),
                                    6, NUL);
}

TEST(EncodeToAnotherPlace, AgreesWithTheModel) {
    const std::string alphabet = "a%/\xff";
    for (const std::string set : {"", "/", "/\xff"}) {
        const CharacterEncoder encoder(set);
        for (const char esc : alphabet + NUL) {
            for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
                const std::string expected = encoder_model::encode(text, set + esc, esc);
                expect_encoded_to_another_place(encoder, text, expected, 1, esc);
                ASSERT_FALSE(HasFatalFailure())
                    << PrintToString(text) << PrintToString(set) << int{esc};
            }
        }
    }
}

// Decoding without validation

TEST(Decode, TakesDigitsOfEitherCase) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.decode("a%3ab"), "a:b");
    EXPECT_EQ(encoder.decode("a%3Ab"), "a:b");
    EXPECT_EQ(encoder.decode("%5c%5C%c3%C3%ff%FF%00"), bytes("\\\\\xc3\xc3\xff\xff\0"));
    EXPECT_EQ(encoder.decode(""), "");
    EXPECT_EQ(encoder.decode("plain"), "plain");
}

TEST(Decode, DoesNotConsultTheSet) {
    EXPECT_EQ(CharacterEncoder(texts::all_bytes()).decode("%3a+a"), ":+a");
    EXPECT_EQ(CharacterEncoder("%3a").decode("%3a+a"), ":+a");
}

TEST(Decode, DropsAPercentSignAtTheEnd) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.decode("%"), "");
    EXPECT_EQ(encoder.decode("ab%"), "ab");
    EXPECT_EQ(encoder.decode("%41%"), "A");
}

// 4 * 16 + 0 - 87 is -23, and 10 * 16 - 87 is 73.
TEST(Decode, TakesTheNulBehindTheTextForASecondDigit) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.decode("%4"), "\xe9");
    EXPECT_EQ(encoder.decode("x%a"), "xI");
    EXPECT_EQ(encoder.decode("x%A"), "xI");
}

TEST(Decode, TakesOtherCharactersByTheirCodes) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.decode("%zz"), "S");       // 35 * 16 + 35 is 595
    EXPECT_EQ(encoder.decode("%GG"), "\x10");    // 16 * 16 + 16 is 272
    EXPECT_EQ(encoder.decode("%/0"), "\x80");    // -40 * 16 is -640
    EXPECT_EQ(encoder.decode("%%%"), "\xae");    // -50 * 16 - 50 is -850
    EXPECT_EQ(encoder.decode("%0\x80"), "\x29"); // 128 - 87 is 41
    EXPECT_EQ(encoder.decode(bytes("%0\0x")), "\xa9x");
}

TEST(Decode, LooksAtNothingBehindTheText) {
    const CharacterEncoder encoder("");
    std::string text = "ab%4455";
    text.resize(4);
    EXPECT_EQ(encoder.decode(text), "ab\xe9");
    text = "ab%4455";
    text.resize(3);
    EXPECT_EQ(encoder.decode(text), "ab");
}

TEST(Decode, TakesEveryPairOfBytesAsDigits) {
    const CharacterEncoder encoder("");
    for (const char first : texts::all_bytes()) {
        for (const char second : texts::all_bytes()) {
            const int value =
                encoder_model::believed_digit(first) * 16 + encoder_model::believed_digit(second);
            const std::string text{'%', first, second};
            const std::string expected(1, static_cast<char>(static_cast<unsigned int>(value)));
            ASSERT_EQ(encoder.decode(text), expected) << PrintToString(text);
        }
    }
}

namespace {

// Gives one byte other classes in the C library, as it has in many 8-bit locales, of which a bare
// system has none: gives this thread a changed copy of the table behind the functions.
class ClassesOfByte {
public:
    ClassesOfByte(char c, unsigned short classes) : earlier_(*__ctype_b_loc()) {
        std::copy(earlier_ - FIRST, earlier_ + 256, table_.begin());
        table_[FIRST + to_byte(c)] = classes;
        *__ctype_b_loc() = table_.data() + FIRST;
    }
    ClassesOfByte(const ClassesOfByte&) = delete;
    ClassesOfByte& operator=(const ClassesOfByte&) = delete;
    ~ClassesOfByte() { *__ctype_b_loc() = earlier_; }

private:
    static constexpr std::size_t FIRST = 128; // the table serves negative characters, too

    const unsigned short* const earlier_;
    std::array<unsigned short, FIRST + 256> table_{};
};

} // namespace

// 0xc9 is 201: 64 + 201 - 87 is 178, and 64 + 201 - 55 is 210.
TEST(Decode, AsksTheCLibraryForUpperCase) {
    const CharacterEncoder encoder("");
    EXPECT_EQ(encoder.decode("%4\xc9"), "\xb2");
    {
        const ClassesOfByte upper('\xc9', _ISalpha | _ISupper);
        ASSERT_TRUE(std::isupper(0xc9));
        EXPECT_EQ(encoder.decode("%4\xc9"), "\xd2");
        EXPECT_EQ(encoder.decode("%4a%4A"), "JJ");
    }
    const ClassesOfByte no_case('\xc9', _ISalpha);
    ASSERT_TRUE(std::isalpha(0xc9));
    EXPECT_EQ(encoder.decode("%4\xc9"), "\xb2");
}

TEST(Decode, AgreesWithTheModel) {
    const CharacterEncoder encoder("");
    for (const std::string& text : texts::over<std::string>(bytes("%4gAz\0\xe9"), 5)) {
        ASSERT_EQ(encoder.decode(text), encoder_model::decode(text)) << PrintToString(text);
    }
}

TEST(Decode, LeavesItsArgumentAlone) {
    const std::string text = "%41";
    CharacterEncoder("").decode(text);
    EXPECT_EQ(text, "%41");
}

TEST(Decode, ReservesTheLength) {
    const CharacterEncoder encoder("");
    for (const std::size_t size : {0, 1, 15, 16, 30, 31, 100, 5000}) {
        EXPECT_EQ(encoder.decode(std::string(size, 'a')).capacity(), reserved(size)) << size;
        EXPECT_EQ(encoder.decode(std::string(size, '%')).capacity(), reserved(size)) << size;
    }
}

// Decoding in place

TEST(DecodeInPlace, TellsWhetherAnythingWasDecoded) {
    std::string text = "a%3ab%3Ac";
    EXPECT_TRUE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, "a:b:c");
    EXPECT_FALSE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, "a:b:c");
    text.clear();
    EXPECT_FALSE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, "");
}

TEST(DecodeInPlace, TakesAnyEscapeCharacter) {
    EXPECT_EQ(decoded_in_place("a#3a%3a", '#'), "a:%3a");
    EXPECT_EQ(decoded_in_place("a61b", 'a'), "ab");
    EXPECT_EQ(decoded_in_place("23222ff", '2'), "2/f");
    EXPECT_EQ(decoded_in_place(bytes("a\0"
                                     "2fb"),
                               NUL),
              "a/b");
    EXPECT_EQ(decoded_in_place("a\xe9"
                               "2f\xe9"
                               "e9",
                               '\xe9'),
              "a/\xe9");
}

TEST(DecodeInPlace, TakesOtherCharactersForZero) {
    EXPECT_EQ(decoded_in_place("%zz%4z%z4%%%%", '%'), bytes("\0\x40\x04\0\0"));
    EXPECT_EQ(decoded_in_place("%gG", '%'), bytes("\0"));
    EXPECT_EQ(decoded_in_place("%\xb0\xff", '%'), bytes("\0"));
    EXPECT_EQ(decoded_in_place(bytes("%\0\0"
                                     "1"),
                               '%'),
              bytes("\0"
                    "1"));
    EXPECT_EQ(decoded_in_place("%%41", '%'), bytes("\x04"
                                                   "1"));
}

TEST(DecodeInPlace, TakesWhatIsBehindTheEndForZero) {
    EXPECT_EQ(decoded_in_place("%", '%'), bytes("\0"));
    EXPECT_EQ(decoded_in_place("ab%", '%'), bytes("ab\0"));
    EXPECT_EQ(decoded_in_place("ab%4", '%'), "ab\x40");
    EXPECT_EQ(decoded_in_place("ab%%", '%'), bytes("ab\0"));
    EXPECT_EQ(decoded_in_place("%41%", '%'), bytes("A\0"));
    EXPECT_EQ(decoded_in_place("%41%4", '%'), "A\x40");
}

TEST(DecodeInPlace, LooksAtNothingBehindAString) {
    std::string text = "ab%4455";
    text.resize(4);
    EXPECT_TRUE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, "ab\x40");
    text = "ab%4455";
    text.resize(3);
    EXPECT_TRUE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, bytes("ab\0"));
}

TEST(DecodeInPlace, LooksAtNothingBehindACString) {
    char buffer[] = "ab%\0"
                    "44";
    EXPECT_TRUE(CharacterEncoder::decode(buffer, '%'));
    EXPECT_EQ(bytes(buffer), bytes("ab\0\0"
                                   "44"));
    char second[] = "ab%4\0"
                    "55";
    EXPECT_TRUE(CharacterEncoder::decode(second, '%'));
    EXPECT_STREQ(second, "ab\x40");
    EXPECT_STREQ(second + 5, "55");
}

TEST(DecodeInPlace, TakesANullBufferForTheEmptyText) {
    EXPECT_FALSE(CharacterEncoder::decode(nullptr, '%'));
    EXPECT_FALSE(CharacterEncoder::decode(nullptr, NUL));
}

TEST(DecodeInPlace, FindsNoNulInACString) {
    char buffer[] = "ab\0"
                    "41";
    EXPECT_FALSE(CharacterEncoder::decode(buffer, NUL));
    EXPECT_EQ(bytes(buffer), bytes("ab\0"
                                   "41"));
}

namespace {

// Decodes a C string in memory that ends behind its NUL.
void expect_decoded_in_buffer(const std::string& text, char esc) {
    static Memory memory;
    char* const place = memory.put(text + NUL);
    const bool any = contains(text, esc);
    ASSERT_EQ(CharacterEncoder::decode(place, esc), any);
    const std::string expected = encoder_model::decode_in_place(text, esc) + NUL;
    ASSERT_EQ(memory.now().substr(0, expected.size()), expected);
    ASSERT_TRUE(memory.is_intact_in_front());
}

} // namespace

TEST(DecodeInPlace, ReadsNoFurtherThanTheNulOfACString) {
    for (const std::string text : {"", "%", "a%", "%4", "%41", "%%", "%4%", "%41%", "abc"}) {
        expect_decoded_in_buffer(text, '%');
        ASSERT_FALSE(HasFatalFailure()) << text;
    }
}

TEST(DecodeInPlace, TakesEveryPairOfBytesAsDigits) {
    for (const char first : texts::all_bytes()) {
        for (const char second : texts::all_bytes()) {
            const std::string text{'%', first, second};
            const unsigned int value =
                encoder_model::digit(first) * 16 + encoder_model::digit(second);
            ASSERT_EQ(decoded_in_place(text, '%'), std::string(1, static_cast<char>(value)))
                << PrintToString(text);
            if (first != NUL && second != NUL) {
                expect_decoded_in_buffer(text, '%');
                ASSERT_FALSE(HasFatalFailure()) << PrintToString(text);
            }
        }
    }
}

TEST(DecodeInPlace, TakesEveryByteAsEscapeCharacter) {
    for (const char esc : texts::all_bytes()) {
        for (const char* const digits : {"", "4", "41", "g1", "4g", "414"}) {
            const std::string text = 'x' + std::string(1, esc) + digits;
            ASSERT_EQ(decoded_in_place(text, esc), encoder_model::decode_in_place(text, esc))
                << PrintToString(text);
            if (esc != NUL) {
                expect_decoded_in_buffer(text, esc);
                ASSERT_FALSE(HasFatalFailure()) << PrintToString(text);
            }
        }
    }
}

TEST(DecodeInPlace, AgreesWithTheModel) {
    const std::string alphabet = bytes("%4gF\0\xff");
    for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
        for (const char esc : alphabet) {
            ASSERT_EQ(decoded_in_place(text, esc), encoder_model::decode_in_place(text, esc))
                << PrintToString(text) << int{esc};
        }
    }
}

TEST(DecodeInPlace, AgreesWithTheModelForCStrings) {
    const std::string alphabet = "%4gF\xff";
    for (const std::string& text : texts::over<std::string>(alphabet, 5)) {
        for (const char esc : alphabet + NUL) {
            expect_decoded_in_buffer(text, esc);
            ASSERT_FALSE(HasFatalFailure()) << PrintToString(text) << int{esc};
        }
    }
}

TEST(DecodeInPlace, NeverThrows) {
    EXPECT_TRUE(noexcept(CharacterEncoder::decode(std::declval<char*>(), '%')));
    EXPECT_TRUE(noexcept(CharacterEncoder::decode(std::declval<std::string&>(), '%')));
}

// Text on one line

TEST(Unprintable, EscapesControlCharactersAndSomeOthers) {
    std::string text = "a\tb-c";
    EXPECT_TRUE(CharacterEncoder::encode_unprintable(text, '%'));
    EXPECT_EQ(text, "a%09b%2dc");
    text = "\",-/#^";
    EXPECT_TRUE(CharacterEncoder::encode_unprintable(text, '%'));
    EXPECT_EQ(text, "%22%2c%2d%2f%23%5e");
    text = "plain";
    EXPECT_FALSE(CharacterEncoder::encode_unprintable(text, '%'));
    EXPECT_EQ(text, "plain");
}

TEST(Unprintable, EscapesExactlyItsCharactersAndTheEscapeCharacter) {
    const std::string all = texts::all_bytes();
    std::string set = "\",-/#^";
    for (char c = 1; c <= 31; ++c) {
        set += c;
    }
    for (const char esc : all) {
        std::string text = all;
        ASSERT_TRUE(CharacterEncoder::encode_unprintable(text, esc));
        ASSERT_EQ(text, encoder_model::encode(all, set + esc, esc)) << int{esc};
        ASSERT_EQ(CharacterEncoder::decode_unprintable(text, esc), all) << int{esc};
        if (esc != NUL) {
            char buffer[2 * 256 + 256];
            std::memcpy(buffer, all.data() + 1, 255);
            buffer[255] = NUL;
            ASSERT_EQ(CharacterEncoder::encode_unprintable(buffer, sizeof buffer, esc), 1);
            ASSERT_EQ(buffer, encoder_model::encode(all.substr(1), set + esc, esc)) << int{esc};
        }
    }
}

TEST(Unprintable, EncodesABufferInPlace) {
    char buffer[] = "a\tb-c\0#####";
    EXPECT_EQ(CharacterEncoder::encode_unprintable(buffer, 0, '%'), -10);
    EXPECT_EQ(CharacterEncoder::encode_unprintable(buffer, 9, '%'), -10);
    EXPECT_EQ(CharacterEncoder::encode_unprintable(buffer, -1, '%'), -10);
    EXPECT_EQ(bytes(buffer), bytes("a\tb-c\0#####"));
    EXPECT_EQ(CharacterEncoder::encode_unprintable(buffer, 11, '%'), 1);
    EXPECT_STREQ(buffer, "a%09b%2dc");
    EXPECT_EQ(buffer[10], NUL);
}

TEST(Unprintable, LeavesABufferWithoutSuchCharactersAlone) {
    char buffer[] = "abc\0##";
    EXPECT_EQ(CharacterEncoder::encode_unprintable(buffer, 6, '%'), 0);
    EXPECT_EQ(bytes(buffer), bytes("abc\0##"));
}

TEST(Unprintable, TakesANullBufferForTheEmptyText) {
    EXPECT_EQ(CharacterEncoder::encode_unprintable(nullptr, 0, '%'), -1);
    EXPECT_EQ(CharacterEncoder::encode_unprintable(nullptr, 1, '%'), 0);
}

TEST(Unprintable, DecodesACopyWhateverIsEscaped) {
    const std::string text = "a#09#41%41#";
    EXPECT_EQ(CharacterEncoder::decode_unprintable(text, '#'), bytes("a\tA%41\0"));
    EXPECT_EQ(text, "a#09#41%41#");
    EXPECT_EQ(CharacterEncoder::decode_unprintable("", '#'), "");
    EXPECT_EQ(CharacterEncoder::decode_unprintable("zz", '#'), "zz");
    EXPECT_EQ(CharacterEncoder::decode_unprintable("#zz#4", '#'), bytes("\0\x40"));
}

// Names of virtual machines

TEST(VmNames, EscapeThreeCharacters) {
    EXPECT_EQ(CharacterEncoder::encode_vSphereVM_name("a/b%c"), "a%2fb%25c");
    EXPECT_EQ(CharacterEncoder::encode_vSphereVM_name("\\/%"), "%5c%2f%25");
    EXPECT_EQ(CharacterEncoder::encode_vSphereVM_name(""), "");
    const std::string all = texts::all_bytes();
    EXPECT_EQ(CharacterEncoder::encode_vSphereVM_name(all),
              encoder_model::encode(all, "%/\\", '%'));
}

TEST(VmNames, TakeDigitsOfEitherCase) {
    EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name("a%2Fb"), "a/b");
    EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name("%25%2f%5c%5C"), "%/\\\\");
}

TEST(VmNames, KeepEveryOtherSequence) {
    for (const std::string name :
         {"a%3ab", "%41", "%zz", "% 5", "%%25", "%%2f", "%25%", "%-5", "%+5", "%0x", "% %"}) {
        const std::string expected = name == "%25%" ? "%%" : name;
        EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name(name), expected) << name;
    }
}

TEST(VmNames, KeepAPercentSignAmongTheLastTwoCharacters) {
    for (const std::string name : {"%", "a%", "%2", "%%", "a%5", "ab%2"}) {
        EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name(name), name);
    }
}

TEST(VmNames, LookAtNothingBehindTheName) {
    std::string name = "ab%2ff";
    name.resize(4);
    EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name(name), "ab%2");
}

TEST(VmNames, TakeEveryPairOfBytesLikeTheModel) {
    for (const char first : texts::all_bytes()) {
        for (const char second : texts::all_bytes()) {
            const std::string name{'%', first, second};
            ASSERT_EQ(CharacterEncoder::decode_vSphereVM_name(name),
                      encoder_model::decode_vm_name(name))
                << PrintToString(name);
        }
    }
}

TEST(VmNames, AgreeWithTheModel) {
    for (const std::string& name : texts::over<std::string>("%25fFcC/\\a ", 5)) {
        ASSERT_EQ(CharacterEncoder::decode_vSphereVM_name(name),
                  encoder_model::decode_vm_name(name))
            << name;
        const std::string encoded = CharacterEncoder::encode_vSphereVM_name(name);
        ASSERT_EQ(encoded, encoder_model::encode(name, "%/\\", '%')) << name;
        ASSERT_EQ(CharacterEncoder::decode_vSphereVM_name(encoded), name) << name;
    }
}

// Round trips

TEST(RoundTrip, OfAllBytesWithEverySetOfOneAndEveryEscapeCharacter) {
    const std::string all = texts::all_bytes();
    for (const char c : all) {
        const CharacterEncoder encoder(std::string(1, c));
        for (const char esc : all) {
            std::string text = all;
            ASSERT_TRUE(encoder.encode(text, esc)) << int{c} << ' ' << int{esc};
            ASSERT_EQ(text.size(), all.size() + (c == esc ? 2 : 4)) << int{c} << ' ' << int{esc};
            ASSERT_TRUE(CharacterEncoder::decode(text, esc)) << int{c} << ' ' << int{esc};
            ASSERT_EQ(text, all) << int{c} << ' ' << int{esc};
        }
    }
}

TEST(RoundTrip, OfShortTexts) {
    const std::string alphabet = bytes("0a%\0\xff");
    for (const std::string& set : texts::over<std::string>(alphabet, 2)) {
        const CharacterEncoder encoder(set);
        for (const char esc : alphabet) {
            for (const std::string& text : texts::over<std::string>(alphabet, 4)) {
                ASSERT_EQ(decoded_in_place(encoded_in_place(encoder, text, esc), esc), text)
                    << PrintToString(text) << PrintToString(set) << int{esc};
            }
        }
    }
}

TEST(RoundTrip, OfStringsNeedsThePercentSignInTheSet) {
    const std::string all = texts::all_bytes();
    for (const char c : all) {
        const CharacterEncoder encoder({'%', c});
        ASSERT_EQ(encoder.decode(encoder.encode(all)), all) << int{c};
    }
    const CharacterEncoder without(":");
    EXPECT_EQ(without.decode(without.encode("%3a")), ":");
}

TEST(RoundTrip, OfCStrings) {
    const std::string text = texts::all_bytes().substr(1);
    const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    for (const char esc : text) {
        char buffer[1024];
        std::strcpy(buffer, text.c_str());
        ASSERT_EQ(encoder.encode(buffer, buffer, sizeof buffer, esc), 1) << int{esc};
        ASSERT_TRUE(CharacterEncoder::decode(buffer, esc)) << int{esc};
        ASSERT_EQ(buffer, text) << int{esc};
    }
}

namespace {

class RandomCoding {
public:
    explicit RandomCoding(unsigned int seed) : random_(seed) {}

    void step() {
        const std::string set = some_text(12);
        const std::string text = some_text(300);
        const char esc = some_byte();
        const CharacterEncoder encoder(set);

        ASSERT_EQ(encoder.encode(text), encoder_model::encode(text, set, '%'));
        ASSERT_EQ(encoder.decode(text), encoder_model::decode(text));
        ASSERT_EQ(decoded_in_place(text, esc), encoder_model::decode_in_place(text, esc));
        const std::string expected = encoder_model::encode(text, set + esc, esc);
        ASSERT_EQ(encoded_in_place(encoder, text, esc), expected);
        ASSERT_EQ(decoded_in_place(expected, esc), text);
        ASSERT_EQ(encoder.encoded_size(text, esc), static_cast<int>(expected.size()) + 1);

        std::string c_string = text.substr(0, text.find(NUL));
        const std::string c_expected = encoder_model::encode(c_string, set + esc, esc);
        expect_encoded_in_buffer(encoder, c_string, c_expected,
                                 static_cast<int>(below(2 * c_expected.size() + 2)), esc);
        expect_encoded_to_another_place(encoder, c_string, c_expected, 1, esc);
        expect_decoded_in_buffer(c_string, esc);
    }

private:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    char some_byte() { return static_cast<char>(below(256)); }

    std::string some_text(std::size_t longest) {
        std::string text(below(longest + 1), 'a');
        // Of few different bytes, or of all, so that sets and escape characters meet their bytes.
        const std::size_t spread = below(2) == 0 ? 8 : 256;
        const std::size_t start = below(2) == 0 ? below(256) : '%';
        std::generate(text.begin(), text.end(),
                      [&] { return static_cast<char>(start + below(spread)); });
        return text;
    }

    std::mt19937 random_;
};

} // namespace

TEST(CharacterEncoderRandom, AgreesWithTheModels) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomCoding coding(seed);
    for (int turn = 0; turn < 5000 && !HasFatalFailure(); ++turn) {
        coding.step();
    }
}

// Texts of a size that an int does not hold

namespace {

// A C string of `length` equal characters that takes hardly any memory: the same pages, many times.
// Empty when there is no room for it among the addresses.
class LongText {
public:
    LongText(std::size_t length, char character) : size_(length / CHUNK * CHUNK + 2 * CHUNK) {
        void* const start = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start == MAP_FAILED) {
            return;
        }
        start_ = static_cast<char*>(start);
        text_ = start_ + CHUNK - length % CHUNK; // so that a chunk follows the last character
        if (!map_chunks(character)) {
            text_ = nullptr;
        }
    }
    LongText(const LongText&) = delete;
    LongText& operator=(const LongText&) = delete;
    ~LongText() {
        if (start_ != nullptr) {
            munmap(start_, size_);
        }
    }

    char* text() const { return text_; }

private:
    static constexpr std::size_t CHUNK = 1 << 22;

    // The last chunk holds NULs.
    bool map_chunks(char character) {
        const int file = memfd_create("text", 0);
        bool mapped = file >= 0 && ftruncate(file, CHUNK) == 0;
        const std::size_t last = size_ - CHUNK;
        for (std::size_t at = 0; mapped && at < last; at += CHUNK) {
            mapped = mmap(start_ + at, CHUNK, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file,
                          0) != MAP_FAILED;
        }
        close(file);
        if (!mapped || mprotect(start_ + last, CHUNK, PROT_READ | PROT_WRITE) != 0) {
            return false;
        }
        std::memset(start_, character, CHUNK);
        return true;
    }

    const std::size_t size_;
    char* start_ = nullptr;
    char* text_ = nullptr;
};

// A text whose encoded form is three times as long is refused, with the largest size there is.
void expect_too_long(std::size_t length) {
    if (SANITIZED) {
        GTEST_SKIP() << "takes too long under a sanitizer";
    }
    const LongText text(length, '%');
    if (text.text() == nullptr) {
        GTEST_SKIP() << "no room for a text of " << length << " characters";
    }
    const CharacterEncoder encoder("");
    ASSERT_EQ(encoder.encode(text.text(), nullptr, 0, '%'), -INT_MAX);
    ASSERT_EQ(encoder.encode(text.text(), text.text(), INT_MAX, '%'), -INT_MAX);
    EXPECT_EQ(std::string(text.text(), 3), "%%%");
}

} // namespace

TEST(LongTexts, AreRefusedWhenAnIntDoesNotHoldTheirSize) { expect_too_long(715827883); }

TEST(LongTexts, AreRefusedWhen32BitsDoNotHoldTheirSize) { expect_too_long(1431655766); }

// Threads

namespace {

constexpr int THREADS = 4;

// Runs `work` on every thread, all at once.
template <class Work>
void run_together(Work work) {
    std::atomic<int> missing{THREADS};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&missing, work] {
            --missing;
            while (missing != 0) {
                std::this_thread::yield();
            }
            work();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

TEST(CharacterEncoderThreads, ShareAnEncoder) {
    const CharacterEncoder encoder("%:/");
    std::atomic<int> damaged{0};
    run_together([&] {
        for (int turn = 0; turn < 5000; ++turn) {
            std::string text = "a:b/c%d";
            char buffer[32];
            const bool good = encoder.encoded_size(text) == 14 &&
                              encoder.encode(text) == "a%3ab%2fc%25d" &&
                              encoder.decode("a%3ab%2fc%25d") == text &&
                              encoder.encode(text.c_str(), buffer, sizeof buffer, '#') == 1 &&
                              std::strcmp(buffer, "a#3ab#2fc#25d") == 0 &&
                              encoder.encode(text, '#') && text == buffer;
            damaged += good ? 0 : 1;
        }
    });
    EXPECT_EQ(damaged, 0);
}

// Each case is a process of its own: this is the first use of the encoders behind the functions.
TEST(CharacterEncoderThreads, UseStaticFunctionsForTheFirstTimeAtOnce) {
    std::atomic<int> damaged{0};
    run_together([&] {
        std::string text = "a\tb";
        char buffer[] = "a\tb\0##";
        const bool good = CharacterEncoder::encode_unprintable(text, '%') && text == "a%09b" &&
                          CharacterEncoder::encode_unprintable(buffer, sizeof buffer, '%') == 1 &&
                          text == buffer &&
                          CharacterEncoder::decode_unprintable(text, '%') == "a\tb" &&
                          CharacterEncoder::encode_vSphereVM_name("a/b") == "a%2fb" &&
                          CharacterEncoder::decode_vSphereVM_name("a%2fb") == "a/b";
        damaged += good ? 0 : 1;
    });
    EXPECT_EQ(damaged, 0);
}

// Allocations

TEST(Allocations, NoneForBuffers) {
    const CharacterEncoder encoder(":");
    char place[4000];
    char other[4000];
    std::memset(place, ':', 1000);
    place[1000] = NUL;
    int sum = 0;
    EXPECT_EQ(allocation::count([&] {
                  sum += encoder.encode(place, nullptr, 0, '%');
                  sum += encoder.encode(place, other, 1, '%');
                  sum += encoder.encode(place, place, sizeof place, '%');
                  sum += CharacterEncoder::decode(place, '%');
                  sum += CharacterEncoder::encode_unprintable(place, sizeof place, ':');
              }),
              0U);
    EXPECT_EQ(sum, -3001 + 4);
}

TEST(Allocations, NoneForSetsAndSizes) {
    const std::string characters(1000, 'a');
    int size = 0;
    EXPECT_EQ(allocation::count([&] {
                  CharacterEncoder encoder(characters);
                  encoder.protect(characters);
                  encoder.protect('b');
                  size = encoder.encoded_size(characters) + encoder.encoded_size(characters, 'c');
              }),
              0U);
    EXPECT_EQ(size, 6002);
}

TEST(Allocations, NoneForDecodingAStringInPlace) {
    std::string text(999, '%');
    EXPECT_EQ(allocation::count([&] { CharacterEncoder::decode(text, '%'); }), 0U);
    EXPECT_EQ(text, std::string(333, NUL));
}

TEST(Allocations, AFailedOneLeavesTheTextAsItWas) {
    const std::string before = std::string(100, 'a') + "\t/%2f";
    const CharacterEncoder encoder("/");
    std::string text = before;
    text.shrink_to_fit();
    const auto restore = [&] { EXPECT_EQ(text, before); };

    EXPECT_GT(allocation::fail_each([&] { encoder.encode(text, '%'); }, restore), 0U);
    EXPECT_EQ(text, std::string(100, 'a') + "\t%2f%252f");

    text = before;
    text.shrink_to_fit();
    EXPECT_GT(
        allocation::fail_each([&] { CharacterEncoder::encode_unprintable(text, '%'); }, restore),
        0U);
    EXPECT_EQ(text, std::string(100, 'a') + "%09%2f%252f");
}

TEST(Allocations, AFailedOneComesOutOfTheFormsThatReturnAText) {
    const CharacterEncoder encoder("a");
    const std::string text(100, 'a');
    const std::string name = std::string(100, 'a') + "%2f";
    const auto nothing = [] {};
    EXPECT_GT(allocation::fail_each([&] { encoder.encode(text); }, nothing), 0U);
    EXPECT_GT(allocation::fail_each([&] { encoder.decode(text); }, nothing), 0U);
    EXPECT_GT(
        allocation::fail_each([&] { CharacterEncoder::decode_unprintable(text, 'a'); }, nothing),
        0U);
    EXPECT_GT(
        allocation::fail_each([&] { CharacterEncoder::encode_vSphereVM_name(name); }, nothing), 0U);
    EXPECT_GT(
        allocation::fail_each([&] { CharacterEncoder::decode_vSphereVM_name(name); }, nothing), 0U);
    EXPECT_EQ(encoder.encode(text).size(), 300U);
    EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name(name), std::string(100, 'a') + '/');
}

TEST(Allocations, AllAreFreed) {
    const allocation::Watch watch;
    {
        CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
        std::string text(100, ':');
        encoder.encode(encoder.decode(text));
        encoder.encode(text, '%');
        CharacterEncoder::decode(text, '%');
    }
    EXPECT_EQ(watch.live(), 0);
}

// The example of the header

TEST(CharacterEncoderUsage, WorksAsTheHeaderShows) {
    const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    EXPECT_EQ(encoder.encode("a:b"), "a%3ab");
    EXPECT_EQ(encoder.decode("a%3ab"), "a:b");
    std::string line = "two\nlines";
    EXPECT_TRUE(CharacterEncoder::encode_unprintable(line, '%'));
    EXPECT_EQ(line, "two%0alines");
    EXPECT_TRUE(CharacterEncoder::decode(line, '%'));
    EXPECT_EQ(line, "two\nlines");
}
