// Signature: SHA-1 digests of whatever can be signed.
//
//   SIGNATURE_SIZE, STRING_SIGNATURE_SIZE   SignatureConstants
//   Signature(), ~Signature(), update(),
//     close(), to_binary(), to_string()     SignatureLifeCycle, SignatureOutOfMemory
//   hexify()                                SignatureHexify
//   free_binary() (both)                    SignatureFreeBinary
//   binary() and of() with
//     nothing, bytes, narrow text           SignatureOfBytes
//     wide text                             SignatureOfWideText
//     SignableObject (both)                 SignatureOfObject
//     std::istream                          SignatureOfStream
//
// Digests that no standard lists were made with sha1sum.

#include "support/allocation.hpp"

#include <nuriccl/signature.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <istream>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::Signature;

constexpr std::size_t CHUNK = 0x100000;

const std::string EMPTY = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
const std::string ABC = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string WIDE_ABC = "f930a2079c45dd97608325d73a24335cefa1846e";

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned int size_of(const std::string& text) { return static_cast<unsigned int>(text.size()); }

// The hexadecimal digits of a binary signature, which it releases.
std::string released(unsigned char* binary) {
    if (binary == nullptr) {
        return "null";
    }
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < 20; ++i) {
        text += digits[binary[i] / 16];
        text += digits[binary[i] % 16];
    }
    Signature::free_binary(binary);
    return text;
}

// The first `size` bytes of 0, 1 ... 250, 0, 1 ...
std::string pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i % 251);
    }
    return text;
}

// Constants

TEST(SignatureConstants, AreArrayBoundsAndObjects) {
    unsigned char binary[Signature::SIGNATURE_SIZE];
    char text[Signature::STRING_SIGNATURE_SIZE];
    EXPECT_EQ(sizeof binary, 20u);
    EXPECT_EQ(sizeof text, 40u);
    const unsigned int* const size = &Signature::SIGNATURE_SIZE;
    const unsigned int* const text_size = &Signature::STRING_SIGNATURE_SIZE;
    EXPECT_EQ(*size, 20u);
    EXPECT_EQ(*text_size, 40u);
    EXPECT_EQ(std::min(Signature::SIGNATURE_SIZE, Signature::STRING_SIGNATURE_SIZE), 20u);
}

// Life cycle

static_assert(std::has_virtual_destructor_v<Signature>);
static_assert(!std::is_copy_constructible_v<Signature> && !std::is_copy_assignable_v<Signature>);
static_assert(!std::is_move_constructible_v<Signature> && !std::is_move_assignable_v<Signature>);

TEST(SignatureLifeCycle, OpenSignatureHasNothingToRead) {
    const allocation::Watch watch;
    Signature signature;
    EXPECT_EQ(signature.to_binary(), nullptr);
    EXPECT_EQ(signature.to_string(), "");
    signature.update(bytes_of("abc"), 3);
    EXPECT_EQ(signature.to_binary(), nullptr);
    EXPECT_EQ(signature.to_string(), "");
    EXPECT_EQ(watch.requests(), 0u);
}

TEST(SignatureLifeCycle, ClosedSignatureGivesTheDigest) {
    Signature signature;
    signature.update(bytes_of("abc"), 3);
    signature.close();
    EXPECT_EQ(signature.to_string(), ABC);
    EXPECT_EQ(released(signature.to_binary()), ABC);
    EXPECT_EQ(signature.to_string(), ABC);
}

TEST(SignatureLifeCycle, WithoutUpdatesItIsTheDigestOfNothing) {
    Signature signature;
    EXPECT_EQ(signature.close().to_string(), EMPTY);
}

TEST(SignatureLifeCycle, UpdateAndCloseReturnTheObject) {
    Signature signature;
    EXPECT_EQ(&signature.update(bytes_of("abc"), 3), &signature);
    EXPECT_EQ(&signature.close(), &signature);
    EXPECT_EQ(&signature.update(bytes_of("abc"), 3), &signature);
    EXPECT_EQ(&signature.close(), &signature);
}

