#include <nuriagent/sha1.hpp>

#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t BLOCK_SIZE = sizeof(sha1_context::block);
// The last 8 bytes of the last block hold the length of the message in bits.
constexpr std::size_t LENGTH_POSITION = BLOCK_SIZE - 8;

constexpr std::uint32_t rotate_left(std::uint32_t value, unsigned int count) {
    return (value << count) | (value >> (32 - count));
}

std::uint32_t load_big_endian(const unsigned char* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

void store_big_endian(unsigned char* bytes, std::uint32_t value) {
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

// The working variables a to e of FIPS 180-4, section 6.1.2, in a form whose steps rotate the names
// of the variables instead of their values.
struct Rounds {
    std::uint32_t a, b, c, d, e;

    void step(std::uint32_t f, std::uint32_t constant, std::uint32_t word) {
        const std::uint32_t next = rotate_left(a, 5) + f + e + constant + word;
        e = d;
        d = c;
        c = rotate_left(b, 30);
        b = a;
        a = next;
    }
};

// One word of the message schedule, which is kept as a ring of the 16 latest words.
std::uint32_t expand(std::uint32_t (&schedule)[16], unsigned int t) {
    std::uint32_t& word = schedule[t & 15];
    word = rotate_left(
        schedule[(t + 13) & 15] ^ schedule[(t + 8) & 15] ^ schedule[(t + 2) & 15] ^ word, 1);
    return word;
}

void hash_block(std::uint32_t (&state)[5], const unsigned char* block) {
    std::uint32_t schedule[16];
    for (unsigned int t = 0; t < 16; ++t) {
        schedule[t] = load_big_endian(block + std::size_t{t} * 4);
    }
    Rounds r{state[0], state[1], state[2], state[3], state[4]};
#pragma GCC unroll 16
    for (unsigned int t = 0; t < 16; ++t) {
        r.step(r.d ^ (r.b & (r.c ^ r.d)), 0x5a827999U, schedule[t]);
    }
#pragma GCC unroll 4
    for (unsigned int t = 16; t < 20; ++t) {
        r.step(r.d ^ (r.b & (r.c ^ r.d)), 0x5a827999U, expand(schedule, t));
    }
#pragma GCC unroll 20
    for (unsigned int t = 20; t < 40; ++t) {
        r.step(r.b ^ r.c ^ r.d, 0x6ed9eba1U, expand(schedule, t));
    }
#pragma GCC unroll 20
    for (unsigned int t = 40; t < 60; ++t) {
        r.step((r.b & r.c) | (r.d & (r.b | r.c)), 0x8f1bbcdcU, expand(schedule, t));
    }
#pragma GCC unroll 20
    for (unsigned int t = 60; t < 80; ++t) {
        r.step(r.b ^ r.c ^ r.d, 0xca62c1d6U, expand(schedule, t));
    }
    state[0] += r.a;
    state[1] += r.b;
    state[2] += r.c;
    state[3] += r.d;
    state[4] += r.e;
}

} // namespace

void sha1_begin(sha1_context* context) noexcept {
    *context = {{0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U, 0xc3d2e1f0U}, 0, 0, {}};
}

void sha1_hash(const unsigned char* data, unsigned int length, sha1_context* context) noexcept {
    const std::size_t filled = context->length_low % BLOCK_SIZE;
    context->length_low += length;
    context->length_high += context->length_low < length ? 1U : 0U;

    std::size_t left = length;
    if (filled != 0) {
        const std::size_t room = BLOCK_SIZE - filled;
        if (left < room) {
            if (left != 0) {
                std::memcpy(context->block + filled, data, left);
            }
            return;
        }
        std::memcpy(context->block + filled, data, room);
        hash_block(context->state, context->block);
        data += room;
        left -= room;
    }
    for (; left >= BLOCK_SIZE; data += BLOCK_SIZE, left -= BLOCK_SIZE) {
        hash_block(context->state, data);
    }
    if (left != 0) {
        std::memcpy(context->block, data, left);
    }
}

void sha1_end(unsigned char* digest, sha1_context* context) noexcept {
    std::size_t filled = context->length_low % BLOCK_SIZE;
    context->block[filled++] = 0x80;
    if (filled > LENGTH_POSITION) {
        std::memset(context->block + filled, 0, BLOCK_SIZE - filled);
        hash_block(context->state, context->block);
        filled = 0;
    }
    std::memset(context->block + filled, 0, LENGTH_POSITION - filled);
    store_big_endian(context->block + LENGTH_POSITION,
                     (context->length_high << 3) | (context->length_low >> 29));
    store_big_endian(context->block + LENGTH_POSITION + 4, context->length_low << 3);
    hash_block(context->state, context->block);
    for (std::size_t i = 0; i < 5; ++i) {
        store_big_endian(digest + i * 4, context->state[i]);
    }
}
