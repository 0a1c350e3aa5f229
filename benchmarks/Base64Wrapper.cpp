#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/Base64Wrapper.hpp>

#include <array>
#include <boost/beast/core/detail/base64.hpp>
#include <cstring>
#include <string_view>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <absl/strings/escaping.h>
#include <glib.h>
#include <openssl/evp.h>
#endif

namespace {

using namespace benchmarks;
using nuriccl::Base64Wrapper;

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

unsigned int byte_at(const std::string& bytes, std::size_t i) {
    return static_cast<unsigned char>(bytes[i]);
}

// Four characters for three bytes at a time. The output has the size it takes.
void encode_by_hand(const std::string& bytes, std::string& text) {
    char* to = text.data();
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const unsigned int bits =
            byte_at(bytes, i) << 16 | byte_at(bytes, i + 1) << 8 | byte_at(bytes, i + 2);
        *to++ = ALPHABET[bits >> 18];
        *to++ = ALPHABET[bits >> 12 & 63];
        *to++ = ALPHABET[bits >> 6 & 63];
        *to++ = ALPHABET[bits & 63];
    }
    if (const std::size_t rest = bytes.size() - i; rest != 0) {
        const unsigned int bits =
            byte_at(bytes, i) << 16 | (rest == 2 ? byte_at(bytes, i + 1) << 8 : 0);
        *to++ = ALPHABET[bits >> 18];
        *to++ = ALPHABET[bits >> 12 & 63];
        *to++ = rest == 2 ? ALPHABET[bits >> 6 & 63] : '=';
        *to++ = '=';
    }
}

std::array<unsigned char, 256> make_values() {
    std::array<unsigned char, 256> values;
    values.fill(0xff);
    for (unsigned char i = 0; i < 64; ++i) {
        values[static_cast<unsigned char>(ALPHABET[i])] = i;
    }
    return values;
}

const std::array<unsigned char, 256> VALUES = make_values();

// Three bytes for four characters at a time. The output has the size it takes.
// @return whether the text is Base64
bool decode_by_hand(const std::string& text, std::string& bytes) {
    if (text.size() % 4 != 0) {
        return false;
    }
    std::size_t size = text.size();
    while (size != 0 && text[size - 1] == '=' && text.size() - size < 2) {
        --size;
    }
    char* to = bytes.data();
    unsigned int invalid = 0;
    std::size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        const unsigned int a = VALUES[byte_at(text, i)];
        const unsigned int b = VALUES[byte_at(text, i + 1)];
        const unsigned int c = VALUES[byte_at(text, i + 2)];
        const unsigned int d = VALUES[byte_at(text, i + 3)];
        invalid |= a | b | c | d;
        const unsigned int bits = a << 18 | b << 12 | c << 6 | d;
        *to++ = static_cast<char>(bits >> 16);
        *to++ = static_cast<char>(bits >> 8);
        *to++ = static_cast<char>(bits);
    }
    unsigned int bits = 0;
    for (std::size_t k = i; k < size; ++k) {
        const unsigned int value = VALUES[byte_at(text, k)];
        invalid |= value;
        bits |= value << (18 - 6 * (k - i));
    }
    for (std::size_t k = 1; k < size - i; ++k) {
        *to++ = static_cast<char>(bits >> (24 - 8 * k));
    }
    return invalid < 64;
}

void compare_encoding(const std::string& id, const std::string& bytes) {
    std::string text;
    Row row(id, [&]() -> const std::string& {
        Base64Wrapper::encode(bytes, text);
        return text;
    });
    const std::size_t size = text.size();
    std::string out(size + 1, '\0'); // OpenSSL writes a NUL behind the text
    const std::string_view written(out.data(), size);
    row.peer("hand loop", [&] {
        encode_by_hand(bytes, out);
        return written;
    });
    row.peer("Boost.Beast", [&] {
        boost::beast::detail::base64::encode(out.data(), bytes.data(), bytes.size());
        return written;
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto length = static_cast<int>(bytes.size());
    row.peer("OpenSSL", [&] {
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), length);
        return written;
    });
    row.peer("Abseil", [&]() -> const std::string& {
        absl::Base64Escape(bytes, &text);
        return text;
    });
    row.peer("GLib", [&] {
        gint state = 0;
        gint save = 0;
        gsize count = g_base64_encode_step(reinterpret_cast<const guchar*>(bytes.data()),
                                           bytes.size(), FALSE, out.data(), &state, &save);
        count += g_base64_encode_close(FALSE, out.data() + count, &state, &save);
        return std::string_view(out.data(), count);
    });
#endif
    row.limit("memcpy of the text", [&] {
        std::memcpy(out.data(), text.data(), size);
        return written;
    });
}

void compare_decoding(const std::string& id, const std::string& text, std::size_t size) {
    std::string bytes;
    Row row(id, [&]() -> const std::string& {
        Base64Wrapper::decode(text, bytes);
        return bytes;
    });
    REQUIRE(bytes.size() == size);
    std::string out(text.size(), '\0'); // some write whole groups
    const std::string_view written(out.data(), size);
    row.peer("hand loop", [&] {
        const bool valid = decode_by_hand(text, out);
        return written.substr(0, valid ? size : 0);
    });
    row.peer("Boost.Beast", [&] {
        const std::size_t count =
            boost::beast::detail::base64::decode(out.data(), text.data(), text.size()).first;
        return std::string_view(out.data(), count);
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto length = static_cast<int>(text.size());
    const std::size_t padding = text.size() - (text.find_last_not_of('=') + 1);
    row.peer("OpenSSL", [&] {
        const int count =
            EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                            reinterpret_cast<const unsigned char*>(text.data()), length);
        return std::string_view(out.data(), static_cast<std::size_t>(count) - padding);
    });
    row.peer("Abseil", [&]() -> const std::string& {
        absl::Base64Unescape(text, &bytes);
        return bytes;
    });
    row.peer("GLib", [&] {
        gint state = 0;
        guint save = 0;
        const gsize count = g_base64_decode_step(
            text.data(), text.size(), reinterpret_cast<guchar*>(out.data()), &state, &save);
        return std::string_view(out.data(), count);
    });
#endif
    row.limit("memcpy of the text", [&] {
        std::memcpy(out.data(), text.data(), text.size());
        return written;
    });
}

void compare(const std::string& size_name, std::size_t size) {
    const std::string bytes = random_bytes(size);
    compare_encoding("Base64Wrapper.encode." + size_name, bytes);
    std::string text;
    REQUIRE(Base64Wrapper::encode(bytes, text));
    compare_decoding("Base64Wrapper.decode." + size_name, text, size);
}

} // namespace

TEST_CASE("Base64", "[Base64Wrapper]") {
    compare("64", 64);
    compare("4k", 4 * KIB);
    compare("mib", MIB);
}
