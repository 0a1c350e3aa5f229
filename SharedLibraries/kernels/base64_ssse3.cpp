#include "base64_vector.hpp"

namespace kernels {

void base64_encode_ssse3(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    encode_groups(bytes, groups, text);
}

bool base64_check_ssse3(const char* text, std::size_t length) noexcept {
    return are_digits(text, length);
}

void base64_decode_ssse3(const char* text, std::size_t groups, unsigned char* bytes) noexcept {
    decode_groups(text, groups, bytes);
}

} // namespace kernels
