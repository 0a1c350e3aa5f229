#pragma once

/// @file
/// The compression function of SHA-1 (FIPS 180-4, section 6.1.2) over whole blocks.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"

#include <cstddef>
#include <cstdint>

namespace kernels {

/// Takes `count` blocks of 64 bytes into the chaining value, five words.
using Sha1Blocks = void(std::uint32_t* state, const unsigned char* blocks,
                        std::size_t count) noexcept;

Sha1Blocks sha1_blocks;          ///< the fastest variant at hand
Sha1Blocks sha1_blocks_portable; ///< runs on any machine
Sha1Blocks sha1_blocks_ssse3;    ///< message schedule four words at a time
Sha1Blocks sha1_blocks_avx2;     ///< message schedule of two blocks at a time
Sha1Blocks sha1_blocks_sha;      ///< four rounds an instruction

} // namespace kernels