TEST(SignatureLifeCycle, UpdatesAddUpHoweverTheBytesAreCut) {
    const std::string text = pattern(130);
    const std::string whole = Signature::of(text);
    for (unsigned int cut = 0; cut <= 130; ++cut) {
        Signature signature;
        signature.update(bytes_of(text), cut).update(bytes_of(text) + cut, 130 - cut).close();
        EXPECT_EQ(signature.to_string(), whole);
    }
    Signature by_bytes;
    for (unsigned int i = 0; i < 130; ++i) {
        by_bytes.update(bytes_of(text) + i, 1);
    }
    EXPECT_EQ(by_bytes.close().to_string(), whole);
}

TEST(SignatureLifeCycle, UpdateWithNullAddsNothing) {
    Signature signature;
    signature.update(nullptr, 0).update(bytes_of("abc"), 3).update(nullptr, 0);
    signature.update(nullptr, 5).update(bytes_of("abc"), 0);
    EXPECT_EQ(signature.close().to_string(), ABC);
}

TEST(SignatureLifeCycle, UpdateAfterCloseIsIgnored) {
    Signature signature;
    signature.update(bytes_of("abc"), 3).close();
    unsigned char before[sizeof(Signature)];
    std::memcpy(before, static_cast<const void*>(&signature), sizeof before);
    signature.update(bytes_of("def"), 3).update(nullptr, 0);
    EXPECT_EQ(std::memcmp(before, static_cast<const void*>(&signature), sizeof before), 0);
    EXPECT_EQ(signature.to_string(), ABC);
    signature.close();
    EXPECT_EQ(signature.to_string(), ABC);
}

TEST(SignatureLifeCycle, SecondCloseChangesNothing) {
    Signature signature;
    signature.update(bytes_of("abc"), 3).close();
    const allocation::Watch watch;
    signature.close();
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(signature.to_string(), ABC);
}

TEST(SignatureLifeCycle, DigestIsAnArrayThatGoesWithTheObject) {
    const allocation::Watch watch;
    {
        Signature signature;
        EXPECT_EQ(watch.requests(), 0u);
        signature.close();
        EXPECT_EQ(watch.requests(), 1u);
        EXPECT_EQ(watch.size(0), 20u);
        EXPECT_FALSE(watch.freed(0));
    }
    EXPECT_TRUE(watch.freed(0));
    EXPECT_EQ(watch.mismatches(), 0u);
}

TEST(SignatureLifeCycle, EachBinaryIsAnArrayOfItsOwn) {
    Signature signature;
    signature.update(bytes_of("abc"), 3).close();
    const allocation::Watch watch;
    unsigned char* const first = signature.to_binary();
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(watch.size(0), 20u);
    unsigned char* const second = signature.to_binary();
    EXPECT_NE(first, second);
    first[0] = static_cast<unsigned char>(first[0] + 1);
    EXPECT_EQ(released(second), ABC);
    EXPECT_EQ(signature.to_string(), ABC);
    Signature::free_binary(first);
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
}

TEST(SignatureLifeCycle, ToStringReleasesWhatItMakes) {
    Signature signature;
    signature.close();
    const allocation::Watch watch;
    { const std::string text = signature.to_string(); }
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
}

TEST(SignatureLifeCycle, HoldsFlagContextAndDigestInThatOrder) {
    struct Members {
        const void* virtual_table;
        std::uint32_t closed;
        sha1_context context;
        const unsigned char* digest;
    };
    static_assert(sizeof(Signature) == sizeof(Members));
    const allocation::Watch watch;
    Signature signature;
    Members members;
    std::memcpy(&members, static_cast<const void*>(&signature), sizeof members);
    EXPECT_EQ(members.closed, 0u);
    EXPECT_EQ(members.digest, nullptr);
    signature.close();
    std::memcpy(&members, static_cast<const void*>(&signature), sizeof members);
    EXPECT_EQ(members.closed, 1u);
    EXPECT_EQ(members.digest, watch.place(0));
}

