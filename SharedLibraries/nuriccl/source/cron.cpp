#include <nuriccl/cron.hpp>

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>

namespace nuriccl {

namespace {

constexpr std::uint32_t EVERY = 0xffffffff;
constexpr unsigned int LAST_DAY = 31;
constexpr unsigned int WEEKDAYS = 7;
constexpr unsigned int LAST_HOUR = 23;
constexpr unsigned int HOURS = 24;
constexpr unsigned int MINUTES = 60;

constexpr std::uint32_t bit(unsigned int value) { return std::uint32_t{1} << value; }

std::uint64_t minutes_of(const cronblk& block) {
    return std::uint64_t{block.minutes_high} << 32 | block.minutes_low;
}

// The lowest of the first `count` bits that is set; 0 when none is.
int lowest_bit(std::uint64_t mask, int count) {
    for (int i = 0; i < count; ++i) {
        if ((mask >> i & 1) != 0) {
            return i;
        }
    }
    return 0;
}

// `count` bits as characters, from bit `first` on.
std::string text_of(std::uint32_t mask, unsigned int first, unsigned int count) {
    std::string text(count, '0');
    for (unsigned int i = 0; i < count; ++i) {
        text[i] = (mask & bit(first + i)) != 0 ? '1' : '0';
    }
    return text;
}

// The mask of a text whose last character is for bit `last`.
std::uint32_t mask_of(const std::string& text, unsigned int last) {
    const std::bitset<32> reversed(text); // the first character is the highest bit
    std::uint32_t mask = 0;
    for (unsigned int i = 0; i < text.size(); ++i) {
        mask |= reversed[i] ? bit(last - i) : 0;
    }
    return mask;
}

} // namespace

Cron::Cron(const std::string& text) { convert(text); }

bool Cron::convert(const std::string& text) {
    valid_ = !text.empty() && pln_str2crn(&block_, text) != 0;
    return valid_;
}

std::string Cron::to_str() const { return pln_crn2str(&block_); }

// Minutes and hours

int Cron::Minute() const noexcept { return lowest_bit(minutes_of(block_), MINUTES); }

int Cron::Minute(const std::string& field) {
    return pln_ent2msk64(&block_.minutes_low, &block_.minutes_high, field, MINUTES);
}

int Cron::Hour() const noexcept {
    return block_.hours == EVERY ? static_cast<int>(HOURS) : lowest_bit(block_.hours, HOURS);
}

int Cron::Hour(const std::string& field) {
    return pln_ent2msk(&block_.hours, field, 0, LAST_HOUR, false);
}

bool Cron::IsSubDaily() const noexcept {
    return std::bitset<32>(block_.hours).count() > 1 ||
           std::bitset<64>(minutes_of(block_)).count() > 1;
}

bool Cron::SetIntraDailyHours(std::string minutes, const IntervalSet& interval) {
    Minute(minutes);
    block_.hours = 0;
    if (interval.step_hours == 0) {
        return false;
    }
    const unsigned int start = std::min<unsigned int>(interval.start_hour, LAST_HOUR);
    unsigned int end = std::min<unsigned int>(interval.end_hour, LAST_HOUR);
    if (end < start) { // past midnight
        end += HOURS;
    }
    if (start == 0 && end == 0) {
        end = HOURS;
    } else if ((block_.minutes_low & 1) != 0) {
        ++end; // the run at the full hour
    }
    for (unsigned int hour = start; hour < end; hour += interval.step_hours) {
        block_.hours |= bit(hour % HOURS);
    }
    return block_.hours != 0;
}

// Days and months

std::string Cron::Days() const { return text_of(block_.days, 1, LAST_DAY); }

void Cron::Days(const std::string& days) {
    const std::uint32_t mask = mask_of(days.substr(0, LAST_DAY), LAST_DAY);
    const bool all = days.find_first_not_of('1') == std::string::npos;
    block_.days = all ? EVERY : mask;
}

std::string Cron::DaysOfWeek() const { return text_of(block_.weekdays, 0, WEEKDAYS); }

void Cron::DaysOfWeek(const std::string& days) {
    const std::uint32_t mask = mask_of(days.substr(0, WEEKDAYS), WEEKDAYS - 1);
    block_.weekdays = mask == bit(WEEKDAYS) - 1 ? EVERY : mask;
}

void Cron::Months(const unsigned int& mask) noexcept { block_.months = mask; }

bool Cron::LastDayOfMonth() const noexcept { return (block_.days & 1) != 0; }

void Cron::LastDayOfMonth(bool last_day) noexcept { block_.days |= last_day ? 1 : 0; }

} // namespace nuriccl
