/// @file
/// Sizes at the limits of their types, and texts as long as an agent has to bear.
///
/// | what | cases |
/// |---|---|
/// | lengths around 2^31 and 2^32, by arithmetic | Limits |
/// | the same with as much memory, mapped | HugeMemory |
/// | names of `FilenameHelper::MAX_SUPPORTED_PATH` characters | LongNames |
/// | a million fields, a hundred thousand Buffers | Many |
///
/// With NURICCL_LONG_TESTS set in the environment a stream of 4 GiB and wide text of 2 GiB are
/// signed, too, and 2 GiB formatted.

#include "support/files.hpp"
#include "support/huge.hpp"
#include "support/sanitized.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <list>
#include <map>
#include <nuriagent/base64.hpp>
#include <nuriagent/safe.hpp>
#include <nuriagent/sha1.hpp>
#include <nuriccl/nuriccl.hpp>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

#ifdef NURICCL_LEAK_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using namespace nuriccl;
using base64::Base64;
using base64::Results;

constexpr unsigned int TO_THE_END = 0xFFFFFFFF;
constexpr bool SMALL_POINTERS = sizeof(void*) == 4;
constexpr std::size_t GIB = 0x40000000;

/// Skips what only the long form runs.
#define NURICCL_TEST_TAKES_LONG()                                                                  \
    if (std::getenv("NURICCL_LONG_TESTS") == nullptr) {                                            \
        GTEST_SKIP() << "It takes long; set NURICCL_LONG_TESTS to run it.";                        \
    }

// Digests of zeros, as other programs compute them.
const char OF_2_POW_29_ZEROS[] = "5b088492c9f4778f409b7ae61477dec124c99033"; // 2^32 bits
const char OF_2_POW_31_AND_1_ZEROS[] = "5007e5ebf10d0a9f01aef1c26c066169456d95ea";
const char OF_2_POW_31_AND_4_ZEROS[] = "c972256c733066868e36ece78897e781baafad2d";
const char OF_2_POW_32_ZEROS[] = "1bf99ee9f374e58e201e4dda4f474e570eb77229";

} // namespace

// Arithmetic

#ifdef NURICCL_LEAK_SANITIZER
using WantedLeak = __lsan::ScopedDisabler;
#else
struct WantedLeak {
    ~WantedLeak() {}
};
#endif

// The block of a Buffer is its size and a control block, rounded up to whole control blocks, modulo
// 2^32. What is left of it right after the wrap holds no control block, then nothing but that.
TEST(Limits, SizesOfBuffers) {
    constexpr unsigned int UNIT = sizeof(Buffer::ControlBlockBase);
    constexpr unsigned int FIRST_TOO_SMALL = SMALL_POINTERS ? 0xFFFFFFF1 : 0xFFFFFFD9;
    constexpr unsigned int LAST_TOO_SMALL = SMALL_POINTERS ? 0xFFFFFFF4 : 0xFFFFFFE8;
    EXPECT_EQ(UNIT, SMALL_POINTERS ? 12u : 24u);
    for (const unsigned int size : {FIRST_TOO_SMALL, FIRST_TOO_SMALL + 1, LAST_TOO_SMALL}) {
        const WantedLeak leak;
        EXPECT_THROW(Buffer{size}, std::logic_error) << size;
    }
    for (unsigned int size = LAST_TOO_SMALL + 1; size != 0; ++size) {
        const Buffer buffer(size);
        EXPECT_EQ(buffer.capacity(), 0u) << size;
        EXPECT_THROW(buffer.segment(1, 0), std::range_error);
    }
}

