#pragma once

// The agent's SHA-1, as nuriccl calls it.

#include <cstdint>
#include <type_traits>

struct sha1_context {
    std::uint32_t state[5];
    std::uint64_t length;
    unsigned char block[64];
};

static_assert(std::is_trivially_copyable<sha1_context>::value, "nuriccl copies contexts");

void sha1_begin(sha1_context* context) noexcept;
void sha1_hash(const unsigned char* data, unsigned int length, sha1_context* context) noexcept;
void sha1_end(unsigned char* digest, sha1_context* context) noexcept;
