// Schedules: what is read and printed, held against a model of the grammar; and a schedule that is
// edited, held against a model of the editing.

#include "../SharedLibraries/nuriccl/tests/support/cron_model.hpp"
#include "fuzz.hpp"

#include <nuriccl/cron.hpp>

#include <cstring>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

using nuriccl::Cron;
using schedule_model::Mask;

// Bits both where fields have a meaning and where they have none.
const cronblk UNTOUCHED = {0x12345678, 0x9abcdef0, 0x0f1e2d3c, 0x4b5a6978, 0x13579bdf, 0x02468ace};

// Bytes hardly ever spell a schedule by chance: each stands for a piece of one.
std::string spelled(const std::string& bytes) {
    static const std::vector<std::string> PIECES = {
        " ",   " ",   "\t", " * ", "*",  "*/", "-",  "-",   ",",   ",",   "/",         "/",
        "0",   "1",   "2",  "3",   "4",  "5",  "6",  "7",   "8",   "9",   "11",        "13",
        "23",  "24",  "31", "32",  "59", "60", "L",  "l",   "jan", "Feb", "DEC",       "sun",
        "moN", "SAT", "00", "1-",  ",0", "x",  "\n", "3-9", "/2",  " - ", "4294967297"};
    std::string text;
    for (const char byte : bytes) {
        text += PIECES[static_cast<unsigned char>(byte) % PIECES.size()];
    }
    return text;
}

// Reading and printing

void check_record(const cronblk& record) {
    const std::string text = pln_crn2str(&record);
    FUZZ_REQUIRE(schedule_model::fault_in_text(record, text).empty());
    cronblk back = UNTOUCHED;
    FUZZ_REQUIRE(pln_str2crn(&back, text) != 0);
    FUZZ_REQUIRE(back == schedule_model::shown(record));
    FUZZ_REQUIRE(pln_crn2str(&back) == text);
}

void check_text(const std::string& text) {
    const std::optional<cronblk> expected = schedule_model::read_schedule(text);
    cronblk record = UNTOUCHED;
    FUZZ_REQUIRE((pln_str2crn(&record, text) != 0) == expected.has_value());
    FUZZ_REQUIRE(record == expected.value_or(UNTOUCHED));

    Cron cron("1 2 3 4 5");
    const cronblk earlier = cron.block();
    FUZZ_REQUIRE(cron.convert(text) == expected.has_value());
    FUZZ_REQUIRE(cron.valid() == expected.has_value());
    FUZZ_REQUIRE(cron.block() == expected.value_or(earlier));
    if (expected) {
        check_record(record);
    }
}

void check_field(const std::string& field, unsigned int low, unsigned int high) {
    const std::optional<Mask> expected =
        schedule_model::read_field(schedule_model::short_field(low, high), field);
    unsigned int mask = UNTOUCHED.hours;
    FUZZ_REQUIRE((pln_ent2msk(&mask, field, low, high) != 0) == expected.has_value());
    FUZZ_REQUIRE(mask == expected.value_or(UNTOUCHED.hours));
}

void check_field(const std::string& field, unsigned int count) {
    const std::optional<Mask> expected =
        schedule_model::read_field(schedule_model::long_field(count), field);
    cronblk record = UNTOUCHED;
    const int result = pln_ent2msk64(&record.minutes_low, &record.minutes_high, field, count);
    FUZZ_REQUIRE((result != 0) == expected.has_value());
    const Mask untouched = schedule_model::masks_of(UNTOUCHED)[0];
    FUZZ_REQUIRE(schedule_model::masks_of(record)[0] == expected.value_or(untouched));
}

void check_fields(FuzzInput& input) {
    const unsigned int high = input.byte() % 32U;
    const unsigned int low = input.byte() % (high + 1);
    const unsigned int count = 1 + input.byte() % 64U;
    const std::string field = spelled(input.rest());
    check_field(field, low, high);
    check_field(field, count);
}

void check_any_record(const std::string& bytes) {
    cronblk record{};
    std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
    check_record(record);
}

// Editing

std::string text_of_length(FuzzInput& input, std::size_t length) {
    std::string text;
    while (text.size() < length) {
        text += static_cast<char>(input.byte());
    }
    return text;
}

std::string field_of(FuzzInput& input) { return spelled(text_of_length(input, input.byte() % 8)); }

// A text of "0" and "1" with, now and then, something else.
std::string binary_of(FuzzInput& input) {
    std::string text = text_of_length(input, input.byte() % 48);
    for (char& c : text) {
        c = c == 'x' ? 'x' : c % 2 == 0 ? '0' : '1';
    }
    return text;
}

bool sets(Cron& cron, void (Cron::*set)(const std::string&), const std::string& text) {
    try {
        (cron.*set)(text);
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

// Does the same to a schedule and to its model.
void edit(Cron& cron, cronblk& model, FuzzInput& input) {
    switch (input.byte() % 7) {
    case 0: {
        const std::string field = field_of(input);
        FUZZ_REQUIRE((cron.Minute(field) != 0) == cron_model::set_minutes(model, field));
        break;
    }
    case 1: {
        const std::string field = field_of(input);
        FUZZ_REQUIRE((cron.Hour(field) != 0) == cron_model::set_hours(model, field));
        break;
    }
    case 2: {
        const std::string text = binary_of(input);
        FUZZ_REQUIRE(sets(cron, &Cron::Days, text) == cron_model::set_days(model, text));
        break;
    }
    case 3: {
        const std::string text = binary_of(input);
        FUZZ_REQUIRE(sets(cron, &Cron::DaysOfWeek, text) ==
                     cron_model::set_days_of_week(model, text));
        break;
    }
    case 4:
        model.months = input.byte() * 0x01010101U;
        cron.Months(model.months);
        break;
    case 5: {
        const bool last_day = input.byte() % 2 != 0;
        model.days |= last_day ? 1 : 0;
        cron.LastDayOfMonth(last_day);
        break;
    }
    default: {
        const std::string minutes = field_of(input);
        const std::uint8_t start = input.byte();
        const std::uint8_t end = input.byte();
        const IntervalSet interval{start, end, input.byte()};
        FUZZ_REQUIRE(cron.SetIntraDailyHours(minutes, interval) ==
                     cron_model::set_intra_daily_hours(model, minutes, interval));
        break;
    }
    }
}

void check_editing(FuzzInput& input) {
    Cron cron("");
    cronblk model{};
    while (!input.empty()) {
        edit(cron, model, input);
        FUZZ_REQUIRE(!cron.valid());
        FUZZ_REQUIRE(cron.block() == model);
        FUZZ_REQUIRE(cron.Minute() == cron_model::minute(model));
        FUZZ_REQUIRE(cron.Hour() == cron_model::hour(model));
        FUZZ_REQUIRE(cron.IsSubDaily() == cron_model::is_sub_daily(model));
        FUZZ_REQUIRE(cron.Days() == cron_model::days(model));
        FUZZ_REQUIRE(cron.DaysOfWeek() == cron_model::days_of_week(model));
        FUZZ_REQUIRE(cron.LastDayOfMonth() == ((model.days & 1) != 0));
    }
    FUZZ_REQUIRE(cron.to_str() == pln_crn2str(&model));
    check_record(model);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    switch (input.byte() % 5) {
    case 0:
        check_text(input.rest());
        break;
    case 1:
        check_text(spelled(input.rest()));
        break;
    case 2:
        check_fields(input);
        break;
    case 3:
        check_any_record(input.rest());
        break;
    default:
        check_editing(input);
        break;
    }
    return 0;
}
