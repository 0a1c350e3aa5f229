#include "exchange_vector.hpp"

namespace kernels {

bool holds_exchanged_avx2(const char* text, std::size_t length, const Exchange& exchange) noexcept {
    return holds(text, length, exchange);
}

void do_exchange_avx2(char* text, std::size_t length, const Exchange& exchange) noexcept {
    put(text, length, exchange);
}

} // namespace kernels
