// Tests of the Base64 codec against the published vectors and a plain model.
//
//   public member                        cases
//   base64::Base64::GetInstance          Base64Instance.*
//   base64::Base64::Encode               Base64Encode.*
//   base64::Base64::Decode               Base64Decode.*, Base64Malformed.*
//   Encode and Decode                    Base64Model.*, Base64Vectors.*
//   base64::Results                      Base64Results.*
//   the example of the header            Base64Usage.*

#include "../../nuriccl/tests/support/base64_model.hpp"
#include "../../nuriccl/tests/support/guarded.hpp"
#include "../../nuriccl/tests/support/texts.hpp"

#include <nuriagent/base64.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using base64_model::DIGITS;

constexpr int DONE = 0;
constexpr int SIZE_REPORTED = 1;
constexpr int MALFORMED = 2;

constexpr unsigned long long LARGEST = std::numeric_limits<unsigned long long>::max();

base64::Base64& codec() { return base64::Base64::GetInstance(); }

// What a call reported, and what stands in the place that it was given.
struct Outcome {
    int status;
    unsigned long long count;
    std::string place;

    bool operator==(const Outcome& other) const {
        return status == other.status && count == other.count && place == other.place;
    }
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << "status " << outcome.status << ", count " << outcome.count << ", place "
            << ::testing::PrintToString(outcome.place);
}

constexpr char UNTOUCHED = '#';

// Encodes into `size` bytes; around them there are others, which must stay. `place` is what is in
// them afterwards.
Outcome encode(const std::string& bytes, std::size_t size) {
    std::string space(size + 16, UNTOUCHED);
    base64::Results results{77};
    const unsigned long long count =
        codec().Encode(bytes.data(), bytes.size(), &space[8], size, &results);
    EXPECT_EQ(space.substr(0, 8) + space.substr(8 + size), std::string(16, UNTOUCHED));
    return {results.status, count, space.substr(8, size)};
}

Outcome decode(const std::string& text, std::size_t size) {
    std::string space(size + 16, UNTOUCHED);
    base64::Results results{77};
    const unsigned long long count =
        codec().Decode(text.data(), text.size(), &space[8], size, &results);
    EXPECT_EQ(space.substr(0, 8) + space.substr(8 + size), std::string(16, UNTOUCHED));
    return {results.status, count, space.substr(8, size)};
}

Outcome encode_nowhere(const std::string& bytes, unsigned long long size) {
    base64::Results results{77};
    const unsigned long long count =
        codec().Encode(bytes.data(), bytes.size(), nullptr, size, &results);
    return {results.status, count, ""};
}

Outcome decode_nowhere(const std::string& text, unsigned long long size) {
    base64::Results results{77};
    const unsigned long long count =
        codec().Decode(text.data(), text.size(), nullptr, size, &results);
    return {results.status, count, ""};
}

Outcome done(const std::string& text, std::size_t size) {
    return {DONE, text.size(), text + std::string(size - text.size(), UNTOUCHED)};
}

Outcome size_reported(unsigned long long count, std::size_t size = 0) {
    return {SIZE_REPORTED, count, std::string(size, UNTOUCHED)};
}

Outcome malformed(std::size_t size = 0) { return {MALFORMED, 0, std::string(size, UNTOUCHED)}; }

// Every way to ask for the bytes of a text, against the model.
void expect_decoding_like_model(const std::string& text) {
    const std::optional<std::string> bytes = base64_model::decode(text);
    const std::size_t room = text.size() + 4;
    const Outcome is = decode(text, room);
    ASSERT_EQ(is, bytes ? done(*bytes, room) : malformed(room)) << ::testing::PrintToString(text);
    ASSERT_EQ(decode_nowhere(text, 0), bytes ? size_reported(bytes->size()) : malformed())
        << ::testing::PrintToString(text);
    if (bytes && !bytes->empty()) {
        const std::size_t short_room = bytes->size() - 1;
        ASSERT_EQ(decode(text, short_room), size_reported(bytes->size(), short_room));
    } else if (!bytes) {
        ASSERT_EQ(decode(text, 1), malformed(1)) << ::testing::PrintToString(text);
    }
}

std::string random_bytes(std::mt19937& engine, std::size_t length) {
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(engine()); });
    return bytes;
}

// Bytes in both directions, with room for exactly what there is to write.
void expect_round_trip(const std::string& bytes) {
    const std::string text = base64_model::encode(bytes);
    ASSERT_EQ(encode(bytes, text.size()), done(text, text.size()));
    ASSERT_EQ(decode(text, bytes.size()), done(bytes, bytes.size()));
}

} // namespace

