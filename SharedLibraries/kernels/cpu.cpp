#include "cpu.hpp"

#include <cpuid.h>

namespace kernels {

namespace {

#ifndef NURICCL_CPU_WITHOUT
#define NURICCL_CPU_WITHOUT 0U
#endif

// Bit of CPUID leaf 7 that compilers of this age do not answer for by name.
bool has_sha() {
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_SHA) != 0;
}

unsigned int detect() {
    __builtin_cpu_init();
    unsigned int found = SSE2;
    if (__builtin_cpu_supports("ssse3") != 0) {
        found |= SSSE3;
    }
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
        __builtin_cpu_supports("bmi2") != 0) {
        found |= AVX2; // the system saves the registers, or it would not be reported
    }
    if (__builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("sse4.1") != 0 &&
        has_sha()) {
        found |= SHA;
    }
    if (__builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("avx512bw") != 0) {
        found |= VBMI;
    }
    return found & ~static_cast<unsigned int>(NURICCL_CPU_WITHOUT);
}

} // namespace

unsigned int instructions_at_hand() noexcept {
    static const unsigned int found = detect();
    return found;
}

} // namespace kernels
