// Tests of the Base64 wrapper with a codec that does as it is told.
//
//   what                                      cases
//   the calls of encode                       CodecEncode/*
//   the calls of decode                       CodecDecode/*
//   a codec that fails                        CodecEncode/*, CodecDecode/*, StringEncode.*
//   a codec that throws or tells nonsense     CodecEncode/*, CodecDecode/*

#include "../../SharedLibraries/nuriccl/tests/support/allocation.hpp"

#include <nuriagent/base64.hpp>
#include <nuriccl/Base64Wrapper.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace base64 {

Base64& Base64::GetInstance() {
    static Base64 instance;
    return instance;
}

unsigned long long Base64::Encode(const void* source, unsigned long long length, char* destination,
                                  unsigned long long size, Results* results) {
    const char* const bytes = static_cast<const char*>(source);
    return answer({true, {bytes, bytes + length}, destination != nullptr, size, {}}, destination,
                  results);
}

unsigned long long Base64::Decode(const char* source, unsigned long long length, void* destination,
                                  unsigned long long size, Results* results) {
    return answer({false, {source, source + length}, destination != nullptr, size, {}},
                  static_cast<char*>(destination), results);
}

unsigned long long Base64::answer(Call call, char* place, Results* results) {
    if (place != nullptr) {
        call.place.assign(place, static_cast<std::size_t>(call.size));
    }
    const std::size_t room = call.place.size();
    calls.push_back(std::move(call));
    if (answers.empty()) {
        ADD_FAILURE() << "a call too many";
        results->status = 2;
        return 0;
    }
    const Answer answer = answers.front();
    answers.pop_front();
    if (answer.before_it) {
        answer.before_it();
    }
    if (place != nullptr) {
        std::memcpy(place, answer.written.data(), std::min(room, answer.written.size()));
    }
    results->status = answer.status;
    return answer.count;
}

} // namespace base64

namespace {

using base64::Answer;
using nuriccl::Base64Wrapper;

using Bytes = std::vector<char>;

constexpr int DONE = 0;
constexpr int SIZE_REPORTED = 1;
constexpr int MALFORMED = 2;

constexpr unsigned long long LARGEST = std::numeric_limits<unsigned long long>::max();

const std::string BEFORE = "what stood in the output before";

std::string text_of(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }
const std::string& text_of(const std::string& text) { return text; }

Answer size_of(unsigned long long count) { return {SIZE_REPORTED, count}; }

Answer writes(const std::string& text, int status = DONE) { return {status, text.size(), text}; }

template <class Exception>
Answer throws(Exception exception) {
    return {DONE, 0, {}, [exception] { throw exception; }};
}

// One call of the wrapper with the answers that its calls of the codec get.
template <class Container>
class Codec : public ::testing::Test {
protected:
    static constexpr bool IS_STRING = std::is_same_v<Container, std::string>;

    static Container held(const std::string& text) { return Container(text.begin(), text.end()); }

    bool encode(const std::string& input, std::vector<Answer> answers,
                Base64Wrapper::EncodingVariant variant = Base64Wrapper::standard) {
        expect(std::move(answers));
        return Base64Wrapper::encode(held(input), output, variant);
    }

    bool decode(const std::string& input, std::vector<Answer> answers) {
        expect(std::move(answers));
        return Base64Wrapper::decode(held(input), output);
    }

    const std::vector<base64::Call>& calls() const { return codec.calls; }

    std::string out() const { return text_of(output); }

    Container output;
    base64::Base64& codec = base64::Base64::GetInstance();

private:
    void expect(std::vector<Answer> answers) {
        output = held(BEFORE);
        codec.calls.clear();
        codec.answers.assign(answers.begin(), answers.end());
    }
};

using Containers = ::testing::Types<Bytes, std::string>;

template <class Container>
class CodecEncode : public Codec<Container> {};
TYPED_TEST_SUITE(CodecEncode, Containers);

template <class Container>
class CodecDecode : public Codec<Container> {};
TYPED_TEST_SUITE(CodecDecode, Containers);

class StringEncode : public Codec<std::string> {};

// What a codec may throw.
std::vector<Answer> all_throws() {
    return {throws(std::bad_alloc()), throws(std::runtime_error("broken")),
            throws(Base64Wrapper::encode_failure()), throws(5)};
}

} // namespace

// The calls

TYPED_TEST(CodecEncode, AsksForTheSizeAndThenForTheText) {
    EXPECT_TRUE(this->encode("ab\xff", {size_of(6), writes("uvwxyz")}));
    EXPECT_EQ(this->out(), "uvwxyz");
    ASSERT_EQ(this->calls().size(), 2U);
    for (const base64::Call& call : this->calls()) {
        EXPECT_TRUE(call.encodes);
        EXPECT_EQ(call.source, "ab\xff");
    }
    EXPECT_FALSE(this->calls()[0].has_place);
    EXPECT_EQ(this->calls()[0].size, 0U);
    EXPECT_TRUE(this->calls()[1].has_place);
    EXPECT_EQ(this->calls()[1].size, 6U);
    EXPECT_EQ(this->calls()[1].place, std::string(6, '\0'));
}

