#pragma once

/// @file
/// Comparing text with the 26 letters of ASCII taken for the same in both cases.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"

#include <cstddef>

namespace kernels {

/// The number of leading characters, `length` at most, that are the same but for the case of ASCII
/// letters.
using SameButCase = std::size_t(const char* a, const char* b, std::size_t length) noexcept;

SameButCase same_but_case; ///< the fastest variant at hand
SameButCase same_but_case_sse2;
SameButCase same_but_case_avx2;

} // namespace kernels
