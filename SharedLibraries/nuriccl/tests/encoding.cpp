#include <nuriccl/encoding.hpp>