TEST(Limits, RangesOfBuffers) {
    Buffer buffer(100);
    const unsigned int capacity = buffer.capacity();
    EXPECT_LT(capacity, 150u);
    for (const unsigned int length : {capacity + 1, 0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        buffer.begin_update();
        EXPECT_THROW(buffer.data_length(length), std::range_error) << length;
        EXPECT_THROW(buffer.end_update(length), std::range_error) << length;
        buffer.end_update(60);
        EXPECT_THROW(buffer.segment(length, 0), std::range_error) << length;
        EXPECT_THROW(buffer.segment(length, TO_THE_END), std::range_error) << length;
        EXPECT_EQ(buffer.segment(0, std::max(length, 60u)).data_length(), 60u);
        EXPECT_EQ(buffer.segment(59, length).data_length(), 1u);
        EXPECT_EQ(buffer.segment(60, length).data_length(), 0u);
        EXPECT_EQ(buffer.segment(capacity, length).capacity(), 0u);
    }
}

TEST(Limits, CopiesThatDoNotFit) {
    char place[] = "as it was";
    for (const unsigned int count : {11u, 0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        EXPECT_THROW(safe::MemoryCopy(place, 10, place, count), std::range_error) << count;
    }
    EXPECT_THROW(safe::MemoryCopy(place, 0x80000000, place, 0x80000001), std::range_error);
    EXPECT_THROW(safe::MemoryCopy(place, TO_THE_END - 1, place, TO_THE_END), std::range_error);
    safe::MemoryCopy(place, TO_THE_END, "AS", 2);
    EXPECT_STREQ(place, "AS it was");
}

// Four characters for each group of three bytes that has begun. Nothing is read for a null place.
TEST(Limits, SizesOfBase64) {
    struct Size {
        unsigned long long bytes;
        unsigned long long characters;
    };
    std::vector<Size> sizes = {
        {0x5FFFFFFD, 0x7FFFFFFC},  {0x5FFFFFFE, 0x80000000},  {0x60000000, 0x80000000},
        {0x60000001, 0x80000004},  {0x7FFFFFFF, 0xAAAAAAAC},  {0x80000000, 0xAAAAAAAC},
        {0xBFFFFFFD, 0xFFFFFFFC},  {0xBFFFFFFE, 0x100000000}, {0xC0000000, 0x100000000},
        {0xC0000001, 0x100000004}, {0xFFFFFFFF, 0x155555554},
    };
    if (!SMALL_POINTERS) {
        sizes.push_back({0x100000000, 0x155555558});
        sizes.push_back({0x3000000000000000, 0x4000000000000000});
    }
    for (const Size& size : sizes) {
        Results results{};
        EXPECT_EQ(Base64::GetInstance().Encode("", size.bytes, nullptr, 0, &results),
                  size.characters);
        EXPECT_EQ(results.status, Results::SIZE_REPORTED);
        char place[4] = "abc"; // too small, however much smaller
        EXPECT_EQ(Base64::GetInstance().Encode("", size.bytes, place, 4, &results),
                  size.characters);
        EXPECT_EQ(results.status, Results::SIZE_REPORTED);
        EXPECT_STREQ(place, "abc");
    }
}

TEST(Limits, RoomForCStrings) {
    for (const unsigned int size : {0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        char place[12] = "before";
        EXPECT_EQ(string::strlcat(place, "hand", size), place);
        EXPECT_STREQ(place, "beforehand");
        EXPECT_EQ(string::strlcpy(place, "after", size), place);
        EXPECT_STREQ(place, "after");
    }
}

// A start behind the end reads an empty field that ends the text.
TEST(Limits, PositionsInLists) {
    const std::string text = "a,b";
    for (const unsigned int start : {3u, 4u, 0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        unsigned int position = start;
        unsigned int field_start = 0;
        unsigned int field_length = 1;
        std::string out = "before";
        EXPECT_FALSE(FSVList::DequoteStringCSV(position, text, out, &field_start, &field_length,
                                               '"', ",", 0, ";", false));
        EXPECT_EQ(out, "") << start;
        EXPECT_EQ(position, static_cast<unsigned int>(std::string::npos));
        EXPECT_EQ(field_start, start);
        EXPECT_EQ(field_length, 0u);
    }
}

TEST(Limits, LengthsOfDumps) {
    for (const int length : {0, -1, INT_MIN + 1, INT_MIN}) {
        std::string out = "before";
        EXPECT_TRUE(string::hex_dump(out, "x", length, nullptr, nullptr));
        EXPECT_EQ(out, "") << length;
    }
    // 0x10000 lines with offsets of four digits, and longer offsets behind them
    const std::string bytes(0x100001, 'x');
    std::string out;
    EXPECT_TRUE(
        string::hex_dump(out, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr));
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 0x10001);
    const std::string last = "100000  78                               ** x                **\n";
    EXPECT_EQ(out.substr(out.size() - last.size()), last);
}

// The stream of 2^32 bits is as long as the low half of the length that ends a digest.
TEST(Limits, DigestOf2Pow32Bits) {
    NURICCL_TEST_NEEDS_HUGE(); // and takes too long
    const std::vector<unsigned char> zeros(0x1000000);
    Signature signature;
    for (int i = 0; i < 32; ++i) {
        signature.update(zeros.data(), 0x1000000);
    }
    EXPECT_EQ(signature.close().to_string(), OF_2_POW_29_ZEROS);
}

// A text that begins with NUL converts to nothing, however long it is.
TEST(Limits, LengthsOfTextThatEndsAtOnce) {
    for (const unsigned int length : {0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        std::wstring wide = L"before";
        EXPECT_TRUE(Encoding::toWideChar("", length, wide, Encoding::CP_UTF8));
        EXPECT_EQ(wide, L"");
        std::string narrow = "before";
        EXPECT_TRUE(Encoding::toMultibyte(L"", length, narrow, Encoding::CP_WIN1252));
        EXPECT_EQ(narrow, "");
    }
}

// With the memory

namespace {

// As many zeros as are wanted, from nowhere.
class Zeros : public std::streambuf {
public:
    explicit Zeros(std::uint64_t count) : left_(count) {}

protected:
    std::streamsize xsgetn(char* place, std::streamsize count) override {
        const auto given = std::min<std::uint64_t>(left_, static_cast<std::uint64_t>(count));
        std::memset(place, 0, static_cast<std::size_t>(given));
        left_ -= given;
        return static_cast<std::streamsize>(given);
    }

private:
    std::uint64_t left_;
};

// Nearly 2 GiB, the most that malloc gives a 32-bit program; none of it is ever written.
constexpr unsigned int LARGE = 0x7FFF0000;

// The longest text of a std::string of 32 bits, and what a longer one is refused by.
constexpr std::size_t LIMIT_OF_STRING = 0x3FFFFFFF;
using BeyondLimit = std::conditional_t<SMALL_POINTERS, std::length_error, std::bad_alloc>;

Buffer large_buffer() {
    Buffer buffer(LARGE);
    buffer.begin_update();
    buffer.end_update(LARGE);
    return buffer;
}

} // namespace

TEST(HugeMemory, SizeThatMallocRefuses) {
    NURICCL_TEST_NEEDS_HUGE();
    if (SMALL_POINTERS) {
        EXPECT_THROW(Buffer(0x80000000), std::bad_alloc);
        EXPECT_THROW(Buffer(0xFFFFFFF0), std::bad_alloc);
    } else {
        EXPECT_EQ(Buffer(0x80000000).capacity(), 0x80000010u); // whole units of 24 bytes
        EXPECT_EQ(Buffer(0xFFFFFFD8).capacity(), 0xFFFFFFD8u); // the largest that does not wrap
    }
}

TEST(HugeMemory, Buffer) {
    NURICCL_TEST_NEEDS_HUGE();
    Buffer buffer = large_buffer();
    EXPECT_EQ(buffer.data_length(), LARGE);
    const Buffer last = buffer.segment(LARGE - 1, TO_THE_END);
    EXPECT_EQ(last.data() - buffer.data(), static_cast<std::ptrdiff_t>(LARGE) - 1);
    EXPECT_EQ(last.data_length(), 1u);
    EXPECT_EQ(buffer.segment(1, LARGE).data_length(), LARGE - 1);
    const unsigned int capacity = buffer.capacity();
    EXPECT_GE(capacity, LARGE);
    EXPECT_LT(capacity, LARGE + sizeof(Buffer::ControlBlockBase));
    EXPECT_EQ(buffer.segment(capacity, 1).capacity(), 0u);
    EXPECT_THROW(buffer.segment(capacity + 1, 0), std::range_error);
    EXPECT_THROW(buffer.end_update(0), std::logic_error);
}

// A copy for an update needs as much memory again.
TEST(HugeMemory, BufferThatCannotBeCopied) {
    NURICCL_TEST_NEEDS_HUGE();
    Buffer buffer = large_buffer();
    const Buffer other = buffer;
    const huge::LittleMemory little(0x1000000);
    EXPECT_THROW(buffer.begin_update(), std::bad_alloc);
    EXPECT_EQ(buffer.data(), other.data());
    EXPECT_EQ(buffer.data_length(), LARGE);
    EXPECT_THROW(buffer.end_update(0), std::logic_error) << "is not in an update";
}

TEST(HugeMemory, Stream) {
    NURICCL_TEST_NEEDS_HUGE();
    const Buffer buffer = large_buffer();
    MultiBuffer stream(buffer);
    stream.push_back(buffer);
    EXPECT_EQ(stream.data_length(), 0xFFFE0000u);
    stream.push_back(buffer.segment(0, 0x20000));
    EXPECT_EQ(stream.data_length(), 0u) << "modulo 2^32";
    stream.push_back(buffer);
    EXPECT_EQ(stream.data_length(), LARGE);

    char flat[10];
    EXPECT_EQ(stream.coalesce(flat, 10), 10u);
    EXPECT_EQ(stream.front().data_length(), LARGE - 10);
    EXPECT_EQ(stream.data_length(), LARGE - 10);
    MultiBuffer first = stream.split(LARGE); // what is left of the first Buffer, and 10 bytes
    EXPECT_EQ(first.buffer_count(), 2u);
    EXPECT_EQ(first.data_length(), LARGE);
    EXPECT_EQ(first.back().data_length(), 10u);
    EXPECT_EQ(stream.data_length(), 0xFFFFFFF6u);
    first = stream.split(0xFFFFFFF5);
    EXPECT_EQ(first.buffer_count(), 3u);
    EXPECT_EQ(first.data_length(), 0xFFFFFFF5u);
    EXPECT_EQ(stream.buffer_count(), 1u);
    EXPECT_EQ(stream.data_length(), 1u);
    EXPECT_EQ(first.split(TO_THE_END).data_length(), 0xFFFFFFF5u) << "all there is";
    EXPECT_TRUE(first.empty());
}

TEST(HugeMemory, Digests) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text zeros('\0', 2 * GIB + 4);
    ASSERT_NE(zeros.data(), nullptr);
    EXPECT_EQ(Signature::of(zeros.data(), 0x80000001), OF_2_POW_31_AND_1_ZEROS);
}

TEST(HugeMemory, DigestOfWideText) {
    NURICCL_TEST_NEEDS_HUGE();
    NURICCL_TEST_TAKES_LONG();
    const huge::Text zeros('\0', 2 * GIB + 4);
    ASSERT_NE(zeros.data(), nullptr);
    const auto* const wide = reinterpret_cast<const wchar_t*>(zeros.data());
    EXPECT_EQ(Signature::of(wide, 0x20000001), OF_2_POW_31_AND_4_ZEROS);
}

TEST(HugeMemory, StreamOf4GiB) {
    NURICCL_TEST_NEEDS_HUGE();
    NURICCL_TEST_TAKES_LONG();
    Zeros zeros(4 * std::uint64_t{GIB});
    std::istream stream(&zeros);
    EXPECT_EQ(Signature::of(stream), OF_2_POW_32_ZEROS);
}

// Three bytes for four characters; the whole text is checked.
TEST(HugeMemory, Base64) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text text('A', 2 * GIB + 4);
    ASSERT_NE(text.data(), nullptr);
    const Base64& codec = Base64::GetInstance();
    Results results{};
    EXPECT_EQ(codec.Decode(text.data(), 0x80000004, nullptr, 0, &results), 0x60000003u);
    EXPECT_EQ(results.status, Results::SIZE_REPORTED);
    EXPECT_EQ(codec.Decode(text.data(), 0x80000003, nullptr, 0, &results), 0u);
    EXPECT_EQ(results.status, Results::MALFORMED) << "no multiple of four";
    EXPECT_EQ(codec.Decode(text.data() + 1, 0x80000004, nullptr, 0, &results), 0u);
    EXPECT_EQ(results.status, Results::MALFORMED) << "the NUL at the end";
}

TEST(HugeMemory, CStrings) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text text('a', 2 * GIB + 1);
    ASSERT_NE(text.data(), nullptr);
    EXPECT_GT(string::icompare(text.data(), text.data() + 1), 0) << "longer by one character";
    EXPECT_LT(string::icompare(text.data() + GIB, text.data()), 0);
    char* const full = const_cast<char*>(text.data());
    EXPECT_EQ(string::strlcat(full, "b", 0x80000001), full) << "no NUL; writing to it would fail";
    char place[6];
    EXPECT_STREQ(string::strlcpy(place, text.data(), sizeof place), "aaaaa");
    EXPECT_EQ(ftokey(text.data()), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    std::string out = "before";
    EXPECT_TRUE(string::hex_dump(out, text.data() + GIB, 16, nullptr, nullptr));
    EXPECT_EQ(out, "0000  61616161616161616161616161616161 ** aaaaaaaaaaaaaaaa **\n");
}

// Sizes of encoded text are an int, and INT_MAX is the largest.
TEST(HugeMemory, SizesOfEncodedText) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text text('%', 2 * GIB);
    ASSERT_NE(text.data(), nullptr);
    const char* const end = text.data() + 2 * GIB; // where its NUL is
    const CharacterEncoder encoder("%");
    const auto size_of_last = [&](std::size_t count) {
        return encoder.encode(end - count, nullptr, 0, '%');
    };
    EXPECT_EQ(size_of_last(0x2AAAAAA9), -(INT_MAX - 3));
    EXPECT_EQ(size_of_last(0x2AAAAAAA), -INT_MAX) << "three times that, and the NUL";
    EXPECT_EQ(size_of_last(0x2AAAAAAB), -INT_MAX);
    EXPECT_EQ(size_of_last(0x55555556), -INT_MAX) << "2^32 + 2, and the NUL";
}

TEST(HugeMemory, TextToEncode) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text text('a', 2 * GIB);
    ASSERT_NE(text.data(), nullptr);
    const CharacterEncoder encoder("%");
    EXPECT_EQ(encoder.encode(text.data() + 3, nullptr, 0, '%'), -(INT_MAX - 1));
    EXPECT_EQ(encoder.encode(text.data() + 2, nullptr, 0, '%'), -INT_MAX);
    char* const in_place = const_cast<char*>(text.data());
    EXPECT_EQ(encoder.encode(in_place, in_place, INT_MAX, '%'), -INT_MAX) << "does not fit";
    EXPECT_FALSE(CharacterEncoder::decode(in_place, '%')) << "nothing there; writing would fail";
}

