#include "commands.hpp"
#include "iso_time.hpp"

#include <minibackup/system/due.hpp>
#include <minibackup/system/names.hpp>
#include <minibackup/system/os.hpp>
#include <minibackup/system/schedule_fault.hpp>
#include <nuriccl/cron.hpp>

namespace nuriccl_tool {

namespace {

nuriccl::Cron read_schedule(const std::string& text) {
    nuriccl::Cron cron(text);
    return cron.valid() ? cron
                        : throw BadInput("is no schedule: " + minibackup::fault_of_schedule(text));
}

std::string canonical(const std::string& schedule) { return read_schedule(schedule).to_str(); }

std::time_t start_of(const Call& call) {
    if (!call.has('a')) {
        return minibackup::now().tv_sec;
    }
    const std::string text = call.option('a', "");
    try {
        return seconds_of(read_isotime(text));
    } catch (const BadInput& error) {
        throw UsageError('\'' + minibackup::readable(text) + "' " + error.what());
    }
}

int next(const Call& call) {
    const unsigned int count = call.number('n', 5, 1, 1000);
    const std::time_t start = start_of(call);
    return for_each_item(call, [&](const std::string& schedule) {
        const nuriccl::Cron cron = read_schedule(schedule);
        std::time_t time = start;
        for (unsigned int i = 0; i < count; ++i) {
            const auto due = minibackup::next_due(cron.block(), time);
            time = due ? *due : throw BadInput("is never due");
            call.print(minibackup::local_time_text(time));
        }
        return true;
    });
}

} // namespace

const Command CRON = {
    "cron",
    "schedules, printed in one form, and when they are due",
    {{"print", "[SCHEDULE]...", 0, ANY_NUMBER, "the schedule in numbers", edit_items(canonical)},
     {"next", "[SCHEDULE]...", 0, ANY_NUMBER, "the next times, by the local clock", next}},
    {{'a', "after", "TIME", "next: times after TIME, in ISO 8601, and not after now"},
     {'n', "count", "N", "next: print N times, 1 to 1000, and not 5"},
     ZERO},
    "Reads each SCHEDULE, or the one on each line of standard input, of five fields: minute, "
    "hour,\n"
    "day of the month (L is the last one), month and weekday.\n",
    "$ nuriccl-tool cron print '0,30 8-18/2 * * mon-fri'\n"
    "0,30 8-18/2 * * 1-5\n"
    "$ TZ=UTC0 nuriccl-tool cron next -n 2 --after 2026-02-26T23:00:00+00:00 '30 22 L * *'\n"
    "2026-02-28T22:30:00.00+00:00\n"
    "2026-03-31T22:30:00.00+00:00\n"
    "$ nuriccl-tool cron print '60 * * * *' || echo no\n"
    "no\n",
};

} // namespace nuriccl_tool
