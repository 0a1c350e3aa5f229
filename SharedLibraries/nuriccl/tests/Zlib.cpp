// Zlib: whole blocks in and out, and how the two forms differ.
//
//   Deflate(Bytes, Bytes, int)                      ZlibDeflateVector, ZlibLevel
//   Deflate(Bytes, Bytes)                           ZlibDeflateVector
//   Deflate(std::string&, const std::string&)       ZlibDeflateString
//   Inflate(Bytes, Bytes)                           ZlibInflateVector
//   Inflate(std::string&, unsigned, const string&)  ZlibInflateString
//   all                                             ZlibRoundTrip, ZlibDamage, ZlibInPlace,
//                                                   ZlibCalls (what reaches zlib), ZlibOutOfMemory

#include "support/allocation.hpp"

#include <nuriccl/Zlib.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>
#include <zlib.h>

// compress2 and compress stand in front of zlib's own, which they pass every call on to, so that
// compression can be seen and made to fail.

namespace {

struct Compression {
    int level;
    const Bytef* source;
    uLong source_size;
};

std::optional<Compression> last_compression;
int zlib_result = Z_OK; // what compression is to return instead of doing its work

template <class Function>
Function* next_in_process(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int compress2(Bytef* to, uLongf* to_size, const Bytef* from, uLong from_size,
                         int level) {
    last_compression = Compression{level, from, from_size};
    return zlib_result != Z_OK ? zlib_result
                               : next_in_process<decltype(compress2)>("compress2")(
                                     to, to_size, from, from_size, level);
}

extern "C" int compress(Bytef* to, uLongf* to_size, const Bytef* from, uLong from_size) {
    last_compression = Compression{Z_DEFAULT_COMPRESSION, from, from_size};
    return zlib_result != Z_OK
               ? zlib_result
               : next_in_process<decltype(compress)>("compress")(to, to_size, from, from_size);
}

namespace {

using nuriccl::Zlib;
using Vector = std::vector<unsigned char>;
using Bytes = boost::shared_ptr<Vector>;

const Bytes NONE;

Bytes bytes(const std::string& text) { return Bytes(new Vector(text.begin(), text.end())); }

Bytes bytes(std::size_t size, unsigned char value = 0xEE) { return Bytes(new Vector(size, value)); }

std::string text_of(const Vector& vector) { return std::string(vector.begin(), vector.end()); }

// Text that compresses, and better so at higher levels.
std::string sample(std::size_t size) {
    static const char* const words[] = {"backup ", "agent ", "block ", "of ", "bytes ", "stream, "};
    std::minstd_rand random(7);
    std::string text;
    while (text.size() < size) {
        text += words[random() % std::size(words)];
        text += static_cast<char>('a' + random() % 26);
    }
    text.resize(size);
    return text;
}

std::string noise(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    return text;
}

// zlib's documented bound for the default window and memory.
std::size_t bound(std::size_t size) {
    return size + (size >> 12) + (size >> 14) + (size >> 25) + 13;
}

// What zlib itself makes of `text`.
std::string by_zlib(const std::string& text, int level) {
    uLongf size = static_cast<uLongf>(bound(text.size()));
    std::string packed(size, '\0');
    EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                        reinterpret_cast<const Bytef*>(text.data()),
                        static_cast<uLong>(text.size()), level),
              Z_OK);
    packed.resize(size);
    return packed;
}

std::string deflated(const std::string& text) {
    std::string packed;
    EXPECT_TRUE(Zlib::Deflate(packed, text));
    return packed;
}

// An RFC 1950 stream of one stored block.
std::string stored(const std::string& text) {
    std::uint32_t a = 1, b = 0;
    for (const char c : text) {
        a = (a + static_cast<unsigned char>(c)) % 65521;
        b = (b + a) % 65521;
    }
    const std::uint32_t length = static_cast<std::uint32_t>(text.size());
    const std::uint32_t inverse = ~length;
    std::string stream = "\x78\x01\x01";
    for (const std::uint32_t byte : {length, length >> 8, inverse, inverse >> 8}) {
        stream += static_cast<char>(byte & 0xFF);
    }
    stream += text;
    for (const std::uint32_t byte : {b >> 8, b, a >> 8, a}) {
        stream += static_cast<char>(byte & 0xFF);
    }
    return stream;
}

const std::string EMPTY_STREAM("\x78\x9c\x03\x00\x00\x00\x00\x01", 8);

// Deflate, vector form

TEST(ZlibDeflateVector, GivesAZlibStreamOfTheCompressedLength) {
    const std::string text = sample(5000);
    for (const std::size_t size_before : {0, 3, 100000}) {
        const Bytes output = bytes(size_before);
        const Bytes input = bytes(text);
        EXPECT_TRUE(Zlib::Deflate(output, input, 9));
        EXPECT_EQ(text_of(*output), by_zlib(text, 9));
        EXPECT_LT(output->size(), text.size());
        EXPECT_EQ(text_of(*input), text);
        EXPECT_EQ(output.use_count() + input.use_count(), 2);
    }
}

TEST(ZlibDeflateVector, WithoutALevelIsZlibsDefault) {
    const std::string text = sample(5000);
    const Bytes output = bytes(0u);
    EXPECT_TRUE(Zlib::Deflate(output, bytes(text)));
    EXPECT_EQ(text_of(*output), by_zlib(text, -1));
}

TEST(ZlibDeflateVector, OfANullPointerIsFalseAndTouchesNothing) {
    const Bytes some = bytes("some");
    for (const int level : {-1, 0, 9}) {
        EXPECT_FALSE(Zlib::Deflate(some, NONE, level));
        EXPECT_FALSE(Zlib::Deflate(NONE, some, level));
        EXPECT_FALSE(Zlib::Deflate(NONE, NONE, level));
    }
    EXPECT_FALSE(Zlib::Deflate(some, NONE));
    EXPECT_FALSE(Zlib::Deflate(NONE, some));
    EXPECT_FALSE(Zlib::Deflate(NONE, NONE));
    EXPECT_EQ(text_of(*some), "some");
}

TEST(ZlibDeflateVector, OfNoDataIsAStreamOfNoDataAtTheDefaultLevelWhateverIsAsked) {
    for (int level = -5; level <= 12; ++level) {
        const Bytes output = bytes(100u);
        EXPECT_TRUE(Zlib::Deflate(output, bytes(0u), level));
        EXPECT_EQ(text_of(*output), EMPTY_STREAM);
    }
    const Bytes output = bytes(0u);
    EXPECT_TRUE(Zlib::Deflate(output, bytes(0u)));
    EXPECT_EQ(text_of(*output), EMPTY_STREAM);
    EXPECT_EQ(text_of(*output), by_zlib("", -1));
}

TEST(ZlibLevel, FromZeroToNineIsKeptAndAnyOtherIsTheDefault) {
    const std::string text = sample(3000);
    const std::pair<int, int> cases[] = {
        {INT_MIN, -1}, {-5, -1}, {-2, -1}, {-1, -1}, {0, 0},    {1, 1},        {2, 2},
        {3, 3},        {4, 4},   {5, 5},   {6, 6},   {7, 7},    {8, 8},        {9, 9},
        {10, -1},      {11, -1}, {12, -1}, {42, -1}, {256, -1}, {INT_MAX, -1},
    };
    for (const auto& [asked, effective] : cases) {
        SCOPED_TRACE(asked);
        const Bytes output = bytes(0u);
        EXPECT_TRUE(Zlib::Deflate(output, bytes(text), asked));
        EXPECT_EQ(text_of(*output), by_zlib(text, effective));
    }
}

TEST(ZlibLevel, MarksTheStreamAndSetsItsSize) {
    const std::string text = sample(60000);
    // The second byte of a stream tells the kind of level: 0 to 1, 2 to 5, 6 and the default, more.
    const std::pair<int, unsigned char> cases[] = {{0, 0x01},  {1, 0x01},  {2, 0x5e}, {5, 0x5e},
                                                   {6, 0x9c},  {7, 0xda},  {9, 0xda}, {-1, 0x9c},
                                                   {-5, 0x9c}, {10, 0x9c}, {42, 0x9c}};
    std::size_t sizes[10] = {};
    for (const auto& [level, mark] : cases) {
        SCOPED_TRACE(level);
        const Bytes output = bytes(0u);
        EXPECT_TRUE(Zlib::Deflate(output, bytes(text), level));
        EXPECT_EQ(output->at(0), 0x78);
        EXPECT_EQ(output->at(1), mark);
        if (level >= 0 && level <= 9) {
            sizes[level] = output->size();
        }
    }
    EXPECT_GT(sizes[0], text.size());
    EXPECT_GT(text.size(), sizes[1]);
    EXPECT_GT(sizes[1], sizes[9]);
}

TEST(ZlibLevel, ZeroStoresWithoutCompression) {
    for (const std::size_t size : {1, 2, 100, 1000, 16000}) {
        const std::string text = sample(size);
        const Bytes output = bytes(0u);
        EXPECT_TRUE(Zlib::Deflate(output, bytes(text), 0));
        EXPECT_EQ(text_of(*output), stored(text));
        EXPECT_EQ(output->size(), size + 11);
    }
}

// Deflate, string form

TEST(ZlibDeflateString, GivesAZlibStreamAtTheDefaultLevel) {
    const std::string text = sample(5000);
    for (const std::size_t size_before : {0, 3, 100000}) {
        std::string output(size_before, '?');
        EXPECT_TRUE(Zlib::Deflate(output, text));
        EXPECT_EQ(output, by_zlib(text, -1));
    }
}

TEST(ZlibDeflateString, OfNoDataIsFalseAndTouchesNothing) {
    std::string output = "output";
    EXPECT_FALSE(Zlib::Deflate(output, ""));
    EXPECT_EQ(output, "output");
}

TEST(ZlibDeflateString, TakesBytesOfAnyValue) {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    std::string output;
    EXPECT_TRUE(Zlib::Inflate(output, 256, deflated(all)));
    EXPECT_EQ(output, all);
    EXPECT_TRUE(Zlib::Inflate(output, 1, deflated(std::string(1, '\0'))));
    EXPECT_EQ(output, std::string(1, '\0'));
}

// Inflate, vector form

TEST(ZlibInflateVector, RestoresTheData) {
    const std::string text = sample(5000);
    const Bytes output = bytes(text.size());
    const Bytes input = bytes(deflated(text));
    EXPECT_TRUE(Zlib::Inflate(output, input));
    EXPECT_EQ(text_of(*output), text);
    EXPECT_EQ(text_of(*input), deflated(text));
    EXPECT_EQ(output.use_count() + input.use_count(), 2);
}

TEST(ZlibInflateVector, LeavesTheBytesBehindTheDataInALargerOutput) {
    const std::string text = sample(5000);
    for (const std::size_t more : {1, 2, 300, 10000}) {
        const Bytes output = bytes(text.size() + more);
        EXPECT_TRUE(Zlib::Inflate(output, bytes(deflated(text))));
        EXPECT_EQ(text_of(*output), text + std::string(more, '\xEE'));
    }
    const Bytes output = bytes(5u);
    EXPECT_TRUE(Zlib::Inflate(output, bytes(EMPTY_STREAM)));
    EXPECT_EQ(text_of(*output), "\xEE\xEE\xEE\xEE\xEE");
}

TEST(ZlibInflateVector, IntoASmallerOutputIsFalseAndKeepsItsSize) {
    const std::string text = sample(500);
    for (const std::size_t size : {1, 2, 250, 499}) {
        const Bytes output = bytes(size);
        EXPECT_FALSE(Zlib::Inflate(output, bytes(deflated(text))));
        EXPECT_EQ(output->size(), size);
    }
}

TEST(ZlibInflateVector, OfANullPointerOrNoInputIsFalseAndTouchesNothing) {
    const Bytes some = bytes("some");
    EXPECT_FALSE(Zlib::Inflate(some, NONE));
    EXPECT_FALSE(Zlib::Inflate(NONE, some));
    EXPECT_FALSE(Zlib::Inflate(NONE, NONE));
    EXPECT_FALSE(Zlib::Inflate(NONE, bytes(EMPTY_STREAM)));
    EXPECT_FALSE(Zlib::Inflate(NONE, bytes(0u)));
    EXPECT_FALSE(Zlib::Inflate(some, bytes(0u)));
    EXPECT_EQ(text_of(*some), "some");
    EXPECT_FALSE(Zlib::Inflate(bytes(0u), bytes(0u))) << "no input comes before no output";
    EXPECT_FALSE(Zlib::Inflate(bytes(0u), NONE));
}

TEST(ZlibInflateVector, IntoAnEmptyOutputThrowsOutOfRange) {
    for (const std::string& input : {EMPTY_STREAM, deflated("abc"), std::string("no stream")}) {
        const Bytes output = bytes(0u);
        try {
            Zlib::Inflate(output, bytes(input));
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::out_of_range& e) {
            EXPECT_EQ(std::string(e.what()).rfind("vector::_M_range_check", 0), 0u) << e.what();
        }
        EXPECT_TRUE(output->empty());
    }
}

TEST(ZlibInflateVector, OfWhatIsNoStreamIsFalse) {
    for (const std::string& input : {std::string("x"), std::string("no stream"), noise(100, 1),
                                     std::string(100, '\0'), std::string("\x78\x9c")}) {
        const Bytes output = bytes(50u);
        EXPECT_FALSE(Zlib::Inflate(output, bytes(input)));
        EXPECT_EQ(output->size(), 50u);
    }
}

// Inflate, string form

TEST(ZlibInflateString, RestoresTheData) {
    const std::string text = sample(5000);
    for (const std::size_t size_before : {0, 3, 100000}) {
        std::string output(size_before, '?');
        EXPECT_TRUE(Zlib::Inflate(output, 5000, deflated(text)));
        EXPECT_EQ(output, text);
    }
}

TEST(ZlibInflateString, WithALargerSizeIsCutToTheTrueLength) {
    const std::string text = sample(5000);
    for (const unsigned int size : {5001u, 5002u, 6000u, 100000u}) {
        std::string output;
        EXPECT_TRUE(Zlib::Inflate(output, size, deflated(text)));
        EXPECT_EQ(output, text);
    }
    std::string output = "output";
    EXPECT_TRUE(Zlib::Inflate(output, 10, EMPTY_STREAM));
    EXPECT_EQ(output, "");
}

TEST(ZlibInflateString, WithASmallerSizeIsFalseAndTheOutputHasThatSize) {
    const std::string text = sample(500);
    for (const unsigned int size : {1u, 2u, 250u, 499u}) {
        std::string output = "output";
        EXPECT_FALSE(Zlib::Inflate(output, size, deflated(text)));
        EXPECT_EQ(output.size(), size);
    }
}

TEST(ZlibInflateString, WithoutInputOrSizeIsFalseAndTouchesNothing) {
    std::string output = "output";
    EXPECT_FALSE(Zlib::Inflate(output, 100, ""));
    EXPECT_FALSE(Zlib::Inflate(output, 0, deflated("abc")));
    EXPECT_FALSE(Zlib::Inflate(output, 0, EMPTY_STREAM));
    EXPECT_FALSE(Zlib::Inflate(output, 0, ""));
    EXPECT_EQ(output, "output");
}

TEST(ZlibInflateString, OfWhatIsNoStreamIsFalseAndTheOutputHasTheExpectedSize) {
    for (const std::string& input : {std::string("x"), std::string("no stream"), noise(100, 1),
                                     std::string(100, '\0'), std::string("\x78\x9c")}) {
        std::string output = "output";
        EXPECT_FALSE(Zlib::Inflate(output, 50, input));
        EXPECT_EQ(output.size(), 50u);
    }
}

// Round trips

void check_round_trip(const std::string& data, int level) {
    SCOPED_TRACE(std::to_string(data.size()) + " bytes, level " + std::to_string(level));
    const Bytes packed = bytes(0u);
    ASSERT_TRUE(Zlib::Deflate(packed, bytes(data), level));
    ASSERT_LE(packed->size(), bound(data.size()));
    if (!data.empty()) {
        const Bytes unpacked = bytes(data.size());
        ASSERT_TRUE(Zlib::Inflate(unpacked, packed));
        ASSERT_TRUE(text_of(*unpacked) == data);
        std::string packed_text, unpacked_text;
        ASSERT_TRUE(Zlib::Deflate(packed_text, data));
        ASSERT_TRUE(
            Zlib::Inflate(unpacked_text, static_cast<unsigned int>(data.size()), packed_text));
        ASSERT_TRUE(unpacked_text == data);
    }
    std::string unpacked;
    ASSERT_TRUE(
        Zlib::Inflate(unpacked, static_cast<unsigned int>(data.size()) + 1, text_of(*packed)));
    ASSERT_TRUE(unpacked == data);
}

TEST(ZlibRoundTrip, OfEverySmallSize) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (std::size_t size = 0; size <= 300; ++size) {
        const int level = static_cast<int>(size % 11) - 1;
        check_round_trip(noise(size, seed + static_cast<unsigned int>(size)), level);
        check_round_trip(sample(size), level);
    }
}