// A bad byte or character at the start ends the conversion, whatever follows.
TEST(HugeMemory, TextThatCannotBeConverted) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text bad('\xff', 2 * GIB + 4);
    ASSERT_NE(bad.data(), nullptr);
    for (const auto page : {Encoding::CP_UTF8, Encoding::CP_USASCII, Encoding::CP_DEFAULT}) {
        std::wstring wide = L"before";
        EXPECT_FALSE(Encoding::toWideChar(bad.data(), 0x80000001, wide, page)) << page;
        EXPECT_EQ(wide, L"");
        const auto* const source = reinterpret_cast<const wchar_t*>(bad.data());
        std::string narrow = "before";
        EXPECT_FALSE(Encoding::toMultibyte(source, 0x20000001, narrow, page)) << page;
        EXPECT_EQ(narrow, "");
    }
}

// As many characters as an int can tell, and one more.
TEST(HugeMemory, FormattedTextThatCannotBeCounted) {
    NURICCL_TEST_NEEDS_HUGE();
    NURICCL_TEST_TAKES_LONG();
    const huge::Text text('a', 0x7FFFFFFF);
    ASSERT_NE(text.data(), nullptr);
    std::string out = "before";
    EXPECT_LT(string::sprintfSafe(out, "%s%c", text.data(), 'b'), 0);
    EXPECT_EQ(out, "");
}

