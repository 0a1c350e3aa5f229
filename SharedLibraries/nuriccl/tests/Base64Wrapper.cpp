// Tests of the Base64 encoding and decoding of containers. What a codec that fails does to them is
// tested in tests/codec, with a codec that does.
//
//   public member                             cases
//   encode (four forms), EncodingVariant      Base64WrapperEncode/*
//   decode (two forms)                        Base64WrapperDecode/*
//   encode and decode                         Base64WrapperModel/*, Base64WrapperInPlace.*
//   exception, encode_failure,
//   decode_failure                            Base64WrapperExceptions.*
//   what the header says of allocations       Base64WrapperAllocations/*
//   the example of the header                 Base64WrapperUsage.*

#include "support/allocation.hpp"
#include "support/base64_model.hpp"
#include "support/texts.hpp"

#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/signature.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::Base64Wrapper;

using Bytes = std::vector<char>;

std::string text_of(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }
const std::string& text_of(const std::string& text) { return text; }

std::string url_safe(std::string text) {
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

std::string standard(std::string text) {
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    return text;
}

std::string random_bytes(std::mt19937& engine, std::size_t length) {
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(engine()); });
    return bytes;
}

constexpr char BEFORE[] = "what stood in the output before";

// The tests for both containers, through texts.
template <class Container>
class Wrapper : public ::testing::Test {
protected:
    static Container held(const std::string& text) { return Container(text.begin(), text.end()); }

    // Nothing when it fails.
    static std::optional<std::string> encode(const std::string& bytes) {
        Container output = held(BEFORE);
        const bool encoded = Base64Wrapper::encode(held(bytes), output);
        return encoded ? std::optional<std::string>(text_of(output)) : std::nullopt;
    }

    static std::optional<std::string> encode(const std::string& bytes,
                                             Base64Wrapper::EncodingVariant variant) {
        Container output = held(BEFORE);
        const bool encoded = Base64Wrapper::encode(held(bytes), output, variant);
        return encoded ? std::optional<std::string>(text_of(output)) : std::nullopt;
    }

    static std::optional<std::string> decode(const std::string& text) {
        Container output = held(BEFORE);
        const bool decoded = Base64Wrapper::decode(held(text), output);
        return decoded ? std::optional<std::string>(text_of(output)) : std::nullopt;
    }

    static void expect_round_trip(const std::string& bytes) {
        const std::string text = base64_model::encode(bytes);
        ASSERT_EQ(encode(bytes), text);
        ASSERT_EQ(encode(bytes, Base64Wrapper::standard), text);
        ASSERT_EQ(encode(bytes, Base64Wrapper::url_safe), url_safe(text));
        ASSERT_EQ(decode(text), bytes);
        ASSERT_EQ(decode(url_safe(text)), bytes);
    }

    static void expect_decoding_like_model(const std::string& text) {
        ASSERT_EQ(decode(text), base64_model::decode(standard(text)))
            << ::testing::PrintToString(text);
    }
};

using Containers = ::testing::Types<Bytes, std::string>;

template <class Container>
class Base64WrapperEncode : public Wrapper<Container> {};
TYPED_TEST_SUITE(Base64WrapperEncode, Containers);

template <class Container>
class Base64WrapperDecode : public Wrapper<Container> {};
TYPED_TEST_SUITE(Base64WrapperDecode, Containers);

template <class Container>
class Base64WrapperModel : public Wrapper<Container> {};
TYPED_TEST_SUITE(Base64WrapperModel, Containers);

template <class Container>
class Base64WrapperAllocations : public Wrapper<Container> {};
TYPED_TEST_SUITE(Base64WrapperAllocations, Containers);

} // namespace

// Encoding

TYPED_TEST(Base64WrapperEncode, GivesPaddedText) {
    EXPECT_EQ(this->encode("f"), "Zg==");
    EXPECT_EQ(this->encode("fo"), "Zm8=");
    EXPECT_EQ(this->encode("foo"), "Zm9v");
    EXPECT_EQ(this->encode("foobar"), "Zm9vYmFy");
    EXPECT_EQ(this->encode(std::string(2, '\0')), "AAA=");
}

TYPED_TEST(Base64WrapperEncode, GivesTheStandardAlphabetUnlessTold) {
    EXPECT_EQ(this->encode("\xfb\xff"), "+/8=");
    EXPECT_EQ(this->encode("\xfb\xff", Base64Wrapper::standard), "+/8=");
    EXPECT_EQ(this->encode("\xfb\xff\xbf"), "+/+/");
}

