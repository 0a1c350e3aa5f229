#pragma once

/// @file
/// Streaming SHA-1 (FIPS 180-4).
///
/// Use it to recognise equal content. It is not for passwords, and it does not withstand somebody
/// who makes two inputs with one digest on purpose.
///
/// Order of calls: `sha1_begin`, `sha1_hash` any number of times, `sha1_end`.
///
/// Thread safety: distinct contexts may be used on different threads; one context by one thread at
/// a time.
///
/// @code{.cpp}
/// sha1_context context;
/// unsigned char digest[20];
/// sha1_begin(&context);
/// sha1_hash(reinterpret_cast<const unsigned char*>("abc"), 3, &context);
/// sha1_end(digest, &context);
/// assert(digest[0] == 0xa9 && digest[19] == 0x9d);
/// @endcode

#include <nuriagent/export.hpp>

#include <cstdint>

/// The state of one digest in the making. Its members belong to the functions below.
struct sha1_context {
    std::uint32_t state[5];    ///< the chaining value H
    std::uint32_t length_low;  ///< low half of the number of bytes hashed so far
    std::uint32_t length_high; ///< high half of it
    unsigned char block[64];   ///< the bytes, fewer than 64, that do not fill a block yet
};

/// Starts a digest: sets every member of `*context`, whatever it held.
NURIAGENT_API void sha1_begin(sha1_context* context) noexcept;

/// Adds `length` bytes to the digest. `data` may be null when `length` is 0. The limit of a message
/// is 2^61 - 1 bytes.
NURIAGENT_API void sha1_hash(const unsigned char* data, unsigned int length,
                             sha1_context* context) noexcept;

/// Finishes the digest and writes its 20 bytes to `digest`. The context must be started anew with
/// `sha1_begin` before it is used again.
NURIAGENT_API void sha1_end(unsigned char* digest, sha1_context* context) noexcept;