TEST(ZlibRoundTrip, OfSizesAroundPowersOfTwoAndTheLimitsOfStoredBlocks) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (const std::size_t middle : {512, 1024, 4096, 16384, 32768, 65536, 69999}) {
        for (std::size_t size = middle - 1; size <= middle + 1; ++size) {
            for (const int level : {-1, 0, 1, 9}) {
                check_round_trip(noise(size, seed + static_cast<unsigned int>(size)), level);
                check_round_trip(sample(size), level);
            }
        }
    }
}

TEST(ZlibRoundTrip, OfRandomSizes) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 100; ++i) {
        const std::size_t size = random() % 70001;
        const int level = static_cast<int>(random() % 11) - 1;
        const bool noisy = random() % 2 == 0;
        check_round_trip(noisy ? noise(size, seed) : sample(size), level);
    }
}

// Damage

// A damaged stream must be refused, unless the damage does not touch the data.
void check_damaged(const std::string& stream, const std::string& text) {
    const unsigned int size = static_cast<unsigned int>(text.size());
    std::string output;
    if (Zlib::Inflate(output, size, stream)) {
        ASSERT_EQ(output, text);
    } else {
        ASSERT_EQ(output.size(), size);
    }
    const Bytes vector = bytes(text.size());
    if (Zlib::Inflate(vector, bytes(stream))) {
        ASSERT_EQ(text_of(*vector), text);
    }
    ASSERT_EQ(vector->size(), size);
}

