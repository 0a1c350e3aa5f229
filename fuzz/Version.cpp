// Version texts, read and compared as a model does it; and comparison is an order.

#include "fuzz.hpp"
#include "support/version_model.hpp"

#include <nuriccl/Version.hpp>

#include <stdexcept>

namespace {

using nuriccl::Version;
using version_model::Numbers;
using version_model::numbers_of;
using version_model::version_of;

// The numbers of a text, the same for an object that is new and for one that held others.
Numbers check_reading(const std::string& text) {
    const std::optional<Numbers> expected = version_model::parsed(text);
    Version used("1.234");
    const Numbers before = numbers_of(used);
    try {
        used.init(text);
        FUZZ_REQUIRE(expected.has_value());
        FUZZ_REQUIRE(numbers_of(Version(text)) == *expected);
    } catch (const std::out_of_range&) {
        FUZZ_REQUIRE(!expected.has_value());
    }
    FUZZ_REQUIRE(numbers_of(used) == expected.value_or(before));
    const char* const c_string = text.c_str(); // ends at the first NUL
    if (const std::optional<Numbers> up_to_nul = version_model::parsed(c_string)) {
        FUZZ_REQUIRE(numbers_of(Version(c_string)) == *up_to_nul);
    }
    return expected.value_or(before);
}

void check_comparing(const Numbers& a, const Numbers& b, int granularity) {
    const Version left = version_of(a);
    const Version right = version_of(b);
    const auto g = static_cast<Version::granularity>(granularity);
    FUZZ_REQUIRE(left.compare(right, g) == version_model::compare(a, b, granularity));
    FUZZ_REQUIRE(right.compare(left, g) == -left.compare(right, g));
    FUZZ_REQUIRE(left.compare(left, g) == 0);
    FUZZ_REQUIRE(left.compare_major(right) == version_model::compare(a, b, 0));
    FUZZ_REQUIRE(left.compare_minor(right) == version_model::compare(a, b, 1));
    FUZZ_REQUIRE(left.compare_patch(right) == version_model::compare(a, b, 2));
    FUZZ_REQUIRE(left.compare_build(right) == version_model::compare(a, b, 3));
}

// The forms that read a text compare with what it means, and refuse what `init` refuses.
void check_comparing_text(const Numbers& a, const std::string& text) {
    const Version left = version_of(a);
    const std::optional<Numbers> b = version_model::parsed(text);
    try {
        const int orders[] = {left.compare_major(text), left.compare_minor(text),
                              left.compare_patch(text), left.compare_build(text)};
        FUZZ_REQUIRE(b.has_value());
        for (int granularity = 0; granularity < 4; ++granularity) {
            FUZZ_REQUIRE(orders[granularity] == version_model::compare(a, *b, granularity));
        }
    } catch (const std::out_of_range&) {
        FUZZ_REQUIRE(!b.has_value());
    }
}

// Most bytes stand for a piece of a version.
std::string spelled(const std::string& bytes) {
    static const char* const pieces[] = {".", ".", "0", "1", "2", "7",      "9",
                                         "-", "+", " ", "x", "b", "build ", "2147483648"};
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0xE0 ? pieces[byte % std::size(pieces)] : std::string(1, c);
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const int granularity = input.byte() % 8 - 2;
    const std::size_t length = input.byte() % 32U;
    const std::string rest = input.rest();
    const std::string first = rest.substr(0, length);
    const std::string second = rest.substr(first.size());
    for (const std::string& text : {second, spelled(second)}) {
        const Numbers a = check_reading(first);
        const Numbers b = check_reading(spelled(first));
        const Numbers c = check_reading(text);
        check_comparing(a, c, granularity);
        check_comparing(b, c, granularity);
        check_comparing_text(b, text);
    }
    return 0;
}
