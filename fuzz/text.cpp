// The utilities for text, held against models that look at one character at a time; those that
// write into memory of the caller get memory of exactly the size that they are told.

#include "fuzz.hpp"
#include "support/text_model.hpp"

#include <nuriccl/string.hpp>
#include <nuriccl/StringFunctors.hpp>

#include <cstring>
#include <locale>
#include <vector>

namespace {

namespace ns = nuriccl::string;

int sign(int value) { return (value > 0) - (value < 0); }

void check_cropping(const std::string& text, const std::string& set) {
    std::string cropped = text;
    ns::crop_left(cropped, set);
    FUZZ_REQUIRE(cropped == text_model::crop_left(text, set));
    FUZZ_REQUIRE(ns::trim_left(text, set) == cropped);
    cropped = text;
    ns::crop_right(cropped, set);
    FUZZ_REQUIRE(cropped == text_model::crop_right(text, set));
    FUZZ_REQUIRE(ns::trim_right(text, set) == cropped);
    cropped = text;
    ns::crop_both(cropped, set);
    FUZZ_REQUIRE(cropped == text_model::crop_both(text, set));
    FUZZ_REQUIRE(ns::trim_both(text, set) == cropped);

    std::string spanned = text;
    ns::SpanIncluding(spanned, set);
    FUZZ_REQUIRE(spanned + text_model::crop_left(text, set) == text);
}

void check_replacing(const std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) { // which callers must not give
        return;
    }
    const auto [found, expected] = text_model::replace(text, from, to);
    std::string replaced = text;
    FUZZ_REQUIRE(ns::replace(replaced, from, to) == found);
    FUZZ_REQUIRE(replaced == expected);
}

void check_comparing(const std::string& a, const std::string& b) {
    const int expected = sign(text_model::upper(a).compare(text_model::upper(b)));
    FUZZ_REQUIRE(sign(ns::icompare(a, b)) == expected);
    FUZZ_REQUIRE(sign(ns::icompare(b, a)) == -expected);
    FUZZ_REQUIRE(ns::CaseInsensitiveCompare()(a, b) == (expected < 0));
    FUZZ_REQUIRE(ns::ifind(a, b) == text_model::ifind(a, b));

    const std::string c_string = a.c_str();
    FUZZ_REQUIRE(sign(ns::icompare(a.c_str(), b)) == sign(ns::icompare(c_string, b)));
    FUZZ_REQUIRE(sign(ns::icompare(b, a.c_str())) == sign(ns::icompare(b, c_string)));
    FUZZ_REQUIRE(sign(ns::icompare(a.c_str(), b.c_str())) ==
                 sign(ns::icompare(c_string, std::string(b.c_str()))));

    std::string normalised;
    ns::NormalizeNameCaseInsensitive(a, normalised);
    FUZZ_REQUIRE(normalised == text_model::upper(a));
    normalised = a;
    ns::NormalizeNameCaseInsensitive(normalised);
    FUZZ_REQUIRE(normalised == text_model::upper(a));

    FUZZ_REQUIRE(nuriccl::StringMatcher(a)(b) == (a.empty() || a == b));
    FUZZ_REQUIRE(nuriccl::StringMatcher(a, true, std::locale::classic())(b) ==
                 (a.empty() || expected == 0));
}

// Appends to and copies into a space of `size` bytes, which the sanitizers guard.
void check_c_strings(const std::string& start, const std::string& more, std::size_t size) {
    const std::string source = more.c_str();
    std::vector<char> space(size, '#');
    std::string expected(size, '#');
    if (size != 0) {
        const std::string head = std::string(start.c_str()).substr(0, size - 1);
        std::memcpy(space.data(), head.c_str(), head.size() + 1);
        const std::string whole = (head + source).substr(0, size - 1);
        expected.replace(0, whole.size() + 1, whole.c_str(), whole.size() + 1);
    }
    char nothing = '#';
    char* const place = size != 0 ? space.data() : &nothing;
    FUZZ_REQUIRE(ns::strlcat(place, source.c_str(), static_cast<unsigned int>(size)) == place);
    FUZZ_REQUIRE(std::string(space.begin(), space.end()) == expected);

    // There is no end in the space: nothing may change.
    std::fill(space.begin(), space.end(), '#');
    ns::strlcat(place, source.c_str(), static_cast<unsigned int>(size));
    FUZZ_REQUIRE(std::string(space.begin(), space.end()) == std::string(size, '#'));

    FUZZ_REQUIRE(ns::strlcpy(place, source.c_str(), static_cast<unsigned int>(size)) ==
                 (size != 0 ? place : nullptr));
    if (size != 0) {
        const std::string copied = source.substr(0, size - 1);
        expected.assign(size, '#');
        expected.replace(0, copied.size() + 1, copied.c_str(), copied.size() + 1);
    }
    FUZZ_REQUIRE(std::string(space.begin(), space.end()) == expected);
    FUZZ_REQUIRE(nothing == '#');
}

void check_dump(const std::string& data, const std::string& title, const std::string& prefix) {
    const std::vector<char> exact(data.begin(), data.end());
    const auto length = static_cast<int>(data.size());
    const char* const titles[] = {nullptr, title.c_str()};
    const char* const prefixes[] = {nullptr, prefix.c_str()};
    for (const char* const head : titles) {
        for (const char* const start : prefixes) {
            std::string out = "before";
            FUZZ_REQUIRE(ns::hex_dump(out, exact.data(), length, head, start));
            FUZZ_REQUIRE(out == text_model::hex_dump(data, head, start));
        }
    }
}

void check_formatting(const std::string& text, const std::string& other, int number) {
    const std::string a = text.c_str();
    const std::string digits = std::to_string(number);
    const std::string padded =
        digits.size() < 7 ? std::string(7 - digits.size(), ' ') + digits : digits;
    const std::string expected = a + '|' + padded + '|' + other.c_str() + '%';
    FUZZ_REQUIRE(ns::format_string("%s|%7d|%s%%", a.c_str(), number, other.c_str()) == expected);
    std::string out = "before";
    FUZZ_REQUIRE(ns::sprintfSafe(out, "%s|%7d|%s%%", a.c_str(), number, other.c_str()) ==
                 static_cast<int>(expected.size()));
    FUZZ_REQUIRE(out == expected);
}

// Texts from few characters have something in common.
std::string with_few_characters(std::string text) {
    for (char& c : text) {
        c = "abAB _\t\r"[static_cast<unsigned char>(c) % 8];
    }
    return text;
}

void check(const std::string& a, const std::string& b, const std::string& c, std::size_t size) {
    check_cropping(a, b);
    check_replacing(a, b, c);
    check_comparing(a, b);
    check_c_strings(a, b, size);
    check_dump(a, b, c);
    check_formatting(a, b, static_cast<int>(a.size() * 1000003U - size));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t room = input.byte();
    const std::size_t first = input.byte() % 8U;
    const std::size_t second = input.byte() % 8U;
    const std::string rest = input.rest();
    const std::string b = rest.substr(0, first);
    const std::string c = rest.substr(b.size(), second);
    const std::string a = rest.substr(b.size() + c.size());
    check(a, b, c, room);
    check(with_few_characters(a), with_few_characters(b), with_few_characters(c), room);
    check_comparing(a, a.substr(0, a.size() / 2) + text_model::upper(a.substr(a.size() / 2)));
    return 0;
}
