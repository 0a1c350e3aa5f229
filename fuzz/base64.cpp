// Base64: decoding agrees with a naive checker on any text and stays inside the space it was given;
// what is encoded comes back, by the codec and by both forms of the wrapper.

#include "fuzz.hpp"
#include "support/base64_model.hpp"

#include <nuriagent/base64.hpp>
#include <nuriccl/Base64Wrapper.hpp>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

using nuriccl::Base64Wrapper;

using Bytes = std::vector<char>;

constexpr char UNTOUCHED = '#';

Bytes bytes_of(const std::string& text) { return {text.begin(), text.end()}; }

std::string standard(std::string text) {
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    return text;
}

std::string url_safe(std::string text) {
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

// The codec with a place of `room` bytes, which the sanitizer guards.
void check_codec(const std::string& text, std::size_t room) {
    const std::optional<std::string> expected = base64_model::decode(text);
    const std::size_t needed = expected ? expected->size() : 0;
    Bytes place(room, UNTOUCHED);
    char nothing = UNTOUCHED;
    base64::Results results{77};
    const unsigned long long count = base64::Base64::GetInstance().Decode(
        text.data(), text.size(), room != 0 ? place.data() : &nothing, room, &results);
    const bool written = expected && needed <= room;
    FUZZ_REQUIRE(count == needed);
    FUZZ_REQUIRE(results.status == (!expected ? 2 : written ? 0 : 1));
    Bytes whole(room, UNTOUCHED);
    if (written) {
        std::copy(expected->begin(), expected->end(), whole.begin());
    }
    FUZZ_REQUIRE(place == whole && nothing == UNTOUCHED);

    FUZZ_REQUIRE(base64::Base64::GetInstance().Decode(text.data(), text.size(), nullptr, room,
                                                      &results) == needed);
    FUZZ_REQUIRE(results.status == (expected ? 1 : 2));
}

// Any text in either alphabet.
void check_decoding(const std::string& text) {
    const std::optional<std::string> expected = base64_model::decode(standard(text));
    std::string bytes = "before";
    FUZZ_REQUIRE(Base64Wrapper::decode(text, bytes) == expected.has_value());
    FUZZ_REQUIRE(bytes == expected.value_or("before"));
    Bytes vector;
    FUZZ_REQUIRE(Base64Wrapper::decode(bytes_of(text), vector) == expected.has_value());
    FUZZ_REQUIRE(vector == bytes_of(expected.value_or("")));
    std::string in_place = text;
    FUZZ_REQUIRE(Base64Wrapper::decode(in_place, in_place) == expected.has_value());
    FUZZ_REQUIRE(in_place == expected.value_or(text));
}

// Any bytes.
void check_round_trip(const std::string& bytes) {
    const std::string expected = base64_model::encode(bytes);
    for (const auto variant : {Base64Wrapper::standard, Base64Wrapper::url_safe}) {
        std::string text;
        FUZZ_REQUIRE(Base64Wrapper::encode(bytes, text, variant));
        FUZZ_REQUIRE(text == (variant == Base64Wrapper::standard ? expected : url_safe(expected)));
        Bytes vector;
        FUZZ_REQUIRE(Base64Wrapper::encode(bytes_of(bytes), vector, variant));
        FUZZ_REQUIRE(vector == bytes_of(text));
        FUZZ_REQUIRE(Base64Wrapper::decode(text, text) && text == bytes);
        FUZZ_REQUIRE(Base64Wrapper::decode(vector, vector) && vector == bytes_of(bytes));
    }
}

// Arbitrary bytes are hardly ever Base64: most stand for a digit here.
std::string as_digits(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        c = byte < 0xE0 ? base64_model::DIGITS[byte % 64] : "=-_*"[byte % 4];
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t room = input.byte();
    const std::size_t padding = input.byte() % 4U;
    const std::string rest = input.rest();
    const std::string text = as_digits(rest) + std::string(padding, '=');
    for (const std::string& any : {rest, text}) {
        check_codec(any, room);
        check_codec(any, any.size());
        check_decoding(any);
    }
    check_round_trip(rest);
    return 0;
}