TEST(SignatureLifeCycle, IsDestroyedThroughAPointerToItsBase) {
    class Derived : public Signature {
    public:
        explicit Derived(bool& destroyed) : destroyed_(destroyed) {}
        ~Derived() override { destroyed_ = true; }

    private:
        bool& destroyed_;
    };
    bool destroyed = false;
    const allocation::Watch watch;
    std::unique_ptr<Signature> signature = std::make_unique<Derived>(destroyed);
    signature->close();
    signature.reset();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(watch.live(), 0);
}

// Hexadecimal form

TEST(SignatureHexify, GivesTwoLowerCaseDigitsForEachOfTwentyBytes) {
    for (unsigned int first = 0; first < 256; first += 19) {
        unsigned char binary[21];
        std::string expected;
        for (unsigned int i = 0; i < 21; ++i) {
            binary[i] = static_cast<unsigned char>(first + i);
            static const char digits[] = "0123456789abcdef";
            if (i < 20) {
                expected += digits[binary[i] / 16];
                expected += digits[binary[i] % 16];
            }
        }
        EXPECT_EQ(Signature::hexify(binary), expected);
    }
}

TEST(SignatureHexify, KeepsZeroBytesAndLeadingZeros) {
    unsigned char binary[20] = {};
    EXPECT_EQ(Signature::hexify(binary), std::string(40, '0'));
    binary[0] = 0x0a;
    binary[19] = 0xf0;
    EXPECT_EQ(Signature::hexify(binary), "0a" + std::string(36, '0') + "f0");
    std::fill(std::begin(binary), std::end(binary), static_cast<unsigned char>(0xff));
    EXPECT_EQ(Signature::hexify(binary), std::string(40, 'f'));
}

// Releasing binary signatures

TEST(SignatureFreeBinary, ReleasesAnArray) {
    unsigned char* const binary = Signature::binary();
    const allocation::Watch watch;
    Signature::free_binary(binary);
    EXPECT_EQ(watch.live(), -1);
    Signature::free_binary(static_cast<unsigned char*>(nullptr));
    EXPECT_EQ(watch.live(), -1);
}

TEST(SignatureFreeBinary, ReleasesAHeldArrayAndSetsThePointerToNull) {
    const allocation::Watch watch;
    unsigned char* binary = Signature::binary();
    ASSERT_NE(binary, nullptr);
    Signature::free_binary(&binary);
    EXPECT_EQ(binary, nullptr);
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
    Signature::free_binary(&binary);
    EXPECT_EQ(binary, nullptr);
    Signature::free_binary(static_cast<unsigned char**>(nullptr));
    EXPECT_EQ(watch.live(), 0);
}

// Bytes and narrow text

// The signature of `text` by every form that takes narrow text or bytes, when they agree.
std::string of_every_form(const std::string& text) {
    const unsigned int size = size_of(text);
    std::vector<std::string> all = {
        Signature::of(bytes_of(text), size),
        Signature::of(text.data(), size),
        Signature::of(text),
        released(Signature::binary(bytes_of(text), size)),
        released(Signature::binary(text.data(), size)),
        released(Signature::binary(text)),
    };
    std::istringstream stream(text);
    all.push_back(Signature::of(stream));
    std::istringstream again(text);
    all.push_back(released(Signature::binary(again)));
    const bool agree = std::all_of(all.begin(), all.end(),
                                   [&](const std::string& one) { return one == all.front(); });
    return agree ? all.front() : "they differ";
}

TEST(SignatureOfBytes, OfNothingIsTheDigestOfEmptyInput) {
    const unsigned char* const no_bytes = nullptr;
    const char* const no_text = nullptr;
    EXPECT_EQ(Signature::of(), EMPTY);
    EXPECT_EQ(released(Signature::binary()), EMPTY);
    EXPECT_EQ(Signature::of(no_bytes, 0), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_bytes, 0)), EMPTY);
    EXPECT_EQ(Signature::of(no_text, 0), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_text, 0)), EMPTY);
    EXPECT_EQ(of_every_form(""), EMPTY);
}