// What comes out does not fit in the memory there is: the output is as it was, or as promised.
TEST(HugeMemory, ResultsThatDoNotFit) {
    NURICCL_TEST_NEEDS_HUGE();
    const huge::Text text('a', LIMIT_OF_STRING + 1);
    ASSERT_NE(text.data(), nullptr);
    const char* const largest = text.data() + 1; // that a std::string of 32 bits holds
    const huge::LittleMemory little(0x1000000);
    std::string out = "before";
    EXPECT_THROW(string::hex_dump(out, largest, 0x3FFFFFFF, nullptr, nullptr), std::bad_alloc);
    EXPECT_EQ(out, "before");
    std::wstring wide;
    EXPECT_THROW(Encoding::toWideChar(largest, 0x3FFFFFFF, wide, Encoding::CP_UTF8),
                 std::bad_alloc);
    EXPECT_THROW(string::sprintfSafe(out, "%s", largest), std::bad_alloc);
    EXPECT_EQ(out, "");
    const char* cursor = largest;
    EXPECT_THROW(string::unixshellstring_get_word(&cursor, out), std::bad_alloc);
    EXPECT_EQ(cursor, largest);
    EXPECT_THROW(ToString()(largest), std::bad_alloc);
    EXPECT_THROW(ToString()(text.data()), BeyondLimit);
    EXPECT_THROW(Version{largest}, std::bad_alloc);
    EXPECT_THROW(Version{text.data()}, BeyondLimit);
    std::string line = "before";
    for (const char* const separator : {largest, text.data()}) {
        EXPECT_ANY_THROW(
            FSVList::QuoteStringCSV("a", line, '"', separator, "", 0, "", false, false));
        EXPECT_EQ(line, "before");
    }
}

