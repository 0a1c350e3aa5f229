#include <kernels/sha1.hpp>
#include <nuriagent/sha1.hpp>

#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t BLOCK_SIZE = sizeof(sha1_context::block);
// The last 8 bytes of the last block hold the length of the message in bits.
constexpr std::size_t LENGTH_POSITION = BLOCK_SIZE - 8;

void store_big_endian(unsigned char* bytes, std::uint32_t value) {
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

} // namespace

void sha1_begin(sha1_context* context) noexcept {
    *context = {{0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U, 0xc3d2e1f0U}, 0, 0, {}};
}

void sha1_hash(const unsigned char* data, unsigned int length, sha1_context* context) noexcept {
    const std::size_t filled = context->length_low % BLOCK_SIZE;
    context->length_low += length; // modulo 2^32; the high half takes the carry
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
        kernels::sha1_blocks(context->state, context->block, 1);
        data += room;
        left -= room;
    }
    if (left >= BLOCK_SIZE) {
        kernels::sha1_blocks(context->state, data, left / BLOCK_SIZE);
        data += left - left % BLOCK_SIZE;
        left %= BLOCK_SIZE;
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
        kernels::sha1_blocks(context->state, context->block, 1);
        filled = 0;
    }
    std::memset(context->block + filled, 0, LENGTH_POSITION - filled);
    store_big_endian(context->block + LENGTH_POSITION,
                     (context->length_high << 3) | (context->length_low >> 29));
    store_big_endian(context->block + LENGTH_POSITION + 4, context->length_low << 3);
    kernels::sha1_blocks(context->state, context->block, 1);
    for (std::size_t i = 0; i < 5; ++i) {
        store_big_endian(digest + i * 4, context->state[i]);
    }
}