TYPED_TEST(Base64WrapperEncode, GivesTheUrlSafeAlphabetAndKeepsThePadding) {
    EXPECT_EQ(this->encode("\xfb\xff", Base64Wrapper::url_safe), "-_8=");
    EXPECT_EQ(this->encode("\xff", Base64Wrapper::url_safe), "_w==");
    EXPECT_EQ(this->encode("\xfb\xff\xbf", Base64Wrapper::url_safe), "-_-_");
    EXPECT_EQ(this->encode("foo", Base64Wrapper::url_safe), "Zm9v");
}

TYPED_TEST(Base64WrapperEncode, GivesNothingForNothing) {
    EXPECT_EQ(this->encode(""), "");
    EXPECT_EQ(this->encode("", Base64Wrapper::standard), "");
    EXPECT_EQ(this->encode("", Base64Wrapper::url_safe), "");
}

TYPED_TEST(Base64WrapperEncode, BreaksNoLines) {
    EXPECT_EQ(this->encode(std::string(30000, '\0')), std::string(40000, 'A'));
}

// The output may have held anything, much or little.
TYPED_TEST(Base64WrapperEncode, ReplacesWhatStoodInTheOutput) {
    TypeParam output;
    for (const std::size_t length : {0, 1, 50, 3, 1000, 0, 20}) {
        const std::string bytes(length, '\xfe');
        ASSERT_TRUE(Base64Wrapper::encode(this->held(bytes), output));
        ASSERT_EQ(text_of(output), base64_model::encode(bytes));
        ASSERT_TRUE(Base64Wrapper::encode(this->held(bytes), output, Base64Wrapper::url_safe));
        ASSERT_EQ(text_of(output), url_safe(base64_model::encode(bytes)));
    }
}

TYPED_TEST(Base64WrapperEncode, LeavesTheInput) {
    const TypeParam input = this->held("\xfb\xff");
    TypeParam output;
    EXPECT_TRUE(Base64Wrapper::encode(input, output, Base64Wrapper::url_safe));
    EXPECT_EQ(text_of(input), "\xfb\xff");
}

TEST(Base64WrapperVariant, HasItsValues) {
    EXPECT_EQ(Base64Wrapper::standard, 0);
    EXPECT_EQ(Base64Wrapper::url_safe, 1);
}

// Decoding

TYPED_TEST(Base64WrapperDecode, TakesEitherAlphabet) {
    EXPECT_EQ(this->decode("+/8="), "\xfb\xff");
    EXPECT_EQ(this->decode("-_8="), "\xfb\xff");
    EXPECT_EQ(this->decode("Zm9vYg=="), "foob");
}

TYPED_TEST(Base64WrapperDecode, TakesBothAlphabetsInOneText) {
    EXPECT_EQ(this->decode("-/8="), "\xfb\xff");
    EXPECT_EQ(this->decode("+_8="), "\xfb\xff");
    EXPECT_EQ(this->decode("+/-_"), "\xfb\xff\xbf");
    EXPECT_EQ(this->decode("_-/+"), this->decode("/+/+"));
}

TYPED_TEST(Base64WrapperDecode, GivesNothingForNothing) { EXPECT_EQ(this->decode(""), ""); }

TYPED_TEST(Base64WrapperDecode, TakesAnyUnusedBits) {
    EXPECT_EQ(this->decode("Zh=="), "f");
    EXPECT_EQ(this->decode("Z_=="), std::string(1, '\x67'));
    EXPECT_EQ(this->decode("Zm9="), "fo");
    EXPECT_EQ(this->decode("Zm-="), "fo");
}

TYPED_TEST(Base64WrapperDecode, FailsOnMalformedText) {
    for (const char* const text :
         {"Z", "Zg", "Zg=", "Zg===", "====", "Zg==Zg==", "Z=g=", "=Zg=", "Zm9v\n", "Zm 9", "Zm9*",
          "Zm9vYg=\n", "Zg==\n\n\n\n", "Zm9v,Zm9"}) {
        EXPECT_EQ(this->decode(text), std::nullopt) << text;
        EXPECT_EQ(this->decode(std::string("-_-_") + text), std::nullopt) << text;
    }
    EXPECT_EQ(this->decode(std::string("Zg\0=", 4)), std::nullopt);
}

// The codec finds the fault before anything is sized, so that nothing has been touched.
TYPED_TEST(Base64WrapperDecode, LeavesTheOutputWhenTheTextIsMalformed) {
    for (const char* const text : {"Zg=", "-_-_*", "Zm9vYg=*", "-_-*"}) {
        TypeParam output = this->held(BEFORE);
        EXPECT_FALSE(Base64Wrapper::decode(this->held(text), output)) << text;
        EXPECT_EQ(text_of(output), BEFORE) << text;
    }
}

