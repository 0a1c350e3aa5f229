#include <nuriccl/cron.hpp>
