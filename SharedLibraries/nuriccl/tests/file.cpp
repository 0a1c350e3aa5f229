#include <nuriccl/file.hpp>