TEST(SignatureOfBytes, OfANullPointerIsTheDigestOfEmptyInputWhateverTheCount) {
    const unsigned char* const no_bytes = nullptr;
    const char* const no_text = nullptr;
    EXPECT_EQ(Signature::of(no_bytes, 5), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_bytes, 5)), EMPTY);
    EXPECT_EQ(Signature::of(no_text, 5), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_text, 5)), EMPTY);
}

TEST(SignatureOfBytes, GivesThePublishedValues) {
    EXPECT_EQ(of_every_form("abc"), ABC);
    EXPECT_EQ(of_every_form("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(of_every_form("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                            "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu"),
              "a49b2446a02c645bf419f995b67091253a04a259");
    EXPECT_EQ(of_every_form(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(SignatureOfBytes, PadsRightAroundABlock) {
    EXPECT_EQ(of_every_form(std::string(55, 'a')), "c1c8bbdc22796e28c0e15163d20899b65621d65a");
    EXPECT_EQ(of_every_form(std::string(56, 'a')), "c2db330f6083854c99d4b5bfb6e8f29f201be699");
    EXPECT_EQ(of_every_form(std::string(63, 'a')), "03f09f5b158a7a8cdad920bddc29b81c18a551f5");
    EXPECT_EQ(of_every_form(std::string(64, 'a')), "0098ba824b5c16427bd7a1122a5a442a25ec644d");
    EXPECT_EQ(of_every_form(std::string(65, 'a')), "11655326c708d70319be2610e8a57d9a5b959d3b");
}

TEST(SignatureOfBytes, TakesBytesOfAnyValue) {
    EXPECT_EQ(of_every_form(std::string("a\0b", 3)), "4a3dec2d1f8245280855c42db0ee4239f917fdb8");
    EXPECT_EQ(of_every_form(std::string("\xff\0\x80", 3)),
              "5b101b10a702a5f4c07341f584b73626276251ac");
}

TEST(SignatureOfBytes, ReadsNoMoreThanTheCount) {
    EXPECT_EQ(Signature::of("abcdef", 3), ABC);
    EXPECT_EQ(released(Signature::binary("abcdef", 3)), ABC);
    EXPECT_EQ(Signature::of(bytes_of("abcdef"), 3), ABC);
}

TEST(SignatureOfBytes, BinaryIsANewArrayOfTwentyBytes) {
    const allocation::Watch watch;
    unsigned char* const binary = Signature::binary(bytes_of("abc"), 3);
    EXPECT_EQ(watch.live(), 1);
    Signature::free_binary(binary);
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
}

// Wide text

TEST(SignatureOfWideText, SignsTheFourBytesOfEachCharacterAsInMemory) {
    static_assert(sizeof(wchar_t) == 4);
    const std::string memory("a\0\0\0b\0\0\0c\0\0\0", 12);
    EXPECT_EQ(Signature::of(memory), WIDE_ABC);
    EXPECT_EQ(Signature::of(L"abc", 3), WIDE_ABC);
    EXPECT_EQ(released(Signature::binary(L"abc", 3)), WIDE_ABC);
    EXPECT_EQ(Signature::of(std::wstring(L"abc")), WIDE_ABC);
    EXPECT_EQ(released(Signature::binary(std::wstring(L"abc"))), WIDE_ABC);
    EXPECT_NE(WIDE_ABC, ABC);
}

TEST(SignatureOfWideText, ConvertsNothing) {
    // The units 0x1f600, 0xe4 and 0.
    const std::wstring text(L"\U0001f600\u00e4\0", 3);
    const std::string expected = "1b817aed56af5f06e6e59c79c51e20a3ec77d8df";
    EXPECT_EQ(Signature::of(text), expected);
    EXPECT_EQ(released(Signature::binary(text)), expected);
    EXPECT_EQ(Signature::of(text.data(), 3), expected);
    EXPECT_EQ(released(Signature::binary(text.data(), 3)), expected);
}

TEST(SignatureOfWideText, CountsCharacters) {
    EXPECT_EQ(Signature::of(L"abcdef", 3), WIDE_ABC);
    const std::wstring text(1000, L'x');
    const std::string memory(reinterpret_cast<const char*>(text.data()), 4000);
    EXPECT_EQ(Signature::of(text), Signature::of(memory));
}

TEST(SignatureOfWideText, OfNothingIsTheDigestOfEmptyInput) {
    const wchar_t* const no_text = nullptr;
    EXPECT_EQ(Signature::of(no_text, 0), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_text, 0)), EMPTY);
    EXPECT_EQ(Signature::of(no_text, 5), EMPTY);
    EXPECT_EQ(released(Signature::binary(no_text, 5)), EMPTY);
    EXPECT_EQ(Signature::of(std::wstring()), EMPTY);
    EXPECT_EQ(released(Signature::binary(std::wstring())), EMPTY);
}

// Signable objects

static_assert(std::has_virtual_destructor_v<Signature::SignableObject>);
static_assert(std::is_abstract_v<Signature::SignableObject>);

class Signable : public Signature::SignableObject {
public:
    unsigned char* binary_signature() override {
        ++asked;
        last = new unsigned char[20];
        for (unsigned int i = 0; i < 20; ++i) {
            last[i] = static_cast<unsigned char>(0xA0 + i);
        }
        return last;
    }

    int asked = 0;
    unsigned char* last = nullptr;
};

const char SIGNABLE[] = "a0a1a2a3a4a5a6a7a8a9aaabacadaeafb0b1b2b3";

TEST(SignatureOfObject, BinaryIsWhatTheObjectGives) {
    Signable object;
    const allocation::Watch watch;
    unsigned char* binary = Signature::binary(&object);
    EXPECT_EQ(binary, object.last);
    EXPECT_EQ(object.asked, 1);
    EXPECT_EQ(watch.live(), 1);
    EXPECT_EQ(released(binary), SIGNABLE);

    binary = Signature::binary(object);
    EXPECT_EQ(binary, object.last);
    EXPECT_EQ(object.asked, 2);
    EXPECT_EQ(released(binary), SIGNABLE);
    EXPECT_EQ(watch.live(), 0);
}

TEST(SignatureOfObject, StringIsThatOfTheBinaryWhichIsReleased) {
    Signable object;
    const allocation::Watch watch;
    EXPECT_EQ(Signature::of(&object), SIGNABLE);
    EXPECT_EQ(object.asked, 1);
    EXPECT_TRUE(watch.freed(0));
    EXPECT_EQ(Signature::of(object), SIGNABLE);
    EXPECT_EQ(object.asked, 2);
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
}

TEST(SignatureOfObject, OfNullIsTheDigestOfEmptyInput) {
    Signature::SignableObject* const none = nullptr;
    EXPECT_EQ(Signature::of(none), EMPTY);
    EXPECT_EQ(released(Signature::binary(none)), EMPTY);
}

TEST(SignatureOfObject, PassesOnWhatTheObjectThrows) {
    class Unsignable : public Signature::SignableObject {
    public:
        unsigned char* binary_signature() override { throw std::runtime_error("not now"); }
    } object;
    EXPECT_THROW(Signature::of(object), std::runtime_error);
    EXPECT_THROW(Signature::binary(&object), std::runtime_error);
}

TEST(SignatureOfObject, IsDestroyedThroughAPointerToTheInterface) {
    const allocation::Watch watch;
    std::unique_ptr<Signature::SignableObject> object = std::make_unique<Signable>();
    object.reset();
    EXPECT_EQ(watch.live(), 0);
}

// Streams

// The bytes of `pattern`, made as they are read, and the sizes that were asked for. May throw in
// place of the read number `failing_read`, counted from 0.
class Source : public std::streambuf {
public:
    explicit Source(std::size_t size, std::function<void()> fail = {}, std::size_t failing_read = 0)
        : left_(size), fail_(std::move(fail)), failing_read_(failing_read) {}

    const std::vector<std::streamsize>& asked() const { return asked_; }

protected:
    std::streamsize xsgetn(char* to, std::streamsize size) override {
        asked_.push_back(size);
        if (fail_ && asked_.size() - 1 == failing_read_) {
            fail_();
        }
        const std::size_t count = std::min(left_, static_cast<std::size_t>(size));
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = static_cast<char>(next_);
            next_ = next_ == 250 ? 0 : next_ + 1;
        }
        left_ -= count;
        return static_cast<std::streamsize>(count);
    }

private:
    std::size_t left_;
    unsigned int next_ = 0;
    std::function<void()> fail_;
    std::size_t failing_read_;
    std::vector<std::streamsize> asked_;
};