TEST(ZlibDamage, EveryTruncatedStreamIsRefused) {
    const std::string text = sample(200);
    for (const std::string& whole : {deflated(text), stored(text)}) {
        for (std::size_t size = 1; size < whole.size(); ++size) {
            const std::string stream = whole.substr(0, size);
            std::string output;
            EXPECT_FALSE(Zlib::Inflate(output, 200, stream)) << size;
            EXPECT_EQ(output.size(), 200u);
            const Bytes vector = bytes(200u);
            EXPECT_FALSE(Zlib::Inflate(vector, bytes(stream))) << size;
            EXPECT_EQ(vector->size(), 200u);
        }
    }
}

TEST(ZlibDamage, EveryChangeOfAByteIsRefusedOrHarmless) {
    const std::string text = sample(60);
    for (const std::string& whole : {deflated(text), stored(text)}) {
        std::size_t refused = 0;
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (int change = 1; change < 256; ++change) {
                std::string stream = whole;
                stream[at] = static_cast<char>(stream[at] ^ change);
                check_damaged(stream, text);
                std::string output;
                refused += Zlib::Inflate(output, 60, stream) ? 0 : 1;
            }
        }
        EXPECT_GT(refused, 200 * whole.size());
    }
}

TEST(ZlibDamage, RandomInputNeverDoesHarm) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 2000; ++i) {
        std::string input = noise(1 + random() % 100, static_cast<unsigned int>(random()));
        input.replace(0, std::min<std::size_t>(input.size(), 2), "\x78\x9c"); // past the header
        const unsigned int size = 1 + static_cast<unsigned int>(random() % 1000);
        std::string output;
        const bool done = Zlib::Inflate(output, size, input);
        EXPECT_TRUE(done ? output.size() <= size : output.size() == size);
        const Bytes vector = bytes(size);
        EXPECT_EQ(Zlib::Inflate(vector, bytes(input)), done);
        EXPECT_EQ(vector->size(), size);
    }
}

