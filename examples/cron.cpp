// Edits a schedule field by field, as a settings page does, and tells what it is then. A field that
// is none leaves the schedule as it was.
//
// usage: cron [SCHEDULE [FIELD=VALUE...]]
// fields: minute, hour, weekdays (seven of 0 and 1, from Sunday on), last-day (true), every (hours)

#include <nuriccl/cron.hpp>
#include <nuriccl/util.hpp>

#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

bool edit(nuriccl::Cron& cron, const std::string& field, const std::string& value) {
    if (field == "minute") {
        return cron.Minute(value) != 0;
    }
    if (field == "hour") {
        return cron.Hour(value) != 0;
    }
    if (field == "every") { // around the clock, at the first minute
        unsigned int step = 0;
        return nuriccl::fromStr(step, value) && step > 0 && step < 24 &&
               cron.SetIntraDailyHours(std::to_string(cron.Minute()),
                                       IntervalSet{0, 0, static_cast<std::uint8_t>(step)});
    }
    if (field == "last-day" && value == "true") {
        cron.LastDayOfMonth(true); // false would change nothing
        return true;
    }
    if (field == "weekdays" && value.size() == 7) { // a shorter text would mean the last ones
        cron.DaysOfWeek(value);
        return true;
    }
    return false;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) {
        arguments = {"30 22 * * mon-fri", "hour=20-23", "weekdays=1000001", "minute=75", "every=6"};
    }
    nuriccl::Cron cron(arguments[0]);
    if (!cron.valid()) {
        std::cerr << "no schedule: " << arguments[0] << '\n';
        return 2;
    }
    int faults = 0;
    for (auto change = arguments.begin() + 1; change != arguments.end(); ++change) {
        const std::string::size_type equals = change->find('=');
        bool done = false;
        try {
            done = equals != std::string::npos &&
                   edit(cron, change->substr(0, equals), change->substr(equals + 1));
        } catch (const std::invalid_argument&) { // weekdays of other characters
        }
        faults += done ? 0 : 1;
        std::cout << (done ? "" : "refused: ") << *change << " -> " << cron.to_str() << '\n';
    }
    std::cout << cron.to_str() << (cron.IsSubDaily() ? ": several times a day" : ": once a day")
              << ", first at minute " << cron.Minute() << ", weekdays " << cron.DaysOfWeek()
              << '\n';
    return faults == 0 ? 0 : 1;
}
