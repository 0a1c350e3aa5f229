#pragma once

/// @file
/// Base64 in vector registers: each lane holds 12 bytes on one side and 16 digits on the other.

#include "base64.hpp"
#include "vector.hpp"

namespace kernels {

namespace {

constexpr std::size_t LANE_BYTES = 12;
constexpr std::size_t LANE_GROUPS = 4;
constexpr std::size_t GROUPS = LANE_GROUPS * Vector::LANES; // of a vector

// The bytes of a lane lie at its low end, or `skipped` bytes further up.
Vector encode(Vector bytes, char skipped) {
    // Each group as the word b c a b, in which every digit lies within a half.
    constexpr signed char SPREAD[] = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
    const Vector spread = bytes.taken(add_bytes(Vector::lanes_of(SPREAD), Vector::all(skipped)));
    // Shifted to the low end of their bytes, the first and third by a product's high half, the
    // second and fourth by a product's low half.
    const Vector odd =
        multiply_high(spread & Vector::all_words(0x0fc0fc00), Vector::all_words(0x04000040));
    const Vector even =
        multiply_low(spread & Vector::all_words(0x003f03f0), Vector::all_words(0x01000010));
    const Vector values = odd | even;
    // What to add to a value: of the kinds 0 for A to Z, 1 for a to z, 2 to 11 for the digits, 12,
    // 13.
    constexpr signed char OFFSETS[] = {65, 71, -4, -4, -4,  -4,  -4, -4,
                                       -4, -4, -4, -4, -19, -16, 0,  0};
    const Vector beyond_upper = greater_bytes(values, Vector::all(25)); // -1 where it holds
    const Vector kind = subtract_bytes(subtract_to_zero(values, Vector::all(51)), beyond_upper);
    return add_bytes(values, Vector::lanes_of(OFFSETS).taken(kind));
}

Vector high_nibbles(Vector bytes) { return bytes.words_shifted_right<4>() & Vector::all(0x0f); }

// Not zero where the byte is no digit. The bits stand for the high nibbles 2, 3, 4 and 6, 5 and 7,
// and all others; the table of the low nibbles has those in which the nibble is bad.
Vector bad_digits(Vector text) {
    constexpr signed char BY_LOW[] = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                      0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a};
    constexpr signed char BY_HIGH[] = {0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                       0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
    return Vector::lanes_of(BY_LOW).taken(text & Vector::all(0x0f)) &
           Vector::lanes_of(BY_HIGH).taken(high_nibbles(text));
}

// 12 bytes at the low end of each lane, then zeros.
Vector decode(Vector text) {
    // What to add to a digit by its high nibble; '/' is taken for nibble 1.
    constexpr signed char OFFSETS[] = {0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0};
    const Vector kind = add_bytes(high_nibbles(text), equal_bytes(text, Vector::all('/')));
    const Vector values = add_bytes(text, Vector::lanes_of(OFFSETS).taken(kind));
    const Vector halves = multiply_add_bytes(values, Vector::all_words(0x01400140));  // x 64, x 1
    const Vector groups = multiply_add_halves(halves, Vector::all_words(0x00011000)); // x 4096, x 1
    constexpr signed char GATHER[] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};
    return groups.taken(Vector::lanes_of(GATHER));
}

// What comes last is done in a vector that ends where the text ends, and repeats some of what was
// done.

void encode_groups(const unsigned char* bytes, std::size_t groups, char* text) {
    // A lane is read as 16 bytes: behind those of the first vector, and in front of all others'.
    constexpr char EXCESS = 16 - LANE_BYTES;
    if (groups * 3 < GROUPS * 3 + EXCESS) {
        return base64_encode_portable(bytes, groups, text);
    }
    const unsigned char* const last = bytes + (groups - GROUPS) * 3 - EXCESS;
    char* const last_text = text + (groups - GROUPS) * 4;
    encode(Vector::load_lanes(bytes, bytes + LANE_BYTES), 0).store(text);
    bytes -= EXCESS;
#pragma GCC unroll 2
    while ((bytes += GROUPS * 3) < last) {
        encode(Vector::load_lanes(bytes, bytes + LANE_BYTES), EXCESS).store(text += Vector::SIZE);
    }
    encode(Vector::load_lanes(last, last + LANE_BYTES), EXCESS).store(last_text);
}

bool are_digits(const char* text, std::size_t length) {
    if (length < Vector::SIZE) {
        return base64_check_portable(text, length);
    }
    const char* const last = text + length - Vector::SIZE;
    Vector bad = bad_digits(Vector::load(last));
    for (; text < last; text += Vector::SIZE) {
        bad = bad | bad_digits(Vector::load(text));
    }
    return bad.is_zero();
}

void decode_groups(const char* text, std::size_t groups, unsigned char* bytes) {
    if (groups < GROUPS) {
        return base64_decode_portable(text, groups, bytes);
    }
    const char* const last = text + (groups - GROUPS) * 4;
    unsigned char* const last_bytes = bytes + (groups - GROUPS) * 3;
    const Vector last_digits = Vector::load(last); // before bytes are written there
    // The four zeros behind the bytes of a vector lie within the last one, two groups from its end.
#pragma GCC unroll 2
    for (; last - text > 4; text += Vector::SIZE, bytes += GROUPS * 3) {
        decode(Vector::load(text)).store_lanes(bytes, bytes + LANE_BYTES);
    }
    if (last - text == 4) {
        base64_decode_portable(text, 1, bytes);
    }
    decode(last_digits).store_low_of_lanes(last_bytes, last_bytes + LANE_BYTES);
}

} // namespace

} // namespace kernels