TEST(HugeMemory, DataThatDoesNotFit) {
    NURICCL_TEST_NEEDS_HUGE();
    std::string packed;
    ASSERT_TRUE(Zlib::Deflate(packed, std::string(1000, 'x')));
    const huge::LittleMemory little(0x1000000);
    std::string out = "before";
    EXPECT_THROW(Zlib::Inflate(out, 0x3FFFFFFF, packed), std::bad_alloc);
    for (const unsigned int size : {0x40000000u, 0x7FFFFFFFu, 0x80000000u, TO_THE_END}) {
        EXPECT_THROW(Zlib::Inflate(out, size, packed), BeyondLimit) << size;
    }
    EXPECT_EQ(out, "before");
}

// Names

namespace {

using Name = FilenameHelper;

constexpr std::size_t LONGEST = 262144;
constexpr std::size_t COMPONENTS = LONGEST / 256;

// "/" and a component of 255 characters, over and over.
template <class Char>
std::basic_string<Char> path_of(Char letter) {
    std::basic_string<Char> path;
    for (std::size_t i = 0; i < COMPONENTS; ++i) {
        path.append(1, '/').append(255, letter);
    }
    return path;
}

const std::string PATH = path_of('a');
const std::wstring PATH_W = path_of(L'a');

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

} // namespace

TEST(LongNames, AreThoseThatAgentsSupport) {
    EXPECT_EQ(Name::MAX_SUPPORTED_PATH, static_cast<std::int32_t>(LONGEST));
    EXPECT_EQ(PATH.size(), LONGEST);
}

TEST(LongNames, Kinds) {
    EXPECT_FALSE(Name::isRelative(PATH) || Name::isRelative(PATH_W));
    EXPECT_FALSE(Name::isDevice(PATH) || Name::isDevice(PATH_W));
    EXPECT_FALSE(Name::isDirectory(PATH) || Name::isDirectory(PATH_W));
    EXPECT_FALSE(Name::hasWildCard(PATH) || Name::hasWildCard(PATH_W));
    EXPECT_TRUE(Name::hasWildCard(PATH + '?') && Name::hasWildCard(PATH_W + L'?'));
    EXPECT_FALSE(Name::hasRecurseMarker(PATH) || Name::hasRecurseMarker(PATH_W));
    bool last = false;
    EXPECT_TRUE(Name::hasRecurseMarker(PATH + "/./", &last) && last);
    EXPECT_TRUE(Name::hasRecurseMarker(PATH_W + L"/./"));
    EXPECT_FALSE(Name::isGlobalRootDevicePath(PATH) || Name::isShadowCopyDevicePath(PATH));
    EXPECT_TRUE(Name::isShadowCopyDevicePath(Name::WIN32_SHADOWCOPY_DEVICE_MARKER + PATH));
    EXPECT_FALSE(Name::isUNCDevicePath(PATH) || Name::isUNCDevicePath(PATH_W));
}

TEST(LongNames, Edits) {
    EXPECT_EQ(Name::addUnipathMarker(PATH), PATH);
    EXPECT_EQ(Name::removeUnipathMarker(PATH_W), PATH_W);
    EXPECT_EQ(Name::getProperCaseAnsi(PATH), PATH);
    EXPECT_EQ(Name::removeRecurseMarker(PATH + "/./b"), PATH + "/b");
    EXPECT_EQ(Name::removeRecurseMarker(PATH_W + L"/./b"), PATH_W + L"/b");
    EXPECT_EQ(Name::convertAltStreamName(PATH + ":stream"), PATH);
    EXPECT_EQ(Name::convertAltStreamName(PATH_W + L":stream"), PATH);
    EXPECT_EQ(Name::removeWildcardMarker(PATH + std::string(LONGEST, '*')), PATH);
}

