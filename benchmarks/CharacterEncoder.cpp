#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/CharacterEncoder.hpp>

#include <array>
#include <set>
#include <string>

namespace {

using namespace benchmarks;
using nuriccl::CharacterEncoder;

constexpr char DIGITS[] = "0123456789abcdef";

// `holds` tells which bytes are escaped.
template <class Holds>
std::string encode_by_hand(const std::string& text, const Holds& holds) {
    std::string encoded;
    for (const char c : text) {
        if (holds(c)) {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += DIGITS[byte >> 4];
            encoded += DIGITS[byte & 15];
        } else {
            encoded += c;
        }
    }
    return encoded;
}

int value_of(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

std::string decode_by_hand(const std::string& text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && text.size() - i > 2) {
            decoded += static_cast<char>(value_of(text[i + 1]) * 16 + value_of(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

// 4 KiB in which one byte in twenty is to be escaped.
std::string make_text() {
    Sequence sequence;
    const std::string forbidden = CharacterEncoder::DEFAULT_CHARS_TO_ENCODE;
    std::string text(4 * KIB, '\0');
    for (char& c : text) {
        c = sequence.below(20) == 0 ? forbidden[sequence.below(forbidden.size())]
                                    : static_cast<char>('a' + sequence.below(26));
    }
    return text;
}

} // namespace

TEST_CASE("Characters", "[CharacterEncoder]") {
    const std::string text = make_text();
    const std::string forbidden = CharacterEncoder::DEFAULT_CHARS_TO_ENCODE;
    const CharacterEncoder encoder(forbidden);
    const std::string encoded = encoder.encode(text);
    {
        Row row("CharacterEncoder.encode", [&] { return encoder.encode(text); });
        const std::set<char> set(forbidden.begin(), forbidden.end());
        row.peer("byte loop over std::set",
                 [&] { return encode_by_hand(text, [&](char c) { return set.count(c) != 0; }); });
        std::array<bool, 256> table{};
        for (const char c : forbidden) {
            table[static_cast<unsigned char>(c)] = true;
        }
        row.peer("byte loop over a table", [&] {
            return encode_by_hand(text,
                                  [&](char c) { return table[static_cast<unsigned char>(c)]; });
        });
        row.limit("copy of the result", [&] { return std::string(encoded); });
    }
    Row row("CharacterEncoder.decode", [&] { return encoder.decode(encoded); });
    row.peer("byte loop", [&] { return decode_by_hand(encoded); });
    row.limit("copy of the result", [&] { return std::string(text); });
}
