#pragma once

/// @file
/// ISO 8601 texts as times of the system.

#include <ctime>
#include <nuriagent/isotime.hpp>
#include <string>

namespace nuriccl_tool {

/// @throws BadInput
isotime read_isotime(const std::string& text);

/// Seconds since 1970 in UTC; a time without a zone is one of UTC.
std::time_t seconds_of(const isotime& time);

} // namespace nuriccl_tool