TEST(LongNames, Composing) {
    EXPECT_EQ(Name::squeeze(PATH), PATH);
    EXPECT_EQ(Name::squeeze(std::string(LONGEST, '/')), "/");
    EXPECT_EQ(Name::squeeze(std::wstring(LONGEST, L'/')), L"/");
    // Two in a row lose two characters and gain a separator.
    EXPECT_EQ(Name::squeeze(repeated("<->", 87381), "<->"), repeated("<->>", 87380) + "<->");
    EXPECT_EQ(Name::squeeze(std::string(LONGEST, '-'), "--"), std::string(LONGEST, '-'));
    EXPECT_EQ(Name::chopSeparator(PATH + '/'), PATH);
    EXPECT_EQ(Name::chopSeparator(std::wstring(LONGEST, L'/')), L"");
    EXPECT_EQ(Name::join(PATH, PATH), PATH + PATH);
    EXPECT_EQ(Name::join(PATH_W, PATH_W), PATH_W + L"/" + PATH_W);
    EXPECT_EQ(Name::appendSeparator(PATH), PATH + '/');
    EXPECT_EQ(Name::appendSeparator(PATH_W), PATH_W + L'/');
    EXPECT_EQ(Name::getDirName(PATH), PATH.substr(0, LONGEST - 255));
    EXPECT_EQ(Name::getDirName(PATH_W), PATH_W.substr(0, LONGEST - 255));
    EXPECT_EQ(Name::appendRecurseMarker(PATH), PATH + "/./");
    EXPECT_EQ(Name::appendRecurseMarker(PATH_W), PATH_W + L"//./");
    const std::size_t dir = LONGEST - 256;
    EXPECT_EQ(Name::insertRecurseMarker(PATH), std::string(PATH).insert(dir, "/."));
    EXPECT_EQ(Name::insertRecurseMarker(PATH_W), std::wstring(PATH_W).insert(dir, L"/."));
    EXPECT_EQ(Name::selectAllBelowPath(PATH), PATH + "/./*");
    EXPECT_EQ(Name::selectAllBelowPath(PATH_W), PATH_W + L"//.//*");
}

TEST(LongNames, Components) {
    std::list<std::string> parts;
    Name::split_filename(PATH, parts);
    EXPECT_EQ(parts.size(), COMPONENTS + 1);
    EXPECT_EQ(parts.front(), "/");
    EXPECT_EQ(std::count(parts.begin(), parts.end(), std::string(255, 'a')),
              static_cast<std::ptrdiff_t>(COMPONENTS));
    std::string path = PATH;
    EXPECT_FALSE(Name::squeeze_filename(path));
    EXPECT_EQ(path, PATH);
    for (const char* const part : {"/", "/.", "/..", "/a/..", "/a/./../"}) {
        path = repeated(part, LONGEST / std::strlen(part));
        EXPECT_TRUE(Name::squeeze_filename(path)) << part;
        EXPECT_EQ(path, "/") << part;
    }
}

TEST(LongNames, Files) {
    for (const std::string& path : {PATH, std::string(LONGEST, '/'), std::string(LONGEST, 'a')}) {
        EXPECT_FALSE(File::exists(path));
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_FALSE(File::IsRegularDirectory(path));
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_EQ(ftokey(path.c_str()), -1);
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_EQ(SingleInstance().checkForSingleInstance(path.c_str()), ENAMETOOLONG);
    }
    EXPECT_EQ(File::parts(PATH), COMPONENTS + 1);
    EXPECT_EQ(File::parts(std::string(LONGEST, '/')), LONGEST + 1);
    EXPECT_FALSE(TempFile::ExclusionClassByNameAndType(PATH, TempFile::ExclusionType::SYSTEM));
}

TEST(LongNames, WideAndMultibyte) {
    struct Row {
        wchar_t character;
        Encoding::CodePages_e page;
        const char* bytes;
    };
    for (const Row& row : {Row{L'a', Encoding::CP_UTF8, "a"},
                           {L'a', Encoding::CP_USASCII, "a"},
                           {0x20AC, Encoding::CP_UTF8, "\xe2\x82\xac"},
                           {0x20AC, Encoding::CP_WIN1252, "\x80"},
                           {0x1F4BE, Encoding::CP_UTF8, "\xf0\x9f\x92\xbe"}}) {
        const std::wstring wide(LONGEST, row.character);
        const std::string narrow = repeated(row.bytes, LONGEST);
        std::string out;
        std::wstring out_w;
        EXPECT_TRUE(Name::wideToMultibyte(out, wide, row.page));
        EXPECT_EQ(out, narrow);
        EXPECT_TRUE(Name::multibyteToWide(out_w, narrow, row.page));
        EXPECT_EQ(out_w, wide);
        EXPECT_EQ(Name::wideToMultibyte(wide, row.page), narrow);
        EXPECT_EQ(Name::multibyteToWide(narrow, row.page), wide);
    }
    EXPECT_EQ(Name::CodePage_UTF8()(PATH), PATH);
    EXPECT_EQ(Name::UTF8_CodePage()(PATH), PATH);
}

