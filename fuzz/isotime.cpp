// Time stamps: text to record to text and back agree, whatever the text and whatever the record.

#include "fuzz.hpp"

#include <nuriccl/util.hpp>

#include <cstring>

namespace {

using nuriccl::BAD_TIME;

bool same(const isotime& a, const isotime& b) {
    return a.zone_offset == b.zone_offset && a.zone_flag == b.zone_flag && a.year == b.year &&
           a.month == b.month && a.day == b.day && a.hour == b.hour && a.minute == b.minute &&
           a.second == b.second && a.hundredths == b.hundredths &&
           a.ten_thousandths == b.ten_thousandths && a.millionths == b.millionths &&
           a.reserved == b.reserved;
}

// The separators of the canonical form are where they belong, and digits everywhere else.
bool is_canonical(const std::string& text) {
    static const char form[] = "dddd-dd-ddTdd:dd:dd.ddsdd:dd";
    if (text.size() != sizeof form - 1) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool fits = form[i] == 'd'   ? c >= '0' && c <= '9'
                          : form[i] == 's' ? c == '+' || c == '-'
                                           : c == form[i];
        if (!fits) {
            return false;
        }
    }
    return true;
}

void check_text(const std::string& text) {
    isotime time{};
    const bool valid = nuriccl::fromStr(time, text);
    FUZZ_REQUIRE(same(time, nuriccl::to_isotime(text)));

    const std::string canonical = nuriccl::to_str(time);
    FUZZ_REQUIRE(is_canonical(canonical));
    FUZZ_REQUIRE(valid == (canonical != BAD_TIME));
    if (valid) { // the text says all there is in the record
        FUZZ_REQUIRE(text.size() == 28 || text.size() == 25);
        FUZZ_REQUIRE(same(time, nuriccl::to_isotime(canonical)));
    } else if (text.size() != 28 && text.size() != 25) {
        FUZZ_REQUIRE(same(time, isotime{}));
    }
}

void check_record(const isotime& time) {
    const std::string text = nuriccl::to_str(time);
    FUZZ_REQUIRE(is_canonical(text));
    if (text != BAD_TIME) {
        isotime expected = time; // less what the text does not hold
        expected.zone_flag = time.zone_offset != 0 ? 1 : 0;
        expected.ten_thousandths = 0;
        expected.millionths = 0;
        expected.reserved = 0;
        FUZZ_REQUIRE(same(nuriccl::to_isotime(text), expected));
    }
}

// Brings every field but the one that `spare` names into its range, so that most records are valid.
isotime nearly_valid(isotime time, unsigned int spare) {
    auto cut = [spare, field = 0U](auto value, unsigned int low, unsigned int count) mutable {
        return field++ == spare ? value : static_cast<decltype(value)>(low + value % count);
    };
    time.zone_flag = 1;
    time.year = cut(time.year, 1, 9999);
    time.month = cut(time.month, 1, 12);
    time.day = cut(time.day, 1, 31);
    time.hour = cut(time.hour, 0, 24);
    time.minute = cut(time.minute, 0, 60);
    time.second = cut(time.second, 0, 60);
    time.hundredths = cut(time.hundredths, 0, 100);
    time.ten_thousandths = cut(time.ten_thousandths, 0, 100);
    time.millionths = cut(time.millionths, 0, 100);
    return time;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = text_of(data, size);
    check_text(text);
    for (const std::size_t length : {std::size_t{25}, std::size_t{28}}) {
        std::string fitted = text;
        fitted.resize(length, '0');
        check_text(fitted);
    }
    if (size > sizeof(isotime)) {
        isotime time{};
        std::memcpy(&time, data, sizeof time);
        check_record(time);
        check_record(nearly_valid(time, data[sizeof time]));
    }
    return 0;
}