// Output and input the same

TEST(ZlibInPlace, StringsAreReadAsTheyWereAtTheCall) {
    const std::string text = sample(5000);
    std::string place = text;
    EXPECT_TRUE(Zlib::Deflate(place, place));
    EXPECT_EQ(place, deflated(text));
    EXPECT_TRUE(Zlib::Inflate(place, 6000, place));
    EXPECT_EQ(place, text);
}

TEST(ZlibInPlace, StringsFailAsTheyDoApart) {
    std::string place;
    EXPECT_FALSE(Zlib::Deflate(place, place));
    EXPECT_FALSE(Zlib::Inflate(place, 10, place));
    EXPECT_EQ(place, "");
    place = deflated(sample(50));
    const std::string packed = place;
    EXPECT_FALSE(Zlib::Inflate(place, 0, place));
    EXPECT_EQ(place, packed);
    EXPECT_FALSE(Zlib::Inflate(place, 49, place));
    EXPECT_EQ(place.size(), 49u);
}

TEST(ZlibInPlace, VectorsAreReadAsTheyWereAtTheCall) {
    const std::string text = sample(5000);
    const Bytes place = bytes(text);
    EXPECT_TRUE(Zlib::Deflate(place, place, 9));
    EXPECT_EQ(text_of(*place), by_zlib(text, 9));
    const Bytes empty = bytes(0u);
    EXPECT_TRUE(Zlib::Deflate(empty, empty));
    EXPECT_EQ(text_of(*empty), EMPTY_STREAM);
}