// UTF-16 is told by a mark of the byte order and takes four bytes for a character beyond U+FFFF.
TEST(LongNames, Utf16) {
    const std::wstring wide(LONGEST, 0x1F4BE);
    std::string bytes;
    EXPECT_TRUE(Encoding::toMultibyte(wide.data(), LONGEST, bytes, Encoding::CP_UTF16));
    EXPECT_EQ(bytes, "\xff\xfe" + repeated("\x3d\xd8\xbe\xdc", LONGEST));
    std::wstring back;
    const auto size = static_cast<unsigned int>(bytes.size());
    EXPECT_TRUE(Encoding::toWideChar(bytes.data(), size, back, Encoding::CP_UTF16));
    EXPECT_EQ(back, wide);
}

TEST(LongNames, BadCharacters) {
    // The thread sanitizer looks at all that is left of a text each time that iconv is called.
    constexpr unsigned int LENGTH = SANITIZED ? LONGEST / 16 : LONGEST;
    std::wstring out_w;
    const std::string bad(LENGTH, '\xff');
    EXPECT_FALSE(Encoding::toWideChar(bad.data(), LENGTH, out_w, Encoding::CP_UTF8, true));
    EXPECT_EQ(out_w, L"");
    EXPECT_FALSE(Encoding::toWideChar(bad.data(), LENGTH, out_w, Encoding::CP_DEFAULT, true));
    EXPECT_EQ(out_w, L"");
    try {
        Name::wideToMultibyte(std::wstring(LENGTH, 0x20AC), Encoding::CP_USASCII);
        ADD_FAILURE() << "converted";
    } catch (const std::runtime_error& error) {
        const std::string question_marks(LENGTH, '?');
        EXPECT_EQ(error.what(), "Error converting string to multibyte: " + question_marks);
    }
}

TEST(LongNames, UpperAndLowerCase) {
    const std::string upper = path_of('A');
    std::string out;
    EXPECT_TRUE(Encoding::toUpperCase(PATH, out));
    EXPECT_EQ(out, upper);
    EXPECT_TRUE(Encoding::toLowerCase(upper, out));
    EXPECT_EQ(out, PATH);
    std::wstring out_w = L"/";
    EXPECT_TRUE(Encoding::toLowerCase(path_of(L'A'), out_w));
    EXPECT_EQ(out_w, L"/" + PATH_W);
}

TEST(LongNames, Encoded) {
    const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    const std::string plain(LONGEST, ':');
    const std::string encoded = repeated("%3a", LONGEST);
    EXPECT_EQ(encoder.encoded_size(plain), static_cast<int>(3 * LONGEST + 1));
    EXPECT_EQ(encoder.encode(plain), encoded);
    EXPECT_EQ(encoder.decode(encoded), plain);
    std::string text = plain;
    EXPECT_TRUE(encoder.encode(text, '%'));
    EXPECT_EQ(text, encoded);
    EXPECT_TRUE(CharacterEncoder::decode(text, '%'));
    EXPECT_EQ(text, plain);

    std::vector<char> room(3 * LONGEST + 1, 'x');
    const auto size = static_cast<int>(room.size());
    std::copy_n(plain.c_str(), LONGEST + 1, room.data());
    EXPECT_EQ(encoder.encode(room.data(), room.data(), size - 1, '%'), -size) << "too small";
    EXPECT_EQ(room.data(), plain);
    EXPECT_EQ(encoder.encode(room.data(), room.data(), size, '%'), 1);
    EXPECT_EQ(room.data(), encoded);
    EXPECT_TRUE(CharacterEncoder::decode(room.data(), '%'));
    EXPECT_EQ(room.data(), plain);

    const std::string lines(LONGEST, '\n');
    text = lines;
    EXPECT_TRUE(CharacterEncoder::encode_unprintable(text, '%'));
    EXPECT_EQ(text, repeated("%0a", LONGEST));
    EXPECT_EQ(CharacterEncoder::decode_unprintable(text, '%'), lines);
    EXPECT_EQ(CharacterEncoder::encode_vSphereVM_name(PATH).size(), LONGEST + 2 * COMPONENTS);
    EXPECT_EQ(CharacterEncoder::decode_vSphereVM_name(repeated("%2F", LONGEST)),
              std::string(LONGEST, '/'));
}

// Long lists

namespace {

constexpr std::size_t MILLION = 1000000;
const std::string MILLION_FIELDS = repeated("ab,", MILLION - 1) + "ab";

bool are_all_ab(const std::vector<std::string>& fields) {
    return fields.size() == MILLION &&
           std::count(fields.begin(), fields.end(), "ab") == static_cast<std::ptrdiff_t>(MILLION);
}

} // namespace

TEST(Many, FieldsTakenApart) {
    std::vector<std::string> fields;
    string::split(MILLION_FIELDS, ',', fields);
    EXPECT_TRUE(are_all_ab(fields));
    string::tokenize(MILLION_FIELDS, fields, ",");
    EXPECT_TRUE(are_all_ab(fields));
    string::tokenizeQuotedString(MILLION_FIELDS, fields);
    EXPECT_TRUE(are_all_ab(fields));
    fields.clear();
    EXPECT_TRUE(string::tokenizeQuoted(MILLION_FIELDS, fields, ','));
    EXPECT_TRUE(are_all_ab(fields));
}

