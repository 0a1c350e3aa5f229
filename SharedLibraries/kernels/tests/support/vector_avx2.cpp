#include "vector_apply.hpp"

std::size_t vector_operations::apply_avx2(Operation operation, const unsigned char* a,
                                          const unsigned char* b, unsigned char* result) noexcept {
    return apply(operation, a, b, result);
}