TYPED_TEST(CodecDecode, AsksForTheSizeAndThenForTheBytes) {
    EXPECT_TRUE(this->decode("ab=*", {size_of(3), writes(std::string("\0\xffx", 3))}));
    EXPECT_EQ(this->out(), std::string("\0\xffx", 3));
    ASSERT_EQ(this->calls().size(), 2U);
    for (const base64::Call& call : this->calls()) {
        EXPECT_FALSE(call.encodes);
        EXPECT_EQ(call.source, "ab=*");
    }
    EXPECT_FALSE(this->calls()[0].has_place);
    EXPECT_EQ(this->calls()[0].size, 0U);
    EXPECT_TRUE(this->calls()[1].has_place);
    EXPECT_EQ(this->calls()[1].size, 3U);
}

TYPED_TEST(CodecDecode, GetsTheStandardAlphabetAtBothCalls) {
    EXPECT_TRUE(this->decode("-_+/-_=*", {size_of(1), writes("x")}));
    ASSERT_EQ(this->calls().size(), 2U);
    EXPECT_EQ(this->calls()[0].source, "+/+/+/=*");
    EXPECT_EQ(this->calls()[1].source, "+/+/+/=*");
}

// A null place would be asked for the size once more.
TYPED_TEST(CodecEncode, GetsAPlaceForNoCharacters) {
    EXPECT_TRUE(this->encode("", {size_of(0), writes("")}));
    EXPECT_EQ(this->out(), "");
    ASSERT_EQ(this->calls().size(), 2U);
    EXPECT_TRUE(this->calls()[1].has_place);
    EXPECT_EQ(this->calls()[1].size, 0U);
}

TYPED_TEST(CodecDecode, GetsAPlaceForNoBytes) {
    EXPECT_TRUE(this->decode("", {size_of(0), writes("")}));
    EXPECT_EQ(this->out(), "");
    ASSERT_EQ(this->calls().size(), 2U);
    EXPECT_TRUE(this->calls()[1].has_place);
    EXPECT_EQ(this->calls()[1].size, 0U);
}

TYPED_TEST(CodecEncode, CutsTheTextToTheCountThatIsReturned) {
    EXPECT_TRUE(this->encode("a", {size_of(8), writes("abc")}));
    EXPECT_EQ(this->out(), "abc");
    EXPECT_TRUE(this->encode("a", {size_of(100), writes("")}));
    EXPECT_EQ(this->out(), "");
}

TYPED_TEST(CodecDecode, CutsTheBytesToTheCountThatIsReturned) {
    EXPECT_TRUE(this->decode("a", {size_of(8), writes("abc")}));
    EXPECT_EQ(this->out(), "abc");
    EXPECT_TRUE(this->decode("a", {size_of(100), writes("")}));
    EXPECT_EQ(this->out(), "");
}

TYPED_TEST(CodecEncode, ReplacesCharactersOfTheCodecInTheUrlSafeVariantOnly) {
    EXPECT_TRUE(this->encode("a", {size_of(8), writes("+/=+/-_*")}));
    EXPECT_EQ(this->out(), "+/=+/-_*");
    EXPECT_TRUE(this->encode("a", {size_of(8), writes("+/=+/-_*")}, Base64Wrapper::url_safe));
    EXPECT_EQ(this->out(), "-_=-_-_*");
}

TYPED_TEST(CodecDecode, ReplacesNothingInTheBytes) {
    EXPECT_TRUE(this->decode("-_", {size_of(4), writes("+/-_")}));
    EXPECT_EQ(this->out(), "+/-_");
}

// A codec that fails

TYPED_TEST(CodecEncode, FailsWhenTheSizeIsNotReported) {
    for (const int status : {DONE, MALFORMED, 3, -1}) {
        EXPECT_FALSE(this->encode("abc", {{status, 4}})) << status;
        EXPECT_EQ(this->calls().size(), 1U);
        EXPECT_EQ(this->out(), this->IS_STRING ? BEFORE : "") << status;
    }
}

TYPED_TEST(CodecDecode, FailsWhenTheSizeIsNotReported) {
    for (const int status : {DONE, MALFORMED, 3, -1}) {
        EXPECT_FALSE(this->decode("abc-", {{status, 4}})) << status;
        EXPECT_EQ(this->calls().size(), 1U);
        EXPECT_TRUE(!this->IS_STRING || this->out() == BEFORE) << status;
    }
}

TYPED_TEST(CodecEncode, FailsWhenTheTextIsNotDone) {
    for (const int status : {SIZE_REPORTED, MALFORMED, 3, -1}) {
        for (const auto variant : {Base64Wrapper::standard, Base64Wrapper::url_safe}) {
            EXPECT_FALSE(this->encode("abc", {size_of(4), writes("ab", status)}, variant));
            EXPECT_EQ(this->calls().size(), 2U);
        }
    }
}

TYPED_TEST(CodecDecode, FailsWhenTheBytesAreNotDone) {
    for (const int status : {SIZE_REPORTED, MALFORMED, 3, -1}) {
        EXPECT_FALSE(this->decode("abc", {size_of(4), writes("ab", status)}));
        EXPECT_FALSE(this->decode("-_", {size_of(4), writes("ab", status)}));
        EXPECT_EQ(this->calls().size(), 2U);
    }
}

