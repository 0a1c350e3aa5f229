#pragma once

/// @file
/// The standard alphabet of Base64 (RFC 4648, section 4) in whole groups, without padding.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"

#include <cstddef>

namespace kernels {

/// Encodes `groups` groups of 3 bytes as 4 digits each. The places do not overlap.
using Base64Encode = void(const unsigned char* bytes, std::size_t groups, char* text) noexcept;

/// Whether `length` characters are digits all.
using Base64Check = bool(const char* text, std::size_t length) noexcept;

/// Decodes `groups` groups of 4 digits to 3 bytes each. `bytes` may be where `text` is.
using Base64Decode = void(const char* text, std::size_t groups, unsigned char* bytes) noexcept;

Base64Encode base64_encode; ///< the fastest variant at hand
Base64Encode base64_encode_portable;
Base64Encode base64_encode_ssse3;
Base64Encode base64_encode_avx2;
Base64Encode base64_encode_vbmi;

Base64Check base64_check; ///< the fastest variant at hand
Base64Check base64_check_portable;
Base64Check base64_check_ssse3;
Base64Check base64_check_avx2;
Base64Check base64_check_vbmi;

Base64Decode base64_decode; ///< the fastest variant at hand
Base64Decode base64_decode_portable;
Base64Decode base64_decode_ssse3;
Base64Decode base64_decode_avx2;
Base64Decode base64_decode_vbmi;

} // namespace kernels
