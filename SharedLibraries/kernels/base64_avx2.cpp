#include "base64_vector.hpp"

namespace kernels {

void base64_encode_avx2(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    encode_groups(bytes, groups, text);
}

bool base64_check_avx2(const char* text, std::size_t length) noexcept {
    return are_digits(text, length);
}

void base64_decode_avx2(const char* text, std::size_t groups, unsigned char* bytes) noexcept {
    decode_groups(text, groups, bytes);
}

} // namespace kernels
