// Decompression takes any bytes and stays inside the size it was given; what it accepts, and what
// was compressed, comes back the same by both forms.

#include "fuzz.hpp"

#include <nuriccl/Zlib.hpp>

#include <boost/make_shared.hpp>

#include <vector>

namespace {

using nuriccl::Zlib;

Zlib::Bytes bytes_of(const std::string& text) {
    return boost::make_shared<std::vector<unsigned char>>(text.begin(), text.end());
}

std::string text_of(const Zlib::Bytes& bytes) { return {bytes->begin(), bytes->end()}; }

// Any bytes as a stream.
void check_inflate(const std::string& stream, unsigned int room) {
    std::string data = "before";
    if (!Zlib::Inflate(data, room, stream)) {
        FUZZ_REQUIRE(data.size() == (stream.empty() || room == 0 ? 6 : room));
        return;
    }
    FUZZ_REQUIRE(data.size() <= room);

    // The same stream into a vector, which keeps its size.
    const auto vector = boost::make_shared<std::vector<unsigned char>>(room);
    FUZZ_REQUIRE(Zlib::Inflate(vector, bytes_of(stream)));
    FUZZ_REQUIRE(vector->size() == room);
    FUZZ_REQUIRE(std::string(vector->begin(), vector->begin() + static_cast<long>(data.size())) ==
                 data);

    // Room for exactly the data is enough, one byte less is not.
    std::string exact;
    const auto size = static_cast<unsigned int>(data.size());
    FUZZ_REQUIRE(size == 0 || (Zlib::Inflate(exact, size, stream) && exact == data));
    FUZZ_REQUIRE(size < 2 || !Zlib::Inflate(exact, size - 1, stream));
}

// Any bytes as data.
void check_round_trip(const std::string& data, int level) {
    const auto size = static_cast<unsigned int>(data.size());
    const auto packed = bytes_of("");
    FUZZ_REQUIRE(Zlib::Deflate(packed, bytes_of(data), level));

    std::string unpacked;
    FUZZ_REQUIRE(Zlib::Inflate(unpacked, size + 1, text_of(packed)) && unpacked == data);

    std::string text_packed;
    FUZZ_REQUIRE(Zlib::Deflate(text_packed, data) == !data.empty());
    if (!data.empty()) {
        const auto vector = boost::make_shared<std::vector<unsigned char>>(size);
        FUZZ_REQUIRE(Zlib::Inflate(vector, bytes_of(text_packed)) && text_of(vector) == data);
        // A stream that was cut short is none.
        text_packed.pop_back();
        FUZZ_REQUIRE(!Zlib::Inflate(unpacked, size, text_packed));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned int room = input.byte() * 256U + input.byte();
    const int level = input.byte() % 16 - 3; // and some that zlib does not know
    const std::size_t place = input.byte();
    const std::uint8_t change = input.byte();
    const std::string rest = input.rest();

    check_inflate(rest, room);
    check_round_trip(rest, level);

    // Arbitrary bytes are hardly ever a stream; a stream with one byte changed, or none, may be.
    std::string stream;
    if (Zlib::Deflate(stream, rest)) {
        char& changed = stream[place % stream.size()];
        changed = static_cast<char>(changed ^ change);
        check_inflate(stream, room);
    }
    return 0;
}
