// Names encoded for any set of characters and decoded: decoding undoes encoding, every form does
// what one character at a time would, and buffers have not one byte more than is asked for.

#include "fuzz.hpp"
#include "support/encoder_model.hpp"

#include <nuriccl/CharacterEncoder.hpp>

#include <algorithm>
#include <vector>

namespace {

using nuriccl::CharacterEncoder;

std::vector<char> buffer_of(const std::string& text, std::size_t size) {
    std::vector<char> buffer(text.begin(), text.end());
    buffer.resize(size);
    return buffer;
}

void check_strings(const CharacterEncoder& encoder, const std::string& text, const std::string& set,
                   char esc) {
    FUZZ_REQUIRE(encoder.encode(text) == encoder_model::encode(text, set, '%'));
    FUZZ_REQUIRE(encoder.encoded_size(text) == static_cast<int>(encoder.encode(text).size()) + 1);

    const std::string expected = encoder_model::encode(text, set + esc, esc);
    std::string encoded = text;
    FUZZ_REQUIRE(encoder.encode(encoded, esc) == (expected != text));
    FUZZ_REQUIRE(encoded == expected);
    FUZZ_REQUIRE(encoder.encoded_size(text, esc) == static_cast<int>(encoded.size()) + 1);
    FUZZ_REQUIRE(CharacterEncoder::decode_unprintable(encoded, esc) == text);

    std::string decoded = text;
    FUZZ_REQUIRE(CharacterEncoder::decode(decoded, esc) == encoder_model::contains(text, esc));
    FUZZ_REQUIRE(decoded == encoder_model::decode_in_place(text, esc));

    FUZZ_REQUIRE(encoder.decode(text) == encoder_model::decode(text));
}

void check_buffers(const CharacterEncoder& encoder, const std::string& text, const std::string& set,
                   char esc, std::size_t more) {
    const std::string expected = encoder_model::encode(text, set + esc, esc);
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
    const std::string decoded = encoder_model::decode_in_place(text, esc);
    FUZZ_REQUIRE(CharacterEncoder::decode(encoded.data(), esc) ==
                 encoder_model::contains(text, esc));
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
    FUZZ_REQUIRE(name == encoder_model::encode(text, "%/\\", '%'));
    FUZZ_REQUIRE(CharacterEncoder::decode_vSphereVM_name(name) == text);
    FUZZ_REQUIRE(CharacterEncoder::decode_vSphereVM_name(text) ==
                 encoder_model::decode_vm_name(text));
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