TEST(Base64Instance, IsOneForTheProcess) {
    EXPECT_EQ(&base64::Base64::GetInstance(), &base64::Base64::GetInstance());
    EXPECT_TRUE((std::is_same_v<decltype(base64::Base64::GetInstance()), base64::Base64&>));
    EXPECT_FALSE(std::is_copy_constructible_v<base64::Base64>);
    EXPECT_FALSE(std::is_copy_assignable_v<base64::Base64>);
    EXPECT_FALSE(std::is_default_constructible_v<base64::Base64>);
}

TEST(Base64Results, HaveAStatusWithThreeValues) {
    EXPECT_TRUE((std::is_same_v<decltype(base64::Results::status), int>));
    EXPECT_EQ(base64::Results{5}.status, 5);
    EXPECT_EQ(base64::Results::DONE, 0);
    EXPECT_EQ(base64::Results::SIZE_REPORTED, 1);
    EXPECT_EQ(base64::Results::MALFORMED, 2);
}

// RFC 4648, section 10.
TEST(Base64Vectors, ArePublishedOnes) {
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(encode(bytes, 10), done(text, 10)) << bytes;
        EXPECT_EQ(decode(text, 10), done(bytes, 10)) << text;
        EXPECT_EQ(base64_model::encode(bytes), text);
        EXPECT_EQ(base64_model::decode(text), bytes);
    }
}

TEST(Base64Vectors, HaveEveryDigitInOrder) {
    std::string bytes;
    for (std::size_t first = 0; first < 64; first += 4) {
        const std::size_t group = first << 18 | (first + 1) << 12 | (first + 2) << 6 | (first + 3);
        for (const int shift : {16, 8, 0}) {
            bytes += static_cast<char>(group >> shift & 0xFF);
        }
    }
    const std::string text = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    EXPECT_EQ(encode(bytes, 64), done(text, 64));
    EXPECT_EQ(decode(text, 48), done(bytes, 48));
}

TEST(Base64Vectors, TakeBytesOfEveryValue) {
    EXPECT_EQ(encode(std::string(3, '\0'), 4), done("AAAA", 4));
    EXPECT_EQ(encode(std::string(3, '\xff'), 4), done("////", 4));
    EXPECT_EQ(encode("\xfb\xef\xbe", 4), done("++++", 4));
    EXPECT_EQ(encode("\xff", 4), done("/w==", 4));
    EXPECT_EQ(encode(std::string(1, '\0'), 4), done("AA==", 4));
    EXPECT_EQ(encode("\xfb\xf0", 4), done("+/A=", 4));
    EXPECT_EQ(decode("AAAA", 3), done(std::string(3, '\0'), 3));
    EXPECT_EQ(decode("////", 3), done("\xff\xff\xff", 3));
}

TEST(Base64Encode, ReportsTheSizeForANullPlace) {
    for (std::size_t length = 0; length <= 12; ++length) {
        const unsigned long long needed = (length + 2) / 3 * 4;
        for (const unsigned long long size : {0ULL, needed, LARGEST}) {
            EXPECT_EQ(encode_nowhere(std::string(length, 'x'), size), size_reported(needed));
        }
    }
}

TEST(Base64Encode, ReportsTheSizeForEveryPlaceThatIsTooSmall) {
    for (std::size_t length = 1; length <= 9; ++length) {
        const std::size_t needed = (length + 2) / 3 * 4;
        for (std::size_t size = 0; size < needed; ++size) {
            EXPECT_EQ(encode(std::string(length, 'x'), size), size_reported(needed, size));
        }
    }
}

TEST(Base64Encode, WritesNoMoreThanItCounts) {
    for (const std::size_t size : {8U, 9U, 11U, 12U, 100U}) {
        EXPECT_EQ(encode("foob", size), done("Zm9vYg==", size));
    }
    char place[12];
    std::memset(place, UNTOUCHED, sizeof place);
    base64::Results results{77};
    EXPECT_EQ(codec().Encode("foob", 4, place, LARGEST, &results), 8U);
    EXPECT_EQ(results.status, DONE);
    EXPECT_EQ(std::string(place, sizeof place), "Zm9vYg==####");
}

TEST(Base64Encode, HasNothingToWriteForNoBytes) {
    EXPECT_EQ(encode("", 0), done("", 0));
    EXPECT_EQ(encode("", 5), done("", 5));
    EXPECT_EQ(encode_nowhere("", 0), size_reported(0));
    EXPECT_EQ(encode_nowhere("", 5), size_reported(0));
}