TYPED_TEST(Base64WrapperDecode, ReplacesWhatStoodInTheOutput) {
    TypeParam output;
    for (const std::size_t length : {0, 1, 50, 3, 1000, 0, 20}) {
        const std::string bytes(length, '\xfe');
        ASSERT_TRUE(Base64Wrapper::decode(this->held(base64_model::encode(bytes)), output));
        ASSERT_EQ(text_of(output), bytes);
        ASSERT_TRUE(
            Base64Wrapper::decode(this->held(url_safe(base64_model::encode(bytes))), output));
        ASSERT_EQ(text_of(output), bytes);
    }
}

TYPED_TEST(Base64WrapperDecode, LeavesTheInput) {
    const TypeParam input = this->held("-_-_+/8=");
    TypeParam output;
    EXPECT_TRUE(Base64Wrapper::decode(input, output));
    EXPECT_EQ(text_of(input), "-_-_+/8=");
}

// Both

TYPED_TEST(Base64WrapperModel, AgreesOnEveryLength) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    for (std::size_t length = 0; length <= 200; ++length) {
        this->expect_round_trip(random_bytes(engine, length));
        ASSERT_FALSE(this->HasFailure());
    }
    for (int round = 0; round < 10; ++round) {
        this->expect_round_trip(random_bytes(engine, engine() % 20000));
        ASSERT_FALSE(this->HasFailure());
    }
}

TYPED_TEST(Base64WrapperModel, AgreesOnEveryByte) {
    this->expect_round_trip(texts::all_bytes());
    for (const char c : texts::all_bytes()) {
        for (std::size_t length = 1; length <= 3; ++length) {
            this->expect_round_trip(std::string(length, c));
        }
        ASSERT_FALSE(this->HasFailure());
    }
}

// Every text of up to five of digits of either alphabet, the padding and a stranger.
TYPED_TEST(Base64WrapperModel, AgreesOnShortTexts) {
    for (const std::string& text : texts::over<std::string>("+/-_=*", 5)) {
        this->expect_decoding_like_model(text);
        ASSERT_FALSE(this->HasFailure());
    }
}

TYPED_TEST(Base64WrapperModel, AgreesOnEveryByteAtEveryPlace) {
    for (const char c : texts::all_bytes()) {
        for (std::size_t place = 0; place < 8; ++place) {
            for (std::string text : {"ABCDEFGH", "_BCD-FGH"}) {
                text[place] = c;
                this->expect_decoding_like_model(text);
            }
        }
        ASSERT_FALSE(this->HasFailure());
    }
}

TYPED_TEST(Base64WrapperModel, AgreesOnTextsOfMixedAlphabets) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    const std::string digits = base64_model::DIGITS + "-_++//--__";
    for (int round = 0; round < 3000; ++round) {
        std::string text(engine() % 10 * 4, '\0');
        for (char& c : text) {
            c = digits[engine() % digits.size()];
        }
        text.append(engine() % 3, '=');
        this->expect_decoding_like_model(text);
        ASSERT_FALSE(this->HasFailure());
    }
}

// The output may be the input.

TEST(Base64WrapperInPlace, EncodesAString) {
    for (std::size_t length = 0; length <= 100; ++length) {
        const std::string bytes(length, '\xfb');
        std::string text = bytes;
        EXPECT_TRUE(Base64Wrapper::encode(text, text));
        EXPECT_EQ(text, base64_model::encode(bytes));
        text = bytes;
        EXPECT_TRUE(Base64Wrapper::encode(text, text, Base64Wrapper::url_safe));
        EXPECT_EQ(text, url_safe(base64_model::encode(bytes)));
    }
}

// A vector is cleared before it is read.
TEST(Base64WrapperInPlace, EncodesNothingOfAVector) {
    Bytes bytes{'a', 'b', 'c'};
    EXPECT_TRUE(Base64Wrapper::encode(bytes, bytes));
    EXPECT_EQ(bytes, Bytes{});
    bytes = {'a', 'b', 'c'};
    EXPECT_TRUE(Base64Wrapper::encode(bytes, bytes, Base64Wrapper::url_safe));
    EXPECT_EQ(bytes, Bytes{});
}

TEST(Base64WrapperInPlace, DecodesBoth) {
    for (std::size_t length = 0; length <= 100; ++length) {
        const std::string bytes(length, '\xfb');
        for (const std::string& encoded :
             {base64_model::encode(bytes), url_safe(base64_model::encode(bytes))}) {
            std::string text = encoded;
            EXPECT_TRUE(Base64Wrapper::decode(text, text));
            EXPECT_EQ(text, bytes);
            Bytes vector(encoded.begin(), encoded.end());
            EXPECT_TRUE(Base64Wrapper::decode(vector, vector));
            EXPECT_EQ(text_of(vector), bytes);
        }
    }
}

