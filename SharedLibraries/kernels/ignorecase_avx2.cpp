#include "ignorecase.hpp"

std::size_t kernels::long_same_but_case_avx2(const char* a, const char* b,
                                             std::size_t length) noexcept {
    return count_same(a, b, length);
}