TEST(Base64Encode, TakesANullSourceForNoBytes) {
    base64::Results results{77};
    char place = UNTOUCHED;
    EXPECT_EQ(codec().Encode(nullptr, 0, &place, 1, &results), 0U);
    EXPECT_EQ(results.status, DONE);
    results.status = 77;
    EXPECT_EQ(codec().Encode(nullptr, 3, &place, 1, &results), 0U);
    EXPECT_EQ(results.status, DONE);
    results.status = 77;
    EXPECT_EQ(codec().Encode(nullptr, 3, nullptr, 0, &results), 0U);
    EXPECT_EQ(results.status, SIZE_REPORTED);
    EXPECT_EQ(place, UNTOUCHED);
}

TEST(Base64Encode, NeedsNoResults) {
    char place[] = "####";
    EXPECT_EQ(codec().Encode("f", 1, nullptr, 0, nullptr), 4U);
    EXPECT_EQ(codec().Encode("f", 1, place, 3, nullptr), 4U);
    EXPECT_STREQ(place, "####");
    EXPECT_EQ(codec().Encode("f", 1, place, 4, nullptr), 4U);
    EXPECT_STREQ(place, "Zg==");
}

TEST(Base64Encode, NeverThrows) {
    EXPECT_TRUE(noexcept(base64::Base64::GetInstance().Encode("", 0, nullptr, 0, nullptr)));
    EXPECT_TRUE(noexcept(base64::Base64::GetInstance().Decode("", 0, nullptr, 0, nullptr)));
}

// Reads and writes end where the memory ends.
TEST(Base64Encode, StaysInItsMemory) {
    for (std::size_t length = 0; length <= 20; ++length) {
        const std::string bytes(length, '\xa5');
        const std::string text = base64_model::encode(bytes);
        const guarded::Text<char> source(bytes);
        const guarded::Text<char> place(std::string(text.size(), UNTOUCHED));
        base64::Results results{77};
        EXPECT_EQ(codec().Encode(source.data(), length, place.data(), text.size(), &results),
                  text.size());
        EXPECT_EQ(results.status, DONE);
        EXPECT_EQ(std::string(place.data(), text.size()), text);

        const guarded::Text<char> back(std::string(length, UNTOUCHED));
        EXPECT_EQ(codec().Decode(place.data(), text.size(), back.data(), length, &results), length);
        EXPECT_EQ(results.status, DONE);
        EXPECT_EQ(std::string(back.data(), length), bytes);
    }
}

TEST(Base64Decode, ReportsTheSizeForANullPlace) {
    const std::pair<const char*, unsigned long long> texts[] = {
        {"", 0}, {"Zg==", 1}, {"Zm8=", 2}, {"Zm9v", 3}, {"Zm9vYg==", 4}, {"Zm9vYmFy", 6},
    };
    for (const auto& [text, needed] : texts) {
        for (const unsigned long long size : {0ULL, needed, LARGEST}) {
            EXPECT_EQ(decode_nowhere(text, size), size_reported(needed)) << text;
        }
    }
}

TEST(Base64Decode, ReportsTheSizeForEveryPlaceThatIsTooSmall) {
    for (std::size_t length = 1; length <= 9; ++length) {
        const std::string text = base64_model::encode(std::string(length, 'x'));
        for (std::size_t size = 0; size < length; ++size) {
            EXPECT_EQ(decode(text, size), size_reported(length, size));
        }
    }
}

TEST(Base64Decode, WritesNoMoreThanItCounts) {
    for (const std::size_t size : {4U, 5U, 6U, 100U}) {
        EXPECT_EQ(decode("Zm9vYg==", size), done("foob", size));
    }
    char place[8];
    std::memset(place, UNTOUCHED, sizeof place);
    base64::Results results{77};
    EXPECT_EQ(codec().Decode("Zm9vYg==", 8, place, LARGEST, &results), 4U);
    EXPECT_EQ(results.status, DONE);
    EXPECT_EQ(std::string(place, sizeof place), "foob####");
}

TEST(Base64Decode, HasNothingToWriteForNoText) {
    EXPECT_EQ(decode("", 0), done("", 0));
    EXPECT_EQ(decode("", 5), done("", 5));
    EXPECT_EQ(decode_nowhere("", 0), size_reported(0));
}

TEST(Base64Decode, TakesANullSourceForNoText) {
    base64::Results results{77};
    char place = UNTOUCHED;
    for (const unsigned long long length : {0, 3, 4}) {
        EXPECT_EQ(codec().Decode(nullptr, length, &place, 1, &results), 0U);
        EXPECT_EQ(results.status, DONE);
        EXPECT_EQ(codec().Decode(nullptr, length, nullptr, 0, &results), 0U);
        EXPECT_EQ(results.status, SIZE_REPORTED);
    }
    EXPECT_EQ(place, UNTOUCHED);
}