TEST(SignatureOfStream, IsTheDigestOfAllItsBytesReadInChunks) {
    const struct {
        std::size_t size;
        const char* digest;
        std::size_t reads;
    } cases[] = {
        {0, "da39a3ee5e6b4b0d3255bfef95601890afd80709", 1},
        {1, "5ba93c9db0cff93f52b521d7420e43f6eda2784f", 1},
        {CHUNK - 1, "36df010095f6ce6255efb0845c915b992d257a02", 1},
        {CHUNK, "c2fc4cb20f1301a6b0dd211c19e69a13925dbe40", 2}, // the second finds the end
        {CHUNK + 1, "ffbc30b06f6bd51da52f9640804c9d0c4f6e2af2", 2},
        {2 * CHUNK + CHUNK / 2, "d08b7e21afb7bc45b7bc7e265d812094252a14ac", 3},
    };
    for (const auto& [size, digest, reads] : cases) {
        SCOPED_TRACE(size);
        Source source(size);
        std::istream stream(&source);
        EXPECT_EQ(Signature::of(stream), digest);
        EXPECT_EQ(source.asked(), std::vector<std::streamsize>(reads, CHUNK));
        EXPECT_TRUE(stream.eof());
        EXPECT_FALSE(stream.bad());

        Source again(size);
        std::istream binary_stream(&again);
        EXPECT_EQ(released(Signature::binary(binary_stream)), digest);
        EXPECT_EQ(Signature::of(pattern(size)), digest);
    }
}

