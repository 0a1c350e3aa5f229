#pragma once

/// @file
/// Looking for two characters in a text, and putting two others in their place.
///
/// Thread safety: thread-safe.

#include "cpu.hpp"

#include <cstddef>

namespace kernels {

/// Two characters, and what stands for them elsewhere.
struct Exchange {
    char from[2];
    char to[2]; ///< neither is among the former
};

/// Whether a character of `from` is among the `length` characters.
using HoldsExchanged = bool(const char* text, std::size_t length,
                            const Exchange& exchange) noexcept;

/// Puts the character of `to` in the place of each character of `from`.
using DoExchange = void(char* text, std::size_t length, const Exchange& exchange) noexcept;

HoldsExchanged holds_exchanged; ///< the fastest variant at hand
HoldsExchanged holds_exchanged_sse2;
HoldsExchanged holds_exchanged_avx2;

DoExchange do_exchange; ///< the fastest variant at hand
DoExchange do_exchange_sse2;
DoExchange do_exchange_avx2;

} // namespace kernels