TEST(ZlibInPlace, VectorInflateHasTheRoomOfItsInput) {
    const std::string text = sample(500);
    const std::string stream = stored(text); // 11 bytes longer than the data
    const Bytes place = bytes(stream);
    EXPECT_TRUE(Zlib::Inflate(place, place));
    EXPECT_EQ(text_of(*place), text + stream.substr(text.size()));

    const Bytes small = bytes(deflated(text)); // shorter than the data
    const std::size_t size = small->size();
    EXPECT_FALSE(Zlib::Inflate(small, small));
    EXPECT_EQ(small->size(), size);
    const Bytes none = bytes(0u);
    EXPECT_FALSE(Zlib::Inflate(none, none));
}

TEST(ZlibInPlace, TwoPointersMayShareOneVectorWithoutKnowingOfEachOther) {
    const std::string text = sample(500);
    Vector vector = *bytes(text);
    const auto keep = [](Vector*) {};
    const Bytes output(&vector, keep);
    const Bytes input(&vector, keep);
    EXPECT_TRUE(Zlib::Deflate(output, input, 0));
    EXPECT_EQ(text_of(vector), stored(text));
    EXPECT_TRUE(Zlib::Inflate(output, input));
    EXPECT_EQ(text_of(vector).substr(0, 500), text);
}

