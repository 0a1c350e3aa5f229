#include "commands.hpp"
#include "iso_time.hpp"

#include <minibackup/system/os.hpp>
#include <nuriccl/util.hpp>

namespace nuriccl_tool {

isotime read_isotime(const std::string& text) {
    isotime time{};
    return nuriccl::fromStr(time, text)
               ? time
               : throw BadInput("is not a time such as 2021-03-04T05:06:07.00+01:00");
}

std::time_t seconds_of(const isotime& time) {
    tm parts{};
    parts.tm_year = time.year - 1900;
    parts.tm_mon = time.month - 1;
    parts.tm_mday = time.day;
    parts.tm_hour = time.hour;
    parts.tm_min = time.minute;
    parts.tm_sec = time.second;
    return timegm(&parts) - std::time_t{60} * time.zone_offset;
}

namespace {

// As "2021-03-04T05:06:07+01:00": without hundredths.
std::string short_text(std::string text) {
    constexpr std::size_t HUNDREDTHS = 19;
    return text.erase(HUNDREDTHS, 3);
}

int run(const Call& call) {
    const auto shown = [&](const std::string& item) {
        const isotime time =
            read_isotime(item == "now" ? minibackup::time_text(minibackup::now()) : item);
        const std::string text = nuriccl::to_str(time);
        return call.has('e')   ? nuriccl::to_str(static_cast<long long>(seconds_of(time)))
               : call.has('s') ? short_text(text)
                               : text;
    };
    return edit_items(shown)(call);
}

} // namespace

const Command TIME = {
    "time",
    "ISO 8601 times, read and printed in one form",
    {{"", "[TIME]...", 0, ANY_NUMBER, "", run}},
    {{'e', "epoch", nullptr, "print the seconds since the start of 1970 in UTC"},
     {'s', "short", nullptr, "print no hundredths of a second"},
     ZERO},
    "Prints each TIME, or the one on each line of standard input, in the canonical form of 28\n"
    "characters. TIME has this form, or the one of 25 characters without hundredths; digits and\n"
    "signs are found by their place. 'now' is the time of the system, in UTC.\n",
    "$ nuriccl-tool time 2021-03-04T05:06:07+01:00\n"
    "2021-03-04T05:06:07.00+01:00\n"
    "$ nuriccl-tool time --short 2021-03-04T05:06:07.89+01:00\n"
    "2021-03-04T05:06:07+01:00\n"
    "$ nuriccl-tool time --epoch 2021-03-04T05:06:07+01:00\n"
    "1614830767\n"
    "$ nuriccl-tool time 2021-13-04T05:06:07+01:00 || echo no\n"
    "no\n",
};

} // namespace nuriccl_tool
