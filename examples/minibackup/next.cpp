/// @file
/// `next`: when a schedule is due.

#include "commands.hpp"
#include "system/due.hpp"
#include "system/os.hpp"
#include "system/schedule_fault.hpp"

#include <cstdio>
#include <nuriccl/cron.hpp>
#include <string>

namespace minibackup {

int next(const std::string& schedule, const Options& options) {
    const std::string subject = "schedule '" + schedule + '\'';
    const nuriccl::Cron cron(schedule);
    if (!cron.valid()) {
        throw Error(subject, fault_of_schedule(schedule));
    }
    std::time_t time = now().tv_sec;
    for (unsigned int i = 0; i < options.count; ++i) {
        const auto due = next_due(cron.block(), time);
        if (!due) {
            throw Error(subject, "is never due");
        }
        time = *due;
        std::puts(local_time_text(time).c_str());
    }
    return DONE;
}

} // namespace minibackup
