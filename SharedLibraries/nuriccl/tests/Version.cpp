#include <nuriccl/Version.hpp>