TEST(Many, EmptyFields) {
    const std::string separators(MILLION, ',');
    std::vector<std::string> fields;
    string::split(separators, ',', fields);
    EXPECT_EQ(fields.size(), MILLION + 1);
    string::tokenize(separators, fields, ",");
    EXPECT_EQ(fields.size(), 0u);
    EXPECT_EQ(FSVList().parse(separators).to_list().size(), MILLION) << "none behind the last one";
}

TEST(Many, FieldsOfAList) {
    FSVList list;
    EXPECT_TRUE(are_all_ab(list.parse(MILLION_FIELDS).to_list()));
    EXPECT_EQ(list.to_str(), MILLION_FIELDS);
    const std::string quoted = list.to_str(true);
    EXPECT_EQ(quoted, repeated("\"ab\",", MILLION - 1) + "\"ab\"");
    EXPECT_TRUE(are_all_ab(FSVList().parse(quoted).to_list()));
    const std::string separator = " and ";
    EXPECT_EQ(list.field_separator(separator).to_str().size(),
              2 * MILLION + separator.size() * (MILLION - 1));
}

TEST(Many, Words) {
    constexpr std::size_t PAIRS = 100000;
    std::string text;
    for (std::size_t i = 0; i < PAIRS; ++i) {
        text += std::to_string(i) + "='a b' ";
    }
    std::map<std::string, std::string> pairs;
    EXPECT_EQ(string::unixshellstring_get_keyed_values(text.c_str(), pairs),
              static_cast<int>(PAIRS));
    EXPECT_EQ(pairs.size(), PAIRS);
    EXPECT_EQ(pairs["99999"], "a b");
}

TEST(Many, Addresses) {
    AddressMap map;
    string::split(MILLION_FIELDS, ',', map["name"]);
    std::stringstream stream;
    map.Save(stream);
    EXPECT_EQ(stream.str(), "name|" + MILLION_FIELDS + '\n');
    AddressMap copy;
    copy.Load(stream);
    EXPECT_TRUE(are_all_ab(copy["NAME"]));
}

TEST(Many, Components) {
    const std::string path = repeated("/a", MILLION);
    std::list<std::string> parts;
    Name::split_filename(path, parts);
    EXPECT_EQ(parts.size(), MILLION + 1);
    std::string squeezed = path + repeated("/..", MILLION - 1);
    EXPECT_TRUE(Name::squeeze_filename(squeezed));
    EXPECT_EQ(squeezed, "/a");
    EXPECT_EQ(File::parts(path), MILLION + 1);
}

TEST(Many, Buffers) {
    constexpr unsigned int COUNT = 100000;
    MultiBuffer stream;
    for (unsigned int i = 0; i < COUNT; ++i) { // the four bytes of each tell its number
        Buffer buffer(sizeof i);
        std::memcpy(buffer.begin_update(), &i, sizeof i);
        buffer.end_update(sizeof i);
        stream.push_back(std::move(buffer));
    }
    EXPECT_EQ(stream.buffer_count(), COUNT);
    EXPECT_EQ(stream.data_length(), 4 * COUNT);
    std::vector<unsigned int> numbers(COUNT);
    for (unsigned int i = 0; i < COUNT; ++i) {
        numbers[i] = i;
    }
    const auto number_of = [](const Buffer& buffer) {
        unsigned int number = 0;
        std::memcpy(&number, buffer.data(), sizeof number);
        return number;
    };
    EXPECT_TRUE(std::equal(stream.begin(), stream.end(), numbers.begin(), numbers.end(),
                           [&](const Buffer& a, unsigned int b) { return number_of(a) == b; }));
    std::vector<unsigned int> flat(COUNT);
    EXPECT_EQ(stream.copy(flat.data(), TO_THE_END), 4 * COUNT);
    EXPECT_EQ(flat, numbers);

    MultiBuffer copy = stream;
    MultiBuffer first = copy.split(2 * COUNT + 2); // cuts a Buffer in two
    EXPECT_EQ(first.buffer_count(), COUNT / 2 + 1);
    EXPECT_EQ(copy.buffer_count(), COUNT / 2);
    flat.assign(COUNT, 0);
    auto* const bytes = reinterpret_cast<unsigned char*>(flat.data());
    EXPECT_EQ(first.coalesce(bytes, TO_THE_END), 2 * COUNT + 2);
    EXPECT_EQ(copy.coalesce(bytes + 2 * COUNT + 2, TO_THE_END), 2 * COUNT - 2);
    EXPECT_EQ(flat, numbers);
    EXPECT_TRUE(first.empty() && copy.empty());

    for (unsigned int i = 0; i < COUNT; i += 2) { // rotates it to the right
        stream.push_front(stream.back());
        stream.pop_back();
    }
    EXPECT_EQ(number_of(stream.front()), COUNT / 2);
    EXPECT_EQ(stream.buffer_count(), COUNT);
    stream.clear();
    EXPECT_EQ(stream.data_length(), 0u);
}
