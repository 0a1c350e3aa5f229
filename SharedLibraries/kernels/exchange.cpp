#include "exchange_vector.hpp"

namespace kernels {

bool holds_exchanged_sse2(const char* text, std::size_t length, const Exchange& exchange) noexcept {
    return holds(text, length, exchange);
}

void do_exchange_sse2(char* text, std::size_t length, const Exchange& exchange) noexcept {
    put(text, length, exchange);
}

bool holds_exchanged(const char* text, std::size_t length, const Exchange& exchange) noexcept {
    constexpr std::size_t WORTH_A_CALL = 64;
    if (length < WORTH_A_CALL) {
        return holds(text, length, exchange);
    }
    static constexpr Variant<HoldsExchanged> VARIANTS[] = {{AVX2, holds_exchanged_avx2},
                                                           {SSE2, holds_exchanged_sse2}};
    static HoldsExchanged* const best = best_of(VARIANTS);
    return best(text, length, exchange);
}

void do_exchange(char* text, std::size_t length, const Exchange& exchange) noexcept {
    static constexpr Variant<DoExchange> VARIANTS[] = {{AVX2, do_exchange_avx2},
                                                       {SSE2, do_exchange_sse2}};
    static DoExchange* const best = best_of(VARIANTS);
    best(text, length, exchange);
}

} // namespace kernels
