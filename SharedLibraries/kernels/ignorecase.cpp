#include "ignorecase.hpp"

namespace kernels {

std::size_t long_same_but_case_sse2(const char* a, const char* b, std::size_t length) noexcept {
    return count_same(a, b, length);
}

std::size_t long_same_but_case(const char* a, const char* b, std::size_t length) noexcept {
    static constexpr Variant<SameButCase> VARIANTS[] = {{AVX2, long_same_but_case_avx2},
                                                        {SSE2, long_same_but_case_sse2}};
    static SameButCase* const best = best_of(VARIANTS);
    return best(a, b, length);
}

} // namespace kernels