TEST(SignatureOfStream, StartsAtThePositionAndEndsAtTheEnd) {
    std::istringstream stream(pattern(1000));
    stream.seekg(7);
    EXPECT_EQ(Signature::of(stream), "ed3a0f8e6a01d98891b9d0638995086ea38f6269");
    EXPECT_TRUE(stream.eof());
    stream.clear();
    EXPECT_EQ(stream.tellg(), std::streampos(1000));
    EXPECT_EQ(Signature::of(stream), EMPTY) << "it is not rewound";
}

TEST(SignatureOfStream, NeedsOneChunkHoweverLongTheStreamIs) {
    for (const std::size_t size : {std::size_t{0}, CHUNK, 8 * CHUNK + 5}) {
        Source source(size);
        std::istream stream(&source);
        const allocation::Watch watch;
        unsigned char* const binary = Signature::binary(stream);
        std::size_t chunks = 0;
        for (std::size_t i = 0; i < std::min<std::size_t>(watch.requests(), 64); ++i) {
            if (watch.size(i) == CHUNK) {
                ++chunks;
                EXPECT_TRUE(watch.freed(i));
            }
        }
        EXPECT_EQ(chunks, 1u);
        EXPECT_LT(watch.bytes(), CHUNK + 4096);
        EXPECT_EQ(watch.mismatches(), 0u);
        Signature::free_binary(binary);
    }
}

