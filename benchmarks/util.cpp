#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/util.hpp>

#include <array>
#include <boost/lexical_cast.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/time/time.h>
#endif

namespace {

using namespace benchmarks;

// One call of a benchmark converts all of them: branches that depend on a number are not foreseen.
constexpr std::size_t COUNT = 256;
using Numbers = std::array<int, COUNT>;
using Texts = std::array<std::string, COUNT>;

// From one digit to ten, of either sign.
Numbers make_numbers() {
    Sequence sequence;
    Numbers numbers;
    for (int& number : numbers) {
        const auto value = static_cast<int>(sequence.below(0x7fffffff) >> sequence.below(31));
        number = sequence.below(4) == 0 ? -value : value;
    }
    return numbers;
}

template <class Call>
auto each_to_text(const Numbers& numbers, Texts& texts, const Call& call) {
    return [&numbers, &texts, &call]() -> const Texts& {
        for (std::size_t i = 0; i < COUNT; ++i) {
            texts[i] = call(numbers[i]);
        }
        return texts;
    };
}

template <class Call>
auto each_to_number(const Texts& texts, Numbers& numbers, const Call& call) {
    return [&texts, &numbers, &call]() -> const Numbers& {
        for (std::size_t i = 0; i < COUNT; ++i) {
            numbers[i] = call(texts[i]);
        }
        return numbers;
    };
}

isotime make_time() {
    isotime time{};
    time.zone_flag = 1;
    time.zone_offset = -330;
    time.year = 2026;
    time.month = 11;
    time.day = 21;
    time.hour = 8;
    time.minute = 43;
    time.second = 58;
    time.hundredths = 7;
    return time;
}

// The record in a form that can be compared.
using Record = std::array<unsigned char, sizeof(isotime)>;

Record record_of(const isotime& time) {
    Record record;
    std::memcpy(record.data(), &time, sizeof time);
    return record;
}

constexpr char SCAN_FORMAT[] = "%4d-%2d-%2dT%2d:%2d:%2d.%2d%c%2d:%2d";

isotime scan_time(const char* text) {
    int year = 0;
    int fields[6] = {}; // from the month to the hundredths
    int zone[2] = {};
    char sign = '+';
    // NOLINTNEXTLINE(cert-err34-c): the text is valid
    const int count = std::sscanf(text, SCAN_FORMAT, &year, &fields[0], &fields[1], &fields[2],
                                  &fields[3], &fields[4], &fields[5], &sign, &zone[0], &zone[1]);
    isotime time{};
    if (count == 10) {
        const int distance = zone[0] * 60 + zone[1];
        time.zone_flag = distance != 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // a field of 12 bits
        time.zone_offset = static_cast<std::int16_t>(sign == '-' ? -distance : distance);
#pragma GCC diagnostic pop
        time.year = static_cast<std::uint16_t>(year);
        time.month = static_cast<std::uint8_t>(fields[0]);
        time.day = static_cast<std::uint8_t>(fields[1]);
        time.hour = static_cast<std::uint8_t>(fields[2]);
        time.minute = static_cast<std::uint8_t>(fields[3]);
        time.second = static_cast<std::uint8_t>(fields[4]);
        time.hundredths = static_cast<std::uint8_t>(fields[5]);
    }
    return time;
}

std::string print_time(const isotime& time) {
    const int zone = time.zone_offset;
    const int distance = zone < 0 ? -zone : zone;
    char text[64];
    const int count =
        std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%02d%c%02d:%02d", time.year,
                      time.month, time.day, time.hour, time.minute, time.second, time.hundredths,
                      zone < 0 ? '-' : '+', distance / 60, distance % 60);
    return {text, static_cast<std::size_t>(count)};
}

} // namespace

TEST_CASE("Numbers to text", "[util]") {
    const Numbers numbers = make_numbers();
    Texts texts;
    const auto by_nuriccl = [](int number) { return nuriccl::to_str(number); };
    Row row("util.int_to_text", each_to_text(numbers, texts, by_nuriccl));
    const auto by_snprintf = [](int number) {
        char text[16];
        const int count = std::snprintf(text, sizeof text, "%d", number);
        return std::string(text, static_cast<std::size_t>(count));
    };
    row.peer("snprintf", each_to_text(numbers, texts, by_snprintf));
    const auto by_to_string = [](int number) { return std::to_string(number); };
    row.peer("std::to_string", each_to_text(numbers, texts, by_to_string));
    const auto by_to_chars = [](int number) {
        char text[16];
        return std::string(text, std::to_chars(text, std::end(text), number).ptr);
    };
    row.peer("std::to_chars", each_to_text(numbers, texts, by_to_chars));
    const auto by_boost = [](int number) { return boost::lexical_cast<std::string>(number); };
    row.peer("Boost", each_to_text(numbers, texts, by_boost));
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto by_absl = [](int number) { return absl::StrCat(number); };
    row.peer("Abseil", each_to_text(numbers, texts, by_absl));
#endif
}

TEST_CASE("Text to numbers", "[util]") {
    Texts texts;
    Numbers numbers = make_numbers();
    for (std::size_t i = 0; i < COUNT; ++i) {
        texts[i] = std::to_string(numbers[i]);
    }
    const auto by_nuriccl = [](const std::string& text) {
        int number = 0;
        nuriccl::fromStr(number, text, std::dec);
        return number;
    };
    Row row("util.text_to_int", each_to_number(texts, numbers, by_nuriccl));
    REQUIRE(numbers == make_numbers());
    const auto by_strtol = [](const std::string& text) {
        return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
    };
    row.peer("strtol", each_to_number(texts, numbers, by_strtol));
    const auto by_from_chars = [](const std::string& text) {
        int number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    };
    row.peer("std::from_chars", each_to_number(texts, numbers, by_from_chars));
    const auto by_boost = [](const std::string& text) { return boost::lexical_cast<int>(text); };
    row.peer("Boost", each_to_number(texts, numbers, by_boost));
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto by_absl = [](const std::string& text) {
        int number = 0;
        return absl::SimpleAtoi(text, &number) ? number : 0;
    };
    row.peer("Abseil", each_to_number(texts, numbers, by_absl));
#endif
}

TEST_CASE("Time stamps", "[util]") {
    const isotime time = make_time();
    const std::string text = "2026-11-21T08:43:58.07-05:30";
    {
        Row row("util.time_to_text", [&] { return nuriccl::to_str(time); });
        REQUIRE(nuriccl::to_str(time) == text);
        row.peer("snprintf", [&] { return print_time(time); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
        const absl::TimeZone zone = absl::FixedTimeZone(-330 * 60);
        row.peer("Abseil", [&] {
            const absl::Time instant =
                absl::FromCivil(absl::CivilSecond(time.year, time.month, time.day, time.hour,
                                                  time.minute, time.second),
                                zone) +
                absl::Milliseconds(10 * time.hundredths);
            return absl::FormatTime("%Y-%m-%dT%H:%M:%E2S%Ez", instant, zone);
        });
#endif
        row.limit("copy of the text", [&] { return std::string(text); });
    }
    Row row("util.text_to_time", [&] { return record_of(nuriccl::to_isotime(text)); });
    row.peer("sscanf", [&] { return record_of(scan_time(text.c_str())); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    // A point in time without its zone: something less is asked of it.
    absl::Time instant;
    REQUIRE(absl::ParseTime(absl::RFC3339_full, text, &instant, nullptr));
    REQUIRE(absl::ToUnixMillis(instant) == 1795270438070);
    row.reference("Abseil",
                  [&] { return absl::ParseTime(absl::RFC3339_full, text, &instant, nullptr); });
#endif
}