// Failures of zlib and of the memory

// What reaches zlib, and what comes back from it.
class ZlibCalls : public testing::Test {
protected:
    void SetUp() override {
        last_compression.reset();
        deflated("abc");
        if (!last_compression) {
            GTEST_SKIP() << "zlib is linked in such a way that nothing can stand in front of it";
        }
    }
    void TearDown() override { zlib_result = Z_OK; }
};

TEST_F(ZlibCalls, LevelIsPassedOnOrTheDefault) {
    const Bytes output = bytes(0u);
    for (int level = -5; level <= 42; ++level) {
        Zlib::Deflate(output, bytes("abc"), level);
        EXPECT_EQ(last_compression->level, level >= 0 && level <= 9 ? level : -1);
    }
    Zlib::Deflate(output, bytes("abc"), 3);
    Zlib::Deflate(output, bytes("abc"));
    EXPECT_EQ(last_compression->level, -1);
    Zlib::Deflate(output, bytes("abc"), 3);
    deflated("abc");
    EXPECT_EQ(last_compression->level, -1);
}

TEST_F(ZlibCalls, NoDataIsPassedOnAsNullAtTheDefaultLevel) {
    for (int level = -5; level <= 12; ++level) {
        deflated("abc");
        EXPECT_TRUE(Zlib::Deflate(bytes(0u), bytes(0u), level));
        EXPECT_EQ(last_compression->level, -1);
        EXPECT_EQ(last_compression->source, nullptr);
        EXPECT_EQ(last_compression->source_size, 0u);
    }
}