TEST(SignatureOfStream, AtItsEndOrBadIsTheDigestOfEmptyInputWithoutReading) {
    for (const std::ios_base::iostate state : {std::ios_base::eofbit, std::ios_base::badbit,
                                               std::ios_base::eofbit | std::ios_base::failbit,
                                               std::ios_base::badbit | std::ios_base::failbit,
                                               std::ios_base::eofbit | std::ios_base::badbit}) {
        Source source(100);
        std::istream stream(&source);
        stream.setstate(state);
        const allocation::Watch watch;
        EXPECT_EQ(Signature::of(stream), EMPTY);
        EXPECT_EQ(released(Signature::binary(stream)), EMPTY);
        EXPECT_LT(watch.bytes(), CHUNK);
        EXPECT_TRUE(source.asked().empty());
        EXPECT_EQ(stream.rdstate(), state);
    }
    std::istream without_buffer(nullptr);
    EXPECT_EQ(Signature::of(without_buffer), EMPTY);
}

TEST(SignatureOfStream, ThatHasFailedIsNotRead) {
    Source source(100);
    std::istream stream(&source);
    stream.setstate(std::ios_base::failbit);
    EXPECT_EQ(Signature::of(stream), EMPTY);
    EXPECT_EQ(released(Signature::binary(stream)), EMPTY);
    EXPECT_TRUE(source.asked().empty());
}

TEST(SignatureOfStream, ThatThrowsIsTheDigestOfEmptyInput) {
    const std::function<void()> failures[] = {
        [] { throw std::runtime_error("unreadable"); },
        [] { throw std::bad_alloc(); },
        [] { throw 42; },
    };
    for (const std::size_t failing_read : {0, 1, 2}) {
        for (const auto& fail : failures) {
            Source source(2 * CHUNK + 5, fail, failing_read);
            std::istream stream(&source);
            stream.exceptions(std::ios_base::badbit); // lets what the buffer throws through
            const allocation::Watch watch;
            unsigned char* const binary = Signature::binary(stream);
            EXPECT_EQ(released(binary), EMPTY);
            EXPECT_EQ(source.asked().size(), failing_read + 1);

            Source again(2 * CHUNK + 5, fail, failing_read);
            std::istream string_stream(&again);
            string_stream.exceptions(std::ios_base::badbit);
            EXPECT_EQ(Signature::of(string_stream), EMPTY);
        }
    }
}

TEST(SignatureOfStream, ThatGoesBadWithoutThrowingIsTheDigestOfWhatWasRead) {
    const std::string digests[] = {EMPTY, Signature::of(pattern(CHUNK)),
                                   Signature::of(pattern(2 * CHUNK))};
    for (const std::size_t failing_read : {0, 1, 2}) {
        Source source(
            2 * CHUNK + 5, [] { throw std::runtime_error("unreadable"); }, failing_read);
        std::istream stream(&source); // keeps what its buffer throws to itself
        EXPECT_EQ(Signature::of(stream), digests[failing_read]);
        EXPECT_TRUE(stream.bad());
    }
}

TEST(SignatureOfStream, ThatThrowsAtItsEndIsTheDigestOfEmptyInput) {
    for (const std::ios_base::iostate throwing : {std::ios_base::eofbit, std::ios_base::failbit,
                                                  std::ios_base::eofbit | std::ios_base::failbit}) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{5}, CHUNK, CHUNK + 5}) {
            Source source(size);
            std::istream stream(&source);
            stream.exceptions(throwing);
            EXPECT_EQ(Signature::of(stream), EMPTY);
        }
    }
}

TEST(SignatureOfStream, ThatThrowsWhenBadIsReadAsAnyOther) {
    Source source(CHUNK + 1);
    std::istream stream(&source);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_EQ(Signature::of(stream), "ffbc30b06f6bd51da52f9640804c9d0c4f6e2af2");
}

// Failing allocations