TEST(Base64WrapperInPlace, LeavesMalformedText) {
    for (const char* const malformed : {"Zg=", "-_-*", "+/8*"}) {
        std::string text = malformed;
        EXPECT_FALSE(Base64Wrapper::decode(text, text));
        EXPECT_EQ(text, malformed);
        Bytes vector(text.begin(), text.end());
        EXPECT_FALSE(Base64Wrapper::decode(vector, vector));
        EXPECT_EQ(text_of(vector), malformed);
    }
}

// Exceptions

namespace {

template <class Exception>
std::string what_of() {
    const Exception exception;
    return static_cast<const std::exception&>(exception).what();
}

// An object of the program that raises a failure while the library calls it.
class Raising : public nuriccl::Signature::SignableObject {
public:
    unsigned char* binary_signature() override { throw Base64Wrapper::decode_failure(); }
};

class Own : public Base64Wrapper::exception {
public:
    Own() : exception("a text of its own") {}
    const char* what() const noexcept override { return "another text"; }
};

} // namespace

TEST(Base64WrapperExceptions, HaveTheirTexts) {
    EXPECT_EQ(what_of<Base64Wrapper::encode_failure>(), "encoding failure");
    EXPECT_EQ(what_of<Base64Wrapper::decode_failure>(), "decoding failure");
    EXPECT_STREQ(Base64Wrapper::exception("any text").what(), "any text");
    EXPECT_STREQ(Base64Wrapper::exception("").what(), "");
}

TEST(Base64WrapperExceptions, FormAHierarchy) {
    EXPECT_TRUE((std::is_base_of_v<std::exception, Base64Wrapper::exception>));
    EXPECT_TRUE((std::is_base_of_v<Base64Wrapper::exception, Base64Wrapper::encode_failure>));
    EXPECT_TRUE((std::is_base_of_v<Base64Wrapper::exception, Base64Wrapper::decode_failure>));
    EXPECT_FALSE((std::is_base_of_v<Base64Wrapper::encode_failure, Base64Wrapper::decode_failure>));
    EXPECT_TRUE(std::has_virtual_destructor_v<Base64Wrapper::exception>);
}

TEST(Base64WrapperExceptions, AreCaughtAsWhatTheyAre) {
    EXPECT_THROW(throw Base64Wrapper::encode_failure(), Base64Wrapper::encode_failure);
    EXPECT_THROW(throw Base64Wrapper::decode_failure(), Base64Wrapper::decode_failure);
    EXPECT_THROW(throw Base64Wrapper::encode_failure(), Base64Wrapper::exception);
    EXPECT_THROW(throw Base64Wrapper::decode_failure(), std::exception);
    try {
        throw Base64Wrapper::encode_failure();
    } catch (const Base64Wrapper::decode_failure&) {
        ADD_FAILURE() << "an encode_failure is no decode_failure";
    } catch (const Base64Wrapper::exception& failure) {
        EXPECT_STREQ(failure.what(), "encoding failure");
    }
}

TEST(Base64WrapperExceptions, PassThroughTheLibrary) {
    Raising object;
    try {
        nuriccl::Signature::of(static_cast<nuriccl::Signature::SignableObject&>(object));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Base64Wrapper::encode_failure&) {
        ADD_FAILURE() << "a decode_failure is no encode_failure";
    } catch (const Base64Wrapper::exception& failure) {
        EXPECT_STREQ(failure.what(), "decoding failure");
        EXPECT_NE(dynamic_cast<const Base64Wrapper::decode_failure*>(&failure), nullptr);
    }
}

TEST(Base64WrapperExceptions, AreCopiedWithTheirTexts) {
    const std::string long_text(100, 'x');
    auto original = std::make_optional<Base64Wrapper::exception>(long_text);
    const Base64Wrapper::exception copy = *original;
    original.reset();
    EXPECT_EQ(copy.what(), long_text);
    Base64Wrapper::exception assigned("other");
    assigned = copy;
    EXPECT_EQ(assigned.what(), long_text);
    const Base64Wrapper::encode_failure failure;
    const Base64Wrapper::encode_failure same = failure;
    EXPECT_STREQ(same.what(), "encoding failure");
}

