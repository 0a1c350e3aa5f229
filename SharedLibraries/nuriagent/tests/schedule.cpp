#include <nuriagent/schedule.hpp>