TEST(Base64Decode, NeedsNoResults) {
    char place[] = "####";
    EXPECT_EQ(codec().Decode("Zm9v", 4, nullptr, 0, nullptr), 3U);
    EXPECT_EQ(codec().Decode("Zm9v", 4, place, 2, nullptr), 3U);
    EXPECT_EQ(codec().Decode("Zm9", 3, place, 4, nullptr), 0U);
    EXPECT_STREQ(place, "####");
    EXPECT_EQ(codec().Decode("Zm9v", 4, place, 4, nullptr), 3U);
    EXPECT_STREQ(place, "foo#");
}

// All last digits in front of the padding, those with bits that no byte has room for included.
TEST(Base64Decode, TakesAnyUnusedBits) {
    for (std::size_t a = 0; a < 64; ++a) {
        for (std::size_t b = 0; b < 64; ++b) {
            const std::string one{static_cast<char>(a << 2 | b >> 4)};
            const std::string text{DIGITS[a], DIGITS[b], '=', '='};
            ASSERT_EQ(decode(text, 1), done(one, 1)) << text;

            const std::string two{static_cast<char>(0xFC | a >> 4),
                                  static_cast<char>((a & 15) << 4 | b >> 2)};
            const std::string longer{'/', DIGITS[a], DIGITS[b], '='};
            ASSERT_EQ(decode(longer, 2), done(two, 2)) << longer;
        }
    }
}

TEST(Base64Malformed, LengthsThatAreNoMultipleOf4) {
    for (std::size_t length = 0; length <= 40; ++length) {
        const std::string text(length, 'A');
        if (length % 4 != 0) {
            EXPECT_EQ(decode(text, 100), malformed(100)) << length;
            EXPECT_EQ(decode_nowhere(text, 0), malformed()) << length;
        } else {
            EXPECT_EQ(decode(text, 30), done(std::string(length / 4 * 3, '\0'), 30)) << length;
        }
    }
}

// Each byte at each place of two groups.
TEST(Base64Malformed, CharactersOutsideTheAlphabet) {
    for (const char c : texts::all_bytes()) {
        for (std::size_t place = 0; place < 8; ++place) {
            std::string text = "ABCDEFGH";
            text[place] = c;
            const bool is_digit = DIGITS.find(c) != std::string::npos;
            const bool is_padding = c == '=' && place == 7;
            ASSERT_EQ(decode(text, 10).status, is_digit || is_padding ? DONE : MALFORMED) << text;
            expect_decoding_like_model(text);
        }
    }
}

TEST(Base64Malformed, TheUrlSafeAlphabet) {
    EXPECT_EQ(decode("+/+/", 3).status, DONE);
    EXPECT_EQ(decode("-_-_", 3), malformed(3));
    EXPECT_EQ(decode("AAA-", 3), malformed(3));
    EXPECT_EQ(decode("_AAA", 3), malformed(3));
}

TEST(Base64Malformed, LineBreaksAndBlanks) {
    for (const char* const text : {"Zm9v\nYmFy", "Zm9v\r\nYm", "Zm9vYmF\n", " m9v", "Zm 9", "Zm9 ",
                                   "Zm9vYmE=\n\n\n\n", "\n\n\n\n"}) {
        EXPECT_EQ(decode(text, 20), malformed(20)) << text;
    }
}

TEST(Base64Malformed, PaddingInTheWrongPlaces) {
    for (const char* const text :
         {"====", "=AAA", "A===", "A=AA", "AA=A", "=A==", "A=A=", "==AA", "===A", "AA==AA==",
          "AAA=AAAA", "AAAA====", "AAAAA===", "AAAA=AAA", "Zg=", "Zg", "Zg===", "Zg===="}) {
        EXPECT_EQ(decode(text, 20), malformed(20)) << text;
        EXPECT_EQ(decode_nowhere(text, 20), malformed()) << text;
    }
}

// What is malformed at the end of a long text must not be found out while it is written.
TEST(Base64Malformed, NothingIsWrittenInFrontOfTheFault) {
    std::string text = base64_model::encode(std::string(3000, 'x'));
    for (const std::size_t place : {std::size_t{0}, text.size() / 2, text.size() - 1}) {
        std::string damaged = text;
        damaged[place] = '*';
        EXPECT_EQ(decode(damaged, 3000), malformed(3000)) << place;
        EXPECT_EQ(decode(damaged, 10), malformed(10)) << place;
        EXPECT_EQ(decode_nowhere(damaged, 0), malformed()) << place;
    }
}

