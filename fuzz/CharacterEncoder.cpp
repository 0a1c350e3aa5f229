// Names encoded for any set of characters and decoded: decoding undoes encoding, every form does
// what one character at a time would, and buffers have not one byte more than is asked for.

#include "fuzz.hpp"

#include <nuriccl/CharacterEncoder.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

namespace {

using nuriccl::CharacterEncoder;

bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

std::string encoded_one_by_one(const std::string& text, const std::string& set, char esc) {
    std::string encoded;
    for (const char c : text) {
        if (contains(set, c)) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
            encoded += esc;
            encoded += digits;
        } else {
            encoded += c;
        }
    }
    return encoded;
}

// Any text as an encoded one. `value` tells what two digits stand for; behind the end they are NUL.
template <class Value>
std::string decoded_one_by_one(const std::string& text, char esc, Value value) {
    const std::string padded = text + std::string(2, '\0');
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == esc) {
            decoded += static_cast<char>(value(padded[i + 1], padded[i + 2]) & 0xff);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

// Whether the last character is a '%' that is no digit of an earlier one.
bool ends_in_lone_percent(const std::string& text) {
    std::size_t i = 0;
    while (i + 1 < text.size()) {
        i += text[i] == '%' ? 3 : 1;
    }
    return i + 1 == text.size() && text[i] == '%';
}

int digit(char c) {
    const std::size_t value =
        std::string("0123456789abcdefABCDEF").find(c); // the capital ones are six too far
    return value == std::string::npos ? 0 : static_cast<int>(value < 16 ? value : value - 6);
}

int unchecked_digit(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isdigit(byte) != 0 ? byte - '0' : std::isupper(byte) != 0 ? byte - 55 : byte - 87;
}

int value(char first, char second) { return digit(first) * 16 + digit(second); }

int unchecked_value(char first, char second) {
    return unchecked_digit(first) * 16 + unchecked_digit(second);
}

std::string decoded_name_one_by_one(const std::string& name) {
    std::string decoded;
    for (std::size_t i = 0; i < name.size(); ++i) {
        unsigned int code = 0;
        if (name[i] != '%' || i + 3 > name.size()) {
            decoded += name[i];
            continue;
        }
        const std::string digits = name.substr(i + 1, 2);
        const bool known = std::sscanf(digits.c_str(), "%2x", &code) == 1 &&
                           (code == '%' || code == '/' || code == '\\');
        decoded += known ? std::string(1, static_cast<char>(code)) : '%' + digits;
        i += 2;
    }
    return decoded;
}

std::vector<char> buffer_of(const std::string& text, std::size_t size) {
    std::vector<char> buffer(text.begin(), text.end());
    buffer.resize(size);
    return buffer;
}

void check_strings(const CharacterEncoder& encoder, const std::string& text, const std::string& set,
                   char esc) {
    FUZZ_REQUIRE(encoder.encode(text) == encoded_one_by_one(text, set, '%'));
    FUZZ_REQUIRE(encoder.encoded_size(text) == static_cast<int>(encoder.encode(text).size()) + 1);

    const std::string expected = encoded_one_by_one(text, set + esc, esc);
    std::string encoded = text;
    FUZZ_REQUIRE(encoder.encode(encoded, esc) == (expected != text));
    FUZZ_REQUIRE(encoded == expected);
    FUZZ_REQUIRE(encoder.encoded_size(text, esc) == static_cast<int>(encoded.size()) + 1);
    FUZZ_REQUIRE(CharacterEncoder::decode_unprintable(encoded, esc) == text);

    std::string decoded = text;
    FUZZ_REQUIRE(CharacterEncoder::decode(decoded, esc) == contains(text, esc));
    FUZZ_REQUIRE(decoded == decoded_one_by_one(text, esc, value));

    // This form drops an escape character that nothing follows.
    const std::string whole = text.substr(0, text.size() - (ends_in_lone_percent(text) ? 1 : 0));
    FUZZ_REQUIRE(encoder.decode(text) == decoded_one_by_one(whole, '%', unchecked_value));
}

void check_buffers(const CharacterEncoder& encoder, const std::string& text, const std::string& set,
                   char esc, std::size_t more) {
    const std::string expected = encoded_one_by_one(text, set + esc, esc);
    const std::size_t size = expected.size() + 1;
    const bool any = expected != text;

    // Not enough room, and room with something to spare.
    std::vector<char> buffer = buffer_of(text, size);
    const std::vector<char> before = buffer;
    const int too_small = static_cast<int>(size) - 1 - static_cast<int>(more % size);
    FUZZ_REQUIRE(encoder.encode(buffer.data(), buffer.data(), too_small, esc) ==
                 -static_cast<int>(size));
    FUZZ_REQUIRE(encoder.encode(text.c_str(), nullptr, too_small, esc) == -static_cast<int>(size));
    FUZZ_REQUIRE(buffer == before);
    buffer.resize(size + more);
    buffer.shrink_to_fit();
    FUZZ_REQUIRE(
        encoder.encode(buffer.data(), buffer.data(), static_cast<int>(buffer.size()), esc) == any);
    FUZZ_REQUIRE(std::string(buffer.data()) == expected);
    FUZZ_REQUIRE(buffer.back() == '\0');

    std::vector<char> other(size, '#');
    FUZZ_REQUIRE(encoder.encode(text.c_str(), other.data(), 1, esc) == any);
    FUZZ_REQUIRE(std::string(other.begin(), other.end()) == expected + (any ? '\0' : '#'));

    FUZZ_REQUIRE(CharacterEncoder::decode(buffer.data(), esc) == any);
    FUZZ_REQUIRE(std::string(buffer.data()) == text);

    std::vector<char> encoded = buffer_of(text, text.size() + 1);
    const std::string decoded = decoded_one_by_one(text, esc, value);
    FUZZ_REQUIRE(CharacterEncoder::decode(encoded.data(), esc) == contains(text, esc));
    FUZZ_REQUIRE(std::string(encoded.data(), decoded.size() + 1) == decoded + '\0');
}

void check_fixed_schemes(const std::string& text, char esc) {
    const CharacterEncoder encoder(CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE);
    std::string expected = text;
    std::string encoded = text;
    FUZZ_REQUIRE(CharacterEncoder::encode_unprintable(encoded, esc) ==
                 encoder.encode(expected, esc));
    FUZZ_REQUIRE(encoded == expected);
    FUZZ_REQUIRE(CharacterEncoder::decode_unprintable(encoded, esc) == text);

    const std::string name = CharacterEncoder::encode_vSphereVM_name(text);
    FUZZ_REQUIRE(name == encoded_one_by_one(text, "%/\\", '%'));
    FUZZ_REQUIRE(CharacterEncoder::decode_vSphereVM_name(name) == text);
    FUZZ_REQUIRE(CharacterEncoder::decode_vSphereVM_name(text) == decoded_name_one_by_one(text));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const char esc = static_cast<char>(input.byte());
    const std::size_t more = input.byte();
    std::string set(input.byte() % 8, '\0');
    std::generate(set.begin(), set.end(), [&input] { return static_cast<char>(input.byte()); });
    const std::string text = input.rest();

    const CharacterEncoder encoder(set);
    check_strings(encoder, text, set, esc);
    if (esc != '\0') { // which would end the text
        check_buffers(encoder, text.substr(0, text.find('\0')), set, esc, more);
    }
    check_fixed_schemes(text, esc);
    return 0;
}