TEST_F(ZlibCalls, FailedCompressionIsFalseAndTheOutputHasTheSizeOfTheBound) {
    for (const int result : {Z_MEM_ERROR, Z_BUF_ERROR, Z_STREAM_ERROR, 1}) {
        zlib_result = result;
        for (const std::size_t size : {0, 1, 1000, 70000}) {
            const Bytes vector = bytes(3u);
            EXPECT_FALSE(Zlib::Deflate(vector, bytes(size), 5));
            EXPECT_EQ(vector->size(), bound(size));
            EXPECT_FALSE(Zlib::Deflate(vector, bytes(size)));
            EXPECT_EQ(vector->size(), bound(size));
            if (size != 0) {
                std::string output = "output";
                EXPECT_FALSE(Zlib::Deflate(output, std::string(size, 'x')));
                EXPECT_EQ(output.size(), bound(size));
            }
        }
    }
}

TEST_F(ZlibCalls, BoundIsThatOfZlib) {
    const auto zlib_bound =
        reinterpret_cast<decltype(compressBound)*>(dlsym(RTLD_DEFAULT, "compressBound"));
    ASSERT_NE(zlib_bound, nullptr);
    for (const std::size_t size : {0, 1, 1000, 70000, 50000000}) {
        EXPECT_EQ(bound(size), zlib_bound(static_cast<uLong>(size)));
    }
}

TEST(ZlibOutOfMemory, PassesOnAndLeavesTheOutputAsItWas) {
    const std::string text = sample(5000);
    const std::string packed = deflated(text);
    const Bytes vector = bytes("output");
    const Bytes input = bytes(text);
    std::string output = "output";
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [&] { Zlib::Deflate(vector, input, 5); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { Zlib::Deflate(vector, input); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { Zlib::Deflate(output, text); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { Zlib::Inflate(output, 5000, packed); }));
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(text_of(*vector), "output");
    EXPECT_EQ(output, "output");
}

TEST(ZlibOutOfMemory, InPlaceLeavesThePlaceAsItWas) {
    const std::string text = sample(5000);
    const std::string packed = deflated(text);
    const Bytes vector = bytes(text);
    const Bytes packed_vector = bytes(packed);
    std::string place = text;
    std::string packed_place = packed;
    for (const std::size_t failing : {0, 1}) { // the copy of the input, the room for the output
        EXPECT_TRUE(allocation::fails_at(failing, [&] { Zlib::Deflate(vector, vector, 5); }));
        EXPECT_TRUE(allocation::fails_at(failing, [&] { Zlib::Deflate(place, place); }));
        EXPECT_TRUE(allocation::fails_at(failing,
                                         [&] { Zlib::Inflate(packed_place, 5000, packed_place); }));
    }
    EXPECT_TRUE(allocation::fails_at(0, [&] { Zlib::Inflate(packed_vector, packed_vector); }));
    EXPECT_EQ(text_of(*vector), text);
    EXPECT_EQ(text_of(*packed_vector), packed);
    EXPECT_EQ(place, text);
    EXPECT_EQ(packed_place, packed);
}

TEST(ZlibOutOfMemory, AnExpectedSizeThatNoStringCanHaveThrows) {
    std::string output = "output";
    const std::string packed = deflated("abc");
    if (output.max_size() < 0xFFFFFFFF) {
        EXPECT_THROW(Zlib::Inflate(output, 0xFFFFFFFF, packed), std::length_error);
    } else {
        EXPECT_THROW(Zlib::Inflate(output, 0xFFFFFFFF, packed), std::bad_alloc);
    }
    EXPECT_EQ(output, "output");
    EXPECT_FALSE(Zlib::Inflate(output, 0xFFFFFFFF, ""));
}

} // namespace
