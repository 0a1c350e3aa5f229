#pragma once

/// @file
/// What is wrong with a text that is no schedule, for people.

#include <string>

namespace minibackup {

/// Names the first fault of a text that `nuriccl::Cron` does not read, such as "hour: '24' is not
/// in 0 to 23".
std::string fault_of_schedule(const std::string& text);

} // namespace minibackup
