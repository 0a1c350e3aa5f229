#include "schedule_fault.hpp"

#include "names.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <nuriccl/cron.hpp>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>
#include <vector>

namespace minibackup {

namespace {

struct Field {
    const char* name;
    const char* values;
};

constexpr std::array<Field, 5> FIELDS = {{{"minute", "0 to 59"},
                                          {"hour", "0 to 23"},
                                          {"day of the month", "1 to 31"},
                                          {"month", "1 to 12 or jan to dec"},
                                          {"weekday", "0 to 7 or sun to sat"}}};

// A schedule is only known to be one or none: what is wrong is found by asking about parts of it.

// Whether the text is the field of this number in a schedule.
bool is_field(std::size_t number, const std::string& text) {
    std::string schedule;
    for (std::size_t i = 0; i < FIELDS.size(); ++i) {
        schedule += (i == number ? text : "*") + ' ';
    }
    return nuriccl::Cron(schedule).valid();
}

bool is_value(std::size_t number, const std::string& text) {
    const auto is_part = [](unsigned char c) { return std::isalnum(c) != 0; };
    return std::all_of(text.begin(), text.end(), is_part) && is_field(number, text) &&
           nuriccl::string::icompare(text, "L") != 0;
}

// What is wrong with an item of a field.
std::string fault_of_item(std::size_t number, const std::string& item) {
    const auto quoted = [](const std::string& text) { return '\'' + readable(text) + '\''; };
    if (item.empty() || item == "-") {
        return item.empty() ? "a value is missing" : "'-', no value at all, stands in a list";
    }
    const std::size_t slash = item.find('/');
    const std::string range = item.substr(0, slash);
    if (is_field(number, range)) {
        const std::string step = item.substr(slash);
        return is_field(number, '*' + step) ? quoted(range) + " takes no step"
                                            : quoted(step) + " is no step of 1 or more";
    }
    const std::size_t dash = range.find('-');
    for (const std::string& value : {range.substr(0, dash), range.substr(dash + 1)}) {
        if (!is_value(number, value)) {
            return value.empty() ? "a value is missing in " + quoted(range)
                                 : quoted(value) + " is not in " + FIELDS[number].values;
        }
    }
    return "the range " + quoted(range) + " runs backwards";
}

std::string fault_of_field(std::size_t number, const std::string& text) {
    std::vector<std::string> items;
    nuriccl::string::split(text, ',', items);
    for (const std::string& item : items) {
        if (item == "-" || !is_field(number, item)) {
            return fault_of_item(number, item);
        }
    }
    return "cannot be read";
}

} // namespace

std::string fault_of_schedule(const std::string& text) {
    std::vector<std::string> words;
    nuriccl::string::tokenize(text, words, " \t");
    if (words.size() != FIELDS.size()) {
        return "has " + nuriccl::to_str(words.size()) +
               " fields and not five: minute, hour, day of the month, month and weekday";
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!is_field(i, words[i])) {
            return std::string(FIELDS[i].name) + ": " + fault_of_field(i, words[i]);
        }
    }
    return "cannot be read";
}

} // namespace minibackup