TEST(Base64Malformed, IsReadNoFurtherThanItsEnd) {
    for (const std::string& text : texts::over<std::string>("A=*", 5)) {
        const guarded::Text<char> source(text);
        base64::Results results{77};
        const unsigned long long count =
            codec().Decode(source.data(), text.size(), nullptr, 0, &results);
        const std::optional<std::string> expected = base64_model::decode(text);
        EXPECT_EQ(results.status, expected ? SIZE_REPORTED : MALFORMED) << text;
        EXPECT_EQ(count, expected ? expected->size() : 0) << text;
    }
}

// Every text of up to eight of a digit, the padding and a stranger, and of up to five of more of
// them.
TEST(Base64Model, AgreesOnShortTexts) {
    for (const std::string& text : texts::over<std::string>("/=*", 8)) {
        expect_decoding_like_model(text);
        ASSERT_FALSE(HasFailure());
    }
    for (const std::string& text : texts::over<std::string>(std::string("A9+=-\0\n\xc1", 8), 5)) {
        expect_decoding_like_model(text);
        ASSERT_FALSE(HasFailure());
    }
}

// Each pair of bytes where digits and padding meet.
TEST(Base64Model, AgreesOnEveryEnd) {
    const std::string bytes = texts::all_bytes();
    for (const char a : bytes) {
        for (const char b : bytes) {
            const std::string text{'Z', 'm', a, b};
            const std::optional<std::string> expected = base64_model::decode(text);
            ASSERT_EQ(decode(text, 3), expected ? done(*expected, 3) : malformed(3))
                << ::testing::PrintToString(text);
        }
    }
}

TEST(Base64Model, AgreesOnEveryPairOfBytes) {
    const std::string bytes = texts::all_bytes();
    for (const char a : bytes) {
        expect_round_trip(std::string{a});
        for (const char b : bytes) {
            expect_round_trip(std::string{a, b});
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(Base64Model, AgreesOnEveryByteAtEveryPlace) {
    for (const char c : texts::all_bytes()) {
        for (std::size_t place = 0; place < 3; ++place) {
            for (const char other : {'\0', '\xff', 'x'}) {
                std::string bytes(3, other);
                bytes[place] = c;
                expect_round_trip(bytes);
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

TEST(Base64Model, AgreesOnEveryLength) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    for (std::size_t length = 0; length <= 200; ++length) {
        expect_round_trip(random_bytes(engine, length));
        ASSERT_FALSE(HasFailure());
    }
    for (int round = 0; round < 20; ++round) {
        expect_round_trip(random_bytes(engine, engine() % 20000));
        ASSERT_FALSE(HasFailure());
    }
}

// Characters of a text changed, taken away and added at random.
TEST(Base64Model, AgreesOnDamagedTexts) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    for (int round = 0; round < 20000; ++round) {
        std::string text = base64_model::encode(random_bytes(engine, 1 + engine() % 60));
        const std::size_t place = engine() % text.size();
        const std::string characters("A/=-*\0\n", 7);
        const char c = characters[engine() % characters.size()];
        switch (engine() % 4) {
        case 0:
            text[place] = c;
            break;
        case 1:
            text.erase(place, 1 + engine() % 4);
            break;
        case 2:
            text.insert(place, 1, c);
            break;
        default:
            text.insert(place, 4, c);
            break;
        }
        expect_decoding_like_model(text);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Base64Model, AgreesOnALongText) {
    std::mt19937 engine(7);
    const std::string bytes = random_bytes(engine, 3000001);
    const std::size_t length = 4000004;
    const Outcome encoded = encode(bytes, length);
    EXPECT_EQ(encoded.status, DONE);
    EXPECT_EQ(encoded.count, length);
    EXPECT_EQ(encoded.place.substr(length - 8), base64_model::encode(bytes.substr(2999997)));
    EXPECT_TRUE(decode(encoded.place, bytes.size()) == done(bytes, bytes.size()));
}

TEST(Base64Usage, WorksAsTheHeaderShows) {
    base64::Results results;
    char text[8];
    const unsigned long long size =
        base64::Base64::GetInstance().Encode("tapes", 5, text, sizeof text, &results);
    EXPECT_EQ(results.status, base64::Results::DONE);
    EXPECT_EQ(size, 8U);
    EXPECT_EQ(std::memcmp(text, "dGFwZXM=", 8), 0);
}
