#include <nuriagent/sha1.hpp>

#include <cstring>

namespace {

std::uint32_t rotated(std::uint32_t word, unsigned int by) {
    return word << by | word >> (32 - by);
}

void add_block(std::uint32_t (&state)[5], const unsigned char* block) {
    std::uint32_t words[80];
    for (int i = 0; i < 16; ++i, block += 4) {
        words[i] = std::uint32_t{block[0]} << 24 | std::uint32_t{block[1]} << 16 |
                   std::uint32_t{block[2]} << 8 | std::uint32_t{block[3]};
    }
    for (int i = 16; i < 80; ++i) {
        words[i] = rotated(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    }
    auto [a, b, c, d, e] = state;
    for (int i = 0; i < 80; ++i) {
        const std::uint32_t mixed = i < 20   ? ((b & c) | (~b & d)) + 0x5a827999
                                    : i < 40 ? (b ^ c ^ d) + 0x6ed9eba1
                                    : i < 60 ? ((b & c) | (b & d) | (c & d)) + 0x8f1bbcdc
                                             : (b ^ c ^ d) + 0xca62c1d6;
        const std::uint32_t next = rotated(a, 5) + mixed + e + words[i];
        e = d;
        d = c;
        c = rotated(b, 30);
        b = a;
        a = next;
    }
    const std::uint32_t sums[] = {a, b, c, d, e};
    for (int i = 0; i < 5; ++i) {
        state[i] += sums[i];
    }
}

} // namespace

void sha1_begin(sha1_context* context) noexcept {
    *context = {{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0}, 0, {}};
}

void sha1_hash(const unsigned char* data, unsigned int length, sha1_context* context) noexcept {
    auto used = static_cast<unsigned int>(context->length % 64);
    context->length += length;
    while (length != 0) {
        const unsigned int part = length < 64 - used ? length : 64 - used;
        std::memcpy(context->block + used, data, part);
        data += part;
        length -= part;
        used = (used + part) % 64;
        if (used == 0) {
            add_block(context->state, context->block);
        }
    }
}

void sha1_end(unsigned char* digest, sha1_context* context) noexcept {
    static const unsigned char padding[64] = {0x80};
    const std::uint64_t bits = context->length * 8;
    const auto used = static_cast<unsigned int>(context->length % 64);
    sha1_hash(padding, used < 56 ? 56 - used : 120 - used, context);
    unsigned char length[8];
    for (unsigned int i = 0; i < 8; ++i) {
        length[i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    }
    sha1_hash(length, sizeof length, context);
    for (unsigned int i = 0; i < 20; ++i) {
        digest[i] = static_cast<unsigned char>(context->state[i / 4] >> (24 - 8 * (i % 4)));
    }
}
