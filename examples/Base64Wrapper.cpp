// A token by which a client resumes an interrupted transfer: where it was, in binary, as text that
// can stand in a URL. What comes back from a client may be anything, and is checked.
//
// usage: Base64Wrapper [TOKEN]     reads a token; without it, makes one and reads it

#include <nuriccl/Base64Wrapper.hpp>

#include <cstdint>
#include <iostream>
#include <string>

namespace {

using nuriccl::Base64Wrapper;

struct Place {
    std::uint32_t run;
    std::uint64_t offset;
};

constexpr std::size_t PLACE_SIZE = 12; // both numbers, the high byte first

std::string token_of(const Place& place) {
    std::string bytes;
    for (unsigned int shift = 32; shift != 0;) {
        bytes += static_cast<char>(place.run >> (shift -= 8));
    }
    for (unsigned int shift = 64; shift != 0;) {
        bytes += static_cast<char>(place.offset >> (shift -= 8));
    }
    std::string token;
    if (!Base64Wrapper::encode(bytes, token, Base64Wrapper::url_safe)) {
        throw Base64Wrapper::encode_failure(); // memory has run out
    }
    return token;
}

Place place_of(const std::string& token) {
    std::string bytes;
    if (!Base64Wrapper::decode(token, bytes) || bytes.size() != PLACE_SIZE) {
        throw Base64Wrapper::decode_failure();
    }
    Place place{};
    for (std::size_t i = 0; i < PLACE_SIZE; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (i < sizeof place.run) {
            place.run = place.run << 8 | byte;
        } else {
            place.offset = place.offset << 8 | byte;
        }
    }
    return place;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::string token = argc > 1 ? argv[1] : token_of({17, 0xfbfff03ff});
        const Place place = place_of(token);
        std::cout << "GET /runs?resume=" << token << "\nrun " << place.run << " from byte "
                  << place.offset << '\n';
    } catch (const Base64Wrapper::exception& error) {
        std::cerr << "token refused: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