TEST(Base64WrapperExceptions, MayBeDerivedFrom) {
    const Own own;
    const std::exception& base = own;
    EXPECT_STREQ(base.what(), "another text");
    EXPECT_STREQ(own.exception::what(), "a text of its own");
    EXPECT_THROW(throw Own(), Base64Wrapper::exception);
}

// Failing allocations

namespace {

// Runs the call with its first allocation failing, then its second and so on, until it returns
// true.
template <class Call, class Check>
void expect_false_for_each_failure(Call call, Check check) {
    std::size_t failures = 0;
    for (bool succeeded = false; !succeeded; ++failures) {
        const bool escaped = allocation::fails_at(failures, [&] { succeeded = call(); });
        ASSERT_FALSE(escaped) << failures;
        ASSERT_LT(failures, 100U) << "more than there are allocations";
        if (!succeeded) {
            check();
        }
    }
    EXPECT_GT(failures, 1U);
}

} // namespace

TYPED_TEST(Base64WrapperAllocations, AFailedOneIsAFailureAndNothingElse) {
    const std::string bytes(100, '\xfb');
    const TypeParam input = this->held(bytes);
    const TypeParam text = this->held(base64_model::encode(bytes));
    const TypeParam other_text = this->held(url_safe(base64_model::encode(bytes)));
    const bool is_string = std::is_same_v<TypeParam, std::string>;

    for (const auto variant : {Base64Wrapper::standard, Base64Wrapper::url_safe}) {
        TypeParam output = this->held(BEFORE);
        expect_false_for_each_failure(
            [&] { return Base64Wrapper::encode(input, output, variant); },
            [&] { EXPECT_TRUE(!is_string || text_of(output) == BEFORE) << text_of(output); });
        EXPECT_EQ(output, variant == Base64Wrapper::standard ? text : other_text);
    }
    for (const TypeParam* const encoded : {&text, &other_text}) {
        TypeParam output = this->held(BEFORE);
        expect_false_for_each_failure(
            [&] { return Base64Wrapper::decode(*encoded, output); },
            [&] { EXPECT_TRUE(!is_string || text_of(output) == BEFORE) << text_of(output); });
        EXPECT_EQ(output, input);
    }
}

TYPED_TEST(Base64WrapperAllocations, AFailedOneLeavesTheInput) {
    const std::string bytes(100, '\xfb');
    TypeParam text = this->held(url_safe(base64_model::encode(bytes)));
    const std::string before = text_of(text);
    TypeParam output;
    expect_false_for_each_failure([&] { return Base64Wrapper::decode(text, output); },
                                  [&] { EXPECT_EQ(text_of(text), before); });
    EXPECT_EQ(text_of(text), before);
}

TYPED_TEST(Base64WrapperAllocations, LeakNothing) {
    const std::string bytes(100, '\xfb');
    const TypeParam input = this->held(bytes);
    const TypeParam text = this->held(url_safe(base64_model::encode(bytes)));
    const TypeParam malformed = this->held(url_safe(base64_model::encode(bytes)) + '*');
    const allocation::Watch watch;
    {
        TypeParam output;
        expect_false_for_each_failure(
            [&] { return Base64Wrapper::encode(input, output, Base64Wrapper::url_safe); }, [] {});
        expect_false_for_each_failure([&] { return Base64Wrapper::decode(text, output); }, [] {});
        EXPECT_FALSE(Base64Wrapper::decode(malformed, output));
    }
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0U);
}

TEST(Base64WrapperNoexcept, EveryFormIs) {
    std::string text;
    Bytes bytes;
    EXPECT_TRUE(noexcept(Base64Wrapper::encode(text, text)));
    EXPECT_TRUE(noexcept(Base64Wrapper::encode(text, text, Base64Wrapper::standard)));
    EXPECT_TRUE(noexcept(Base64Wrapper::decode(text, text)));
    EXPECT_TRUE(noexcept(Base64Wrapper::encode(bytes, bytes)));
    EXPECT_TRUE(noexcept(Base64Wrapper::encode(bytes, bytes, Base64Wrapper::standard)));
    EXPECT_TRUE(noexcept(Base64Wrapper::decode(bytes, bytes)));
}

TEST(Base64WrapperUsage, WorksAsTheHeaderShows) {
    std::string text, bytes;
    EXPECT_TRUE(Base64Wrapper::encode("\xfb\xff", text));
    EXPECT_EQ(text, "+/8=");
    EXPECT_TRUE(Base64Wrapper::encode("\xfb\xff", text, Base64Wrapper::url_safe));
    EXPECT_EQ(text, "-_8=");
    EXPECT_TRUE(Base64Wrapper::decode(text, bytes));
    EXPECT_EQ(bytes, "\xfb\xff");
}
