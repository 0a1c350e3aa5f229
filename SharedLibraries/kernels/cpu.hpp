#pragma once

/// @file
/// What the CPU at hand can do beyond the floor of both pointer sizes, which is SSE2, and the
/// choice among the variants of a kernel by it.
///
/// A kernel is a function without rules of its own: it does in bulk what a family says how to do.
/// Each has a portable variant, and faster ones that give the same results. Kernels are compiled
/// into the libraries that use them and seen by nobody else.
///
/// Thread safety: thread-safe.

#include <cstddef>

namespace kernels {

/// Sets of instructions, each with what its variants need besides.
enum Instructions : unsigned int {
    SSE2 = 0,  ///< always there
    SSSE3 = 1, ///< byte shuffles
    AVX2 = 2,  ///< 32-byte registers, with BMI1 and BMI2
    SHA = 4,   ///< steps of SHA-1, with SSSE3 and SSE4.1
    VBMI = 8,  ///< AVX-512 with permutations of bytes (VBMI), and AVX512BW
};

/// The sets, or-ed, that the CPU and the system offer, without those that the macro
/// NURICCL_CPU_WITHOUT names. It lets a build do without them, to test and time the other variants.
unsigned int instructions_at_hand() noexcept;

/// One way to run a kernel.
template <class Function>
struct Variant {
    unsigned int needs; ///< Instructions, or-ed
    Function* run;
};

/// The first variant that runs here. The last one of the list needs nothing.
template <class Function, std::size_t COUNT>
Function* best_of(const Variant<Function> (&variants)[COUNT]) noexcept {
    const unsigned int at_hand = instructions_at_hand();
    std::size_t i = 0;
    while ((variants[i].needs & ~at_hand) != 0) {
        ++i;
    }
    return variants[i].run;
}

} // namespace kernels