TEST(SignatureOutOfMemory, CloseLeavesTheSignatureOpen) {
    Signature signature;
    signature.update(bytes_of("ab"), 2);
    EXPECT_TRUE(allocation::fails_at(0, [&] { signature.close(); }));
    EXPECT_EQ(signature.to_string(), "");
    EXPECT_EQ(signature.to_binary(), nullptr);
    signature.update(bytes_of("c"), 1).close();
    EXPECT_EQ(signature.to_string(), ABC);
}

TEST(SignatureOutOfMemory, ReadingPassesOnAndLeavesTheSignatureAsItWas) {
    Signature signature;
    signature.update(bytes_of("abc"), 3).close();
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [&] { signature.to_binary(); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { signature.to_string(); }));
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(signature.to_string(), ABC);
}

TEST(SignatureOutOfMemory, HexifyPassesOn) {
    unsigned char binary[20] = {};
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [&] { Signature::hexify(binary); }));
    EXPECT_EQ(watch.live(), 0);
}

TEST(SignatureOutOfMemory, OneCallFormsPassOnAndLeaveNothingBehind) {
    Signable object;
    Signature::SignableObject* const none = nullptr;
    const std::wstring wide = L"abc";
    const std::string narrow = "abc";
    const std::function<std::string()> calls[] = {
        [&] { return Signature::of(bytes_of(narrow), 3); },
        [&] { return Signature::of(); },
        [&] { return Signature::of(none); },
        [&] { return Signature::of(&object); },
        [&] { return Signature::of(object); },
        [&] { return Signature::of(narrow.data(), 3); },
        [&] { return Signature::of(narrow); },
        [&] { return Signature::of(wide.data(), 3); },
        [&] { return Signature::of(wide); },
        [&] { return released(Signature::binary(bytes_of(narrow), 3)); },
        [&] { return released(Signature::binary()); },
        [&] { return released(Signature::binary(none)); },
        [&] { return released(Signature::binary(narrow.data(), 3)); },
        [&] { return released(Signature::binary(narrow)); },
        [&] { return released(Signature::binary(wide.data(), 3)); },
        [&] { return released(Signature::binary(wide)); },
    };
    for (const auto& call : calls) {
        const allocation::Watch watch;
        EXPECT_TRUE(allocation::fails_at(0, [&] { call(); }));
        EXPECT_EQ(watch.live(), 0);
        EXPECT_EQ(watch.mismatches(), 0u);
    }
}

TEST(SignatureOutOfMemory, StringOfAnObjectReleasesItsSignature) {
    Signable object;
    const allocation::Watch watch; // the first allocation is the signature, the second its text
    EXPECT_TRUE(allocation::fails_at(1, [&] { Signature::of(&object); }));
    EXPECT_EQ(object.asked, 1);
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(watch.mismatches(), 0u);
}

TEST(SignatureOutOfMemory, StreamWithoutAChunkIsTheDigestOfEmptyInput) {
    Source source(100);
    std::istream stream(&source);
    const allocation::Watch watch;
    unsigned char* binary = nullptr;
    EXPECT_FALSE(allocation::fails_at(0, [&] { binary = Signature::binary(stream); }));
    EXPECT_EQ(watch.size(0), CHUNK);
    EXPECT_EQ(released(binary), EMPTY);
    EXPECT_TRUE(source.asked().empty());
}

TEST(SignatureOutOfMemory, StreamLeavesNothingBehind) {
    const std::string text = pattern(100);
    const std::string digest = Signature::of(text);
    for (std::size_t failing = 0; failing < 8; ++failing) {
        std::istringstream stream(text);
        bool whole = false;
        bool empty = false;
        const allocation::Watch watch;
        const bool failed = allocation::fails_at(failing, [&] {
            const std::string signature = Signature::of(stream);
            whole = signature == digest;
            empty = signature == EMPTY;
        });
        EXPECT_EQ(watch.live(), 0);
        EXPECT_EQ(watch.mismatches(), 0u);
        EXPECT_EQ(empty, failing == 0) << "only a missing chunk makes the stream an empty one";
        EXPECT_EQ(whole, failing != 0 && !failed);
    }
}

} // namespace
