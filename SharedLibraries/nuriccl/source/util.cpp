#include <nuriccl/util.hpp>

#include <nuriagent/safe.hpp>
#include <nuriccl/string.hpp>

#include <charconv>
#include <iterator>
#include <limits>
#include <sstream>
#include <system_error>
#include <type_traits>

namespace nuriccl {

const char BAD_TIME[] = "0000-00-00T00:00:00.00+00:00";
const char BAD_TIME_SHORT[] = "0000-00-00T00:00:00+00:00";

// Value to text

namespace {

template <class Integer>
std::string integer_to_str(Integer value, Manipulator manipulator) {
    char digits[std::numeric_limits<Integer>::digits / 3 + 2]; // octal is the longest form
    char* const last = std::end(digits);
    const auto bits = static_cast<std::make_unsigned_t<Integer>>(value);
    if (manipulator == std::hex) {
        return {digits, std::to_chars(digits, last, bits, 16).ptr};
    }
    if (manipulator == std::oct) {
        return {digits, std::to_chars(digits, last, bits, 8).ptr};
    }
    return {digits, std::to_chars(digits, last, value).ptr};
}

bool is_valid(const isotime& time) {
    const auto between = [](int low, int value, int high) { return low <= value && value <= high; };
    return between(1, time.year, 9999) && between(1, time.month, 12) && between(1, time.day, 31) &&
           time.hour <= 23 && time.minute <= 59 && time.second <= 59 && time.hundredths <= 99 &&
           time.ten_thousandths <= 99 && time.millionths <= 99 &&
           (time.zone_flag == 1 || (time.zone_flag == 0 && time.zone_offset == 0));
}

} // namespace

std::string to_str(const std::string& text) { return text; }

std::string to_str(const char* text) { return text != nullptr ? text : "[null]"; }

std::string to_str(double value) { return string::format_string("%.2f", value); }

std::string to_str(bool value) { return value ? "true" : "false"; }

namespace {

// Writes a number of exactly COUNT digits.
template <int COUNT>
void put_digits(char* place, unsigned int value) {
    for (int i = COUNT; i-- > 0; value /= 10) {
        place[i] = static_cast<char>('0' + value % 10);
    }
}

} // namespace

std::string to_str(const isotime& time) {
    std::string text = BAD_TIME;
    if (is_valid(time)) {
        const int zone = time.zone_offset;
        const auto distance = static_cast<unsigned int>(zone < 0 ? -zone : zone);
        char* const at = text.data();
        put_digits<4>(at, time.year);
        put_digits<2>(at + 5, time.month);
        put_digits<2>(at + 8, time.day);
        put_digits<2>(at + 11, time.hour);
        put_digits<2>(at + 14, time.minute);
        put_digits<2>(at + 17, time.second);
        put_digits<2>(at + 20, time.hundredths);
        at[22] = zone < 0 ? '-' : '+';
        put_digits<2>(at + 23, distance / 60);
        put_digits<2>(at + 26, distance % 60);
    }
    return text;
}

std::string to_str(const isotime& time, Manipulator) { return to_str(time); }

std::string to_str(int value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

std::string to_str(unsigned int value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

std::string to_str(long value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

std::string to_str(unsigned long value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

std::string to_str(long long value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

std::string to_str(unsigned long long value, Manipulator manipulator) {
    return integer_to_str(value, manipulator);
}

// Text to value

namespace {

// Reads a decimal number in range from nothing but digits, with a minus in front perhaps. A stream
// reads it the same way in every locale; all that it may make of other texts is left to it.
template <class Unsigned>
bool parse_digits(Unsigned& out, const std::string& text) {
    const char* const end = text.data() + text.size();
    const bool negative = text.front() == '-';
    Unsigned value = 0;
    const auto [stop, error] = std::from_chars(text.data() + (negative ? 1 : 0), end, value);
    if (error != std::errc() || stop != end) {
        return false;
    }
    out = negative ? static_cast<Unsigned>(Unsigned{0} - value) : value; // modulo 2^n
    return true;
}

template <class Unsigned>
[[gnu::noinline]] bool parse_by_stream(Unsigned& out, const std::string& text,
                                       Manipulator manipulator) {
    Unsigned value = 0; // also when blanks are all there is, which leaves the stream's target alone
    std::istringstream stream(text);
    stream.exceptions(std::ios_base::badbit); // lets std::bad_alloc out
    if (manipulator != nullptr) {
        stream >> manipulator;
    }
    stream >> value;
    out = value;
    return !stream.fail();
}

template <class Unsigned>
bool parse(Unsigned& out, const std::string& text, Manipulator manipulator) {
    if (text.empty()) {
        out = 0;
        return true;
    }
    return (manipulator == std::dec && parse_digits(out, text)) ||
           parse_by_stream(out, text, manipulator);
}

// Parses as the type `Parsed` and stores the low bits.
template <class Parsed, class T>
bool parse_bits(T& out, const std::string& text, Manipulator manipulator) {
    Parsed value = 0;
    const bool parsed = parse(value, text, manipulator);
    out = static_cast<T>(value);
    return parsed;
}

template <class Char>
bool first_character(Char& out, const std::string& text) {
    out = static_cast<Char>(text.empty() ? '\0' : text.front());
    return true;
}

} // namespace

template <>
bool fromStr<char>(char& out, const std::string& text) {
    return first_character(out, text);
}

template <>
bool fromStr<char>(char& out, const std::string& text, Manipulator manipulator) {
    return parse_bits<unsigned int>(out, text, manipulator);
}

template <>
bool fromStr<unsigned char>(unsigned char& out, const std::string& text) {
    return first_character(out, text);
}

template <>
bool fromStr<unsigned char>(unsigned char& out, const std::string& text, Manipulator manipulator) {
    return parse_bits<unsigned int>(out, text, manipulator);
}

template <>
bool fromStr<bool>(bool& out, const std::string& text) {
    const bool is_true = text == "true";
    if (!is_true && text != "false") {
        return false;
    }
    out = is_true;
    return true;
}

template <>
bool fromStr<bool>(bool& out, const std::string& text, Manipulator) {
    return fromStr(out, text);
}

template <>
bool fromStr<isotime>(isotime& out, const std::string& text) {
    out = to_isotime(text);
    return is_valid(out);
}

template <>
bool fromStr<isotime>(isotime& out, const std::string& text, Manipulator) {
    return fromStr(out, text);
}

template <>
bool fromStr<unsigned short>(unsigned short& out, const std::string& text,
                             Manipulator manipulator) {
    return parse(out, text, manipulator);
}

template <>
bool fromStr<unsigned int>(unsigned int& out, const std::string& text, Manipulator manipulator) {
    return parse(out, text, manipulator);
}

template <>
bool fromStr<unsigned long long>(unsigned long long& out, const std::string& text,
                                 Manipulator manipulator) {
    return parse(out, text, manipulator);
}

template <>
bool fromStr<short>(short& out, const std::string& text, Manipulator manipulator) {
    return parse_bits<unsigned short>(out, text, manipulator);
}

template <>
bool fromStr<int>(int& out, const std::string& text, Manipulator manipulator) {
    return parse_bits<unsigned int>(out, text, manipulator);
}

template <>
bool fromStr<long long>(long long& out, const std::string& text, Manipulator manipulator) {
    return parse_bits<unsigned long long>(out, text, manipulator);
}

// Time stamps

namespace {

constexpr std::size_t LONG_TIME_LENGTH = sizeof BAD_TIME - 1;
constexpr std::size_t SHORT_TIME_LENGTH = sizeof BAD_TIME_SHORT - 1;

void set_zone(isotime& time, int minutes) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // the offset is cut to its 12 bits
    time.zone_offset = static_cast<std::int16_t>(minutes);
#pragma GCC diagnostic pop
    time.zone_flag = time.zone_offset != 0;
}

} // namespace

isotime to_isotime(const std::string& text) {
    isotime time{};
    const bool has_hundredths = text.size() == LONG_TIME_LENGTH;
    if ((!has_hundredths && text.size() != SHORT_TIME_LENGTH) || text == BAD_TIME ||
        text == BAD_TIME_SHORT) {
        return time;
    }
    const auto number = [&text](std::size_t position, std::size_t length) {
        int value = 0;
        for (std::size_t i = position; i < position + length; ++i) {
            const int digit = text[i] - '0';
            if (digit < 0 || digit > 9) { // a sign, a blank, or worse
                return safe::StringToInt32(text.substr(position, length));
            }
            value = value * 10 + digit;
        }
        return value;
    };
    const auto field = [&number](std::size_t position) {
        return static_cast<std::uint8_t>(number(position, 2));
    };
    time.year = static_cast<std::uint16_t>(number(0, 4));
    time.month = field(5);
    time.day = field(8);
    time.hour = field(11);
    time.minute = field(14);
    time.second = field(17);
    time.hundredths = has_hundredths ? field(20) : std::uint8_t{0};

    const std::size_t zone = has_hundredths ? 23 : 20;
    const int distance = number(zone, 2) * 60 + number(zone + 3, 2);
    set_zone(time, text[zone - 1] == '-' ? -distance : distance);
    return time;
}

} // namespace nuriccl