TEST_F(StringEncode, LeavesWhatTheCodecWroteBeforeItFailed) {
    EXPECT_FALSE(encode("abc", {size_of(4), writes("x+", MALFORMED)}));
    EXPECT_EQ(output, "x+");
    EXPECT_FALSE(encode("abc", {size_of(4), writes("x+/=", MALFORMED)}, Base64Wrapper::url_safe));
    EXPECT_EQ(output, "x+/=");
    EXPECT_FALSE(encode("abc", {size_of(4), writes("", MALFORMED)}));
    EXPECT_EQ(output, "");
}

// The codec writes into fresh zeros: what it counts and did not write is nothing of the earlier
// output.
TEST_F(StringEncode, LeavesZerosWhereAFailedCodecWroteNothing) {
    EXPECT_FALSE(encode("abc", {size_of(8), {MALFORMED, 4, "x"}}));
    EXPECT_EQ(output, std::string("x\0\0\0", 4));
    EXPECT_FALSE(encode("abc", {size_of(8), {MALFORMED, 8, ""}}));
    EXPECT_EQ(output, std::string(8, '\0'));
    EXPECT_TRUE(encode("abc", {size_of(8), {DONE, 3, ""}}));
    EXPECT_EQ(output, std::string(3, '\0'));
}

TEST_F(StringEncode, InPlaceLeavesWhatTheCodecWroteBeforeItFailed) {
    output = "abc";
    codec.calls.clear();
    codec.answers = {size_of(4), writes("xy", MALFORMED)};
    EXPECT_FALSE(Base64Wrapper::encode(output, output));
    EXPECT_EQ(output, "xy");
    EXPECT_EQ(calls()[1].source, "abc");
}

// A codec that throws

TYPED_TEST(CodecEncode, FailsWhenTheCodecThrows) {
    for (const Answer& thrown : all_throws()) {
        EXPECT_FALSE(this->encode("abc", {thrown}));
        EXPECT_EQ(this->out(), this->IS_STRING ? BEFORE : "");
        EXPECT_FALSE(this->encode("abc", {size_of(4), thrown}));
        EXPECT_EQ(this->calls().size(), 2U);
    }
}

TYPED_TEST(CodecDecode, FailsWhenTheCodecThrows) {
    for (const Answer& thrown : all_throws()) {
        EXPECT_FALSE(this->decode("abc", {thrown}));
        EXPECT_TRUE(!this->IS_STRING || this->out() == BEFORE);
        EXPECT_FALSE(this->decode("abc", {size_of(4), thrown}));
        EXPECT_EQ(this->calls().size(), 2U);
    }
}

// Sizes that cannot be

TYPED_TEST(CodecEncode, FailsOnASizeThatNothingCanHave) {
    for (const unsigned long long size :
         {LARGEST, LARGEST / 2 + 1, this->output.max_size() + 1ULL, 0ULL + allocation::LIMIT + 1}) {
        EXPECT_FALSE(this->encode("abc", {size_of(size)})) << size;
        EXPECT_EQ(this->calls().size(), 1U);
        EXPECT_TRUE(!this->IS_STRING || this->out() == BEFORE) << size;
    }
}

TYPED_TEST(CodecDecode, FailsOnASizeThatNothingCanHave) {
    for (const unsigned long long size :
         {LARGEST, LARGEST / 2 + 1, this->output.max_size() + 1ULL, 0ULL + allocation::LIMIT + 1}) {
        EXPECT_FALSE(this->decode("abc", {size_of(size)})) << size;
        EXPECT_EQ(this->calls().size(), 1U);
        EXPECT_TRUE(!this->IS_STRING || this->out() == BEFORE) << size;
    }
}

// A size whose low 32 bits are small must not be taken for them.
TYPED_TEST(CodecEncode, FailsOnASizeBeyond32BitsThatLooksSmall) {
    EXPECT_FALSE(this->encode("abc", {size_of(0x100000004ULL)}));
    EXPECT_EQ(this->calls().size(), 1U);
    EXPECT_FALSE(this->decode("abcd", {size_of(0x100000003ULL)}));
    EXPECT_EQ(this->calls().size(), 1U);
}

// A count beyond the size that was reported must not be believed.
TYPED_TEST(CodecEncode, ReadsNoFurtherThanThePlace) {
    for (const unsigned long long count : {5ULL, 1000ULL, 0x100000004ULL, LARGEST}) {
        if (this->encode("abc", {size_of(4), {DONE, count, "wxyz"}})) {
            EXPECT_EQ(this->out(), "wxyz") << count;
        }
        if (this->decode("abc", {size_of(4), {DONE, count, "wxyz"}})) {
            EXPECT_EQ(this->out(), "wxyz") << count;
        }
        EXPECT_FALSE(this->encode("abc", {size_of(4), {MALFORMED, count, "wxyz"}}));
        EXPECT_FALSE(this->decode("abc", {size_of(4), {MALFORMED, count, "wxyz"}}));
    }
}
