#include <nuriccl/fsvlist.hpp>
