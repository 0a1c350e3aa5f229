// Numbers and text: what is written has the digits it must have and reads back; what is read from
// any text is what a model makes of it, for all types and radices.

#include "fuzz.hpp"
#include "support/number_model.hpp"

#include <nuriccl/util.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace {

using nuriccl::fromStr;
using nuriccl::Manipulator;
using nuriccl::to_str;

struct Radix {
    Manipulator manipulator;
    unsigned int value;
};

const Radix RADICES[] = {{std::dec, 10}, {std::hex, 16}, {std::oct, 8}};

// Two targets of different contents tell a stored value from one that was there before.
template <class T>
void check_stored(const std::string& text, const Radix& radix, bool taken, T expected) {
    for (const T before : {T{0}, T{77}}) {
        T out = before;
        FUZZ_REQUIRE(fromStr(out, text, radix.manipulator) == taken);
        FUZZ_REQUIRE(out == expected);
    }
}

// Reads as `Parsed` and stores the low bits, as the signed and the character targets do.
template <class T, class Parsed = std::make_unsigned_t<T>>
void check_reading(const std::string& text) {
    for (const Radix& radix : RADICES) {
        const auto [taken, value] = text.empty() ? std::pair{true, Parsed{0}}
                                                 : number_model::number<Parsed>(text, radix.value);
        check_stored<T>(text, radix, taken, static_cast<T>(value));
    }
}

template <class T>
void check_plain_reading(const std::string& text) {
    T out{};
    T in_decimal{};
    FUZZ_REQUIRE(fromStr(out, text) == fromStr(in_decimal, text, std::dec));
    FUZZ_REQUIRE(out == in_decimal);
}

void check_character(const std::string& text) {
    char plain = 'x';
    unsigned char number = 'x';
    FUZZ_REQUIRE(fromStr(plain, text) && fromStr(number, text));
    FUZZ_REQUIRE(plain == text.c_str()[0]);
    FUZZ_REQUIRE(number == static_cast<unsigned char>(plain));
}

void check_bool(const std::string& text) {
    for (const bool before : {false, true}) {
        bool out = before;
        const bool taken = text == "true" || text == "false";
        FUZZ_REQUIRE(fromStr(out, text) == taken);
        FUZZ_REQUIRE(out == (taken ? text == "true" : before));
        FUZZ_REQUIRE(fromStr(out, text, std::hex) == taken);
    }
}

void check_text(const std::string& text) {
    check_reading<unsigned short>(text);
    check_reading<short>(text);
    check_reading<unsigned int>(text);
    check_reading<int>(text);
    check_reading<unsigned long long>(text);
    check_reading<long long>(text);
    check_reading<char, unsigned int>(text);
    check_reading<unsigned char, unsigned int>(text);
    check_plain_reading<unsigned short>(text);
    check_plain_reading<int>(text);
    check_plain_reading<unsigned long long>(text);
    check_character(text);
    check_bool(text);
    FUZZ_REQUIRE(to_str(text) == text);
    FUZZ_REQUIRE(to_str(text.c_str()) == std::string(text.c_str()));
}

template <class Integer>
void check_writing(Integer value) {
    const auto bits = static_cast<std::make_unsigned_t<Integer>>(value);
    FUZZ_REQUIRE(to_str(value, std::hex) == number_model::digits_of(bits, 16));
    FUZZ_REQUIRE(to_str(value, std::oct) == number_model::digits_of(bits, 8));
    FUZZ_REQUIRE(to_str(value) == std::to_string(value));
    FUZZ_REQUIRE(to_str(value, nullptr) == std::to_string(value));
}

// Of a type that can also be read.
template <class Integer>
void check_round_trip(Integer value) {
    check_writing(value);
    for (const Radix& radix : RADICES) {
        check_stored(to_str(value, radix.manipulator), radix, true, value);
    }
}

void check_values(unsigned long long bits) {
    check_round_trip(static_cast<int>(bits));
    check_round_trip(static_cast<unsigned int>(bits));
    check_round_trip(static_cast<long long>(bits));
    check_round_trip(bits);
    check_writing(static_cast<long>(bits));
    check_writing(static_cast<unsigned long>(bits));

    double number = 0;
    static_assert(sizeof number == sizeof bits);
    std::memcpy(&number, &bits, sizeof number);
    char expected[400]; // the longest has 309 digits in front of the point
    std::snprintf(expected, sizeof expected, "%.2f", number);
    FUZZ_REQUIRE(to_str(number) == expected);
}

// What numbers are made of.
constexpr char COMMON[] = "0123456789abcdefABCDEFxX+- \t0179f.";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = text_of(data, size);
    check_text(text);
    check_text(spelled(text, COMMON));

    unsigned long long bits = 0;
    std::memcpy(&bits, data, std::min(size, sizeof bits));
    check_values(bits);
    check_text(std::to_string(bits) + (size > sizeof bits ? spelled(text.substr(8), COMMON) : ""));
    return 0;
}
